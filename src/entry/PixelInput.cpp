#include "entry/PixelExchange.h"

#include "base/QuickMath.h"
#include "base/Versions.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/MatrixProduct.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

// From the host's samples to XYZ, row by row: a table or a power of two makes them linear, and a matrix follows at
// once, while the row is still in the cache. Rows are processed in strips, since look-ups keep a loop from vectorising.

namespace Vornik
{

namespace
{

constexpr int kStrip = 128; // pixels
constexpr int kLine = 16;   // floats in a line of the cache
constexpr int kExponents = 256;
constexpr int kExponentBias = 136; // a channel is mantissa * 2^(exponent - 136)

/// Reads a sample of the host, which may be at any address.
template <class tSample>
SELVANE_INLINE tSample Load(const unsigned char* pBase, int64_t pIndex)
{
    tSample sample;
    std::memcpy(&sample, pBase + pIndex * static_cast<int64_t>(sizeof(tSample)), sizeof sample);
    return sample;
}

float* RowOf(cBitmapXYZ32& pPicture, int pRow)
{
    return pPicture.fData + static_cast<int64_t>(pRow) * (pPicture.fStride / static_cast<int>(sizeof(float)));
}

/// The matrix times pCount colours of three floats; tRed is the place of red among them, 0 or 2.
template <int tRed>
SELVANE_INLINE void Transform(const float* pLinear, int pCount, const cMatrix33& m, float* pXYZ)
{
    for (int n = 0; n < pCount; n++) {
        const float red = pLinear[3 * n + tRed];
        const float green = pLinear[3 * n + 1];
        const float blue = pLinear[3 * n + 2 - tRed];
        pXYZ[ptrdiff_t{3} * n] = FusedRow(m.m00, m.m01, m.m02, red, green, blue);
        pXYZ[ptrdiff_t{3} * n + 1] = FusedRow(m.m10, m.m11, m.m12, red, green, blue);
        pXYZ[ptrdiff_t{3} * n + 2] = FusedRow(m.m20, m.m21, m.m22, red, green, blue);
    }
}

/// Looks up pCount neighbouring samples. pNext is where the next strip of XYZ goes: its lines are asked for one by one,
/// since a store that waits for its line holds up all later ones.
template <class tSample>
SELVANE_INLINE void LookUp(const unsigned char* pSamples, int pCount, const float* pTable, const float* pNext,
                           float* pLinear)
{
    volatile float* linear = pLinear; // g++ would build vectors of single entries, which takes half as long again
    for (int line = 0; line < pCount; line += kLine) {
        __builtin_prefetch(pNext + line, 1);
        const int end = std::min(line + kLine, pCount);
#pragma GCC unroll 16
        for (int n = line; n < end; n++)
            linear[n] = pTable[Load<tSample>(pSamples, n)];
    }
}

/// A row of pixels of three samples each.
template <class tSample, int tRed>
SELVANE_CLONES void ReadTriples(const unsigned char* pRow, const float* pDecodeTable, int pWidth, cMatrix33 pMatrix,
                                float* pXYZ)
{
    float linear[3 * kStrip];
    for (int x = 0; x < pWidth; x += kStrip) {
        const int count = std::min(kStrip, pWidth - x);
        const int64_t first = int64_t{3} * x;
        LookUp<tSample>(pRow + first * ptrdiff_t{sizeof(tSample)}, 3 * count, pDecodeTable,
                        pXYZ + first + ptrdiff_t{3} * kStrip, linear);
        Transform<tRed>(linear, count, pMatrix, pXYZ + ptrdiff_t{3} * x);
    }
}

/// A row of pixels pStep samples apart.
template <class tSample>
SELVANE_CLONES void ReadSteps(const unsigned char* pRow, int64_t pStep, sSampleOffsets pOffsets,
                              const float* pDecodeTable, int pWidth, cMatrix33 pMatrix, float* pXYZ)
{
    float linear[3 * kStrip];
    for (int x = 0; x < pWidth; x += kStrip) {
        const int count = std::min(kStrip, pWidth - x);
        for (int n = 0; n < count; n++) {
            const int64_t pixel = (x + n) * pStep;
            linear[ptrdiff_t{3} * n] = pDecodeTable[Load<tSample>(pRow, pixel + pOffsets.fRed)];
            linear[ptrdiff_t{3} * n + 1] = pDecodeTable[Load<tSample>(pRow, pixel + pOffsets.fGreen)];
            linear[ptrdiff_t{3} * n + 2] = pDecodeTable[Load<tSample>(pRow, pixel + pOffsets.fBlue)];
        }
        Transform<0>(linear, count, pMatrix, pXYZ + ptrdiff_t{3} * x);
    }
}

template <class tSample>
void ReadRow(const sTmImageDesc& pImage, const unsigned char* pRow, const float* pDecodeTable, const cMatrix33& pMatrix,
             float* pXYZ)
{
    if (pImage.samplesPerPixel != 3)
        ReadSteps<tSample>(pRow, pImage.samplesPerPixel, SampleOffsetsOf(pImage), pDecodeTable, pImage.width, pMatrix,
                           pXYZ);
    else if (pImage.bgrOrder == 0)
        ReadTriples<tSample, 0>(pRow, pDecodeTable, pImage.width, pMatrix, pXYZ);
    else
        ReadTriples<tSample, 2>(pRow, pDecodeTable, pImage.width, pMatrix, pXYZ);
}

// Required: the row advance is width * step + inputRowSamples - 3 * width samples. It is the true row length,
// inputRowSamples, for a step of 3 only.
template <class tSample>
void ReadRows(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
              const cMatrix33& pMatrix, cBitmapXYZ32& pXYZ)
{
    const int64_t width = pImage.width;
    const int64_t rowBytes =
        (width * pImage.samplesPerPixel + pImage.inputRowSamples - 3 * width) * static_cast<int64_t>(sizeof(tSample));
    for (int y = 0; y < pImage.height; y++)
        ReadRow<tSample>(pImage, pInput + y * rowBytes, pDecodeTable, pMatrix, RowOf(pXYZ, y));
}

/// A row of planes: pWidth red mantissas, as many green and blue ones, and as many exponents. pScales has a factor for
/// each exponent.
SELVANE_CLONES void ReadPlanes(const unsigned char* pRow, const float* pScales, int pWidth, cMatrix33 pMatrix,
                               float* pXYZ)
{
    const unsigned char* exponents = pRow + int64_t{3} * pWidth;
    float scales[kStrip];
    float linear[3 * kStrip];
    for (int x = 0; x < pWidth; x += kStrip) {
        const int count = std::min(kStrip, pWidth - x);
#pragma GCC unroll 8
        for (int n = 0; n < count; n++)
            scales[n] = pScales[exponents[x + n]];
        for (int n = 0; n < count; n++)
            for (int channel = 0; channel < 3; channel++)
                linear[3 * n + channel] = static_cast<float>(pRow[int64_t{channel} * pWidth + x + n]) * scales[n];
        Transform<0>(linear, count, pMatrix, pXYZ + ptrdiff_t{3} * x);
    }
}

float Decoded(int pCode, double pScale, double pGamma)
{
    return std::min(static_cast<float>(std::pow(pCode * pScale, pGamma)), 1.0f);
}

/// Fills kStrip entries; those whose rounding is not certain become -1.
SELVANE_CLONES void DecodeQuickly(int pFirst, double pScale, double pGamma, float* pEntries)
{
    for (int n = 0; n < kStrip; n++) {
        const double linear = QuickPower((pFirst + n) * pScale, pGamma);
        const sBetweenFloats value = Rounded({linear, kQuickPowerError});
        const float entry = value.fLow < 1.0f ? value.fLow : 1.0f;
        pEntries[n] = value.IsCertain() && pFirst + n > 0 ? entry : -1.0f;
    }
}

} // namespace

sSampleOffsets SampleOffsetsOf(const sTmImageDesc& pImage)
{
    const int64_t last = static_cast<int64_t>(pImage.samplesPerPixel) - 1;
    const bool blueFirst = pImage.bgrOrder != 0;
    return {.fRed = blueFirst ? last : 0, .fGreen = last >> 1, .fBlue = blueFirst ? 0 : last};
}

// Required: the scale is the reciprocal of the number of codes, so the largest code stays a little below 1.
float* NewDecodeTable(int pInputDepth, double pGamma)
{
    const int codes = pInputDepth == 8 ? 256 : 65536;
    auto* table = static_cast<float*>(std::calloc(static_cast<size_t>(codes), sizeof(float)));
    if (table == nullptr) throw std::bad_alloc();
    for (int first = 0; first < codes; first += kStrip) {
        DecodeQuickly(first, 1.0 / codes, pGamma, table + first);
        for (int code = first; code < first + kStrip; code++)
            if (table[code] < 0.0f) table[code] = Decoded(code, 1.0 / codes, pGamma);
    }
    return table;
}

void ReadSamples(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                 const cMatrix33& pMatrix, cBitmapXYZ32& pXYZ)
{
    if (pImage.inputDepth == 8)
        ReadRows<uint8_t>(pImage, pInput, pDecodeTable, pMatrix, pXYZ);
    else
        ReadRows<uint16_t>(pImage, pInput, pDecodeTable, pMatrix, pXYZ);
}

void ReadExponentPlanes(const sTmImageDesc& pImage, const unsigned char* pInput, const cMatrix33& pMatrix,
                        cBitmapXYZ32& pXYZ)
{
    float scales[kExponents];
    scales[0] = 0.0f; // black, whatever the mantissas are
    for (int e = 1; e < kExponents; e++)
        scales[e] = static_cast<float>(std::ldexp(1.0, e - kExponentBias));
    for (int y = 0; y < pImage.height; y++)
        ReadPlanes(pInput + int64_t{4} * y * pImage.width, scales, pImage.width, pMatrix, RowOf(pXYZ, y));
}

} // namespace Vornik
