#include "picture/ExponentPlanes.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{

using SelvaneHost::sExponentPixel;
using SelvaneHost::ToExponentPixel;
using SelvaneHost::ToExponentRow;

void ExpectPixel(sExponentPixel pPixel, int pRed, int pGreen, int pBlue, int pExponent)
{
    EXPECT_EQ(pPixel.fRed, pRed);
    EXPECT_EQ(pPixel.fGreen, pGreen);
    EXPECT_EQ(pPixel.fBlue, pBlue);
    EXPECT_EQ(pPixel.fExponent, pExponent);
}

double Decode(int pMantissa, int pExponent)
{
    return pExponent == 0 ? 0.0 : std::ldexp(pMantissa, pExponent - 136);
}

TEST(ExponentPlanes, TheLargestChannelSetsTheExponent)
{
    ExpectPixel(ToExponentPixel(1.0F, 0.5F, 0.25F), 128, 64, 32, 129);
    ExpectPixel(ToExponentPixel(0.0F, 255.0F, 1.0F), 0, 255, 1, 136);
    ExpectPixel(ToExponentPixel(0.1F, 0.2F, 0.5F), 26, 51, 128, 128);
}

TEST(ExponentPlanes, MantissasAreRoundedToNearestHalvesUp)
{
    ExpectPixel(ToExponentPixel(200.0F, 10.49F, 10.5F), 200, 10, 11, 136);
    ExpectPixel(ToExponentPixel(200.49F, 11.5F, 0.49F), 200, 12, 0, 136);
}

TEST(ExponentPlanes, AMantissaOf256CarriesIntoTheExponentAndAllRoundAnew)
{
    ExpectPixel(ToExponentPixel(255.49F, 3.0F, 0.0F), 255, 3, 0, 136);
    ExpectPixel(ToExponentPixel(255.5F, 3.0F, 5.0F), 128, 2, 3, 137);
    // 2.5 is rounded once, as 1.25, to 1. Rounded twice it would become 3 and then 2.
    ExpectPixel(ToExponentPixel(255.9F, 2.5F, 255.9F), 128, 1, 128, 137);
}

TEST(ExponentPlanes, NegativeValuesAndNanAreZero)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    ExpectPixel(ToExponentPixel(-1.0F, nan, 1.0F), 0, 0, 128, 129);
    ExpectPixel(ToExponentPixel(-infinity, -0.0F, -FLT_MIN), 0, 0, 0, 0);
    ExpectPixel(ToExponentPixel(nan, nan, nan), 0, 0, 0, 0);
    ExpectPixel(ToExponentPixel(0.0F, 0.0F, 0.0F), 0, 0, 0, 0);
}

TEST(ExponentPlanes, ValuesBeyondTheLargestBecomeTheLargest)
{
    const float largest = std::ldexp(255.0F, 119);
    const float infinity = std::numeric_limits<float>::infinity();
    ExpectPixel(ToExponentPixel(largest, 0.0F, 0.0F), 255, 0, 0, 255);
    ExpectPixel(ToExponentPixel(std::nextafter(largest, infinity), 0.0F, 0.0F), 255, 0, 0, 255);
    ExpectPixel(ToExponentPixel(FLT_MAX, infinity, largest / 2), 255, 255, 128, 255);
}

TEST(ExponentPlanes, BelowTheSmallestExponentIsBlack)
{
    const float smallest = std::ldexp(1.0F, -128);
    ExpectPixel(ToExponentPixel(smallest, 0.0F, smallest / 2), 128, 0, 64, 1);
    ExpectPixel(ToExponentPixel(std::nextafter(smallest, 0.0F), 0.0F, 0.0F), 128, 0, 0,
                1); // rounded to 256, which raises the exponent
    ExpectPixel(ToExponentPixel(std::ldexp(255.0F, -137), 0.0F, 0.0F), 0, 0, 0, 0);
    ExpectPixel(ToExponentPixel(FLT_TRUE_MIN, FLT_TRUE_MIN, 0.0F), 0, 0, 0, 0);
}

TEST(ExponentPlanes, PlanesComeBackAsTheyWere)
{
    std::mt19937 random(3);
    for (int exponent = 1; exponent <= 255; exponent++) {
        for (int round = 0; round < 40; round++) {
            const int red = 128 + static_cast<int>(random() % 128);
            const int green = static_cast<int>(random() % 256);
            const int blue = static_cast<int>(random() % 256);
            ExpectPixel(ToExponentPixel(static_cast<float>(Decode(red, exponent)),
                                        static_cast<float>(Decode(green, exponent)),
                                        static_cast<float>(Decode(blue, exponent))),
                        red, green, blue, exponent);
        }
    }
}

// Each channel lies within half a step of the exponent pixel.
TEST(ExponentPlanes, TheNearestPixelIsTaken)
{
    std::mt19937 random(4);
    for (int round = 0; round < 20000; round++) {
        float value[3];
        for (float& channel : value)
            channel = std::ldexp(static_cast<float>(random()), -static_cast<int>(random() % 60));
        const sExponentPixel pixel = ToExponentPixel(value[0], value[1], value[2]);
        const int mantissas[3] = {pixel.fRed, pixel.fGreen, pixel.fBlue};
        const double step = std::ldexp(1.0, pixel.fExponent - 136);
        for (int i = 0; i < 3; i++)
            EXPECT_LE(std::fabs(Decode(mantissas[i], pixel.fExponent) - static_cast<double>(value[i])), step / 2);
        EXPECT_GE(std::max({mantissas[0], mantissas[1], mantissas[2]}), 128) << "no bit of the mantissas is wasted";
    }
}

TEST(ExponentPlanes, ARowIsFourPlanes)
{
    const std::vector<float> pixels = {1.0F, 0.5F, 0.25F, 9.0F, 0.0F, 2.0F, 0.0F, 9.0F};
    unsigned char row[8] = {};
    ToExponentRow(pixels.data(), pixels.data() + 1, pixels.data() + 2, 4, 2, row);
    const unsigned char expected[8] = {128, 0, 64, 128, 32, 0, 129, 130};
    for (int i = 0; i < 8; i++)
        EXPECT_EQ(row[i], expected[i]) << i;
}

} // namespace
