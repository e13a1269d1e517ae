#ifndef SELVANE_TESTS_LIB_FORMULAS_H
#define SELVANE_TESTS_LIB_FORMULAS_H

// Curves, matrices and half floats by their published formulas, in double: what the tests expect.

#include "selvane.h"

#include <array>
#include <cmath>
#include <cstdint>

namespace SelvaneTest
{

using tVector = std::array<double, 3>;
using tMatrix = std::array<tVector, 3>;

inline tVector Times(const tMatrix& pM, const tVector& pV)
{
    tVector result{};
    for (size_t row = 0; row < 3; row++)
        for (size_t k = 0; k < 3; k++)
            result[row] += pM[row][k] * pV[k];
    return result;
}

inline tMatrix Times(const tMatrix& pA, const tMatrix& pB)
{
    tMatrix result{};
    for (size_t row = 0; row < 3; row++)
        for (size_t column = 0; column < 3; column++)
            for (size_t k = 0; k < 3; k++)
                result[row][column] += pA[row][k] * pB[k][column];
    return result;
}

/// By cofactors.
inline tMatrix Inverse(const tMatrix& m)
{
    tMatrix result{};
    const auto cofactor = [&](size_t r, size_t c) {
        const size_t r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    for (size_t r = 0; r < 3; r++)
        for (size_t c = 0; c < 3; c++)
            result[c][r] = cofactor(r, c) / determinant;
    return result;
}

/// x and y of red, green, blue, white: as the standards print them, in the order of selvane_primaries.
constexpr double kChromaticities[7][8] = {
    {0.64, 0.33, 0.30, 0.60, 0.15, 0.06, 0.3127, 0.3290},             // IEC 61966-2-1
    {0.64, 0.33, 0.21, 0.71, 0.15, 0.06, 0.3127, 0.3290},             // Adobe RGB (1998)
    {0.7347, 0.2653, 0.1596, 0.8404, 0.0366, 0.0001, 0.3457, 0.3585}, // ISO 22028-2
    {0.680, 0.320, 0.265, 0.690, 0.150, 0.060, 0.3127, 0.3290},       // SMPTE EG 432-1, white D65
    {0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3127, 0.3290},       // ITU-R BT.2020
    {0.7347, 0.2653, 0.0, 1.0, 0.0001, -0.0770, 0.32168, 0.33767},    // SMPTE ST 2065-1
    {0.713, 0.293, 0.165, 0.830, 0.128, 0.044, 0.32168, 0.33767},     // ACES S-2014-004
};

constexpr tVector kD50 = {0.9642, 1.0, 0.8249}; // ICC.1:2010, 6.3.4.3

inline tVector FromChromaticity(double pX, double pY)
{
    return {pX / pY, 1.0, (1.0 - pX - pY) / pY};
}

/// The Bradford adaptation from a white to D50 (ICC.1:2010, annex E).
inline tMatrix ToD50(const tVector& pWhite)
{
    const tMatrix cone = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
    const tVector from = Times(cone, pWhite), to = Times(cone, kD50);
    const tMatrix scale = {{{to[0] / from[0], 0, 0}, {0, to[1] / from[1], 0}, {0, 0, to[2] / from[2]}}};
    return Times(Inverse(cone), Times(scale, cone));
}

/// Linear RGB to XYZ relative to D50.
inline tMatrix ToXYZ(const double* pXY)
{
    const tVector red = FromChromaticity(pXY[0], pXY[1]);
    const tVector green = FromChromaticity(pXY[2], pXY[3]);
    const tVector blue = FromChromaticity(pXY[4], pXY[5]);
    const tVector white = FromChromaticity(pXY[6], pXY[7]);
    const tMatrix columns = {{{red[0], green[0], blue[0]}, {red[1], green[1], blue[1]}, {red[2], green[2], blue[2]}}};
    const tVector amounts = Times(Inverse(columns), white);
    tMatrix m = columns;
    for (tVector& row : m)
        for (size_t k = 0; k < 3; k++)
            row[k] *= amounts[k];
    return Times(ToD50(white), m);
}

inline double SrgbDecode(double pSample)
{
    return pSample <= 0.04045 ? pSample / 12.92 : std::pow((pSample + 0.055) / 1.055, 2.4);
}

inline double SrgbEncode(double pLinear)
{
    return pLinear <= 0.0031308 ? pLinear * 12.92 : 1.055 * std::pow(pLinear, 1 / 2.4) - 0.055;
}

inline double Rec2020Decode(double pSample)
{
    return pSample < 4.5 * 0.018053968510807 ? pSample / 4.5
                                             : std::pow((pSample + 0.09929682680944) / 1.09929682680944, 1 / 0.45);
}

inline double Rec2020Encode(double pLinear)
{
    return pLinear < 0.018053968510807 ? 4.5 * pLinear : 1.09929682680944 * std::pow(pLinear, 0.45) - 0.09929682680944;
}

/// The sample of a linear value in a target's space, both 0 to 1.
inline double EncodeIn(int pSpace, double pLinear)
{
    switch (pSpace) {
    case SELVANE_ADOBE_RGB:
        return std::pow(pLinear, 1 / 2.2);
    case SELVANE_PROPHOTO:
        return std::pow(pLinear, 1 / 1.8);
    case SELVANE_REC2020:
        return Rec2020Encode(pLinear);
    default:
        return SrgbEncode(pLinear);
    }
}

/// The value of a half float (IEEE 754 binary16) that is finite and not negative.
inline double HalfValue(unsigned pCode)
{
    const int exponent = static_cast<int>(pCode >> 10);
    const double fraction = static_cast<double>(pCode & 1023) / 1024.0;
    return exponent == 0 ? std::ldexp(fraction, -14) : std::ldexp(1.0 + fraction, exponent - 15);
}

/// The half float next below a value of 0 to 65504.
inline uint16_t HalfBelow(double pValue)
{
    uint16_t low = 0, high = 0x7C00;
    while (high - low > 1) {
        const auto middle = static_cast<uint16_t>((low + high) / 2);
        (HalfValue(middle) <= pValue ? low : high) = middle;
    }
    return low;
}

} // namespace SelvaneTest

#endif
