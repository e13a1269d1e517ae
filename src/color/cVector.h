#ifndef SELVANE_COLOR_CVECTOR_H
#define SELVANE_COLOR_CVECTOR_H

namespace Vornik
{

/// Two floats: a CIE chromaticity (x, y), a curve point or a tangent. Passed and returned by value.
class cVector2
{
public:
    constexpr cVector2() : x(0.0f), y(0.0f) {}
    constexpr cVector2(float pX, float pY) : x(pX), y(pY) {}

    float x;
    float y;
};

/// Three floats: XYZ, RGB, or hue, saturation and brightness. Passed and returned by value.
class cVector3
{
public:
    constexpr cVector3() : x(0.0f), y(0.0f), z(0.0f) {}
    constexpr cVector3(float pX, float pY, float pZ) : x(pX), y(pY), z(pZ) {}

    float x;
    float y;
    float z;
};

} // namespace Vornik

#endif
