// Pictures through tonemap and stats.

#include "host/command/CommandTest.h"
#include "picture/Color.h"
#include "picture/Sliders.h"
#include "read/PictureReader.h"

#include <png.h>
#include <vips/vips.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <sstream>

namespace
{

using namespace SelvaneTest;
using SelvaneHost::StoredProfile;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// Expects the colour chunks or the profile of a space in an output file: chunk sRGB for sRGB in a PNG file, and the
/// stored profile otherwise.
void ExpectColors(const sFound& pFound, bool pPng, int pSpace)
{
    const bool chunk = pPng && pSpace == SELVANE_SRGB;
    EXPECT_EQ(pFound.fSaysSrgb, chunk);
    EXPECT_EQ(pFound.fProfile, chunk ? tBytes() : StoredProfile(pSpace));
}

TEST_F(Command, HdrBytesReachTheEntryUnchanged)
{
    const sDirect direct = Entry(Hdr(), {}, 16);
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out()}));
    const sFound found = Look(Out());
    EXPECT_EQ(found.fBits, 16);
    EXPECT_EQ(found.fBands, 3);
    EXPECT_EQ(found.fWidth, kWidth);
    EXPECT_EQ(found.fHeight, kHeight);
    EXPECT_EQ(found.fPixels, direct.fPixels);
}

/// A slider, a value that shows in the picture in.hdr, and values outside of its range.
struct sSliderCase
{
    std::string fOption;
    float sTmSliders::*fMember;
    float fShows;
    std::vector<std::string> fOutside;
};

const std::vector<sSliderCase> kSliderCases = {
    {"--compression", &sTmSliders::compression, -37.5F, {"-101", "100.5"}},
    {"--smoothness", &sTmSliders::smoothness, 7.0F, {"-11", "10.1"}},
    {"--radius", &sTmSliders::radius, -10.0F, {"-10.5", "12"}},
    {"--adaptation", &sTmSliders::adaptation, 60.0F, {"-1", "101"}},
    {"--white-clip", &sTmSliders::whiteClip, 40.0F, {"-0.1", "101"}},
    {"--black-clip", &sTmSliders::blackClip, 9.0F, {"-5", "100.1"}},
};

TEST_F(Command, EverySliderHasACase)
{
    std::vector<std::string> sliders, cases;
    for (const SelvaneHost::sSlider& slider : SelvaneHost::kSliders)
        sliders.emplace_back(slider.fOption);
    for (const sSliderCase& slider : kSliderCases)
        cases.push_back(slider.fOption);
    EXPECT_EQ(sliders, cases);
}

TEST_F(Command, EverySliderReachesTheEntry)
{
    const tBytes plain = Entry(Hdr(), {}, 16).fPixels;
    for (const sSliderCase& slider : kSliderCases) {
        sTmSliders sliders{};
        sliders.*slider.fMember = slider.fShows;
        const tBytes expected = Entry(Hdr(), sliders, 16).fPixels;
        ASSERT_NE(expected, plain) << slider.fOption << " has to show in this picture";
        ExpectQuietSuccess(
            Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), slider.fOption, std::to_string(slider.fShows)}));
        EXPECT_EQ(Look(Out()).fPixels, expected) << slider.fOption;
    }
}

TEST_F(Command, TheWrapSwitchReachesTheEntry)
{
    sTmSliders wrapped{};
    wrapped.wrapSwitch = 1.0F;
    const tBytes expected = Entry(Hdr(), wrapped, 16).fPixels;
    ASSERT_NE(expected, Entry(Hdr(), {}, 16).fPixels);
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--wrap"}));
    EXPECT_EQ(Look(Out()).fPixels, expected);
}

TEST_F(Command, TheNumberOfThreadsDoesNotShow)
{
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out()}));
    const tBytes expected = ReadAll(Out());
    for (const char* threads : {"0", "1", "2", "7", "256"}) {
        ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--threads", threads}));
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
            ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / name, "-o", output}));
            const bool jpeg = tolower(extension[1]) == 'j';
            const sFound found = Look(output);
            EXPECT_EQ(found.fBits, jpeg ? 8 : depth) << name << extension;
            EXPECT_EQ(found.fWidth, kWidth);
            EXPECT_EQ(found.fHeight, kHeight);
            ExpectColors(found, tolower(extension[1]) == 'p', SELVANE_SRGB);
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
            ExpectQuietSuccess(Selvane({"tonemap", "--exact", input, "-o", Out(), "--depth", std::to_string(depth)}));
            EXPECT_EQ(Look(Out()).fBits, depth);
            EXPECT_EQ(Look(Out()).fPixels, Entry(input, {}, depth).fPixels);
        }
    }
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "out.jpg", "--depth", "8"}));
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", fFolder / "deep.jpg", "--depth", "16"}), 2,
                  "JPEG files hold 8 bits");
    EXPECT_FALSE(Exists(fFolder / "deep.jpg"));
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--depth", "12"}), 2,
                  "PNG files hold 8 or 16 bits a sample, not 12");
}

TEST_F(Command, SlidersOutsideTheirRangeAreRefused)
{
    for (const sSliderCase& slider : kSliderCases) {
        std::vector<std::string> values = slider.fOutside;
        values.insert(values.end(), {"nan", "inf", "-inf", "1e30", "-1e30"});
        const char* const ways[] = {"--exact", "--manual", "--quiet"};
        for (size_t i = 0; i < values.size(); i++)
            ExpectFailure(Selvane({"tonemap", ways[i % 3], Hdr(), "-o", Out(), slider.fOption, values[i]}), 2,
                          slider.fOption);
    }
    EXPECT_FALSE(Exists(Out()));
    for (const char* edge : {"-100", "100"})
        ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--compression", edge}));
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
    ExpectQuietSuccess(
        Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--black-point", "0.02", "--white-point", "0.9"}));
    EXPECT_EQ(Look(Out()).fPixels, expected);
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--black-point", "0.02"}), 2, "go together");
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--black-point", "2", "--white-point", "1"}), 2,
                  "--white-point");
    ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--black-point", "-1", "--white-point", "0"}), 2,
                  "--black-point");
}

TEST_F(Command, ACropIsAPictureOfItsOwn)
{
    const tBytes all = Samples8(kWidth, kHeight);
    tBytes part;
    for (size_t y = 5; y < 5 + 11; y++)
        part.insert(part.end(), all.begin() + static_cast<long>((y * kWidth + 20) * 3),
                    all.begin() + static_cast<long>((y * kWidth + 37) * 3));
    Store(fFolder / "part.png", part.data(), 17, 11, Rgb8());
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Png(), "-o", Out(), "--crop", "17x11+20+5"}));
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "part.png", {}, 8).fPixels);

    const tBytes pixels = ExponentPixels(kWidth, kHeight);
    tBytes planes;
    for (size_t y = 5; y < 5 + 11; y++)
        planes.insert(planes.end(), pixels.begin() + static_cast<long>((y * kWidth + 20) * 4),
                      pixels.begin() + static_cast<long>((y * kWidth + 37) * 4));
    WriteAll(fFolder / "part.hdr", Radiance(17, 11, planes));
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--crop", "17x11+20+5"}));
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "part.hdr", {}, 16).fPixels);

    for (const char* outside : {"62x1+0+0", "1x44+0+0", "10x10+52+0", "10x10+0+34", "0x1+0+0", "1x1+2147483647+0"})
        ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--crop", outside}), 1,
                      "does not lie inside the picture of 61 x 43");
    for (const char* nonsense : {"10", "10x10", "10x10+1", "10x10+1+1+1", "x10+1+1", "10x10+1+1 ", "1e3x1+0+0"})
        ExpectFailure(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--crop", nonsense}), 2,
                      "WIDTHxHEIGHT+LEFT+TOP");
}

// The engine's entry gives black for a picture of one luminance. libselvane keeps the grey of high-dynamic-range
// values.
TEST_F(Command, OnePixelIsAPicture)
{
    WriteAll(fFolder / "one.hdr", Radiance(1, 1, {100, 100, 100, 128})); // 100 / 256: 0.390625
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "one.hdr", "-o", Out(), "--depth", "8"}));
    EXPECT_EQ(Look(Out()).fPixels, tBytes(3, 168)); // (1.055 * 0.390625^(1 / 2.4) - 0.055) * 65535 = 168.5 * 256
    const tBytes grey(3, 100);
    Store(fFolder / "one.png", grey.data(), 1, 1, Rgb8());
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "one.png", "-o", Out()}));
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "one.png", {}, 8).fPixels);
}

TEST_F(Command, OrientationIsBakedInAndMetadataTravels)
{
    const tBytes samples = Samples8(kWidth, kHeight);
    sStored how = Rgb8();
    how.fOrientation = 6;
    how.fXmp =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/' dc:source='a source'/></rdf:RDF>"
        "</x:xmpmeta>";
    for (const char* input : {"turned.jpg", "turned.tif"}) {
        Store(fFolder / input, samples.data(), kWidth, kHeight, how);
        for (const char* output : {"out.jpg", "out.png", "out.tif"}) {
            ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / input, "-o", fFolder / output}));
            const sFound found = Look(fFolder / output);
            EXPECT_EQ(found.fWidth, kHeight) << input << output;
            EXPECT_EQ(found.fHeight, kWidth) << input << output;
            EXPECT_EQ(found.fOrientation, 1) << input << output;
            EXPECT_THAT(found.fXmp, HasSubstr("dc:source=\"a source\"")) << input << output;
        }
    }
}

TEST_F(Command, AlphaIsAWarning)
{
    const tBytes samples(kWidth * kHeight * 4, 90);
    Store(fFolder / "alpha.png", samples.data(), kWidth, kHeight,
          {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    const sRun run = Selvane({"tonemap", "--exact", fFolder / "alpha.png", "-o", Out()});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_THAT(run.fErr, MatchesRegex("selvane: warning: .*alpha\\.png: the alpha channel was dropped\n"));
}

TEST_F(Command, TheEmbeddedProfileOrTheOptionChoosesTheColorSpace)
{
    const char* const names[3] = {"srgb", "adobe", "prophoto"};
    const tBytes samples = Samples8(kWidth, kHeight);
    for (int space = 0; space < 3; space++) {
        const auto id = space;
        sStored how = Rgb8();
        how.fProfile = StoredProfile(id);
        Store(fFolder / "profiled.png", samples.data(), kWidth, kHeight, how);
        const tBytes expected = Entry(Png(), {}, 8, space).fPixels;
        ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "profiled.png", "-o", Out()}));
        EXPECT_EQ(Look(Out()).fPixels, expected);
        ExpectColors(Look(Out()), true, id);
        // The option takes precedence over the profile.
        const int other = (space + 1) % 3;
        ExpectQuietSuccess(
            Selvane({"tonemap", "--exact", fFolder / "profiled.png", "-o", Out(), "--color-space", names[other]}));
        EXPECT_EQ(Look(Out()).fPixels, Entry(Png(), {}, 8, other).fPixels);
        ExpectColors(Look(Out()), true, other);
    }
    ExpectFailure(Selvane({"tonemap", "--exact", Png(), "-o", Out(), "--color-space", "cmyk"}), 2, "--color-space");
}

TEST_F(Command, AnUnknownProfileIsAWarningUnlessTheSpaceIsChosen)
{
    sStored how = Rgb8();
    how.fProfile = StoredProfile(SELVANE_ADOBE_RGB);
    how.fProfile[510] = 0;
    const tBytes samples = Samples8(kWidth, kHeight);
    Store(fFolder / "odd.tif", samples.data(), kWidth, kHeight, how);
    const sRun run = Selvane({"tonemap", "--exact", fFolder / "odd.tif", "-o", Out()});
    EXPECT_EQ(run.fStatus, 0);
    EXPECT_EQ(Lines(run.fErr), 1U);
    EXPECT_THAT(run.fErr, StartsWith("selvane: warning: "));
    EXPECT_THAT(run.fErr, HasSubstr("none of sRGB, Adobe RGB and ProPhoto RGB"));
    ExpectColors(Look(Out()), true, SELVANE_SRGB);
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "odd.tif", "-o", Out(), "--color-space", "adobe"}));
}

/// Reads a PNG file with libpng alone. Returns libpng's warnings.
std::vector<std::string> WarningsOfLibpng(const std::string& pPath)
{
    std::vector<std::string> warnings;
    const auto note = [](png_structp pReader, png_const_charp pWords) {
        static_cast<std::vector<std::string>*>(png_get_error_ptr(pReader))->emplace_back(pWords);
    };
    png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, &warnings, nullptr, note);
    png_infop info = png_create_info_struct(reader);
    std::FILE* const file = std::fopen(pPath.c_str(), "rb");
    png_init_io(reader, file);
    png_read_png(reader, info, PNG_TRANSFORM_IDENTITY, nullptr);
    std::fclose(file);
    png_destroy_read_struct(&reader, &info, nullptr);
    return warnings;
}

TEST_F(Command, APngInSrgbSaysSoInChunksThatNobodyObjectsTo)
{
    for (const char* depth : {"8", "16"}) {
        ExpectQuietSuccess(Selvane({"tonemap", "--exact", Hdr(), "-o", Out(), "--depth", depth}));
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
        EXPECT_THAT(WarningsOfLibpng(Out()), IsEmpty());
    }
    const sPicture back = SelvaneHost::ReadPictureFile(Out());
    EXPECT_EQ(NamedSpace(back), SELVANE_SRGB);
    EXPECT_EQ(back.fColorSpaceWarning, "");
}

// 12000 x 8400 pixels take some 5.4 GB of memory, so only the long form runs it.
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
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", fFolder / "large.hdr", "-o", fFolder / "large.tif"}));
    const sFound found = Look(fFolder / "large.tif");
    EXPECT_EQ(found.fWidth, kTileWidth * kTilesAcross);
    EXPECT_EQ(found.fHeight, kTileHeight * kTilesDown);
    EXPECT_EQ(found.fBits, 16);
    EXPECT_EQ(found.fPixels.size(), size_t{6} * kTileWidth * kTilesAcross * kTileHeight * kTilesDown);
    const auto [least, most] = std::minmax_element(found.fPixels.begin(), found.fPixels.end());
    EXPECT_LT(*least, *most) << "not one flat colour";
}

} // namespace
