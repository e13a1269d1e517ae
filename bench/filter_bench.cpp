// How much does a pixel cost in the filters?
//
// The input is the logarithm of the luminance of a made scene: slow gradients over six decades, hard edges and fine
// noise, so that samples of a row fall into changing cells as those of a photograph do. The spatial sampling is that of
// the tone mapper in its middle position, 25 thousandths of the longer side.

#include "Call.h"
#include "Measure.h"
#include "Scene.h"

#include "filter/cBilateral.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace SelvaneBench
{

namespace
{

using Vornik::cBilateral;

struct sPlane
{
    sSize fSize;
    std::vector<float> fInput;
    std::vector<float> fOutput;
    float fMin = 0;
    float fMax = 0;

    explicit sPlane(const sSize& pSize) : fSize(pSize), fOutput(static_cast<size_t>(pSize.Pixels()), 1.0f)
    {
        uint32_t noise = 1;
        fInput.reserve(fOutput.size());
        for (int y = 0; y < pSize.fHeight; y++)
            for (int x = 0; x < pSize.fWidth; x++) {
                noise = noise * 1664525u + 1013904223u;
                const float slope = 3.0f * std::sin(static_cast<float>(x) * 0.0007f + static_cast<float>(y) * 0.0011f);
                const float edge = ((x / 310) ^ (y / 270)) & 1 ? 1.5f : 0.0f;
                fInput.push_back(slope + edge + static_cast<float>(noise >> 8) * 0x1p-24f * 0.2f);
            }
        const auto ends = std::minmax_element(fInput.begin(), fInput.end());
        fMin = *ends.first;
        fMax = *ends.second;
    }
};

sPlane& PlaneOf(const sSize& pSize)
{
    static cLatest<sSize, sPlane> latest;
    return latest.Get(pSize, [&] { return std::make_unique<sPlane>(pSize); });
}

struct sFast
{
    const char* fName;
    int fWorkers;
    bool fWrapX;
    float fBlurAmount; ///< per cent
};

constexpr sFast kFast[] = {{"plain/1worker", 1, false, 0.0f},
                           {"plain/2workers", 2, false, 0.0f},
                           {"wrapped/1worker", 1, true, 0.0f},
                           {"blurred/1worker", 1, false, 100.0f}};

void AddFast(const sSize& pSize, const sFast& pFast)
{
    Add(std::string("filterFast/") + pSize.fName + "/" + pFast.fName, [=](benchmark::State& pState) {
        sPlane& plane = PlaneOf(pSize);
        const float sampling = 0.025f * static_cast<float>(std::max(pSize.fWidth, pSize.fHeight));
        Measure(pState, {pSize.Pixels(), 4 + 4 + 4}, [&] {
            bool cancel = false;
            bool cancelled = false;
            cBilateral::Filter_Fast(&cancel, &cancelled, pFast.fWorkers, plane.fInput.data(), plane.fOutput.data(),
                                    pSize.fWidth, pSize.fHeight, sampling, 0.3f, plane.fMin, plane.fMax,
                                    pFast.fBlurAmount, pFast.fWrapX);
        });
    });
}

/// The bytes are those of one reading and one writing, although there are three rounds over rows and columns.
void AddBlur(const sSize& pSize, int pSigmaTenths, int pWorkers)
{
    const std::string sigma = "sigma" + std::to_string(pSigmaTenths / 10) + "." + std::to_string(pSigmaTenths % 10);
    Add(std::string("gaussianBlur/") + pSize.fName + "/" + sigma + "/" + Workers(pWorkers),
        [=](benchmark::State& pState) {
            sPlane& plane = PlaneOf(pSize);
            Measure(pState, {pSize.Pixels(), 4 + 4}, [&] {
                cBilateral::FastGaussianBlur(pWorkers, plane.fInput.data(), plane.fOutput.data(), pSize.fWidth,
                                             pSize.fHeight, static_cast<float>(pSigmaTenths) * 0.1f);
            });
        });
}

void AddReference(const sSize& pSize)
{
    Add(std::string("filterRef/") + pSize.fName + "/sigma2", [=](benchmark::State& pState) {
        sPlane& plane = PlaneOf(pSize);
        Measure(pState, {pSize.Pixels(), 4 + 4}, [&] {
            cBilateral::Filter_Ref(nullptr, nullptr, 1, plane.fInput.data(), nullptr, pSize.fWidth, pSize.fHeight, 2.0f,
                                   0.3f, 0.0f, 0.0f);
        });
    });
}

} // namespace

void AddCases()
{
    for (const sSize& size : {k64x64, k1MP, k24MP})
        for (const sFast& fast : kFast)
            AddFast(size, fast);
    AddBlur(k64x64, 20, 1);
    AddBlur(k1MP, 20, 1);
    for (const int sigma : {5, 20, 100, 600, 2000})
        AddBlur(k24MP, sigma, 1);
    AddBlur(k24MP, 20, 2);
    AddReference(k64x64);
    AddReference(k1MP);
}

} // namespace SelvaneBench
