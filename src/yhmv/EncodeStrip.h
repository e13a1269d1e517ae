#ifndef SELVANE_YHMV_ENCODESTRIP_H
#define SELVANE_YHMV_ENCODESTRIP_H

// The formulas that encode one pixel, internal: from primaries to hue, smallest and largest primary, and from XYZ to
// the fields of a YHMV record. Rows wrap them: cYHMVColorSpace writes records, the entry decodes them at once.

#include "base/Numeric.h"
#include "base/Versions.h"
#include "color/cMatrix.h"
#include "yhmv/PixelRecord.h"

#include <cmath>

namespace Vornik
{

constexpr float kDegreesToSample16 = 0x1.6c1556p+7f; // 182.04167, 65535 / 360
constexpr float kDarkLuminance = 0x1.0c6f7ap-20f;    // 0.000001
constexpr float kSmallestV = 0x1p-126f;              // bits 0x00800000

/// The larger of two values. If one is NaN, the other. In a chain pass the new value second, so that loops vectorise.
SELVANE_INLINE float Larger(float pA, float pB)
{
    const bool first = (pA > pB) | (pB != pB);
    return first ? pA : pB;
}

/// The smaller of two values. If one is NaN, the other.
SELVANE_INLINE float Smaller(float pA, float pB)
{
    const bool first = (pA < pB) | (pB != pB);
    return first ? pA : pB;
}

/// The hue in degrees, 0 to 360 inclusive, of a colour that is not grey. The product with 60 comes before the division
/// and may overflow. With a NaN primary the result may be NaN. Between red and yellow the start is -0, which as an
/// addend leaves every value, and the sign of a zero, as it is.
SELVANE_INLINE float HueDegrees(float pR, float pG, float pB, float pMin, float pMax)
{
    const bool green = pG == pMax;
    const bool fromMagenta = pG < pB;
    const bool red = (pR == pMax) & ((pG >= pB) | fromMagenta);
    const float difference = Choose(red, pG - pB, Choose(green, pB - pR, pR - pG));
    const float start = Choose(red, Choose(fromMagenta, 360.0f, -0.0f), Choose(green, 120.0f, 240.0f));
    return difference * 60.0f / (pMax - pMin) + start;
}

/// Degrees to 16 bits, truncated. The difference of two primaries is at most that of the extremes, so the value is
/// below 65536. If the product with 60 overflowed, it is infinite and saturates. NaN gives 0.
SELVANE_INLINE int HueSample(float pDegrees)
{
    const float scaled = pDegrees * kDegreesToSample16;
    return static_cast<int>(LowerTo(scaled > 0.0f ? scaled : 0.0f, kToSample16));
}

struct sHMV
{
    int fHue;
    float fSmallest;
    float fLargest;
};

/// The colour fields of both records. A colour whose largest primary is not above 0, or NaN, gets the marker.
SELVANE_INLINE sHMV Encode(float pR, float pG, float pB)
{
    const float smallest = Smaller(Smaller(pR, pG), pB);
    const float largest = Larger(Larger(pR, pG), pB);
    const int hue = HueSample(HueDegrees(pR, pG, pB, smallest, largest));
    const bool lit = largest > 0.0f;
    return {smallest == largest ? 0 : hue, lit ? smallest : 0.0f, lit ? largest : kSmallestV};
}

/// XYZ relative to D50 to linear ProPhoto RGB. Builds the colour space for it.
/// @throws std::bad_alloc
cMatrix33 ProPhotoFromPCS();

/// Fields of the records of a strip.
struct sRecordStrip
{
    float fLuminance[kStrip];
    int fHue[kStrip];
    float fSmallest[kStrip];
    float fLargest[kStrip];
};

/// Encodes one XYZ pixel. A NaN luminance is not dark: it is stored, with the second marker as its colour. The scaled
/// luminance is exactly 1, so the middle column of the matrix needs no product. pStrip has the fields of a
/// sRecordStrip.
template <class tStrip>
SELVANE_INLINE void EncodeXYZ(const float* pXYZ, const cMatrix33& m, tStrip& pStrip, int pAt)
{
    const float luminance = pXYZ[1];
    const float scale = 1.0f / luminance;
    const float x = pXYZ[0] * scale;
    const float z = pXYZ[2] * scale;
    const sHMV color = Encode(m.m01 + std::fma(m.m00, x, z * m.m02), m.m11 + std::fma(m.m10, x, z * m.m12),
                              m.m21 + std::fma(m.m20, x, z * m.m22));
    const bool dark = luminance <= 0.0f;
    pStrip.fLuminance[pAt] = dark ? kDarkLuminance : luminance;
    pStrip.fHue[pAt] = dark ? 0 : color.fHue;
    pStrip.fSmallest[pAt] = dark ? 1.0f : color.fSmallest;
    pStrip.fLargest[pAt] = dark ? 1.0f : color.fLargest;
}

} // namespace Vornik

#endif
