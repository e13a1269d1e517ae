#ifndef SELVANE_TESTS_CURVE_BITS_H
#define SELVANE_TESTS_CURVE_BITS_H

// Floats compared by their bits, and the place of a virtual operation in its table.

#include "color/cVector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace SelvaneTest
{

inline uint32_t BitsOf(float pValue)
{
    uint32_t bits;
    std::memcpy(&bits, &pValue, sizeof bits);
    return bits;
}

inline float FloatOf(uint32_t pBits)
{
    float value;
    std::memcpy(&value, &pBits, sizeof value);
    return value;
}

/// Equal bits, or NaN on both sides: sign and payload of a NaN belong to the processor.
inline bool SameFloat(float pLeft, float pRight)
{
    return BitsOf(pLeft) == BitsOf(pRight) || (std::isnan(pLeft) && std::isnan(pRight));
}

inline bool SameVector(Vornik::cVector2 pLeft, Vornik::cVector2 pRight)
{
    return SameFloat(pLeft.x, pRight.x) && SameFloat(pLeft.y, pRight.y);
}

/// The slot of a virtual operation, counted from 0; the destructors take 0 and 1. The Itanium C++ ABI keeps the byte
/// offset in a pointer to member, with a 1 that says "virtual" in the same word or, on 64-bit Arm, in the next one.
template <class tMember>
ptrdiff_t SlotOf(tMember pMember)
{
    ptrdiff_t words[2];
    static_assert(sizeof words == sizeof pMember);
    std::memcpy(words, &pMember, sizeof words);
#if defined(__aarch64__)
    EXPECT_EQ(words[1] & 1, 1);
    return words[0] / static_cast<ptrdiff_t>(sizeof(void*));
#else
    EXPECT_EQ(words[0] & 1, 1);
    return (words[0] - 1) / static_cast<ptrdiff_t>(sizeof(void*));
#endif
}

/// The distance of a member from the start of its object, in bytes.
template <class tObject, class tField>
ptrdiff_t OffsetIn(const tObject& pObject, const tField& pField)
{
    return reinterpret_cast<const char*>(&pField) - reinterpret_cast<const char*>(&pObject);
}

} // namespace SelvaneTest

/// Two floats with the same bits, or two NaN.
#define EXPECT_SAME_FLOAT(pLeft, pRight)                                                                               \
    EXPECT_TRUE(::SelvaneTest::SameFloat(pLeft, pRight)) << (pLeft) << " is not " << (pRight)
#define ASSERT_SAME_FLOAT(pLeft, pRight)                                                                               \
    ASSERT_TRUE(::SelvaneTest::SameFloat(pLeft, pRight)) << (pLeft) << " is not " << (pRight)

#endif
