#ifndef SELVANE_RENDER_LAYERS_H
#define SELVANE_RENDER_LAYERS_H

// The base and the detail layer and what is measured of them, internal.

#include <cstdint>

namespace Vornik
{

constexpr float kBeyond = 1e30f; // a running minimum begins here, a running maximum at -kBeyond

/// Measures of the base or the detail layer, in decades. The initial values are the measures of an empty picture.
struct sLayer
{
    float fMin = kBeyond;
    float fMax = -kBeyond;
    double fMean = 0.0; ///< mean of the base, or of the absolute value of the detail

    float Range() const { return fMax - fMin; }
};

struct sLayers
{
    sLayer fBase;
    sLayer fDetail;
};

/// How the means add up.
enum class eSum
{
    eInOrder, ///< in picture order, which decides the last bits
    eInLanes, ///< many sums side by side, in half the time: each mean within MeanError of the one in picture order
};

/// Measures the base, and the detail that remains of the logarithm, over pCount pixels.
/// @param pDetail takes the detail; null if nobody reads it
sLayers MeasureLayers(const float* pLogLuminance, const float* pBase, float* pDetail, int64_t pCount, eSum pSum);

/// Bounds the distance between the means of pCount pixels added up in two orders. Any order of n additions is within
/// n * 2^-53 * the sum of the sizes of the exact sum, and no size is above that of an extreme; half is left for the
/// roundings of the mean.
double MeanError(const sLayer& pLayer, int64_t pCount);

} // namespace Vornik

#endif
