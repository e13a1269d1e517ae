// The work splitter of the benchmarks: even tiles, a thread a tile, the first on the calling thread.

#include "filter/DivideWork.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    const int count = std::max(1, threads);
    const auto run = [&](int slot) {
        std::vector<unsigned char> copy(recordSize);
        std::memcpy(copy.data(), record, recordSize);
        TileRecord header{};
        header.fSlot = slot;
        header.fStart = start + static_cast<int>(int64_t{end - start} * slot / count);
        header.fEnd = start + static_cast<int>(int64_t{end - start} * (slot + 1) / count);
        std::memcpy(copy.data(), &header, sizeof header);
        fn(copy.data());
    };
    std::vector<std::thread> workers;
    for (int slot = 1; slot < count; slot++)
        workers.emplace_back(run, slot);
    run(0);
    for (std::thread& worker : workers)
        worker.join();
}
