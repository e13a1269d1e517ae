#include "picture/DarkSpecks.h"

#include "base/Versions.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace SelvaneLib
{

namespace
{

constexpr float kDark = 100.0f; // how many times darker than the level of its neighbours a speck is
constexpr float kLight = 2.0f;  // how many times brighter than that level a light is

SELVANE_INLINE float Larger(float pA, float pB)
{
    return pA > pB ? pA : pB;
}

SELVANE_INLINE float LargestBeside(const float* pAbove, const float* pRow, const float* pBelow, ptrdiff_t pAt)
{
    const float left = Larger(Larger(pAbove[pAt - 3], pBelow[pAt - 3]), pRow[pAt - 3]);
    const float right = Larger(Larger(pAbove[pAt + 3], pBelow[pAt + 3]), pRow[pAt + 3]);
    return Larger(Larger(left, right), Larger(pAbove[pAt], pBelow[pAt]));
}

/// Whether a row may have specks, for all its samples at once.
SELVANE_CLONES bool MayHaveSpecks(const float* pAbove, const float* pRow, const float* pBelow, ptrdiff_t pEnd)
{
    int found = 0;
    for (ptrdiff_t i = 3; i < pEnd; i++)
        found |= kDark * pRow[i] < LargestBeside(pAbove, pRow, pBelow, i) ? 1 : 0;
    return found != 0;
}

/// The sample, or what fills it.
float Filled(const float* pAbove, const float* pRow, const float* pBelow, ptrdiff_t pAt)
{
    const float sample = pRow[pAt];
    std::array<float, 8> beside = {pAbove[pAt - 3], pAbove[pAt],     pAbove[pAt + 3], pRow[pAt - 3],
                                   pRow[pAt + 3],   pBelow[pAt - 3], pBelow[pAt],     pBelow[pAt + 3]};
    for (float& neighbour : beside)
        if (neighbour == kNoSample) neighbour = sample;
    std::sort(beside.begin(), beside.end());
    const float level = beside[4], largest = beside[7];
    return kDark * sample < level && largest > kLight * level ? level : sample;
}

} // namespace

const float* FillDarkSpecks(const float* pAbove, const float* pRow, const float* pBelow, int pCount, float* pTo,
                            int64_t& pFilled)
{
    const ptrdiff_t end = 3 * (ptrdiff_t{pCount} + 1);
    if (!MayHaveSpecks(pAbove, pRow, pBelow, end)) return pRow;
    std::copy_n(pRow, end + 3, pTo);
    for (ptrdiff_t i = 3; i < end; i++) {
        if (pRow[i] == kNoSample || !(kDark * pRow[i] < LargestBeside(pAbove, pRow, pBelow, i))) continue;
        pTo[i] = Filled(pAbove, pRow, pBelow, i);
        pFilled += pTo[i] != pRow[i] ? 1 : 0;
    }
    return pTo;
}

} // namespace SelvaneLib
