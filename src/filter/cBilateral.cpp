#include "filter/cBilateral.h"

#include "base/BigPages.h"
#include "base/Cancel.h"
#include "filter/BilateralGrid.h"
#include "filter/cBilateral_Bounds.h"

#include <algorithm>
#include <cstddef>

// The fast bilateral filter. Scattering adds each sample to a coarse grid over x, y and value, drawn in
// BilateralGrid.h. Smoothing blurs the grid. Slicing interpolates the grid at the place and value of each pixel. Values
// on the two sides of a strong edge are in distant cells, so smoothing does not cross the edge. Each step has a file:
// cBilateral_Bounds.cpp, _Scatter, _Smooth, _Slice and _Blur.

namespace Vornik
{

namespace
{

constexpr float kBlurScale = 0x1.5d867cp-12f; // 1 / 3000

/// Sigma of the closing blur in pixels; pBlurAmount / 3000 of the longer side.
float ClosingSigma(float pBlurAmount, const sPlane& pPlane)
{
    return (pBlurAmount * kBlurScale) * static_cast<float>(std::max(pPlane.fWidth, pPlane.fHeight));
}

} // namespace

void cBilateral::Filter_Fast(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput,
                             int pWidth, int pHeight, float pSpaceSampling, float pRangeSampling, float pRangeMin,
                             float pRangeMax, float pBlurAmount, bool pWrapX)
{
    const sPlane plane{pInput, pWidth, pHeight};
    const sGridScale scale(pSpaceSampling, pRangeSampling, pRangeMin);
    const sGridShape shape = MeasureGrid(plane, scale, pRangeMax);
    const size_t floats = FloatsOf(shape);
    const sGridBounds bounds = MeasureBounds(plane, scale, shape, pRangeMax, pWrapX); // throws before allocation
    const tFloats first(NewFloats(floats));
    const tFloats second(NewFloats(floats));
    for (const tFloats* grid : {&first, &second})
        std::fill_n(grid->get(), floats, 0.0f);
    if (StopIfRequested(pCancel, pCancelled)) return; // the only check of pCancel
    cSamples samples(plane, scale, bounds);
    if (plane.HasPixels()) Scatter(samples, bounds.fSpan, scale, shape, first.get());
    Smooth(shape, first.get(), second.get());
    Slice(pThreadCount, samples, scale, shape, first.get(), pOutput);
    FastGaussianBlur(pThreadCount, pOutput, pOutput, pWidth, pHeight, ClosingSigma(pBlurAmount, plane));
}

} // namespace Vornik
