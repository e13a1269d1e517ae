// What does a suggestion cost? Prints milliseconds of one call and how many previews it looked at, and the same with
// previews that cost nothing, which leaves the measuring. One thread; pictures of a width, two thirds as high.
// lib_bench has the suggestion beside a render at 24 megapixels.

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
            const float* rgb = &hills.fRGB[3 * (row * static_cast<size_t>(hills.fWidth) + column)];
            picture.fRGB.insert(picture.fRGB.end(), rgb, rgb + 3);
        }
    return picture;
}

/// All of it but the reading of the picture: one thread.
void Suggesting(benchmark::State& pState)
{
    const sPicture picture = Hills(static_cast<int>(pState.range(0)));
    Selvane::cToneMapper mapper;
    mapper.SetThreads(1);
    for (auto _ : pState) {
        pState.PauseTiming();
        SetPicture(mapper, picture);
        pState.ResumeTiming();
        mapper.Suggest();
    }
    pState.counters["previews"] = mapper.Report().previews;
}
BENCHMARK(Suggesting)->Arg(256)->Arg(512)->Arg(2048)->Unit(benchmark::kMillisecond);

/// What is left with previews that cost nothing.
void MeasuringAlone(benchmark::State& pState)
{
    cSeen seen(Hills(static_cast<int>(pState.range(0))), static_cast<int>(pState.range(0)));
    const tRGB8 preview = seen.Render({});
    for (auto _ : pState)
        Suggest(seen.Scene(), [&](const sLook&, unsigned char* pRGB8) {
            std::copy(preview.begin(), preview.end(), pRGB8);
            return true;
        });
}
BENCHMARK(MeasuringAlone)->Arg(256)->Arg(512)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
