#include "DivideWork.h"

#include "filter/DivideWork.h"

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    SelvaneBench::RunTiles(start, end, threads, fn, record, recordSize);
}
