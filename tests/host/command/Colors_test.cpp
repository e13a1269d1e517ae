// Colours, layers, borders and standard input through the command, against libselvane itself.

#include "host/command/LibraryTest.h"
#include "picture/Color.h"

#include <vips/vips.h>

#include <cmath>
#include <cstring>

namespace
{

using namespace SelvaneTest;
using SelvaneHost::StoredProfile;
using testing::HasSubstr;
using testing::Not;

/// Returns the pixels of three bytes in the opposite order.
tBytes Turned(const tBytes& pPixels)
{
    tBytes turned(pPixels.size());
    for (size_t i = 0; i < pPixels.size(); i++)
        turned[pPixels.size() - 3 - i / 3 * 3 + i % 3] = pPixels[i];
    return turned;
}

class Colors : public cLibraryTest
{
protected:
    void StoreEight(const std::string& pName, const tBytes& pProfile = {})
    {
        sStored how = Rgb8();
        how.fProfile = pProfile;
        Store(fFolder / pName, fEight.data(), kWidth, kHeight, how);
    }
};

TEST_F(Colors, APictureInDisplayP3StaysInIt)
{
    StoreEight("p3.jpg", StoredProfile(SELVANE_DISPLAY_P3));
    StoreEight("p3.png", StoredProfile(SELVANE_DISPLAY_P3));
    const selvane_picture record = Record(SELVANE_U8, fEight.data(), SELVANE_DISPLAY_P3, SELVANE_TRANSFER_SRGB);
    const std::string lines = Run("p3.png");
    EXPECT_THAT(lines, HasSubstr("p3.png: its colours are Display P3; the output is in Display P3"));
    EXPECT_THAT(lines, Not(HasSubstr("warning")));
    EXPECT_EQ(Look(Out()).fPixels, ByLibrary(record, SELVANE_DISPLAY_P3));
    EXPECT_EQ(Look(Out()).fProfile, StoredProfile(SELVANE_DISPLAY_P3));
    Run("p3.jpg");
    EXPECT_EQ(Look(Out()).fProfile, StoredProfile(SELVANE_DISPLAY_P3));
}

TEST_F(Colors, TheOutputHasAnyOfTheFiveSpaces)
{
    const char* const words[5] = {"srgb", "adobe", "prophoto", "p3", "rec2020"};
    const selvane_picture record = Record(SELVANE_U8, fEight.data(), SELVANE_SRGB, SELVANE_TRANSFER_ENGINE);
    for (int space = 0; space < 5; space++) {
        const std::string lines = Run("in.png", {"--color-space", words[space]});
        EXPECT_THAT(lines, HasSubstr(std::string("--color-space ") + words[space])) << "in the exact line";
        EXPECT_EQ(Look(Out()).fPixels, ByLibrary(record, space)) << words[space];
        if (space > 0) {
            EXPECT_EQ(Look(Out()).fProfile, StoredProfile(space));
        }
    }
}

TEST_F(Colors, TheInputSpaceIsTakenWhateverTheFileSays)
{
    StoreEight("adobe.png", StoredProfile(SELVANE_ADOBE_RGB));
    Run("adobe.png", {"--input-space", "prophoto", "--color-space", "srgb"});
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(Record(SELVANE_U8, fEight.data(), SELVANE_PROPHOTO, SELVANE_TRANSFER_ENGINE), SELVANE_SRGB));
    ExpectFailure(Selvane({"tonemap", Png(), "-o", Out(), "--input-space", "cmyk"}), 2, "--input-space");
    ExpectFailure(Selvane({"tonemap", Png(), "-o", Out(), "--input-space", "adobe", "--exact"}), 2, "--input-space");
    ExpectFailure(Selvane({"tonemap", Png(), "-o", Out(), "--color-space", "p3", "--exact"}), 2, "--manual");
}

TEST_F(Colors, CodePointsOfAPngAreScenelight)
{
    StoreEight("pq.png");
    AddPngChunk(fFolder / "pq.png", "cICP", {9, 16, 0, 1});
    std::vector<float> light(fEight.size());
    for (size_t i = 0; i < light.size(); i++) { // SMPTE ST 2084, EOTF, 203 cd/m2 as 1
        const double power = std::pow(fEight[i] / 255.0, 1 / 78.84375);
        const double y =
            std::pow(std::max(power - 0.8359375, 0.0) / (18.8515625 - 18.6875 * power), 1 / 0.1593017578125);
        light[i] = static_cast<float>(10000.0 * y / 203.0);
    }
    const std::string lines = Run("pq.png");
    EXPECT_THAT(lines, HasSubstr("BT.2020, PQ, 203 cd/m2 as white; the output is in sRGB"));
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(Record(SELVANE_F32, light.data(), SELVANE_REC2020, SELVANE_TRANSFER_LINEAR), SELVANE_SRGB));
}

TEST_F(Colors, GammaOfAPngCounts)
{
    StoreEight("gamma.png");
    AddPngChunk(fFolder / "gamma.png", "gAMA", {0, 1, 0x86, 0xA0}); // 100000: linear
    Run("gamma.png");
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(Record(SELVANE_U8, fEight.data(), SELVANE_SRGB, SELVANE_TRANSFER_LINEAR), SELVANE_SRGB));
}

TEST_F(Colors, FloatsReachLibselvaneUnrounded)
{
    std::vector<float> planes[3];
    for (size_t i = 0; i < fFloats.size(); i++)
        planes[i % 3].push_back(fFloats[i]);
    StoreExr(fFolder / "scene.exr", kWidth, kHeight,
             {{"R", planes[0]},
              {"G", planes[1]},
              {"B", planes[2]},
              {"sky.R", planes[2]},
              {"sky.G", planes[1]},
              {"sky.B", planes[0]}});
    Run("scene.exr");
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(Record(SELVANE_F32, fFloats.data(), SELVANE_SRGB, SELVANE_TRANSFER_LINEAR), SELVANE_SRGB));
    std::vector<float> sky = fFloats;
    for (size_t i = 0; i < sky.size(); i += 3)
        std::swap(sky[i], sky[i + 2]);
    const std::string lines = Run("scene.exr", {"--layer", "sky", "--input-space", "acescg"});
    EXPECT_EQ(Look(Out()).fPixels,
              ByLibrary(Record(SELVANE_F32, sky.data(), SELVANE_ACES_AP1, SELVANE_TRANSFER_LINEAR), SELVANE_SRGB));
    EXPECT_THAT(lines, HasSubstr("--input-space acescg --layer sky"));
    ExpectFailure(Selvane({"tonemap", fFolder / "scene.exr", "-o", Out(), "--layer", "sea"}), 1,
                  "its channels are B, G, R, sky.B, sky.G, sky.R");
}

TEST_F(Colors, AlphaReachesTheOutputAndDoesNotWeigh)
{
    tBytes four(fEight.size() / 3 * 4);
    for (size_t i = 0; i < four.size(); i++)
        four[i] = i % 4 < 3 ? fEight[i / 4 * 3 + i % 4] : i / 4 % 5 == 0 ? 0 : static_cast<unsigned char>(i / 4);
    Store(fFolder / "four.png", four.data(), kWidth, kHeight,
          {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    Run("four.png");
    const sFound found = Look(Out());
    ASSERT_EQ(found.fBands, 4);
    for (size_t i = 0; i < four.size() / 4; i++) {
        uint16_t alpha = 0;
        std::memcpy(&alpha, &found.fPixels[8 * i + 6], 2);
        ASSERT_EQ(alpha, 257 * four[4 * i + 3]);
    }
}

TEST_F(Colors, ABorderOfOneColorStaysOutsideAndKeepsItsColor)
{
    constexpr int kAround = 9, kWide = kWidth + 2 * kAround, kHigh = kHeight + kAround;
    tBytes framed;
    for (int y = 0; y < kHigh; y++)
        for (int x = 0; x < kWide; x++)
            for (int c = 0; c < 3; c++) {
                const bool in = x >= kAround && x < kAround + kWidth && y < kHeight;
                const int at = 3 * (y * kWidth + x - kAround) + c;
                framed.push_back(in ? fEight[static_cast<size_t>(at)] : static_cast<unsigned char>(250 - c));
            }
    Store(fFolder / "framed.png", framed.data(), kWide, kHigh, Rgb8());
    // The border is on three sides. The corner decides its colour, so the picture is turned to begin with it.
    const tBytes turned = Turned(framed), inside = Turned(fEight);
    Store(fFolder / "turned.png", turned.data(), kWide, kHigh, Rgb8());
    const tBytes expected =
        ByLibrary(Record(SELVANE_U8, inside.data(), SELVANE_SRGB, SELVANE_TRANSFER_ENGINE), SELVANE_SRGB);
    Run("turned.png");
    const sFound found = Look(Out());
    ASSERT_EQ(found.fBands, 3);
    for (size_t y = 0; y < kHigh; y++)
        for (size_t x = 0; x < kWide; x++) {
            const bool in = x >= kAround && x < kAround + kWidth && y >= kAround;
            uint16_t seen[3];
            std::memcpy(seen, &found.fPixels[6 * (y * kWide + x)], 6);
            if (in) {
                ASSERT_EQ(std::memcmp(seen, &expected[6 * ((y - kAround) * kWidth + x - kAround)], 6), 0)
                    << x << " " << y;
            } else
                for (int c = 0; c < 3; c++)
                    ASSERT_NEAR(seen[c], 257 * (250 - c), 1) << x << " " << y;
        }
    Run("turned.png", {"--exact"});
    EXPECT_EQ(Look(Out()).fPixels, Entry(fFolder / "turned.png", {}, 16).fPixels) << "--exact weighs everything";
}

TEST_F(Colors, StandardInputIsRead)
{
    ExpectQuietSuccess(Selvane({"tonemap", "--exact", "-", "-o", Out()}, [&] { ReadFrom("cat '" + Hdr() + "'"); }));
    EXPECT_EQ(Look(Out()).fPixels, Entry(Hdr(), {}, 16).fPixels);
    const sRun none = Selvane({"stats", "-"}, [] { ReadFrom("echo hello, that is no picture"); });
    ExpectFailure(none, 1, "-: not a picture");
}

} // namespace
