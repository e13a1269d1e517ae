// What does each stage of the renderer cost, and a picture that goes through the classes from end to end?
//
// A renderer that a host can look into leaves every field filled, so its stages write more than those of the entry. The
// stages run on a kept renderer, whose memory is warm; the whole picture takes new memory unless the heap keeps it.

#include "Call.h"
#include "Kept.h"
#include "Measure.h"
#include "Scene.h"

#include "bitmap/cBitmapBGR16.h"

#include <cstring>
#include <string>

namespace SelvaneBench
{

namespace
{

using namespace Vornik;

struct sStage
{
    const char* fName;
    double fBytes; ///< that it reads and writes for a pixel: planes of floats, records of 14 bytes, pixels of 12 and 3
    bool cTmRenderer::*fNeeded;
};

constexpr sStage kStages[] = {{"preparation", 12 + 14 + 12 + 4, &cTmRenderer::fPrepareNeeded},
                              {"phase1", 4 + 4 + 8 + 4, &cTmRenderer::fPhase1Needed},
                              {"phase2", 8 + 14 + 14, &cTmRenderer::fPhase2Needed},
                              {"final", 14 + 3, &cTmRenderer::fFinalNeeded}};

void AddStage(const sStage& pStage, const sSize& pSize, int pWorkers)
{
    Add(std::string("classStage/") + pSize.fName + "/" + pStage.fName + "/" + Workers(pWorkers),
        [=](benchmark::State& pState) {
            cTmRenderer& renderer = *KeptOf(pSize).fRenderer;
            renderer.fNbProc = pWorkers;
            Measure(pState, {pSize.Pixels(), pStage.fBytes}, [&] {
                renderer.*pStage.fNeeded = true;
                renderer.Render();
            });
        });
}

cBitmapBGR16& InputOf(const sSize& pSize)
{
    static cLatest<sSize, cBitmapBGR16> latest;
    return latest.Get(pSize, [&] {
        auto input = std::make_unique<cBitmapBGR16>(pSize.fWidth, pSize.fHeight, eColorSpace_sRGB);
        const std::vector<unsigned char> samples = Scene(16, pSize);
        for (int y = 0; y < pSize.fHeight; y++)
            std::memcpy(reinterpret_cast<unsigned char*>(input->fData) + ptrdiff_t{y} * input->fStride,
                        samples.data() + ptrdiff_t{y} * pSize.fWidth * 6, static_cast<size_t>(pSize.fWidth) * 6);
        return input;
    });
}

/// From 16-bit samples to 8-bit samples, everything made and deleted.
void Picture(cBitmapBGR16& pInput, int pWorkers)
{
    cBitmapXYZ32 linear(pInput.fWidth, pInput.fHeight);
    pInput.ToXYZ32(&linear);
    cBitmapBGR8 output(pInput.fWidth, pInput.fHeight, eColorSpace_sRGB);
    const auto renderer = std::make_unique<cTmRenderer>();
    renderer->SetInput(&linear);
    renderer->SetOutput(&output);
    renderer->SetNbProc(pWorkers);
    SetMiddleParams(*renderer);
    renderer->Render();
}

void AddPicture(const sSize& pSize, int pWorkers, eMemory pMemory)
{
    const std::string name = std::string("classes/") + pSize.fName + "/" + Workers(pWorkers) + "/" + Memory(pMemory);
    Add(name, [=](benchmark::State& pState) {
        cBitmapBGR16& input = InputOf(pSize);
        UseMemory(pMemory);
        const auto fresh = pMemory == eMemory::eKept ? 0 : static_cast<size_t>(pSize.Pixels() * kFreshBytes);
        Measure(pState, {pSize.Pixels(), 6 + 3, fresh}, [&] { Picture(input, pWorkers); });
    });
}

} // namespace

void AddCases()
{
    for (const sSize& size : {k64x64, k6MP, k24MP}) {
        for (const sStage& stage : kStages)
            AddStage(stage, size, 1);
        AddStage(kStages[0], size, 2);
        AddStage(kStages[1], size, 2);
    }
    for (const sSize& size : {k64x64, k1MP, k6MP, k24MP})
        for (const int workers : {1, 2})
            AddPicture(size, workers, eMemory::eBigPages);
    for (const int workers : {1, 2})
        AddPicture(k24MP, workers, eMemory::eKept);
}

} // namespace SelvaneBench
