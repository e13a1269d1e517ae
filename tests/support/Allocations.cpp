#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace
{

constexpr long kSizes = 16;
constexpr size_t kDeleted = 1024;

thread_local long gTried = 0;
thread_local long gHeld = 0;
thread_local long gFailAt = -1;   // number of the allocation that fails, on the count of gTried
thread_local long gSizesFrom = 0; // number of the allocation whose size is noted first
thread_local size_t gSizes[kSizes];
thread_local bool gNoting = false;
thread_local void* gDeleted[kDeleted];
thread_local size_t gDeletedCount = 0;

void* Take(size_t pSize)
{
    const long number = gTried++;
    if (number - gSizesFrom < kSizes) gSizes[number - gSizesFrom] = pSize;
    if (number == gFailAt) throw std::bad_alloc();
    void* block = std::malloc(pSize != 0 ? pSize : 1);
    if (block == nullptr) throw std::bad_alloc();
    ++gHeld;
    return block;
}

void GiveBack(void* pBlock)
{
    if (pBlock == nullptr) return;
    --gHeld;
    if (gNoting && gDeletedCount < kDeleted) gDeleted[gDeletedCount++] = pBlock;
    std::memset(pBlock, 0xDD, malloc_usable_size(pBlock)); // who reads it later shall notice
    asm volatile("" : : "r"(pBlock) : "memory");           // and no compiler shall drop a store before free
    std::free(pBlock);
}

} // namespace

void* operator new(size_t pSize)
{
    return Take(pSize);
}

void* operator new[](size_t pSize)
{
    return Take(pSize);
}

void operator delete(void* pBlock) noexcept
{
    GiveBack(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    GiveBack(pBlock);
}

void operator delete(void* pBlock, size_t) noexcept
{
    GiveBack(pBlock);
}

void operator delete[](void* pBlock, size_t) noexcept
{
    GiveBack(pBlock);
}

namespace SelvaneTest
{

cAllocationScope::cAllocationScope(long pFailing) : fHeldBefore(gHeld), fTriedBefore(gTried)
{
    gSizesFrom = gTried;
    gFailAt = pFailing < 0 ? -1 : gTried + pFailing;
}

cAllocationScope::~cAllocationScope()
{
    gFailAt = -1;
}

long cAllocationScope::Held() const
{
    return gHeld - fHeldBefore;
}

long cAllocationScope::Tried() const
{
    return gTried - fTriedBefore;
}

size_t cAllocationScope::SizeOf(long pNumber) const
{
    return gSizes[pNumber];
}

namespace
{

/// Runs the call with one allocation failing. False when it never came that far.
bool RunsIntoFailure(const std::function<void()>& pCall, long pNumber)
{
    bool failed = false;
    const cAllocationScope scope(pNumber);
    try {
        pCall();
    } catch (const std::bad_alloc&) {
        failed = true;
    }
    EXPECT_EQ(failed, scope.Tried() > pNumber) << "the failure of block " << pNumber << " was swallowed";
    EXPECT_TRUE(!failed || scope.Held() == 0) << "after the failure of block " << pNumber;
    return failed;
}

} // namespace

long FailEachAllocation(const std::function<void()>& pCall)
{
    long number = 0;
    while (RunsIntoFailure(pCall, number))
        ++number;
    return number;
}

std::vector<void*> DeletedBy(const std::function<void()>& pCall)
{
    gDeletedCount = 0;
    gNoting = true;
    pCall();
    gNoting = false;
    return std::vector<void*>(gDeleted, gDeleted + gDeletedCount);
}

bool AllocationsAreCounted()
{
    void* (*volatile take)(size_t) = &::operator new; // called as others call it, not inlined here
    void (*volatile giveBack)(void*) = &::operator delete;
    const cAllocationScope scope;
    giveBack(take(1));
    return scope.Tried() == 1;
}

} // namespace SelvaneTest
