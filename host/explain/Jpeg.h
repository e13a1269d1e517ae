#ifndef SELVANE_HOST_EXPLAIN_JPEG_H
#define SELVANE_HOST_EXPLAIN_JPEG_H

#include "picture/Bytes.h"

namespace SelvaneHost
{

/// Encodes 8-bit samples as a JPEG without metadata, for a page.
/// @param pChannels 1 grey or 3 sRGB
/// @throws cHostError
tBytes JpegOf(const tBytes& pSamples, int pWidth, int pHeight, int pChannels);

} // namespace SelvaneHost

#endif
