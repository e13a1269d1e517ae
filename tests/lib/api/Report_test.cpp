// What the report and the planes tell, against sums and sorted values.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 310, kHeight = 190;
constexpr size_t kPixels = size_t{kWidth} * kHeight;

class Report : public testing::Test
{
protected:
    Report() : fScene(FloatScene(kWidth, kHeight, 3, 5.0)), fHandle(NewHandle())
    {
        const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
        EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
        EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    }

    selvane_report Get()
    {
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
        return report;
    }

    std::vector<float> Plane(int pPlane)
    {
        std::vector<float> plane(kPixels);
        EXPECT_DONE(fHandle.get(), selvane_get_plane(fHandle.get(), pPlane, plane.data(), 0));
        return plane;
    }

    /// log10 of the luminance of each pixel, by the published matrix.
    std::vector<double> Logarithms() const
    {
        const tMatrix matrix = ToXYZ(kChromaticities[SELVANE_SRGB]);
        std::vector<double> logarithms;
        for (size_t i = 0; i < fScene.size(); i += 3)
            logarithms.push_back(std::log10(matrix[1][0] * static_cast<double>(fScene[i]) +
                                            matrix[1][1] * static_cast<double>(fScene[i + 1]) +
                                            matrix[1][2] * static_cast<double>(fScene[i + 2])));
        return logarithms;
    }

    std::vector<float> fScene;
    selvane_settings fSettings = PlainSettings();
    tHandle fHandle;
};

TEST_F(Report, HasPercentilesOfTheSortedLogarithms)
{
    std::vector<double> sorted = Logarithms();
    std::sort(sorted.begin(), sorted.end());
    const selvane_report report = Get();
    const double shares[] = {0.001, 0.01, 0.25, 0.5, 0.75, 0.99, 0.9975};
    const double halfBin = 0.5 * std::log10(1 + 1 / 128.0) + 1e-4; // luminance is counted by 1/128 of its value
    for (size_t i = 0; i < 7; i++) {
        const auto rank = static_cast<size_t>(std::ceil(shares[i] * static_cast<double>(kPixels))) - 1;
        EXPECT_NEAR(static_cast<double>(report.percentiles[i]), sorted[rank], halfBin) << shares[i];
    }
    EXPECT_NEAR(static_cast<double>(report.log_luminance_min), sorted.front(), 1e-4);
    EXPECT_NEAR(static_cast<double>(report.log_luminance_max), sorted.back(), 1e-4);
    EXPECT_NEAR(static_cast<double>(report.log_luminance_mean),
                std::accumulate(sorted.begin(), sorted.end(), 0.0) / static_cast<double>(kPixels), halfBin);
    const double range = static_cast<double>(report.percentiles[6] - report.percentiles[0]) / std::log10(2.0);
    EXPECT_NEAR(static_cast<double>(report.dynamic_range_stops), range, 1e-4);
}

TEST_F(Report, HasTheSizeAndNoLayersBeforeARender)
{
    const selvane_report report = Get();
    EXPECT_EQ(report.width, kWidth);
    EXPECT_EQ(report.height, kHeight);
    EXPECT_EQ(report.visible_pixels, static_cast<int64_t>(kPixels));
    EXPECT_EQ(report.base_min, 0.0f);
    EXPECT_EQ(report.base_max, 0.0f);
    EXPECT_EQ(report.white_point, 0.0f);
    EXPECT_GE(report.bytes, static_cast<int64_t>(12 * kPixels));
}

int64_t SumOf(const int64_t (&pBytes)[SELVANE_STAGES])
{
    return std::accumulate(std::begin(pBytes), std::end(pBytes), int64_t{0});
}

/// A plane of floats each for the logarithm and the base, and one for the new luminance.
TEST_F(Report, TellsTheBytesOfEachStage)
{
    const selvane_report before = Get();
    EXPECT_EQ(SumOf(before.stage_bytes), before.bytes);
    EXPECT_GE(before.stage_bytes[SELVANE_STAGE_READ], static_cast<int64_t>(12 * kPixels));
    EXPECT_GE(before.stage_bytes[SELVANE_STAGE_SPLIT], static_cast<int64_t>(8 * kPixels));
    EXPECT_EQ(before.stage_bytes[SELVANE_STAGE_MAP], static_cast<int64_t>(4 * kPixels));
    EXPECT_EQ(before.stage_bytes[SELVANE_STAGE_POINTS], 0);
    EXPECT_GT(before.stage_bytes[SELVANE_STAGE_WRITE], 0);
    int32_t width = 0, height = 0;
    EXPECT_DONE(fHandle.get(), selvane_preview_size(fHandle.get(), 40, &width, &height));
    std::vector<uint8_t> pixels(3 * static_cast<size_t>(width) * static_cast<size_t>(height));
    const selvane_target target = TargetOf(width, height, SELVANE_U8, pixels.data());
    EXPECT_DONE(fHandle.get(), selvane_preview(fHandle.get(), 40, &target));
    const selvane_report after = Get();
    EXPECT_EQ(SumOf(after.stage_bytes), after.bytes);
    const int64_t small = int64_t{width} * height;
    EXPECT_GE(after.stage_bytes[SELVANE_STAGE_READ] - before.stage_bytes[SELVANE_STAGE_READ], 24 * small);
    EXPECT_EQ(after.stage_bytes[SELVANE_STAGE_MAP] - before.stage_bytes[SELVANE_STAGE_MAP], 8 * small);
}

/// A program of the first header does not know the end of the record.
TEST_F(Report, IsFilledAsFarAsAnOlderProgramKnowsIt)
{
    selvane_report report;
    std::memset(&report, 0x5A, sizeof report);
    report.struct_size = offsetof(selvane_report, stage_bytes);
    EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
    EXPECT_GT(report.bytes, 0);
    EXPECT_EQ(report.stage_bytes[0], 0x5A5A5A5A5A5A5A5A);
    report.struct_size--;
    EXPECT_EQ(selvane_get_report(fHandle.get(), &report), SELVANE_ERROR_ARGUMENT);
}

TEST_F(Report, MeasuresTheLayersThatThePlanesShow)
{
    RenderBytes(fHandle.get(), kWidth, kHeight);
    const selvane_report report = Get();
    const std::vector<float> base = Plane(SELVANE_PLANE_BASE), detail = Plane(SELVANE_PLANE_DETAIL);
    const auto mean = [](const std::vector<float>& pPlane, bool pAbsolute) {
        double sum = 0;
        for (const float value : pPlane)
            sum += static_cast<double>(pAbsolute ? std::fabs(value) : value);
        return sum / static_cast<double>(kPixels);
    };
    EXPECT_EQ(report.base_min, *std::min_element(base.begin(), base.end()));
    EXPECT_EQ(report.base_max, *std::max_element(base.begin(), base.end()));
    EXPECT_NEAR(static_cast<double>(report.base_mean), mean(base, false), 1e-5);
    EXPECT_EQ(report.detail_min, *std::min_element(detail.begin(), detail.end()));
    EXPECT_EQ(report.detail_max, *std::max_element(detail.begin(), detail.end()));
    EXPECT_NEAR(static_cast<double>(report.detail_mean), mean(detail, true), 1e-5);
    EXPECT_GT(report.detail_mean, 0.001f);
}

TEST_F(Report, PlanesAddUp)
{
    const std::vector<double> expected = Logarithms();
    const std::vector<float> log = Plane(SELVANE_PLANE_LUMINANCE), base = Plane(SELVANE_PLANE_BASE),
                             detail = Plane(SELVANE_PLANE_DETAIL);
    for (size_t i = 0; i < kPixels; i++) {
        ASSERT_NEAR(static_cast<double>(log[i]), expected[i], 1e-4);
        ASSERT_NEAR(base[i] + detail[i], log[i], 1e-6f);
    }
}

TEST_F(Report, PlanesFollowTheSettings)
{
    const std::vector<float> before = Plane(SELVANE_PLANE_BASE);
    fSettings.radius = -8;
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    EXPECT_FALSE(Plane(SELVANE_PLANE_BASE) == before);
    fSettings.radius = 0;
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    EXPECT_TRUE(Plane(SELVANE_PLANE_BASE) == before);
}

/// The points stand on the scale of the mapped luminance: the clipped shares can be counted on the plane.
TEST_F(Report, TheMappedPlaneIsClippedAtThePoints)
{
    fSettings.compression = 40;
    fSettings.white_clip = 30;
    fSettings.black_clip = 3;
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    const std::vector<float> first = Plane(SELVANE_PLANE_MAPPED); // before a render
    RenderBytes(fHandle.get(), kWidth, kHeight);
    const std::vector<float> mapped = Plane(SELVANE_PLANE_MAPPED);
    EXPECT_TRUE(first == mapped);
    const selvane_report report = Get();
    const auto share = [&](auto pTest) {
        return static_cast<float>(std::count_if(mapped.begin(), mapped.end(), pTest)) / static_cast<float>(kPixels);
    };
    const float black = std::log10(report.black_point), white = std::log10(report.white_point);
    EXPECT_NEAR(share([&](float pValue) { return pValue <= black; }), report.clipped_black, 1.0f / kPixels);
    EXPECT_NEAR(share([&](float pValue) { return pValue >= white; }), report.clipped_white, 1.0f / kPixels);
    EXPECT_GT(report.clipped_black, 0.02f);
}

TEST_F(Report, TheMappedPlaneOfOneToneIsThatOfTheInput)
{
    std::fill(fScene.begin(), fScene.end(), 0.25f);
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    EXPECT_TRUE(Plane(SELVANE_PLANE_MAPPED) == Plane(SELVANE_PLANE_LUMINANCE));
    EXPECT_NEAR(Plane(SELVANE_PLANE_MAPPED)[0], std::log10(0.25f), 1e-5f);
}

/// A stronger compression takes range away from the mapped luminance; black has the logarithm of 1e-10.
TEST_F(Report, TheMappedPlaneFollowsTheCompression)
{
    std::fill_n(fScene.begin(), 30, 0.0f);
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    const auto range = [&](float pCompression) {
        fSettings.compression = pCompression;
        EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
        std::vector<float> mapped = Plane(SELVANE_PLANE_MAPPED);
        EXPECT_GE(*std::min_element(mapped.begin(), mapped.end()), -10.0f);
        std::sort(mapped.begin(), mapped.end());
        return mapped[kPixels * 99 / 100] - mapped[kPixels / 100];
    };
    EXPECT_LT(range(80), 0.6f * range(-80));
}

TEST_F(Report, PlanesStandInRowsWithGapsAndBottomUp)
{
    const std::vector<float> plain = Plane(SELVANE_PLANE_LUMINANCE);
    constexpr int kStride = kWidth + 9;
    std::vector<float> gaps(size_t{kStride} * kHeight, -77.0f), turned(kPixels);
    ASSERT_DONE(fHandle.get(), selvane_get_plane(fHandle.get(), SELVANE_PLANE_LUMINANCE, gaps.data(), 4 * kStride));
    ASSERT_DONE(fHandle.get(), selvane_get_plane(fHandle.get(), SELVANE_PLANE_LUMINANCE,
                                                 turned.data() + kPixels - kWidth, -4 * kWidth));
    for (size_t y = 0; y < kHeight; y++)
        for (size_t x = 0; x < kStride; x++) {
            const float expected = x < kWidth ? plain[y * kWidth + x] : -77.0f;
            ASSERT_EQ(gaps[y * kStride + x], expected);
            const size_t row = (kHeight - 1 - y) * kWidth;
            ASSERT_EQ(x < kWidth ? turned[row + x] : -77.0f, expected);
        }
}

/// Sliders in per cent of the pixels: 10 for black, 100 is 5 for white.
TEST_F(Report, ClippedSharesAreThoseOfTheSliders)
{
    for (const float black : {0.0f, 2.0f, 10.0f, 40.0f})
        for (const float white : {0.0f, 20.0f, 100.0f}) {
            fSettings.black_clip = black;
            fSettings.white_clip = white;
            ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
            RenderBytes(fHandle.get(), kWidth, kHeight);
            const selvane_report report = Get();
            EXPECT_NEAR(report.clipped_black, 0.01f * black, 0.004f);
            EXPECT_NEAR(report.clipped_white, 0.0005f * white, 0.004f);
        }
}

TEST_F(Report, ClippedSharesOfGivenPointsAreCounted)
{
    const auto shares = [&](float pBlack, float pWhite) {
        fSettings.points = SELVANE_POINTS_GIVEN;
        fSettings.black_point = pBlack;
        fSettings.white_point = pWhite;
        EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
        RenderBytes(fHandle.get(), kWidth, kHeight);
        return Get();
    };
    EXPECT_EQ(shares(0, 1e6f).clipped_white, 0.0f);
    EXPECT_EQ(shares(0, 1e6f).clipped_black, 0.0f);
    EXPECT_EQ(shares(0, 1e-20f).clipped_white, 1.0f);
    EXPECT_EQ(shares(1e6f, 2e6f).clipped_black, 1.0f);
    EXPECT_EQ(shares(0.25f, 0.5f).black_point, 0.25f);
    EXPECT_EQ(shares(0.25f, 0.5f).white_point, 0.5f);
}

/// What is clipped is seen: the greys of a grey scene at the ends of the range.
TEST_F(Report, ClippedPixelsAreBlackOrWhite)
{
    std::vector<float> grey;
    for (const double logarithm : Logarithms())
        grey.insert(grey.end(), 3, static_cast<float>(std::pow(10.0, logarithm)));
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, grey.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    fSettings.black_clip = 30;
    fSettings.white_clip = 100;
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    std::vector<uint16_t> samples(3 * kPixels);
    selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U16, samples.data());
    target.space = SELVANE_PROPHOTO;
    target.linear = 1;
    ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
    size_t black = 0, white = 0;
    for (size_t i = 1; i < samples.size(); i += 3) {
        black += samples[i] == 0 ? 1u : 0u;
        white += samples[i] >= 65533 ? 1u : 0u; // greys lose a step or two in the matrices
    }
    const selvane_report report = Get();
    EXPECT_NEAR(static_cast<double>(report.clipped_black), static_cast<double>(black) / kPixels, 0.003);
    EXPECT_NEAR(static_cast<double>(report.clipped_white), static_cast<double>(white) / kPixels, 0.003);
}

TEST_F(Report, ReasonsComeWithTheSuggestion)
{
    EXPECT_EQ(selvane_reason(fHandle.get(), 0), nullptr);
    EXPECT_EQ(Get().previews, 0);
    selvane_settings suggestion = PlainSettings();
    ASSERT_DONE(fHandle.get(), selvane_suggest(fHandle.get(), &suggestion));
    EXPECT_GT(Get().previews, 0);
    int count = 0;
    while (selvane_reason(fHandle.get(), count) != nullptr) {
        EXPECT_GT(std::strlen(selvane_reason(fHandle.get(), count)), 10u);
        count++;
    }
    EXPECT_GT(count, 0);
    EXPECT_EQ(selvane_reason(fHandle.get(), -1), nullptr);
    EXPECT_EQ(selvane_reason(fHandle.get(), count + 1000), nullptr);
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    EXPECT_EQ(selvane_reason(fHandle.get(), 0), nullptr);
    EXPECT_EQ(Get().previews, 0);
}

/// Black pixels count as 1e-10 in the report.
TEST_F(Report, OfBlackIsTheLeastLuminance)
{
    const std::vector<float> samples = {0, 0, 0, 1, 1, 1};
    const selvane_picture picture = PictureOf(2, 1, SELVANE_F32, samples.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    EXPECT_EQ(Get().log_luminance_min, -10.0f);
    EXPECT_NEAR(Get().log_luminance_max, 0.0f, 1e-5f);
}

} // namespace
} // namespace SelvaneTest
