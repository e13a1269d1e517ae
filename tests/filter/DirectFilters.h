#ifndef SELVANE_TESTS_FILTER_DIRECT_FILTERS_H
#define SELVANE_TESTS_FILTER_DIRECT_FILTERS_H

// Slow, obvious twins of the filters: one loop per formula, one pixel at a time.

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace SelvaneTest
{

using tPlane = std::vector<float>;

struct sFast
{
    int fWidth;
    int fHeight;
    float fSpace;
    float fRange;
    float fMin;
    float fMax;
    float fBlur = 0.0f;
    bool fWrap = false;
};

/// Towards zero, to the ends of the 32-bit range; NaN gives 0.
int32_t Truncated(float pValue);

/// Whether every place of the picture has its cells in the grid, for both ends of the range.
bool EveryCellIsInTheGrid(const sFast& pArguments);

/// The grid filter, for arguments that it takes; pGrid: the first grid's floats as the slicing step finds them.
tPlane DirectFast(const tPlane& pInput, const sFast& pArguments, tPlane* pGrid = nullptr);

/// A row of the slicing step.
tPlane DirectSlice(const float* pGrid, int pNx, int pNy, int pMargin, float pSpace, float pRange, float pMin, int pRow,
                   const tPlane& pInput);

/// The blur, and its parts.
tPlane DirectBlur(tPlane pPlane, int pWidth, int pHeight, float pSigma);
tPlane DirectNormalisation(int pLength, int pRadius, float pEdgeFraction);
tPlane DirectBox(const tPlane& pLine, int pRadius, float pEdgeFraction, const tPlane& pNormalisation);

/// The reference filter's tables and its result.
struct sDirectReference
{
    int fKernelSize;
    tPlane fKernel;
    float fLimit;
    tPlane fTable;
    tPlane fResult;
};
sDirectReference DirectReference(const tPlane& pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange);

/// Same bits. One NaN counts as good as another: their sign depends on the processor.
inline bool SameFloat(float pOne, float pOther)
{
    return (pOne != pOne && pOther != pOther) || std::memcmp(&pOne, &pOther, sizeof pOne) == 0;
}

/// First index at which two planes differ, -1 when they are the same.
inline long FirstDifference(const float* pOne, const float* pOther, size_t pCount)
{
    for (size_t i = 0; i < pCount; i++)
        if (!SameFloat(pOne[i], pOther[i])) return static_cast<long>(i);
    return -1;
}

inline long FirstDifference(const tPlane& pOne, const tPlane& pOther)
{
    return pOne.size() == pOther.size() ? FirstDifference(pOne.data(), pOther.data(), pOne.size()) : -2;
}

/// Floats from pLow to pHigh that repeat for a seed.
inline tPlane Noise(size_t pCount, float pLow, float pHigh, uint32_t pSeed = 1)
{
    tPlane plane(pCount);
    for (float& sample : plane) {
        pSeed = pSeed * 1664525u + 1013904223u;
        sample = pLow + (pHigh - pLow) * (static_cast<float>(pSeed >> 8) * 0x1p-24f);
    }
    return plane;
}

} // namespace SelvaneTest

#endif
