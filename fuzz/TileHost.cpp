#include "TileHost.h"

#include "Bytes.h"
#include "filter/DivideWork.h"
#include "support/Records.h"

#include <algorithm>

namespace
{

uint32_t gState = 1;

/// A linear congruential step (D. E. Knuth, "The Art of Computer Programming", volume 2, section 3.3.4); the high bits
/// are the good ones.
uint32_t Next(uint32_t pCount)
{
    gState = gState * 1664525U + 1013904223U;
    return (gState >> 8) % pCount;
}

/// The ends of the tiles but the last, ascending.
std::vector<int> Cuts(int pStart, int pEnd)
{
    std::vector<int> cuts(Next(8));
    for (int& cut : cuts)
        cut = pStart + static_cast<int>(Next(static_cast<uint32_t>(pEnd - pStart) + 1));
    std::sort(cuts.begin(), cuts.end());
    return cuts;
}

std::vector<TileRecord> Tiles(int pStart, int pEnd, int pThreads)
{
    std::vector<TileRecord> tiles;
    int start = pStart;
    std::vector<int> ends = Cuts(pStart, pEnd);
    ends.push_back(pEnd);
    for (const int end : ends) {
        const int slot = pThreads > 1 ? static_cast<int>(Next(static_cast<uint32_t>(pThreads))) : 0;
        tiles.push_back({slot, 0, start, end});
        start = end;
    }
    for (size_t i = tiles.size() - 1; i > 0; i--)
        std::swap(tiles[i], tiles[Next(static_cast<uint32_t>(i) + 1)]);
    return tiles;
}

} // namespace

namespace SelvaneFuzz
{

void CutTiles(uint32_t pNumber)
{
    gState = pNumber;
}

} // namespace SelvaneFuzz

extern "C" __attribute__((visibility("default"))) void DivideWork(int start, int end, int threads, void* (*fn)(void*),
                                                                  void* record, size_t recordSize)
{
    SelvaneFuzz::Check(start == 0 && end >= start && SelvaneTest::IsRecordSize(recordSize));
    for (const TileRecord& tile : Tiles(start, end, threads)) {
        const SelvaneFuzz::cBlock copy(recordSize);
        std::memcpy(copy.Data(), record, recordSize);
        SelvaneFuzz::Check(copy.As<TileRecord>()->fReserved == 0);
        std::memcpy(copy.Data(), &tile, sizeof tile);
        SelvaneFuzz::Check(fn(copy.Data()) == nullptr);
    }
}
