#include "twin/ReferenceFilter.h"

#include "twin/ReferenceNumbers.h"

#include <cmath>

namespace SelvaneTwin
{

namespace
{

struct sCell
{
    float value = 0.0f;
    float weight = 0.0f;
};

struct sGrid
{
    sGridShape shape;
    std::vector<sCell> cells;

    explicit sGrid(const sGridShape& pShape) : shape(pShape), cells(size_t(pShape.x * pShape.y * pShape.z)) {}
    size_t Index(std::int64_t x, std::int64_t y, std::int64_t z) const
    {
        return size_t((z * shape.y + y) * shape.x + x);
    }
    sCell& At(std::int64_t x, std::int64_t y, std::int64_t z) { return cells.at(Index(x, y, z)); }
};

int SplatCell(const sFilterInput& pInput, float pSample)
{
    return Truncated(std::fma(pSample - pInput.rangeMin, 1.0f / pInput.range, 3.5f));
}

int SliceCell(const sFilterInput& pInput, float pSample)
{
    return Truncated(std::fma(pSample - pInput.rangeMin, 1.0f / pInput.range, 3.0f));
}

/// True where the cells in z that a sample touches, one of splatting and two of slicing, lie in the grid.
bool CellsInside(const sFilterInput& pInput, const sGridShape& pShape, float pSample)
{
    const std::int64_t splat = SplatCell(pInput, pSample);
    const std::int64_t slice = SliceCell(pInput, pSample);
    return splat >= 0 && splat < pShape.z && slice >= 0 && slice + 1 < pShape.z;
}

/// What a sample counts as: itself, or the nearer end of the range when its cells leave the grid.
float Counted(const sFilterInput& pInput, const sGridShape& pShape, float pSample)
{
    if (CellsInside(pInput, pShape, pSample)) return pSample;
    if (!(pInput.rangeMax > pInput.rangeMin)) return pInput.rangeMin;
    return pSample > pInput.rangeMax ? pInput.rangeMax : pInput.rangeMin;
}

struct sPlane
{
    std::vector<float> samples;
    bool changed = false;
};

sPlane CountedPlane(const sFilterInput& pInput, const sGridShape& pShape)
{
    sPlane plane;
    for (const float sample : *pInput.plane) {
        plane.samples.push_back(Counted(pInput, pShape, sample));
        if (!CellsInside(pInput, pShape, sample)) plane.changed = true;
    }
    return plane;
}

void Add(const sFilterInput& pInput, sGrid& pGrid, float pSample, float pX, float pY, sFilterResult& pResult)
{
    const float i = 1.0f / pInput.space;
    const float v = pSample - pInput.rangeMin;
    const int cx = Truncated(std::fma(pX, i, 3.5f));
    const int cy = Truncated(std::fma(pY, i, 3.5f));
    const int cz = SplatCell(pInput, pSample);
    if (cx >= pGrid.shape.x) pResult.cellsBeyondRow++;
    sCell& cell = pGrid.At(cx, cy, cz);
    cell.value += v;
    cell.weight += 1.0f;
}

void SplatPlain(const sFilterInput& pInput, const std::vector<float>& pPlane, sGrid& pGrid, sFilterResult& pResult)
{
    for (int y = 0; y < pInput.height; y++)
        for (int x = 0; x < pInput.width; x++)
            Add(pInput, pGrid, pPlane[size_t(y) * size_t(pInput.width) + size_t(x)], float(x), float(y), pResult);
}

void SplatWrapped(const sFilterInput& pInput, const std::vector<float>& pPlane, sGrid& pGrid, sFilterResult& pResult)
{
    const float s = pInput.space;
    const int start = Truncated(std::fma(-3.0f, s, 1.0f));
    const float end = float(pInput.width) + std::fma(3.0f, s, -1.0f);
    for (int y = 0; y < pInput.height; y++)
        for (int x = start; float(x) < end; x++) {
            const std::int64_t column = (std::int64_t(x) + 3 * std::int64_t(pInput.width)) % pInput.width;
            const std::int64_t index = std::int64_t(y) * pInput.width + column;
            if (column < 0) pResult.borrowedSamples++;
            if (index < 0) {
                pResult.skippedSamples++;
                continue;
            }
            Add(pInput, pGrid, pPlane.at(size_t(index)), float(x), float(y), pResult);
        }
}

float Kernel(float pBefore, float pHere, float pAfter)
{
    return std::fma(2.0f, pHere, pBefore + pAfter);
}

/// 1 2 1 along the axis in steps of pStep cells, into the interior cells of pTo.
void Smooth(const sGrid& pFrom, sGrid& pTo, size_t pStep)
{
    for (std::int64_t z = 1; z < pFrom.shape.z - 1; z++)
        for (std::int64_t y = 1; y < pFrom.shape.y - 1; y++)
            for (std::int64_t x = 1; x < pFrom.shape.x - 1; x++) {
                const size_t c = pFrom.Index(x, y, z);
                const sCell& before = pFrom.cells[c - pStep];
                const sCell& after = pFrom.cells[c + pStep];
                pTo.cells[c].value = Kernel(before.value, pFrom.cells[c].value, after.value);
                pTo.cells[c].weight = Kernel(before.weight, pFrom.cells[c].weight, after.weight);
            }
}

/// The last pass along z: the value becomes the quotient, the weight stays as it was.
void SmoothAndDivide(const sGrid& pFrom, sGrid& pTo, size_t pStep, sFilterResult& pResult)
{
    sGrid smoothed(pFrom.shape);
    Smooth(pFrom, smoothed, pStep);
    for (std::int64_t z = 1; z < pFrom.shape.z - 1; z++)
        for (std::int64_t y = 1; y < pFrom.shape.y - 1; y++)
            for (std::int64_t x = 1; x < pFrom.shape.x - 1; x++) {
                const sCell& cell = smoothed.At(x, y, z);
                if (cell.weight == 0.0f) pResult.emptyCells++;
                pTo.At(x, y, z).value = cell.weight != 0.0f ? cell.value / cell.weight : cell.value;
            }
}

float Sliced(const sFilterInput& pInput, sGrid& pGrid, float pSample, int pX, int pY)
{
    const float i = 1.0f / pInput.space;
    const float fy = std::fma(float(pY), i, 3.0f);
    const int iy = Truncated(fy);
    const float ty = fy - float(iy);
    const float uy = float(iy) + (1.0f - fy);
    const float fx = std::fma(float(pX), i, 3.0f);
    const int ix = Truncated(fx);
    const float tx = fx - float(ix);
    const float ux = float(ix) + 1.0f - fx;
    const float fz = std::fma(pSample - pInput.rangeMin, 1.0f / pInput.range, 3.0f);
    const int iz = Truncated(fz);
    const float tz = fz - float(iz);
    const float uz = float(iz) + 1.0f - fz;
    float p[2];
    for (int d = 0; d < 2; d++) {
        float l[2];
        for (int b = 0; b < 2; b++)
            l[b] = std::fma(ux, pGrid.At(ix, iy + b, iz + d).value, tx * pGrid.At(ix + 1, iy + b, iz + d).value);
        p[d] = std::fma(uy, l[0], ty * l[1]);
    }
    return std::fma(tz, p[1], std::fma(uz, p[0], pInput.rangeMin));
}

} // namespace

sGridShape MeasureGrid(const sFilterInput& pInput)
{
    const float i = 1.0f / pInput.space;
    const std::int64_t gx = Truncated(std::fma(float(pInput.width - 1), i, 0.5f));
    const std::int64_t gy = Truncated(std::fma(float(pInput.height - 1), i, 0.5f));
    const std::int64_t gz = Truncated((pInput.rangeMax - pInput.rangeMin) / pInput.range + 0.5f);
    return {gx + 7, gy + 7, gz + 7};
}

bool IsRefused(const sFilterInput& pInput)
{
    if (!(pInput.space > 0.0f) || !(pInput.range > 0.0f)) return true;
    const sGridShape shape = MeasureGrid(pInput);
    const double floats = 2.0 * double(shape.x) * double(shape.y) * double(shape.z);
    if (floats > 2147483647.0 || shape.x > 2147483647 || shape.y > 2147483647 || shape.z > 2147483647) return true;
    if (pInput.wrap && 3.0f * pInput.space >= 16777216.0f) return true;
    if (!CellsInside(pInput, shape, pInput.rangeMin)) return true;
    return pInput.rangeMax > pInput.rangeMin && !CellsInside(pInput, shape, pInput.rangeMax);
}

sFilterResult Filter(const sFilterInput& pInput)
{
    const sGridShape shape = MeasureGrid(pInput);
    const sPlane plane = CountedPlane(pInput, shape);
    sFilterResult result;
    result.ownPlane = plane.changed;
    sGrid first(shape);
    sGrid second(shape);
    if (pInput.wrap)
        SplatWrapped(pInput, plane.samples, first, result);
    else
        SplatPlain(pInput, plane.samples, first, result);
    const size_t alongX = 1;
    const size_t alongY = size_t(shape.x);
    const size_t alongZ = size_t(shape.x * shape.y);
    Smooth(first, second, alongX);
    Smooth(second, first, alongX);
    Smooth(first, second, alongY);
    Smooth(second, first, alongY);
    Smooth(first, second, alongZ);
    SmoothAndDivide(second, first, alongZ, result);
    for (int y = 0; y < pInput.height; y++)
        for (int x = 0; x < pInput.width; x++)
            result.plane.push_back(
                Sliced(pInput, first, plane.samples[size_t(y) * size_t(pInput.width) + size_t(x)], x, y));
    return result;
}

} // namespace SelvaneTwin
