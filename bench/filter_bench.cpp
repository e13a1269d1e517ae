// How much does a pixel cost in the filters? Prints nanoseconds a pixel, the best of several runs, by size and workers.
//
// The input is the logarithm of luminance of a made scene: slow gradients over six decades, hard edges and fine noise,
// so that samples of a row fall into changing cells as those of a photograph do. It is built outside the timed part.
// The spatial sampling is that of the tone mapper in its middle position, 25 thousandths of the longer side.

#include "filter/cBilateral.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace
{

using Vornik::cBilateral;

struct sScene
{
    int fWidth;
    int fHeight;
    std::vector<float> fPlane;
    float fMin;
    float fMax;
};

sScene MakeScene(int pWidth, int pHeight)
{
    sScene scene{pWidth, pHeight, std::vector<float>(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight)), 0, 0};
    uint32_t noise = 1;
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            noise = noise * 1664525u + 1013904223u;
            const float slope = 3.0f * std::sin(static_cast<float>(x) * 0.0007f + static_cast<float>(y) * 0.0011f);
            const float edge = ((x / 310) ^ (y / 270)) & 1 ? 1.5f : 0.0f;
            scene.fPlane[static_cast<size_t>(y) * static_cast<size_t>(pWidth) + static_cast<size_t>(x)] =
                slope + edge + static_cast<float>(noise >> 8) * 0x1p-24f * 0.2f;
        }
    const auto ends = std::minmax_element(scene.fPlane.begin(), scene.fPlane.end());
    scene.fMin = *ends.first;
    scene.fMax = *ends.second;
    return scene;
}

const sScene& Scene(int pMegapixels)
{
    static const sScene small = MakeScene(1500, 1000);
    static const sScene large = MakeScene(6000, 4000);
    return pMegapixels > 2 ? large : small;
}

void Report(benchmark::State& pState, const sScene& pScene)
{
    const auto pixels = static_cast<double>(pScene.fPlane.size());
    pState.counters["per_pixel"] =
        benchmark::Counter(pixels, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// Arguments: megapixels, workers, rows wrapped, blur amount in per cent.
void FilterFast(benchmark::State& pState)
{
    const sScene& scene = Scene(static_cast<int>(pState.range(0)));
    std::vector<float> input(scene.fPlane);
    std::vector<float> output(input.size());
    const float sampling = 0.025f * static_cast<float>(std::max(scene.fWidth, scene.fHeight));
    for ([[maybe_unused]] auto _ : pState) {
        bool cancel = false;
        bool cancelled = false;
        cBilateral::Filter_Fast(&cancel, &cancelled, static_cast<int>(pState.range(1)), input.data(), output.data(),
                                scene.fWidth, scene.fHeight, sampling, 0.3f, scene.fMin, scene.fMax,
                                static_cast<float>(pState.range(3)) * 0.01f, pState.range(2) != 0);
        benchmark::ClobberMemory();
    }
    Report(pState, scene);
}

/// Arguments: megapixels, workers, sigma in tenths of a pixel.
void GaussianBlur(benchmark::State& pState)
{
    const sScene& scene = Scene(static_cast<int>(pState.range(0)));
    std::vector<float> plane(scene.fPlane);
    for ([[maybe_unused]] auto _ : pState) {
        cBilateral::FastGaussianBlur(static_cast<int>(pState.range(1)), plane.data(), plane.data(), scene.fWidth,
                                     scene.fHeight, static_cast<float>(pState.range(2)) * 0.1f);
        benchmark::ClobberMemory();
    }
    Report(pState, scene);
}

/// Arguments: sigma in pixels; one worker, 1.5 megapixels.
void FilterRef(benchmark::State& pState)
{
    const sScene& scene = Scene(1);
    std::vector<float> input(scene.fPlane);
    for ([[maybe_unused]] auto _ : pState)
        cBilateral::Filter_Ref(nullptr, nullptr, 1, input.data(), nullptr, scene.fWidth, scene.fHeight,
                               static_cast<float>(pState.range(0)), 0.3f, 0.0f, 0.0f);
    Report(pState, scene);
}

BENCHMARK(FilterFast)
    ->Args({24, 1, 0, 0})
    ->Args({24, 2, 0, 0})
    ->Args({24, 1, 1, 0})
    ->Args({24, 1, 0, 100})
    ->Args({1, 1, 0, 100})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true)
    ->ComputeStatistics("best", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); })
    ->UseRealTime();
BENCHMARK(GaussianBlur)
    ->Args({24, 1, 20})
    ->Args({24, 2, 20})
    ->Args({24, 1, 600})
    ->Args({1, 1, 20})
    ->Unit(benchmark::kMillisecond)
    ->Repetitions(3)
    ->ReportAggregatesOnly(true)
    ->ComputeStatistics("best", [](const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); })
    ->UseRealTime();
BENCHMARK(FilterRef)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
