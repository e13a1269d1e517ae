#ifndef SELVANE_TESTS_SUPPORT_REFERENCE_NUMBERS_H
#define SELVANE_TESTS_SUPPORT_REFERENCE_NUMBERS_H

// The number rules that the slow twins of the library stand on. Nothing of the library is used here, so that a mistake
// on either side shows.

#include <cstdint>
#include <cstring>

namespace SelvaneTest
{

/// A rounding to float that no compiler may drop: the value goes through memory.
inline float Rounded(double pValue)
{
    volatile float rounded = static_cast<float>(pValue);
    return rounded;
}

/// The float with these bits.
inline float FromBits(std::uint32_t pBits)
{
    float value = 0.0f;
    std::memcpy(&value, &pBits, sizeof value);
    return value;
}

/// Truncation towards zero to 32 bits signed; NaN gives 0, what does not fit gives the nearer end.
inline std::int32_t Truncated(float pValue)
{
    if (pValue != pValue) return 0;
    if (pValue >= 2147483648.0f) return 2147483647;
    if (pValue <= -2147483648.0f) return -2147483647 - 1;
    return static_cast<std::int32_t>(pValue);
}

/// Truncation towards zero to 32 bits unsigned; NaN gives 0, what does not fit gives the nearer end.
inline std::uint32_t TruncatedUnsigned(float pValue)
{
    if (pValue != pValue) return 0;
    if (pValue >= 4294967296.0f) return 4294967295u;
    if (pValue <= 0.0f) return 0;
    return static_cast<std::uint32_t>(pValue);
}

/// Index into a table of 65536 entries for a value on the unit interval.
inline int UnitIndex(float pValue)
{
    if (pValue < 0.0f) return 0;
    if (pValue <= 1.0f) return static_cast<int>(TruncatedUnsigned(pValue * 65535.0f) & 0xFFFFu);
    return 65535;
}

/// The larger, where a NaN counts as absent.
inline float Larger(float pA, float pB)
{
    if (pA != pA) return pB;
    if (pB != pB) return pA;
    return pA > pB ? pA : pB;
}

/// The smaller, where a NaN counts as absent.
inline float Smaller(float pA, float pB)
{
    if (pA != pA) return pB;
    if (pB != pB) return pA;
    return pA < pB ? pA : pB;
}

} // namespace SelvaneTest

#endif
