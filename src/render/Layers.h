#ifndef SELVANE_RENDER_LAYERS_H
#define SELVANE_RENDER_LAYERS_H

// The small records that the stages of the renderer share, internal.

#include "base/Versions.h"

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

/// Widens the extremes by a value. NaN changes neither.
SELVANE_INLINE void Extend(sLayer& pLayer, float pValue)
{
    pLayer.fMax = pValue > pLayer.fMax ? pValue : pLayer.fMax;
    pLayer.fMin = pValue < pLayer.fMin ? pValue : pLayer.fMin;
}

/// Running extremes and sum of the new luminance. fMin begins at the product of the largest entries of the two tables,
/// which no pixel exceeds.
struct sLuminance
{
    float fMin;
    float fMax = 0.0f;
    double fSum = 0.0;

    /// Adds a pixel; call it in picture order. Required: a value that sets a new maximum is not compared with the
    /// minimum, so the minimum depends on the order. The last bit of the sum depends on the order too. NaN changes
    /// neither extreme.
    SELVANE_INLINE void Add(float pValue)
    {
        if (pValue > fMax)
            fMax = pValue;
        else
            fMin = pValue < fMin ? pValue : fMin;
        fSum += static_cast<double>(pValue);
    }
};

/// Black and white point on the scale of the new luminance.
struct sPoints
{
    float fBlack;
    float fWhite;
};

} // namespace Vornik

#endif
