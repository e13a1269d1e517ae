#ifndef SELVANE_TESTS_TWIN_REFERENCE_FILTER_H
#define SELVANE_TESTS_TWIN_REFERENCE_FILTER_H

// The edge-preserving filter of the twin: every cell of the grid by itself, no tiles.

#include <cstdint>
#include <vector>

namespace SelvaneTwin
{

struct sFilterInput
{
    const std::vector<float>* plane; ///< width x height values, row by row
    int width;
    int height;
    float space;    ///< pixels a cell
    float range;    ///< units a cell
    float rangeMin; ///< lowest value
    float rangeMax; ///< highest value
    bool wrap;      ///< rows are periodic
};

/// Cells of the grid along each axis, in 64 bits since refused shapes do not fit 32.
struct sGridShape
{
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;

    std::int64_t Floats() const { return 2 * x * y * z; }
};

sGridShape MeasureGrid(const sFilterInput& pInput);

/// True where the filter answers with the exception for a bad array length before it does anything.
bool IsRefused(const sFilterInput& pInput);

struct sFilterResult
{
    std::vector<float> plane;
    bool ownPlane = false;    ///< some sample counted as an end of the range, so a plane of its own was read
    long skippedSamples = 0;  ///< wrapped samples before the plane
    long borrowedSamples = 0; ///< wrapped samples before the start of their row
    long emptyCells = 0;      ///< interior cells without weight
    long cellsBeyondRow = 0;  ///< splats past the last column, which rounding could cause
};

sFilterResult Filter(const sFilterInput& pInput);

} // namespace SelvaneTwin

#endif
