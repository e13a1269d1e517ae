#ifndef SELVANE_TESTS_SUPPORT_DIRECT_FILTERS_H
#define SELVANE_TESTS_SUPPORT_DIRECT_FILTERS_H

// The filters as their formulas say: one pixel and one cell at a time, no strips, no tiles, no threads. Nothing of the
// library is used here, so that a mistake on either side shows. Both agree bit by bit.

#include "support/Planes.h"

#include <cstdint>

namespace SelvaneTest
{

/// The arguments of Filter_Fast.
struct sFast
{
    int fWidth;
    int fHeight;
    float fSpace;       ///< pixels a cell
    float fRange;       ///< units a cell
    float fMin;         ///< lowest value
    float fMax;         ///< highest value
    float fBlur = 0.0f; ///< strength of the closing blur
    bool fWrap = false; ///< the left and right edges of the picture meet
};

/// Cells along each axis of the grid. In 64 bits, since refused shapes do not fit 32.
struct sGridShape
{
    int64_t fX;
    int64_t fY;
    int64_t fZ; ///< value

    int64_t Cells() const { return fX * fY * fZ; }
};

sGridShape DirectShape(const sFast& pArguments);

/// Whether the filter throws std::bad_array_new_length before it does anything.
bool DirectRefusal(const sFast& pArguments);

/// Whether every place of the picture has its cells in the grid, at both ends of the range. A cell counts as inside
/// when its index is one of the grid's.
bool EveryCellIsInTheGrid(const sFast& pArguments);

/// What the filter does with one picture.
struct sDirectFast
{
    tPlane fResult;
    tPlane fGrid;              ///< value and weight of each cell, as the slicing step finds them
    bool fOwnPlane = false;    ///< some sample counted as an end of the range: the filter reads a plane of its own
    long fBorrowedSamples = 0; ///< wrapped samples that were read before the start of their row
    long fSkippedSamples = 0;  ///< wrapped samples that lie before the plane and were left out
    long fEmptyCells = 0;      ///< cells without weight when the smoothing divides
};

/// For arguments that are not refused.
sDirectFast DirectFast(const tPlane& pInput, const sFast& pArguments);

/// A row of the slicing step: pInput is the row, pGrid holds value and weight of each cell.
tPlane DirectSlice(const tPlane& pGrid, int pNx, int pNy, int pMargin, float pSpace, float pRange, float pMin, int pRow,
                   const tPlane& pInput);

tPlane DirectBlur(tPlane pPlane, int pWidth, int pHeight, float pSigma);

/// The sums of the weights of the box that fall inside a line.
tPlane DirectNormalisation(int pLength, int pRadius, float pEdgeFraction);

/// A line under the box.
tPlane DirectBox(const tPlane& pLine, int pRadius, float pEdgeFraction, const tPlane& pNormalisation);

/// Tables and result of the reference filter.
struct sDirectReference
{
    int fKernelSize; ///< pixels along a side of the window
    tPlane fKernel;  ///< weights by distance
    float fLimit;    ///< largest difference in value that counts
    tPlane fTable;   ///< weights by difference
    tPlane fResult;
};

sDirectReference DirectReference(const tPlane& pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange);

} // namespace SelvaneTest

#endif
