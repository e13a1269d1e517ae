// Tests of the pool against the seven rules of filter/DivideWork.h. This program is built without the library, once
// plain and once with ThreadSanitizer.

#include "filter/DivideWork.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstring>
#include <functional>
#include <latch>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace
{

struct sTile
{
    int fSlot;
    int fStart;
    int fEnd;
};

/// Data that the tile functions of these tests share. The record holds its address.
struct sShared
{
    std::function<void(const sTile&)> fAction;
    std::mutex fMutex;
    std::vector<sTile> fTiles;
    std::vector<std::atomic<int>> fInSlot = std::vector<std::atomic<int>>(1024); // tiles running in each slot
    std::atomic<int> fSharedSlots{0};
    std::atomic<int> fWrongRecords{0};
};

constexpr size_t kRecordSize = 77; // not a multiple of an alignment

/// Returns a record like those of the library: a zero header, the address of the shared data and a pattern.
std::vector<unsigned char> Record(sShared& pShared)
{
    std::vector<unsigned char> record(kRecordSize, 0);
    for (size_t i = sizeof(TileRecord); i < kRecordSize; i++)
        record[i] = static_cast<unsigned char>(i * 37);
    sShared* const address = &pShared;
    std::memcpy(record.data() + sizeof(TileRecord), &address, sizeof address);
    return record;
}

void* TileFunction(void* pRecord)
{
    auto* const bytes = static_cast<unsigned char*>(pRecord);
    TileRecord header{};
    std::memcpy(&header, bytes, sizeof header);
    sShared* shared = nullptr;
    std::memcpy(&shared, bytes + sizeof header, sizeof shared);

    std::vector<unsigned char> expected = Record(*shared);
    if (header.fReserved != 0 ||
        std::memcmp(bytes + sizeof header, expected.data() + sizeof header, kRecordSize - sizeof header) != 0)
        shared->fWrongRecords++;
    const bool slotFits = header.fSlot >= 0 && header.fSlot < static_cast<int>(shared->fInSlot.size());
    if (slotFits && shared->fInSlot[static_cast<size_t>(header.fSlot)]++ != 0) shared->fSharedSlots++;
    const sTile tile{header.fSlot, header.fStart, header.fEnd};
    if (shared->fAction) shared->fAction(tile);
    if (slotFits) shared->fInSlot[static_cast<size_t>(header.fSlot)]--;
    {
        const std::lock_guard lock(shared->fMutex);
        shared->fTiles.push_back(tile);
    }
    std::memset(bytes, 0xEE, kRecordSize); // the copy is private, so a tile may overwrite it
    return nullptr;
}

void Divide(sShared& pShared, int pStart, int pEnd, int pThreads)
{
    std::vector<unsigned char> record = Record(pShared);
    DivideWork(pStart, pEnd, pThreads, TileFunction, record.data(), record.size());
}

/// Returns whether the tiles, sorted, cover pStart to pEnd without gaps and overlaps.
bool CoverOnce(std::vector<sTile> pTiles, int pStart, int pEnd)
{
    std::erase_if(pTiles, [](const sTile& tile) { return tile.fStart >= tile.fEnd; });
    std::sort(pTiles.begin(), pTiles.end(), [](const sTile& a, const sTile& b) { return a.fStart < b.fStart; });
    int at = pStart;
    for (const sTile& tile : pTiles) {
        if (tile.fStart != at) return false;
        at = tile.fEnd;
    }
    return at == pEnd;
}

TEST(WorkPool, TilesCoverEachIndexExactlyOnce)
{
    for (const int threads : {-3, 0, 1, 2, 3, 5, 8, 64}) {
        for (const int length : {1, 2, 3, 7, 8, 9, 31, 32, 33, 100, 1001}) {
            for (const int start : {0, 5, -20}) {
                sShared shared;
                Divide(shared, start, start + length, threads);
                EXPECT_TRUE(CoverOnce(shared.fTiles, start, start + length))
                    << threads << " " << start << " " << length;
            }
        }
    }
}

TEST(WorkPool, TheWholeRangeOfIntegersDoesNotOverflow)
{
    sShared shared;
    Divide(shared, INT_MIN, INT_MAX, 3);
    EXPECT_TRUE(CoverOnce(shared.fTiles, INT_MIN, INT_MAX));
    EXPECT_GT(shared.fTiles.size(), 1U);
}

TEST(WorkPool, AnEmptyRangeRunsNothing)
{
    for (const int threads : {0, 1, 4}) {
        sShared shared;
        Divide(shared, 0, 0, threads);
        Divide(shared, 7, 3, threads);
        EXPECT_TRUE(CoverOnce(shared.fTiles, 0, 0));
    }
}

TEST(WorkPool, EachTileGetsItsOwnCopyOfTheRecord)
{
    sShared shared;
    std::vector<unsigned char> record = Record(shared);
    const std::vector<unsigned char> before = record;
    for (const int threads : {0, 1, 2, 7}) {
        DivideWork(0, 500, threads, TileFunction, record.data(), record.size());
        EXPECT_EQ(record, before) << "the caller's record is not written";
    }
    EXPECT_EQ(shared.fWrongRecords, 0) << "a copy must not show what another tile did to its own";
}

TEST(WorkPool, SlotsAreBelowTheThreadCount)
{
    for (const int threads : {1, 2, 3, 8}) {
        sShared shared;
        Divide(shared, 0, 1000, threads);
        for (const sTile& tile : shared.fTiles) {
            EXPECT_GE(tile.fSlot, 0);
            EXPECT_LT(tile.fSlot, threads);
        }
    }
}

TEST(WorkPool, BelowOneWorkerTheOnlySlotIsZeroAndTheCallerRunsIt)
{
    for (const int threads : {1, 0, -1, INT_MIN}) {
        sShared shared;
        const std::thread::id caller = std::this_thread::get_id();
        shared.fAction = [&](const sTile& tile) {
            EXPECT_EQ(tile.fSlot, 0);
            EXPECT_EQ(std::this_thread::get_id(), caller);
        };
        Divide(shared, 0, 100, threads);
        EXPECT_TRUE(CoverOnce(shared.fTiles, 0, 100));
    }
}

TEST(WorkPool, NoTwoTilesThatRunAtOnceShareASlot)
{
    sShared shared;
    shared.fAction = [](const sTile& tile) {
        for (int turn = tile.fStart % 7; turn > 0; turn--)
            std::this_thread::yield();
    };
    for (int round = 0; round < 300; round++)
        Divide(shared, 0, 40, 1 + round % 6);
    EXPECT_EQ(shared.fSharedSlots, 0);
}

// Arrays indexed by slot are written without locks, over many calls. So a slot must keep its thread.
TEST(WorkPool, ASlotBelongsToOneThreadForLife)
{
    std::mutex mutex;
    std::vector<std::set<std::thread::id>> threads(4);
    for (int round = 0; round < 200; round++) {
        sShared shared;
        shared.fAction = [&](const sTile& tile) {
            const std::lock_guard lock(mutex);
            threads[static_cast<size_t>(tile.fSlot)].insert(std::this_thread::get_id());
        };
        Divide(shared, 0, 64, 4);
    }
    for (const auto& seen : threads)
        EXPECT_LE(seen.size(), 1U);
}

// The tiles write plain memory and the caller reads it right after the call. ThreadSanitizer reports missing
// synchronisation.
TEST(WorkPool, ReturnsOnlyWhenEveryTileHasFinishedAndIsVisible)
{
    std::vector<int> plane(5000);
    std::vector<int> bySlot(6);
    for (int round = 1; round <= 100; round++) {
        sShared shared;
        shared.fAction = [&](const sTile& tile) {
            for (int i = tile.fStart; i < tile.fEnd; i++)
                plane[static_cast<size_t>(i)] = round;
            bySlot[static_cast<size_t>(tile.fSlot)] += tile.fEnd - tile.fStart;
        };
        Divide(shared, 0, 5000, 6);
        EXPECT_EQ(std::count(plane.begin(), plane.end(), round), 5000);
        int sum = 0;
        for (int& part : bySlot) {
            sum += part;
            part = 0;
        }
        EXPECT_EQ(sum, 5000);
    }
}

// Two tiles wait for each other. On one thread the test would not end.
TEST(WorkPool, WorkersRunAtTheSameTime)
{
    sShared shared;
    std::latch both(2);
    shared.fAction = [&](const sTile&) { both.arrive_and_wait(); };
    Divide(shared, 0, 2, 2);
    EXPECT_EQ(shared.fTiles.size(), 2U);
}

TEST(WorkPool, ManyThreadsMayCallAtOnce)
{
    std::vector<std::thread> callers;
    std::atomic<int> wrong{0};
    for (int caller = 0; caller < 8; caller++) {
        callers.emplace_back([&wrong, caller] {
            for (int round = 0; round < 100; round++) {
                sShared shared;
                Divide(shared, 0, 50 + caller, 3);
                if (!CoverOnce(shared.fTiles, 0, 50 + caller) || shared.fSharedSlots != 0 || shared.fWrongRecords != 0)
                    wrong++;
            }
        });
    }
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(wrong, 0);
}

// The second caller finishes while a tile of the first caller still runs.
TEST(WorkPool, ACallerThatFindsThePoolTakenWorksAlone)
{
    std::latch inside(1);
    std::latch release(1);
    sShared slow;
    slow.fAction = [&](const sTile& tile) {
        if (tile.fStart == 0) {
            inside.count_down();
            release.wait();
        }
    };
    std::thread first([&] { Divide(slow, 0, 100, 2); });
    inside.wait();
    sShared quick;
    Divide(quick, 0, 100, 4);
    EXPECT_TRUE(CoverOnce(quick.fTiles, 0, 100));
    for (const sTile& tile : quick.fTiles)
        EXPECT_EQ(tile.fSlot, 0);
    release.count_down();
    first.join();
    EXPECT_TRUE(CoverOnce(slow.fTiles, 0, 100));
}

TEST(WorkPool, ACallFromInsideATileDoesNotLockUp)
{
    sShared outer;
    std::atomic<int> covered{0};
    outer.fAction = [&](const sTile&) {
        sShared inner;
        Divide(inner, 0, 10, 4);
        if (CoverOnce(inner.fTiles, 0, 10)) covered++;
    };
    Divide(outer, 0, 8, 4);
    EXPECT_EQ(static_cast<size_t>(covered.load()), outer.fTiles.size());
}

TEST(WorkPool, MoreWorkersThanIndicesAndAbsurdCountsAreHarmless)
{
    for (const int threads : {100, 5000, INT_MAX}) {
        sShared shared;
        Divide(shared, 0, 3, threads);
        EXPECT_TRUE(CoverOnce(shared.fTiles, 0, 3));
        for (const sTile& tile : shared.fTiles)
            EXPECT_LT(tile.fSlot, 3);
    }
}

} // namespace
