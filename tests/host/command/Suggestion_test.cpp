// tonemap without --exact: the suggestion, presets, settings, and what the command says of them.

#include "host/command/CommandTest.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

namespace
{

using namespace SelvaneTest;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The words behind "exactly: selvane " of a run.
std::vector<std::string> ExactWords(const sRun& pRun)
{
    const std::string mark = "exactly: selvane ";
    const size_t begin = pRun.fErr.find(mark);
    EXPECT_NE(begin, std::string::npos) << pRun.fErr;
    std::istringstream line(pRun.fErr.substr(begin + mark.size(), pRun.fErr.find('\n', begin) - begin - mark.size()));
    std::vector<std::string> words;
    for (std::string word; line >> word;)
        words.push_back(word);
    return words;
}

double MeanOf(const std::string& pPath)
{
    const tBytes pixels = Look(pPath).fPixels;
    double sum = 0;
    for (size_t i = 1; i < pixels.size(); i += 2) // high bytes
        sum += pixels[i];
    return sum / (static_cast<double>(pixels.size()) / 2);
}

TEST_F(Command, TheFirstPictureIsSuggestedAndSaidInTwoLines)
{
    const sRun run = Selvane({"tonemap", Hdr(), "-o", Out()});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_EQ(Lines(run.fErr), 2U) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("selvane: " + Hdr() + ": "));
    EXPECT_THAT(run.fOut, IsEmpty());
    EXPECT_GT(MeanOf(Out()), 40.0); // the scene spans six decades: sliders at 0 leave most of it black
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "plain.png"}));
    EXPECT_LT(MeanOf(fFolder / "plain.png"), MeanOf(Out()));
}

TEST_F(Command, TheExactLineGivesTheSamePictureAgain)
{
    for (const std::string& input : {Hdr(), Png()})
        for (const std::vector<std::string>& more : {std::vector<std::string>{},
                                                     {"--exposure", "0.7"},
                                                     {"--preset", "dramatic", "--wrap"},
                                                     {"--radius", "3"}}) {
            std::vector<std::string> words = {"tonemap", input, "-o", Out()};
            words.insert(words.end(), more.begin(), more.end());
            const std::vector<std::string> exact = ExactWords(Selvane(words));
            const tBytes expected = ReadAll(Out());
            WriteAll(Out(), "gone");
            ExpectQuietSuccess(Selvane(exact));
            EXPECT_EQ(ReadAll(Out()), expected) << testing::PrintToString(exact);
        }
}

/// Runs a command line and the one that it prints. Both files have to be the same, byte by byte.
void ExpectTheSameAgain(const std::vector<std::string>& pWords, const std::string& pOut, const std::string& pExpected)
{
    const sRun run = Selvane(pWords);
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    const std::vector<std::string> exact = ExactWords(run);
    EXPECT_THAT(run.fErr, HasSubstr(pExpected));
    const tBytes expected = ReadAll(pOut);
    WriteAll(pOut, "gone");
    ExpectQuietSuccess(Selvane(exact));
    EXPECT_EQ(ReadAll(pOut), expected) << testing::PrintToString(exact);
}

TEST_F(Command, TheExactLineHasThePointsOfASettingsFile)
{
    WriteAll(fFolder / "points.toml", "points = \"given\"\nblack_point = 0.015\nwhite_point = 0.7\n");
    for (const std::string& input : {Hdr(), Png()}) {
        ExpectTheSameAgain({"tonemap", input, "-o", Out(), "--settings", fFolder / "points.toml", "--exposure", "0.3"},
                           Out(), " --black-point 0.015 --white-point 0.7");
        ASSERT_EQ(Selvane({"tonemap", "-q", input, "-o", fFolder / "plain.png", "--exposure", "0.3"}).fStatus, 0);
        EXPECT_NE(Look(Out()).fPixels, Look(fFolder / "plain.png").fPixels) << "the points matter";
    }
    WriteAll(fFolder / "alone.toml", "automatic = false\npoints = \"given\"\nblack_point = 0\nwhite_point = 1\n"
                                     "compression = 20\nhue = [[0.0, 0.25], [0.3, 0.7]]\nwrap = true\n");
    ExpectTheSameAgain({"tonemap", Hdr(), "-o", Out(), "--settings", fFolder / "alone.toml"}, Out(),
                       " --black-point 0 --white-point 1");
}

/// Such a picture has no range of its own: the suggestion gives it points.
TEST_F(Command, TheExactLineHasThePointsOfANearlyUniformPicture)
{
    tBytes samples(size_t{3} * kWidth * kHeight, 120);
    for (size_t i = 0; i < samples.size(); i += 7)
        samples[i] = 121;
    Store(Png(), samples.data(), kWidth, kHeight, Rgb8());
    ExpectTheSameAgain({"tonemap", Png(), "-o", Out()}, Out(), " --white-point ");
}

TEST_F(Command, PointsWithManualAreThoseOfASettingsFile)
{
    WriteAll(fFolder / "points.toml", "automatic = false\npoints = \"given\"\nblack_point = 0.015\nwhite_point = 0.7\n"
                                      "compression = 30\nexposure = 0.5\n");
    ASSERT_EQ(Selvane({"tonemap", "-q", Hdr(), "-o", Out(), "--settings", fFolder / "points.toml"}).fStatus, 0);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", fFolder / "b.png", "--manual", "--compression", "30",
                                "--exposure", "0.5", "--black-point", "0.015", "--white-point", "0.7"}));
    EXPECT_EQ(ReadAll(fFolder / "b.png"), ReadAll(Out()));
    ExpectFailure(Selvane({"tonemap", "--manual", Hdr(), "-o", Out(), "--black-point", "0.02"}), 2, "go together");
}

TEST_F(Command, CurvesOverHueAreThoseOfASettingsFile)
{
    const std::vector<std::pair<std::string, std::string>> curves = {
        {"--hue-shift", "hue"}, {"--hue-saturation", "hue_saturation"}, {"--hue-lightness", "hue_lightness"}};
    ASSERT_EQ(Selvane({"tonemap", "-q", Hdr(), "-o", fFolder / "plain.png"}).fStatus, 0);
    for (const auto& [option, key] : curves) {
        const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), option, "0:0.25,0.3:0.7"});
        ASSERT_EQ(run.fStatus, 0) << run.fErr;
        WriteAll(fFolder / "curve.toml", key + " = [[0.0, 0.25], [0.3, 0.7]]\n");
        ASSERT_EQ(
            Selvane({"tonemap", "-q", Hdr(), "-o", fFolder / "b.png", "--settings", fFolder / "curve.toml"}).fStatus,
            0);
        EXPECT_EQ(Look(Out()).fPixels, Look(fFolder / "b.png").fPixels) << option;
        EXPECT_NE(Look(Out()).fPixels, Look(fFolder / "plain.png").fPixels) << option;

        EXPECT_THAT(run.fErr, HasSubstr(" " + option + " 0:0.25,0.3:0.7")) << "the line that gives the picture again";
        const tBytes first = Look(Out()).fPixels;
        ASSERT_EQ(Selvane(ExactWords(run)).fStatus, 0);
        EXPECT_EQ(Look(Out()).fPixels, first) << option;
    }
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--hue-shift", "0:2"}), 2, "--hue-shift");
}

TEST_F(Command, ASliderThatIsGivenStandsAsItIs)
{
    const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), "--compression", "12.5", "--white-clip", "3"});
    const std::vector<std::string> words = ExactWords(run);
    const auto after = [&](const char* pOption) {
        const auto found = std::find(words.begin(), words.end(), pOption);
        return found == words.end() ? std::string("none") : *(found + 1);
    };
    EXPECT_EQ(after("--compression"), "12.5");
    EXPECT_EQ(after("--white-clip"), "3");
}

TEST_F(Command, ExposureBrightensAndSaturationColours)
{
    const auto mean = [&](const std::vector<std::string>& pMore) {
        std::vector<std::string> words = {"tonemap", Hdr(), "-o", Out(), "--quiet"};
        words.insert(words.end(), pMore.begin(), pMore.end());
        ExpectQuietSuccess(Selvane(words));
        return MeanOf(Out());
    };
    const double plain = mean({});
    EXPECT_GT(mean({"--exposure", "1"}), plain + 10);
    EXPECT_LT(mean({"--exposure", "-1"}), plain - 10);
    mean({"--saturation", "-100"});
    const tBytes grey = Look(Out()).fPixels;
    for (size_t i = 0; i + 6 <= grey.size(); i += 6) { // red, green and blue of a grey differ by rounding only
        EXPECT_NEAR(grey[i + 1], grey[i + 3], 1);
        EXPECT_NEAR(grey[i + 3], grey[i + 5], 1);
    }
}

TEST_F(Command, SuggestPrintsSettingsThatGiveTheSamePicture)
{
    const sRun run = Selvane({"tonemap", Hdr(), "--suggest"});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_THAT(run.fOut, HasSubstr("automatic = false\n"));
    EXPECT_EQ(run.fOut.back(), '\n');
    EXPECT_FALSE(Exists(Out()));
    WriteAll(fFolder / "look.toml", run.fOut);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--quiet"}));
    const tBytes expected = ReadAll(Out());
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--quiet", "--settings", fFolder / "look.toml"}));
    EXPECT_EQ(ReadAll(Out()), expected);
}

/// Settings as --suggest prints them, each line by its key.
std::map<std::string, std::string> SuggestedFor(const std::string& pInput, const std::vector<std::string>& pMore)
{
    std::vector<std::string> words = {"tonemap", pInput, "--suggest"};
    words.insert(words.end(), pMore.begin(), pMore.end());
    const sRun run = Selvane(words);
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    std::map<std::string, std::string> settings;
    std::istringstream lines(run.fOut);
    for (std::string line; std::getline(lines, line);)
        if (const size_t equals = line.find(" = "); equals != std::string::npos)
            settings[line.substr(0, equals)] = line.substr(equals + 3);
    return settings;
}

/// --exposure, --contrast and --saturation come on top of a file. Sliders and curves stand as they are given.
TEST_F(Command, OptionsComeAfterAFileOfSettings)
{
    for (const std::string automatic : {"true", "false"}) {
        const std::string begin = "automatic = " + automatic + "\n",
                          end = "hue = [[0.0, 0.25], [0.3, 0.7]]\nwrap = true\n";
        WriteAll(fFolder / "base.toml",
                 begin + "exposure = 0.5\ncontrast = 5\nsaturation = -3\ncompression = 10\n" + end);
        WriteAll(fFolder / "sum.toml",
                 begin + "exposure = 0.75\ncontrast = 12\nsaturation = -12\ncompression = 10\n" + end);
        const auto base = SuggestedFor(Hdr(), {"--settings", fFolder / "base.toml"});
        const auto sum = SuggestedFor(Hdr(), {"--settings", fFolder / "sum.toml"});
        EXPECT_NE(base, sum);
        EXPECT_EQ(SuggestedFor(Hdr(), {"--settings", fFolder / "base.toml", "--exposure", "0.25", "--contrast", "7",
                                       "--saturation", "-9"}),
                  sum);
        auto expected = base;
        expected["compression"] = "12.5";
        expected["white_clip"] = "3.25";
        expected["hue"] = "[[0.5, 0.75]]";
        EXPECT_EQ(SuggestedFor(Hdr(), {"--settings", fFolder / "base.toml", "--compression", "12.5", "--white-clip",
                                       "3.25", "--hue-shift", "0.5:0.75"}),
                  expected);
        EXPECT_EQ(base.at("wrap"), "true");
    }
    WriteAll(fFolder / "plain.toml", std::string("exposure = 0.5\n"));
    EXPECT_EQ(SuggestedFor(Hdr(), {"--settings", fFolder / "plain.toml", "--wrap"}).at("wrap"), "true");
}

TEST_F(Command, OptionsComeAfterAPreset)
{
    const auto base = SuggestedFor(Hdr(), {"--preset", "dramatic"});
    const auto more = SuggestedFor(Hdr(), {"--preset", "dramatic", "--wrap", "--compression", "12.5", "--exposure",
                                           "0.25", "--contrast", "-7", "--saturation", "-9"});
    EXPECT_EQ(more.at("wrap"), "true");
    EXPECT_EQ(more.at("compression"), "12.5");
    EXPECT_NE(base.at("compression"), "12.5");
    const std::map<std::string, double> added = {{"exposure", 0.25}, {"contrast", -7}, {"saturation", -9}};
    for (const auto& [key, value] : added)
        EXPECT_NEAR(std::stod(more.at(key)), std::stod(base.at(key)) + value, 1e-5) << key;
}

/// The message names the file, and an endless device is not read to its end.
TEST_F(Command, WhatIsNoFileOfSettingsIsRefusedByName)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {fFolder.Path(), ": cannot be read: Is a directory"},
        {fFolder / "none.toml", ": cannot be read: No such file or directory"},
        {"/dev/zero", ": cannot be read: larger than any file of settings"},
    };
    for (const auto& [file, words] : cases) {
        ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--settings", file}), 1, file + words);
        EXPECT_FALSE(Exists(Out()));
    }
}

/// The file that decides the look is none of the outputs, by whatever name.
TEST_F(Command, FilesOfSettingsAreNotReplaced)
{
    const std::string look = fFolder / "look.toml", hard = fFolder / "hard.toml", link = fFolder / "link.toml";
    const std::string text = "exposure = 0.5\n";
    WriteAll(look, text);
    std::filesystem::create_hard_link(look, hard);
    std::filesystem::create_symlink("look.toml", link);
    for (const std::string& output : {look, hard, link}) {
        const std::string words = output + ": is read in this run; write to a file of another name";
        ExpectFailure(Selvane({"tonemap", Hdr(), "--settings", look, "-o", output, "--format", "png"}), 2, words);
        ExpectFailure(Selvane({"tonemap", Hdr(), "--settings", look, "-o", Out(), "--report", output}), 2, words);
        ExpectFailure(Selvane({"explain", Hdr(), "--settings", look, "-o", output}), 2, words);
        ExpectFailure(Selvane({"explain", Hdr(), "--settings", look, "-o", Out(), "--report", output}), 2, words);
        ExpectFailure(Selvane({"sheet", Hdr(), "--look", "night", "--look", look, "-o", output, "--format", "png"}), 2,
                      words);
        ExpectFailure(Selvane({"tonemap", Hdr(), "--settings", look, "--out-dir", fFolder.Path(), "--name",
                               std::filesystem::path(output).filename().string(), "--format", "png", "--overwrite"}),
                      2, output + ": is one of the inputs");
        EXPECT_EQ(ReadAll(output), tBytes(text.begin(), text.end()));
    }
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Command, EveryPresetRenders)
{
    for (const char* preset : {"natural", "clear", "soft", "dramatic", "interior", "night", "flat"}) {
        const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), "--preset", preset});
        EXPECT_EQ(run.fStatus, 0) << preset << run.fErr;
    }
}

TEST_F(Command, ALookThatMakesNoSenseHasStatusTwo)
{
    WriteAll(fFolder / "bad.toml", "brilliance = 3\n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--preset", "sepia"}, "sepia"},
        {{"--settings", fFolder / "bad.toml"}, "brilliance"},
        {{"--settings", fFolder / "bad.toml", "--preset", "soft"}, "--settings"},
        {{"--exact", "--preset", "soft"}, "--exact"},
        {{"--exact", "--suggest"}, "--exact"},
        {{"--exposure", "21"}, "--exposure"},
        {{"--contrast", "nan"}, "contrast"},
        {{"--compression", "101"}, "compression"},
        {{"--exposure", "1", "--white-point", "1", "--black-point", "0"}, "--white-point"},
    };
    for (const auto& [more, words] : cases) {
        std::vector<std::string> line = {"tonemap", Hdr(), "-o", Out()};
        line.insert(line.end(), more.begin(), more.end());
        ExpectFailure(Selvane(line), 2, words);
        EXPECT_FALSE(Exists(Out()));
    }
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--settings", fFolder / "none.toml"}), 1, "none.toml");
}

TEST_F(Command, ANearlyBlackPictureIsAWarning)
{
    const sRun dark = Selvane({"tonemap", Hdr(), "-o", Out(), "--exposure", "-15", "--quiet"});
    EXPECT_EQ(dark.fStatus, 0);
    EXPECT_THAT(dark.fErr, AllOf(HasSubstr("warning: "), HasSubstr("nearly black")));
    const sRun bright = Selvane({"tonemap", Hdr(), "-o", Out(), "--exposure", "15", "--quiet"});
    EXPECT_THAT(bright.fErr, AllOf(HasSubstr("warning: "), HasSubstr("nearly white"), Not(HasSubstr("black"))));
}

} // namespace
