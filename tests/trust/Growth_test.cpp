// Many calls in a row: memory grows by the decode table of each call that has one, and by nothing else. With
// SELVANE_LONG in the environment these are 20000 calls with small tables and 500 with large ones, or as many as
// SELVANE_CALLS says.

#include "Faults.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>

using namespace SelvaneTest;

namespace
{

bool IsLong()
{
    return std::getenv("SELVANE_LONG") != nullptr;
}

/// A short run makes pShort calls; a long one pLong, or as many as SELVANE_CALLS says.
int CallsOf(int pShort, int pLong)
{
    const char* const calls = std::getenv("SELVANE_CALLS");
    if (!IsLong()) return pShort;
    return calls != nullptr ? std::atoi(calls) : pLong;
}

class Growth : public cWatchedHeapTest
{
};

/// Makes the same call pCalls times, with sliders and output afresh, and expects one lost block of pTable bytes a call;
/// none when pTable is 0.
void ExpectGrowth(sEntryCall& pCall, int pCalls, size_t pTable)
{
    int failed = 0;
    const auto begin = std::chrono::steady_clock::now();
    const sHeapUse use = WatchHeap([&] {
        for (int call = 0; call < pCalls; call++) {
            pCall.Reset();
            pCall.Run();
            failed += pCall.fResult == 1 ? 0 : 1;
        }
    });
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(use.fLost.size(), pTable != 0 ? static_cast<size_t>(pCalls) : 0u);
    EXPECT_TRUE(std::all_of(use.fLost.begin(), use.fLost.end(),
                            [&](const sBlock& pBlock) { return pBlock.fKind == eCalloc && pBlock.fSize == pTable; }));
    EXPECT_EQ(use.fCount % pCalls, 0); // every call asks alike
    ExpectCleanBook(use);
    if (IsLong())
        std::cout << pCalls << " calls of " << use.fCount / pCalls << " requests, " << use.fLost.size() << " blocks of "
                  << pTable << " bytes lost, " << seconds.count() << " s\n";
    FreeLost(use);
}

TEST_F(Growth, EightBitCallsLoseTheirDecodeTables)
{
    sEntryCall call(3, 2, 8, 8);
    ExpectGrowth(call, CallsOf(400, 20000), 256 * sizeof(float));
}

TEST_F(Growth, ExponentCallsLoseNothing)
{
    sEntryCall call(3, 2, 32, 16);
    ExpectGrowth(call, CallsOf(400, 20000), 0);
}

TEST_F(Growth, SixteenBitCallsLoseTheirDecodeTables)
{
    sEntryCall call(3, 2, 16, 16);
    ExpectGrowth(call, CallsOf(50, 500), 65536 * sizeof(float));
}

} // namespace

#endif
