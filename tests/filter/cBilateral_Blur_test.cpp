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

size_t Count(int pWidth, int pHeight)
{
    return static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight);
}

tPlane Blurred(tPlane pPlane, int pWidth, int pHeight, float pSigma, int pThreads = 1)
{
    tPlane result(pPlane.size(), -7.0f);
    cBilateral::FastGaussianBlur(pThreads, pPlane.data(), result.data(), pWidth, pHeight, pSigma);
    return result;
}

TEST(cBilateralBlur, EqualsTheDirectFormulaForWidths1To70)
{
    const float sigmas[] = {0.01f, 0.7f, 1.0f, std::nextafter(1.0f, 2.0f), 2.3f, 9.0f, 33.0f};
    for (int width = 1; width <= 70; width++)
        for (const float sigma : sigmas) {
            const int height = 1 + (width * 7) % 23;
            const tPlane plane = Noise(Count(width, height), -38.5f, 6.25f, static_cast<uint32_t>(width));
            EXPECT_EQ(FirstDifference(Blurred(plane, width, height, sigma), DirectBlur(plane, width, height, sigma)),
                      -1)
                << width << " x " << height << ", sigma " << sigma;
        }
}

TEST(cBilateralBlur, EqualsTheDirectFormulaOnLinesLongerThanAStripAndMoreRowsAndColumnsThanAGroup)
{
    for (const auto& [width, height] : {std::pair(300, 9), {129, 16}, {257, 5}, {700, 17}, {3, 300}, {128, 8}})
        for (const float sigma : {0.5f, 3.0f, 127.4f, 128.5f, 129.0f, 200.0f}) {
            const tPlane plane = Noise(Count(width, height), -1.0f, 1e6f, static_cast<uint32_t>(width));
            EXPECT_EQ(FirstDifference(Blurred(plane, width, height, sigma), DirectBlur(plane, width, height, sigma)),
                      -1)
                << width << " x " << height << ", sigma " << sigma;
        }
}

TEST(cBilateralBlur, IsTheSameForAnyCutOfTheTiles)
{
    const tPlane plane = Noise(Count(61, 47), -38.5f, 6.25f);
    const tPlane expected = DirectBlur(plane, 61, 47, 4.2f);
    for (int threads = 0; threads <= 8; threads++)
        for (const int tiles : {1, 3, 16, 100}) {
            sCutting cutting;
            cutting.fTiles = tiles;
            cutting.fOrder = eTilesShuffled;
            cutting.fSeed = static_cast<unsigned>(tiles + threads);
            cutting.fUneven = true;
            cutting.fThreads = threads > 5;
            const cHostScope host(cutting);
            EXPECT_EQ(FirstDifference(Blurred(plane, 61, 47, 4.2f, threads), expected), -1) << threads << " " << tiles;
        }
}

TEST(cBilateralBlur, TheSourceMayBeTheDestination)
{
    const tPlane plane = Noise(Count(40, 30), 0.0f, 1.0f);
    tPlane inPlace = plane;
    cBilateral::FastGaussianBlur(1, inPlace.data(), inPlace.data(), 40, 30, 3.0f);
    EXPECT_EQ(FirstDifference(inPlace, DirectBlur(plane, 40, 30, 3.0f)), -1);
}

TEST(cBilateralBlur, AnotherSourceStaysAsItWas)
{
    const tPlane plane = Noise(Count(40, 30), 0.0f, 1.0f);
    tPlane source = plane;
    tPlane dest(plane.size());
    cBilateral::FastGaussianBlur(1, source.data(), dest.data(), 40, 30, 3.0f);
    EXPECT_EQ(FirstDifference(source, plane), -1);
    EXPECT_EQ(FirstDifference(dest, DirectBlur(plane, 40, 30, 3.0f)), -1);
}

TEST(cBilateralBlur, TheRunningSumCarriesItsRoundingAlongTheLine)
{
    // The large sample at the start leaves the box, but its rounding stays in the sum.
    tPlane row(40, 0.1f);
    row[0] = 1e7f;
    const tPlane result = Blurred(row, 40, 1, 2.0f);
    EXPECT_EQ(FirstDifference(result, DirectBlur(row, 40, 1, 2.0f)), -1);
    EXPECT_NE(result[39], 0.1f);
    tPlane column(40, 0.1f);
    column[0] = 1e7f;
    EXPECT_EQ(FirstDifference(Blurred(column, 1, 40, 2.0f), result), -1);
}

TEST(cBilateralBlur, TheFirstSamplesAreAddedInOrderInBothPasses)
{
    // Added in order, 1e8 + 4 + 4 + 4 ... stays 1e8. Added in lanes or backwards it does not.
    tPlane line(64, 4.0f);
    line[0] = 1e8f;
    const tPlane expected = DirectBlur(line, 64, 1, 40.0f);
    EXPECT_EQ(FirstDifference(Blurred(line, 64, 1, 40.0f), expected), -1);
    EXPECT_EQ(FirstDifference(Blurred(line, 1, 64, 40.0f), expected), -1);
}

TEST(cBilateralBlur, ABoxWiderThanTheLineTakesTheMeanOfAll)
{
    const tPlane line{1.0f, 2.0f, 3.0f, 6.0f};
    for (const float sigma : {5.0f, 1000.0f, 2147483648.0f, 3e9f, 3e38f, kInfinity})
        EXPECT_EQ(FirstDifference(Blurred(line, 4, 1, sigma), tPlane(4, 3.0f)), -1) << sigma;
}

TEST(cBilateralBlur, AConstantPlaneComesBackAtTheEdgesToo)
{
    for (const float sigma : {0.3f, 1.7f, 6.0f, 50.0f}) {
        tPlane source(23 * 17, 2.0f); // sums of twos are exact
        tPlane dest(source.size());
        cBilateral::FastGaussianBlur(1, source.data(), dest.data(), 23, 17, sigma);
        for (const float value : dest)
            ASSERT_NEAR(value, 2.0f, 1e-5f) << sigma;
    }
}

TEST(cBilateralBlur, AOnePixelLineComesBackAsItIs)
{
    for (const float sigma : {0.01f, 1.0f, 5.0f, kInfinity})
        EXPECT_EQ(FirstDifference(Blurred({0.3f}, 1, 1, sigma), {0.3f}), -1) << sigma;
}

TEST(cBilateralBlur, TheSmallestSigmaHasARadiusOfZeroAndKeepsEverySample)
{
    const tPlane plane{1.0f, 5.0f, 2.0f, 9.0f};
    EXPECT_EQ(FirstDifference(Blurred(plane, 2, 2, std::numeric_limits<float>::denorm_min()), plane), -1);
}

TEST(cBilateralBlur, ASigmaNotAboveZeroCopiesAndAllocatesNothing)
{
    const tPlane plane = Noise(Count(9, 5), -1.0f, 1.0f);
    for (const float sigma : {0.0f, -0.0f, -1.0f, -kInfinity, kNaN}) {
        const cArrayLog log;
        const cHostScope host;
        tPlane source = plane;
        tPlane dest(plane.size() + 1, 4.0f);
        cBilateral::FastGaussianBlur(2, source.data(), dest.data(), 9, 5, sigma);
        EXPECT_TRUE(log.Arrays().empty());
        EXPECT_TRUE(host.Calls().empty());
        EXPECT_EQ(FirstDifference(dest.data(), plane.data(), plane.size()), -1);
        EXPECT_EQ(dest.back(), 4.0f);
    }
}

TEST(cBilateralBlur, CopyingNothingTouchesNothing)
{
    for (const auto& [width, height] : {std::pair(0, 5), {5, 0}, {-3, 5}, {5, -3}})
        cBilateral::FastGaussianBlur(1, nullptr, nullptr, width, height, 0.0f);
    float source = 1.0f;
    float dest = 2.0f;
    // The products of the last three wrap: to 0, to the size of a small plane, and below 0.
    for (const auto& [width, height] :
         {std::pair(0, 5), {5, 0}, {-3, 5}, {5, -3}, {65536, 65536}, {65537, 65537}, {46341, 46341}})
        cBilateral::FastGaussianBlur(1, &source, &dest, width, height, 0.0f);
    EXPECT_EQ(dest, 2.0f);
}

TEST(cBilateralBlur, SizesThatDoNotFitAreRefused)
{
    for (const auto& [width, height] : {std::pair(65536, 65536), {65537, 65537}, {46341, 46341}}) {
        float source = 1.0f;
        float dest = 2.0f;
        EXPECT_THROW(cBilateral::FastGaussianBlur(1, &source, &dest, width, height, 1.0f), std::bad_array_new_length)
            << width;
        EXPECT_EQ(dest, 2.0f);
    }
}

TEST(cBilateralBlur, TwoSizesBelowZeroCopyAsManyFloatsAsTheirProduct)
{
    tPlane source = Noise(10, 0.0f, 1.0f);
    tPlane dest(10, 2.0f);
    cBilateral::FastGaussianBlur(1, source.data(), dest.data(), -3, -3, 0.0f);
    EXPECT_EQ(FirstDifference(dest.data(), source.data(), 9), -1);
    EXPECT_EQ(dest[9], 2.0f);
}

TEST(cBilateralBlur, ANegativeLongerSideIsRefusedBeforeTheTableIsTaken)
{
    const cArrayLog log;
    EXPECT_THROW(cBilateral::FastGaussianBlur(1, nullptr, nullptr, -1, -2, 1.0f), std::bad_array_new_length);
    EXPECT_TRUE(log.Arrays().empty());
}

TEST(cBilateralBlur, ANegativeProductIsRefusedAndTheTableReleased)
{
    const cArrayLog log;
    EXPECT_THROW(cBilateral::FastGaussianBlur(1, nullptr, nullptr, 5, -2, 1.0f), std::bad_array_new_length);
    ASSERT_EQ(log.Arrays().size(), 1u);
    EXPECT_EQ(log.Arrays()[0].fBytes, 5 * sizeof(float));
    EXPECT_EQ(log.Held(), 0);
}

TEST(cBilateralBlur, PlanesWithoutPixelsAreBlurredToNothing)
{
    for (const auto& [width, height] : {std::pair(0, 5), {5, 0}, {0, 0}}) {
        const cHostScope host;
        cBilateral::FastGaussianBlur(1, nullptr, nullptr, width, height, 1.0f);
        ASSERT_EQ(host.Calls().size(), 6u);
        EXPECT_EQ(host.Calls()[0].fEnd, height);
        EXPECT_EQ(host.Calls()[1].fEnd, width);
    }
}

TEST(cBilateralBlur, TakesTheTableThenTheScratchPlaneAndReleasesThemTheOtherWayRound)
{
    const cArrayLog log;
    Blurred(tPlane(Count(5, 9)), 5, 9, 1.0f);
    const std::vector<sArray> arrays = log.Arrays();
    ASSERT_EQ(arrays.size(), 2u);
    EXPECT_EQ(arrays[0].fBytes, 9 * sizeof(float));
    EXPECT_EQ(arrays[1].fBytes, 45 * sizeof(float));
    EXPECT_EQ(arrays[0].fReleased, 1);
    EXPECT_EQ(arrays[1].fReleased, 0);
}

TEST(cBilateralBlur, AFailedAllocationReleasesWhatWasHeld)
{
    for (const int failing : {0, 1}) {
        tPlane plane(Count(5, 9), 1.0f);
        tPlane dest(Count(5, 9), 2.0f);
        const cArrayLog log(failing);
        EXPECT_THROW(cBilateral::FastGaussianBlur(1, plane.data(), dest.data(), 5, 9, 1.0f), std::bad_alloc);
        EXPECT_EQ(log.Arrays().size(), static_cast<size_t>(failing));
        EXPECT_EQ(log.Held(), 0);
        EXPECT_EQ(dest[0], 2.0f);
    }
}

TEST(cBilateralBlur, HandsOutSixRecordsWhoseEveryByteIsGiven)
{
    tPlane source = Noise(Count(7, 4), 0.0f, 1.0f);
    tPlane dest(source.size());
    const cArrayLog log;
    const cHostScope host;
    cBilateral::FastGaussianBlur(3, source.data(), dest.data(), 7, 4, 2.0f);
    ASSERT_EQ(host.Calls().size(), 6u);
    const float* const table = log.Arrays()[0].Floats();
    const float* const scratch = log.Arrays()[1].Floats();
    const float radius = 2.0f - 0.58f;
    for (size_t call = 0; call < 6; call++) {
        const bool rows = call % 2 == 0;
        const sDivideCall& made = host.Calls()[call];
        EXPECT_EQ(made.fStart, 0);
        EXPECT_EQ(made.fEnd, rows ? 4 : 7);
        EXPECT_EQ(made.fThreads, 3);
        EXPECT_EQ(made.fFunction,
                  rows ? FastGaussianBlur_Filter1_tile_threaded : FastGaussianBlur_Filter2_tile_threaded);
        std::vector<unsigned char> expected(BlurRecord::kBytes, 0);
        unsigned char* const record = expected.data();
        SetField(record, BlurRecord::kWidth, 7);
        SetField(record, BlurRecord::kHeight, 4);
        SetField(record, BlurRecord::kRadius, 2);
        SetField(record, BlurRecord::kEdgeFraction, 2.0f - radius);
        SetField(record, BlurRecord::kNormalisation, table);
        SetField(record, BlurRecord::kSource, rows ? (call == 0 ? source.data() : dest.data()) : scratch);
        SetField(record, BlurRecord::kDest, rows ? scratch : dest.data());
        EXPECT_EQ(made.fRecord, expected) << call;
    }
}

TEST(cBilateralBlur, RadiusAndEdgeFractionComeFromTheBranchOfSigma)
{
    const auto fields = [](float pSigma) {
        const cHostScope host;
        float pixel = 1.0f;
        cBilateral::FastGaussianBlur(1, &pixel, &pixel, 1, 1, pSigma);
        const unsigned char* const record = host.Calls().at(0).fRecord.data();
        return std::pair(GetField(record, BlurRecord::kRadius), GetField(record, BlurRecord::kEdgeFraction));
    };
    EXPECT_EQ(fields(1.0f), std::pair(1, 1.0f - 0x1.ae147cp-2f)); // 0.42
    EXPECT_EQ(fields(0.01f), std::pair(1, 1.0f - 0.01f * 0x1.ae147cp-2f));
    const float above = std::nextafter(1.0f, 2.0f);
    EXPECT_EQ(fields(above), std::pair(1, 1.0f - (above - 0x1.28f5c2p-1f))); // 0.58
    EXPECT_EQ(fields(10.5f), std::pair(10, 10.0f - (10.5f - 0x1.28f5c2p-1f)));
    EXPECT_EQ(fields(3e9f).first, std::numeric_limits<int32_t>::max());
    EXPECT_EQ(fields(kInfinity).first, std::numeric_limits<int32_t>::max());
}

TEST(cBilateralBlur, TheNormalisationTableHoldsTheWeightsThatFallInside)
{
    for (const std::pair<int, int>& sides : {std::pair(20, 3), {3, 20}, {1, 1}, {5, 6}})
        for (const float sigma : {0.2f, 1.7f, 3.1f, 8.0f, 40.0f}) {
            std::vector<tPlane> tables;
            sCutting cutting;
            cutting.fBeforeCall = [&](const sDivideCall& pCall) {
                const unsigned char* const record = pCall.fRecord.data();
                const float* const table = GetField(record, BlurRecord::kNormalisation);
                const int length = tables.size() % 2 == 0 ? sides.first : sides.second;
                EXPECT_EQ(FirstDifference({table, table + length},
                                          DirectNormalisation(length, GetField(record, BlurRecord::kRadius),
                                                              GetField(record, BlurRecord::kEdgeFraction))),
                          -1)
                    << sides.first << " x " << sides.second << ", sigma " << sigma;
                tables.emplace_back(table, table + length);
            };
            const cHostScope host(cutting);
            Blurred(tPlane(Count(sides.first, sides.second)), sides.first, sides.second, sigma);
            EXPECT_EQ(tables.size(), 6u);
        }
}

TEST(cBilateralBlur, TilesWriteTheirOwnRowsOrColumnsOnly)
{
    constexpr int kWidth = 21;
    constexpr int kHeight = 19;
    tPlane source = Noise(Count(kWidth, kHeight), -3.0f, 3.0f);
    for (const int radius : {0, 1, 4, 30})
        for (const auto& [start, end] : {std::pair(0, 19), {3, 12}, {5, 6}, {18, 19}, {7, 7}, {9, 2}}) {
            tPlane table = DirectNormalisation(kWidth, radius, 0.25f);
            tPlane dest(source.size(), -9.0f);
            FastGaussianBlur_Filter1_tile(5, start, end, kWidth, kHeight, radius, 0.25f, table.data(), source.data(),
                                          dest.data());
            tPlane columnTable = DirectNormalisation(kHeight, radius, 0.25f);
            tPlane columnDest(source.size(), -9.0f);
            FastGaussianBlur_Filter2_tile(5, start, end, kWidth, kHeight, radius, 0.25f, columnTable.data(),
                                          source.data(), columnDest.data());
            for (int y = 0; y < kHeight; y++)
                for (int x = 0; x < kWidth; x++) {
                    const size_t at = Count(y, kWidth) + static_cast<size_t>(x);
                    tPlane column;
                    for (int row = 0; row < kHeight; row++)
                        column.push_back(source[Count(row, kWidth) + static_cast<size_t>(x)]);
                    const auto row = source.begin() + static_cast<ptrdiff_t>(Count(y, kWidth));
                    const tPlane blurredRow = DirectBox({row, row + kWidth}, radius, 0.25f, table);
                    const tPlane blurredColumn = DirectBox(column, radius, 0.25f, columnTable);
                    EXPECT_EQ(dest[at], y >= start && y < end ? blurredRow[static_cast<size_t>(x)] : -9.0f);
                    EXPECT_EQ(columnDest[at], x >= start && x < end ? blurredColumn[static_cast<size_t>(y)] : -9.0f);
                }
        }
}

TEST(cBilateralBlur, TileEntriesReadTheirRecordWhereverItLies)
{
    tPlane source = Noise(Count(6, 5), 0.0f, 1.0f);
    tPlane table = DirectNormalisation(6, 1, 0.5f);
    tPlane dest(source.size(), 0.0f);
    std::vector<unsigned char> bytes(1 + BlurRecord::kBytes);
    unsigned char* const record = bytes.data() + 1;
    SetField(record, TileHeader::kStart, 1);
    SetField(record, TileHeader::kEnd, 3);
    SetField(record, BlurRecord::kWidth, 6);
    SetField(record, BlurRecord::kHeight, 5);
    SetField(record, BlurRecord::kRadius, 1);
    SetField(record, BlurRecord::kEdgeFraction, 0.5f);
    SetField(record, BlurRecord::kNormalisation, table.data());
    SetField(record, BlurRecord::kSource, source.data());
    SetField(record, BlurRecord::kDest, dest.data());
    EXPECT_EQ(FastGaussianBlur_Filter1_tile_threaded(record), nullptr);
    tPlane expected(source.size(), 0.0f);
    FastGaussianBlur_Filter1_tile(0, 1, 3, 6, 5, 1, 0.5f, table.data(), source.data(), expected.data());
    EXPECT_EQ(FirstDifference(dest, expected), -1);
    EXPECT_EQ(FastGaussianBlur_Filter2_tile_threaded(record), nullptr);
    FastGaussianBlur_Filter2_tile(0, 1, 3, 6, 5, 1, 0.5f, table.data(), source.data(), expected.data());
    EXPECT_EQ(FirstDifference(dest, expected), -1);
}

TEST(cBilateralBlur, TouchesNothingBesideItsPlanes)
{
    for (const bool atTheEnd : {false, true})
        for (int width = 1; width <= 40; width++) {
            const int height = 1 + (width * 5) % 11;
            const cGuardedPlane source(Noise(Count(width, height), 0.0f, 1.0f), atTheEnd);
            const cGuardedPlane dest(tPlane(Count(width, height)), atTheEnd);
            for (const float sigma : {0.0f, 0.5f, 3.0f, 50.0f})
                cBilateral::FastGaussianBlur(1, source.Floats(), dest.Floats(), width, height, sigma);
        }
}

TEST(cBilateralBlur, NaNAndInfinitySpreadAsTheSumsSay)
{
    for (const float odd : {kNaN, kInfinity, -kInfinity, 3e38f}) {
        tPlane plane = Noise(Count(30, 12), -1.0f, 1.0f);
        plane[Count(5, 30) + 11] = odd;
        plane[Count(8, 30) + 2] = odd;
        EXPECT_EQ(FirstDifference(Blurred(plane, 30, 12, 1.9f), DirectBlur(plane, 30, 12, 1.9f)), -1) << odd;
    }
}

} // namespace
