#ifndef SELVANE_FILTER_CBILATERAL_BOUNDS_H
#define SELVANE_FILTER_CBILATERAL_BOUNDS_H

// What could leave the bilateral grid, and what becomes of it; internal. Sizes that do not fit are refused before
// anything is allocated. A sample whose value leaves the grid counts as the nearer end of the range.

#include "filter/BilateralGrid.h"

#include <cstddef>

namespace Vornik
{

/// A range of places along a row; with wrapped rows it goes beyond both edges of the picture.
struct sSpan
{
    int64_t fBegin;
    int64_t fEnd;
};

/// The plane that is filtered, as its caller describes it.
struct sPlane
{
    float* fSamples;
    int fWidth;
    int fHeight;

    bool HasPixels() const { return fWidth > 0 && fHeight > 0; }
};

/// How far a picture reaches into its grid.
struct sGridBounds
{
    sSpan fSpan;     ///< places of a row that are scattered
    int fLayers;     ///< layers of the grid: the cells that a value may lie in
    float fRangeTop; ///< upper end of the range, not below the lower one
};

/// Cells on each axis.
/// @throws std::bad_array_new_length when a sampling is not above 0, or a side does not fit 32 bits
sGridShape MeasureGrid(const sPlane& pPlane, const sGridScale& pScale, float pRangeMax);

/// Floats of a grid, two a cell. Negative counts in two axes, of a picture without pixels, make a grid too.
/// @throws std::bad_array_new_length when they do not fit 32 bits
size_t FloatsOf(sGridShape pShape);

/// @throws std::bad_array_new_length for wrapped rows without an end, and for an end of the range that leaves the grid
sGridBounds MeasureBounds(const sPlane& pPlane, const sGridScale& pScale, sGridShape pShape, float pRangeMax,
                          bool pWrapX);

/// The plane that is filtered: the caller's, or a copy in which samples that leave the grid count as an end of the
/// range.
class cSamples
{
public:
    cSamples(const sPlane& pPlane, const sGridScale& pScale, const sGridBounds& pBounds)
        : fPlane(pPlane), fScale(pScale), fBounds(pBounds)
    {
    }

    float* Plane() const { return fPlane.fSamples; }
    int Width() const { return fPlane.fWidth; }
    int Height() const { return fPlane.fHeight; }
    float* Row(int pRow) const { return fPlane.fSamples + static_cast<ptrdiff_t>(pRow) * fPlane.fWidth; }

    /// To be called with the rows from the top, before a row is read: the copy is made at the first sample that needs
    /// it.
    void Check(int pRow);

private:
    bool RowLeavesGrid(const float* pRow) const;
    void Replace();

    sPlane fPlane;
    sGridScale fScale;
    sGridBounds fBounds;
    tFloats fOwn; ///< the copy, if there is one
};

} // namespace Vornik

#endif
