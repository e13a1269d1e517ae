#include "filter/cBilateral.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "base/Versions.h"
#include "filter/DivideWork.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

// The fast bilateral filter: the picture is scattered into a coarse grid over x, y and value, the grid is smoothed, and
// each pixel is read back at its own place. Far values lie in far cells, so smoothing does not cross a strong edge.
//
//      z  value, Nz cells        a cell: value sum, weight     (two floats)
//      |  / y, Ny cells          float index of a cell:        ((cz * Ny + cy) * Nx + cx) * 2
//      | /
//      |/____ x, Nx cells        on each axis: 3 empty cells, the intervals, 1 for their end, 3 empty cells
//
// In order: measure the grid, scatter (one thread: the order of the sums is fixed), smooth with 1 4 6 4 1 on each axis,
// divide value by weight, slice (rows split over DivideWork), blur. A product that is added to something is one fused
// step.

namespace Vornik
{

namespace
{

constexpr int kMargin = 3;            // empty cells before the first sample, on each axis
constexpr int kMarginCells = 7;       // cells on an axis beyond its intervals: 3 before, 3 after, 1 for the end
constexpr float kWrapLimit = 0x1p24f; // 3 * sampling has to stay below: there floats stop counting pixels one by one
constexpr float kBlurScale = 0x1.5d867cp-12f; // 1 / 3000
constexpr size_t kLanes = 8;                  // parts of a row that are scattered side by side
constexpr int kLaneStrip = 32;                // samples of a part between two rounds
constexpr int kSliceStrip = 128;              // pixels of a row that are sliced together

/// Cells on each axis. Pictures without pixels may have negative counts in x and y.
struct sGridShape
{
    int fNx;
    int fNy;
    int fNz;
};

/// From places and values to cells: factors instead of divisions.
struct sScale
{
    float fCellsPerPixel; ///< 1 / pSpaceSampling
    float fCellsPerUnit;  ///< 1 / pRangeSampling
    float fRangeMin;      ///< the value at the margin
};

/// What a tile of the slicing step gets, 72 bytes.
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

// ---- Cells ---------------------------------------------------------------------------------------------------------

/// Where a sample is added: truncated, the cell whose centre is nearest.
SELVANE_INLINE float AddedAt(float pPlace, float pCellsPerPlace)
{
    return std::fma(pPlace, pCellsPerPlace, static_cast<float>(kMargin) + 0.5f);
}

/// Truncates a place that is known to lie in the grid; NaN gives 0. Cheaper than to saturate.
SELVANE_INLINE int CellIn(float pAt)
{
    return static_cast<int>(std::fabs(pAt) < 0x1p31f ? pAt : 0.0f);
}

/// Whether a value has a cell outside the grid: the one it is added to or one of the two it is read back from.
SELVANE_INLINE bool LeavesGrid(float pSample, sScale pScale, int pNz)
{
    const float value = pSample - pScale.fRangeMin;
    const int added = TruncateToInt32(AddedAt(value, pScale.fCellsPerUnit));
    const int read = TruncateToInt32(std::fma(value, pScale.fCellsPerUnit, static_cast<float>(kMargin)));
    return added < 0 || added >= pNz || read < 0 || read >= pNz - 1;
}

// ---- The grid ------------------------------------------------------------------------------------------------------

void RequireFit(bool pFits)
{
    if (!pFits) throw std::bad_array_new_length();
}

/// Intervals, rounded, and the margins around them.
int CellsFor(float pIntervals)
{
    const int64_t cells = int64_t{TruncateToInt32(pIntervals)} + kMarginCells;
    RequireFit(cells <= INT32_MAX);
    return static_cast<int>(cells);
}

float LastOf(int pPixels)
{
    return static_cast<float>(static_cast<int64_t>(pPixels) - 1);
}

/// Only values can leave a grid whose floats can be counted in 32 bits, places in the picture cannot: with 7 cells or
/// more in y and 5 in z there are less than 2^25 in x, where the sum with 0.5 and the one with 3.5 are rounded by one
/// at most. That leaves the last place of a row below the last cell but one, and so in y. A wrapped row may be rounded
/// into the first cells of the row of cells above, as its index says; it ends two of them below the last.
sGridShape MeasureGrid(int pWidth, int pHeight, sScale pScale, float pRangeSampling, float pRange)
{
    sGridShape shape{};
    shape.fNx = CellsFor(std::fma(LastOf(pWidth), pScale.fCellsPerPixel, 0.5f));
    shape.fNy = CellsFor(std::fma(LastOf(pHeight), pScale.fCellsPerPixel, 0.5f));
    shape.fNz = CellsFor(pRange / pRangeSampling + 0.5f);
    return shape;
}

/// Floats of a grid, two a cell. Negative counts in two axes, of a picture without pixels, make a grid too.
int FloatsOf(sGridShape pShape)
{
    return CheckedCount(CheckedCount(2 * int64_t{pShape.fNx}, pShape.fNy), pShape.fNz);
}

using tFloats = std::unique_ptr<float[]>;

// ---- Samples that leave the grid -----------------------------------------------------------------------------------

/// Whether some sample of a row lies outside the ends of the range, or is a NaN.
SELVANE_CLONES bool AnyOutside(const float* pRow, int pWidth, float pRangeMin, float pRangeTop)
{
    int outside = 0;
    for (int x = 0; x < pWidth; x++)
        outside |= pRow[x] >= pRangeMin && pRow[x] <= pRangeTop ? 0 : 1;
    return outside != 0;
}

/// The plane that is filtered: the caller's, or a copy in which samples that leave the grid count as an end of the
/// range.
class cSamples
{
public:
    cSamples(float* pPlane, int pWidth, int pHeight, sScale pScale, float pRangeTop, int pNz)
        : fPlane(pPlane), fWidth(pWidth), fHeight(pHeight), fScale(pScale), fRangeTop(pRangeTop), fNz(pNz)
    {
    }

    float* Plane() const { return fPlane; }
    int Width() const { return fWidth; }
    int Height() const { return fHeight; }
    float* Row(int pRow) const { return fPlane + static_cast<ptrdiff_t>(pRow) * fWidth; }

    /// To be called with the rows from the top, before a row is read: the copy is made at the first sample that needs
    /// it.
    void Check(int pRow)
    {
        if (fOwn == nullptr && RowLeavesGrid(Row(pRow))) Replace();
    }

private:
    // Both ends of the range lie in the grid, and cells grow with the value: what is between the ends needs no closer
    // look.
    bool RowLeavesGrid(const float* pRow) const
    {
        return AnyOutside(pRow, fWidth, fScale.fRangeMin, fRangeTop) &&
               std::any_of(pRow, pRow + fWidth, [this](float sample) { return LeavesGrid(sample, fScale, fNz); });
    }

    void Replace()
    {
        const int count = CheckedCount(fWidth, fHeight);
        tFloats own(new float[static_cast<size_t>(count)]);
        std::transform(fPlane, fPlane + count, own.get(), [this](float sample) {
            if (!LeavesGrid(sample, fScale, fNz)) return sample;
            return sample < fScale.fRangeMin ? fScale.fRangeMin : fRangeTop;
        });
        fOwn = std::move(own);
        fPlane = fOwn.get();
    }

    float* fPlane;
    int fWidth;
    int fHeight;
    sScale fScale;
    float fRangeTop; ///< the end that is nearer to high values
    int fNz;
    tFloats fOwn;
};

// ---- Scattering ----------------------------------------------------------------------------------------------------

/// A range of places along a row; with wrapped rows it goes beyond both edges of the picture.
struct sSpan
{
    int64_t fBegin;
    int64_t fEnd;
};

/// Places along a row that are scattered. Wrapped rows go on by three cells on both sides.
/// @throws std::bad_array_new_length for wrapped rows without an end
sSpan RowSpan(int pWidth, float pSpaceSampling, bool pWrapX)
{
    if (!pWrapX) return {0, pWidth};
    RequireFit(3.0f * pSpaceSampling < kWrapLimit);
    const int64_t begin = TruncateToInt32(std::fma(-3.0f, pSpaceSampling, 1.0f));
    const float bound = static_cast<float>(pWidth) + std::fma(3.0f, pSpaceSampling, -1.0f);
    // The first place whose float is not below the bound: wide pictures have several places to a float.
    auto end = static_cast<int64_t>(bound);
    while (end > begin && static_cast<float>(end - 1) >= bound)
        end--;
    while (static_cast<float>(end) < bound)
        end++;
    return {begin, std::max(begin, end)};
}

int CellAt(int64_t pPlace, sScale pScale)
{
    return CellIn(AddedAt(static_cast<float>(pPlace), pScale.fCellsPerPixel));
}

/// Cuts a span into lanes of similar length that have no cell in common: between two lanes the cell in x changes, and
/// it only grows along a row.
std::array<int64_t, kLanes + 1> CutIntoLanes(sSpan pSpan, sScale pScale)
{
    std::array<int64_t, kLanes + 1> cuts{};
    cuts[0] = pSpan.fBegin;
    const int64_t length = pSpan.fEnd - pSpan.fBegin;
    for (size_t lane = 1; lane <= kLanes; lane++) {
        const int64_t even = length * static_cast<int64_t>(lane) / static_cast<int64_t>(kLanes);
        int64_t cut = std::max(cuts[lane - 1], pSpan.fBegin + even);
        while (cut > pSpan.fBegin && cut < pSpan.fEnd && CellAt(cut, pScale) == CellAt(cut - 1, pScale))
            cut++;
        cuts[lane] = cut;
    }
    return cuts;
}

/// The next samples of a lane, ready to be added.
struct sStrip
{
    int fCount;
    int32_t fCell[kLaneStrip]; ///< number of the cell in the grid
    float fValue[kLaneStrip];  ///< relative to the lowest value
};

/// Cells and values of pCount samples that stand at the places from pPlace on.
SELVANE_CLONES void FillStrip(const float* pSamples, int pPlace, int pCount, sScale pScale, int pRowCell,
                              int pLayerCells, sStrip* pStrip)
{
    for (int i = 0; i < pCount; i++) {
        const float value = pSamples[i] - pScale.fRangeMin;
        const int cellX = CellIn(AddedAt(static_cast<float>(pPlace + i), pScale.fCellsPerPixel));
        const int cellZ = CellIn(AddedAt(value, pScale.fCellsPerUnit));
        pStrip->fCell[i] = cellZ * pLayerCells + pRowCell + cellX;
        pStrip->fValue[i] = value;
    }
}

SELVANE_INLINE void AddToCell(float* pGrid, int64_t pCell, float pValue)
{
    float* cell = pGrid + 2 * pCell;
    cell[0] += pValue;
    cell[1] += 1.0f;
}

/// Adds the strips of all lanes, one sample of each in turn: the additions of one lane mostly meet the same cell and
/// wait for each other, those of different lanes never do.
void AddStrips(float* pGrid, const std::array<sStrip, kLanes>& pStrips)
{
    int common = kLaneStrip;
    for (const sStrip& strip : pStrips)
        common = std::min(common, strip.fCount);
    for (int i = 0; i < common; i++)
        for (size_t lane = 0; lane < kLanes; lane++)
            AddToCell(pGrid, pStrips[lane].fCell[i], pStrips[lane].fValue[i]);
    for (const sStrip& strip : pStrips)
        for (int i = common; i < strip.fCount; i++)
            AddToCell(pGrid, strip.fCell[i], strip.fValue[i]);
}

/// Adds the rows of a plane to the grid, sample after sample as far as one cell can tell.
class cScatter
{
public:
    cScatter(const cSamples& pSamples, sScale pScale, sGridShape pShape, float* pGrid, sSpan pSpan)
        : fSamples(pSamples), fScale(pScale), fShape(pShape), fGrid(pGrid), fSpan(pSpan), fLanes(LanesOf(pSpan)),
          fCuts(CutIntoLanes(fLanes, pScale))
    {
    }

    void AddRow(int pRow) const
    {
        AddOneByOne(pRow, {fSpan.fBegin, fLanes.fBegin});
        AddLanes(pRow);
        AddOneByOne(pRow, {fLanes.fEnd, fSpan.fEnd});
    }

private:
    /// The part of a span whose places fit 32 bits and, wrapped, lie in the row and not before it.
    sSpan LanesOf(sSpan pSpan) const
    {
        const int64_t begin = std::clamp(int64_t{-3} * fSamples.Width(), pSpan.fBegin, pSpan.fEnd);
        return {begin, std::clamp(int64_t{INT32_MAX} - kLaneStrip, begin, pSpan.fEnd)};
    }

    /// Where the sample of a place stands in its row. Required: the remainder of a division that truncates, which on a
    /// very narrow picture is negative and means the row above.
    int64_t PlaceInRow(int64_t pPlace) const { return (pPlace + int64_t{3} * fSamples.Width()) % fSamples.Width(); }

    int RowCell(int pRow) const { return CellAt(pRow, fScale) * fShape.fNx; }

    void AddOneByOne(int pRow, sSpan pSpan) const
    {
        for (int64_t place = pSpan.fBegin; place < pSpan.fEnd; place++) {
            const int64_t inRow = PlaceInRow(place);
            if (pRow == 0 && inRow < 0) continue; // before the plane
            const float value = fSamples.Row(pRow)[inRow] - fScale.fRangeMin;
            const int64_t layer = int64_t{CellIn(AddedAt(value, fScale.fCellsPerUnit))} * fShape.fNx * fShape.fNy;
            AddToCell(fGrid, layer + RowCell(pRow) + CellAt(place, fScale), value);
        }
    }

    void AddLanes(int pRow) const
    {
        std::array<sStrip, kLanes> strips;
        std::array<int64_t, kLanes> next;
        std::copy_n(fCuts.begin(), kLanes, next.begin());
        for (int left = 1; left > 0;) {
            left = 0;
            for (size_t lane = 0; lane < kLanes; lane++) {
                Fill(pRow, next[lane], fCuts[lane + 1], &strips[lane]);
                next[lane] += strips[lane].fCount;
                left += strips[lane].fCount;
            }
            AddStrips(fGrid, strips);
        }
    }

    void Fill(int pRow, int64_t pBegin, int64_t pEnd, sStrip* pStrip) const
    {
        pStrip->fCount = static_cast<int>(std::min<int64_t>(pEnd - pBegin, kLaneStrip));
        if (pStrip->fCount == 0) return;
        float wrapped[kLaneStrip];
        FillStrip(Fetch(pRow, pBegin, pStrip->fCount, wrapped), static_cast<int>(pBegin), pStrip->fCount, fScale,
                  RowCell(pRow), fShape.fNx * fShape.fNy, pStrip);
    }

    /// The samples of pCount places in a row: where they stand, or collected in pWrapped.
    const float* Fetch(int pRow, int64_t pPlace, int pCount, float* pWrapped) const
    {
        const float* row = fSamples.Row(pRow);
        const int width = fSamples.Width();
        auto inRow = static_cast<int>(PlaceInRow(pPlace));
        if (pCount <= width - inRow) return row + inRow;
        for (int i = 0; i < pCount; i++) {
            pWrapped[i] = row[inRow];
            inRow = inRow + 1 < width ? inRow + 1 : 0;
        }
        return pWrapped;
    }

    const cSamples& fSamples;
    sScale fScale;
    sGridShape fShape;
    float* fGrid;
    sSpan fSpan;
    sSpan fLanes;
    std::array<int64_t, kLanes + 1> fCuts;
};

void Scatter(cSamples& pSamples, sScale pScale, sGridShape pShape, float* pGrid, sSpan pSpan)
{
    const cScatter scatter(pSamples, pScale, pShape, pGrid, pSpan);
    for (int row = 0; row < pSamples.Height(); row++) {
        pSamples.Check(row);
        scatter.AddRow(row);
    }
}

// ---- Smoothing -----------------------------------------------------------------------------------------------------

/// 1 2 1 over floats that are pStep apart.
SELVANE_INLINE float Smoothed(const float* pIn, ptrdiff_t pStep)
{
    return std::fma(2.0f, pIn[0], pIn[-pStep] + pIn[pStep]);
}

/// Value and weight of a row of cells.
SELVANE_CLONES void SmoothRow(const float* __restrict pIn, float* __restrict pOut, int pCells, ptrdiff_t pStep)
{
    for (ptrdiff_t i = 0; i < 2 * ptrdiff_t{pCells}; i++)
        pOut[i] = Smoothed(pIn + i, pStep);
}

/// Value of a row of cells, divided by the weight. The weight in pOut stays what it was; nobody reads it again.
SELVANE_CLONES void SmoothRowAndDivide(const float* __restrict pIn, float* __restrict pOut, int pCells, ptrdiff_t pStep)
{
    for (ptrdiff_t i = 0; i < pCells; i++) {
        const float value = Smoothed(pIn + 2 * i, pStep);
        const float weight = Smoothed(pIn + 2 * i + 1, pStep);
        pOut[2 * i] = weight != 0.0f ? value / weight : value;
    }
}

using tRowStep = void (*)(const float*, float*, int, ptrdiff_t);

/// One pass over the interior of the grid. The outermost layer is read and never written.
void SmoothAlong(sGridShape pShape, ptrdiff_t pStep, tRowStep pRowStep, const float* pIn, float* pOut)
{
    for (int z = 1; z < pShape.fNz - 1; z++)
        for (int y = 1; y < pShape.fNy - 1; y++) {
            const ptrdiff_t first = 2 * ((static_cast<ptrdiff_t>(z) * pShape.fNy + y) * pShape.fNx + 1);
            pRowStep(pIn + first, pOut + first, pShape.fNx - 2, pStep);
        }
}

/// Twice 1 2 1 on each axis, which is 1 4 6 4 1; pFirst then holds value / weight.
void Smooth(sGridShape pShape, float* pFirst, float* pSecond)
{
    const ptrdiff_t stepX = 2;
    const ptrdiff_t stepY = stepX * pShape.fNx;
    const ptrdiff_t stepZ = stepY * pShape.fNy;
    SmoothAlong(pShape, stepX, SmoothRow, pFirst, pSecond);
    SmoothAlong(pShape, stepX, SmoothRow, pSecond, pFirst);
    SmoothAlong(pShape, stepY, SmoothRow, pFirst, pSecond);
    SmoothAlong(pShape, stepY, SmoothRow, pSecond, pFirst);
    SmoothAlong(pShape, stepZ, SmoothRow, pFirst, pSecond);
    SmoothAlong(pShape, stepZ, SmoothRowAndDivide, pSecond, pFirst);
}

// ---- Slicing -------------------------------------------------------------------------------------------------------

/// A place between two cells of an axis.
struct sBetween
{
    int fCell;   ///< the lower one
    float fNear; ///< weight of the lower one
    float fFar;  ///< weight of the upper one
};

SELVANE_INLINE sBetween Between(float pPlace, float pCellsPerPlace, float pMargin)
{
    const float at = std::fma(pPlace, pCellsPerPlace, pMargin);
    const int cell = CellIn(at);
    return {cell, static_cast<float>(cell) + 1.0f - at, at - static_cast<float>(cell)};
}

/// The same in y. Required: the lower weight is rounded in another order than in x and in value.
SELVANE_INLINE sBetween BetweenRows(float pPlace, float pCellsPerPlace, float pMargin)
{
    const float at = std::fma(pPlace, pCellsPerPlace, pMargin);
    const int cell = CellIn(at);
    return {cell, static_cast<float>(cell) + (1.0f - at), at - static_cast<float>(cell)};
}

SELVANE_INLINE float Mix(float pNear, float pLower, float pFar, float pUpper)
{
    return std::fma(pNear, pLower, pFar * pUpper);
}

/// The grid as a row of pixels sees it.
struct sGridRow
{
    const float* fCells; ///< of the lower row of cells, in layer 0
    ptrdiff_t fStepY;    ///< floats to the next row of cells
    ptrdiff_t fStepZ;    ///< floats to the next layer
    float fMargin;
    float fNearY;
    float fFarY;
};

/// Pixels of a row on their way from place to value.
struct sSliceStrip
{
    int32_t fCell[kSliceStrip]; ///< number of the lower cell in x and value
    float fNearX[kSliceStrip], fFarX[kSliceStrip];
    float fNearZ[kSliceStrip], fFarZ[kSliceStrip];
    float fLower[kSliceStrip][4]; ///< lower layer: two cells of the lower row, two of the upper row
    float fUpper[kSliceStrip][4]; ///< upper layer
};

SELVANE_INLINE void Locate(const sGridRow& pGrid, sScale pScale, const float* pInput, int pPlace, int pCount,
                           sSliceStrip& pStrip)
{
    const auto layer = static_cast<uint32_t>(pGrid.fStepZ / 2);
    for (int i = 0; i < pCount; i++) {
        const sBetween x = Between(static_cast<float>(pPlace + i), pScale.fCellsPerPixel, pGrid.fMargin);
        const sBetween z = Between(pInput[i] - pScale.fRangeMin, pScale.fCellsPerUnit, pGrid.fMargin);
        pStrip.fCell[i] = static_cast<int32_t>(static_cast<uint32_t>(z.fCell) * layer + static_cast<uint32_t>(x.fCell));
        pStrip.fNearX[i] = x.fNear;
        pStrip.fFarX[i] = x.fFar;
        pStrip.fNearZ[i] = z.fNear;
        pStrip.fFarZ[i] = z.fFar;
    }
}

/// The value floats of two neighbours in x at pAt, and of the two above them in y.
SELVANE_INLINE void FetchValues(const float* pAt, ptrdiff_t pStepY, float* pValues)
{
    using tTwoCells = float __attribute__((vector_size(16)));
    tTwoCells lower, upper;
    std::memcpy(&lower, pAt, sizeof lower);
    std::memcpy(&upper, pAt + pStepY, sizeof upper);
    const tTwoCells values = __builtin_shufflevector(lower, upper, 0, 2, 4, 6);
    std::memcpy(pValues, &values, sizeof values);
}

SELVANE_INLINE void Fetch(const sGridRow& pGrid, int pCount, sSliceStrip& pStrip)
{
    for (int i = 0; i < pCount; i++) {
        const float* at = pGrid.fCells + 2 * ptrdiff_t{pStrip.fCell[i]};
        FetchValues(at, pGrid.fStepY, pStrip.fLower[i]);
        FetchValues(at + pGrid.fStepZ, pGrid.fStepY, pStrip.fUpper[i]);
    }
}

/// From the four values of a layer to one.
SELVANE_INLINE float MixLayer(const float* pValues, float pNearX, float pFarX, float pNearY, float pFarY)
{
    return Mix(pNearY, Mix(pNearX, pValues[0], pFarX, pValues[1]), pFarY, Mix(pNearX, pValues[2], pFarX, pValues[3]));
}

SELVANE_INLINE void Interpolate(const sGridRow& pGrid, float pRangeMin, int pCount, const sSliceStrip& pStrip,
                                float* pOutput)
{
    float values[kSliceStrip];
    for (int i = 0; i < pCount; i++) {
        const float nearX = pStrip.fNearX[i];
        const float farX = pStrip.fFarX[i];
        const float lower = MixLayer(pStrip.fLower[i], nearX, farX, pGrid.fNearY, pGrid.fFarY);
        const float upper = MixLayer(pStrip.fUpper[i], nearX, farX, pGrid.fNearY, pGrid.fFarY);
        values[i] = std::fma(pStrip.fFarZ[i], upper, std::fma(pStrip.fNearZ[i], lower, pRangeMin));
    }
    std::memcpy(pOutput, values, static_cast<size_t>(pCount) * sizeof(float));
}

/// One row, by strips: cells and weights, then the eight values around each pixel, then the interpolation. Table
/// look-ups would keep the other two loops from being vectorised.
SELVANE_CLONES void SliceRow(const sGridRow& pGrid, sScale pScale, int pWidth, const float* pInput, float* pOutput)
{
    sSliceStrip strip;
    for (int begin = 0; begin < pWidth;) {
        const int count = std::min(pWidth - begin, kSliceStrip);
        Locate(pGrid, pScale, pInput + begin, begin, count, strip);
        Fetch(pGrid, count, strip);
        Interpolate(pGrid, pScale.fRangeMin, count, strip, pOutput + begin);
        begin += count;
    }
}

float ClosingSigma(float pBlurAmount, int pWidth, int pHeight)
{
    return (pBlurAmount * kBlurScale) * static_cast<float>(std::max(pWidth, pHeight));
}

} // namespace

void Filter_Fast_Interpolate_tile(int /*pSlot*/, int pStart, int pEnd, int pWidth, float pSpaceSampling,
                                  float pRangeSampling, float pRangeMin, int pMargin, int pNx, int pNy, float* pGrid,
                                  float* pInput, float* pOutput)
{
    const sScale scale{1.0f / pSpaceSampling, 1.0f / pRangeSampling, pRangeMin};
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

void cBilateral::Filter_Fast(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput,
                             int pWidth, int pHeight, float pSpaceSampling, float pRangeSampling, float pRangeMin,
                             float pRangeMax, float pBlurAmount, bool pWrapX)
{
    RequireFit(pSpaceSampling > 0.0f && pRangeSampling > 0.0f);
    const sScale scale{1.0f / pSpaceSampling, 1.0f / pRangeSampling, pRangeMin};
    const sGridShape shape = MeasureGrid(pWidth, pHeight, scale, pRangeSampling, pRangeMax - pRangeMin);
    const auto floats = static_cast<size_t>(FloatsOf(shape));
    const bool pixels = pWidth > 0 && pHeight > 0;
    const sSpan span = pixels ? RowSpan(pWidth, pSpaceSampling, pWrapX) : sSpan{};
    const float rangeTop = pRangeMax > pRangeMin ? pRangeMax : pRangeMin;
    if (pixels) RequireFit(!LeavesGrid(pRangeMin, scale, shape.fNz) && !LeavesGrid(rangeTop, scale, shape.fNz));

    const tFloats first(new float[floats]);
    const tFloats second(new float[floats]);
    std::fill_n(first.get(), floats, 0.0f);
    std::fill_n(second.get(), floats, 0.0f);
    if (StopIfRequested(pCancel, pCancelled)) return;

    cSamples samples(pInput, pWidth, pHeight, scale, rangeTop, shape.fNz);
    if (pixels) Scatter(samples, scale, shape, first.get(), span);
    Smooth(shape, first.get(), second.get());

    sInterpolateRecord record{{},        pWidth, pSpaceSampling, pRangeSampling,  pRangeMin, kMargin, shape.fNx,
                              shape.fNy, 0,      first.get(),    samples.Plane(), pOutput};
    DivideWork(0, pHeight, pThreadCount, Filter_Fast_Interpolate_tile_threaded, &record, sizeof record);
    FastGaussianBlur(pThreadCount, pOutput, pOutput, pWidth, pHeight, ClosingSigma(pBlurAmount, pWidth, pHeight));
}

} // namespace Vornik
