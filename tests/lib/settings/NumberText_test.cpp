#include "settings/NumberText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

using SelvaneLib::NumberText;

namespace
{

float FloatOf(uint32_t pBits)
{
    float value;
    std::memcpy(&value, &pBits, sizeof(value));
    return value;
}

uint32_t BitsOf(float pValue)
{
    uint32_t bits;
    std::memcpy(&bits, &pValue, sizeof(bits));
    return bits;
}

/// The nearest double of the text, then the nearest float.
uint32_t Reread(float pValue)
{
    return BitsOf(static_cast<float>(std::strtod(NumberText(pValue).c_str(), nullptr)));
}

} // namespace

TEST(NumberText, IsShortAndNeverLooksLikeAnInteger)
{
    EXPECT_EQ(NumberText(0.0f), "0.0");
    EXPECT_EQ(NumberText(-0.0f), "-0.0");
    EXPECT_EQ(NumberText(1.0f), "1.0");
    EXPECT_EQ(NumberText(-10.0f), "-10.0");
    EXPECT_EQ(NumberText(0.1f), "0.1");
    EXPECT_EQ(NumberText(0.33333334f), "0.33333334");
    EXPECT_EQ(NumberText(1e30f), "1e+30");
    EXPECT_EQ(NumberText(1e-45f), "1e-45");
    EXPECT_EQ(NumberText(16777216.0f), "16777216.0");
    EXPECT_EQ(NumberText(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(NumberText(-std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(NumberText(std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(NumberText, ReadsBackAsTheSameFloatByWayOfADouble)
{
    std::mt19937 random(15);
    for (int i = 0; i < 200000; i++) {
        const float value = FloatOf(static_cast<uint32_t>(random()));
        if (value != value || value - value != 0.0f) continue;
        ASSERT_EQ(Reread(value), BitsOf(value)) << NumberText(value);
    }
}

TEST(NumberText, IsLongerWhereTwoRoundingsWouldMissTheFloat)
{
    for (const uint32_t bits : {0x15AE43FDu, 0x95AE43FDu}) {
        EXPECT_EQ(Reread(FloatOf(bits)), bits);
        EXPECT_GT(NumberText(FloatOf(bits)).size(), std::strlen("-7.038531e-26"));
    }
}
