// What the command knows of itself: help, hints, defaults, completions, manual pages.

#include "host/command/CommandTest.h"
#include "picture/Sliders.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> LinesOf(const std::string& pText)
{
    std::vector<std::string> lines;
    std::istringstream text(pText);
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

// ---- Help and hints -------------------------------------------------------------------------------------------------

class Shell : public Command
{
protected:
    /// Runs the command with the folder's file of defaults.
    sRun WithDefaults(const std::vector<std::string>& pWords) const
    {
        const std::string path = Defaults();
        return Selvane(pWords, [&path] { ::setenv("SELVANE_CONFIG", path.c_str(), 1); });
    }

    std::string Defaults() const { return fFolder / "config.toml"; }

    /// The words of all listed subcommands.
    static std::vector<std::string> Subcommands() { return LinesOf(Selvane({"manual"}).fOut); }
};

TEST_F(Shell, EachSubcommandHasAHelpThatBeginsWithExamples)
{
    const std::string overview = Selvane({"--help"}).fOut;
    ASSERT_GE(Subcommands().size(), 5U);
    for (const std::string& name : Subcommands()) {
        EXPECT_THAT(overview, HasSubstr("\n  " + name)) << name;
        const sRun run = Selvane({name, "--help"});
        ExpectQuietSuccess(run);
        const size_t examples = run.fOut.find("Examples:\n  ");
        EXPECT_NE(examples, std::string::npos) << name;
        EXPECT_LT(examples, run.fOut.find("  -h, --help")) << name;
        EXPECT_THAT(run.fOut, HasSubstr("Usage: selvane " + name)) << name;
        for (const std::string& line : LinesOf(run.fOut))
            EXPECT_LE(line.size(), 120U) << line;
    }
    EXPECT_THAT(overview, Not(HasSubstr("manual"))); // for the build, not for people
}

TEST_F(Shell, AMistypedOptionGetsTheNearestOneAndThePageOfItsSubcommand)
{
    ExpectFailure(
        Selvane({"tonemap", Hdr(), "-o", Out(), "--exposre", "1"}), 2,
        "tonemap has no option --exposre; did you mean --exposure? (selvane tonemap --help lists what there is)");
    ExpectFailure(Selvane({"stats", Hdr(), "--white-clp=1"}), 2, "did you mean --white-clip?");
    const sRun other = Selvane({"tonemap", Hdr(), "-o", Out(), "--sharpness", "1"});
    ExpectFailure(other, 2, "tonemap has no option --sharpness (selvane tonemap --help");
    ExpectFailure(Selvane({"tonmap", Hdr()}), 2, "tonmap is no subcommand; did you mean tonemap? (selvane --help");
    ExpectFailure(Selvane({"stats", "--threads", "999", Hdr()}), 2, "(selvane stats --help");
}

TEST_F(Shell, TheLastOfARepeatedOptionCounts)
{
    const std::string last = Selvane({"stats", Hdr(), "--white-clip", "40"}).fOut;
    EXPECT_EQ(Selvane({"stats", Hdr(), "--white-clip", "3", "--white-clip", "40"}).fOut, last);
    EXPECT_NE(Selvane({"stats", Hdr(), "--white-clip", "3"}).fOut, last);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "--exact", "--exact", "-o", fFolder / "a.png", "-o", Out()}));
    EXPECT_TRUE(Exists(Out()));
    EXPECT_FALSE(Exists(fFolder / "a.png"));
}

TEST_F(Shell, ANameThatBeginsWithADashStandsBehindTwo)
{
    const std::string folder = fFolder.Path();
    std::filesystem::copy_file(Hdr(), fFolder / "-o.hdr");
    const sRun run =
        Selvane({"tonemap", "--exact", "-o", "-x.png", "--", "-o.hdr"}, [&] { std::filesystem::current_path(folder); });
    ExpectQuietSuccess(run);
    EXPECT_TRUE(Exists(fFolder / "-x.png"));
    ExpectFailure(Selvane({"tonemap", "-o.hdr"}, [&] { std::filesystem::current_path(folder); }), 2,
                  "-o.hdr: write ./-o.hdr for the file of this name");
}

/// The line that gives the picture again is one for any folder of such names.
TEST_F(Shell, ANameThatBeginsWithADashIsAPathInTheExactLine)
{
    const std::string folder = fFolder.Path();
    std::filesystem::copy_file(Hdr(), fFolder / "-in.hdr");
    const sRun run =
        Selvane({"tonemap", "-o", "-x.png", "--", "-in.hdr"}, [&] { std::filesystem::current_path(folder); });
    EXPECT_THAT(run.fErr, HasSubstr("exactly: selvane tonemap ./-in.hdr -o ./-x.png --manual "));
}

TEST_F(Shell, ANameWithALineFeedIsReadAndToldOnOneLine)
{
    const std::string name = fFolder / "two\nlines.hdr";
    std::filesystem::copy_file(Hdr(), name);
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", name, "-o", fFolder / "two\nlines.png"}));
    EXPECT_TRUE(Exists(fFolder / "two\nlines.png"));
    ExpectFailure(Selvane({"tonemap", "--exact", fFolder / "not\nthere.hdr", "-o", Out()}), 1, "not there.hdr");
}

// ---- Defaults -------------------------------------------------------------------------------------------------------

TEST_F(Shell, ADefaultStandsBeforeTheCommandLine)
{
    WriteAll(Defaults(), std::string("[stats]\nwhite-clip = 40\nwrap = true\nthreads = 2\n"));
    const std::string expected = Selvane({"stats", Hdr(), "--white-clip", "40", "--wrap"}).fOut;
    EXPECT_EQ(WithDefaults({"stats", Hdr()}).fOut, expected);
    EXPECT_NE(Selvane({"stats", Hdr()}).fOut, expected);
    EXPECT_EQ(WithDefaults({"stats", Hdr(), "--white-clip", "3"}).fOut,
              Selvane({"stats", Hdr(), "--white-clip", "3", "--wrap"}).fOut);
}

TEST_F(Shell, AFlagThatIsOffChangesNothing)
{
    WriteAll(Defaults(), std::string("[stats]\nwrap = false\n"));
    EXPECT_EQ(WithDefaults({"stats", Hdr()}).fOut, Selvane({"stats", Hdr()}).fOut);
}

TEST_F(Shell, ExactIgnoresTheDefaults)
{
    WriteAll(Defaults(), std::string("[tonemap]\nexposure = 2\nwhite-clip = 90\n"));
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out()}));
    ExpectQuietSuccess(WithDefaults({"tonemap", "--exact", Hdr(), "-o", fFolder / "b.png"}));
    EXPECT_EQ(ReadAll(Out()), ReadAll(fFolder / "b.png"));
}

TEST_F(Shell, APresetOfTheCommandLineReplacesSettingsOfTheDefaults)
{
    WriteAll(fFolder / "look.toml", std::string("exposure = 1.0\n"));
    WriteAll(Defaults(), "[tonemap]\nsettings = '" + (fFolder / "look.toml") + "'\n");
    EXPECT_EQ(WithDefaults({"tonemap", Hdr(), "-o", Out(), "--preset", "soft"}).fStatus, 0);
    EXPECT_EQ(Selvane({"tonemap", Hdr(), "-o", fFolder / "b.png", "--preset", "soft"}).fStatus, 0);
    EXPECT_EQ(Look(Out()).fPixels, Look(fFolder / "b.png").fPixels);
}

TEST_F(Shell, SettingsOfTheCommandLineReplaceAPresetOfTheDefaults)
{
    WriteAll(fFolder / "look.toml", std::string("exposure = 1.0\n"));
    WriteAll(Defaults(), std::string("[tonemap]\npreset = 'soft'\n"));
    const std::vector<std::string> words = {"tonemap", Hdr(), "--suggest", "--settings", fFolder / "look.toml"};
    const sRun run = WithDefaults(words);
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(run.fOut, Selvane(words).fOut);
}

/// Of an option that may be given several times, those of the command line stand alone.
TEST_F(Shell, LooksOfTheCommandLineReplaceTheDefault)
{
    WriteAll(Defaults(), std::string("[sheet]\nlook = 'night'\nsize = 64\n"));
    ExpectQuietSuccess(WithDefaults({"sheet", Png(), "-o", Out(), "--look", "clear"}));
    ExpectQuietSuccess(Selvane({"sheet", Png(), "-o", fFolder / "b.png", "--look", "clear", "--size", "64"}));
    EXPECT_EQ(ReadAll(Out()), ReadAll(fFolder / "b.png"));
}

TEST_F(Shell, DefaultsThatCannotBeWrittenAreNamed)
{
    WriteAll(fFolder / "file", std::string("x"));
    const std::string path = fFolder / "file/config.toml";
    const sRun run = Selvane({"config", "stats.wrap", "true"}, [&] { ::setenv("SELVANE_CONFIG", path.c_str(), 1); });
    ExpectFailure(run, 1, path + ": cannot be written: Not a directory");
}

TEST_F(Shell, DefaultsThatCannotBeReadAreNamed)
{
    std::filesystem::create_directory(Defaults());
    ExpectFailure(WithDefaults({"stats", Hdr()}), 1, Defaults() + ": cannot be read: Is a directory");
    ExpectFailure(WithDefaults({"config", "stats.wrap", "true"}), 1, Defaults() + ": cannot be read: Is a directory");
}

TEST_F(Shell, WrongDefaultsAreRefusedByName)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"[tonemap\n", "config.toml: line 1"},
        {"[develop]\na = 1\n", "[develop] is no subcommand"},
        {"tonemap = 1\n", "tonemap is a table"},
        {"[tonemap]\nsharpness = 1\n", "tonemap has no option --sharpness"},
        {"[tonemap]\nhelp = true\n", "tonemap has no option --help"},
        {"[tonemap]\nwrap = 1\n", "[tonemap] wrap is true or false"},
        {"[tonemap]\npreset = [1]\n", "[tonemap] preset is a text or a number"},
        {"[stats]\nthreads = 999\n", "--threads"},
    };
    for (const auto& [text, words] : cases) {
        WriteAll(Defaults(), text);
        ExpectFailure(WithDefaults({"stats", Hdr()}), 2, words);
    }
}

TEST_F(Shell, ConfigShowsAndChangesDefaults)
{
    ExpectQuietSuccess(WithDefaults({"config", "tonemap.preset", "clear"}));
    ExpectQuietSuccess(WithDefaults({"config", "tonemap.exposure", "0.5"}));
    ExpectQuietSuccess(WithDefaults({"config", "stats.wrap", "true"}));
    EXPECT_EQ(WithDefaults({"config", "tonemap.preset"}).fOut, "clear\n");
    EXPECT_EQ(WithDefaults({"config", "tonemap.exposure"}).fOut, "0.5\n");
    EXPECT_EQ(WithDefaults({"config", "stats.wrap"}).fOut, "true\n");
    const std::string all = WithDefaults({"config"}).fOut;
    EXPECT_THAT(all, HasSubstr("# " + Defaults() + "\n"));
    for (const char* line : {"[tonemap]", "preset = 'clear'", "exposure = 0.5", "[stats]", "wrap = true"})
        EXPECT_THAT(all, HasSubstr(std::string(line) + "\n"));
    ExpectQuietSuccess(WithDefaults({"config", "--unset", "tonemap.preset"}));
    ExpectFailure(WithDefaults({"config", "tonemap.preset"}), 1, "tonemap.preset has no default");
    EXPECT_EQ(WithDefaults({"config", "tonemap.exposure"}).fOut, "0.5\n");
}

TEST_F(Shell, ConfigRefusesWhatDoesNotExist)
{
    ExpectFailure(WithDefaults({"config", "tonemap.sharpness", "1"}), 2, "tonemap has no option --sharpness");
    ExpectFailure(WithDefaults({"config", "develop.x", "1"}), 2, "[develop] is no subcommand");
    ExpectFailure(WithDefaults({"config", "preset", "clear"}), 2, "write SUBCOMMAND.OPTION");
    ExpectFailure(WithDefaults({"config", "stats.wrap", "1"}), 2, "--wrap is true or false");
    ExpectFailure(Selvane({"config", "stats.wrap", "true"}), 1, "no folder for defaults is known");
    EXPECT_FALSE(Exists(Defaults()));
}

TEST_F(Shell, TheFileOfDefaultsIsFoundInTheHome)
{
    const std::string home = fFolder / "home";
    std::filesystem::create_directories(home + "/.config/selvane");
    WriteAll(home + "/.config/selvane/config.toml", std::string("[stats]\nwrap = true\n"));
    const auto found = [&](const char* pName, const std::string& pValue) {
        return Selvane({"config"}, [&] {
            ::unsetenv("SELVANE_CONFIG");
            ::unsetenv("XDG_CONFIG_HOME");
            ::setenv("HOME", "/nowhere", 1);
            ::setenv(pName, pValue.c_str(), 1);
        });
    };
    EXPECT_THAT(found("HOME", home).fOut, HasSubstr("wrap = true"));
    EXPECT_THAT(found("XDG_CONFIG_HOME", home + "/.config").fOut, HasSubstr("wrap = true"));
    EXPECT_THAT(found("HOME", "/nowhere").fOut, Not(HasSubstr("wrap")));
}

// ---- Completions ----------------------------------------------------------------------------------------------------

/// Returns what a shell command prints, as words.
std::vector<std::string> Said(const std::string& pCommand)
{
    std::string text;
    FILE* const pipe = ::popen(pCommand.c_str(), "r");
    if (pipe == nullptr) throw std::runtime_error("popen");
    for (int letter = std::fgetc(pipe); letter != EOF; letter = std::fgetc(pipe))
        text += static_cast<char>(letter);
    ::pclose(pipe);
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

class Completions : public Shell
{
protected:
    std::string Script(const std::string& pShell) const
    {
        const std::string path = fFolder / ("selvane." + pShell);
        WriteAll(path, Selvane({"completions", pShell}).fOut);
        return path;
    }

    /// What bash offers for the last word.
    std::vector<std::string> Bash(const std::string& pWords) const
    {
        const std::string script = Script("bash");
        return Said("bash -c '. " + script + "; COMP_WORDS=(" + pWords +
                    "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _selvane; echo \"${COMPREPLY[@]}\"'");
    }

    std::vector<std::string> Fish(const std::string& pLine) const
    {
        return Said("fish --no-config -c 'source " + Script("fish") + "; complete -C \"" + pLine + "\"'");
    }
};

TEST_F(Completions, BashCompletesSubcommandsOptionsAndValues)
{
    EXPECT_THAT(Bash("selvane tone"), testing::ElementsAre("tonemap"));
    EXPECT_THAT(Bash("selvane tonemap --expo"), testing::ElementsAre("--exposure"));
    EXPECT_THAT(Bash("selvane tonemap --preset n"), testing::ElementsAre("natural", "night"));
    EXPECT_THAT(Bash("selvane equalize --depth 1"), testing::ElementsAre("10", "12", "16"));
    EXPECT_THAT(Bash("selvane stats --expo"), testing::ElementsAre());
    EXPECT_THAT(Bash("selvane tonemap pho"), testing::ElementsAre()); // files, which bash adds itself
}

TEST_F(Completions, BashOffersEveryOptionOfTheHelp)
{
    for (const std::string& name : Subcommands()) {
        const std::vector<std::string> offered = Bash("selvane " + name + " --");
        for (const std::string& line : LinesOf(Selvane({name, "--help"}).fOut)) {
            const size_t dashes = line.find("--");
            if (!line.starts_with("  -") || dashes == std::string::npos) continue;
            const std::string option = line.substr(dashes, line.find_first_of(" ", dashes) - dashes);
            EXPECT_THAT(offered, testing::Contains(option)) << name;
        }
    }
}

TEST_F(Completions, FishCompletesSubcommandsOptionsAndValues)
{
    EXPECT_THAT(Fish("selvane tonem"), testing::Contains("tonemap"));
    EXPECT_THAT(Fish("selvane tonemap --expo"), testing::Contains("--exposure"));
    EXPECT_THAT(Fish("selvane tonemap --preset n"), testing::IsSupersetOf({"natural", "night"}));
    EXPECT_THAT(Fish("selvane stats --expo"), Not(testing::Contains("--exposure")));
}

// zsh completes on a terminal only: the test makes one. Control-G completes the line and prints what it became.
TEST_F(Completions, ZshCompletesSubcommandsOptionsAndValues)
{
    const std::string script = Script("zsh");
    const auto completed = [&](const std::string& pLine) {
        const std::string program = fFolder / "ask.zsh";
        WriteAll(program, "zmodload zsh/zpty\n"
                          "zpty asked zsh -f -i\n"
                          "zpty -w asked 'stty -echo; PS1=; autoload -Uz compinit; compinit -u -D; . " +
                              script +
                              "; say() { zle complete-word; print -r -- \"<$BUFFER>\" }; zle -N say; bindkey ^G say; "
                              "echo rea''dy'\n"
                              "zpty -r asked text '*ready*'\n"
                              "zpty -n -w asked $'" +
                              pLine +
                              "\\a'\n"
                              "zpty -r asked text '*<*>*'\n"
                              "print -r -- ${${text##*<}%%>*}\n"
                              "zpty -d asked\n");
        return Said("zsh -f " + program);
    };
    EXPECT_THAT(completed("selvane tonem"), testing::ElementsAre("selvane", "tonemap"));
    EXPECT_THAT(completed("selvane tonemap --expos"), testing::ElementsAre("selvane", "tonemap", "--exposure"));
    EXPECT_THAT(completed("selvane tonemap --preset nat"),
                testing::ElementsAre("selvane", "tonemap", "--preset", "natural"));
}

// ---- Manual pages ---------------------------------------------------------------------------------------------------

TEST_F(Shell, TheManualPageOfASubcommandHasAllOfItsHelp)
{
    for (const std::string& name : Subcommands()) {
        const std::string path = fFolder / (name + ".1");
        WriteAll(path, Selvane({"manual", name}).fOut);
        EXPECT_TRUE(Said("man --warnings -E UTF-8 -l " + path + " 2>&1 >/dev/null").empty()) << name;
        const std::vector<std::string> words = Said("MANWIDTH=200 man -E UTF-8 -l " + path + " | col -bx");
        for (const std::string& line : LinesOf(Selvane({name, "--help"}).fOut)) {
            const size_t dashes = line.find("--");
            if (!line.starts_with("  -") || dashes == std::string::npos) continue;
            EXPECT_THAT(words, testing::Contains(line.substr(dashes, line.find_first_of(" ", dashes) - dashes)))
                << name;
        }
        EXPECT_THAT(words, testing::Contains("EXAMPLES"));
    }
}

TEST_F(Shell, TheManualPageHasEachSliderWithItsRange)
{
    const std::string page = Selvane({"manual", "tonemap"}).fOut;
    const auto escaped = [](const std::string& pText) {
        std::string text;
        for (const char letter : pText)
            text += letter == '-' ? std::string("\\-") : std::string(1, letter);
        return text;
    };
    for (const SelvaneHost::sSlider& slider : SelvaneHost::kSliders)
        EXPECT_THAT(page,
                    HasSubstr(".B " + escaped(slider.fOption) + " N\n" + escaped(SelvaneHost::HelpOf(slider)) + "\n"));
}

} // namespace
