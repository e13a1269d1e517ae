#include "Measure.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <malloc.h>
#include <new>
#include <sys/mman.h>
#include <sys/prctl.h>

namespace SelvaneBench
{

namespace
{

bool gFailed = false;

double Seconds(clockid_t pClock)
{
    timespec now{};
    clock_gettime(pClock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double WallSeconds()
{
    return Seconds(CLOCK_MONOTONIC);
}

/// New memory from the system, every page touched. Not from the heap, which adapts its thresholds to what it frees.
class cFreshMemory
{
public:
    explicit cFreshMemory(size_t pBytes)
        : fBytes(pBytes), fBlock(mmap(nullptr, pBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (fBlock == MAP_FAILED) throw std::bad_alloc();
        madvise(fBlock, fBytes, MADV_HUGEPAGE);
        for (size_t i = 0; i < fBytes; i += 4096)
            Bytes()[i] = 1;
    }
    ~cFreshMemory() { munmap(fBlock, fBytes); }
    cFreshMemory(const cFreshMemory&) = delete;
    cFreshMemory& operator=(const cFreshMemory&) = delete;

    char* Bytes() const { return static_cast<char*>(fBlock); }

private:
    size_t fBytes;
    void* fBlock;
};

/// Nanoseconds that a copy takes for each byte that it reads or writes, measured here and now. Of both clocks the
/// smaller counts: the one on the wall runs on while a neighbour has the processor, and asking for the other takes
/// longer than a small copy.
double CopyNanoseconds(size_t pBytes)
{
    const cFreshMemory from(pBytes / 2);
    const cFreshMemory to(pBytes / 2);
    double best = 1e30;
    for (int i = 0; i < 15; i++) {
        const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
        const double wall = WallSeconds();
        std::memcpy(to.Bytes(), from.Bytes(), pBytes / 2);
        benchmark::DoNotOptimize(to.Bytes());
        benchmark::ClobberMemory();
        best = std::min({best, WallSeconds() - wall, Seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu});
    }
    return best * 1e9 / static_cast<double>(pBytes);
}

/// The value that pShare of all values are below: 0 the least, 0.5 the median.
double Quantile(std::vector<double> pValues, double pShare)
{
    const auto at = pValues.begin() + static_cast<std::ptrdiff_t>(static_cast<double>(pValues.size()) * pShare);
    std::nth_element(pValues.begin(), at, pValues.end());
    return *at;
}

constexpr double kCheapShare = 0.125; // not the least: the clock of processor time skips once in a while

constexpr double kLeastCopied = 8192; // bytes, read and written
constexpr double kMostCopied = 2e8;   // enough to leave the caches of a core

void Report(benchmark::State& pState, const sWork& pWork, const sTimes& pTimes)
{
    if (pTimes.fWall.empty()) return;
    const double best = Quantile(pTimes.fWall, 0.0);
    const double bytes = pWork.fItems * pWork.fBytes;
    const auto copied = static_cast<size_t>(std::clamp(bytes, kLeastCopied, kMostCopied));
    pState.counters["ns"] = best * 1e9 / pWork.fItems;
    pState.counters["median"] = Quantile(pTimes.fWall, 0.5) * 1e9 / pWork.fItems;
    pState.counters["cpu"] = Quantile(pTimes.fCpu, kCheapShare) * 1e9 / pWork.fItems;
    pState.counters["GB/s"] = bytes * 1e-9 / best;
    pState.counters["copy"] = CopyNanoseconds(copied) * pWork.fBytes;
}

void Fail(benchmark::State& pState, const char* pReason)
{
    gFailed = true;
    pState.SkipWithError(pReason);
}

/// The library's progress lines go nowhere; std::cerr is untouched.
void MuteLibrary()
{
    if (std::FILE* nothing = std::fopen("/dev/null", "w")) stderr = nothing;
}

} // namespace

void TouchMemory(size_t pBytes)
{
    if (pBytes > 0) const cFreshMemory memory(pBytes);
}

const char* Memory(eMemory pMemory)
{
    switch (pMemory) {
    case eMemory::eBigPages:
        return "bigPages";
    case eMemory::eSmallPages:
        return "smallPages";
    default:
        return "keptHeap";
    }
}

void UseMemory(eMemory pMemory)
{
    prctl(PR_SET_THP_DISABLE, pMemory == eMemory::eSmallPages ? 1 : 0, 0, 0, 0);
    if (pMemory != eMemory::eKept) return;
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
}

void Add(const std::string& pName, const std::function<void(benchmark::State&)>& pCase)
{
    const auto guarded = [pCase](benchmark::State& pState) {
        try {
            pCase(pState);
        } catch (const std::exception& exception) {
            Fail(pState, exception.what());
        } catch (...) {
            Fail(pState, "an exception of the library");
        }
    };
    benchmark::RegisterBenchmark(pName.c_str(), guarded)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

void Measure(benchmark::State& pState, const sWork& pWork, const std::function<void()>& pCall)
{
    sTimes times;
    const auto calls = static_cast<size_t>(pState.max_iterations);
    times.fWall.reserve(calls);
    times.fCpu.reserve(calls);
    if (pWork.fFresh == 0) pCall(); // so that its memory is warm
    for ([[maybe_unused]] auto _ : pState) {
        TouchMemory(pWork.fFresh);
        const double cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
        const double wall = WallSeconds();
        pCall();
        benchmark::ClobberMemory();
        const double took = WallSeconds() - wall;
        times.Enter({took, Seconds(CLOCK_PROCESS_CPUTIME_ID) - cpu});
        pState.SetIterationTime(took);
    }
    Report(pState, pWork, times);
}

void Replay(benchmark::State& pState, const sWork& pWork, const sTimes& pTimes)
{
    size_t at = 0;
    for ([[maybe_unused]] auto _ : pState)
        pState.SetIterationTime(pTimes.fWall[at++ % pTimes.fWall.size()]);
    Report(pState, pWork, pTimes);
}

sMoment Now()
{
    return {WallSeconds(), Seconds(CLOCK_PROCESS_CPUTIME_ID)};
}

} // namespace SelvaneBench

int main(int pCount, char** pWords)
{
    benchmark::Initialize(&pCount, pWords);
    if (benchmark::ReportUnrecognizedArguments(pCount, pWords)) return 1;
    SelvaneBench::MuteLibrary();
    SelvaneBench::AddCases();
    const size_t ran = benchmark::RunSpecifiedBenchmarks();
    return ran > 0 && !SelvaneBench::gFailed ? 0 : 1;
}
