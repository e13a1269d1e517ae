#ifndef SELVANE_HOST_READ_TIFF_READER_H
#define SELVANE_HOST_READ_TIFF_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeTiff(const tBytes& pBytes);

/// Reads a TIFF or BigTIFF picture after a check of its directory, see TiffCheck.h.
/// @throws cHostError see VipsReader.h
sPicture ReadTiff(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
