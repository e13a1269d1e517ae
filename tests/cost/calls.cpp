// Three fixed calls of the entry, whose instructions are counted from outside.
//
//   selvane_cost_calls NUMBER      runs call 0, 1 or 2

#include "entry/vorniklib3.h"
#include "filter/DivideWork.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

struct sFixedCall
{
    int fInputDepth;
    int fOutputDepth;
    int fRequest;
    int fWidth;
    int fHeight;
};

constexpr sFixedCall kCalls[] = {
    {16, 8, 0, 600, 400},  // samples to samples, most of it work on pixels
    {32, 16, 0, 317, 211}, // planes, with rows that no vector divides
    {8, 8, 9, 64, 64},     // a small one that measures: most of it tables
};

/// A window in a dark room, with fine noise.
std::vector<unsigned char> Input(const sFixedCall& pCall)
{
    std::vector<unsigned char> bytes;
    for (int y = 0; y < pCall.fHeight; y++)
        for (int i = 0; i < (pCall.fInputDepth == 32 ? 4 : 3) * pCall.fWidth; i++) {
            const bool exponent = pCall.fInputDepth == 32 && i >= 3 * pCall.fWidth;
            const int x = pCall.fInputDepth == 32 ? i % pCall.fWidth : i / 3;
            const bool window = x > pCall.fWidth / 2 && y < pCall.fHeight / 2;
            const int light = (window ? 200 : 20 + 60 * x / pCall.fWidth) + (x * 7 + y * 13 + i * 5) % 40;
            if (pCall.fInputDepth == 16) bytes.push_back(static_cast<unsigned char>(x * 31 + y));
            bytes.push_back(static_cast<unsigned char>(exponent ? 124 + light / 24 : light));
        }
    return bytes;
}

} // namespace

extern "C" void DivideWork(int start, int end, int /*threads*/, void* (*fn)(void*), void* record, size_t /*recordSize*/)
{
    const TileRecord header{0, 0, start, end};
    std::memcpy(record, &header, sizeof header);
    fn(record);
}

int main(int pCount, char** pWords)
{
    const sFixedCall& call = kCalls[pCount > 1 ? std::atoi(pWords[1]) % 3 : 0];
    const std::vector<unsigned char> input = Input(call);
    std::vector<unsigned char> output(static_cast<size_t>(call.fWidth * call.fHeight * 3 * call.fOutputDepth / 8));
    const sTmImageDesc image{call.fWidth,     call.fHeight,    3, call.fInputDepth, call.fOutputDepth,
                             3 * call.fWidth, 3 * call.fWidth, 0};
    const sTmRunSettings run{1, call.fRequest, 0};
    sTmSliders sliders{};
    return cpp_tm_selvane(&image, &run, 0, &sliders, input.data(), output.data()) == 1 ? 0 : 1;
}
