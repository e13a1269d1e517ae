#include "ArrayLog.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>

namespace SelvaneTest
{

namespace
{

constexpr int kRoom = 256;

std::mutex gMutex;
sArray gArrays[kRoom];
int gCount = 0;
int gReleased = 0;
int gFailing = -1;
bool gLogging = false;

void* Take(size_t pBytes)
{
    const std::lock_guard lock(gMutex);
    if (gLogging && gCount == gFailing) throw std::bad_alloc();
    void* block = std::malloc(std::max<size_t>(pBytes, 1));
    if (block == nullptr) throw std::bad_alloc();
    if (gLogging && gCount < kRoom) gArrays[gCount++] = {block, pBytes, -1};
    return block;
}

void GiveBack(void* pBlock)
{
    const std::lock_guard lock(gMutex);
    for (int i = gCount - 1; gLogging && i >= 0; i--)
        if (gArrays[i].fBlock == pBlock && gArrays[i].fReleased < 0) {
            gArrays[i].fReleased = gReleased++;
            break;
        }
    std::free(pBlock);
}

} // namespace

cArrayLog::cArrayLog(int pFailing)
{
    const std::lock_guard lock(gMutex);
    gCount = 0;
    gReleased = 0;
    gFailing = pFailing;
    gLogging = true;
}

cArrayLog::~cArrayLog()
{
    const std::lock_guard lock(gMutex);
    gLogging = false;
}

std::vector<sArray> cArrayLog::Arrays() const
{
    return {gArrays, gArrays + gCount};
}

int cArrayLog::Held() const
{
    return gCount - gReleased;
}

} // namespace SelvaneTest

void* operator new[](size_t pBytes)
{
    return SelvaneTest::Take(pBytes);
}

void operator delete[](void* pBlock) noexcept
{
    SelvaneTest::GiveBack(pBlock);
}

void operator delete[](void* pBlock, size_t) noexcept
{
    SelvaneTest::GiveBack(pBlock);
}
