#include "settings/Presets.h"

#include "Failures.h"
#include "settings/Settings.h"
#include "settings/SettingsText.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

using namespace SelvaneLib;
using namespace SelvaneTest;

namespace
{

namespace fs = std::filesystem;

/// An empty folder that goes with the object.
class cFolder
{
public:
    cFolder()
    {
        std::string name = (fs::temp_directory_path() / "presets-XXXXXX").string();
        fPath = mkdtemp(name.data());
    }
    ~cFolder() { fs::remove_all(fPath); }
    cFolder(const cFolder&) = delete;
    cFolder& operator=(const cFolder&) = delete;

    const std::string& Path() const { return fPath; }
    void Write(const std::string& pName, const std::string& pText) const
    {
        std::ofstream(fPath + "/" + pName) << pText;
    }

private:
    std::string fPath;
};

std::string Refusal(const std::string& pName, const std::string& pFolder = "")
{
    return FailureOf([&] { Preset(pName, pFolder); });
}

std::string FileText(const fs::path& pPath)
{
    std::ifstream file(pPath);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Sets a variable of the environment, or takes it away, for as long as the object lives.
class cVariable
{
public:
    cVariable(const char* pName, const char* pValue) : fName(pName)
    {
        if (const char* const before = std::getenv(pName)) fBefore = before;
        Set(pValue);
    }
    ~cVariable() { Set(fBefore.empty() ? nullptr : fBefore.c_str()); }
    cVariable(const cVariable&) = delete;
    cVariable& operator=(const cVariable&) = delete;

private:
    void Set(const char* pValue) { pValue != nullptr ? setenv(fName, pValue, 1) : unsetenv(fName); }
    const char* fName;
    std::string fBefore;
};

} // namespace

TEST(Presets, OfTheLibraryAreTheFilesOfItsFolder)
{
    std::set<std::string> names;
    for (const sPreset& preset : kPresets) {
        names.insert(std::string(preset.fName) + ".toml");
        EXPECT_EQ(preset.fText, FileText(fs::path(SELVANE_PRESETS) / (std::string(preset.fName) + ".toml")));
    }
    std::set<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(SELVANE_PRESETS))
        files.insert(entry.path().filename().string());
    EXPECT_EQ(names, files);
}

TEST(Presets, OfTheLibraryStandInTheirOrder)
{
    const char* const names[] = {"natural", "clear", "soft", "dramatic", "interior", "night", "flat"};
    ASSERT_EQ(kPresets.size(), std::size(names));
    for (size_t i = 0; i < kPresets.size(); i++)
        EXPECT_STREQ(kPresets[i].fName, names[i]);
}

TEST(Presets, OfTheLibraryAreOffsetsWithADescriptionOfTheirOwn)
{
    std::set<std::string> texts, descriptions;
    for (int i = 0; i < static_cast<int>(kPresetCount); i++) {
        const sPreset& preset = kPresets[static_cast<size_t>(i)];
        const selvane_settings settings = Preset(preset.fName, "");
        EXPECT_EQ(settings.automatic, 1) << preset.fName;
        EXPECT_EQ(FailureOf([&] { CheckSettings(settings); }), "") << preset.fName;
        const std::string description = PresetDescription(i);
        EXPECT_EQ(description, ReadSettings(preset.fText).fDescription);
        EXPECT_GT(description.size(), 10u) << preset.fName;
        texts.insert(TextOfSettings(settings));
        descriptions.insert(description);
    }
    EXPECT_EQ(texts.size(), kPresetCount) << "no two presets are alike";
    EXPECT_EQ(descriptions.size(), kPresetCount);
    EXPECT_EQ(PresetDescription(-1), nullptr);
    EXPECT_EQ(PresetDescription(static_cast<int>(kPresetCount)), nullptr);
}

TEST(Presets, NaturalIsTheSuggestionItself)
{
    const selvane_settings natural = Preset("natural", ""), defaults = DefaultSettings();
    EXPECT_EQ(std::memcmp(&natural, &defaults, sizeof(defaults)), 0);
}

TEST(Presets, TheUsersOwnComeFirst)
{
    const cFolder folder;
    folder.Write("mine.toml", "exposure = 1.5\n");
    folder.Write("soft.toml", "exposure = 2.5\n");
    folder.Write("Caf\u00e9 2-a_b.toml", "exposure = 3.5\n");
    EXPECT_EQ(Preset("mine", folder.Path()).exposure, 1.5f);
    EXPECT_EQ(Preset("soft", folder.Path()).exposure, 2.5f);
    EXPECT_EQ(Preset("Caf\u00e9 2-a_b", folder.Path()).exposure, 3.5f);
    EXPECT_NE(Preset("soft", "").exposure, 2.5f);
    EXPECT_EQ(TextOfSettings(Preset("clear", folder.Path())), TextOfSettings(Preset("clear", "")));
    EXPECT_EQ(TextOfSettings(Preset("clear", folder.Path() + "/none")), TextOfSettings(Preset("clear", "")));
}

TEST(Presets, NamesAreThoseOfTheLibraryThenThoseOfTheFolder)
{
    const std::vector<std::string> library = {"natural", "clear", "soft", "dramatic", "interior", "night", "flat"};
    const cFolder folder;
    EXPECT_EQ(PresetNames(""), library);
    EXPECT_EQ(PresetNames(folder.Path() + "/none"), library);
    EXPECT_EQ(PresetNames(folder.Path()), library);
    for (const char* const name : {"zebra.toml", "Alps.toml", "soft.toml", "a b.toml", "notes.txt", ".hidden.toml",
                                   ".toml", "two.dots.toml", "toml", "line\nfeed.toml"})
        folder.Write(name, "exposure = 1.0\n");
    folder.Write(std::string(101, 'n') + ".toml", "");
    fs::create_directory(folder.Path() + "/folder.toml");
    ASSERT_EQ(mkfifo((folder.Path() + "/pipe.toml").c_str(), 0600), 0);
    std::vector<std::string> expected = library;
    expected.insert(expected.end(), {"Alps", "a b", "zebra"});
    const std::vector<std::string> names = PresetNames(folder.Path());
    EXPECT_EQ(names, expected);
    for (const std::string& name : names)
        EXPECT_EQ(Refusal(name, folder.Path()), "") << name;
    EXPECT_EQ(PresetNames(folder.Path() + "/zebra.toml"), library) << "no folder";
}

TEST(Presets, UnknownNamesAreRefused)
{
    EXPECT_EQ(Refusal("mine"), "1 there is no preset \"mine\"");
    EXPECT_EQ(Refusal("Natural"), "1 there is no preset \"Natural\"");
}

TEST(Presets, NamesThatLeadElsewhereAreRefused)
{
    const cFolder folder;
    fs::create_directory(folder.Path() + "/inner");
    folder.Write("outer.toml", "exposure = 1.0\n");
    const std::string text = "1 the name of a preset has no slash, dot or control character";
    for (const char* const name :
         {"../outer", "/etc/passwd", ".", "..", "outer.toml", ".outer", "a/b", "a\\b", "a\nb", "inner/../outer"})
        EXPECT_EQ(Refusal(name, folder.Path() + "/inner"), text) << name;
    EXPECT_EQ(Refusal("", folder.Path()), "1 the name of the preset is empty");
    EXPECT_EQ(Refusal(std::string(101, 'a'), folder.Path()), "1 the name of the preset is too long");
    EXPECT_EQ(Refusal(std::string(100, 'a'), folder.Path()), "1 there is no preset \"" + std::string(100, 'a') + "\"");
}

TEST(Presets, BadFilesOfTheUserAreRefusedWithTheirPath)
{
    const cFolder folder;
    folder.Write("bad.toml", "\nexposure = 99\n");
    folder.Write("soft.toml", "exposur = 1\n");
    folder.Write("long.toml", std::string(kMostText + 1, '#'));
    fs::create_directory(folder.Path() + "/folder.toml");
    ASSERT_EQ(mkfifo((folder.Path() + "/pipe.toml").c_str(), 0600), 0);
    EXPECT_EQ(Refusal("bad", folder.Path()),
              "6 " + folder.Path() + "/bad.toml: line 2: exposure must lie between -20.0 and 20.0, and is 99.0");
    EXPECT_EQ(Refusal("soft", folder.Path()),
              "6 " + folder.Path() + "/soft.toml: line 1: there is no setting \"exposur\"");
    EXPECT_EQ(Refusal("long", folder.Path()), "6 " + folder.Path() + "/long.toml: the text is longer than 65536 bytes");
    EXPECT_EQ(Refusal("folder", folder.Path()), "1 " + folder.Path() + "/folder.toml is not a file that can be read");
    EXPECT_EQ(Refusal("pipe", folder.Path()), "1 " + folder.Path() + "/pipe.toml is not a file that can be read");
}

TEST(Presets, TheFolderFollowsTheBaseDirectoriesOfTheDesktop)
{
    {
        const cVariable config("XDG_CONFIG_HOME", "/a/config"), home("HOME", "/home/b");
        EXPECT_EQ(UserPresets(), "/a/config/selvane/presets");
    }
    for (const char* const none : {static_cast<const char*>(nullptr), "", "relative/path"}) {
        const cVariable config("XDG_CONFIG_HOME", none), home("HOME", "/home/b");
        EXPECT_EQ(UserPresets(), "/home/b/.config/selvane/presets");
    }
    for (const char* const none : {static_cast<const char*>(nullptr), "", "relative"}) {
        const cVariable config("XDG_CONFIG_HOME", nullptr), home("HOME", none);
        EXPECT_EQ(UserPresets(), "");
    }
}
