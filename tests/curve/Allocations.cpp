#include "Allocations.h"

#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

namespace
{

thread_local int gFailing = -1;
thread_local int gTried = 0;
thread_local long gHeld = 0;

void* Take(size_t pSize)
{
    if (gTried++ == gFailing) throw std::bad_alloc();
    void* block = std::malloc(pSize != 0 ? pSize : 1);
    if (block == nullptr) throw std::bad_alloc();
    ++gHeld;
    return block;
}

void GiveBack(void* pBlock)
{
    if (pBlock == nullptr) return;
    --gHeld;
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

cAllocationScope::cAllocationScope(int pFailing)
{
    gTried = 0;
    gHeld = 0;
    gFailing = pFailing;
}

cAllocationScope::~cAllocationScope()
{
    gFailing = -1;
}

long cAllocationScope::Held() const
{
    return gHeld;
}

int cAllocationScope::Tried() const
{
    return gTried;
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
