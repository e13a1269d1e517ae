// selvane_equalize: the bytes of the engine's colour equalizer, in any layout and space.

#include "Pictures.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "render/HueControls.h"

#include <algorithm>
#include <cstring>

namespace SelvaneTest
{
namespace
{

struct sHue
{
    double fHue;
    double fValue;
};

/// Returns the curve's value at each of the 65536 hues.
std::vector<float> Table(const std::vector<sHue>& pPoints)
{
    selvane_curve given{};
    for (const sHue& point : pPoints)
        given.points[given.count++] = {static_cast<float>(point.fHue), static_cast<float>(point.fValue)};
    const std::vector<Vornik::sControlPoint> points = SelvaneLib::ControlPoints(given);
    Vornik::cHermiteSpline curve;
    curve.SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
    return {curve.GetLUT16f(), curve.GetLUT16f() + 65536};
}

/// Returns the value of an ease from each point to the next around the circle.
double Ease(std::vector<sHue> pPoints, double pHue)
{
    std::sort(pPoints.begin(), pPoints.end(), [](const sHue& a, const sHue& b) { return a.fHue < b.fHue; });
    const size_t count = pPoints.size();
    for (size_t i = 0; i <= count; i++) {
        const sHue& from = pPoints[(i + count - 1) % count];
        const sHue& to = pPoints[i % count];
        const double left = from.fHue - (i == 0 ? 1.0 : 0.0);
        const double right = to.fHue + (i == count ? 1.0 : 0.0);
        if (right <= left || pHue < left || pHue > right) continue;
        const double t = (pHue - left) / (right - left);
        return from.fValue + (to.fValue - from.fValue) * t * t * (3.0 - 2.0 * t);
    }
    return -1.0;
}

// The table joins 100 chords between two points. A chord differs from the ease by at most 1.5 / 100^2 / 2 of the rise.
// Single precision and the truncated abscissa add less than that.
TEST(HueControls, TheCurveEasesFromPointToPointAroundTheCircle)
{
    const std::vector<std::vector<sHue>> cases = {{{0.0, 0.5}, {0.33, 0.6}, {1.0, 0.5}},
                                                  {{0.2, 0.1}, {0.7, 0.9}},
                                                  {{0.9, 0.2}, {0.1, 0.8}, {0.12, 0.1}},
                                                  {{0.0, 0.3}, {0.5, 0.7}},
                                                  {{0.5, 0.7}, {1.0, 0.25}},
                                                  {{0.95, 1.0}, {0.05, 0.0}},
                                                  {{0.4, 0.6}},
                                                  {{0.0, 0.6}},
                                                  {{1.0, 0.6}}};
    for (const auto& points : cases) {
        const std::vector<float> table = Table(points);
        for (size_t i = 0; i < table.size(); i += 13)
            ASSERT_NEAR(table[i], Ease(points, static_cast<double>(i) / 65535.0), 2e-3) << points[0].fHue << " " << i;
    }
}

TEST(HueControls, RedHasOneValueFromBothSides)
{
    for (const auto& points :
         {std::vector<sHue>{{0.2, 0.1}, {0.7, 0.9}}, {{0.01, 1.0}, {0.9, 0.0}}, {{0.0, 0.8}, {0.5, 0.1}}}) {
        const std::vector<float> table = Table(points);
        EXPECT_NEAR(table.front(), table.back(), 1e-4);
        EXPECT_NEAR(table[65] - table[0], table[65535] - table[65535 - 65], 1e-3) << "and nearly one slope";
    }
}

TEST(HueControls, NothingOvershootsTheValuesGiven)
{
    const std::vector<float> table = Table({{0.1, 0.2}, {0.11, 0.9}, {0.5, 0.9}, {0.51, 0.2}});
    EXPECT_GE(*std::min_element(table.begin(), table.end()), 0.2F - 1e-6F);
    EXPECT_LE(*std::max_element(table.begin(), table.end()), 0.9F + 1e-6F);
}

TEST(HueControls, ANeutralCurveIsFlat)
{
    for (const auto& points : {std::vector<sHue>{}, {{0.0, 0.5}}})
        for (const float value : Table(points))
            ASSERT_EQ(value, 0.5F);
}

TEST(HueControls, PointsAtBothEndsStayAsGiven)
{
    const std::vector<float> table = Table({{0.0, 0.2}, {1.0, 0.9}});
    EXPECT_EQ(table.front(), 0.2F);
    EXPECT_EQ(table.back(), 0.9F);
}

constexpr int kWidth = 37, kHeight = 23;
constexpr size_t kPixels = size_t{kWidth} * kHeight;

selvane_settings SomeCurves()
{
    selvane_settings settings = PlainSettings();
    settings.hue = {3, {{0.0f, 0.5f}, {0.5f, 0.75f}, {1.0f, 0.5f}}};
    settings.hue_saturation = {2, {{0.2f, 0.25f}, {0.7f, 0.9f}}};
    settings.hue_lightness = {1, {{0.4f, 0.625f}}};
    return settings;
}

template <class tSample>
std::vector<tSample> Samples()
{
    std::mt19937 random(3);
    std::vector<tSample> samples(3 * kPixels);
    for (tSample& sample : samples)
        sample = static_cast<tSample>(random());
    return samples;
}

/// Blue, green, red of the picture for red, green, blue, and back.
template <class tSample>
void Swap(const tSample* pFrom, tSample* pTo)
{
    for (size_t i = 0; i < 3 * kPixels; i++)
        pTo[i] = pFrom[i / 3 * 3 + 2 - i % 3];
}

template <class tBitmap, class tSample>
void CopyRows(tBitmap& pBitmap, std::vector<tSample>& pSamples, bool pIn)
{
    for (size_t y = 0; y < kHeight; y++) {
        auto* const row = reinterpret_cast<unsigned char*>(pBitmap.fData) + y * static_cast<size_t>(pBitmap.fStride);
        tSample* const own = pSamples.data() + y * 3 * kWidth;
        std::memcpy(pIn ? row : reinterpret_cast<unsigned char*>(own),
                    pIn ? reinterpret_cast<unsigned char*>(own) : row, sizeof(tSample) * 3 * kWidth);
    }
}

/// What the engine's own objects give.
template <class tBitmap, class tSample>
std::vector<tSample> ByEngine(const std::vector<tSample>& pSamples, int pSpace, const selvane_settings& pSettings)
{
    const auto space = static_cast<Vornik::eColorSpaceID>(pSpace);
    tBitmap from(kWidth, kHeight, space), to(kWidth, kHeight, space);
    std::vector<tSample> swapped(pSamples.size()), result(pSamples.size());
    Swap(pSamples.data(), swapped.data());
    CopyRows(from, swapped, true);
    Vornik::cHermiteSpline splines[3];
    const selvane_curve* const curves[3] = {&pSettings.hue, &pSettings.hue_saturation, &pSettings.hue_lightness};
    for (int i = 0; i < 3; i++) {
        const auto points = SelvaneLib::ControlPoints(*curves[i]);
        splines[i].SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
    }
    Vornik::cColorEqRenderer renderer;
    renderer.SetInput(&from);
    renderer.SetOutput(&to);
    renderer.SetHueCurves(&splines[0], &splines[1], &splines[2]);
    renderer.Render();
    CopyRows(to, swapped, false);
    Swap(swapped.data(), result.data());
    return result;
}

template <class tSample>
std::vector<tSample> ByLibrary(const std::vector<tSample>& pSamples, int pSpace, const selvane_settings& pSettings)
{
    const int format = sizeof(tSample) == 1 ? SELVANE_U8 : SELVANE_U16;
    std::vector<tSample> result(pSamples.size());
    selvane_picture picture = PictureOf(kWidth, kHeight, format, pSamples.data());
    picture.primaries = pSpace;
    selvane_target target = TargetOf(kWidth, kHeight, format, result.data());
    target.space = pSpace;
    const tHandle handle = NewHandle();
    EXPECT_DONE(handle.get(), selvane_equalize(handle.get(), &picture, &pSettings, &target));
    return result;
}

TEST(Equalize, BytesAreThoseOfTheEngine)
{
    for (const int space : {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO}) {
        const auto eight = Samples<uint8_t>();
        const auto sixteen = Samples<uint16_t>();
        const std::vector<uint8_t> bytes = ByLibrary(eight, space, SomeCurves());
        EXPECT_NE(bytes, eight);
        EXPECT_TRUE(bytes == (ByEngine<Vornik::cBitmapBGR8>(eight, space, SomeCurves()))) << space;
        EXPECT_TRUE(ByLibrary(sixteen, space, SomeCurves()) ==
                    (ByEngine<Vornik::cBitmapBGR16>(sixteen, space, SomeCurves())))
            << space;
    }
}

/// Neutral curves lose the precision of the 16-bit hue alone, also in spaces that the engine does not have.
TEST(Equalize, NeutralCurvesKeepThePictureInEverySpace)
{
    const auto samples = Samples<uint16_t>();
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        const std::vector<uint16_t> result = ByLibrary(samples, space, PlainSettings());
        int largest = 0;
        for (size_t i = 0; i < samples.size(); i++)
            largest = std::max(largest, std::abs(samples[i] - result[i]));
        EXPECT_LE(largest, 512) << space;
    }
}

TEST(Equalize, LayoutsAndAlphaAreKept)
{
    const auto samples = Samples<uint8_t>();
    const std::vector<uint8_t> expected = ByLibrary(samples, SELVANE_SRGB, SomeCurves());
    std::vector<uint8_t> four(4 * kPixels), result(4 * kPixels);
    for (size_t i = 0; i < kPixels; i++) { // blue first, with alpha
        for (size_t color = 0; color < 3; color++)
            four[4 * i + color] = samples[3 * i + 2 - color];
        four[4 * i + 3] = static_cast<uint8_t>(i);
    }
    selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_U8, four.data(), 4);
    picture.order = SELVANE_BGR;
    selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, result.data() + 4 * kWidth * (kHeight - 1), 4);
    target.row_stride = -4 * kWidth; // bottom up
    const selvane_settings settings = SomeCurves();
    const tHandle handle = NewHandle();
    ASSERT_DONE(handle.get(), selvane_equalize(handle.get(), &picture, &settings, &target));
    for (size_t y = 0; y < kHeight; y++)
        for (size_t x = 0; x < kWidth; x++) {
            const size_t from = y * kWidth + x, to = (kHeight - 1 - y) * kWidth + x;
            EXPECT_EQ(std::memcmp(&result[4 * to], &expected[3 * from], 3), 0);
            EXPECT_EQ(result[4 * to + 3], static_cast<uint8_t>(from));
        }
    std::vector<uint16_t> wide(4 * kPixels);
    selvane_target deep = TargetOf(kWidth, kHeight, SELVANE_U16, wide.data(), 4);
    ASSERT_DONE(handle.get(), selvane_equalize(handle.get(), &picture, &settings, &deep));
    EXPECT_EQ(wide[4 * 200 + 3], 257 * 200);
    picture = PictureOf(kWidth, kHeight, SELVANE_U8, samples.data());
    ASSERT_DONE(handle.get(), selvane_equalize(handle.get(), &picture, &settings, &deep));
    EXPECT_EQ(wide[3], 65535);
}

TEST(Equalize, WhatMakesNoSenseIsRefused)
{
    const std::vector<float> floats(3 * kPixels, 0.5f);
    const auto samples = Samples<uint8_t>();
    std::vector<uint8_t> result(3 * kPixels);
    const selvane_settings settings = SomeCurves();
    const tHandle handle = NewHandle();
    const auto refusal = [&](const selvane_picture& pPicture, const selvane_target& pTarget,
                             const selvane_settings& pSettings) {
        EXPECT_EQ(selvane_equalize(handle.get(), &pPicture, &pSettings, &pTarget), SELVANE_ERROR_ARGUMENT);
        return std::string(selvane_error(handle.get()));
    };
    const selvane_picture good = PictureOf(kWidth, kHeight, SELVANE_U8, samples.data());
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, result.data());
    selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, floats.data());
    EXPECT_EQ(refusal(picture, target, settings), "a picture to equalize has 8- or 16-bit integers");
    picture = good;
    picture.transfer = SELVANE_TRANSFER_ENGINE;
    EXPECT_EQ(refusal(picture, target, settings), "the engine's transfer is for pictures to tone-map");
    picture = good;
    picture.pixels = nullptr;
    EXPECT_EQ(refusal(picture, target, settings), "pixels of the picture is null");
    selvane_target other = target;
    other.linear = 1;
    EXPECT_EQ(refusal(good, other, settings), "linear or dither of an equalized picture is not 0");
    other = target;
    other.width--;
    EXPECT_EQ(refusal(good, other, settings), "width and height of the target are not those of the picture");
    selvane_settings wrong = settings;
    wrong.hue.points[1].y = 1.5f;
    EXPECT_EQ(refusal(good, target, wrong), "hue point 2 y must lie between 0.0 and 1.0, and is 1.5");
    EXPECT_EQ(selvane_equalize(nullptr, &good, &settings, &target), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_equalize(handle.get(), nullptr, &settings, &target), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_equalize(handle.get(), &good, nullptr, &target), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_equalize(handle.get(), &good, &settings, nullptr), SELVANE_ERROR_ARGUMENT);
    ASSERT_DONE(handle.get(), selvane_set_memory_limit(handle.get(), 1000));
    EXPECT_EQ(selvane_equalize(handle.get(), &good, &settings, &target), SELVANE_ERROR_LIMIT);
}

} // namespace
} // namespace SelvaneTest
