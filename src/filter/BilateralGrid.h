#ifndef SELVANE_FILTER_BILATERALGRID_H
#define SELVANE_FILTER_BILATERALGRID_H

// The bilateral grid and the steps of cBilateral::Filter_Fast that work on it, internal.
//
//      z  value, Nz layers       a cell: value sum, weight     (two floats)
//      |  / y, Ny cells          float index of a cell:        ((cz * Ny + cy) * Nx + cx) * 2
//      | /
//      |/____ x, Nx cells        on each axis: 3 empty cells, the intervals, 1 for their end, 3 empty cells
//
// A sample is a pixel's value. Its place in the picture and its value, relative to the lowest, lead to a cell:
//
//      cells of an axis    0    1    2    3    4    5   ...
//      place in pixels                    0    s    2s  ...      s: pixels a cell
//
//      scatter   adds to one cell:    truncate(place / s + 3.5), the nearest
//      slice     reads between two:   truncate(place / s + 3.0) and the next
//
// All arithmetic is 32-bit float. A product that is added to something is one fused step, and 1 / s is a factor.

#include "base/Versions.h"

#include <cmath>
#include <cstdint>
#include <memory>

namespace Vornik
{

constexpr int kMargin = 3;             // empty cells before the first sample, on each axis; the offset of slicing
constexpr float kScatterOffset = 3.5f; // half a cell more: truncated, the nearest cell

/// Cells on each axis. Pictures without pixels may have negative counts in x and y.
struct sGridShape
{
    int fNx;
    int fNy;
    int fNz;
};

/// From places and values to cells: factors instead of divisions.
struct sGridScale
{
    float fSpaceSampling; ///< pixels a cell
    float fRangeSampling; ///< input units a cell
    float fRangeMin;      ///< the value at the margin
    float fCellsPerPixel; ///< 1 / fSpaceSampling
    float fCellsPerUnit;  ///< 1 / fRangeSampling

    sGridScale(float pSpaceSampling, float pRangeSampling, float pRangeMin)
        : fSpaceSampling(pSpaceSampling), fRangeSampling(pRangeSampling), fRangeMin(pRangeMin),
          fCellsPerPixel(1.0f / pSpaceSampling), fCellsPerUnit(1.0f / pRangeSampling)
    {
    }
};

/// Where a sample stands on an axis, in cells. pPlace is in pixels, or a value relative to the lowest; place 0 stands at
/// pOffset.
SELVANE_INLINE float InCells(float pPlace, float pCellsPerPlace, float pOffset)
{
    return std::fma(pPlace, pCellsPerPlace, pOffset);
}

/// Truncates a place that is known to lie in the grid; NaN gives 0. Cheaper than to saturate.
SELVANE_INLINE int CellIn(float pAt)
{
    return static_cast<int>(std::fabs(pAt) < 0x1p31f ? pAt : 0.0f);
}

using tFloats = std::unique_ptr<float[]>;

class cSamples;
struct sSpan;

/// Adds each sample to its cell: its value, relative to the lowest, to the value sum, and 1 to the weight. One thread,
/// since the order of the additions to a cell decides its last bit.
/// @param pSpan places of a row that are scattered
/// @param pGrid cleared
void Scatter(cSamples& pSamples, const sSpan& pSpan, const sGridScale& pScale, sGridShape pShape, float* pGrid);

/// Smooths value and weight with 1 4 6 4 1 on each axis and divides value by weight. pFirst holds the result in its
/// value floats; pSecond is room.
void Smooth(sGridShape pShape, float* pFirst, float* pSecond);

/// Reads every pixel back from the value floats of the grid, rows split over DivideWork.
void Slice(int pThreadCount, const cSamples& pSamples, const sGridScale& pScale, sGridShape pShape, float* pGrid,
           float* pOutput);

} // namespace Vornik

#endif
