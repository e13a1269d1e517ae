#include "picture/Statistics.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <numeric>

namespace SelvaneLib
{

namespace
{

constexpr double kLeast = 1e-10;      // luminance that stands for all darker ones
constexpr int64_t kHotShare = 100000; // one pixel of so many may be hot
constexpr int64_t kLeastHot = 4;
constexpr int64_t kMostHotShare = 64; // of a small picture, one pixel of so many at most
constexpr float kHotFactor = 2.0f;
constexpr float kWhiteX = 0.96421202f; // D50
constexpr float kWhiteZ = 0.82518822f;

float LogAbove(double pLuminance)
{
    return static_cast<float>(std::log10(std::max(pLuminance, kLeast)));
}

} // namespace

void cLuminanceHistogram::Add(const cLuminanceHistogram& pOther)
{
    for (size_t bin = 0; bin < kBins; bin++)
        fCounters[bin] += pOther.fCounters[bin];
    fMin = std::min(fMin, pOther.fMin);
    fMax = std::max(fMax, pOther.fMax);
}

void cLuminanceHistogram::Lower(float pFrom, float pTo)
{
    fCounters[BinOf(pFrom)]--;
    fCounters[BinOf(pTo)]++;
    fMax = pTo;
}

int64_t cLuminanceHistogram::Count() const
{
    return std::accumulate(fCounters.begin(), fCounters.end(), int64_t{0});
}

float cLuminanceHistogram::Below(int64_t pAbove) const
{
    int64_t above = 0;
    for (size_t bin = kBins; bin-- > 0;) {
        above += fCounters[bin];
        if (above > pAbove) return std::min(EdgeOf(bin + 1), fMax);
    }
    return 0.0f;
}

/// Logarithm of the middle of a bin.
double cLuminanceHistogram::LogOf(size_t pBin)
{
    const double middle = 0.5 * (static_cast<double>(EdgeOf(pBin)) + static_cast<double>(EdgeOf(pBin + 1)));
    return std::log10(std::max(middle, kLeast));
}

void cLuminanceHistogram::Measure(sStatistics& pStatistics) const
{
    const int64_t count = Count();
    pStatistics.fVisible = count;
    pStatistics.fLevels = Levels();
    pStatistics.fFlat = count == 0 || fMin == fMax;
    if (count == 0) return;
    pStatistics.fLogMin = LogAbove(static_cast<double>(fMin));
    pStatistics.fLogMax = LogAbove(static_cast<double>(fMax));
    double sum = 0.0;
    int64_t below = 0;
    size_t next = 0;
    for (size_t bin = 0; bin < kBins; bin++) {
        if (fCounters[bin] == 0) continue;
        const double log = LogOf(bin);
        sum += log * fCounters[bin];
        below += fCounters[bin];
        while (next < 7 && static_cast<double>(below) >= kPercentiles[next] * 0.01 * static_cast<double>(count))
            pStatistics.fPercentiles[next++] = static_cast<float>(log);
    }
    const float least = pStatistics.fLogMin, most = pStatistics.fLogMax;
    for (float& percentile : pStatistics.fPercentiles)
        percentile = std::clamp(percentile, least, most);
    pStatistics.fLogMean = std::clamp(static_cast<float>(sum / static_cast<double>(count)), least, most);
}

sLevels cLuminanceHistogram::Levels() const
{
    cLevelCount levels;
    for (size_t bin = 0; bin < kBins; bin++)
        if (fCounters[bin] > 0) levels.Add(EdgeOf(bin), fCounters[bin]);
    return levels.Levels();
}

int64_t TameHotPixels(cPicture& pPicture, cLuminanceHistogram& pHistogram, cRun& pRun)
{
    const int64_t count = pHistogram.Count();
    const int64_t hot = std::min(std::max(kLeastHot, count / kHotShare), count / kMostHotShare);
    const float limit = kHotFactor * pHistogram.Below(hot);
    if (hot == 0 || !(limit > 0.0f) || pHistogram.Max() <= limit) return 0;
    std::mutex mutex;
    int64_t lowered = 0;
    pRun.DivideOrThrow(0, pPicture.Height(), pPicture.Width(), [&](int, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++) {
            float* pixel = pPicture.Row(y);
            for (int x = 0; x < pPicture.Width(); x++, pixel += 3) {
                const float luminance = pixel[1];
                if (luminance <= limit || !pPicture.IsVisible(int64_t{y} * pPicture.Width() + x)) continue;
                const float factor = limit / luminance;
                pixel[0] *= factor;
                pixel[1] = limit;
                pixel[2] *= factor;
                const std::lock_guard lock(mutex);
                pHistogram.Lower(luminance, limit);
                lowered++;
            }
        }
    });
    return lowered;
}

void GreyInvisiblePixels(cPicture& pPicture, cRun& pRun)
{
    const float mean = pPicture.fStatistics.fVisible == 0 ? 0.0f : std::pow(10.0f, pPicture.fStatistics.fLogMean);
    pRun.DivideOrThrow(0, pPicture.Height(), pPicture.Width(), [&](int, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++) {
            float* pixel = pPicture.Row(y);
            for (int x = 0; x < pPicture.Width(); x++, pixel += 3) {
                if (pPicture.IsVisible(int64_t{y} * pPicture.Width() + x)) continue;
                pixel[0] = mean * kWhiteX;
                pixel[1] = mean;
                pixel[2] = mean * kWhiteZ;
            }
        }
    });
}

} // namespace SelvaneLib
