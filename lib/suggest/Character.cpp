#include "suggest/Character.h"

#include "suggest/Quality.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace SelvaneLib
{

namespace
{

constexpr double kDarkestShare = 0.1;   // the pixels whose colour is looked at
constexpr double kSourceDistance = 0.7; // decades above the median: five times as bright

/// 0 at pFrom and beyond, 1 at pTo and beyond, straight between.
double Ramp(double pValue, double pFrom, double pTo)
{
    return std::clamp((pValue - pFrom) / (pTo - pFrom), 0.0, 1.0);
}

size_t PixelCount(const sScene& pScene)
{
    return static_cast<size_t>(pScene.fWidth) * static_cast<size_t>(pScene.fHeight);
}

double LuminanceAt(const sScene& pScene, size_t pPixel)
{
    return static_cast<double>(pScene.fXYZ[3 * pPixel + 1]);
}

std::vector<size_t> CountedPixels(const sScene& pScene)
{
    std::vector<size_t> pixels;
    pixels.reserve(PixelCount(pScene));
    for (size_t i = 0; i < PixelCount(pScene); i++)
        if (Counts(pScene, i)) pixels.push_back(i);
    return pixels;
}

/// Local contrast of log10 luminance between the levels, in decades.
double Texture(const sScene& pScene)
{
    const auto low = static_cast<float>(pScene.fLevels.fLow), high = static_cast<float>(pScene.fLevels.fHigh);
    std::vector<float> plane(PixelCount(pScene)), weight(plane.size());
    for (size_t i = 0; i < plane.size(); i++)
        if (Counts(pScene, i)) {
            plane[i] = std::clamp(std::log10(pScene.fXYZ[3 * i + 1]), low, high);
            weight[i] = 1.0f;
        }
    return MeasureLight(plane.data(), weight.data(), pScene.fWidth, pScene.fHeight, kFineFrequency).fContrast;
}

/// XYZ of D50 to linear sRGB (IEC 61966-2-1, adapted by the Bradford matrix).
std::array<double, 3> ToSRGB(const std::array<double, 3>& pXYZ)
{
    const auto [x, y, z] = pXYZ;
    return {3.1338561 * x - 1.6168667 * y - 0.4906146 * z, -0.9787684 * x + 1.9161415 * y + 0.0334540 * z,
            0.0719453 * x - 0.2289914 * y + 1.4052427 * z};
}

/// The largest luminance of the darkest tenth.
float DarkestTenth(const sScene& pScene, const std::vector<size_t>& pPixels)
{
    std::vector<float> luminances(pPixels.size());
    std::transform(pPixels.begin(), pPixels.end(), luminances.begin(),
                   [&](size_t pPixel) { return pScene.fXYZ[3 * pPixel + 1]; });
    const auto count = static_cast<ptrdiff_t>(std::ceil(kDarkestShare * static_cast<double>(luminances.size())));
    const auto last = luminances.begin() + count - 1;
    std::nth_element(luminances.begin(), last, luminances.end());
    return *last;
}

/// The sum of the darkest tenth, in linear sRGB.
std::array<double, 3> DarkestColor(const sScene& pScene, const std::vector<size_t>& pPixels)
{
    const float most = DarkestTenth(pScene, pPixels);
    std::array<double, 3> sum{};
    for (const size_t i : pPixels)
        if (pScene.fXYZ[3 * i + 1] <= most)
            for (size_t c = 0; c < 3; c++)
                sum[c] += static_cast<double>(pScene.fXYZ[3 * i + c]);
    return ToSRGB(sum);
}

/// How violet the darkest tenth is, 0 to 1. Surfaces in shade are brown, green or blue; violet comes from noise, since a
/// sensor's red and blue are amplified more than its green. Both above green count fully. Red above green beside as much
/// blue as green counts up to 0.4: a ground that is noise in part. Brown has less blue than green.
double VioletOf(const sScene& pScene, const std::vector<size_t>& pPixels)
{
    const auto [red, green, blue] = DarkestColor(pScene, pPixels);
    if (!(green > 0.0)) return 0.0;
    const double violet = Ramp(std::min(red, blue) / green, 1.05, 1.6);
    const double reddish = Ramp(red / green, 1.35, 1.75) * Ramp(blue / green, 0.85, 1.05);
    return std::max(violet, 0.4 * reddish);
}

double SourceShare(const sScene& pScene, const std::vector<size_t>& pPixels)
{
    const double least = std::pow(10.0, pScene.fLevels.fMiddle + kSourceDistance);
    const auto sources =
        std::count_if(pPixels.begin(), pPixels.end(), [&](size_t i) { return LuminanceAt(pScene, i) > least; });
    return static_cast<double>(sources) / static_cast<double>(pPixels.size());
}

} // namespace

bool Counts(const sScene& pScene, size_t pPixel)
{
    const double luminance = LuminanceAt(pScene, pPixel);
    return (pScene.fWeight == nullptr || pScene.fWeight[pPixel] > 0.0f) && luminance > 0.0 && std::isfinite(luminance);
}

sCharacter CharacterOf(const sScene& pScene)
{
    const sLevels& levels = pScene.fLevels;
    const std::vector<size_t> pixels = CountedPixels(pScene);
    const double above = levels.fMean - levels.fLow, range = std::max(levels.fHigh - levels.fLow, 1e-3);
    const double key = above / range;
    sCharacter character;
    character.fLowKey = Ramp(key, 0.42, 0.28) * Ramp(above, 0.4, 0.7);
    character.fVioletShadows = VioletOf(pScene, pixels);
    character.fNight = std::min(1.0, (character.fLowKey + character.fVioletShadows) / 1.2);
    const double nothingDark = Ramp(above, 0.6, 0.3), day = 1.0 - character.fNight;
    character.fHighKey = std::max(Ramp(key, 0.6, 0.8), nothingDark) * day;
    character.fTexture = Texture(pScene);
    character.fSources = SourceShare(pScene, pixels);
    character.fWhiteRoom = nothingDark * day * Ramp(character.fSources, 0.0, 0.02);
    return character;
}

} // namespace SelvaneLib
