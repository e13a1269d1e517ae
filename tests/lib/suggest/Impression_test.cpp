#include "suggest/Impression.h"

#include "suggest/Quality.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace SelvaneLib;

namespace
{

sCharacter Plain()
{
    sCharacter character;
    character.fTexture = 0.15;
    return character;
}

/// What meets an aim in every point.
sImpression Perfect(const sAim& pAim)
{
    return {pAim.fMean, pAim.fContrast, 1.0, pAim.fBurnt, 0.0, pAim.fShadow, pAim.fHighlight};
}

TEST(Impression, TheAimOfADayIsTheMostCommonPhotograph)
{
    const sAim aim = AimFor(Plain());
    EXPECT_DOUBLE_EQ(aim.fMean, 115.94);
    EXPECT_NEAR(aim.fContrast, 17.48688, 1e-9);
    EXPECT_EQ(aim.fBurnt, 0.01);
    EXPECT_EQ(aim.fShadow, 60.0);
    EXPECT_EQ(aim.fHighlight, 225.0);
}

TEST(Impression, TheAimOfANightIsDarkerAndThatOfSnowBrighter)
{
    sCharacter night = Plain(), snow = Plain();
    night.fNight = 1.0;
    night.fSources = 0.5;
    snow.fHighKey = 1.0;
    snow.fSources = 0.07;
    EXPECT_DOUBLE_EQ(AimFor(night).fMean, 95.94);
    EXPECT_DOUBLE_EQ(AimFor(night).fBurnt, 0.03);
    EXPECT_EQ(AimFor(night).fShadow, 0.0);
    EXPECT_EQ(AimFor(night).fHighlight, 165.0);
    EXPECT_DOUBLE_EQ(AimFor(snow).fMean, 179.94);
    EXPECT_DOUBLE_EQ(AimFor(snow).fBurnt, 0.08);
    EXPECT_EQ(AimFor(snow).fHighlight, 240.0);
}

TEST(Impression, VioletNoiseIsWantedDarkerAndSmoother)
{
    sCharacter noise = Plain(), half = Plain();
    noise.fVioletShadows = 1.0;
    half.fVioletShadows = 0.5;
    EXPECT_DOUBLE_EQ(AimFor(noise).fMean, 115.94 - 45.0);
    EXPECT_NEAR(AimFor(noise).fContrast, 0.45 * 17.48688, 1e-9);
    EXPECT_DOUBLE_EQ(AimFor(noise).fHighlight, 185.0);
    EXPECT_DOUBLE_EQ(AimFor(half).fMean, 115.94 - 11.25);
    EXPECT_NEAR(AimFor(half).fContrast, 0.8625 * 17.48688, 1e-9);
    EXPECT_DOUBLE_EQ(AimFor(half).fHighlight, 215.0);
}

TEST(Impression, AWhiteRoomIsWantedWhiteDownToItsFloor)
{
    sCharacter room = Plain();
    room.fHighKey = 1.0;
    room.fWhiteRoom = 1.0;
    EXPECT_DOUBLE_EQ(AimFor(room).fMean, 199.94);
    EXPECT_DOUBLE_EQ(AimFor(room).fShadow, 180.0);
}

TEST(Impression, ALittleBrightnessOfTheSceneMovesTheAimLittle)
{
    sCharacter room = Plain();
    room.fHighKey = 0.5;
    EXPECT_DOUBLE_EQ(AimFor(room).fMean, 115.94 + 16.0);
}

TEST(Impression, TheAimOfContrastIsTheTenthRootOfTextureWithinLimits)
{
    sCharacter rough = Plain(), smooth = Plain(), half = Plain();
    rough.fTexture = 1.0;
    smooth.fTexture = 0.0;
    half.fTexture = 0.15 / 32.0;
    EXPECT_EQ(AimFor(rough).fContrast, 19.0);
    EXPECT_NEAR(AimFor(smooth).fContrast, 17.48688 * std::pow(1.0 / 150.0, 0.1), 1e-9);
    EXPECT_NEAR(AimFor(half).fContrast, 17.48688 / std::sqrt(2.0), 1e-9);
}

TEST(Impression, MeetingTheAimScoresOneAndEachMissCosts)
{
    const sAim aim = AimFor(Plain());
    const sImpression perfect = Perfect(aim);
    EXPECT_NEAR(Score(perfect, aim), 1.0, 1e-9);
    sImpression missed = perfect;
    missed.fBurnt += 0.02;
    EXPECT_NEAR(Score(missed, aim), 0.97, 1e-9);
    missed = perfect;
    missed.fBlocked = 0.05;
    EXPECT_NEAR(Score(missed, aim), 0.99, 1e-9);
    missed = perfect;
    missed.fShadow -= 30.0;
    EXPECT_NEAR(Score(missed, aim), 0.97, 1e-9);
    missed = perfect;
    missed.fHighlight -= 25.0;
    EXPECT_NEAR(Score(missed, aim), 0.95, 1e-9);
    missed = perfect;
    missed.fMean += 27.99; // one deviation
    EXPECT_NEAR(Score(missed, aim), 0.8012 + 0.1988 * std::pow(std::exp(-0.5), 0.7088), 1e-9);
    missed = perfect;
    missed.fStructure = 0.5;
    EXPECT_NEAR(Score(missed, aim), 0.8012 * std::pow(0.5, 0.3046) + 0.1988, 1e-9);
}

TEST(Impression, CountsTheEndsOfThePixelsThatHaveWeight)
{
    // 10 x 1: white, almost white, a yellow without drawing, black, five of grey 100, and a white one without weight.
    unsigned char rgb[30] = {255, 255, 255, 243, 243, 244, 255, 255, 100, 5, 5, 5};
    std::fill(rgb + 12, rgb + 27, static_cast<unsigned char>(100));
    std::fill(rgb + 27, rgb + 30, static_cast<unsigned char>(255));
    float weights[10] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 0};
    sScene scene;
    scene.fWidth = 10;
    scene.fHeight = 1;
    scene.fWeight = weights;
    const sImpression impression = ImpressionOf(scene, rgb);
    EXPECT_DOUBLE_EQ(impression.fBurnt, 3.0 / 9.0); // 255, 243.07 and 243.8
    EXPECT_DOUBLE_EQ(impression.fBlocked, 1.0 / 9.0);
    EXPECT_NEAR(impression.fShadow, 100.0, 1.0);    // the third of nine
    EXPECT_NEAR(impression.fHighlight, 255.0, 1.0); // the last of nine
    EXPECT_NEAR(impression.fMean, (255 + 243.0722 + 243.809 + 5 + 500) / 9.0, 0.01);
    rgb[3] = rgb[4] = rgb[5] = 242;
    EXPECT_DOUBLE_EQ(ImpressionOf(scene, rgb).fBurnt, 2.0 / 9.0);
}

/// 8 x 9 pixels: the coarse scale has two squares of 4 x 4 in a row; the ninth row fills none.
TEST(Impression, WithoutWeightsAllPixelsCount)
{
    std::vector<unsigned char> rgb(3 * 8 * 9);
    for (size_t i = 0; i < rgb.size(); i++)
        rgb[i] = static_cast<unsigned char>(i / 3 * 29 % 200);
    const std::vector<float> all(8 * 9, 0.5f);
    sScene scene;
    scene.fWidth = 8;
    scene.fHeight = 9;
    const sImpression plain = ImpressionOf(scene, rgb.data());
    scene.fWeight = all.data();
    const sImpression weighted = ImpressionOf(scene, rgb.data());
    EXPECT_EQ(plain.fMean, weighted.fMean);
    EXPECT_EQ(plain.fStructure, weighted.fStructure);
    EXPECT_EQ(plain.fHighlight, weighted.fHighlight);
    EXPECT_GT(plain.fStructure, 0.9);
}

} // namespace
