// What does a suggestion cost? Prints milliseconds of one call and how many previews it looked at: with the engine's
// renders as previews, and with a preview that costs nothing, which leaves the measuring. One worker; 24-megapixel
// renders of entry_bench tell what a fifth of a render is.

#include "tmqi/MadeScenes.h"

#include <benchmark/benchmark.h>

#include <algorithm>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

/// The sunny hills, enlarged or reduced to a width. Their suggestion takes as many previews as most photographs do.
sPicture Hills(int pWidth)
{
    const sPicture hills = SunnyHills();
    sPicture picture{pWidth, pWidth * 2 / 3, {}};
    for (int y = 0; y < picture.fHeight; y++)
        for (int x = 0; x < picture.fWidth; x++) {
            const auto row = static_cast<size_t>(y * hills.fHeight / picture.fHeight);
            const auto column = static_cast<size_t>(x * hills.fWidth / picture.fWidth);
            const float* xyz = &hills.fXYZ[3 * (row * static_cast<size_t>(hills.fWidth) + column)];
            picture.fXYZ.insert(picture.fXYZ.end(), xyz, xyz + 3);
        }
    return picture;
}

void Run(benchmark::State& pState, const sPicture& pPicture, const tRenderPreview& pRender)
{
    const sScene scene = SceneOf(pPicture, pPicture);
    int64_t previews = 0;
    for (auto _ : pState)
        Suggest(scene, [&](const sLook& pLook, unsigned char* pRGB8) {
            previews++;
            return pRender(pLook, pRGB8);
        });
    pState.counters["previews"] = static_cast<double>(previews) / static_cast<double>(pState.iterations());
}

void WithRenders(benchmark::State& pState)
{
    const sPicture picture = Hills(static_cast<int>(pState.range(0)));
    Run(pState, picture, [&](const sLook& pLook, unsigned char* pRGB8) {
        const tRGB8 preview = Render(picture, pLook);
        std::copy(preview.begin(), preview.end(), pRGB8);
        return true;
    });
}
BENCHMARK(WithRenders)->Arg(256)->Arg(384)->Arg(512)->Unit(benchmark::kMillisecond);

void MeasuringAlone(benchmark::State& pState)
{
    const sPicture picture = Hills(static_cast<int>(pState.range(0)));
    const tRGB8 preview = Render(picture, {});
    Run(pState, picture, [&](const sLook&, unsigned char* pRGB8) {
        std::copy(preview.begin(), preview.end(), pRGB8);
        return true;
    });
}
BENCHMARK(MeasuringAlone)->Arg(256)->Arg(384)->Arg(512)->Unit(benchmark::kMillisecond);

/// Counting the levels of a picture of 24 megapixels.
void CountLevels(benchmark::State& pState)
{
    const sPicture picture = Hills(6000);
    for (auto _ : pState)
        benchmark::DoNotOptimize(LevelsOf(picture));
}
BENCHMARK(CountLevels)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
