#include "sequence/Cells.h"

#include <algorithm>
#include <array>

namespace SelvaneLib
{

namespace
{

constexpr int kSide = 8; // cells of a row and of a column
static_assert(kSide * kSide == SELVANE_FRAME_CELLS);

struct sRange
{
    int fBegin, fEnd;
};

/// The pixels of a cell along one side; at least one.
sRange PixelsOf(int pCell, int pPixels)
{
    const auto edge = [&](int pIndex) { return static_cast<int>(int64_t{pIndex} * pPixels / kSide); };
    return {edge(pCell), std::max(edge(pCell) + 1, edge(pCell + 1))};
}

struct sSum
{
    double fSum = 0.0;
    int64_t fCount = 0;
};

using tSums = std::array<sSum, kSide>;

void AddRow(const cPicture& pPicture, int pRow, const std::vector<float>& pValues, tSums& pSums)
{
    const int64_t first = int64_t{pRow} * pPicture.Width();
    for (int cell = 0; cell < kSide; cell++) {
        const sRange pixels = PixelsOf(cell, pPicture.Width());
        sSum& sum = pSums[static_cast<size_t>(cell)];
        for (int x = pixels.fBegin; x < pixels.fEnd; x++) {
            if (pPicture.fHasInvisible && !pPicture.IsVisible(first + x)) continue;
            sum.fSum += static_cast<double>(pValues[static_cast<size_t>(x)]);
            sum.fCount++;
        }
    }
}

} // namespace

void MeasureCells(const cPicture& pPicture, const cKeptRender& pRender, float* pCells)
{
    std::vector<float> values(static_cast<size_t>(pPicture.Width()));
    for (int row = 0; row < kSide; row++) {
        tSums sums;
        const sRange pixels = PixelsOf(row, pPicture.Height());
        for (int y = pixels.fBegin; y < pixels.fEnd; y++) {
            pRender.CopyPlaneRow(SELVANE_PLANE_LUMINANCE, y, values.data());
            AddRow(pPicture, y, values, sums);
        }
        for (const sSum& sum : sums)
            *pCells++ = sum.fCount > 0 ? static_cast<float>(sum.fSum / static_cast<double>(sum.fCount))
                                       : pPicture.fStatistics.fLogMean;
    }
}

} // namespace SelvaneLib
