#ifndef SELVANE_BENCH_DIVIDEWORK_H
#define SELVANE_BENCH_DIVIDEWORK_H

#include <cstddef>

namespace SelvaneBench
{

/// A host's DivideWork: even tiles, a thread a tile, the first on the calling thread.
void RunTiles(int pStart, int pEnd, int pThreads, void* (*pFunction)(void*), void* pRecord, size_t pRecordSize);

} // namespace SelvaneBench

#endif
