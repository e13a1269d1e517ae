// The program `selvane`. This file declares the options. Tonemap.h and Equalize.h carry out the subcommands.
//
// Exit status:
//   0  done
//   1  a picture could not be read, computed or written
//   2  the command line is wrong
// Each failure is one line on the standard error stream.

#include "batch/BatchOptions.h"
#include "command/Equalize.h"
#include "command/Streams.h"
#include "command/Tonemap.h"
#include "explain/ExplainOptions.h"
#include "job/PictureOptions.h"
#include "job/Report.h"
#include "picture/Errors.h"
#include "read/ReadingProcess.h"
#include "sequence/SequenceOptions.h"
#include "sheet/SheetOptions.h"
#include "shell/Defaults.h"
#include "shell/HelpText.h"
#include "shell/ShellOptions.h"
#include "write/OutputOptions.h"
#include "write/UnfinishedFile.h"

#include <CLI/CLI.hpp>
#include <charconv>

namespace
{

using namespace SelvaneHost;

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;
void AddVerbose(CLI::App& pCommand, bool& pVerbose)
{
    pCommand.add_flag("-v,--verbose", pVerbose, "show the lines of libselvane's log");
}

/// What all subcommands share that look at pictures and render them.
void AddPictures(CLI::App& pCommand, sRunOptions& pOptions)
{
    AddLook(pCommand, pOptions.fJob.fLook);
    pCommand.add_flag("-q,--quiet", pOptions.fQuiet, "show no progress, and do not say what was chosen");
    AddSliders(pCommand, pOptions.fJob);
    AddCrop(pCommand, pOptions.fJob.fCrop);
    AddColorSpace(pCommand, pOptions.fJob.fColorSpace);
    AddInputSpace(pCommand, pOptions.fJob.fInputSpace);
    AddLayer(pCommand, pOptions.fJob.fLayer);
    AddLimits(pCommand);
    AddVerbose(pCommand, pOptions.fVerbose);
}

void AddTonemap(CLI::App& pApp, sTonemapOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("tonemap", "turn a high-dynamic-range picture into one for display");
    command->footer("Examples:\n"
                    "  selvane tonemap photo.exr -o photo.jpg                   looks at the picture and chooses\n"
                    "  selvane tonemap photo.exr -o photo.jpg --exposure 0.5    the same, half a stop brighter\n"
                    "  selvane tonemap photo.exr -o photo.jpg --preset soft     another character\n"
                    "  selvane tonemap photo.exr --suggest > photo.toml         the chosen settings as a file\n"
                    "  selvane tonemap other.exr -o other.jpg --settings photo.toml\n"
                    "  selvane tonemap *.exr --out-dir done --name '{stem}.jpg'  several pictures at once");
    AddInputs(*command, pOptions.fBatch);
    AddOutputs(*command, pOptions.fBatch);
    AddOutputOptions(*command, pOptions.fJob.fOutput);
    AddResizeOptions(*command, pOptions.fJob.fOutput);
    command->add_flag("--suggest", pOptions.fSuggest, "print the settings that suit the picture; render nothing");
    command->add_option("--black-point", pOptions.fJob.fLook.fBlackPoint,
                        "luminance that becomes black, as stats prints it; as --exact, unless with --manual");
    command->add_option("--white-point", pOptions.fJob.fLook.fWhitePoint, "luminance that becomes white");
    AddReport(*command, pOptions.fReport);
    command->add_option("--points", pOptions.fPoints, "settings and points of a sequence's frames (see points)");
    command->add_flag("--exact", pOptions.fJob.fLook.fExact,
                      "as --manual, with the numbers of the engine's entry, for scripts");
    AddPictures(*command, pOptions);
    command->callback([&pOptions] { RunTonemap(pOptions); });
}

void AddSequence(CLI::App& pApp, sSequenceOptions& pOptions)
{
    CLI::App* const command =
        pApp.add_subcommand("sequence", "turn the frames of a film or a time-lapse, without flicker");
    command->footer("Examples:\n"
                    "  selvane sequence frame*.exr --out-dir graded --name '{stem}.png'\n"
                    "  selvane sequence frame*.exr --out-dir graded --window 49 --plot points.svg");
    AddInputs(*command, pOptions.fBatch);
    AddOutputs(*command, pOptions.fBatch);
    AddStorageOptions(*command, pOptions.fJob.fOutput);
    AddResizeOptions(*command, pOptions.fJob.fOutput);
    AddSmoothing(*command, pOptions);
    AddPictures(*command, pOptions);
    command->callback([&pOptions] { RunSequence(pOptions); });
}

void AddPoints(CLI::App& pApp, sPointsOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("points", "measure the frames of a sequence, and join such measures");
    command->footer("Examples:\n"
                    "  selvane points frame*.exr -o points.json                 measures and smooths\n"
                    "  selvane points frame0001.exr -o parts/frame0001.json     measures one, on any machine\n"
                    "  selvane points --join parts/*.json -o points.json        puts them together and smooths\n"
                    "  selvane tonemap --points points.json frame*.exr --out-dir graded");
    AddInputs(*command, pOptions.fBatch);
    command->add_option("-o,--output", pOptions.fFile, "file of points to write (.json)")->required();
    command->add_flag("--join", pOptions.fJoin, "the inputs are files of points");
    AddSmoothing(*command, pOptions);
    AddPictures(*command, pOptions);
    command->callback([&pOptions] { RunPoints(pOptions); });
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
                    "  selvane equalize photo.png -o vivid.png --saturation 0:0.6\n"
                    "  selvane equalize photo.tif -o vivid.jpg --saturation 0:0.6 --resize 1600");
    AddInput(*command, pOptions.fInput);
    AddOutputOptions(*command, pOptions.fOutput)->required();
    AddResizeOptions(*command, pOptions.fOutput);
    command->add_option("--hue-shift", pOptions.fHueShift, "points HUE:VALUE,... from 0 to 1; 0.5 changes nothing");
    command->add_option("--saturation", pOptions.fSaturation, "points HUE:VALUE,...");
    command->add_option("--lightness", pOptions.fLightness, "points HUE:VALUE,...");
    AddCrop(*command, pOptions.fCrop);
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
    sSequenceOptions sequence;
    sPointsOptions points;
    sExplainOptions explain;
    sSheetOptions sheet;
    sShellOptions shell{
        .fVersion = SELVANE_COMMAND_VERSION, .fName = {}, .fValue = {}, .fUnset = {}, .fShell = {}, .fPage = {}};
    AddTonemap(app, tonemap);
    AddStats(app, stats);
    AddEqualize(app, equalize);
    AddSequence(app, sequence);
    AddPoints(app, points);
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
