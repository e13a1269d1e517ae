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

// Slicing: each pixel is interpolated trilinearly from the eight cells around its place and value, first in x, then in
// y, then in z.
//
//     by rows       pixel by pixel, eight values each
//     by columns    what a column of pixels has in common is worked out once: between two rows of cells the mix in x
//                   depends on column and z only. It takes a tenth to a quarter less where the rows of cells are many
//                   pixels apart. The steps of a pixel are the same, and so are the bits.

namespace Vornik
{

namespace
{

constexpr int kSliceStrip = 128; // pixels of a row that are sliced together
constexpr int kLine = 16;        // floats in a line of the cache
constexpr int kPlanes = 32;      // cells in z that a table of columns holds; a power of 2
constexpr int kLeastRows = 8;    // for fewer rows of pixels the table takes longer than it saves
constexpr int kMostRows = 16;    // with more, the rows leave the caches before the next strip of columns
constexpr int kRowsAhead = 6;    // from a row to that which is asked for meanwhile

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
    float fNearY; ///< weights of the row of pixels
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
            // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): Locate has filled the strip
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

/// Slices columns pBegin to pEnd - 1 of a row, strip by strip: cells and weights, then the eight values around each
/// pixel, then the interpolation. The look-ups have their own loop, so that the other two vectorise. Both planes begin
/// at column 0.
SELVANE_CLONES void SliceRow(const sGridRow& pGrid, sGridScale pScale, int pBegin, int pEnd, const float* pInput,
                             float* pOutput)
{
    sSliceStrip strip;
    for (int begin = pBegin; begin < pEnd;) {
        const int count = std::min(pEnd - begin, kSliceStrip);
        Locate(pGrid, pScale, pInput + begin, begin, count, strip);
        Fetch(pGrid, count, pInput + begin + ptrdiff_t{2} * kSliceStrip, pOutput + begin + ptrdiff_t{2} * kSliceStrip,
              strip);
        Interpolate(pGrid, pScale.fRangeMin, count, strip, pOutput + begin);
        begin += count;
    }
}

// ---- By columns -----------------------------------------------------------------------------------------------------

/// Cells in z, both included.
struct sPlanes
{
    int fFirst;
    int fLast;

    bool Fit() const { return int64_t{fLast} - fFirst < kPlanes; }
    bool Hold(sPlanes pOther) const { return fFirst <= pOther.fFirst && pOther.fLast <= fLast; }
};

/// The mixes in x of a strip of columns: for each cell in z that was needed, those of the lower and the upper row of
/// cells, column by column.
struct sColumns
{
    alignas(64) float fMixed[kPlanes * 2 * kSliceStrip]; ///< a plane behind the other: of cell z at z modulo kPlanes
    sPlanes fReady = {0, -1};
    int fCell[kSliceStrip]; ///< lower cell in x
    float fNearX[kSliceStrip], fFarX[kSliceStrip];
};

SELVANE_INLINE void LocateColumns(sGridScale pScale, float pMargin, int pPlace, int pCount, sColumns& pColumns)
{
    for (int i = 0; i < pCount; i++) {
        const sBetween x = Between(static_cast<float>(pPlace + i), pScale.fCellsPerPixel, pMargin);
        pColumns.fCell[i] = x.fCell;
        pColumns.fNearX[i] = x.fNear;
        pColumns.fFarX[i] = x.fFar;
    }
}

SELVANE_INLINE void MixPlane(const sGridRow& pGrid, int pZ, int pCount, sColumns& pColumns)
{
    const float* const cells = pGrid.fCells + pZ * pGrid.fStepZ;
    float* const mixed = pColumns.fMixed + ptrdiff_t{2} * kSliceStrip * (static_cast<unsigned>(pZ) % kPlanes);
    for (int i = 0; i < pCount; i++) {
        const float* const lower = cells + 2 * ptrdiff_t{pColumns.fCell[i]};
        const float* const upper = lower + pGrid.fStepY;
        mixed[ptrdiff_t{2} * i] = Mix(pColumns.fNearX[i], lower[0], pColumns.fFarX[i], lower[2]);
        mixed[ptrdiff_t{2} * i + 1] = Mix(pColumns.fNearX[i], upper[0], pColumns.fFarX[i], upper[2]);
    }
}

/// Adds the planes that are not ready. Drops those that are if all together do not fit.
SELVANE_INLINE void MakeReady(const sGridRow& pGrid, sPlanes pNeeded, int pCount, sColumns& pColumns)
{
    sPlanes& ready = pColumns.fReady;
    const sPlanes both = {std::min(ready.fFirst, pNeeded.fFirst), std::max(ready.fLast, pNeeded.fLast)};
    if (ready.fLast < ready.fFirst || !both.Fit()) ready = {pNeeded.fFirst, pNeeded.fFirst - 1};
    while (ready.fLast < pNeeded.fLast)
        MixPlane(pGrid, ++ready.fLast, pCount, pColumns);
    while (ready.fFirst > pNeeded.fFirst)
        MixPlane(pGrid, --ready.fFirst, pCount, pColumns);
}

/// Pixels of a row over a strip of columns, between the steps of slicing.
struct sColumnStrip
{
    int fCell[kSliceStrip];                           ///< lower cell in z
    int fAtLower[kSliceStrip], fAtUpper[kSliceStrip]; ///< floats from the first mix of the table
    float fNearZ[kSliceStrip], fFarZ[kSliceStrip];
    alignas(64) float fLower[kSliceStrip][2]; ///< mixes in x at the lower cell in z: of the lower and of the upper row
    alignas(64) float fUpper[kSliceStrip][2]; ///< the same at the upper cell in z
};

/// Returns the cells that the pixels need.
SELVANE_INLINE sPlanes LocateValues(sGridScale pScale, float pMargin, const float* pInput, int pCount,
                                    sColumnStrip& pStrip)
{
    for (int i = 0; i < pCount; i++) {
        const sBetween z = Between(pInput[i] - pScale.fRangeMin, pScale.fCellsPerUnit, pMargin);
        pStrip.fCell[i] = z.fCell;
        pStrip.fNearZ[i] = z.fNear;
        pStrip.fFarZ[i] = z.fFar;
    }
    int least = pStrip.fCell[0];
    int most = pStrip.fCell[0];
    for (int i = 0; i < pCount; i++) {
        least = pStrip.fCell[i] < least ? pStrip.fCell[i] : least;
        most = pStrip.fCell[i] > most ? pStrip.fCell[i] : most;
    }
    return {least, most < INT32_MAX ? most + 1 : most};
}

/// Two mixes as they are copied.
using tMixes = uint64_t __attribute__((may_alias));

/// pAheadInput and pAheadOutput are where a later row is.
SELVANE_INLINE void FetchMixed(const sColumns& pColumns, int pCount, const float* pAheadInput,
                               const float* pAheadOutput, sColumnStrip& pStrip)
{
    constexpr int kSteps = 2 * kSliceStrip;
    for (int i = 0; i < pCount; i++) {
        const auto cell = static_cast<unsigned>(pStrip.fCell[i]);
        pStrip.fAtLower[i] = static_cast<int>(cell % kPlanes) * kSteps + 2 * i;
        pStrip.fAtUpper[i] = static_cast<int>((cell + 1) % kPlanes) * kSteps + 2 * i;
    }
    volatile auto* const lower = reinterpret_cast<tMixes*>(pStrip.fLower); // g++ would build vectors of addresses
    volatile auto* const upper = reinterpret_cast<tMixes*>(pStrip.fUpper);
    for (int line = 0; line < pCount; line += kLine) {
        __builtin_prefetch(pAheadInput + line);
        __builtin_prefetch(pAheadOutput + line, 1);
        const int end = std::min(line + kLine, pCount);
#pragma GCC unroll 4
        for (int i = line; i < end; i++) {
            // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): MakeReady has filled the planes
            lower[i] = *reinterpret_cast<const tMixes*>(pColumns.fMixed + pStrip.fAtLower[i]);
            upper[i] = *reinterpret_cast<const tMixes*>(pColumns.fMixed + pStrip.fAtUpper[i]);
        }
    }
}

SELVANE_INLINE void InterpolateMixed(const sBetween& pY, float pRangeMin, int pCount, const sColumnStrip& pStrip,
                                     float* pOutput)
{
    for (int i = 0; i < pCount; i++) {
        const float lower = Mix(pY.fNear, pStrip.fLower[i][0], pY.fFar, pStrip.fLower[i][1]);
        const float upper = Mix(pY.fNear, pStrip.fUpper[i][0], pY.fFar, pStrip.fUpper[i][1]);
        pOutput[i] = std::fma(pStrip.fFarZ[i], upper, std::fma(pStrip.fNearZ[i], lower, pRangeMin));
    }
}

/// Rows of pixels between the same two rows of cells.
struct sBand
{
    int fBegin;
    int fEnd; ///< behind the last
};

/// The picture, both planes at pixel (0, 0).
struct sPicture
{
    ptrdiff_t fWidth;
    const float* fInput;
    float* fOutput;
};

/// Slices pCount columns of a band from column pColumn on, and returns the first row that it did not slice: it stops at
/// one whose values are too far apart for the table.
SELVANE_CLONES int SliceColumns(const sGridRow& pGrid, sGridScale pScale, const sPicture& pPicture, sBand pBand,
                                int pColumn, int pCount)
{
    sColumns columns;
    sColumnStrip strip;
    LocateColumns(pScale, pGrid.fMargin, pColumn, pCount, columns);
    for (int row = pBand.fBegin; row < pBand.fEnd; row++) {
        const float* const input = pPicture.fInput + row * pPicture.fWidth + pColumn;
        float* const output = pPicture.fOutput + row * pPicture.fWidth + pColumn;
        const sPlanes needed = LocateValues(pScale, pGrid.fMargin, input, pCount, strip);
        if (!needed.Fit()) return row;
        if (!columns.fReady.Hold(needed)) MakeReady(pGrid, needed, pCount, columns);
        FetchMixed(columns, pCount, input + kRowsAhead * pPicture.fWidth, output + kRowsAhead * pPicture.fWidth, strip);
        const sBetween y = BetweenRows(static_cast<float>(row), pScale.fCellsPerPixel, pGrid.fMargin);
        InterpolateMixed(y, pScale.fRangeMin, pCount, strip, output);
    }
    return pBand.fEnd;
}

// ---- Tiles ----------------------------------------------------------------------------------------------------------

/// The band that begins at pBegin, of at most kMostRows rows and cut at pEnd.
sBand BandFrom(int pBegin, int pEnd, sGridScale pScale, float pMargin)
{
    const auto cellOf = [=](int row) {
        return BetweenRows(static_cast<float>(row), pScale.fCellsPerPixel, pMargin).fCell;
    };
    sBand band = {pBegin, pBegin + 1};
    while (band.fEnd < pEnd && band.fEnd - pBegin < kMostRows && cellOf(band.fEnd) == cellOf(pBegin))
        band.fEnd++;
    return band;
}

/// Slices columns pBegin to pEnd - 1 of a band, row by row.
void SliceRows(sGridRow pGrid, sGridScale pScale, const sPicture& pPicture, sBand pBand, int pBegin, int pEnd)
{
    for (int row = pBand.fBegin; row < pBand.fEnd; row++) {
        const ptrdiff_t offset = row * pPicture.fWidth;
        const sBetween y = BetweenRows(static_cast<float>(row), pScale.fCellsPerPixel, pGrid.fMargin);
        pGrid.fNearY = y.fNear;
        pGrid.fFarY = y.fFar;
        SliceRow(pGrid, pScale, pBegin, pEnd, pPicture.fInput + offset, pPicture.fOutput + offset);
    }
}

void SliceBand(const sGridRow& pGrid, sGridScale pScale, const sPicture& pPicture, sBand pBand)
{
    const auto width = static_cast<int>(pPicture.fWidth);
    if (pBand.fEnd - pBand.fBegin < kLeastRows) return SliceRows(pGrid, pScale, pPicture, pBand, 0, width);
    for (int begin = 0; begin < width;) {
        const int count = std::min(width - begin, kSliceStrip);
        const int done = SliceColumns(pGrid, pScale, pPicture, pBand, begin, count);
        SliceRows(pGrid, pScale, pPicture, {done, pBand.fEnd}, begin, begin + count);
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
    const sPicture picture{pWidth, pInput, pOutput};
    for (int row = pStart; row < pEnd && pWidth > 0;) {
        const sBand band = BandFrom(row, pEnd, scale, margin);
        const int cell = BetweenRows(static_cast<float>(row), scale.fCellsPerPixel, margin).fCell;
        SliceBand({pGrid + cell * stepY, stepY, stepY * pNy, margin, 0.0f, 0.0f}, scale, picture, band);
        row = band.fEnd;
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
