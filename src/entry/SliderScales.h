#ifndef SELVANE_ENTRY_SLIDERSCALES_H
#define SELVANE_ENTRY_SLIDERSCALES_H

// From the sliders to the parameters of the renderer, internal.

#include <cmath>

namespace Vornik
{

/// pSlope * pValue + pOffset, fused in double and rounded to float once.
inline float Line(double pSlope, float pValue, double pOffset)
{
    return static_cast<float>(std::fma(pSlope, static_cast<double>(pValue), pOffset));
}

/// pFactor * pValue, in double and rounded to float once.
inline float Share(double pFactor, float pValue)
{
    return static_cast<float>(pFactor * static_cast<double>(pValue));
}

// The slopes differ on purpose on the two sides of zero. Zero, also -0, counts as positive; for smoothness it counts as
// negative. Compression jumps from 40 to 47 at zero.
inline float GlobalContrast(float pCompression)
{
    return pCompression < 0.0f ? Line(0.4, pCompression, 40.0) : Line(0.26, pCompression, 47.0);
}

inline float SpatialSize(float pRadius)
{
    return pRadius < 0.0f ? Line(-9.0, pRadius, 100.0) : Line(-7.0, pRadius, 100.0);
}

inline float RangeSize(float pSmoothness)
{
    return pSmoothness <= 0.0f ? Line(-10.0, pSmoothness, 60.0) : Line(-6.0, pSmoothness, 60.0);
}

} // namespace Vornik

#endif
