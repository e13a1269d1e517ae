// The program `selvane`. This file declares the options. Tonemap.h and Equalize.h carry out the subcommands.
//
// Exit status:
//   0  done
//   1  a picture could not be read, computed or written
//   2  the command line is wrong
// Each failure is one line on the standard error stream.

#include "command/Equalize.h"
#include "command/PictureOptions.h"
#include "command/Report.h"
#include "command/Streams.h"
#include "command/Tonemap.h"
#include "explain/ExplainOptions.h"
#include "picture/Errors.h"
#include "sheet/SheetOptions.h"
#include "shell/Defaults.h"
#include "shell/HelpText.h"
#include "shell/ShellOptions.h"
#include "write/UnfinishedFile.h"

#include <CLI/CLI.hpp>

namespace
{

using namespace SelvaneHost;

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;

CLI::Option* AddOutput(CLI::App& pCommand, sOutput& pOutput)
{
    CLI::Option* const output =
        pCommand.add_option("-o,--output", pOutput.fPath, "picture to write: .png, .tif, .tiff, .jpg or .jpeg");
    pCommand.add_flag("--force", pOutput.fForce, "write the output even where it is the input");
    pCommand
        .add_option("--depth", pOutput.fDepth,
                    "bits of an output sample (default: 8 for JPEG and 8-bit input, else 16)")
        ->check(CLI::IsMember({8, 16}));
    return output;
}

void AddVerbose(CLI::App& pCommand, bool& pVerbose)
{
    pCommand.add_flag("-v,--verbose", pVerbose, "show the lines of libselvane's log");
}

void AddTonemap(CLI::App& pApp, sTonemapOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("tonemap", "turn a high-dynamic-range picture into one for display");
    command->footer("Examples:\n"
                    "  selvane tonemap photo.exr -o photo.jpg                   looks at the picture and chooses\n"
                    "  selvane tonemap photo.exr -o photo.jpg --exposure 0.5    the same, half a stop brighter\n"
                    "  selvane tonemap photo.exr -o photo.jpg --preset soft     another character\n"
                    "  selvane tonemap photo.exr --suggest > photo.toml         the chosen settings as a file\n"
                    "  selvane tonemap other.exr -o other.jpg --settings photo.toml");
    AddInput(*command, pOptions.fJob.fInput);
    AddOutput(*command, pOptions.fJob.fOutput);
    AddLook(*command, pOptions.fJob.fLook);
    command->add_flag("--suggest", pOptions.fSuggest, "print the settings that suit the picture; render nothing");
    AddReport(*command, pOptions.fReport);
    command->add_flag("-q,--quiet", pOptions.fQuiet, "do not say what was chosen");
    AddSliders(*command, pOptions.fJob);
    AddCrop(*command, pOptions.fJob.fCrop);
    AddColorSpace(*command, pOptions.fJob.fColorSpace);
    AddVerbose(*command, pOptions.fVerbose);
    command->callback([&pOptions] { RunTonemap(pOptions); });
}

void AddStats(CLI::App& pApp, sTonemapOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("stats", "print the black and white point that tonemap --exact uses");
    command->footer("Examples:\n"
                    "  selvane stats photo.exr\n"
                    "  selvane stats photo.exr --white-clip 20 --black-clip 0.5");
    AddInput(*command, pOptions.fJob.fInput);
    AddSliders(*command, pOptions.fJob);
    AddCrop(*command, pOptions.fJob.fCrop);
    AddColorSpace(*command, pOptions.fJob.fColorSpace);
    AddVerbose(*command, pOptions.fVerbose);
    command->callback([&pOptions] { RunStats(pOptions); });
}

void AddEqualize(CLI::App& pApp, sEqualizeOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("equalize", "apply hue curves to a finished picture");
    command->footer("Examples:\n"
                    "  selvane equalize photo.png -o cooler.png --hue-shift 0:0.5,0.33:0.6,1:0.5\n"
                    "  selvane equalize photo.png -o vivid.png --saturation 0:0.6");
    AddInput(*command, pOptions.fInput);
    AddOutput(*command, pOptions.fOutput)->required();
    command->add_option("--hue-shift", pOptions.fHueShift, "points HUE:VALUE,... from 0 to 1; 0.5 changes nothing");
    command->add_option("--saturation", pOptions.fSaturation, "points HUE:VALUE,...");
    command->add_option("--lightness", pOptions.fLightness, "points HUE:VALUE,...");
    AddColorSpace(*command, pOptions.fColorSpace);
    AddVerbose(*command, pOptions.fVerbose);
    command->callback([&pOptions] { RunEqualize(pOptions); });
}

/// Prints help and version on standard output and returns 0. Any other parse error is one line and a wrong command
/// line.
int ReportParse(const CLI::App& pApp, const CLI::ParseError& pError, const std::vector<std::string>& pWords)
{
    if (pError.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return pApp.exit(pError);
    Report(WordsFor(pApp, pError, pWords));
    return kWrongCommandLine;
}

/// CLI11 takes the words from the last to the first, without the name of the program.
void Parse(CLI::App& pApp, const std::vector<std::string>& pWords)
{
    const std::vector<std::string> words = WithDefaults(pApp, pWords);
    pApp.parse(std::vector<std::string>(words.rbegin(), words.rend() - 1));
}

int Run(const std::vector<std::string>& pWords)
{
    CLI::App app("Selvane, a local tone mapper for high-dynamic-range photographs", "selvane");
    app.set_version_flag("--version", "selvane " SELVANE_COMMAND_VERSION);
    app.set_help_flag("-h,--help", "print this page");
    app.formatter(std::make_shared<cHelpText>());
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.require_subcommand(1);
    sTonemapOptions tonemap;
    sTonemapOptions stats;
    sEqualizeOptions equalize;
    sExplainOptions explain;
    sSheetOptions sheet;
    sShellOptions shell{
        .fVersion = SELVANE_COMMAND_VERSION, .fName = {}, .fValue = {}, .fUnset = {}, .fShell = {}, .fPage = {}};
    AddTonemap(app, tonemap);
    AddStats(app, stats);
    AddEqualize(app, equalize);
    AddExplain(app, explain);
    AddSheet(app, sheet);
    AddShell(app, shell);
    CheckSubcommand(app, pWords);
    try {
        Parse(app, pWords);
    } catch (const CLI::ParseError& error) {
        return ReportParse(app, error, pWords);
    }
    return 0;
}

} // namespace

int main(int pCount, char** pWords)
{
    OpenStandardStreams();
    CatchSignals();
    try {
        const int status = Run({pWords, pWords + pCount});
        FlushStandardOutput();
        return status;
    } catch (const cUsageError& failure) {
        Report(failure.what());
        return kWrongCommandLine;
    } catch (const std::bad_alloc&) {
        Report("not enough memory");
    } catch (const std::exception& failure) {
        Report(failure.what());
    }
    return kFailed;
}
