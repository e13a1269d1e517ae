// The three filters on planes of any numbers, with the arguments that the entry never gives them.

#include "Bytes.h"
#include "Ledger.h"
#include "TileHost.h"
#include "filter/cBilateral.h"

#include <new>

namespace
{

using namespace SelvaneFuzz;
using namespace Vornik;

constexpr size_t kMostBytes = 1 << 20;
constexpr float kWidestWrap = 1e4f; // a row that wraps is walked over six times the sampling: slow, but no endless loop
constexpr float kRefusedWrap = 6e6f;

/// A plane of exactly so many floats: five numbers, again and again.
cBlock Plane(cBytes& pBytes, int pWidth, int pHeight)
{
    cBlock plane(sizeof(float) * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    float numbers[5];
    for (float& number : numbers)
        number = pBytes.Float();
    for (size_t i = 0; i < plane.Size() / sizeof(float); i++)
        plane.As<float>()[i] = numbers[i % std::size(numbers)];
    return plane;
}

/// Callers of the blur and of the reference filter give widths above 0.
float PositiveWidth(cBytes& pBytes)
{
    const float width = std::fabs(pBytes.Float());
    return width > 1e-3f && width < 1e6f ? width : 0.75f;
}

/// Equal bits, where a NaN may stand for any other: which of two NaN a sum takes over is the compiler's choice.
bool SameNumbers(const cBlock& pFirst, const cBlock& pSecond)
{
    for (size_t i = 0; i < pFirst.Size() / sizeof(float); i++) {
        const float first = pFirst.As<float>()[i];
        const float second = pSecond.As<float>()[i];
        if (std::memcmp(&first, &second, sizeof first) != 0 && (first == first || second == second)) return false;
    }
    return true;
}

struct sRun
{
    int fWidth;
    int fHeight;
    int fThreads;
    uint32_t fCut;
};

void FilterFast(cBytes& pBytes, const sRun& pRun, const cBlock& pInput, const cBlock& pOutput)
{
    bool cancel = false;
    bool cancelled = false;
    float space = pBytes.Float();
    const float range = pBytes.Float();
    const float least = pBytes.Float();
    const float most = pBytes.Float();
    const float blur = pBytes.Float();
    const bool wraps = pBytes.Flag();
    if (wraps && space > kWidestWrap && space < kRefusedWrap) space = kWidestWrap;
    cBilateral::Filter_Fast(&cancel, &cancelled, pRun.fThreads, pInput.As<float>(), pOutput.As<float>(), pRun.fWidth,
                            pRun.fHeight, space, range, least, most, blur, wraps);
    Check(!cancelled);
}

/// Required: the library drops the result of this filter.
void FilterReference(cBytes& pBytes, const sRun& pRun, const cBlock& pInput, const cBlock& pOutput)
{
    bool cancel = false;
    bool cancelled = false;
    const float space = PositiveWidth(pBytes);
    const float range = PositiveWidth(pBytes);
    cBilateral::Filter_Ref(&cancel, &cancelled, pRun.fThreads, pInput.As<float>(), pOutput.As<float>(), pRun.fWidth,
                           pRun.fHeight, space, range, 0.0f, 1.0f);
    Check(pOutput.Equals(cBlock(pOutput.Size())));
}

void Blur(cBytes& pBytes, const sRun& pRun, const cBlock& pInput, const cBlock& pOutput)
{
    cBilateral::FastGaussianBlur(pRun.fThreads, pInput.As<float>(), pOutput.As<float>(), pRun.fWidth, pRun.fHeight,
                                 PositiveWidth(pBytes));
}

using tFilter = void (*)(cBytes& pBytes, const sRun& pRun, const cBlock& pInput, const cBlock& pOutput);

/// The filter that stands twice is taken twice as often.
constexpr tFilter kFilters[] = {FilterReference, Blur, FilterFast, FilterFast};

/// Reads the arguments from a copy of the bytes, so that a second call has the same.
void Filter(tFilter pFilter, cBytes pBytes, const sRun& pRun, const cBlock& pInput, const cBlock& pOutput)
{
    CutTiles(pRun.fCut);
    pFilter(pBytes, pRun, pInput, pOutput);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    const tFilter filter = bytes.Of(kFilters);
    sRun run{bytes.Int(1, 40), bytes.Int(1, 40), bytes.Int(1, 5), bytes.Byte()};
    const cBlock input = Plane(bytes, run.fWidth, run.fHeight);
    const cBlock before(input.Size());
    const cBlock first(input.Size());
    const cBlock second(input.Size());
    std::memcpy(before.Data(), input.Data(), input.Size());
    try {
        Filter(filter, bytes, run, input, first);
        Check(input.Equals(before));
        run.fThreads = 3;
        run.fCut += 5;
        Filter(filter, bytes, run, input, second);
        Check(SameNumbers(first, second));
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): a grid or kernel beyond the memory of a run
    }
    return 0;
}
