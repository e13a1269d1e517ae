// The C functions of settings, their text and the presets.

#include "selvane.h"

#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <vector>

using namespace SelvaneTest;

namespace
{

selvane_settings Defaults()
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    return settings;
}

/// A record with bytes that a call must not touch.
selvane_settings Marked()
{
    selvane_settings settings;
    std::memset(&settings, 0x5A, sizeof(settings));
    settings.struct_size = sizeof(settings);
    return settings;
}

bool SameBytes(const selvane_settings& pA, const selvane_settings& pB)
{
    return std::memcmp(&pA, &pB, sizeof(pA)) == 0;
}

} // namespace

TEST(SettingsApi, InitFillsTheWholeRecordWithTheDefaults)
{
    selvane_settings settings = Marked(), expected;
    std::memset(&expected, 0, sizeof(expected));
    expected.struct_size = sizeof(expected);
    expected.automatic = 1;
    selvane_settings_init(&settings);
    EXPECT_TRUE(SameBytes(settings, expected));
    selvane_settings_init(nullptr);
}

TEST(SettingsApi, TextIsWrittenWithItsFinalZero)
{
    selvane_settings settings = Defaults();
    settings.exposure = 0.5f;
    const std::string expected = "exposure = 0.5\n";
    std::vector<char> text(40, 'x');
    size_t needed = 0;
    ASSERT_EQ(selvane_settings_to_text(nullptr, &settings, text.data(), text.size(), &needed), SELVANE_OK);
    EXPECT_EQ(needed, expected.size() + 1);
    EXPECT_STREQ(text.data(), expected.c_str());
    EXPECT_EQ(text[needed], 'x');
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, text.data(), needed, nullptr), SELVANE_OK);
}

TEST(SettingsApi, TooLittleMemoryGivesAnEmptyTextAndTheSize)
{
    selvane_settings settings = Defaults();
    settings.exposure = 0.5f;
    for (const size_t size : {size_t{1}, size_t{5}, size_t{15}}) {
        char text[20] = "unchanged";
        size_t needed = 0;
        EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, text, size, &needed), SELVANE_ERROR_ARGUMENT);
        EXPECT_EQ(needed, 16u);
        EXPECT_STREQ(text, "");
    }
    char text[20] = "unchanged";
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, text, 0, nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_STREQ(text, "unchanged");
}

TEST(SettingsApi, NullAndZeroAskForTheSizeAlone)
{
    selvane_settings settings = Defaults();
    size_t needed = 0;
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, nullptr, 0, &needed), SELVANE_OK);
    EXPECT_EQ(needed, 1u);
    settings.exposure = 0.5f;
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, nullptr, 0, &needed), SELVANE_OK);
    EXPECT_EQ(needed, 16u);
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, nullptr, 0, nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, nullptr, 16, &needed), SELVANE_ERROR_ARGUMENT);
}

TEST(SettingsApi, WrongSettingsHaveNoText)
{
    selvane_settings settings = Defaults();
    settings.exposure = 21.0f;
    char text[20] = "unchanged";
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, text, sizeof(text), nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_STREQ(text, "");
    settings = Defaults();
    settings.struct_size = 0;
    EXPECT_EQ(selvane_settings_to_text(nullptr, &settings, text, sizeof(text), nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_settings_to_text(nullptr, nullptr, text, sizeof(text), nullptr), SELVANE_ERROR_ARGUMENT);
}

TEST(SettingsApi, ATextIsReadIntoTheRecord)
{
    selvane_settings settings = Marked(), expected = Defaults();
    expected.exposure = 0.25f;
    ASSERT_EQ(selvane_settings_from_text(nullptr, "exposure = 0.25", &settings), SELVANE_OK);
    EXPECT_TRUE(SameBytes(settings, expected));
}

TEST(SettingsApi, ARefusedTextLeavesTheRecordAsItWas)
{
    for (const char* const text : {"exposure = 21.0", "exposure = nan", "exposure = true", "exposre = 1", "=",
                                   static_cast<const char*>(nullptr)}) {
        selvane_settings settings = Marked();
        EXPECT_EQ(selvane_settings_from_text(nullptr, text, &settings),
                  text != nullptr ? SELVANE_ERROR_TEXT : SELVANE_ERROR_ARGUMENT);
        EXPECT_TRUE(SameBytes(settings, Marked()));
    }
}

TEST(SettingsApi, NothingIsPrinted)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    selvane_settings settings = Defaults();
    for (const char* const text : {"exposure = 1", "exposure = 21.0", "=", "[[[", "\xFF\xFE", "a.b.c = { d = 1 }"})
        selvane_settings_from_text(nullptr, text, &settings);
    selvane_preset(nullptr, "none", &settings);
    selvane_settings_to_text(nullptr, &settings, nullptr, 7, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(SettingsApi, RecordsWithoutASizeAreNotFilled)
{
    selvane_settings settings = Marked(), expected = Marked();
    settings.struct_size = expected.struct_size = 4;
    EXPECT_EQ(selvane_settings_from_text(nullptr, "", &settings), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_preset(nullptr, "soft", &settings), SELVANE_ERROR_ARGUMENT);
    EXPECT_TRUE(SameBytes(settings, expected));
    EXPECT_EQ(selvane_settings_from_text(nullptr, "", nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_preset(nullptr, "soft", nullptr), SELVANE_ERROR_ARGUMENT);
}

TEST(SettingsApi, ALongerRecordOfANewerProgramIsFilledToItsEnd)
{
    struct
    {
        selvane_settings fSettings;
        int32_t fNew[4];
    } longer = {Marked(), {7, 7, 7, 7}};
    longer.fSettings.struct_size = sizeof(longer);
    ASSERT_EQ(selvane_settings_from_text(nullptr, "exposure = 0.25", &longer.fSettings), SELVANE_OK);
    EXPECT_EQ(longer.fSettings.struct_size, sizeof(longer));
    EXPECT_EQ(longer.fSettings.exposure, 0.25f);
    for (const int32_t value : longer.fNew)
        EXPECT_EQ(value, 0);
}

TEST(SettingsApi, PresetsAreListedWithTheirDescriptions)
{
    const char* const names[] = {"natural", "clear", "soft", "dramatic", "interior", "night", "flat"};
    for (int i = 0; i < 7; i++) {
        EXPECT_STREQ(selvane_preset_name(i), names[i]);
        ASSERT_NE(selvane_preset_description(i), nullptr);
        EXPECT_GT(std::strlen(selvane_preset_description(i)), 10u);
        selvane_settings settings = Marked();
        EXPECT_EQ(selvane_preset(nullptr, selvane_preset_name(i), &settings), SELVANE_OK);
        EXPECT_EQ(settings.automatic, 1);
    }
    for (const int none : {-1, 7, 8, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(selvane_preset_name(none), nullptr);
        EXPECT_EQ(selvane_preset_description(none), nullptr);
    }
}

TEST(SettingsApi, UnknownPresetsLeaveTheRecordAsItWas)
{
    for (const char* const name : {"", "none", "../soft", static_cast<const char*>(nullptr)}) {
        selvane_settings settings = Marked();
        EXPECT_EQ(selvane_preset(nullptr, name, &settings), SELVANE_ERROR_ARGUMENT);
        EXPECT_TRUE(SameBytes(settings, Marked()));
    }
}

TEST(SettingsApi, PresetsOfTheUserAreFoundInTheFolderOfTheEnvironment)
{
    std::string root = (std::filesystem::temp_directory_path() / "presets-XXXXXX").string();
    ASSERT_NE(mkdtemp(root.data()), nullptr);
    std::filesystem::create_directories(root + "/selvane/presets");
    std::ofstream(root + "/selvane/presets/mine.toml") << "exposure = 1.25\n";
    const char* const before = std::getenv("XDG_CONFIG_HOME");
    const std::string kept = before != nullptr ? before : "";
    setenv("XDG_CONFIG_HOME", root.c_str(), 1);
    selvane_settings settings = Defaults();
    EXPECT_EQ(selvane_preset(nullptr, "mine", &settings), SELVANE_OK);
    EXPECT_EQ(settings.exposure, 1.25f);
    const std::string names = "natural\nclear\nsoft\ndramatic\ninterior\nnight\nflat\nmine\n";
    std::vector<char> text(names.size() + 1, 'x');
    size_t needed = 0;
    EXPECT_EQ(selvane_preset_names(nullptr, nullptr, 0, &needed), SELVANE_OK);
    EXPECT_EQ(needed, text.size());
    EXPECT_EQ(selvane_preset_names(nullptr, text.data(), text.size(), nullptr), SELVANE_OK);
    EXPECT_EQ(text.data(), names);
    EXPECT_EQ(selvane_preset_names(nullptr, text.data(), text.size() - 1, nullptr), SELVANE_ERROR_ARGUMENT);
    EXPECT_STREQ(text.data(), "");
    EXPECT_EQ(selvane_preset_names(nullptr, nullptr, 7, nullptr), SELVANE_ERROR_ARGUMENT);
    before != nullptr ? setenv("XDG_CONFIG_HOME", kept.c_str(), 1) : unsetenv("XDG_CONFIG_HOME");
    std::filesystem::remove_all(root);
}

TEST(SettingsApi, ALackOfMemoryIsAStatusAndLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    selvane_preset_description(0); // its texts are kept
    const auto fails = [](auto pCall) {
        long failures = 0;
        for (int status = SELVANE_ERROR_MEMORY; status != SELVANE_OK; failures++) {
            const cAllocationScope scope(failures);
            status = pCall();
            EXPECT_TRUE(status == SELVANE_OK || status == SELVANE_ERROR_MEMORY) << status;
            EXPECT_EQ(scope.Held(), 0);
        }
        return failures;
    };
    selvane_settings settings = Defaults();
    settings.hue = {2, {{0.1f, 0.5f}, {0.7f, 0.12345678f}}};
    char text[2000];
    EXPECT_GT(fails([&] { return selvane_settings_to_text(nullptr, &settings, text, sizeof(text), nullptr); }), 2);
    EXPECT_GT(fails([&] { return selvane_settings_from_text(nullptr, "hue = [[0.1, 0.5]]", &settings); }), 5);
    EXPECT_GT(fails([&] { return selvane_preset(nullptr, "dramatic", &settings); }), 5);
    EXPECT_GT(fails([&] { return selvane_preset_names(nullptr, text, sizeof(text), nullptr); }), 5);
}
