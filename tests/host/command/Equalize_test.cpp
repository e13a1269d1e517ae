// Pictures through equalize.

#include "bitmap/cBitmapBGR8.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "host/command/CommandTest.h"
#include "picture/Color.h"
#include "support/Capture.h"

#include <algorithm>
#include <cstdlib>

namespace
{

using namespace SelvaneTest;
using SelvaneHost::StoredProfile;
using testing::HasSubstr;

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
    EXPECT_EQ(Look(Out()).fProfile, StoredProfile(SELVANE_PROPHOTO));
    const sRun verbose = Selvane({"equalize", Png(), "-o", Out(), "--verbose"});
    EXPECT_THAT(verbose.fErr, HasSubstr("selvane: equalized 61 x 43 pixels"));
}

/// Returns the samples of an area of a picture of 8 bits.
tBytes AreaOf(const sFound& pFound, size_t pWidth, size_t pHeight, size_t pLeft, size_t pTop)
{
    tBytes samples;
    for (size_t y = pTop; y < pTop + pHeight; y++) {
        const auto* const first = pFound.fPixels.data() + 3 * (y * static_cast<size_t>(pFound.fWidth) + pLeft);
        samples.insert(samples.end(), first, first + 3 * pWidth);
    }
    return samples;
}

/// The area is one of the upright picture.
TEST_F(Command, EqualizeCutsOutOfTheUprightPicture)
{
    sStored how = Rgb8();
    how.fOrientation = 6;
    Store(fFolder / "turned.tif", Samples8(kWidth, kHeight).data(), kWidth, kHeight, how);
    const std::vector<std::string> words = {"equalize", fFolder / "turned.tif", "-o", Out(), "--hue-shift", "0:0.7"};
    ExpectQuietSuccess(Selvane(words));
    const sFound whole = Look(Out());
    ASSERT_EQ(whole.fWidth, kHeight);
    std::vector<std::string> cut = words;
    cut.insert(cut.end(), {"--crop", "20x50+9+11"});
    ExpectQuietSuccess(Selvane(cut));
    const sFound part = Look(Out());
    EXPECT_EQ(part.fWidth, 20);
    EXPECT_EQ(part.fHeight, 50);
    EXPECT_EQ(part.fPixels, AreaOf(whole, 20, 50, 9, 11));
    cut.back() = "50x20+9+11";
    ExpectFailure(Selvane(cut), 1, "the crop does not lie inside the picture of 43 x 61 pixels");
}

/// Columns of two greys, one pixel wide, become the sRGB code of their mean light.
TEST_F(Command, EqualizeResizesInLight)
{
    struct sStripes
    {
        unsigned char fDark, fBright;
        int fMean;
    };
    for (const sStripes& greys : {sStripes{0, 255, 188}, {60, 200, 151}}) { // means of the codes: 128 and 130
        tBytes stripes(size_t{3} * 64 * 40);
        for (size_t i = 0; i < stripes.size(); i++)
            stripes[i] = i / 3 % 2 == 0 ? greys.fDark : greys.fBright;
        Store(Png(), stripes.data(), 64, 40, Rgb8());
        ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out(), "--resize", "50%"}));
        const sFound half = Look(Out());
        ASSERT_EQ(half.fWidth, 32);
        ASSERT_EQ(half.fHeight, 20);
        ASSERT_EQ(half.fBits, 8);
        for (const unsigned char sample : AreaOf(half, 24, 12, 4, 4))
            ASSERT_NEAR(sample, greys.fMean, 2);
    }
}

TEST_F(Command, EqualizeResizesWhatIsCutOutAndEnlargesOnRequest)
{
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out()}));
    const tBytes plain = ReadAll(Out());
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out(), "--resize", "4000"}));
    EXPECT_EQ(ReadAll(Out()), plain) << "never larger without --enlarge";
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out(), "--resize", "122", "--enlarge"}));
    EXPECT_EQ(Look(Out()).fHeight, 86);
    ExpectQuietSuccess(Selvane({"equalize", Png(), "-o", Out(), "--resize", "x10", "--crop", "40x20+0+0"}));
    EXPECT_EQ(Look(Out()).fWidth, 20);
    EXPECT_EQ(Look(Out()).fHeight, 10);
}

TEST_F(Command, EqualizeRefusesPicturesThatAreNotFinished)
{
    ExpectFailure(Selvane({"equalize", Hdr(), "-o", Out()}), 1, "tone-map it first");
}

} // namespace
