// The entry with records, sliders and pixels from the fuzzer. Both buffers are exactly as large as the entry may use.

#include "Bytes.h"
#include "Ledger.h"
#include "TileHost.h"
#include "bitmap/cException.h"
#include "entry/vorniklib3.h"

#include <algorithm>

namespace
{

using namespace SelvaneFuzz;

constexpr size_t kMostBytes = 4 << 20; // of one allocation: grids beyond it end in the entry's code for no memory
constexpr unsigned char kUntouched = 0xA5;
constexpr int kThrown = 2; // the entry left by a pointer to an exception object

struct sCall
{
    sTmImageDesc fImage{};
    sTmRunSettings fRun{};
    int32_t fColorSpace = 0;
    sTmSliders fSliders{};
    uint32_t fCut = 0;
};

/// What came back.
struct sOutcome
{
    int fResult = 0;
    cBlock fOutput;
    sTmSliders fSliders{};
};

int Depth(cBytes& pBytes)
{
    constexpr int kDepths[] = {8, 16, 32, 8, 16, 32, 8, 12};
    return pBytes.Of(kDepths);
}

int Side(cBytes& pBytes)
{
    const uint8_t kind = pBytes.Byte();
    if (kind < 244) return 1 + kind % 20;
    if (kind < 250) return 100 + kind % 8; // long and narrow with the other side
    return kind == 250 ? 0 : kind == 251 ? -1 : kind < 254 ? 300 : 1 << 20;
}

sTmImageDesc Image(cBytes& pBytes)
{
    sTmImageDesc image{};
    image.width = Side(pBytes);
    image.height = Side(pBytes);
    image.samplesPerPixel = pBytes.Flag() ? 3 : pBytes.Int(-4, 8);
    image.inputDepth = Depth(pBytes);
    image.outputDepth = pBytes.Byte() < 250 ? (pBytes.Flag() ? 8 : 16) : 24;
    image.inputRowSamples = 3 * std::min(image.width, 200) + pBytes.Int(-8, 8);
    image.outputRowSamples = std::max(0, image.samplesPerPixel * std::min(image.width, 200) + pBytes.Int(-8, 8));
    image.bgrOrder = pBytes.Flag() ? 1 : 0;
    return image;
}

sTmSliders Sliders(cBytes& pBytes)
{
    sTmSliders sliders{};
    for (float* slider :
         {&sliders.compression, &sliders.smoothness, &sliders.adaptation, &sliders.whiteClip, &sliders.blackClip,
          &sliders.radius, &sliders.wrapSwitch, &sliders.blackPoint, &sliders.whitePoint})
        *slider = pBytes.Float();
    return sliders;
}

sCall Call(cBytes& pBytes)
{
    sCall call;
    call.fImage = Image(pBytes);
    constexpr int kWorkers[] = {1, 2, 3, 5, 0, -1, 300, 8};
    call.fRun.processorCount = pBytes.Of(kWorkers);
    constexpr int kRequests[] = {0, 1, 9, 2};
    call.fRun.requestType = pBytes.Of(kRequests);
    call.fColorSpace = pBytes.Int(0, 2);
    call.fSliders = Sliders(pBytes);
    call.fCut = pBytes.Raw<uint16_t>();
    return call;
}

/// Whether the sizes are refused, or too large for the memory of a run, before a pixel is read.
bool NeverReads(const sTmImageDesc& pImage)
{
    return pImage.width < 1 || pImage.height < 1 ||
           int64_t{pImage.width} * pImage.height * 12 > static_cast<int64_t>(kMostBytes);
}

/// A range of places, both ends included.
struct sReach
{
    int64_t fLowest;
    int64_t fHighest;
};

/// Bytes of a run of rows, from the lowest to the highest address, and where the host's pointer stands in them.
struct sExtent
{
    size_t fSize = 0;
    size_t fOrigin = 0;
};

/// The extent of pRows rows, each of which reaches as far as pRow, in samples of pSampleBytes.
sExtent Extent(int64_t pRows, int64_t pRowStep, sReach pRow, int64_t pSampleBytes)
{
    const int64_t last = (pRows - 1) * pRowStep;
    const int64_t low = std::min<int64_t>({0, pRow.fLowest, last + pRow.fLowest});
    const int64_t high = std::max<int64_t>({-1, pRow.fHighest, last + pRow.fHighest});
    return {static_cast<size_t>((high + 1 - low) * pSampleBytes), static_cast<size_t>(-low * pSampleBytes)};
}

/// The samples of a row whose pixels stand one step apart; with a step of 0 or below they lie before the first.
sReach PixelReach(const sTmImageDesc& pImage)
{
    const int64_t last = int64_t{pImage.samplesPerPixel} - 1; // of a pixel
    const int64_t pixel = int64_t{pImage.width - 1} * pImage.samplesPerPixel;
    return {std::min<int64_t>(0, pixel) + std::min<int64_t>(0, last),
            std::max<int64_t>(0, pixel) + std::max<int64_t>(0, last)};
}

sExtent InputExtent(const sTmImageDesc& pImage)
{
    if (NeverReads(pImage)) return {};
    const int64_t width = pImage.width;
    if (pImage.inputDepth == 32) return Extent(pImage.height, 4 * width, {0, 4 * width - 1}, 1);
    const int64_t rowStep = width * pImage.samplesPerPixel + pImage.inputRowSamples - 3 * width;
    return Extent(pImage.height, rowStep, PixelReach(pImage), pImage.inputDepth / 8);
}

sExtent OutputExtent(const sTmImageDesc& pImage)
{
    if (NeverReads(pImage)) return {};
    const int64_t row = pImage.outputRowSamples;
    const sReach reach = pImage.bgrOrder != 0 ? sReach{0, row - 1} : PixelReach(pImage);
    return Extent(pImage.height, row, reach, pImage.outputDepth / 8);
}

int Enter(const sCall& pCall, sTmSliders* pSliders, const unsigned char* pInput, unsigned char* pOutput)
{
    CutTiles(pCall.fCut);
    try {
        return cpp_tm_selvane(&pCall.fImage, &pCall.fRun, pCall.fColorSpace, pSliders, pInput, pOutput);
    } catch (Vornik::cInvalidOperationException* failure) {
        delete failure;
        return kThrown;
    }
}

sOutcome Run(const sCall& pCall, const cBlock& pInput)
{
    const sExtent extent = OutputExtent(pCall.fImage);
    sOutcome outcome{0, cBlock(extent.fSize, kUntouched), {}};
    const cBlock sliders(sizeof(sTmSliders));
    std::memcpy(sliders.Data(), &pCall.fSliders, sizeof(sTmSliders));
    outcome.fResult = Enter(pCall, sliders.As<sTmSliders>(), pInput.Data() + InputExtent(pCall.fImage).fOrigin,
                            outcome.fOutput.Data() + extent.fOrigin);
    std::memcpy(&outcome.fSliders, sliders.Data(), sizeof(sTmSliders));
    return outcome;
}

bool Equal(const void* pFirst, const void* pSecond, size_t pSize)
{
    return std::memcmp(pFirst, pSecond, pSize) == 0;
}

void CheckResult(const sCall& pCall, const sOutcome& pOutcome)
{
    const int result = pOutcome.fResult;
    const int inputDepth = pCall.fImage.inputDepth;
    const int outputDepth = pCall.fImage.outputDepth;
    Check(result == 1 || result == -1 || result == -2 || result == -4 || result == kThrown);
    Check((result == -2) == (inputDepth != 8 && inputDepth != 16 && inputDepth != 32));
    Check(result != kThrown || (outputDepth != 8 && outputDepth != 16));
    Check(result != 1 || outputDepth == 8 || outputDepth == 16);
}

void CheckUntouched(const sCall& pCall, const sOutcome& pOutcome)
{
    const size_t points = offsetof(sTmSliders, blackPoint);
    const bool writesPoints = pOutcome.fResult == 1 && pCall.fRun.requestType != 1;
    Check(Equal(&pOutcome.fSliders, &pCall.fSliders, writesPoints ? points : sizeof(sTmSliders)));
    if (pOutcome.fResult == 1 && pCall.fRun.requestType != 9) return;
    Check(pOutcome.fOutput.Equals(cBlock(pOutcome.fOutput.Size(), kUntouched)));
}

/// The number of workers and the cut of the tiles change no bit.
void CheckWorkers(sCall pCall, const cBlock& pInput, const sOutcome& pOutcome)
{
    pCall.fRun.processorCount = pCall.fRun.processorCount == 3 ? 1 : 3;
    pCall.fCut += 77;
    const sOutcome other = Run(pCall, pInput);
    Check(other.fResult == pOutcome.fResult);
    Check(Equal(&other.fSliders, &pOutcome.fSliders, sizeof(sTmSliders)));
    Check(other.fOutput.Equals(pOutcome.fOutput));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    const bool twice = bytes.Byte() % 4 == 0;
    const sCall call = Call(bytes);
    const cBlock input(InputExtent(call.fImage).fSize);
    bytes.Fill(input.Data(), input.Size());

    const sOutcome outcome = Run(call, input);
    CheckResult(call, outcome);
    CheckUntouched(call, outcome);
    const bool hasTable = outcome.fResult != -2 && call.fImage.inputDepth != 32;
    Check(ledger.DecodeTables() == (hasTable ? 1 : 0));
    if (twice && call.fRun.processorCount >= 1) CheckWorkers(call, input, outcome);
    return 0;
}
