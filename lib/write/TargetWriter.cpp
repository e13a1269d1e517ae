#include "write/TargetWriter.h"

#include "api/Failure.h"
#include "picture/Half.h"
#include "write/Space.h"
#include "yhmv/PackStrip.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace SelvaneLib
{

namespace
{

using namespace Vornik;

constexpr int kBlock = 8 * kStrip; // pixels whose indices are kept at once

/// 1 on greys and where the curve is neutral, 0 to 2 on pure colours.
SELVANE_INLINE void ScaleByLightness(sDecodeStrip& pStrip, int pCount, const float* pLightness)
{
    float lightness[kStrip] = {};
    for (int n = 0; n < pCount; ++n)
        lightness[n] = pLightness[pStrip.fHue[n]];
    for (int n = 0; n < kStrip; ++n) {
        const float saturation = 1.0f - pStrip.fSmallest[n] / pStrip.fLargest[n];
        const float factor = 1.0f + (lightness[n] - 0.5f) * (saturation + saturation);
        pStrip.fIntensity[n] *= factor > 0.0f ? factor : 0.0f;
    }
}

/// A strip from XYZ to indices into the encode table. Asks for the pixels of a later strip between the steps.
SELVANE_INLINE void Decode(const float* pXYZ, const float* pLuminance, int pCount, const sFinalPass& pPass,
                           sDecodeStrip& pStrip)
{
    const float* ahead = pXYZ + ptrdiff_t{6} * kStrip;
    PrefetchPart<0>(ahead);
    PackStrip(pXYZ, pLuminance, pCount, pPass.fFromXYZ, pStrip);
    PrefetchPart<1>(ahead);
    if (pPass.fHueTable != nullptr)
        ColorOfTable(pStrip, pCount, pPass.fHueTable);
    else
        ColorOfHue(pStrip);
    IntensityOfRange(pStrip, pPass.fIntensity);
    if (pPass.fHueTable != nullptr) ScaleByLightness(pStrip, pCount, pPass.fLightness);
    PrefetchPart<2>(ahead);
    Primaries(pStrip);
    ThroughContrast(pStrip, pPass.fContrast);
    PrefetchPart<3>(ahead);
    ThroughMatrix(pStrip, pPass.fToTarget);
}

/// A row of pixels without gaps, straight into the target.
template <int tFirst, class tSample>
SELVANE_CLONES void PackedRow(const float* pXYZ, const float* pLuminance, unsigned char* pTo, int pWidth,
                              sFinalPass pPass, const tSample* pEncode)
{
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        Decode(pXYZ + 3 * x, pLuminance == nullptr ? nullptr : pLuminance + x, count, pPass, strip);
        StoreSamples<tFirst, tSample>(pTo + 3 * x * ptrdiff_t{sizeof(tSample)}, strip, count, pEncode);
    }
}

/// Indices of up to kBlock pixels: red, green, blue of each.
SELVANE_CLONES void IndexBlock(const float* pXYZ, const float* pLuminance, int pWidth, sFinalPass pPass,
                               uint16_t* pIndices)
{
    sDecodeStrip strip{};
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = StripCount(pWidth, x);
        Decode(pXYZ + 3 * x, pLuminance == nullptr ? nullptr : pLuminance + x, count, pPass, strip);
        for (int n = 0; n < count; ++n)
            for (int k = 0; k < 3; ++k)
                pIndices[3 * (x + n) + k] = static_cast<uint16_t>(strip.fIndex[k][n]);
    }
}

template <class tSample>
void Store(unsigned char* pTo, tSample pSample)
{
    std::memcpy(pTo, &pSample, sizeof pSample);
}

/// The pattern of Bayer (1973), 8 x 8: the bits of the two places in turn, the highest from the lowest. 0 to 63.
unsigned Bayer(unsigned pX, unsigned pY)
{
    unsigned value = 0;
    for (unsigned bit = 0; bit < 3; bit++)
        value = value << 2 | ((pX ^ pY) >> bit & 1) << 1 | (pY >> bit & 1);
    return value;
}

/// 16 bits to 8, with a threshold of the pattern, (n + 1/2) / 64: over 8 x 8 pixels, the mean of byte / 255 is
/// sample / 65535. One byte is 257 samples.
uint8_t Dithered(uint16_t pSample, int pX, int pY)
{
    const unsigned threshold = 2 * Bayer(static_cast<unsigned>(pX), static_cast<unsigned>(pY)) + 1;
    return static_cast<uint8_t>((128u * pSample + 257u * threshold) / (128u * 257u));
}

/// Any layout, sample by sample.
class cPlacer
{
public:
    cPlacer(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables)
        : fTarget(pTarget), fLayout(pLayout), fTables(pTables)
    {
    }

    void Place(unsigned char* pRow, int pX, int pY, const uint16_t* pIndices) const
    {
        for (int color = 0; color < 3; color++)
            PlaceOne(pRow + pX * fLayout.fPixel + fLayout.OffsetOf(color), pX, pY, pIndices[color]);
    }

private:
    void PlaceOne(unsigned char* pTo, int pX, int pY, uint16_t pIndex) const
    {
        if (fLayout.fFormat == SELVANE_F32)
            Store(pTo, fTables.fFloats[pIndex]);
        else if (fLayout.fFormat != SELVANE_U8)
            Store(pTo, fTables.fSamples[pIndex]);
        else if (fTarget.dither != 0)
            *pTo = Dithered(fTables.fSamples[pIndex], pX, pY);
        else
            *pTo = fTables.fBytes[pIndex];
    }

    const selvane_target& fTarget;
    const sLayout& fLayout;
    const cTargetTables& fTables;
};

/// Alpha in the target's form, rounded to the nearest.
void StoreAlpha(unsigned char* pTo, int pFormat, float pAlpha)
{
    const float alpha = pAlpha > 0.0f ? std::min(pAlpha, 1.0f) : 0.0f;
    if (pFormat == SELVANE_U8)
        Store(pTo, static_cast<uint8_t>(std::lround(alpha * 255.0f)));
    else if (pFormat == SELVANE_U16)
        Store(pTo, static_cast<uint16_t>(std::lround(alpha * 65535.0f)));
    else if (pFormat == SELVANE_F16)
        Store(pTo, ToHalf(alpha));
    else
        Store(pTo, alpha);
}

/// Alpha that has the target's form already is copied byte by byte.
void WriteAlpha(unsigned char* pRow, const sLayout& pLayout, const cPicture& pPicture, int pY)
{
    const bool same = pPicture.HasAlpha() && pPicture.fAlphaFormat == pLayout.fFormat;
    unsigned char* to = pRow + pLayout.OffsetOfAlpha();
    for (int x = 0; x < pLayout.fWidth; x++, to += pLayout.fPixel) {
        const int64_t pixel = int64_t{pY} * pLayout.fWidth + x;
        if (same)
            std::memcpy(to, pPicture.AlphaSample(pixel), static_cast<size_t>(pLayout.fSampleBytes));
        else
            StoreAlpha(to, pLayout.fFormat, pPicture.AlphaAt(pixel));
    }
}

bool WritePacked(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables,
                 const sFinalPass& pPass, const float* pXYZ, const float* pLuminance, unsigned char* pTo)
{
    if (!pLayout.IsPacked() || pTarget.dither != 0) return false;
    if (pLayout.fFormat == SELVANE_U8) {
        const auto row = pLayout.fBlueFirst ? PackedRow<2, uint8_t> : PackedRow<0, uint8_t>;
        row(pXYZ, pLuminance, pTo, pLayout.fWidth, pPass, pTables.fBytes.data());
        return true;
    }
    if (pLayout.fFormat == SELVANE_U16 || pLayout.fFormat == SELVANE_F16) {
        const auto row = pLayout.fBlueFirst ? PackedRow<2, uint16_t> : PackedRow<0, uint16_t>;
        row(pXYZ, pLuminance, pTo, pLayout.fWidth, pPass, pTables.fSamples.data());
        return true;
    }
    return false;
}

void WritePlaced(const cPlacer& pPlacer, int pWidth, int pY, const sFinalPass& pPass, const float* pXYZ,
                 const float* pLuminance, unsigned char* pTo)
{
    uint16_t indices[3 * kBlock];
    for (int x = 0; x < pWidth; x += kBlock) {
        const int count = std::min(kBlock, pWidth - x);
        IndexBlock(pXYZ + ptrdiff_t{3} * x, pLuminance == nullptr ? nullptr : pLuminance + x, count, pPass, indices);
        for (int n = 0; n < count; n++)
            pPlacer.Place(pTo, x + n, pY, indices + ptrdiff_t{3} * n);
    }
}

/// The index of a linear sample in the encode table, rounded to the nearest.
uint16_t PlainIndex(double pSample)
{
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): none is below 0, and lround is a call for each sample
    return static_cast<uint16_t>(std::clamp(pSample, 0.0, 1.0) * 65535.0 + 0.5);
}

} // namespace

void cTargetTables::Prepare(const selvane_target& pTarget)
{
    if (fFormat == pTarget.format && fSpace == pTarget.space && fLinear == pTarget.linear) return;
    fFormat = 0;
    const bool linear = pTarget.linear != 0;
    if (pTarget.format == SELVANE_F32 || pTarget.format == SELVANE_F16) fFloats = FloatTable(pTarget.space, linear);
    if (pTarget.format == SELVANE_F16) {
        fSamples.resize(fFloats.size());
        std::transform(fFloats.begin(), fFloats.end(), fSamples.begin(), ToHalf);
    }
    if (pTarget.format == SELVANE_U8 || pTarget.format == SELVANE_U16) fSamples = SampleTable(pTarget.space, linear);
    if (pTarget.format == SELVANE_U8) {
        fBytes.resize(fSamples.size());
        std::transform(fSamples.begin(), fSamples.end(), fBytes.begin(),
                       [](uint16_t pSample) { return static_cast<uint8_t>(pSample >> 8); });
    }
    fFormat = pTarget.format;
    fSpace = pTarget.space;
    fLinear = pTarget.linear;
}

void CheckTarget(const selvane_target& pTarget)
{
    Require(IsSpace(pTarget.space), "space is unknown");
    Require(IsUsable(ToXYZ(pTarget.space, pTarget.chromaticities)), "chromaticities make no colour space");
    Require(pTarget.linear == 0 || pTarget.linear == 1, "linear is neither 0 nor 1");
    Require(pTarget.dither == 0 || pTarget.dither == 1, "dither is neither 0 nor 1");
    Require(pTarget.pixels != nullptr, "pixels of the target is null");
}

void WriteTargetRow(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables,
                    const sFinalPass& pPass, const cPicture& pPicture, const float* pLuminance, int pRow)
{
    unsigned char* row = static_cast<unsigned char*>(pTarget.pixels) + pLayout.OffsetOfRow(pRow);
    const float* xyz = pPicture.Row(pRow);
    if (!WritePacked(pTarget, pLayout, pTables, pPass, xyz, pLuminance, row))
        WritePlaced(cPlacer(pTarget, pLayout, pTables), pLayout.fWidth, pRow, pPass, xyz, pLuminance, row);
    if (pLayout.fChannels == 4) WriteAlpha(row, pLayout, pPicture, pRow);
}

void WritePlainRow(const selvane_target& pTarget, const sLayout& pLayout, const cTargetTables& pTables,
                   const cMatrix33& pFromXYZ, double pFactor, const cPicture& pPicture, int pRow)
{
    unsigned char* row = static_cast<unsigned char*>(pTarget.pixels) + pLayout.OffsetOfRow(pRow);
    const cPlacer placer(pTarget, pLayout, pTables);
    const float* xyz = pPicture.Row(pRow);
    const cMatrix33& m = pFromXYZ;
    for (int x = 0; x < pLayout.fWidth; x++, xyz += 3) {
        const double light[] = {pFactor * static_cast<double>(xyz[0]), pFactor * static_cast<double>(xyz[1]),
                                pFactor * static_cast<double>(xyz[2])};
        const auto sample = [&](float pX, float pY, float pZ) {
            return PlainIndex(static_cast<double>(pX) * light[0] + static_cast<double>(pY) * light[1] +
                              static_cast<double>(pZ) * light[2]);
        };
        const uint16_t indices[] = {sample(m.m00, m.m01, m.m02), sample(m.m10, m.m11, m.m12),
                                    sample(m.m20, m.m21, m.m22)};
        placer.Place(row, x, pRow, indices);
    }
    if (pLayout.fChannels == 4) WriteAlpha(row, pLayout, pPicture, pRow);
}

} // namespace SelvaneLib
