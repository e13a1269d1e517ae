#include "yhmv/cYHMVColorSpace.h"

#include "base/Numeric.h"
#include "base/Require.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"
#include "curve/cTransfer.h"
#include "yhmv/PixelRecord.h"

#include <cmath>
#include <cstddef>
#include <memory>

// The encoders and the hue table. The steps of a pixel: primaries in linear ProPhoto RGB, their largest and smallest,
// the hue in degrees, the markers, the bytes of the record. The decoders are in cYHMVColorSpace_Decode.cpp.

namespace Vornik
{

namespace
{

constexpr float kDegreesToSample16 = 0x1.6c1556p+7f; // 182.04167, 65535 / 360
constexpr float kDegreesToUnit = 0x1.6c16c2p-9f;     // 0.0027777778, 1 / 360
constexpr float kDarkLuminance = 0x1.0c6f7ap-20f;    // 0.000001
constexpr float kSmallestV = 0x1p-126f;              // bits 0x00800000

// ---- One pixel ------------------------------------------------------------------------------------------------------

// The larger of two values. If one is NaN, the other. In a chain pass the new value second, so that loops vectorise.
SELVANE_INLINE float Larger(float pA, float pB)
{
    const bool first = (pA > pB) | (pB != pB);
    return first ? pA : pB;
}

// The smaller of two values. If one is NaN, the other.
SELVANE_INLINE float Smaller(float pA, float pB)
{
    const bool first = (pA < pB) | (pB != pB);
    return first ? pA : pB;
}

// The hue in degrees, 0 to 360 inclusive, of a colour that is not grey. The product with 60 comes before the division
// and may overflow. With a NaN primary the result may be NaN.
SELVANE_INLINE float HueDegrees(float pR, float pG, float pB, float pMin, float pMax)
{
    const bool red = pR == pMax;
    const bool redToYellow = red & (pG >= pB);
    const bool magentaToRed = red & (pG < pB);
    const bool green = pG == pMax;
    const float difference = (redToYellow | magentaToRed) ? pG - pB : (green ? pB - pR : pR - pG);
    const float start = magentaToRed ? 360.0f : (green ? 120.0f : 240.0f);
    const float degrees = difference * 60.0f / (pMax - pMin);
    return redToYellow ? degrees : degrees + start;
}

// Degrees to 16 bits, truncated. The difference of two primaries is at most that of the extremes, so the value is below
// 65536. If the product with 60 overflowed, it is infinite and saturates. NaN gives 0.
SELVANE_INLINE int HueSample(float pDegrees)
{
    const float scaled = pDegrees * kDegreesToSample16;
    const float positive = scaled > 0.0f ? scaled : 0.0f;
    return static_cast<int>(positive < kToSample16 ? positive : kToSample16);
}

struct sHMV
{
    int fHue;
    float fSmallest;
    float fLargest;
};

// The colour fields of both records. A colour whose largest primary is not above 0, or NaN, gets the marker.
SELVANE_INLINE sHMV Encode(float pR, float pG, float pB)
{
    const float smallest = Smaller(Smaller(pR, pG), pB);
    const float largest = Larger(Larger(pR, pG), pB);
    const int hue = HueSample(HueDegrees(pR, pG, pB, smallest, largest));
    const bool lit = largest > 0.0f;
    return {smallest == largest ? 0 : hue, lit ? smallest : 0.0f, lit ? largest : kSmallestV};
}

// Raises a negative or NaN primary to 0.
SELVANE_INLINE float AtLeastZero(float pValue)
{
    return pValue > 0.0f ? pValue : 0.0f;
}

// Three primaries from hue on the unit scale, smallest and largest primary. The sextant is a truncating remainder. So a
// negative hue takes the last case, unless it is in the first sixth of a turn.
SELVANE_INLINE void Decode(float pH, float pM, float pV, float& pR, float& pG, float& pB)
{
    const float sixth = pH * 6.0f;
    const float whole = std::floor(sixth);
    const float fraction = sixth - whole;
    const float down = std::fma(fraction, pM - pV, pV);
    const float up = std::fma(-fraction, pM - pV, pM);
    switch (TruncateToInt32(whole) % 6) {
    case 0:
        pR = pV, pG = up, pB = pM;
        break;
    case 1:
        pR = down, pG = pV, pB = pM;
        break;
    case 2:
        pR = pM, pG = pV, pB = up;
        break;
    case 3:
        pR = pM, pG = down, pB = pV;
        break;
    case 4:
        pR = up, pG = pM, pB = pV;
        break;
    default:
        pR = pV, pG = pM, pB = down;
        break;
    }
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

struct sStrip
{
    float fLuminance[kStrip];
    int fHue[kStrip];
    float fSmallest[kStrip];
    float fLargest[kStrip];
};

// Encodes one XYZ pixel. A NaN luminance is not dark: it is stored, with the second marker as its colour. The scaled
// luminance is exactly 1, so the middle column of the matrix needs no product.
SELVANE_INLINE void EncodeXYZ(const float* pXYZ, const cMatrix33& m, sStrip& pStrip, int pAt)
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

SELVANE_INLINE void StoreYHMV(const sStrip& pStrip, int pCount, unsigned char* pTo)
{
    for (int n = 0; n < pCount; ++n, pTo += kYHMVBytes) {
        StoreFloat(pTo + kYHMVLuminance, pStrip.fLuminance[n]);
        StoreHue(pTo + kYHMVHue, pStrip.fHue[n]);
        StoreFloat(pTo + kYHMVSmallest, pStrip.fSmallest[n]);
        StoreFloat(pTo + kYHMVLargest, pStrip.fLargest[n]);
    }
}

SELVANE_CLONES void EncodeRowXYZ(const float* pFrom, unsigned short* pTo, int pWidth, cMatrix33 pMatrix)
{
    sStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const float* from = pFrom + 3 * x;
        for (int n = 0; n < count; ++n)
            EncodeXYZ(from + ptrdiff_t{3} * n, pMatrix, strip, n);
        StoreYHMV(strip, count, RecordsOf(pTo) + kYHMVBytes * x);
    }
}

struct sPrimaries
{
    float fR[kStrip];
    float fG[kStrip];
    float fB[kStrip];
};

// Samples are stored blue, green, red.
template <class tSample>
SELVANE_INLINE void FetchLinear(const tSample* pFrom, const float* pLUT, int pCount, sPrimaries& pTo)
{
    for (int n = 0; n < pCount; ++n) {
        const tSample* from = pFrom + ptrdiff_t{3} * n;
        pTo.fB[n] = pLUT[from[0]];
        pTo.fG[n] = pLUT[from[1]];
        pTo.fR[n] = pLUT[from[2]];
    }
}

// Transforms to linear ProPhoto RGB, in place. A separate step, because it would not vectorise together with the next.
SELVANE_INLINE void TransformLinear(sPrimaries& pStrip, const cMatrix33& pMatrix, int pCount)
{
    for (int n = 0; n < pCount; ++n) {
        const cVector3 linear = MultiplyColumn<cVector3>(pMatrix, pStrip.fR[n], pStrip.fG[n], pStrip.fB[n]);
        pStrip.fR[n] = AtLeastZero(linear.x);
        pStrip.fG[n] = AtLeastZero(linear.y);
        pStrip.fB[n] = AtLeastZero(linear.z);
    }
}

SELVANE_INLINE void EncodeLinear(const sPrimaries& pFrom, int pCount, sStrip& pTo)
{
    for (int n = 0; n < pCount; ++n) {
        const sHMV color = Encode(pFrom.fR[n], pFrom.fG[n], pFrom.fB[n]);
        pTo.fHue[n] = color.fHue;
        pTo.fSmallest[n] = color.fSmallest;
        pTo.fLargest[n] = color.fLargest;
    }
}

SELVANE_INLINE void StoreHMV(const sStrip& pStrip, int pCount, unsigned char* pTo)
{
    for (int n = 0; n < pCount; ++n, pTo += kHMVBytes) {
        StoreHue(pTo, pStrip.fHue[n]);
        StoreFloat(pTo + kHMVSmallest, pStrip.fSmallest[n]);
        StoreFloat(pTo + kHMVLargest, pStrip.fLargest[n]);
    }
}

template <class tSample>
SELVANE_CLONES void EncodeRowLDR(const tSample* pFrom, const float* pLUT, unsigned short* pTo, int pWidth,
                                 cMatrix33 pMatrix)
{
    sPrimaries primaries;
    sStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        FetchLinear(pFrom + 3 * x, pLUT, count, primaries);
        TransformLinear(primaries, pMatrix, count);
        EncodeLinear(primaries, count, strip);
        StoreHMV(strip, count, RecordsOf(pTo) + kHMVBytes * x);
    }
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

cMatrix33 ProPhotoFromPCS()
{
    cColorSpace_ProPhotoRGB space;
    return space.GetFromPCSTransform();
}

// Encodes every row of an interleaved picture with one transfer table. pStride is in samples.
template <class tSample>
void EncodeRows(const void* pFrom, ptrdiff_t pStride, const float* pLUT, const cMatrix33& pMatrix, int pWidth,
                int pHeight, cBitmapU16T* pTo)
{
    const tSample* from = static_cast<const tSample*>(pFrom);
    for (int y = 0; y < pHeight; ++y)
        EncodeRowLDR(from + y * pStride, pLUT, pTo->GetScanline(y), pWidth, pMatrix);
}

// ---- The table ------------------------------------------------------------------------------------------------------

SELVANE_CLONES void FillNeutral(float (*pTable)[3])
{
    for (int i = 0; i < kTableSize; ++i)
        Decode(static_cast<float>(i) * kFromSample16, 0.0f, 1.0f, pTable[i][0], pTable[i][1], pTable[i][2]);
}

// A shift of 32767 is neutral. The hue wraps around the circle as its 16 bits wrap. Twice the saturation is exact, so
// the plain difference equals the fused one.
SELVANE_CLONES void FillFromCurves(float (*pTable)[3], const float* pHSLUT, const unsigned short* pHHLUT)
{
    for (int i = 0; i < kTableSize; ++i) {
        const uint32_t shifted = static_cast<uint32_t>(pHHLUT[i]) + static_cast<uint32_t>(i) - 32767u;
        const uint16_t hue = static_cast<uint16_t>(shifted & 0xFFFFu);
        const float smallest = 1.0f - 2.0f * pHSLUT[i];
        Decode(static_cast<float>(hue) * kFromSample16, smallest, 1.0f, pTable[i][0], pTable[i][1], pTable[i][2]);
    }
}

} // namespace

cYHMVColorSpace::cYHMVColorSpace()
{
    ComputeHMVToRGBLUT();
}

cYHMVColorSpace::~cYHMVColorSpace() = default;

void cYHMVColorSpace::XYZToYHMV(bool* /*pCancel*/, bool* /*pCancelled*/, const cBitmapXYZ32* pInput,
                                cBitmapU16T* pOutput)
{
    const cMatrix33 matrix = ProPhotoFromPCS();
    const ptrdiff_t stride = pInput->fStride / 4; // floats
    for (int y = 0; y < pInput->fHeight; ++y)
        EncodeRowXYZ(pInput->fData + y * stride, pOutput->GetScanline(y), pInput->fWidth, matrix);
}

void cYHMVColorSpace::RGBToHMV(bool* /*pCancel*/, bool* /*pCancelled*/, const cBitmapLDR* pInput, cBitmapU16T* pOutput)
{
    cBitmapLDR* input = const_cast<cBitmapLDR*>(pInput); // the bitmap's accessors are not const
    cColorSpace* space = input->GetColorSpace();
    Require(cInvalidOperationException, space != nullptr, "Color space is not set.");

    const int width = pInput->fWidth;
    const int height = pInput->fHeight;
    const cMatrix33 toPCS = space->GetToPCSTransform();
    if (pInput->GetBitsPerChannel() == 8) {
        const auto transfer = std::make_unique<cTransferLUT_I8F32>(space->GetToLinearTransfer());
        const cMatrix33 matrix = Multiply(ProPhotoFromPCS(), toPCS);
        EncodeRows<uint8_t>(input->GetBitmapArray(), pInput->fStride, transfer->fLUT, matrix, width, height, pOutput);
    } else {
        const auto transfer = std::make_unique<cTransferLUT_I16F32>(space->GetToLinearTransfer());
        const cMatrix33 matrix = Multiply(ProPhotoFromPCS(), toPCS);
        EncodeRows<uint16_t>(input->GetBitmapArray(), pInput->fStride / 2, transfer->fLUT, matrix, width, height,
                             pOutput);
    }
}

void cYHMVColorSpace::RGBToHMV(float R, float G, float B, float& H, float& M, float& V)
{
    const float smallest = Smaller(Smaller(R, G), B);
    const float largest = Larger(Larger(R, G), B);
    H = smallest == largest ? 0.0f : HueDegrees(R, G, B, smallest, largest) * kDegreesToUnit;
    M = smallest;
    V = largest;
}

void cYHMVColorSpace::HMVToRGB(float H, float M, float V, float& R, float& G, float& B)
{
    Decode(H, M, V, R, G, B);
}

void cYHMVColorSpace::ComputeHMVToRGBLUT()
{
    FillNeutral(fHMVToRGBLUT);
}

void cYHMVColorSpace::UpdateHMVToRGBLUT(float* pHSLUT, unsigned short* pHHLUT)
{
    FillFromCurves(fHMVToRGBLUT, pHSLUT, pHHLUT);
}

} // namespace Vornik
