#include "host/Workshop.h"
#include "picture/PictureLibrary.h"
#include "write/Resize.h"

#include <gtest/gtest.h>
#include <selvane.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace SelvaneTest
{

namespace
{

using namespace SelvaneHost;

sPicture Linear(int pWidth, int pHeight, int pChannels, const std::vector<float>& pSamples)
{
    sPicture picture;
    AllocatePixels(picture, pWidth, pHeight, eFloats, pChannels);
    EXPECT_EQ(pSamples.size() * 4, picture.fPixels.size());
    std::memcpy(picture.fPixels.data(), pSamples.data(), picture.fPixels.size());
    return picture;
}

std::vector<float> Samples(const sPicture& pPicture)
{
    std::vector<float> samples(pPicture.fPixels.size() / 4);
    std::memcpy(samples.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return samples;
}

std::vector<uint16_t> Integers(const sPicture& pPicture)
{
    std::vector<uint16_t> samples(pPicture.fPixels.size() / 2);
    std::memcpy(samples.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return samples;
}

class Resize : public testing::Test
{
protected:
    static void SetUpTestSuite() { StartPictureLibrary(); }
};

TEST_F(Resize, FormsAreRead)
{
    for (const char* text : {"800", "x600", "800x600", "50%", "12.5%"}) {
        const auto resize = ReadResize(text);
        ASSERT_TRUE(resize) << text;
        EXPECT_EQ(WordOf(*resize), text);
    }
    EXPECT_EQ(ReadResize("800x")->fWidth, 800);
    EXPECT_EQ(ReadResize("800x")->fHeight, 0);
    for (const char* text : {"", "x", "%", "0", "0x10", "-5", "10x-5", "1e3", "10 ", "0%", "-1%", "nan%", "1001%",
                             "10x10x10", "1000001", "99999999999", "50%x50%"})
        EXPECT_FALSE(ReadResize(text)) << text;
}

struct sSizeCase
{
    const char* fText;
    bool fEnlarge;
    int fWidth;
    int fHeight;
};

TEST_F(Resize, SizesKeepTheShapeAndTheLimit)
{
    constexpr sSizeCase kCases[] = {
        {"300", false, 300, 200},     {"x100", false, 150, 100}, {"300x300", false, 300, 200},
        {"300x100", false, 150, 100}, {"50%", false, 450, 300},  {"1200", false, 900, 600},
        {"200%", false, 900, 600},    {"1200", true, 1200, 800}, {"200%", true, 1800, 1200},
        {"1", false, 1, 1},           {"0.01%", false, 1, 1},    {"901", false, 900, 600},
        {"899", false, 899, 599},     {"x599", false, 899, 599}}; // 899 * 2 / 3 = 599.33
    for (const sSizeCase& test : kCases) {
        const sSize size = SizeAfter(*ReadResize(test.fText), 900, 600, test.fEnlarge);
        EXPECT_EQ(size.fWidth, test.fWidth) << test.fText;
        EXPECT_EQ(size.fHeight, test.fHeight) << test.fText;
    }
}

// Columns of black and white have half the light of white: in sRGB that is 188, and not 128.
TEST_F(Resize, LightIsMixedAndNotItsCode)
{
    std::vector<float> columns;
    for (int i = 0; i < 64 * 32; i++)
        columns.insert(columns.end(), 3, i % 2 == 0 ? 0.0F : 1.0F);
    const sPicture small = Resized(Linear(64, 32, 3, columns), {16, 8});
    const sPicture encoded = EncodedFrom(small, SELVANE_SRGB, eSamples8);
    EXPECT_EQ(encoded.fWidth, 16);
    EXPECT_EQ(encoded.fHeight, 8);
    for (int y = 2; y < 6; y++)
        for (int x = 4; x < 12; x++)
            EXPECT_NEAR(Row(encoded, y)[3 * x], 188, 1) << x << " " << y;
}

TEST_F(Resize, AnEvenPictureStaysEven)
{
    for (const sSize size : {sSize{7, 5}, sSize{31, 20}, sSize{50, 40}})
        for (const float sample : Samples(Resized(Linear(31, 20, 3, std::vector<float>(31 * 20 * 3, 0.25F)), size)))
            EXPECT_NEAR(sample, 0.25F, 1e-6F);
}

// Red that nobody sees must not tinge the green beside it.
TEST_F(Resize, ColorsOfTransparentPixelsDoNotShow)
{
    std::vector<float> samples;
    for (int i = 0; i < 64 * 32; i++) {
        const bool clear = i % 64 < 32;
        const float pixel[] = {clear ? 1.0F : 0.0F, clear ? 0.0F : 1.0F, 0.0F, clear ? 0.0F : 1.0F};
        samples.insert(samples.end(), pixel, pixel + 4);
    }
    const sPicture small = EncodedFrom(Resized(Linear(64, 32, 4, samples), {15, 8}), SELVANE_SRGB, eSamples16);
    const std::vector<uint16_t> result = Integers(small);
    bool mixed = false;
    for (size_t i = 0; i < result.size(); i += 4) {
        if (result[i + 3] < 3000) continue; // next to nothing is seen of it
        EXPECT_LE(result[i], 2000) << i / 4;
        EXPECT_GE(result[i + 1], 63000) << i / 4;
        mixed = mixed || result[i + 3] < 60000;
    }
    EXPECT_TRUE(mixed); // the column at the edge is half transparent
}

/// The formulas of the standards.
double Encoded(int pSpace, double pLinear)
{
    if (pSpace == SELVANE_ADOBE_RGB) return std::pow(pLinear, 1 / 2.2);
    if (pSpace == SELVANE_PROPHOTO) return std::pow(pLinear, 1 / 1.8);
    if (pSpace == SELVANE_REC2020)
        return pLinear < 0.018053968510807 ? 4.5 * pLinear
                                           : 1.09929682680944 * std::pow(pLinear, 0.45) - 0.09929682680944;
    return pLinear <= 0.0031308 ? 12.92 * pLinear : 1.055 * std::pow(pLinear, 1 / 2.4) - 0.055;
}

TEST_F(Resize, SamplesAreEncodedWithTheCurveOfTheSpace)
{
    std::vector<float> samples;
    for (int i = 0; i < 999; i++)
        samples.push_back(static_cast<float>(std::pow(10.0, -i / 200.0)));
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        const std::vector<uint16_t> wide = Integers(EncodedFrom(Linear(333, 1, 3, samples), space, eSamples16));
        const tBytes narrow = EncodedFrom(Linear(333, 1, 3, samples), space, eSamples8).fPixels;
        for (size_t i = 0; i < samples.size(); i++) {
            const double value = Encoded(space, static_cast<double>(samples[i]));
            EXPECT_NEAR(wide[i], value * 65535, 0.51) << space << " " << samples[i];
            EXPECT_NEAR(narrow[i], value * 255, 0.501) << space << " " << samples[i];
        }
    }
}

TEST_F(Resize, DecodedSamplesAreTheLightOfTheSpace)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        sPicture picture;
        AllocatePixels(picture, 1, 1, eSamples16, 4);
        const uint16_t samples[4] = {500, 20000, 65535, 13107};
        std::memcpy(picture.fPixels.data(), samples, sizeof samples);
        Decode(picture, space);
        ASSERT_EQ(picture.fForm, eFloats);
        float floats[4];
        std::memcpy(floats, picture.fPixels.data(), sizeof floats);
        for (size_t i = 0; i < 3; i++)
            EXPECT_NEAR(Encoded(space, static_cast<double>(floats[i])), samples[i] / 65535.0, 1e-6)
                << space << " " << i;
        EXPECT_EQ(floats[3], 0.2F) << "alpha is linear";
    }
}

TEST_F(Resize, SamplesOutsideTheRangeBecomeItsEnds)
{
    const float none = std::numeric_limits<float>::quiet_NaN(), all = std::numeric_limits<float>::infinity();
    const sPicture picture = Linear(2, 1, 4, {-0.1F, 1.1F, none, 2.0F, all, -all, 1.0F, 0.5F});
    EXPECT_EQ(Integers(EncodedFrom(picture, SELVANE_SRGB, eSamples16)),
              (std::vector<uint16_t>{0, 65535, 0, 65535, 65535, 0, 65535, 32768})); // alpha stays linear
}

} // namespace

} // namespace SelvaneTest
