#include "command/Tonemap.h"

#include "command/Frame.h"
#include "command/Report.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace SelvaneHost
{

namespace
{

sJobHooks HooksOf(const sTonemapOptions& pOptions)
{
    return {.fLine = Report, .fNote = pOptions.fQuiet ? tLine() : tLine(Report), .fLog = pOptions.fVerbose ? tLine(Report) : tLine()};
}

sRunning RunningOf(const sTonemapOptions& pOptions)
{
    return {.fThreads = pOptions.fJob.fThreads, .fLog = HooksOf(pOptions).fLog};
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

} // namespace

void RunTonemap(const sTonemapOptions& pOptions)
{
    if (pOptions.fSuggest) return Suggest(pOptions);
    if (pOptions.fJob.fOutput.fPath.empty()) throw cUsageError("--output is required");
    SayWhatWasChosen(pOptions, RunJob(pOptions.fJob, HooksOf(pOptions)));
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
