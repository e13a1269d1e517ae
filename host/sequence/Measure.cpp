#include "sequence/Measure.h"

#include "job/Frame.h"

#include <algorithm>
#include <optional>

namespace SelvaneHost
{

namespace
{

selvane_frame MeasureJob(const sJob& pJob, const sJobHooks& pHooks)
{
    int threads = 0;
    sPicture input = ReadFor(pJob, pHooks, threads);
    SpaceOf(input, pJob.fInput, pJob.fColorSpace, TakesEntryForm(pJob.fLook), pHooks.fLine);
    TakeFrame(input); // as for the render
    return About(pJob.fInput, [&] { return MeasureFrame(input, pJob.fLook, RunningOf(pHooks, threads)); });
}

std::string CountOf(size_t pCount, const std::string& pWord)
{
    return std::to_string(pCount) + " " + pWord + (pCount == 1 ? "" : "s");
}

} // namespace

sPoints MeasureAll(const std::vector<std::string>& pInputs, const sSequenceOptions& pOptions, size_t& pFailed)
{
    const sTelling telling = TellingOf(pOptions);
    std::vector<sJob> jobs(pInputs.size(), pOptions.fJob);
    std::vector<std::optional<selvane_frame>> frames(pInputs.size());
    std::vector<tTask> tasks;
    for (size_t i = 0; i < pInputs.size(); i++) {
        jobs[i].fInput = pInputs[i];
        jobs[i].fOutput.fPath = "none.png"; // it decides the samples of an output, of which there is none
        tasks.emplace_back([&, i](const cTaskRun& pRun) {
            frames[i] = MeasureJob(jobs[i], HooksOf(pRun, jobs[i], telling));
            return jobs[i].fInput + " measured";
        });
    }
    cMemoryGate gate(MemoryOf(pOptions.fBatch));
    cProgressShow show(ShowFor(telling.fQuiet), tasks.size());
    pFailed = RunTasks(tasks, SharesOf(pOptions), gate, show).size();
    sPoints points;
    points.fSettings = BaseText(pOptions.fJob.fLook);
    for (size_t i = 0; i < frames.size(); i++)
        if (frames[i]) points.fFrames.push_back({pInputs[i], *frames[i], *frames[i]});
    if (points.fFrames.empty()) throw cHostError("no frame could be measured");
    return points;
}

std::string SummaryOf(const sPoints& pPoints, size_t pFailed)
{
    const auto count = [&](int32_t selvane_frame::*pMember) {
        return static_cast<size_t>(std::count_if(pPoints.fFrames.begin(), pPoints.fFrames.end(),
                                                 [&](const sFrame& pFrame) { return pFrame.fSmooth.*pMember == 1; }));
    };
    std::string text = CountOf(pPoints.fFrames.size(), "frame") + " measured, " +
                       CountOf(count(&selvane_frame::cut), "cut") + ", " + std::to_string(count(&selvane_frame::odd)) +
                       " odd";
    if (pFailed > 0) text += ", " + std::to_string(pFailed) + " failed";
    return text;
}

} // namespace SelvaneHost
