#ifndef SELVANE_TESTS_TRUST_HEAP_H
#define SELVANE_TESTS_TRUST_HEAP_H

// The heap under watch. A program that links Heap.cpp puts its own malloc family and its own operator new and delete in
// front of the system's, for the library and the runtimes too: it counts requests, refuses one on command, and keeps
// book of every block that a watched call took and nobody gave back. A sanitizer brings a heap of its own, so there
// SELVANE_WATCHED_HEAP is 0 and the tests that need the watch are left out.

#include <cstddef>
#include <functional>
#include <vector>

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define SELVANE_WATCHED_HEAP 0
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SELVANE_WATCHED_HEAP 0
#endif
#ifndef SELVANE_WATCHED_HEAP
#define SELVANE_WATCHED_HEAP 1
#endif

namespace SelvaneTest
{

/// Leaves this thread unwatched for as long as it lives: what a host allocates is not the library's business.
class cUnwatched
{
public:
    cUnwatched();
    ~cUnwatched();
    cUnwatched(const cUnwatched&) = delete;
    cUnwatched& operator=(const cUnwatched&) = delete;

    bool WasWatching() const; ///< whether the thread was under watch before

private:
    bool fWas;
};

/// While it lives, this thread runs a tile of a watched call: its requests are granted and counted apart, since a tile
/// must not ask for memory at all (it has no way to report that there is none).
class cInTile
{
public:
    explicit cInTile(bool pWatching); ///< pWatching: whether the caller of DivideWork is under watch
    ~cInTile();
    cInTile(const cInTile&) = delete;
    cInTile& operator=(const cInTile&) = delete;
};

#if SELVANE_WATCHED_HEAP

/// Who asked for a block. It has to be given back through the same door.
enum eRequestKind
{
    eMalloc,
    eCalloc,
    eRealloc,
    eNew,
    eNewArray,
};

struct sRequest
{
    eRequestKind fKind;
    size_t fSize; ///< bytes
};

/// A block that a watched call took and that has not been given back since.
struct sBlock
{
    void* fAddress;
    size_t fSize; ///< bytes
    eRequestKind fKind;
};

enum eFaultMode
{
    eNoFault,
    eFaultOnce,      ///< one request is refused, all others are granted
    eFaultFromThenOn ///< that request and all later ones are refused
};

struct sFault
{
    eFaultMode fMode = eNoFault;
    int fRequest = 0; ///< counted from 0
};

/// What one call did with the heap.
struct sHeapUse
{
    static constexpr int kMostRequests = 1 << 16;

    std::vector<sRequest> fRequests; ///< in order, refused ones included, at most the first kMostRequests
    std::vector<sBlock> fLost;       ///< in the order of their requests
    long fCount = 0;                 ///< requests in all
    int fRefused = 0;
    int fInTiles = 0;    ///< requests made by tiles
    int fWrongDoors = 0; ///< blocks given back through another door than they came from
};

/// Runs the call on this thread with the heap under watch; one at a time in the process. The call must not throw.
sHeapUse WatchHeap(const std::function<void()>& pCall, sFault pFault = {});

/// Gives back what a call lost, so that a loop over thousands of calls stays small.
void FreeLost(const sHeapUse& pUse);

/// Whether the program's own malloc is really the one in use. It is not under a tool that brings its own heap.
bool IsHeapWatched();

#endif

} // namespace SelvaneTest

#endif
