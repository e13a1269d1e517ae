// What does each stage of a kept renderer cost, and a render with new curves? Prints nanoseconds a pixel and gigabytes of
// the picture's own data a second, and what a copy of as many bytes takes in the same run.
//
// A kept renderer leaves every field that a host may look at, so its stages write more than those of the entry. All
// memory is warm: each stage has run before.

#include "Report.h"
#include "Scene.h"

#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "render/cTmRenderer.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

namespace
{

using namespace Vornik;
using namespace SelvaneBench;

constexpr int kHeightPerWidth3 = 2; // thirds of the width

struct sKept
{
    cBitmapXYZ32 fInput;
    cBitmapBGR8 fOutput;
    std::unique_ptr<cTmRenderer> fRenderer = std::make_unique<cTmRenderer>();

    sKept(int pWidth, int pHeight) : fInput(pWidth, pHeight), fOutput(pWidth, pHeight, eColorSpace_sRGB)
    {
        FillXYZ(fInput);
        fRenderer->SetInput(&fInput);
        fRenderer->SetOutput(&fOutput);
        fRenderer->fLogEnabled = 0;
        fRenderer->SetToneMappingParams(47.0f, 0.0f, true, 20.0f, true, 0.0f, 100.0f, 60.0f, 0.0f, false, false, false,
                                        2.0f, 0.1f, 0, 0.0f, 0.0f);
        fRenderer->Render();
    }
};

enum eStage
{
    ePrepare,
    ePhase1,
    ePhase2,
    eFinal,
    eWhole
};

void Mark(cTmRenderer& pRenderer, eStage pStage)
{
    pRenderer.fPrepareNeeded = pStage == ePrepare || pStage == eWhole;
    pRenderer.fPhase1Needed = pStage == ePhase1 || pStage == eWhole;
    pRenderer.fPhase2Needed = pStage == ePhase2 || pStage == eWhole;
    pRenderer.fFinalNeeded = pStage == eFinal || pStage == eWhole;
}

/// Bytes a pixel that a stage reads and writes in the end: planes of floats, records of 14 bytes, pixels of 12 and 3.
double BytesOf(eStage pStage)
{
    constexpr double kBytes[] = {12 + 14 + 12 + 4, 4 + 4 + 8 + 4, 8 + 14 + 14, 14 + 3, 0};
    return pStage == eWhole ? kBytes[0] + kBytes[1] + kBytes[2] + kBytes[3] : kBytes[pStage];
}

void Stage(benchmark::State& pState, eStage pStage)
{
    const auto width = static_cast<int>(pState.range(0));
    const int height = width * kHeightPerWidth3 / 3;
    sKept kept(width, height);
    kept.fRenderer->fNbProc = static_cast<int>(pState.range(1));
    for (auto _ : pState) {
        Mark(*kept.fRenderer, pStage);
        kept.fRenderer->Render();
    }
    Report(pState, static_cast<double>(width) * height, BytesOf(pStage));
}

BENCHMARK_CAPTURE(Stage, Preparation, ePrepare)
    ->ArgsProduct({{240, 3000, 6000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Stage, Phase1, ePhase1)
    ->ArgsProduct({{240, 3000, 6000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Stage, Phase2, ePhase2)
    ->ArgsProduct({{240, 3000, 6000}, {1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Stage, Final, eFinal)
    ->ArgsProduct({{240, 3000, 6000}, {1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Stage, Whole, eWhole)
    ->ArgsProduct({{240, 3000, 6000}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

/// A saturation that alternates, so that each render has a new curve.
void NewHueCurves(benchmark::State& pState)
{
    const auto width = static_cast<int>(pState.range(0));
    const int height = width * kHeightPerWidth3 / 3;
    sKept kept(width, height);
    const cHermiteSpline neutral(0.0f, 0.5f, 1.0f, 0.5f);
    const cHermiteSpline curves[] = {{0.0f, 0.4f, 1.0f, 0.6f}, {0.0f, 0.6f, 1.0f, 0.4f}};
    int turn = 0;
    for (auto _ : pState) {
        kept.fRenderer->SetHueCurves(&neutral, &curves[turn], &neutral);
        turn ^= 1;
        kept.fRenderer->Render();
    }
    Report(pState, static_cast<double>(width) * height, BytesOf(eFinal));
}
BENCHMARK(NewHueCurves)->Arg(240)->Arg(3000)->Arg(6000)->Unit(benchmark::kMillisecond)->UseRealTime();

void EqualizerNewCurve(benchmark::State& pState)
{
    const auto width = static_cast<int>(pState.range(0));
    const int height = width * kHeightPerWidth3 / 3;
    const sKept kept(width, height);
    cBitmapBGR8 input(width, height, eColorSpace_sRGB);
    std::memcpy(input.fData, kept.fOutput.fData, static_cast<size_t>(input.fStride) * static_cast<size_t>(height));
    cBitmapBGR8 output(width, height, eColorSpace_sRGB);
    const auto equalizer = std::make_unique<cColorEqRenderer>();
    equalizer->SetInput(&input);
    equalizer->SetOutput(&output);
    equalizer->Render();
    const cHermiteSpline neutral(0.0f, 0.5f, 1.0f, 0.5f);
    const cHermiteSpline curves[] = {{0.0f, 0.4f, 1.0f, 0.6f}, {0.0f, 0.6f, 1.0f, 0.4f}};
    int turn = 0;
    for (auto _ : pState) {
        equalizer->SetHueCurves(&neutral, &curves[turn], &neutral);
        turn ^= 1;
        equalizer->Render();
    }
    Report(pState, static_cast<double>(width) * height, 10 + 3);
}
BENCHMARK(EqualizerNewCurve)->Arg(240)->Arg(3000)->Arg(6000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
