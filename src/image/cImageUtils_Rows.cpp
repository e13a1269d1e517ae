#include "image/cImageUtils_Rows.h"

#include "base/Numeric.h"
#include "base/Strips.h"
#include "color/MatrixProduct.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// The loops are in the unnamed namespace, so that they can be compiled in several versions. The formula of a sample or
// a pixel is an inline function above them. Loops with a table process strips: the arithmetic of a strip runs over
// small arrays and vectorises; the look-ups do not.

namespace Vornik::Rows
{

namespace
{

constexpr size_t kStrip = 128;               // pixels in a strip: a few kilobytes on the stack
constexpr size_t kStripSamples = 3 * kStrip; // samples in a strip
constexpr size_t kAhead = 1024;              // floats from a strip to what is asked for meanwhile
constexpr size_t kLanes = sLaneSums::kLanes; // running extremes or sums side by side
constexpr size_t kSumLanes = 96;             // running sums of distances, a multiple of the 3 channels
constexpr size_t kRounds = 256;              // distances of bytes that a sum of 16 bits holds, or of 16 bits one of 32

/// Length of the strip that begins at pStart: pStrip, or what is left of pCount.
SELVANE_INLINE size_t StripLength(size_t pStart, size_t pCount, size_t pStrip)
{
    return pCount - pStart < pStrip ? pCount - pStart : pStrip;
}

template <class tSample>
SELVANE_INLINE void PrefetchStrip(const tSample* pAt)
{
    PrefetchPageAhead<static_cast<ptrdiff_t>(kStripSamples * sizeof(tSample))>(pAt);
}

SELVANE_INLINE void PrefetchLanes(const float* pFrom)
{
    PrefetchPageAhead<static_cast<ptrdiff_t>(kLanes * sizeof(float))>(pFrom);
}

// ---- Formulas of a sample or a pixel --------------------------------------------------------------------------------

template <class tSample>
SELVANE_INLINE tSample ClampedTruncation(float pValue, float pLargest)
{
    const float scaled = pValue <= 1.0f ? pValue * pLargest : pLargest; // a NaN gives the largest
    return static_cast<tSample>(static_cast<int>(scaled < 0.0f ? 0.0f : scaled));
}

/// The matrix times (pV0, pV1, pV2). They are values, so a result may be stored over its source.
SELVANE_INLINE void TransformPixel(const cMatrix33& pMatrix, float pV0, float pV1, float pV2, float& pOut0,
                                   float& pOut1, float& pOut2)
{
    pOut0 = FusedRow(pMatrix.m00, pMatrix.m01, pMatrix.m02, pV0, pV1, pV2);
    pOut1 = FusedRow(pMatrix.m10, pMatrix.m11, pMatrix.m12, pV0, pV1, pV2);
    pOut2 = FusedRow(pMatrix.m20, pMatrix.m21, pMatrix.m22, pV0, pV1, pV2);
}

// ---- Loops ----------------------------------------------------------------------------------------------------------

template <class tSample>
SELVANE_CLONES void ToFloatLoop(const tSample* __restrict pFrom, float* __restrict pTo, size_t pSamples, float pStep)
{
    for (size_t start = 0; start < pSamples; start += kStripSamples) {
        PrefetchStrip(pTo + start);
        const size_t end = start + StripLength(start, pSamples, kStripSamples);
        for (size_t i = start; i < end; ++i)
            pTo[i] = static_cast<float>(pFrom[i]) * pStep;
    }
}

template <class tSample>
SELVANE_CLONES void FromFloatLoop(const float* __restrict pFrom, tSample* __restrict pTo, size_t pSamples,
                                  float pLargest)
{
    for (size_t start = 0; start < pSamples; start += kStripSamples) {
        PrefetchStrip(pFrom + start);
        const size_t end = start + StripLength(start, pSamples, kStripSamples);
        for (size_t i = start; i < end; ++i)
            pTo[i] = ClampedTruncation<tSample>(pFrom[i], pLargest);
    }
}

SELVANE_CLONES void NarrowLoop(const unsigned short* __restrict pFrom, unsigned char* __restrict pTo, size_t pSamples)
{
    for (size_t i = 0; i < pSamples; ++i)
        pTo[i] = static_cast<unsigned char>(pFrom[i] / 257u);
}

SELVANE_CLONES void WidenLoop(const unsigned char* __restrict pFrom, unsigned short* __restrict pTo, size_t pSamples)
{
    for (size_t i = 0; i < pSamples; ++i)
        pTo[i] = static_cast<unsigned short>(pFrom[i] * 257u);
}

template <class tSample>
SELVANE_CLONES void DecodeLoop(const tSample* __restrict pFrom, float* __restrict pTo, size_t pSamples,
                               const float* __restrict pTable)
{
    for (size_t start = 0; start < pSamples; start += kStripSamples) {
        float* const to = pTo + start;
        const auto count = static_cast<ptrdiff_t>(StripLength(start, pSamples, kStripSamples));
        LookUp(pFrom + start, count, pTable, to, to + kAhead);
    }
}

/// Looks up one strip.
template <class tSample>
SELVANE_INLINE void EncodeStrip(const float* __restrict pFrom, tSample* __restrict pTo, size_t pSamples,
                                const tSample* __restrict pTable, const float* pAhead)
{
    int index[kStripSamples];
    for (size_t i = 0; i < pSamples; ++i)
        index[i] = UnitIndex(pFrom[i]);
    LookUp(index, static_cast<ptrdiff_t>(pSamples), pTable, pTo, pAhead);
}

template <class tSample>
SELVANE_CLONES void EncodeLoop(const float* __restrict pFrom, tSample* __restrict pTo, size_t pSamples,
                               const tSample* __restrict pTable)
{
    for (size_t start = 0; start < pSamples; start += kStripSamples) {
        PrefetchStrip(pTo + start);
        const float* const from = pFrom + start;
        EncodeStrip(from, pTo + start, StripLength(start, pSamples, kStripSamples), pTable, from + kAhead);
    }
}

template <class tSample>
SELVANE_CLONES void DecodeTransformLoop(const tSample* __restrict pFrom, float* __restrict pTo, size_t pPixels,
                                        const float* __restrict pTable, const cMatrix33 pMatrix)
{
    float linear[kStripSamples];
    for (size_t start = 0; start < pPixels; start += kStrip) {
        const size_t count = StripLength(start, pPixels, kStrip);
        float* const to = pTo + 3 * start;
        LookUp(pFrom + 3 * start, static_cast<ptrdiff_t>(3 * count), pTable, linear, to + kAhead);
        for (size_t i = 0; i < count; ++i)
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the loop before has filled the strip
            TransformPixel(pMatrix, linear[3 * i + 2], linear[3 * i + 1], linear[3 * i], to[3 * i], to[3 * i + 1],
                           to[3 * i + 2]);
    }
}

template <class tSample>
SELVANE_CLONES void TransformEncodeLoop(const float* __restrict pFrom, tSample* __restrict pTo, size_t pPixels,
                                        const tSample* __restrict pTable, const cMatrix33 pMatrix)
{
    float linear[kStripSamples];
    for (size_t start = 0; start < pPixels; start += kStrip) {
        const size_t count = StripLength(start, pPixels, kStrip);
        const float* const from = pFrom + 3 * start;
        PrefetchStrip(pTo + 3 * start);
        for (size_t i = 0; i < count; ++i)
            TransformPixel(pMatrix, from[3 * i], from[3 * i + 1], from[3 * i + 2], linear[3 * i + 2], linear[3 * i + 1],
                           linear[3 * i]);
        EncodeStrip(linear, pTo + 3 * start, 3 * count, pTable, from + kAhead);
    }
}

SELVANE_CLONES void TransformLoop(const float* __restrict pFrom, float* __restrict pTo, size_t pPixels,
                                  const cMatrix33 pMatrix)
{
    for (size_t start = 0; start < pPixels; start += kStrip) {
        PrefetchStrip(pTo + 3 * start);
        const size_t end = start + StripLength(start, pPixels, kStrip);
        for (size_t i = start; i < end; ++i)
            TransformPixel(pMatrix, pFrom[3 * i], pFrom[3 * i + 1], pFrom[3 * i + 2], pTo[3 * i], pTo[3 * i + 1],
                           pTo[3 * i + 2]);
    }
}

SELVANE_CLONES void TransformInPlaceLoop(float* __restrict pRow, size_t pPixels, const cMatrix33 pMatrix)
{
    for (size_t i = 0; i < pPixels; ++i)
        TransformPixel(pMatrix, pRow[3 * i], pRow[3 * i + 1], pRow[3 * i + 2], pRow[3 * i], pRow[3 * i + 1],
                       pRow[3 * i + 2]);
}

SELVANE_CLONES void SubtractLoop(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples)
{
    for (size_t i = 0; i < pSamples; ++i)
        pTo[i] = pFrom1[i] - pFrom2[i];
}

SELVANE_CLONES void MultiplyLoop(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples)
{
    for (size_t i = 0; i < pSamples; ++i)
        pTo[i] = pFrom1[i] * pFrom2[i];
}

SELVANE_CLONES void ScaleLoop(const float* pFrom, float* pTo, size_t pSamples, float pFactor)
{
    for (size_t i = 0; i < pSamples; ++i)
        pTo[i] = pFrom[i] * pFactor;
}

/// Widens a range of order keys by a value. NaN changes nothing.
SELVANE_INLINE void Widen(float pValue, int32_t& pLeast, int32_t& pMost)
{
    const bool number = pValue == pValue;
    const int32_t key = OrderKey(pValue);
    const int32_t low = number ? key : sExtremes::kNone;
    const int32_t high = number ? key : -sExtremes::kNone;
    pLeast = low < pLeast ? low : pLeast;
    pMost = high > pMost ? high : pMost;
}

/// Extremes of the three channels, in lanes of one channel each. The lanes are joined at the end.
SELVANE_CLONES void MeasureLoop(const float* __restrict pRow, size_t pSamples, int32_t* __restrict pMin,
                                int32_t* __restrict pMax)
{
    int32_t least[kLanes];
    int32_t most[kLanes];
    for (size_t j = 0; j < kLanes; ++j) {
        least[j] = pMin[j % 3];
        most[j] = pMax[j % 3];
    }
    size_t at = 0;
    for (; at + kLanes <= pSamples; at += kLanes) { // of one length, so that the lanes stay in registers
        PrefetchLanes(pRow + at);
        for (size_t j = 0; j < kLanes; ++j)
            Widen(pRow[at + j], least[j], most[j]);
    }
    for (size_t j = 0; at + j < pSamples; ++j)
        Widen(pRow[at + j], least[j], most[j]);
    for (size_t j = 0; j < kLanes; ++j) {
        pMin[j % 3] = least[j] < pMin[j % 3] ? least[j] : pMin[j % 3];
        pMax[j % 3] = most[j] > pMax[j % 3] ? most[j] : pMax[j % 3];
    }
}

SELVANE_CLONES void NormalizeLoop(float* __restrict pRow, size_t pPixels, const sNormalizer pNormalizer)
{
    for (size_t i = 0; i < pPixels; ++i) {
        pRow[3 * i] = (pRow[3 * i] - pNormalizer.fMinimum[0]) * pNormalizer.fScale[0];
        pRow[3 * i + 1] = (pRow[3 * i + 1] - pNormalizer.fMinimum[1]) * pNormalizer.fScale[1];
        pRow[3 * i + 2] = (pRow[3 * i + 2] - pNormalizer.fMinimum[2]) * pNormalizer.fScale[2];
    }
}

/// Without a wider type, so that a vector holds as many distances as samples.
template <class tSample>
SELVANE_INLINE tSample Distance(tSample pFirst, tSample pSecond)
{
    const tSample larger = pFirst > pSecond ? pFirst : pSecond;
    const tSample smaller = pFirst > pSecond ? pSecond : pFirst;
    return static_cast<tSample>(larger - smaller);
}

/// Adds kRounds distances to each of kSumLanes sums at a time.
/// @tparam tSum holds kRounds times the largest distance
template <class tSum, class tSample>
SELVANE_CLONES void AddDistancesLoop(const tSample* pRow1, const tSample* pRow2, size_t pSamples,
                                     uint64_t* __restrict pSums)
{
    size_t at = 0;
    while (at + kSumLanes <= pSamples) {
        tSum lanes[kSumLanes] = {};
        for (size_t round = 0; round < kRounds && at + kSumLanes <= pSamples; ++round, at += kSumLanes)
            for (size_t j = 0; j < kSumLanes; ++j)
                lanes[j] = static_cast<tSum>(lanes[j] + Distance(pRow1[at + j], pRow2[at + j]));
        for (size_t j = 0; j < kSumLanes; ++j)
            pSums[j % 3] += lanes[j];
    }
    for (size_t j = 0; at + j < pSamples; ++j)
        pSums[j % 3] += Distance(pRow1[at + j], pRow2[at + j]);
}

/// The sums are integers below 2^53. A double holds them exactly, in any order of addition.
template <class tSum, class tSample>
void AddDistances(const tSample* pRow1, const tSample* pRow2, size_t pPixels, double (&pSums)[3])
{
    uint64_t sums[3] = {0, 0, 0};
    AddDistancesLoop<tSum>(pRow1, pRow2, 3 * pPixels, sums);
    for (int c = 0; c < 3; ++c)
        pSums[c] += static_cast<double>(sums[c]);
}

template <class tSample>
SELVANE_CLONES int LargestDistanceLoop(const tSample* pRow1, const tSample* pRow2, size_t pSamples)
{
    tSample largest = 0;
    for (size_t i = 0; i < pSamples; ++i) {
        const tSample distance = Distance(pRow1[i], pRow2[i]);
        largest = distance > largest ? distance : largest;
    }
    return largest;
}

SELVANE_CLONES void AddUpLoop(const float* __restrict pRow, size_t pSamples, sLaneSums* __restrict pSums)
{
    sLaneSums sums = *pSums;
    size_t at = 0;
    for (; at + kLanes <= pSamples; at += kLanes) {
        PrefetchLanes(pRow + at);
        for (size_t j = 0; j < kLanes; ++j)
            sums.Add(j, pRow[at + j]);
    }
    for (size_t j = 0; at + j < pSamples; ++j)
        sums.Add(j, pRow[at + j]);
    *pSums = sums;
}

/// The sizes of the differences of a strip. The sums wait for each other, so nothing else should be left for them.
SELVANE_CLONES void SizesLoop(const float* pRow1, const float* pRow2, size_t pSamples, double* __restrict pSizes)
{
    for (size_t i = 0; i < pSamples; ++i)
        pSizes[i] = static_cast<double>(std::fabs(pRow1[i] - pRow2[i]));
}

} // namespace

// ---- Scalings -------------------------------------------------------------------------------------------------------

void ToFloat(const unsigned char* pFrom, float* pTo, size_t pSamples)
{
    ToFloatLoop(pFrom, pTo, pSamples, kFromSample8);
}

void ToFloat(const unsigned short* pFrom, float* pTo, size_t pSamples)
{
    ToFloatLoop(pFrom, pTo, pSamples, kFromSample16);
}

void FromFloat(const float* pFrom, unsigned char* pTo, size_t pSamples)
{
    FromFloatLoop(pFrom, pTo, pSamples, kToSample8);
}

void FromFloat(const float* pFrom, unsigned short* pTo, size_t pSamples)
{
    FromFloatLoop(pFrom, pTo, pSamples, kToSample16);
}

void ChangeDepth(const unsigned short* pFrom, unsigned char* pTo, size_t pSamples)
{
    NarrowLoop(pFrom, pTo, pSamples);
}
void ChangeDepth(const unsigned char* pFrom, unsigned short* pTo, size_t pSamples)
{
    WidenLoop(pFrom, pTo, pSamples);
}

// ---- Transfers ------------------------------------------------------------------------------------------------------

void Decode(const unsigned char* pFrom, float* pTo, size_t pSamples, const float* pTable)
{
    DecodeLoop(pFrom, pTo, pSamples, pTable);
}

void Decode(const unsigned short* pFrom, float* pTo, size_t pSamples, const float* pTable)
{
    DecodeLoop(pFrom, pTo, pSamples, pTable);
}

void Encode(const float* pFrom, unsigned char* pTo, size_t pSamples, const unsigned char* pTable)
{
    EncodeLoop(pFrom, pTo, pSamples, pTable);
}

void Encode(const float* pFrom, unsigned short* pTo, size_t pSamples, const unsigned short* pTable)
{
    EncodeLoop(pFrom, pTo, pSamples, pTable);
}

void DecodeTransform(const unsigned char* pFrom, float* pTo, size_t pPixels, const float* pTable,
                     const cMatrix33& pMatrix)
{
    DecodeTransformLoop(pFrom, pTo, pPixels, pTable, pMatrix);
}

void DecodeTransform(const unsigned short* pFrom, float* pTo, size_t pPixels, const float* pTable,
                     const cMatrix33& pMatrix)
{
    DecodeTransformLoop(pFrom, pTo, pPixels, pTable, pMatrix);
}

void TransformEncode(const float* pFrom, unsigned char* pTo, size_t pPixels, const unsigned char* pTable,
                     const cMatrix33& pMatrix)
{
    TransformEncodeLoop(pFrom, pTo, pPixels, pTable, pMatrix);
}

void TransformEncode(const float* pFrom, unsigned short* pTo, size_t pPixels, const unsigned short* pTable,
                     const cMatrix33& pMatrix)
{
    TransformEncodeLoop(pFrom, pTo, pPixels, pTable, pMatrix);
}

void Transform(const float* pFrom, float* pTo, size_t pPixels, const cMatrix33& pMatrix)
{
    if (pFrom == pTo)
        TransformInPlaceLoop(pTo, pPixels, pMatrix);
    else
        TransformLoop(pFrom, pTo, pPixels, pMatrix);
}

// ---- Copies and arithmetic ------------------------------------------------------------------------------------------

void CopyForward(const void* pFrom, void* pTo, size_t pBytes)
{
    // The direction matters only if the target begins inside the source. For a target before it, distance is huge.
    const uintptr_t distance = reinterpret_cast<uintptr_t>(pTo) - reinterpret_cast<uintptr_t>(pFrom);
    if (distance >= pBytes) {
        std::memmove(pTo, pFrom, pBytes);
        return;
    }
    const auto* const from = static_cast<const unsigned char*>(pFrom);
    auto* const to = static_cast<unsigned char*>(pTo);
    for (size_t i = 0; i < pBytes; ++i)
        to[i] = from[i];
}

void Subtract(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples)
{
    SubtractLoop(pFrom1, pFrom2, pTo, pSamples);
}

void Multiply(const float* pFrom1, const float* pFrom2, float* pTo, size_t pSamples)
{
    MultiplyLoop(pFrom1, pFrom2, pTo, pSamples);
}

void Scale(const float* pFrom, float* pTo, size_t pSamples, float pFactor)
{
    ScaleLoop(pFrom, pTo, pSamples, pFactor);
}

void ClampLow(float* pChannel, size_t pPixels, float pLow)
{
    for (size_t i = 0; i < pPixels; ++i)
        pChannel[3 * i] = pChannel[3 * i] >= pLow ? pChannel[3 * i] : pLow;
}

void Extract(const float* pChannel, float* pPlane, size_t pPixels)
{
    for (size_t i = 0; i < pPixels; ++i)
        pPlane[i] = pChannel[3 * i];
}

void Replace(const float* pPlane, float* pChannel, size_t pPixels)
{
    for (size_t i = 0; i < pPixels; ++i)
        pChannel[3 * i] = pPlane[i];
}

// ---- Statistics and comparison --------------------------------------------------------------------------------------

void Measure(const float* pRow, size_t pPixels, sExtremes& pExtremes)
{
    MeasureLoop(pRow, 3 * pPixels, pExtremes.fMin, pExtremes.fMax);
}

void Normalize(float* pRow, size_t pPixels, const sNormalizer& pNormalizer)
{
    NormalizeLoop(pRow, pPixels, pNormalizer);
}

void AddUp(const float* pRow, size_t pPixels, double (&pSums)[3])
{
    for (size_t i = 0; i < pPixels; ++i)
        for (size_t c = 0; c < 3; ++c)
            pSums[c] += static_cast<double>(pRow[3 * i + c]);
}

void AddUp(const float* pRow, size_t pPixels, sLaneSums& pSums)
{
    AddUpLoop(pRow, 3 * pPixels, &pSums);
}

void AddDifferences(const float* pRow1, const float* pRow2, size_t pPixels, double (&pSums)[3])
{
    double sizes[kStripSamples];
    for (size_t start = 0; start < 3 * pPixels; start += kStripSamples) {
        const size_t count = StripLength(start, 3 * pPixels, kStripSamples);
        SizesLoop(pRow1 + start, pRow2 + start, count, sizes);
        for (size_t i = 0; i < count; i += 3)
            for (size_t c = 0; c < 3; ++c)
                // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): SizesLoop has filled the strip
                pSums[c] += sizes[i + c];
    }
}

void AddDifferences(const unsigned char* pRow1, const unsigned char* pRow2, size_t pPixels, double (&pSums)[3])
{
    AddDistances<uint16_t>(pRow1, pRow2, pPixels, pSums);
}

void AddDifferences(const unsigned short* pRow1, const unsigned short* pRow2, size_t pPixels, double (&pSums)[3])
{
    AddDistances<uint32_t>(pRow1, pRow2, pPixels, pSums);
}

int LargestDifference(const unsigned char* pRow1, const unsigned char* pRow2, size_t pSamples, int pMax)
{
    return std::max(pMax, LargestDistanceLoop(pRow1, pRow2, pSamples));
}

int LargestDifference(const unsigned short* pRow1, const unsigned short* pRow2, size_t pSamples, int pMax)
{
    return std::max(pMax, LargestDistanceLoop(pRow1, pRow2, pSamples));
}

} // namespace Vornik::Rows
