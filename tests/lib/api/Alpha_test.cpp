// Alpha travels, and decides nothing but which pixels count.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 120, kHeight = 80;
constexpr size_t kPixels = static_cast<size_t>(kWidth) * kHeight;

/// Samples with alpha: the scene's colours and pAlpha(pixel).
template <class tSample, class tColor, class tAlpha>
std::vector<tSample> WithAlpha(const tColor& pColor, const tAlpha& pAlpha)
{
    const std::vector<float> scene = FloatScene(kWidth, kHeight, 3, 3.0);
    std::vector<tSample> samples;
    for (size_t i = 0; i < kPixels; i++) {
        for (size_t k = 0; k < 3; k++)
            samples.push_back(pColor(std::min(1.0, 2.0 * static_cast<double>(scene[3 * i + k]))));
        samples.push_back(pAlpha(i));
    }
    return samples;
}

std::vector<float> FloatsWithAlpha(float (*pAlpha)(size_t))
{
    return WithAlpha<float>([](double v) { return static_cast<float>(v); }, pAlpha);
}

template <class tSample>
std::vector<tSample> Render(selvane* pHandle, int pFormat, int pChannels = 4)
{
    std::vector<tSample> output(static_cast<size_t>(pChannels) * kPixels);
    const selvane_target target = TargetOf(kWidth, kHeight, pFormat, output.data(), pChannels);
    EXPECT_DONE(pHandle, selvane_render(pHandle, &target));
    return output;
}

tHandle HandleWith(const selvane_picture& pPicture)
{
    tHandle handle = NewHandle();
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &pPicture));
    return handle;
}

selvane_report ReportOf(selvane* pHandle)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(pHandle, selvane_get_report(pHandle, &report));
    return report;
}

/// The bits of every alpha come back, whatever they mean.
template <class tSample>
void ExpectSameAlpha(int pFormat, const std::vector<tSample>& pSamples)
{
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, pFormat, pSamples.data(), 4));
    const std::vector<tSample> seen = Render<tSample>(handle.get(), pFormat);
    for (size_t i = 3; i < seen.size(); i += 4)
        ASSERT_EQ(std::memcmp(&seen[i], &pSamples[i], sizeof(tSample)), 0)
            << "pixel " << i / 4 << ", format " << pFormat;
}

TEST(Alpha, ReachesTheOutputUntouched)
{
    ExpectSameAlpha(SELVANE_U8, WithAlpha<uint8_t>([](double v) { return static_cast<uint8_t>(v * 255); },
                                                   [](size_t i) { return static_cast<uint8_t>(i); }));
    ExpectSameAlpha(SELVANE_U16, WithAlpha<uint16_t>([](double v) { return static_cast<uint16_t>(v * 65535); },
                                                     [](size_t i) { return static_cast<uint16_t>(i * 7); }));
    ExpectSameAlpha(SELVANE_F16, WithAlpha<uint16_t>([](double v) { return HalfBelow(v); },
                                                     [](size_t i) { return static_cast<uint16_t>(i * 7); }));
    std::mt19937 random(9);
    ExpectSameAlpha(SELVANE_F32, WithAlpha<float>([](double v) { return static_cast<float>(v); },
                                                  [&](size_t) {
                                                      const auto bits = static_cast<uint32_t>(
                                                          random()); // also NaN, infinite, negative
                                                      float alpha = 0;
                                                      std::memcpy(&alpha, &bits, sizeof alpha);
                                                      return alpha;
                                                  }));
}

/// Alpha between the forms, rounded to the nearest; beyond 0 and 1 only where both are floats of a kind.
TEST(Alpha, IsConvertedBetweenForms)
{
    const auto samples = WithAlpha<uint8_t>([](double v) { return static_cast<uint8_t>(v * 255); },
                                            [](size_t i) { return static_cast<uint8_t>(i); });
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_U8, samples.data(), 4));
    const auto words = Render<uint16_t>(handle.get(), SELVANE_U16);
    const auto halves = Render<uint16_t>(handle.get(), SELVANE_F16);
    const auto floats = Render<float>(handle.get(), SELVANE_F32);
    for (size_t i = 3; i < samples.size(); i += 4) {
        const double alpha = samples[i] / 255.0;
        ASSERT_EQ(words[i], 257 * samples[i]);
        ASSERT_NEAR(static_cast<double>(floats[i]), alpha, 6e-8);
        ASSERT_LE(std::abs(HalfValue(halves[i]) - alpha),
                  std::abs(HalfValue(halves[i] == 0 ? 0u : halves[i] - 1u) - alpha) + 1e-9);
        ASSERT_LE(std::abs(HalfValue(halves[i]) - alpha), std::abs(HalfValue(halves[i] + 1u) - alpha) + 1e-9);
    }
}

TEST(Alpha, OfFloatsIsRoundedAndKeptWithinTheIntegers)
{
    const float values[] = {
        0, 1, 0.5f, 0.25f, 1e-6f, 0.0039f, 0.9999f, 2, 1e30f, -1, std::numeric_limits<float>::quiet_NaN()};
    const double expected[] = {0, 1, 0.5, 0.25, 1e-6, 0.0039, 0.9999, 1, 1, 0, 0};
    constexpr size_t kCount = std::size(values);
    std::vector<float> samples;
    for (const float value : values)
        samples.insert(samples.end(), {0.3f, 0.4f, 0.5f, value});
    const tHandle handle = HandleWith(PictureOf(kCount, 1, SELVANE_F32, samples.data(), 4));
    std::vector<uint8_t> bytes(4 * kCount);
    std::vector<uint16_t> words(4 * kCount);
    selvane_target target = TargetOf(kCount, 1, SELVANE_U8, bytes.data(), 4);
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    target = TargetOf(kCount, 1, SELVANE_U16, words.data(), 4);
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    for (size_t i = 0; i < kCount; i++) {
        EXPECT_EQ(bytes[4 * i + 3], std::lround(expected[i] * 255)) << values[i];
        EXPECT_EQ(words[4 * i + 3], std::lround(expected[i] * 65535)) << values[i];
    }
}

TEST(Alpha, IsTheLargestValueWithoutAlphaInThePicture)
{
    const std::vector<float> samples = FloatScene(kWidth, kHeight);
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data()));
    const auto bytes = Render<uint8_t>(handle.get(), SELVANE_U8);
    const auto words = Render<uint16_t>(handle.get(), SELVANE_U16);
    const auto halves = Render<uint16_t>(handle.get(), SELVANE_F16);
    const auto floats = Render<float>(handle.get(), SELVANE_F32);
    for (size_t i = 3; i < bytes.size(); i += 4) {
        ASSERT_EQ(bytes[i], 255);
        ASSERT_EQ(words[i], 65535);
        ASSERT_EQ(halves[i], 0x3C00);
        ASSERT_EQ(floats[i], 1.0f);
    }
}

TEST(Alpha, DoesNotChangeTheColoursAsLongAsItIsAboveZero)
{
    const auto faint = FloatsWithAlpha([](size_t i) { return 0.001f * static_cast<float>(1 + i % 900); });
    const auto opaque = FloatsWithAlpha([](size_t) { return 1.0f; });
    const tHandle one = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, faint.data(), 4));
    const tHandle other = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, opaque.data(), 4));
    EXPECT_TRUE(Render<uint8_t>(one.get(), SELVANE_U8, 3) == Render<uint8_t>(other.get(), SELVANE_U8, 3));
}

// ---- Pixels that do not count ---------------------------------------------------------------------------------------

/// A ragged third of the picture cannot be seen.
bool IsHidden(size_t pPixel)
{
    const size_t x = pPixel % kWidth, y = pPixel / kWidth;
    return (x / 16 + y / 11) % 3 == 0 || pPixel % 97 == 0;
}

/// Colours under the hidden pixels.
std::vector<float> HiddenUnder(float pRed, float pGreen, float pBlue)
{
    auto samples = FloatsWithAlpha([](size_t i) { return IsHidden(i) ? 0.0f : 0.5f; });
    for (size_t i = 0; i < kPixels; i++)
        if (IsHidden(i)) {
            samples[4 * i] = pRed;
            samples[4 * i + 1] = pGreen;
            samples[4 * i + 2] = pBlue;
        }
    return samples;
}

std::vector<uint8_t> VisibleBytes(selvane* pHandle)
{
    const auto bytes = Render<uint8_t>(pHandle, SELVANE_U8, 3);
    std::vector<uint8_t> visible;
    for (size_t i = 0; i < kPixels; i++)
        if (!IsHidden(i)) visible.insert(visible.end(), {bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2]});
    return visible;
}

void SetAutomatic(selvane* pHandle, int pAutomatic)
{
    selvane_settings settings = PlainSettings();
    settings.automatic = pAutomatic;
    settings.white_clip = pAutomatic == 1 ? 0.0f : 20.0f;
    EXPECT_DONE(pHandle, selvane_set_settings(pHandle, &settings));
}

const float kInfinity = std::numeric_limits<float>::infinity();
const float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(Alpha, WhatIsHiddenDecidesNothing)
{
    const float colours[][3] = {{0, 0, 0},    {1, 1, 1},       {1000, 0, 0},        {0, 0, 1e29f},
                                {-5, -5, -5}, {kNaN, kNaN, 0}, {kInfinity, 0, kNaN}};
    for (const int automatic : {0, 1}) {
        const auto plain = HiddenUnder(0.2f, 0.2f, 0.2f);
        const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, plain.data(), 4));
        SetAutomatic(handle.get(), automatic);
        const std::vector<uint8_t> expected = VisibleBytes(handle.get());
        selvane_report report = ReportOf(handle.get());
        for (const auto& colour : colours) {
            const auto samples = HiddenUnder(colour[0], colour[1], colour[2]);
            const tHandle other = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
            SetAutomatic(other.get(), automatic);
            EXPECT_TRUE(VisibleBytes(other.get()) == expected) << colour[0] << ", " << colour[1] << ", " << colour[2];
            selvane_report seen = ReportOf(other.get());
            for (size_t i = 0; i < SELVANE_STAGES; i++)
                seen.milliseconds[i] = report.milliseconds[i] = 0;
            EXPECT_EQ(std::memcmp(&seen, &report, sizeof seen), 0)
                << colour[0] << ", " << colour[1] << ", " << colour[2];
        }
    }
}

/// An infinite sample that can be seen becomes the largest one that can be seen.
TEST(Alpha, WhatIsHiddenDoesNotStandForInfiniteSamples)
{
    auto low = HiddenUnder(0.1f, 0.1f, 0.1f), high = HiddenUnder(1e20f, 1e20f, 1e20f);
    size_t visible = 0;
    while (IsHidden(visible))
        visible++;
    low[4 * visible] = high[4 * visible] = kInfinity;
    const tHandle one = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, low.data(), 4));
    const tHandle other = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, high.data(), 4));
    EXPECT_TRUE(VisibleBytes(one.get()) == VisibleBytes(other.get()));
    EXPECT_EQ(ReportOf(other.get()).replaced_infinite, 1);
}

TEST(Alpha, CountsTheVisiblePixels)
{
    const auto samples = HiddenUnder(0, 0, 0);
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
    int64_t visible = 0;
    double least = 1e9;
    const tMatrix matrix = ToXYZ(kChromaticities[SELVANE_SRGB]);
    for (size_t i = 0; i < kPixels; i++) {
        if (IsHidden(i)) continue;
        visible++;
        double luminance = 0;
        for (size_t k = 0; k < 3; k++)
            luminance += matrix[1][k] * static_cast<double>(samples[4 * i + k]);
        least = std::min(least, luminance);
    }
    const selvane_report report = ReportOf(handle.get());
    EXPECT_EQ(report.visible_pixels, visible);
    EXPECT_NEAR(static_cast<double>(report.log_luminance_min), std::log10(least), 1e-3);
    EXPECT_GT(report.log_luminance_min, -9.0f); // the hidden black would be -10
}

TEST(Alpha, OfEveryFormHides)
{
    const auto bytes = [](uint8_t pUnder) {
        auto samples = WithAlpha<uint8_t>([](double v) { return static_cast<uint8_t>(v * 255); },
                                          [](size_t i) { return static_cast<uint8_t>(IsHidden(i) ? 0 : 1); });
        for (size_t i = 0; i < kPixels; i++)
            if (IsHidden(i)) std::fill_n(samples.begin() + static_cast<ptrdiff_t>(4 * i), 3, pUnder);
        return samples;
    };
    const auto words = [](uint16_t pUnder, uint16_t pAlpha) {
        auto samples = WithAlpha<uint16_t>([](double v) { return HalfBelow(v); },
                                           [&](size_t i) { return static_cast<uint16_t>(IsHidden(i) ? 0 : pAlpha); });
        for (size_t i = 0; i < kPixels; i++)
            if (IsHidden(i)) std::fill_n(samples.begin() + static_cast<ptrdiff_t>(4 * i), 3, pUnder);
        return samples;
    };
    const auto ofBytes = [&](uint8_t pUnder) {
        const auto samples = bytes(pUnder);
        return VisibleBytes(HandleWith(PictureOf(kWidth, kHeight, SELVANE_U8, samples.data(), 4)).get());
    };
    const auto ofWords = [&](int pFormat, uint16_t pUnder) {
        const auto samples = words(pUnder, 1);
        return VisibleBytes(HandleWith(PictureOf(kWidth, kHeight, pFormat, samples.data(), 4)).get());
    };
    EXPECT_TRUE(ofBytes(0) == ofBytes(255));
    EXPECT_TRUE(ofWords(SELVANE_U16, 0) == ofWords(SELVANE_U16, 65535));
    EXPECT_TRUE(ofWords(SELVANE_F16, 0) == ofWords(SELVANE_F16, 0x7C00));
}

/// Hidden pixels do not count for the points either: a tenth of the visible pixels is cut away at the bottom.
TEST(Alpha, ClippedSharesAreThoseOfTheVisiblePixels)
{
    const auto samples = HiddenUnder(0, 0, 0);
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
    selvane_settings settings = PlainSettings();
    settings.black_clip = 10;
    settings.white_clip = 100; // 5 per cent
    ASSERT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    Render<uint8_t>(handle.get(), SELVANE_U8);
    const selvane_report report = ReportOf(handle.get());
    EXPECT_NEAR(report.clipped_black, 0.10f, 0.01f);
    EXPECT_NEAR(report.clipped_white, 0.05f, 0.01f);
}

TEST(Alpha, NothingVisibleIsRenderedWithoutATrace)
{
    for (const int automatic : {0, 1})
        for (const float under : {0.0f, 0.5f, 1e9f, kNaN, kInfinity}) {
            auto samples = FloatsWithAlpha([](size_t) { return 0.0f; });
            for (size_t i = 0; i < samples.size(); i++)
                if (i % 4 != 3) samples[i] = i % 8 < 4 ? under : 0.5f * under;
            const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
            SetAutomatic(handle.get(), automatic);
            EXPECT_TRUE(Render<uint8_t>(handle.get(), SELVANE_U8) == std::vector<uint8_t>(4 * kPixels, 0)) << under;
            EXPECT_EQ(ReportOf(handle.get()).visible_pixels, 0);
            EXPECT_EQ(ReportOf(handle.get()).hot_pixels, 0);
        }
}

TEST(Alpha, OneVisiblePixelKeepsItsGrey)
{
    auto samples = FloatsWithAlpha([](size_t i) { return i == 1234 ? 1.0f : 0.0f; });
    std::fill_n(samples.begin() + 4 * 1234, 3, 0.5f);
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
    EXPECT_NEAR(Render<uint8_t>(handle.get(), SELVANE_U8)[4 * 1234], SrgbEncode(0.5) * 255, 1);
}

/// A preview's alpha is the mean of its box, its colours those of the visible pixels.
TEST(Alpha, OfAPreviewIsTheMean)
{
    auto samples = FloatsWithAlpha([](size_t i) { return i % 2 == 0 ? 0.0f : 0.5f; });
    for (size_t i = 0; i < kPixels; i++)
        std::fill_n(samples.begin() + static_cast<ptrdiff_t>(4 * i), 3, i % 2 == 0 ? 1e9f : 0.3f);
    const tHandle handle = HandleWith(PictureOf(kWidth, kHeight, SELVANE_F32, samples.data(), 4));
    std::vector<float> output(4 * 60 * 40);
    const selvane_target target = TargetOf(60, 40, SELVANE_F32, output.data(), 4);
    ASSERT_DONE(handle.get(), selvane_preview(handle.get(), 60, &target));
    for (size_t i = 0; i < output.size(); i++)
        ASSERT_NEAR(static_cast<double>(output[i]), i % 4 == 3 ? 0.25 : SrgbEncode(0.3), 1e-3);
}

} // namespace
} // namespace SelvaneTest
