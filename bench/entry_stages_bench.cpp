// Where does a call of the entry spend its time? Prints nanoseconds a pixel by stage, the median of several calls.
//
// Nothing is put into the library: the call is seen from outside. DivideWork is called at the start and at the end of
// the logarithm and of slicing, and each progress line ends a step. So the time between two such moments belongs to the
// stages between them. Memory of the size of a call is touched and freed before each call: the first pages after a pause
// may cost many times their usual price, and that is the price of the machine, not of the library.
//
//   entry_stages_bench [WIDTH [HEIGHT [INPUT_DEPTH [OUTPUT_DEPTH [WORKERS [REQUEST]]]]]]

#include "Scene.h"

#include "entry/vorniklib3.h"
#include "filter/DivideWork.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace
{

using tClock = std::chrono::steady_clock;

/// What ends at a moment of a call.
enum eStep
{
    eRead,      // decoding, matrix, room for the intermediates
    eLogarithm, // first DivideWork
    eScatter,   // grid, scattering, smoothing
    eSlice,     // second DivideWork
    eMeasure,   // closing blur, layers split and measured: up to the first line
    eTables,    // up to the second line
    eLuminance, // up to the third line
    eHistogram, // up to the fourth line
    eFinal,     // last stage, samples to the host, everything released
    eSteps
};

constexpr const char* kNames[eSteps] = {"read + matrix", "logarithm",       "scatter + smooth",
                                        "slice",         "split + measure", "tables",
                                        "new luminance", "histogram",       "final, release"};

struct sRun
{
    tClock::time_point fLast;
    int fDivides = 0;
    int fLines = 0;
    std::array<double, eSteps> fSeconds{};

    void Begin()
    {
        *this = {};
        fLast = tClock::now();
    }

    void End(eStep pStep)
    {
        const tClock::time_point now = tClock::now();
        fSeconds[pStep] += std::chrono::duration<double>(now - fLast).count();
        fLast = now;
    }
};

sRun gRun;

ssize_t HearLine(void* /*pCookie*/, const char* /*pText*/, size_t pSize)
{
    constexpr eStep kEnds[] = {eMeasure, eTables, eLuminance, eHistogram};
    if (gRun.fLines < 4) gRun.End(kEnds[gRun.fLines++]);
    return static_cast<ssize_t>(pSize);
}

void RunTiles(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    const int count = std::max(1, threads);
    const auto run = [&](int slot) {
        std::vector<unsigned char> copy(recordSize);
        std::memcpy(copy.data(), record, recordSize);
        TileRecord header{};
        header.fSlot = slot;
        header.fStart = start + static_cast<int>(int64_t{end - start} * slot / count);
        header.fEnd = start + static_cast<int>(int64_t{end - start} * (slot + 1) / count);
        std::memcpy(copy.data(), &header, sizeof header);
        fn(copy.data());
    };
    std::vector<std::thread> workers;
    for (int slot = 1; slot < count; slot++)
        workers.emplace_back(run, slot);
    run(0);
    for (std::thread& worker : workers)
        worker.join();
}

/// Touches and frees as many bytes, so that a machine which lent its free memory elsewhere has it back.
void TouchMemory(size_t pBytes)
{
    std::vector<char> memory(pBytes);
    for (size_t i = 0; i < pBytes; i += 4096)
        memory[i] = 1;
    asm volatile("" : : "r"(memory.data()) : "memory");
}

long Faults()
{
    struct rusage usage
    {
    };
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

int Number(int pCount, char** pWords, int pAt, int pOtherwise)
{
    return pAt < pCount ? std::atoi(pWords[pAt]) : pOtherwise;
}

} // namespace

extern "C" void DivideWork(int start, int end, int threads, void* (*fn)(void*), void* record, size_t recordSize)
{
    constexpr eStep kBefore[] = {eRead, eScatter};
    constexpr eStep kEnds[] = {eLogarithm, eSlice};
    const int call = gRun.fDivides++;
    if (call < 2) gRun.End(kBefore[call]);
    RunTiles(start, end, threads, fn, record, recordSize);
    if (call < 2) gRun.End(kEnds[call]);
}

int main(int pCount, char** pWords)
{
    const int width = Number(pCount, pWords, 1, 6000);
    const int height = Number(pCount, pWords, 2, width * 2 / 3);
    const int inputDepth = Number(pCount, pWords, 3, 16);
    const int outputDepth = Number(pCount, pWords, 4, 8);
    const int workers = Number(pCount, pWords, 5, 1);
    const int request = Number(pCount, pWords, 6, 0);
    const double pixels = static_cast<double>(width) * height;
    const std::vector<unsigned char> input = SelvaneBench::Scene(inputDepth, width, height);
    std::vector<unsigned char> output(static_cast<size_t>(width) * static_cast<size_t>(height) * 6);
    const sTmImageDesc image{width, height, 3, inputDepth, outputDepth, 3 * width, 3 * width, 0};
    const sTmRunSettings run{workers, 0, request};

    stderr = ::fopencookie(nullptr, "w", {nullptr, HearLine, nullptr, nullptr});
    std::setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
    const int calls = std::clamp(static_cast<int>(1.5e8 / pixels), 5, 301);
    std::array<std::vector<double>, eSteps + 1> seconds;
    long faults = 0;
    for (int i = 0; i < calls; i++) {
        TouchMemory(static_cast<size_t>(pixels * 50));
        sTmSliders sliders{};
        sliders.whiteClip = 10.0f;
        const long before = Faults();
        gRun.Begin();
        const tClock::time_point begin = gRun.fLast;
        if (cpp_tm_selvane(&image, &run, 0, &sliders, input.data(), output.data()) != 1) return 1;
        gRun.End(eFinal);
        faults = Faults() - before;
        double sum = 0;
        for (int step = 0; step < eSteps; step++)
            seconds[static_cast<size_t>(step)].push_back(gRun.fSeconds[static_cast<size_t>(step)]);
        sum = std::chrono::duration<double>(gRun.fLast - begin).count();
        seconds[eSteps].push_back(sum);
    }
    const auto median = [](std::vector<double>& pValues) {
        std::nth_element(pValues.begin(), pValues.begin() + static_cast<long>(pValues.size() / 2), pValues.end());
        return pValues[pValues.size() / 2];
    };
    std::printf("%d x %d, %d bits in, %d out, %d worker(s), request %d; ns a pixel, median of %d calls\n", width,
                height, inputDepth, outputDepth, workers, request, calls);
    for (int step = 0; step < eSteps; step++)
        std::printf("  %-17s %7.2f\n", kNames[step], median(seconds[static_cast<size_t>(step)]) / pixels * 1e9);
    std::printf("  %-17s %7.2f   %.3f ms, best %.2f, %ld page faults\n", "whole call",
                median(seconds[eSteps]) / pixels * 1e9, median(seconds[eSteps]) * 1e3,
                *std::min_element(seconds[eSteps].begin(), seconds[eSteps].end()) / pixels * 1e9, faults);
    return 0;
}
