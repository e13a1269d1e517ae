#ifndef SELVANE_LIB_PICTURE_STATISTICS_H
#define SELVANE_LIB_PICTURE_STATISTICS_H

// What is measured of the luminance of the input, by a histogram that adds up in any order.

#include "picture/Picture.h"

#include <bit>
#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// Counts luminances by the upper 16 bits of the float: 128 bins an octave, a hundredth of the value each.
class cLuminanceHistogram
{
public:
    cLuminanceHistogram() : fCounters(kBins) {}

    void Add(float pLuminance)
    {
        const float luminance = pLuminance > 0.0f ? pLuminance : 0.0f;
        fCounters[BinOf(luminance)]++;
        fMin = luminance < fMin ? luminance : fMin;
        fMax = luminance > fMax ? luminance : fMax;
    }

    void Add(const cLuminanceHistogram& pOther);

    /// Moves a pixel that was lowered, and the largest value with it.
    void Lower(float pFrom, float pTo);

    int64_t Count() const;

    /// Upper end of the bin of the pixel that has pAbove pixels above it.
    float Below(int64_t pAbove) const;

    /// The levels that the suggestion looks at.
    sLevels Levels() const;

    /// Fills the measures of the histogram; leaves the counts of samples.
    void Measure(sStatistics& pStatistics) const;

    float Max() const { return fMax; }

private:
    static constexpr size_t kBins = 32768;
    static size_t BinOf(float pLuminance) { return std::bit_cast<uint32_t>(pLuminance) >> 16; }
    static float EdgeOf(size_t pBin) { return std::bit_cast<float>(static_cast<uint32_t>(pBin) << 16); }
    static double LogOf(size_t pBin);

    std::vector<uint32_t> fCounters;
    float fMin = 3e38f;
    float fMax = 0.0f;
};

/// Lowers the few pixels that outshine all others to twice the luminance of those. Returns how many.
int64_t TameHotPixels(cPicture& pPicture, cLuminanceHistogram& pHistogram, cRun& pRun);

/// Gives the pixels that do not count the mean luminance, in grey, so that nothing of them is seen in the others.
void GreyInvisiblePixels(cPicture& pPicture, cRun& pRun);

} // namespace SelvaneLib

#endif
