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

/// What the filter computed, read through its record before the filter drops it.
struct sSeen
{
    int fKernelSize = 0;
    float fLimit = 0;
    float fScale = 0;
    tPlane fTable;
    tPlane fKernel;
    tPlane fResult;
};

sSeen Seen(tPlane pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange, int pThreads = 1,
           sCutting pCutting = {})
{
    sSeen seen;
    std::vector<unsigned char> record;
    pCutting.fBeforeCall = [&](const sDivideCall& pCall) { record = pCall.fRecord; };
    pCutting.fAfterCall = [&] {
        using namespace ReferenceRecord;
        seen.fKernelSize = GetField(record.data(), kKernelSize);
        seen.fLimit = GetField(record.data(), kLimit);
        seen.fScale = GetField(record.data(), kScale);
        const float* const table = GetField(record.data(), kRangeTable);
        const float* const kernel = GetField(record.data(), kKernel);
        const float* const result = GetField(record.data(), kResult);
        seen.fTable.assign(table, table + 256);
        seen.fKernel.assign(kernel, kernel + std::max(0, seen.fKernelSize) * std::max(0, seen.fKernelSize));
        seen.fResult.assign(result, result + pInput.size());
    };
    const cHostScope host(pCutting);
    cBilateral::Filter_Ref(nullptr, nullptr, pThreads, pInput.data(), nullptr, pWidth, pHeight, pSigmaSpace,
                           pSigmaRange, kNaN, kNaN);
    return seen;
}

void ExpectDirect(const tPlane& pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange)
{
    const sSeen seen = Seen(pInput, pWidth, pHeight, pSigmaSpace, pSigmaRange);
    const sDirectReference direct = DirectReference(pInput, pWidth, pHeight, pSigmaSpace, pSigmaRange);
    EXPECT_EQ(seen.fKernelSize, direct.fKernelSize);
    EXPECT_TRUE(SameFloat(seen.fLimit, direct.fLimit));
    EXPECT_TRUE(SameFloat(seen.fScale, 255.0f / direct.fLimit));
    EXPECT_EQ(FirstDifference(seen.fTable, direct.fTable), -1);
    EXPECT_EQ(FirstDifference(seen.fKernel, direct.fKernel), -1);
    EXPECT_EQ(FirstDifference(seen.fResult, direct.fResult), -1)
        << pWidth << " x " << pHeight << ", " << pSigmaSpace << ", " << pSigmaRange;
}

TEST(cBilateralRef, EqualsTheDirectFormulaForWidths1To70)
{
    for (int width = 1; width <= 70; width++)
        for (const float sigma : {0.13f, 0.4f, 1.0f, 2.6f}) {
            const int height = 1 + (width * 7) % 13;
            ExpectDirect(Noise(Count(width, height), -2.0f, 2.0f, static_cast<uint32_t>(width)), width, height, sigma,
                         0.35f);
        }
}

TEST(cBilateralRef, KernelSizesFollowTheTruncation)
{
    const auto size = [](float pSigma) { return Seen({1.0f}, 1, 1, pSigma, 1.0f).fKernelSize; };
    EXPECT_EQ(size(0.1f), 1);
    EXPECT_EQ(size(std::nextafter(0.125f, 0.0f)), 1);
    EXPECT_EQ(size(0.125f), 2);
    EXPECT_EQ(size(0.374f), 2);
    EXPECT_EQ(size(1.0f), 5);
    EXPECT_EQ(size(8.0f), 33);
    EXPECT_EQ(size(-0.375f), 0);
    EXPECT_EQ(size(-1.0f), -2);
    EXPECT_EQ(size(kNaN), 1);
}

TEST(cBilateralRef, AKernelOfOneMakesTheWholeResultOneKindOfNaN)
{
    const sSeen seen = Seen(Noise(12, 0.0f, 1.0f), 4, 3, 0.1f, 0.5f);
    for (const float pixel : seen.fResult) {
        uint32_t bits = 0;
        std::memcpy(&bits, &pixel, sizeof bits);
        EXPECT_EQ(bits, 0x7FC00000u);
    }
}

TEST(cBilateralRef, ANegativeSigmaHasEmptyWindowsToo)
{
    for (const float sigma : {-0.4f, -1.0f, -50.0f})
        for (const float pixel : Seen(Noise(12, 0.0f, 1.0f), 4, 3, sigma, 0.5f).fResult)
            EXPECT_TRUE(std::isnan(pixel)) << sigma;
}

TEST(cBilateralRef, TheWindowIsLopsided)
{
    // With a kernel of 5 the pixel two places before counts, and the pixel two places behind does not.
    const tPlane plane{1.0f, 1.0f, 1.0f, 1.0f, 9.0f};
    EXPECT_EQ(Seen(plane, 5, 1, 1.0f, 100.0f).fResult[2], 1.0f);
    EXPECT_NE(Seen({9.0f, 1.0f, 1.0f, 1.0f, 1.0f}, 5, 1, 1.0f, 100.0f).fResult[2], 1.0f);
    EXPECT_NE(Seen(plane, 5, 1, 1.0f, 100.0f).fResult[3], 1.0f);
    EXPECT_EQ(Seen(plane, 1, 5, 1.0f, 100.0f).fResult[2], 1.0f);
}

TEST(cBilateralRef, APixelFarFromItsNeighboursKeepsItsValue)
{
    tPlane plane(25, 5.0f);
    plane[12] = 0.3f;
    EXPECT_EQ(Seen(plane, 5, 5, 1.0f, 0.1f).fResult[12], 0.3f);
}

TEST(cBilateralRef, ADifferenceEqualToTheLimitStillCounts)
{
    const float limit = Seen({0.0f}, 1, 1, 1.0f, 0.7f).fLimit;
    const sSeen seen = Seen({limit, 0.0f}, 2, 1, 1.0f, 0.7f);
    const float weight = seen.fTable[255] * seen.fKernel[2 * 5 + 1];
    EXPECT_EQ(seen.fResult[1], std::fma(weight, limit, 0.0f) / (weight + 1.0f));
    const float above = std::nextafter(limit, 10.0f);
    EXPECT_EQ(Seen({above, 0.0f}, 2, 1, 1.0f, 0.7f).fResult[1], 0.0f);
}

TEST(cBilateralRef, OddSigmasAndSamplesStayInsideTheTable)
{
    tPlane plane = Noise(49, -1.0f, 1.0f);
    plane[10] = kNaN;
    plane[30] = kInfinity;
    plane[31] = kInfinity;
    plane[40] = -kInfinity;
    for (const float sigma : {0.0f, -0.3f, 1e-42f, 1e-38f, 0.5f, 1e19f, 1e30f, 3e38f, kInfinity, kNaN})
        ExpectDirect(plane, 7, 7, 1.0f, sigma);
}

TEST(cBilateralRef, ANaNDifferenceIsNotSkippedAndTakesTheFirstWeight)
{
    // Two infinities of one sign differ by a NaN, which is not above the limit.
    const sSeen seen = Seen({kInfinity, kInfinity}, 2, 1, 1.0f, 0.5f);
    EXPECT_EQ(seen.fResult[0], kInfinity);
    EXPECT_TRUE(std::isnan(Seen({kNaN, 1.0f}, 2, 1, 1.0f, 0.5f).fResult[1]));
}

TEST(cBilateralRef, IsTheSameForAnyCutOfTheTiles)
{
    const tPlane plane = Noise(Count(31, 29), -2.0f, 2.0f);
    const tPlane expected = DirectReference(plane, 31, 29, 1.3f, 0.5f).fResult;
    for (int threads = 0; threads <= 8; threads++) {
        sCutting cutting;
        cutting.fTiles = 3 * threads;
        cutting.fOrder = eTilesReverse;
        cutting.fUneven = true;
        cutting.fThreads = threads > 5;
        EXPECT_EQ(FirstDifference(Seen(plane, 31, 29, 1.3f, 0.5f, threads, cutting).fResult, expected), -1) << threads;
    }
}

TEST(cBilateralRef, DropsItsResultAndReadsNoFlag)
{
    tPlane input = Noise(30, 0.0f, 1.0f);
    const tPlane before = input;
    tPlane output(30, 4.5f);
    bool cancel = true;
    bool cancelled = false;
    cBilateral::Filter_Ref(&cancel, &cancelled, 2, input.data(), output.data(), 6, 5, 1.0f, 1.0f, 0.0f, 1.0f);
    EXPECT_EQ(FirstDifference(output, tPlane(30, 4.5f)), -1);
    EXPECT_EQ(FirstDifference(input, before), -1);
    EXPECT_FALSE(cancelled);
}

TEST(cBilateralRef, HandsOutARecordWhoseEveryByteIsGiven)
{
    tPlane input = Noise(30, 0.0f, 1.0f);
    const cArrayLog log;
    const cHostScope host;
    cBilateral::Filter_Ref(nullptr, nullptr, 7, input.data(), nullptr, 6, 5, 1.0f, 0.25f, 0.0f, 1.0f);
    ASSERT_EQ(host.Calls().size(), 1u);
    const sDivideCall& call = host.Calls()[0];
    EXPECT_EQ(call.fStart, 0);
    EXPECT_EQ(call.fEnd, 5);
    EXPECT_EQ(call.fThreads, 7);
    EXPECT_EQ(call.fFunction, Filter_Ref_Process_tile_threaded);
    const float limit = static_cast<float>(std::sqrt(0.25 * 0.25 * 9.2103403719761818));
    std::vector<unsigned char> expected(ReferenceRecord::kBytes, 0);
    unsigned char* const record = expected.data();
    SetField(record, ReferenceRecord::kWidth, 6);
    SetField(record, ReferenceRecord::kHeight, 5);
    SetField(record, ReferenceRecord::kKernelSize, 5);
    SetField(record, ReferenceRecord::kLimit, limit);
    SetField(record, ReferenceRecord::kScale, 255.0f / limit);
    SetField(record, ReferenceRecord::kInput, input.data());
    SetField(record, ReferenceRecord::kRangeTable, log.Arrays().at(1).Floats());
    SetField(record, ReferenceRecord::kKernel, log.Arrays().at(0).Floats());
    SetField(record, ReferenceRecord::kResult, log.Arrays().at(2).Floats());
    EXPECT_EQ(call.fRecord, expected);
}

TEST(cBilateralRef, TakesKernelTableAndResultAndReleasesResultTableAndKernel)
{
    tPlane input(30);
    const cArrayLog log;
    cBilateral::Filter_Ref(nullptr, nullptr, 1, input.data(), nullptr, 6, 5, 1.0f, 1.0f, 0.0f, 1.0f);
    const std::vector<sArray> arrays = log.Arrays();
    ASSERT_EQ(arrays.size(), 3u);
    EXPECT_EQ(arrays[0].fBytes, 25 * sizeof(float));
    EXPECT_EQ(arrays[1].fBytes, 256 * sizeof(float));
    EXPECT_EQ(arrays[2].fBytes, 30 * sizeof(float));
    EXPECT_EQ(arrays[2].fReleased, 0);
    EXPECT_EQ(arrays[1].fReleased, 1);
    EXPECT_EQ(arrays[0].fReleased, 2);
}

TEST(cBilateralRef, AFailedAllocationReleasesWhatWasHeld)
{
    for (const int failing : {0, 1, 2}) {
        tPlane input(30);
        const cHostScope host;
        const cArrayLog log(failing);
        EXPECT_THROW(cBilateral::Filter_Ref(nullptr, nullptr, 1, input.data(), nullptr, 6, 5, 1.0f, 1.0f, 0.0f, 1.0f),
                     std::bad_alloc);
        EXPECT_EQ(log.Arrays().size(), static_cast<size_t>(failing));
        EXPECT_EQ(log.Held(), 0);
        EXPECT_TRUE(host.Calls().empty());
    }
}

TEST(cBilateralRef, AKernelThatDoesNotFitIsRefusedBeforeAnythingIsTaken)
{
    // 46341 squared is just above the largest count. The squares of the others wrap, or the sizes themselves do not
    // fit.
    for (const float sigma : {11585.0f, 16384.0f, 20000.0f, 3e9f, kInfinity, -12000.0f, -3e9f, -kInfinity}) {
        const cArrayLog log;
        EXPECT_THROW(cBilateral::Filter_Ref(nullptr, nullptr, 1, nullptr, nullptr, 1, 1, sigma, 1.0f, 0.0f, 1.0f),
                     std::bad_array_new_length)
            << sigma;
        EXPECT_TRUE(log.Arrays().empty());
    }
}

TEST(cBilateralRef, APlaneThatDoesNotFitIsRefusedAndBothTablesReleased)
{
    for (const auto& [width, height] : {std::pair(65536, 65536), {65537, 65537}, {46341, 46341}, {-1, 5}, {5, -1}}) {
        const cArrayLog log;
        EXPECT_THROW(
            cBilateral::Filter_Ref(nullptr, nullptr, 1, nullptr, nullptr, width, height, 1.0f, 1.0f, 0.0f, 1.0f),
            std::bad_array_new_length);
        EXPECT_EQ(log.Arrays().size(), 2u);
        EXPECT_EQ(log.Held(), 0);
    }
}

TEST(cBilateralRef, PlanesWithoutPixelsAreFilteredToNothing)
{
    for (const auto& [width, height] : {std::pair(0, 5), {5, 0}, {0, 0}, {-2, -2}}) {
        const cHostScope host;
        cBilateral::Filter_Ref(nullptr, nullptr, 1, nullptr, nullptr, width, height, 1.0f, 1.0f, 0.0f, 1.0f);
        ASSERT_EQ(host.Calls().size(), 1u);
        EXPECT_EQ(host.Calls()[0].fEnd, height);
    }
}

TEST(cBilateralRef, ATileWritesItsOwnRowsOnly)
{
    tPlane input = Noise(Count(9, 8), -1.0f, 1.0f);
    sDirectReference direct = DirectReference(input, 9, 8, 1.0f, 0.6f);
    for (const auto& [start, end] : {std::pair(0, 8), {2, 5}, {7, 8}, {4, 4}, {6, 1}}) {
        tPlane result(input.size(), -9.0f);
        Filter_Ref_Process_tile(3, start, end, 9, 8, direct.fKernelSize, direct.fLimit, 255.0f / direct.fLimit,
                                input.data(), direct.fTable.data(), direct.fKernel.data(), result.data());
        for (int y = 0; y < 8; y++)
            for (int x = 0; x < 9; x++) {
                const size_t at = Count(y, 9) + static_cast<size_t>(x);
                EXPECT_EQ(result[at], y >= start && y < end ? direct.fResult[at] : -9.0f);
            }
    }
}

TEST(cBilateralRef, ATileWithAnOddScaleStaysInsideTheTable)
{
    tPlane input = Noise(Count(9, 8), -1.0f, 1.0f);
    const cGuardedPlane table(tPlane(256, 1.0f), true);
    const cGuardedPlane front(tPlane(1024, 1.0f), false);
    tPlane kernel(25, 1.0f);
    tPlane result(input.size());
    for (const float scale : {0.0f, -1.0f, -1e30f, 1e30f, kInfinity, -kInfinity, kNaN})
        for (float* weights : {table.Floats(), front.Floats()})
            Filter_Ref_Process_tile(0, 0, 8, 9, 8, 5, 10.0f, scale, input.data(), weights, kernel.data(),
                                    result.data());
    EXPECT_FALSE(std::isnan(result[0]));
}

TEST(cBilateralRef, TheWindowOfTheMostNegativeKernelSizeIsEmpty)
{
    tPlane input{1.0f, 3.0f};
    tPlane result(2);
    Filter_Ref_Process_tile(0, 0, 1, 2, 1, std::numeric_limits<int>::min(), 10.0f, 0.0f, input.data(), nullptr, nullptr,
                            result.data());
    EXPECT_TRUE(std::isnan(result[0]) && std::isnan(result[1]));
}

TEST(cBilateralRef, TouchesNothingBesideItsPlane)
{
    for (const bool atTheEnd : {false, true})
        for (int width = 1; width <= 40; width++) {
            const int height = 1 + (width * 5) % 7;
            const cGuardedPlane input(Noise(Count(width, height), 0.0f, 1.0f), atTheEnd);
            cBilateral::Filter_Ref(nullptr, nullptr, 1, input.Floats(), nullptr, width, height, 1.5f, 0.5f, 0.0f, 1.0f);
        }
}

TEST(cBilateralRef, TheTileEntryReadsItsRecordWhereverItLies)
{
    tPlane input = Noise(Count(6, 5), 0.0f, 1.0f);
    sDirectReference direct = DirectReference(input, 6, 5, 1.0f, 0.6f);
    tPlane result(input.size(), 7.0f);
    std::vector<unsigned char> bytes(1 + ReferenceRecord::kBytes);
    unsigned char* const record = bytes.data() + 1;
    SetField(record, TileHeader::kStart, 0);
    SetField(record, TileHeader::kEnd, 5);
    SetField(record, ReferenceRecord::kWidth, 6);
    SetField(record, ReferenceRecord::kHeight, 5);
    SetField(record, ReferenceRecord::kKernelSize, direct.fKernelSize);
    SetField(record, ReferenceRecord::kLimit, direct.fLimit);
    SetField(record, ReferenceRecord::kScale, 255.0f / direct.fLimit);
    SetField(record, ReferenceRecord::kInput, input.data());
    SetField(record, ReferenceRecord::kRangeTable, direct.fTable.data());
    SetField(record, ReferenceRecord::kKernel, direct.fKernel.data());
    SetField(record, ReferenceRecord::kResult, result.data());
    EXPECT_EQ(Filter_Ref_Process_tile_threaded(record), nullptr);
    EXPECT_EQ(FirstDifference(result, direct.fResult), -1);
}

} // namespace
