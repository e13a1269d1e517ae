#include "filter/cBilateral_Bounds.h"

#include "base/BigPages.h"
#include "base/Numeric.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Vornik
{

namespace
{

constexpr int kMarginCells = 7;       // cells on an axis beyond its intervals: 3 before, 3 after, 1 for the end
constexpr float kWrapLimit = 0x1p24f; // 3 * sampling must be below: from here on, floats skip pixels

void RequireFit(bool pFits)
{
    if (!pFits) throw std::bad_array_new_length();
}

/// The truncated intervals plus the margins around them.
int CellsFor(float pIntervals)
{
    const int64_t cells = int64_t{TruncateToInt32(pIntervals)} + kMarginCells;
    RequireFit(cells <= INT32_MAX);
    return static_cast<int>(cells);
}

/// The last place of an axis.
float LastOf(int pPixels)
{
    return static_cast<float>(static_cast<int64_t>(pPixels) - 1);
}

/// The places of a row to scatter. A wrapped row continues for three cells on both sides.
sSpan RowSpan(int pWidth, float pSpaceSampling, bool pWrapX)
{
    if (!pWrapX) return {0, pWidth};
    RequireFit(3.0f * pSpaceSampling < kWrapLimit);
    const int64_t begin = TruncateToInt32(std::fma(-3.0f, pSpaceSampling, 1.0f));
    const float bound = static_cast<float>(pWidth) + std::fma(3.0f, pSpaceSampling, -1.0f);
    // The first place whose float is not below the bound. In a wide picture several places have the same float.
    auto end = static_cast<int64_t>(bound);
    while (end > begin && static_cast<float>(end - 1) >= bound)
        end--;
    while (static_cast<float>(end) < bound)
        end++;
    return {begin, std::max(begin, end)};
}

/// Returns whether a sample leaves the grid in z: the cell it is added to, or one of the two it is sliced from.
SELVANE_INLINE bool LeavesGrid(float pSample, const sGridScale& pScale, int pNz)
{
    const float value = pSample - pScale.fRangeMin;
    const int added = TruncateToInt32(InCells(value, pScale.fCellsPerUnit, kScatterOffset));
    const int read = TruncateToInt32(InCells(value, pScale.fCellsPerUnit, kMargin));
    return added < 0 || added >= pNz || read < 0 || read >= pNz - 1;
}

/// Returns whether a sample of a row is outside the range or NaN.
SELVANE_CLONES bool AnyOutside(const float* pRow, int pWidth, float pRangeMin, float pRangeTop)
{
    int outside = 0;
    for (int x = 0; x < pWidth; x++)
        outside |= pRow[x] >= pRangeMin && pRow[x] <= pRangeTop ? 0 : 1;
    return outside != 0;
}

} // namespace

// If the floats of a grid fit 32 bits, values can leave the grid, but places in the picture cannot. With at least 7
// cells in y and 5 in z, there are fewer than 2^25 cells in x. There, the sums with 0.5 and 3.5 are rounded by at most
// one. So the last place of a row is below the last cell but one; the same holds in y. Rounding may move the end of a
// wrapped row into the first cells of the next row of cells. That row is two rows below the last.
sGridShape MeasureGrid(const sPlane& pPlane, const sGridScale& pScale, float pRangeMax)
{
    RequireFit(pScale.fSpaceSampling > 0.0f && pScale.fRangeSampling > 0.0f);
    sGridShape shape{};
    shape.fNx = CellsFor(InCells(LastOf(pPlane.fWidth), pScale.fCellsPerPixel, 0.5f));
    shape.fNy = CellsFor(InCells(LastOf(pPlane.fHeight), pScale.fCellsPerPixel, 0.5f));
    shape.fNz = CellsFor((pRangeMax - pScale.fRangeMin) / pScale.fRangeSampling + 0.5f); // a division, not a factor
    return shape;
}

size_t FloatsOf(sGridShape pShape)
{
    return static_cast<size_t>(CheckedCount(CheckedCount(2 * int64_t{pShape.fNx}, pShape.fNy), pShape.fNz));
}

sGridBounds MeasureBounds(const sPlane& pPlane, const sGridScale& pScale, sGridShape pShape, float pRangeMax,
                          bool pWrapX)
{
    const float top = pRangeMax > pScale.fRangeMin ? pRangeMax : pScale.fRangeMin;
    if (!pPlane.HasPixels()) return {{}, pShape.fNz, top};
    const sSpan span = RowSpan(pPlane.fWidth, pScale.fSpaceSampling, pWrapX);
    for (const float end : {pScale.fRangeMin, top})
        RequireFit(!LeavesGrid(end, pScale, pShape.fNz));
    return {span, pShape.fNz, top};
}

void cSamples::Check(int pRow)
{
    if (fOwn == nullptr && RowLeavesGrid(Row(pRow))) Replace();
}

// Both ends of the range are in the grid, and the cell grows with the value. So samples between the ends stay in the
// grid and need no further check.
bool cSamples::RowLeavesGrid(const float* pRow) const
{
    return AnyOutside(pRow, Width(), fScale.fRangeMin, fBounds.fRangeTop) &&
           std::any_of(pRow, pRow + Width(), [this](float sample) { return LeavesGrid(sample, fScale, fBounds.fNz); });
}

void cSamples::Replace()
{
    const int count = CheckedCount(Width(), Height());
    tFloats own(NewFloats(static_cast<size_t>(count)));
    std::transform(Plane(), Plane() + count, own.get(), [this](float sample) {
        if (!LeavesGrid(sample, fScale, fBounds.fNz)) return sample;
        return sample < fScale.fRangeMin ? fScale.fRangeMin : fBounds.fRangeTop;
    });
    fOwn = std::move(own);
    fPlane.fSamples = fOwn.get();
}

} // namespace Vornik
