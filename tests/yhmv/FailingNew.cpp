#include "yhmv/FailingNew.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace SelvaneTest
{

namespace
{

long gLive = 0;
long gCalls = 0;
long gFailAt = -1; // number of the call that fails
bool gRecording = false;
void* gDeleted[1024];
size_t gDeletedCount = 0;

void* Allocate(size_t pSize)
{
    if (gCalls++ == gFailAt) throw std::bad_alloc();
    void* block = std::malloc(pSize == 0 ? 1 : pSize);
    if (block == nullptr) throw std::bad_alloc();
    ++gLive;
    return block;
}

void Release(void* pBlock)
{
    if (pBlock == nullptr) return;
    --gLive;
    if (gRecording && gDeletedCount < 1024) gDeleted[gDeletedCount++] = pBlock;
    std::free(pBlock);
}

// True when the call ran into the failure.
bool RunsIntoFailure(const std::function<void()>& pCall, long pNumber)
{
    FailNew(pNumber);
    const long before = gCalls;
    bool failed = false;
    try {
        pCall();
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    EXPECT_EQ(failed, gCalls - before > pNumber) << "the failure of block " << pNumber << " was swallowed";
    gFailAt = -1;
    return failed;
}

} // namespace

long LiveBlocks()
{
    return gLive;
}

long NewCalls()
{
    return gCalls;
}

void FailNew(long pNumber)
{
    gFailAt = gCalls + pNumber;
}

int FailEachNew(const std::function<void()>& pCall, bool pNothingKept)
{
    for (int number = 0;; ++number) {
        const long live = gLive;
        if (!RunsIntoFailure(pCall, number)) return number;
        EXPECT_TRUE(!pNothingKept || gLive == live) << "after the failure of block " << number;
    }
}

std::vector<void*> DeletedBy(const std::function<void()>& pCall)
{
    gDeletedCount = 0;
    gRecording = true;
    pCall();
    gRecording = false;
    return std::vector<void*>(gDeleted, gDeleted + gDeletedCount);
}

} // namespace SelvaneTest

void* operator new(size_t pSize)
{
    return SelvaneTest::Allocate(pSize);
}

void* operator new[](size_t pSize)
{
    return SelvaneTest::Allocate(pSize);
}

void operator delete(void* pBlock) noexcept
{
    SelvaneTest::Release(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    SelvaneTest::Release(pBlock);
}

void operator delete(void* pBlock, size_t) noexcept
{
    SelvaneTest::Release(pBlock);
}

void operator delete[](void* pBlock, size_t) noexcept
{
    SelvaneTest::Release(pBlock);
}
