#ifndef SELVANE_HOST_READ_JPEG_XL_READER_H
#define SELVANE_HOST_READ_JPEG_XL_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeJpegXl(const tBytes& pBytes);

/// Reads a JPEG XL picture with libjxl, the first frame of an animation. PQ and HLG are decoded to floats.
/// @throws cHostError
sPicture ReadJpegXl(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
