#include "suggest/Quality.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace SelvaneLib
{

namespace
{

constexpr int kBlock = 11; // pixels

// Normal distribution of the mean grey level.
constexpr double kMeanDeviation = 27.99;

// Beta distribution of the local contrast, as a share of kMostContrast.
constexpr double kAlpha = 4.4;
constexpr double kBeta = 10.1;
constexpr double kMode = (kAlpha - 1.0) / (kAlpha + kBeta - 2.0);

/// Count, sum and sum of squares of the values of a block.
struct sSums
{
    double fCount = 0.0;
    double fSum = 0.0;
    double fSquares = 0.0;

    /// Standard deviation of a sample, by the count less one; 0 for a single value.
    double Deviation() const
    {
        if (fCount < 2.0) return 0.0;
        return std::sqrt(std::max(0.0, fSquares - fSum * fSum / fCount) / (fCount - 1.0));
    }
};

/// The sums of a row of blocks, kept column by column.
class cColumnSums
{
public:
    explicit cColumnSums(int pWidth) : fCount(static_cast<size_t>(pWidth)), fSum(fCount.size()), fSquares(fCount.size())
    {
    }

    void Clear()
    {
        for (std::vector<double>* sums : {&fCount, &fSum, &fSquares})
            std::fill(sums->begin(), sums->end(), 0.0);
    }

    /// @param pWeight null: all values count
    void AddRow(const float* pValues, const float* pWeight)
    {
        for (size_t x = 0; x < fSum.size(); x++) {
            const double weight = pWeight == nullptr || pWeight[x] > 0.0f ? 1.0 : 0.0;
            const double value = weight == 0.0 ? 0.0 : static_cast<double>(pValues[x]);
            fCount[x] += weight;
            fSum[x] += value;
            fSquares[x] += value * value;
        }
    }

    /// The block of the columns from pLeft on.
    sSums Block(int pLeft) const
    {
        sSums sums;
        const auto end = std::min(static_cast<size_t>(pLeft + kBlock), fSum.size());
        for (auto x = static_cast<size_t>(pLeft); x < end; x++) {
            sums.fCount += fCount[x];
            sums.fSum += fSum[x];
            sums.fSquares += fSquares[x];
        }
        return sums;
    }

private:
    std::vector<double> fCount, fSum, fSquares;
};

/// A density over its largest value.
double NormalShare(double pMean)
{
    const double distance = (pMean - kCommonMean) / kMeanDeviation;
    return std::exp(-0.5 * distance * distance);
}

double BetaShare(double pShare)
{
    if (!(pShare > 0.0 && pShare < 1.0)) return 0.0;
    return std::exp((kAlpha - 1.0) * std::log(pShare / kMode) +
                    (kBeta - 1.0) * std::log((1.0 - pShare) / (1.0 - kMode)));
}

} // namespace

cVisibility::cVisibility(double pFrequency)
{
    const double sensitivity =
        100.0 * 2.6 * (0.0192 + 0.114 * pFrequency) * std::exp(-std::pow(0.114 * pFrequency, 1.1));
    fThreshold = 128.0 / (1.4 * sensitivity);
}

double cVisibility::operator()(double pDeviation) const
{
    return 0.5 * std::erfc(-(pDeviation - fThreshold) / (fThreshold / 3.0) / std::sqrt(2.0));
}

sLight MeasureLight(const float* pValues, const float* pWeight, int pWidth, int pHeight, double pFrequency)
{
    const cVisibility visibility(pFrequency);
    cColumnSums columns(pWidth);
    double sum = 0.0, count = 0.0, blocks = 0.0;
    sLight light;
    for (int top = 0; top < pHeight; top += kBlock) {
        columns.Clear();
        for (int y = top; y < std::min(top + kBlock, pHeight); y++) {
            const ptrdiff_t first = ptrdiff_t{y} * pWidth;
            columns.AddRow(pValues + first, pWeight == nullptr ? nullptr : pWeight + first);
        }
        for (int left = 0; left < pWidth; left += kBlock) {
            const sSums block = columns.Block(left);
            if (block.fCount == 0.0) continue;
            const double deviation = block.Deviation(), visible = visibility(deviation);
            sum += block.fSum;
            count += block.fCount;
            blocks += 1.0;
            light.fContrast += deviation;
            light.fVisible += 2.0 * visible / (1.0 + visible * visible);
        }
    }
    if (count == 0.0) return {};
    return {sum / count, light.fContrast / blocks, light.fVisible / blocks};
}

double Naturalness(double pMean, double pContrast)
{
    return NormalShare(pMean) * BetaShare(pContrast / kMostContrast);
}

double Quality(double pFidelity, double pNaturalness)
{
    constexpr double kFidelityShare = 0.8012;
    return kFidelityShare * std::pow(pFidelity, 0.3046) + (1.0 - kFidelityShare) * std::pow(pNaturalness, 0.7088);
}

} // namespace SelvaneLib
