#ifndef SELVANE_COLOR_CVECTOR_H
#define SELVANE_COLOR_CVECTOR_H

namespace Vornik
{

/// Two floats: a CIE chromaticity (x, y), a curve point or a tangent. Passed and returned by value.
class cVector2
{
public:
    /// Sets both numbers to 0.
    constexpr cVector2() : x(0.0f), y(0.0f) {}
    /// Sets both numbers.
    constexpr cVector2(float pX, float pY) : x(pX), y(pY) {}

    float x; ///< first number
    float y; ///< second number
};

/// Three floats: XYZ, RGB, or hue, saturation and brightness. Passed and returned by value.
class cVector3
{
public:
    /// Sets all numbers to 0.
    constexpr cVector3() : x(0.0f), y(0.0f), z(0.0f) {}
    /// Sets all numbers.
    constexpr cVector3(float pX, float pY, float pZ) : x(pX), y(pY), z(pZ) {}

    float x; ///< first number
    float y; ///< second number
    float z; ///< third number
};

} // namespace Vornik

#endif
