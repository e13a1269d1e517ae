#ifndef SELVANE_TESTS_BITMAP_HEAP_H
#define SELVANE_TESTS_BITMAP_HEAP_H

// The heap under watch. A program that links Heap.cpp has its own malloc, calloc, realloc and free in front of the
// system's; operator new and the library go through them too. Not for builds with a sanitizer, which has its own.

#include <cstddef>
#include <functional>
#include <vector>

namespace SelvaneTest
{

/// What one call did with the heap. Requests are counted from 0, refused ones included.
struct sHeapUse
{
    std::vector<size_t> fRequests; ///< bytes asked for, in order
    std::vector<size_t> fLost;     ///< bytes of the blocks asked for and not freed within the call, in order
    int fFrees = 0;                ///< blocks freed, of whatever origin; null is none
};

/// Decides on a request: true refuses it. Gets its index and its bytes.
using cRefusal = std::function<bool(int, size_t)>;

/// Runs the call on this thread with the heap under watch. The call must not throw.
sHeapUse WatchHeap(const std::function<void()>& pCall, const cRefusal& pRefuse = {});

/// Refuses the request of that index.
inline cRefusal RefuseRequest(int pIndex)
{
    return [pIndex](int pNumber, size_t) { return pNumber == pIndex; };
}

} // namespace SelvaneTest

#endif
