// How much does a whole picture cost? Prints nanoseconds a pixel of one call of the entry, by size, input form and
// workers.
//
// The input is a made scene of slow gradients over some decades with hard edges and fine noise, built outside the timed
// part: noise alone would put every pixel into a cell of its own and make the filter look slower than it is on
// photographs.

#include "entry/vorniklib3.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace
{

/// A sample of the scene, 16 bits.
unsigned Sample(int pX, int pY, int pWidth, int pHeight)
{
    const unsigned noise = static_cast<unsigned>(pX * 7919 + pY * 104729) % 601;
    const bool window = pX > pWidth / 2 && pY < pHeight / 2;
    return window ? 60000 + noise : 500 + static_cast<unsigned>(20000LL * pX / pWidth) + noise;
}

std::vector<unsigned char> Scene(int pDepth, int pWidth, int pHeight)
{
    std::vector<unsigned char> bytes;
    for (int y = 0; y < pHeight; y++)
        for (int i = 0; i < (pDepth == 32 ? 4 : 3) * pWidth; i++) {
            const unsigned sample =
                pDepth == 32 ? Sample(i % pWidth, y, pWidth, pHeight) : Sample(i / 3, y, pWidth, pHeight);
            if (pDepth == 16) bytes.push_back(static_cast<unsigned char>(sample & 255));
            const bool exponent = pDepth == 32 && i >= 3 * pWidth;
            bytes.push_back(static_cast<unsigned char>(exponent ? 120 + (sample >> 13) : sample >> 8));
        }
    return bytes;
}

/// Keeps the library's progress lines from the terminal.
void SilenceStderr()
{
    const int nothing = open("/dev/null", O_WRONLY);
    if (nothing >= 0) dup2(nothing, STDERR_FILENO);
}

void ToneMap(benchmark::State& pState)
{
    const auto width = static_cast<int>(pState.range(0));
    const int height = width * 2 / 3;
    const auto depth = static_cast<int>(pState.range(1));
    const std::vector<unsigned char> input = Scene(depth, width, height);
    std::vector<unsigned char> output(static_cast<size_t>(width) * static_cast<size_t>(height) * 6);
    const sTmImageDesc image{width, height, 3, depth, 16, 3 * width, 3 * width, 0};
    const sTmRunSettings run{static_cast<int32_t>(pState.range(2)), 0, 0};
    SilenceStderr();
    for (auto _ : pState) {
        sTmSliders sliders{};
        if (cpp_tm_selvane(&image, &run, 0, &sliders, input.data(), output.data()) != 1)
            pState.SkipWithError("refused");
    }
    const double pixels = static_cast<double>(width) * height * static_cast<double>(pState.iterations());
    pState.counters["ns/pixel"] =
        benchmark::Counter(pixels * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// width, depth of the input, workers
BENCHMARK(ToneMap)
    ->ArgsProduct({{600, 3000, 6000}, {8, 16, 32}, {1, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

} // namespace

BENCHMARK_MAIN();
