#include "filter/cBilateral.h"

#include "filter/DivideWork.h"

#include "ArrayLog.h"
#include "GuardedPlane.h"
#include "support/DirectFilters.h"
#include "support/Host.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr int kMax = std::numeric_limits<int>::max();
constexpr int kMin = std::numeric_limits<int>::min();

size_t Count(int pWidth, int pHeight)
{
    return static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight);
}

/// Runs the filter to its end. The planes may be null for pictures without pixels.
void Filter(float* pInput, float* pOutput, const sFast& pArguments, int pThreads = 1)
{
    bool cancel = false;
    bool cancelled = false;
    cBilateral::Filter_Fast(&cancel, &cancelled, pThreads, pInput, pOutput, pArguments.fWidth, pArguments.fHeight,
                            pArguments.fSpace, pArguments.fRange, pArguments.fMin, pArguments.fMax, pArguments.fBlur,
                            pArguments.fWrap);
    EXPECT_FALSE(cancelled);
}

tPlane Filtered(tPlane pInput, const sFast& pArguments, int pThreads = 1)
{
    const tPlane before = pInput;
    tPlane output(pInput.size(), -7.0f);
    Filter(pInput.data(), output.data(), pArguments, pThreads);
    EXPECT_EQ(FirstDifference(pInput, before), -1) << "the input changed";
    return output;
}

/// The result, the grid that was sliced and the choice of the plane that was read are those of the direct formula.
void ExpectDirect(const tPlane& pInput, const sFast& pArguments)
{
    const sDirectFast direct = DirectFast(pInput, pArguments);
    tPlane input = pInput;
    tPlane output(pInput.size(), -7.0f);
    tPlane grid;
    bool ownPlane = false;
    sCutting cutting;
    cutting.fBeforeCall = [&](const sDivideCall& pCall) {
        if (pCall.fFunction != Filter_Fast_Interpolate_tile_threaded) return;
        const float* const cells = GetField(pCall.fRecord.data(), SliceRecord::kGrid);
        grid.assign(cells, cells + direct.fGrid.size());
        ownPlane = GetField(pCall.fRecord.data(), SliceRecord::kInput) != input.data();
    };
    const cHostScope host(cutting);
    Filter(input.data(), output.data(), pArguments);
    EXPECT_EQ(FirstDifference(input, pInput), -1) << "the input changed";
    EXPECT_EQ(ownPlane, direct.fOwnPlane);
    EXPECT_EQ(FirstDifference(output, direct.fResult), -1)
        << pArguments.fWidth << " x " << pArguments.fHeight << ", s " << pArguments.fSpace << ", r "
        << pArguments.fRange << ", " << pArguments.fMin << " to " << pArguments.fMax << ", blur " << pArguments.fBlur
        << ", wrap " << pArguments.fWrap;
    EXPECT_EQ(FirstDifference(grid, direct.fGrid), -1) << "grid of " << pArguments.fWidth << " x " << pArguments.fHeight
                                                       << ", s " << pArguments.fSpace << ", wrap " << pArguments.fWrap;
}

/// Whether the call is refused before anything is taken, looked at or started. The direct formula agrees.
bool IsRefused(const sFast& pArguments)
{
    const cArrayLog log;
    const cHostScope host;
    bool cancel = true;
    bool cancelled = false;
    try {
        cBilateral::Filter_Fast(&cancel, &cancelled, 1, nullptr, nullptr, pArguments.fWidth, pArguments.fHeight,
                                pArguments.fSpace, pArguments.fRange, pArguments.fMin, pArguments.fMax,
                                pArguments.fBlur, pArguments.fWrap);
    } catch (const std::bad_array_new_length&) {
        EXPECT_TRUE(DirectRefusal(pArguments));
        EXPECT_TRUE(log.Arrays().empty());
        EXPECT_FALSE(cancelled);
        EXPECT_TRUE(host.Calls().empty());
        return true;
    }
    EXPECT_FALSE(DirectRefusal(pArguments));
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(log.Held(), 0);
    return false;
}

/// The plane that the slicing step reads, as its record says.
const float* SlicedInput(float* pInput, const sFast& pArguments)
{
    const cHostScope host;
    tPlane output(Count(pArguments.fWidth, pArguments.fHeight));
    Filter(pInput, output.data(), pArguments);
    return GetField(host.Calls().at(0).fRecord.data(), SliceRecord::kInput);
}

// ---- The formula -------------------------------------------------------------------------------------------------

TEST(cBilateral, EqualsTheDirectFormulaForWidths1To70)
{
    for (int width = 1; width <= 70; width++)
        for (const bool wrap : {false, true})
            for (const float space : {1.0f, 3.7f, 17.0f}) {
                const int height = 1 + (width * 7) % 23;
                ExpectDirect(Noise(Count(width, height), -2.0f, 1.5f, static_cast<uint32_t>(width)),
                             {width, height, space, 0.3f, -2.0f, 1.5f, 0.0f, wrap});
            }
}

TEST(cBilateral, EqualsTheDirectFormulaForAllSamplings)
{
    const tPlane plane = Noise(Count(37, 5), -38.5f, 6.25f);
    for (const bool wrap : {false, true})
        for (const float space : {0.1f, 0.33f, 0.5f, 0.77f, 1.01f, 2.0f, 5.5f, 36.0f, 1000.0f})
            for (const float range : {0.2f, 0.31f, 7.0f, 44.75f, 1000.0f, 1e30f})
                ExpectDirect(plane, {37, 5, space, range, -38.5f, 6.25f, 0.0f, wrap});
}

TEST(cBilateral, EqualsTheDirectFormulaOnRowsOfManyStrips)
{
    for (const bool wrap : {false, true})
        for (const float space : {2.0f, 26.3f, 150.0f, 3000.0f}) {
            const sFast arguments{1111, 13, space, 0.25f, 0.0f, 3.0f, 1.0f, wrap};
            ExpectDirect(Noise(Count(1111, 13), 0.0f, 3.0f), arguments);
        }
}

/// Noise whose level moves by pDrift from row to row, so that the rows of a band need other cells in value.
tPlane DriftingNoise(int pWidth, int pHeight, float pSpread, float pDrift)
{
    tPlane plane = Noise(Count(pWidth, pHeight), 0.0f, pSpread);
    for (size_t i = 0; i < plane.size(); i++)
        plane[i] += pDrift * static_cast<float>(i / static_cast<size_t>(pWidth));
    return plane;
}

// Many rows of pixels lie between two rows of cells. Their values are within 32 cells of each other (spread 0.1), leave
// what the rows before them needed (drift), or are too far apart for that (spread 0.6).
TEST(cBilateral, EqualsTheDirectFormulaWhereCellsAreManyPixelsApart)
{
    for (const int width : {1, 127, 128, 129, 300})
        for (const float space : {9.0f, 40.0f})
            for (const float spread : {0.1f, 0.6f})
                for (const float drift : {0.0f, 0.02f, -0.02f}) {
                    tPlane plane = DriftingNoise(width, 47, spread, drift);
                    for (float& sample : plane)
                        sample += drift < 0.0f ? 1.0f : 0.0f;
                    ExpectDirect(plane, {width, 47, space, 0.01f, 0.0f, 2.0f});
                }
}

// One row whose values are too far apart stands among others.
TEST(cBilateral, EqualsTheDirectFormulaBesideARowOfDistantValues)
{
    for (const int row : {0, 5, 19})
        for (const float stray : {3.9f, kNaN}) {
            tPlane plane = Noise(Count(140, 20), 0.0f, 0.2f);
            plane[Count(140, row) + 130] = stray;
            ExpectDirect(plane, {140, 20, 25.0f, 0.02f, 0.0f, 4.0f});
        }
}

TEST(cBilateral, EqualsTheDirectFormulaWithTheClosingBlur)
{
    const tPlane plane = Noise(Count(50, 33), 0.0f, 4.0f);
    for (const float blur : {0.0f, -0.0f, -3.0f, kNaN, 1.0f, 50.0f, 200.0f, 1e9f, kInfinity})
        ExpectDirect(plane, {50, 33, 4.0f, 0.5f, 0.0f, 4.0f, blur, false});
}

TEST(cBilateral, TheClosingSigmaScalesWithTheLongerSide)
{
    for (const auto& [width, height] : {std::pair(30, 7), {7, 30}}) {
        const cHostScope host;
        Filtered(tPlane(Count(width, height)), {width, height, 3.0f, 1.0f, 0.0f, 1.0f, 250.0f});
        ASSERT_EQ(host.Calls().size(), 7u);
        const float sigma = (250.0f * 0x1.5d867cp-12f) * 30.0f; // 1 / 3000
        const float radius = sigma - 0x1.28f5c2p-1f;            // 0.58
        const unsigned char* const record = host.Calls()[1].fRecord.data();
        EXPECT_EQ(GetField(record, BlurRecord::kRadius), static_cast<int32_t>(std::ceil(radius)));
        EXPECT_EQ(GetField(record, BlurRecord::kEdgeFraction), std::ceil(radius) - radius);
    }
}

TEST(cBilateral, IsTheSameForAnyCutOfTheTiles)
{
    const sFast arguments{61, 47, 5.0f, 0.4f, -2.0f, 2.0f, 90.0f, true};
    const tPlane plane = Noise(Count(61, 47), -2.0f, 2.0f);
    const tPlane expected = DirectFast(plane, arguments).fResult;
    for (int threads = 0; threads <= 8; threads++)
        for (const int tiles : {1, 3, 16, 100}) {
            sCutting cutting;
            cutting.fTiles = tiles;
            cutting.fOrder = eTilesShuffled;
            cutting.fSeed = static_cast<unsigned>(tiles + threads);
            cutting.fUneven = true;
            cutting.fThreads = threads > 5;
            const cHostScope host(cutting);
            EXPECT_EQ(FirstDifference(Filtered(plane, arguments, threads), expected), -1) << threads << " " << tiles;
        }
}

TEST(cBilateral, OneSampleComesBackFromBetweenItsTwoCells)
{
    // Value 4 and weight 1 in cell 7. Smoothing keeps the quotient, and slicing reads at the middle of the cell.
    EXPECT_EQ(Filtered({4.0f}, {1, 1, 1.0f, 1.0f, 0.0f, 4.0f}), tPlane{4.0f});
    const float far = (2.4f + 3.0f) - 5.0f;
    const float near = (5.0f + 1.0f) - (2.4f + 3.0f);
    EXPECT_EQ(Filtered({2.4f}, {1, 1, 1.0f, 1.0f, 0.0f, 4.0f}), tPlane{std::fma(far, 2.4f, near * 2.4f)});
}

TEST(cBilateral, AUniformPictureComesBackAsTheRangeMinimum)
{
    for (const float value : {5.0f, -38.53f, 0.0f, 30.0f})
        for (const bool wrap : {false, true})
            EXPECT_EQ(
                FirstDifference(Filtered(tPlane(Count(9, 4), value), {9, 4, 2.0f, 0.3f, value, value, 0.0f, wrap}),
                                tPlane(Count(9, 4), value)),
                -1);
}

TEST(cBilateral, TheInputMayBeTheOutput)
{
    const sFast arguments{300, 20, 9.0f, 0.4f, -2.0f, 2.0f, 5.0f};
    tPlane plane = Noise(Count(300, 20), -2.0f, 2.0f);
    const tPlane expected = DirectFast(plane, arguments).fResult;
    Filter(plane.data(), plane.data(), arguments);
    EXPECT_EQ(FirstDifference(plane, expected), -1);
}

TEST(cBilateral, WeightsStopGrowingWhereFloatsStopCounting)
{
    // 17.6 million samples in one cell: the weight stays at 2^24, the value grows on.
    const sFast arguments{4200, 4200, 1e6f, 1.0f, 0.0f, 1.75f};
    const tPlane plane(Count(4200, 4200), 1.75f);
    const tPlane result = Filtered(plane, arguments);
    EXPECT_GT(result[0], 1.76f);
    EXPECT_EQ(FirstDifference(result.data(), DirectFast(plane, arguments).fResult.data(), 4200), -1);
}

TEST(cBilateral, PlacesBeyondTheExactFloatsAreRounded)
{
    for (const bool wrap : {false, true}) {
        const sFast arguments{(1 << 24) + 4001, 1, 40000.0f, 1.0f, 0.0f, 1.0f, 0.0f, wrap};
        tPlane plane = Noise(Count(arguments.fWidth, 1), 0.0f, 1.0f);
        ExpectDirect(plane, arguments);
    }
}

// ---- Wrapped rows ------------------------------------------------------------------------------------------------

TEST(cBilateral, WrappedRowsMeetAtTheirEdges)
{
    // One step in the middle and one at the edge. Wrapped, both edges see the other side.
    tPlane plane(40, 0.0f);
    for (size_t x = 20; x < 40; x++)
        plane[x] = 0.3f;
    const sFast open{40, 1, 4.0f, 1.0f, 0.0f, 0.3f};
    sFast wrapped = open;
    wrapped.fWrap = true;
    EXPECT_EQ(Filtered(plane, open)[0], 0.0f);
    EXPECT_GT(Filtered(plane, wrapped)[0], 0.01f);
    ExpectDirect(plane, wrapped);
}

TEST(cBilateral, VerySmallSamplingsWrapFewerPlacesThanTheRowHas)
{
    // The places run from trunc(1 - 3 s) up to below width + 3 s - 1. Where rounding loses 3 s, the first is missing.
    for (const float space : {0.3f, 0.05f, 0.001f, 1e-4f})
        ExpectDirect(Noise(4, 0.0f, 1.0f), {4, 1, space, 0.5f, 0.0f, 1.0f, 0.0f, true});
    for (const float space : {1e-8f, 1e-9f, 1e-30f})
        ExpectDirect({0.7f}, {1, 1, space, 0.5f, 0.0f, 1.0f, 0.0f, true});
}

TEST(cBilateral, NarrowTallWrappedPicturesReadTheRowAboveAndSkipWhatLiesBeforeThePlane)
{
    for (const bool atTheEnd : {false, true})
        for (const int width : {1, 2, 3, 7})
            for (const float space : {3.0f, 7.4f, 40.0f, 333.3f}) {
                const sFast arguments{width, 60, space, 0.5f, 0.0f, 2.0f, 0.0f, true};
                const tPlane plane = Noise(Count(width, 60), 0.0f, 2.0f);
                const cGuardedPlane input(plane, atTheEnd);
                const cGuardedPlane output(tPlane(plane.size()), atTheEnd);
                Filter(input.Floats(), output.Floats(), arguments);
                EXPECT_EQ(FirstDifference(output.Floats(), DirectFast(plane, arguments).fResult.data(), plane.size()),
                          -1)
                    << width << " " << space;
            }
}

TEST(cBilateral, WrappedSamplingsUpToTheLimitAreTaken)
{
    // 3 * 5592405 is the last below 2^24.
    ExpectDirect({0.4f}, {1, 1, 5592405.0f, 1.0f, 0.0f, 1.0f, 0.0f, true});
    EXPECT_TRUE(IsRefused({1, 1, 5592405.5f, 1.0f, 0.0f, 1.0f, 0.0f, true}));
    EXPECT_TRUE(IsRefused({1, 1, 1e30f, 1.0f, 0.0f, 1.0f, 0.0f, true}));
    EXPECT_TRUE(IsRefused({1, 1, kInfinity, 1.0f, 0.0f, 1.0f, 0.0f, true}));
}

TEST(cBilateral, WithoutWrappingTheSamplingHasNoUpperLimit)
{
    const tPlane plane = Noise(Count(12, 9), 0.0f, 2.0f);
    for (const float space : {5592405.5f, 1e30f, 3e38f, kInfinity})
        ExpectDirect(plane, {12, 9, space, 0.5f, 0.0f, 2.0f});
}

// ---- What is refused ---------------------------------------------------------------------------------------------

TEST(cBilateral, GridsThatDoNotFitAreRefused)
{
    // Cells in x, y, z: 65536 x 65536 x 7 wraps to 0, 65536 x 65537 x 7 to a small positive number of floats.
    EXPECT_TRUE(IsRefused({65530, 65530, 1.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({65530, 65531, 1.0f, 1.0f, 0.0f, 0.0f}));
    // 1000 x 1000 x 1080 floats twice is just above, and wraps to a negative number.
    EXPECT_TRUE(IsRefused({994, 994, 1.0f, 1.0f, 0.0f, 1073.0f}));
    // Sides that are too long on their own.
    EXPECT_TRUE(IsRefused({2, 2, 1e-9f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({2, 1, 1e-42f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({kMax, kMax, 1.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1e-30f, 0.0f, 1.0f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, kInfinity}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, -kInfinity, 0.0f}));
    // Sides with a negative number of cells.
    EXPECT_TRUE(IsRefused({-100, 4, 1.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({4, -100, 1.0f, 1.0f, 0.0f, 0.0f}));
    EXPECT_TRUE(IsRefused({kMin, 4, 1.0f, 1.0f, 0.0f, 0.0f}));
}

TEST(cBilateral, EndsOfTheRangeThatLeaveTheGridAreRefused)
{
    // The cells of the minimum are 3 and 4: five cells hold them, four do not.
    EXPECT_FALSE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, -2.6f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, -3.5f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, -4.5f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, -7.5f}));
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1.0f, 0.0f, -100.0f}));
    // 1 / r is infinite, the quotient is not: the grid has ten intervals, and the maximum lies beyond them.
    EXPECT_TRUE(IsRefused({4, 4, 1.0f, 1e-40f, 0.0f, 1e-39f}));
    EXPECT_FALSE(IsRefused({4, 4, 1.0f, 1e-40f, 0.0f, 0.0f}));
    // Without pixels nothing can leave the grid.
    EXPECT_FALSE(IsRefused({0, 4, 1.0f, 1.0f, 0.0f, -4.5f}));
    EXPECT_FALSE(IsRefused({4, 0, kInfinity, 1.0f, 0.0f, -4.5f, 0.0f, true}));
}

// ---- Samplings ---------------------------------------------------------------------------------------------------

TEST(cBilateral, SamplingsNotAboveZeroAreRefused)
{
    for (const float bad : {0.0f, -0.0f, -1e-45f, -1.0f, -73.0f, -kInfinity, kNaN})
        for (const bool wrap : {false, true})
            for (const auto& [width, height] : {std::pair(4, 4), {1, 1}, {64, 48}, {0, 0}}) {
                EXPECT_TRUE(IsRefused({width, height, bad, 0.5f, 0.0f, 1.0f, 0.0f, wrap})) << bad;
                EXPECT_TRUE(IsRefused({width, height, 2.0f, bad, 0.0f, 1.0f, 0.0f, wrap})) << bad;
                EXPECT_TRUE(IsRefused({width, height, 2.0f, bad, 0.0f, 0.0f, 0.0f, wrap})) << bad;
                EXPECT_TRUE(IsRefused({width, height, bad, bad, 0.0f, 1.0f, 0.0f, wrap})) << bad;
            }
    EXPECT_FALSE(IsRefused({4, 4, 2.0f, 0.5f, 0.0f, 1.0f}));
}

TEST(cBilateral, InfiniteSamplingsAreComputed)
{
    const tPlane plane = Noise(Count(6, 5), 0.0f, 1.0f);
    ExpectDirect(plane, {6, 5, kInfinity, 0.5f, 0.0f, 1.0f});
    ExpectDirect(plane, {6, 5, 2.0f, kInfinity, 0.0f, 1.0f});
    ExpectDirect(plane, {6, 5, 2.0f, kInfinity, 0.0f, 1.0f, 0.0f, true});
    ExpectDirect(plane, {6, 5, kInfinity, kInfinity, 0.0f, 1.0f});
}

TEST(cBilateral, NoPlaceOfAPictureLeavesTheGrid)
{
    const std::pair<int, int> sizes[] = {{1, 1}, {7, 1}, {1, 7}, {6, 6}, {13, 2}, {2, 13}, {40, 30}};
    for (const auto& [width, height] : sizes)
        for (int step = 1; step < 60; step++)
            for (const bool wrap : {false, true}) {
                const sFast arguments{width, height, static_cast<float>(step) * 0.37f, 0.4f, 0.0f, 0.7f, 0.0f, wrap};
                EXPECT_TRUE(EveryCellIsInTheGrid(arguments)) << width << " x " << height << ", s " << arguments.fSpace;
                ExpectDirect(Noise(Count(width, height), 0.0f, 0.7f), arguments);
            }
}

// ---- Samples outside the range -----------------------------------------------------------------------------------

TEST(cBilateral, SamplesThatLeaveTheGridCountAsTheNearerEnd)
{
    const sFast arguments{30, 9, 4.0f, 0.5f, 0.0f, 2.0f};
    for (const float stray : {-2.1f, -100.0f, -3e38f, -kInfinity, 3.8f, 1e9f, 3e38f, kInfinity}) {
        const tPlane clean = Noise(Count(30, 9), 0.0f, 2.0f);
        tPlane plane = clean;
        tPlane counted = clean;
        for (const size_t at : {Count(3, 30) + 7, Count(8, 30) + 29}) {
            plane[at] = stray;
            counted[at] = stray < 0.0f ? 0.0f : 2.0f;
        }
        const tPlane result = Filtered(plane, arguments);
        EXPECT_EQ(FirstDifference(result, DirectFast(counted, arguments).fResult), -1) << stray;
        EXPECT_EQ(FirstDifference(result, DirectFast(plane, arguments).fResult), -1) << stray;
        EXPECT_NE(SlicedInput(plane.data(), arguments), plane.data()) << stray;
    }
}

TEST(cBilateral, SamplesOutsideTheRangeWhoseCellsLieInTheGridAreNotTouched)
{
    // Cells 0 and 10 are the outermost: -1.9 and 3.4 lie beyond the range and still inside.
    const sFast arguments{30, 9, 4.0f, 0.5f, 0.0f, 2.0f};
    for (const float outside : {-1.9f, -0.1f, 2.1f, 3.4f}) {
        tPlane plane = Noise(Count(30, 9), 0.0f, 2.0f);
        plane[100] = outside;
        EXPECT_EQ(SlicedInput(plane.data(), arguments), plane.data()) << outside;
        ExpectDirect(plane, arguments);
        tPlane end = plane;
        end[100] = outside < 0.0f ? 0.0f : 2.0f;
        EXPECT_NE(FirstDifference(Filtered(plane, arguments), DirectFast(end, arguments).fResult), -1) << outside;
    }
}

TEST(cBilateral, EachOfTheThreeCellsOfASampleCanBeTheOneThatLeaves)
{
    // There are 11 cells. From 3.5 on, slicing reads cell 11; splatting would add to it from 3.75 on. Below the range,
    // slicing truncates to cell 0 down to -2 and splatting down to -2.25, both exclusive.
    const sFast arguments{1, 1, 4.0f, 0.5f, 0.0f, 2.0f};
    const auto isReplaced = [&](float pSample) { return SlicedInput(&pSample, arguments) != &pSample; };
    EXPECT_FALSE(isReplaced(3.4999f));
    EXPECT_TRUE(isReplaced(3.5f));
    EXPECT_TRUE(isReplaced(3.75f));
    EXPECT_FALSE(isReplaced(std::nextafter(-2.0f, 0.0f)));
    EXPECT_TRUE(isReplaced(-2.0f));
    EXPECT_TRUE(isReplaced(-2.25f));
}

TEST(cBilateral, WithoutARangeStraySamplesCountAsTheMinimum)
{
    for (const float top : {1.0f, 0.5f, kNaN}) {
        const sFast arguments{20, 6, 4.0f, 0.5f, 1.0f, top};
        tPlane plane = Noise(Count(20, 6), 0.9f, 1.1f);
        plane[3] = 100.0f;
        plane[77] = -100.0f;
        tPlane counted = plane;
        counted[3] = counted[77] = 1.0f;
        const tPlane result = Filtered(plane, arguments);
        EXPECT_EQ(FirstDifference(result, DirectFast(counted, arguments).fResult), -1) << top;
        EXPECT_EQ(FirstDifference(result, DirectFast(plane, arguments).fResult), -1) << top;
    }
}

TEST(cBilateral, AMinimumOf30AndNoMaximumMakeEveryPixel30)
{
    const tPlane result = Filtered(Noise(Count(20, 6), -38.0f, 5.0f), {20, 6, 4.0f, 0.3f, 30.0f, kNaN}, 0);
    EXPECT_EQ(FirstDifference(result, tPlane(Count(20, 6), 30.0f)), -1);
}

TEST(cBilateral, ANaNSampleFallsIntoTheFirstCellAndThePlaneStaysTheCallers)
{
    const sFast arguments{20, 6, 4.0f, 0.5f, 0.0f, 2.0f};
    tPlane plane = Noise(Count(20, 6), 0.0f, 2.0f);
    plane[50] = kNaN;
    EXPECT_EQ(SlicedInput(plane.data(), arguments), plane.data());
    ExpectDirect(plane, arguments);
    const tPlane result = Filtered(plane, arguments);
    EXPECT_TRUE(std::isnan(result[50]));
    EXPECT_FALSE(std::isnan(result[119]));
}

TEST(cBilateral, NaNsAndStraySamplesInOnePicture)
{
    for (const bool wrap : {false, true}) {
        const sFast arguments{20, 6, 4.0f, 0.5f, 0.0f, 2.0f, 0.0f, wrap};
        tPlane plane = Noise(Count(20, 6), 0.0f, 2.0f);
        plane[10] = kNaN;
        plane[70] = -9.0f;
        plane[90] = kNaN;
        plane[119] = 9.0f;
        ExpectDirect(plane, arguments);
    }
}

TEST(cBilateral, AStraySampleThatIsNeverScatteredCountsAsTheEndToo)
{
    // With this sampling a wrapped row scatters none of its pixels.
    const sFast arguments{1, 1, 1e-9f, 0.5f, 0.0f, 2.0f, 0.0f, true};
    for (float stray : {-50.0f, 50.0f}) {
        const float before = stray;
        EXPECT_NE(SlicedInput(&stray, arguments), &stray);
        EXPECT_EQ(stray, before);
        ExpectDirect({stray}, arguments);
    }
}

TEST(cBilateral, StraySamplesOfTheRowAboveAreReplacedBeforeANarrowPictureReadsThem)
{
    const sFast arguments{2, 40, 30.0f, 0.5f, 0.0f, 2.0f, 0.0f, true};
    tPlane plane = Noise(Count(2, 40), 0.0f, 2.0f);
    plane[1] = -77.0f;
    plane[43] = 1e20f;
    plane[79] = 1e20f;
    ExpectDirect(plane, arguments);
}

TEST(cBilateral, ThePlaneOfItsOwnIsOnlyTakenWhenNeededAndGivenBack)
{
    const sFast arguments{20, 6, 4.0f, 0.5f, 0.0f, 2.0f};
    tPlane plane = Noise(Count(20, 6), 0.0f, 2.0f);
    tPlane output(plane.size());
    {
        const cArrayLog log;
        Filter(plane.data(), output.data(), arguments);
        EXPECT_EQ(log.Arrays().size(), 2u);
        EXPECT_EQ(log.Held(), 0);
    }
    plane[119] = 50.0f;
    const cArrayLog log;
    const cHostScope host;
    Filter(plane.data(), output.data(), arguments);
    ASSERT_EQ(log.Arrays().size(), 3u);
    EXPECT_EQ(log.Arrays()[2].fBytes, 120 * sizeof(float));
    EXPECT_EQ(log.Held(), 0);
    EXPECT_EQ(GetField(host.Calls().at(0).fRecord.data(), SliceRecord::kInput), log.Arrays()[2].Floats());
}

TEST(cBilateral, OddRangesAndSamplingsEndWithoutHarm)
{
    const float odd[] = {-kInfinity, -3e38f, -1.0f, 0.0f, 1e-45f, 1e-38f, 2.0f, 3e38f, kInfinity, kNaN};
    tPlane plane{-kInfinity, -3e38f, -1.0f, 0.0f, 1e-45f, 2.0f, 3e38f, kInfinity, kNaN, 0.5f, 1.5f, 1e-38f};
    for (const float low : odd)
        for (const float high : odd)
            for (const float range : {1e-45f, 1e-38f, 1.0f, 1e30f, 3e38f, kInfinity}) {
                const sFast arguments{4, 3, 2.0f, range, low, high};
                if (!IsRefused(arguments)) ExpectDirect(plane, arguments);
            }
}

TEST(cBilateral, AOnePixelPictureTakesAnySampling)
{
    for (const bool wrap : {false, true})
        for (const float space : {1e-45f, 1e-40f, 1e-38f, 1e-9f, 1.0f, 1e3f})
            ExpectDirect({0.4f}, {1, 1, space, 0.5f, 0.0f, 1.0f, 0.0f, wrap});
}

// ---- Pictures without pixels -------------------------------------------------------------------------------------

TEST(cBilateral, PicturesWithoutPixelsAreFilteredToNothing)
{
    for (const bool wrap : {false, true})
        for (const auto& [width, height] : {std::pair(0, 5), {5, 0}, {0, 0}, {-3, 5}, {5, -3}, {-50, -50}}) {
            const cArrayLog log;
            const cHostScope host;
            Filter(nullptr, nullptr, {width, height, 2.0f, 1.0f, 0.0f, 1.0f, 0.0f, wrap}, 3);
            EXPECT_EQ(log.Arrays().size(), 2u);
            EXPECT_EQ(log.Held(), 0);
            ASSERT_EQ(host.Calls().size(), 1u) << width << " " << height;
            EXPECT_EQ(host.Calls()[0].fStart, 0);
            EXPECT_EQ(host.Calls()[0].fEnd, height);
        }
}

// ---- Memory and cancellation -------------------------------------------------------------------------------------

TEST(cBilateral, CancelledBeforeTheFirstSampleItLeavesTheOutput)
{
    tPlane input(30, 1.0f);
    tPlane output(30, 4.5f);
    bool cancel = true;
    bool cancelled = false;
    const cArrayLog log;
    const cHostScope host;
    cBilateral::Filter_Fast(&cancel, &cancelled, 1, input.data(), output.data(), 6, 5, 2.0f, 1.0f, 0.0f, 2.0f, 1.0f,
                            false);
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(cancel);
    EXPECT_TRUE(host.Calls().empty());
    EXPECT_EQ(FirstDifference(output, tPlane(30, 4.5f)), -1);
    EXPECT_EQ(log.Arrays().size(), 2u);
    EXPECT_EQ(log.Held(), 0);
}

TEST(cBilateral, CancellingLaterHasNoEffect)
{
    const sFast arguments{20, 6, 4.0f, 0.5f, 0.0f, 2.0f, 300.0f};
    tPlane input = Noise(Count(20, 6), 0.0f, 2.0f);
    tPlane output(input.size());
    bool cancel = false;
    bool cancelled = false;
    sCutting cutting;
    cutting.fBeforeCall = [&](const sDivideCall&) { cancel = true; };
    const cHostScope host(cutting);
    cBilateral::Filter_Fast(&cancel, &cancelled, 1, input.data(), output.data(), 20, 6, 4.0f, 0.5f, 0.0f, 2.0f, 300.0f,
                            false);
    EXPECT_FALSE(cancelled);
    EXPECT_EQ(host.Calls().size(), 7u);
    EXPECT_EQ(FirstDifference(output, DirectFast(input, arguments).fResult), -1);
}

/// Floats of the two grids that a call takes.
size_t GridFloats(const sFast& pArguments)
{
    const cArrayLog log;
    bool cancel = true;
    bool cancelled = false;
    cBilateral::Filter_Fast(&cancel, &cancelled, 1, nullptr, nullptr, pArguments.fWidth, pArguments.fHeight,
                            pArguments.fSpace, pArguments.fRange, pArguments.fMin, pArguments.fMax, 0.0f, false);
    EXPECT_EQ(log.Arrays().size(), 2u);
    EXPECT_EQ(log.Arrays().at(0).fBytes, log.Arrays().at(1).fBytes);
    return log.Arrays().at(0).fBytes / sizeof(float);
}

TEST(cBilateral, TakesTwoGridsOfTheGivenSize)
{
    // 20 pixels at 4: trunc(19 / 4 + 0.5) = 5 intervals, 12 cells; 6 pixels: 1 and 8; 2 at 0.5: 4 and 11.
    EXPECT_EQ(GridFloats({20, 6, 4.0f, 0.5f, 0.0f, 2.0f}), 2u * 12u * 8u * 11u);
}

TEST(cBilateral, TheIntervalsInValueAreATrueQuotient)
{
    // Multiplied by the rounded 1 / r these ranges would give 7 and 20 intervals.
    EXPECT_EQ(GridFloats({1, 1, 4.0f, 0x1.83127p-2f, 0.0f, 0x1.3a7efap+1f}), 2u * 7u * 7u * 13u);
    EXPECT_EQ(GridFloats({1, 1, 4.0f, 0x1.f3b646p-3f, 0.0f, 0x1.4020c4p+2f}), 2u * 7u * 7u * 28u);
}

TEST(cBilateral, TheLastPlaceIsCountedBeforeItBecomesAFloat)
{
    // The last place, 16777218, is a float. The width as a float is 16777220, and one less is rounded to 16777220
    // again: one interval more.
    EXPECT_EQ(GridFloats({(1 << 24) + 3, 1, 0x1.460cc2p+17f, 1.0f, 0.0f, 0.0f}), 2u * 107u * 7u * 7u);
}

TEST(cBilateral, PassesTheNumberOfWorkersOnAsItIs)
{
    for (const int threads : {-5, 0, 1, 300}) {
        tPlane plane(4, 1.0f);
        const cHostScope host;
        Filter(plane.data(), plane.data(), {2, 2, 1.0f, 1.0f, 1.0f, 1.0f, 3000.0f}, threads);
        ASSERT_EQ(host.Calls().size(), 7u);
        for (const sDivideCall& call : host.Calls())
            EXPECT_EQ(call.fThreads, threads);
    }
}

TEST(cBilateral, AFailedAllocationReleasesWhatWasHeld)
{
    // In order: the two grids, the plane of the filter's own, the table and the scratch plane of the blur.
    for (const int failing : {0, 1, 2, 3, 4}) {
        tPlane input = Noise(Count(20, 6), 0.0f, 2.0f);
        input[119] = 50.0f;
        tPlane output(input.size(), 4.5f);
        const cHostScope host;
        const cArrayLog log(failing);
        EXPECT_THROW(Filter(input.data(), output.data(), {20, 6, 4.0f, 0.5f, 0.0f, 2.0f, 300.0f}), std::bad_alloc);
        EXPECT_EQ(log.Arrays().size(), static_cast<size_t>(failing));
        EXPECT_EQ(log.Held(), 0);
        EXPECT_EQ(host.Calls().size(), failing < 3 ? 0u : 1u);
        EXPECT_EQ(output[0] == 4.5f, failing < 3);
    }
}

TEST(cBilateral, TouchesNothingBesideItsPlanes)
{
    for (const bool atTheEnd : {false, true})
        for (const bool wrap : {false, true})
            for (int width = 1; width <= 70; width++) {
                const sFast arguments{width, 1 + width % 5, 2.5f, 0.5f, 0.0f, 2.0f, 60.0f, wrap};
                const tPlane plane = Noise(Count(width, arguments.fHeight), 0.0f, 2.0f);
                const cGuardedPlane input(plane, atTheEnd);
                const cGuardedPlane output(tPlane(plane.size()), atTheEnd);
                Filter(input.Floats(), output.Floats(), arguments);
                EXPECT_EQ(FirstDifference(output.Floats(), DirectFast(plane, arguments).fResult.data(), plane.size()),
                          -1);
            }
}

// ---- The record and the tile -------------------------------------------------------------------------------------

TEST(cBilateral, HandsOutARecordWhoseEveryByteIsGiven)
{
    tPlane input = Noise(Count(20, 6), -1.0f, 2.0f);
    tPlane output(input.size());
    const cArrayLog log;
    const cHostScope host;
    Filter(input.data(), output.data(), {20, 6, 4.0f, 0.5f, -1.0f, 2.0f}, 5);
    ASSERT_EQ(host.Calls().size(), 1u);
    const sDivideCall& call = host.Calls()[0];
    EXPECT_EQ(call.fStart, 0);
    EXPECT_EQ(call.fEnd, 6);
    EXPECT_EQ(call.fThreads, 5);
    EXPECT_EQ(call.fFunction, Filter_Fast_Interpolate_tile_threaded);
    std::vector<unsigned char> expected(SliceRecord::kBytes, 0);
    unsigned char* const record = expected.data();
    SetField(record, SliceRecord::kWidth, 20);
    SetField(record, SliceRecord::kSpaceSampling, 4.0f);
    SetField(record, SliceRecord::kRangeSampling, 0.5f);
    SetField(record, SliceRecord::kRangeMin, -1.0f);
    SetField(record, SliceRecord::kMargin, 3);
    SetField(record, SliceRecord::kCellsX, 12);
    SetField(record, SliceRecord::kCellsY, 8);
    SetField(record, SliceRecord::kGrid, log.Arrays().at(0).Floats());
    SetField(record, SliceRecord::kInput, input.data());
    SetField(record, SliceRecord::kOutput, output.data());
    EXPECT_EQ(call.fRecord, expected);
}

TEST(cBilateral, TheGridHoldsTheQuotientsWhenItIsSliced)
{
    // One sample. Its value stands in every cell that the smoothing reaches, and 0 in the others.
    float input = 4.0f;
    float output = 0.0f;
    tPlane grid;
    sCutting cutting;
    cutting.fBeforeCall = [&](const sDivideCall& pCall) {
        const float* const cells = GetField(pCall.fRecord.data(), SliceRecord::kGrid);
        grid.assign(cells, cells + 7 * 7 * 11 * 2);
    };
    const cHostScope host(cutting);
    Filter(&input, &output, {1, 1, 1.0f, 1.0f, 0.0f, 4.0f});
    for (int z = 0; z < 11; z++)
        for (int y = 0; y < 7; y++)
            for (int x = 0; x < 7; x++) {
                const bool reached = std::abs(x - 3) <= 2 && std::abs(y - 3) <= 2 && std::abs(z - 7) <= 2;
                EXPECT_EQ(grid[static_cast<size_t>(((z * 7 + y) * 7 + x) * 2)], reached ? 4.0f : 0.0f)
                    << x << " " << y << " " << z;
            }
}

TEST(cBilateral, ATileEqualsTheDirectFormulaForWidths1To70)
{
    // Grids with other margins, and with values that smoothing would not give.
    tPlane grid = Noise(Count(2 * 30 * 12, 14), -5.0f, 5.0f);
    for (int width = 1; width <= 70; width++)
        for (const int margin : {0, 1, 3}) {
            tPlane input = Noise(Count(width, 9), 1.0f, 5.4f, static_cast<uint32_t>(width));
            input[static_cast<size_t>(width / 2)] = kNaN;
            tPlane output(input.size(), -9.0f);
            const int start = width % 4;
            const int end = 9 - width % 3;
            Filter_Fast_Interpolate_tile(2, start, end, width, 2.7f, 0.6f, 1.0f, margin, 30, 12, grid.data(),
                                         input.data(), output.data());
            for (int y = 0; y < 9; y++) {
                const auto row = input.begin() + static_cast<ptrdiff_t>(y) * width;
                const tPlane expected = y >= start && y < end ? DirectSlice(grid, 30, 12, margin, 2.7f, 0.6f, 1.0f, y,
                                                                            tPlane(row, row + width))
                                                              : tPlane(static_cast<size_t>(width), -9.0f);
                EXPECT_EQ(FirstDifference(output.data() + static_cast<ptrdiff_t>(y) * width, expected.data(),
                                          expected.size()),
                          -1)
                    << width << " " << margin << " " << y;
            }
        }
}

TEST(cBilateral, AnEmptyCellCountsAsTheRangeMinimum)
{
    tPlane grid(7 * 7 * 7 * 2, 0.0f);
    grid[((3 * 7 + 3) * 7 + 3) * 2] = 8.0f;
    float input = 10.5f;
    float output = 0.0f;
    Filter_Fast_Interpolate_tile(0, 0, 1, 1, 1.0f, 1.0f, 10.0f, 3, 7, 7, grid.data(), &input, &output);
    EXPECT_EQ(output, 14.0f);
}

TEST(cBilateral, AnEmptyTileTouchesNothing)
{
    Filter_Fast_Interpolate_tile(0, 3, 3, 5, 1.0f, 1.0f, 0.0f, 3, 7, 7, nullptr, nullptr, nullptr);
    Filter_Fast_Interpolate_tile(0, 3, -2, 5, 1.0f, 1.0f, 0.0f, 3, 7, 7, nullptr, nullptr, nullptr);
}

TEST(cBilateral, TheTileEntryReadsItsRecordWhereverItLies)
{
    tPlane grid = Noise(7 * 7 * 7 * 2, -1.0f, 1.0f);
    tPlane input = Noise(Count(4, 3), 0.0f, 1.0f);
    tPlane output(input.size(), 7.0f);
    tPlane expected = output;
    Filter_Fast_Interpolate_tile(0, 1, 3, 4, 3.0f, 1.5f, 0.25f, 3, 7, 7, grid.data(), input.data(), expected.data());
    std::vector<unsigned char> bytes(1 + SliceRecord::kBytes);
    unsigned char* const record = bytes.data() + 1;
    SetField(record, TileHeader::kStart, 1);
    SetField(record, TileHeader::kEnd, 3);
    SetField(record, SliceRecord::kWidth, 4);
    SetField(record, SliceRecord::kSpaceSampling, 3.0f);
    SetField(record, SliceRecord::kRangeSampling, 1.5f);
    SetField(record, SliceRecord::kRangeMin, 0.25f);
    SetField(record, SliceRecord::kMargin, 3);
    SetField(record, SliceRecord::kCellsX, 7);
    SetField(record, SliceRecord::kCellsY, 7);
    SetField(record, SliceRecord::kGrid, grid.data());
    SetField(record, SliceRecord::kInput, input.data());
    SetField(record, SliceRecord::kOutput, output.data());
    EXPECT_EQ(Filter_Fast_Interpolate_tile_threaded(record), nullptr);
    EXPECT_EQ(FirstDifference(output, expected), -1);
    EXPECT_EQ(output[0], 7.0f);
}

} // namespace
