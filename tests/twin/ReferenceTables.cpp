#include "twin/ReferenceTables.h"

#include "support/ReferenceNumbers.h"

#include <cmath>

// Tables are kept from call to call, nothing else is: they depend on the colour space alone.

namespace SelvaneTwin
{

namespace
{

using namespace SelvaneTest;

struct sMatrixD
{
    double m[9];
};

struct sPrimaries
{
    float redX, redY, greenX, greenY, blueX, blueY, whiteX, whiteY;
};

sPrimaries PrimariesOf(int pSpace)
{
    switch (pSpace) {
    case eSpaceSRGB:
        return {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.31271f, 0.32902f};
    case eSpaceAdobe:
        return {0.64f, 0.33f, 0.21f, 0.71f, 0.15f, 0.06f, 0.31271f, 0.32902f};
    default:
        return {0.7347f, 0.2653f, 0.1596f, 0.8404f, 0.0366f, 0.0001f, 0.34567f, 0.3585f};
    }
}

sMatrixD Inverse(const sMatrixD& pMatrix)
{
    const double* e = pMatrix.m;
    const double c0 = e[4] * e[8] - e[7] * e[5];
    const double c1 = e[5] * e[6] - e[8] * e[3];
    const double c2 = e[7] * e[3] - e[4] * e[6];
    const double determinant = e[0] * c0 + e[1] * c1 + e[2] * c2;
    const double inv = 1.0 / determinant;
    return {{inv * c0, inv * (e[7] * e[2] - e[8] * e[1]), inv * (e[5] * e[1] - e[4] * e[2]), inv * c1,
             inv * (e[0] * e[8] - e[6] * e[2]), inv * (e[3] * e[2] - e[0] * e[5]), inv * c2,
             inv * (e[1] * e[6] - e[0] * e[7]), inv * (e[0] * e[4] - e[1] * e[3])}};
}

sMatrixD ProductD(const sMatrixD& pLeft, const sMatrixD& pRight)
{
    sMatrixD product{};
    for (int r = 0; r < 3; r++)
        for (int c = 0; c < 3; c++)
            product.m[r * 3 + c] = pLeft.m[r * 3] * pRight.m[c] + pLeft.m[r * 3 + 1] * pRight.m[3 + c] +
                                   pLeft.m[r * 3 + 2] * pRight.m[6 + c];
    return product;
}

sMatrix Narrowed(const sMatrixD& pMatrix)
{
    sMatrix narrow{};
    for (int i = 0; i < 9; i++)
        narrow.m[i] = Rounded(pMatrix.m[i]);
    return narrow;
}

/// Linear RGB to XYZ under the space's own white.
sMatrixD LinearToXYZ(const sPrimaries& pP)
{
    const double rx = double(pP.redX), ry = double(pP.redY), gx = double(pP.greenX), gy = double(pP.greenY);
    const double bx = double(pP.blueX), by = double(pP.blueY);
    const double wx = double(pP.whiteX), wy = double(pP.whiteY);
    const sMatrixD p = {{rx, gx, bx, ry, gy, by, (1.0 - ry) - rx, (1.0 - gy) - gx, (1.0 - by) - bx}};
    const double i = 1.0 / wy;
    const double whiteX = wx * i;
    const double whiteZ = ((1.0 - wy) - wx) * i;
    const sMatrixD q = Inverse(p);
    sMatrixD result{};
    for (int k = 0; k < 3; k++) {
        const double scale = q.m[k * 3] * whiteX + q.m[k * 3 + 1] + q.m[k * 3 + 2] * whiteZ;
        for (int r = 0; r < 3; r++)
            result.m[r * 3 + k] = p.m[r * 3 + k] * scale;
    }
    return result;
}

/// Linear RGB to XYZ under D50, by a Bradford adaptation unless the white is exactly D50 already.
sMatrixD LinearToPCSD(const sPrimaries& pP)
{
    const sMatrixD m = LinearToXYZ(pP);
    const double wx = double(pP.whiteX), wy = double(pP.whiteY);
    if (wx == 0.34567001461982727 && wy == 0.35850000381469727) return m;
    const sMatrixD b = {{0.8951, 0.2664, -0.1614, -0.7502, 1.7135, 0.0367, 0.0389, -0.0685, 1.0296}};
    const sMatrixD bi = Inverse(b);
    const double i = 1.0 / wy;
    const double sx = wx * i;
    const double sz = ((1.0 - wy) - wx) * i;
    const double dx = 0.96421202494184188, dz = 0.8251882243169657;
    sMatrixD scaled{};
    for (int k = 0; k < 3; k++) {
        const double* row = b.m + k * 3;
        const double ratio = (row[0] * dx + row[1] + row[2] * dz) / (row[0] * sx + row[1] + row[2] * sz);
        for (int c = 0; c < 3; c++)
            scaled.m[k * 3 + c] = ratio * row[c];
    }
    return ProductD(ProductD(bi, scaled), m);
}

std::vector<float> BuildDecodeTable(int pSpace, int pBits)
{
    const int count = pBits == 8 ? 256 : 65536;
    const double scale = pBits == 8 ? 0.00390625 : 0.0000152587890625;
    const double gamma = pSpace == eSpaceProPhoto ? 1.8 : 2.2;
    std::vector<float> table;
    for (int v = 0; v < count; v++) {
        const float linear = Rounded(std::pow(double(v) * scale, gamma));
        table.push_back(linear > 1.0f ? 1.0f : linear);
    }
    return table;
}

/// Linear to encoded, the space's own function.
float Encoded(int pSpace, float pX)
{
    if (pSpace == eSpaceSRGB) {
        if (pX > FromBits(0x3B4D2E1C))
            return Rounded(std::fma(std::pow(double(pX), 0.41666666666666669), 1.055, -0.055));
        return pX * FromBits(0x414EB852);
    }
    const float gamma = pSpace == eSpaceAdobe ? FromBits(0x400CCCCD) : FromBits(0x3FE66666);
    return Rounded(std::pow(double(pX), 1.0 / double(gamma)));
}

std::vector<std::uint16_t> BuildEncodeTable(int pSpace)
{
    std::vector<std::uint16_t> table;
    for (int i = 0; i < 65536; i++) {
        const float value = Encoded(pSpace, float(i) * FromBits(0x37800080)) * 65535.0f;
        table.push_back(static_cast<std::uint16_t>(TruncatedUnsigned(value) & 0xFFFFu));
    }
    return table;
}

/// One polynomial of a segment, for x or for y.
struct sCubic
{
    float a, b, c, d;

    sCubic(float p0, float p1, float m0, float m1)
    {
        a = m0 + m1 + 2.0f * (p0 - p1);
        b = 3.0f * p1 - 3.0f * p0 - m1 - 2.0f * m0;
        c = m0;
        d = p0;
    }
    float At(float t) const { return ((a * t + b) * t + c) * t + d; }
};

float ClampedToUnit(float pValue)
{
    if (pValue > 1.0f) return 1.0f;
    if (pValue < 0.0f) return 0.0f;
    return pValue;
}

int TableIndex(float pX)
{
    return Truncated(pX * 65535.0f);
}

/// The indices that a chord covers; an empty span where the chord does not count.
struct sSpan
{
    int start = 0;
    int end = 0;
};

sSpan SpanOf(float pFrom, float pTo)
{
    const bool toInside = pTo >= 0.0f && pTo <= 1.0f;
    const bool toAbove = pTo > 1.0f;
    if (!toInside && !toAbove) return {};
    const int end = toAbove ? 65535 : TableIndex(pTo);
    if (pFrom < 0.0f) return {0, end};
    if (pFrom >= 0.0f && pFrom <= 1.0f) return {TableIndex(pFrom), end};
    return {};
}

void FillChord(std::vector<float>& pTable, const sSpan& pSpan, float pFromY, float pToY)
{
    for (int j = pSpan.start; j < pSpan.end; j++) {
        const float f = float(j - pSpan.start) * (1.0f / float(pSpan.end - pSpan.start));
        pTable[size_t(j)] = ClampedToUnit((1.0f - f) * pFromY + f * pToY);
    }
}

void FillSegment(std::vector<float>& pTable, const sCurvePoint& pLeft, const sCurvePoint& pRight)
{
    const sCubic cubicX(pLeft.x, pRight.x, pLeft.nextX, pRight.previousX);
    const sCubic cubicY(pLeft.y, pRight.y, pLeft.nextY, pRight.previousY);
    float fromX = pLeft.x;
    float fromY = pLeft.y;
    for (int k = 1; k <= 100; k++) {
        const float t = float(k) * 0.01f;
        const float toX = k == 100 ? pRight.x : cubicX.At(t);
        const float toY = k == 100 ? pRight.y : cubicY.At(t);
        const sSpan span = SpanOf(fromX, toX);
        if (span.end <= span.start) continue;
        FillChord(pTable, span, fromY, toY);
        fromX = toX;
        fromY = toY;
    }
}

std::uint16_t CurveInteger(float pSample)
{
    return static_cast<std::uint16_t>(TruncatedUnsigned(pSample * 65535.0f) & 0xFFFFu);
}

struct sColour
{
    float r, g, b;
};

/// Hue on the unit scale, smallest and largest primary to the three primaries.
sColour ColourOfHue(float pH, float pM, float pV)
{
    const float t = pH * 6.0f;
    const float i = std::floor(t);
    const float f = t - i;
    const int j = Truncated(i) % 6;
    const float down = std::fma(f, pM - pV, pV);
    const float up = std::fma(-f, pM - pV, pM);
    switch (j) {
    case 0:
        return {pV, up, pM};
    case 1:
        return {down, pV, pM};
    case 2:
        return {pM, pV, up};
    case 3:
        return {pM, down, pV};
    case 4:
        return {up, pM, pV};
    default:
        return {pV, pM, down};
    }
}

std::vector<std::array<float, 3>> BuildHueTable()
{
    const float flat = FromBits(0x3E4CCCCD); // 0.2
    const std::vector<float> curve =
        CurveSamples({{0.0f, 0.5f, flat, 0.0f, flat, 0.0f}, {1.0f, 0.5f, flat, 0.0f, flat, 0.0f}});
    std::vector<std::array<float, 3>> table;
    for (int i = 0; i < 65536; i++) {
        const int shift = CurveInteger(curve[size_t(i)]);
        const int h = (shift + i - 32767) & 0xFFFF;
        const float m = std::fma(-2.0f, curve[size_t(i)], 1.0f);
        const sColour colour = ColourOfHue(float(h) * FromBits(0x37800080), m, 1.0f);
        table.push_back({colour.r, colour.g, colour.b});
    }
    return table;
}

} // namespace

sMatrix LinearToPCS(int pSpace)
{
    return Narrowed(LinearToPCSD(PrimariesOf(pSpace)));
}

sMatrix PCSToLinear(int pSpace)
{
    return Narrowed(Inverse(LinearToPCSD(PrimariesOf(pSpace))));
}

sMatrix Product(const sMatrix& pLeft, const sMatrix& pRight)
{
    sMatrix product{};
    for (int r = 0; r < 3; r++)
        for (int c = 0; c < 3; c++)
            product.m[r * 3 + c] = pLeft.m[r * 3] * pRight.m[c] + pLeft.m[r * 3 + 1] * pRight.m[3 + c] +
                                   pLeft.m[r * 3 + 2] * pRight.m[6 + c];
    return product;
}

const std::vector<float>& DecodeTable(int pSpace, int pBits)
{
    static std::vector<float> tables[eSpaceCount][2];
    std::vector<float>& table = tables[pSpace][pBits == 8 ? 0 : 1];
    if (table.empty()) table = BuildDecodeTable(pSpace, pBits);
    return table;
}

std::vector<float> ExponentTable()
{
    std::vector<float> table;
    for (int e = 0; e < 256; e++)
        table.push_back(Rounded(std::ldexp(1.0, e - 136)));
    return table;
}

const std::vector<std::uint16_t>& EncodeTable(int pSpace)
{
    static std::vector<std::uint16_t> tables[eSpaceCount];
    if (tables[pSpace].empty()) tables[pSpace] = BuildEncodeTable(pSpace);
    return tables[pSpace];
}

std::vector<float> CurveSamples(const std::vector<sCurvePoint>& pPoints)
{
    std::vector<float> table(65536, 0.0f);
    for (size_t i = 0; i + 1 < pPoints.size(); i++)
        FillSegment(table, pPoints[i], pPoints[i + 1]);
    const int left = TableIndex(pPoints.front().x);
    for (int j = 0; left >= 0 && j <= left && j <= 65535; j++)
        table[size_t(j)] = ClampedToUnit(pPoints.front().y);
    const int right = TableIndex(pPoints.back().x);
    for (int j = 65535; right <= 65535 && j >= right && j >= 0; j--)
        table[size_t(j)] = ClampedToUnit(pPoints.back().y);
    return table;
}

std::vector<sCurvePoint> ContrastPoints(float pKey)
{
    // x, y, next tangent, previous tangent of both points in each key frame.
    static const float frames[5][2][6] = {
        {{0, 0, 0.308f, 1.09f, 1, 1}, {1, 1, 1, 1, 1.752f, 2.714f}},
        {{0, 0, 0.449f, 0.769f, 1, 1}, {1, 1, 1, 1, 2.173f, 2.634f}},
        {{0, 0, 0, 0, 1, 1}, {1, 1, 1, 1, 0, 0}},
        {{0, 0, 0.5f, 0, 1, 1}, {1, 1, 1, 1, 1.25f, 0}},
        {{0, 0, 1, 0, 1, 1}, {1, 1, 1, 1, 2.22f, 0}},
    };
    int first = 3;
    float f = 1.0f;
    if (pKey < 0.0f) {
        first = 0;
        f = 0.0f;
    } else if (pKey < 1.0f) {
        const float s = pKey * 4.0f;
        first = Truncated(s);
        f = s - float(first);
    }
    std::vector<sCurvePoint> points;
    for (int j = 0; j < 2; j++) {
        float now[6];
        for (int n = 0; n < 6; n++)
            now[n] = f * frames[first + 1][j][n] + (1.0f - f) * frames[first][j][n];
        points.push_back({now[0], now[1], now[2], now[3], now[4], now[5]});
    }
    // The two abscissae are near 0 and 1, so sorting and the least distance of 1e-6 change nothing.
    return points;
}

std::vector<float> ContrastTable(float pKey)
{
    std::vector<float> table;
    for (const float sample : CurveSamples(ContrastPoints(pKey)))
        table.push_back(Rounded(double(CurveInteger(sample)) * 1.5259021896696422e-05));
    return table;
}

const std::vector<std::array<float, 3>>& HueTable()
{
    static const std::vector<std::array<float, 3>> table = BuildHueTable();
    return table;
}

} // namespace SelvaneTwin
