#ifndef SELVANE_TESTS_FILTER_GUARDED_PLANE_H
#define SELVANE_TESTS_FILTER_GUARDED_PLANE_H

#include <algorithm>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace SelvaneTest
{

/// Floats between two pages that nobody may touch. They end at the second page, or begin behind the first.
class cGuardedPlane
{
public:
    cGuardedPlane(const std::vector<float>& pFloats, bool pAtTheEnd)
        : fPage(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          fBytes((pFloats.size() * sizeof(float) + fPage - 1) / fPage * fPage)
    {
        fBlock = static_cast<char*>(
            mmap(nullptr, fBytes + 2 * fPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(fBlock, fPage, PROT_NONE);
        mprotect(fBlock + fPage + fBytes, fPage, PROT_NONE);
        char* start = fBlock + fPage + (pAtTheEnd ? fBytes - pFloats.size() * sizeof(float) : 0);
        fFloats = reinterpret_cast<float*>(start);
        std::copy(pFloats.begin(), pFloats.end(), fFloats);
    }
    ~cGuardedPlane() { munmap(fBlock, fBytes + 2 * fPage); }
    cGuardedPlane(const cGuardedPlane&) = delete;
    cGuardedPlane& operator=(const cGuardedPlane&) = delete;

    float* Floats() const { return fFloats; }

private:
    size_t fPage;
    size_t fBytes;
    char* fBlock;
    float* fFloats;
};

} // namespace SelvaneTest

#endif
