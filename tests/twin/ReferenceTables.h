#ifndef SELVANE_TESTS_TWIN_REFERENCE_TABLES_H
#define SELVANE_TESTS_TWIN_REFERENCE_TABLES_H

// What the twin looks up: the matrices of the three colour spaces, the decode and encode tables, the contrast curve and
// the table from hue to colour.

#include <array>
#include <cstdint>
#include <vector>

namespace SelvaneTwin
{

/// 3 x 3, row by row.
struct sMatrix
{
    float m[9];
};

enum eSpace
{
    eSpaceSRGB = 0,
    eSpaceAdobe = 1,
    eSpaceProPhoto = 2,
    eSpaceCount,
};

sMatrix LinearToPCS(int pSpace);
sMatrix PCSToLinear(int pSpace);

/// P[r][c] = L[r][0] R[0][c] + L[r][1] R[1][c] + L[r][2] R[2][c], plain floats from left to right.
sMatrix Product(const sMatrix& pLeft, const sMatrix& pRight);

/// The host's code values as linear floats; pBits 8 or 16.
const std::vector<float>& DecodeTable(int pSpace, int pBits);

/// 2 to the power e - 136 for each exponent byte e.
std::vector<float> ExponentTable();

/// A linear value on 0 to 65535 as an encoded one.
const std::vector<std::uint16_t>& EncodeTable(int pSpace);

/// A point of a curve in the unit square with the tangents that leave and reach it.
struct sCurvePoint
{
    float x, y;
    float nextX, nextY;
    float previousX, previousY;
};

/// The 65536 samples of a cubic curve through points that are in order of x.
std::vector<float> CurveSamples(const std::vector<sCurvePoint>& pPoints);

/// The contrast curve's two points at a position along its five key frames.
std::vector<sCurvePoint> ContrastPoints(float pKey);

/// The contrast curve at a key position, by way of 16-bit integers.
std::vector<float> ContrastTable(float pKey);

/// The colour of each 16-bit hue with both hue curves flat at one half.
const std::vector<std::array<float, 3>>& HueTable();

} // namespace SelvaneTwin

#endif
