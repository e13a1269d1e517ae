#ifndef SELVANE_HOST_SHEET_GRID_H
#define SELVANE_HOST_SHEET_GRID_H

namespace SelvaneHost
{

/// How the cells of a sheet stand: rows and columns of equal cells, a picture with a line of text under it each, with a
/// gap between them and around them, below a line of text for the whole sheet. All in pixels.
struct sGrid
{
    int fColumns = 1;
    int fRows = 1;
    int fCellWidth = 1;  ///< of a picture
    int fCellHeight = 1; ///< of a picture
    int fTextHeight = 0; ///< of a line of text with the space around it
    int fGap = 0;
    int fWidth = 0; ///< of the sheet
    int fHeight = 0;

    /// The left upper corner of the picture of a cell.
    int LeftOf(int pCell) const;
    int TopOf(int pCell) const;
};

/// The grid for so many pictures of one size. It has no empty row, and among the numbers of columns the one whose sheet
/// is nearest to 4:3 with few empty cells.
sGrid GridFor(int pCells, int pCellWidth, int pCellHeight, int pTextHeight, int pGap);

} // namespace SelvaneHost

#endif
