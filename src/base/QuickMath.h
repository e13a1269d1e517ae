#ifndef SELVANE_BASE_QUICKMATH_H
#define SELVANE_BASE_QUICKMATH_H

// Exponential and logarithm in double for tables of floats, internal: in loops that vectorise, with a bound of their
// error. An entry whose bounds round to one float is that float with any C library. Where they round to two, the C
// library decides; with the bounds below that is one entry in 2^17 or less.
//
//     function     argument                      relative error, less than
//     QuickExp     [-700, 700]                   2^-44
//     QuickLog     [2^-1022, 2^1023]             2^-49
//     QuickPower   base as above,                2^-42
//                  |power * log(base)| <= 100
//
// The steps of the bounds are in the comments; the tests compare with long double. Arguments outside give any double.

#include "base/Versions.h"

#include <bit>
#include <cstdint>

namespace Vornik
{

constexpr double kQuickExpError = 0x1p-44;
constexpr double kQuickPowerError = 0x1p-42;

/// e^pX = 2^k * e^r with |r| <= ln(2) / 2 and r exact to 2^-54. The series of e^r to r^11 leaves less than 2^-46.7; its
/// steps round by less than 2^-50.
SELVANE_INLINE double QuickExp(double pX)
{
    constexpr double kInverseLn2 = 0x1.71547652b82fep+0;
    constexpr double kLn2High = 0x1.62e42fefap-1; // 37 bits, so that its product with k is exact
    constexpr double kLn2Low = 0x1.cf79abc9e3b39p-40;
    constexpr double kRounder = 0x1.8p52; // added to a double below 2^51 it leaves the nearest integer in the low bits
    const double shifted = pX * kInverseLn2 + kRounder;
    const double k = shifted - kRounder;
    const double r = (pX - k * kLn2High) - k * kLn2Low;
    double series = 1.0 / 39916800.0;
    series = series * r + 1.0 / 3628800.0;
    series = series * r + 1.0 / 362880.0;
    series = series * r + 1.0 / 40320.0;
    series = series * r + 1.0 / 5040.0;
    series = series * r + 1.0 / 720.0;
    series = series * r + 1.0 / 120.0;
    series = series * r + 1.0 / 24.0;
    series = series * r + 1.0 / 6.0;
    series = series * r + 0.5;
    series = series * r + 1.0;
    series = series * r + 1.0;
    const uint64_t power = std::bit_cast<uint64_t>(shifted) << 52; // k in the place of the exponent
    return std::bit_cast<double>(std::bit_cast<uint64_t>(series) + power);
}

/// log(pX) = k * ln(2) + log(m) with m in [sqrt(1/2), sqrt(2)). With s = (m - 1) / (m + 1), |s| < 0.1716, log(m) is
/// 2 * (s + s^3 / 3 + ... + s^19 / 19); what follows is less than 2^-55 of it. The division and the sums round by less
/// than 2^-50.
SELVANE_INLINE double QuickLog(double pX)
{
    constexpr uint64_t kSqrtHalf = 0x3FE6A09E667F3BCD;
    constexpr double kLn2High = 0x1.62e42fefap-1;
    constexpr double kLn2Low = 0x1.cf79abc9e3b39p-40;
    const uint64_t offset = std::bit_cast<uint64_t>(pX) - kSqrtHalf;
    const int64_t exponent = static_cast<int64_t>(offset) >> 52;
    const double m = std::bit_cast<double>((offset & 0x000FFFFFFFFFFFFF) + kSqrtHalf);
    // The exponent as a double, without a conversion that only the widest vectors have.
    const double k = std::bit_cast<double>(static_cast<uint64_t>(exponent) + 0x4338000000000000) - 0x1.8p52;
    const double s = (m - 1.0) / (m + 1.0);
    const double s2 = s * s;
    double series = 1.0 / 19.0;
    series = series * s2 + 1.0 / 17.0;
    series = series * s2 + 1.0 / 15.0;
    series = series * s2 + 1.0 / 13.0;
    series = series * s2 + 1.0 / 11.0;
    series = series * s2 + 1.0 / 9.0;
    series = series * s2 + 1.0 / 7.0;
    series = series * s2 + 0.2;
    series = series * s2 + 1.0 / 3.0;
    const double log = 2.0 * s + 2.0 * s * (s2 * series);
    return k * kLn2High + (log + k * kLn2Low);
}

/// pBase^pPower.
SELVANE_INLINE double QuickPower(double pBase, double pPower)
{
    return QuickExp(pPower * QuickLog(pBase));
}

/// A value with a bound of its relative error.
struct sBounded
{
    double fValue;
    double fError;
};

/// The two floats that the bounds round to.
struct sBetweenFloats
{
    float fLow;
    float fHigh;

    SELVANE_INLINE bool IsCertain() const { return fLow == fHigh; }
};

SELVANE_INLINE sBetweenFloats Rounded(const sBounded& pValue)
{
    const double error = pValue.fValue * pValue.fError;
    return {static_cast<float>(pValue.fValue - error), static_cast<float>(pValue.fValue + error)};
}

} // namespace Vornik

#endif
