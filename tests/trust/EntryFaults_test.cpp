// Every allocation of a call of the entry fails, one after another, until the call succeeds: the answer is the one for
// out of memory, sliders and output stay as they were, and nothing is lost but what has to be.

#include "EntryCall.h"
#include "Faults.h"
#include "TileHost.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>

using namespace SelvaneTest;

namespace
{

constexpr int kDone = 1;
constexpr int kOutOfMemory = -4;
constexpr size_t kHistogramBytes = 65536 * 4; // as many as the 16-bit decode table has

/// Bytes of the table that a call of this input form loses; 0 for the form that has none.
size_t DecodeTableBytes(int pInputDepth)
{
    return pInputDepth == 8 ? 256 * 4 : pInputDepth == 16 ? 65536 * 4 : 0;
}

bool IsCalloc(const sRequest& pRequest, size_t pSize)
{
    return pRequest.fKind == eCalloc && pRequest.fSize == pSize;
}

/// Number of the request for the decode table; -1 when the form has none.
int DecodeTableRequest(const sHeapUse& pUse, int pInputDepth)
{
    const auto found = std::find_if(pUse.fRequests.begin(), pUse.fRequests.end(), [&](const sRequest& pRequest) {
        return IsCalloc(pRequest, DecodeTableBytes(pInputDepth));
    });
    return pInputDepth == 32 ? -1 : static_cast<int>(found - pUse.fRequests.begin());
}

/// Number of the request for the histogram's counters, the last of their size.
int HistogramRequest(const sHeapUse& pUse)
{
    const auto found = std::find_if(pUse.fRequests.rbegin(), pUse.fRequests.rend(),
                                    [](const sRequest& pRequest) { return IsCalloc(pRequest, kHistogramBytes); });
    return static_cast<int>(pUse.fRequests.rend() - found) - 1;
}

/// The first pCount losses are the decode table, where the call got past it.
void ExpectDecodeTable(const sHeapUse& pUse, size_t pCount, int pInputDepth)
{
    ASSERT_GE(pUse.fLost.size(), pCount);
    if (pCount == 0) return;
    EXPECT_EQ(pUse.fLost[0].fSize, DecodeTableBytes(pInputDepth));
    EXPECT_EQ(pUse.fLost[0].fKind, eCalloc);
}

sHeapUse Watch(sEntryCall& pCall, sFault pFault = {})
{
    pCall.Reset();
    return WatchHeap([&] { pCall.Run(); }, pFault);
}

using cForm = std::tuple<int, int, int, int>; // input depth, output depth, workers, request type

sEntryCall CallOf(const cForm& pForm, int pWidth, int pHeight)
{
    const auto [inputDepth, outputDepth, workers, request] = pForm;
    sEntryCall call(pWidth, pHeight, inputDepth, outputDepth);
    call.fRun = {workers, 0, request};
    call.fColorSpace = (inputDepth / 8 + outputDepth / 8 + workers) % 3;
    return call;
}

class EntryFaults : public cWatchedHeapTest, public testing::WithParamInterface<cForm>
{
protected:
    int InputDepth() const { return std::get<0>(GetParam()); }
    int Request() const { return std::get<3>(GetParam()); }

    /// What a call must look like after a refusal that it cannot do without.
    void ExpectFailure(const sEntryCall& pCall, const sHeapUse& pUse, bool pTableTaken, bool pTexts)
    {
        const size_t tables = pTableTaken ? 1 : 0;
        EXPECT_EQ(pCall.fResult, kOutOfMemory);
        EXPECT_TRUE(pCall.IsUntouched());
        ExpectDecodeTable(pUse, tables, InputDepth());
        if (pTexts)
            ExpectFiveTexts(pUse, tables);
        else
            EXPECT_EQ(pUse.fLost.size(), tables);
        ExpectCleanBook(pUse);
    }

    /// Without counters there are no points: 0 and 0 are reported, and the picture goes by exposure.
    void ExpectNoPoints(const sEntryCall& pCall, const sHeapUse& pUse, const sEntryCall& pByExposure)
    {
        EXPECT_EQ(pCall.fResult, kDone);
        sTmSliders expected = pCall.fSliders;
        expected.blackPoint = 0.0f;
        expected.whitePoint = 0.0f;
        EXPECT_EQ(std::memcmp(&pCall.fSlidersAfter, &expected, sizeof expected), 0);
        if (Request() != 9) {
            EXPECT_EQ(pCall.fOutput, pByExposure.fOutput);
        }
        const size_t tables = InputDepth() == 32 ? 0 : 1;
        ExpectDecodeTable(pUse, tables, InputDepth());
        EXPECT_EQ(pUse.fLost.size(), tables);
        ExpectCleanBook(pUse);
    }
};

/// The same picture with the points 0 and 1 given by the host: a range of exactly 1 goes by exposure too.
sEntryCall RenderByExposure(const sEntryCall& pCall)
{
    sEntryCall call(pCall);
    call.fRun.requestType = 1;
    call.fSliders.blackPoint = 0.0f;
    call.fSliders.whitePoint = 1.0f;
    call.Reset();
    call.Run();
    return call;
}

TEST_P(EntryFaults, EveryAllocationMayFail)
{
    const cTilingScope tiling(sTiling{.fThreads = true});
    sEntryCall call = CallOf(GetParam(), 13, 9);
    call.fSliders.blackPoint = 7.0f; // to be seen to be written, or not
    call.fSliders.whitePoint = 11.0f;
    const sHeapUse whole = Watch(call);
    ASSERT_EQ(call.fResult, kDone);
    ASSERT_GT(call.fSlidersAfter.whitePoint, call.fSlidersAfter.blackPoint);
    ASSERT_EQ(whole.fLost.size(), InputDepth() == 32 ? 0u : 1u);
    ExpectDecodeTable(whole, whole.fLost.size(), InputDepth());
    ExpectCleanBook(whole);
    FreeLost(whole);
    const sEntryCall byExposure = RenderByExposure(call);
    ASSERT_EQ(byExposure.fResult, kDone);

    const int table = DecodeTableRequest(whole, InputDepth());
    const int histogram = HistogramRequest(whole);
    ASSERT_GT(histogram, table);
    const int requests = static_cast<int>(whole.fRequests.size());
    RecordProperty("requests", requests);
    for (int request = 0; request <= requests; request++) {
        SCOPED_TRACE(request);
        const sHeapUse use = Watch(call, {eFaultOnce, request});
        ASSERT_EQ(use.fRefused, request < requests ? 1 : 0);
        const bool tableTaken = table >= 0 && request > table;
        if (request == requests)
            EXPECT_EQ(call.fResult, kDone);
        else if (request == histogram)
            ExpectNoPoints(call, use, byExposure);
        else
            ExpectFailure(call, use, tableTaken,
                          request != table && IsFromMalloc(whole.fRequests[static_cast<size_t>(request)]));
        FreeLost(use);
    }
}

// Here the failure has to be thrown, carried and ended without a byte from the heap as well.
TEST_P(EntryFaults, NoMemoryFromSomePointOn)
{
    const cTilingScope tiling(sTiling{.fThreads = true});
    sEntryCall call = CallOf(GetParam(), 13, 9);
    const sHeapUse whole = Watch(call);
    FreeLost(whole);
    const sEntryCall byExposure = RenderByExposure(call);
    const int table = DecodeTableRequest(whole, InputDepth());
    const int requests = static_cast<int>(whole.fRequests.size());
    const bool histogramIsLast = HistogramRequest(whole) == requests - 1;
    for (int request = 0; request < requests; request++) {
        SCOPED_TRACE(request);
        const sHeapUse use = Watch(call, {eFaultFromThenOn, request});
        ASSERT_GE(use.fRefused, 1);
        if (histogramIsLast && request == requests - 1)
            ExpectNoPoints(call, use, byExposure);
        else
            ExpectFailure(call, use, table >= 0 && request > table, false);
        FreeLost(use);
    }
}

std::string NameOf(const testing::TestParamInfo<cForm>& pInfo)
{
    const auto [inputDepth, outputDepth, workers, request] = pInfo.param;
    return "in" + std::to_string(inputDepth) + "_out" + std::to_string(outputDepth) + "_workers" +
           std::to_string(workers) + "_request" + std::to_string(request);
}

INSTANTIATE_TEST_SUITE_P(Forms, EntryFaults,
                         testing::Combine(testing::Values(8, 16, 32), testing::Values(8, 16), testing::Values(1, 4),
                                          testing::Values(0, 9)),
                         NameOf);

class EntryTiles : public cWatchedHeapTest, public testing::WithParamInterface<int>
{
};

// The compact picture of 1024 by 1600 pixels stands in three tiles, 731 rows each but the last.
TEST_P(EntryTiles, TheLastTileOfAFailedTileSetIsLostOnce)
{
    constexpr size_t kRow = size_t{1024} * YHMVPixel::kBytes;
    constexpr size_t kTile = kRow * 731;
    constexpr size_t kLastTile = kRow * (1600 - 2 * 731);
    const int inputDepth = GetParam();
    sEntryCall call = CallOf({inputDepth, 8, 1, 0}, 1024, 1600);
    const sHeapUse whole = Watch(call);
    ASSERT_EQ(call.fResult, kDone);
    FreeLost(whole);
    const size_t tables = inputDepth == 32 ? 0 : 1;

    const auto isTile = [](const sRequest& r) { return r.fKind == eMalloc && r.fSize == kTile; };
    const auto found = std::find_if(whole.fRequests.begin(), whole.fRequests.end(), isTile);
    ASSERT_LT(whole.fRequests.end() - whole.fRequests.begin(), sHeapUse::kMostRequests);
    ASSERT_GE(whole.fRequests.end() - found, 3);
    ASSERT_TRUE(isTile(found[1]));
    ASSERT_EQ(found[2].fSize, kLastTile);
    const int first = static_cast<int>(found - whole.fRequests.begin());
    for (int tile = 0; tile < 3; tile++) {
        SCOPED_TRACE(tile);
        const sHeapUse use = Watch(call, {eFaultOnce, first + tile});
        EXPECT_EQ(call.fResult, kOutOfMemory);
        EXPECT_TRUE(call.IsUntouched());
        ExpectDecodeTable(use, tables, inputDepth);
        const size_t tiles = tile < 2 ? 1 : 0; // a last tile that could not be had cannot be lost
        ASSERT_GT(use.fLost.size(), tables);
        if (tiles == 1) {
            EXPECT_EQ(use.fLost[tables].fSize, kLastTile);
            EXPECT_EQ(use.fLost[tables].fKind, eMalloc);
        }
        ExpectFiveTexts(use, tables + tiles);
        ExpectCleanBook(use);
        FreeLost(use);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, EntryTiles, testing::Values(8, 32), testing::PrintToStringParamName());

class EntryChecks : public cWatchedHeapTest
{
};

TEST_F(EntryChecks, AReportedFailureLosesItsTextsAndTheDecodeTable)
{
    sEntryCall call(4, 4, 8, 8);
    call.fImage.width = 0;
    const sHeapUse use = Watch(call);
    EXPECT_EQ(call.fResult, -1);
    ExpectDecodeTable(use, 1, 8);
    ASSERT_EQ(use.fLost.size(), 6u);
    EXPECT_EQ(TextOf(use.fLost[1]), "cArgumentException");
    FreeLost(use);
}

TEST_F(EntryChecks, ARefusedDepthLosesNothing)
{
    sEntryCall call(4, 4, 8, 8);
    call.fImage.inputDepth = 12;
    const sHeapUse use = Watch(call);
    EXPECT_EQ(call.fResult, -2);
    EXPECT_TRUE(call.IsUntouched());
    EXPECT_TRUE(use.fLost.empty());
}

// Whatever a watch shows rests on this: blocks are seen to come, to go, and to go through the right door.
TEST_F(EntryChecks, TheWatchSeesWhatIsTakenLostAndMisplaced)
{
    void (*const volatile giveBack)(void*) = free;
    const sHeapUse use = WatchHeap([&] {
        void* const lost = operator new(24);
        void* const kept = operator new[](32);
        operator delete[](kept);
        giveBack(operator new(40));
        static_cast<void>(lost);
    });
    EXPECT_EQ(use.fCount, 3);
    ASSERT_EQ(use.fLost.size(), 1u);
    EXPECT_EQ(use.fLost[0].fSize, 24u);
    EXPECT_EQ(use.fLost[0].fKind, eNew);
    EXPECT_EQ(use.fWrongDoors, 1);
    FreeLost(use);
}

} // namespace

#endif
