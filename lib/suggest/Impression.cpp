#include "suggest/Impression.h"

#include "suggest/Quality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <numeric>

namespace SelvaneLib
{

namespace
{

constexpr int kBurnt = 243; // least grey level of a burnt pixel: white, or a colour without drawing
constexpr int kBlack = 6;   // grey level above that of a black pixel

struct sGrey
{
    int fWidth;
    int fHeight;
    std::vector<float> fLevel;
    std::vector<float> fWeight; // 0 or 1; empty: all count

    const float* Weights() const { return fWeight.empty() ? nullptr : fWeight.data(); }
};

sGrey GreyOf(const sScene& pScene, const unsigned char* pRGB8)
{
    const size_t count = static_cast<size_t>(pScene.fWidth) * static_cast<size_t>(pScene.fHeight);
    sGrey grey{pScene.fWidth, pScene.fHeight, std::vector<float>(count), {}};
    for (size_t i = 0; i < count; i++) {
        const unsigned char* rgb = pRGB8 + 3 * i;
        grey.fLevel[i] = 0.2126f * static_cast<float>(rgb[0]) + 0.7152f * static_cast<float>(rgb[1]) +
                         0.0722f * static_cast<float>(rgb[2]);
    }
    if (pScene.fWeight != nullptr)
        std::transform(pScene.fWeight, pScene.fWeight + count, std::back_inserter(grey.fWeight),
                       [](float pWeight) { return pWeight > 0.0f ? 1.0f : 0.0f; });
    return grey;
}

/// Adds the values and the weights of a row to the sums of the columns.
void AddRow(const sGrey& pGrey, size_t pRow, std::vector<float>& pSums, std::vector<float>& pWeights)
{
    const float* level = pGrey.fLevel.data() + pRow * pSums.size();
    const float* weight = pGrey.fWeight.empty() ? nullptr : pGrey.fWeight.data() + pRow * pSums.size();
    for (size_t x = 0; x < pSums.size(); x++) {
        const float counts = weight == nullptr ? 1.0f : weight[x];
        pSums[x] += counts * level[x];
        pWeights[x] += counts;
    }
}

/// Means over 4 x 4 pixels, of those that count. An edge that does not fill a square is left out.
sGrey Quartered(const sGrey& pGrey)
{
    sGrey small{pGrey.fWidth / 4, pGrey.fHeight / 4, {}, {}};
    const auto width = static_cast<size_t>(pGrey.fWidth);
    std::vector<float> sums(width), weights(width);
    for (int y = 0; y < small.fHeight; y++) {
        std::fill(sums.begin(), sums.end(), 0.0f);
        std::fill(weights.begin(), weights.end(), 0.0f);
        for (size_t row = 0; row < 4; row++)
            AddRow(pGrey, 4 * static_cast<size_t>(y) + row, sums, weights);
        for (size_t x = 0; x < 4 * static_cast<size_t>(small.fWidth); x += 4) {
            const float sum = sums[x] + sums[x + 1] + sums[x + 2] + sums[x + 3];
            const float weight = weights[x] + weights[x + 1] + weights[x + 2] + weights[x + 3];
            small.fLevel.push_back(weight > 0.0f ? sum / weight : 0.0f);
            small.fWeight.push_back(weight > 0.0f ? 1.0f : 0.0f);
        }
    }
    return small;
}

sLight LightOf(const sGrey& pGrey, double pFrequency)
{
    return MeasureLight(pGrey.fLevel.data(), pGrey.Weights(), pGrey.fWidth, pGrey.fHeight, pFrequency);
}

/// Structure on a fine and a coarse scale, by the weights that structural fidelity gives to the scales of more than 4
/// cycles a degree and to the others.
double Structure(const sGrey& pGrey, const sLight& pLight)
{
    const sGrey small = Quartered(pGrey);
    const double coarse =
        small.fWidth > 0 && small.fHeight > 0 ? LightOf(small, kFineFrequency / 4.0).fVisible : pLight.fVisible;
    return std::pow(pLight.fVisible, 0.3304) * std::pow(coarse, 0.6696);
}

using tHistogram = std::array<int64_t, 256>;

int64_t SumOf(const tHistogram& pHistogram, size_t pFrom, size_t pTo)
{
    return std::accumulate(pHistogram.begin() + static_cast<ptrdiff_t>(pFrom),
                           pHistogram.begin() + static_cast<ptrdiff_t>(pTo), int64_t{0});
}

/// The first grey level such that it and those below hold more than the share.
double LevelAt(const tHistogram& pHistogram, double pShare, double pCount)
{
    double sum = 0.0;
    for (size_t level = 0; level < pHistogram.size(); level++) {
        sum += static_cast<double>(pHistogram[level]);
        if (sum > pShare * pCount) return static_cast<double>(level);
    }
    return 0.0;
}

tHistogram HistogramOf(const sGrey& pGrey)
{
    tHistogram histogram{};
    for (size_t i = 0; i < pGrey.fLevel.size(); i++)
        if (pGrey.fWeight.empty() || pGrey.fWeight[i] > 0.0f) histogram[static_cast<size_t>(pGrey.fLevel[i])]++;
    return histogram;
}

void CountEnds(const sGrey& pGrey, sImpression& pImpression)
{
    const tHistogram histogram = HistogramOf(pGrey);
    const auto count = static_cast<double>(SumOf(histogram, 0, histogram.size()));
    if (count == 0.0) return;
    pImpression.fBurnt = static_cast<double>(SumOf(histogram, kBurnt, histogram.size())) / count;
    pImpression.fBlocked = static_cast<double>(SumOf(histogram, 0, kBlack)) / count;
    pImpression.fShadow = LevelAt(histogram, 0.25, count);
    pImpression.fHighlight = LevelAt(histogram, 0.98, count);
}

} // namespace

sImpression ImpressionOf(const sScene& pScene, const unsigned char* pRGB8)
{
    const sGrey grey = GreyOf(pScene, pRGB8);
    const sLight light = LightOf(grey, kFineFrequency);
    sImpression impression;
    impression.fMean = light.fMean;
    impression.fContrast = light.fContrast;
    impression.fStructure = Structure(grey, light);
    CountEnds(grey, impression);
    return impression;
}

sAim AimFor(const sCharacter& pCharacter)
{
    constexpr double kCommonTexture = 0.15; // decades
    const double night = pCharacter.fNight, high = pCharacter.fHighKey;
    const double noise = pCharacter.fVioletShadows * pCharacter.fVioletShadows, room = pCharacter.fWhiteRoom;
    const double texture = std::max(pCharacter.fTexture, 1e-3) / kCommonTexture;
    return {
        .fMean = kCommonMean - 20.0 * night - 45.0 * noise + 64.0 * high * high + 20.0 * room,
        .fContrast = (1.0 - 0.55 * noise) * std::clamp(kCommonContrast * std::pow(texture, 0.1), 10.0, 19.0),
        .fBurnt = 0.01 + high * std::min(pCharacter.fSources, 0.1) + night * std::min(pCharacter.fSources, 0.02),
        .fShadow = 60.0 * (1.0 - night) + 120.0 * room,
        .fHighlight = 225.0 - 60.0 * night - 40.0 * noise + 15.0 * high,
    };
}

double Score(const sImpression& pImpression, const sAim& pAim)
{
    const auto above = [](double pValue, double pMost) { return std::max(0.0, pValue - pMost); };
    const sImpression& seen = pImpression;
    const double naturalness =
        Naturalness(seen.fMean + kCommonMean - pAim.fMean, seen.fContrast * kCommonContrast / pAim.fContrast);
    return Quality(seen.fStructure, naturalness) - 1.5 * above(seen.fBurnt, pAim.fBurnt) -
           0.5 * above(seen.fBlocked, 0.03) - 0.001 * above(pAim.fShadow, seen.fShadow) -
           0.002 * above(pAim.fHighlight, seen.fHighlight);
}

} // namespace SelvaneLib
