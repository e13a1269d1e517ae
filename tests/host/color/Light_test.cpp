#include "color/Light.h"

#include <gtest/gtest.h>
#include <selvane.h>

#include <cmath>
#include <cstring>

namespace
{

using namespace SelvaneHost;

/// SMPTE ST 2084, inverse EOTF: the signal of a luminance in cd/m2.
double PqSignal(double pLuminance)
{
    const double m1 = 0.1593017578125, m2 = 78.84375, c1 = 0.8359375, c2 = 18.8515625, c3 = 18.6875;
    const double y = std::pow(pLuminance / 10000.0, m1);
    return std::pow((c1 + c2 * y) / (1.0 + c3 * y), m2);
}

/// ITU-R BT.2100, OETF of HLG: the signal of scene light of 0 to 1.
double HlgSignal(double pLight)
{
    const double a = 0.17883277, b = 0.28466892, c = 0.55991073;
    return pLight <= 1.0 / 12.0 ? std::sqrt(3.0 * pLight) : a * std::log(12.0 * pLight - b) + c;
}

TEST(Light, PqUndoesItsCurve)
{
    for (const double luminance : {0.005, 0.1, 1.0, 100.0, 203.0, 1000.0, 4000.0, 10000.0})
        EXPECT_NEAR(PqLight(PqSignal(luminance)) * 203.0 / luminance, 1.0, 1e-9) << luminance;
    EXPECT_NEAR(PqSignal(203.0), 0.5806888810416109, 1e-12); // 58 per cent, ITU-R BT.2408
    EXPECT_EQ(PqLight(0.0), 0.0);
    EXPECT_NEAR(PqLight(1.0), 10000.0 / 203.0, 1e-9);
    EXPECT_EQ(PqLight(1.5), PqLight(1.0));
}

TEST(Light, HlgUndoesItsCurve)
{
    const double white = 0.26496256; // scene light of the signal 0.75
    for (const double light : {0.0, 0.001, 0.05, 1.0 / 12.0, 0.1, 0.2649, 0.7, 1.0})
        EXPECT_NEAR(HlgLight(HlgSignal(light)), light / white, 2e-7) << light;
    EXPECT_NEAR(HlgLight(0.75), 1.0, 1e-12);
    EXPECT_NEAR(HlgLight(0.5), 1.0 / 12.0 / white, 1e-7);
}

TEST(Light, SamplesOfEveryFormBecomeFloats)
{
    const tLightCurve square = [](double pSample) { return pSample * pSample; };
    sPicture eight;
    AllocatePixels(eight, 2, 1, eSamples8, 4);
    eight.fPixels = {0, 51, 255, 102, 255, 0, 51, 255};
    eight.fWarnings = {"kept"};
    MakeLinear(eight, square);
    ASSERT_EQ(eight.fForm, eFloats);
    ASSERT_EQ(eight.fChannels, 4);
    EXPECT_EQ(eight.fWarnings.size(), 1U);
    std::vector<float> floats(8);
    std::memcpy(floats.data(), eight.fPixels.data(), 32);
    EXPECT_EQ(floats, (std::vector<float>{0.0F, 0.04F, 1.0F, 0.4F, 1.0F, 0.0F, 0.04F, 1.0F})) << "alpha is no light";
    MakeLinear(eight, square);
    std::memcpy(floats.data(), eight.fPixels.data(), 32);
    EXPECT_FLOAT_EQ(floats[1], 0.0016F);
    EXPECT_EQ(floats[3], 0.4F);
    Scale(eight, 10.0F);
    std::memcpy(floats.data(), eight.fPixels.data(), 32);
    EXPECT_FLOAT_EQ(floats[1], 0.016F);
    EXPECT_EQ(floats[3], 0.4F);

    sPicture sixteen;
    AllocatePixels(sixteen, 1, 1, eSamples16);
    const uint16_t samples[3] = {0, 13107, 65535};
    std::memcpy(sixteen.fPixels.data(), samples, sizeof samples);
    MakeLinear(sixteen, {square, square, [](double) { return 7.0; }});
    std::memcpy(floats.data(), sixteen.fPixels.data(), 12);
    EXPECT_EQ(floats[1], 0.04F);
    EXPECT_EQ(floats[2], 7.0F) << "each channel has its own";
}

} // namespace
