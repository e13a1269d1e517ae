#include "explain/Explain.h"

#include "explain/Explanation.h"
#include "explain/JobReport.h"
#include "explain/PlainStops.h"
#include "job/Frame.h"
#include "job/Report.h"
#include "write/Apart.h"
#include "write/OutputFile.h"

#include <filesystem>
#include <span>

namespace SelvaneHost
{

namespace
{

/// The page's command line writes a picture beside the input.
sJob PictureJob(const sJob& pJob)
{
    sJob job = pJob;
    job.fOutput.fPath = std::filesystem::path(pJob.fInput).replace_extension().string() + "-tm.jpg";
    job.fOutput.fDepth.reset();
    return job;
}

sPage Explained(const sExplainOptions& pOptions, const sPicture& pInput)
{
    const sJob& job = pOptions.fJob;
    const sRunning running{.fThreads = job.fThreads, .fLog = pOptions.fVerbose ? tLine(Report) : tLine()};
    sPage page;
    About(job.fInput, [&] {
        WithPicture(pInput, job.fLook, running, [&](selvane* pHandle) {
            page = Explained(pHandle, job.fLook, pOptions.fSize, pInput.fChannels == 4, IsForDisplay(pInput));
        });
    });
    return page;
}

void WritePage(const sPage& pPage, const std::string& pPath)
{
    const std::string text = PageText(pPage);
    About(pPath,
          [&] { WriteFile(pPath, {std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size())}); });
}

} // namespace

void RunExplain(const sExplainOptions& pOptions)
{
    const sJob& job = pOptions.fJob;
    CheckLook(job.fLook);
    CheckOutput(job.fInput, job.fOutput);
    CheckApart(job.fOutput.fPath, {job.fLook.fSettings});
    if (!pOptions.fReport.empty()) CheckReport(pOptions.fReport, job);

    cStopwatch watch;
    sRunFacts facts;
    const tLine line = [&facts](const std::string& pLine) {
        Report(pLine);
        facts.fWarnings.push_back(pLine);
    };
    sPicture input = ReadFor(job, line);
    SpaceOf(input, job.fInput, job.fColorSpace, TakesEntryForm(job.fLook), line);
    DescribeInput(job, input, facts);
    if (!TakesEntryForm(job.fLook)) TakeFrame(input); // the page is about the inside
    facts.fReadMilliseconds = watch.Lap();
    sPage page = Explained(pOptions, input);
    facts.fRenderMilliseconds = watch.Lap();
    facts.fDeveloped = page.fFacts.fDeveloped;
    facts.fColorOut = SpaceName(SELVANE_SRGB);
    facts.fCommand = CommandFor(PictureJob(job), facts.fDeveloped);
    page.fFacts = facts;
    WritePage(page, job.fOutput.fPath);
    facts.fWriteMilliseconds = watch.Lap();
    if (pOptions.fReport.empty()) return;
    facts.fOutput = sFileFacts{job.fOutput.fPath, FileBytes(job.fOutput.fPath)};
    WriteReport(facts, pOptions.fReport);
}

} // namespace SelvaneHost
