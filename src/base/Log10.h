#ifndef SELVANE_BASE_LOG10_H
#define SELVANE_BASE_LOG10_H

// The base-10 logarithm of the per-pixel loops, internal: the same bits with every C library, in loops that vectorise.
//
// For every float it gives what log10f of glibc 2.36 gives on x86-64. Others round some values differently: 124 floats
// on 64-bit Arm, 1.4 per cent of all where log10f is rounded correctly. The form is that of Sun's fdlibm: x is 2^n * m,
// with m in [1, 2) for n >= 0 and in [0.5, 1) below 0, and then
//
//     log10(x) = n * log10(2) + log10(e) * ln(m)
//
// in float steps, none fused, with log10(2) in two parts. ln(m) is computed in double and rounded to float. It comes
// from a table of 33 entries, one for each 32nd of [0.5, 2), shifted by 0.2, and a cubic: with c the entry's 1 / m,
//
//     r = m * c - 1,   ln(m) = -ln(c) + r + r^2 * (a0 * r^2 + a1 * r + a2)
//
// Table and cubic are those of Arm's Optimized Routines, logf, which glibc has since 2.27, with the power of 2 of each
// entry worked in. The cubic's error is 0.3 of a float's last place: with other numbers some results would differ.

#include "base/Versions.h"

#include <bit>
#include <cstdint>

namespace Vornik
{

/// An entry of the table: c, and -ln(c).
struct sLogEntry
{
    double fInverse;
    double fLog;
};

constexpr int kLogEntries = 33;
alignas(64) inline constexpr sLogEntry kLogTable[kLogEntries] = {
    {0x1.0000000000000p+1, -0x1.62e42fefa39efp-1},
    {0x1.e608cfd9a47acp+0, -0x1.483e8591b1457p-1},
    {0x1.ca4b31f026aa0p+0, -0x1.2a27889b37418p-1},
    {0x1.b2036576afce6p+0, -0x1.0e489a132032dp-1},
    {0x1.9c2d163a1aa2dp+0, -0x1.e7b42f7635026p-2},
    {0x1.886e6037841edp+0, -0x1.b56fa3553f4fdp-2},
    {0x1.767dcf5534862p+0, -0x1.85855a63d85d5p-2},
    {0x1.661ec79f8f3bep+0, -0x1.57bf7808caadep-2},
    {0x1.571ed4aaf883dp+0, -0x1.2bef0a7c06ddbp-2},
    {0x1.49539f0f010b0p+0, -0x1.01eae7f513a67p-2},
    {0x1.3c995b0b80385p+0, -0x1.b31d8a68224e9p-3},
    {0x1.30d190c8864a5p+0, -0x1.6574f0ac07758p-3},
    {0x1.25e227b0b8ea0p+0, -0x1.1aa2bc79c8100p-3},
    {0x1.1bb4a4a1a343fp+0, -0x1.a4e76ce8c0e5ep-4},
    {0x1.12358f08ae5bap+0, -0x1.1973c5a611cccp-4},
    {0x1.0953f419900a7p+0, -0x1.252f438e10c1ep-5},
    {0x1.0000000000000p+0, 0x0.0p+0},
    {0x1.e608cfd9a47acp-1, 0x1.aa5aa5df25984p-5},
    {0x1.ca4b31f026aa0p-1, 0x1.c5e53aa362eb4p-4},
    {0x1.b2036576afce6p-1, 0x1.526e57720db08p-3},
    {0x1.9c2d163a1aa2dp-1, 0x1.bc2860d224770p-3},
    {0x1.886e6037841edp-1, 0x1.1058bc8a07ee1p-2},
    {0x1.767dcf5534862p-1, 0x1.4043057b6ee09p-2},
    {0x1.661ec79f8f3bep-1, 0x1.6e08e7d67c900p-2},
    {0x1.571ed4aaf883dp-1, 0x1.99d9556340603p-2},
    {0x1.49539f0f010b0p-1, 0x1.c3dd77ea33977p-2},
    {0x1.3c995b0b80385p-1, 0x1.ec399aab3616ap-2},
    {0x1.30d190c8864a5p-1, 0x1.0986f3c4a1c19p-1},
    {0x1.25e227b0b8ea0p-1, 0x1.1c3b80d1319afp-1},
    {0x1.1bb4a4a1a343fp-1, 0x1.2e4742528b823p-1},
    {0x1.12358f08ae5bap-1, 0x1.3fb5b73ae1656p-1},
    {0x1.0953f419900a7p-1, 0x1.50913bb6c292dp-1},
    {0x1.0000000000000p-1, 0x1.62e42fefa39efp-1},
};

/// A float on its way to its logarithm.
struct sLogParts
{
    float fMantissa; ///< m, in [0.5, 2)
    float fExponent; ///< n, one more below 0
    int fEntry;      ///< of kLogTable
};

/// Takes apart a float above 0 and below infinity.
SELVANE_INLINE sLogParts SplitForLog(float pValue)
{
    const bool subnormal = pValue < 0x1p-126f;
    const float scaled = subnormal ? pValue * 0x1p25f : pValue;
    const int32_t bits = std::bit_cast<int32_t>(scaled);
    const int32_t exponent = (bits >> 23) - (subnormal ? 127 + 25 : 127);
    const int32_t below = exponent < 0 ? 1 : 0;
    const int32_t mantissa = (bits & 0x7FFFFF) | ((127 - below) << 23);
    return {std::bit_cast<float>(mantissa), static_cast<float>(exponent + below), (mantissa - 0x3EFB0000) >> 19};
}

/// The logarithm, from the parts and their entry.
SELVANE_INLINE float JoinLog10(float pMantissa, float pExponent, double pInverse, double pLog)
{
    const double r = static_cast<double>(pMantissa) * pInverse - 1.0;
    const double r2 = r * r;
    const double linear = 0x1.5575b0be00b6ap-2 * r + -0x1.ffffef20a4123p-2;
    const double cubic = -0x1.00ea348b88334p-2 * r2 + linear;
    const auto natural = static_cast<float>(cubic * r2 + (pLog + r));
    const float low = pExponent * 0x1.a84fb6p-21f + 0x1.bcb7b2p-2f * natural; // 7.9034152e-07, log10(e)
    return low + pExponent * 0x1.3441p-2f;                                    // 0.30102921; the two add up to log10(2)
}

/// What is not above 0 and finite: -infinity for zeros, NaN below 0, itself for infinity, a quiet form of itself for
/// NaN.
SELVANE_INLINE float Log10OfSpecial(float pValue)
{
    const uint32_t bits = std::bit_cast<uint32_t>(pValue);
    if (pValue != pValue) return std::bit_cast<float>(bits | 0x00400000U);
    if (pValue == 0.0f) return std::bit_cast<float>(0xFF800000U);
    return pValue < 0.0f ? std::bit_cast<float>(0x7FC00000U) : pValue;
}

/// log10f(pValue) for any float.
SELVANE_INLINE float Log10(float pValue)
{
    if (!(pValue > 0.0f && pValue < std::bit_cast<float>(0x7F800000U))) return Log10OfSpecial(pValue);
    const sLogParts parts = SplitForLog(pValue);
    const sLogEntry& entry = kLogTable[parts.fEntry];
    return JoinLog10(parts.fMantissa, parts.fExponent, entry.fInverse, entry.fLog);
}

} // namespace Vornik

#endif
