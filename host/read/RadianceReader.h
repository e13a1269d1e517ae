#ifndef SELVANE_HOST_READ_RADIANCE_READER_H
#define SELVANE_HOST_READ_RADIANCE_READER_H

// The reader of Radiance pictures (.hdr). libvips calls its own reader of them untrusted, and the bytes must reach the
// library unchanged. Source: Greg Ward, "Radiance File Formats", section "RADIANCE Picture Format", and the run-length
// form of "Real Pixels", Graphics Gems II.

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeRadiance(const tBytes& pBytes);

/// Reads the picture as exponent planes with the bytes of the file. Reads all three forms of scanlines (flat, old and
/// new run lengths) and all eight orientations. PRIMARIES in the header decide the colour space.
/// @throws cHostError when the file is damaged or cut, or holds XYZ
sPicture ReadRadiance(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
