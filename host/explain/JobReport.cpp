#include "explain/JobReport.h"

#include "write/Apart.h"
#include "write/OutputFile.h"

namespace SelvaneHost
{

namespace
{

/// How the samples became light, in a sentence.
std::string ColorWords(const sPicture& pInput, std::optional<int> pChosen)
{
    const sColor& color = pInput.fColor;
    if (pChosen) return std::string("Taken as ") + SpaceName(*pChosen) + ", as asked for.";
    if (!color.fWords.empty()) return color.fWords;
    const std::string name = color.fPrimaries < kSpaces ? SpaceName(color.fPrimaries) : "primaries of its own";
    return color.fIsNamed ? "The file says " + name + "." : "The file names no colour space; taken as " + name + ".";
}

} // namespace

double cStopwatch::Lap()
{
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double, std::milli> lap = now - fLap;
    fLap = now;
    return lap.count();
}

void CheckReport(const std::string& pReport, const sJob& pJob)
{
    CheckApart(pReport, {pJob.fInput, pJob.fLook.fSettings}, {pJob.fOutput.fPath});
    About(pReport, [&] { CheckWritable(pReport); });
}

void DescribeInput(const sJob& pJob, const sPicture& pInput, sRunFacts& pFacts)
{
    pFacts.fInput = {pJob.fInput, FileBytes(pJob.fInput)};
    pFacts.fWidth = pInput.fWidth;
    pFacts.fHeight = pInput.fHeight;
    pFacts.fForm = pInput.fForm;
    pFacts.fChannels = pInput.fChannels;
    pFacts.fColorIn = ColorWords(pInput, pJob.fColorSpace);
}

void cJobReport::Watch(eJobStage pStage)
{
    fMilliseconds[fStage] += fWatch.Lap();
    fStage = pStage;
}

sJobHooks cJobReport::Hooks(const sJobHooks& pOthers)
{
    sJobHooks hooks = pOthers;
    hooks.fProgress = [this, pOthers](eJobStage pStage, float pShare) {
        Watch(pStage);
        return !pOthers.fProgress || pOthers.fProgress(pStage, pShare);
    };
    hooks.fLine = [this, pOthers](const std::string& pLine) {
        fWarnings.push_back(pLine);
        if (pOthers.fLine) pOthers.fLine(pLine);
    };
    return hooks;
}

void cJobReport::Write(const sJob& pJob, const sDone& pDone, const std::string& pPath)
{
    Watch(fStage);
    sRunFacts facts;
    DescribeInput(pJob, pDone.fInput, facts);
    facts.fOutput = sFileFacts{pJob.fOutput.fPath, FileBytes(pJob.fOutput.fPath)};
    facts.fCommand = pDone.fCommand;
    facts.fColorOut = SpaceName(pDone.fSpace);
    facts.fWarnings = fWarnings;
    facts.fReadMilliseconds = fMilliseconds[eJobReads];
    facts.fRenderMilliseconds = fMilliseconds[eJobRenders];
    facts.fWriteMilliseconds = fMilliseconds[eJobWrites];
    facts.fDeveloped = pDone.fDeveloped;
    About(pPath, [&] { WriteReport(facts, pPath); });
}

} // namespace SelvaneHost
