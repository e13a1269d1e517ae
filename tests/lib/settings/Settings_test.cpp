#include "settings/Settings.h"

#include "Failures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace SelvaneLib;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

std::string CheckOf(const selvane_settings& pSettings)
{
    return FailureOf([&] { CheckSettings(pSettings); });
}

selvane_settings Plain()
{
    selvane_settings settings = DefaultSettings();
    settings.automatic = 0;
    return settings;
}

selvane_curve Curve(const std::vector<selvane_point>& pPoints)
{
    selvane_curve curve = {};
    for (const selvane_point& point : pPoints)
        curve.points[curve.count++] = point;
    return curve;
}

/// The ranges as selvane.h gives them.
struct sRange
{
    const char* fKey;
    float selvane_settings::*fMember;
    float fLeast, fMost, fLeastOffset;
    const char* fLeastText;
    const char* fMostText;
    const char* fLeastOffsetText;
};

const sRange kRanges[] = {
    {"compression", &selvane_settings::compression, -100, 100, -100, "-100.0", "100.0", "-100.0"},
    {"smoothness", &selvane_settings::smoothness, -10, 10, -10, "-10.0", "10.0", "-10.0"},
    {"radius", &selvane_settings::radius, -10, 10, -10, "-10.0", "10.0", "-10.0"},
    {"adaptation", &selvane_settings::adaptation, 0, 100, -100, "0.0", "100.0", "-100.0"},
    {"white_clip", &selvane_settings::white_clip, 0, 100, -100, "0.0", "100.0", "-100.0"},
    {"black_clip", &selvane_settings::black_clip, 0, 100, -100, "0.0", "100.0", "-100.0"},
    {"exposure", &selvane_settings::exposure, -20, 20, -20, "-20.0", "20.0", "-20.0"},
    {"contrast", &selvane_settings::contrast, -100, 100, -100, "-100.0", "100.0", "-100.0"},
    {"saturation", &selvane_settings::saturation, -100, 100, -100, "-100.0", "100.0", "-100.0"},
    {"black_point", &selvane_settings::black_point, 0, 1e30f, 0, "0.0", "1e+30", "0.0"},
    {"white_point", &selvane_settings::white_point, 0, 1e30f, 0, "0.0", "1e+30", "0.0"},
};

struct sCurveName
{
    const char* fKey;
    selvane_curve selvane_settings::*fMember;
};

const sCurveName kCurves[] = {{"hue", &selvane_settings::hue},
                              {"hue_saturation", &selvane_settings::hue_saturation},
                              {"hue_lightness", &selvane_settings::hue_lightness}};

} // namespace

TEST(Settings, TheTableCoversEachByteOfTheRecordOnce)
{
    std::vector<int> covered(sizeof(selvane_settings), 0);
    const selvane_settings record = {};
    const auto cover = [&](const void* pMember, size_t pBytes) {
        const ptrdiff_t start = static_cast<const char*>(pMember) - reinterpret_cast<const char*>(&record);
        for (size_t i = 0; i < pBytes; i++)
            covered[static_cast<size_t>(start) + i]++;
    };
    for (const sSetting& setting : kSettings)
        std::visit([&](auto member) { cover(&(record.*member), sizeof(record.*member)); }, setting.fMember);
    for (size_t i = sizeof(size_t); i < offsetof(selvane_settings, reserved); i++)
        EXPECT_EQ(covered[i], 1) << "byte " << i;
    EXPECT_EQ(offsetof(selvane_settings, reserved) + sizeof(int32_t), sizeof(selvane_settings))
        << "a field that is added would lie in the padding of an older record";
}

TEST(Settings, DefaultsAreAutomaticAndNeutral)
{
    selvane_settings expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.struct_size = sizeof(selvane_settings);
    expected.automatic = 1;
    const selvane_settings defaults = DefaultSettings();
    EXPECT_EQ(std::memcmp(&defaults, &expected, sizeof(expected)), 0);
    EXPECT_EQ(CheckOf(defaults), "");
    EXPECT_EQ(CheckOf(Plain()), "");
}

TEST(Settings, EndsOfARangeAreAllowedAndTheNextFloatIsRefusedByName)
{
    for (const sRange& range : kRanges) {
        const auto with = [&](int32_t pAutomatic, float pValue) {
            selvane_settings settings = DefaultSettings();
            settings.automatic = pAutomatic;
            settings.*range.fMember = pValue;
            return CheckOf(settings);
        };
        for (const int32_t automatic : {0, 1}) {
            const float least = automatic == 1 ? range.fLeastOffset : range.fLeast;
            const std::string text = std::string("1 ") + range.fKey + " must lie between " +
                                     (automatic == 1 ? range.fLeastOffsetText : range.fLeastText) + " and " +
                                     range.fMostText + ", and is ";
            EXPECT_EQ(with(automatic, least), "");
            EXPECT_EQ(with(automatic, range.fMost), "");
            EXPECT_EQ(with(automatic, std::nextafter(least, -kInfinity)).substr(0, text.size()), text);
            EXPECT_EQ(with(automatic, std::nextafter(range.fMost, kInfinity)).substr(0, text.size()), text);
            EXPECT_EQ(with(automatic, kInfinity), text + "inf");
            EXPECT_EQ(with(automatic, -kInfinity), text + "-inf");
            EXPECT_EQ(with(automatic, kNaN), std::string("1 ") + range.fKey + " is not a number (NaN)");
        }
    }
}

TEST(Settings, SwitchesAreZeroOrOne)
{
    for (const int32_t wrong : {-1, 2, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
        selvane_settings automatic = Plain(), wrap = Plain(), points = Plain();
        automatic.automatic = wrap.wrap = points.points = wrong;
        EXPECT_EQ(CheckOf(automatic), "1 automatic must be 0 or 1, and is " + std::to_string(wrong));
        EXPECT_EQ(CheckOf(wrap), "1 wrap must be 0 or 1, and is " + std::to_string(wrong));
        EXPECT_EQ(CheckOf(points), "1 points must be 0 or 1, and is " + std::to_string(wrong));
    }
}

TEST(Settings, GivenPointsStandInOrder)
{
    selvane_settings settings = Plain();
    settings.black_point = 2.0f;
    settings.white_point = 2.0f;
    EXPECT_EQ(CheckOf(settings), "") << "measured: the points are not used";
    settings.points = SELVANE_POINTS_GIVEN;
    EXPECT_EQ(CheckOf(settings), "1 white_point must lie above black_point");
    settings.white_point = std::nextafter(2.0f, 3.0f);
    EXPECT_EQ(CheckOf(settings), "");
}

TEST(Settings, TheReservedFieldIsZero)
{
    selvane_settings settings = Plain();
    settings.reserved = 1;
    EXPECT_EQ(CheckOf(settings), "1 reserved must be 0");
}

TEST(Settings, CurvesHaveAtMostSixteenPoints)
{
    for (const sCurveName& name : kCurves) {
        selvane_settings settings = Plain();
        selvane_curve& curve = settings.*name.fMember;
        for (int i = 0; i < SELVANE_MOST_POINTS; i++)
            curve.points[i] = {static_cast<float>(i) / 16.0f, 0.5f};
        curve.count = 16;
        EXPECT_EQ(CheckOf(settings), "");
        for (const int32_t wrong : {-1, 17, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
            curve.count = wrong;
            EXPECT_EQ(CheckOf(settings),
                      std::string("1 ") + name.fKey + " must have 0 to 16 points, and has " + std::to_string(wrong));
        }
    }
}

TEST(Settings, PointsOfCurvesLieInTheUnitSquare)
{
    for (const sCurveName& name : kCurves) {
        const auto with = [&](float pX, float pY) {
            selvane_settings settings = Plain();
            settings.*name.fMember = Curve({{0.5f, 0.5f}, {pX, pY}});
            return CheckOf(settings);
        };
        const std::string x = std::string("1 ") + name.fKey + " point 2 x ",
                          y = std::string("1 ") + name.fKey + " point 2 y ";
        EXPECT_EQ(with(0.0f, 1.0f), "");
        EXPECT_EQ(with(1.0f, 0.0f), "");
        EXPECT_EQ(with(-0.25f, 0.5f), x + "must lie between 0.0 and 1.0, and is -0.25");
        EXPECT_EQ(with(1.5f, 0.5f), x + "must lie between 0.0 and 1.0, and is 1.5");
        EXPECT_EQ(with(0.25f, -1.0f), y + "must lie between 0.0 and 1.0, and is -1.0");
        EXPECT_EQ(with(0.25f, kInfinity), y + "must lie between 0.0 and 1.0, and is inf");
        EXPECT_EQ(with(kNaN, 0.5f), x + "is not a number (NaN)");
        EXPECT_EQ(with(0.25f, kNaN), y + "is not a number (NaN)");
    }
}

TEST(Settings, NoHueOccursTwiceInACurve)
{
    for (const sCurveName& name : kCurves) {
        selvane_settings settings = Plain();
        settings.*name.fMember = Curve({{0.25f, 0.5f}, {0.75f, 0.5f}, {0.25f, 0.6f}});
        EXPECT_EQ(CheckOf(settings), std::string("1 ") + name.fKey + " has two points at the hue 0.25");
        settings.*name.fMember = Curve({{0.0f, 0.5f}, {-0.0f, 0.5f}});
        EXPECT_EQ(CheckOf(settings), std::string("1 ") + name.fKey + " has two points at the hue -0.0");
        settings.*name.fMember = Curve({{0.0f, 0.5f}, {1.0f, 0.7f}}); // both ends of the circle may have a value
        EXPECT_EQ(CheckOf(settings), "");
    }
}

TEST(Settings, PointsBehindTheCountAreNotLookedAt)
{
    selvane_settings settings = Plain();
    settings.hue = Curve({{0.5f, 0.5f}});
    settings.hue.points[1] = {kNaN, 7.0f};
    EXPECT_EQ(CheckOf(settings), "");
}

TEST(Offsets, AreAddedToTheSuggestionAndKeptWithinTheRanges)
{
    for (const sRange& range : kRanges) {
        if (range.fMember == &selvane_settings::black_point || range.fMember == &selvane_settings::white_point)
            continue;
        const auto sum = [&](float pSuggested, float pOffset) {
            selvane_settings suggestion = Plain(), offsets = DefaultSettings();
            suggestion.*range.fMember = pSuggested;
            offsets.*range.fMember = pOffset;
            return WithOffsets(suggestion, offsets).*range.fMember;
        };
        EXPECT_EQ(sum(4.5f, 0.25f), 4.75f) << range.fKey;
        EXPECT_EQ(sum(4.5f, -0.25f), 4.25f) << range.fKey;
        EXPECT_EQ(sum(9.5f, range.fMost), range.fMost) << range.fKey;
        EXPECT_EQ(sum(range.fLeast, range.fLeastOffset), range.fLeast) << range.fKey;
        EXPECT_EQ(sum(0.5f, 0.0f), 0.5f) << range.fKey;
    }
}

TEST(Offsets, GiveTheSuggestionItselfWhenAllAreZero)
{
    selvane_settings suggestion = Plain();
    suggestion.wrap = 1;
    suggestion.compression = 80.0f;
    suggestion.white_clip = 12.5f;
    suggestion.points = SELVANE_POINTS_GIVEN;
    suggestion.black_point = 0.5f;
    suggestion.white_point = 3.0f;
    suggestion.hue = Curve({{0.5f, 0.7f}});
    const selvane_settings result = WithOffsets(suggestion, DefaultSettings());
    EXPECT_EQ(std::memcmp(&result, &suggestion, sizeof(result)), 0);
}

TEST(Offsets, BringTheirOwnWrapPointsAndCurves)
{
    selvane_settings suggestion = Plain(), offsets = DefaultSettings();
    suggestion.points = SELVANE_POINTS_GIVEN;
    suggestion.black_point = 1.0f;
    suggestion.white_point = 2.0f;
    suggestion.hue_lightness = Curve({{0.1f, 0.2f}});
    offsets.wrap = 1;
    offsets.points = SELVANE_POINTS_GIVEN;
    offsets.black_point = 0.0f;
    offsets.white_point = 5.0f;
    offsets.hue = Curve({{0.3f, 0.4f}});
    offsets.hue_lightness = Curve({{0.5f, 0.6f}, {0.7f, 0.8f}});
    const selvane_settings result = WithOffsets(suggestion, offsets);
    EXPECT_EQ(result.automatic, 0);
    EXPECT_EQ(result.wrap, 1);
    EXPECT_EQ(result.points, SELVANE_POINTS_GIVEN);
    EXPECT_EQ(result.black_point, 0.0f);
    EXPECT_EQ(result.white_point, 5.0f);
    EXPECT_EQ(result.hue.count, 1);
    EXPECT_EQ(result.hue.points[0].y, 0.4f);
    EXPECT_EQ(result.hue_lightness.count, 2);
    EXPECT_EQ(result.hue_lightness.points[1].x, 0.7f);
    EXPECT_EQ(result.hue_saturation.count, 0);
}

TEST(Offsets, StandAsTheyAreWithoutAutomatic)
{
    selvane_settings suggestion = Plain(), own = Plain();
    suggestion.compression = 80.0f;
    suggestion.hue = Curve({{0.3f, 0.4f}});
    own.exposure = 1.0f;
    const selvane_settings result = WithOffsets(suggestion, own);
    EXPECT_EQ(std::memcmp(&result, &own, sizeof(result)), 0);
}

TEST(Offsets, OfAnySizeGiveSettingsThatPassTheChecks)
{
    for (const sRange& range : kRanges)
        for (const float suggested : {range.fLeast, range.fMost})
            for (const float offset : {range.fLeastOffset, range.fMost}) {
                selvane_settings suggestion = Plain(), offsets = DefaultSettings();
                suggestion.*range.fMember = suggested;
                offsets.*range.fMember = offset;
                EXPECT_EQ(CheckOf(WithOffsets(suggestion, offsets)), "");
            }
}
