#include "TileHost.h"

#include "Heap.h"

#include "filter/DivideWork.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace SelvaneTest
{

namespace
{

const sTiling kPlain;
thread_local const sTiling* tTiling = &kPlain;

using cTiles = std::vector<std::pair<int, int>>;

cTiles Cut(const sTiling& pTiling, int pStart, int pEnd, int pSlots)
{
    const int length = std::max(0, pEnd - pStart);
    const int rows = pTiling.fRows > 0 ? pTiling.fRows : std::max(1, (length + pSlots - 1) / pSlots);
    cTiles tiles;
    for (int start = pStart; start < pEnd; start += rows) {
        const int end = start + std::min(rows, pEnd - start);
        if (pTiling.fEmpty) tiles.emplace_back(start, start);
        tiles.emplace_back(start, end);
        if (pTiling.fEmpty) tiles.emplace_back(end, end);
    }
    if (pTiling.fReverse) std::reverse(tiles.begin(), tiles.end());
    return tiles;
}

/// One call of DivideWork.
struct sWork
{
    void* (*fFunction)(void*);
    const unsigned char* fRecord;
    size_t fSize;
    bool fWatching;
};

void RunTile(const sTiling& pTiling, const sWork& pWork, int pSlot, std::pair<int, int> pRows)
{
    std::vector<unsigned char> copy(pWork.fRecord, pWork.fRecord + pWork.fSize);
    TileRecord header{};
    std::memcpy(&header, copy.data(), sizeof header);
    header.fSlot = pSlot;
    header.fStart = pRows.first;
    header.fEnd = pRows.second;
    std::memcpy(copy.data(), &header, sizeof header);
    if (pTiling.fBeforeTile) pTiling.fBeforeTile();
    const cInTile inTile(pWork.fWatching);
    pWork.fFunction(copy.data());
}

void RunSlot(const sTiling& pTiling, const sWork& pWork, const cTiles& pTiles, int pSlot, int pSlots)
{
    for (size_t i = static_cast<size_t>(pSlot); i < pTiles.size(); i += static_cast<size_t>(pSlots))
        RunTile(pTiling, pWork, pSlot, pTiles[i]);
}

} // namespace

cTilingScope::cTilingScope(sTiling pTiling) : fTiling(std::move(pTiling)), fBefore(std::exchange(tTiling, &fTiling)) {}

cTilingScope::~cTilingScope()
{
    tTiling = fBefore;
}

} // namespace SelvaneTest

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    using namespace SelvaneTest;
    const cUnwatched unwatched;
    const sTiling& tiling = *tTiling;
    const int slots = std::max(1, threads);
    const sWork work{fn, static_cast<const unsigned char*>(record), recordSize, unwatched.WasWatching()};
    const cTiles tiles = Cut(tiling, start, end, slots);
    std::vector<std::thread> workers;
    for (int slot = 0; slot < slots; slot++) {
        if (tiling.fThreads && slot > 0) workers.emplace_back([&, slot] { RunSlot(tiling, work, tiles, slot, slots); });
    }
    RunSlot(tiling, work, tiles, 0, slots);
    for (int slot = 1; slot < slots && !tiling.fThreads; slot++)
        RunSlot(tiling, work, tiles, slot, slots);
    for (std::thread& worker : workers)
        worker.join();
}
