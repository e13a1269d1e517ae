#include "yhmv/cYHMVColorSpace.h"

#include "base/Numeric.h"
#include "base/Strips.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "yhmv/DecodeStrip.h"
#include "yhmv/PixelRecord.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <iterator>

// The decoders. A pixel takes six steps: the record and the table entry of its hue, the intensity, the ProPhoto
// primaries, the contrast table or a clamp, the matrix, and the encoded samples blue, green, red. A row is decoded in
// strips, step by step over small arrays: arithmetic vectorises, table look-ups do not.

namespace Vornik
{

namespace
{

// ---- Records --------------------------------------------------------------------------------------------------------

SELVANE_INLINE void LoadYHMV(sDecodeStrip& pStrip, int pCount, const unsigned char* pRow)
{
    sRawRecords raw;
    if (pCount < kStrip) raw = {};
    LoadRecords<kYHMVBytes>(pRow, pCount, raw);
    for (int n = 0; n < kStrip; ++n) {
        pStrip.fLuminance[n] = raw.Luminance(n);
        pStrip.fHue[n] = raw.Hue(n);
        pStrip.fSmallest[n] = raw.Smallest(n);
        pStrip.fLargest[n] = raw.Largest(n);
    }
}

SELVANE_INLINE void LoadHMV(sDecodeStrip& pStrip, int pCount, const unsigned char* pRow)
{
    sRawRecords raw;
    if (pCount < kStrip) raw = {};
    LoadRecords<kHMVBytes>(pRow, pCount, raw);
    for (int n = 0; n < kStrip; ++n) {
        pStrip.fHue[n] = raw.Hue(n);
        pStrip.fSmallest[n] = raw.Smallest(n);
        pStrip.fLargest[n] = raw.Largest(n);
    }
}

// ---- Intensity with the hue-lightness curve -------------------------------------------------------------------------

// 1 where the curve is neutral or the pixel grey, 0 to 2 on a pure colour.
SELVANE_INLINE float Lightness(float pLightness, float pSmallest, float pLargest)
{
    const float paleness = pSmallest / pLargest;
    const float twiceSaturation = (1.0f - paleness) + (1.0f - paleness);
    return std::fma(pLightness - 0.5f, twiceSaturation, 1.0f);
}

SELVANE_INLINE void IntensityOfLightness(sDecodeStrip& pStrip, int pCount, const float* pHLLUT)
{
    LookUp(pStrip.fHue, pCount, pHLLUT, pStrip.fIntensity);
    for (int n = 0; n < kStrip; ++n)
        pStrip.fIntensity[n] = Lightness(pStrip.fIntensity[n], pStrip.fSmallest[n], pStrip.fLargest[n]);
}

// ---- Black pixels ---------------------------------------------------------------------------------------------------

constexpr float kTiny = 0x1p-80f;
constexpr float kOrdinary = 0x1p16f;

// 1 if pValue is NaN or above pMost in size, else 0. On bits, so that a sum of them vectorises.
SELVANE_INLINE unsigned IsBeyond(float pValue, float pMost)
{
    return (std::bit_cast<unsigned>(pValue) & 0x7FFFFFFFu) > std::bit_cast<unsigned>(pMost) ? 1u : 0u;
}

SELVANE_INLINE bool IsOrdinary(const cMatrix33& m)
{
    const float entries[] = {m.m00, m.m01, m.m02, m.m10, m.m11, m.m12, m.m20, m.m21, m.m22};
    return std::none_of(std::begin(entries), std::end(entries), [](float entry) { return IsBeyond(entry, kOrdinary); });
}

SELVANE_INLINE bool IsOrdinary(const sDecodeStrip& pStrip)
{
    unsigned beyond = 0;
    for (int n = 0; n < kStrip; ++n)
        beyond |= IsBeyond(pStrip.fIntensity[n], kOrdinary) | IsBeyond(pStrip.fColor[0][n], kOrdinary) |
                  IsBeyond(pStrip.fColor[1][n], kOrdinary) | IsBeyond(pStrip.fColor[2][n], kOrdinary);
    return beyond == 0;
}

// Black is M = 0 with the smallest normal float as V. Its products are subnormal, and arithmetic on those takes a
// hundred times as long. V = 2^-80 gives black too: with intensity, colour and matrix at 2^16 or below, no channel
// exceeds 2^-30, and index 0 ends at 2^-16. A strip with any larger number keeps its V.
SELVANE_INLINE void RaiseBlack(sDecodeStrip& pStrip)
{
    if (!IsOrdinary(pStrip)) return;
    for (int n = 0; n < kStrip; ++n) {
        const bool black = (pStrip.fSmallest[n] == 0.0f) & (pStrip.fLargest[n] >= 0.0f) & (pStrip.fLargest[n] < kTiny);
        pStrip.fLargest[n] = black ? kTiny : pStrip.fLargest[n];
    }
}

SELVANE_INLINE void ScaleByLuminance(sDecodeStrip& pStrip, float pScale)
{
    for (int n = 0; n < kStrip; ++n)
        pStrip.fIntensity[n] = pStrip.fIntensity[n] * (pStrip.fLuminance[n] * pScale);
}

// Clamps to the unit interval; NaN becomes 1.
SELVANE_INLINE void Clamp(sDecodeStrip& pStrip)
{
    for (auto& channel : pStrip.fColor)
        for (int n = 0; n < kStrip; ++n) {
            const float below = channel[n] < 1.0f ? channel[n] : 1.0f;
            channel[n] = below > 0.0f ? below : 0.0f;
        }
}

// The samples of a row: blue, green, red. 8-bit samples are the high bytes of the table's entries.
struct sTarget
{
    unsigned char* fAt;
    bool fBytes;
};

SELVANE_INLINE void Store(sTarget& pTarget, const sDecodeStrip& pStrip, int pCount, const unsigned short* pEncodeLUT)
{
    if (pTarget.fBytes)
        StoreSamples<2, unsigned char>(pTarget.fAt, pStrip, pCount, pEncodeLUT);
    else
        StoreSamples<2, unsigned short>(pTarget.fAt, pStrip, pCount, pEncodeLUT);
    pTarget.fAt += ptrdiff_t{pTarget.fBytes ? 3 : 6} * pCount;
}

// ---- Neutral hues ---------------------------------------------------------------------------------------------------

constexpr int64_t kPixelsToAsk = int64_t{1} << 19; // with fewer, the question takes longer than what it saves

bool IsWorthAsking(const cBitmapU16T& pPicture)
{
    return int64_t{pPicture.fWidth} * pPicture.fHeight >= kPixelsToAsk;
}

/// Whether the table has the colours of a neutral one, bit for bit.
SELVANE_CLONES bool IsNeutral(const float (*pTable)[3])
{
    sDecodeStrip strip{};
    for (int first = 0; first < kTableSize; first += kStrip) {
        for (int n = 0; n < kStrip; ++n)
            strip.fHue[n] = first + n;
        ColorOfHue(strip);
        uint32_t different = 0;
        for (int n = 0; n < kStrip; ++n)
            for (int k = 0; k < 3; ++k)
                different |=
                    std::bit_cast<uint32_t>(strip.fColor[k][n]) ^ std::bit_cast<uint32_t>(pTable[first + n][k]);
        if (different != 0) return false;
    }
    return true;
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

/// @tparam tNeutral whether pTable is neutral
template <bool tNeutral>
SELVANE_CLONES void DecodeSimple(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                                 const unsigned short* pEncodeLUT, float pScale, float pInvRange, float pBlack,
                                 cMatrix33 pMatrix, const float* pContrastLUT)
{
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kYHMVBytes * x;
        LoadYHMV(strip, count, records);
        if (tNeutral)
            ColorOfHue(strip);
        else
            ColorOfTable(strip, count, pTable);
        IntensityOfRange(strip, {pScale, pInvRange, pBlack});
        Primaries(strip);
        ThroughContrast(strip, count, pContrastLUT);
        ThroughMatrix(strip, pMatrix);
        Store(pTarget, strip, count, pEncodeLUT);
    }
}

SELVANE_CLONES void DecodeRef(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                              const unsigned short* pEncodeLUT, float pScale, cMatrix33 pMatrix,
                              const float* pContrastLUT, const float* pHLLUT)
{
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kYHMVBytes * x;
        LoadYHMV(strip, count, records);
        ColorOfTable(strip, count, pTable);
        IntensityOfLightness(strip, count, pHLLUT);
        ScaleByLuminance(strip, pScale);
        Primaries(strip);
        ThroughContrast(strip, count, pContrastLUT);
        ThroughMatrix(strip, pMatrix);
        Store(pTarget, strip, count, pEncodeLUT);
    }
}

/// @tparam tNeutral whether pTable is neutral
template <bool tNeutral>
SELVANE_CLONES void DecodeHMV(const unsigned char* pRow, sTarget pTarget, int pWidth, const float (*pTable)[3],
                              const unsigned short* pEncodeLUT, cMatrix33 pMatrix, const float* pHLLUT)
{
    const bool ordinary = IsOrdinary(pMatrix);
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        const unsigned char* records = pRow + kHMVBytes * x;
        LoadHMV(strip, count, records);
        if (tNeutral)
            ColorOfHue(strip);
        else
            ColorOfTable(strip, count, pTable);
        IntensityOfLightness(strip, count, pHLLUT);
        if (ordinary) RaiseBlack(strip);
        Primaries(strip);
        Clamp(strip);
        ThroughMatrix(strip, pMatrix);
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
    const float invRange = InverseRange(pBlack, pWhite);
    const int bits = pOutput->GetBitsPerChannel();
    const auto decode = IsWorthAsking(*pInput) && IsNeutral(fHMVToRGBLUT) ? DecodeSimple<true> : DecodeSimple<false>;
    for (int y = 0; y < pInput->fHeight; ++y)
        decode(RecordsOf(pInput->GetScanline(y)), TargetOf(OutputRow(pOutput, bits, y), bits), pInput->fWidth,
               fHMVToRGBLUT, pEncodeLUT, pScale, invRange, pBlack, pMatrix, pContrastLUT);
}

void cYHMVColorSpace::HMVToRGB(const cBitmapU16T* pInput, cBitmapLDR* pOutput, unsigned short* pEncodeLUT,
                               cMatrix33 pMatrix, float* pHLLUT)
{
    const int bits = pOutput->GetBitsPerChannel();
    const auto decode = IsWorthAsking(*pInput) && IsNeutral(fHMVToRGBLUT) ? DecodeHMV<true> : DecodeHMV<false>;
    for (int y = 0; y < pInput->fHeight; ++y)
        decode(RecordsOf(pInput->GetScanline(y)), TargetOf(OutputRow(pOutput, bits, y), bits), pInput->fWidth,
               fHMVToRGBLUT, pEncodeLUT, pMatrix, pHLLUT);
}

void cYHMVColorSpace::YHMVToRGB_RowSimple(const unsigned short* pRow, void* pDest, int pWidth, int pBits,
                                          unsigned short* pEncodeLUT, float pScale, float pInvRange, float pBlack,
                                          cMatrix33 pMatrix, float* pContrastLUT)
{
    DecodeSimple<false>(RecordsOf(pRow), TargetOf(pDest, pBits), pWidth, fHMVToRGBLUT, pEncodeLUT, pScale, pInvRange,
                        pBlack, pMatrix, pContrastLUT);
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
    DecodeHMV<false>(RecordsOf(pRow), TargetOf(pDest, pBits), pWidth, fHMVToRGBLUT, pEncodeLUT, pMatrix, pHLLUT);
}

} // namespace Vornik
