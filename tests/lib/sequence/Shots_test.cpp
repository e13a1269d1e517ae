// Where a sequence is cut.

#include "sequence/Shots.h"

#include "Frames.h"

#include <gtest/gtest.h>

using namespace SelvaneTest;

namespace
{

/// First frames of all shots but the first.
std::vector<size_t> CutsOf(const std::vector<selvane_frame>& pFrames)
{
    std::vector<size_t> cuts;
    size_t end = 0;
    for (const SelvaneLib::sShot& shot : SelvaneLib::FindShots(pFrames)) {
        EXPECT_EQ(shot.fBegin, end) << "a shot begins where the one before ends";
        EXPECT_GT(shot.fEnd, shot.fBegin);
        if (shot.fBegin > 0) cuts.push_back(shot.fBegin);
        end = shot.fEnd;
    }
    EXPECT_EQ(end, pFrames.size());
    return cuts;
}

using tCuts = std::vector<size_t>;

/// Frames with that light in all cells, in decades.
std::vector<selvane_frame> LitFrames(const std::vector<float>& pDecades)
{
    std::vector<selvane_frame> frames = PlainFrames(pDecades.size());
    for (size_t i = 0; i < frames.size(); i++)
        Light(frames[i], pDecades[i]);
    return frames;
}

} // namespace

TEST(Shots, OfNoAndOfOneFrame)
{
    EXPECT_TRUE(SelvaneLib::FindShots({}).empty());
    EXPECT_EQ(CutsOf(PlainFrames(1)), tCuts{});
}

TEST(Shots, AStillSequenceIsOne)
{
    EXPECT_EQ(CutsOf(PlainFrames(30)), tCuts{});
}

TEST(Shots, ACutIsWhereEverythingChanges)
{
    std::vector<float> light(20, 0.0f);
    std::fill(light.begin() + 9, light.end(), -0.3f);
    EXPECT_EQ(CutsOf(LitFrames(light)), tCuts{9});
}

TEST(Shots, ChangesUpToATenthOfADecadeAreNone)
{
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 0, 0.09f, 0.09f, 0.09f})), tCuts{});
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 0, 0.11f, 0.11f, 0.11f})), tCuts{3});
}

TEST(Shots, ALampThatLightsHalfOfThePictureCutsNothing)
{
    for (const int cells : {1, 31, 33}) {
        std::vector<selvane_frame> frames = PlainFrames(20);
        for (size_t i = 8; i < 20; i++)
            Light(frames[i], 1.0f, cells);
        EXPECT_EQ(CutsOf(frames), cells == 33 ? tCuts{8} : tCuts{}) << cells;
    }
}

TEST(Shots, ASingleFrameThatDiffersIsNoShot)
{
    std::vector<float> light(20, 0.0f);
    light[7] = 2.0f;
    EXPECT_EQ(CutsOf(LitFrames(light)), tCuts{});
}

TEST(Shots, ASingleFrameBetweenTwoShotsIsOne)
{
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 0, 2, 1, 1, 1})), (tCuts{3, 4}));
}

TEST(Shots, TheFirstAndTheLastFrameMayBeOne)
{
    EXPECT_EQ(CutsOf(LitFrames({1, 0, 0, 0, 0})), tCuts{1});
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 0, 0, 1})), tCuts{4});
    EXPECT_EQ(CutsOf(LitFrames({0, 1})), tCuts{1});
}

/// A pan changes the picture by 0.08 decades a frame, so that only more than four times as much is a cut.
TEST(Shots, WhereMuchMovesACutIsMore)
{
    for (const float step : {0.3f, 0.35f}) {
        std::vector<float> light;
        for (int i = 0; i < 20; i++)
            light.push_back(0.08f * static_cast<float>(i) + (i < 10 ? 0.0f : step - 0.08f));
        EXPECT_EQ(CutsOf(LitFrames(light)), step > 0.32f ? tCuts{10} : tCuts{}) << step;
    }
}

TEST(Shots, MayBeShort)
{
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5})), (tCuts{2, 4, 6, 8, 10}));
    EXPECT_EQ(CutsOf(LitFrames({0, 0, 1, 2, 2, 3, 4, 4, 5, 6, 6})), (tCuts{2, 3, 5, 6, 8, 9}));
}

TEST(Shots, TheMiddleOfAnEvenNumberIsTheLowerOne)
{
    std::vector<double> values = {4, 1, 3, 2};
    EXPECT_EQ(SelvaneLib::MiddleOf(values), 2.0);
    values = {5, 1, 3};
    EXPECT_EQ(SelvaneLib::MiddleOf(values), 3.0);
}
