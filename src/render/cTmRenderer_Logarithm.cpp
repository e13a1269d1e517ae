#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Log10.h"
#include "base/Versions.h"
#include "bitmap/cBitmapXYZ32.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

// The parallel pass of the first stage: the logarithm of each pixel's luminance and the extremes of the luminance. A
// row goes by strips, one step after another over small arrays, since look-ups in a table keep a loop from vectorising.

namespace Vornik
{

namespace
{

constexpr int kStrip = 128; // pixels
constexpr int kLine = 16;   // floats in a line of the cache
constexpr int kLanes = 32;  // running extremes side by side; joined in any order, since no value is a zero or a NaN
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Running extremes of luminance above 0.
struct sExtremes
{
    float fMin[kLanes];
    float fMax[kLanes];

    sExtremes()
    {
        std::fill_n(fMin, kLanes, kInfinity);
        std::fill_n(fMax, kLanes, 0.0f);
    }
};

struct sStrip
{
    float fLuminance[kStrip];
    float fMantissa[kStrip];
    float fExponent[kStrip];
    int fEntry[kStrip];
    sLogEntry fEntries[kStrip];
};

/// The luminance of a pixel as it counts. NaN gives the floor.
SELVANE_INLINE float Floored(const float* pPixel, float pFloor)
{
    return pPixel[1] > pFloor ? pPixel[1] : pFloor;
}

/// Fetches pCount luminances. The rest of the strip repeats the first one, which no extreme notices. A whole strip has
/// a loop of its own: its stores are as wide as the loads of the next step, which would else have to wait for them.
SELVANE_INLINE void Fetch(const float* pPixels, int pCount, float pFloor, sStrip& pStrip)
{
    if (pCount == kStrip) {
        for (int n = 0; n < kStrip; n++)
            pStrip.fLuminance[n] = Floored(pPixels + ptrdiff_t{3} * n, pFloor);
        return;
    }
    for (int n = 0; n < pCount; n++)
        pStrip.fLuminance[n] = Floored(pPixels + ptrdiff_t{3} * n, pFloor);
    for (int n = pCount; n < kStrip; n++)
        pStrip.fLuminance[n] = pStrip.fLuminance[0];
}

SELVANE_INLINE void Extend(sExtremes& pExtremes, const sStrip& pStrip)
{
    for (int n = 0; n < kStrip; n += kLanes)
        for (int lane = 0; lane < kLanes; lane++) {
            const float value = pStrip.fLuminance[n + lane];
            pExtremes.fMin[lane] = value < pExtremes.fMin[lane] ? value : pExtremes.fMin[lane];
            pExtremes.fMax[lane] = value > pExtremes.fMax[lane] ? value : pExtremes.fMax[lane];
        }
}

SELVANE_INLINE void TakeApart(sStrip& pStrip)
{
    for (int n = 0; n < kStrip; n++) {
        const sLogParts parts = SplitForLog(pStrip.fLuminance[n]); // infinity splits too, and is put back at the end
        pStrip.fMantissa[n] = parts.fMantissa;
        pStrip.fExponent[n] = parts.fExponent;
        pStrip.fEntry[n] = parts.fEntry;
    }
}

/// Each entry moves as one block of 16 bytes. The places are read one by one from memory: taking them out of vectors
/// and putting the entries together there, as g++ would, takes twice as long. pAheadPixels and pAheadLog are where a
/// later strip is; its lines are asked for one by one, since all at once would wait for each other.
SELVANE_INLINE void LookUp(const float* pAheadPixels, const float* pAheadLog, sStrip& pStrip)
{
    const volatile int* places = pStrip.fEntry;
    for (int line = 0; line < kStrip; line += kLine) {
        __builtin_prefetch(pAheadPixels + ptrdiff_t{3} * line);
        __builtin_prefetch(pAheadPixels + ptrdiff_t{3} * line + kLine);
        __builtin_prefetch(pAheadPixels + ptrdiff_t{3} * line + ptrdiff_t{2} * kLine);
        __builtin_prefetch(pAheadLog + line, 1);
#pragma GCC unroll 16
        for (int n = line; n < line + kLine; n++)
            std::memcpy(&pStrip.fEntries[n], &kLogTable[places[n]], sizeof(sLogEntry));
    }
}

/// The logarithms of the strip, kStrip of them.
SELVANE_INLINE void Join(const sStrip& pStrip, float* pLog)
{
    for (int n = 0; n < kStrip; n++) {
        const float log =
            JoinLog10(pStrip.fMantissa[n], pStrip.fExponent[n], pStrip.fEntries[n].fInverse, pStrip.fEntries[n].fLog);
        pLog[n] = pStrip.fLuminance[n] < kInfinity ? log : kInfinity;
    }
}

/// One row, with a floor above 0 and below infinity.
SELVANE_CLONES void LogRow(const float* pPixels, float* pLog, int pWidth, float pFloor, sExtremes* pExtremes)
{
    sStrip strip;
    sExtremes extremes = *pExtremes;
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const int count = static_cast<int>(std::min<ptrdiff_t>(kStrip, pWidth - x));
        Fetch(pPixels + 3 * x, count, pFloor, strip);
        Extend(extremes, strip);
        TakeApart(strip);
        LookUp(pPixels + 3 * (x + ptrdiff_t{2} * kStrip), pLog + x + ptrdiff_t{2} * kStrip, strip);
        if (count == kStrip) {
            Join(strip, pLog + x);
        } else {
            float logs[kStrip];
            Join(strip, logs);
            std::copy_n(logs, count, pLog + x);
        }
    }
    *pExtremes = extremes;
}

/// One row with any floor, pixel after pixel: zeros of both signs and NaNs count in their order.
void LogRowOneByOne(const float* pPixels, float* pLog, int pWidth, float pFloor, float& pMin, float& pMax)
{
    for (int x = 0; x < pWidth; x++, pPixels += 3) {
        const float luminance = Floored(pPixels, pFloor);
        pMin = luminance < pMin ? luminance : pMin;
        pMax = luminance > pMax ? luminance : pMax;
        pLog[x] = Log10(luminance);
    }
}

const float* RowOf(const cBitmapXYZ32& pBitmap, int pRow)
{
    const void* row = reinterpret_cast<const char*>(pBitmap.fData) + static_cast<ptrdiff_t>(pBitmap.fStride) * pRow;
    return static_cast<const float*>(row);
}

} // namespace

void CalcMinMaxLog_tile(int pSlot, int pStart, int pEnd, cBitmapXYZ32* pBitmap, float* pLogLuminance, int pWidth,
                        bool* pCancel, bool* pCancelled, float* pSlotMin, float* pSlotMax, float pFloor)
{
    if (pStart >= pEnd) return;
    if (StopIfRequested(pCancel, pCancelled)) return;
    const bool plain = pFloor > 0.0f && pFloor < kInfinity && pWidth > 0;
    float smallest = pSlotMin[pSlot];
    float largest = pSlotMax[pSlot];
    sExtremes extremes;
    for (int y = pStart; y < pEnd; y++) {
        float* log = pLogLuminance + static_cast<ptrdiff_t>(pWidth) * y;
        if (plain)
            LogRow(RowOf(*pBitmap, y), log, pWidth, pFloor, &extremes);
        else
            LogRowOneByOne(RowOf(*pBitmap, y), log, pWidth, pFloor, smallest, largest);
    }
    for (int lane = 0; lane < kLanes && plain; lane++) {
        smallest = extremes.fMin[lane] < smallest ? extremes.fMin[lane] : smallest;
        largest = extremes.fMax[lane] > largest ? extremes.fMax[lane] : largest;
    }
    pSlotMin[pSlot] = smallest;
    pSlotMax[pSlot] = largest;
}

void* CalcMinMaxLog_tile_threaded(void* pRecord)
{
    const auto* args = static_cast<const sMinMaxLogArgs*>(pRecord);
    CalcMinMaxLog_tile(args->fSlot, args->fStart, args->fEnd, args->pBitmap, args->pLogLuminance, args->pWidth,
                       args->pCancel, args->pCancelled, args->pSlotMin, args->pSlotMax, args->pFloor);
    return nullptr;
}

} // namespace Vornik
