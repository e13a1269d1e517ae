#ifndef SELVANE_FILTER_CBILATERAL_H
#define SELVANE_FILTER_CBILATERAL_H

#include "base/Export.h"

/// @file
/// Edge-preserving filters on planes of floats, and the tile functions that they pass to DivideWork.
///
/// A plane is a picture of one float per pixel: width * height floats, row after row from the top, without padding.
/// Planes are borrowed for the length of a call. A plane may be filtered on several threads at once, if no two calls
/// write the same plane.
///
/// The tile functions are exported for hosts that look into a record. DivideWork calls them; they need no other caller.
/// Each processes the rows (or the columns, where it says so) pStart to pEnd - 1 and writes nothing else. It does
/// nothing if that range is empty. It throws nothing and does not use the slot.

namespace Vornik
{

/// The filters. They hold no state: every operation is static.
class SELVANE_API cBilateral
{
public:
    /// Smooths a plane and keeps its strong edges. Uses a coarse grid over x, y and value, a bilateral grid (J. Chen,
    /// S. Paris and F. Durand, "Real-time edge-aware image processing with the bilateral grid", 2007). A light Gaussian
    /// blur of the result follows.
    ///
    /// @param pCancel         borrowed, not null; read once, before the first sample is scattered
    /// @param pCancelled      borrowed, not null; set to true if the call stops on pCancel, otherwise unchanged
    /// @param pThreadCount    passed to DivideWork unchanged
    /// @param pInput          plane of pWidth * pHeight floats; not changed. May be the same plane as pOutput
    /// @param pOutput         plane of pWidth * pHeight floats. Written completely, or not at all if the call is
    ///                        cancelled or throws before slicing
    /// @param pWidth          pixels; with a width or height of 0 or below nothing is filtered
    /// @param pHeight         pixels
    /// @param pSpaceSampling  pixels per grid cell in x and in y, above 0; may be infinite
    /// @param pRangeSampling  input units per grid cell in value, above 0; may be infinite
    /// @param pRangeMin       lowest value of the input
    /// @param pRangeMax       highest value of the input. A sample so far outside the range that it leaves the grid
    ///                        counts as the nearer end of the range. If pRangeMax is not above pRangeMin, both ends
    ///                        are pRangeMin
    /// @param pBlurAmount     strength of the closing blur: its sigma is pBlurAmount / 3000 of the longer side. 0,
    ///                        negative or NaN: no blur
    /// @param pWrapX          rows are periodic: the left and the right edge of the picture meet
    /// @throws std::bad_array_new_length  before any allocation, if a sampling is not above 0 or is NaN, if the grid
    ///                                    does not fit 32-bit arithmetic, if an end of the range leaves the grid, or if
    ///                                    rows wrap and 3 * pSpaceSampling is 16777216 or more. Later, if a temporary
    ///                                    plane of pWidth * pHeight floats does not fit 32 bits
    /// @throws std::bad_alloc if memory runs out; nothing leaks
    static void Filter_Fast(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput,
                            int pWidth, int pHeight, float pSpaceSampling, float pRangeSampling, float pRangeMin,
                            float pRangeMax, float pBlurAmount, bool pWrapX);

    /// The brute-force bilateral filter, a slow reference for Filter_Fast. It computes a mean weighted by two
    /// Gaussians: of the distance and of the difference in value. It drops the filtered plane and leaves pOutput
    /// unchanged. Only the record passed to DivideWork leads to the result.
    ///
    /// @param pCancel         unused
    /// @param pCancelled      unused
    /// @param pThreadCount    passed to DivideWork unchanged
    /// @param pInput          plane of pWidth * pHeight floats; not changed
    /// @param pOutput         unused
    /// @param pWidth          pixels
    /// @param pHeight         pixels
    /// @param pSigmaSpace     standard deviation of the distance, in pixels; the window reaches about twice as far
    /// @param pSigmaRange     standard deviation of the difference in value, in input units
    /// @param pRangeMin       unused
    /// @param pRangeMax       unused
    /// @throws std::bad_array_new_length  if the number of floats of the kernel or of the plane does not fit 32 bits
    /// @throws std::bad_alloc if memory runs out; nothing leaks
    static void Filter_Ref(bool* pCancel, bool* pCancelled, int pThreadCount, float* pInput, float* pOutput, int pWidth,
                           int pHeight, float pSigmaSpace, float pSigmaRange, float pRangeMin, float pRangeMax);

    /// Blurs a plane with an approximate Gaussian: three rounds of a box of fractional radius over rows and columns.
    /// The cost does not depend on the radius. Near an edge, the mean is over the samples inside the picture.
    ///
    /// @param pThreadCount    passed to DivideWork unchanged
    /// @param pSource         plane of pWidth * pHeight floats; not changed unless it is pDest
    /// @param pDest           plane of pWidth * pHeight floats; may be the same plane as pSource
    /// @param pWidth          pixels
    /// @param pHeight         pixels
    /// @param pSigma          standard deviation in pixels. If it is not above 0 or is NaN, width x height floats are
    ///                        copied; none if that product is not above 0 or does not fit 32 bits
    /// @throws std::bad_array_new_length  with pSigma above 0, if pWidth * pHeight or the longer side is negative or
    ///                                    does not fit 32 bits
    /// @throws std::bad_alloc if memory runs out; nothing leaks
    static void FastGaussianBlur(int pThreadCount, float* pSource, float* pDest, int pWidth, int pHeight, float pSigma);
};

/// Slices rows from the grid by trilinear interpolation of its value floats, for cBilateral::Filter_Fast.
///
/// @param pSlot           worker slot, unused
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

/// Unpacks a record of 72 bytes for Filter_Fast_Interpolate_tile and returns null. Byte offsets behind the header:
///
///     16 pWidth     20 pSpaceSampling   24 pRangeSampling   28 pRangeMin   32 pMargin
///     36 pNx        40 pNy              48 pGrid            56 pInput      64 pOutput
SELVANE_API void* Filter_Fast_Interpolate_tile_threaded(void* pRecord);

/// Filters rows by brute force, for cBilateral::Filter_Ref. A window without rows (pKernelSize 1 or less) gives a NaN
/// with the bits 0x7FC00000.
///
/// @param pSlot           worker slot, unused
/// @param pStart, pEnd    first row and the row behind the last
/// @param pWidth, pHeight pixels of pInput and pResult
/// @param pKernelSize     K, weights in a row of the spatial kernel. The window of a pixel reaches from K / 2 before it
///                        to K / 2 - 1 behind it
/// @param pRangeLimit     samples whose value differs by more are skipped
/// @param pRangeScale     255 / pRangeLimit, the factor from a difference to its index in pRangeTable
/// @param pInput          plane, from its first row
/// @param pRangeTable     256 weights by difference
/// @param pSpatialKernel  K * K weights by distance, row by row, the centre at K / 2
/// @param pResult         plane, from its first row
SELVANE_API void Filter_Ref_Process_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pKernelSize,
                                         float pRangeLimit, float pRangeScale, float* pInput, float* pRangeTable,
                                         float* pSpatialKernel, float* pResult);

/// Unpacks a record of 72 bytes for Filter_Ref_Process_tile and returns null. Byte offsets behind the header:
///
///     16 pWidth     20 pHeight      24 pKernelSize      28 pRangeLimit   32 pRangeScale
///     40 pInput     48 pRangeTable  56 pSpatialKernel   64 pResult
SELVANE_API void* Filter_Ref_Process_tile_threaded(void* pRecord);

/// Runs the box filter along the rows pStart to pEnd - 1.
///
/// @param pSlot             worker slot, unused
/// @param pStart, pEnd      first row and the row behind the last
/// @param pWidth, pHeight   pixels of pSource and pDest
/// @param pRadius           R: the box covers the samples from i - R to i + R
/// @param pEdgeFraction     f: the two end samples weigh 1 - f
/// @param pNormalisation    pWidth floats: the sum of the weights that fall inside the picture
/// @param pSource, pDest    two planes that do not overlap, from their first row
SELVANE_API void FastGaussianBlur_Filter1_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pRadius,
                                               float pEdgeFraction, float* pNormalisation, float* pSource,
                                               float* pDest);

/// Unpacks a record of 56 bytes for FastGaussianBlur_Filter1_tile and returns null. Byte offsets behind the header:
///
///     16 pWidth           20 pHeight   24 pRadius   28 pEdgeFraction
///     32 pNormalisation   40 pSource   48 pDest
SELVANE_API void* FastGaussianBlur_Filter1_tile_threaded(void* pRecord);

/// Runs the box filter along the columns pStart to pEnd - 1. pNormalisation holds pHeight floats. Everything else is as
/// in FastGaussianBlur_Filter1_tile.
SELVANE_API void FastGaussianBlur_Filter2_tile(int pSlot, int pStart, int pEnd, int pWidth, int pHeight, int pRadius,
                                               float pEdgeFraction, float* pNormalisation, float* pSource,
                                               float* pDest);

/// Unpacks a record of 56 bytes for FastGaussianBlur_Filter2_tile and returns null. The offsets are those of
/// FastGaussianBlur_Filter1_tile_threaded.
SELVANE_API void* FastGaussianBlur_Filter2_tile_threaded(void* pRecord);

} // namespace Vornik

#endif
