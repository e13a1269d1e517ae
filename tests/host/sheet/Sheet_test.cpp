// Sheets: where the cells stand, and that each has the pixels that libselvane gives.

#include "host/command/CommandTest.h"
#include "host/explain/Loaded.h"
#include "sheet/Grid.h"
#include "sheet/Label.h"

#include <algorithm>
#include <filesystem>

namespace SelvaneTest
{
namespace
{

using namespace SelvaneHost;

TEST(Grid, CellsStandInRowsAndDoNotOverlap)
{
    const sGrid grid = GridFor(5, 100, 50, 20, 10);
    for (int cell = 0; cell < 5; cell++) {
        EXPECT_EQ(grid.LeftOf(cell), 10 + cell % grid.fColumns * 110) << cell;
        EXPECT_EQ(grid.TopOf(cell), 20 + cell / grid.fColumns * 80) << cell;
        EXPECT_LE(grid.LeftOf(cell) + 100 + 10, grid.fWidth);
        EXPECT_LE(grid.TopOf(cell) + 50 + 20, grid.fHeight);
    }
    EXPECT_GE(grid.fColumns * grid.fRows, 5);
}

TEST(Grid, TwoWidePicturesStandSideBySideAndVeryWideOnesBelowEachOther)
{
    EXPECT_EQ(GridFor(2, 480, 320, 30, 15).fColumns, 2);
    EXPECT_EQ(GridFor(2, 480, 120, 30, 15).fColumns, 1);
    EXPECT_EQ(GridFor(1, 480, 120, 30, 15).fColumns, 1);
    EXPECT_EQ(GridFor(8, 320, 480, 30, 15).fColumns, 4);
    EXPECT_EQ(GridFor(4, 400, 300, 30, 15).fColumns, 2);
}

TEST(Label, TextIsCutOffWhereItIsTooWide)
{
    StartPictureLibrary();
    const sLabel whole = LabelOf("a long name of a look", 16, 10000, false);
    EXPECT_GT(whole.fWidth, 100);
    const sLabel cut = LabelOf("a long name of a look", 16, 100, false);
    EXPECT_LE(cut.fWidth, 100);
    EXPECT_GT(cut.fWidth, 60);
    EXPECT_EQ(whole.fMask.size(), static_cast<size_t>(whole.fWidth) * static_cast<size_t>(whole.fHeight));
    EXPECT_EQ(*std::max_element(whole.fMask.begin(), whole.fMask.end()), 255);
}

/// Markup and bytes that are no text would be errors of the text library.
TEST(Label, AnyNameCanBeDrawn)
{
    StartPictureLibrary();
    const sLabel plain = LabelOf("<b>x</b>", 16, 1000, false);
    EXPECT_GT(plain.fWidth, LabelOf("x", 16, 1000, false).fWidth + 40);
    EXPECT_GT(LabelOf("a\xFF&\n\x01z", 16, 1000, false).fWidth, 20);
    EXPECT_EQ(LabelOf("", 16, 1000, false).fWidth, 0);
    EXPECT_EQ(LabelOf(" \n ", 16, 1000, true).fWidth, 0);
    EXPECT_LE(LabelOf("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 16, 50, false).fWidth, 50);
}

/// A comma hangs below what an x stands on.
TEST(Label, TextsHaveOneBaseline)
{
    StartPictureLibrary();
    const auto bottom = [](const char* pText) {
        const sLabel label = LabelOf(pText, 40, 1000, false);
        return label.fTop + label.fHeight;
    };
    EXPECT_NEAR(bottom("x"), bottom("T"), 1);
    EXPECT_GT(bottom("y"), bottom("x") + 4);
}

class Sheet : public Command
{
protected:
    static constexpr int kSide = 64; ///< larger than the longer side of the picture, so cells have its size

    /// What libselvane makes of in.png.
    tBytes Rendered(const char* pPreset, float pExposure) const
    {
        const tHandle handle = Loaded(Png());
        tBytes pixels(size_t{3} * kWidth * kHeight);
        const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, pixels.data());
        if (pPreset == nullptr) {
            EXPECT_EQ(selvane_plain(handle.get(), 0.0F, 0, &target), SELVANE_OK);
            return pixels;
        }
        const selvane_settings settings = PresetSettings(pPreset, pExposure);
        EXPECT_EQ(selvane_set_settings(handle.get(), &settings), SELVANE_OK);
        EXPECT_EQ(selvane_render(handle.get(), &target), SELVANE_OK);
        return pixels;
    }

    /// The pixels of a cell of the sheet.
    static tBytes Cell(const sFound& pSheet, const sGrid& pGrid, int pCell)
    {
        tBytes pixels;
        for (int y = 0; y < kHeight; y++) {
            const size_t row = static_cast<size_t>(pGrid.TopOf(pCell) + y) * static_cast<size_t>(pSheet.fWidth);
            const auto first = pSheet.fPixels.begin() +
                               static_cast<std::ptrdiff_t>(3 * (row + static_cast<size_t>(pGrid.LeftOf(pCell))));
            pixels.insert(pixels.end(), first, first + std::ptrdiff_t{3} * kWidth);
        }
        return pixels;
    }

    static sGrid GridOf(int pCells) { return GridFor(pCells, kWidth, kHeight, 24, 12); }

    sRun Make(std::vector<std::string> pWords) const
    {
        pWords.insert(pWords.begin(), {"sheet", Png(), "-o", Out(), "--size", std::to_string(kSide)});
        return Selvane(pWords);
    }
};

TEST_F(Sheet, EachCellHasThePixelsOfItsLookInTheOrderOfTheCommandLine)
{
    ExpectQuietSuccess(Make({"--look", "night --exposure 0.5", "--look", "plain", "--look", "clear"}));
    const sFound sheet = Look(Out());
    const sGrid grid = GridOf(3);
    ASSERT_EQ(sheet.fWidth, grid.fWidth);
    ASSERT_EQ(sheet.fHeight, grid.fHeight);
    EXPECT_EQ(Cell(sheet, grid, 0), Rendered("night", 0.5F));
    EXPECT_EQ(Cell(sheet, grid, 1), Rendered(nullptr, 0.0F));
    EXPECT_EQ(Cell(sheet, grid, 2), Rendered("clear", 0.0F));
    EXPECT_TRUE(sheet.fSaysSrgb);
}

TEST_F(Sheet, WithoutLooksItHasThePlainPictureAndAllPresets)
{
    ExpectQuietSuccess(Make({}));
    const sFound sheet = Look(Out());
    const sGrid grid = GridOf(8);
    ASSERT_EQ(sheet.fWidth, grid.fWidth);
    EXPECT_EQ(Cell(sheet, grid, 0), Rendered(nullptr, 0.0F));
    for (int i = 0; selvane_preset_name(i) != nullptr; i++)
        EXPECT_EQ(Cell(sheet, grid, i + 1), Rendered(selvane_preset_name(i), 0.0F)) << selvane_preset_name(i);
}

TEST_F(Sheet, FilesOfSettingsStandAgainstEachOther)
{
    WriteAll(fFolder / "a.toml", "exposure = 0.5\nautomatic = true\n");
    WriteAll(fFolder / "b.toml", std::string(""));
    ExpectQuietSuccess(Make({"--look", fFolder / "a.toml", "--look", fFolder / "b.toml"}));
    const sGrid grid = GridOf(2);
    EXPECT_EQ(Cell(Look(Out()), grid, 0), Rendered("natural", 0.5F));
    EXPECT_EQ(Cell(Look(Out()), grid, 1), Rendered("natural", 0.0F));
}

/// Below each picture, and above all of them, something is written in another colour than the paper.
TEST_F(Sheet, CellsAndSheetHaveLabels)
{
    ExpectQuietSuccess(Make({"--look", "night", "--look", "soft"}));
    const sFound sheet = Look(Out());
    const sGrid grid = GridOf(2);
    const auto inked = [&](int pLeft, int pTop) {
        int count = 0;
        for (int y = pTop; y < pTop + 20; y++)
            for (int x = pLeft; x < pLeft + kWidth; x++)
                count += sheet.fPixels[3 * (static_cast<size_t>(y) * static_cast<size_t>(sheet.fWidth) +
                                            static_cast<size_t>(x))] > 150;
        return count;
    };
    for (int cell = 0; cell < 2; cell++)
        EXPECT_GT(inked(grid.LeftOf(cell), grid.TopOf(cell) + kHeight), 30) << cell;
    EXPECT_GT(inked(grid.fGap, 0), 30);
    EXPECT_EQ(sheet.fPixels[0], 46); // paper
}

TEST_F(Sheet, LooksThatMakeNoSenseAreRefused)
{
    ExpectFailure(Make({"--look", "nigth"}), 2, "nigth");
    ExpectFailure(Make({"--look", "night --exposre 1"}), 2, "--look night --exposre 1: ");
    ExpectFailure(Make({"--look", "night --preset clear"}), 2, "--preset");
    ExpectFailure(Make({"--look", "night --settings a.toml"}), 2,
                  "--look night --settings a.toml: --preset and --settings");
    ExpectFailure(Make({"--look", "--exact"}), 2, "--look --exact: ");
    ExpectFailure(Make({"--look", "plain --exposure 1"}), 2, "plain has no options");
    ExpectFailure(Make({"--look", "'night"}), 2, "--look 'night: ");
    ExpectFailure(Make({"--look", ""}), 2, "--look");
    ExpectFailure(Make({"--look", "--exposure 30"}), 2, "--exposure");
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Sheet, DoesNotReplaceItsInput)
{
    const tBytes before = ReadAll(Png());
    const std::string hard = fFolder / "hard.png", link = fFolder / "link.png";
    std::filesystem::create_hard_link(Png(), hard);
    std::filesystem::create_symlink("in.png", link);
    for (const std::string& output : {Png(), hard, link}) {
        ExpectFailure(Selvane({"sheet", Png(), "-o", output}), 2, output + ": is the input itself");
        EXPECT_EQ(ReadAll(output), before);
    }
}

} // namespace
} // namespace SelvaneTest
