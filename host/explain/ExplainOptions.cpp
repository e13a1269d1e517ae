#include "explain/ExplainOptions.h"

#include "job/PictureOptions.h"

namespace SelvaneHost
{

void AddReport(CLI::App& pCommand, std::string& pReport)
{
    pCommand.add_option("--report", pReport,
                        "write all numbers of the render to this file (JSON); - is standard output");
}

void AddExplain(CLI::App& pApp, sExplainOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("explain", "write a page that shows what the render did, and why");
    command->footer("Examples:\n"
                    "  selvane explain photo.exr -o report.html                         what was done, and why\n"
                    "  selvane explain photo.exr -o report.html --preset night --exposure 0.5\n"
                    "  selvane explain photo.exr -o report.html --report numbers.json   the same for programs");
    sJob& job = pOptions.fJob;
    AddInput(*command, job.fInput);
    command->add_option("-o,--output", job.fOutput.fPath, "page to write (HTML); - is standard output")->required();
    command->add_option("--size", pOptions.fSize, "most pixels of the longer side of its pictures (default 1400)")
        ->check(CLI::Range(64, 8192));
    AddReport(*command, pOptions.fReport);
    AddLook(*command, job.fLook);
    AddSliders(*command, job);
    AddCrop(*command, job.fCrop);
    AddColorSpace(*command, job.fColorSpace);
    AddInputSpace(*command, job.fInputSpace);
    AddLayer(*command, job.fLayer);
    AddLimits(*command);
    command->add_flag("-v,--verbose", pOptions.fVerbose, "show the lines of libselvane's log");
    command->callback([&pOptions] { RunExplain(pOptions); });
}

} // namespace SelvaneHost
