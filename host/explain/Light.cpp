#include "explain/Light.h"

#include <algorithm>
#include <cmath>

namespace SelvaneHost
{

namespace
{

constexpr int kLevels = 1024;           // steps of display luminance, equal in sRGB samples
constexpr double kLeastLength = 0.1;    // decades of an axis
constexpr double kFineFrom = -10.0;     // log10 of the least luminance
constexpr double kFineTo = 40.0;        // beyond the largest float
constexpr int kFineColumns = 50 * 1000; // a thousandth of a decade each

bool Counts(const sPlanes& pPlanes, size_t pPixel)
{
    return pPlanes.fVisible == nullptr || pPlanes.fVisible[pPixel] != 0;
}

/// The least and the largest value of a plane that matter: pShareBelow of the pixels lie below the first.
struct sEnds
{
    double fLow = 0.0;
    double fHigh = 0.0;
};

sEnds EndsOf(const float* pLogs, const sPlanes& pPlanes, double pShareBelow)
{
    const sAxis fine{kFineFrom, kFineTo, kFineColumns};
    const sHistogram histogram = HistogramOf(pLogs, pPlanes, fine);
    const auto& counts = histogram.fAll;
    int64_t all = 0, below = 0;
    for (const int64_t count : counts)
        all += count;
    if (all == 0) return {};
    const auto share = static_cast<int64_t>(pShareBelow * static_cast<double>(all));
    size_t low = 0, high = counts.size() - 1;
    while (below + counts[low] <= share)
        below += counts[low++];
    while (counts[high] == 0)
        high--;
    const double step = (kFineTo - kFineFrom) / kFineColumns;
    return {kFineFrom + static_cast<double>(low) * step, kFineFrom + static_cast<double>(high + 1) * step};
}

} // namespace

int sAxis::ColumnOf(double pLog) const
{
    const double column = std::floor((pLog - fFrom) / (fTo - fFrom) * fColumns);
    if (pLog == fTo) return fColumns - 1;
    return static_cast<int>(std::clamp(column, -1.0, static_cast<double>(fColumns)));
}

sAxis AxisOf(const float* pLogs, const sPlanes& pPlanes, double pShareBelow, double pMargin, int pColumns)
{
    const sEnds ends = EndsOf(pLogs, pPlanes, pShareBelow);
    const double lack = std::max(0.0, kLeastLength - (ends.fHigh - ends.fLow)) / 2;
    return {std::max(kFineFrom, ends.fLow - pMargin) - lack, ends.fHigh + lack, pColumns};
}

sHistogram HistogramOf(const float* pLogs, const sPlanes& pPlanes, const sAxis& pAxis)
{
    const auto columns = static_cast<size_t>(pAxis.fColumns);
    sHistogram histogram{pAxis, std::vector<int64_t>(columns), std::vector<int64_t>(columns),
                         std::vector<int64_t>(columns)};
    const double black = std::log10(std::max(pPlanes.fBlack, 0.0)), white = std::log10(std::max(pPlanes.fWhite, 0.0));
    for (size_t i = 0; i < pPlanes.fPixels; i++) {
        if (!Counts(pPlanes, i)) continue;
        const int column = pAxis.ColumnOf(static_cast<double>(pLogs[i]));
        histogram.fBelow += column < 0 ? 1 : 0;
        histogram.fAbove += column >= pAxis.fColumns ? 1 : 0;
        if (column < 0 || column >= pAxis.fColumns) continue;
        const auto at = static_cast<size_t>(column);
        const auto mapped = static_cast<double>(pPlanes.fMapped[i]);
        histogram.fAll[at]++;
        histogram.fBlack[at] += mapped <= black ? 1 : 0;
        histogram.fWhite[at] += mapped >= white && mapped > black ? 1 : 0;
    }
    return histogram;
}

cToneCurve::cToneCurve(const sAxis& pAxis) : fAxis(pAxis), fCounts(static_cast<size_t>(pAxis.fColumns) * kLevels) {}

void cToneCurve::Add(double pLog, double pDisplay)
{
    const int column = fAxis.ColumnOf(pLog);
    if (column < 0 || column >= fAxis.fColumns) return;
    const auto level = static_cast<int>(std::lround(EncodeSrgb(pDisplay) * (kLevels - 1)));
    fCounts[static_cast<size_t>(column) * kLevels + static_cast<size_t>(level)]++;
}

/// The grey level below which a share of the column's pixels lies.
double cToneCurve::LevelAt(int pColumn, int64_t pCount, double pShare) const
{
    const int64_t* const counts = fCounts.data() + static_cast<size_t>(pColumn) * kLevels;
    const auto rank = static_cast<int64_t>(pShare * static_cast<double>(pCount - 1));
    int64_t before = 0;
    int level = 0;
    while (before + counts[level] <= rank)
        before += counts[level++];
    return 255.0 * level / (kLevels - 1);
}

std::vector<sSpread> cToneCurve::Spreads() const
{
    std::vector<sSpread> spreads(static_cast<size_t>(fAxis.fColumns));
    for (int column = 0; column < fAxis.fColumns; column++) {
        sSpread& spread = spreads[static_cast<size_t>(column)];
        for (int level = 0; level < kLevels; level++)
            spread.fCount += fCounts[static_cast<size_t>(column) * kLevels + static_cast<size_t>(level)];
        if (spread.fCount < kFewPixels) continue;
        const auto at = [&](double pShare) { return LevelAt(column, spread.fCount, pShare); };
        spread = {spread.fCount, at(0.05), at(0.25), at(0.5), at(0.75), at(0.95)};
    }
    return spreads;
}

double EncodeSrgb(double pLinear)
{
    const double value = std::clamp(pLinear, 0.0, 1.0);
    return value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1.0 / 2.4) - 0.055;
}

} // namespace SelvaneHost
