#ifndef SELVANE_HOST_READ_OPEN_EXR_READER_H
#define SELVANE_HOST_READ_OPEN_EXR_READER_H

// OpenEXR pictures through the OpenEXR library itself: the picture library reads them in 16-bit floats, which turns a
// sun above 65504 into infinity, and calls its own reader of them untrusted.

#include "picture/Picture.h"

namespace SelvaneHost
{

/// True when the bytes begin like an OpenEXR file.
bool LooksLikeOpenExr(const tBytes& pBytes);

/// The data window as exponent planes. Taken are the channels R, G and B of the first part that has them, else a lone Y
/// for all three, else the first layer with R, G and B (a warning names it). The attribute "chromaticities" decides the
/// colour space; without it it is that of sRGB. An alpha channel is dropped with a warning.
/// @throws cHostError for a damaged or cut file, deep pictures, luminance with subsampled colour
sPicture ReadOpenExr(const tBytes& pBytes);

} // namespace SelvaneHost

#endif
