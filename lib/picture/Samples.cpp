#include "picture/Samples.h"

#include "entry/PixelExchange.h"
#include "picture/Half.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace SelvaneLib
{

namespace
{

template <class tSample>
tSample Load(const unsigned char* pAt)
{
    tSample sample;
    std::memcpy(&sample, pAt, sizeof sample);
    return sample;
}

/// 2^(exponent - 136), 0 for exponent 0. The first nine are subnormal numbers.
constexpr float ScaleOf(unsigned pExponent)
{
    if (pExponent == 0) return 0.0f;
    return std::bit_cast<float>(pExponent < 10 ? 1u << (pExponent + 13) : (pExponent - 9) << 23);
}

/// A sample of a pixel of floats, halves or exponents: red, green, blue or alpha, 0 to 3.
float Value(const unsigned char* pPixel, const sLayout& pLayout, int pColor)
{
    const unsigned char* at = pPixel + (pColor == 3 ? pLayout.OffsetOfAlpha() : pLayout.OffsetOf(pColor));
    if (pLayout.fFormat == SELVANE_F32) return Load<float>(at);
    if (pLayout.fFormat == SELVANE_F16) return FromHalf(Load<uint16_t>(at));
    return static_cast<float>(*at) * ScaleOf(pPixel[pLayout.OffsetOfAlpha()]);
}

struct sFree
{
    void operator()(float* pBlock) const { std::free(pBlock); }
};

std::vector<float> EngineTable(const selvane_picture& pPicture)
{
    const int bits = pPicture.format == SELVANE_U8 ? 8 : 16;
    const double gamma = pPicture.primaries == SELVANE_PROPHOTO ? 1.8 : 2.2;
    const std::unique_ptr<float, sFree> table(Vornik::NewDecodeTable(bits, gamma));
    return {table.get(), table.get() + (size_t{1} << bits)};
}

std::vector<float> IntegerTable(const selvane_picture& pPicture, const sCurve& pCurve)
{
    std::vector<float> table(pPicture.format == SELVANE_U8 ? 256 : 65536);
    const auto largest = static_cast<double>(table.size() - 1);
    for (size_t code = 0; code < table.size(); code++)
        table[code] = static_cast<float>(Decode(pCurve, static_cast<double>(code) / largest));
    return table;
}

std::vector<float> ExponentTable()
{
    std::vector<float> table(256);
    for (unsigned e = 0; e < 256; e++)
        table[e] = ScaleOf(e);
    return table;
}

} // namespace

bool IsVisible(const unsigned char* pPixel, const sLayout& pLayout)
{
    const bool hasAlpha = pLayout.fSampleBytes > 1 && pLayout.fChannels == 4;
    return !hasAlpha || Value(pPixel, pLayout, 3) > 0.0f;
}

void sOddSamples::Count(float pSample)
{
    if (pSample >= 0.0f && pSample <= kMostSample)
        fLargest = std::max(fLargest, pSample);
    else if (std::isnan(pSample))
        fNaN++;
    else if (pSample < 0.0f)
        fNegative++;
    else
        fInfinite++;
}

void sOddSamples::Add(const sOddSamples& pOther)
{
    fNaN += pOther.fNaN;
    fNegative += pOther.fNegative;
    fInfinite += pOther.fInfinite;
    fLargest = std::max(fLargest, pOther.fLargest);
}

sOddSamples CountOddSamples(const unsigned char* pRow, const sLayout& pLayout)
{
    sOddSamples odd;
    const unsigned char* pixel = pRow;
    for (int x = 0; x < pLayout.fWidth; x++, pixel += pLayout.fPixel) {
        if (!IsVisible(pixel, pLayout)) continue;
        for (int color = 0; color < 3; color++)
            odd.Count(Value(pixel, pLayout, color));
    }
    return odd;
}

sCurve CurveOfSamples(const selvane_picture& pPicture)
{
    switch (pPicture.transfer) {
    case SELVANE_TRANSFER_SRGB:
        return CurveOf(SELVANE_SRGB);
    case SELVANE_TRANSFER_REC2020:
        return CurveOf(SELVANE_REC2020);
    case SELVANE_TRANSFER_POWER:
        return {eCurve::Power, static_cast<double>(pPicture.gamma)};
    case SELVANE_TRANSFER_DEFAULT:
        return IsOfIntegers(pPicture.format) ? CurveOf(pPicture.primaries) : sCurve{eCurve::Linear, 0.0};
    default:
        return {eCurve::Linear, 0.0};
    }
}

cSampleReader::cSampleReader(const selvane_picture& pPicture, const sLayout& pLayout, float pInstead)
    : fLayout(pLayout), fCurve(CurveOfSamples(pPicture)), fInstead(pInstead)
{
    if (pPicture.transfer == SELVANE_TRANSFER_ENGINE)
        fTable = EngineTable(pPicture);
    else if (IsOfIntegers(pPicture.format))
        fTable = IntegerTable(pPicture, fCurve);
    else if (pPicture.format == SELVANE_F16) {
        fTable.resize(65536);
        for (size_t code = 0; code < fTable.size(); code++)
            fTable[code] = Ordinary(FromHalf(static_cast<uint16_t>(code)));
    } else if (pPicture.format != SELVANE_F32)
        fTable = ExponentTable();
}

/// A float sample as it counts, linear.
float cSampleReader::Ordinary(float pSample) const
{
    if (!(pSample > 0.0f)) return 0.0f; // NaN and negative ones too
    const float sample = pSample <= kMostSample ? pSample : fInstead;
    return fCurve.fKind == eCurve::Linear ? sample
                                          : static_cast<float>(std::min(Decode(fCurve, static_cast<double>(sample)),
                                                                        static_cast<double>(kMostSample)));
}

template <class tSample>
void cSampleReader::LookUp(const unsigned char* pPixel, int pCount, float* pLinear) const
{
    const ptrdiff_t red = fLayout.OffsetOf(0), green = fLayout.OffsetOf(1), blue = fLayout.OffsetOf(2);
    const float* table = fTable.data();
    for (int n = 0; n < pCount; n++, pPixel += fLayout.fPixel, pLinear += 3) {
        pLinear[0] = table[Load<tSample>(pPixel + red)];
        pLinear[1] = table[Load<tSample>(pPixel + green)];
        pLinear[2] = table[Load<tSample>(pPixel + blue)];
    }
}

void cSampleReader::ReadFloats(const unsigned char* pPixel, int pCount, float* pLinear) const
{
    for (int n = 0; n < pCount; n++, pPixel += fLayout.fPixel, pLinear += 3)
        for (int color = 0; color < 3; color++)
            pLinear[color] = Ordinary(Load<float>(pPixel + fLayout.OffsetOf(color)));
}

void cSampleReader::ReadExponents(const unsigned char* pPixel, int pCount, float* pLinear) const
{
    for (int n = 0; n < pCount; n++, pPixel += fLayout.fPixel, pLinear += 3) {
        const float scale = fTable[pPixel[3 * fLayout.fChannel]];
        for (int color = 0; color < 3; color++)
            pLinear[color] = Ordinary(static_cast<float>(pPixel[fLayout.OffsetOf(color)]) * scale);
    }
}

void cSampleReader::Read(const unsigned char* pRow, int pFirst, int pCount, float* pLinear) const
{
    const unsigned char* pixel = pRow + pFirst * fLayout.fPixel;
    switch (fLayout.fFormat) {
    case SELVANE_U8:
        return LookUp<uint8_t>(pixel, pCount, pLinear);
    case SELVANE_U16:
    case SELVANE_F16:
        return LookUp<uint16_t>(pixel, pCount, pLinear);
    case SELVANE_F32:
        return ReadFloats(pixel, pCount, pLinear);
    default:
        return ReadExponents(pixel, pCount, pLinear);
    }
}

} // namespace SelvaneLib
