#ifndef SELVANE_HOST_READ_OPEN_EXR_READER_H
#define SELVANE_HOST_READ_OPEN_EXR_READER_H

// The reader of OpenEXR pictures. It uses the OpenEXR library and not libvips, for two reasons: libvips reads 16-bit
// floats, which turns a sun above 65504 into infinity, and it calls its own OpenEXR reader untrusted.

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeOpenExr(const tBytes& pBytes);

/// Reads the data window as exponent planes. The channels are the first of these:
///   1. R, G and B, or a lone Y for all three, in the first part with either
///   2. R, G and B of the first layer; a warning names the layer
/// The attribute "chromaticities" decides the colour space. An alpha channel is dropped with a warning.
/// @throws cHostError when the file is damaged or cut, holds deep samples, or holds luminance with subsampled colour
sPicture ReadOpenExr(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
