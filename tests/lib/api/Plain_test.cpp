// The picture as it is, without tone mapping, against the published matrices.

#include "Formulas.h"
#include "Pictures.h"

#include <algorithm>
#include <cstring>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 83, kHeight = 57;
constexpr size_t kSamples = size_t{3} * kWidth * kHeight;

class Plain : public testing::Test
{
protected:
    Plain() : fScene(FloatScene(kWidth, kHeight)), fHandle(NewHandle()) { Set(SELVANE_SRGB); }

    void Set(int pPrimaries)
    {
        selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
        picture.primaries = pPrimaries;
        picture.keep_hot_samples = 1;
        ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    }

    std::vector<float> Linear(float pStops, int pSpace)
    {
        std::vector<float> samples(kSamples);
        selvane_target target = TargetOf(kWidth, kHeight, SELVANE_F32, samples.data());
        target.space = pSpace;
        target.linear = 1;
        EXPECT_DONE(fHandle.get(), selvane_plain(fHandle.get(), pStops, 0, &target));
        return samples;
    }

    std::vector<float> fScene;
    tHandle fHandle;
};

TEST_F(Plain, SamplesAreThoseOfTheInputTimesThePowerOfTwo)
{
    for (const float stops : {0.0f, -3.0f, 1.5f}) {
        const std::vector<float> samples = Linear(stops, SELVANE_SRGB);
        for (size_t i = 0; i < kSamples; i++)
            ASSERT_NEAR(samples[i], std::clamp(fScene[i] * std::exp2(stops), 0.0f, 1.0f), 1.5f / 65535);
    }
}

TEST_F(Plain, ColoursAreThoseOfTheTargetsSpace)
{
    for (const int from : {SELVANE_SRGB, SELVANE_REC2020, SELVANE_ACES_AP0}) {
        Set(from);
        for (const int to : {SELVANE_SRGB, SELVANE_DISPLAY_P3, SELVANE_PROPHOTO}) {
            const tMatrix matrix = Times(Inverse(ToXYZ(kChromaticities[to])), ToXYZ(kChromaticities[from]));
            const std::vector<float> samples = Linear(-2.0f, to);
            for (size_t i = 0; i < kSamples; i += 3) {
                const tVector light = {static_cast<double>(fScene[i]), static_cast<double>(fScene[i + 1]),
                                       static_cast<double>(fScene[i + 2])};
                const tVector expected = Times(matrix, light);
                for (size_t k = 0; k < 3; k++)
                    ASSERT_NEAR(static_cast<double>(samples[i + k]), std::clamp(expected[k] / 4, 0.0, 1.0), 1e-3);
            }
        }
    }
}

/// A camera's white: a bright colour loses its hue. The tone mapper would keep it.
TEST_F(Plain, EachSampleIsCutOffByItself)
{
    for (size_t i = 0; i < kSamples; i += 3) {
        fScene[i] = 10.0f;
        fScene[i + 1] = 8.0f;
        fScene[i + 2] = 0.5f;
    }
    Set(SELVANE_SRGB);
    const std::vector<float> samples = Linear(0.0f, SELVANE_SRGB);
    EXPECT_EQ(samples[0], 1.0f);
    EXPECT_EQ(samples[1], 1.0f);
    EXPECT_NEAR(samples[2], 0.5f, 1e-4f);
    EXPECT_EQ(Linear(100.0f, SELVANE_SRGB)[2], 1.0f);
    EXPECT_EQ(Linear(-100.0f, SELVANE_SRGB)[0], 0.0f);
}

TEST_F(Plain, EncodedBytesFollowTheCurve)
{
    std::vector<uint8_t> bytes(kSamples);
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, bytes.data());
    ASSERT_DONE(fHandle.get(), selvane_plain(fHandle.get(), 0.0f, 0, &target));
    for (size_t i = 0; i < kSamples; i++) {
        const double linear = std::clamp(static_cast<double>(fScene[i]), 0.0, 1.0);
        const double encoded = linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
        ASSERT_NEAR(static_cast<double>(bytes[i]), 255.0 * encoded, 1.1);
    }
}

/// An area of four pixels has their mean.
TEST_F(Plain, ASmallOneHasTheMeanOfTheLight)
{
    constexpr int kSide = 40;
    std::vector<float> scene(size_t{3} * kSide * kSide);
    for (size_t i = 0; i < scene.size(); i++)
        scene[i] = static_cast<float>(i / 3 % 2 + i / 3 / kSide % 2) * 0.25f; // 0, 0.25, 0.25, 0.5
    const selvane_picture picture = PictureOf(kSide, kSide, SELVANE_F32, scene.data());
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    std::vector<float> samples(scene.size() / 4);
    selvane_target target = TargetOf(kSide / 2, kSide / 2, SELVANE_F32, samples.data());
    target.linear = 1;
    ASSERT_DONE(fHandle.get(), selvane_plain(fHandle.get(), 1.0f, kSide / 2, &target));
    for (const float sample : samples)
        ASSERT_NEAR(sample, 0.5f, 1e-3f);
}

TEST_F(Plain, LeavesReportAndRender)
{
    const std::vector<uint8_t> before = RenderBytes(fHandle.get(), kWidth, kHeight);
    selvane_report first{}, second{};
    first.struct_size = second.struct_size = sizeof first;
    ASSERT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &first));
    Linear(3.0f, SELVANE_REC2020);
    ASSERT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &second));
    EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
    EXPECT_TRUE(RenderBytes(fHandle.get(), kWidth, kHeight) == before);
}

} // namespace
} // namespace SelvaneTest
