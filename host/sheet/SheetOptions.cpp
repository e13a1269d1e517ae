#include "sheet/SheetOptions.h"

#include "job/PictureOptions.h"
#include "sheet/SheetLook.h"
#include "write/OutputOptions.h"

namespace SelvaneHost
{

void AddSheet(CLI::App& pApp, sSheetOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("sheet", "show several looks of a picture side by side");
    command->footer("Examples:\n"
                    "  selvane sheet photo.exr -o sheet.png                                 all presets\n"
                    "  selvane sheet photo.exr -o sheet.png --look night --look clear       two of them, or more\n"
                    "  selvane sheet photo.exr -o sheet.png --look a.toml --look b.toml     two files of settings\n"
                    "  selvane sheet photo.exr -o sheet.png --look plain --look \"soft --exposure 0.5\"");
    sJob& job = pOptions.fJob;
    AddInput(*command, job.fInput);
    command->add_option("-o,--output", job.fOutput.fPath, "picture to write; - is standard output")->required();
    AddFormat(*command, job.fOutput);
    command
        ->add_option_function<std::string>(
            "--look", [&pOptions](const std::string& pText) { pOptions.fLooks.push_back(LookOf(pText)); },
            "a preset, a file of settings, plain, or options of tonemap; give it once for each picture")
        ->trigger_on_parse();
    command->add_option("--size", pOptions.fSize, "most pixels of the longer side of each picture (default 480)")
        ->check(CLI::Range(64, 4096));
    AddCrop(*command, job.fCrop);
    AddColorSpace(*command, job.fColorSpace);
    AddInputSpace(*command, job.fInputSpace);
    AddLayer(*command, job.fLayer);
    AddLimits(*command);
    AddThreads(*command, job.fThreads);
    command->add_flag("-v,--verbose", pOptions.fVerbose, "show the lines of libselvane's log");
    command->callback([&pOptions] {
        if (pOptions.fLooks.empty()) pOptions.fLooks = UsualLooks();
        RunSheet(pOptions);
    });
}

} // namespace SelvaneHost
