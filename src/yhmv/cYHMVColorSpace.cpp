#include "yhmv/cYHMVColorSpace.h"

#include "base/Numeric.h"
#include "base/Require.h"
#include "base/Strips.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"
#include "curve/cTransfer.h"
#include "yhmv/DecodeStrip.h"
#include "yhmv/EncodeStrip.h"
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

constexpr float kDegreesToUnit = 0x1.6c16c2p-9f; // 0.0027777778, 1 / 360

// ---- One pixel ------------------------------------------------------------------------------------------------------

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

SELVANE_INLINE void StoreYHMV(const sRecordStrip& pStrip, int pCount, unsigned char* pTo)
{
    sRawRecords raw;
    for (int n = 0; n < kStrip; ++n)
        raw.Set(n, pStrip.fLuminance[n], pStrip.fHue[n], pStrip.fSmallest[n], pStrip.fLargest[n]);
    StoreRecords<kYHMVBytes>(pTo, pCount, raw);
}

SELVANE_CLONES void EncodeRowXYZ(const float* pFrom, unsigned short* pTo, int pWidth, cMatrix33 pMatrix)
{
    sRecordStrip strip{};
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

// Raises a negative or NaN primary to 0.
SELVANE_INLINE float AtLeastZero(float pValue)
{
    return pValue > 0.0f ? pValue : 0.0f;
}

// Transforms linear samples, stored blue, green, red, to linear ProPhoto RGB. A separate step, because it would not
// vectorise together with the next.
SELVANE_INLINE void TransformLinear(const float* pLinear, const cMatrix33& pMatrix, sPrimaries& pTo)
{
    for (int n = 0; n < kStrip; ++n) {
        const float* const bgr = pLinear + ptrdiff_t{3} * n;
        const cVector3 linear = MultiplyColumn<cVector3>(pMatrix, bgr[2], bgr[1], bgr[0]);
        pTo.fR[n] = AtLeastZero(linear.x);
        pTo.fG[n] = AtLeastZero(linear.y);
        pTo.fB[n] = AtLeastZero(linear.z);
    }
}

SELVANE_INLINE void EncodeLinear(const sPrimaries& pFrom, sRecordStrip& pTo)
{
    for (int n = 0; n < kStrip; ++n) {
        const sHMV color = Encode(pFrom.fR[n], pFrom.fG[n], pFrom.fB[n]);
        pTo.fHue[n] = color.fHue;
        pTo.fSmallest[n] = color.fSmallest;
        pTo.fLargest[n] = color.fLargest;
    }
}

SELVANE_INLINE void StoreHMV(const sRecordStrip& pStrip, int pCount, unsigned char* pTo)
{
    sRawRecords raw;
    for (int n = 0; n < kStrip; ++n)
        raw.Set(n, 0.0f, pStrip.fHue[n], pStrip.fSmallest[n], pStrip.fLargest[n]);
    StoreRecords<kHMVBytes>(pTo, pCount, raw);
}

// All loops but the look-ups go over whole strips; the rest of a short one is what the strip before left.
template <class tSample>
SELVANE_CLONES void EncodeRowLDR(const tSample* pFrom, const float* pLUT, unsigned short* pTo, int pWidth,
                                 cMatrix33 pMatrix)
{
    float linear[3 * kStrip] = {};
    sPrimaries primaries;
    sRecordStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        LookUp(pFrom + 3 * x, 3 * count, pLUT, linear);
        TransformLinear(linear, pMatrix, primaries);
        EncodeLinear(primaries, strip);
        StoreHMV(strip, count, RecordsOf(pTo) + kHMVBytes * x);
    }
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

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

// The formula of the decoders gives the bits of Decode for all 65536 hues, and vectorises.
SELVANE_CLONES void FillNeutral(float (*pTable)[3])
{
    sDecodeStrip strip{};
    for (int first = 0; first < kTableSize; first += kStrip) {
        for (int n = 0; n < kStrip; ++n)
            strip.fHue[n] = first + n;
        ColorOfHue(strip);
        for (int n = 0; n < kStrip; ++n)
            for (int k = 0; k < 3; ++k)
                pTable[first + n][k] = strip.fColor[k][n];
    }
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

cMatrix33 ProPhotoFromPCS()
{
    cColorSpace_ProPhotoRGB space;
    return space.GetFromPCSTransform();
}

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
