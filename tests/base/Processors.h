#ifndef SELVANE_TESTS_BASE_PROCESSORS_H
#define SELVANE_TESTS_BASE_PROCESSORS_H

// One loop compiled for each kind of processor that the library has versions for. The library's own versions are chosen
// by the loader, one a machine; here all that this machine can run are called side by side.

#include "base/Versions.h"

#include <cstddef>
#include <vector>

namespace SelvaneTest
{

/// Compiled for a kind of processor. Results go to pTo; both arrays have pCount numbers.
template <class tNumber>
struct sProcessorVersion
{
    const char* fName;
    void (*fLoop)(const tNumber* pFrom, tNumber* pTo, int pCount);
};

template <class tNumber, class tFunction>
SELVANE_INLINE void ApplyToEach(const tNumber* pFrom, tNumber* pTo, int pCount)
{
    for (int i = 0; i < pCount; i++)
        pTo[i] = tFunction::Of(pFrom[i]);
}

template <class tNumber, class tFunction>
__attribute__((noinline)) void ApplyPlain(const tNumber* pFrom, tNumber* pTo, int pCount)
{
    ApplyToEach<tNumber, tFunction>(pFrom, pTo, pCount);
}

#if defined(__x86_64__)
template <class tNumber, class tFunction>
__attribute__((noinline, target("avx2,fma"))) void ApplyAVX2(const tNumber* pFrom, tNumber* pTo, int pCount)
{
    ApplyToEach<tNumber, tFunction>(pFrom, pTo, pCount);
}

template <class tNumber, class tFunction>
__attribute__((noinline, target("avx2,fma,avx512f,avx512bw,avx512cd,avx512dq,avx512vl"))) void
ApplyAVX512(const tNumber* pFrom, tNumber* pTo, int pCount)
{
    ApplyToEach<tNumber, tFunction>(pFrom, pTo, pCount);
}
#endif

/// The versions that this machine can run. tFunction::Of takes a number and returns one.
template <class tNumber, class tFunction>
std::vector<sProcessorVersion<tNumber>> ProcessorVersions()
{
    std::vector<sProcessorVersion<tNumber>> versions{{"plain", ApplyPlain<tNumber, tFunction>}};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"))
        versions.push_back({"AVX2", ApplyAVX2<tNumber, tFunction>});
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx512vl"))
        versions.push_back({"AVX-512", ApplyAVX512<tNumber, tFunction>});
#endif
    return versions;
}

} // namespace SelvaneTest

#endif
