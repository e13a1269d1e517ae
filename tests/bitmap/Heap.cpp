#include "Heap.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>

// The system's own, under the names by which the C library offers them to such a program.
extern "C" {
void* __libc_malloc(size_t pSize);                // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t pCount, size_t pSize); // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* pBlock, size_t pSize); // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* pBlock);                   // NOLINT(bugprone-reserved-identifier)
}

namespace SelvaneTest
{

namespace
{

constexpr int kMost = 1 << 16; // requests that one watched call may make

struct sRequest
{
    void* fBlock; // null: refused or freed
    size_t fSize;
};

struct sWatch
{
    const cRefusal* fRefuse;
    int fCount;
    int fFrees;
    sRequest fRequests[kMost];
};

sWatch gWatch; // one watched call at a time
thread_local bool tWatching = false;

/// Writes a request down; true when it is to be refused.
bool Enter(size_t pSize)
{
    if (gWatch.fCount == kMost) abort();
    gWatch.fRequests[gWatch.fCount] = {nullptr, pSize};
    tWatching = false; // what the decision itself allocates is not watched
    const bool refuse = *gWatch.fRefuse && (*gWatch.fRefuse)(gWatch.fCount, pSize);
    tWatching = true;
    ++gWatch.fCount;
    return refuse;
}

void* Given(void* pBlock)
{
    gWatch.fRequests[gWatch.fCount - 1].fBlock = pBlock;
    return pBlock;
}

void Leave(const void* pBlock)
{
    ++gWatch.fFrees;
    for (int i = gWatch.fCount - 1; i >= 0; --i)
        if (gWatch.fRequests[i].fBlock == pBlock) {
            gWatch.fRequests[i].fBlock = nullptr;
            return;
        }
}

void* Refused()
{
    errno = ENOMEM;
    return nullptr;
}

} // namespace

sHeapUse WatchHeap(const std::function<void()>& pCall, const cRefusal& pRefuse)
{
    gWatch.fRefuse = &pRefuse;
    gWatch.fCount = 0;
    gWatch.fFrees = 0;
    tWatching = true;
    pCall();
    tWatching = false;
    sHeapUse use;
    use.fFrees = gWatch.fFrees;
    for (int i = 0; i < gWatch.fCount; ++i) {
        use.fRequests.push_back(gWatch.fRequests[i].fSize);
        if (gWatch.fRequests[i].fBlock != nullptr) use.fLost.push_back(gWatch.fRequests[i].fSize);
    }
    return use;
}

} // namespace SelvaneTest

using namespace SelvaneTest;

extern "C" {

void* malloc(size_t pSize)
{
    if (!tWatching) return __libc_malloc(pSize);
    return Enter(pSize) ? Refused() : Given(__libc_malloc(pSize));
}

void* calloc(size_t pCount, size_t pSize)
{
    if (!tWatching) return __libc_calloc(pCount, pSize);
    return Enter(pCount * pSize) ? Refused() : Given(__libc_calloc(pCount, pSize));
}

void* realloc(void* pBlock, size_t pSize)
{
    if (!tWatching) return __libc_realloc(pBlock, pSize);
    if (Enter(pSize)) return Refused();
    if (pBlock != nullptr) Leave(pBlock);
    return Given(__libc_realloc(pBlock, pSize));
}

void free(void* pBlock)
{
    if (tWatching && pBlock != nullptr) Leave(pBlock);
    __libc_free(pBlock);
}

} // extern "C"
