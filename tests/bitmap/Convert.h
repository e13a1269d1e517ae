#ifndef SELVANE_TESTS_BITMAP_CONVERT_H
#define SELVANE_TESTS_BITMAP_CONVERT_H

// The conversions of display-referred pictures worked out slowly, a sample at a time, without tables.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "curve/cTransfer.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <cmath>

namespace SelvaneTest
{

struct sTriple
{
    float f[3];
};

inline float* PixelOf(Vornik::cBitmapXYZ32& pBitmap, int pX, int pY)
{
    return pBitmap.fData + pY * (pBitmap.fStride / 4) + 3 * pX;
}

inline int SampleOf(Vornik::cBitmapBGR8& pBitmap, int pX, int pY, int pSample)
{
    return pBitmap.fData[pY * pBitmap.fStride + 3 * pX + pSample];
}

inline int SampleOf(Vornik::cBitmapBGR16& pBitmap, int pX, int pY, int pSample)
{
    return pBitmap.fData[pY * (pBitmap.fStride / 2) + 3 * pX + pSample];
}

/// One row of a matrix times a vector: the second term first, then the first and the third, fused.
inline float RowTimes(float pM0, float pM1, float pM2, float pV0, float pV1, float pV2)
{
    return std::fma(pM2, pV2, std::fma(pM0, pV0, pM1 * pV1));
}

inline sTriple Times(const Vornik::cMatrix33& pM, float pV0, float pV1, float pV2)
{
    return {{RowTimes(pM.m00, pM.m01, pM.m02, pV0, pV1, pV2), RowTimes(pM.m10, pM.m11, pM.m12, pV0, pV1, pV2),
             RowTimes(pM.m20, pM.m21, pM.m22, pV0, pV1, pV2)}};
}

/// The step between neighbouring sample values as a float: 1/255 or 1/65535.
template <class tBitmap>
constexpr float kStep = sizeof(*tBitmap::fData) == 1 ? 0x1.010102p-8f : 0x1.0001p-16f;

template <class tBitmap>
constexpr float kLargest = sizeof(*tBitmap::fData) == 1 ? 255.0f : 65535.0f;

template <class tBitmap>
sTriple SlowLinear(tBitmap& pBitmap, Vornik::cTransfer& pToLinear, int pX, int pY)
{
    sTriple linear{};
    for (int s = 0; s < 3; ++s)
        linear.f[s] = pToLinear.Function(static_cast<float>(SampleOf(pBitmap, pX, pY, s)) * kStep<tBitmap>);
    return linear;
}

/// Expects the XYZ picture to be what the integer picture means.
template <class tBitmap>
void ExpectToXYZ(tBitmap& pBitmap, Vornik::cBitmapXYZ32& pXYZ, Vornik::cTransfer& pToLinear,
                 const Vornik::cMatrix33& pMatrix)
{
    for (int y = 0; y < pBitmap.fHeight; ++y)
        for (int x = 0; x < pBitmap.fWidth; ++x) {
            const sTriple bgr = SlowLinear(pBitmap, pToLinear, x, y);
            const sTriple expected = Times(pMatrix, bgr.f[2], bgr.f[1], bgr.f[0]);
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(Bits(PixelOf(pXYZ, x, y)[c]), Bits(expected.f[c])) << x << ' ' << y << ' ' << c;
        }
}

template <class tBitmap>
int SlowSample(float pLinear, Vornik::cTransfer& pFromLinear)
{
    const int index = pLinear < 0.0f ? 0 : (pLinear <= 1.0f ? static_cast<int>(pLinear * 65535.0f) : 65535);
    const float encoded = pFromLinear.Function(static_cast<float>(index) * 0x1.0001p-16f) * kLargest<tBitmap>;
    return static_cast<int>(static_cast<uint32_t>(encoded)) & static_cast<int>(kLargest<tBitmap>);
}

/// Expects the integer picture to be what the XYZ picture means.
template <class tBitmap>
void ExpectFromXYZ(tBitmap& pBitmap, Vornik::cBitmapXYZ32& pXYZ, Vornik::cTransfer& pFromLinear,
                   const Vornik::cMatrix33& pMatrix)
{
    for (int y = 0; y < pBitmap.fHeight; ++y)
        for (int x = 0; x < pBitmap.fWidth; ++x) {
            const float* const v = PixelOf(pXYZ, x, y);
            const sTriple rgb = Times(pMatrix, v[0], v[1], v[2]);
            for (int s = 0; s < 3; ++s)
                ASSERT_EQ(SampleOf(pBitmap, x, y, s), SlowSample<tBitmap>(rgb.f[2 - s], pFromLinear))
                    << x << ' ' << y << ' ' << s;
        }
}

/// Fills a float picture with values mostly inside the unit interval, some beyond.
inline void FillColours(Vornik::cBitmapXYZ32& pXYZ, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    std::uniform_real_distribution<float> value(-0.1f, 1.1f);
    for (int y = 0; y < pXYZ.fHeight; ++y)
        for (int i = 0; i < 3 * pXYZ.fWidth; ++i)
            PixelOf(pXYZ, 0, y)[i] = value(random);
}

constexpr Vornik::cMatrix33 kSomeMatrix = {0.5f, 0.25f, 0.125f, 0.3f, 0.6f, 0.0625f, -0.1f, 0.2f, 0.75f};

} // namespace SelvaneTest

#endif
