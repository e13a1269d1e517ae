#include "DivideWork.h"

#include "filter/DivideWork.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

void SelvaneBench::RunTiles(int pStart, int pEnd, int pThreads, void* (*pFunction)(void*), void* pRecord,
                            size_t pRecordSize)
{
    const int count = std::max(1, pThreads);
    const auto run = [&](int slot) {
        std::vector<unsigned char> copy(pRecordSize);
        std::memcpy(copy.data(), pRecord, pRecordSize);
        TileRecord header{};
        header.fSlot = slot;
        header.fStart = pStart + static_cast<int>(int64_t{pEnd - pStart} * slot / count);
        header.fEnd = pStart + static_cast<int>(int64_t{pEnd - pStart} * (slot + 1) / count);
        std::memcpy(copy.data(), &header, sizeof header);
        pFunction(copy.data());
    };
    std::vector<std::thread> workers;
    for (int slot = 1; slot < count; slot++)
        workers.emplace_back(run, slot);
    run(0);
    for (std::thread& worker : workers)
        worker.join();
}
