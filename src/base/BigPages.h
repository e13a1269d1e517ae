#ifndef SELVANE_BASE_BIGPAGES_H
#define SELVANE_BASE_BIGPAGES_H

// Big pages for large blocks, internal. About half of a first pass over new memory is the kernel clearing pages of
// 4 KiB one by one; pages of 2 MiB take a tenth of that.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace Vornik
{

constexpr size_t kBigPage = size_t{2} << 20;          // bytes
constexpr size_t kLeastForBigPages = size_t{1} << 20; // bytes of a block

/// False if the environment variable SELVANE_BIG_PAGES is 0, read once. Big pages are dear on some virtual machines:
/// those that hand free blocks of 2 MiB back to their host.
inline bool BigPagesWanted()
{
    static const bool wanted = [] {
        const char* value = std::getenv("SELVANE_BIG_PAGES");
        return value == nullptr || std::strcmp(value, "0") != 0;
    }();
    return wanted;
}

/// Asks the system for big pages in a new block of at least 1 MiB. Changes no byte. Both ends are rounded outwards, so
/// that neighbouring blocks share a big page; a system without big pages refuses, which does no harm.
inline void AskForBigPages(void* pBlock, size_t pBytes)
{
#if defined(MADV_HUGEPAGE)
    if (pBlock == nullptr || pBytes < kLeastForBigPages || !BigPagesWanted()) return;
    const auto begin = reinterpret_cast<uintptr_t>(pBlock) / kBigPage * kBigPage;
    const auto end = (reinterpret_cast<uintptr_t>(pBlock) + pBytes + kBigPage - 1) / kBigPage * kBigPage;
    ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE); // NOLINT(performance-no-int-to-ptr)
#else
    static_cast<void>(pBlock);
    static_cast<void>(pBytes);
#endif
}

/// new float[pCount], in big pages if it is large.
inline float* NewFloats(size_t pCount)
{
    auto* const floats = new float[pCount];
    AskForBigPages(floats, pCount * sizeof(float));
    return floats;
}

} // namespace Vornik

#endif
