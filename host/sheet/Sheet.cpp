#include "sheet/Sheet.h"

#include "explain/PlainStops.h"
#include "job/Frame.h"
#include "job/Report.h"
#include "sheet/Grid.h"
#include "sheet/Label.h"
#include "write/Apart.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <selvane.h>
#include <span>

namespace SelvaneHost
{

namespace
{

using tRgb = std::array<unsigned char, 3>;

constexpr tRgb kPaper = {46, 46, 46};
constexpr tRgb kInk = {238, 238, 238};
constexpr tRgb kQuietInk = {170, 170, 170};
constexpr int kLeastText = 12; // pixels of the letters

void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus != SELVANE_OK) throw cHostError(std::string("cannot be rendered: ") + selvane_error(pHandle));
}

/// Sizes that follow from that of the cells.
int TextSizeFor(int pSize)
{
    return std::max(kLeastText, pSize / 32);
}

sGrid GridOf(const sSheetOptions& pOptions, size_t pCells, int pWidth, int pHeight)
{
    const int text = TextSizeFor(pOptions.fSize);
    return GridFor(static_cast<int>(pCells), pWidth, pHeight, 2 * text, text);
}

sPicture Paper(const sGrid& pGrid)
{
    sPicture sheet;
    AllocatePixels(sheet, pGrid.fWidth, pGrid.fHeight, eSamples8);
    for (size_t i = 0; i < sheet.fPixels.size(); i++)
        sheet.fPixels[i] = kPaper[i % 3];
    return sheet;
}

/// Renders one look straight into its cell.
void RenderCell(selvane* pHandle, const sSheetLook& pLook, int pSize, bool pIsDisplay, const sGrid& pGrid, int pCell,
                sPicture& pSheet)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pGrid.fCellWidth;
    target.height = pGrid.fCellHeight;
    target.format = SELVANE_U8;
    target.row_stride = static_cast<ptrdiff_t>(RowBytes(pSheet));
    target.pixels = Row(pSheet, pGrid.TopOf(pCell)) + ptrdiff_t{3} * pGrid.LeftOf(pCell);
    if (pLook.fPlain) {
        const double stops = pIsDisplay ? 0.0 : PlainStops(pHandle);
        return Must(selvane_plain(pHandle, static_cast<float>(stops), pSize, &target), pHandle);
    }
    SetSettings(pHandle, pLook.fLook);
    Must(selvane_preview(pHandle, pSize, &target), pHandle);
}

/// Draws a label with its line's top left corner at a place. Returns the pixels that it takes from there.
int DrawLabel(const sLabel& pLabel, const tRgb& pInk, int pLeft, int pTop, sPicture& pSheet)
{
    for (int y = 0; y < pLabel.fHeight && pTop + pLabel.fTop + y < pSheet.fHeight; y++) {
        unsigned char* to = Row(pSheet, pTop + pLabel.fTop + y) + ptrdiff_t{3} * (pLeft + pLabel.fLeft);
        const unsigned char* mask = pLabel.fMask.data() + static_cast<ptrdiff_t>(y) * pLabel.fWidth;
        for (int x = 0; x < pLabel.fWidth; x++, mask++)
            for (size_t c = 0; c < 3; c++, to++)
                *to = static_cast<unsigned char>((*to * (255 - *mask) + pInk[c] * *mask + 127) / 255);
    }
    return pLabel.fLeft + pLabel.fWidth;
}

/// A name, and quietly what there is to say of it, in at most so many pixels.
void DrawWords(const std::string& pName, const std::string& pWords, int pText, int pLeft, int pTop, int pMostWidth,
               sPicture& pSheet)
{
    const int taken = DrawLabel(LabelOf(pName, pText, pMostWidth, true), kInk, pLeft, pTop, pSheet) + pText;
    const int left = pMostWidth - taken;
    if (left < 4 * pText) return; // too little for a word
    DrawLabel(LabelOf(pWords, pText, left, false), kQuietInk, pLeft + taken, pTop, pSheet);
}

std::string SizeWords(const sPicture& pInput)
{
    return std::to_string(pInput.fWidth) + " \u00d7 " + std::to_string(pInput.fHeight) + " pixels";
}

void DrawAllWords(const std::vector<sSheetLook>& pLooks, const sPicture& pInput, const std::string& pName, int pText,
                  const sGrid& pGrid, sPicture& pSheet)
{
    const int above = pText / 3; // half of what a line of twice the letters' height has to spare
    DrawWords(pName, SizeWords(pInput), pText, pGrid.fGap, above, pGrid.fWidth - 2 * pGrid.fGap, pSheet);
    for (size_t i = 0; i < pLooks.size(); i++) {
        const int cell = static_cast<int>(i);
        DrawWords(pLooks[i].fName, pLooks[i].fWords, pText, pGrid.LeftOf(cell),
                  pGrid.TopOf(cell) + pGrid.fCellHeight + above, pGrid.fCellWidth, pSheet);
    }
}

sPicture SheetOf(const sSheetOptions& pOptions, const sPicture& pInput)
{
    const sRunning running{.fThreads = pOptions.fJob.fThreads, .fLog = pOptions.fVerbose ? tLine(Report) : tLine()};
    const bool isDisplay = IsForDisplay(pInput);
    sPicture sheet;
    WithPicture(pInput, {}, running, [&](selvane* pHandle) {
        int width = 0, height = 0;
        Must(selvane_preview_size(pHandle, pOptions.fSize, &width, &height), pHandle);
        const sGrid grid = GridOf(pOptions, pOptions.fLooks.size(), width, height);
        sheet = Paper(grid);
        for (size_t i = 0; i < pOptions.fLooks.size(); i++)
            RenderCell(pHandle, pOptions.fLooks[i], pOptions.fSize, isDisplay, grid, static_cast<int>(i), sheet);
        const std::string name = std::filesystem::path(pOptions.fJob.fInput).filename().string();
        DrawAllWords(pOptions.fLooks, pInput, name, TextSizeFor(pOptions.fSize), grid, sheet);
    });
    return sheet;
}

} // namespace

void RunSheet(const sSheetOptions& pOptions)
{
    const sJob& job = pOptions.fJob;
    CheckOutputKind(job.fOutput);
    CheckOutput(job.fInput, job.fOutput);
    for (const sSheetLook& look : pOptions.fLooks)
        CheckApart(job.fOutput.fPath, {look.fLook.fSettings});
    sPicture input = ReadFor(job, Report);
    SpaceOf(input, job.fInput, job.fColorSpace, false, Report);
    TakeFrame(input); // the looks are those of the inside
    const sPicture sheet = About(job.fInput, [&] { return SheetOf(pOptions, input); });
    const sStorage storage = StorageFor(job.fOutput, sheet, SELVANE_SRGB, {}, job.fThreads);
    Write(sheet, storage, job.fOutput.fPath, Report);
}

} // namespace SelvaneHost
