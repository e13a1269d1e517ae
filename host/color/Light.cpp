#include "color/Light.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace SelvaneHost
{

namespace
{

/// One row of integers to floats. A table a channel; alpha is the fourth.
template <typename tSample>
void LookUp(const unsigned char* pFrom, const std::array<std::vector<float>, 4>& pTables, const sPicture& pPicture,
            float* pTo)
{
    const auto channels = static_cast<size_t>(pPicture.fChannels);
    const size_t count = channels * static_cast<size_t>(pPicture.fWidth);
    for (size_t i = 0; i < count; i++) {
        tSample sample = 0;
        std::memcpy(&sample, pFrom + i * sizeof sample, sizeof sample);
        pTo[i] = pTables[i % channels][sample];
    }
}

std::vector<float> TableOf(const tLightCurve& pCurve, size_t pSize)
{
    std::vector<float> table(pSize);
    for (size_t i = 0; i < pSize; i++)
        table[i] = static_cast<float>(pCurve(static_cast<double>(i) / static_cast<double>(pSize - 1)));
    return table;
}

void MakeIntegersLinear(sPicture& pPicture, const std::array<tLightCurve, 3>& pCurves)
{
    const bool narrow = pPicture.fForm == eSamples8;
    const size_t size = narrow ? 256 : 65536;
    const std::array<std::vector<float>, 4> tables = {TableOf(pCurves[0], size), TableOf(pCurves[1], size),
                                                      TableOf(pCurves[2], size),
                                                      TableOf([](double pValue) { return pValue; }, size)};
    const sPicture from = std::exchange(pPicture, {});
    pPicture.fColor = from.fColor;
    pPicture.fMetadata = from.fMetadata;
    pPicture.fWarnings = from.fWarnings;
    AllocatePixels(pPicture, from.fWidth, from.fHeight, eFloats, from.fChannels);
    for (int y = 0; y < from.fHeight; y++) {
        auto* const to = reinterpret_cast<float*>(Row(pPicture, y));
        if (narrow)
            LookUp<uint8_t>(Row(from, y), tables, from, to);
        else
            LookUp<uint16_t>(Row(from, y), tables, from, to);
    }
}

/// Calls the function with each sample of red, green and blue, and its channel.
template <typename tFunction>
void ForEachColor(sPicture& pPicture, const tFunction& pFunction)
{
    auto* sample = reinterpret_cast<float*>(pPicture.fPixels.data());
    const size_t pixels = pPicture.fPixels.size() / PixelBytes(pPicture);
    for (size_t i = 0; i < pixels; i++, sample += pPicture.fChannels)
        for (size_t channel = 0; channel < 3; channel++)
            sample[channel] = pFunction(sample[channel], channel);
}

} // namespace

double PqLight(double pSignal)
{
    constexpr double kM1 = 2610.0 / 16384.0;
    constexpr double kM2 = 2523.0 / 4096.0 * 128.0;
    constexpr double kC1 = 3424.0 / 4096.0;
    constexpr double kC2 = 2413.0 / 4096.0 * 32.0;
    constexpr double kC3 = 2392.0 / 4096.0 * 32.0;
    constexpr double kMost = 10000.0; // cd/m2
    const double power = std::pow(std::clamp(pSignal, 0.0, 1.0), 1.0 / kM2);
    const double light = std::pow(std::max(power - kC1, 0.0) / (kC2 - kC3 * power), 1.0 / kM1);
    return kMost * light / kReferenceWhite;
}

double HlgLight(double pSignal)
{
    constexpr double kA = 0.17883277;
    constexpr double kB = 1.0 - 4.0 * kA;
    constexpr double kWhite = 0.75; // signal
    const double c = 0.5 - kA * std::log(4.0 * kA);
    const auto light = [&](double signal) {
        return signal <= 0.5 ? signal * signal / 3.0 : (std::exp((signal - c) / kA) + kB) / 12.0;
    };
    return light(std::max(pSignal, 0.0)) / light(kWhite);
}

void MakeLinear(sPicture& pPicture, const std::array<tLightCurve, 3>& pCurves)
{
    if (pPicture.fForm == eExponentPlanes) return;
    if (pPicture.fForm != eFloats) return MakeIntegersLinear(pPicture, pCurves);
    ForEachColor(pPicture, [&](float pSample, size_t pChannel) {
        return static_cast<float>(pCurves[pChannel](static_cast<double>(pSample)));
    });
}

void MakeLinear(sPicture& pPicture, const tLightCurve& pCurve)
{
    MakeLinear(pPicture, {pCurve, pCurve, pCurve});
}

void Scale(sPicture& pPicture, float pFactor)
{
    if (pPicture.fForm == eFloats) ForEachColor(pPicture, [=](float pSample, size_t) { return pSample * pFactor; });
}

} // namespace SelvaneHost
