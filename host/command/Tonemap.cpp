#include "command/Tonemap.h"

#include "explain/JobReport.h"
#include "job/Frame.h"
#include "job/Report.h"
#include "sequence/Sequence.h"
#include "write/Apart.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace SelvaneHost
{

namespace
{

sRunning RunningOf(const sTonemapOptions& pOptions)
{
    return {.fThreads = pOptions.fJob.fThreads, .fLog = pOptions.fVerbose ? tLine(Report) : tLine()};
}

/// One line for what was chosen and one for the options that give the same picture again.
void SayWhatWasChosen(const sTonemapOptions& pOptions, const sDone& pDone)
{
    if (pOptions.fQuiet || StandsAlone(pOptions.fJob.fLook)) return;
    const std::string& reason = pDone.fDeveloped.fReason;
    if (!reason.empty()) Report(pOptions.fJob.fInput + ": " + reason);
    Report("exactly: " + pDone.fCommand);
}

/// Reads the picture and sets its colours, for what writes no picture.
sPicture ReadInput(const sTonemapOptions& pOptions)
{
    const sJob& job = pOptions.fJob;
    sPicture picture = ReadFor(job, Report);
    SpaceOf(picture, job.fInput, job.fColorSpace, TakesEntryForm(job.fLook), Report);
    return picture;
}

void Suggest(const sTonemapOptions& pOptions)
{
    const sJob& job = pOptions.fJob;
    CheckLook(job.fLook);
    if (StandsAlone(job.fLook)) throw cUsageError("--suggest does not go with --exact, --manual and --white-point");
    sPicture input = ReadInput(pOptions);
    TakeFrame(input);
    const std::string text = About(job.fInput, [&] { return SuggestionText(input, job.fLook, RunningOf(pOptions)); });
    std::fwrite(text.data(), 1, text.size(), stdout);
}

/// Prints a number with the fewest digits from which the same float can be read.
void Print(const char* pName, float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    std::printf("%s %.*s\n", pName, static_cast<int>(end.ptr - digits.data()), digits.data());
}

/// Takes the points of a file for a job or a plan.
template <typename tJobs>
void UsePointsOf(const std::string& pPath, tJobs& pJobs)
{
    const sPoints points = ReadPoints(pPath);
    try {
        UsePoints(points, pJobs);
    } catch (const cUsageError& failure) { // the settings in it are none
        throw cHostError(pPath + ": " + failure.what());
    }
}

/// The files that decide how the outputs look.
std::vector<std::string> SettingsFiles(const sTonemapOptions& pOptions)
{
    std::vector<std::string> files;
    for (const std::string& file : {pOptions.fJob.fLook.fSettings, pOptions.fPoints})
        if (!file.empty()) files.push_back(file);
    return files;
}

void TonemapOne(const sTonemapOptions& pOptions)
{
    if (pOptions.fJob.fOutput.fPath.empty()) throw cUsageError("--output is required");
    if (pOptions.fBatch.fResume || pOptions.fBatch.fOverwrite)
        throw cUsageError("--resume and --overwrite go with --out-dir; a single --output is replaced");
    CheckApart(pOptions.fJob.fOutput.fPath, SettingsFiles(pOptions));
    if (!pOptions.fReport.empty()) CheckReport(pOptions.fReport, pOptions.fJob);
    const sTelling telling = TellingOf(pOptions);
    std::optional<cProgressShow> show;
    show.emplace(ShowFor(telling.fQuiet), 1);
    cJobReport report;
    const sDone done =
        RunJob(pOptions.fJob, report.Hooks(HooksOf(*show, pOptions.fJob, MemoryOf(pOptions.fBatch), telling)));
    show.reset(); // takes the bar away
    SayWhatWasChosen(pOptions, done);
    if (!pOptions.fReport.empty()) report.Write(pOptions.fJob, done, pOptions.fReport);
}

void TonemapSeveral(const sTonemapOptions& pOptions)
{
    if (pOptions.fSuggest) throw cUsageError("--suggest takes one picture");
    if (!pOptions.fReport.empty()) throw cUsageError("--report takes one picture");
    std::vector<sPlanned> plan = PlanBatch(pOptions.fJob, pOptions.fBatch, SettingsFiles(pOptions));
    if (!pOptions.fPoints.empty()) UsePointsOf(pOptions.fPoints, plan);
    RunPlan(plan, SharesOf(pOptions), MemoryOf(pOptions.fBatch), TellingOf(pOptions));
}

/// Refuses a look beside that of the points.
void CheckPointsOption(const sTonemapOptions& pOptions)
{
    if (pOptions.fPoints.empty()) return;
    const sLook& look = pOptions.fJob.fLook;
    const bool hasLook = !look.fPreset.empty() || !look.fSettings.empty() || !look.fGiven.empty() || look.fExposure ||
                         look.fContrast || look.fSaturation || !look.fCurves.empty() || look.fWrap || look.fManual ||
                         pOptions.fSuggest;
    if (hasLook) throw cUsageError("--points has the look of each frame; give the look to selvane points");
    CheckWithPoints(look);
}

} // namespace

void RunTonemap(const sTonemapOptions& pOptions)
{
    CheckPointsOption(pOptions);
    const sBatchOptions& batch = pOptions.fBatch;
    const bool isSingle = batch.fInputs.size() == 1 && batch.fFolder.empty();
    if (!isSingle) return TonemapSeveral(pOptions);
    sTonemapOptions options = pOptions;
    options.fJob.fInput = batch.fInputs[0];
    if (pOptions.fSuggest) return Suggest(options);
    if (!pOptions.fPoints.empty()) UsePointsOf(pOptions.fPoints, options.fJob);
    TonemapOne(options);
}

void RunStats(const sTonemapOptions& pOptions)
{
    sTonemapOptions options = pOptions;
    options.fJob.fLook.fExact = true;
    const sPicture input = ReadInput(options);
    const sDeveloped developed = About(options.fJob.fInput, [&] {
        sPicture unused; // the points come with a render
        AllocatePixels(unused, input.fWidth, input.fHeight, eSamples8);
        return Develop(input, options.fJob.fLook, input.fColor.fPrimaries, RunningOf(options), unused,
                       {input.fWidth, input.fHeight, 0, 0});
    });
    Print("black", developed.fReport.black_point);
    Print("white", developed.fReport.white_point);
}

} // namespace SelvaneHost
