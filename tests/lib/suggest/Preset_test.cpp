#include "suggest/Preset.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

using namespace SelvaneLib;

namespace
{

/// The words of the refusal; empty if the text is taken.
std::string Refusal(const std::string& pText)
{
    try {
        ParsePreset(pText);
        return {};
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::string Shipped(const std::string& pName)
{
    std::ifstream file(std::string(SELVANE_PRESETS) + "/" + pName + ".toml");
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Preset, MovesTheSettingsThatItNames)
{
    const sPreset preset = ParsePreset("description = 'a'\n[offsets]\ncontrast = 20\nexposure = -0.5\n");
    EXPECT_EQ(preset.fDescription, "a");
    sLook look;
    look.contrast = 10.0f;
    look.exposure = 0.25f;
    const sLook moved = Moved(look, preset);
    EXPECT_EQ(moved.contrast, 30.0f);
    EXPECT_EQ(moved.exposure, -0.25f);
    EXPECT_EQ(moved.compression, look.compression);
    EXPECT_EQ(moved.white_clip, look.white_clip);
}

TEST(Preset, EverySettingHasItsNameAndItsRange)
{
    const sPreset up =
        ParsePreset("description = 'a'\noffsets = {compression = 999, smoothness = 999, adaptation = 999, "
                    "white_clip = 999, black_clip = 999, radius = 999, exposure = 999, contrast = 999, "
                    "saturation = 999}");
    sPreset down = up;
    for (auto& [name, offset] : down.fOffsets)
        offset = -999.0f;
    const sLook most = Moved({}, up), least = Moved({}, down);
    EXPECT_EQ(most.compression, 100.0f);
    EXPECT_EQ(most.smoothness, 10.0f);
    EXPECT_EQ(most.adaptation, 100.0f);
    EXPECT_EQ(most.white_clip, 100.0f);
    EXPECT_EQ(most.black_clip, 100.0f);
    EXPECT_EQ(most.radius, 10.0f);
    EXPECT_EQ(most.exposure, 4.0f);
    EXPECT_EQ(most.contrast, 100.0f);
    EXPECT_EQ(most.saturation, 100.0f);
    EXPECT_EQ(least.compression, -100.0f);
    EXPECT_EQ(least.smoothness, -10.0f);
    EXPECT_EQ(least.adaptation, 0.0f);
    EXPECT_EQ(least.white_clip, 0.0f);
    EXPECT_EQ(least.black_clip, 0.0f);
    EXPECT_EQ(least.radius, -10.0f);
    EXPECT_EQ(least.exposure, -4.0f);
    EXPECT_EQ(least.contrast, -100.0f);
    EXPECT_EQ(least.saturation, -100.0f);
}

TEST(Preset, RefusesInWordsWithTheLine)
{
    EXPECT_EQ(Refusal("description = 'a'\n[offsets]\ncontrst = 20\n"), "line 3: 'contrst' is no setting");
    EXPECT_EQ(Refusal("description = 'a'\n[offsets]\ncontrast = 'much'\n"), "line 3: 'contrast' is no number");
    EXPECT_EQ(Refusal("description = 'a'\n[offsets]\ncontrast = true\n"), "line 3: 'contrast' is no number");
    EXPECT_EQ(Refusal("description = 'a'\n[offsets]\ncontrast = nan\n"), "line 3: 'contrast' is no number");
    EXPECT_EQ(Refusal("description = 'a'\n[offsets]\ncontrast = 1e300\n"), "line 3: 'contrast' is no number");
    EXPECT_EQ(Refusal("description = 'a'\noffsets = 3\n"), "line 2: 'offsets' is no table");
    EXPECT_EQ(Refusal("description = 'a'\nname = 'b'\n"), "line 2: 'name' is no part of a preset");
    EXPECT_EQ(Refusal("[offsets]\ncontrast = 20\n"), "the preset has no description");
    EXPECT_EQ(Refusal("description = 7\n"), "line 1: 'description' is no part of a preset");
    EXPECT_EQ(Refusal("description = 'a\n").substr(0, 7), "line 1:");
}

TEST(Preset, TheShippedOnesCanBeReadAndOnlyNaturalMovesNothing)
{
    for (const char* name : {"natural", "clear", "soft", "dramatic", "interior", "night", "flat"}) {
        const sPreset preset = ParsePreset(Shipped(name));
        EXPECT_FALSE(preset.fDescription.empty()) << name;
        EXPECT_EQ(preset.fOffsets.empty(), std::string(name) == "natural") << name;
    }
}

} // namespace
