#ifndef SELVANE_HOST_EXPLAIN_AREA_MEAN_H
#define SELVANE_HOST_EXPLAIN_AREA_MEAN_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneHost
{

/// Interleaved floats, row by row without gaps.
struct sFloats
{
    int fWidth = 0;
    int fHeight = 0;
    int fChannels = 1;
    std::vector<float> fValues;
};

/// Reduces a picture that comes row by row. Each pixel of the result is the mean of the pixels in its area; the areas
/// share the picture out among them, so a picture that is small enough stays as it is.
class cAreaMean
{
public:
    /// @param pToWidth,pToHeight size of the result, at least 1 and at most that of the picture
    cAreaMean(int pWidth, int pHeight, int pChannels, int pToWidth, int pToHeight);

    /// Takes the next row from the top, width * channels values. NaN counts as 0.
    void AddRow(const float* pRow);

    /// The result, after the last row.
    sFloats Mean() const;

private:
    size_t Cell(int pColumn) const;

    int fWidth, fHeight, fChannels;
    int fToWidth, fToHeight;
    int fRow = 0;
    std::vector<double> fSums;
    std::vector<int64_t> fCounts;
};

} // namespace SelvaneHost

#endif
