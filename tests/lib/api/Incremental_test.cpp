// A handle that has rendered before gives the bytes of a fresh one, and runs only what a change needs.

#include "Pictures.h"

#include <array>
#include <cstring>
#include <functional>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 330, kHeight = 210;

class cSteps
{
public:
    explicit cSteps(unsigned pSeed) : fRandom(pSeed) {}

    int Number(int pLeast, int pMost)
    {
        return pLeast + static_cast<int>(fRandom() % static_cast<unsigned>(pMost - pLeast + 1));
    }
    float Slider(float pLeast, float pMost)
    {
        return pLeast + (pMost - pLeast) * static_cast<float>(Number(0, 20)) / 20.0f;
    }

    selvane_curve Curve()
    {
        selvane_curve curve{};
        curve.count = Number(0, 3);
        for (int i = 0; i < curve.count; i++)
            curve.points[i] = {0.1f + 0.3f * static_cast<float>(i), Slider(0, 1)};
        return curve;
    }

    /// Changes one thing.
    void Change(selvane_settings& pSettings)
    {
        const std::function<void()> changes[] = {
            [&] { pSettings.compression = Slider(-100, 100); },
            [&] { pSettings.smoothness = Slider(-10, 10); },
            [&] { pSettings.radius = Slider(-10, 10); },
            [&] { pSettings.adaptation = Slider(0, 20); },
            [&] { pSettings.white_clip = Slider(0, 100); },
            [&] { pSettings.black_clip = Slider(0, 10); },
            [&] { pSettings.exposure = Slider(-2, 2); },
            [&] { pSettings.contrast = Slider(-50, 50); },
            [&] { pSettings.saturation = Slider(-100, 100); },
            [&] { pSettings.wrap = Number(0, 1); },
            [&] { pSettings.automatic = Number(0, 1); },
            [&] { pSettings.hue = Curve(); },
            [&] { pSettings.hue_saturation = Curve(); },
            [&] { pSettings.hue_lightness = Curve(); },
            [&] {
                pSettings.points = Number(0, 1);
                pSettings.black_point = Slider(0, 0.1f);
                pSettings.white_point = Slider(0.5f, 1.5f);
            },
        };
        changes[static_cast<size_t>(Number(0, static_cast<int>(std::size(changes)) - 1))]();
    }

    /// A target of the size, without its memory.
    selvane_target Target(int pWidth, int pHeight)
    {
        selvane_target target = TargetOf(pWidth, pHeight, Number(SELVANE_U8, SELVANE_F32), nullptr, Number(3, 4));
        target.order = Number(0, 1);
        target.space = Number(SELVANE_SRGB, SELVANE_REC2020);
        target.linear = Number(0, 1);
        target.dither = Number(0, 1);
        return target;
    }

private:
    std::mt19937 fRandom;
};

std::vector<unsigned char> Output(selvane* pHandle, selvane_target pTarget, int pLongest)
{
    std::vector<unsigned char> bytes(16 * static_cast<size_t>(pTarget.width) * static_cast<size_t>(pTarget.height));
    pTarget.pixels = bytes.data();
    EXPECT_DONE(pHandle,
                pLongest == 0 ? selvane_render(pHandle, &pTarget) : selvane_preview(pHandle, pLongest, &pTarget));
    return bytes;
}

/// Whatever happened before, the bytes are those of a handle that does nothing else.
TEST(Incremental, AnySequenceGivesTheBytesOfAFreshHandle)
{
    const std::vector<float> floats = FloatScene(kWidth, kHeight, 4);
    std::vector<uint8_t> integers = IntegerScene<uint8_t>(kWidth, kHeight);
    const selvane_picture pictures[] = {PictureOf(kWidth, kHeight, SELVANE_F32, floats.data(), 4),
                                        PictureOf(kWidth, kHeight, SELVANE_U8, integers.data()),
                                        PictureOf(kWidth / 2, kHeight, SELVANE_F32, floats.data(), 4)};
    constexpr int kLongest[] = {0, 0, 0, 50, 100, 150, 200, 1000};
    for (unsigned seed = 0; seed < 4; seed++) {
        cSteps steps(seed);
        const tHandle kept = NewHandle();
        const selvane_picture* picture = pictures;
        ASSERT_DONE(kept.get(), selvane_set_picture(kept.get(), picture));
        selvane_settings settings = PlainSettings();
        for (int step = 0; step < 25; step++) {
            steps.Change(settings);
            ASSERT_DONE(kept.get(), selvane_set_settings(kept.get(), &settings));
            if (steps.Number(0, 7) == 0) {
                picture = pictures + steps.Number(0, 2);
                ASSERT_DONE(kept.get(), selvane_set_picture(kept.get(), picture));
            }
            if (steps.Number(0, 5) == 0) {
                std::vector<float> plane(kWidth * kHeight);
                ASSERT_DONE(kept.get(), selvane_get_plane(kept.get(), steps.Number(0, 2), plane.data(), 0));
            }
            const int longest = kLongest[steps.Number(0, 7)];
            int32_t width = picture->width, height = picture->height;
            EXPECT_DONE(kept.get(), selvane_preview_size(kept.get(), longest == 0 ? kWidth : longest, &width, &height));
            const selvane_target target = steps.Target(width, height);
            const tHandle fresh = NewHandle();
            ASSERT_DONE(fresh.get(), selvane_set_picture(fresh.get(), picture));
            ASSERT_DONE(fresh.get(), selvane_set_settings(fresh.get(), &settings));
            ASSERT_TRUE(Output(kept.get(), target, longest) == Output(fresh.get(), target, longest))
                << "seed " << seed << ", step " << step << ", longest side " << longest << ", format " << target.format;
        }
    }
}

// ---- What runs ------------------------------------------------------------------------------------------------------

/// Which stages took time in the latest call, as letters of "read split map points write".
std::string Ran(const selvane* pHandle)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(pHandle, selvane_get_report(pHandle, &report));
    std::string letters;
    for (int stage = 0; stage < SELVANE_STAGES; stage++)
        letters += report.milliseconds[stage] > 0 ? "rsmpw"[stage] : '-';
    return letters;
}

class Stages : public testing::Test
{
protected:
    Stages() : fScene(FloatScene(700, 450)), fHandle(NewHandle())
    {
        const selvane_picture picture = PictureOf(700, 450, SELVANE_F32, fScene.data());
        EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
        EXPECT_EQ(Ran(fHandle.get()), "r----");
    }

    void ExpectRun(const char* pStages, const std::function<void(selvane_settings&)>& pChange)
    {
        pChange(fSettings);
        ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
        RenderBytes(fHandle.get(), 700, 450);
        EXPECT_EQ(Ran(fHandle.get()), pStages);
        RenderBytes(fHandle.get(), 700, 450);
        EXPECT_EQ(Ran(fHandle.get()), "----w");
    }

    std::vector<float> fScene;
    tHandle fHandle;
    selvane_settings fSettings = PlainSettings();
};

TEST_F(Stages, RunOnlyWhereTheyAreNeeded)
{
    ExpectRun("-smpw", [](selvane_settings&) {});
    ExpectRun("----w", [](selvane_settings& s) { s.exposure = 1; });
    ExpectRun("----w", [](selvane_settings& s) { s.contrast = 10; });
    ExpectRun("----w", [](selvane_settings& s) { s.saturation = -10; });
    ExpectRun("----w", [](selvane_settings& s) { s.hue = {1, {{0.2f, 0.6f}}}; });
    ExpectRun("----w", [](selvane_settings& s) { s.hue_saturation = {1, {{0.2f, 0.6f}}}; });
    ExpectRun("----w", [](selvane_settings& s) { s.hue_lightness = {1, {{0.2f, 0.6f}}}; });
    ExpectRun("---pw", [](selvane_settings& s) { s.white_clip = 10; });
    ExpectRun("---pw", [](selvane_settings& s) { s.black_clip = 1; });
    ExpectRun("---pw", [](selvane_settings& s) {
        s.points = SELVANE_POINTS_GIVEN;
        s.white_point = 2;
    });
    ExpectRun("--mpw", [](selvane_settings& s) { s.compression = 20; });
    ExpectRun("--mpw", [](selvane_settings& s) { s.adaptation = 2; });
    ExpectRun("-smpw", [](selvane_settings& s) { s.smoothness = 2; });
    ExpectRun("-smpw", [](selvane_settings& s) { s.radius = -2; });
    ExpectRun("-smpw", [](selvane_settings& s) { s.wrap = 1; });
}

TEST_F(Stages, OfAPreviewAreItsOwn)
{
    ExpectRun("-smpw", [](selvane_settings&) {});
    std::vector<uint8_t> bytes(3 * 140 * 90);
    const selvane_target target = TargetOf(140, 90, SELVANE_U8, bytes.data());
    const char* const expected[] = {"rsmpw", "----w", "---pw"};
    for (const char* const stages : expected) {
        if (stages == expected[2]) {
            fSettings.white_clip = 30;
            ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
        }
        ASSERT_DONE(fHandle.get(), selvane_preview(fHandle.get(), 140, &target));
        EXPECT_EQ(Ran(fHandle.get()), stages);
    }
    RenderBytes(fHandle.get(), 700, 450);
    EXPECT_EQ(Ran(fHandle.get()), "---pw"); // the large one follows when it is asked for
}

TEST_F(Stages, OfAPlaneAreReportedToo)
{
    std::vector<float> plane(700 * 450);
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    ASSERT_DONE(fHandle.get(), selvane_get_plane(fHandle.get(), SELVANE_PLANE_BASE, plane.data(), 0));
    EXPECT_EQ(Ran(fHandle.get()), "-s---");
    ASSERT_DONE(fHandle.get(), selvane_get_plane(fHandle.get(), SELVANE_PLANE_DETAIL, plane.data(), 0));
    EXPECT_EQ(Ran(fHandle.get()), "-----");
    RenderBytes(fHandle.get(), 700, 450);
    EXPECT_EQ(Ran(fHandle.get()), "--mpw");
}

TEST_F(Stages, OfARepeatedSuggestionAreNone)
{
    selvane_settings first = PlainSettings(), second = PlainSettings();
    ASSERT_DONE(fHandle.get(), selvane_suggest(fHandle.get(), &first));
    ASSERT_DONE(fHandle.get(), selvane_suggest(fHandle.get(), &second));
    EXPECT_EQ(Ran(fHandle.get()), "-----");
    EXPECT_EQ(std::memcmp(&first, &second, sizeof first), 0);
    EXPECT_EQ(first.automatic, 0);
}

/// Pixels that differ by a hundred times ask for the least contrast that is suggested. An offset of -40 leads to the end
/// of the range, and larger ones do not lead beyond it.
TEST(Suggestion, StaysWithinTheRangeWhateverTheOffset)
{
    std::vector<float> samples;
    std::mt19937 random(7);
    for (int i = 0; i < 160 * 120; i++)
        samples.insert(samples.end(), 3, std::pow(10.0f, static_cast<float>(random() % 2000) * 0.001f));
    const tHandle handle = NewHandle();
    const selvane_picture picture = PictureOf(160, 120, SELVANE_F32, samples.data());
    ASSERT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    selvane_settings suggestion = PlainSettings(), settings = PlainSettings(), effective = PlainSettings();
    ASSERT_DONE(handle.get(), selvane_suggest(handle.get(), &suggestion));
    ASSERT_EQ(suggestion.contrast, -60.0f);
    settings.automatic = 1;
    settings.contrast = -40.0f;
    ASSERT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    const std::vector<uint8_t> atTheEnd = RenderBytes(handle.get(), 160, 120);
    settings.contrast = -90.0f;
    ASSERT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
    ASSERT_DONE(handle.get(), selvane_effective_settings(handle.get(), &effective));
    EXPECT_EQ(effective.contrast, -100.0f);
    EXPECT_TRUE(RenderBytes(handle.get(), 160, 120) == atTheEnd);
    ASSERT_DONE(handle.get(), selvane_set_settings(handle.get(), &effective)) << "what a render uses can be set";
}

/// The suggestion's own previews leave the report of the latest render alone.
TEST_F(Stages, OfASuggestionDoNotTouchTheReport)
{
    const auto reportOf = [&] {
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
        return report;
    };
    ASSERT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    std::vector<uint8_t> bytes(3 * 512 * 329);
    const selvane_target target = TargetOf(512, 329, SELVANE_U8, bytes.data());
    ASSERT_DONE(fHandle.get(), selvane_preview(fHandle.get(), 512, &target));
    const selvane_report before = reportOf();
    selvane_settings suggestion = PlainSettings();
    ASSERT_DONE(fHandle.get(), selvane_suggest(fHandle.get(), &suggestion));
    const selvane_report after = reportOf();
    EXPECT_GT(before.white_point, before.black_point);
    EXPECT_EQ(after.black_point, before.black_point);
    EXPECT_EQ(after.white_point, before.white_point);
    EXPECT_EQ(after.base_min, before.base_min);
    EXPECT_EQ(after.detail_mean, before.detail_mean);
    EXPECT_GT(after.previews, 0);
}

} // namespace
} // namespace SelvaneTest
