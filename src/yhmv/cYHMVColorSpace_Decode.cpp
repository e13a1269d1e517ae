#include "yhmv/cYHMVColorSpace.h"

#include "base/Numeric.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "yhmv/PixelRecord.h"

#include <cmath>
#include <cstddef>

// The decoders. A pixel takes six steps: the record and the table entry of its hue, the intensity, the ProPhoto
// primaries, the contrast table or a clamp, the matrix, and the encoded samples blue, green, red. A row is decoded in
// strips, step by step over small arrays: arithmetic vectorises, table look-ups do not.

namespace Vornik
{

namespace
{

// A strip between the steps. fColor holds in turn the table entries of the hue, the primaries, and the primaries after
// the contrast table or the clamp. fIndex holds their indices in the next table.
struct sStrip
{
    float fLuminance[kStrip];
    float fLightness[kStrip];
    float fSmallest[kStrip];
    float fLargest[kStrip];
    float fIntensity[kStrip];
    float fColor[3][kStrip];
    int fIndex[3][kStrip];
};

// ---- Step 1: the record and the table entry of its hue --------------------------------------------------------------

SELVANE_INLINE void LoadEntry(sStrip& pStrip, int pAt, const float* pEntry)
{
    pStrip.fColor[0][pAt] = pEntry[0];
    pStrip.fColor[1][pAt] = pEntry[1];
    pStrip.fColor[2][pAt] = pEntry[2];
}

SELVANE_INLINE void LoadYHMV(sStrip& pStrip, int pCount, const unsigned char* pRow, const float (*pTable)[3])
{
    for (int n = 0; n < pCount; ++n, pRow += kYHMVBytes) {
        pStrip.fLuminance[n] = LoadFloat(pRow + kYHMVLuminance);
        pStrip.fSmallest[n] = LoadFloat(pRow + kYHMVSmallest);
        pStrip.fLargest[n] = LoadFloat(pRow + kYHMVLargest);
        LoadEntry(pStrip, n, pTable[LoadHue(pRow + kYHMVHue)]);
    }
}

SELVANE_INLINE void LoadHMV(sStrip& pStrip, int pCount, const unsigned char* pRow, const float (*pTable)[3])
{
    for (int n = 0; n < pCount; ++n, pRow += kHMVBytes) {
        pStrip.fSmallest[n] = LoadFloat(pRow + kHMVSmallest);
        pStrip.fLargest[n] = LoadFloat(pRow + kHMVLargest);
        LoadEntry(pStrip, n, pTable[LoadHue(pRow)]);
    }
}

// pHue points to the hue of the first record.
SELVANE_INLINE void LoadLightness(sStrip& pStrip, int pCount, const unsigned char* pHue, int pBytes,
                                  const float* pHLLUT)
{
    for (int n = 0; n < pCount; ++n, pHue += pBytes)
        pStrip.fLightness[n] = pHLLUT[LoadHue(pHue)];
}

// ---- Step 2: intensity ----------------------------------------------------------------------------------------------

// Required: a range of exactly 1 counts as none, and the intensity is scaled by pScale.
SELVANE_INLINE void IntensityOfRange(sStrip& pStrip, int pCount, float pScale, float pInvRange, float pBlack)
{
    if (pInvRange == 1.0f) {
        for (int n = 0; n < pCount; ++n)
            pStrip.fIntensity[n] = pStrip.fLuminance[n] * pScale;
        return;
    }
    for (int n = 0; n < pCount; ++n) {
        const float intensity = (pStrip.fLuminance[n] - pBlack) * pInvRange;
        pStrip.fIntensity[n] = intensity > 0.0f ? intensity : 0.0f; // NaN gives 0 too
    }
}

// The factor of the hue-lightness curve: 1 if the curve is neutral or the pixel grey, 0 to 2 for a pure colour.
SELVANE_INLINE float Lightness(float pLightness, float pSmallest, float pLargest)
{
    const float paleness = pSmallest / pLargest;
    const float twiceSaturation = (1.0f - paleness) + (1.0f - paleness);
    return std::fma(pLightness - 0.5f, twiceSaturation, 1.0f);
}

SELVANE_INLINE void IntensityOfLightness(sStrip& pStrip, int pCount)
{
    for (int n = 0; n < pCount; ++n)
        pStrip.fIntensity[n] = Lightness(pStrip.fLightness[n], pStrip.fSmallest[n], pStrip.fLargest[n]);
}

SELVANE_INLINE void ScaleByLuminance(sStrip& pStrip, int pCount, float pScale)
{
    for (int n = 0; n < pCount; ++n)
        pStrip.fIntensity[n] = pStrip.fIntensity[n] * (pStrip.fLuminance[n] * pScale);
}

// ---- Step 3: primaries ----------------------------------------------------------------------------------------------

SELVANE_INLINE void Primaries(sStrip& pStrip, int pCount)
{
    for (int n = 0; n < pCount; ++n) {
        const float intensity = pStrip.fIntensity[n];
        const float smallest = pStrip.fSmallest[n];
        const float span = std::fma(-intensity, smallest, intensity * pStrip.fLargest[n]);
        for (auto& channel : pStrip.fColor)
            channel[n] = std::fma(intensity, smallest, span * channel[n]);
    }
}

// ---- Step 4: contrast table or clamp --------------------------------------------------------------------------------

SELVANE_INLINE void ThroughContrast(sStrip& pStrip, int pCount, const float* pContrastLUT)
{
    for (int k = 0; k < 3; ++k)
        for (int n = 0; n < pCount; ++n)
            pStrip.fIndex[k][n] = UnitIndex(pStrip.fColor[k][n]);
    for (int k = 0; k < 3; ++k)
        for (int n = 0; n < pCount; ++n)
            pStrip.fColor[k][n] = pContrastLUT[pStrip.fIndex[k][n]];
}

// Clamps to [0, 1]; NaN becomes 1.
SELVANE_INLINE void Clamp(sStrip& pStrip, int pCount)
{
    for (auto& channel : pStrip.fColor)
        for (int n = 0; n < pCount; ++n) {
            const float below = channel[n] < 1.0f ? channel[n] : 1.0f;
            channel[n] = below > 0.0f ? below : 0.0f;
        }
}

// ---- Step 5: the output's primaries, as indices into the encode table -----------------------------------------------

SELVANE_INLINE int OutputIndex(float pM0, float pM1, float pM2, float pA0, float pA1, float pA2)
{
    return UnitIndex(std::fma(pM2, pA2, std::fma(pM0, pA0, pM1 * pA1)));
}

SELVANE_INLINE void ThroughMatrix(sStrip& pStrip, int pCount, const cMatrix33& m)
{
    for (int n = 0; n < pCount; ++n) {
        const float a0 = pStrip.fColor[0][n];
        const float a1 = pStrip.fColor[1][n];
        const float a2 = pStrip.fColor[2][n];
        pStrip.fIndex[0][n] = OutputIndex(m.m00, m.m01, m.m02, a0, a1, a2);
        pStrip.fIndex[1][n] = OutputIndex(m.m10, m.m11, m.m12, a0, a1, a2);
        pStrip.fIndex[2][n] = OutputIndex(m.m20, m.m21, m.m22, a0, a1, a2);
    }
}

// ---- Step 6: samples ------------------------------------------------------------------------------------------------

// The destination of a row's samples. With fBytes, only the high byte of each is stored.
struct sTarget
{
    unsigned char* fAt;
    bool fBytes;
};

SELVANE_INLINE void StoreSample(unsigned char* pTo, uint16_t pSample)
{
    std::memcpy(pTo, &pSample, sizeof pSample);
}

SELVANE_INLINE void Store(sTarget& pTarget, const sStrip& pStrip, int pCount, const unsigned short* pEncodeLUT)
{
    unsigned char* to = pTarget.fAt;
    if (pTarget.fBytes)
        for (int n = 0; n < pCount; ++n, to += 3) {
            to[0] = static_cast<unsigned char>(pEncodeLUT[pStrip.fIndex[2][n]] >> 8);
            to[1] = static_cast<unsigned char>(pEncodeLUT[pStrip.fIndex[1][n]] >> 8);
            to[2] = static_cast<unsigned char>(pEncodeLUT[pStrip.fIndex[0][n]] >> 8);
        }
    else
        for (int n = 0; n < pCount; ++n, to += 6) {
            StoreSample(to, pEncodeLUT[pStrip.fIndex[2][n]]);
            StoreSample(to + 2, pEncodeLUT[pStrip.fIndex[1][n]]);
            StoreSample(to + 4, pEncodeLUT[pStrip.fIndex[0][n]]);
        }
    pTarget.fAt = to;
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

SELVANE_CLONES void DecodeSimple(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                                 const unsigned short* pEncodeLUT, float pScale, float pInvRange, float pBlack,
                                 cMatrix33 pMatrix, const float* pContrastLUT)
{
    sStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kYHMVBytes * x;
        LoadYHMV(strip, count, records, pTable);
        IntensityOfRange(strip, count, pScale, pInvRange, pBlack);
        Primaries(strip, count);
        ThroughContrast(strip, count, pContrastLUT);
        ThroughMatrix(strip, count, pMatrix);
        Store(pTarget, strip, count, pEncodeLUT);
    }
}

SELVANE_CLONES void DecodeRef(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                              const unsigned short* pEncodeLUT, float pScale, cMatrix33 pMatrix,
                              const float* pContrastLUT, const float* pHLLUT)
{
    sStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kYHMVBytes * x;
        LoadYHMV(strip, count, records, pTable);
        LoadLightness(strip, count, records + kYHMVHue, kYHMVBytes, pHLLUT);
        IntensityOfLightness(strip, count);
        ScaleByLuminance(strip, count, pScale);
        Primaries(strip, count);
        ThroughContrast(strip, count, pContrastLUT);
        ThroughMatrix(strip, count, pMatrix);
        Store(pTarget, strip, count, pEncodeLUT);
    }
}

SELVANE_CLONES void DecodeHMV(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                              const unsigned short* pEncodeLUT, cMatrix33 pMatrix, const float* pHLLUT)
{
    sStrip strip;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kHMVBytes * x;
        LoadHMV(strip, count, records, pTable);
        LoadLightness(strip, count, records, kHMVBytes, pHLLUT);
        IntensityOfLightness(strip, count);
        Primaries(strip, count);
        Clamp(strip, count);
        ThroughMatrix(strip, count, pMatrix);
        Store(pTarget, strip, count, pEncodeLUT);
    }
}

sTarget TargetOf(void* pDest, int pBits)
{
    return {static_cast<unsigned char*>(pDest), pBits == 8};
}

// The address of row pY of an interleaved picture. With 16-bit samples an odd stride is rounded down.
void* OutputRow(cBitmapLDR* pOutput, int pBits, int pY)
{
    unsigned char* samples = static_cast<unsigned char*>(pOutput->GetBitmapArray());
    const ptrdiff_t stride = pOutput->GetStride();
    return samples + pY * (pBits == 8 ? stride : stride / 2 * 2);
}

} // namespace

void cYHMVColorSpace::YHMVToRGB(const cBitmapU16T* pInput, cBitmapLDR* pOutput, unsigned short* pEncodeLUT,
                                float pScale, float pBlack, float pWhite, cMatrix33 pMatrix, float* pContrastLUT,
                                float* /*pHLLUT*/)
{
    const float invRange = pWhite > pBlack ? 1.0f / (pWhite - pBlack) : 1.0f;
    const int bits = pOutput->GetBitsPerChannel();
    for (int y = 0; y < pInput->fHeight; ++y)
        YHMVToRGB_RowSimple(pInput->GetScanline(y), OutputRow(pOutput, bits, y), pInput->fWidth, bits, pEncodeLUT,
                            pScale, invRange, pBlack, pMatrix, pContrastLUT);
}

void cYHMVColorSpace::HMVToRGB(const cBitmapU16T* pInput, cBitmapLDR* pOutput, unsigned short* pEncodeLUT,
                               cMatrix33 pMatrix, float* pHLLUT)
{
    const int bits = pOutput->GetBitsPerChannel();
    for (int y = 0; y < pInput->fHeight; ++y)
        HMVToRGB_RowRef(pInput->GetScanline(y), OutputRow(pOutput, bits, y), pInput->fWidth, bits, pEncodeLUT, pMatrix,
                        pHLLUT);
}

void cYHMVColorSpace::YHMVToRGB_RowSimple(const unsigned short* pRow, void* pDest, int pWidth, int pBits,
                                          unsigned short* pEncodeLUT, float pScale, float pInvRange, float pBlack,
                                          cMatrix33 pMatrix, float* pContrastLUT)
{
    DecodeSimple(RecordsOf(pRow), TargetOf(pDest, pBits), pWidth, fHMVToRGBLUT, pEncodeLUT, pScale, pInvRange, pBlack,
                 pMatrix, pContrastLUT);
}

void cYHMVColorSpace::YHMVToRGB_RowRef(const unsigned short* pRow, void* pDest, int pWidth, int pBits,
                                       unsigned short* pEncodeLUT, float pScale, cMatrix33 pMatrix, float* pContrastLUT,
                                       float* pHLLUT)
{
    DecodeRef(RecordsOf(pRow), TargetOf(pDest, pBits), pWidth, fHMVToRGBLUT, pEncodeLUT, pScale, pMatrix, pContrastLUT,
              pHLLUT);
}

void cYHMVColorSpace::HMVToRGB_RowRef(const unsigned short* pRow, void* pDest, int pWidth, int pBits,
                                      unsigned short* pEncodeLUT, cMatrix33 pMatrix, float* pHLLUT)
{
    DecodeHMV(RecordsOf(pRow), TargetOf(pDest, pBits), pWidth, fHMVToRGBLUT, pEncodeLUT, pMatrix, pHLLUT);
}

} // namespace Vornik
