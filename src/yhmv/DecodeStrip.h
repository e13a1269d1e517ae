#ifndef SELVANE_YHMV_DECODESTRIP_H
#define SELVANE_YHMV_DECODESTRIP_H

// The steps of a decoder, each over one strip of a row, internal. Arithmetic vectorises and look-ups do not, so each
// step is a loop of its own over small arrays.
//
//     hue, smallest, largest, luminance
//       1  colour of the hue for M = 0 and V = 1      a table, or for neutral hue curves the formula of its entries
//       2  intensity L                                from the luminance, black and white point
//       3  primaries c                                L * (M + (V - M) * colour)
//       4  contrast, or clamping                      a table
//       5  the output's primaries                     a matrix
//       6  samples                                    a table

#include "base/Numeric.h"
#include "base/Strips.h"
#include "base/Versions.h"
#include "color/MatrixProduct.h"
#include "color/cMatrix.h"
#include "yhmv/PixelRecord.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vornik
{

/// A strip between the steps. In turn, fColor holds the hue's colours, the primaries c and the values after step 4;
/// fIndex the indices into the next table.
struct sDecodeStrip
{
    float fLuminance[kStrip];
    int fHue[kStrip];
    float fSmallest[kStrip];
    float fLargest[kStrip];
    float fIntensity[kStrip];
    float fColor[3][kStrip];
    int fIndex[3][kStrip];
};

// ---- Step 1: the colour of the hue ----------------------------------------------------------------------------------

/// Looks the colours up.
SELVANE_INLINE void ColorOfTable(sDecodeStrip& pStrip, int pCount, const float (*pTable)[3])
{
    for (int n = 0; n < pCount; ++n) {
        const float* entry = pTable[pStrip.fHue[n]];
        pStrip.fColor[0][n] = entry[0];
        pStrip.fColor[1][n] = entry[1];
        pStrip.fColor[2][n] = entry[2];
    }
}

/// The colours of the neutral table, worked out: the entries themselves, for all 65536 hues. The hue runs from 0 to 6.
/// A channel rises in one sextant, is 1 in the next two and falls in the fourth. No difference that lies between 0 and
/// 1 is rounded: green rises where the hue itself may have the most bits, and it is the hue.
SELVANE_INLINE void ColorOfHue(sDecodeStrip& pStrip)
{
    for (int n = 0; n < kStrip; ++n) {
        const float hue = static_cast<float>(pStrip.fHue[n]) * kFromSample16 * 6.0f;
        pStrip.fColor[0][n] = LowerTo(RaiseTo0(std::fabs(hue - 3.0f) - 1.0f), 1.0f);
        pStrip.fColor[1][n] = RaiseTo0(LowerTo(LowerTo(hue, 1.0f), 4.0f - hue));
        pStrip.fColor[2][n] = RaiseTo0(LowerTo(LowerTo(hue - 2.0f, 1.0f), 6.0f - hue));
    }
}

// ---- Step 2: intensity ----------------------------------------------------------------------------------------------

/// How luminance becomes intensity.
struct sIntensity
{
    float fScale;    ///< exposure
    float fInvRange; ///< 1 / (white - black). Required: exactly 1 selects the exposure
    float fBlack;
};

/// 1 / (white - black); 1 if there is no range.
inline float InverseRange(float pBlack, float pWhite)
{
    return pWhite > pBlack ? 1.0f / (pWhite - pBlack) : 1.0f;
}

SELVANE_INLINE void IntensityOfRange(sDecodeStrip& pStrip, const sIntensity& pIntensity)
{
    if (pIntensity.fInvRange == 1.0f) {
        for (int n = 0; n < kStrip; ++n)
            pStrip.fIntensity[n] = pStrip.fLuminance[n] * pIntensity.fScale;
        return;
    }
    for (int n = 0; n < kStrip; ++n) {
        const float intensity = (pStrip.fLuminance[n] - pIntensity.fBlack) * pIntensity.fInvRange;
        pStrip.fIntensity[n] = intensity > 0.0f ? intensity : 0.0f; // NaN gives 0
    }
}

// ---- Step 3: primaries ----------------------------------------------------------------------------------------------

SELVANE_INLINE void Primaries(sDecodeStrip& pStrip)
{
    for (int n = 0; n < kStrip; ++n) {
        const float intensity = pStrip.fIntensity[n];
        const float smallest = pStrip.fSmallest[n];
        const float span = std::fma(-intensity, smallest, intensity * pStrip.fLargest[n]);
        for (auto& channel : pStrip.fColor)
            channel[n] = std::fma(intensity, smallest, span * channel[n]);
    }
}

// ---- Step 4: contrast -----------------------------------------------------------------------------------------------

SELVANE_INLINE void IndexPrimaries(sDecodeStrip& pStrip)
{
    for (int k = 0; k < 3; ++k)
        for (int n = 0; n < kStrip; ++n)
            pStrip.fIndex[k][n] = UnitIndex(pStrip.fColor[k][n]);
}

/// Through a table of floats.
SELVANE_INLINE void ThroughContrast(sDecodeStrip& pStrip, int pCount, const float* pContrastLUT)
{
    IndexPrimaries(pStrip);
    for (int k = 0; k < 3; ++k)
        LookUp(pStrip.fIndex[k], pCount, pContrastLUT, pStrip.fColor[k]);
}

/// Replaces indices by the entries that they lead to. Written out eight times, a look-up takes 0.2 ns instead of 0.37.
SELVANE_INLINE void LookUp(int* pIndices, const unsigned short* pTable)
{
#pragma GCC unroll 8
    for (int n = 0; n < kStrip; ++n)
        pIndices[n] = pTable[pIndices[n]];
}

/// sample * (1 / 65535) in double, rounded to float once. In float it takes two products: 1 / 65535 is 2^-16 * (1 +
/// 2^-16 + 2^-32), and the fused step rounds once. Equal for all 65536 samples; the product with kFromSample16 is not.
SELVANE_INLINE float FromContrastSample(float pSample)
{
    return std::fma(pSample, 0x1p-16f, pSample * 0x1.0001p-32f);
}

/// Through the samples that the table of floats is made from: half the memory, the same floats.
SELVANE_INLINE void ThroughContrast(sDecodeStrip& pStrip, const unsigned short* pContrastLUT)
{
    IndexPrimaries(pStrip);
    for (auto& channel : pStrip.fIndex)
        LookUp(channel, pContrastLUT);
    for (int k = 0; k < 3; ++k)
        for (int n = 0; n < kStrip; ++n)
            pStrip.fColor[k][n] = FromContrastSample(static_cast<float>(pStrip.fIndex[k][n]));
}

// ---- Step 5: the output's primaries, as indices into the encode table -----------------------------------------------

SELVANE_INLINE void ThroughMatrix(sDecodeStrip& pStrip, const cMatrix33& m)
{
    for (int n = 0; n < kStrip; ++n) {
        const float a0 = pStrip.fColor[0][n];
        const float a1 = pStrip.fColor[1][n];
        const float a2 = pStrip.fColor[2][n];
        pStrip.fIndex[0][n] = UnitIndex(FusedRow(m.m00, m.m01, m.m02, a0, a1, a2));
        pStrip.fIndex[1][n] = UnitIndex(FusedRow(m.m10, m.m11, m.m12, a0, a1, a2));
        pStrip.fIndex[2][n] = UnitIndex(FusedRow(m.m20, m.m21, m.m22, a0, a1, a2));
    }
}

// ---- Step 6: samples ------------------------------------------------------------------------------------------------

/// Stores pCount pixels of three samples; pFirst is the channel of the first one, 0 red or 2 blue.
template <int tFirst, class tSample, class tEntry>
SELVANE_INLINE void StoreSamples(unsigned char* pTo, const sDecodeStrip& pStrip, int pCount, const tEntry* pEncodeLUT)
{
#pragma GCC unroll 4
    for (int n = 0; n < pCount; ++n) {
        for (int k = 0; k < 3; ++k) {
            const int channel = tFirst == 0 ? k : 2 - k;
            const tEntry entry = pEncodeLUT[pStrip.fIndex[channel][n]];
            const auto sample = static_cast<tSample>(sizeof(tSample) < sizeof(tEntry) ? entry >> 8 : entry);
            std::memcpy(pTo + (3 * ptrdiff_t{n} + k) * ptrdiff_t{sizeof(tSample)}, &sample, sizeof sample);
        }
    }
}

} // namespace Vornik

#endif
