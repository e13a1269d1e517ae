#include "settings/SettingsText.h"

#include "Failures.h"
#include "settings/Settings.h"
#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <clocale>
#include <cstring>
#include <functional>
#include <random>

using namespace SelvaneLib;
using namespace SelvaneTest;

namespace
{

selvane_settings Read(const std::string& pText)
{
    return ReadSettings(pText).fSettings;
}

std::string Refusal(const std::string& pText)
{
    return FailureOf([&] { ReadSettings(pText); });
}

bool SameBytes(const selvane_settings& pA, const selvane_settings& pB)
{
    return std::memcmp(&pA, &pB, sizeof(pA)) == 0;
}

/// Random settings that pass the checks; each value is left at its default now and then.
class cDraw
{
public:
    explicit cDraw(uint32_t pSeed) : fRandom(pSeed) {}

    selvane_settings Settings()
    {
        selvane_settings settings = DefaultSettings();
        settings.automatic = Below(2);
        for (const sSetting& setting : kSettings)
            if (Below(4) > 0)
                std::visit([&](auto member) { Fill(setting, settings, settings.*member); }, setting.fMember);
        if (settings.black_point >= settings.white_point) settings.points = SELVANE_POINTS_MEASURED;
        return settings;
    }

private:
    int32_t Below(uint32_t pEnd) { return static_cast<int32_t>(fRandom() % pEnd); }

    /// Any float of the range: half of the draws have an even spread, half an even spread of exponents.
    float Number(float pLeast, float pMost)
    {
        for (;;) {
            float value;
            const uint32_t bits = static_cast<uint32_t>(fRandom());
            std::memcpy(&value, &bits, sizeof(value));
            if (Below(2) == 0) value = pLeast + (pMost - pLeast) * (static_cast<float>(bits) * 0x1p-32f);
            if (value >= pLeast && value <= pMost) return value;
        }
    }

    void Fill(const sSetting&, const selvane_settings&, int32_t& pValue) { pValue = Below(2); }
    void Fill(const sSetting& pSetting, const selvane_settings& pSettings, float& pValue)
    {
        pValue = Number(pSettings.automatic == 1 ? pSetting.fLeastOffset : pSetting.fLeast, pSetting.fMost);
    }
    void Fill(const sSetting&, const selvane_settings&, selvane_curve& pCurve)
    {
        pCurve.count = Below(SELVANE_MOST_POINTS + 1);
        for (int i = 0; i < pCurve.count; i++) // hues that differ, in no order
            pCurve.points[i] = {(static_cast<float>(i * 7 % 16) + Number(0.0f, 0.9f)) / 16.0f, Number(0.0f, 1.0f)};
    }

    std::mt19937 fRandom;
};

/// Runs a call on a thread with 128 KiB of stack.
void OnSmallStack(const std::function<void()>& pCall)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
    pthread_t thread;
    const auto run = [](void* pArgument) -> void* {
        (*static_cast<const std::function<void()>*>(pArgument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&pCall)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

std::string Repeat(const std::string& pPart, size_t pTimes)
{
    std::string text;
    text.reserve(pPart.size() * pTimes);
    for (size_t i = 0; i < pTimes; i++)
        text += pPart;
    return text;
}

} // namespace

TEST(SettingsText, OfTheDefaultsIsEmpty)
{
    EXPECT_EQ(TextOfSettings(DefaultSettings()), "");
    EXPECT_TRUE(SameBytes(Read(""), DefaultSettings()));
}

TEST(SettingsText, HasALineForEachValueThatIsNotTheDefault)
{
    selvane_settings settings = DefaultSettings();
    settings.automatic = 0;
    settings.wrap = 1;
    settings.compression = 100.0f;
    settings.smoothness = -4.9f;
    settings.radius = -10.0f;
    settings.adaptation = 2.5f;
    settings.white_clip = 12.5f;
    settings.black_clip = 0.6f;
    settings.exposure = 0.5f;
    settings.contrast = -7.0f;
    settings.saturation = 1.0f;
    settings.points = SELVANE_POINTS_GIVEN;
    settings.black_point = 0.001f;
    settings.white_point = 1e20f;
    settings.hue = {1, {{0.25f, 0.5f}}};
    settings.hue_saturation = {2, {{0.0f, 0.5f}, {1.0f, 0.75f}}};
    settings.hue_lightness = {1, {{0.1f, 1.0f}}};
    const char* const text = "automatic = false\n"
                             "wrap = true\n"
                             "compression = 100.0\n"
                             "smoothness = -4.9\n"
                             "radius = -10.0\n"
                             "adaptation = 2.5\n"
                             "white_clip = 12.5\n"
                             "black_clip = 0.6\n"
                             "exposure = 0.5\n"
                             "contrast = -7.0\n"
                             "saturation = 1.0\n"
                             "points = \"given\"\n"
                             "black_point = 0.001\n"
                             "white_point = 1e+20\n"
                             "hue = [[0.25, 0.5]]\n"
                             "hue_saturation = [[0.0, 0.5], [1.0, 0.75]]\n"
                             "hue_lightness = [[0.1, 1.0]]\n";
    EXPECT_EQ(TextOfSettings(settings), text);
    EXPECT_TRUE(SameBytes(Read(text), settings));
}

TEST(SettingsText, KeepsTheSignOfZero)
{
    selvane_settings settings = DefaultSettings();
    settings.exposure = -0.0f;
    EXPECT_EQ(TextOfSettings(settings), "exposure = -0.0\n");
    EXPECT_TRUE(SameBytes(Read("exposure = -0.0"), settings));
}

TEST(SettingsText, ReadsBackEachSettingToTheBit)
{
    cDraw draw(1);
    for (int i = 0; i < 5000; i++) {
        const selvane_settings settings = draw.Settings();
        ASSERT_EQ(FailureOf([&] { CheckSettings(settings); }), "");
        ASSERT_TRUE(SameBytes(Read(TextOfSettings(settings)), settings)) << TextOfSettings(settings);
    }
}

TEST(SettingsText, ReadsBackTheFloatThatTwoRoundingsMiss)
{
    selvane_settings settings = DefaultSettings();
    const uint32_t bits = 0x15AE43FDu;
    std::memcpy(&settings.black_point, &bits, sizeof(bits));
    EXPECT_TRUE(SameBytes(Read(TextOfSettings(settings)), settings));
}

TEST(SettingsText, TakesIntegersCommentsAndLinesAsTomlHasThem)
{
    const selvane_settings settings = Read("# a comment\r\n"
                                           "exposure = 1 # as a whole number\n"
                                           "\"contrast\" = +5\n"
                                           "'saturation' = 0x10\n"
                                           "points = 'measured'\n"
                                           "hue = [\n  [0, 0.5], # red\n  [1, 0.5],\n]");
    EXPECT_EQ(settings.exposure, 1.0f);
    EXPECT_EQ(settings.contrast, 5.0f);
    EXPECT_EQ(settings.saturation, 16.0f);
    EXPECT_EQ(settings.hue.count, 2);
    EXPECT_EQ(settings.hue.points[1].x, 1.0f);
}

TEST(SettingsText, MayHaveADescription)
{
    const sSettingsText text = ReadSettings("description = \"For a caf\u00e9.\"\nexposure = 0.5\n");
    EXPECT_EQ(text.fDescription, "For a caf\u00e9.");
    EXPECT_EQ(text.fSettings.exposure, 0.5f);
    EXPECT_EQ(Refusal("description = 1"), "6 line 1: description must be a text in quotes");
}

TEST(SettingsText, DoesNotDependOnTheLocale)
{
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* const locale : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"})
        if (std::setlocale(LC_ALL, locale) != nullptr) {
            EXPECT_EQ(Read("exposure = 1.5").exposure, 1.5f);
            EXPECT_EQ(TextOfSettings(Read("exposure = 1.5")), "exposure = 1.5\n");
        }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(SettingsText, UnknownKeysAreRefusedByNameAndLine)
{
    EXPECT_EQ(Refusal("exposure = 1\ncontrst = 2\n"), "6 line 2: there is no setting \"contrst\"");
    EXPECT_EQ(Refusal("Exposure = 1"), "6 line 1: there is no setting \"Exposure\"");
    EXPECT_EQ(Refusal("struct_size = 1"), "6 line 1: there is no setting \"struct_size\"");
    EXPECT_EQ(Refusal("reserved = 1"), "6 line 1: there is no setting \"reserved\"");
    EXPECT_EQ(Refusal("[look]\nexposure = 1"), "6 line 1: there is no setting \"look\"");
    EXPECT_EQ(Refusal("\"\" = 1"), "6 line 1: there is no setting \"\"");
}

TEST(SettingsText, NamesInRefusalsAreShortAndHaveNoControlCharacters)
{
    EXPECT_EQ(Refusal("\"a\\nb\\u007F\" = 1"), "6 line 1: there is no setting \"a?b?\"");
    EXPECT_EQ(Refusal(Repeat("x", 61) + " = 1"), "6 line 1: there is no setting \"" + Repeat("x", 60) + "...\"");
    EXPECT_EQ(Refusal("\"" + Repeat("x", 59) + "\u00e9\" = 1"),
              "6 line 1: there is no setting \"" + Repeat("x", 59) + "...\"");
}

TEST(SettingsText, WrongKindsOfValueAreRefusedByNameAndLine)
{
    for (const sSetting& setting : kSettings) {
        const std::string key = setting.fKey;
        const bool whole = std::holds_alternative<tWhole>(setting.fMember);
        const bool number = std::holds_alternative<tNumber>(setting.fMember);
        const bool curve = std::holds_alternative<tCurve>(setting.fMember);
        const std::string expected = "6 line 2: " + key + " must be " +
                                     (key == "points" ? "\"measured\" or \"given\""
                                      : whole         ? "true or false"
                                      : number        ? "a number"
                                                      : "a list of points, for example [[0.0, 0.5], [0.5, 0.7]]");
        for (const char* const value :
             {"\"0.5\"", "{}", "1979-05-27", "[1, 2]", "[[1]]", "[[0.1, 0.2, 0.3]]", "[[0.1, true]]"})
            EXPECT_EQ(Refusal("\n" + key + " = " + value), expected) << value;
        if (!whole || key == "points") {
            EXPECT_EQ(Refusal("\n" + key + " = true"), expected);
        }
        if (!number) {
            EXPECT_EQ(Refusal("\n" + key + " = 1"), expected);
            EXPECT_EQ(Refusal("\n" + key + " = 0.5"), expected);
        }
        if (!curve) {
            EXPECT_EQ(Refusal("\n" + key + " = []"), expected);
        }
    }
}

TEST(SettingsText, NanAndInfinityAreRefusedByNameAndLine)
{
    for (const sSetting& setting : kSettings) {
        if (!std::holds_alternative<tNumber>(setting.fMember)) continue;
        const std::string key = setting.fKey;
        for (const char* const nan : {"nan", "+nan", "-nan"})
            EXPECT_EQ(Refusal("\n\n" + key + " = " + nan), "6 line 3: " + key + " is not a number (NaN)");
        for (const char* const most : {"inf", "1e39", "1e308", "1e31"})
            EXPECT_EQ(Refusal(key + " = " + most).rfind("6 line 1: " + key + " must lie between ", 0), 0u) << most;
        EXPECT_EQ(Refusal(key + " = -inf").rfind("6 line 1: " + key + " must lie between ", 0), 0u);
    }
    EXPECT_EQ(Refusal("hue = [[0.1, nan]]"), "6 line 1: hue point 1 y is not a number (NaN)");
}

TEST(SettingsText, ValuesOutsideOfTheirRangesAreRefusedByNameAndLine)
{
    EXPECT_EQ(Refusal("\nexposure = 20.5"), "6 line 2: exposure must lie between -20.0 and 20.0, and is 20.5");
    EXPECT_EQ(Refusal("exposure = -9223372036854775808"),
              "6 line 1: exposure must lie between -20.0 and 20.0, and is -9.223372e+18");
    EXPECT_EQ(Refusal("hue = [[0.1, 1.5]]"), "6 line 1: hue point 1 y must lie between 0.0 and 1.0, and is 1.5");
    EXPECT_EQ(Refusal("hue = [[0.5, 0.5], [0.5, 0.6]]"), "6 line 1: hue has two points at the hue 0.5");
    EXPECT_EQ(Refusal("hue = [" + Repeat("[0.5, 0.5], ", 17) + "]"),
              "6 line 1: hue must be a list of at most 16 points");
    EXPECT_EQ(Refusal("white_point = 1.0\npoints = \"given\"\nblack_point = 1.0\n"),
              "6 line 2: white_point must lie above black_point");
}

TEST(SettingsText, SlidersMayBeNegativeOnlyAsOffsets)
{
    EXPECT_EQ(Read("white_clip = -5.0").white_clip, -5.0f);
    // The switch counts wherever it stands.
    EXPECT_EQ(Refusal("white_clip = -5.0\nautomatic = false"),
              "6 line 1: white_clip must lie between 0.0 and 100.0, and is -5.0");
}

TEST(SettingsText, TextsThatAreNoTomlAreRefusedWithTheirLine)
{
    for (const char* const text : {"exposure", "exposure =", "exposure = 1 2", "= 1", "exposure = 1\nexposure = 2",
                                   "exposure = 1,5", "exposure = \"", "[", "exposure = [1", "\xFF = 1", "a = \"\x01\"",
                                   "exposure = 99999999999999999999", "hue = [[[[[[0.1]]]]]]"})
        EXPECT_EQ(Refusal(std::string("\n") + text).rfind("6 line ", 0), 0u) << text << ": " << Refusal(text);
}

TEST(SettingsText, IsReadOnASmallStackWhateverItHolds)
{
    const std::string big = Repeat("x", 1000000);
    const std::string texts[] = {big,
                                 Repeat("[", 1000000),
                                 Repeat("[", kMostText),
                                 "a = " + Repeat("[", 60000),
                                 "a = " + Repeat("{a=", 20000),
                                 "a = " + Repeat("{a.a.a.a.a.a.a.a.a.a.a.a=[\n", 2000),
                                 Repeat("a.", 30000) + "a = 1",
                                 "[" + Repeat("a.", 30000) + "a]",
                                 Repeat("[" + Repeat("a.", 48) + "a]\n", 600),
                                 Repeat("a.", 48) + "a = 1\n[" + Repeat("b.", 48) + "b]\n" + Repeat("c.", 48) + "c = 1",
                                 "[" + Repeat("b.", 48) + "b]\n" + Repeat("c.", 48) + "c = [\n{" + Repeat("d.", 48) +
                                     "d = [\n{" + Repeat("e.", 48) + "e = 1}]}]",
                                 Repeat("#", 65000),
                                 "description = \"" + Repeat("x", 65000) + "\"",
                                 Repeat("\n", 65000) + "a = 1",
                                 "a" + Repeat("\\u0000", 8000),
                                 Repeat("\"\\\"\".", 9000),
                                 Repeat("[[a]]\n", 10000),
                                 std::string(60000, '\0')};
    OnSmallStack([&] {
        for (const std::string& text : texts)
            FailureOf([&] { ReadSettings(text); });
    });
    for (const std::string& text : texts) {
        const bool allowed = text[0] == '#' || text.rfind("description", 0) == 0;
        EXPECT_EQ(Refusal(text).substr(0, 2), allowed ? "" : "6 ") << text.substr(0, 40);
    }
}

TEST(SettingsText, TooLongATextAndTooManyDotsAreRefused)
{
    EXPECT_EQ(Refusal(Repeat("#", kMostText)), "");
    EXPECT_EQ(Refusal(Repeat("#", kMostText + 1)), "6 the text is longer than 65536 bytes");
    EXPECT_EQ(Refusal("\n#" + Repeat(".", 48) + "\n#" + Repeat(".", 48)), "");
    EXPECT_EQ(Refusal("\n#" + Repeat(".", 49)), "6 line 2: more than 48 dots in a line");
}

TEST(SettingsText, ReadingFailsWithoutMemoryAndLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const std::string text = "description = \"a description that is longer than a short string\"\n"
                             "exposure = 0.5\nhue = [[0.1, 0.5], [0.2, 0.6]]\npoints = \"measured\"\nwrap = true\n";
    EXPECT_GT(FailEachAllocation([&] { ReadSettings(text); }), 10);
    selvane_settings settings = DefaultSettings();
    settings.hue = {2, {{0.125f, 0.5f}, {0.5f, 0.12345678f}}};
    EXPECT_GT(FailEachAllocation([&] { TextOfSettings(settings); }), 2);
}

TEST(SettingsText, ARefusalWithoutMemoryIsAFailureToo)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const std::string longer = "a_name_that_is_longer_than_a_short_string";
    for (const std::string& text :
         {longer + " = 1", std::string("exposure = [[[[[[[1]]]]]]]"), std::string("exposure = 21"),
          longer + "." + longer + " = { " + longer + " = 1, b = [ 1979-05-27T07:32:00Z, { c.d = 0x10 } ] }",
          "[" + longer + "]\n[[" + longer + ".list]]\n[[" + longer + ".list]]\nx = 1",
          longer + " = 1\n" + longer + " = 2",
          "description = \"\"\"" + longer + "\n\\u00e9\"\"\"\nexposure = '" + longer + "'", "exposure = " + longer,
          "\"" + longer + "\\u0000\" = nan", longer + "\xFF", "exposure = 1." + longer})
        for (long failing = 0; failing < 200; failing++) {
            const cAllocationScope scope(failing);
            try {
                ReadSettings(text);
            } catch (const cFailure&) {
            } catch (const std::bad_alloc&) {
            }
            EXPECT_EQ(scope.Held(), 0);
            if (scope.Tried() <= failing) break;
        }
}
