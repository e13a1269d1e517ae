// What becomes of the values of a sequence. Expected means are worked out from the weights of the window: with 5 frames
// 1/4, 3/4, 1, 3/4, 1/4, with 3 frames 1/2, 1, 1/2.

#include "sequence/Smooth.h"

#include "Frames.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

using namespace SelvaneTest;
using SelvaneLib::Smooth;

namespace
{

std::vector<selvane_frame> FramesWith(float selvane_frame::*pMember, const std::vector<float>& pValues)
{
    std::vector<selvane_frame> frames = PlainFrames(pValues.size());
    for (size_t i = 0; i < frames.size(); i++)
        frames[i].*pMember = pValues[i];
    return frames;
}

std::vector<int> OddOnes(const std::vector<selvane_frame>& pFrames)
{
    std::vector<int> odd;
    for (size_t i = 0; i < pFrames.size(); i++)
        if (pFrames[i].odd == 1) odd.push_back(static_cast<int>(i));
    return odd;
}

/// A frame in which a lamp shines: another look, far other points.
void SwitchOn(selvane_frame& pFrame)
{
    pFrame.compression = 80.0f;
    pFrame.white_point *= 100.0f;
    pFrame.black_point *= 3.0f;
    Light(pFrame, 2.0f, 10);
}

void ExpectValues(const std::vector<selvane_frame>& pFrames, const selvane_frame& pExpected)
{
    for (size_t i = 0; i < pFrames.size(); i++)
        EXPECT_EQ(ValuesOf(pFrames[i]), ValuesOf(pExpected)) << "frame " << i;
}

} // namespace

TEST(Smooth, EqualFramesStayBitForBit)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> share(0.0f, 1.0f);
    for (int round = 0; round < 200; round++) {
        selvane_frame frame = PlainFrame();
        frame.compression = 200.0f * share(random) - 100.0f;
        frame.contrast = 200.0f * share(random) - 100.0f;
        frame.white_point = std::pow(10.0f, 40.0f * share(random) - 10.0f);
        frame.black_point = frame.white_point * std::pow(share(random), 9.0f) * 0.9f;
        if (frame.black_point < 1e-6f * frame.white_point) frame.black_point = 0.0f;
        const std::vector<selvane_frame> frames(9, frame);
        for (const selvane_frame& smooth : Smooth(frames, 5))
            EXPECT_EQ(std::memcmp(&smooth, &frame, sizeof frame), 0);
    }
}

TEST(Smooth, AWindowOfOneLeavesAllValues)
{
    std::vector<selvane_frame> frames = PlainFrames(20);
    SwitchOn(frames[5]);
    frames[11].white_point = 0.0f;
    const std::vector<selvane_frame> smooth = Smooth(frames, 1);
    for (size_t i = 0; i < frames.size(); i++)
        EXPECT_EQ(ValuesOf(smooth[i]), ValuesOf(frames[i]));
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{});
}

TEST(Smooth, TheWindowIsARaisedCosine)
{
    const std::vector<float> values = {10, 11, 10, 10.5f, 11, 10, 10};
    const std::vector<selvane_frame> smooth = Smooth(FramesWith(&selvane_frame::contrast, values), 5);
    EXPECT_FLOAT_EQ(smooth[0].contrast, (10 + 0.75f * 11 + 0.25f * 10) / 2.0f);
    EXPECT_FLOAT_EQ(smooth[1].contrast, (11 + 0.75f * (10 + 10) + 0.25f * 10.5f) / 2.75f);
    EXPECT_FLOAT_EQ(smooth[3].contrast, (10.5f + 0.75f * (10 + 11) + 0.25f * (11 + 10)) / 3.0f);
    EXPECT_FLOAT_EQ(smooth[6].contrast, (10 + 0.75f * 10 + 0.25f * 11) / 2.0f);
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{});
}

TEST(Smooth, AnEvenWindowIsThatOfTheNextOddNumber)
{
    const std::vector<selvane_frame> frames = FramesWith(&selvane_frame::contrast, {10, 11, 10, 10.5f, 11, 10, 10});
    const std::vector<selvane_frame> four = Smooth(frames, 4), five = Smooth(frames, 5);
    for (size_t i = 0; i < frames.size(); i++)
        EXPECT_EQ(four[i].contrast, five[i].contrast);
}

/// 10 to the mean of the logarithms 0, 0.016 and 0 with weights 1/2, 1 and 1/2 is 10^0.008.
TEST(Smooth, PointsAreAveragedAsLogarithms)
{
    const float more = std::pow(10.0f, 0.016f);
    const auto white = Smooth(FramesWith(&selvane_frame::white_point, {1, more, 1, more, 1, more, 1}), 3);
    EXPECT_FLOAT_EQ(white[3].white_point, std::pow(10.0f, 0.008f));
    EXPECT_FLOAT_EQ(white[2].white_point, std::pow(10.0f, 0.008f));
    EXPECT_FLOAT_EQ(white[0].white_point, std::pow(10.0f, 0.016f / 3));
    const auto black = Smooth(
        FramesWith(&selvane_frame::black_point, {0.1f, 0.1f * more, 0.1f, 0.1f * more, 0.1f, 0.1f * more, 0.1f}), 3);
    EXPECT_FLOAT_EQ(black[3].black_point, 0.1f * std::pow(10.0f, 0.008f));
}

/// Below 0 the exponent changes three times as fast, so that -10 and 30 are as far from 0.
TEST(Smooth, CompressionIsAveragedAsItsExponent)
{
    const auto smooth = Smooth(FramesWith(&selvane_frame::compression, {-10, 30, -10, 30, -10, 30, -10, 30}), 3);
    EXPECT_FLOAT_EQ(smooth[3].compression, 0.0f);
    EXPECT_FLOAT_EQ(smooth[4].compression, 0.0f);
    EXPECT_FLOAT_EQ(smooth[0].compression, (-30 + 0.5f * 30) / 1.5f / 3);
    EXPECT_FLOAT_EQ(smooth[7].compression, (30 - 0.5f * 30) / 1.5f);
}

TEST(Smooth, UpToFourOddFramesInARowCountInNoMean)
{
    for (const size_t count : {1u, 2u, 3u, 4u})
        for (const size_t first : {size_t{0}, size_t{1}, size_t{17}, 40 - count}) {
            SCOPED_TRACE(testing::Message() << count << " frames from frame " << first);
            std::vector<selvane_frame> frames = PlainFrames(40);
            std::vector<int> expected;
            for (size_t i = first; i < first + count; i++) {
                SwitchOn(frames[i]);
                expected.push_back(static_cast<int>(i));
            }
            for (const int window : {3, 25}) {
                const std::vector<selvane_frame> smooth = Smooth(frames, window);
                ExpectValues(smooth, PlainFrame());
                EXPECT_EQ(OddOnes(smooth), expected);
            }
        }
}

TEST(Smooth, FiveFramesInARowAreNotOdd)
{
    std::vector<selvane_frame> frames = PlainFrames(40);
    for (size_t i = 17; i < 22; i++)
        SwitchOn(frames[i]);
    const std::vector<selvane_frame> smooth = Smooth(frames, 25);
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{});
    EXPECT_GT(smooth[19].compression, PlainFrame().compression);
    EXPECT_LT(smooth[19].compression, 80.0f);
}

/// The white point alone stands out; the compression, which differs too little to do so, is left out with it.
TEST(Smooth, AFrameThatIsOddInOneValueCountsInNone)
{
    std::vector<selvane_frame> frames = PlainFrames(20);
    frames[10].white_point *= 2.0f;
    frames[10].compression += 1.5f;
    const std::vector<selvane_frame> smooth = Smooth(frames, 9);
    ExpectValues(smooth, PlainFrame());
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{10});
}

TEST(Smooth, EachValueCanMakeAFrameOdd)
{
    const size_t count = ValuesOf(PlainFrame()).size();
    for (size_t value = 0; value < count; value++) {
        std::vector<selvane_frame> frames = PlainFrames(20);
        float* const values = &frames[10].compression; // the values stand one behind the other
        ASSERT_EQ(ValuesOf(frames[10])[value], values[value]);
        values[value] *= value < 9 ? 2.5f : 1.9f;
        EXPECT_EQ(OddOnes(Smooth(frames, 5)), std::vector<int>{10}) << value;
    }
}

TEST(Smooth, ASteadyChangeIsNotOddAndStaysSteady)
{
    std::vector<float> values;
    for (int i = 0; i < 60; i++)
        values.push_back(-90.0f + 3.0f * static_cast<float>(i));
    const std::vector<selvane_frame> smooth = Smooth(FramesWith(&selvane_frame::contrast, values), 11);
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{});
    for (size_t i = 5; i < 55; i++)
        EXPECT_NEAR(smooth[i].contrast, values[i], 1e-4f);
}

/// Values that go back and forth, one, two or three frames each. Towards the ends of the film it cannot be told which
/// of the two are odd.
TEST(Smooth, WhatFlickersIsAveraged)
{
    for (const size_t run : {1u, 2u, 3u}) {
        std::vector<float> values;
        for (size_t i = 0; i < 60; i++)
            values.push_back(i / run % 2 == 0 ? 10.0f : 50.0f);
        const std::vector<selvane_frame> smooth = Smooth(FramesWith(&selvane_frame::contrast, values), 25);
        for (size_t i = 16; i < 44; i++) {
            EXPECT_EQ(smooth[i].odd, 0) << run << ": " << i;
            EXPECT_NEAR(smooth[i].contrast, 30.0f, 1.0f) << run << ": " << i;
        }
    }
}

TEST(Smooth, ASingleToneTakesTheValuesOfItsNeighbours)
{
    std::vector<selvane_frame> frames = PlainFrames(20);
    for (size_t i = 6; i < 15; i++) {
        frames[i].white_point = frames[i].black_point = frames[i].compression = 0.0f;
    }
    const std::vector<selvane_frame> smooth = Smooth(frames, 3); // narrower than the gap
    ExpectValues(smooth, PlainFrame());
    EXPECT_EQ(OddOnes(smooth), (std::vector<int>{6, 7, 8, 9, 10, 11, 12, 13, 14}));
}

TEST(Smooth, WithoutAnyPointsAllStays)
{
    std::vector<selvane_frame> frames = PlainFrames(5);
    for (selvane_frame& frame : frames)
        frame.white_point = 0.0f;
    frames[2].contrast = 77.0f;
    const std::vector<selvane_frame> smooth = Smooth(frames, 25);
    for (size_t i = 0; i < frames.size(); i++)
        EXPECT_EQ(ValuesOf(smooth[i]), ValuesOf(frames[i]));
}

/// A shot in which each frame is odd in a value of its own is averaged as a whole.
TEST(Smooth, WhereAllFramesAreOddNoneIs)
{
    std::vector<selvane_frame> frames = PlainFrames(3);
    frames[0].contrast = 90.0f;
    frames[1].exposure = 5.0f;
    frames[2].saturation = 90.0f;
    const std::vector<selvane_frame> smooth = Smooth(frames, 3);
    EXPECT_EQ(OddOnes(smooth), std::vector<int>{});
    EXPECT_FLOAT_EQ(smooth[0].contrast, (90 + 0.5f * 13) / 1.5f);
}

TEST(Smooth, ABlackPointOfZeroStays)
{
    std::vector<selvane_frame> frames = FramesWith(&selvane_frame::white_point, {1, 1.01f, 1, 1.02f, 1, 1, 1});
    for (selvane_frame& frame : frames)
        frame.black_point = 0.0f;
    for (const selvane_frame& smooth : Smooth(frames, 5))
        EXPECT_EQ(smooth.black_point, 0.0f);
}

/// 0 counts as a millionth of the white point: half way from there to 1e-4 of it, as logarithms, is 1e-5.
TEST(Smooth, ABlackPointOfZeroCountsAsAMillionthOfTheWhitePoint)
{
    std::vector<float> values;
    for (int i = 0; i < 20; i++)
        values.push_back(i % 2 == 0 ? 0.0f : 2e-4f);
    std::vector<selvane_frame> frames = FramesWith(&selvane_frame::black_point, values);
    for (selvane_frame& frame : frames)
        frame.white_point = 2.0f;
    EXPECT_FLOAT_EQ(Smooth(frames, 3)[9].black_point, 2e-5f);
}

TEST(Smooth, ThePointsStayApart)
{
    std::vector<selvane_frame> frames = PlainFrames(30);
    for (size_t i = 0; i < frames.size(); i++) {
        frames[i].black_point = 1.0f + 1e-6f * static_cast<float>(i % 7);
        frames[i].white_point = std::nextafter(frames[i].black_point, 2.0f);
    }
    for (const selvane_frame& smooth : Smooth(frames, 9))
        EXPECT_GT(smooth.white_point, smooth.black_point);
}

/// Each shot comes out as if it stood alone, to the last bit.
TEST(Smooth, NothingBleedsAcrossACut)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
    std::vector<selvane_frame> first = PlainFrames(20), second = PlainFrames(15);
    for (selvane_frame& frame : first)
        frame.contrast += noise(random);
    for (selvane_frame& frame : second) {
        frame.contrast = 60.0f + noise(random);
        frame.white_point = 300.0f + noise(random);
        Light(frame, 1.5f);
    }
    std::vector<selvane_frame> all = first, expected = Smooth(first, 25);
    all.insert(all.end(), second.begin(), second.end());
    for (const selvane_frame& frame : Smooth(second, 25))
        expected.push_back(frame);
    expected[20].cut = 1;
    const std::vector<selvane_frame> smooth = Smooth(all, 25);
    for (size_t i = 0; i < all.size(); i++)
        EXPECT_EQ(std::memcmp(&smooth[i], &expected[i], sizeof expected[i]), 0) << i;
}

TEST(Smooth, TheFirstFrameIsNoCut)
{
    EXPECT_EQ(Smooth(PlainFrames(3), 3)[0].cut, 0);
}
