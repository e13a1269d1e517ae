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

TEST_F(Command, EqualizeRefusesPicturesThatAreNotFinished)
{
    ExpectFailure(Selvane({"equalize", Hdr(), "-o", Out()}), 1, "tone-map it first");
}

} // namespace
