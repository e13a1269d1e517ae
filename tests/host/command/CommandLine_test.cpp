// The command line, the standard streams and the program file.

#include "host/command/CommandTest.h"
#include "picture/Sliders.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Command, VersionAndHelpGoToStandardOutput)
{
    const sRun version = Selvane({"--version"});
    ExpectQuietSuccess(version);
    EXPECT_EQ(version.fOut, "selvane " SELVANE_COMMAND_VERSION "\n");
    const sRun help = Selvane({"--help"});
    ExpectQuietSuccess(help);
    for (const char* word : {"tonemap", "stats", "equalize"})
        EXPECT_THAT(help.fOut, HasSubstr(word));
    const sRun tonemap = Selvane({"tonemap", "--help"});
    ExpectQuietSuccess(tonemap);
    for (const char* word : {"--wrap", "--color-space", "--depth", "--threads", "--output", "--crop", "--force"})
        EXPECT_THAT(tonemap.fOut, HasSubstr(word));
}

TEST_F(Command, TonemapAndStatsOfferEverySlider)
{
    for (const char* subcommand : {"tonemap", "stats"}) {
        const std::string help = Selvane({subcommand, "--help"}).fOut;
        for (const SelvaneHost::sSlider& slider : SelvaneHost::kSliders) {
            EXPECT_THAT(help, HasSubstr(std::string(slider.fOption) + " N ")) << subcommand;
            EXPECT_THAT(help, HasSubstr(SelvaneHost::HelpOf(slider))) << subcommand;
        }
    }
}

TEST_F(Command, AWrongCommandLineHasStatusTwo)
{
    const std::string out = Out();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "subcommand"},
        {{"develop"}, "develop"},
        {{"tonemap"}, "INPUT"},
        {{"tonemap", "--exact", Hdr()}, "--output"},
        {{"tonemap", "--exact", "-o", out}, "INPUT"},
        {{"tonemap", "--exact", Hdr(), "-o", out, "--sharpness", "1"}, "--sharpness"},
        {{"tonemap", "--exact", Hdr(), "-o", out, "--compression", "much"}, "--compression"},
        {{"tonemap", "--exact", Hdr(), "-o", out, "--compression"}, "--compression"},
        {{"tonemap", "--exact", Hdr(), "-o", out, "--threads", "-1"}, "--threads"},
        {{"tonemap", "--exact", Hdr(), "-o", out, "--threads", "257"}, "--threads"},
        {{"tonemap", "--exact", Hdr(), Png(), "-o", out}, "--out-dir"},
        {{"tonemap", "--exact", Hdr(), "-o", fFolder / "out.gif"}, ".png"},
        {{"tonemap", "--exact", Hdr(), "-o", fFolder / "out"}, ".png"},
        {{"tonemap", "--exact", Hdr(), "-o", fFolder / "a.png/out"}, ".png"},
        {{"equalize", Png(), "-o", out, "--hue-shift", "0:2"}, "--hue-shift"},
        {{"equalize", Png(), "-o", out, "--saturation", "x"}, "--saturation"},
        {{"equalize", Png(), "-o", out, "--lightness", "0.1:0.5,0.1:0.6"}, "--lightness"},
    };
    for (const auto& [words, expected] : cases)
        ExpectFailure(Selvane(words), 2, expected);
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png"));
}

TEST_F(Command, NamesWithBlanksAndOtherLettersWork)
{
    for (const char* name : {"two words", "größe-日本語", "a[b=1]", "-dash", "100% .x", "quo'te\"s"}) {
        const std::string input = fFolder / (std::string(name) + ".hdr");
        const std::string output = fFolder / (std::string(name) + ".png");
        std::filesystem::copy_file(Hdr(), input);
        ExpectQuietSuccess(Selvane({"tonemap", "--exact", input, "-o", output}));
        EXPECT_EQ(Look(Out() == output ? Out() : output).fWidth, kWidth) << name;
    }
    ExpectFailure(Selvane({"stats", fFolder / "new\nline.hdr"}), 1, "new line.hdr: cannot be read: No such file");
}

TEST_F(Command, APictureMayComeThroughAPipe)
{
    const std::string expected = Selvane({"stats", Hdr()}).fOut;
    const std::string inPieces = "{ head -c 1 '" + Hdr() + "'; sleep 0.05; tail -c +2 '" + Hdr() + "'; }";
    for (const std::string& source : {"cat '" + Hdr() + "'", inPieces}) {
        const sRun run = Selvane({"stats", "/dev/stdin"}, [&] { ReadFrom(source); });
        ExpectQuietSuccess(run);
        EXPECT_EQ(run.fOut, expected);
    }
}

TEST_F(Command, ProgressLinesAreShownOnRequestOnly)
{
    const sRun quiet = Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--depth", "8"});
    EXPECT_EQ(quiet.fErr, "");
    const sRun verbose = Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--depth", "8", "--verbose"});
    EXPECT_EQ(verbose.fStatus, 0);
    EXPECT_THAT(verbose.fErr, HasSubstr("selvane: read 61 x 43 pixels"));
    EXPECT_THAT(verbose.fErr, HasSubstr("selvane: rendered 61 x 43 pixels"));
}

TEST_F(Command, StandardOutputThatTakesNothingIsAFailure)
{
    const auto toFull = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    ExpectFailure(Selvane({"stats", Hdr()}, toFull), 1, "standard output cannot be written: No space left on device");
}

TEST_F(Command, StandardOutputThatIsClosedIsAFailureWhereTheResultGoesThere)
{
    const auto closed = [] { ::close(STDOUT_FILENO); };
    const std::string words = ": Bad file descriptor";
    ExpectFailure(Selvane({"stats", Hdr()}, closed), 1, "standard output cannot be written" + words);
    ExpectFailure(Selvane({"tonemap", "-q", Hdr(), "-o", "-", "--format", "png"}, closed), 1,
                  "-: cannot be written" + words);
    ExpectFailure(Selvane({"tonemap", Hdr(), "--suggest"}, closed), 1, "standard output cannot be written" + words);
}

TEST_F(Command, ClosedStreamsDoNoHarm)
{
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out()}));
    const tBytes expected = ReadAll(Out());
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1, 2}}) {
        const sRun run = Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--verbose"}, [&] {
            for (const int stream : closed)
                ::close(stream);
        });
        EXPECT_EQ(run.fStatus, 0);
        EXPECT_EQ(ReadAll(Out()), expected);
    }
}

/// Returns the lines that a shell command prints.
std::vector<std::string> LinesOf(const std::string& pCommand)
{
    std::vector<std::string> lines;
    std::FILE* const pipe = ::popen(pCommand.c_str(), "r");
    char line[512];
    while (pipe != nullptr && std::fgets(line, sizeof line, pipe) != nullptr)
        lines.emplace_back(line, std::strcspn(line, "\n"));
    if (pipe != nullptr) ::pclose(pipe);
    return lines;
}

TEST_F(Command, StandsOnLibselvaneAloneAndShowsNothingOfItsOwn)
{
    EXPECT_THAT(LinesOf("nm -D --defined-only '" SELVANE_BINARY "'"), Not(testing::Contains(HasSubstr("SelvaneHost"))));
    const std::vector<std::string> wanted = LinesOf("nm -D --undefined-only '" SELVANE_BINARY "'");
    EXPECT_THAT(wanted, testing::Contains(HasSubstr(" selvane_render")));
    for (const char* engine : {"DivideWork", "cpp_tm_selvane", "Vornik"})
        EXPECT_THAT(wanted, Not(testing::Contains(HasSubstr(engine))));
    const std::vector<std::string> needed = LinesOf("readelf -dW '" SELVANE_BINARY "' | grep NEEDED");
    EXPECT_THAT(needed, testing::Contains(HasSubstr("[libselvane.so.0]")));
    EXPECT_THAT(needed, Not(testing::Contains(HasSubstr("[Selvane.so.1]"))));
}

// A file in the current folder is never loaded as a library, whatever its name.
TEST_F(Command, LoadsNoLibraryFromTheCurrentFolder)
{
    const std::vector<std::string> needed =
        LinesOf("readelf -dW '" SELVANE_BINARY "' | sed -nE 's/.*\\(NEEDED\\).*\\[(.*)\\]$/\\1/p'");
    ASSERT_THAT(needed, testing::Contains(StartsWith("libOpenEXRCore")));
    for (const std::string& name : needed)
        WriteAll(fFolder / name, "no library");
    ExpectQuietSuccess(Selvane({"stats", Hdr()}, [&] { ASSERT_EQ(::chdir(fFolder.Path().c_str()), 0); }));
}

} // namespace
