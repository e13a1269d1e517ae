#include "host/Workshop.h"
#include "picture/Sliders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace
{

using namespace SelvaneHost;

/// Returns "-10 to 10", with other words before "to" if there are any.
std::string Range(const sSlider& pSlider, const std::string& pBetween = "")
{
    std::ostringstream text;
    text << pSlider.fLowest << pBetween << " to " << pSlider.fHighest;
    return text.str();
}

/// Returns the lines of a page between two of its lines, without these. To the end if there is no second.
std::vector<std::string> Section(const char* pPage, const std::string& pAfter, const std::string& pBefore)
{
    const SelvaneTest::tBytes bytes = SelvaneTest::ReadAll(pPage);
    std::istringstream page(std::string(bytes.begin(), bytes.end()));
    std::vector<std::string> lines;
    std::string line;
    while (std::getline(page, line) && line != pAfter) {
    }
    while (std::getline(page, line) && !line.starts_with(pBefore))
        lines.push_back(line);
    return lines;
}

TEST(Sliders, TheHelpHoldsTheNumbersOfTheTable)
{
    const sSlider slider = {
        "--x", &selvane_settings::radius, -0.5F, 12, 3, "from LOWEST wide to HIGHEST fine (DEFAULT)"};
    EXPECT_EQ(HelpOf(slider), "from -0.5 wide to 12 fine (3)");
    EXPECT_EQ(RangeOf(slider), "must lie between -0.5 and 12");
    EXPECT_EQ(HelpOf(kSliders[2]), "size of what counts as detail, -10 wide to 10 fine (0)");
    EXPECT_EQ(HelpOf(kSliders[5]), "share clipped to black, in per cent (0)");
}

TEST(Sliders, AreThoseOfTheSettings)
{
    for (const sSlider& slider : kSliders) {
        selvane_settings settings{};
        settings.struct_size = sizeof settings;
        const std::string text = KeyOf(slider) + " = 2.5\n";
        selvane* const handle = selvane_new();
        EXPECT_EQ(selvane_settings_from_text(handle, text.c_str(), &settings), SELVANE_OK) << selvane_error(handle);
        EXPECT_EQ(settings.*slider.fMember, 2.5F) << slider.fOption;
        selvane_settings_init(&settings);
        settings.automatic = 0;
        EXPECT_EQ(settings.*slider.fMember, slider.fDefault) << slider.fOption;
        for (const float end : {slider.fLowest, slider.fHighest}) {
            settings.*slider.fMember = end;
            EXPECT_EQ(selvane_set_settings(handle, &settings), SELVANE_OK) << slider.fOption;
            settings.*slider.fMember = end + (end == slider.fLowest ? -0.5F : 0.5F);
            EXPECT_EQ(selvane_set_settings(handle, &settings), SELVANE_ERROR_ARGUMENT) << slider.fOption;
        }
        selvane_free(handle);
    }
}

// The page has one row per slider, "| `--radius` | -10 to 10 | ...", then the rows of --wrap and --threads.
TEST(Sliders, ThePageOfTheCommandHasTheTable)
{
    std::vector<std::string> rows;
    for (const std::string& line : Section(SELVANE_COMMAND_PAGE, "## Sliders", "## "))
        if (line.starts_with("| `--")) rows.push_back(line.substr(0, line.find(" |", line.find(" | ") + 2)));
    std::vector<std::string> expected;
    for (const sSlider& slider : kSliders)
        expected.push_back(std::string("| `").append(slider.fOption).append("` | ").append(Range(slider)));
    expected.insert(expected.end(), {"| `--wrap` |", "| `--threads` | 0 to 256"});
    EXPECT_EQ(rows, expected);
}

} // namespace
