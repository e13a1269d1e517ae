#include "suggest/Levels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

using namespace SelvaneLib;

namespace
{

constexpr double kBin = 0.0034; // decades: half the widest bin

sLevels LevelsOf(const std::vector<float>& pLuminances)
{
    cLevelCount count;
    for (const float luminance : pLuminances)
        count.Add(luminance);
    return count.Levels();
}

/// 1000 pixels: 20 of 0.001, 970 of 0.1, 10 of 100.
std::vector<float> ThreeTones()
{
    std::vector<float> tones(20, 0.001f);
    tones.insert(tones.end(), 970, 0.1f);
    tones.insert(tones.end(), 10, 100.0f);
    return tones;
}

TEST(Levels, ArePercentilesOfTheLogarithm)
{
    const sLevels levels = LevelsOf(ThreeTones());
    EXPECT_FALSE(levels.fIsEmpty);
    EXPECT_NEAR(levels.fLow, -3.0, kBin);
    EXPECT_NEAR(levels.fMiddle, -1.0, kBin);
    EXPECT_NEAR(levels.fHigh, 2.0, kBin);
    EXPECT_NEAR(levels.fMean, (20 * -3.0 + 970 * -1.0 + 10 * 2.0) / 1000, kBin);
}

TEST(Levels, TheMeanCountsWhatLiesOutsideAsTheLevels)
{
    std::vector<float> tones(9000, 0.1f);
    tones.push_back(1e-30f);
    tones.push_back(1e30f);
    const sLevels levels = LevelsOf(tones);
    EXPECT_NEAR(levels.fLow, -1.0, kBin);
    EXPECT_NEAR(levels.fHigh, -1.0, kBin);
    EXPECT_NEAR(levels.fMean, levels.fLow, 1e-12);
}

TEST(Levels, WhatIsNotAboveZeroOrNotFiniteDoesNotCount)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::vector<float> nothing = {0.0f,
                                        -0.0f,
                                        -1.0f,
                                        kInfinity,
                                        -kInfinity,
                                        std::numeric_limits<float>::quiet_NaN(),
                                        -std::numeric_limits<float>::quiet_NaN()};
    EXPECT_TRUE(LevelsOf(nothing).fIsEmpty);
    std::vector<float> one = nothing;
    one.push_back(1.0f);
    EXPECT_FALSE(LevelsOf(one).fIsEmpty);
    EXPECT_NEAR(LevelsOf(one).fLow, 0.0, kBin);
}

TEST(Levels, TheEndsOfTheRangeOfFloatsCount)
{
    EXPECT_NEAR(LevelsOf({std::numeric_limits<float>::max()}).fHigh, 38.532, kBin);
    EXPECT_NEAR(LevelsOf({1e30f}).fHigh, 30.0, kBin);
    EXPECT_FALSE(LevelsOf({std::numeric_limits<float>::denorm_min()}).fIsEmpty);
}

TEST(Levels, PartsJoinedAreTheWholeInAnyOrder)
{
    const std::vector<float> tones = ThreeTones();
    cLevelCount first, second;
    for (size_t i = 0; i < tones.size(); i++)
        (i % 3 == 0 ? first : second).Add(tones[tones.size() - 1 - i]);
    second.Join(first);
    const sLevels joined = second.Levels(), whole = LevelsOf(tones);
    EXPECT_EQ(joined.fLow, whole.fLow);
    EXPECT_EQ(joined.fMiddle, whole.fMiddle);
    EXPECT_EQ(joined.fHigh, whole.fHigh);
    EXPECT_EQ(joined.fMean, whole.fMean);
}

TEST(Levels, PixelsAreCountedByTheirY)
{
    for (const size_t count : {0u, 1u, 3u, 4u, 7u, 1000u}) {
        const std::vector<float> tones = ThreeTones();
        std::vector<float> xyz;
        cLevelCount single, together;
        for (size_t i = 0; i < count; i++) {
            xyz.insert(xyz.end(), {5.0f, tones[i], 7.0f});
            single.Add(tones[i]);
        }
        together.AddXYZ(xyz.data(), count);
        EXPECT_EQ(together.Levels().fIsEmpty, count == 0);
        EXPECT_EQ(together.Levels().fLow, single.Levels().fLow);
        EXPECT_EQ(together.Levels().fHigh, single.Levels().fHigh);
        EXPECT_EQ(together.Levels().fMean, single.Levels().fMean);
    }
}

} // namespace
