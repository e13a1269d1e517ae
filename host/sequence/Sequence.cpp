#include "sequence/Sequence.h"

#include "job/Report.h"
#include "sequence/Measure.h"
#include "sequence/Plot.h"
#include "write/Apart.h"
#include "write/OutputFile.h"

#include <algorithm>
#include <filesystem>

namespace SelvaneHost
{

namespace
{

/// Keeps the frames of a plan that were measured.
void KeepMeasured(const sPoints& pPoints, std::vector<sPlanned>& pPlan)
{
    const auto isMissing = [&](const sPlanned& pPlanned) {
        return std::none_of(pPoints.fFrames.begin(), pPoints.fFrames.end(),
                            [&](const sFrame& pFrame) { return pFrame.fInput == pPlanned.fJob.fInput; });
    };
    std::erase_if(pPlan, isMissing);
}

/// Refuses pipes: each frame is read once to be measured, and once more to be rendered.
void CheckAreFiles(const std::vector<std::string>& pFrames)
{
    const auto isOther = [](const std::string& pFrame) {
        std::error_code missing; // a failure of its own, when it is read
        return pFrame == "-" || std::filesystem::is_other(pFrame, missing);
    };
    const auto pipe = std::ranges::find_if(pFrames, isOther);
    if (pipe != pFrames.end()) throw cUsageError(*pipe + ": frames are read twice, so each has to be a file");
}

std::vector<std::string> SettingsFiles(const sSequenceOptions& pOptions)
{
    const std::string& file = pOptions.fJob.fLook.fSettings;
    return file.empty() ? std::vector<std::string>{} : std::vector<std::string>{file};
}

std::vector<std::string> OutputsOf(const std::vector<sPlanned>& pPlan)
{
    std::vector<std::string> outputs;
    outputs.reserve(pPlan.size());
    for (const sPlanned& planned : pPlan)
        outputs.push_back(planned.fJob.fOutput.fPath);
    return outputs;
}

} // namespace

void CheckWithPoints(const sLook& pLook)
{
    if (pLook.fExact || pLook.fWhitePoint || pLook.fBlackPoint)
        throw cUsageError("--exact, --black-point and --white-point do not go with the points of a sequence");
    CheckLook(pLook);
}

void CheckBeside(const std::string& pWritten, const sSequenceOptions& pOptions,
                 const std::vector<std::string>& pAlsoWritten)
{
    if (pWritten.empty()) return;
    std::vector<std::string> read = pOptions.fBatch.fInputs;
    read.push_back(pOptions.fJob.fLook.fSettings);
    CheckApart(pWritten, read, pAlsoWritten);
    About(pWritten, [&] { CheckWritable(pWritten); });
}

void UsePoints(const sPoints& pPoints, sJob& pJob)
{
    pJob.fLook.fSettled = SettingsOf(FrameOf(pPoints, pJob.fInput).fSmooth, pPoints.fSettings);
}

void UsePoints(const sPoints& pPoints, std::vector<sPlanned>& pPlan)
{
    for (sPlanned& planned : pPlan)
        UsePoints(pPoints, planned.fJob);
}

void RunSequence(const sSequenceOptions& pOptions)
{
    CheckWithPoints(pOptions.fJob.fLook);
    CheckAreFiles(pOptions.fBatch.fInputs);
    std::vector<sPlanned> plan = PlanBatch(pOptions.fJob, pOptions.fBatch, SettingsFiles(pOptions));
    CheckBeside(pOptions.fPlot, pOptions, OutputsOf(plan));
    size_t failed = 0;
    sPoints points = MeasureAll(pOptions.fBatch.fInputs, pOptions, failed);
    SmoothAll(points, pOptions.fWindow);
    if (!pOptions.fPlot.empty()) WritePlot(points, pOptions.fPlot);
    if (!pOptions.fQuiet) Report(SummaryOf(points, failed));
    KeepMeasured(points, plan);
    UsePoints(points, plan);
    RunPlan(plan, SharesOf(pOptions), MemoryOf(pOptions.fBatch), {pOptions.fQuiet, pOptions.fVerbose});
    if (failed > 0)
        throw cHostError(std::to_string(failed) + (failed == 1 ? " frame" : " frames") + " could not be measured");
}

} // namespace SelvaneHost
