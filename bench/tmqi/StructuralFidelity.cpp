#include "StructuralFidelity.h"

#include "suggest/Quality.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace SelvaneTmqi
{

namespace
{

constexpr int kWindow = 11;                  // pixels on a side
constexpr double kWindowDeviation = 1.5;     // of its Gaussian weights, pixels
constexpr double kSceneRange = 0xFFFFFFFFp0; // the scene's luminance is stretched to 0 to this

constexpr double kFrequency[kScales] = {SelvaneLib::kFineFrequency, 8.0, 4.0, 2.0, 1.0}; // cycles per degree
constexpr double kWeight[kScales] = {0.0448, 0.2856, 0.3001, 0.2363, 0.1333};

constexpr double kStabiliser1 = 0.01;
constexpr double kStabiliser2 = 10.0;

size_t At(const sPlane& pPlane, int pX, int pY)
{
    return static_cast<size_t>(pY) * static_cast<size_t>(pPlane.fWidth) + static_cast<size_t>(pX);
}

sPlane NewPlane(int pWidth, int pHeight)
{
    return {pWidth, pHeight, std::vector<double>(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight))};
}

/// The luminance stretched to 0 to kSceneRange.
sPlane Stretched(const sPlane& pScene)
{
    const auto [low, high] = std::minmax_element(pScene.fValues.begin(), pScene.fValues.end());
    const double offset = *low, factor = *high > *low ? kSceneRange / (*high - *low) : 1.0;
    sPlane plane = pScene;
    for (double& value : plane.fValues)
        value = factor * (value - offset);
    return plane;
}

/// Means of 2 x 2 pixels, every second of each row and column. The last column and row stand twice where a pair is cut.
sPlane Halved(const sPlane& pPlane)
{
    sPlane half = NewPlane((pPlane.fWidth + 1) / 2, (pPlane.fHeight + 1) / 2);
    for (int y = 0; y < half.fHeight; y++)
        for (int x = 0; x < half.fWidth; x++) {
            const int right = std::min(2 * x + 1, pPlane.fWidth - 1), below = std::min(2 * y + 1, pPlane.fHeight - 1);
            const double* v = pPlane.fValues.data();
            half.fValues[At(half, x, y)] = 0.25 * (v[At(pPlane, 2 * x, 2 * y)] + v[At(pPlane, right, 2 * y)] +
                                                   v[At(pPlane, 2 * x, below)] + v[At(pPlane, right, below)]);
        }
    return half;
}

std::array<double, kWindow> GaussianTaps()
{
    constexpr int kCentre = kWindow / 2;
    std::array<double, kWindow> taps{};
    double sum = 0.0;
    for (int i = 0; i < kWindow; i++) {
        const double distance = (i - kCentre) / kWindowDeviation;
        taps[static_cast<size_t>(i)] = std::exp(-0.5 * distance * distance);
        sum += taps[static_cast<size_t>(i)];
    }
    for (double& tap : taps)
        tap /= sum;
    return taps;
}

/// Weighted means over the windows that lie inside the plane.
sPlane WindowMeans(const sPlane& pPlane)
{
    static const std::array<double, kWindow> taps = GaussianTaps();
    const int width = pPlane.fWidth - kWindow + 1, height = pPlane.fHeight - kWindow + 1;
    if (width < 1 || height < 1) return {};
    sPlane across = NewPlane(width, pPlane.fHeight);
    for (int y = 0; y < pPlane.fHeight; y++)
        for (int i = 0; i < kWindow; i++) {
            const double* from = &pPlane.fValues[At(pPlane, i, y)];
            double* to = &across.fValues[At(across, 0, y)];
            for (int x = 0; x < width; x++)
                to[x] += taps[static_cast<size_t>(i)] * from[x];
        }
    sPlane means = NewPlane(width, height);
    for (int y = 0; y < height; y++)
        for (int i = 0; i < kWindow; i++) {
            const double* from = &across.fValues[At(across, 0, y + i)];
            double* to = &means.fValues[At(means, 0, y)];
            for (int x = 0; x < width; x++)
                to[x] += taps[static_cast<size_t>(i)] * from[x];
        }
    return means;
}

sPlane Product(const sPlane& pLeft, const sPlane& pRight)
{
    sPlane product = pLeft;
    std::transform(pLeft.fValues.begin(), pLeft.fValues.end(), pRight.fValues.begin(), product.fValues.begin(),
                   [](double a, double b) { return a * b; });
    return product;
}

/// Standard deviations over the windows.
sPlane WindowDeviations(const sPlane& pPlane, const sPlane& pMeans)
{
    sPlane deviations = WindowMeans(Product(pPlane, pPlane));
    for (size_t i = 0; i < deviations.fValues.size(); i++)
        deviations.fValues[i] = std::sqrt(std::max(0.0, deviations.fValues[i] - pMeans.fValues[i] * pMeans.fValues[i]));
    return deviations;
}

/// One window: its standard deviations in the scene and the picture, and the covariance.
double WindowFidelity(const SelvaneLib::cVisibility& pVisible, double pScene, double pPicture, double pTogether)
{
    const double scene = pVisible(pScene), picture = pVisible(pPicture);
    return (2.0 * scene * picture + kStabiliser1) / (scene * scene + picture * picture + kStabiliser1) *
           (pTogether + kStabiliser2) / (pScene * pPicture + kStabiliser2);
}

} // namespace

cStructuralFidelity::cStructuralFidelity(const sPlane& pScene)
{
    sPlane plane = Stretched(pScene);
    for (sScale& scale : fScales) {
        scale.fScene = plane;
        scale.fMean = WindowMeans(plane);
        scale.fDeviation = WindowDeviations(plane, scale.fMean);
        plane = Halved(plane);
    }
}

sFidelity cStructuralFidelity::Compare(const sPlane& pGrey) const
{
    sFidelity fidelity;
    fidelity.fAll = 1.0;
    sPlane grey = pGrey;
    for (int i = 0; i < kScales; i++) {
        const sScale& scale = fScales[i];
        const SelvaneLib::cVisibility visible(kFrequency[i]);
        const sPlane mean = WindowMeans(grey);
        const sPlane deviation = WindowDeviations(grey, mean);
        const sPlane product = WindowMeans(Product(scale.fScene, grey));
        double sum = 0.0;
        for (size_t n = 0; n < mean.fValues.size(); n++)
            sum += WindowFidelity(visible, scale.fDeviation.fValues[n], deviation.fValues[n],
                                  product.fValues[n] - scale.fMean.fValues[n] * mean.fValues[n]);
        const bool measured = !mean.fValues.empty();
        fidelity.fScale[i] = measured ? sum / static_cast<double>(mean.fValues.size()) : 1.0;
        fidelity.fAll *= std::pow(std::max(0.0, fidelity.fScale[i]), kWeight[i]);
        grey = Halved(grey);
    }
    return fidelity;
}

} // namespace SelvaneTmqi
