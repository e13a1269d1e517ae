#include "render/cTmRenderer_Points.h"

#include "base/Numeric.h"
#include "base/Versions.h"
#include "yhmv/PixelRecord.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

// The histogram of the new luminance: 65536 bins of equal width from the least value to the largest. A scan from the
// bottom finds the black point, a scan from the top the white point. Both sum in float.

namespace Vornik
{

namespace
{

constexpr int kBins = kTableSize;

float BinsAUnit(const sLuminance& pExtremes)
{
    return pExtremes.fMax > pExtremes.fMin ? kToSample16 / (pExtremes.fMax - pExtremes.fMin) : 1.0f;
}

/// Fetches the luminances of a strip that stand in records, and asks for the records of two strips later.
SELVANE_INLINE void FetchRecords(const unsigned char* pAt, int pCount, float* pLuminance)
{
    volatile float* luminance = pLuminance; // g++ would build vectors of single values, which takes longer
    for (int first = 0; first < pCount; first += kLine) {
        PrefetchRecords<kYHMVBytes, false>(pAt + ptrdiff_t{kYHMVBytes} * (first + 2 * kStrip));
        const int end = std::min(first + kLine, pCount);
#pragma GCC unroll 4
        for (int n = first; n < end; n++)
            luminance[n] = LoadFloat(pAt + ptrdiff_t{n} * kYHMVBytes);
    }
}

/// Counts a row of luminances at a distance of tPixelBytes, by strips.
template <int tPixelBytes>
SELVANE_CLONES void CountRow(const unsigned char* pAt, int pWidth, float pMin, float pScale, uint32_t* pCounters)
{
    float luminance[kStrip] = {};
    int bins[kStrip];
    for (int x = 0; x < pWidth; x += kStrip, pAt += ptrdiff_t{tPixelBytes} * kStrip) {
        const int count = StripCount(pWidth, x);
        if (tPixelBytes == kYHMVBytes) FetchRecords(pAt, count, luminance);
        for (int n = 0; n < count; n++) {
            const float value = tPixelBytes == kYHMVBytes ? luminance[n] : LoadFloat(pAt + ptrdiff_t{n} * tPixelBytes);
            bins[n] = RangeIndex(value, pMin, pScale);
        }
#pragma GCC unroll 8
        for (int n = 0; n < count; n++)
            pCounters[bins[n]]++;
    }
}

} // namespace

void sFree::operator()(void* pBlock) const
{
    std::free(pBlock);
}

tCounters NewCounters()
{
    return tCounters(static_cast<uint32_t*>(std::calloc(kBins, sizeof(uint32_t))));
}

cHistogram::cHistogram(tCounters pCounters, const cLuminanceRows& pPicture, const sLuminance& pExtremes)
    : fCounters(std::move(pCounters)), fWidth(static_cast<float>(pPicture.Width())),
      fHeight(static_cast<float>(pPicture.Height())), fPixels(fWidth * fHeight), fMin(pExtremes.fMin),
      fScale(BinsAUnit(pExtremes)), fBinWidth(1.0f / fScale)
{
    const auto count = pPicture.AreRecords() ? CountRow<kYHMVBytes> : CountRow<static_cast<int>(sizeof(float))>;
    for (int y = 0; y < pPicture.Height(); y++)
        count(pPicture.Row(y), pPicture.Width(), fMin, fScale, fCounters.get());
}

/// Returns how many bins from the bottom are added until pStop(sum), 1 to 65535. Required: the last bin is never added.
template <class tStop>
int cHistogram::Rise(tStop pStop) const
{
    float sum = 0.0f;
    for (int n = 1;; n++) {
        sum += static_cast<float>(Counter(n - 1));
        if (pStop(sum) || n == kBins - 1) return n;
    }
}

/// Returns the highest bin n such that bins 0 to n have at most pLimit pixels; 65535 if all bins have, 0 if there is
/// none. Required: the first bin is never subtracted.
int cHistogram::Fall(float pLimit) const
{
    if (fPixels <= pLimit) return kBins - 1;
    float sum = fPixels;
    for (int n = kBins - 2;; n--) {
        sum -= static_cast<float>(Counter(n + 1));
        if (sum <= pLimit || n == 0) return n;
    }
}

/// The luminance at the lower end of a bin, by one fused multiply-add.
float cHistogram::PointAt(int pBin) const
{
    return std::fma(fBinWidth, static_cast<float>(pBin), fMin);
}

/// The same with two roundings, as the progress line prints it.
double cHistogram::PrintedPointAt(int pBin) const
{
    const float point = fMin + fBinWidth * static_cast<float>(pBin);
    return static_cast<double>(point);
}

sPoints cHistogram::PointsFor(float pBlackClip, float pWhiteClip) const
{
    const double pixels = static_cast<double>(fWidth) * static_cast<double>(fHeight);
    const auto blackLimit = static_cast<float>(static_cast<double>(pBlackClip) * 0.01 * pixels);
    const auto whiteLimit = static_cast<float>(std::fma(-static_cast<double>(pWhiteClip), 0.01, 1.0) * pixels);
    const int black = blackLimit <= 0.0f ? 0 : Rise([=](float pSum) { return pSum >= blackLimit; });
    return {PointAt(black), PointAt(Fall(whiteLimit))};
}

void cHistogram::LogPercentiles() const
{
    const auto pixels = static_cast<double>(fPixels);
    const auto onePerCent = static_cast<float>(pixels * 0.01);
    const float half = fPixels * 0.5f;
    const int low = onePerCent < 0.0f ? 0 : Rise([=](float pSum) { return pSum > onePerCent; });
    const int median = half <= 0.0f ? 0 : Rise([=](float pSum) { return pSum >= half; });
    const int high1 = Fall(static_cast<float>(pixels * 0.99));
    const int high2 = Fall(static_cast<float>(pixels * 0.9999));
    const int high3 = Fall(static_cast<float>(pixels * 0.99995));
    // Required: the value of the median is printed without the minimum.
    std::fprintf(
        stderr,
        "Linear Perc1 at: %d (%1.2f) -  Median: %d (%1.2f)  - perc99andhigher:  %d  %d  %d  (%1.2f  %1.2f  %1.2f) -  "
        "max: %d  (%1.2f)\n",
        low >> 8, PrintedPointAt(low), median >> 8, static_cast<double>(fBinWidth * static_cast<float>(median)),
        high1 >> 8, high2 >> 8, high3 >> 8, PrintedPointAt(high1), PrintedPointAt(high2), PrintedPointAt(high3), 255,
        PrintedPointAt(kBins - 1));
}

} // namespace Vornik
