#include "filter/BilateralGrid.h"

#include "base/Versions.h"

#include <cmath>
#include <cstddef>

// Smoothing: six passes of 1 2 1 over the interior of the grid, two along each axis.

namespace Vornik
{

namespace
{

/// 1 2 1 over floats that are pStep apart.
SELVANE_INLINE float Smoothed(const float* pIn, ptrdiff_t pStep)
{
    return std::fma(2.0f, pIn[0], pIn[-pStep] + pIn[pStep]);
}

/// Smooths value and weight of a row of cells.
SELVANE_CLONES void SmoothRow(const float* __restrict pIn, float* __restrict pOut, int pCells, ptrdiff_t pStep)
{
    for (ptrdiff_t i = 0; i < 2 * ptrdiff_t{pCells}; i++)
        pOut[i] = Smoothed(pIn + i, pStep);
}

/// Smooths a row of cells and divides value by weight, unless the weight is 0. Does not store the weight: it is unused.
SELVANE_CLONES void SmoothRowAndDivide(const float* __restrict pIn, float* __restrict pOut, int pCells, ptrdiff_t pStep)
{
    for (ptrdiff_t i = 0; i < pCells; i++) {
        const float value = Smoothed(pIn + 2 * i, pStep);
        const float weight = Smoothed(pIn + 2 * i + 1, pStep);
        pOut[2 * i] = weight != 0.0f ? value / weight : value;
    }
}

using tRowStep = void (*)(const float*, float*, int, ptrdiff_t);

/// One pass over the interior of the grid. The outermost cells are read and never written.
void SmoothAlong(sGridShape pShape, ptrdiff_t pStep, tRowStep pRowStep, const float* pIn, float* pOut)
{
    for (int z = 1; z < pShape.fNz - 1; z++)
        for (int y = 1; y < pShape.fNy - 1; y++) {
            const ptrdiff_t first = 2 * ((static_cast<ptrdiff_t>(z) * pShape.fNy + y) * pShape.fNx + 1);
            pRowStep(pIn + first, pOut + first, pShape.fNx - 2, pStep);
        }
}

} // namespace

/// Applies 1 2 1 twice on each axis, which equals 1 4 6 4 1. pFirst then holds value / weight.
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

} // namespace Vornik
