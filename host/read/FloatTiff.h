#ifndef SELVANE_HOST_READ_FLOAT_TIFF_H
#define SELVANE_HOST_READ_FLOAT_TIFF_H

#include "color/ColorNotes.h"
#include "picture/Picture.h"

namespace SelvaneHost
{

/// Returns whether the first picture of a TIFF file holds floats of 16 or 64 bits, which libvips does not read.
bool HoldsFloatsOfOtherSizes(const tBytes& pBytes);

/// Reads such a picture with libtiff: strips or tiles, interleaved or in planes. Fills pNotes with its profile.
/// @throws cHostError
sPicture ReadFloatTiff(const tBytes& pBytes, sColorNotes& pNotes);

} // namespace SelvaneHost

#endif
