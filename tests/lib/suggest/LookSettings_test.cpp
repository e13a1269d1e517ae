#include "suggest/LookSettings.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace SelvaneLib;

namespace
{

TEST(LookSettings, AreTheSlidersOfTheLookWithTheEntrysContrastAsZero)
{
    const sLook look{.compression = 1.0f,
                     .smoothness = 2.0f,
                     .adaptation = 3.0f,
                     .white_clip = 4.0f,
                     .black_clip = 5.0f,
                     .radius = 6.0f,
                     .exposure = 7.0f,
                     .contrast = 8.0f,
                     .saturation = 9.0f};
    selvane_settings expected;
    std::memset(&expected, 0, sizeof expected);
    expected.struct_size = sizeof expected;
    expected.compression = 1.0f;
    expected.smoothness = 2.0f;
    expected.adaptation = 3.0f;
    expected.white_clip = 4.0f;
    expected.black_clip = 5.0f;
    expected.radius = 6.0f;
    expected.exposure = 7.0f;
    expected.contrast = -12.0f;
    expected.saturation = 9.0f;
    const selvane_settings settings = SettingsOf(look);
    EXPECT_EQ(std::memcmp(&settings, &expected, sizeof expected), 0);
}

TEST(LookSettings, KeepTheContrastWithinItsRange)
{
    EXPECT_EQ(SettingsOf({.contrast = -79.0f}).contrast, -99.0f);
    EXPECT_EQ(SettingsOf({.contrast = -80.0f}).contrast, -100.0f);
    EXPECT_EQ(SettingsOf({.contrast = -100.0f}).contrast, -100.0f);
    EXPECT_EQ(SettingsOf({.contrast = 100.0f}).contrast, 80.0f);
}

TEST(LookSettings, GiveThePointsWhereTheLookHasThem)
{
    EXPECT_EQ(SettingsOf({}).points, SELVANE_POINTS_MEASURED);
    const selvane_settings given = SettingsOf({.black_point = 0.25f, .white_point = 2.0f});
    EXPECT_EQ(given.points, SELVANE_POINTS_GIVEN);
    EXPECT_EQ(given.black_point, 0.25f);
    EXPECT_EQ(given.white_point, 2.0f);
}

} // namespace
