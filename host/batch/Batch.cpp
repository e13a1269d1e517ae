#include "batch/Batch.h"

#include "job/Report.h"
#include "picture/HalfOfMemory.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace SelvaneHost
{

namespace
{

constexpr double kReads = 0.25; // shares of the time of a job, about
constexpr double kRenders = 0.5;

double ShareOf(eJobStage pStage, float pShare)
{
    const auto share = static_cast<double>(pShare);
    if (pStage == eJobReads) return kReads * share;
    if (pStage == eJobRenders) return kReads + kRenders * share;
    return kReads + kRenders + (1.0 - kReads - kRenders) * share;
}

double MegapixelsOf(const sPicture& pPicture)
{
    return 1e-6 * pPicture.fWidth * pPicture.fHeight;
}

uint64_t FileBytes(const std::string& pPath)
{
    std::error_code failure;
    const auto bytes = std::filesystem::file_size(pPath, failure);
    return failure ? 0 : bytes; // a pipe
}

/// The pixels of the result, if its size is another one than the picture's.
std::optional<uint64_t> ResizedPixels(const sJob& pJob, const sPicture& pInput)
{
    sSize size{pInput.fWidth, pInput.fHeight};
    if (pJob.fCrop) size = {pJob.fCrop->fWidth, pJob.fCrop->fHeight};
    const std::optional<sSize> result = ChangedSize(pJob.fOutput, size.fWidth, size.fHeight);
    if (!result) return std::nullopt;
    return static_cast<uint64_t>(result->fWidth) * static_cast<uint64_t>(result->fHeight);
}

uint64_t NeededBytes(const sJob& pJob, const sPicture& pInput)
{
    constexpr int kMostDepth = 16;
    return NeededBytes(pInput, FileBytes(pJob.fInput), kMostDepth, ResizedPixels(pJob, pInput));
}

int AdmitJob(const cTaskRun& pRun, const sJob& pJob, const sPicture& pInput)
{
    return pRun.Admit(MegapixelsOf(pInput), NeededBytes(pJob, pInput));
}

std::string InMegapixels(double pMegapixels)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f megapixels", pMegapixels);
    return text;
}

std::string RunTask(const sPlanned& pPlanned, const cTaskRun& pRun, const sTelling& pTelling)
{
    const std::string& path = pPlanned.fJob.fOutput.fPath;
    if (pPlanned.fIsDone) return path + " is done already";
    const sDone done = RunJob(pPlanned.fJob, HooksOf(pRun, pPlanned.fJob, pTelling));
    return path + " (" + InMegapixels(1e-6 * done.fWidth * done.fHeight) + ")";
}

/// "50 pictures: 47 done, 1 done before, 2 failed; 282.0 megapixels in 61.2 s, 4.6 megapixels/s".
std::string Summary(const sProgress& pProgress, size_t pBefore, size_t pFailed)
{
    const size_t done = pProgress.fPictures - pBefore - pFailed;
    std::string text = std::to_string(pProgress.fPictures) + (pProgress.fPictures == 1 ? " picture: " : " pictures: ") +
                       std::to_string(done) + " done";
    if (pBefore > 0) text += ", " + std::to_string(pBefore) + " done before";
    if (pFailed > 0) text += ", " + std::to_string(pFailed) + " failed";
    char rest[80];
    std::snprintf(rest, sizeof rest, " in %.1f s, %.1f megapixels/s", pProgress.fSeconds,
                  pProgress.fMegapixels / std::max(1e-3, pProgress.fSeconds));
    return text + "; " + InMegapixels(pProgress.fMegapixels) + rest;
}

} // namespace

sJobHooks HooksOf(const cTaskRun& pRun, const sJob& pJob, const sTelling& pTelling)
{
    sJobHooks hooks;
    hooks.fProgress = [&pRun](eJobStage pStage, float pShare) {
        pRun.SetShare(ShareOf(pStage, pShare));
        return true;
    };
    hooks.fAdmit = [&pRun, &pJob](const sPicture& pInput) { return AdmitJob(pRun, pJob, pInput); };
    hooks.fLine = [&pRun](const std::string& pText) { pRun.Say(pText); };
    if (!pTelling.fQuiet) hooks.fNote = hooks.fLine;
    if (pTelling.fVerbose) hooks.fLog = hooks.fLine;
    return hooks;
}

sJobHooks HooksOf(cProgressShow& pShow, const sJob& pJob, uint64_t pMemory, const sTelling& pTelling)
{
    sJobHooks hooks;
    hooks.fProgress = [&pShow](eJobStage pStage, float pShare) {
        pShow.SetShare(0, ShareOf(pStage, pShare));
        return true;
    };
    hooks.fAdmit = [&pShow, &pJob, pMemory](const sPicture& pInput) {
        pShow.SetSize(0, MegapixelsOf(pInput));
        cMemoryGate(pMemory).Take(NeededBytes(pJob, pInput)); // refuses what has no room even alone
        return pJob.fThreads;
    };
    hooks.fLine = [&pShow](const std::string& pText) { pShow.Say(pText); };
    if (!pTelling.fQuiet) hooks.fNote = hooks.fLine;
    if (pTelling.fVerbose) hooks.fLog = hooks.fLine;
    return hooks;
}

std::vector<tTask> TasksOf(const std::vector<sPlanned>& pPlan, const sTelling& pTelling)
{
    std::vector<tTask> tasks;
    tasks.reserve(pPlan.size());
    for (const sPlanned& planned : pPlan)
        tasks.emplace_back([&planned, &pTelling](const cTaskRun& pRun) { return RunTask(planned, pRun, pTelling); });
    return tasks;
}

sTelling TellingOf(const sRunOptions& pOptions)
{
    return {.fQuiet = pOptions.fQuiet, .fVerbose = pOptions.fVerbose};
}

sShares SharesOf(const sRunOptions& pOptions)
{
    return {.fJobs = pOptions.fBatch.fShares.fJobs, .fThreads = pOptions.fJob.fThreads};
}

uint64_t MemoryOf(const sBatchOptions& pOptions)
{
    return pOptions.fMemory > 0 ? pOptions.fMemory : HalfOfMemory();
}

void RunPlan(const std::vector<sPlanned>& pPlan, const sShares& pShares, uint64_t pMemory, const sTelling& pTelling)
{
    cMemoryGate gate(pMemory);
    std::string summary;
    size_t failed = 0;
    {
        cProgressShow show(ShowFor(pTelling.fQuiet), pPlan.size());
        failed = RunTasks(TasksOf(pPlan, pTelling), pShares, gate, show).size();
        const auto before = std::count_if(pPlan.begin(), pPlan.end(), [](const sPlanned& p) { return p.fIsDone; });
        summary = Summary(show.Now(), static_cast<size_t>(before), failed);
    }
    if (failed > 0) throw cHostError(summary);
    if (!pTelling.fQuiet) Report(summary);
}

} // namespace SelvaneHost
