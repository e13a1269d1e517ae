#include "curve/cTransfer.h"

#include "base/Numeric.h"
#include "base/Require.h"
#include "curve/SampleTransfer.h"
#include "curve/sRGBCurve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

// Transfer functions, and the tables that pixel loops read instead. Powers are computed in double and rounded to float
// once. The straight parts of the sRGB curves and the interpolation of a table are computed in float.

namespace Vornik
{

namespace
{

/// Fills a table: entry i is pToEntry of the function at i * pStep.
template <class tEntry, size_t tCount, class tToEntry>
void FillCache(cTransfer& pTransfer, float pStep, tEntry (&pLUT)[tCount], tToEntry pToEntry)
{
    static_assert(tCount % kSamplesAtOnce == 0);
    ForEachSample(pTransfer, tCount, pStep, [&](size_t i, float pValue) { pLUT[i] = pToEntry(pValue); });
}

/// The low bits of the truncated value. Required: a value above the entry's range wraps and is not limited to it.
template <class tEntry>
tEntry LowBits(float pValue)
{
    return static_cast<tEntry>(TruncateToUInt32(pValue));
}

float AsItIs(float pValue)
{
    return pValue;
}

unsigned char ToSample8(float pValue)
{
    return LowBits<unsigned char>(pValue * kToSample8);
}

unsigned short ToSample16(float pValue)
{
    return LowBits<unsigned short>(pValue * kToSample16);
}

/// Length of fTable: one more than pTableSize, so that the interpolation can always read the next entry.
int EntriesOf(int pTableSize)
{
    return CheckedCount(int64_t{pTableSize} + 1, 1);
}

} // namespace

cTransfer::cTransfer() = default;
cTransfer::~cTransfer() = default;

cTransferGamma::cTransferGamma(float pGamma) : fGamma(pGamma) {}
cTransferGamma::~cTransferGamma() = default;

cTransfer* cTransferGamma::Clone() const
{
    return new cTransferGamma(fGamma);
}

float cTransferGamma::Function(float pValue)
{
    return static_cast<float>(std::pow(static_cast<double>(pValue), 1.0 / static_cast<double>(fGamma)));
}

cTransferLinearTo_sRGB::cTransferLinearTo_sRGB() = default;
cTransferLinearTo_sRGB::~cTransferLinearTo_sRGB() = default;

cTransfer* cTransferLinearTo_sRGB::Clone() const
{
    return new cTransferLinearTo_sRGB;
}

float cTransferLinearTo_sRGB::Function(float pValue)
{
    if (pValue > kLinearKnee)
        return static_cast<float>(std::fma(std::pow(static_cast<double>(pValue), kInverseExponent), kScale, -kOffset));
    return pValue * kSlope;
}

cTransfer_sRGBToLinear::cTransfer_sRGBToLinear() = default;
cTransfer_sRGBToLinear::~cTransfer_sRGBToLinear() = default;

cTransfer* cTransfer_sRGBToLinear::Clone() const
{
    return new cTransfer_sRGBToLinear;
}

float cTransfer_sRGBToLinear::Function(float pValue)
{
    if (pValue > kEncodedKnee)
        return static_cast<float>(std::pow((static_cast<double>(pValue) + kOffset) * kInverseScale, kExponent));
    return pValue * kInverseSlope;
}

cTransfer_Table::cTransfer_Table() : fTable(nullptr), fTableSize(0) {}

cTransfer_Table::cTransfer_Table(unsigned short* pTable, int pTableSize)
{
    Require(cArgumentNullException, pTable != nullptr, "Argument pTable cannot be null.");
    Require(cArgumentException, pTableSize > 1, "Argument pTableSize must be greater than 1.");
    fTableSize = pTableSize;
    fTable = new float[static_cast<size_t>(EntriesOf(pTableSize))];
    std::transform(pTable, pTable + pTableSize, fTable,
                   [](unsigned short pSample) { return static_cast<float>(pSample) * kFromSample16; });
    fTable[pTableSize] = fTable[pTableSize - 1];
}

cTransfer_Table::~cTransfer_Table()
{
    delete[] fTable;
}

cTransfer* cTransfer_Table::Clone() const
{
    auto clone = std::make_unique<cTransfer_Table>();
    const int entries = EntriesOf(fTableSize);
    clone->fTableSize = fTableSize;
    clone->fTable = new float[static_cast<size_t>(entries)]();
    if (fTable != nullptr) std::copy_n(fTable, entries, clone->fTable);
    return clone.release();
}

float cTransfer_Table::Function(float pValue)
{
    if (pValue <= 0.0f) return fTable[0];
    const float last = static_cast<float>(fTableSize - 1);
    const float position = last * pValue;
    if (position >= last) return fTable[fTableSize - 1];
    const int index = TruncateToInt32(position);
    const float whole = static_cast<float>(index);
    return std::fma((1.0f - position) + whole, fTable[index], (position - whole) * fTable[index + 1]);
}

cTransferLUT::cTransferLUT() = default;
cTransferLUT::~cTransferLUT() = default;

// The constructors call BuildCache of their own class: a descendant is not yet constructed.

cTransferLUT_I8F32::cTransferLUT_I8F32(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    cTransferLUT_I8F32::BuildCache(pTransfer);
}

cTransferLUT_I8F32::~cTransferLUT_I8F32() = default;

void cTransferLUT_I8F32::BuildCache(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    FillCache(*pTransfer, kFromSample8, fLUT, AsItIs);
}

cTransferLUT_I16F32::cTransferLUT_I16F32(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    cTransferLUT_I16F32::BuildCache(pTransfer);
}

cTransferLUT_I16F32::~cTransferLUT_I16F32() = default;

void cTransferLUT_I16F32::BuildCache(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    FillCache(*pTransfer, kFromSample16, fLUT, AsItIs);
}

cTransferLUT_F32I8::cTransferLUT_F32I8(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    cTransferLUT_F32I8::BuildCache(pTransfer);
}

cTransferLUT_F32I8::~cTransferLUT_F32I8() = default;

void cTransferLUT_F32I8::BuildCache(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    FillCache(*pTransfer, kFromSample16, fLUT, ToSample8);
}

cTransferLUT_F32I16::cTransferLUT_F32I16(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    cTransferLUT_F32I16::BuildCache(pTransfer);
}

cTransferLUT_F32I16::~cTransferLUT_F32I16() = default;

void cTransferLUT_F32I16::BuildCache(cTransfer* pTransfer)
{
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");
    FillCache(*pTransfer, kFromSample16, fLUT, ToSample16);
}

} // namespace Vornik
