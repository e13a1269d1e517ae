#ifndef SELVANE_RENDER_CTMRENDERER_POINTS_H
#define SELVANE_RENDER_CTMRENDERER_POINTS_H

// Black and white point from a histogram of the new luminance, internal.

#include "render/Luminance.h"

#include <cstdint>
#include <memory>

namespace Vornik
{

/// Black and white point on the scale of the new luminance.
struct sPoints
{
    float fBlack;
    float fWhite;
};

struct sFree
{
    void operator()(void* pBlock) const;
};

/// The counters of the bins.
using tCounters = std::unique_ptr<uint32_t[], sFree>;

/// Returns new counters, all 0; null without memory.
tCounters NewCounters();

/// Histogram of the new luminance between its extremes, with two scans that find the bin of a share of the pixels.
class cHistogram
{
public:
    /// Counts the luminances of the picture.
    cHistogram(tCounters pCounters, const cLuminanceRows& pPicture, const sLuminance& pExtremes);

    /// The points that clip pBlackClip and pWhiteClip per cent of the pixels, to the precision of a bin.
    sPoints PointsFor(float pBlackClip, float pWhiteClip) const;

    /// Prints the percentiles as a progress line.
    void LogPercentiles() const;

private:
    uint32_t& Counter(int pBin) const { return fCounters.get()[pBin]; }
    template <class tStop>
    int Rise(tStop pStop) const;
    int Fall(float pLimit) const;
    float PointAt(int pBin) const;
    double PrintedPointAt(int pBin) const;

    tCounters fCounters;
    float fWidth;  ///< pixels
    float fHeight; ///< pixels
    float fPixels; ///< their product
    float fMin;
    float fScale; ///< bins per unit of luminance
    float fBinWidth;
};

} // namespace Vornik

#endif
