#ifndef SELVANE_LIB_PICTURE_DARK_SPECKS_H
#define SELVANE_LIB_PICTURE_DARK_SPECKS_H

// Dark samples around lights. A picture that was made smaller by a filter with negative lobes has a ring of samples at
// 0 or below around each sun and lamp. Displayed, it is a black ring in the middle of the glare.

#include <cstdint>

namespace SelvaneLib
{

/// Stands for a sample of a pixel that is not there or does not count. All others are at least 0.
constexpr float kNoSample = -1.0f;

/// Fills the dark specks of a row. A sample is one if it is below a hundredth of the fifth smallest of its eight
/// neighbours in its channel, and the largest of them is more than twice that one; it becomes that one. Missing
/// neighbours count like the sample itself.
/// @param pAbove, pRow, pBelow  three rows of red, green, blue with one pixel more at both ends, which is not filled
/// @param pCount  pixels without those two
/// @param pTo     memory for as many samples
/// @param pFilled how many samples were filled is added to it
/// @returns pRow if there is nothing to fill, else pTo, in the same form
const float* FillDarkSpecks(const float* pAbove, const float* pRow, const float* pBelow, int pCount, float* pTo,
                            int64_t& pFilled);

} // namespace SelvaneLib

#endif
