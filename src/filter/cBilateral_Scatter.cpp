#include "filter/BilateralGrid.h"

#include "base/Versions.h"
#include "filter/cBilateral_Bounds.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

// Scattering: each sample is added to the cell that is nearest to its place and value.

namespace Vornik
{

namespace
{

constexpr size_t kLanes = 8;   // parts of a row that are scattered side by side
constexpr int kLaneStrip = 32; // samples of a part that are added in one round
constexpr int kLine = 16;      // floats in a line of the cache

/// The cell of a place on an axis of the picture.
int CellAt(int64_t pPlace, const sGridScale& pScale)
{
    return CellIn(InCells(static_cast<float>(pPlace), pScale.fCellsPerPixel, kScatterOffset));
}

/// Cuts a span into lanes of similar length that share no cell. The cell in x changes at each cut, and along a row it
/// only grows.
std::array<int64_t, kLanes + 1> CutIntoLanes(sSpan pSpan, const sGridScale& pScale)
{
    std::array<int64_t, kLanes + 1> cuts{};
    cuts[0] = pSpan.fBegin;
    const int64_t length = pSpan.fEnd - pSpan.fBegin;
    for (size_t lane = 1; lane <= kLanes; lane++) {
        const int64_t even = length * static_cast<int64_t>(lane) / static_cast<int64_t>(kLanes);
        int64_t cut = std::max(cuts[lane - 1], pSpan.fBegin + even);
        while (cut > pSpan.fBegin && cut < pSpan.fEnd && CellAt(cut, pScale) == CellAt(cut - 1, pScale))
            cut++;
        cuts[lane] = cut;
    }
    return cuts;
}

/// The next samples of a lane, ready to be added.
struct sStrip
{
    int fCount;
    int32_t fCell[kLaneStrip]; ///< number of the cell in the grid
    float fValue[kLaneStrip];  ///< relative to the lowest value
};

/// Computes the cells and values of pCount samples, which are at the places from pPlace on.
SELVANE_CLONES void FillStrip(const float* pSamples, int pPlace, int pCount, sGridScale pScale, int pRowCell,
                              int pCellsPerZ, sStrip* pStrip)
{
    for (int i = 0; i < pCount; i++) {
        const float value = pSamples[i] - pScale.fRangeMin;
        const int cellX = CellIn(InCells(static_cast<float>(pPlace + i), pScale.fCellsPerPixel, kScatterOffset));
        const int cellZ = CellIn(InCells(value, pScale.fCellsPerUnit, kScatterOffset));
        pStrip->fCell[i] = cellZ * pCellsPerZ + pRowCell + cellX;
        pStrip->fValue[i] = value;
    }
}

/// Adds to value sum and weight at once, side by side.
SELVANE_INLINE void AddToCell(float* pGrid, int64_t pCell, float pValue)
{
    using tCell = float __attribute__((vector_size(8)));
    tCell cell;
    std::memcpy(&cell, pGrid + 2 * pCell, sizeof cell);
    cell += tCell{pValue, 1.0f};
    std::memcpy(pGrid + 2 * pCell, &cell, sizeof cell);
}

/// Adds the strips of all lanes, one sample of each lane in turn. The additions of one lane mostly go to the same cell
/// and wait for each other. Those of different lanes never do.
void AddStrips(float* pGrid, const std::array<sStrip, kLanes>& pStrips)
{
    int common = kLaneStrip;
    for (const sStrip& strip : pStrips)
        common = std::min(common, strip.fCount);
    for (int i = 0; i < common; i++)
        for (size_t lane = 0; lane < kLanes; lane++)
            AddToCell(pGrid, pStrips[lane].fCell[i], pStrips[lane].fValue[i]);
    for (const sStrip& strip : pStrips)
        for (int i = common; i < strip.fCount; i++)
            AddToCell(pGrid, strip.fCell[i], strip.fValue[i]);
}

/// Adds the rows of a plane to the grid. Within a cell, samples add in picture order.
class cScatter
{
public:
    cScatter(const cSamples& pSamples, const sGridScale& pScale, sGridShape pShape, float* pGrid, sSpan pSpan)
        : fSamples(pSamples), fScale(pScale), fShape(pShape), fGrid(pGrid), fSpan(pSpan), fLanes(LanesOf(pSpan)),
          fCuts(CutIntoLanes(fLanes, pScale))
    {
    }

    void AddRow(int pRow) const
    {
        AddOneByOne(pRow, {fSpan.fBegin, fLanes.fBegin});
        AddLanes(pRow);
        AddOneByOne(pRow, {fLanes.fEnd, fSpan.fEnd});
    }

private:
    /// The part of a span whose places fit 32 bits and do not wrap to a place before the row.
    sSpan LanesOf(sSpan pSpan) const
    {
        const int64_t begin = std::clamp(int64_t{-3} * fSamples.Width(), pSpan.fBegin, pSpan.fEnd);
        return {begin, std::clamp(int64_t{INT32_MAX} - kLaneStrip, begin, pSpan.fEnd)};
    }

    /// The index of a place's sample in its row. Required: the remainder truncates. On a very narrow picture it may be
    /// negative, which means the row above.
    int64_t PlaceInRow(int64_t pPlace) const { return (pPlace + int64_t{3} * fSamples.Width()) % fSamples.Width(); }

    int RowCell(int pRow) const { return CellAt(pRow, fScale) * fShape.fNx; }

    void AddOneByOne(int pRow, sSpan pSpan) const
    {
        for (int64_t place = pSpan.fBegin; place < pSpan.fEnd; place++) {
            const int64_t inRow = PlaceInRow(place);
            if (pRow == 0 && inRow < 0) continue; // the sample would be before the plane
            const float value = fSamples.Row(pRow)[inRow] - fScale.fRangeMin;
            const int64_t inZ =
                int64_t{CellIn(InCells(value, fScale.fCellsPerUnit, kScatterOffset))} * fShape.fNx * fShape.fNy;
            AddToCell(fGrid, inZ + RowCell(pRow) + CellAt(place, fScale), value);
        }
    }

    void AddLanes(int pRow) const
    {
        std::array<sStrip, kLanes> strips;
        std::array<int64_t, kLanes> next;
        std::copy_n(fCuts.begin(), kLanes, next.begin());
        for (int left = 1; left > 0;) {
            left = 0;
            for (size_t lane = 0; lane < kLanes; lane++) {
                Fill(pRow, next[lane], fCuts[lane + 1], &strips[lane]);
                next[lane] += strips[lane].fCount;
                left += strips[lane].fCount;
            }
            AddStrips(fGrid, strips);
        }
    }

    void Fill(int pRow, int64_t pBegin, int64_t pEnd, sStrip* pStrip) const
    {
        pStrip->fCount = static_cast<int>(std::min<int64_t>(pEnd - pBegin, kLaneStrip));
        if (pStrip->fCount == 0) return;
        float wrapped[kLaneStrip];
        FillStrip(Fetch(pRow, pBegin, pStrip->fCount, wrapped), static_cast<int>(pBegin), pStrip->fCount, fScale,
                  RowCell(pRow), fShape.fNx * fShape.fNy, pStrip);
    }

    /// Returns the samples of pCount places of a row: a pointer into the row, or copies in pWrapped if they wrap.
    const float* Fetch(int pRow, int64_t pPlace, int pCount, float* pWrapped) const
    {
        const float* row = fSamples.Row(pRow);
        const int width = fSamples.Width();
        auto inRow = static_cast<int>(PlaceInRow(pPlace));
        if (pCount <= width - inRow) {
            for (int i = 0; i < kLaneStrip; i += kLine)
                __builtin_prefetch(row + inRow + width + i); // the same places of the next row
            return row + inRow;
        }
        for (int i = 0; i < pCount; i++) {
            pWrapped[i] = row[inRow];
            inRow = inRow + 1 < width ? inRow + 1 : 0;
        }
        return pWrapped;
    }

    const cSamples& fSamples;
    sGridScale fScale;
    sGridShape fShape;
    float* fGrid;
    sSpan fSpan;
    sSpan fLanes;
    std::array<int64_t, kLanes + 1> fCuts;
};

} // namespace

void Scatter(cSamples& pSamples, const sSpan& pSpan, const sGridScale& pScale, sGridShape pShape, float* pGrid)
{
    const cScatter scatter(pSamples, pScale, pShape, pGrid, pSpan);
    for (int row = 0; row < pSamples.Height(); row++) {
        pSamples.Check(row);
        scatter.AddRow(row);
    }
}

} // namespace Vornik
