#include "support/DirectFilters.h"

#include "support/ReferenceNumbers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace SelvaneTest
{

namespace
{

/// Where a pixel of a plane stands.
size_t Index(int pY, int pX, int pWidth)
{
    return static_cast<size_t>(pY) * static_cast<size_t>(pWidth) + static_cast<size_t>(pX);
}

// ---- Cells of a place and of a value -------------------------------------------------------------------------------

/// The cell to which a sample is added.
int64_t AddedTo(float pPlace, float pCellsPerPlace)
{
    return Truncated(std::fma(pPlace, pCellsPerPlace, 3.5f));
}

/// The lower of the two cells between which a sample is read back.
int64_t ReadFrom(float pPlace, float pCellsPerPlace)
{
    return Truncated(std::fma(pPlace, pCellsPerPlace, 3.0f));
}

/// The end of the range that is nearer to high values.
float RangeTop(const sFast& pArguments)
{
    return pArguments.fMax > pArguments.fMin ? pArguments.fMax : pArguments.fMin;
}

/// Whether one of a sample's three cells in z lies outside the grid.
bool LeavesGrid(float pSample, const sFast& pArguments)
{
    const int64_t cells = DirectShape(pArguments).fZ;
    const int64_t added = AddedTo(pSample - pArguments.fMin, 1.0f / pArguments.fRange);
    const int64_t read = ReadFrom(pSample - pArguments.fMin, 1.0f / pArguments.fRange);
    const auto outside = [&](int64_t pCell) { return pCell < 0 || pCell >= cells; };
    return outside(added) || outside(read) || outside(read + 1);
}

// ---- The grid ------------------------------------------------------------------------------------------------------

/// Two floats a cell: value, weight.
struct sGrid
{
    sGridShape fShape;
    tPlane fFloats;

    explicit sGrid(const sGridShape& pShape) : fShape(pShape), fFloats(static_cast<size_t>(2 * pShape.Cells())) {}

    /// Where the value of a cell stands.
    size_t Value(int64_t pX, int64_t pY, int64_t pZ) const
    {
        return static_cast<size_t>(((pZ * fShape.fY + pY) * fShape.fX + pX) * 2);
    }
};

/// Places along a row.
struct sSpan
{
    int64_t fBegin;
    int64_t fEnd;
};

/// The places that are scattered: the row, and with wrapped rows three cells more on both sides.
sSpan RowSpan(const sFast& pArguments)
{
    if (!pArguments.fWrap) return {0, pArguments.fWidth};
    sSpan span{};
    span.fBegin = span.fEnd = Truncated(std::fma(-3.0f, pArguments.fSpace, 1.0f));
    const float bound = static_cast<float>(pArguments.fWidth) + std::fma(3.0f, pArguments.fSpace, -1.0f);
    while (static_cast<float>(span.fEnd) < bound)
        span.fEnd++;
    return span;
}

/// The plane that is filtered: a sample that leaves the grid counts as the nearer end of the range.
tPlane CountedSamples(const tPlane& pInput, const sFast& pArguments, sDirectFast& pDirect)
{
    tPlane samples = pInput;
    for (float& sample : samples)
        if (LeavesGrid(sample, pArguments)) {
            sample = sample < pArguments.fMin ? pArguments.fMin : RangeTop(pArguments);
            pDirect.fOwnPlane = true;
        }
    return samples;
}

void AddSample(sGrid& pGrid, const sFast& pArguments, int64_t pX, int pY, float pSample)
{
    const float perPixel = 1.0f / pArguments.fSpace;
    const float v = pSample - pArguments.fMin;
    const int64_t cx = AddedTo(static_cast<float>(pX), perPixel);
    const int64_t cy = AddedTo(static_cast<float>(pY), perPixel);
    const int64_t cz = AddedTo(v, 1.0f / pArguments.fRange);
    pGrid.fFloats.at(pGrid.Value(cx, cy, cz)) += v;
    pGrid.fFloats.at(pGrid.Value(cx, cy, cz) + 1) += 1.0f;
}

/// Without wrapping the remainder is x itself. On a narrow wrapped picture it may be negative and means the row above.
void ScatterRow(sGrid& pGrid, const tPlane& pSamples, const sFast& pArguments, sSpan pSpan, int pY,
                sDirectFast& pDirect)
{
    const int64_t width = pArguments.fWidth;
    for (int64_t x = pSpan.fBegin; x < pSpan.fEnd; x++) {
        const int64_t column = (x + 3 * width) % width;
        const int64_t index = pY * width + column;
        if (column < 0) pDirect.fBorrowedSamples++;
        if (index < 0)
            pDirect.fSkippedSamples++;
        else
            AddSample(pGrid, pArguments, x, pY, pSamples.at(static_cast<size_t>(index)));
    }
}

/// 1 2 1 along an axis whose cells are pStep floats apart, over the inner cells.
void Smooth(const sGrid& pIn, sGrid& pOut, size_t pStep)
{
    for (int64_t z = 1; z <= pIn.fShape.fZ - 2; z++)
        for (int64_t y = 1; y <= pIn.fShape.fY - 2; y++)
            for (int64_t x = 1; x <= pIn.fShape.fX - 2; x++)
                for (const size_t at : {pIn.Value(x, y, z), pIn.Value(x, y, z) + 1})
                    pOut.fFloats[at] =
                        std::fma(2.0f, pIn.fFloats[at], pIn.fFloats[at - pStep] + pIn.fFloats[at + pStep]);
}

/// The last pass: the value becomes the quotient, the weight in pOut stays as it was.
void SmoothAndDivide(const sGrid& pIn, sGrid& pOut, size_t pStep, sDirectFast& pDirect)
{
    sGrid sums(pIn.fShape);
    Smooth(pIn, sums, pStep);
    for (int64_t z = 1; z <= pIn.fShape.fZ - 2; z++)
        for (int64_t y = 1; y <= pIn.fShape.fY - 2; y++)
            for (int64_t x = 1; x <= pIn.fShape.fX - 2; x++) {
                const size_t at = pIn.Value(x, y, z);
                const float value = sums.fFloats[at];
                const float weight = sums.fFloats[at + 1];
                if (weight == 0.0f) pDirect.fEmptyCells++;
                pOut.fFloats[at] = weight != 0.0f ? value / weight : value;
            }
}

/// Twice along each axis.
void SmoothAll(sGrid& pGrid, sDirectFast& pDirect)
{
    const size_t alongX = 2;
    const auto alongY = static_cast<size_t>(2 * pGrid.fShape.fX);
    const auto alongZ = static_cast<size_t>(2 * pGrid.fShape.fX * pGrid.fShape.fY);
    sGrid second(pGrid.fShape);
    Smooth(pGrid, second, alongX);
    Smooth(second, pGrid, alongX);
    Smooth(pGrid, second, alongY);
    Smooth(second, pGrid, alongY);
    Smooth(pGrid, second, alongZ);
    SmoothAndDivide(second, pGrid, alongZ, pDirect);
}

tPlane SliceAll(const sGrid& pGrid, const tPlane& pSamples, const sFast& pArguments)
{
    tPlane output;
    for (int y = 0; y < pArguments.fHeight; y++) {
        const auto row = pSamples.begin() + static_cast<ptrdiff_t>(y) * pArguments.fWidth;
        const tPlane sliced =
            DirectSlice(pGrid.fFloats, static_cast<int>(pGrid.fShape.fX), static_cast<int>(pGrid.fShape.fY), 3,
                        pArguments.fSpace, pArguments.fRange, pArguments.fMin, y, tPlane(row, row + pArguments.fWidth));
        output.insert(output.end(), sliced.begin(), sliced.end());
    }
    return output;
}

/// The value between eight cells. pValue: the value of a cell by its three numbers.
template <class tValue>
float Interpolated(const tValue& pValue, float pX, float pY, float pZ, float pMin)
{
    const int64_t ix = Truncated(pX);
    const int64_t iy = Truncated(pY);
    const int64_t iz = Truncated(pZ);
    const float tx = pX - static_cast<float>(ix);
    const float ty = pY - static_cast<float>(iy);
    const float tz = pZ - static_cast<float>(iz);
    const float ux = (static_cast<float>(ix) + 1.0f) - pX;
    const float uy = static_cast<float>(iy) + (1.0f - pY);
    const float uz = (static_cast<float>(iz) + 1.0f) - pZ;
    const auto L = [&](int64_t b, int64_t d) { return std::fma(ux, pValue(ix, b, d), tx * pValue(ix + 1, b, d)); };
    const auto P = [&](int64_t d) { return std::fma(uy, L(iy, d), ty * L(iy + 1, d)); };
    return std::fma(tz, P(iz + 1), std::fma(uz, P(iz), pMin));
}

float ClosingSigma(const sFast& pArguments)
{
    const int longer = std::max(pArguments.fWidth, pArguments.fHeight);
    return (pArguments.fBlur * FromBits(0x39AEC33E)) * static_cast<float>(longer); // 1 / 3000
}

/// Blurs pLength samples that begin at pFirst and stand pStep apart.
void BlurLine(tPlane& pPlane, size_t pFirst, size_t pStep, int pLength, int pRadius, float pEdgeFraction)
{
    const auto at = [&](size_t i) -> float& { return pPlane[pFirst + i * pStep]; };
    tPlane line;
    for (size_t i = 0; i < static_cast<size_t>(pLength); i++)
        line.push_back(at(i));
    const tPlane blurred =
        DirectBox(line, pRadius, pEdgeFraction, DirectNormalisation(pLength, pRadius, pEdgeFraction));
    for (size_t i = 0; i < line.size(); i++)
        at(i) = blurred[i];
}

} // namespace

// ---- The grid filter -----------------------------------------------------------------------------------------------

sGridShape DirectShape(const sFast& pArguments)
{
    const auto cells = [](float pIntervals) { return int64_t{Truncated(pIntervals)} + 7; };
    const float perPixel = 1.0f / pArguments.fSpace;
    const auto lastX = static_cast<float>(int64_t{pArguments.fWidth} - 1);
    const auto lastY = static_cast<float>(int64_t{pArguments.fHeight} - 1);
    return {cells(std::fma(lastX, perPixel, 0.5f)), cells(std::fma(lastY, perPixel, 0.5f)),
            cells((pArguments.fMax - pArguments.fMin) / pArguments.fRange + 0.5f)};
}

bool DirectRefusal(const sFast& pArguments)
{
    if (!(pArguments.fSpace > 0.0f) || !(pArguments.fRange > 0.0f)) return true;
    const sGridShape shape = DirectShape(pArguments);
    const double floats =
        2.0 * static_cast<double>(shape.fX) * static_cast<double>(shape.fY) * static_cast<double>(shape.fZ);
    const int64_t longest = std::max({shape.fX, shape.fY, shape.fZ});
    if (longest > 2147483647 || floats < 0.0 || floats > 2147483647.0) return true;
    if (pArguments.fWidth < 1 || pArguments.fHeight < 1) return false;
    if (pArguments.fWrap && !(3.0f * pArguments.fSpace < 16777216.0f)) return true;
    return LeavesGrid(pArguments.fMin, pArguments) || LeavesGrid(RangeTop(pArguments), pArguments);
}

bool EveryCellIsInTheGrid(const sFast& pArguments)
{
    const float perPixel = 1.0f / pArguments.fSpace;
    const float perUnit = 1.0f / pArguments.fRange;
    const sGridShape shape = DirectShape(pArguments);
    const auto inside = [&](int64_t pX, int64_t pY, int64_t pZ) {
        const int64_t cell = (pZ * shape.fY + pY) * shape.fX + pX;
        return cell >= 0 && cell < shape.Cells();
    };
    const sSpan span = RowSpan(pArguments);
    for (const float value : {0.0f, RangeTop(pArguments) - pArguments.fMin})
        for (int y = 0; y < pArguments.fHeight; y++) {
            const auto row = static_cast<float>(y);
            for (int64_t x = span.fBegin; x < span.fEnd; x++)
                if (!inside(AddedTo(static_cast<float>(x), perPixel), AddedTo(row, perPixel), AddedTo(value, perUnit)))
                    return false;
            for (int x = 0; x < pArguments.fWidth; x++)
                for (int corner = 0; corner < 8; corner++)
                    if (!inside(ReadFrom(static_cast<float>(x), perPixel) + corner % 2,
                                ReadFrom(row, perPixel) + corner / 2 % 2, ReadFrom(value, perUnit) + corner / 4))
                        return false;
        }
    return shape.fX > 0 && shape.fY > 0;
}

sDirectFast DirectFast(const tPlane& pInput, const sFast& pArguments)
{
    sDirectFast direct;
    const tPlane samples = CountedSamples(pInput, pArguments, direct);
    sGrid grid(DirectShape(pArguments));
    const sSpan span = RowSpan(pArguments);
    for (int y = 0; y < pArguments.fHeight; y++)
        ScatterRow(grid, samples, pArguments, span, y, direct);
    SmoothAll(grid, direct);
    direct.fResult = DirectBlur(SliceAll(grid, samples, pArguments), pArguments.fWidth, pArguments.fHeight,
                                ClosingSigma(pArguments));
    direct.fGrid = std::move(grid.fFloats);
    return direct;
}

tPlane DirectSlice(const tPlane& pGrid, int pNx, int pNy, int pMargin, float pSpace, float pRange, float pMin, int pRow,
                   const tPlane& pInput)
{
    const auto m = static_cast<float>(pMargin);
    const auto value = [&](int64_t a, int64_t b, int64_t d) {
        return pGrid.at(static_cast<size_t>(((d * pNy + b) * pNx + a) * 2));
    };
    const float fy = std::fma(static_cast<float>(pRow), 1.0f / pSpace, m);
    tPlane output;
    for (size_t x = 0; x < pInput.size(); x++) {
        const float fx = std::fma(static_cast<float>(x), 1.0f / pSpace, m);
        const float fz = std::fma(pInput[x] - pMin, 1.0f / pRange, m);
        output.push_back(Interpolated(value, fx, fy, fz, pMin));
    }
    return output;
}

// ---- The blur ------------------------------------------------------------------------------------------------------

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
    const float r = pSigma > 1.0f ? pSigma - FromBits(0x3F147AE1) : pSigma * FromBits(0x3ED70A3E); // 0.58, 0.42
    const int radius = Truncated(std::ceil(r));
    const float edgeFraction = static_cast<float>(radius) - r;
    for (int round = 0; round < 3; round++) {
        for (int y = 0; y < pHeight; y++)
            BlurLine(pPlane, Index(y, 0, pWidth), 1, pWidth, radius, edgeFraction);
        for (int x = 0; x < pWidth; x++)
            BlurLine(pPlane, Index(0, x, pWidth), Index(1, 0, pWidth), pHeight, radius, edgeFraction);
    }
    return pPlane;
}

// ---- The reference filter ------------------------------------------------------------------------------------------

namespace
{

/// Pixels along a side of the window.
int KernelSize(float pSigmaSpace)
{
    const double wide = static_cast<double>(pSigmaSpace * 4.0f) + 0.5;
    return (std::isnan(wide) ? 0 : static_cast<int>(wide)) + 1;
}

tPlane Kernel(int pSize, float pSigmaSpace)
{
    tPlane kernel;
    const int h = pSize / 2;
    const float c = -0.5f / (pSigmaSpace * pSigmaSpace);
    for (int i = -h; i <= pSize - h - 1; i++)
        for (int j = -h; j <= pSize - h - 1; j++) {
            const auto fi = static_cast<float>(i);
            const auto fj = static_cast<float>(j);
            kernel.push_back(::expf(c * (fj * fj + fi * fi)));
        }
    return kernel;
}

tPlane RangeTable(float pSigmaRange, float pLimit)
{
    const float r = -0.5f / (pSigmaRange * pSigmaRange);
    const float step = pLimit * FromBits(0x3B808081); // 1 / 255
    tPlane table{1.0f};
    for (int i = 1; i < 256; i++) {
        const float x = static_cast<float>(i) * step;
        table.push_back(::expf((x * x) * r));
    }
    return table;
}

/// The window of a pixel: it ends one row and one column early.
struct sWindow
{
    int fTop, fBottom, fLeft, fRight;

    sWindow(int pX, int pY, int pHalf, int pWidth, int pHeight)
        : fTop(std::max(pY - pHalf, 0)), fBottom(std::min(pY + pHalf, pHeight)), fLeft(std::max(pX - pHalf, 0)),
          fRight(std::min(pX + pHalf, pWidth))
    {
    }
};

/// The weighted mean over the window of one pixel.
float ReferencePixel(const sDirectReference& pTables, const tPlane& pInput, int pX, int pY, int pWidth, int pHeight)
{
    const int size = pTables.fKernelSize;
    const sWindow window(pX, pY, size / 2, pWidth, pHeight);
    const float here = pInput[Index(pY, pX, pWidth)];
    float sum = 0.0f;
    float norm = 0.0f;
    for (int y = window.fTop; y < window.fBottom; y++)
        for (int x = window.fLeft; x < window.fRight; x++) {
            const float p = pInput[Index(y, x, pWidth)];
            const float d = std::fabs(p - here);
            if (d > pTables.fLimit) continue;
            const int entry = std::clamp(Truncated(d * (255.0f / pTables.fLimit)), 0, 255);
            const float w = pTables.fTable[static_cast<size_t>(entry)] *
                            pTables.fKernel[Index(y - pY + size / 2, x - pX + size / 2, size)];
            sum = std::fma(w, p, sum);
            norm = norm + w;
        }
    return window.fTop < window.fBottom ? sum / norm : FromBits(0x7FC00000);
}

} // namespace

sDirectReference DirectReference(const tPlane& pInput, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange)
{
    sDirectReference reference{};
    reference.fKernelSize = KernelSize(pSigmaSpace);
    reference.fKernel = Kernel(reference.fKernelSize, pSigmaSpace);
    const auto sigma = static_cast<double>(pSigmaRange);
    reference.fLimit = static_cast<float>(std::sqrt(sigma * sigma * 9.2103403719761818)); // 2 ln 100
    reference.fTable = RangeTable(pSigmaRange, reference.fLimit);
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++)
            reference.fResult.push_back(ReferencePixel(reference, pInput, x, y, pWidth, pHeight));
    return reference;
}

} // namespace SelvaneTest
