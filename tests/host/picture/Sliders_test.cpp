#include "host/Workshop.h"
#include "picture/Sliders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <sstream>

namespace
{

using namespace SelvaneHost;
using testing::ElementsAre;
using testing::IsEmpty;

/// Returns "-10 to 10", with other words before "to" if there are any.
std::string RangeOf(const sSlider& pSlider, const std::string& pBetween = "")
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
    const sSlider slider = {"--x", &sTmSliders::radius, -0.5F, 12, 3, "from LOWEST wide to HIGHEST fine (DEFAULT)"};
    EXPECT_EQ(HelpOf(slider), "from -0.5 wide to 12 fine (3)");
    EXPECT_EQ(HelpOf(kSliders[2]), "size of what counts as detail, -10 wide to 10 fine (0)");
    EXPECT_EQ(HelpOf(kSliders[5]), "share clipped to black, in per cent (0)");
}

TEST(Sliders, AllDefaultsAreZero)
{
    const sTmSliders defaults = DefaultSliders();
    const sTmSliders zero{};
    EXPECT_EQ(std::memcmp(&defaults, &zero, sizeof zero), 0);
}

TEST(Sliders, BothEndsOfARangeLieInside)
{
    for (const sSlider& slider : kSliders) {
        for (const float inside : {slider.fLowest, slider.fHighest, slider.fDefault}) {
            sTmSliders sliders{};
            sliders.*slider.fMember = inside;
            EXPECT_THAT(SliderWarnings(sliders), IsEmpty()) << slider.fOption << " " << inside;
        }
    }
}

TEST(Sliders, EachSliderOutsideItsRangeGivesAWarning)
{
    sTmSliders sliders{};
    sliders.compression = -100.5F;
    sliders.radius = 11.0F;
    sliders.adaptation = -0.25F;
    sliders.blackClip = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(SliderWarnings(sliders),
                ElementsAre("--compression -100.5 lies outside of -100 to 100", "--radius 11 lies outside of -10 to 10",
                            "--adaptation -0.25 lies outside of 0 to 100",
                            "--black-clip nan lies outside of 0 to 100"));
}

// The page has one row per slider, "| `--radius` | -10 to 10 | ...", then the rows of --wrap and --threads.
TEST(Sliders, ThePageOfTheCommandHasTheTable)
{
    std::vector<std::string> rows;
    for (const std::string& line : Section(SELVANE_COMMAND_PAGE, "## Sliders", "## "))
        if (line.starts_with("| `--")) rows.push_back(line.substr(0, line.find(" |", line.find(" | ") + 2)));
    std::vector<std::string> expected;
    for (const sSlider& slider : kSliders)
        expected.push_back(std::string("| `").append(slider.fOption).append("` | ").append(RangeOf(slider)));
    expected.insert(expected.end(), {"| `--wrap` |", "| `--threads` | 0 to 256"});
    EXPECT_EQ(rows, expected);
}

} // namespace
