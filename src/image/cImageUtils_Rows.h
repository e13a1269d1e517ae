#ifndef SELVANE_IMAGE_CIMAGEUTILS_ROWS_H
#define SELVANE_IMAGE_CIMAGEUTILS_ROWS_H

// The pixel loops of cImageUtils, internal. Each function processes one row or a part of it. pSamples is a number of
// samples, pPixels a number of pixels of three samples. Source and target must not overlap unless a comment allows it.

#include "base/Versions.h"
#include "color/cMatrix.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Vornik::Rows
{

// ---- Scalings -------------------------------------------------------------------------------------------------------

/// sample * (1 / 255) or sample * (1 / 65535).
void ToFloat(const unsigned char* pFrom, float* pTo, size_t pSamples);
void ToFloat(const unsigned short* pFrom, float* pTo, size_t pSamples);

/// Below 0 gives 0; above 1 or NaN gives the largest sample. Any other v is multiplied by the largest sample,
/// truncated.
void FromFloat(const float* pFrom, unsigned char* pTo, size_t pSamples);
void FromFloat(const float* pFrom, unsigned short* pTo, size_t pSamples);

/// sample / 257, truncated, or sample * 257.
void ChangeDepth(const unsigned short* pFrom, unsigned char* pTo, size_t pSamples);
void ChangeDepth(const unsigned char* pFrom, unsigned short* pTo, size_t pSamples);

// ---- Transfers ------------------------------------------------------------------------------------------------------

/// pTable[sample]; the table has an entry for every value of a sample.
void Decode(const unsigned char* pFrom, float* pTo, size_t pSamples, const float* pTable);
void Decode(const unsigned short* pFrom, float* pTo, size_t pSamples, const float* pTable);

/// pTable[UnitIndex(v)]; the table has 65536 entries.
void Encode(const float* pFrom, unsigned char* pTo, size_t pSamples, const unsigned char* pTable);
void Encode(const float* pFrom, unsigned short* pTo, size_t pSamples, const unsigned short* pTable);

/// Decodes blue, green, red samples by the table and applies the matrix to (red, green, blue).
void DecodeTransform(const unsigned char* pFrom, float* pTo, size_t pPixels, const float* pTable,
                     const cMatrix33& pMatrix);
void DecodeTransform(const unsigned short* pFrom, float* pTo, size_t pPixels, const float* pTable,
                     const cMatrix33& pMatrix);

/// Applies the matrix to (c0, c1, c2) and encodes red, green, blue by the table, as blue, green, red samples.
void TransformEncode(const float* pFrom, unsigned char* pTo, size_t pPixels, const unsigned char* pTable,
                     const cMatrix33& pMatrix);
void TransformEncode(const float* pFrom, unsigned short* pTo, size_t pPixels, const unsigned short* pTable,
                     const cMatrix33& pMatrix);

/// Applies the matrix to (c0, c1, c2). pTo may be pFrom.
void Transform(const float* pFrom, float* pTo, size_t pPixels, const cMatrix33& pMatrix);

// ---- Copies and arithmetic ------------------------------------------------------------------------------------------

/// Copies byte by byte from the lowest address up. If the target begins inside the source, the bytes between the two
/// beginnings are repeated.
void CopyForward(const void* pFrom, void* pTo, size_t pBytes);

/// Each target may be one of its sources.
void Subtract(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples);
void Multiply(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples);
void Scale(const float* pFrom, float* pTo, size_t pSamples, float pFactor);

/// Samples of a channel that are below pLow or NaN become pLow. pChannel points to the first one; the others follow at
/// every third float.
void ClampLow(float* pChannel, size_t pPixels, float pLow);

/// Copies every third float to contiguous floats, and back.
void Extract(const float* pChannel, float* pPlane, size_t pPixels);
void Replace(const float* pPlane, float* pChannel, size_t pPixels);

// ---- Statistics and comparison --------------------------------------------------------------------------------------

/// Maps a float to an integer of the same order: -infinity lowest, -0 just below +0, infinity highest, NaNs outside.
/// Extremes of integers may be taken in any order and in any number of lanes.
SELVANE_INLINE int32_t OrderKey(float pValue)
{
    const int32_t bits = std::bit_cast<int32_t>(pValue);
    return bits < 0 ? bits ^ INT32_MAX : bits;
}

SELVANE_INLINE float FromOrderKey(int32_t pKey)
{
    return std::bit_cast<float>(pKey < 0 ? pKey ^ INT32_MAX : pKey);
}

/// Extremes of the three channels, as order keys. Before the first sample fMin is above fMax. NaNs change nothing.
struct sExtremes
{
    static constexpr int32_t kNone = INT32_MAX;
    int32_t fMin[3] = {kNone, kNone, kNone};
    int32_t fMax[3] = {-kNone, -kNone, -kNone};
};

/// Widens the extremes by a row.
void Measure(const float* pRow, size_t pPixels, sExtremes& pExtremes);

/// Minimum and scale for normalising, per channel.
struct sNormalizer
{
    float fMinimum[3];
    float fScale[3];
};

/// (v - minimum) * scale, in place.
void Normalize(float* pRow, size_t pPixels, const sNormalizer& pNormalizer);

/// Adds the row's samples to three running sums, pixel after pixel.
void AddUp(const float* pRow, size_t pPixels, double (&pSums)[3]);

/// Sums of samples side by side, each of one channel.
struct sLaneSums
{
    static constexpr size_t kLanes = 48; // a multiple of the 3 channels
    double fSums[kLanes] = {};
    int32_t fBits[kLanes] = {}; ///< of all samples: negative if one of them is, or is -0

    SELVANE_INLINE void Add(size_t pLane, float pSample)
    {
        fSums[pLane] += static_cast<double>(pSample);
        fBits[pLane] |= std::bit_cast<int32_t>(pSample);
    }

    double Of(size_t pChannel) const
    {
        double sum = 0.0;
        for (size_t lane = pChannel; lane < kLanes; lane += 3)
            sum += fSums[lane];
        return sum;
    }

    bool AnyNegative() const
    {
        return std::any_of(std::begin(fBits), std::end(fBits), [](int32_t bits) { return bits < 0; });
    }
};

/// Adds the row's samples in lanes: a third of the time, and other last bits.
void AddUp(const float* pRow, size_t pPixels, sLaneSums& pSums);

/// Adds the absolute differences to three running sums. Those of floats are in float, pixel after pixel; those of
/// integers are exact.
void AddDifferences(const float* pRow1, const float* pRow2, size_t pPixels, double (&pSums)[3]);
void AddDifferences(const unsigned char* pRow1, const unsigned char* pRow2, size_t pPixels, double (&pSums)[3]);
void AddDifferences(const unsigned short* pRow1, const unsigned short* pRow2, size_t pPixels, double (&pSums)[3]);

/// The larger of pMax and the largest absolute difference of the rows.
int LargestDifference(const unsigned char* pRow1, const unsigned char* pRow2, size_t pSamples, int pMax);
int LargestDifference(const unsigned short* pRow1, const unsigned short* pRow2, size_t pSamples, int pMax);

/// 1 / (width * height). The number of pixels has 32 bits and wraps.
inline double MeanFactor(int pWidth, int pHeight)
{
    const uint32_t count = static_cast<uint32_t>(pWidth) * static_cast<uint32_t>(pHeight);
    return 1.0 / static_cast<double>(static_cast<int32_t>(count));
}

} // namespace Vornik::Rows

#endif
