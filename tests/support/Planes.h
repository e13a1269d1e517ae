#ifndef SELVANE_TESTS_SUPPORT_PLANES_H
#define SELVANE_TESTS_SUPPORT_PLANES_H

// Planes of floats: made from a seed, and compared bit by bit.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace SelvaneTest
{

/// Row by row, without padding.
using tPlane = std::vector<float>;

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

/// The same; -2 when the planes have different sizes.
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
