#include "support/Host.h"

#include "filter/DivideWork.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <numeric>
#include <random>
#include <thread>

namespace SelvaneTest
{

namespace
{

std::mutex gMutex;
sCutting gCutting;
bool gRecording = false;
std::vector<sDivideCall> gCalls;

struct sTile
{
    int fStart;
    int fEnd;
};

std::vector<sTile> Cut(const sCutting& pCutting, int pStart, int pEnd, int pThreads)
{
    const int count = std::max(1, pCutting.fTiles > 0 ? pCutting.fTiles : pThreads);
    const long length = std::max(0L, static_cast<long>(pEnd) - pStart);
    std::vector<int> edges;
    std::mt19937 random(pCutting.fSeed);
    for (int i = 1; i < count; i++)
        edges.push_back(pStart + static_cast<int>(pCutting.fUneven ? static_cast<long>(random()) % (length + 1)
                                                                   : length * i / count));
    std::sort(edges.begin(), edges.end());
    edges.insert(edges.begin(), pStart);
    edges.push_back(pEnd);
    std::vector<sTile> tiles;
    for (size_t i = 0; i + 1 < edges.size(); i++)
        tiles.push_back({edges[i], edges[i + 1]});
    if (pCutting.fOrder == eTilesReverse) std::reverse(tiles.begin(), tiles.end());
    if (pCutting.fOrder == eTilesShuffled) std::shuffle(tiles.begin(), tiles.end(), random);
    return tiles;
}

/// Runs the tiles whose place in the list belongs to the slot: slot, slot + slots, slot + 2 * slots and so on.
void RunSlot(const sCutting& pCutting, const std::vector<sTile>& pTiles, int pSlot, int pSlots,
             void* (*pFunction)(void*), const std::vector<unsigned char>& pRecord)
{
    for (size_t i = static_cast<size_t>(pSlot); i < pTiles.size(); i += static_cast<size_t>(pSlots)) {
        std::vector<unsigned char> copy(pRecord);
        TileRecord header{};
        std::memcpy(&header, copy.data(), sizeof header);
        header.fSlot = pSlot;
        header.fStart = pTiles[i].fStart;
        header.fEnd = pTiles[i].fEnd;
        std::memcpy(copy.data(), &header, sizeof header);
        if (pCutting.fBeforeTile) pCutting.fBeforeTile();
        pFunction(copy.data());
    }
}

} // namespace

cHostScope::cHostScope(sCutting pCutting)
{
    const std::lock_guard lock(gMutex);
    gCutting = std::move(pCutting);
    gRecording = true;
    gCalls.clear();
}

cHostScope::~cHostScope()
{
    const std::lock_guard lock(gMutex);
    gCutting = {};
    gRecording = false;
    gCalls.clear();
}

const std::vector<sDivideCall>& cHostScope::Calls() const
{
    return gCalls;
}

} // namespace SelvaneTest

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    using namespace SelvaneTest;
    const auto* bytes = static_cast<const unsigned char*>(record);
    const std::vector<unsigned char> original(bytes, bytes + recordSize);
    sCutting cutting;
    {
        const std::lock_guard lock(gMutex);
        cutting = gCutting;
        if (gRecording) gCalls.push_back({start, end, threads, fn, original});
    }
    if (cutting.fBeforeCall) cutting.fBeforeCall({start, end, threads, fn, original});
    const std::vector<sTile> tiles = Cut(cutting, start, end, threads);
    const int slots = std::max(1, threads);
    std::vector<std::thread> workers;
    for (int slot = 0; slot < slots; slot++) {
        if (cutting.fThreads)
            workers.emplace_back([&, slot] { RunSlot(cutting, tiles, slot, slots, fn, original); });
        else
            RunSlot(cutting, tiles, slot, slots, fn, original);
    }
    for (std::thread& worker : workers)
        worker.join();
    if (cutting.fAfterCall) cutting.fAfterCall();
}
