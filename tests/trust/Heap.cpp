#include "Heap.h"

#if SELVANE_WATCHED_HEAP

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <utility>

// The system's own, under the names by which the C library offers them to such a program.
extern "C" {
void* __libc_malloc(size_t pSize);                      // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t pCount, size_t pSize);       // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* pBlock, size_t pSize);       // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(size_t pAlignment, size_t pSize); // NOLINT(bugprone-reserved-identifier)
void __libc_free(void* pBlock);                         // NOLINT(bugprone-reserved-identifier)
}

namespace SelvaneTest
{

namespace
{

/// A block in the book, with the number of its request since the program began.
struct sEntry
{
    void* fAddress; // null: free place
    size_t fSize;
    long fRequest;
    eRequestKind fKind;
};

/// Held for a few instructions, inside malloc, where nothing else may be waited on.
class cSpinLock
{
public:
    explicit cSpinLock(std::atomic_flag& pFlag) : fFlag(pFlag)
    {
        while (fFlag.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~cSpinLock() { fFlag.clear(std::memory_order_release); }
    cSpinLock(const cSpinLock&) = delete;
    cSpinLock& operator=(const cSpinLock&) = delete;

private:
    std::atomic_flag& fFlag;
};

/// Blocks taken under watch and not yet given back, by address: open addressing at most half full, a removal closes the
/// gap behind it. Its own room comes from the system directly, since it works inside malloc.
class cBook
{
public:
    void Enter(const sEntry& pEntry)
    {
        const cSpinLock lock(fLock);
        if (2 * fUsed.load(std::memory_order_relaxed) >= Places()) Grow();
        Place(pEntry);
        fUsed.fetch_add(1, std::memory_order_relaxed);
    }

    /// False when the block is not in the book.
    bool Remove(const void* pBlock, sEntry& pEntry)
    {
        if (fUsed.load(std::memory_order_relaxed) == 0) return false;
        const cSpinLock lock(fLock);
        size_t place = HomeOf(pBlock);
        while (fEntries[place].fAddress != pBlock) {
            if (fEntries[place].fAddress == nullptr) return false;
            place = Next(place);
        }
        pEntry = fEntries[place];
        CloseGap(place);
        fUsed.fetch_sub(1, std::memory_order_relaxed);
        return true;
    }

    template <class tVisit>
    void ForEach(const tVisit& pVisit) const
    {
        if (fUsed.load(std::memory_order_relaxed) == 0) return;
        for (size_t place = 0; place < Places(); place++)
            if (fEntries[place].fAddress != nullptr) pVisit(fEntries[place]);
    }

private:
    size_t Places() const { return fEntries == nullptr ? 0 : size_t{1} << fBits; }
    size_t Next(size_t pPlace) const { return (pPlace + 1) & (Places() - 1); }
    size_t HomeOf(const void* pBlock) const
    {
        return (reinterpret_cast<uintptr_t>(pBlock) >> 4) * 0x9E3779B97F4A7C15u >> (64 - fBits);
    }

    void Place(const sEntry& pEntry)
    {
        size_t place = HomeOf(pEntry.fAddress);
        while (fEntries[place].fAddress != nullptr)
            place = Next(place);
        fEntries[place] = pEntry;
    }

    void Grow()
    {
        sEntry* const old = fEntries;
        const size_t places = Places();
        fBits = old == nullptr ? 12 : fBits + 1;
        void* const room = mmap(nullptr, sizeof(sEntry) << fBits, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                                -1, 0); // reads as zero
        if (room == MAP_FAILED) abort();
        fEntries = static_cast<sEntry*>(room);
        for (size_t i = 0; i < places; i++)
            if (old[i].fAddress != nullptr) Place(old[i]);
        if (old != nullptr) munmap(old, places * sizeof(sEntry));
    }

    /// Moves later entries of the run forward, so that each is still reached from its home.
    void CloseGap(size_t pGap)
    {
        const size_t mask = Places() - 1;
        for (size_t place = Next(pGap); fEntries[place].fAddress != nullptr; place = Next(place)) {
            const size_t fromHome = (place - HomeOf(fEntries[place].fAddress)) & mask;
            if (fromHome < ((place - pGap) & mask)) continue;
            fEntries[pGap] = fEntries[place];
            pGap = place;
        }
        fEntries[pGap].fAddress = nullptr;
    }

    sEntry* fEntries = nullptr;
    int fBits = 0; // of a place's number
    std::atomic<size_t> fUsed{0};
    std::atomic_flag fLock = ATOMIC_FLAG_INIT;
};

enum eWatch
{
    eUnwatched,
    eWatched,
    eInTile,
};

cBook gBook;
sRequest gRequests[sHeapUse::kMostRequests];
sFault gFault;
long gFirst = 0; // number of the first request of this watch
long gCount = 0; // requests of this watch
int gRefused = 0;
std::atomic<int> gInTiles{0};
std::atomic<int> gWrongDoors{0};
thread_local eWatch tWatch = eUnwatched;

bool IsRefused(long pRequest)
{
    if (gFault.fMode == eNoFault || pRequest < gFault.fRequest) return false;
    return gFault.fMode == eFaultFromThenOn || pRequest == gFault.fRequest;
}

/// Takes a block by pTake, or refuses it, and writes it down.
template <class tTake>
void* Take(eRequestKind pKind, size_t pSize, const tTake& pTake)
{
    if (tWatch == eUnwatched) return pTake();
    if (tWatch == eInTile) {
        gInTiles++;
        return pTake();
    }
    const long request = gCount++;
    if (request < sHeapUse::kMostRequests) gRequests[request] = {pKind, pSize};
    if (IsRefused(request)) {
        gRefused++;
        errno = ENOMEM;
        return nullptr;
    }
    void* const block = pTake();
    if (block != nullptr) gBook.Enter({block, pSize, gFirst + request, pKind});
    return block;
}

bool IsSameDoor(eRequestKind pKind, eRequestKind pDoor)
{
    const bool isNew = pKind == eNew || pKind == eNewArray;
    return pDoor == eMalloc ? !isNew : pKind == pDoor;
}

/// pDoor: eMalloc for free, eNew and eNewArray for the two forms of delete.
void GiveBack(void* pBlock, eRequestKind pDoor)
{
    sEntry entry;
    if (pBlock != nullptr && gBook.Remove(pBlock, entry) && !IsSameDoor(entry.fKind, pDoor)) gWrongDoors++;
    __libc_free(pBlock);
}

void* New(eRequestKind pKind, size_t pSize)
{
    void* const block = Take(pKind, pSize, [=] { return __libc_malloc(pSize != 0 ? pSize : 1); });
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

} // namespace

cUnwatched::cUnwatched() : fWas(tWatch == eWatched)
{
    tWatch = eUnwatched;
}

cUnwatched::~cUnwatched()
{
    tWatch = fWas ? eWatched : eUnwatched;
}

bool cUnwatched::WasWatching() const
{
    return fWas;
}

cInTile::cInTile(bool pWatching)
{
    tWatch = pWatching ? eInTile : eUnwatched;
}

cInTile::~cInTile()
{
    tWatch = eUnwatched;
}

sHeapUse WatchHeap(const std::function<void()>& pCall, sFault pFault)
{
    gFault = pFault;
    gFirst += std::exchange(gCount, 0);
    gRefused = 0;
    gInTiles = 0;
    gWrongDoors = 0;
    tWatch = eWatched;
    pCall();
    tWatch = eUnwatched;

    sHeapUse use;
    use.fRequests.assign(gRequests, gRequests + std::min<long>(gCount, sHeapUse::kMostRequests));
    use.fCount = gCount;
    use.fRefused = gRefused;
    use.fInTiles = gInTiles;
    use.fWrongDoors = gWrongDoors;
    std::vector<sEntry> lost;
    gBook.ForEach([&](const sEntry& pEntry) {
        if (pEntry.fRequest >= gFirst) lost.push_back(pEntry);
    });
    std::sort(lost.begin(), lost.end(), [](const sEntry& a, const sEntry& b) { return a.fRequest < b.fRequest; });
    for (const sEntry& entry : lost)
        use.fLost.push_back({entry.fAddress, entry.fSize, entry.fKind});
    return use;
}

void FreeLost(const sHeapUse& pUse)
{
    for (const sBlock& block : pUse.fLost) {
        sEntry entry;
        if (gBook.Remove(block.fAddress, entry)) __libc_free(block.fAddress);
    }
}

bool IsHeapWatched()
{
    void* (*const volatile take)(size_t) = malloc;
    void (*const volatile giveBack)(void*) = free;
    return WatchHeap([&] { giveBack(take(1)); }).fCount == 1;
}

} // namespace SelvaneTest

using namespace SelvaneTest;

extern "C" {

void* malloc(size_t pSize)
{
    return Take(eMalloc, pSize, [=] { return __libc_malloc(pSize); });
}

void* calloc(size_t pCount, size_t pSize)
{
    return Take(eCalloc, pCount * pSize, [=] { return __libc_calloc(pCount, pSize); });
}

void* realloc(void* pBlock, size_t pSize)
{
    return Take(eRealloc, pSize, [=] {
        void* const block = __libc_realloc(pBlock, pSize);
        sEntry entry;
        if (block != nullptr && pBlock != nullptr) gBook.Remove(pBlock, entry);
        return block;
    });
}

void* aligned_alloc(size_t pAlignment, size_t pSize)
{
    return Take(eMalloc, pSize, [=] { return __libc_memalign(pAlignment, pSize); });
}

void* memalign(size_t pAlignment, size_t pSize)
{
    return Take(eMalloc, pSize, [=] { return __libc_memalign(pAlignment, pSize); });
}

int posix_memalign(void** pBlock, size_t pAlignment, size_t pSize)
{
    void* const block = Take(eMalloc, pSize, [=] { return __libc_memalign(pAlignment, pSize); });
    if (block == nullptr) return ENOMEM;
    *pBlock = block;
    return 0;
}

void free(void* pBlock)
{
    GiveBack(pBlock, eMalloc);
}

} // extern "C"

void* operator new(size_t pSize)
{
    return New(eNew, pSize);
}

void* operator new[](size_t pSize)
{
    return New(eNewArray, pSize);
}

void operator delete(void* pBlock) noexcept
{
    GiveBack(pBlock, eNew);
}

void operator delete[](void* pBlock) noexcept
{
    GiveBack(pBlock, eNewArray);
}

void operator delete(void* pBlock, size_t) noexcept
{
    GiveBack(pBlock, eNew);
}

void operator delete[](void* pBlock, size_t) noexcept
{
    GiveBack(pBlock, eNewArray);
}

#else

namespace SelvaneTest
{

cUnwatched::cUnwatched() : fWas(false) {}

cUnwatched::~cUnwatched() = default;

bool cUnwatched::WasWatching() const
{
    return fWas;
}

cInTile::cInTile(bool /*pWatching*/) {}

cInTile::~cInTile() = default;

} // namespace SelvaneTest

#endif
