#ifndef SELVANE_LIB_PICTURE_HALF_H
#define SELVANE_LIB_PICTURE_HALF_H

// Half floats, IEEE 754 binary16: 1 bit sign, 5 bits exponent with a bias of 15, 10 bits fraction.

#include <bit>
#include <cmath>
#include <cstdint>

namespace SelvaneLib
{

inline float FromHalf(uint16_t pHalf)
{
    const int exponent = (pHalf >> 10) & 31;
    const int fraction = pHalf & 1023;
    float value = 0.0f;
    if (exponent == 31)
        value = fraction != 0 ? NAN : INFINITY;
    else if (exponent == 0)
        value = std::ldexp(static_cast<float>(fraction), -24);
    else
        value = std::ldexp(static_cast<float>(fraction + 1024), exponent - 25);
    return (pHalf & 0x8000) != 0 ? -value : value;
}

/// Rounds a value of 0 to 1 to the nearest half, ties to even.
inline uint16_t ToHalf(float pValue)
{
    const uint32_t bits = std::bit_cast<uint32_t>(pValue);
    const uint32_t exponent = bits >> 23;
    if (exponent < 113) { // below 2^-14, where halves are multiples of 2^-24
        return static_cast<uint16_t>(std::lrint(static_cast<double>(pValue) * 0x1p24));
    }
    const uint32_t rounded = bits + 0xFFF + ((bits >> 13) & 1);
    return static_cast<uint16_t>((rounded >> 13) - (112u << 10));
}

} // namespace SelvaneLib

#endif
