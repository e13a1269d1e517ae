#ifndef SELVANE_HOST_WRITE_RESIZE_H
#define SELVANE_HOST_WRITE_RESIZE_H

// The picture in another size. Pixels are mixed as light is: in linear floats, and weighted with alpha.

#include "picture/Picture.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

/// The wanted size.
struct sResize
{
    int fWidth = 0;      ///< pixels; 0: as the height says
    int fHeight = 0;     ///< pixels; 0: as the width says
    double fPercent = 0; ///< of both sides, instead of pixels; 0: not given
};

struct sSize
{
    int fWidth;
    int fHeight;
};

/// Reads WIDTH, WIDTHx, xHEIGHT, WIDTHxHEIGHT (a box to fit into) or NUMBER%. Empty for any other text: sides are 1 to
/// 1000000 pixels, percentages above 0 and at most 1000.
std::optional<sResize> ReadResize(const std::string& pText);

/// Returns the word that ReadResize reads as this.
std::string WordOf(const sResize& pResize);

/// Returns the size of the result. The shape is kept, to the nearest pixel, and no side is below 1.
/// @param pEnlarge the result may be larger than the picture; without it, larger sizes give the picture's own
sSize SizeAfter(const sResize& pResize, int pWidth, int pHeight, bool pEnlarge);

/// Returns the picture in another size: by Lanczos' filter of three lobes where it becomes smaller, bicubic where
/// larger.
/// @param pLinear linear floats, 3 or 4 channels; alpha is not premultiplied
/// @return the same form and channels. Values may leave 0 to 1 at sharp edges
/// @throws cHostError
sPicture Resized(const sPicture& pLinear, const sSize& pSize);

/// Makes linear floats of integers that are encoded in one of the spaces of an output. The inverse of EncodedFrom.
void Decode(sPicture& pEncoded, int pSpace);

/// Returns integers that are encoded with the curve of a space. Rounds to the nearest; values outside of 0 to 1, and
/// NaN, become the nearest one inside.
/// @param pLinear linear floats, 3 or 4 channels. Alpha stays linear
/// @param pSpace SELVANE_SRGB to SELVANE_REC2020
/// @param pForm eSamples8 or eSamples16
/// @throws cHostError
sPicture EncodedFrom(const sPicture& pLinear, int pSpace, eSampleForm pForm);

} // namespace SelvaneHost

#endif
