// The C functions for pictures over time, and a film of made frames from end to end.

#include "Frames.h"
#include "api/Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 160, kHeight = 100;

class Sequence : public testing::Test
{
protected:
    void Show(const std::vector<float>& pSamples, int pWidth = kWidth, int pHeight = kHeight, int pChannels = 3)
    {
        selvane_picture picture = PictureOf(pWidth, pHeight, SELVANE_F32, pSamples.data(), pChannels);
        picture.keep_hot_samples = 1;
        ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    }

    selvane_frame Measure()
    {
        selvane_frame frame;
        selvane_frame_init(&frame);
        EXPECT_DONE(fHandle.get(), selvane_measure(fHandle.get(), &frame));
        return frame;
    }

    void Set(const selvane_settings& pSettings)
    {
        ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &pSettings));
    }

    selvane_settings Effective()
    {
        selvane_settings settings = PlainSettings();
        EXPECT_DONE(fHandle.get(), selvane_effective_settings(fHandle.get(), &settings));
        return settings;
    }

    selvane_report Report()
    {
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
        return report;
    }

    std::string ErrorOf(int pStatus, int pExpected = SELVANE_ERROR_ARGUMENT)
    {
        EXPECT_EQ(pStatus, pExpected);
        return selvane_error(fHandle.get());
    }

    tHandle fHandle = NewHandle();
};

/// Luminance of the published sRGB matrix, with the white of D50 that the library works in.
double LuminanceOf(const float* pRGB)
{
    return 0.2225045 * static_cast<double>(pRGB[0]) + 0.7168786 * static_cast<double>(pRGB[1]) +
           0.0606169 * static_cast<double>(pRGB[2]);
}

TEST_F(Sequence, AMeasureHasTheSlidersAndThePointsOfTheRender)
{
    Show(FloatScene(kWidth, kHeight));
    const selvane_frame frame = Measure();
    const selvane_settings settings = Effective();
    EXPECT_EQ(frame.compression, settings.compression);
    EXPECT_EQ(frame.smoothness, settings.smoothness);
    EXPECT_EQ(frame.radius, settings.radius);
    EXPECT_EQ(frame.adaptation, settings.adaptation);
    EXPECT_EQ(frame.white_clip, settings.white_clip);
    EXPECT_EQ(frame.black_clip, settings.black_clip);
    EXPECT_EQ(frame.exposure, settings.exposure);
    EXPECT_EQ(frame.contrast, settings.contrast);
    EXPECT_EQ(frame.saturation, settings.saturation);
    const tHandle other = NewHandle();
    const std::vector<float> scene = FloatScene(kWidth, kHeight);
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, scene.data());
    ASSERT_DONE(other.get(), selvane_set_picture(other.get(), &picture));
    RenderBytes(other.get(), kWidth, kHeight);
    selvane_report report{};
    report.struct_size = sizeof report;
    ASSERT_DONE(other.get(), selvane_get_report(other.get(), &report));
    EXPECT_EQ(frame.black_point, report.black_point);
    EXPECT_EQ(frame.white_point, report.white_point);
    EXPECT_GT(frame.white_point, frame.black_point);
    EXPECT_EQ(frame.cut, 0);
    EXPECT_EQ(frame.odd, 0);
}

TEST_F(Sequence, AMeasureKnowsEverySlider)
{
    selvane_settings settings = PlainSettings();
    settings.compression = 21.0f;
    settings.smoothness = 2.0f;
    settings.radius = -3.0f;
    settings.adaptation = 4.0f;
    settings.white_clip = 5.0f;
    settings.black_clip = 0.6f;
    settings.exposure = 0.7f;
    settings.contrast = 8.0f;
    settings.saturation = 9.0f;
    Show(FloatScene(kWidth, kHeight));
    Set(settings);
    const selvane_frame frame = Measure();
    const std::vector<float> sliders = ValuesOf(frame);
    EXPECT_EQ(std::vector<float>(sliders.begin(), sliders.begin() + 9),
              (std::vector<float>{21.0f, 2.0f, -3.0f, 4.0f, 5.0f, 0.6f, 0.7f, 8.0f, 9.0f}));
}

TEST_F(Sequence, TheRenderAfterAMeasureOnlyWrites)
{
    Show(FloatScene(kWidth, kHeight));
    Measure();
    const std::vector<uint8_t> after = RenderBytes(fHandle.get(), kWidth, kHeight);
    const selvane_report report = Report();
    EXPECT_EQ(report.milliseconds[SELVANE_STAGE_SPLIT], 0.0);
    EXPECT_EQ(report.milliseconds[SELVANE_STAGE_MAP], 0.0);
    EXPECT_EQ(report.milliseconds[SELVANE_STAGE_POINTS], 0.0);
    EXPECT_GT(report.milliseconds[SELVANE_STAGE_WRITE], 0.0);
    Show(FloatScene(kWidth, kHeight));
    EXPECT_TRUE(RenderBytes(fHandle.get(), kWidth, kHeight) == after);
}

TEST_F(Sequence, TheCellsAreMeansOfTheLogarithm)
{
    for (const auto& [width, height] : {std::pair{160, 100}, {83, 61}, {8, 8}}) {
        const std::vector<float> scene = FloatScene(width, height);
        Show(scene, width, height);
        const selvane_frame frame = Measure();
        for (int cell = 0; cell < SELVANE_FRAME_CELLS; cell++) {
            const int left = cell % 8 * width / 8, right = (cell % 8 + 1) * width / 8;
            const int top = cell / 8 * height / 8, bottom = (cell / 8 + 1) * height / 8;
            double sum = 0.0;
            for (int y = top; y < bottom; y++)
                for (int x = left; x < right; x++)
                    sum += std::log10(LuminanceOf(&scene[3 * static_cast<size_t>(y * width + x)]));
            EXPECT_NEAR(static_cast<double>(frame.cells[cell]), sum / ((right - left) * (bottom - top)), 1e-4) << cell;
        }
    }
}

TEST_F(Sequence, ThePartsOfATinyPictureSharePixels)
{
    Show({1, 1, 1, 10, 10, 10, 100, 100, 100}, 3, 1);
    const selvane_frame frame = Measure();
    for (int cell = 0; cell < SELVANE_FRAME_CELLS; cell++)
        EXPECT_NEAR(frame.cells[cell], static_cast<float>(cell % 8 * 3 / 8), 1e-4f);
}

/// The 7 columns on the left do not count. Their parts get the mean of the other 9, of which 5 have the logarithm 2 and
/// 4 have 0; the part on the border has that of its one column.
TEST_F(Sequence, ThePixelsThatDoNotCountAreInNoCell)
{
    std::vector<float> samples;
    for (int y = 0; y < 16; y++)
        for (int x = 0; x < 16; x++) {
            const float level = x < 7 ? 1e6f : x % 2 == 0 ? 1.0f : 100.0f;
            for (const float value : {level, level, level, x < 7 ? 0.0f : 1.0f})
                samples.push_back(value);
        }
    Show(samples, 16, 16, 4);
    const selvane_frame frame = Measure();
    for (int cell = 0; cell < SELVANE_FRAME_CELLS; cell++) {
        const int column = cell % 8;
        EXPECT_NEAR(frame.cells[cell], column < 3 ? 10.0f / 9.0f : column == 3 ? 2.0f : 1.0f, 0.01f) << cell;
    }
}

TEST_F(Sequence, ASingleToneHasNoPoints)
{
    Show(std::vector<float>(3 * 20 * 20, 0.5f), 20, 20);
    EXPECT_EQ(Measure().white_point, 0.0f);
    EXPECT_EQ(Measure().black_point, 0.0f);
}

TEST_F(Sequence, AMeasureNeedsAPicture)
{
    selvane_frame frame;
    selvane_frame_init(&frame);
    EXPECT_EQ(ErrorOf(selvane_measure(fHandle.get(), &frame), SELVANE_ERROR_NO_PICTURE),
              "the handle has no picture yet");
    Show(FloatScene(kWidth, kHeight));
    frame.struct_size = 8;
    EXPECT_EQ(ErrorOf(selvane_measure(fHandle.get(), &frame)),
              "struct_size is too small: set it to the size of the record");
}

TEST_F(Sequence, AMeasureKeepsTheLimitAndCanBeCancelled)
{
    Show(FloatScene(kWidth, kHeight));
    selvane_frame frame;
    selvane_frame_init(&frame);
    ASSERT_DONE(fHandle.get(), selvane_set_memory_limit(fHandle.get(), 1000));
    EXPECT_EQ(selvane_measure(fHandle.get(), &frame), SELVANE_ERROR_LIMIT);
    ASSERT_DONE(fHandle.get(), selvane_set_memory_limit(fHandle.get(), 0));
    const auto stop = [](void*, int, float) { return 1; };
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), stop, nullptr));
    EXPECT_EQ(selvane_measure(fHandle.get(), &frame), SELVANE_ERROR_CANCELLED);
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
    EXPECT_GT(Measure().white_point, 0.0f);
}

TEST_F(Sequence, AFrameBecomesSettings)
{
    const selvane_frame frame = PlainFrame();
    selvane_settings settings = PlainSettings();
    settings.automatic = 1;
    settings.wrap = 1;
    settings.exposure = 9.0f;
    settings.hue.count = 1;
    settings.hue.points[0] = {0.25f, 0.75f};
    ASSERT_DONE(fHandle.get(), selvane_frame_to_settings(fHandle.get(), &frame, &settings));
    selvane_settings expected = settings;
    expected.automatic = 0;
    expected.wrap = 1;
    expected.compression = frame.compression;
    expected.smoothness = frame.smoothness;
    expected.radius = frame.radius;
    expected.adaptation = frame.adaptation;
    expected.white_clip = frame.white_clip;
    expected.black_clip = frame.black_clip;
    expected.exposure = frame.exposure;
    expected.contrast = frame.contrast;
    expected.saturation = frame.saturation;
    expected.points = SELVANE_POINTS_GIVEN;
    expected.black_point = frame.black_point;
    expected.white_point = frame.white_point;
    expected.hue.count = 1;
    expected.hue.points[0] = {0.25f, 0.75f};
    EXPECT_EQ(std::memcmp(&settings, &expected, sizeof settings), 0);
}

TEST_F(Sequence, AFrameWithoutPointsLeavesThemToTheRender)
{
    selvane_frame frame = PlainFrame();
    frame.black_point = frame.white_point = 0.0f;
    selvane_settings settings = PlainSettings();
    settings.points = SELVANE_POINTS_GIVEN;
    settings.white_point = 3.0f;
    ASSERT_DONE(fHandle.get(), selvane_frame_to_settings(fHandle.get(), &frame, &settings));
    EXPECT_EQ(settings.points, SELVANE_POINTS_MEASURED);
    EXPECT_EQ(settings.white_point, 0.0f);
}

TEST_F(Sequence, FramesWithWrongValuesAreRefusedByNumberAndName)
{
    const auto refusal = [&](auto pSpoil) {
        std::vector<selvane_frame> frames = PlainFrames(3);
        pSpoil(frames[1]);
        std::vector<selvane_frame> smooth(3, PlainFrame());
        const std::string text = ErrorOf(selvane_smooth(fHandle.get(), frames.data(), smooth.data(), frames.size(), 0));
        EXPECT_EQ(std::memcmp(smooth.data(), PlainFrames(3).data(), 3 * sizeof(selvane_frame)), 0) << "untouched";
        return text;
    };
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.compression = NAN; }),
              "frame 2: compression is not a number (NaN)");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.exposure = 21.0f; }),
              "frame 2: exposure must lie between -20.0 and 20.0, and is 21.0");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.white_point = 0.001f; }),
              "frame 2: white_point must lie above black_point");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.white_point = -1.0f; }),
              "frame 2: a point of a frame must be 0 or above");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.black_point = NAN; }),
              "frame 2: a point of a frame must be 0 or above");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.cells[63] = INFINITY; }),
              "frame 2: a cell of a frame is not finite");
    EXPECT_EQ(refusal([](selvane_frame& pFrame) { pFrame.reserved = 1; }), "frame 2: reserved must be 0");
}

TEST_F(Sequence, WindowsAndSizesAreRefused)
{
    std::vector<selvane_frame> frames = PlainFrames(3), smooth = PlainFrames(3);
    const auto run = [&](int pWindow) {
        return selvane_smooth(fHandle.get(), frames.data(), smooth.data(), frames.size(), pWindow);
    };
    EXPECT_EQ(ErrorOf(run(-1)), "window must lie between 0 and 100000");
    EXPECT_EQ(ErrorOf(run(100001)), "window must lie between 0 and 100000");
    EXPECT_EQ(run(100000), SELVANE_OK);
    frames[2].struct_size = sizeof(selvane_frame) + 8;
    EXPECT_EQ(ErrorOf(run(0)), "the records differ in struct_size");
    frames[2].struct_size = sizeof(selvane_frame);
    smooth[0].struct_size = 0;
    EXPECT_EQ(ErrorOf(run(0)), "struct_size is too small: set it to the size of the record");
    smooth[0].struct_size = sizeof(selvane_frame) + 4;
    EXPECT_EQ(ErrorOf(run(0)), "struct_size of a frame is no multiple of 8");
    EXPECT_EQ(selvane_smooth(nullptr, nullptr, nullptr, 0, 0), SELVANE_OK) << "nothing to do";
}

/// The records of a program that was compiled with a later header.
TEST_F(Sequence, LongerRecordsStandFurtherApart)
{
    struct sLater
    {
        selvane_frame fFrame;
        int32_t fMore[2];
    };
    std::vector<sLater> frames(5, {PlainFrame(), {0, 0}}), smooth(5, {PlainFrame(), {7, 7}});
    for (size_t i = 0; i < 5; i++) {
        frames[i].fFrame.struct_size = smooth[i].fFrame.struct_size = sizeof(sLater);
        frames[i].fFrame.contrast = static_cast<float>(i);
    }
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), &frames[0].fFrame, &smooth[0].fFrame, 5, 3));
    for (size_t i = 1; i < 4; i++)
        EXPECT_FLOAT_EQ(smooth[i].fFrame.contrast, static_cast<float>(i));
    EXPECT_FLOAT_EQ(smooth[0].fFrame.contrast, 1.0f / 3.0f);
    EXPECT_EQ(smooth[4].fMore[1], 0);
}

TEST_F(Sequence, TheFramesMayBeSmoothedInPlaceAndTwentyFiveCountByThemselves)
{
    std::vector<selvane_frame> frames = PlainFrames(60);
    for (size_t i = 0; i < frames.size(); i++)
        frames[i].contrast = static_cast<float>(i * i) * 0.02f;
    std::vector<selvane_frame> apart(frames.size(), PlainFrame());
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), frames.data(), apart.data(), frames.size(), 25));
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), frames.data(), frames.data(), frames.size(), 0));
    EXPECT_EQ(std::memcmp(frames.data(), apart.data(), frames.size() * sizeof(selvane_frame)), 0);
}

/// A film of 15 frames in which a lamp shines in frame 7, and after 15 more of another place.
class Film : public Sequence
{
protected:
    /// A room, with a lamp in its upper right corner or without.
    static std::vector<float> Room(bool pHasLamp)
    {
        std::vector<float> samples = FloatScene(kWidth, kHeight, 3, 3.0);
        for (int y = 0; pHasLamp && y < 30; y++)
            for (int x = 110; x < 140; x++)
                std::fill_n(&samples[3 * static_cast<size_t>(y * kWidth + x)], 3, 3000.0f);
        return samples;
    }

    static std::vector<float> Garden(int pFrame)
    {
        std::vector<float> samples = FloatScene(kWidth, kHeight, 3, 5.0);
        std::reverse(samples.begin(), samples.end());
        for (float& sample : samples)
            sample *= 40.0f * (1.0f + 0.01f * static_cast<float>(pFrame));
        return samples;
    }

    static std::vector<float> FrameAt(size_t pFrame)
    {
        return pFrame < 15 ? Room(pFrame == 7) : Garden(static_cast<int>(pFrame) - 15);
    }

    /// Mean grey level of the lower left quarter, which is still.
    double Brightness()
    {
        const std::vector<uint8_t> bytes = RenderBytes(fHandle.get(), kWidth, kHeight);
        double sum = 0.0;
        for (int y = kHeight / 2; y < kHeight; y++)
            for (int x = 0; x < kWidth / 2; x++)
                sum += bytes[3 * static_cast<size_t>(y * kWidth + x) + 1];
        return sum / (kWidth * kHeight / 4.0);
    }

    std::vector<selvane_frame> MeasureFrames(size_t pBegin, size_t pEnd)
    {
        std::vector<selvane_frame> frames;
        for (size_t i = pBegin; i < pEnd; i++) {
            Show(FrameAt(i));
            frames.push_back(Measure());
        }
        return frames;
    }

    void Use(const selvane_frame& pFrame)
    {
        selvane_settings settings = PlainSettings();
        ASSERT_DONE(fHandle.get(), selvane_frame_to_settings(fHandle.get(), &pFrame, &settings));
        Set(settings);
    }
};

TEST_F(Film, ALampOfOneFrameLeavesTheStillPartsStill)
{
    std::vector<selvane_frame> frames = MeasureFrames(0, 15);
    std::vector<double> alone;
    for (size_t i = 0; i < frames.size(); i++) {
        Show(FrameAt(i));
        alone.push_back(Brightness());
    }
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), frames.data(), frames.data(), frames.size(), 0));
    std::vector<double> together;
    for (size_t i = 0; i < frames.size(); i++) {
        Use(frames[i]);
        Show(FrameAt(i));
        together.push_back(Brightness());
    }
    const auto range = [](const std::vector<double>& pValues) {
        const auto ends = std::minmax_element(pValues.begin(), pValues.end());
        return *ends.second - *ends.first;
    };
    EXPECT_GT(range(alone), 5.0) << "the lamp is seen without smoothing";
    EXPECT_LT(range(together), 0.1 * range(alone));
    EXPECT_EQ(frames[7].odd, 1);
    EXPECT_EQ(frames[7].cut, 0);
}

TEST_F(Film, TheCutDoesNotBleed)
{
    std::vector<selvane_frame> all = MeasureFrames(0, 30);
    std::vector<selvane_frame> first(all.begin(), all.begin() + 15), second(all.begin() + 15, all.end());
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), all.data(), all.data(), all.size(), 0));
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), first.data(), first.data(), first.size(), 0));
    ASSERT_DONE(fHandle.get(), selvane_smooth(fHandle.get(), second.data(), second.data(), second.size(), 0));
    EXPECT_NE(ValuesOf(all[14]), ValuesOf(all[15]));
    for (size_t i = 0; i < all.size(); i++) {
        EXPECT_EQ(all[i].cut, i == 15 ? 1 : 0);
        EXPECT_EQ(ValuesOf(all[i]), ValuesOf(i < 15 ? first[i] : second[i - 15])) << i;
    }
}

} // namespace
} // namespace SelvaneTest
