#ifndef SELVANE_RENDER_LAYERS_H
#define SELVANE_RENDER_LAYERS_H

// The small records that the stages of the renderer hand to each other, internal.

#include "base/Versions.h"

namespace Vornik
{

constexpr float kBeyond = 1e30f; // where a running minimum begins; a running maximum begins at its negative

/// What is measured of the base or of the detail layer, in decades. The values of an empty picture stand here.
struct sLayer
{
    float fMin = kBeyond;
    float fMax = -kBeyond;
    double fMean = 0.0; ///< of the base; of the absolute value of the detail

    float Range() const { return fMax - fMin; }
};

/// Takes a value into the extremes. NaN changes neither.
SELVANE_INLINE void Extend(sLayer& pLayer, float pValue)
{
    pLayer.fMax = pValue > pLayer.fMax ? pValue : pLayer.fMax;
    pLayer.fMin = pValue < pLayer.fMin ? pValue : pLayer.fMin;
}

/// Running extremes and sum of the new luminance. It begins with a minimum at the product of the largest entries of the
/// two tables, which no pixel exceeds.
struct sLuminance
{
    float fMin;
    float fMax = 0.0f;
    double fSum = 0.0;

    /// Takes the pixels from the top left to the bottom right. Required: a value that sets a new maximum is not tried
    /// for the minimum, so the minimum depends on the order. So does the last bit of the sum. NaN changes neither
    /// extreme.
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
