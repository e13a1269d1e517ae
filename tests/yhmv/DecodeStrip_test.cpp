#include "yhmv/DecodeStrip.h"

#include "yhmv/Twin.h"
#include "yhmv/cYHMVColorSpace.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>

// Steps of the decoders that work out what a table holds: all 65536 entries.

namespace
{

using namespace Vornik;
using namespace SelvaneTest;

TEST(DecodeStrip, TheColourOfEachHueIsTheEntryOfTheNeutralTable)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    sDecodeStrip strip{};
    for (int first = 0; first < kTableSize; first += kStrip) {
        for (int n = 0; n < kStrip; ++n)
            strip.fHue[n] = first + n;
        ColorOfHue(strip);
        for (int n = 0; n < kStrip; ++n)
            for (int k = 0; k < 3; ++k) {
                float expected[3];
                TwinHMVToRGB(static_cast<float>(first + n) * (1.0f / 65535.0f), 0.0f, 1.0f, expected);
                ASSERT_EQ(Bits(strip.fColor[k][n]), Bits(expected[k])) << first + n << ' ' << k;
                ASSERT_EQ(Bits(strip.fColor[k][n]), Bits(space->fHMVToRGBLUT[first + n][k])) << first + n << ' ' << k;
            }
    }
}

TEST(DecodeStrip, AContrastSampleIsItsShareInDoubleRoundedOnce)
{
    int otherwise = 0; // with a single product
    for (int sample = 0; sample < kTableSize; ++sample) {
        const auto exact = static_cast<float>(static_cast<double>(sample) * (1.0 / 65535.0));
        ASSERT_EQ(Bits(FromContrastSample(static_cast<float>(sample))), Bits(exact)) << sample;
        otherwise += static_cast<float>(sample) * (1.0f / 65535.0f) != exact ? 1 : 0;
    }
    EXPECT_GT(otherwise, 0);
}

} // namespace
