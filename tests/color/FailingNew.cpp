#include "color/FailingNew.h"

#include <cstdlib>
#include <new>

namespace
{

constexpr int kNoted = 16;

bool gWatching = false;
int gFailing = 0;
int gAsked = 0;
int gLive = 0;
size_t gSizes[kNoted];

bool MayAllocate(size_t pSize)
{
    if (!gWatching) return true;
    if (gAsked < kNoted) gSizes[gAsked] = pSize;
    gAsked++;
    if (gAsked == gFailing) return false;
    gLive++;
    return true;
}

void Release(void* pBlock)
{
    if (gWatching && pBlock != nullptr) gLive--;
    std::free(pBlock);
}

} // namespace

void* operator new(size_t pSize)
{
    if (!MayAllocate(pSize)) throw std::bad_alloc();
    void* block = std::malloc(pSize != 0 ? pSize : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new[](size_t pSize)
{
    return operator new(pSize);
}

void operator delete(void* pBlock) noexcept
{
    Release(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    Release(pBlock);
}

void operator delete(void* pBlock, size_t) noexcept
{
    Release(pBlock);
}

void operator delete[](void* pBlock, size_t) noexcept
{
    Release(pBlock);
}

namespace SelvaneTest
{

cNewScope::cNewScope(int pFailing)
{
    gFailing = pFailing;
    gAsked = 0;
    gLive = 0;
    gWatching = true;
}

cNewScope::~cNewScope()
{
    gWatching = false;
}

int cNewScope::Asked() const
{
    return gAsked;
}

int cNewScope::Live() const
{
    return gLive;
}

size_t cNewScope::SizeOf(int pNumber) const
{
    return gSizes[pNumber - 1];
}

} // namespace SelvaneTest
