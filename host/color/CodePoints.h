#ifndef SELVANE_HOST_COLOR_CODE_POINTS_H
#define SELVANE_HOST_COLOR_CODE_POINTS_H

// Colours by the numbers of ITU-T H.273, tables 2 and 3.

#include "color/ColorNotes.h"
#include "picture/Picture.h"

namespace SelvaneHost
{

constexpr int kPrimariesBt709 = 1;
constexpr int kPrimariesBt2020 = 9;
constexpr int kPrimariesP3 = 12;
constexpr int kTransferLinear = 8;
constexpr int kTransferSrgb = 13;
constexpr int kTransferPq = 16;
constexpr int kTransferHlg = 18;

/// Sets the colours of the picture. PQ and HLG become linear floats; all else is left to libselvane.
/// @param pOwn x and y of red, green, blue and white, for primaries that are not said
/// @return false, and an untouched picture, for numbers without a meaning or with one that is not known here
bool TakeCodePoints(sPicture& pPicture, const sCodePoints& pCodePoints,
                    const std::optional<std::array<float, 8>>& pOwn = {});

} // namespace SelvaneHost

#endif
