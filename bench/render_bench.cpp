// What does a change cost that a kept renderer answers: new curves, new points, new parameters? The memory is warm.

#include "Kept.h"
#include "Measure.h"
#include "Scene.h"

#include <cstring>
#include <string>

namespace SelvaneBench
{

namespace
{

using namespace Vornik;

/// An equalizer with its pictures, rendered once. Its input is a rendered scene.
struct sKeptEqualizer
{
    cBitmapBGR8 fInput;
    cBitmapBGR8 fOutput;
    std::unique_ptr<cColorEqRenderer> fEqualizer = std::make_unique<cColorEqRenderer>();

    explicit sKeptEqualizer(const sSize& pSize)
        : fInput(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB), fOutput(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB)
    {
        const sKept kept(pSize);
        std::memcpy(fInput.fData, kept.fOutput.fData,
                    static_cast<size_t>(fInput.fStride) * static_cast<size_t>(pSize.fHeight));
        fEqualizer->SetInput(&fInput);
        fEqualizer->SetOutput(&fOutput);
        fEqualizer->Render();
    }
};

sKeptEqualizer& KeptEqualizerOf(const sSize& pSize)
{
    static cLatest<sSize, sKeptEqualizer> latest;
    return latest.Get(pSize, [&] { return std::make_unique<sKeptEqualizer>(pSize); });
}

/// Saturation by a new curve; hue and lightness stay neutral.
template <class tRenderer>
void SetNewSaturation(tRenderer& pRenderer, cNewCurve& pCurve)
{
    static const cHermiteSpline neutral(0.0f, 0.5f, 1.0f, 0.5f);
    pRenderer.SetHueCurves(&neutral, &pCurve.Next(), &neutral);
    pRenderer.Render();
}

constexpr double kDecodeBytes = 14 + 3;                      // a record of the compact picture, a pixel
constexpr double kLuminanceBytes = 8 + 14 + 14;              // two layers, the record read and written
constexpr double kAllBytes = 42 + 20 + kLuminanceBytes + 17; // all stages, see class_stages_bench
constexpr double kEqualizerBytes = 10 + 3;                   // a record of the equalizer, a pixel
constexpr double kEqualizerAllBytes = 3 + 10 + kEqualizerBytes;

void AddRenders(const sSize& pSize)
{
    const std::string size = std::string("/") + pSize.fName;
    Add("render" + size + "/newHueCurve", [=](benchmark::State& pState) {
        cTmRenderer& renderer = *KeptOf(pSize).fRenderer;
        cNewCurve curve;
        Measure(pState, {pSize.Pixels(), kDecodeBytes}, [&] { SetNewSaturation(renderer, curve); });
    });
    Add("render" + size + "/newPoints", [=](benchmark::State& pState) {
        cTmRenderer& renderer = *KeptOf(pSize).fRenderer;
        Measure(pState, {pSize.Pixels(), kLuminanceBytes + kDecodeBytes}, [&] {
            renderer.ToneMapPhase2Needed();
            renderer.Render();
        });
    });
    Add("render" + size + "/newParameters", [=](benchmark::State& pState) {
        cTmRenderer& renderer = *KeptOf(pSize).fRenderer;
        Measure(pState, {pSize.Pixels(), kAllBytes}, [&] {
            SetMiddleParams(renderer);
            renderer.Render();
        });
    });
}

void AddEqualizer(const sSize& pSize)
{
    const std::string size = std::string("/") + pSize.fName;
    Add("equalizer" + size + "/newCurve", [=](benchmark::State& pState) {
        cColorEqRenderer& equalizer = *KeptEqualizerOf(pSize).fEqualizer;
        cNewCurve curve;
        Measure(pState, {pSize.Pixels(), kEqualizerBytes}, [&] { SetNewSaturation(equalizer, curve); });
    });
    Add("equalizer" + size + "/newPicture", [=](benchmark::State& pState) {
        cColorEqRenderer& equalizer = *KeptEqualizerOf(pSize).fEqualizer;
        Measure(pState, {pSize.Pixels(), kEqualizerAllBytes}, [&] {
            equalizer.AllRenderingNeeded();
            equalizer.Render();
        });
    });
}

} // namespace

void AddCases()
{
    for (const sSize& size : {k64x64, k6MP, k24MP})
        AddRenders(size);
    for (const sSize& size : {k64x64, k6MP, k24MP})
        AddEqualizer(size);
}

} // namespace SelvaneBench
