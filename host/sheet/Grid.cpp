#include "sheet/Grid.h"

#include <cmath>

namespace SelvaneHost
{

namespace
{

constexpr double kBestShape = 4.0 / 3.0;
constexpr double kEmptyCost = 0.15; // of a cell without a picture, as much as the shape's logarithm

sGrid GridOf(int pColumns, int pCells, const sGrid& pCell)
{
    sGrid grid = pCell;
    grid.fColumns = pColumns;
    grid.fRows = (pCells + pColumns - 1) / pColumns;
    grid.fWidth = grid.fColumns * (grid.fCellWidth + grid.fGap) + grid.fGap;
    grid.fHeight = grid.fTextHeight + grid.fRows * (grid.fCellHeight + grid.fTextHeight + grid.fGap);
    return grid;
}

double CostOf(const sGrid& pGrid, int pCells)
{
    const double shape = static_cast<double>(pGrid.fWidth) / pGrid.fHeight;
    const int empty = pGrid.fColumns * pGrid.fRows - pCells;
    return std::fabs(std::log(shape / kBestShape)) + kEmptyCost * empty;
}

} // namespace

int sGrid::LeftOf(int pCell) const
{
    return fGap + pCell % fColumns * (fCellWidth + fGap);
}

int sGrid::TopOf(int pCell) const
{
    return fTextHeight + pCell / fColumns * (fCellHeight + fTextHeight + fGap);
}

sGrid GridFor(int pCells, int pCellWidth, int pCellHeight, int pTextHeight, int pGap)
{
    sGrid cell;
    cell.fCellWidth = pCellWidth;
    cell.fCellHeight = pCellHeight;
    cell.fTextHeight = pTextHeight;
    cell.fGap = pGap;
    sGrid best = GridOf(1, pCells, cell);
    for (int columns = 2; columns <= pCells; columns++) {
        const sGrid grid = GridOf(columns, pCells, cell);
        if (CostOf(grid, pCells) < CostOf(best, pCells)) best = grid;
    }
    return best;
}

} // namespace SelvaneHost
