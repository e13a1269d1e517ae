#include "render/cTmRenderer.h"

#include "base/BigPages.h"
#include "base/Cancel.h"
#include "base/Log10.h"
#include "base/Numeric.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "filter/DivideWork.h"
#include "render/Layers.h"
#include "render/Stages.h"
#include "yhmv/cYHMVColorSpace.h"

#include <algorithm>
#include <memory>
#include <utility>

// The first stage. Computes the compact form of the picture, the logarithm of its luminance and the extremes.

namespace Vornik
{

namespace
{

constexpr int kPlanes = 7;          // 16-bit planes of a pixel of fYHMV
constexpr float kFloor = 0x1p-128f; // smallest luminance that counts, 2.9e-39, a subnormal number
constexpr int kSlotsOnTheStack = 256;

/// Smallest and largest luminance by worker slot. There is at least one slot, even for pSlots below 1.
class cSlotExtremes
{
public:
    explicit cSlotExtremes(int pSlots) : fSlots(std::max(pSlots, 1)), fMin(fFewMin), fMax(fFewMax)
    {
        if (fSlots > kSlotsOnTheStack) {
            fManyMin = std::make_unique<float[]>(static_cast<size_t>(fSlots));
            fManyMax = std::make_unique<float[]>(static_cast<size_t>(fSlots));
            fMin = fManyMin.get();
            fMax = fManyMax.get();
        }
        std::fill_n(fMin, fSlots, kBeyond);
        std::fill_n(fMax, fSlots, -kBeyond);
    }

private:
    int fSlots;
    float fFewMin[kSlotsOnTheStack];
    float fFewMax[kSlotsOnTheStack];
    std::unique_ptr<float[]> fManyMin;
    std::unique_ptr<float[]> fManyMax;

public:
    float* fMin;
    float* fMax;
};

/// Frees the compact picture and the planes of an earlier run, and sets the fields to null.
void ReleaseIntermediates(cTmRenderer& pRenderer)
{
    delete[] std::exchange(pRenderer.fBase, nullptr);
    delete[] std::exchange(pRenderer.fDetail, nullptr);
    delete[] std::exchange(pRenderer.fLogLuminance, nullptr);
    delete std::exchange(pRenderer.fYHMV, nullptr);
}

} // namespace

void AllocateIntermediates(cTmRenderer& pRenderer)
{
    ReleaseIntermediates(pRenderer);
    try {
        pRenderer.fYHMV = new cBitmapU16T(pRenderer.fInput->fWidth, pRenderer.fInput->fHeight, kPlanes);
        const auto count = static_cast<size_t>(CheckedCount(pRenderer.fInput->fWidth, pRenderer.fInput->fHeight));
        pRenderer.fLogLuminance = NewFloats(count);
        pRenderer.fDetail = NewFloats(count);
        pRenderer.fBase = NewFloats(count);
    } catch (...) {
        ReleaseIntermediates(pRenderer);
        throw;
    }
}

void MeasureLuminance(cTmRenderer& pRenderer, bool* pCancel, bool* pCancelled)
{
    pRenderer.fMinY = kBeyond;
    pRenderer.fMaxY = -kBeyond;
    const cSlotExtremes slots(pRenderer.fNbProc);
    sMinMaxLogArgs record{};
    record.pBitmap = pRenderer.fInput;
    record.pLogLuminance = pRenderer.fLogLuminance;
    record.pWidth = pRenderer.fInput->fWidth;
    record.pCancel = pCancel;
    record.pCancelled = pCancelled;
    record.pSlotMin = slots.fMin;
    record.pSlotMax = slots.fMax;
    record.pFloor = kFloor;
    DivideWork(0, pRenderer.fInput->fHeight, pRenderer.fNbProc, CalcMinMaxLog_tile_threaded, &record, sizeof record);
    for (int slot = 0; slot < pRenderer.fNbProc; slot++) {
        pRenderer.fMinY = slots.fMin[slot] < pRenderer.fMinY ? slots.fMin[slot] : pRenderer.fMinY;
        pRenderer.fMaxY = slots.fMax[slot] > pRenderer.fMaxY ? slots.fMax[slot] : pRenderer.fMaxY;
    }
    pRenderer.fLogMaxY = Log10(pRenderer.fMaxY);
    pRenderer.fLogMinY = Log10(pRenderer.fMinY);
}

void cTmRenderer::PrepareForRendering(bool* pCancel, bool* pCancelled)
{
    if (StopIfRequested(pCancel, pCancelled)) return;
    AllocateIntermediates(*this);
    cYHMVColorSpace::XYZToYHMV(pCancel, pCancelled, fInput, fYHMV);
    if (StopIfRequested(pCancel, pCancelled)) return;
    MeasureLuminance(*this, pCancel, pCancelled);
    StopIfRequested(pCancel, pCancelled);
}

} // namespace Vornik
