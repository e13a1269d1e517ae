#ifndef SELVANE_FILTER_CBILATERAL_BOUNDS_H
#define SELVANE_FILTER_CBILATERAL_BOUNDS_H

// Keeps the filter inside the bilateral grid, internal. Sizes that do not fit are refused before anything is allocated.
// A sample whose value leaves the grid counts as the nearer end of the range.

#include "filter/BilateralGrid.h"

#include <cstddef>

namespace Vornik
{

/// The places fBegin to fEnd - 1 of a row. In a wrapped row they go beyond both edges of the picture.
struct sSpan
{
    int64_t fBegin;
    int64_t fEnd;
};

/// The plane to filter, as the caller describes it.
struct sPlane
{
    float* fSamples;
    int fWidth;
    int fHeight;

    bool HasPixels() const { return fWidth > 0 && fHeight > 0; }
};

/// The bounds of places and values in the grid.
struct sGridBounds
{
    sSpan fSpan;     ///< places of a row to scatter
    int fNz;         ///< cells in z
    float fRangeTop; ///< upper end of the range, not below the lower one
};

/// Computes the cells on each axis.
/// @throws std::bad_array_new_length if a sampling is not above 0 or the cells of an axis do not fit 32 bits
sGridShape MeasureGrid(const sPlane& pPlane, const sGridScale& pScale, float pRangeMax);

/// Floats of a grid, two per cell. Negative counts on two axes, of a picture without pixels, also make a grid.
/// @throws std::bad_array_new_length if the number does not fit 32 bits
size_t FloatsOf(sGridShape pShape);

/// Computes the bounds of places and values.
/// @throws std::bad_array_new_length if wrapped rows are too long or an end of the range leaves the grid
sGridBounds MeasureBounds(const sPlane& pPlane, const sGridScale& pScale, sGridShape pShape, float pRangeMax,
                          bool pWrapX);

/// The samples to filter: the caller's plane, or a copy of it in which an end of the range replaces samples that leave
/// the grid.
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

    /// Call it for each row from the top, before the row is read. Makes the copy at the first row that needs it.
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
