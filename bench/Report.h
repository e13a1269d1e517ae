#ifndef SELVANE_BENCH_REPORT_H
#define SELVANE_BENCH_REPORT_H

// What every benchmark prints beside its time.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <vector>

namespace SelvaneBench
{

/// Nanoseconds that a copy takes for each byte that it reads or writes, measured here and now over pBytes bytes.
inline double CopyNanoseconds(size_t pBytes)
{
    std::vector<char> from(pBytes / 2, 1);
    std::vector<char> to(pBytes / 2, 2);
    double best = 1e30;
    for (int i = 0; i < 5; i++) {
        const auto begin = std::chrono::steady_clock::now();
        std::memcpy(to.data(), from.data(), from.size());
        benchmark::DoNotOptimize(to.data());
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
    return best * 1e9 / static_cast<double>(pBytes);
}

/// Adds the counters ns/pixel, GB/s and copy, the nanoseconds a pixel that a plain copy of the same bytes takes.
/// @param pBytes bytes a pixel that the measured code reads and writes
inline void Report(benchmark::State& pState, double pPixels, double pBytes)
{
    const double total = pPixels * static_cast<double>(pState.iterations());
    pState.counters["ns/pixel"] =
        benchmark::Counter(total * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    pState.counters["GB/s"] = benchmark::Counter(total * pBytes * 1e-9, benchmark::Counter::kIsRate);
    const auto bytes = static_cast<size_t>(std::clamp(pPixels * pBytes, 1e5, 4e8));
    pState.counters["copy"] = CopyNanoseconds(bytes) * pBytes;
}

} // namespace SelvaneBench

#endif
