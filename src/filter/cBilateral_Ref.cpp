#include "filter/cBilateral.h"

#include "base/BigPages.h"
#include "base/Numeric.h"
#include "base/Versions.h"
#include "filter/DivideWork.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

// The reference filter: for each pixel, a weighted mean over the window around it. The spatial kernel has the weights
// by distance, the range table those by difference in value.

namespace Vornik
{

namespace
{

constexpr int kRangeSteps = 255;                              // from a difference of 0 to the range limit
constexpr double kMinusTwoLogOnePercent = 9.2103403719761818; // -2 ln 0.01: where a Gaussian has fallen to 1 percent
constexpr float kPerRangeStep = 0x1.010102p-8f;               // 1 / 255

/// The record of a tile, 72 bytes.
struct sReferenceRecord
{
    TileRecord fHeader;
    int32_t fWidth;
    int32_t fHeight;
    int32_t fKernelSize;
    float fRangeLimit;
    float fRangeScale;
    uint32_t fReserved; ///< zero
    float* fInput;
    float* fRangeTable;
    float* fSpatialKernel;
    float* fResult;
};

static_assert(sizeof(sReferenceRecord) == 72);
static_assert(offsetof(sReferenceRecord, fWidth) == 16);
static_assert(offsetof(sReferenceRecord, fRangeScale) == 32);
static_assert(offsetof(sReferenceRecord, fInput) == 40);
static_assert(offsetof(sReferenceRecord, fResult) == 64);

using tFloats = std::unique_ptr<float[]>;

/// Weights in a row of the spatial kernel. A negative sigma may give 0 or a negative number.
int64_t KernelSize(float pSigmaSpace)
{
    return int64_t{TruncateToInt32(static_cast<double>(pSigmaSpace * 4.0f) + 0.5)} + 1;
}

/// Makes a kernel of pSize * pSize weights. If pSize is not above 0, they stay unset.
tFloats MakeSpatialKernel(int64_t pSize, float pSigmaSpace)
{
    tFloats kernel(new float[static_cast<size_t>(CheckedCount(pSize, pSize))]);
    const float scale = -0.5f / (pSigmaSpace * pSigmaSpace);
    const int64_t half = pSize / 2;
    float* next = kernel.get();
    for (int64_t row = -half; row < pSize - half; row++)
        for (int64_t column = -half; column < pSize - half; column++) {
            const auto x = static_cast<float>(column);
            const auto y = static_cast<float>(row);
            *next++ = std::exp(scale * (x * x + y * y));
        }
    return kernel;
}

/// The difference in value beyond which samples are skipped.
float RangeLimit(float pSigmaRange)
{
    const auto sigma = static_cast<double>(pSigmaRange);
    return static_cast<float>(std::sqrt(sigma * sigma * kMinusTwoLogOnePercent));
}

/// Weights for the differences from 0 to the limit.
tFloats MakeRangeTable(float pSigmaRange, float pRangeLimit)
{
    tFloats table(new float[kRangeSteps + 1]);
    const float scale = -0.5f / (pSigmaRange * pSigmaRange);
    const float step = pRangeLimit * kPerRangeStep;
    table[0] = 1.0f;
    for (int i = 1; i <= kRangeSteps; i++) {
        const float difference = static_cast<float>(i) * step;
        table[static_cast<size_t>(i)] = std::exp((difference * difference) * scale);
    }
    return table;
}

/// The places of an axis that the window covers. Required: the upper bound is exclusive, so the window is lopsided.
struct sWindow
{
    int64_t fBegin;
    int64_t fEnd;
};

SELVANE_INLINE sWindow WindowAround(int pPlace, int pHalf, int pLength)
{
    return {std::max<int64_t>(int64_t{pPlace} - pHalf, 0), std::min<int64_t>(int64_t{pPlace} + pHalf, pLength)};
}

/// The tables and limits that the pixels of a tile share.
struct sReference
{
    int fKernelSize;
    float fRangeLimit;
    float fRangeScale;
    const float* fRangeTable;
    const float* fSpatialKernel;
};

/// Weight of a difference that is not above the limit. NaN takes the first entry. The index is clamped, because
/// rounding or a limit of 0 could lead out of the table.
SELVANE_INLINE float RangeWeight(const sReference& pReference, float pDifference)
{
    const int index = TruncateToInt32(pDifference * pReference.fRangeScale);
    return pReference.fRangeTable[std::clamp(index, 0, kRangeSteps)];
}

SELVANE_CLONES void FilterRow(const sReference& pReference, int pRow, int pWidth, int pHeight, const float* pInput,
                              float* pResult)
{
    const int half = pReference.fKernelSize / 2;
    const sWindow rows = WindowAround(pRow, half, pHeight);
    for (int x = 0; x < pWidth; x++) {
        const sWindow columns = WindowAround(x, half, pWidth);
        const float centre = pInput[static_cast<ptrdiff_t>(pRow) * pWidth + x];
        float sum = 0.0f;
        float norm = 0.0f;
        for (int64_t row = rows.fBegin; row < rows.fEnd; row++) {
            const float* samples = pInput + row * pWidth;
            const float* kernel = pReference.fSpatialKernel + (row - pRow + half) * pReference.fKernelSize;
            for (int64_t column = columns.fBegin; column < columns.fEnd; column++) {
                const float difference = std::fabs(samples[column] - centre);
                if (difference > pReference.fRangeLimit) continue;
                const float weight = RangeWeight(pReference, difference) * kernel[column - x + half];
                sum = std::fma(weight, samples[column], sum);
                norm += weight;
            }
        }
        const bool empty = rows.fBegin >= rows.fEnd;
        pResult[x] = empty ? std::numeric_limits<float>::quiet_NaN() : sum / norm;
    }
}

} // namespace

void Filter_Ref_Process_tile(int /*pSlot*/, int pStart, int pEnd, int pWidth, int pHeight, int pKernelSize,
                             float pRangeLimit, float pRangeScale, float* pInput, float* pRangeTable,
                             float* pSpatialKernel, float* pResult)
{
    const sReference reference{pKernelSize, pRangeLimit, pRangeScale, pRangeTable, pSpatialKernel};
    for (int row = pStart; row < pEnd; row++)
        FilterRow(reference, row, pWidth, pHeight, pInput, pResult + static_cast<ptrdiff_t>(row) * pWidth);
}

void* Filter_Ref_Process_tile_threaded(void* pRecord)
{
    sReferenceRecord record;
    std::memcpy(&record, pRecord, sizeof record);
    Filter_Ref_Process_tile(record.fHeader.fSlot, record.fHeader.fStart, record.fHeader.fEnd, record.fWidth,
                            record.fHeight, record.fKernelSize, record.fRangeLimit, record.fRangeScale, record.fInput,
                            record.fRangeTable, record.fSpatialKernel, record.fResult);
    return nullptr;
}

void cBilateral::Filter_Ref(bool* /*pCancel*/, bool* /*pCancelled*/, int pThreadCount, float* pInput,
                            float* /*pOutput*/, int pWidth, int pHeight, float pSigmaSpace, float pSigmaRange,
                            float /*pRangeMin*/, float /*pRangeMax*/)
{
    const int64_t size = KernelSize(pSigmaSpace);
    const tFloats kernel = MakeSpatialKernel(size, pSigmaSpace);
    const float limit = RangeLimit(pSigmaRange);
    const tFloats table = MakeRangeTable(pSigmaRange, limit);
    const tFloats result(NewFloats(static_cast<size_t>(CheckedCount(pWidth, pHeight))));

    sReferenceRecord record{
        {}, pWidth, pHeight,     static_cast<int>(size), limit,       static_cast<float>(kRangeSteps) / limit,
        0,  pInput, table.get(), kernel.get(),           result.get()};
    DivideWork(0, pHeight, pThreadCount, Filter_Ref_Process_tile_threaded, &record, sizeof record);
    // Required: the result is dropped, and pOutput stays unchanged.
}

} // namespace Vornik
