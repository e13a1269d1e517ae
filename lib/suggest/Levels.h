#ifndef SELVANE_LIB_SUGGEST_LEVELS_H
#define SELVANE_LIB_SUGGEST_LEVELS_H

// Where the luminance of a picture lies. Taken on the full picture: a reduced one has lost its lamps.

#include <cstddef>
#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// Percentiles of luminance. All are log10 of the luminance, white at 0. Only pixels above 0 count.
struct sLevels
{
    double fLow = 0.0;    ///< 1 % of the pixels lie below
    double fMiddle = 0.0; ///< the median
    double fHigh = 0.0;   ///< 99.75 % of the pixels lie below
    double fMean = 0.0;   ///< mean, where pixels below fLow count as fLow and pixels above fHigh as fHigh
    bool fIsEmpty = true; ///< no pixel counts; the others are 0
};

/// Counts pixels into bins of luminance: 64 bins a doubling, so that a bin is 0.007 decades wide at
/// most. The order of
/// the pixels does not matter. Parts of a picture can be counted apart and joined.
class cLevelCount
{
public:
    cLevelCount();

    /// Counts pixels of one luminance. One that is not above 0, or not finite, does not count.
    void Add(float pLuminance, uint32_t pPixels = 1);
    /// Counts pixels of interleaved X, Y, Z by their Y.
    void AddXYZ(const float* pXYZ, size_t pPixels);
    /// Adds the pixels that another object has counted.
    void Join(const cLevelCount& pOther);
    sLevels Levels() const;

private:
    std::vector<uint64_t> Sums() const;

    std::vector<uint32_t> fBins; // four tables, which add up; a picture has less than 2^32 pixels
};

} // namespace SelvaneLib

#endif
