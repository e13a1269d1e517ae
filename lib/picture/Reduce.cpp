#include "picture/Picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// A smaller picture by means over boxes of whole pixels. A box of the smaller picture begins where the one before ends.

namespace SelvaneLib
{

namespace
{

int EdgeOf(int pAt, int pNew, int pOld)
{
    return static_cast<int>(int64_t{pAt} * pOld / pNew);
}

/// A number that looks random, the same for a place at all times.
uint32_t Scattered(uint32_t pX, uint32_t pY)
{
    uint32_t bits = pX * 0x9E3779B1u ^ pY * 0x85EBCA77u;
    bits = (bits ^ bits >> 15) * 0x2C1B3C6Du;
    bits = (bits ^ bits >> 12) * 0x297A2D39u;
    return bits ^ bits >> 15;
}

/// A place of the box that an old length has for a new place.
int PlaceIn(int pAt, int pNew, int pOld, uint32_t pScattered)
{
    const int begin = EdgeOf(pAt, pNew, pOld);
    const int length = EdgeOf(pAt + 1, pNew, pOld) - begin;
    return begin + static_cast<int>(pScattered % static_cast<uint32_t>(length));
}

void AddRow(const float* pRow, std::vector<float>& pColumns)
{
    for (size_t i = 0; i < pColumns.size(); i++)
        pColumns[i] += pRow[i];
}

/// Mean of each box from the sums of the columns.
void MeansOf(const std::vector<float>& pColumns, int pOldWidth, int pNewWidth, int pRows, float* pTo)
{
    for (int x = 0; x < pNewWidth; x++, pTo += 3) {
        const int begin = EdgeOf(x, pNewWidth, pOldWidth);
        const int end = EdgeOf(x + 1, pNewWidth, pOldWidth);
        float sum[3] = {};
        for (int column = begin; column < end; column++)
            for (size_t k = 0; k < 3; k++)
                sum[k] += pColumns[3 * static_cast<size_t>(column) + k];
        const float scale = 1.0f / (static_cast<float>(end - begin) * static_cast<float>(pRows));
        for (int k = 0; k < 3; k++)
            pTo[k] = sum[k] * scale;
    }
}

/// Mean of the pixels of a box that count, else of all; mean alpha of all.
void WeightedMean(const cPicture& pFrom, int pX0, int pX1, int pY0, int pY1, float* pTo, float& pAlpha)
{
    float visible[3] = {};
    float all[3] = {};
    float count = 0;
    pAlpha = 0;
    for (int y = pY0; y < pY1; y++)
        for (int x = pX0; x < pX1; x++) {
            const float* pixel = pFrom.Row(y) + ptrdiff_t{3} * x;
            const float alpha = pFrom.AlphaAt(int64_t{y} * pFrom.Width() + x);
            const bool counts = alpha > 0.0f;
            for (int k = 0; k < 3; k++) {
                all[k] += pixel[k];
                visible[k] += counts ? pixel[k] : 0.0f;
            }
            count += counts ? 1.0f : 0.0f;
            pAlpha += counts ? std::min(alpha, 1.0f) : 0.0f;
        }
    const float pixels = static_cast<float>(pX1 - pX0) * static_cast<float>(pY1 - pY0);
    for (int k = 0; k < 3; k++)
        pTo[k] = count > 0 ? visible[k] / count : all[k] / pixels;
    pAlpha /= pixels;
}

void ReduceRowWithAlpha(const cPicture& pFrom, cPicture& pTo, int pY, int pY0, int pY1)
{
    for (int x = 0; x < pTo.Width(); x++) {
        float alpha = 0;
        WeightedMean(pFrom, EdgeOf(x, pTo.Width(), pFrom.Width()), EdgeOf(x + 1, pTo.Width(), pFrom.Width()), pY0, pY1,
                     pTo.Row(pY) + ptrdiff_t{3} * x, alpha);
        std::memcpy(pTo.fAlpha.data() + (int64_t{pY} * pTo.Width() + x) * pTo.fAlphaBytes, &alpha, sizeof alpha);
    }
}

/// @param pMostRows of the box are read, spread evenly
void ReduceRow(const cPicture& pFrom, cPicture& pTo, int pY, int pY0, int pY1, int pMostRows)
{
    std::vector<float> columns(3 * static_cast<size_t>(pFrom.Width()));
    const int rows = std::min(pY1 - pY0, pMostRows);
    for (int i = 0; i < rows; i++)
        AddRow(pFrom.Row(pY0 + EdgeOf(i, rows, pY1 - pY0)), columns);
    MeansOf(columns, pFrom.Width(), pTo.Width(), rows, pTo.Row(pY));
}

} // namespace

void ReducedSize(int pWidth, int pHeight, int pLongest, int& pNewWidth, int& pNewHeight)
{
    const int longest = std::max(pWidth, pHeight);
    const double scale = std::min(1.0, static_cast<double>(pLongest) / longest);
    pNewWidth = std::clamp(static_cast<int>(std::lround(pWidth * scale)), 1, pWidth);
    pNewHeight = std::clamp(static_cast<int>(std::lround(pHeight * scale)), 1, pHeight);
}

std::unique_ptr<cPicture> Sampled(const cPicture& pPicture, int pWidth, int pHeight)
{
    auto small = std::make_unique<cPicture>(pWidth, pHeight);
    small->fHasInvisible = pPicture.fHasInvisible;
    if (small->fHasInvisible) small->fAlpha.resize(static_cast<size_t>(small->Pixels() * small->fAlphaBytes));
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            const uint32_t scattered = Scattered(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
            const int row = PlaceIn(y, pHeight, pPicture.Height(), scattered >> 16);
            const int column = PlaceIn(x, pWidth, pPicture.Width(), scattered & 0xFFFF);
            std::copy_n(pPicture.Row(row) + ptrdiff_t{3} * column, 3, small->Row(y) + ptrdiff_t{3} * x);
            const float counts = pPicture.IsVisible(int64_t{row} * pPicture.Width() + column) ? 1.0f : 0.0f;
            small->fStatistics.fVisible += counts > 0.0f ? 1 : 0;
            if (small->fHasInvisible)
                std::memcpy(small->fAlpha.data() + (int64_t{y} * pWidth + x) * small->fAlphaBytes, &counts,
                            sizeof counts);
        }
    return small;
}

std::unique_ptr<cPicture> Reduced(const cPicture& pPicture, int pWidth, int pHeight, int pMostRows, cRun& pRun)
{
    auto small = std::make_unique<cPicture>(pWidth, pHeight);
    small->fOfIntegers = pPicture.fOfIntegers;
    small->fHasInvisible = pPicture.fHasInvisible;
    small->fStatistics = pPicture.fStatistics;
    if (pPicture.HasAlpha()) small->fAlpha.resize(static_cast<size_t>(small->Pixels() * small->fAlphaBytes));
    const int64_t cost = pPicture.Pixels() / pHeight;
    pRun.DivideOrThrow(0, pHeight, cost, [&](int, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++) {
            const int y0 = EdgeOf(y, pHeight, pPicture.Height());
            const int y1 = EdgeOf(y + 1, pHeight, pPicture.Height());
            if (pPicture.HasAlpha())
                ReduceRowWithAlpha(pPicture, *small, y, y0, y1);
            else
                ReduceRow(pPicture, *small, y, y0, y1, pMostRows);
        }
    });
    return small;
}

} // namespace SelvaneLib
