#ifndef SELVANE_FILTER_BILATERALGRID_H
#define SELVANE_FILTER_BILATERALGRID_H

// The bilateral grid and the steps of cBilateral::Filter_Fast that work on it, internal.
//
//      z  value, Nz cells        a cell: value sum, weight     (two floats)
//      |  / y, Ny cells          float index of a cell:        ((cz * Ny + cy) * Nx + cx) * 2
//      | /
//      |/____ x, Nx cells        on each axis: 3 empty cells, the intervals, 1 for their end, 3 empty cells
//
// A sample is the value of a pixel. Its place in the picture and its value, relative to the lowest, select a cell:
//
//      cells of an axis    0    1    2    3    4    5   ...
//      place in pixels                    0    s    2s  ...      s: pixels per cell
//
//      scatter   adds to one cell:    truncate(place / s + 3.5), the nearest
//      slice     reads between two:   truncate(place / s + 3.0) and the next
//
// All arithmetic is 32-bit float. A product with an addition is one fused multiply-add. The factor 1 / s replaces
// divisions by s.

#include "base/Versions.h"

#include <cmath>
#include <cstdint>
#include <memory>

namespace Vornik
{

constexpr int kMargin = 3;             // empty cells before the first sample, on each axis; the offset of slicing
constexpr float kScatterOffset = 3.5f; // half a cell more, so that truncation gives the nearest cell

/// Cells on each axis. Pictures without pixels may have negative counts in x and y.
struct sGridShape
{
    int fNx;
    int fNy;
    int fNz;
};

/// Converts places and values to cells, by factors instead of divisions.
struct sGridScale
{
    float fSpaceSampling; ///< pixels per cell
    float fRangeSampling; ///< input units per cell
    float fRangeMin;      ///< lowest value of the input, at cell kMargin
    float fCellsPerPixel; ///< 1 / fSpaceSampling
    float fCellsPerUnit;  ///< 1 / fRangeSampling

    sGridScale(float pSpaceSampling, float pRangeSampling, float pRangeMin)
        : fSpaceSampling(pSpaceSampling), fRangeSampling(pRangeSampling), fRangeMin(pRangeMin),
          fCellsPerPixel(1.0f / pSpaceSampling), fCellsPerUnit(1.0f / pRangeSampling)
    {
    }
};

/// Position of a sample on an axis, in cells. pPlace is in pixels, or a value relative to the lowest. Place 0 is at
/// pOffset.
SELVANE_INLINE float InCells(float pPlace, float pCellsPerPlace, float pOffset)
{
    return std::fma(pPlace, pCellsPerPlace, pOffset);
}

/// Truncates a position that is known to be in the grid. NaN gives 0. This is cheaper than saturation.
SELVANE_INLINE int CellIn(float pAt)
{
    return static_cast<int>(std::fabs(pAt) < 0x1p31f ? pAt : 0.0f);
}

using tFloats = std::unique_ptr<float[]>;

class cSamples;
struct sSpan;

/// Adds each sample to its cell: the value, relative to the lowest, to the value sum, and 1 to the weight. Uses one
/// thread, because the order of the additions to a cell decides its last bit.
/// @param pSpan places of a row to scatter
/// @param pGrid must be cleared
void Scatter(cSamples& pSamples, const sSpan& pSpan, const sGridScale& pScale, sGridShape pShape, float* pGrid);

/// Smooths value and weight with 1 4 6 4 1 on each axis and divides value by weight. The result is in the value floats
/// of pFirst. pSecond is scratch memory.
void Smooth(sGridShape pShape, float* pFirst, float* pSecond);

/// Interpolates every pixel from the value floats of the grid. DivideWork splits the rows.
void Slice(int pThreadCount, const cSamples& pSamples, const sGridScale& pScale, sGridShape pShape, float* pGrid,
           float* pOutput);

} // namespace Vornik

#endif
