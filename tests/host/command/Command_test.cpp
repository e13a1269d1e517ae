// The built command, run the way a person runs it, on pictures made on the spot.

#include "bitmap/cBitmapBGR8.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "entry/vorniklib3.h"
#include "equalizer/cColorEqRenderer.h"
#include "host/Workshop.h"
#include "picture/ProfileMatch.h"
#include "read/PictureReader.h"
#include "support/Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <vips/vips.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using namespace SelvaneTest;
using SelvaneHost::eExponentPlanes;
using SelvaneHost::StoredProfile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

constexpr int kWidth = 61;
constexpr int kHeight = 43;

class Command : public testing::Test
{
protected:
    static void SetUpTestSuite() { SelvaneHost::StartPictureLibrary(); }

    void SetUp() override
    {
        WriteAll(Hdr(), Radiance(kWidth, kHeight, ExponentPixels(kWidth, kHeight)));
        const tBytes eight = Samples8(kWidth, kHeight);
        Store(Png(), eight.data(), kWidth, kHeight, Rgb8());
    }

    std::string Hdr() const { return fFolder / "in.hdr"; }
    std::string Png() const { return fFolder / "in.png"; }
    std::string Out() const { return fFolder / "out.png"; }

    cFolder fFolder;
};

/// Expects the run to have failed in one line of words that hold pWords.
void ExpectFailure(const sRun& pRun, int pStatus, const std::string& pWords)
{
    EXPECT_EQ(pRun.fStatus, pStatus) << pRun.fErr;
    EXPECT_EQ(Lines(pRun.fErr), 1U) << pRun.fErr;
    EXPECT_THAT(pRun.fErr, StartsWith("selvane: "));
    EXPECT_THAT(pRun.fErr, HasSubstr(pWords));
}

void ExpectQuietSuccess(const sRun& pRun)
{
    EXPECT_EQ(pRun.fStatus, 0) << pRun.fErr;
    EXPECT_EQ(pRun.fErr, "");
}

/// Expects a file to say what its colours are: by the stored profile, and by its own chunk for sRGB in a PNG.
void ExpectColors(const sFound& pFound, bool pPng, Vornik::eColorSpaceID pSpace)
{
    const bool chunk = pPng && pSpace == Vornik::eColorSpace_sRGB;
    EXPECT_EQ(pFound.fSaysSrgb, chunk);
    EXPECT_EQ(pFound.fProfile, chunk ? tBytes() : StoredProfile(pSpace));
}

/// What the library's entry makes of a picture, called in this process.
struct sDirect
{
    tBytes fPixels;
    sTmSliders fSliders{};
};

sDirect Entry(const std::string& pPath, const sTmSliders& pSliders, int pDepth, int pSpace = 0, int pRequest = 0)
{
    const sPicture input = SelvaneHost::ReadPictureFile(pPath);
    sTmImageDesc image{};
    image.width = input.fWidth;
    image.height = input.fHeight;
    image.samplesPerPixel = 3;
    image.inputDepth = input.fForm;
    image.outputDepth = pDepth;
    image.inputRowSamples = image.outputRowSamples = 3 * input.fWidth;
    const sTmRunSettings run{2, 0, pRequest};
    sDirect direct;
    direct.fSliders = pSliders;
    direct.fPixels.resize(static_cast<size_t>(3 * pDepth / 8 * input.fWidth * input.fHeight));
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&image, &run, pSpace, &direct.fSliders, input.fPixels.data(), direct.fPixels.data()),
                  1);
    });
    return direct;
}

TEST_F(Command, VersionAndHelpGoToStandardOutput)
{
    const sRun version = Selvane({"--version"});
    ExpectQuietSuccess(version);
    EXPECT_EQ(version.fOut, "selvane " SELVANE_VERSION "\n");
    const sRun help = Selvane({"--help"});
    ExpectQuietSuccess(help);
    for (const char* word : {"tonemap", "stats", "equalize"})
        EXPECT_THAT(help.fOut, HasSubstr(word));
    const sRun sliders = Selvane({"tonemap", "--help"});
    ExpectQuietSuccess(sliders);
    for (const char* word :
         {"--compression", "--smoothness", "--radius", "--adaptation", "--white-clip", "--black-clip", "--wrap",
          "--color-space", "--depth", "--threads", "--output", "--crop", "--force"})
        EXPECT_THAT(sliders.fOut, HasSubstr(word));
}

TEST_F(Command, HdrBytesReachTheEntryUnchanged)
{
    const sDirect direct = Entry(Hdr(), {}, 16);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out()}));
    const sFound found = Look(Out());
    EXPECT_EQ(found.fBits, 16);
    EXPECT_EQ(found.fBands, 3);
    EXPECT_EQ(found.fWidth, kWidth);
    EXPECT_EQ(found.fHeight, kHeight);
    EXPECT_EQ(found.fPixels, direct.fPixels);
}

TEST_F(Command, EverySliderReachesTheEntry)
{
    sTmSliders neutral{};
    const tBytes plain = Entry(Hdr(), neutral, 16).fPixels;
    const std::vector<std::tuple<std::string, float sTmSliders::*, float>> cases = {
        {"--compression", &sTmSliders::compression, -37.5F}, {"--smoothness", &sTmSliders::smoothness, 7.0F},
        {"--radius", &sTmSliders::radius, -10.0F},           {"--adaptation", &sTmSliders::adaptation, 60.0F},
        {"--white-clip", &sTmSliders::whiteClip, 40.0F},     {"--black-clip", &sTmSliders::blackClip, 9.0F}};
    for (const auto& [name, field, value] : cases) {
        sTmSliders sliders{};
        sliders.*field = value;
        const tBytes expected = Entry(Hdr(), sliders, 16).fPixels;
        ASSERT_NE(expected, plain) << name << " has to show in this picture";
        ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), name, std::to_string(value)}));
        EXPECT_EQ(Look(Out()).fPixels, expected) << name;
    }
    sTmSliders wrapped{};
    wrapped.wrapSwitch = 1.0F;
    const tBytes expected = Entry(Hdr(), wrapped, 16).fPixels;
    ASSERT_NE(expected, plain);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--wrap"}));
    EXPECT_EQ(Look(Out()).fPixels, expected);
}

TEST_F(Command, TheNumberOfThreadsDoesNotShow)
{
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out()}));
    const tBytes expected = ReadAll(Out());
    for (const char* threads : {"0", "1", "2", "7", "256"}) {
        ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--threads", threads}));
        EXPECT_EQ(ReadAll(Out()), expected) << threads;
    }
}

TEST_F(Command, EveryKindGoesInAndEveryKindComesOut)
{
    const std::vector<uint16_t> sixteen = Samples16(kWidth, kHeight);
    const std::vector<float> floats = Floats(kWidth, kHeight);
    const std::vector<float> plane(floats.begin(), floats.begin() + kWidth * kHeight);
    const tBytes eight = Samples8(kWidth, kHeight);
    Store(fFolder / "16.png", sixteen.data(), kWidth, kHeight, Rgb16());
    Store(fFolder / "8.tif", eight.data(), kWidth, kHeight, Rgb8());
    Store(fFolder / "16.tif", sixteen.data(), kWidth, kHeight, Rgb16());
    Store(fFolder / "float.tif", floats.data(), kWidth, kHeight,
          {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB, {}, 1, {}});
    Store(fFolder / "8.jpg", eight.data(), kWidth, kHeight, Rgb8());
    StoreExr(fFolder / "float.exr", kWidth, kHeight, {{"R", plane}, {"G", plane}, {"B", plane}});
    const std::vector<std::pair<std::string, int>> inputs = {{"in.hdr", 16}, {"float.exr", 16}, {"float.tif", 16},
                                                             {"16.png", 16}, {"16.tif", 16},    {"in.png", 8},
                                                             {"8.tif", 8},   {"8.jpg", 8}};
    const std::vector<const char*> all = {".png", ".tif", ".tiff", ".jpg", ".jpeg", ".PNG", ".Jpg"};
    for (const auto& [name, depth] : inputs) {
        const std::vector<const char*> extensions = depth == 8         ? std::vector<const char*>{".tif"}
                                                    : name == "in.hdr" ? all
                                                                       : std::vector<const char*>{".png"};
        for (const char* extension : extensions) {
            const std::string output = fFolder / ("out" + std::string(extension));
            ExpectQuietSuccess(Selvane({"tonemap", fFolder / name, "-o", output}));
            const bool jpeg = tolower(extension[1]) == 'j';
            const sFound found = Look(output);
            EXPECT_EQ(found.fBits, jpeg ? 8 : depth) << name << extension;
            EXPECT_EQ(found.fWidth, kWidth);
            EXPECT_EQ(found.fHeight, kHeight);
            ExpectColors(found, tolower(extension[1]) == 'p', Vornik::eColorSpace_sRGB);
            if (!jpeg) {
                EXPECT_EQ(found.fPixels, Entry(fFolder / name, {}, depth).fPixels) << name << extension;
            }
        }
    }
}

TEST_F(Command, DepthIsChosenByHand)
{
    for (const std::string& input : {Hdr(), Png()}) {
        for (const int depth : {8, 16}) {
            ExpectQuietSuccess(Selvane({"tonemap", input, "-o", Out(), "--depth", std::to_string(depth)}));
            EXPECT_EQ(Look(Out()).fBits, depth);
            EXPECT_EQ(Look(Out()).fPixels, Entry(input, {}, depth).fPixels);
        }
    }
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", fFolder / "out.jpg", "--depth", "8"}));
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", fFolder / "deep.jpg", "--depth", "16"}), 2,
                  "JPEG files hold 8 bits");
    EXPECT_FALSE(Exists(fFolder / "deep.jpg"));
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--depth", "12"}), 2, "--depth");
}

TEST_F(Command, TheEmbeddedProfileOrTheOptionChoosesTheColorSpace)
{
    const char* const names[3] = {"srgb", "adobe", "prophoto"};
    const tBytes samples = Samples8(kWidth, kHeight);
    for (int space = 0; space < 3; space++) {
        const auto id = static_cast<Vornik::eColorSpaceID>(space);
        sStored how = Rgb8();
        how.fProfile = StoredProfile(id);
        Store(fFolder / "profiled.png", samples.data(), kWidth, kHeight, how);
        const tBytes expected = Entry(Png(), {}, 8, space).fPixels;
        ExpectQuietSuccess(Selvane({"tonemap", fFolder / "profiled.png", "-o", Out()}));
        EXPECT_EQ(Look(Out()).fPixels, expected);
        ExpectColors(Look(Out()), true, id);
        // The option stands above what the file says.
        const int other = (space + 1) % 3;
        ExpectQuietSuccess(Selvane({"tonemap", fFolder / "profiled.png", "-o", Out(), "--color-space", names[other]}));
        EXPECT_EQ(Look(Out()).fPixels, Entry(Png(), {}, 8, other).fPixels);
        ExpectColors(Look(Out()), true, static_cast<Vornik::eColorSpaceID>(other));
    }
    ExpectFailure(Selvane({"tonemap", Png(), "-o", Out(), "--color-space", "cmyk"}), 2, "--color-space");
}

/// Reads a PNG file with libpng alone; what it has to object.
std::vector<std::string> ObjectionsOfLibpng(const std::string& pPath)
{
    std::vector<std::string> objections;
    const auto note = [](png_structp pReader, png_const_charp pWords) {
        static_cast<std::vector<std::string>*>(png_get_error_ptr(pReader))->emplace_back(pWords);
    };
    png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, &objections, nullptr, note);
    png_infop info = png_create_info_struct(reader);
    std::FILE* const file = std::fopen(pPath.c_str(), "rb");
    png_init_io(reader, file);
    png_read_png(reader, info, PNG_TRANSFORM_IDENTITY, nullptr);
    std::fclose(file);
    png_destroy_read_struct(&reader, &info, nullptr);
    return objections;
}

TEST_F(Command, APngInSrgbSaysSoInChunksThatNobodyObjectsTo)
{
    for (const char* depth : {"8", "16"}) {
        ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--depth", depth}));
        std::vector<std::string> types;
        for (const sPngChunk& chunk : PngChunks(ReadAll(Out()))) {
            types.push_back(chunk.fType);
            if (chunk.fType == "sRGB") {
                EXPECT_EQ(chunk.fData, tBytes{0});
            } else if (chunk.fType == "gAMA") {
                EXPECT_EQ(chunk.fData, (tBytes{0, 0, 0xB1, 0x8F})); // 45455
            } else if (chunk.fType == "cHRM") { // 31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000
                EXPECT_EQ(chunk.fData,
                          (tBytes{0, 0, 0x7A, 0x26, 0, 0, 0x80, 0x84, 0, 0, 0xFA, 0,    0, 0, 0x80, 0xE8,
                                  0, 0, 0x75, 0x30, 0, 0, 0xEA, 0x60, 0, 0, 0x3A, 0x98, 0, 0, 0x17, 0x70}));
            }
        }
        types.erase(std::find(types.begin(), types.end(), "IDAT"), types.end());
        EXPECT_THAT(types, testing::IsSupersetOf({"IHDR", "sRGB", "gAMA", "cHRM"}));
        EXPECT_EQ(types.size(), std::set<std::string>(types.begin(), types.end()).size()) << "each once";
        EXPECT_THAT(ObjectionsOfLibpng(Out()), IsEmpty());
    }
    const sPicture back = SelvaneHost::ReadPictureFile(Out());
    EXPECT_EQ(back.fColorSpace, Vornik::eColorSpace_sRGB);
    EXPECT_EQ(back.fColorSpaceWarning, "");
}

TEST_F(Command, AnUnknownProfileIsAWarningUnlessTheSpaceIsChosen)
{
    sStored how = Rgb8();
    how.fProfile = StoredProfile(Vornik::eColorSpace_AdobeRGB98);
    how.fProfile[510] = 0;
    const tBytes samples = Samples8(kWidth, kHeight);
    Store(fFolder / "odd.tif", samples.data(), kWidth, kHeight, how);
    const sRun run = Selvane({"tonemap", fFolder / "odd.tif", "-o", Out()});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_EQ(Lines(run.fErr), 1U);
    EXPECT_THAT(run.fErr, StartsWith("selvane: warning: "));
    EXPECT_THAT(run.fErr, HasSubstr("none of sRGB, Adobe RGB and ProPhoto RGB"));
    ExpectColors(Look(Out()), true, Vornik::eColorSpace_sRGB);
    ExpectQuietSuccess(Selvane({"tonemap", fFolder / "odd.tif", "-o", Out(), "--color-space", "adobe"}));
}

TEST_F(Command, AlphaIsAWarning)
{
    const tBytes samples(kWidth * kHeight * 4, 90);
    Store(fFolder / "alpha.png", samples.data(), kWidth, kHeight,
          {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    const sRun run = Selvane({"tonemap", fFolder / "alpha.png", "-o", Out()});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_THAT(run.fErr, MatchesRegex("selvane: warning: .*alpha\\.png: the alpha channel was dropped\n"));
}

TEST_F(Command, SlidersOutsideTheirRangeAreAWarning)
{
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases = {
        {"--compression", {"-101", "100.5"}}, {"--smoothness", {"-11", "10.1"}}, {"--radius", {"-10.5", "12"}},
        {"--adaptation", {"-1", "101"}},      {"--white-clip", {"-0.1", "101"}}, {"--black-clip", {"-5", "100.1"}}};
    for (const auto& [name, values] : cases) {
        for (const std::string& value : values) {
            const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), name, value});
            EXPECT_EQ(run.fStatus, 0) << run.fErr;
            EXPECT_THAT(run.fErr, MatchesRegex("selvane: warning: " + name + " .* lies outside of .*\n"));
            EXPECT_TRUE(Exists(Out()));
        }
    }
    for (const char* edge : {"-100", "100"})
        ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--compression", edge}));
}

// Such numbers come out as a picture or as words, never as a crash.
TEST_F(Command, AbsurdSlidersEndInAPictureOrInWords)
{
    for (const char* name :
         {"--compression", "--smoothness", "--radius", "--adaptation", "--white-clip", "--black-clip"}) {
        for (const char* value : {"nan", "inf", "-inf", "1e30", "-1e30"}) {
            const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), name, value});
            EXPECT_TRUE(run.fStatus == 0 || run.fStatus == 1 || run.fStatus == 2) << name << value << run.fStatus;
            EXPECT_THAT(run.fErr, Not(IsEmpty()));
        }
    }
}

TEST_F(Command, StatsPrintsThePointsOfAMeasurement)
{
    sTmSliders sliders{};
    sliders.compression = 30;
    sliders.whiteClip = 20;
    sliders.blackClip = 3;
    const sDirect direct = Entry(Hdr(), sliders, 16, 0, 9);
    for (const char* threads : {"1", "3"}) {
        const sRun run = Selvane(
            {"stats", Hdr(), "--compression", "30", "--white-clip", "20", "--black-clip", "3", "--threads", threads});
        ExpectQuietSuccess(run);
        std::istringstream words(run.fOut);
        std::string black, white;
        float blackPoint = 0, whitePoint = 0;
        words >> black >> blackPoint >> white >> whitePoint;
        EXPECT_EQ(black, "black");
        EXPECT_EQ(white, "white");
        EXPECT_EQ(blackPoint, direct.fSliders.blackPoint) << "all digits are printed";
        EXPECT_EQ(whitePoint, direct.fSliders.whitePoint);
        EXPECT_EQ(Lines(run.fOut), 2U);
    }
}

TEST_F(Command, PointsOfAnEarlierRunAreUsed)
{
    sTmSliders sliders{};
    sliders.blackPoint = 0.02F;
    sliders.whitePoint = 0.9F;
    const tBytes expected = Entry(Hdr(), sliders, 16, 0, 1).fPixels;
    ASSERT_NE(expected, Entry(Hdr(), {}, 16).fPixels);
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--black-point", "0.02", "--white-point", "0.9"}));
    EXPECT_EQ(Look(Out()).fPixels, expected);
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--black-point", "0.02"}), 2, "go together");
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--black-point", "2", "--white-point", "1"}), 2,
                  "--white-point");
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--black-point", "-1", "--white-point", "0"}), 2,
                  "--white-point");
}

TEST_F(Command, ACropIsAPictureOfItsOwn)
{
    const tBytes all = Samples8(kWidth, kHeight);
    tBytes part;
    for (size_t y = 5; y < 5 + 11; y++)
        part.insert(part.end(), all.begin() + static_cast<long>((y * kWidth + 20) * 3),
                    all.begin() + static_cast<long>((y * kWidth + 37) * 3));
    Store(fFolder / "part.png", part.data(), 17, 11, Rgb8());
    ExpectQuietSuccess(Selvane({"tonemap", Png(), "-o", Out(), "--crop", "17x11+20+5"}));
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "part.png", {}, 8).fPixels);

    const tBytes pixels = ExponentPixels(kWidth, kHeight);
    tBytes planes;
    for (size_t y = 5; y < 5 + 11; y++)
        planes.insert(planes.end(), pixels.begin() + static_cast<long>((y * kWidth + 20) * 4),
                      pixels.begin() + static_cast<long>((y * kWidth + 37) * 4));
    WriteAll(fFolder / "part.hdr", Radiance(17, 11, planes));
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out(), "--crop", "17x11+20+5"}));
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "part.hdr", {}, 16).fPixels);

    for (const char* outside : {"62x1+0+0", "1x44+0+0", "10x10+52+0", "10x10+0+34", "0x1+0+0", "1x1+2147483647+0"})
        ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--crop", outside}), 1,
                      "does not lie inside the picture of 61 x 43");
    for (const char* nonsense : {"10", "10x10", "10x10+1", "10x10+1+1+1", "x10+1+1", "10x10+1+1 ", "1e3x1+0+0"})
        ExpectFailure(Selvane({"tonemap", Hdr(), "-o", Out(), "--crop", nonsense}), 2, "WIDTHxHEIGHT+LEFT+TOP");
}

TEST_F(Command, ProgressLinesAreShownOnRequestOnly)
{
    const sRun quiet = Selvane({"tonemap", Hdr(), "-o", Out(), "--depth", "8"});
    EXPECT_EQ(quiet.fErr, "");
    const sRun verbose = Selvane({"tonemap", Hdr(), "-o", Out(), "--depth", "8", "--verbose"});
    EXPECT_EQ(verbose.fStatus, 0);
    EXPECT_THAT(verbose.fErr, HasSubstr("ToneMappingPhase1 61 x 43"));
    EXPECT_THAT(verbose.fErr, HasSubstr("Freeing via FreeBitmapData"));
}

TEST_F(Command, OrientationIsBakedInAndMetadataTravels)
{
    const tBytes samples = Samples8(kWidth, kHeight);
    sStored how = Rgb8();
    how.fOrientation = 6;
    how.fXmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'></x:xmpmeta>";
    for (const char* input : {"turned.jpg", "turned.tif"}) {
        Store(fFolder / input, samples.data(), kWidth, kHeight, how);
        for (const char* output : {"out.jpg", "out.png", "out.tif"}) {
            ExpectQuietSuccess(Selvane({"tonemap", fFolder / input, "-o", fFolder / output}));
            const sFound found = Look(fFolder / output);
            EXPECT_EQ(found.fWidth, kHeight) << input << output;
            EXPECT_EQ(found.fHeight, kWidth) << input << output;
            EXPECT_EQ(found.fOrientation, 1) << input << output;
            EXPECT_EQ(found.fXmp, how.fXmp) << input << output;
        }
    }
}

TEST_F(Command, NamesWithBlanksAndOtherLettersWork)
{
    for (const char* name : {"two words", "größe-日本語", "a[b=1]", "-dash", "100% .x", "quo'te\"s"}) {
        const std::string input = fFolder / (std::string(name) + ".hdr");
        const std::string output = fFolder / (std::string(name) + ".png");
        std::filesystem::copy_file(Hdr(), input);
        ExpectQuietSuccess(Selvane({"tonemap", input, "-o", output}));
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

TEST_F(Command, AWrongCommandLineHasStatusTwo)
{
    const std::string out = Out();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "subcommand"},
        {{"develop"}, "develop"},
        {{"tonemap"}, "required"},
        {{"tonemap", Hdr()}, "--output"},
        {{"tonemap", "-o", out}, "INPUT"},
        {{"tonemap", Hdr(), "-o", out, "--sharpness", "1"}, "--sharpness"},
        {{"tonemap", Hdr(), "-o", out, "--compression", "much"}, "--compression"},
        {{"tonemap", Hdr(), "-o", out, "--compression"}, "--compression"},
        {{"tonemap", Hdr(), "-o", out, "--threads", "-1"}, "--threads"},
        {{"tonemap", Hdr(), "-o", out, "--threads", "257"}, "--threads"},
        {{"tonemap", Hdr(), Png(), "-o", out}, "in.png"},
        {{"tonemap", Hdr(), "-o", fFolder / "out.gif"}, ".png"},
        {{"tonemap", Hdr(), "-o", fFolder / "out"}, ".png"},
        {{"tonemap", Hdr(), "-o", fFolder / "a.png/out"}, ".png"},
        {{"equalize", Png(), "-o", out, "--hue-shift", "0:2"}, "--hue-shift"},
        {{"equalize", Png(), "-o", out, "--saturation", "x"}, "--saturation"},
        {{"equalize", Png(), "-o", out, "--lightness", "0.1:0.5,0.1:0.6"}, "--lightness"},
    };
    for (const auto& [words, expected] : cases)
        ExpectFailure(Selvane(words), 2, expected);
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png"));
}

TEST_F(Command, WhatCannotBeReadHasStatusOneAndLeavesNothing)
{
    const tBytes cmyk(4 * 16, 100);
    Store(fFolder / "cmyk.tif", cmyk.data(), 4, 4, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK, {}, 1, {}});
    WriteAll(fFolder / "xyz.hdr", std::string("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n...."));
    WriteAll(fFolder / "text.png", std::string("hello"));
    WriteAll(fFolder / "empty.exr", std::string());
    const tBytes png = ReadAll(Png());
    WriteAll(fFolder / "cut.png", tBytes(png.begin(), png.begin() + static_cast<long>(png.size() / 2)));
    const std::vector<std::string> before = fFolder.Names();
    const std::vector<std::pair<std::string, std::string>> cases = {{"missing.hdr", "No such file or directory"},
                                                                    {".", "Is a directory"},
                                                                    {"cmyk.tif", "CMYK"},
                                                                    {"xyz.hdr", "XYZ"},
                                                                    {"text.png", "not a picture"},
                                                                    {"empty.exr", "empty"},
                                                                    {"cut.png", "damaged or cut short"},
                                                                    {"in.png/x", "Not a directory"}};
    for (const auto& [name, words] : cases) {
        const sRun run = Selvane({"tonemap", fFolder / name, "-o", Out()});
        ExpectFailure(run, 1, words);
        EXPECT_THAT(run.fErr, HasSubstr(name)) << "the line names the file";
        ExpectFailure(Selvane({"stats", fFolder / name}), 1, words);
        ExpectFailure(Selvane({"equalize", fFolder / name, "-o", Out()}), 1, words);
    }
    EXPECT_EQ(fFolder.Names(), before);
}

TEST_F(Command, WhatCannotBeWrittenHasStatusOneAndKeepsTheOldFile)
{
    WriteAll(Out(), std::string("old"));
    std::filesystem::create_directory(fFolder / "folder.png");
    const std::vector<std::string> before = fFolder.Names();
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", fFolder / "missing/out.png"}), 1, "No such file or directory");
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", fFolder / "in.png/out.png"}), 1, "Not a directory");
    ExpectFailure(Selvane({"tonemap", Hdr(), "-o", fFolder / "folder.png"}), 1, "Is a directory");
    // A file may only grow to 2000 bytes: as good as a full disk.
    const sRun full = Selvane({"tonemap", Hdr(), "-o", Out()}, [] {
        const rlimit limit{2000, 2000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    ExpectFailure(full, 1, "out.png: cannot be written: File too large");
    EXPECT_EQ(fFolder.Names(), before);
    EXPECT_EQ(ReadAll(Out()), (tBytes{'o', 'l', 'd'}));
}

/// How a run with a file system of its own ended.
struct sMounted
{
    std::optional<int> fStatus; ///< none where this user may not mount
    std::string fText;          ///< all output of the run, behind it the names in the folder
};

/// Runs the command on pIn with the folder pAt for its output, in which a new file system is mounted for this run only.
/// @param pOptions of the mount
/// @param pBefore  shell command after the mount
sMounted OnAFileSystem(const std::string& pAt, const std::string& pIn, const char* pOptions, const std::string& pBefore)
{
    const std::string script = "mount -t tmpfs -o " + std::string(pOptions) + " none '" + pAt + "' || exit 77; " +
                               pBefore + "; '" SELVANE_BINARY "' tonemap '" + pIn + "' -o '" + pAt +
                               "/out.png'; status=\\$?; ls -A '" + pAt + "'; exit \\$status";
    const std::string line = "unshare -rm sh -c \"" + script + "\" 2>&1";
    std::FILE* const pipe = ::popen(line.c_str(), "r");
    if (pipe == nullptr) return {};
    char text[1024] = {};
    const size_t count = std::fread(text, 1, sizeof text - 1, pipe);
    const int status = ::pclose(pipe);
    sMounted mounted{std::nullopt, std::string(text, count)};
    if (WIFEXITED(status) && WEXITSTATUS(status) != 77) mounted.fStatus = WEXITSTATUS(status);
    return mounted;
}

TEST_F(Command, AFullDiskIsReported)
{
    if (std::system("unshare -rm true 2>/dev/null") != 0) GTEST_SKIP() << "no file system of its own";
    const cFolder at;
    const sMounted run =
        OnAFileSystem(at.Path(), Hdr(), "size=64k", "head -c 60000 /dev/zero > '" + at.Path() + "/filler'");
    if (!run.fStatus) GTEST_SKIP() << "no file system of its own: " << run.fText;
    EXPECT_EQ(*run.fStatus, 1);
    EXPECT_THAT(run.fText, HasSubstr("out.png: cannot be written: No space left on device"));
    EXPECT_THAT(run.fText, testing::EndsWith("\nfiller\n")) << "nothing is left";
}

TEST_F(Command, AReadOnlyFolderIsReported)
{
    if (std::system("unshare -rm true 2>/dev/null") != 0) GTEST_SKIP() << "no file system of its own";
    const cFolder at;
    const sMounted run = OnAFileSystem(at.Path(), Hdr(), "ro", ":");
    if (!run.fStatus) GTEST_SKIP() << "no file system of its own: " << run.fText;
    EXPECT_EQ(*run.fStatus, 1);
    EXPECT_THAT(run.fText, testing::EndsWith("out.png: cannot be written: Read-only file system\n"))
        << "nothing is left";
}

TEST_F(Command, StandardOutputThatTakesNothingIsAFailure)
{
    const auto toFull = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    ExpectFailure(Selvane({"stats", Hdr()}, toFull), 1, "standard output cannot be written: No space left on device");
}

TEST_F(Command, ClosedStreamsDoNoHarm)
{
    ExpectQuietSuccess(Selvane({"tonemap", Hdr(), "-o", Out()}));
    const tBytes expected = ReadAll(Out());
    for (const std::vector<int>& closed : std::vector<std::vector<int>>{{0}, {1}, {2}, {0, 1, 2}}) {
        const sRun run = Selvane({"tonemap", Hdr(), "-o", Out(), "--verbose"}, [&] {
            for (const int stream : closed)
                ::close(stream);
        });
        EXPECT_EQ(run.fStatus, 0);
        EXPECT_EQ(ReadAll(Out()), expected);
    }
}

TEST_F(Command, AnOutputThatIsTheInputIsRefusedByWhateverName)
{
    std::filesystem::create_symlink("in.png", fFolder / "symbolic.png");
    std::filesystem::create_hard_link(Png(), fFolder / "hard.png");
    const tBytes before = ReadAll(Png());
    const std::vector<std::string> names = {Png(), fFolder / "./in.png", fFolder / "symbolic.png",
                                            fFolder / "hard.png"};
    for (const char* command : {"tonemap", "equalize"}) {
        for (const std::string& output : names) {
            ExpectFailure(Selvane({command, Png(), "-o", output}), 2,
                          output + ": is the input itself; --force replaces it");
            ExpectFailure(Selvane({command, output, "-o", Png()}), 2, "is the input itself");
        }
        const auto fromInput = [&] { ::dup2(::open(Png().c_str(), O_RDONLY), STDIN_FILENO); };
        ExpectFailure(Selvane({command, "/dev/stdin", "-o", Png()}, fromInput), 2, "is the input itself");
    }
    EXPECT_EQ(ReadAll(Png()), before);
    EXPECT_THAT(fFolder.Names(), ElementsAre("hard.png", "in.hdr", "in.png", "symbolic.png"));
}

TEST_F(Command, ForceReplacesTheInput)
{
    const tBytes before = ReadAll(Png());
    const tBytes expected = Entry(Png(), {}, 8).fPixels;
    std::filesystem::create_hard_link(Png(), fFolder / "hard.png");
    ExpectQuietSuccess(Selvane({"tonemap", Png(), "-o", Png(), "--force"}));
    EXPECT_EQ(Look(Png()).fPixels, expected);
    EXPECT_EQ(ReadAll(fFolder / "hard.png"), before) << "the other name of a hard link";
    std::filesystem::create_symlink("in.png", fFolder / "symbolic.png");
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", fFolder / "symbolic.png", "--force", "--depth", "16"}));
    EXPECT_TRUE(std::filesystem::is_symlink(fFolder / "symbolic.png"));
    EXPECT_EQ(Look(Png()).fBits, 16);
}

// Killed at any moment, the name holds the old file or the new one.
TEST_F(Command, AKilledRunLeavesNoHalfFile)
{
    constexpr int kSide = 700;
    WriteAll(fFolder / "large.hdr", Radiance(kSide, kSide, ExponentPixels(kSide, kSide)));
    WriteAll(Out(), std::string("old"));
    ExpectQuietSuccess(Selvane({"tonemap", fFolder / "large.hdr", "-o", fFolder / "whole.png"}));
    const tBytes whole = ReadAll(fFolder / "whole.png");
    for (int round = 0; round < 8; round++) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::execl(SELVANE_BINARY, "selvane", "tonemap", (fFolder / "large.hdr").c_str(), "-o", Out().c_str(),
                    nullptr);
            ::_exit(127);
        }
        ::usleep(static_cast<useconds_t>(40000 * round));
        ::kill(child, round % 2 == 0 ? SIGKILL : SIGTERM);
        int status = 0;
        ::waitpid(child, &status, 0);
        const tBytes left = ReadAll(Out());
        EXPECT_TRUE(left == whole || left == (tBytes{'o', 'l', 'd'})) << left.size();
        if (WIFEXITED(status)) {
            EXPECT_EQ(WEXITSTATUS(status), 0);
            EXPECT_EQ(left, whole);
        }
    }
}

#ifdef SELVANE_CRASHES // no sanitizer, which would take more room and want to be loaded first
/// Gives the child of Selvane so many bytes of addresses, no file of its memory when it is ended, and an end to
/// waiting.
void LimitMemory(rlim_t pBytes)
{
    const rlimit limit{pBytes, pBytes};
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::setrlimit(RLIMIT_AS, &limit);
    ::alarm(20);
}

/// The header of an OpenEXR file up to an attribute of a type that nobody knows, which claims two gigabytes.
tBytes ExrThatClaims(const std::string& pBefore)
{
    const std::string start("\x76\x2F\x31\x01\x02\0\0\0", 8);
    const std::string claim("note\0strange\0\xF0\xFF\xFF\x7F", 17);
    const std::string whole = start + pBefore + claim;
    tBytes file(whole.begin(), whole.end());
    file.resize(1000);
    return file;
}

TEST_F(Command, AnExrHeaderOfClaimsAloneIsRefusedBeforeItTakesMemory)
{
    // A number said to be so long that the claim lies within: the OpenEXR library reads the four bytes of the number.
    const std::string longNumber("number\0float\0\x20\0\0\0\0\0\0\0", 21);
    for (const std::string& before : {std::string(), longNumber}) {
        WriteAll(fFolder / "claims.exr", ExrThatClaims(before));
        const sRun run = Selvane({"stats", fFolder / "claims.exr"}, [] { LimitMemory(1U << 30); }); // half of that
        ExpectFailure(run, 1, "claims.exr: the picture is damaged or cut short");
    }
}

/// The memory from which on the command starts, to a megabyte.
rlim_t LeastMemory()
{
    rlim_t bytes = rlim_t{32} << 20;
    const auto starts = [&] { return Selvane({"--version"}, [&] { LimitMemory(bytes); }).fStatus == 0; };
    while (!starts())
        bytes += rlim_t{1} << 20;
    return bytes;
}

// Most of what is missing is said in words. Where GLib, below the picture library, gets no memory for something small,
// it ends the process, now and then by running out of its stack, or waits for ever. Whatever comes, the name holds the
// old picture or the whole new one.
TEST_F(Command, AShortageOfMemoryLeavesNoHalfFile)
{
    constexpr int kSide = 700;
    const tBytes samples = Samples8(kSide, kSide);
    Store(fFolder / "large.png", samples.data(), kSide, kSide, Rgb8());
    ExpectQuietSuccess(Selvane({"tonemap", fFolder / "large.png", "-o", fFolder / "whole.png"}));
    const tBytes whole = ReadAll(fFolder / "whole.png");
    const rlim_t least = LeastMemory();
    int refused = 0, done = 0;
    for (rlim_t more = 0; more < 400 && done < 3; more++) {
        WriteAll(Out(), std::string("old"));
        const sRun run = Selvane({"tonemap", fFolder / "large.png", "-o", Out(), "--threads", "1"},
                                 [&] { LimitMemory(least + (more << 20)); });
        EXPECT_THAT(run.fStatus, testing::AnyOf(0, 1, 128 + SIGTRAP, 128 + SIGABRT, 128 + SIGSEGV, 128 + SIGALRM))
            << run.fErr;
        EXPECT_EQ(ReadAll(Out()), run.fStatus == 0 ? whole : (tBytes{'o', 'l', 'd'})) << run.fErr;
        ASSERT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "large.png", "out.png", "whole.png"));
        refused += run.fStatus == 1;
        done += run.fStatus == 0;
    }
    EXPECT_GT(refused, 0);
    EXPECT_GT(done, 0);
}

/// Runs the command with a crash in the place of one function of the libraries that it calls.
/// @param pAtStart what the command finds set for the signal: SIG_DFL, or SIG_IGN as under nohup
sRun Crashing(const char* pFunction, int pSignal, const std::vector<std::string>& pWords,
              void (*pAtStart)(int) = SIG_DFL)
{
    return Selvane(pWords, [&] {
        ::signal(pSignal, pAtStart);
        const rlimit noCore{0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::setenv("SELVANE_CRASH", std::to_string(pSignal).c_str(), 1);
        ::setenv("LD_PRELOAD", (std::string(SELVANE_CRASHES) + pFunction + ".so").c_str(), 1);
    });
}

// Wherever a library crashes, in reading, in encoding or while the new file is half written, the run ends by that
// signal, the name holds what it held, and nothing lies beside it.
TEST_F(Command, ACrashInALibraryLeavesNoHalfFileAndNoSuccess)
{
    const std::string jpeg = fFolder / "out.jpg";
    WriteAll(jpeg, std::string("old"));
    for (const char* function : {"vips_pngload_buffer", "vips_jpegsave_buffer", "fsync"}) {
        for (const int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) {
            const sRun run = Crashing(function, signal, {"tonemap", Png(), "-o", jpeg});
            EXPECT_EQ(run.fStatus, 128 + signal) << function << ": " << run.fErr;
            EXPECT_EQ(ReadAll(jpeg), (tBytes{'o', 'l', 'd'})) << function;
            EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.jpg")) << function;
        }
    }
    ExpectQuietSuccess(Selvane({"tonemap", Png(), "-o", jpeg}));
}

/// Every signal whose default action ends the process ("Term" and "Core" in signal(7)) and that can be caught.
std::vector<int> EndingSignals()
{
    std::vector<int> signals = {SIGHUP,    SIGINT,  SIGQUIT,   SIGILL,  SIGTRAP, SIGABRT, SIGBUS,
                                SIGFPE,    SIGUSR1, SIGSEGV,   SIGUSR2, SIGPIPE, SIGALRM, SIGTERM,
                                SIGSTKFLT, SIGXCPU, SIGVTALRM, SIGPROF, SIGIO,   SIGPWR,  SIGSYS};
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; signal++)
        signals.push_back(signal);
    return signals;
}

// The signal comes when the new file is written and not yet renamed.
TEST_F(Command, EverySignalThatEndsTheRunRemovesTheUnfinishedFile)
{
    WriteAll(Out(), std::string("old"));
    for (const int signal : EndingSignals()) {
        const sRun run = Crashing("fsync", signal, {"tonemap", Png(), "-o", Out()});
        EXPECT_EQ(run.fStatus, 128 + signal) << run.fErr;
        EXPECT_EQ(ReadAll(Out()), (tBytes{'o', 'l', 'd'})) << signal;
        ASSERT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png", "out.png")) << signal;
    }
}

// Those that the C library lets nobody handle, and those that were ignored at the start, as nohup does.
TEST_F(Command, SignalsThatAreIgnoredDoNotStopTheRun)
{
    for (const int signal : {32, 33}) {
        ExpectQuietSuccess(Crashing("fsync", signal, {"tonemap", Png(), "-o", Out()}));
        EXPECT_GT(Look(Out()).fWidth, 0) << signal;
        std::filesystem::remove(Out());
    }
    for (const int signal : {SIGHUP, SIGUSR1}) {
        ExpectQuietSuccess(Crashing("fsync", signal, {"tonemap", Png(), "-o", Out()}, SIG_IGN));
        EXPECT_GT(Look(Out()).fWidth, 0) << signal;
        std::filesystem::remove(Out());
    }
    EXPECT_THAT(fFolder.Names(), ElementsAre("in.hdr", "in.png"));
}
#endif

// Every run ends with a whole picture or with one line of words and nothing written. SELVANE_LONG: a thousand of each.
TEST_F(Command, BrokenFilesEndInAPictureOrInWords)
{
    const cFolder kinds;
    const int rounds = IsLong() ? 1000 : 8;
    std::mt19937 random(23);
    int refused = 0;
    for (const auto& [name, whole] : OneOfEachKind(kinds)) {
        for (int round = 0; round < rounds; round++) {
            WriteAll(fFolder / "broken", Broken(whole, random));
            std::filesystem::remove(Out());
            const sRun run = Selvane({"tonemap", fFolder / "broken", "-o", Out()});
            if (run.fStatus == 0) {
                EXPECT_GT(Look(Out()).fWidth, 0) << name;
            } else {
                refused++;
                EXPECT_EQ(run.fStatus, 1) << name << ", round " << round << ": " << run.fErr;
                EXPECT_THAT(run.fErr, testing::EndsWith("\n")) << name;
                EXPECT_THAT(run.fErr, HasSubstr("selvane: ")) << name;
                EXPECT_FALSE(Exists(Out())) << name;
            }
        }
    }
    EXPECT_GT(refused, rounds) << "most of what is broken shows";
    EXPECT_THAT(fFolder.Names(), testing::IsSubsetOf({"broken", "in.hdr", "in.png", "out.png"}));
}

// 12000 x 8400 pixels; some 5.4 GB of memory, so in the long form only.
TEST_F(Command, AHundredMegapixelsArePictureEnough)
{
    if (!IsLong()) GTEST_SKIP() << "set SELVANE_LONG";
    constexpr int kTilesAcross = 200;
    constexpr int kTilesDown = 200;
    constexpr int kTileWidth = 60;
    constexpr int kTileHeight = 42;
    const tBytes tile = ExponentPixels(kTileWidth, kTileHeight);
    tBytes pixels;
    pixels.reserve(size_t{4} * kTileWidth * kTilesAcross * kTileHeight * kTilesDown);
    for (int y = 0; y < kTileHeight * kTilesDown; y++)
        for (int x = 0; x < kTilesAcross; x++) {
            const auto row = tile.begin() + static_cast<long>(4 * kTileWidth) * (y % kTileHeight);
            pixels.insert(pixels.end(), row, row + 4L * kTileWidth);
        }
    WriteAll(fFolder / "large.hdr", Radiance(kTileWidth * kTilesAcross, kTileHeight * kTilesDown, pixels));
    ExpectQuietSuccess(Selvane({"tonemap", fFolder / "large.hdr", "-o", fFolder / "large.tif"}));
    const sFound found = Look(fFolder / "large.tif");
    EXPECT_EQ(found.fWidth, kTileWidth * kTilesAcross);
    EXPECT_EQ(found.fHeight, kTileHeight * kTilesDown);
    EXPECT_EQ(found.fBits, 16);
    EXPECT_EQ(found.fPixels.size(), size_t{6} * kTileWidth * kTilesAcross * kTileHeight * kTilesDown);
    const auto [least, most] = std::minmax_element(found.fPixels.begin(), found.fPixels.end());
    EXPECT_LT(*least, *most) << "not one flat colour";
}

TEST_F(Command, EqualizeGivesWhatTheRendererGives)
{
    const tBytes samples = Samples8(kWidth, kHeight);
    tBytes expected(samples.size());
    CaptureStderr([&] {
        Vornik::cBitmapBGR8 from(kWidth, kHeight, Vornik::eColorSpace_sRGB);
        Vornik::cBitmapBGR8 to(kWidth, kHeight, Vornik::eColorSpace_sRGB);
        for (size_t i = 0; i < samples.size(); i++)
            from.fData[i / (3 * kWidth) * static_cast<size_t>(from.fStride) + i % (3 * kWidth)] =
                samples[i / 3 * 3 + 2 - i % 3];
        const auto curve = [](Vornik::cHermiteSpline& pCurve, float pPeak) {
            Vornik::sControlPoint points[3] = {};
            points[0].fPoint = {0.0F, 0.5F};
            points[0].fNextTangent = {0.5F, 0.0F};
            points[1].fPoint = {0.5F, pPeak};
            points[1].fPreviousTangent = points[1].fNextTangent = {0.5F, 0.0F};
            points[2].fPoint = {1.0F, 0.5F};
            points[2].fPreviousTangent = {0.5F, 0.0F};
            pCurve.SetControlPoints(Vornik::eSplineManualTangents, 3, points);
        };
        Vornik::cHermiteSpline hue, saturation, lightness;
        curve(hue, 0.75F);
        curve(saturation, 0.25F);
        curve(lightness, 0.625F);
        Vornik::cColorEqRenderer renderer;
        renderer.SetInput(&from);
        renderer.SetOutput(&to);
        renderer.SetHueCurves(&hue, &saturation, &lightness);
        renderer.Render();
        for (size_t i = 0; i < samples.size(); i++)
            expected[i] = to.fData[i / (3 * kWidth) * static_cast<size_t>(to.fStride) + i / 3 % kWidth * 3 + 2 - i % 3];
    });
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out(), "--hue-shift", "0:0.5,0.5:0.75,1:0.5", "--saturation",
                                "0:0.5,0.5:0.25,1:0.5", "--lightness", "0:0.5,0.5:0.625,1:0.5"}));
    EXPECT_EQ(Look(Out()).fPixels, expected);
}

TEST_F(Command, NeutralCurvesChangeNextToNothing)
{
    const std::vector<uint16_t> deep = Samples16(kWidth, kHeight);
    Store(fFolder / "deep.tif", deep.data(), kWidth, kHeight, Rgb16());
    for (const std::string& input : {Png(), fFolder / "deep.tif"}) {
        ExpectQuietSuccess(Selvane({"equalize", input, "-o", Out()}));
        const sFound before = Look(input);
        const sFound after = Look(Out());
        ASSERT_EQ(after.fBits, before.fBits);
        int largest = 0;
        const size_t step = before.fBits == 8 ? 1 : 2;
        for (size_t i = step - 1; i < before.fPixels.size(); i += step) // the high bytes of 16 bits
            largest = std::max(largest, std::abs(before.fPixels[i] - after.fPixels[i]));
        EXPECT_LE(largest, 2) << input; // two transfer tables and the 16-bit hue
    }
}

TEST_F(Command, EqualizeTakesDepthAndSpaceLikeTonemap)
{
    ExpectQuietSuccess(Selvane(
        {"equalize", Png(), "-o", Out(), "--depth", "16", "--color-space", "prophoto", "--saturation", "0.3:0.9"}));
    EXPECT_EQ(Look(Out()).fBits, 16);
    EXPECT_EQ(Look(Out()).fProfile, StoredProfile(Vornik::eColorSpace_ProPhotoRGB));
    const sRun verbose = Selvane({"equalize", Png(), "-o", Out(), "--verbose"});
    EXPECT_THAT(verbose.fErr, HasSubstr("Freeing via FreeBitmapData"));
}

TEST_F(Command, EqualizeRefusesPicturesThatAreNotFinished)
{
    ExpectFailure(Selvane({"equalize", Hdr(), "-o", Out()}), 1, "tone-map it first");
}

/// Lines that a shell command prints.
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

TEST_F(Command, ShowsTheLibraryItsWorkSplitterAndNothingElseOfItsOwn)
{
    const std::vector<std::string> shown = LinesOf("nm -D --defined-only '" SELVANE_BINARY "'");
    EXPECT_THAT(shown, testing::Contains(HasSubstr(" T DivideWork")));
    EXPECT_THAT(shown, Not(testing::Contains(HasSubstr("SelvaneHost"))));
}

// What lies beside a picture is data, whatever its name.
TEST_F(Command, LoadsNoLibraryFromTheCurrentFolder)
{
    const std::vector<std::string> needed =
        LinesOf("readelf -dW '" SELVANE_BINARY "' | sed -nE 's/.*\\(NEEDED\\).*\\[(.*)\\]$/\\1/p'");
    ASSERT_THAT(needed, testing::Contains(StartsWith("libOpenEXRCore")));
    for (const std::string& name : needed)
        WriteAll(fFolder / name, "no library");
    ExpectQuietSuccess(Selvane({"stats", Hdr()}, [&] { ASSERT_EQ(::chdir(fFolder.Path().c_str()), 0); }));
}

TEST_F(Command, OnePixelIsAPicture)
{
    WriteAll(fFolder / "one.hdr", Radiance(1, 1, {200, 100, 50, 130}));
    const sRun run = Selvane({"tonemap", fFolder / "one.hdr", "-o", Out()});
    ExpectQuietSuccess(run);
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "one.hdr", {}, 16).fPixels);
}

} // namespace
