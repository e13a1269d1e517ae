// The samples of a target: formats, spaces, dithering and places.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 61, kHeight = 43;
constexpr size_t kSamples = size_t{3} * kWidth * kHeight;

size_t BytesOf(int pFormat)
{
    return pFormat == SELVANE_U8 ? 1 : pFormat == SELVANE_F32 ? 4 : 2;
}

/// Strides in samples.
struct sPlacing
{
    const char* fName;
    ptrdiff_t fRow, fPixel, fChannel;
};

std::vector<sPlacing> Placings(int pChannels)
{
    const ptrdiff_t n = pChannels, w = kWidth, h = kHeight;
    return {{"plain", n * w, n, 1},
            {"gaps between rows", n * w + 5, n, 1},
            {"gaps between pixels", (n + 2) * w, n + 2, 1},
            {"gaps between samples", 2 * n * w, 2 * n, 2},
            {"bottom up", -n * w - 3, n, 1},
            {"right to left", n * w, -n, 1},
            {"samples backwards", n * w, n, -1},
            {"planes", w, 1, w * h},
            {"planes of rows with gaps", n * (w + 4), 1, w + 4},
            {"columns first", n, n * h, 1}};
}

class Targets : public testing::Test
{
protected:
    Targets() : fScene(FloatScene(kWidth, kHeight, 4)), fHandle(NewHandle())
    {
        for (size_t i = 3; i < fScene.size(); i += 4)
            fScene[i] = static_cast<float>(i % 251) / 250.0f + 0.001f;
        const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data(), 4);
        EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    }

    template <class tSample>
    std::vector<tSample> Render(int pFormat, int pSpace, int pLinear, int pChannels = 3)
    {
        std::vector<tSample> samples(kSamples / 3 * static_cast<size_t>(pChannels));
        selvane_target target = TargetOf(kWidth, kHeight, pFormat, samples.data(), pChannels);
        target.space = pSpace;
        target.linear = pLinear;
        EXPECT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
        return samples;
    }

    /// Renders into a block with a guard on both sides. Everything but the samples stays 0xA5.
    void ExpectPlaced(const std::vector<unsigned char>& pPlain, selvane_target pTarget, const sPlacing& pPlacing)
    {
        constexpr size_t kGuard = 64;
        const size_t size = BytesOf(pTarget.format);
        const int channels = pTarget.channels;
        const auto lowest = [](ptrdiff_t pStride, int pCount) {
            return std::min<ptrdiff_t>(0, pStride * (pCount - 1));
        };
        const ptrdiff_t low =
            lowest(pPlacing.fRow, kHeight) + lowest(pPlacing.fPixel, kWidth) + lowest(pPlacing.fChannel, channels);
        const ptrdiff_t span = std::abs(pPlacing.fRow) * (kHeight - 1) + std::abs(pPlacing.fPixel) * (kWidth - 1) +
                               std::abs(pPlacing.fChannel) * (channels - 1) + 1;
        std::vector<unsigned char> seen(static_cast<size_t>(span) * size + 2 * kGuard, 0xA5), expected = seen;
        for (int y = 0; y < kHeight; y++)
            for (int x = 0; x < kWidth; x++)
                for (int k = 0; k < channels; k++) {
                    const int from = pTarget.order == SELVANE_BGR && k < 3 ? 2 - k : k;
                    const ptrdiff_t at = y * pPlacing.fRow + x * pPlacing.fPixel + k * pPlacing.fChannel - low;
                    std::memcpy(expected.data() + kGuard + static_cast<size_t>(at) * size,
                                pPlain.data() + static_cast<size_t>((y * kWidth + x) * channels + from) * size, size);
                }
        pTarget.pixels = seen.data() + kGuard + static_cast<size_t>(-low) * size;
        pTarget.row_stride = pPlacing.fRow * static_cast<ptrdiff_t>(size);
        pTarget.pixel_stride = pPlacing.fPixel * static_cast<ptrdiff_t>(size);
        pTarget.channel_stride = pPlacing.fChannel * static_cast<ptrdiff_t>(size);
        ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &pTarget));
        ASSERT_TRUE(seen == expected) << pPlacing.fName << ", format " << pTarget.format << ", channels " << channels
                                      << ", order " << pTarget.order << ", dither " << pTarget.dither;
    }

    std::vector<float> fScene;
    tHandle fHandle;
};

// ---- Values ---------------------------------------------------------------------------------------------------------

/// The linear render holds 16-bit steps. Encoded by the exact formula, each gives the 16-bit sample within one step:
/// the tables are truncated, those of the first three spaces in float.
TEST_F(Targets, SixteenBitsAreTheExactCurveOfTheLinearRender)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        const auto linear = Render<uint16_t>(SELVANE_U16, space, 1);
        const auto encoded = Render<uint16_t>(SELVANE_U16, space, 0);
        EXPECT_LT(*std::min_element(linear.begin(), linear.end()), 3000);
        EXPECT_GT(*std::max_element(linear.begin(), linear.end()), 60000);
        for (size_t i = 0; i < linear.size(); i++)
            ASSERT_NEAR(encoded[i], EncodeIn(space, linear[i] / 65535.0) * 65535, 1.01)
                << "space " << space << ", " << linear[i];
    }
}

TEST_F(Targets, FloatsAreTheExactCurveOfTheLinearRender)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        const auto steps = Render<uint16_t>(SELVANE_U16, space, 1);
        const auto linear = Render<float>(SELVANE_F32, space, 1);
        const auto encoded = Render<float>(SELVANE_F32, space, 0);
        for (size_t i = 0; i < steps.size(); i++) {
            ASSERT_NEAR(static_cast<double>(linear[i]), steps[i] / 65535.0, 6e-8);
            ASSERT_NEAR(static_cast<double>(encoded[i]), EncodeIn(space, steps[i] / 65535.0), 1e-7)
                << "space " << space;
        }
    }
}

TEST_F(Targets, ChromaticitiesOfASpaceGiveTheSpace)
{
    for (int space = SELVANE_DISPLAY_P3; space <= SELVANE_ACES_AP1; space++) {
        const auto named = Render<float>(SELVANE_F32, space, 1);
        std::vector<float> custom(kSamples);
        selvane_target target = TargetOf(kWidth, kHeight, SELVANE_F32, custom.data());
        target.space = SELVANE_CUSTOM;
        target.linear = 1;
        for (size_t i = 0; i < 8; i++)
            target.chromaticities[i] = static_cast<float>(kChromaticities[space][i]);
        ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
        EXPECT_TRUE(custom == named) << "space " << space;
        EXPECT_FALSE(custom == Render<float>(SELVANE_F32, SELVANE_SRGB, 1)) << "space " << space;
    }
}

/// A flat colour, so that only the way in and out is at work.
TEST_F(Targets, AColourComesOutOfItsOwnPrimaries)
{
    constexpr float kXY[8] = {0.70f, 0.31f, 0.19f, 0.75f, 0.14f, 0.05f, 0.3457f, 0.3585f};
    const std::array<float, 3> colour = {0.45f, 0.40f, 0.35f};
    selvane_picture picture = PictureOf(1, 1, SELVANE_F32, colour.data());
    picture.primaries = SELVANE_CUSTOM;
    std::array<float, 3> seen{};
    selvane_target target = TargetOf(1, 1, SELVANE_F32, seen.data());
    target.space = SELVANE_CUSTOM;
    target.linear = 1;
    std::copy(kXY, kXY + 8, picture.chromaticities);
    std::copy(kXY, kXY + 8, target.chromaticities);
    const tHandle handle = NewHandle();
    ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
    for (size_t k = 0; k < 3; k++)
        EXPECT_NEAR(seen[k], colour[k], 1e-4) << "channel " << k;
}

TEST_F(Targets, SpacesWithoutACurveAreLinear)
{
    for (const int space : {int{SELVANE_ACES_AP0}, int{SELVANE_ACES_AP1}}) {
        EXPECT_TRUE(Render<uint16_t>(SELVANE_U16, space, 0) == Render<uint16_t>(SELVANE_U16, space, 1));
        EXPECT_TRUE(Render<float>(SELVANE_F32, space, 0) == Render<float>(SELVANE_F32, space, 1));
    }
}

/// The record of the first release has no chromaticities: what stands behind it is not read.
TEST_F(Targets, TheFirstRecordHasNoChromaticities)
{
    std::vector<float> samples(kSamples);
    selvane_target target = TargetOf(kWidth, kHeight, SELVANE_F32, samples.data());
    target.struct_size = 72;
    EXPECT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
    for (size_t i = 0; i < 8; i++)
        target.chromaticities[i] = static_cast<float>(kChromaticities[SELVANE_REC2020][i]);
    target.space = SELVANE_CUSTOM;
    EXPECT_EQ(selvane_render(fHandle.get(), &target), SELVANE_ERROR_ARGUMENT);
    target.struct_size = sizeof target;
    EXPECT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
}

TEST_F(Targets, HalvesAreTheFloatsRounded)
{
    for (const int linear : {0, 1}) {
        const auto floats = Render<float>(SELVANE_F32, SELVANE_DISPLAY_P3, linear);
        const auto halves = Render<uint16_t>(SELVANE_F16, SELVANE_DISPLAY_P3, linear);
        for (size_t i = 0; i < floats.size(); i++) {
            const uint16_t below = HalfBelow(static_cast<double>(floats[i]));
            const double down = static_cast<double>(floats[i]) - HalfValue(below);
            const double up = HalfValue(below + 1u) - static_cast<double>(floats[i]);
            const bool goesUp = down > up || (down == up && (below & 1) != 0);
            ASSERT_EQ(halves[i], goesUp ? below + 1 : below) << static_cast<double>(floats[i]);
        }
    }
}

TEST_F(Targets, EightBitsAreTheUpperHalfOfSixteen)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++)
        for (const int linear : {0, 1}) {
            const auto words = Render<uint16_t>(SELVANE_U16, space, linear);
            const auto bytes = Render<uint8_t>(SELVANE_U8, space, linear);
            for (size_t i = 0; i < words.size(); i++)
                ASSERT_EQ(bytes[i], words[i] >> 8);
        }
}

/// The linear renders of two spaces are one picture: through the matrices from one to the other, wherever nothing was
/// cut.
TEST_F(Targets, SpacesShowTheSameColours)
{
    const auto wide = Render<float>(SELVANE_F32, SELVANE_PROPHOTO, 1);
    const tMatrix fromWide = ToXYZ(kChromaticities[SELVANE_PROPHOTO]);
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        const auto seen = Render<float>(SELVANE_F32, space, 1);
        const tMatrix across = Times(Inverse(ToXYZ(kChromaticities[space])), fromWide);
        for (size_t i = 0; i < seen.size(); i += 3) {
            const tVector expected =
                Times(across, tVector{static_cast<double>(wide[i]), static_cast<double>(wide[i + 1]),
                                      static_cast<double>(wide[i + 2])});
            for (size_t k = 0; k < 3; k++)
                ASSERT_NEAR(static_cast<double>(seen[i + k]), std::clamp(expected[k], 0.0, 1.0), 1e-3)
                    << "space " << space;
        }
    }
}

// ---- Dithering ------------------------------------------------------------------------------------------------------

/// A grey of 16-bit value v stands for v / 65535. The mean of 8 x 8 dithered bytes stands for the same, within half a
/// 64th of a byte; the bytes are the two next to it.
TEST(Dither, KeepsTheMeanOfEightByEightPixels)
{
    const tHandle handle = NewHandle();
    for (double grey = 0.0; grey <= 1.0; grey += 0.0173) {
        const std::vector<float> samples(3 * 8 * 8, static_cast<float>(grey));
        const selvane_picture picture = PictureOf(8, 8, SELVANE_F32, samples.data());
        ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
        for (const int linear : {0, 1}) {
            std::vector<uint16_t> words(samples.size());
            std::vector<uint8_t> bytes(samples.size());
            selvane_target target = TargetOf(8, 8, SELVANE_U16, words.data());
            target.linear = linear;
            ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
            target = TargetOf(8, 8, SELVANE_U8, bytes.data());
            target.linear = linear;
            target.dither = 1;
            ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
            for (size_t color = 0; color < 3; color++) {
                const double exact = words[color] / 65535.0 * 255;
                double sum = 0;
                for (size_t i = color; i < bytes.size(); i += 3) {
                    sum += bytes[i];
                    ASSERT_LT(std::abs(bytes[i] - exact), 1.0) << grey;
                }
                EXPECT_NEAR(sum / 64, exact, 1 / 128.0 + 1e-9) << grey;
            }
        }
    }
}

TEST(Dither, LeavesBlackAndWhite)
{
    const tHandle handle = NewHandle();
    for (const float grey : {0.0f, 1.0f}) {
        const std::vector<float> samples(3 * 16 * 9, grey);
        const selvane_picture picture = PictureOf(16, 9, SELVANE_F32, samples.data());
        std::vector<uint8_t> bytes(samples.size());
        selvane_target target = TargetOf(16, 9, SELVANE_U8, bytes.data());
        target.dither = 1;
        ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
        ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
        EXPECT_TRUE(bytes == std::vector<uint8_t>(samples.size(), grey > 0 ? 255 : 0));
    }
}

/// The thresholds are spread: no 2 x 2 pixels of a grey between two bytes are all alike if a quarter of them differs.
TEST(Dither, SpreadsItsPattern)
{
    const tHandle handle = NewHandle();
    const std::vector<float> samples(3 * 32 * 32, static_cast<float>(SrgbDecode(100.5 / 255)));
    const selvane_picture picture = PictureOf(32, 32, SELVANE_F32, samples.data());
    std::vector<uint8_t> bytes(samples.size());
    selvane_target target = TargetOf(32, 32, SELVANE_U8, bytes.data());
    target.dither = 1;
    ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    ASSERT_DONE(handle.get(), selvane_render(handle.get(), &target));
    const auto at = [&](size_t x, size_t y) { return static_cast<int>(bytes[3 * (32 * y + x)]); };
    for (size_t y = 0; y < 31; y++)
        for (size_t x = 0; x < 31; x++) {
            const int sum = at(x, y) + at(x + 1, y) + at(x, y + 1) + at(x + 1, y + 1);
            ASSERT_GE(sum, 401) << x << ", " << y;
            ASSERT_LE(sum, 403) << x << ", " << y;
        }
}

TEST_F(Targets, DitherActsOnEightBitsAlone)
{
    std::vector<uint16_t> words(kSamples);
    selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U16, words.data());
    target.dither = 1;
    ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
    EXPECT_TRUE(words == Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0));
}

// ---- Places ---------------------------------------------------------------------------------------------------------

TEST_F(Targets, EveryPlaceGetsItsSampleAndGapsStay)
{
    for (const int format : {SELVANE_U8, SELVANE_U16, SELVANE_F16, SELVANE_F32})
        for (const int channels : {3, 4})
            for (const int dither : {0, 1}) {
                const size_t size = BytesOf(format);
                std::vector<unsigned char> plain(size * kSamples / 3 * static_cast<size_t>(channels));
                selvane_target target = TargetOf(kWidth, kHeight, format, plain.data(), channels);
                target.dither = dither;
                ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
                for (const sPlacing& placing : Placings(channels))
                    for (const int order : {SELVANE_RGB, SELVANE_BGR}) {
                        target.order = order;
                        ExpectPlaced(plain, target, placing);
                    }
            }
}

/// Memory for 16 bits that begins at an odd address.
TEST_F(Targets, NeedNoAlignment)
{
    const auto expected = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0);
    std::vector<unsigned char> block(2 * kSamples + 1);
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U16, block.data() + 1);
    ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
    EXPECT_EQ(std::memcmp(block.data() + 1, expected.data(), 2 * kSamples), 0);
}

// ---- Settings that the target shows ---------------------------------------------------------------------------------

class Looks : public Targets
{
protected:
    void Set(float selvane_settings::*pMember, float pValue)
    {
        fSettings.*pMember = pValue;
        ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    }

    /// The new luminance of each pixel, in linear light: that of the linear ProPhoto render without a contrast curve.
    std::vector<double> Luminance()
    {
        const auto samples = Render<float>(SELVANE_F32, SELVANE_PROPHOTO, 1);
        const tMatrix matrix = ToXYZ(kChromaticities[SELVANE_PROPHOTO]);
        std::vector<double> luminance;
        for (size_t i = 0; i < samples.size(); i += 3)
            luminance.push_back(matrix[1][0] * static_cast<double>(samples[i]) +
                                matrix[1][1] * static_cast<double>(samples[i + 1]) +
                                matrix[1][2] * static_cast<double>(samples[i + 2]));
        return luminance;
    }

    selvane_report Report()
    {
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
        return report;
    }

    selvane_settings fSettings = PlainSettings();
};

TEST_F(Looks, SaturationOfMinusHundredIsGrey)
{
    Set(&selvane_settings::saturation, -100);
    const auto samples = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 1);
    for (size_t i = 0; i < samples.size(); i += 3) {
        ASSERT_NEAR(samples[i], samples[i + 1], 4);
        ASSERT_NEAR(samples[i], samples[i + 2], 4);
    }
}

TEST_F(Looks, MeasuredPointsGivenBackAreTheSameRender)
{
    Set(&selvane_settings::white_clip, 30);
    const auto expected = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0);
    const selvane_report report = Report();
    fSettings.points = SELVANE_POINTS_GIVEN;
    fSettings.black_point = report.black_point;
    fSettings.white_point = report.white_point;
    Set(&selvane_settings::white_clip, 0);
    EXPECT_TRUE(Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0) == expected);
    EXPECT_EQ(Report().black_point, report.black_point);
    EXPECT_EQ(Report().white_point, report.white_point);
}

/// Exposure of e divides the distance from the black to the white point by 2^e.
TEST_F(Looks, ExposureMovesTheWhitePoint)
{
    fSettings.points = SELVANE_POINTS_GIVEN;
    fSettings.black_point = 0.125f;
    Set(&selvane_settings::white_point, 0.75f);
    Set(&selvane_settings::exposure, 1.0f);
    const auto brighter = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0);
    Set(&selvane_settings::exposure, 0.0f);
    Set(&selvane_settings::white_point, 0.4375f);
    EXPECT_TRUE(Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0) == brighter);
}

/// Points a distance of 1 apart are points like others: 0 and 1 give nearly what 0 and 1.001 give.
TEST_F(Looks, PointsOneApartAreLikeOthers)
{
    const auto withWhite = [&](float pBlack, float pWhite, float pExposure) {
        fSettings.points = SELVANE_POINTS_GIVEN;
        fSettings.black_point = pBlack;
        fSettings.white_point = pWhite;
        Set(&selvane_settings::exposure, pExposure);
        return Render<uint8_t>(SELVANE_U8, SELVANE_SRGB, 0);
    };
    const float cases[][3] = {{0, 1, 0}, {0.25f, 1.25f, 0}, {0, 2, 1}, {0, 0.5f, -1}};
    for (const auto& one : cases) {
        const auto exact = withWhite(one[0], one[1], one[2]), near = withWhite(one[0], one[1] * 1.001f, one[2]);
        for (size_t i = 0; i < exact.size(); i++)
            ASSERT_NEAR(exact[i], near[i], 2) << one[0] << " to " << one[1] << " at " << one[2] << " stops";
    }
}

TEST_F(Looks, CurvesOfOneHalfChangeAlmostNothing)
{
    const auto expected = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0);
    fSettings.automatic = 1;
    fSettings.hue = fSettings.hue_saturation = fSettings.hue_lightness = {2, {{0.2f, 0.5f}, {0.8f, 0.5f}}};
    Set(&selvane_settings::exposure, 0);
    const auto seen = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 0);
    for (size_t i = 0; i < seen.size(); i++)
        ASSERT_NEAR(seen[i], expected[i], 64); // a quarter of a byte
}

TEST_F(Looks, HueSaturationOfZeroIsGrey)
{
    fSettings.hue_saturation = {1, {{0.3f, 0.0f}}};
    Set(&selvane_settings::exposure, 0);
    const auto samples = Render<uint16_t>(SELVANE_U16, SELVANE_SRGB, 1);
    for (size_t i = 0; i < samples.size(); i += 3) {
        ASSERT_NEAR(samples[i], samples[i + 1], 64);
        ASSERT_NEAR(samples[i], samples[i + 2], 64);
    }
}

} // namespace
} // namespace SelvaneTest
