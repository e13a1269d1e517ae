#ifndef SELVANE_FILTER_CBILATERAL_H
#define SELVANE_FILTER_CBILATERAL_H

#include "base/Export.h"

/// @file
/// Edge-preserving filters on planes of floats, and the tile functions that they hand to DivideWork.
///
/// A plane is a picture of one float a pixel: width * height floats, row after row from the top, without padding.
/// Planes are borrowed for the length of a call. Each picture may be filtered on several threads at once, as long as no
/// two calls write the same plane.
///
/// The tile functions are exported for hosts that look into a record; they are called through DivideWork and need no
/// other caller. Each works on the half-open range pStart to pEnd of rows (or of columns, where it says so), writes
/// nothing else, returns at once when the range is empty, and throws nothing. The slot is ignored by all of them.

namespace Vornik
{

/// The filters. They hold no state: every operation is static.
class SELVANE_API cBilateral
{
public:
    /// Smooths a plane with its strong edges kept, through a coarse grid over x, y and value (a bilateral grid after
    /// J. Chen, S. Paris and F. Durand, "Real-time edge-aware image processing with the bilateral grid", 2007), and
    /// closes with a light Gaussian blur of the result.
    ///
    /// @param pCancel         borrowed, not null; looked at once, before the first sample goes into the grid
    /// @param pCancelled      borrowed, not null; set to true when the call stopped on pCancel, otherwise left alone
    /// @param pThreadCount    passed on to DivideWork as it is
    /// @param pInput          plane of pWidth * pHeight floats; not changed. May be the same plane as pOutput
    /// @param pOutput         plane of pWidth * pHeight floats; all of it is written, or nothing when the call is
    ///                        cancelled or throws before slicing
    /// @param pWidth          pixels; with a width or a height not above 0 nothing is filtered
    /// @param pHeight         pixels
    /// @param pSpaceSampling  pixels per grid cell in x and in y, above 0; may be infinite
    /// @param pRangeSampling  input units per grid cell in value, above 0; may be infinite
    /// @param pRangeMin       lowest value of the input
    /// @param pRangeMax       highest value of the input. A sample so far outside the range that it leaves the grid
    ///                        counts as the nearer end of the range, as pRangeMin when pRangeMax is not above it
    /// @param pBlurAmount     strength of the closing blur: its sigma is pBlurAmount / 3000 of the longer side. 0,
    ///                        negative or NaN: no blur
    /// @param pWrapX          rows are periodic: the left and the right edge of the picture meet
    /// @throws std::bad_array_new_length  before anything is allocated: a sampling is not above 0 (or NaN), the grid
    ///                        does not fit 32-bit arithmetic, an end of the range leaves the grid, or rows wrap and
    ///                        3 * pSpaceSampling is 16777216 or more. Later: a plane of pWidth * pHeight floats that
    ///                        is needed does not fit 32 bits
    /// @throws std::bad_alloc memory ran out; nothing is lost
    static void Filter_Fast(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput,
                            int pWidth, int pHeight, float pSpaceSampling, float pRangeSampling, float pRangeMin,
                            float pRangeMax, float pBlurAmount, bool pWrapX);

    /// The brute-force bilateral filter, the slow yardstick beside Filter_Fast: a mean weighted by two Gaussians, one
    /// of the distance and one of the difference in value. It computes the filtered plane and drops it: pOutput stays
    /// as it was, and what it computes is seen only by who looks into the record passed to DivideWork.
    ///
    /// @param pCancel         not read
    /// @param pCancelled      not written
    /// @param pThreadCount    passed on to DivideWork as it is
    /// @param pInput          plane of pWidth * pHeight floats; not changed
    /// @param pOutput         not written
    /// @param pWidth          pixels
    /// @param pHeight         pixels
    /// @param pSigmaSpace     standard deviation of the distance, in pixels; the window reaches to about twice of it
    /// @param pSigmaRange     standard deviation of the difference in value, in input units
    /// @param pRangeMin       not used
    /// @param pRangeMax       not used
    /// @throws std::bad_array_new_length  the kernel or the plane has a number of floats that does not fit 32 bits
    /// @throws std::bad_alloc memory ran out; nothing is lost
    static void Filter_Ref(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput, int pWidth,
                           int pHeight, float pSigmaSpace, float pSigmaRange, float pRangeMin, float pRangeMax);

    /// Blurs a plane with an approximation of a Gaussian, three rounds of a box of fractional radius over rows and
    /// columns. The cost does not depend on the radius. Near the edges the mean is taken over what lies inside the
    /// picture.
    ///
    /// @param pThreadCount    passed on to DivideWork as it is
    /// @param pSource         plane of pWidth * pHeight floats; not changed unless it is pDest
    /// @param pDest           plane of pWidth * pHeight floats; may be the same plane as pSource
    /// @param pWidth          pixels
    /// @param pHeight         pixels
    /// @param pSigma          standard deviation in pixels; not above 0 (or NaN): as many floats as the two sizes
    ///                        multiply to are copied, none if that is not above 0 or does not fit 32 bits
    /// @throws std::bad_array_new_length  blurring, the plane, or its longer side, is negative or does not fit 32 bits
    /// @throws std::bad_alloc memory ran out; nothing is lost
    static void FastGaussianBlur(int pThreadCount, float* pSource, float* pDest, int pWidth, int pHeight, float pSigma);
};

/// Reads rows back from the grid by trilinear interpolation of its value floats: the slicing step of
/// cBilateral::Filter_Fast.
///
/// @param pSlot           worker slot, ignored
/// @param pStart, pEnd    first row and the row behind the last
/// @param pWidth          pixels in a row of pInput and pOutput
/// @param pSpaceSampling  pixels per grid cell in x and in y
/// @param pRangeSampling  input units per grid cell in value
/// @param pRangeMin       lowest value of the input; the grid holds values relative to it
/// @param pMargin         empty cells before the first sample on each axis, always 3
/// @param pNx, pNy        cells in x and in y
/// @param pGrid           cells of two floats, x fastest, then y, then z; the value is the first float
/// @param pInput, pOutput planes, from their first row
SELVANE_API void Filter_Fast_Interpolate_tile(int pSlot, int pStart, int pEnd, int pWidth, float pSpaceSampling,
                                              float pRangeSampling, float pRangeMin, int pMargin, int pNx, int pNy,
                                              float* pGrid, float* pInput, float* pOutput);

/// Unpacks a record of 72 bytes for Filter_Fast_Interpolate_tile: 16 width, 20 pSpaceSampling, 24 pRangeSampling,
/// 28 pRangeMin, 32 margin, 36 pNx, 40 pNy, 48 grid, 56 input, 64 output. Returns null.
SELVANE_API void* Filter_Fast_Interpolate_tile_threaded(void* pRecord);

/// Filters rows by brute force: the worker of cBilateral::Filter_Ref. A window without rows (a kernel of one sample or
/// less) makes the result a NaN with the bits 0x7FC00000.
///
/// @param pSlot           worker slot, ignored
/// @param pStart, pEnd    first row and the row behind the last
/// @param pWidth, pHeight pixels of pInput and pResult
/// @param pKernelSize     K, samples in a row of the spatial kernel; the window of a pixel reaches from K / 2
///                        before it up to, but not including, K / 2 behind it
/// @param pRangeLimit     samples whose value differs by more are skipped
/// @param pRangeScale     255 / pRangeLimit: from a difference to its index in pRangeTable
/// @param pInput          plane, from its first row
/// @param pRangeTable     256 weights by difference
/// @param pSpatialKernel  K * K weights by distance, row by row, the centre at K / 2
/// @param pResult         plane, from its first row
SELVANE_API void Filter_Ref_Process_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pKernelSize,
                                         float pRangeLimit, float pRangeScale, float* pInput, float* pRangeTable,
                                         float* pSpatialKernel, float* pResult);

/// Unpacks a record of 72 bytes for Filter_Ref_Process_tile: 16 width, 20 height, 24 pKernelSize, 28 pRangeLimit,
/// 32 pRangeScale, 40 input, 48 range table, 56 spatial kernel, 64 result. Returns null.
SELVANE_API void* Filter_Ref_Process_tile_threaded(void* pRecord);

/// Runs the box filter along the rows pStart to pEnd - 1.
///
/// @param pSlot             worker slot, ignored
/// @param pStart, pEnd      first row and the row behind the last
/// @param pWidth, pHeight   pixels of pSource and pDest
/// @param pRadius           R: the box covers the samples from i - R to i + R
/// @param pEdgeFraction     f: the two end samples weigh 1 - f
/// @param pNormalisation    pWidth floats: the sum of the weights that fall inside the picture
/// @param pSource, pDest    two planes that do not overlap, from their first row
SELVANE_API void FastGaussianBlur_Filter1_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pRadius,
                                               float pEdgeFraction, float* pNormalisation, float* pSource,
                                               float* pDest);

/// Unpacks a record of 56 bytes for FastGaussianBlur_Filter1_tile: 16 width, 20 height, 24 pRadius, 28 pEdgeFraction,
/// 32 normalisation, 40 source, 48 destination. Returns null.
SELVANE_API void* FastGaussianBlur_Filter1_tile_threaded(void* pRecord);

/// Runs the box filter along the columns pStart to pEnd - 1; pNormalisation holds pHeight floats. Otherwise as
/// FastGaussianBlur_Filter1_tile.
SELVANE_API void FastGaussianBlur_Filter2_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pRadius,
                                               float pEdgeFraction, float* pNormalisation, float* pSource,
                                               float* pDest);

/// Unpacks a record of 56 bytes for FastGaussianBlur_Filter2_tile, laid out as for
/// FastGaussianBlur_Filter1_tile_threaded. Returns null.
SELVANE_API void* FastGaussianBlur_Filter2_tile_threaded(void* pRecord);

} // namespace Vornik

#endif
