#include "DirectFilters.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace SelvaneTest
{

namespace
{

/// The bits of a float.
float OfBits(uint32_t pBits)
{
    float value = 0;
    std::memcpy(&value, &pBits, sizeof value);
    return value;
}

/// A grid whose cells are found by the printed index.
struct sGrid
{
    int64_t fNx, fNy, fNz;
    std::vector<float> fFloats;

    size_t Value(int64_t pX, int64_t pY, int64_t pZ) const
    {
        return static_cast<size_t>(((pZ * fNy + pY) * fNx + pX) * 2);
    }
};

bool LeavesInZ(float pSample, const sFast& pArguments, int64_t pNz)
{
    const float v = pSample - pArguments.fMin;
    const int64_t splat = Truncated(std::fma(v, 1.0f / pArguments.fRange, 3.5f));
    const int64_t slice = Truncated(std::fma(v, 1.0f / pArguments.fRange, 3.0f));
    const auto outside = [&](int64_t pCell) { return pCell < 0 || pCell > pNz - 1; };
    return outside(splat) || outside(slice) || outside(slice + 1);
}

void AddSample(sGrid& pGrid, const sFast& pArguments, int64_t pX, int pY, float pSample)
{
    const float perPixel = 1.0f / pArguments.fSpace;
    const float v = pSample - pArguments.fMin;
    const int cx = Truncated(std::fma(static_cast<float>(pX), perPixel, 3.5f));
    const int cy = Truncated(std::fma(static_cast<float>(pY), perPixel, 3.5f));
    const int cz = Truncated(std::fma(v, 1.0f / pArguments.fRange, 3.5f));
    pGrid.fFloats.at(pGrid.Value(cx, cy, cz)) += v;
    pGrid.fFloats.at(pGrid.Value(cx, cy, cz) + 1) += 1.0f;
}

void SplatRow(sGrid& pGrid, const tPlane& pSamples, const sFast& pArguments, int pY)
{
    const int64_t width = pArguments.fWidth;
    if (!pArguments.fWrap) {
        for (int64_t x = 0; x < width; x++)
            AddSample(pGrid, pArguments, x, pY, pSamples[static_cast<size_t>(pY * width + x)]);
        return;
    }
    const int start = Truncated(std::fma(-3.0f, pArguments.fSpace, 1.0f));
    const float end = static_cast<float>(pArguments.fWidth) + std::fma(3.0f, pArguments.fSpace, -1.0f);
    for (int64_t x = start; static_cast<float>(x) < end; x++) {
        const int64_t index = pY * width + (x + 3 * width) % width;
        if (index >= 0) AddSample(pGrid, pArguments, x, pY, pSamples[static_cast<size_t>(index)]);
    }
}

/// One pass; pLast: the value only, divided.
void Pass(const sGrid& pIn, sGrid& pOut, size_t pStep, bool pLast)
{
    for (int64_t z = 1; z <= pIn.fNz - 2; z++)
        for (int64_t y = 1; y <= pIn.fNy - 2; y++)
            for (int64_t x = 1; x <= pIn.fNx - 2; x++) {
                const size_t at = pIn.Value(x, y, z);
                const auto out = [&](size_t i) {
                    return std::fma(2.0f, pIn.fFloats[i], pIn.fFloats[i - pStep] + pIn.fFloats[i + pStep]);
                };
                const float value = out(at);
                const float weight = out(at + 1);
                if (pLast)
                    pOut.fFloats[at] = weight != 0.0f ? value / weight : value;
                else
                    pOut.fFloats[at] = value, pOut.fFloats[at + 1] = weight;
            }
}

} // namespace

int32_t Truncated(float pValue)
{
    if (std::isnan(pValue)) return 0;
    if (pValue >= 2147483648.0f) return std::numeric_limits<int32_t>::max();
    if (pValue <= -2147483648.0f) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(pValue);
}

tPlane DirectSlice(const float* pGrid, int pNx, int pNy, int pMargin, float pSpace, float pRange, float pMin, int pRow,
                   const tPlane& pInput)
{
    const float perPixel = 1.0f / pSpace;
    const float perUnit = 1.0f / pRange;
    const auto m = static_cast<float>(pMargin);
    tPlane output(pInput.size());
    for (size_t x = 0; x < pInput.size(); x++) {
        const float fy = std::fma(static_cast<float>(pRow), perPixel, m);
        const int iy = Truncated(fy);
        const float ty = fy - static_cast<float>(iy);
        const float uy = static_cast<float>(iy) + (1.0f - fy);
        const float fx = std::fma(static_cast<float>(x), perPixel, m);
        const int ix = Truncated(fx);
        const float tx = fx - static_cast<float>(ix);
        const float ux = (static_cast<float>(ix) + 1.0f) - fx;
        const float fz = std::fma(pInput[x] - pMin, perUnit, m);
        const int iz = Truncated(fz);
        const float tz = fz - static_cast<float>(iz);
        const float uz = (static_cast<float>(iz) + 1.0f) - fz;
        const auto c = [&](int64_t a, int64_t b, int64_t d) { return pGrid[((d * pNy + b) * pNx + a) * 2]; };
        const auto L = [&](int64_t b, int64_t d) { return std::fma(ux, c(ix, b, d), tx * c(ix + 1, b, d)); };
        const auto P = [&](int64_t d) { return std::fma(uy, L(iy, d), ty * L(iy + 1, d)); };
        output[x] = std::fma(tz, P(iz + 1), std::fma(uz, P(iz), pMin));
    }
    return output;
}

bool EveryCellIsInTheGrid(const sFast& pArguments)
{
    const float perPixel = 1.0f / pArguments.fSpace;
    const float perUnit = 1.0f / pArguments.fRange;
    const auto intervals = [&](int pSide) {
        return int64_t{Truncated(std::fma(static_cast<float>(pSide - 1), perPixel, 0.5f))};
    };
    const int64_t nx = intervals(pArguments.fWidth) + 7;
    const int64_t ny = intervals(pArguments.fHeight) + 7;
    const int64_t nz = int64_t{Truncated((pArguments.fMax - pArguments.fMin) / pArguments.fRange + 0.5f)} + 7;
    const auto inside = [&](int64_t pX, int64_t pY, int64_t pZ) {
        const int64_t cell = (pZ * ny + pY) * nx + pX;
        return cell >= 0 && cell < nx * ny * nz;
    };
    const auto added = [](float pPlace, float pScale) { return int64_t{Truncated(std::fma(pPlace, pScale, 3.5f))}; };
    const auto read = [](float pPlace, float pScale) { return int64_t{Truncated(std::fma(pPlace, pScale, 3.0f))}; };
    const float top = pArguments.fMax > pArguments.fMin ? pArguments.fMax : pArguments.fMin;
    const float bound = static_cast<float>(pArguments.fWidth) + std::fma(3.0f, pArguments.fSpace, -1.0f);
    for (const float value : {0.0f, top - pArguments.fMin})
        for (int y = 0; y < pArguments.fHeight; y++) {
            const auto row = static_cast<float>(y);
            for (int x = 0; x < pArguments.fWidth; x++) {
                const auto place = static_cast<float>(x);
                if (!pArguments.fWrap && !inside(added(place, perPixel), added(row, perPixel), added(value, perUnit)))
                    return false;
                for (int corner = 0; corner < 8; corner++)
                    if (!inside(read(place, perPixel) + corner % 2, read(row, perPixel) + corner / 2 % 2,
                                read(value, perUnit) + corner / 4))
                        return false;
            }
            if (!pArguments.fWrap) continue;
            for (int64_t x = Truncated(std::fma(-3.0f, pArguments.fSpace, 1.0f)); static_cast<float>(x) < bound; x++)
                if (!inside(added(static_cast<float>(x), perPixel), added(row, perPixel), added(value, perUnit)))
                    return false;
        }
    return nx > 0 && ny > 0;
}

tPlane DirectFast(const tPlane& pInput, const sFast& pArguments, tPlane* pGrid)
{
    const int width = pArguments.fWidth;
    const int height = pArguments.fHeight;
    const float perPixel = 1.0f / pArguments.fSpace;
    const auto cells = [&](int pSide) {
        return int64_t{Truncated(std::fma(static_cast<float>(pSide - 1), perPixel, 0.5f))} + 7;
    };
    sGrid first{cells(width),
                cells(height),
                int64_t{Truncated((pArguments.fMax - pArguments.fMin) / pArguments.fRange + 0.5f)} + 7,
                {}};
    first.fFloats.assign(static_cast<size_t>(2 * first.fNx * first.fNy * first.fNz), 0.0f);
    sGrid second = first;

    tPlane samples = pInput;
    const float top = pArguments.fMax > pArguments.fMin ? pArguments.fMax : pArguments.fMin;
    for (float& sample : samples)
        if (LeavesInZ(sample, pArguments, first.fNz)) sample = sample < pArguments.fMin ? pArguments.fMin : top;

    for (int y = 0; y < height; y++)
        SplatRow(first, samples, pArguments, y);
    const size_t steps[] = {2, static_cast<size_t>(2 * first.fNx), static_cast<size_t>(2 * first.fNx * first.fNy)};
    for (const size_t step : steps) {
        Pass(first, second, step, false);
        Pass(second, first, step, step == steps[2]);
    }

    if (pGrid != nullptr) *pGrid = first.fFloats;

    tPlane output;
    for (int y = 0; y < height; y++) {
        const auto row = samples.begin() + static_cast<ptrdiff_t>(y) * width;
        const tPlane sliced =
            DirectSlice(first.fFloats.data(), static_cast<int>(first.fNx), static_cast<int>(first.fNy), 3,
                        pArguments.fSpace, pArguments.fRange, pArguments.fMin, y, tPlane(row, row + width));
        output.insert(output.end(), sliced.begin(), sliced.end());
    }
    const float sigma = (pArguments.fBlur * OfBits(0x39AEC33E)) * static_cast<float>(std::max(width, height));
    return DirectBlur(output, width, height, sigma);
}

tPlane DirectNormalisation(int pLength, int pRadius, float pEdgeFraction)
{
    tPlane table;
    for (int64_t i = 0; i < pLength; i++) {
        const int64_t first = std::max<int64_t>(i - pRadius, 0);
        const int64_t last = std::min<int64_t>(i + pRadius, pLength - 1);
        const float left = i >= pRadius ? pEdgeFraction : 0.0f;
        const float right = i + pRadius < pLength ? pEdgeFraction : 0.0f;
        table.push_back((static_cast<float>(last - first + 1) - left) - right);
    }
    return table;
}

tPlane DirectBox(const tPlane& pLine, int pRadius, float pEdgeFraction, const tPlane& pNormalisation)
{
    const auto length = static_cast<int64_t>(pLine.size());
    const auto line = [&](int64_t i) { return pLine[static_cast<size_t>(i)]; };
    float sum = 0.0f;
    for (int64_t k = 0; k < std::min<int64_t>(length, pRadius); k++)
        sum += line(k);
    tPlane result;
    for (int64_t i = 0; i < length; i++) {
        if (i > pRadius) sum -= line(i - pRadius - 1);
        if (i + pRadius < length) sum += line(i + pRadius);
        float v = sum;
        if (i >= pRadius) v = std::fma(-pEdgeFraction, line(i - pRadius), v);
        if (i + pRadius < length) v = std::fma(-pEdgeFraction, line(i + pRadius), v);
        result.push_back(v / pNormalisation[static_cast<size_t>(i)]);
    }
    return result;
}

tPlane DirectBlur(tPlane pPlane, int pWidth, int pHeight, float pSigma)
{
    if (!(pSigma > 0.0f)) return pPlane;
    const float r = pSigma > 1.0f ? pSigma - OfBits(0x3F147AE1) : pSigma * OfBits(0x3ED70A3E);
    const int radius = Truncated(std::ceil(r));
    const float f = static_cast<float>(radius) - r;
    const auto width = static_cast<size_t>(pWidth);
    const auto height = static_cast<size_t>(pHeight);
    for (int round = 0; round < 3; round++) {
        for (size_t y = 0; y < height; y++) {
            const auto begin = pPlane.begin() + static_cast<ptrdiff_t>(y * width);
            const tPlane row(begin, begin + pWidth);
            const tPlane blurred = DirectBox(row, radius, f, DirectNormalisation(pWidth, radius, f));
            std::copy(blurred.begin(), blurred.end(), begin);
        }
        for (size_t x = 0; x < width; x++) {
            tPlane column;
            for (size_t y = 0; y < height; y++)
                column.push_back(pPlane[y * width + x]);
            const tPlane blurred = DirectBox(column, radius, f, DirectNormalisation(pHeight, radius, f));
            for (size_t y = 0; y < height; y++)
                pPlane[y * width + x] = blurred[y];
        }
    }
    return pPlane;
}

sDirectReference DirectReference(const tPlane& pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange)
{
    sDirectReference reference{};
    const double wide = static_cast<double>(pSigmaSpace * 4.0f) + 0.5;
    const int size = (std::isnan(wide) ? 0 : static_cast<int>(wide)) + 1;
    const int h = size / 2;
    reference.fKernelSize = size;
    const float c = -0.5f / (pSigmaSpace * pSigmaSpace);
    for (int i = -h; i <= size - h - 1; i++)
        for (int j = -h; j <= size - h - 1; j++) {
            const auto fi = static_cast<float>(i);
            const auto fj = static_cast<float>(j);
            const float square = fj * fj + fi * fi;
            reference.fKernel.push_back(::expf(c * square));
        }
    const auto sigma = static_cast<double>(pSigmaRange);
    reference.fLimit = static_cast<float>(std::sqrt(sigma * sigma * 9.2103403719761818));
    const float r = -0.5f / (pSigmaRange * pSigmaRange);
    const float step = reference.fLimit * OfBits(0x3B808081);
    reference.fTable.push_back(1.0f);
    for (int i = 1; i < 256; i++) {
        const float x = static_cast<float>(i) * step;
        reference.fTable.push_back(::expf((x * x) * r));
    }
    const float scale = 255.0f / reference.fLimit;
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            const auto at = [&](int row, int column) { return pInput[static_cast<size_t>(row * pWidth + column)]; };
            const int rows[] = {std::max(y - h, 0), std::min(y + h, pHeight)};
            const int columns[] = {std::max(x - h, 0), std::min(x + h, pWidth)};
            float sum = 0.0f;
            float norm = 0.0f;
            for (int row = rows[0]; row < rows[1]; row++)
                for (int column = columns[0]; column < columns[1]; column++) {
                    const float p = at(row, column);
                    const float d = std::fabs(p - at(y, x));
                    if (d > reference.fLimit) continue;
                    const int index = std::clamp(Truncated(d * scale), 0, 255);
                    const float w = reference.fTable[static_cast<size_t>(index)] *
                                    reference.fKernel[static_cast<size_t>((row - y + h) * size + (column - x + h))];
                    sum = std::fma(w, p, sum);
                    norm = norm + w;
                }
            reference.fResult.push_back(rows[0] < rows[1] ? sum / norm : OfBits(0x7FC00000));
        }
    return reference;
}

} // namespace SelvaneTest
