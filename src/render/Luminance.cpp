#include "render/Luminance.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "bitmap/cBitmapU16T.h"
#include "yhmv/PixelRecord.h"

#include <algorithm>
#include <cstring>

// The new luminance: a pixel of the base and one of the detail lead to an entry of each table, and the product of the
// two entries is the luminance. A row goes by strips, since look-ups keep a loop from vectorising.
//
// Two measures depend on the picture order. A value that sets a new maximum is not compared with the minimum: only a
// strip with such a value is measured in order. The last bit of the sum: lanes add up, with a bound of the difference,
// since the sum is printed with two decimals and nothing else.

namespace Vornik
{

namespace
{

constexpr int kLanes = 32;

struct sLanes
{
    float fMin[kLanes];
    double fSum[kLanes] = {};

    explicit sLanes(float pMin) { std::fill_n(fMin, kLanes, pMin); }
};

struct sIndices
{
    int fBase[kStrip];
    int fDetail[kStrip];
};

/// The luminance of a strip; the rest of a short one repeats its first value. pAhead is where a later strip is
/// replaced.
template <int tPixelBytes>
SELVANE_INLINE void Luminances(const sRemapping& pRemapping, const sIndices& pIndices, int pCount,
                               const unsigned char* pAhead, float* pLuminance)
{
    for (int line = 0; line < pCount; line += kLine) {
        PrefetchRecords<tPixelBytes, true>(pAhead + ptrdiff_t{tPixelBytes} * line);
        const int end = std::min(line + kLine, pCount);
#pragma GCC unroll 4
        for (int n = line; n < end; n++)
            pLuminance[n] = pRemapping.fDetailTable[pIndices.fDetail[n]] * pRemapping.fGlobalTable[pIndices.fBase[n]];
    }
    for (int n = pCount; n < kStrip; n++)
        pLuminance[n] = pLuminance[0];
}

SELVANE_INLINE bool AnyAbove(const float* pLuminance, float pMax)
{
    int above = 0;
    for (int n = 0; n < kStrip; n++)
        above |= pLuminance[n] > pMax ? 1 : 0;
    return above != 0;
}

SELVANE_INLINE void Measure(const float* pLuminance, int pCount, sLuminance& pExtremes, sLanes& pLanes)
{
    if (AnyAbove(pLuminance, pExtremes.fMax))
        for (int n = 0; n < pCount; n++)
            pExtremes.Add(pLuminance[n]);
    else
        for (int n = 0; n < kStrip; n += kLanes)
            for (int lane = 0; lane < kLanes; lane++) {
                const float value = pLuminance[n + lane];
                pLanes.fMin[lane] = value < pLanes.fMin[lane] ? value : pLanes.fMin[lane];
            }
}

SELVANE_INLINE void AddUp(const float* pLuminance, int pCount, sLanes& pLanes)
{
    if (pCount < kStrip) {
        for (int n = 0; n < pCount; n++)
            pLanes.fSum[n % kLanes] += static_cast<double>(pLuminance[n]);
        return;
    }
    for (int n = 0; n < kStrip; n += kLanes)
        for (int lane = 0; lane < kLanes; lane++)
            pLanes.fSum[lane] += static_cast<double>(pLuminance[n + lane]);
}

template <int tPixelBytes>
SELVANE_CLONES void RemapRow(const sRemapping& pRemapping, const float* pBase, const float* pDetail, unsigned char* pAt,
                             int pWidth, sLuminance* pExtremes, sLanes* pLanes)
{
    const sLayer base = pRemapping.fLayers.fBase;
    const sLayer detail = pRemapping.fLayers.fDetail;
    const float baseScale = kToSample16 / base.Range();
    const float detailScale = kToSample16 / detail.Range();
    sLuminance extremes = *pExtremes;
    sIndices indices;
    float luminance[kStrip];
    for (int x = 0; x < pWidth; x += kStrip, pAt += ptrdiff_t{tPixelBytes} * kStrip) {
        const int count = std::min(kStrip, pWidth - x);
        for (int n = 0; n < count; n++) {
            const float value =
                tPixelBytes == kYHMVBytes ? pDetail[x + n] : LoadFloat(pAt + ptrdiff_t{n} * tPixelBytes) - pBase[x + n];
            indices.fDetail[n] = RangeIndex(value, detail.fMin, detailScale);
        }
        for (int n = 0; n < count; n++)
            indices.fBase[n] = RangeIndex(pBase[x + n], base.fMin, baseScale);
        Luminances<tPixelBytes>(pRemapping, indices, count, pAt + 2 * ptrdiff_t{tPixelBytes} * kStrip, luminance);
        for (int n = 0; n < count; n++)
            StoreFloat(pAt + ptrdiff_t{n} * tPixelBytes, luminance[n]);
        Measure(luminance, count, extremes, *pLanes);
        AddUp(luminance, count, *pLanes);
    }
    *pExtremes = extremes;
}

double SumRow(const cLuminanceRows& pPicture, int pRow, double pSum)
{
    const unsigned char* at = pPicture.Row(pRow);
    const ptrdiff_t step = pPicture.AreRecords() ? kYHMVBytes : static_cast<int>(sizeof(float));
    for (int x = 0; x < pPicture.Width(); x++, at += step)
        pSum += static_cast<double>(LoadFloat(at));
    return pSum;
}

/// The joined lanes. All values are 0 or above: any order of n additions is within n * 2^-53 of the exact sum,
/// relative, so two orders are within n * 2^-52 of each other; half is left for the roundings of this line.
sLuminanceSum Joined(const sLanes& pLanes, const cLuminanceRows& pRows)
{
    sLuminanceSum sum;
    for (const double lane : pLanes.fSum)
        sum.fSum += lane;
    sum.fError = sum.fSum * (static_cast<double>(pRows.Width()) * pRows.Height() * 0x1p-51);
    return sum;
}

} // namespace

unsigned char* cLuminanceRows::Row(int pRow) const
{
    if (fRecords != nullptr) return RecordsOf(fRecords->GetScanline(pRow)) + kYHMVLuminance;
    return reinterpret_cast<unsigned char*>(fPlane + First(pRow));
}

double SumInOrder(const cLuminanceRows& pPicture, int pRows)
{
    double sum = 0.0;
    for (int y = 0; y < pRows; y++)
        sum = SumRow(pPicture, y, sum);
    return sum;
}

// From the first skipped row on, the sum is taken in order: no later pass could tell which rows were skipped.
sNewLuminance ReplaceLuminance(const cLuminanceRows& pRows, const sRemapping& pRemapping, const bool* pCancel,
                               bool* pCancelled)
{
    sNewLuminance result{.fExtremes = {.fMin = pRemapping.fDetailMax * pRemapping.fGlobalMax}, .fSum = {}};
    sLanes lanes(result.fExtremes.fMin);
    bool inOrder = false;
    for (int y = 0; y < pRows.Height(); y++) {
        unsigned char* row = pRows.Row(y);
        if (StopIfRequested(pCancel, pCancelled)) {
            if (!inOrder) result.fSum.fSum = SumInOrder(pRows, y);
            inOrder = true;
            continue;
        }
        const auto remap = pRows.AreRecords() ? RemapRow<kYHMVBytes> : RemapRow<static_cast<int>(sizeof(float))>;
        remap(pRemapping, pRows.BaseRow(y), pRows.DetailRow(y), row, pRows.Width(), &result.fExtremes, &lanes);
        if (inOrder) result.fSum.fSum = SumRow(pRows, y, result.fSum.fSum);
    }
    for (const float least : lanes.fMin)
        result.fExtremes.fMin = least < result.fExtremes.fMin ? least : result.fExtremes.fMin;
    if (!inOrder) result.fSum = Joined(lanes, pRows);
    return result;
}

} // namespace Vornik
