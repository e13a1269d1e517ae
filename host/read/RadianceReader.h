#ifndef SELVANE_HOST_READ_RADIANCE_READER_H
#define SELVANE_HOST_READ_RADIANCE_READER_H

// Radiance pictures (.hdr), read by ourselves: the picture library calls its own reader of them untrusted, and the
// bytes have to reach the library unchanged in any case. Source: Greg Ward, "Radiance File Formats", section "RADIANCE
// Picture Format", and the run-length form of "Real Pixels", Graphics Gems II.

#include "picture/Picture.h"

namespace SelvaneHost
{

/// True when the bytes begin like a Radiance file: "#?".
bool LooksLikeRadiance(const tBytes& pBytes);

/// The picture as exponent planes, its bytes as they stand in the file. All three forms of scanlines (flat, old and new
/// run lengths) and all eight orientations are read; the result is upright. PRIMARIES of the header decide the colour
/// space; without them it is that of sRGB.
/// @throws cHostError for a damaged or cut file, and for one that holds XYZ
sPicture ReadRadiance(const tBytes& pBytes);

} // namespace SelvaneHost

#endif
