#ifndef SELVANE_BASE_NUMERIC_H
#define SELVANE_BASE_NUMERIC_H

// Conversions between floats and integers for all folders, internal. C++ leaves the conversion of a float outside the
// integer's range undefined. The truncations below saturate, and NaN gives 0.

#include "base/Versions.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <new>

namespace Vornik
{

constexpr float kToSample16 = 65535.0f;
constexpr float kFromSample16 = 0x1.0001p-16f;           // 1 / 65535
constexpr double kFromSample16D = 0x1.0001000100010p-16; // 1 / 65535 in double, 1.5259021896696422e-05
constexpr float kToSample8 = 255.0f;
constexpr float kFromSample8 = 0x1.010102p-8f; // 1 / 255
constexpr int kTableSize = 65536;              // entries of every table on the unit interval

/// Truncates towards zero, saturating to [-2^31, 2^31 - 1]; NaN gives 0.
SELVANE_INLINE int32_t TruncateToInt32(float pValue)
{
    const bool inside = pValue >= -0x1p31f && pValue < 0x1p31f;
    const int32_t whole = static_cast<int32_t>(inside ? pValue : 0.0f);
    const int32_t end = pValue >= 0x1p31f ? INT32_MAX : (pValue < -0x1p31f ? INT32_MIN : 0);
    return inside ? whole : end;
}

/// Truncates towards zero, saturating to [-2^31, 2^31 - 1]; NaN gives 0.
SELVANE_INLINE int32_t TruncateToInt32(double pValue)
{
    const bool inside = pValue > -0x1.00000002p31 && pValue < 0x1p31;
    const int32_t whole = static_cast<int32_t>(inside ? pValue : 0.0);
    const int32_t end = pValue >= 0x1p31 ? INT32_MAX : (pValue < 0.0 ? INT32_MIN : 0);
    return inside ? whole : end;
}

/// Truncates towards zero, saturating to [0, 2^32 - 1]; NaN gives 0.
SELVANE_INLINE uint32_t TruncateToUInt32(float pValue)
{
    const bool inside = pValue > 0.0f && pValue < 0x1p32f;
    const uint32_t whole = static_cast<uint32_t>(inside ? pValue : 0.0f);
    return pValue >= 0x1p32f ? UINT32_MAX : whole;
}

/// The larger of pValue and 0; never -0. For any number but NaN. On bits, as an integer maximum: g++ makes masks and
/// branches of two nested selects of floats, and the order of positive floats is that of their bits.
SELVANE_INLINE float RaiseTo0(float pValue)
{
    return std::bit_cast<float>(std::max(std::bit_cast<int32_t>(pValue), 0));
}

/// The smaller of pValue and pMost, which is above 0. For any number but NaN.
SELVANE_INLINE float LowerTo(float pValue, float pMost)
{
    return std::bit_cast<float>(std::min(std::bit_cast<int32_t>(pValue), std::bit_cast<int32_t>(pMost)));
}

/// pCondition ? pFirst : pSecond, on bits. Of nested selects g++ makes masks for each combination of the conditions, a
/// quarter of the time of a loop that packs pixels.
SELVANE_INLINE float Choose(bool pCondition, float pFirst, float pSecond)
{
    const uint32_t mask = pCondition ? UINT32_MAX : 0U;
    return std::bit_cast<float>((std::bit_cast<uint32_t>(pFirst) & mask) | (std::bit_cast<uint32_t>(pSecond) & ~mask));
}

/// Index of pValue in a table of 65536 entries on the unit interval. Below 0 gives 0; above 1 or NaN gives 65535. Any
/// other value is multiplied by 65535 and truncated.
SELVANE_INLINE int UnitIndex(float pValue)
{
    const float scaled = pValue * kToSample16;
    return static_cast<int>(RaiseTo0(scaled < kToSample16 ? scaled : kToSample16));
}

/// Index of pValue in a table of 65536 entries. Entry 0 stands for pMin; pScale is the number of entries per unit.
/// Below the range or NaN gives 0, above the range gives 65535.
SELVANE_INLINE int RangeIndex(float pValue, float pMin, float pScale)
{
    const float scaled = (pValue - pMin) * pScale;
    return static_cast<int>(LowerTo(scaled > 0.0f ? scaled : 0.0f, kToSample16));
}

/// pFirst * pSecond as an array length. Throws std::bad_array_new_length if it is negative or does not fit an int.
inline int CheckedCount(int64_t pFirst, int64_t pSecond)
{
    int64_t count = 0;
    if (__builtin_mul_overflow(pFirst, pSecond, &count) || count < 0 || count > INT32_MAX)
        throw std::bad_array_new_length();
    return static_cast<int>(count);
}

} // namespace Vornik

#endif
