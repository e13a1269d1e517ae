#include "filter/cBilateral.h"

#include "base/Versions.h"
#include "filter/BilateralGrid.h"
#include "filter/DivideWork.h"
#include "filter/cBilateral_Bounds.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Slicing: each pixel is interpolated trilinearly from the eight cells around its place and value.

namespace Vornik
{

namespace
{

constexpr int kSliceStrip = 128; // pixels of a row that are sliced together
constexpr int kLine = 16;        // floats in a line of the cache

/// The record of a tile of the slicing step, 72 bytes.
struct sInterpolateRecord
{
    TileRecord fHeader;
    int32_t fWidth;
    float fSpaceSampling;
    float fRangeSampling;
    float fRangeMin;
    int32_t fMargin;
    int32_t fNx;
    int32_t fNy;
    uint32_t fReserved; ///< zero
    float* fGrid;
    float* fInput;
    float* fOutput;
};

static_assert(sizeof(sInterpolateRecord) == 72);
static_assert(offsetof(sInterpolateRecord, fWidth) == 16);
static_assert(offsetof(sInterpolateRecord, fMargin) == 32);
static_assert(offsetof(sInterpolateRecord, fNy) == 40);
static_assert(offsetof(sInterpolateRecord, fGrid) == 48);
static_assert(offsetof(sInterpolateRecord, fOutput) == 64);

/// A place between two cells of an axis.
struct sBetween
{
    int fCell;   ///< the lower one
    float fNear; ///< weight of the lower one
    float fFar;  ///< weight of the upper one
};

SELVANE_INLINE sBetween Between(float pPlace, float pCellsPerPlace, float pMargin)
{
    const float at = InCells(pPlace, pCellsPerPlace, pMargin);
    const int cell = CellIn(at);
    return {cell, static_cast<float>(cell) + 1.0f - at, at - static_cast<float>(cell)};
}

/// The same in y. Required: the lower weight is rounded in another order than in x and z.
SELVANE_INLINE sBetween BetweenRows(float pPlace, float pCellsPerPlace, float pMargin)
{
    const float at = InCells(pPlace, pCellsPerPlace, pMargin);
    const int cell = CellIn(at);
    return {cell, static_cast<float>(cell) + (1.0f - at), at - static_cast<float>(cell)};
}

SELVANE_INLINE float Mix(float pNear, float pLower, float pFar, float pUpper)
{
    return std::fma(pNear, pLower, pFar * pUpper);
}

/// The two rows of cells around a row of pixels.
struct sGridRow
{
    const float* fCells; ///< the lower row of cells, at cell 0 in z
    ptrdiff_t fStepY;    ///< floats to the next cell in y
    ptrdiff_t fStepZ;    ///< floats to the next cell in z
    float fMargin;
    float fNearY;
    float fFarY;
};

/// A strip of pixels between the steps of slicing.
struct sSliceStrip
{
    int32_t fCell[kSliceStrip]; ///< number of the lower cell in x and z
    float fNearX[kSliceStrip], fFarX[kSliceStrip];
    float fNearZ[kSliceStrip], fFarZ[kSliceStrip];
    float fLower[kSliceStrip][4]; ///< values at the lower cell in z: two of the lower row, two of the upper row
    float fUpper[kSliceStrip][4]; ///< the same at the upper cell in z
};

SELVANE_INLINE void Locate(const sGridRow& pGrid, sGridScale pScale, const float* pInput, int pPlace, int pCount,
                           sSliceStrip& pStrip)
{
    const auto cellsPerZ = static_cast<uint32_t>(pGrid.fStepZ / 2);
    for (int i = 0; i < pCount; i++) {
        const sBetween x = Between(static_cast<float>(pPlace + i), pScale.fCellsPerPixel, pGrid.fMargin);
        const sBetween z = Between(pInput[i] - pScale.fRangeMin, pScale.fCellsPerUnit, pGrid.fMargin);
        pStrip.fCell[i] =
            static_cast<int32_t>(static_cast<uint32_t>(z.fCell) * cellsPerZ + static_cast<uint32_t>(x.fCell));
        pStrip.fNearX[i] = x.fNear;
        pStrip.fFarX[i] = x.fFar;
        pStrip.fNearZ[i] = z.fNear;
        pStrip.fFarZ[i] = z.fFar;
    }
}

/// Reads the value floats of two neighbours in x at pAt, and of the two above them in y.
SELVANE_INLINE void FetchValues(const float* pAt, ptrdiff_t pStepY, float* pValues)
{
    using tTwoCells = float __attribute__((vector_size(16)));
    tTwoCells lower, upper;
    std::memcpy(&lower, pAt, sizeof lower);
    std::memcpy(&upper, pAt + pStepY, sizeof upper);
    const tTwoCells values = __builtin_shufflevector(lower, upper, 0, 2, 4, 6);
    std::memcpy(pValues, &values, sizeof values);
}

/// pAheadInput and pAheadOutput are where a later strip is: its lines are asked for one by one, since all at once would
/// wait for each other.
SELVANE_INLINE void Fetch(const sGridRow& pGrid, int pCount, const float* pAheadInput, const float* pAheadOutput,
                          sSliceStrip& pStrip)
{
    for (int line = 0; line < pCount; line += kLine) {
        __builtin_prefetch(pAheadInput + line);
        __builtin_prefetch(pAheadOutput + line, 1);
        const int end = std::min(line + kLine, pCount);
        for (int i = line; i < end; i++) {
            const float* at = pGrid.fCells + 2 * ptrdiff_t{pStrip.fCell[i]};
            FetchValues(at, pGrid.fStepY, pStrip.fLower[i]);
            FetchValues(at + pGrid.fStepZ, pGrid.fStepY, pStrip.fUpper[i]);
        }
    }
}

/// Interpolates four values of the same z in x and y.
SELVANE_INLINE float MixFour(const float* pValues, float pNearX, float pFarX, float pNearY, float pFarY)
{
    return Mix(pNearY, Mix(pNearX, pValues[0], pFarX, pValues[1]), pFarY, Mix(pNearX, pValues[2], pFarX, pValues[3]));
}

SELVANE_INLINE void Interpolate(const sGridRow& pGrid, float pRangeMin, int pCount, const sSliceStrip& pStrip,
                                float* pOutput)
{
    for (int i = 0; i < pCount; i++) {
        const float nearX = pStrip.fNearX[i];
        const float farX = pStrip.fFarX[i];
        const float lower = MixFour(pStrip.fLower[i], nearX, farX, pGrid.fNearY, pGrid.fFarY);
        const float upper = MixFour(pStrip.fUpper[i], nearX, farX, pGrid.fNearY, pGrid.fFarY);
        pOutput[i] = std::fma(pStrip.fFarZ[i], upper, std::fma(pStrip.fNearZ[i], lower, pRangeMin));
    }
}

/// Slices one row, strip by strip: cells and weights, then the eight values around each pixel, then the interpolation.
/// The look-ups have their own loop, so that the other two vectorise.
SELVANE_CLONES void SliceRow(const sGridRow& pGrid, sGridScale pScale, int pWidth, const float* pInput, float* pOutput)
{
    sSliceStrip strip;
    for (int begin = 0; begin < pWidth;) {
        const int count = std::min(pWidth - begin, kSliceStrip);
        Locate(pGrid, pScale, pInput + begin, begin, count, strip);
        Fetch(pGrid, count, pInput + begin + ptrdiff_t{2} * kSliceStrip, pOutput + begin + ptrdiff_t{2} * kSliceStrip,
              strip);
        Interpolate(pGrid, pScale.fRangeMin, count, strip, pOutput + begin);
        begin += count;
    }
}

} // namespace

void Filter_Fast_Interpolate_tile(int /*pSlot*/, int pStart, int pEnd, int pWidth, float pSpaceSampling,
                                  float pRangeSampling, float pRangeMin, int pMargin, int pNx, int pNy, float* pGrid,
                                  float* pInput, float* pOutput)
{
    const sGridScale scale(pSpaceSampling, pRangeSampling, pRangeMin);
    const auto margin = static_cast<float>(pMargin);
    const ptrdiff_t stepY = 2 * ptrdiff_t{pNx};
    for (int row = pStart; row < pEnd && pWidth > 0; row++) {
        const ptrdiff_t offset = static_cast<ptrdiff_t>(row) * pWidth;
        const sBetween y = BetweenRows(static_cast<float>(row), scale.fCellsPerPixel, margin);
        const sGridRow grid{pGrid + y.fCell * stepY, stepY, stepY * pNy, margin, y.fNear, y.fFar};
        SliceRow(grid, scale, pWidth, pInput + offset, pOutput + offset);
    }
}

void* Filter_Fast_Interpolate_tile_threaded(void* pRecord)
{
    sInterpolateRecord record;
    std::memcpy(&record, pRecord, sizeof record);
    Filter_Fast_Interpolate_tile(record.fHeader.fSlot, record.fHeader.fStart, record.fHeader.fEnd, record.fWidth,
                                 record.fSpaceSampling, record.fRangeSampling, record.fRangeMin, record.fMargin,
                                 record.fNx, record.fNy, record.fGrid, record.fInput, record.fOutput);
    return nullptr;
}

void Slice(int pThreadCount, const cSamples& pSamples, const sGridScale& pScale, sGridShape pShape, float* pGrid,
           float* pOutput)
{
    sInterpolateRecord record{};
    record.fWidth = pSamples.Width();
    record.fSpaceSampling = pScale.fSpaceSampling;
    record.fRangeSampling = pScale.fRangeSampling;
    record.fRangeMin = pScale.fRangeMin;
    record.fMargin = kMargin;
    record.fNx = pShape.fNx;
    record.fNy = pShape.fNy;
    record.fGrid = pGrid;
    record.fInput = pSamples.Plane();
    record.fOutput = pOutput;
    DivideWork(0, pSamples.Height(), pThreadCount, Filter_Fast_Interpolate_tile_threaded, &record, sizeof record);
}

} // namespace Vornik
