// From the numbers of a dialogue to settings.

#include "Sliders.h"

#include <gtest/gtest.h>

namespace SelvaneGegl
{
namespace
{

selvane_settings Defaults(int pAutomatic)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = pAutomatic;
    return settings;
}

TEST(Sliders, AtZeroTheyChangeNothing)
{
    selvane_settings settings = Defaults(1);
    settings.contrast = 20.0f;
    settings.hue.count = 1;
    settings.hue.points[0] = {0.25f, 0.75f};
    const selvane_settings before = settings;
    AddSliders({}, settings);
    EXPECT_EQ(settings.contrast, 20.0f);
    EXPECT_EQ(settings.exposure, before.exposure);
    EXPECT_EQ(settings.hue.count, 1);
    EXPECT_EQ(settings.hue.points[0].y, 0.75f);
    EXPECT_EQ(settings.hue_saturation.count, 0);
    EXPECT_EQ(settings.hue_lightness.count, 0);
}

TEST(Sliders, EachIsAddedToItsSetting)
{
    selvane_settings settings = Defaults(1);
    settings.compression = 1.0f;
    AddSliders({2, 3, 4, 5, 6, 7, 8, 9, 10, {}, {}, {}}, settings);
    EXPECT_EQ(settings.compression, 3.0f);
    EXPECT_EQ(settings.smoothness, 3.0f);
    EXPECT_EQ(settings.radius, 4.0f);
    EXPECT_EQ(settings.adaptation, 5.0f);
    EXPECT_EQ(settings.white_clip, 6.0f);
    EXPECT_EQ(settings.black_clip, 7.0f);
    EXPECT_EQ(settings.exposure, 8.0f);
    EXPECT_EQ(settings.contrast, 9.0f);
    EXPECT_EQ(settings.saturation, 10.0f);
}

TEST(Sliders, SumsStayWithinTheRanges)
{
    selvane_settings settings = Defaults(1);
    settings.contrast = 30.0f;
    settings.exposure = -19.0f;
    AddSliders({.fExposure = -5.0, .fContrast = 100.0}, settings);
    EXPECT_EQ(settings.contrast, 100.0f);
    EXPECT_EQ(settings.exposure, -20.0f);
}

TEST(Sliders, ClipsAndAdaptationGoBelowZeroAsOffsetsOnly)
{
    const sSliders below{.fAdaptation = -1.0, .fWhiteClip = -2.0, .fBlackClip = -3.0};
    selvane_settings offsets = Defaults(1), plain = Defaults(0);
    AddSliders(below, offsets);
    AddSliders(below, plain);
    EXPECT_EQ(offsets.adaptation, -1.0f);
    EXPECT_EQ(offsets.white_clip, -2.0f);
    EXPECT_EQ(offsets.black_clip, -3.0f);
    EXPECT_EQ(plain.adaptation, 0.0f);
    EXPECT_EQ(plain.white_clip, 0.0f);
    EXPECT_EQ(plain.black_clip, 0.0f);
}

/// Half a circle of shift, a hundred of the others, is the end of the curve's range; zero is its middle.
TEST(Sliders, KeysAreSixPointsOfTheirCurve)
{
    selvane_settings settings = Defaults(1);
    AddSliders({.fHueShift = {90, 0, 0, 0, 0, -180},
                .fHueSaturation = {0, -100, 0, 0, 0, 0},
                .fHueLightness = {0, 0, 50, 0, 0, 0}},
               settings);
    ASSERT_EQ(settings.hue.count, 6);
    ASSERT_EQ(settings.hue_saturation.count, 6);
    ASSERT_EQ(settings.hue_lightness.count, 6);
    const float hues[6] = {0.0f, 1.0f / 6, 2.0f / 6, 3.0f / 6, 4.0f / 6, 5.0f / 6};
    for (int i = 0; i < 6; i++) {
        EXPECT_FLOAT_EQ(settings.hue.points[i].x, hues[i]);
        EXPECT_EQ(settings.hue.points[i].y, i == 0 ? 0.75f : i == 5 ? 0.0f : 0.5f);
        EXPECT_EQ(settings.hue_saturation.points[i].y, i == 1 ? 0.0f : 0.5f);
        EXPECT_EQ(settings.hue_lightness.points[i].y, i == 2 ? 0.75f : 0.5f);
    }
}

} // namespace
} // namespace SelvaneGegl
