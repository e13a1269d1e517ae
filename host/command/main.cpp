// The program `selvane`. This file declares the options. Tonemap.h and Equalize.h carry out the subcommands.
//
// Exit status:
//   0  done
//   1  a picture could not be read, computed or written
//   2  the command line is wrong
// Each failure is one line on the standard error stream.

#include "command/Equalize.h"
#include "command/Report.h"
#include "command/Streams.h"
#include "command/Tonemap.h"
#include "picture/Errors.h"
#include "picture/Sliders.h"
#include "read/ReadingProcess.h"
#include "shell/Defaults.h"
#include "shell/HelpText.h"
#include "shell/ShellOptions.h"
#include "write/UnfinishedFile.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace
{

using namespace SelvaneHost;

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;
constexpr int kMostThreads = 256;

void AddInput(CLI::App& pCommand, std::string& pInput)
{
    pCommand.add_option("INPUT", pInput, "picture to read")->required();
}

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

void AddColorSpace(CLI::App& pCommand, std::optional<int>& pSpace)
{
    pCommand
        .add_option_function<std::string>(
            "--color-space", [&pSpace](const std::string& pName) { pSpace = SpaceOfWord(pName); },
            "colours of the output; with --exact of the input too (default: as the input, or srgb)")
        ->check(CLI::IsMember({"srgb", "adobe", "prophoto", "p3", "rec2020"}));
}

void AddInputSpace(CLI::App& pCommand, std::optional<eInputSpace>& pSpace)
{
    pCommand
        .add_option_function<std::string>(
            "--input-space", [&pSpace](const std::string& pName) { pSpace = InputSpaceOfWord(pName); },
            "colours of the input, whatever it says of them")
        ->check(
            CLI::IsMember({"srgb", "adobe", "prophoto", "p3", "rec2020", "aces", "acescg", "linear", "pq", "hlg"}));
}

void AddLayer(CLI::App& pCommand, std::string& pLayer)
{
    pCommand.add_option("--layer", pLayer, "layer of an OpenEXR file (default: the first that has colours)");
}

/// Reads "640x330+330+120". Returns false for any other text.
bool ReadArea(const std::string& pText, sArea& pArea)
{
    const char* at = pText.data();
    const char* const end = at + pText.size();
    const auto number = [&](int& pNumber, char pBefore) {
        if (pBefore != 0 && (at == end || *at++ != pBefore)) return false;
        const std::from_chars_result result = std::from_chars(at, end, pNumber);
        at = result.ptr;
        return result.ec == std::errc();
    };
    return number(pArea.fWidth, 0) && number(pArea.fHeight, 'x') && number(pArea.fLeft, '+') &&
           number(pArea.fTop, '+') && at == end;
}

void AddLimits(CLI::App& pCommand)
{
    constexpr int kMost = 1 << 20;
    pCommand
        .add_option_function<int>(
            "--max-megapixels", [](int pMegapixels) { UseReadingProcesses({.fMegapixels = pMegapixels, .fBytes = 0}); },
            "refuse larger pictures before they are unpacked (400)")
        ->check(CLI::Range(1, kMost));
}

void AddCrop(CLI::App& pCommand, std::optional<sArea>& pCrop)
{
    pCommand.add_option_function<std::string>(
        "--crop",
        [&pCrop](const std::string& pText) {
            sArea area{};
            if (!ReadArea(pText, area))
                throw CLI::ValidationError("--crop", "write WIDTHxHEIGHT+LEFT+TOP, all in pixels");
            pCrop = area;
        },
        "take only the part WIDTHxHEIGHT+LEFT+TOP of the input, in pixels");
}

void AddVerbose(CLI::App& pCommand, bool& pVerbose)
{
    pCommand.add_flag("-v,--verbose", pVerbose, "show the lines of libselvane's log");
}

void SetSlider(const sSlider& pSlider, float pValue, sJob& pJob)
{
    if (!(pValue >= pSlider.fLowest && pValue <= pSlider.fHighest)) // NaN too
        throw CLI::ValidationError(pSlider.fOption, RangeOf(pSlider));
    pJob.fLook.fGiven[KeyOf(pSlider)] = pValue;
}

void AddSliders(CLI::App& pCommand, sJob& pJob)
{
    for (const sSlider& slider : kSliders)
        pCommand.add_option_function<float>(
            slider.fOption, [&pJob, &slider](float pValue) { SetSlider(slider, pValue, pJob); }, HelpOf(slider));
    pCommand.add_flag("--wrap", pJob.fLook.fWrap, "left and right edge meet: a full panorama");
    pCommand.add_option("--threads", pJob.fThreads, "workers (default 0: one for each processor)")
        ->check(CLI::Range(0, kMostThreads));
}

void AddLook(CLI::App& pCommand, sTonemapOptions& pOptions)
{
    sLook& look = pOptions.fJob.fLook;
    pCommand.add_option("--preset", look.fPreset,
                        "natural (default), clear, soft, dramatic, interior, night, flat, or one of your own");
    pCommand.add_option("--settings", look.fSettings, "file of settings, as --suggest prints them");
    pCommand.add_option("--exposure", look.fExposure, "stops brighter, or darker below 0")
        ->check(CLI::Range(-20.0, 20.0));
    pCommand.add_option("--contrast", look.fContrast, "more contrast, or less below 0, -100 to 100")
        ->check(CLI::Range(-100.0, 100.0));
    pCommand.add_option("--saturation", look.fSaturation, "more colour, or less below 0, -100 grey to 100")
        ->check(CLI::Range(-100.0, 100.0));
    pCommand.add_flag("--suggest", pOptions.fSuggest, "print the settings that suit the picture; render nothing");
    pCommand.add_flag("--manual", look.fManual, "take the sliders as they stand, 0 where they are not given");
    pCommand.add_flag("--exact", look.fExact, "the same with the numbers of the engine's entry, for scripts");
    pCommand.add_option("--black-point", look.fBlackPoint, "black point of an earlier run (see stats)");
    pCommand.add_option("--white-point", look.fWhitePoint, "white point of an earlier run");
    pCommand.add_flag("-q,--quiet", pOptions.fQuiet, "do not say what was chosen");
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
    AddLook(*command, pOptions);
    AddSliders(*command, pOptions.fJob);
    AddCrop(*command, pOptions.fJob.fCrop);
    AddColorSpace(*command, pOptions.fJob.fColorSpace);
    AddInputSpace(*command, pOptions.fJob.fInputSpace);
    AddLayer(*command, pOptions.fJob.fLayer);
    AddLimits(*command);
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
    AddLayer(*command, pOptions.fJob.fLayer);
    AddLimits(*command);
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
    AddInputSpace(*command, pOptions.fInputSpace);
    AddLimits(*command);
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
    sShellOptions shell{
        .fVersion = SELVANE_COMMAND_VERSION, .fName = {}, .fValue = {}, .fUnset = {}, .fShell = {}, .fPage = {}};
    AddTonemap(app, tonemap);
    AddStats(app, stats);
    AddEqualize(app, equalize);
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
    const std::vector<std::string> words(pWords, pWords + pCount);
    OpenStandardStreams();
    if (pCount > 1 && words[1] == kReadingWord) return RunReadingProcess({words.begin() + 2, words.end()});
    CatchSignals();
    UseReadingProcesses({});
    try {
        const int status = Run(words);
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
