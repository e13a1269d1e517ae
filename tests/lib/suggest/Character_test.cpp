#include "suggest/Character.h"

#include "MadeScenes.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

sCharacter CharacterOfPicture(const sPicture& pPicture)
{
    return CharacterOf(cSeen(pPicture, 512).Scene());
}

/// 10 x 10 pixels of one XYZ, with the levels given.
sScene Uniform(std::vector<float>& pXYZ, float pX, float pY, float pZ, const sLevels& pLevels)
{
    pXYZ.clear();
    for (int i = 0; i < 100; i++)
        pXYZ.insert(pXYZ.end(), {pX, pY, pZ});
    return {pXYZ.data(), nullptr, 10, 10, pLevels};
}

sLevels Levels(double pLow, double pMean, double pHigh)
{
    return {pLow, pMean, pHigh, pMean, false};
}

TEST(Character, TheTownIsNight)
{
    const sCharacter town = CharacterOfPicture(NightTown());
    EXPECT_GT(town.fLowKey, 0.5);
    EXPECT_GT(town.fNight, 0.5);
    EXPECT_EQ(town.fHighKey, 0.0);
}

TEST(Character, TheStarryFieldHasVioletShadows)
{
    const sCharacter field = CharacterOfPicture(StarryField());
    EXPECT_EQ(field.fVioletShadows, 1.0);
    EXPECT_GT(field.fNight, 0.8);
}

TEST(Character, SnowFogAndAWhiteRoomAreBright)
{
    for (const sPicture& picture : {Snow(), Fog(), WhiteRoom()}) {
        const sCharacter character = CharacterOfPicture(picture);
        EXPECT_GT(character.fHighKey, 0.5);
        EXPECT_EQ(character.fNight, 0.0);
    }
}

TEST(Character, ADayIsNeither)
{
    for (const sPicture& picture : {SunnyHills(), SeaSunset()}) {
        EXPECT_LT(CharacterOfPicture(picture).fNight, 0.4);
        EXPECT_EQ(CharacterOfPicture(picture).fHighKey, 0.0);
    }
}

TEST(Character, LowKeyIsTheMeanBelowTwoFifthsOfTheRange)
{
    std::vector<float> xyz;
    EXPECT_EQ(CharacterOf(Uniform(xyz, 0.96f, 1.0f, 0.82f, Levels(-2.0, -0.5, 1.0))).fLowKey, 0.0);          // key 0.5
    EXPECT_NEAR(CharacterOf(Uniform(xyz, 0.96f, 1.0f, 0.82f, Levels(-1.05, 0.0, 1.95))).fLowKey, 0.5, 1e-9); // 0.35
    EXPECT_EQ(CharacterOf(Uniform(xyz, 0.96f, 1.0f, 0.82f, Levels(-1.0, 0.0, 4.0))).fLowKey, 1.0);           // 0.2
}

TEST(Character, WithoutDarkPartsALowKeyIsAWhiteRoom)
{
    std::vector<float> xyz;
    const sCharacter room = CharacterOf(Uniform(xyz, 0.96f, 1.0f, 0.82f, Levels(-0.3, 0.0, 2.0)));
    EXPECT_EQ(room.fLowKey, 0.0);
    EXPECT_EQ(room.fHighKey, 1.0);
}

/// The levels make it a room where nothing is dark; one pixel of the hundred is a lamp, then two are.
TEST(Character, ARoomIsWhiteByItsWindowsAndLamps)
{
    std::vector<float> xyz;
    const sLevels room = Levels(-0.3, 0.0, 2.0);
    EXPECT_EQ(CharacterOf(Uniform(xyz, 0.96f, 1.0f, 0.82f, room)).fWhiteRoom, 0.0);
    const sScene scene = Uniform(xyz, 0.96f, 1.0f, 0.82f, room);
    xyz[1] = 10.0f;
    EXPECT_NEAR(CharacterOf(scene).fWhiteRoom, 0.5, 1e-9);
    xyz[4] = 10.0f;
    EXPECT_EQ(CharacterOf(scene).fWhiteRoom, 1.0);
}

TEST(Character, OnlyTheRoomAmongTheMadeScenesIsAWhiteRoom)
{
    EXPECT_EQ(CharacterOfPicture(WhiteRoom()).fWhiteRoom, 1.0);
    for (const sPicture& picture : {NightTown(), Snow(), Fog(), SeaSunset(), SunnyHills(), StarryField()})
        EXPECT_EQ(CharacterOfPicture(picture).fWhiteRoom, 0.0);
}

TEST(Character, OnlyRatiosCount)
{
    for (const sPicture& picture : {NightTown(), Snow(), SeaSunset()}) {
        sPicture dim = picture;
        for (float& sample : dim.fRGB)
            sample = std::ldexp(sample, -10);
        const sCharacter expected = CharacterOfPicture(picture), seen = CharacterOfPicture(dim);
        EXPECT_NEAR(seen.fNight, expected.fNight, 1e-5);
        EXPECT_NEAR(seen.fHighKey, expected.fHighKey, 1e-5);
        EXPECT_NEAR(seen.fTexture, expected.fTexture, 1e-5);
        EXPECT_EQ(seen.fSources, expected.fSources);
    }
}

TEST(Character, OnlyRedAndBlueTogetherAboveGreenAreViolet)
{
    const sPicture violet{1, 1, {1.5f, 1.0f, 1.4f}}, red{1, 1, {2.0f, 1.0f, 0.7f}}, blue{1, 1, {0.8f, 1.0f, 2.0f}};
    for (const auto& [picture, expected] : {std::pair{violet, (0.4 - 0.05) / 0.55}, {red, 0.0}, {blue, 0.0}})
        EXPECT_NEAR(CharacterOfPicture(picture).fVioletShadows, expected, 1e-5);
}

/// A ground under red light is noise in part if its blue keeps up with green. Brown has less blue.
TEST(Character, ReddishShadeWithAsMuchBlueAsGreenIsVioletInPart)
{
    const sPicture half{1, 1, {1.6f, 1.0f, 1.0f}}, all{1, 1, {1.8f, 1.0f, 1.05f}}, brown{1, 1, {1.8f, 1.0f, 0.85f}},
        pale{1, 1, {1.35f, 1.0f, 1.05f}};
    for (const auto& [picture, expected] :
         {std::pair{half, 0.4 * (0.25 / 0.4) * (0.15 / 0.2)}, {all, 0.4}, {brown, 0.0}, {pale, 0.0}})
        EXPECT_NEAR(CharacterOfPicture(picture).fVioletShadows, expected, 1e-5);
}

TEST(Character, OnlyTheDarkestTenthDecidesOnViolet)
{
    sPicture picture{10, 10, {}};
    for (int i = 0; i < 100; i++) {
        const float level = i < 10 ? 0.01f : 1.0f;
        const float violet = i < 10 ? 2.0f : 1.0f;
        picture.fRGB.insert(picture.fRGB.end(), {violet * level, level, violet * level});
    }
    EXPECT_EQ(CharacterOfPicture(picture).fVioletShadows, 1.0);
    for (int i = 0; i < 10; i++)
        for (int c = 0; c < 3; c++)
            picture.fRGB[static_cast<size_t>(3 * i + c)] = 0.01f;
    EXPECT_EQ(CharacterOfPicture(picture).fVioletShadows, 0.0);
}

} // namespace
