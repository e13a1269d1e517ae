#include "image/cImageUtils.h"

#include "base/Require.h"
#include "image/cImageUtils_Rows.h"

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>

// The checks of the operations and their loops over the rows. The loops within a row are in cImageUtils_Rows.cpp.

namespace Vornik
{

namespace
{

// ---- Rows -----------------------------------------------------------------------------------------------------------

/// Returns the first sample of row pY. The stride is in bytes and is rounded down to whole samples.
template <class tBitmap>
auto* RowOf(tBitmap* pBitmap, int pY)
{
    using tSample = std::remove_pointer_t<decltype(pBitmap->fData)>;
    std::conditional_t<std::is_const_v<tBitmap>, const tSample, tSample>* const first = pBitmap->fData;
    const ptrdiff_t distance = pBitmap->fStride / static_cast<int>(sizeof(tSample));
    return first + pY * distance;
}

size_t PixelsOf(const cBitmap* pBitmap)
{
    return static_cast<size_t>(pBitmap->fWidth);
}
size_t SamplesOf(const cBitmap* pBitmap)
{
    return 3 * PixelsOf(pBitmap);
}

/// Calls pRow with the first samples of each row of two pictures of the same size.
template <class tFirst, class tSecond, class tRow>
void ForEachRow(tFirst* pFirst, tSecond* pSecond, const tRow& pRow)
{
    for (int y = 0; y < pSecond->fHeight; ++y)
        pRow(RowOf(pFirst, y), RowOf(pSecond, y));
}

/// Calls pRow with the first sample of each row.
template <class tBitmap, class tRow>
void ForEachRow(tBitmap* pBitmap, const tRow& pRow)
{
    for (int y = 0; y < pBitmap->fHeight; ++y)
        pRow(RowOf(pBitmap, y));
}

template <class tFrom, class tTo>
void ToFloatRows(const tFrom* pFrom, tTo* pTo)
{
    ForEachRow(pFrom, pTo, [=](auto* pSrc, auto* pDst) { Rows::ToFloat(pSrc, pDst, SamplesOf(pTo)); });
}

template <class tFrom, class tTo>
void FromFloatRows(const tFrom* pFrom, tTo* pTo)
{
    ForEachRow(pFrom, pTo, [=](auto* pSrc, auto* pDst) { Rows::FromFloat(pSrc, pDst, SamplesOf(pTo)); });
}

template <class tFrom, class tTo>
void ChangeDepthRows(const tFrom* pFrom, tTo* pTo)
{
    ForEachRow(pFrom, pTo, [=](auto* pSrc, auto* pDst) { Rows::ChangeDepth(pSrc, pDst, SamplesOf(pTo)); });
}

template <class tFrom, class tTo, class tTable>
void DecodeRows(const tFrom* pFrom, tTo* pTo, const tTable& pTable)
{
    ForEachRow(pFrom, pTo, [&](auto* pSrc, auto* pDst) { Rows::Decode(pSrc, pDst, SamplesOf(pTo), pTable.fLUT); });
}

template <class tFrom, class tTo, class tTable>
void EncodeRows(const tFrom* pFrom, tTo* pTo, const tTable& pTable)
{
    ForEachRow(pFrom, pTo, [&](auto* pSrc, auto* pDst) { Rows::Encode(pSrc, pDst, SamplesOf(pTo), pTable.fLUT); });
}

template <class tFrom, class tTo, class tTable>
void DecodeTransformRows(const tFrom* pFrom, tTo* pTo, const tTable& pTable, const cMatrix33& pMatrix)
{
    ForEachRow(pFrom, pTo,
               [&](auto* pSrc, auto* pDst) { Rows::DecodeTransform(pSrc, pDst, PixelsOf(pTo), pTable.fLUT, pMatrix); });
}

template <class tFrom, class tTo, class tTable>
void TransformEncodeRows(const tFrom* pFrom, tTo* pTo, const tTable& pTable, const cMatrix33& pMatrix)
{
    ForEachRow(pFrom, pTo,
               [&](auto* pSrc, auto* pDst) { Rows::TransformEncode(pSrc, pDst, PixelsOf(pTo), pTable.fLUT, pMatrix); });
}

void TransformRows(const cBitmapXYZ32* pFrom, cBitmapXYZ32* pTo, const cMatrix33& pMatrix)
{
    ForEachRow(pFrom, pTo, [&](auto* pSrc, auto* pDst) { Rows::Transform(pSrc, pDst, PixelsOf(pTo), pMatrix); });
}

// ---- Rectangles -----------------------------------------------------------------------------------------------------

/// Returns whether the pixel is in the picture.
bool HoldsCorner(const cBitmap* pBitmap, int pX, int pY)
{
    return pX >= 0 && pY >= 0 && pX < pBitmap->fWidth && pY < pBitmap->fHeight;
}

/// Returns whether a rectangle ends in the picture. Its first pixel must be in the picture. A sum pX + pWidth might not
/// fit an int.
bool HoldsRectangle(const cBitmap* pBitmap, int pX, int pY, int pWidth, int pHeight)
{
    return pWidth <= pBitmap->fWidth - pX && pHeight <= pBitmap->fHeight - pY;
}

/// Copies rows of bytes; pPixelSize is the number of bytes of a pixel.
template <class tBitmap>
void CopyRows(const tBitmap* pSrc, tBitmap* pDst, int pSrcX, int pSrcY, int pDstX, int pDstY, int pWidth, int pHeight,
              ptrdiff_t pPixelSize)
{
    const size_t bytes = static_cast<size_t>(pPixelSize * pWidth);
    for (int i = 0; i < pHeight; ++i)
        Rows::CopyForward(RowOf(pSrc, pSrcY + i) + pPixelSize * pSrcX, RowOf(pDst, pDstY + i) + pPixelSize * pDstX,
                          bytes);
}

constexpr int64_t kBytesOfBGR16 = 6; // a pixel of cBitmapBGR16

/// The offset in bytes of pixel (pX, pY) in the copy of rectangles, where a row is fStride samples long.
int64_t DoubledOffset(const cBitmapBGR16* pBitmap, int pX, int pY)
{
    return 2 * (int64_t{pY} * pBitmap->fStride) + kBytesOfBGR16 * pX;
}

/// Bytes of the block of pixels, padded rows included.
int64_t BlockSize(const cBitmapBGR16* pBitmap)
{
    const int64_t paddedHeight = (int64_t{pBitmap->fHeight} + 3) & ~int64_t{3};
    return paddedHeight * pBitmap->fStride;
}

/// Copies pWidth pixels of a row. Skips the row if it would leave either block.
void CopyDoubledRow(const cBitmapBGR16* pSrc, int pSrcX, int pSrcY, cBitmapBGR16* pDst, int pDstX, int pDstY,
                    int pWidth)
{
    const int64_t from = DoubledOffset(pSrc, pSrcX, pSrcY);
    const int64_t to = DoubledOffset(pDst, pDstX, pDstY);
    const int64_t bytes = kBytesOfBGR16 * pWidth;
    if (from + bytes > BlockSize(pSrc) || to + bytes > BlockSize(pDst)) return;
    Rows::CopyForward(reinterpret_cast<const unsigned char*>(pSrc->fData) + from,
                      reinterpret_cast<unsigned char*>(pDst->fData) + to, static_cast<size_t>(bytes));
}

/// Fills the first row pixel by pixel and copies it to the others.
template <class tBitmap, class tSample>
void FillRows(tBitmap* pBitmap, tSample pFirst, tSample pSecond, tSample pThird)
{
    tSample* const first = RowOf(pBitmap, 0);
    for (size_t x = 0; x < PixelsOf(pBitmap); ++x) {
        first[3 * x] = pFirst;
        first[3 * x + 1] = pSecond;
        first[3 * x + 2] = pThird;
    }
    for (int y = 1; y < pBitmap->fHeight; ++y)
        std::copy_n(first, SamplesOf(pBitmap), RowOf(pBitmap, y));
}

// ---- Statistics -----------------------------------------------------------------------------------------------------

Rows::sExtremes Measure(const cBitmapXYZ32* pBitmap)
{
    Rows::sExtremes extremes;
    ForEachRow(pBitmap, [&](const float* pRow) { Rows::Measure(pRow, PixelsOf(pBitmap), extremes); });
    return extremes;
}

struct sRange
{
    float fMin;
    float fMax;
};

/// Extremes of one channel. If all samples are NaN, both are the first sample.
sRange RangeOf(const cBitmapXYZ32* pBitmap, int pChannel)
{
    const Rows::sExtremes extremes = Measure(pBitmap);
    const int32_t least = extremes.fMin[pChannel];
    const int32_t most = extremes.fMax[pChannel];
    const float first = RowOf(pBitmap, 0)[pChannel];
    return least > most ? sRange{first, first} : sRange{Rows::FromOrderKey(least), Rows::FromOrderKey(most)};
}

/// Replaces the extremes of each channel by those of all three together.
void Join(Rows::sExtremes& pExtremes)
{
    const int32_t least = *std::min_element(std::begin(pExtremes.fMin), std::end(pExtremes.fMin));
    const int32_t most = *std::max_element(std::begin(pExtremes.fMax), std::end(pExtremes.fMax));
    std::fill(std::begin(pExtremes.fMin), std::end(pExtremes.fMin), least);
    std::fill(std::begin(pExtremes.fMax), std::end(pExtremes.fMax), most);
}

/// Minimum and scale that take the extremes to the unit interval. The minimum is at most FLT_MAX, the maximum at least
/// -FLT_MAX. These limits apply if all samples are +infinity, all are -infinity, or all are NaN.
Rows::sNormalizer NormalizerOf(const Rows::sExtremes& pExtremes)
{
    Rows::sNormalizer normalizer;
    for (int c = 0; c < 3; ++c) {
        float minimum = Rows::FromOrderKey(std::min(pExtremes.fMin[c], Rows::OrderKey(FLT_MAX)));
        const float maximum = Rows::FromOrderKey(std::max(pExtremes.fMax[c], Rows::OrderKey(-FLT_MAX)));
        float range = maximum - minimum;
        if (range == 0.0f) { // flat: samples become 0.5, unless a large minimum absorbs the 0.5
            range = 1.0f;
            minimum -= 0.5f;
        }
        normalizer.fMinimum[c] = minimum;
        normalizer.fScale[c] = 1.0f / range;
    }
    return normalizer;
}

struct sSums
{
    double fSums[3] = {0.0, 0.0, 0.0};

    void CopyTo(double& pFirst, double& pSecond, double& pThird) const
    {
        pFirst = fSums[0];
        pSecond = fSums[1];
        pThird = fSums[2];
    }
};

struct sMeans
{
    float fMeans[3];
};

/// The means, added up in picture order.
sMeans MeansInOrder(const cBitmapXYZ32* pBitmap)
{
    double sums[3] = {0.0, 0.0, 0.0};
    ForEachRow(pBitmap, [&](const float* pRow) { Rows::AddUp(pRow, PixelsOf(pBitmap), sums); });
    const double factor = Rows::MeanFactor(pBitmap->fWidth, pBitmap->fHeight);
    return {static_cast<float>(sums[0] * factor), static_cast<float>(sums[1] * factor),
            static_cast<float>(sums[2] * factor)};
}

/// The same means from sums in lanes, where each addition need not wait for the one before; none if the order might
/// decide. Any order of n additions of values from 0 up is within n * 2^-53 of the exact sum, relative, and a lane adds
/// a 16th of them. So both orders are within (n + 32) * 2^-52 of each other, roundings of these lines included, and if
/// both ends give one float, that is the mean.
std::optional<sMeans> CertainMeans(const cBitmapXYZ32* pBitmap)
{
    Rows::sLaneSums lanes;
    ForEachRow(pBitmap, [&](const float* pRow) { Rows::AddUp(pRow, PixelsOf(pBitmap), lanes); });
    if (lanes.AnyNegative()) return std::nullopt;
    const double factor = Rows::MeanFactor(pBitmap->fWidth, pBitmap->fHeight);
    const double error = (static_cast<double>(pBitmap->fWidth) * pBitmap->fHeight + 32.0) * 0x1p-52;
    sMeans means{};
    for (size_t c = 0; c < 3; ++c) {
        const double sum = lanes.Of(c);
        means.fMeans[c] = static_cast<float>((sum - sum * error) * factor);
        const auto high = static_cast<float>((sum + sum * error) * factor);
        if (!(means.fMeans[c] == high)) return std::nullopt; // NaN too
    }
    return means;
}

template <class tBitmap>
sSums DifferencesOf(const tBitmap* pFirst, const tBitmap* pSecond)
{
    sSums sums;
    ForEachRow(pFirst, pSecond,
               [&](auto* pRow1, auto* pRow2) { Rows::AddDifferences(pRow1, pRow2, PixelsOf(pSecond), sums.fSums); });
    return sums;
}

template <class tBitmap>
int LargestDifferenceOf(const tBitmap* pFirst, const tBitmap* pSecond)
{
    int largest = 0;
    ForEachRow(pFirst, pSecond, [&](auto* pRow1, auto* pRow2) {
        largest = Rows::LargestDifference(pRow1, pRow2, SamplesOf(pSecond), largest);
    });
    return largest;
}

} // namespace

// ---- Scalings -------------------------------------------------------------------------------------------------------

void cImageUtils::BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32)
{
    Require(cArgumentNullException, pSrcBGR8 != nullptr, "Argument pSrcBGR8 cannot be null.");
    Require(cArgumentNullException, pDstBGR32 != nullptr, "Argument pDstBGR32 cannot be null.");
    Require(cArgumentException, pDstBGR32->fWidth == pSrcBGR8->fWidth,
            "Argument pDstBGR32->fWidth must be equal to pSrcBGR8->fWidth.");
    Require(cArgumentException, pDstBGR32->fHeight == pSrcBGR8->fHeight,
            "Argument pDstBGR32->fHeight must be equal to pSrcBGR8->fHeight.");

    ToFloatRows(pSrcBGR8, pDstBGR32);
}

cBitmapXYZ32* cImageUtils::BGR8ToBGR32(const cBitmapBGR8* pSrcBGR8)
{
    Require(cArgumentNullException, pSrcBGR8 != nullptr, "Argument pSrcBGR8 cannot be null.");

    auto target = std::make_unique<cBitmapXYZ32>(pSrcBGR8->fWidth, pSrcBGR8->fHeight);
    BGR8ToBGR32(pSrcBGR8, target.get());
    return target.release();
}

void cImageUtils::BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");
    Require(cArgumentNullException, pDstBGR8 != nullptr, "Argument pDstBGR8 cannot be null.");
    Require(cArgumentException, pSrcBGR32->fWidth == pDstBGR8->fWidth,
            "Argument pSrcBGR32->fWidth must be equal to pDstBGR8->fWidth.");
    Require(cArgumentException, pSrcBGR32->fHeight == pDstBGR8->fHeight,
            "Argument pSrcBGR32->fHeight must be equal to pDstBGR8->fHeight.");

    FromFloatRows(pSrcBGR32, pDstBGR8);
}

cBitmapBGR8* cImageUtils::BGR32ToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");

    auto target = std::make_unique<cBitmapBGR8>(pSrcBGR32->fWidth, pSrcBGR32->fHeight, pColorSpace);
    BGR32ToBGR8(pSrcBGR32, target.get());
    return target.release();
}

void cImageUtils::BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32)
{
    Require(cArgumentNullException, pSrcBGR16 != nullptr, "Argument pSrcBGR16 cannot be null.");
    Require(cArgumentNullException, pDstBGR32 != nullptr, "Argument pDstBGR32 cannot be null.");
    Require(cArgumentException, pDstBGR32->fWidth == pSrcBGR16->fWidth,
            "Argument pDstBGR32->fWidth must be equal to pSrcBGR16->fWidth.");
    Require(cArgumentException, pDstBGR32->fHeight == pSrcBGR16->fHeight,
            "Argument pDstBGR32->fHeight must be equal to pSrcBGR16->fHeight.");

    ToFloatRows(pSrcBGR16, pDstBGR32);
}

cBitmapXYZ32* cImageUtils::BGR16ToBGR32(const cBitmapBGR16* pSrcBGR16)
{
    Require(cArgumentNullException, pSrcBGR16 != nullptr, "Argument pSrcBGR16 cannot be null.");

    auto target = std::make_unique<cBitmapXYZ32>(pSrcBGR16->fWidth, pSrcBGR16->fHeight);
    BGR16ToBGR32(pSrcBGR16, target.get());
    return target.release();
}

void cImageUtils::BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");
    Require(cArgumentNullException, pDstBGR16 != nullptr, "Argument pDstBGR16 cannot be null.");
    Require(cArgumentException, pSrcBGR32->fWidth == pDstBGR16->fWidth,
            "Argument pSrcBGR32->fWidth must be equal to pDstBGR16->fWidth.");
    Require(cArgumentException, pSrcBGR32->fHeight == pDstBGR16->fHeight,
            "Argument pSrcBGR32->fHeight must be equal to pDstBGR16->fHeight.");

    FromFloatRows(pSrcBGR32, pDstBGR16);
}

cBitmapBGR16* cImageUtils::BGR32ToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");

    auto target = std::make_unique<cBitmapBGR16>(pSrcBGR32->fWidth, pSrcBGR32->fHeight, pColorSpace);
    BGR32ToBGR16(pSrcBGR32, target.get());
    return target.release();
}

// ---- Transfers ------------------------------------------------------------------------------------------------------

void cImageUtils::BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8, cBitmapXYZ32* pDstBGR32)
{
    Require(cArgumentNullException, pSrcBGR8 != nullptr, "Argument pSrcBGR8 cannot be null.");
    Require(cArgumentNullException, pDstBGR32 != nullptr, "Argument pDstBGR32 cannot be null.");
    Require(cArgumentException, pDstBGR32->fWidth == pSrcBGR8->fWidth,
            "Argument pDstBGR32->fWidth must be equal to pSrcBGR8->fWidth.");
    Require(cArgumentException, pDstBGR32->fHeight == pSrcBGR8->fHeight,
            "Argument pDstBGR32->fHeight must be equal to pSrcBGR8->fHeight.");
    Require(cInvalidOperationException, pSrcBGR8->fColorSpace != nullptr, "Color space is not set.");

    const auto table = std::make_unique<cTransferLUT_I8F32>(pSrcBGR8->fColorSpace->GetToLinearTransfer());
    DecodeRows(pSrcBGR8, pDstBGR32, *table);
}

cBitmapXYZ32* cImageUtils::BGR8ToBGR32Linear(const cBitmapBGR8* pSrcBGR8)
{
    Require(cArgumentNullException, pSrcBGR8 != nullptr, "Argument pSrcBGR8 cannot be null.");

    auto target = std::make_unique<cBitmapXYZ32>(pSrcBGR8->fWidth, pSrcBGR8->fHeight);
    BGR8ToBGR32Linear(pSrcBGR8, target.get());
    return target.release();
}

void cImageUtils::BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR8* pDstBGR8)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");
    Require(cArgumentNullException, pDstBGR8 != nullptr, "Argument pDstBGR8 cannot be null.");
    Require(cArgumentException, pSrcBGR32->fWidth == pDstBGR8->fWidth,
            "Argument pSrcBGR32->fWidth must be equal to pDstBGR8->fWidth.");
    Require(cArgumentException, pSrcBGR32->fHeight == pDstBGR8->fHeight,
            "Argument pSrcBGR32->fHeight must be equal to pDstBGR8->fHeight.");
    Require(cInvalidOperationException, pDstBGR8->fColorSpace != nullptr, "Color space is not set.");

    const auto table = std::make_unique<cTransferLUT_F32I8>(pDstBGR8->fColorSpace->GetFromLinearTransfer());
    EncodeRows(pSrcBGR32, pDstBGR8, *table);
}

cBitmapBGR8* cImageUtils::BGR32LinearToBGR8(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");

    auto target = std::make_unique<cBitmapBGR8>(pSrcBGR32->fWidth, pSrcBGR32->fHeight, pColorSpace);
    BGR32LinearToBGR8(pSrcBGR32, target.get());
    return target.release();
}

void cImageUtils::BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16, cBitmapXYZ32* pDstBGR32)
{
    Require(cArgumentNullException, pSrcBGR16 != nullptr, "Argument pSrcBGR16 cannot be null.");
    Require(cArgumentNullException, pDstBGR32 != nullptr, "Argument pDstBGR32 cannot be null.");
    Require(cArgumentException, pDstBGR32->fWidth == pSrcBGR16->fWidth,
            "Argument pDstBGR32->fWidth must be equal to pSrcBGR16->fWidth.");
    Require(cArgumentException, pDstBGR32->fHeight == pSrcBGR16->fHeight,
            "Argument pDstBGR32->fHeight must be equal to pSrcBGR16->fHeight.");
    Require(cInvalidOperationException, pSrcBGR16->fColorSpace != nullptr, "Color space is not set.");

    const auto table = std::make_unique<cTransferLUT_I16F32>(pSrcBGR16->fColorSpace->GetToLinearTransfer());
    DecodeRows(pSrcBGR16, pDstBGR32, *table);
}

cBitmapXYZ32* cImageUtils::BGR16ToBGR32Linear(const cBitmapBGR16* pSrcBGR16)
{
    Require(cArgumentNullException, pSrcBGR16 != nullptr, "Argument pSrcBGR16 cannot be null.");

    auto target = std::make_unique<cBitmapXYZ32>(pSrcBGR16->fWidth, pSrcBGR16->fHeight);
    BGR16ToBGR32Linear(pSrcBGR16, target.get());
    return target.release();
}

void cImageUtils::BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, cBitmapBGR16* pDstBGR16)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");
    Require(cArgumentNullException, pDstBGR16 != nullptr, "Argument pDstBGR16 cannot be null.");
    Require(cArgumentException, pSrcBGR32->fWidth == pDstBGR16->fWidth,
            "Argument pSrcBGR32->fWidth must be equal to pDstBGR16->fWidth.");
    Require(cArgumentException, pSrcBGR32->fHeight == pDstBGR16->fHeight,
            "Argument pSrcBGR32->fHeight must be equal to pDstBGR16->fHeight.");
    Require(cInvalidOperationException, pDstBGR16->fColorSpace != nullptr, "Color space is not set.");

    const auto table = std::make_unique<cTransferLUT_F32I16>(pDstBGR16->fColorSpace->GetFromLinearTransfer());
    EncodeRows(pSrcBGR32, pDstBGR16, *table);
}

cBitmapBGR16* cImageUtils::BGR32LinearToBGR16(const cBitmapXYZ32* pSrcBGR32, eColorSpaceID pColorSpace)
{
    Require(cArgumentNullException, pSrcBGR32 != nullptr, "Argument pSrcBGR32 cannot be null.");

    auto target = std::make_unique<cBitmapBGR16>(pSrcBGR32->fWidth, pSrcBGR32->fHeight, pColorSpace);
    BGR32LinearToBGR16(pSrcBGR32, target.get());
    return target.release();
}

// ---- Transfer and matrix --------------------------------------------------------------------------------------------

void cImageUtils::BGR8ToFloat3(cBitmapBGR8* pFromBGR8, cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pTransferLUT,
                               cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromBGR8 != nullptr, "Argument pFromBGR8 cannot be null.");
    Require(cArgumentNullException, pToXYZ32 != nullptr, "Argument pToXYZ32 cannot be null.");
    Require(cArgumentException, pFromBGR8->fWidth == pToXYZ32->fWidth,
            "Argument pFromBGR8->fWidth must be equal to pToXYZ32->fWidth.");
    Require(cArgumentException, pFromBGR8->fHeight == pToXYZ32->fHeight,
            "Argument pFromBGR8->fHeight must be equal to pToXYZ32->fHeight.");
    Require(cArgumentNullException, pTransferLUT != nullptr, "Argument pTransferLUT cannot be null.");

    DecodeTransformRows(pFromBGR8, pToXYZ32, *pTransferLUT, pMatrix);
}

void cImageUtils::BGR16ToFloat3(cBitmapBGR16* pFromBGR16, cBitmapXYZ32* pToXYZ32, cTransferLUT_I16F32* pTransferLUT,
                                cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromBGR16 != nullptr, "Argument pFromBGR16 cannot be null.");
    Require(cArgumentNullException, pToXYZ32 != nullptr, "Argument pToXYZ32 cannot be null.");
    Require(cArgumentException, pFromBGR16->fWidth == pToXYZ32->fWidth,
            "Argument pFromBGR16->fWidth must be equal to pToXYZ32->fWidth.");
    Require(cArgumentException, pFromBGR16->fHeight == pToXYZ32->fHeight,
            "Argument pFromBGR16->fHeight must be equal to pToXYZ32->fHeight.");
    Require(cArgumentNullException, pTransferLUT != nullptr, "Argument pTransferLUT cannot be null.");

    DecodeTransformRows(pFromBGR16, pToXYZ32, *pTransferLUT, pMatrix);
}

void cImageUtils::Float3ToBGR8(cBitmapXYZ32* pFromXYZ32, cBitmapBGR8* pToBGR8, cTransferLUT_F32I8* pTransfer,
                               cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentNullException, pToBGR8 != nullptr, "Argument pToBGR8 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == pToBGR8->fWidth,
            "Argument pFromXYZ32->fWidth must be equal to pToBGR8->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == pToBGR8->fHeight,
            "Argument pFromXYZ32->fHeight must be equal to pToBGR8->fHeight.");
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");

    TransformEncodeRows(pFromXYZ32, pToBGR8, *pTransfer, pMatrix);
}

void cImageUtils::Float3ToBGR16(cBitmapXYZ32* pFromXYZ32, cBitmapBGR16* pToBGR16, cTransferLUT_F32I16* pTransfer,
                                cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentNullException, pToBGR16 != nullptr, "Argument pToBGR16 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == pToBGR16->fWidth,
            "Argument pFromXYZ32->fWidth must be equal to pToBGR16->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == pToBGR16->fHeight,
            "Argument pFromXYZ32->fHeight must be equal to pToBGR16->fHeight.");
    Require(cArgumentNullException, pTransfer != nullptr, "Argument pTransfer cannot be null.");

    TransformEncodeRows(pFromXYZ32, pToBGR16, *pTransfer, pMatrix);
}

// ---- Integer depths -------------------------------------------------------------------------------------------------

void cImageUtils::Convert(cBitmapBGR16* pFromBGR16, cBitmapBGR8* pToBGR8)
{
    Require(cArgumentNullException, pFromBGR16 != nullptr, "Argument pFromBGR16 cannot be null.");
    Require(cArgumentNullException, pToBGR8 != nullptr, "Argument pToBGR8 cannot be null.");
    Require(cArgumentException, pFromBGR16->fWidth == pToBGR8->fWidth,
            "Argument pFromBGR16->fWidth must be equal to pToBGR8->fWidth.");
    Require(cArgumentException, pFromBGR16->fHeight == pToBGR8->fHeight,
            "Argument pFromBGR16->fHeight must be equal to pToBGR8->fHeight.");

    ChangeDepthRows(pFromBGR16, pToBGR8);
}

void cImageUtils::Convert(cBitmapBGR8* pFromBGR8, cBitmapBGR16* pToBGR16)
{
    Require(cArgumentNullException, pFromBGR8 != nullptr, "Argument pFromBGR8 cannot be null.");
    Require(cArgumentNullException, pToBGR16 != nullptr, "Argument pToBGR16 cannot be null.");
    Require(cArgumentException, pFromBGR8->fWidth == pToBGR16->fWidth,
            "Argument pFromBGR8->fWidth must be equal to pToBGR16->fWidth.");
    Require(cArgumentException, pFromBGR8->fHeight == pToBGR16->fHeight,
            "Argument pFromBGR8->fHeight must be equal to pToBGR16->fHeight.");

    ChangeDepthRows(pFromBGR8, pToBGR16);
}

// ---- Copies of rectangles -------------------------------------------------------------------------------------------

void cImageUtils::Copy(const cBitmapBGR8* pSrcBGR, cBitmapBGR8* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                       int pWidth, int pHeight)
{
    Require(cArgumentNullException, pSrcBGR != nullptr, "Argument pSrcBGR cannot be null.");
    Require(cArgumentNullException, pDstBGR != nullptr, "Argument pDstBGR cannot be null.");
    Require(cArgumentNullException, pWidth > 0, "Argument pWidth must be greater than zero.");
    // Required: the message names pWidth.
    Require(cArgumentNullException, pHeight > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, HoldsCorner(pSrcBGR, pSrcX, pSrcY),
            "Top/Left corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pSrcBGR, pSrcX, pSrcY, pWidth, pHeight),
            "Bottom/Right corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsCorner(pDstBGR, pDstX, pDstY),
            "Top/Left corner of destination rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pDstBGR, pDstX, pDstY, pWidth, pHeight),
            "Bottom/Right corner of destination rectangle is out of range.");

    CopyRows(pSrcBGR, pDstBGR, pSrcX, pSrcY, pDstX, pDstY, pWidth, pHeight, 3);
}

void cImageUtils::Copy(const cBitmapBGR16* pSrcBGR, cBitmapBGR16* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                       int pWidth, int pHeight)
{
    Require(cArgumentNullException, pSrcBGR != nullptr, "Argument pSrcBGR cannot be null.");
    Require(cArgumentNullException, pDstBGR != nullptr, "Argument pDstBGR cannot be null.");
    Require(cArgumentNullException, pWidth > 0, "Argument pWidth must be greater than zero.");
    // Required: the message names pWidth.
    Require(cArgumentNullException, pHeight > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, HoldsCorner(pSrcBGR, pSrcX, pSrcY),
            "Top/Left corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pSrcBGR, pSrcX, pSrcY, pWidth, pHeight),
            "Bottom/Right corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsCorner(pDstBGR, pDstX, pDstY),
            "Top/Left corner of destination rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pDstBGR, pDstX, pDstY, pWidth, pHeight),
            "Bottom/Right corner of destination rectangle is out of range.");

    // Required: the stride counts samples here, so rows are twice as far apart as in other operations.
    for (int i = 0; i < pHeight; ++i)
        CopyDoubledRow(pSrcBGR, pSrcX, pSrcY + i, pDstBGR, pDstX, pDstY + i, pWidth);
}

void cImageUtils::Copy(const cBitmapY8* pSrcY8, cBitmapY8* pDstY8, int pSrcX, int pSrcY, int pDstX, int pDstY,
                       int pWidth, int pHeight)
{
    Require(cArgumentNullException, pSrcY8 != nullptr, "Argument pSrcY8 cannot be null.");
    Require(cArgumentNullException, pDstY8 != nullptr, "Argument pDstY8 cannot be null.");
    Require(cArgumentNullException, pWidth > 0, "Argument pWidth must be greater than zero.");
    // Required: the message names pWidth.
    Require(cArgumentNullException, pHeight > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, HoldsCorner(pSrcY8, pSrcX, pSrcY),
            "Top/Left corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pSrcY8, pSrcX, pSrcY, pWidth, pHeight),
            "Bottom/Right corner of source rectangle is out of range.");
    Require(cArgumentException, HoldsCorner(pDstY8, pDstX, pDstY),
            "Top/Left corner of destination rectangle is out of range.");
    Require(cArgumentException, HoldsRectangle(pDstY8, pDstX, pDstY, pWidth, pHeight),
            "Bottom/Right corner of destination rectangle is out of range.");

    CopyRows(pSrcY8, pDstY8, pSrcX, pSrcY, pDstX, pDstY, pWidth, pHeight, 1);
}

void cImageUtils::Copy(const cBitmapLDR* pSrcBGR, cBitmapLDR* pDstBGR, int pSrcX, int pSrcY, int pDstX, int pDstY,
                       int pWidth, int pHeight)
{
    Require(cArgumentNullException, pSrcBGR != nullptr, "Argument pSrcBGR cannot be null.");
    Require(cArgumentNullException, pDstBGR != nullptr, "Argument pDstBGR cannot be null.");
    const int bits = pSrcBGR->GetBitsPerChannel();
    Require(cArgumentException, bits == pDstBGR->GetBitsPerChannel(),
            "Argument pSrcBGR and pDstBGR must have the same bit depth.");

    if (bits == 8)
        Copy(static_cast<const cBitmapBGR8*>(pSrcBGR), static_cast<cBitmapBGR8*>(pDstBGR), pSrcX, pSrcY, pDstX, pDstY,
             pWidth, pHeight);
    else
        Copy(static_cast<const cBitmapBGR16*>(pSrcBGR), static_cast<cBitmapBGR16*>(pDstBGR), pSrcX, pSrcY, pDstX, pDstY,
             pWidth, pHeight);
}

// ---- Fills ----------------------------------------------------------------------------------------------------------

void cImageUtils::Fill(cBitmapBGR8* pBGR, unsigned char pRed, unsigned char pGreen, unsigned char pBlue)
{
    Require(cArgumentNullException, pBGR != nullptr, "Argument pBGR cannot be null.");

    FillRows(pBGR, pBlue, pGreen, pRed);
}

void cImageUtils::Fill(cBitmapBGR8* pBGR, unsigned char pValue)
{
    Fill(pBGR, pValue, pValue, pValue);
}

void cImageUtils::Fill(cBitmapBGR16* pBGR, unsigned short pRed, unsigned short pGreen, unsigned short pBlue)
{
    Require(cArgumentNullException, pBGR != nullptr, "Argument pBGR cannot be null.");

    FillRows(pBGR, pBlue, pGreen, pRed);
}

void cImageUtils::Fill(cBitmapBGR16* pBGR, unsigned short pValue)
{
    Fill(pBGR, pValue, pValue, pValue);
}

void cImageUtils::Fill(cBitmapXYZ32* pXYZ32, float pC0, float pC1, float pC2)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument pXYZ32 cannot be null.");

    FillRows(pXYZ32, pC0, pC1, pC2);
}

void cImageUtils::Fill(cBitmapXYZ32* pXYZ32, float pValue)
{
    Fill(pXYZ32, pValue, pValue, pValue);
}

// ---- Arithmetic -----------------------------------------------------------------------------------------------------

void cImageUtils::Sub(cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    ForEachRow(pSrc2, pSrc1,
               [=](const float* pFrom, float* pTo) { Rows::Subtract(pTo, pFrom, pTo, SamplesOf(pSrc1)); });
}

void cImageUtils::Mul(cBitmapXYZ32* pXYZ32, float pFactor)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument pXYZ32 cannot be null.");

    if (pFactor == 1.0f) return;
    ForEachRow(pXYZ32, [=](float* pRow) { Rows::Scale(pRow, pRow, SamplesOf(pXYZ32), pFactor); });
}

void cImageUtils::Mul(const cBitmapXYZ32* pSrc, cBitmapXYZ32* pDst, float pFactor)
{
    Require(cArgumentNullException, pSrc != nullptr, "Argument pSrc cannot be null.");
    Require(cArgumentNullException, pDst != nullptr, "Argument pDst cannot be null.");
    Require(cArgumentException, pSrc->fWidth == pDst->fWidth, "Argument pSrc->fWidth must be equal to pDst->fWidth.");
    Require(cArgumentException, pSrc->fHeight == pDst->fHeight,
            "Argument pSrc->fHeight must be equal to pDst->fHeight.");

    ForEachRow(pSrc, pDst, [=](const float* pFrom, float* pTo) { Rows::Scale(pFrom, pTo, SamplesOf(pDst), pFactor); });
}

void cImageUtils::Mul(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2, cBitmapXYZ32* pDst)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentNullException, pDst != nullptr, "Argument pDst cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pDst->fWidth, "Argument pSrc1->fWidth must be equal to pDst->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pDst->fHeight,
            "Argument pSrc1->fHeight must be equal to pDst->fHeight.");
    Require(cArgumentException, pSrc2->fWidth == pDst->fWidth, "Argument pSrc2->fWidth must be equal to pDst->fWidth.");
    Require(cArgumentException, pSrc2->fHeight == pDst->fHeight,
            "Argument pSrc2->fHeight must be equal to pDst->fHeight.");

    for (int y = 0; y < pDst->fHeight; ++y)
        Rows::Multiply(RowOf(pSrc1, y), RowOf(pSrc2, y), RowOf(pDst, y), SamplesOf(pDst));
}

void cImageUtils::ClampLow(cBitmapXYZ32* pSrcXYZ32, int pChannel, float pLow)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    ForEachRow(pSrcXYZ32, [=](float* pRow) { Rows::ClampLow(pRow + pChannel, PixelsOf(pSrcXYZ32), pLow); });
}

// ---- Matrix over all pixels -----------------------------------------------------------------------------------------

void cImageUtils::TransformInPlace(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument pXYZ32 cannot be null.");

    TransformRows(pXYZ32, pXYZ32, pMatrix);
}

void cImageUtils::ColorTransform(const cBitmapXYZ32* pSrcXYZ32, cBitmapXYZ32* pDstXYZ32, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cArgumentNullException, pDstXYZ32 != nullptr, "Argument pDstXYZ32 cannot be null.");
    Require(cArgumentException, pSrcXYZ32->fWidth == pDstXYZ32->fWidth,
            "Argument pSrcXYZ32->fWidth must be equal to pDstXYZ32->fWidth.");
    Require(cArgumentException, pSrcXYZ32->fHeight == pDstXYZ32->fHeight,
            "Argument pSrcXYZ32->fHeight must be equal to pDstXYZ32->fHeight.");

    TransformRows(pSrcXYZ32, pDstXYZ32, pMatrix);
}

void cImageUtils::ColorTransform(cBitmapXYZ32* pXYZ32, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument pXYZ32 cannot be null.");

    ColorTransform(pXYZ32, pXYZ32, pMatrix);
}

// ---- Single channels ------------------------------------------------------------------------------------------------

void cImageUtils::ExtractChannel(const cBitmapXYZ32* pSrcXYZ32, float* pDest, int pChannel)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cArgumentNullException, pDest != nullptr, "Argument pDest cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    const size_t width = PixelsOf(pSrcXYZ32);
    for (int y = 0; y < pSrcXYZ32->fHeight; ++y)
        Rows::Extract(RowOf(pSrcXYZ32, y) + pChannel, pDest + static_cast<size_t>(y) * width, width);
}

void cImageUtils::ReplaceChannel(const float* pSrc, cBitmapXYZ32* pDstXYZ32, int pChannel)
{
    Require(cArgumentNullException, pDstXYZ32 != nullptr, "Argument pDstXYZ32 cannot be null.");
    Require(cArgumentNullException, pSrc != nullptr, "Argument pSrc cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    const size_t width = PixelsOf(pDstXYZ32);
    for (int y = 0; y < pDstXYZ32->fHeight; ++y)
        Rows::Replace(pSrc + static_cast<size_t>(y) * width, RowOf(pDstXYZ32, y) + pChannel, width);
}

// ---- Statistics -----------------------------------------------------------------------------------------------------

void cImageUtils::GetMinMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel, float& pMin, float& pMax)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    const sRange range = RangeOf(pSrcXYZ32, pChannel);
    pMin = range.fMin;
    pMax = range.fMax;
}

float cImageUtils::GetMax(const cBitmapXYZ32* pSrcXYZ32, int pChannel)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    return RangeOf(pSrcXYZ32, pChannel).fMax;
}

float cImageUtils::GetMin(const cBitmapXYZ32* pSrcXYZ32, int pChannel)
{
    Require(cArgumentNullException, pSrcXYZ32 != nullptr, "Argument pSrcXYZ32 cannot be null.");
    Require(cInvalidOperationException, pChannel >= 0, "pChannel cannot be less than zero.");
    Require(cInvalidOperationException, pChannel <= 2, "pChannel cannot be greater than two.");

    return RangeOf(pSrcXYZ32, pChannel).fMin;
}

void cImageUtils::Normalize(cBitmapXYZ32* pXYZ32, bool pPerChannel)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument pXYZ32 cannot be null.");

    Rows::sExtremes extremes = Measure(pXYZ32);
    if (!pPerChannel) Join(extremes);
    const Rows::sNormalizer normalizer = NormalizerOf(extremes);
    ForEachRow(pXYZ32, [&](float* pRow) { Rows::Normalize(pRow, PixelsOf(pXYZ32), normalizer); });
}

void cImageUtils::Mean(const cBitmapXYZ32* pSrc, float& pMean0, float& pMean1, float& pMean2)
{
    Require(cArgumentNullException, pSrc != nullptr, "Argument pSrc cannot be null.");

    const std::optional<sMeans> certain = CertainMeans(pSrc);
    const sMeans means = certain ? *certain : MeansInOrder(pSrc);
    pMean0 = means.fMeans[0];
    pMean1 = means.fMeans[1];
    pMean2 = means.fMeans[2];
}

// ---- Comparison -----------------------------------------------------------------------------------------------------

void cImageUtils::Diff(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2, double& pDiff0, double& pDiff1,
                       double& pDiff2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    DifferencesOf(pSrc1, pSrc2).CopyTo(pDiff0, pDiff1, pDiff2);
}

double cImageUtils::Diff(const cBitmapXYZ32* pSrc1, const cBitmapXYZ32* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    double diff0 = 0.0;
    double diff1 = 0.0;
    double diff2 = 0.0;
    Diff(pSrc1, pSrc2, diff0, diff1, diff2);
    return (diff0 + diff1) + diff2;
}

void cImageUtils::Diff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2, double& pDiff0, double& pDiff1,
                       double& pDiff2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    DifferencesOf(pSrc1, pSrc2).CopyTo(pDiff0, pDiff1, pDiff2);
}

double cImageUtils::Diff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    double diff0 = 0.0;
    double diff1 = 0.0;
    double diff2 = 0.0;
    Diff(pSrc1, pSrc2, diff0, diff1, diff2);
    return (diff0 + diff1) + diff2;
}

void cImageUtils::Diff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2, double& pDiff0, double& pDiff1,
                       double& pDiff2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    DifferencesOf(pSrc1, pSrc2).CopyTo(pDiff0, pDiff1, pDiff2);
}

double cImageUtils::Diff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    double diff0 = 0.0;
    double diff1 = 0.0;
    double diff2 = 0.0;
    Diff(pSrc1, pSrc2, diff0, diff1, diff2);
    return (diff0 + diff1) + diff2;
}

int cImageUtils::MaxDiff(const cBitmapBGR8* pSrc1, const cBitmapBGR8* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    return LargestDifferenceOf(pSrc1, pSrc2);
}

int cImageUtils::MaxDiff(const cBitmapBGR16* pSrc1, const cBitmapBGR16* pSrc2)
{
    Require(cArgumentNullException, pSrc1 != nullptr, "Argument pSrc1 cannot be null.");
    Require(cArgumentNullException, pSrc2 != nullptr, "Argument pSrc2 cannot be null.");
    Require(cArgumentException, pSrc1->fWidth == pSrc2->fWidth,
            "Argument pSrc1->fWidth must be equal to pSrc2->fWidth.");
    Require(cArgumentException, pSrc1->fHeight == pSrc2->fHeight,
            "Argument pSrc1->fHeight must be equal to pSrc2->fHeight.");

    return LargestDifferenceOf(pSrc1, pSrc2);
}

} // namespace Vornik
