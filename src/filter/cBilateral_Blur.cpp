#include "filter/cBilateral.h"

#include "base/BigPages.h"
#include "base/Numeric.h"
#include "base/Versions.h"
#include "filter/DivideWork.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

// The Gaussian blur: three rounds of a box filter of fractional radius, along the rows and then along the columns.
//
//      i-R                 i                 i+R          weights of the box around i, 2 * r + 1 in all
//     1-f   1   1   1   1  1  1   1   1   1   1-f
//
// A running sum, one 32-bit float, goes along each line from start to end. Its rounding errors add up along the line,
// so a line must not be cut or begun elsewhere. Any number of lines may run side by side.

namespace Vornik
{

namespace
{

constexpr int kRounds = 3;
constexpr float kWideOffset = 0x1.28f5c2p-1f;  // 0.58: radius of the box = sigma - 0.58, above sigma 1
constexpr float kNarrowScale = 0x1.ae147cp-2f; // 0.42: radius of the box = 0.42 * sigma, up to sigma 1
constexpr int kStrip = 128;                    // samples in a strip of a row
constexpr int kRows = 8;                       // rows side by side
constexpr int kColumns = 256;                  // columns side by side

/// The box: R and f of the drawing above.
struct sBox
{
    int fRadius;
    float fEdgeFraction;
};

/// The record of a tile, 56 bytes.
struct sBlurRecord
{
    TileRecord fHeader;
    int32_t fWidth;
    int32_t fHeight;
    int32_t fRadius;
    float fEdgeFraction;
    float* fNormalisation;
    float* fSource;
    float* fDest;
};

static_assert(sizeof(sBlurRecord) == 56);
static_assert(offsetof(sBlurRecord, fWidth) == 16);
static_assert(offsetof(sBlurRecord, fEdgeFraction) == 28);
static_assert(offsetof(sBlurRecord, fNormalisation) == 32);
static_assert(offsetof(sBlurRecord, fDest) == 48);

sBox BoxOf(float pSigma)
{
    const float radius = pSigma > 1.0f ? pSigma - kWideOffset : pSigma * kNarrowScale;
    const int whole = TruncateToInt32(std::ceil(radius));
    return {whole, static_cast<float>(whole) - radius};
}

/// Fills the sum of the weights inside a line of pLength samples, for each place of the box.
void FillNormalisation(float* pTable, int pLength, sBox pBox)
{
    const int radius = pBox.fRadius;
    auto count = static_cast<float>(std::min(radius, pLength));
    for (int i = 0; i < pLength; i++) {
        const bool reachesIn = radius < pLength - i; // i + R < L without overflow
        if (i > radius) count -= 1.0f;
        if (reachesIn) count += 1.0f;
        pTable[i] = (count - (i >= radius ? pBox.fEdgeFraction : 0.0f)) - (reachesIn ? pBox.fEdgeFraction : 0.0f);
    }
}

/// Where the box begins at place i of a line.
enum eBoxStart
{
    eStartsOutside, ///< i < R
    eStartsAtFirst, ///< i = R: the first sample is the end sample
    eStartsInside,  ///< i > R: a sample has left the box
};

SELVANE_INLINE eBoxStart BoxStart(int pPlace, int pRadius)
{
    return pPlace > pRadius ? eStartsInside : (pPlace == pRadius ? eStartsAtFirst : eStartsOutside);
}

/// The running sum at the next place.
template <eBoxStart tStart, bool tEndsInside>
SELVANE_INLINE float NextSum(float pSum, const float* pSample, ptrdiff_t pReach, ptrdiff_t pStep)
{
    if (tStart == eStartsInside) pSum -= pSample[-pReach - pStep];
    if (tEndsInside) pSum += pSample[pReach];
    return pSum;
}

/// The mean at a place, from the running sum there.
template <eBoxStart tStart, bool tEndsInside>
SELVANE_INLINE float BoxMean(float pSum, const float* pSample, ptrdiff_t pReach, float pEdgeFraction, float pWeights)
{
    float value = pSum;
    if (tStart != eStartsOutside) value = std::fma(-pEdgeFraction, pSample[-pReach], value);
    if (tEndsInside) value = std::fma(-pEdgeFraction, pSample[pReach], value);
    return value / pWeights;
}

/// Calls pStep with the start and end of the box as constants, so that its loops have no branches.
template <class tStep>
SELVANE_INLINE void WithBoxAt(eBoxStart pStart, bool pEndsInside, const tStep& pStep)
{
    using std::integral_constant;
    using tYes = integral_constant<bool, true>;
    using tNo = integral_constant<bool, false>;
    const auto withEnd = [&](auto pStartConstant) __attribute__((always_inline))
    {
        if (pEndsInside)
            pStep(pStartConstant, tYes());
        else
            pStep(pStartConstant, tNo());
    };
    if (pStart == eStartsInside)
        withEnd(integral_constant<eBoxStart, eStartsInside>());
    else if (pStart == eStartsAtFirst)
        withEnd(integral_constant<eBoxStart, eStartsAtFirst>());
    else
        withEnd(integral_constant<eBoxStart, eStartsOutside>());
}

/// The end of the strip that begins at pPlace. Within a strip, neither end of the box crosses an edge of the picture.
SELVANE_INLINE int StripEnd(int pPlace, int pLength, int pRadius)
{
    int end = pLength - pPlace > kStrip ? pPlace + kStrip : pLength;
    const auto stopAt = [&](int pBreak) __attribute__((always_inline))
    {
        if (pBreak > pPlace && pBreak < end) end = pBreak;
    };
    stopAt(pRadius);
    if (pRadius < pLength) {
        stopAt(pRadius + 1);
        stopAt(pLength - pRadius);
    }
    return end;
}

/// Blurs tRows rows side by side. Computes the running sums of a strip, which depend on each other, then its means,
/// which do not.
template <int tRows>
SELVANE_INLINE void BlurRows(const float* pSource, float* pDest, int pWidth, sBox pBox, const float* pNormalisation)
{
    const int radius = pBox.fRadius;
    const ptrdiff_t width = pWidth;
    float sum[tRows] = {};
    for (int i = 0; i < std::min(pWidth, radius); i++)
        for (int row = 0; row < tRows; row++)
            sum[row] += pSource[row * width + i];
    for (int begin = 0, end = 0; begin < pWidth; begin = end) {
        end = StripEnd(begin, pWidth, radius);
        const int count = end - begin;
        const float* source = pSource + begin;
        float* dest = pDest + begin;
        const auto strip = [&](auto pStart, auto pEndsInside) __attribute__((always_inline))
        {
            constexpr eBoxStart kStart = decltype(pStart)::value;
            constexpr bool kEndsInside = decltype(pEndsInside)::value;
            float sums[tRows][kStrip];
            for (int i = 0; i < count; i++)
                for (int row = 0; row < tRows; row++) {
                    sum[row] = NextSum<kStart, kEndsInside>(sum[row], source + row * width + i, radius, 1);
                    sums[row][i] = sum[row];
                }
            for (int row = 0; row < tRows; row++) {
                float means[kStrip];
                for (int i = 0; i < count; i++)
                    means[i] = BoxMean<kStart, kEndsInside>(sums[row][i], source + row * width + i, radius,
                                                            pBox.fEdgeFraction, pNormalisation[begin + i]);
                std::memcpy(dest + row * width, means, static_cast<size_t>(count) * sizeof(float));
            }
        };
        WithBoxAt(BoxStart(begin, radius), radius < pWidth - begin, strip);
    }
}

SELVANE_CLONES void BlurOneRow(const float* pSource, float* pDest, int pWidth, sBox pBox, const float* pNormalisation)
{
    BlurRows<1>(pSource, pDest, pWidth, pBox, pNormalisation);
}

SELVANE_CLONES void BlurRowGroup(const float* pSource, float* pDest, int pWidth, sBox pBox, const float* pNormalisation)
{
    BlurRows<kRows>(pSource, pDest, pWidth, pBox, pNormalisation);
}

/// Blurs up to kColumns columns side by side, from top to bottom.
SELVANE_CLONES void BlurColumnGroup(const float* pSource, float* pDest, int pColumns, int pWidth, int pHeight,
                                    sBox pBox, const float* pNormalisation)
{
    const int radius = pBox.fRadius;
    const ptrdiff_t width = pWidth;
    const ptrdiff_t reach = radius * width;
    float sum[kColumns] = {};
    for (int i = 0; i < std::min(pHeight, radius); i++)
        for (int column = 0; column < pColumns; column++)
            sum[column] += pSource[i * width + column];
    for (int i = 0; i < pHeight; i++) {
        const float* source = pSource + i * width;
        const float weights = pNormalisation[i];
        const auto row = [&](auto pStart, auto pEndsInside) __attribute__((always_inline))
        {
            constexpr eBoxStart kStart = decltype(pStart)::value;
            constexpr bool kEndsInside = decltype(pEndsInside)::value;
            float means[kColumns];
            for (int column = 0; column < pColumns; column++) {
                sum[column] = NextSum<kStart, kEndsInside>(sum[column], source + column, reach, width);
                means[column] =
                    BoxMean<kStart, kEndsInside>(sum[column], source + column, reach, pBox.fEdgeFraction, weights);
            }
            std::memcpy(pDest + i * width, means, static_cast<size_t>(pColumns) * sizeof(float));
        };
        WithBoxAt(BoxStart(i, radius), radius < pHeight - i, row);
    }
}

/// Copies width x height floats, also if both are negative. Copies none if the product is 0 or below, or above
/// INT32_MAX.
void CopyPlane(const float* pSource, float* pDest, int pWidth, int pHeight)
{
    const int64_t count = int64_t{pWidth} * pHeight;
    if (pSource == pDest || count <= 0 || count > INT32_MAX) return;
    std::memmove(pDest, pSource, static_cast<size_t>(count) * sizeof(float));
}

} // namespace

void FastGaussianBlur_Filter1_tile(int /*pSlot*/, int pStart, int pEnd, int pWidth, int /*pHeight*/, int pRadius,
                                   float pEdgeFraction, float* pNormalisation, float* pSource, float* pDest)
{
    const sBox box{pRadius, pEdgeFraction};
    for (int row = pStart; row < pEnd;) {
        const ptrdiff_t offset = static_cast<ptrdiff_t>(row) * pWidth;
        const bool group = pEnd - row >= kRows;
        if (group)
            BlurRowGroup(pSource + offset, pDest + offset, pWidth, box, pNormalisation);
        else
            BlurOneRow(pSource + offset, pDest + offset, pWidth, box, pNormalisation);
        row += group ? kRows : 1;
    }
}

void* FastGaussianBlur_Filter1_tile_threaded(void* pRecord)
{
    sBlurRecord record;
    std::memcpy(&record, pRecord, sizeof record);
    FastGaussianBlur_Filter1_tile(record.fHeader.fSlot, record.fHeader.fStart, record.fHeader.fEnd, record.fWidth,
                                  record.fHeight, record.fRadius, record.fEdgeFraction, record.fNormalisation,
                                  record.fSource, record.fDest);
    return nullptr;
}

void FastGaussianBlur_Filter2_tile(int /*pSlot*/, int pStart, int pEnd, int pWidth, int pHeight, int pRadius,
                                   float pEdgeFraction, float* pNormalisation, float* pSource, float* pDest)
{
    const sBox box{pRadius, pEdgeFraction};
    for (int column = pStart; column < pEnd;) {
        const int count = std::min(pEnd - column, kColumns);
        BlurColumnGroup(pSource + column, pDest + column, count, pWidth, pHeight, box, pNormalisation);
        column += count;
    }
}

void* FastGaussianBlur_Filter2_tile_threaded(void* pRecord)
{
    sBlurRecord record;
    std::memcpy(&record, pRecord, sizeof record);
    FastGaussianBlur_Filter2_tile(record.fHeader.fSlot, record.fHeader.fStart, record.fHeader.fEnd, record.fWidth,
                                  record.fHeight, record.fRadius, record.fEdgeFraction, record.fNormalisation,
                                  record.fSource, record.fDest);
    return nullptr;
}

void cBilateral::FastGaussianBlur(int pThreadCount, float* pSource, float* pDest, int pWidth, int pHeight, float pSigma)
{
    if (!(pSigma > 0.0f)) return CopyPlane(pSource, pDest, pWidth, pHeight);
    const sBox box = BoxOf(pSigma);
    const std::unique_ptr<float[]> table(new float[static_cast<size_t>(CheckedCount(std::max(pWidth, pHeight), 1))]);
    const std::unique_ptr<float[]> scratch(NewFloats(static_cast<size_t>(CheckedCount(pWidth, pHeight))));

    sBlurRecord rows{{}, pWidth, pHeight, box.fRadius, box.fEdgeFraction, table.get(), pSource, scratch.get()};
    sBlurRecord columns{{}, pWidth, pHeight, box.fRadius, box.fEdgeFraction, table.get(), scratch.get(), pDest};
    for (int round = 0; round < kRounds; round++) {
        FillNormalisation(table.get(), pWidth, box);
        DivideWork(0, pHeight, pThreadCount, FastGaussianBlur_Filter1_tile_threaded, &rows, sizeof rows);
        FillNormalisation(table.get(), pHeight, box);
        DivideWork(0, pWidth, pThreadCount, FastGaussianBlur_Filter2_tile_threaded, &columns, sizeof columns);
        rows.fSource = pDest;
    }
}

} // namespace Vornik
