// The built command on the frames of a film: a still room in which a lamp shines for one frame, then a cut to a garden.

#include "host/Workshop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>

namespace
{

using namespace SelvaneTest;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr int kWidth = 120, kHeight = 80;
constexpr int kFrames = 24, kCut = 14, kLamp = 6;
constexpr int kFirst = kLamp - 2, kEnd = kCut + 2; // a part of the film with the lamp and the cut

/// A pixel of a Radiance file.
void Put(tBytes& pPixels, double pRed, double pGreen, double pBlue)
{
    int exponent = 0;
    std::frexp(std::max({pRed, pGreen, pBlue, 1e-30}), &exponent);
    const double scale = std::ldexp(256.0, -exponent);
    for (const double value : {pRed, pGreen, pBlue})
        pPixels.push_back(static_cast<unsigned char>(std::min(255.0, value * scale)));
    pPixels.push_back(static_cast<unsigned char>(exponent + 128));
}

tBytes FrameAt(int pFrame)
{
    tBytes pixels;
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++) {
            const double u = static_cast<double>(x) / kWidth, v = static_cast<double>(y) / kHeight;
            if (pFrame >= kCut) {
                const double light =
                    30 * std::pow(10, 4 * (1 - u) * v - 2) * (1 + 0.2 * std::sin(31 * u + 0.1 * pFrame));
                Put(pixels, 0.5 * light, 0.8 * light, light);
            } else if (pFrame == kLamp && x > 80 && y < 25) {
                Put(pixels, 4000, 3800, 3000);
            } else {
                const double light = std::pow(10, 2.5 * u - 1.5) * (1 + 0.3 * std::sin(40 * u) * std::cos(30 * v));
                Put(pixels, light * (0.6 + 0.4 * v), 0.8 * light, light * (0.4 + 0.5 * u * v));
            }
        }
    return pixels;
}

class Sequence : public testing::Test
{
protected:
    void SetUp() override
    {
        fs::create_directory(fFolder / "in");
        for (int i = 0; i < kFrames; i++) {
            fFrames.push_back(fFolder / ("in/f" + std::to_string(100 + i) + ".hdr"));
            WriteAll(fFrames.back(), Radiance(kWidth, kHeight, FrameAt(i)));
        }
    }

    /// Runs a subcommand on some of the frames.
    sRun Run(const std::string& pCommand, int pBegin, int pEnd, const std::vector<std::string>& pMore) const
    {
        std::vector<std::string> words = {pCommand};
        words.insert(words.end(), fFrames.begin() + pBegin, fFrames.begin() + pEnd);
        words.insert(words.end(), pMore.begin(), pMore.end());
        return Selvane(words);
    }

    std::string Folder(const std::string& pName) const { return fFolder / pName; }

    std::string Output(const std::string& pFolder, int pFrame) const
    {
        return fFolder / (pFolder + "/f" + std::to_string(100 + pFrame) + ".png");
    }

    /// Mean grey level of the lower left part of a frame, which is still.
    double Brightness(const std::string& pFolder, int pFrame) const
    {
        const sFound found = Look(Output(pFolder, pFrame));
        double sum = 0;
        int count = 0;
        for (int y = kHeight / 2; y < kHeight; y++)
            for (int x = 0; x < kWidth / 2; x++, count++)
                sum += found.fPixels[3 * static_cast<size_t>(y * kWidth + x) + 1];
        return sum / count;
    }

    /// The range of that brightness over the room.
    double Range(const std::string& pFolder) const
    {
        double least = 1e9, most = -1e9;
        for (int i = 0; i < kCut; i++) {
            least = std::min(least, Brightness(pFolder, i));
            most = std::max(most, Brightness(pFolder, i));
        }
        return most - least;
    }

    cFolder fFolder;
    std::vector<std::string> fFrames;
};

const std::vector<std::string> kPng8 = {"--name", "{stem}.png", "--depth", "8", "--no-metadata", "-q", "--out-dir"};

std::vector<std::string> Into(const std::string& pFolder, const std::vector<std::string>& pMore = {})
{
    std::vector<std::string> words = kPng8;
    words.push_back(pFolder);
    words.insert(words.end(), pMore.begin(), pMore.end());
    return words;
}

TEST_F(Sequence, ALampOfOneFrameLeavesTheStillPartsStill)
{
    ASSERT_EQ(Run("tonemap", 0, kFrames, Into(Folder("alone"))).fStatus, 0);
    const sRun run = Run("sequence", 0, kFrames, Into(Folder("together")));
    ASSERT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_GT(Range("alone"), 5.0) << "frame by frame the lamp is seen";
    EXPECT_LT(Range("together"), 0.1 * Range("alone"));
}

/// Each shot is rendered as if the other were not there, to the last byte.
TEST_F(Sequence, TheCutDoesNotBleed)
{
    ASSERT_EQ(Run("sequence", 0, kFrames, Into(Folder("all"))).fStatus, 0);
    ASSERT_EQ(Run("sequence", 0, kCut, Into(Folder("apart"))).fStatus, 0);
    ASSERT_EQ(Run("sequence", kCut, kFrames, Into(Folder("apart"), {"--resume"})).fStatus, 0);
    for (int i = 0; i < kFrames; i++)
        EXPECT_TRUE(ReadAll(Output("all", i)) == ReadAll(Output("apart", i))) << i;
}

/// Two passes that know one frame at a time give the bytes of a run over all.
TEST_F(Sequence, PointsOfSeveralMachinesGiveTheSamePictures)
{
    ASSERT_EQ(Run("sequence", kFirst, kEnd, Into(Folder("all"))).fStatus, 0);
    std::vector<std::string> join = {"points", "--join", "-q", "-o", Folder("points.json")};
    for (int i = kFirst; i < kEnd; i++) {
        join.push_back(Folder(std::to_string(100 + i) + ".json"));
        ASSERT_EQ(Run("points", i, i + 1, {"-q", "-o", join.back()}).fStatus, 0);
    }
    const sRun joined = Selvane(join);
    ASSERT_EQ(joined.fStatus, 0) << joined.fErr;
    for (int i = kFirst; i < kEnd; i++)
        ASSERT_EQ(Run("tonemap", i, i + 1, Into(Folder("one"), {"--points", Folder("points.json")})).fStatus, 0);
    for (int i = kFirst; i < kEnd; i++)
        EXPECT_TRUE(ReadAll(Output("all", i)) == ReadAll(Output("one", i))) << i;
    ASSERT_EQ(Run("points", kFirst, kEnd, {"-q", "-o", Folder("direct.json")}).fStatus, 0);
    EXPECT_TRUE(ReadAll(Folder("direct.json")) == ReadAll(Folder("points.json")));
}

TEST_F(Sequence, TheLookIsThatOfThePoints)
{
    const std::vector<std::string> look = {"--preset", "dramatic", "--exposure", "0.5", "--wrap"};
    std::vector<std::string> words = {"-q", "-o", Folder("points.json")};
    words.insert(words.end(), look.begin(), look.end());
    ASSERT_EQ(Run("points", 0, 5, words).fStatus, 0);
    ASSERT_EQ(Run("sequence", 0, 5, Into(Folder("all"), look)).fStatus, 0);
    ASSERT_EQ(Run("tonemap", 3, 4,
                  {"-q", "--no-metadata", "--depth", "8", "--points", Folder("points.json"), "-o", Folder("one.png")})
                  .fStatus,
              0);
    EXPECT_TRUE(ReadAll(Folder("one.png")) == ReadAll(Output("all", 3)));
    const sRun both =
        Run("tonemap", 3, 4, {"--points", Folder("points.json"), "--preset", "flat", "-o", Folder("x.png")});
    EXPECT_EQ(both.fStatus, 2);
    EXPECT_THAT(both.fErr, HasSubstr("--points has the look of each frame"));
}

TEST_F(Sequence, AWindowOfOneIsFrameByFrame)
{
    ASSERT_EQ(Run("tonemap", kFirst, kEnd, Into(Folder("alone"))).fStatus, 0);
    ASSERT_EQ(Run("sequence", kFirst, kEnd, Into(Folder("all"), {"--window", "1"})).fStatus, 0);
    for (int i = kFirst; i < kEnd; i++)
        EXPECT_TRUE(ReadAll(Output("all", i)) == ReadAll(Output("alone", i))) << i;
}

/// The light grows faster and faster, so each window gives another mean.
TEST_F(Sequence, TheWindowIsThatOfTheCommandLine)
{
    constexpr int kCount = 9, kMiddle = 4;
    for (int i = 0; i < kCount; i++) {
        tBytes pixels = FrameAt(0);
        for (size_t at = 0; at < pixels.size(); at += 4)
            for (size_t color = 0; color < 3; color++)
                pixels[at + color] = static_cast<unsigned char>(pixels[at + color] * (64 + 2 * i * i) / 256);
        WriteAll(fFrames[static_cast<size_t>(i)], Radiance(kWidth, kHeight, pixels));
    }
    std::set<std::string> different;
    for (const std::string window : {"1", "3", "5", "25"}) {
        const std::string file = Folder("points" + window + ".json"), name = "w" + window;
        ASSERT_EQ(Run("points", 0, kCount, {"-q", "-o", file, "--window", window}).fStatus, 0);
        const tBytes points = ReadAll(file);
        EXPECT_THAT(std::string(points.begin(), points.end()), HasSubstr("\"window\": " + window + ","));
        ASSERT_EQ(Run("sequence", 0, kCount, Into(Folder(name), {"--window", window, "--depth", "16"})).fStatus, 0);
        ASSERT_EQ(
            Run("tonemap", kMiddle, kMiddle + 1, Into(Folder(name + "-points"), {"--points", file, "--depth", "16"}))
                .fStatus,
            0);
        const tBytes frame = ReadAll(Output(name, kMiddle));
        EXPECT_TRUE(frame == ReadAll(Output(name + "-points", kMiddle))) << window;
        different.emplace(frame.begin(), frame.end());
    }
    EXPECT_EQ(different.size(), 4U);
}

/// Neither the points nor the plot replace a frame, a file of settings, a joined file, an output or each other. Nothing
/// is measured before that is known.
TEST_F(Sequence, FilesOfTheRunAreNotReplaced)
{
    const std::string look = Folder("look.toml"), part = Folder("part.json"), link = Folder("link.hdr");
    WriteAll(look, std::string("exposure = 0.5\n"));
    ASSERT_EQ(Run("points", 0, 1, {"-q", "-o", part}).fStatus, 0);
    fs::create_hard_link(fFrames[1], link);
    const auto refusal = [&](const std::string& pCommand, const std::vector<std::string>& pMore) {
        const sRun run = Run(pCommand, 0, 2, pMore);
        EXPECT_EQ(run.fStatus, 2);
        EXPECT_EQ(Lines(run.fErr), 1U) << run.fErr;
        return run.fErr;
    };
    const std::string points = Folder("p.json"), out = Folder("out");
    for (const std::string& file : {fFrames[1], link, look}) {
        const tBytes before = ReadAll(file);
        const std::string words = file + ": is read in this run; write to a file of another name";
        EXPECT_THAT(refusal("points", {"--settings", look, "-o", file}), HasSubstr(words));
        EXPECT_THAT(refusal("points", {"--settings", look, "-o", points, "--plot", file}), HasSubstr(words));
        EXPECT_THAT(refusal("sequence", {"--settings", look, "--out-dir", out, "--plot", file}), HasSubstr(words));
        EXPECT_TRUE(ReadAll(file) == before);
    }
    EXPECT_THAT(refusal("points", {"-o", points, "--plot", Folder("in/../p.json")}), HasSubstr("be written twice"));
    EXPECT_THAT(refusal("sequence", {"--out-dir", out, "--plot", out + "/f101-tm.jpg"}), HasSubstr("be written twice"));
    const sRun joined = Selvane({"points", "--join", part, "-o", part});
    EXPECT_EQ(joined.fStatus, 2);
    EXPECT_THAT(joined.fErr, HasSubstr(part + ": is read in this run"));
    EXPECT_FALSE(Exists(points));
}

TEST_F(Sequence, WhatCannotBeWrittenIsSaidBeforeAnyWork)
{
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"points", "-o", Folder("none/p.json")},
          {"points", "-o", Folder("p.json"), "--plot", Folder("none/p.svg")},
          {"sequence", "--out-dir", Folder("out"), "--plot", Folder("none/p.svg")}}) {
        const sRun run = Run(more[0], 0, 2, {more.begin() + 1, more.end()});
        EXPECT_EQ(run.fStatus, 1);
        EXPECT_EQ(Lines(run.fErr), 1U) << run.fErr;
        EXPECT_THAT(run.fErr, HasSubstr("cannot be written: No such file or directory"));
    }
    EXPECT_FALSE(Exists(Folder("p.json")));
}

/// The file of a frame with bars of black above and below.
tBytes Letterboxed(int pFrame)
{
    constexpr int kBar = 10; // rows
    const tBytes bar(size_t{4} * kWidth * kBar, 0);
    tBytes pixels = bar;
    const tBytes inside = FrameAt(pFrame);
    pixels.insert(pixels.end(), inside.begin(), inside.end());
    pixels.insert(pixels.end(), bar.begin(), bar.end());
    return Radiance(kWidth, kHeight + 2 * kBar, pixels);
}

TEST_F(Sequence, BarsOfBlackDecideNothing)
{
    ASSERT_EQ(Run("points", 0, 3, {"-q", "-o", Folder("plain.json")}).fStatus, 0);
    for (int i = 0; i < 3; i++)
        WriteAll(fFrames[static_cast<size_t>(i)], Letterboxed(i));
    ASSERT_EQ(Run("points", 0, 3, {"-q", "-o", Folder("bars.json")}).fStatus, 0);
    EXPECT_TRUE(ReadAll(Folder("plain.json")) == ReadAll(Folder("bars.json")));
}

TEST_F(Sequence, AFrameThatFailsIsLeftOut)
{
    WriteAll(fFrames[2], std::string("no picture"));
    const sRun run = Run("sequence", 0, 6, {"--out-dir", Folder("all"), "--name", "{stem}.png"});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr(fFrames[2] + ": not a picture"));
    EXPECT_THAT(run.fErr, HasSubstr("5 frames measured, 0 cuts, 0 odd, 1 failed"));
    EXPECT_THAT(run.fErr, HasSubstr("1 frame could not be measured"));
    EXPECT_TRUE(Exists(Output("all", 5)));
    EXPECT_FALSE(Exists(Output("all", 2)));
}

TEST_F(Sequence, SaysWhatWasFound)
{
    const sRun run = Run("points", 0, kFrames, {"-o", Folder("points.json"), "--plot", Folder("points.svg")});
    EXPECT_EQ(run.fStatus, 0) << run.fErr;
    EXPECT_THAT(run.fErr, HasSubstr("selvane: 24 frames measured, 1 cut, 1 odd\n"));
    const tBytes bytes = ReadAll(Folder("points.svg"));
    const std::string svg(bytes.begin(), bytes.end());
    const auto count = [&](const std::string& pText) {
        size_t found = 0;
        for (size_t at = svg.find(pText); at != std::string::npos; at = svg.find(pText, at + 1))
            found++;
        return found;
    };
    EXPECT_EQ(count("<circle"), 4U * kFrames) << "four values of each frame";
    EXPECT_EQ(count("fill=\"none\" stroke=\"#"), 4U) << "the rings of the odd frame";
    EXPECT_EQ(count(">cut</text>"), 2U) << "in both panels";
    EXPECT_EQ(count("<path"), 4U);
    EXPECT_EQ(count("\nM") + count("\"M"), 8U) << "a line begins anew behind a cut";
}

TEST_F(Sequence, FilesThatAreNoPointsAreRefused)
{
    ASSERT_EQ(Run("points", 0, 2, {"-q", "-o", Folder("ab.json")}).fStatus, 0);
    ASSERT_EQ(Run("points", 1, 3, {"-q", "-o", Folder("bc.json")}).fStatus, 0);
    ASSERT_EQ(Run("points", 3, 4, {"-q", "--wrap", "-o", Folder("d.json")}).fStatus, 0);
    WriteAll(Folder("text.json"), std::string("hello"));
    WriteAll(Folder("other.json"), std::string("{\"format\": \"other\"}"));
    WriteAll(Folder("half.json"), std::string("{\"format\": \"selvane points 1\", \"window\": 3}"));
    const auto refusal = [&](const std::vector<std::string>& pFiles) {
        std::vector<std::string> words = {"points", "--join", "-o", Folder("joined.json")};
        for (const std::string& file : pFiles)
            words.push_back(Folder(file));
        const sRun run = Selvane(words);
        EXPECT_EQ(run.fStatus, 1) << run.fErr;
        EXPECT_EQ(Lines(run.fErr), 1U) << run.fErr;
        return run.fErr;
    };
    EXPECT_THAT(refusal({"ab.json", "missing.json"}), HasSubstr("missing.json: cannot be read: No such file"));
    EXPECT_THAT(refusal({"text.json"}), HasSubstr("text.json: is no file of points\n"));
    EXPECT_THAT(refusal({"other.json"}), HasSubstr("other.json: is no file of points\n"));
    EXPECT_THAT(refusal({"half.json"}), HasSubstr("key 'settings' not found"));
    EXPECT_THAT(refusal({"ab.json", "bc.json"}), HasSubstr(fFrames[1] + ": comes twice"));
    EXPECT_THAT(refusal({"ab.json", "d.json"}),
                HasSubstr(fFrames[3] + ": was measured with other settings than " + fFrames[0]));
    EXPECT_FALSE(Exists(Folder("joined.json")));
    const sRun run = Run("tonemap", 5, 6, {"--points", Folder("ab.json"), "-o", Folder("x.png")});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr(fFrames[5] + ": the points have no such frame"));
}

TEST_F(Sequence, SettingsOfPointsThatAreNoneAreRefusedByName)
{
    ASSERT_EQ(Run("points", 0, 1, {"-q", "-o", Folder("p.json")}).fStatus, 0);
    const tBytes bytes = ReadAll(Folder("p.json"));
    const std::string whole(bytes.begin(), bytes.end()), key = "\"settings\": \"";
    const size_t place = whole.find(key);
    ASSERT_NE(place, std::string::npos);
    WriteAll(Folder("bad.json"), std::string(whole).insert(place + key.size(), "brilliance = 3\\n"));
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"-o", Folder("x.png")}, {"--out-dir", Folder("x")}}) {
        std::vector<std::string> words = {"--points", Folder("bad.json")};
        words.insert(words.end(), more.begin(), more.end());
        const sRun run = Run("tonemap", 0, 1, words);
        EXPECT_EQ(run.fStatus, 1);
        EXPECT_THAT(run.fErr, HasSubstr("selvane: " + Folder("bad.json") + ": line 1: "));
    }
}

TEST_F(Sequence, FramesThatCannotBeReadTwiceAreRefused)
{
    for (const char* frame : {"-", "/dev/stdin"}) {
        const sRun run =
            Selvane({"sequence", frame, "--out-dir", Folder("all")}, [&] { ReadFrom("cat " + fFrames[0]); });
        EXPECT_EQ(run.fStatus, 2);
        EXPECT_EQ(run.fErr, "selvane: " + std::string(frame) + ": frames are read twice, so each has to be a file\n");
    }
    EXPECT_FALSE(Exists(Folder("all")));
}

/// On another machine the frames may lie in another folder: the name of the file is enough, unless two have it.
TEST_F(Sequence, FramesAreFoundByTheNameOfTheirFile)
{
    ASSERT_EQ(Run("points", 0, 2, {"-q", "-o", Folder("points.json")}).fStatus, 0);
    fs::create_directory(Folder("other"));
    fs::copy(fFrames[0], Folder("other/f100.hdr"));
    const std::vector<std::string> words = {
        "tonemap", "-q", Folder("other/f100.hdr"), "--points", Folder("points.json"), "-o", Folder("x.png")};
    EXPECT_EQ(Selvane(words).fStatus, 0);
    ASSERT_EQ(Selvane({"points", "-q", fFrames[0], Folder("other/f100.hdr"), "-o", Folder("points.json")}).fStatus, 0);
    EXPECT_EQ(Selvane(words).fStatus, 0) << "the whole path is there";
    fs::create_directory(Folder("third"));
    fs::copy(fFrames[0], Folder("third/f100.hdr"));
    const sRun run =
        Selvane({"tonemap", "-q", Folder("third/f100.hdr"), "--points", Folder("points.json"), "-o", Folder("x.png")});
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr("several frames of this name"));
}

TEST_F(Sequence, OptionsThatDoNotGoTogetherHaveStatusTwo)
{
    const auto status = [&](const std::string& pCommand, const std::vector<std::string>& pMore) {
        return Run(pCommand, 0, 2, pMore).fStatus;
    };
    EXPECT_EQ(status("sequence", {}), 2) << "no --out-dir";
    EXPECT_EQ(status("sequence", {"--out-dir", Folder("o"), "--window", "0"}), 2);
    EXPECT_EQ(status("sequence", {"--out-dir", Folder("o"), "--exact"}), 2);
    EXPECT_EQ(status("points", {}), 2) << "no --output";
    EXPECT_EQ(status("tonemap", {"--out-dir", Folder("o"), "--points", Folder("p"), "--exact"}), 2);
    EXPECT_FALSE(Exists(Folder("o")));
}

} // namespace
