// Where does a call of the entry spend its time? One case a stage.
//
// Nothing is put into the library: the call is seen from outside. DivideWork is called for the logarithm and for
// slicing, and each progress line ends a step, so the time between two such moments belongs to the stages between them.
// The calls of a size, form and number of workers are made once, and the cases of its stages report their shares.

#include "Call.h"
#include "DivideWork.h"
#include "Measure.h"
#include "Scene.h"

#include "filter/DivideWork.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace SelvaneBench
{

namespace
{

/// What ends at a moment of a call.
enum eStage
{
    eRead,      // decoding, matrix, room for the intermediates
    eLogarithm, // first DivideWork
    eScatter,   // grid, scattering, smoothing
    eSlice,     // second DivideWork
    eMeasure,   // layers split and measured: up to the first line
    eTables,    // up to the second line
    eLuminance, // up to the third line
    eHistogram, // up to the fourth line
    eFinal,     // packing, last stage, samples to the host, everything released
    eStages
};

struct sStage
{
    const char* fName;
    double fBytes; ///< that it has to read and write for a pixel, 16 bits in and 8 out, everything between in floats
};

constexpr sStage kStages[eStages] = {
    {"read", 6 + 12},  {"logarithm", 12 + 4}, {"scatter", 4},   {"slice", 4 + 4},      {"splitAndMeasure", 8},
    {"tables", 0.125}, {"luminance", 8 + 4},  {"histogram", 4}, {"final", 12 + 4 + 3},
};

/// The call that is being timed.
struct sWatch
{
    sMoment fLast{};
    int fDivides = 0;
    int fLines = 0;
    std::array<sMoment, eStages> fTook{};

    void Begin()
    {
        *this = {};
        fLast = Now();
    }
    void End(eStage pStage)
    {
        const sMoment now = Now();
        fTook[pStage].fWall += now.fWall - fLast.fWall;
        fTook[pStage].fCpu += now.fCpu - fLast.fCpu;
        fLast = now;
    }
};

sWatch gWatch;

ssize_t HearLine(void* /*pCookie*/, const char* /*pText*/, size_t pSize)
{
    constexpr eStage kEnds[] = {eMeasure, eTables, eLuminance, eHistogram};
    if (gWatch.fLines < 4) gWatch.End(kEnds[gWatch.fLines++]);
    return static_cast<ssize_t>(pSize);
}

/// From now on each line of the library is heard when it ends.
void HearLines()
{
    stderr = ::fopencookie(nullptr, "w", {nullptr, HearLine, nullptr, nullptr});
    std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
}

/// Of each stage and, last, of the whole.
using tStageTimes = std::array<sTimes, eStages + 1>;

tStageTimes TimesOf(cCall& pCall, const sSize& pSize, int pWorkers)
{
    tStageTimes times;
    const int calls = std::clamp(static_cast<int>(1.5e8 / pSize.Pixels()), 1, 300);
    for (int i = 0; i < calls; i++) {
        TouchMemory(static_cast<size_t>(pSize.Pixels() * kFreshBytes));
        gWatch.Begin();
        const sMoment begin = gWatch.fLast;
        pCall.Run(pWorkers);
        gWatch.End(eFinal);
        for (size_t stage = 0; stage < eStages; stage++)
            times[stage].Enter(gWatch.fTook[stage]);
        times[eStages].Enter({gWatch.fLast.fWall - begin.fWall, gWatch.fLast.fCpu - begin.fCpu});
    }
    return times;
}

struct sKey
{
    sForm fForm;
    sSize fSize;
    int fWorkers;
    bool operator==(const sKey&) const = default;
};

const tStageTimes& Times(const sKey& pKey)
{
    static cLatest<sKey, tStageTimes> latest;
    return latest.Get(pKey, [&] {
        return std::make_unique<tStageTimes>(TimesOf(CallOf(pKey.fForm, pKey.fSize), pKey.fSize, pKey.fWorkers));
    });
}

void AddStages(const sKey& pKey)
{
    const std::string path = std::string(pKey.fSize.fName) + "/" + pKey.fForm.fName + "/" + Workers(pKey.fWorkers);
    for (size_t stage = 0; stage < eStages; stage++)
        Add("entryStage/" + path + "/" + kStages[stage].fName, [=](benchmark::State& pState) {
            Replay(pState, {pKey.fSize.Pixels(), kStages[stage].fBytes}, Times(pKey)[stage]);
        });
    Add("entryStage/" + path + "/whole", [=](benchmark::State& pState) {
        Replay(pState, {pKey.fSize.Pixels(), pKey.fForm.HostBytes()}, Times(pKey)[eStages]);
    });
}

} // namespace

void AddCases()
{
    HearLines();
    AddStages({kForms[0], k64x64, 1});
    AddStages({kForms[0], k1MP, 1});
    AddStages({kForms[0], k6MP, 1});
    for (const int workers : {1, 2})
        AddStages({kForms[0], k24MP, workers});
}

} // namespace SelvaneBench

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    using namespace SelvaneBench;
    constexpr eStage kBefore[] = {eRead, eScatter};
    constexpr eStage kEnds[] = {eLogarithm, eSlice};
    const int call = gWatch.fDivides++;
    if (call < 2) gWatch.End(kBefore[call]);
    RunTiles(start, end, threads, fn, record, recordSize);
    if (call < 2) gWatch.End(kEnds[call]);
}
