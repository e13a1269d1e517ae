// Bitmaps, their exchange of rows with a host, and the picture operations on them, in any order and with any sizes.
// What a host hands over is exactly as large as the operation may read or write.

#include "Bytes.h"
#include "Ledger.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY32.h"
#include "bitmap/cException.h"
#include "bitmap/cMemUtils.h"
#include "image/cImageUtils.h"

#include <algorithm>
#include <new>

namespace
{

using namespace SelvaneFuzz;
using namespace Vornik;

constexpr size_t kMostBytes = 12 << 20; // a tile is smaller, so that no set of tiles breaks off
constexpr int kMostSteps = 16;
constexpr unsigned char kUntouched = 0xA5;

eColorSpaceID SpaceNumber(cBytes& pBytes)
{
    return static_cast<eColorSpaceID>(pBytes.Byte() < 250 ? pBytes.Int(0, 2) : pBytes.AnyInt());
}

cMatrix33 Matrix(cBytes& pBytes)
{
    cMatrix33 matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};
    float* const cells[] = {&matrix.m00, &matrix.m01, &matrix.m02, &matrix.m10, &matrix.m11,
                            &matrix.m12, &matrix.m20, &matrix.m21, &matrix.m22};
    *cells[pBytes.Int(0, 8)] = pBytes.Float();
    *cells[pBytes.Int(0, 8)] = pBytes.Float();
    return matrix;
}

size_t RoundUp4(int pValue)
{
    return (static_cast<size_t>(pValue) + 3) / 4 * 4;
}

template <class tBitmap>
size_t BlockSize(const tBitmap& pBitmap)
{
    return RoundUp4(pBitmap.fHeight) * static_cast<size_t>(pBitmap.fStride);
}

/// Eight bytes of the fuzzer, again and again. Every byte of the block, the padding too, can be written.
template <class tBitmap>
void FillBlock(cBytes& pBytes, tBitmap& pBitmap)
{
    const auto pattern = pBytes.Raw<uint64_t>();
    auto* const block = reinterpret_cast<unsigned char*>(pBitmap.fData);
    for (size_t i = 0; i < BlockSize(pBitmap); i++)
        block[i] = static_cast<unsigned char>(pattern >> (i % 8 * 8));
}

/// Five numbers, again and again; every float of the block can be written.
void FillBlock(cBytes& pBytes, cBitmapXYZ32& pBitmap)
{
    float numbers[5];
    for (float& number : numbers)
        number = pBytes.Float();
    for (size_t i = 0; i < BlockSize(pBitmap) / sizeof(float); i++)
        pBitmap.fData[i] = numbers[i % std::size(numbers)];
}

/// A pair of each class. Half of the runs give both the same size.
struct sPictures
{
    explicit sPictures(cBytes& pBytes)
        : fWidth(pBytes.Int(1, 20)), fHeight(pBytes.Int(1, 12)), fSame(pBytes.Flag()),
          fOtherWidth(fSame ? fWidth : pBytes.Int(1, 20)),
          fOtherHeight(fSame ? fHeight : pBytes.Int(1, 12)), fBgr8{{fWidth, fHeight, SpaceNumber(pBytes)},
                                                                   {fOtherWidth, fOtherHeight, SpaceNumber(pBytes)}},
          fBgr16{{fWidth, fHeight, SpaceNumber(pBytes)}, {fOtherWidth, fOtherHeight, SpaceNumber(pBytes)}},
          fXyz32{{fWidth, fHeight}, {fOtherWidth, fOtherHeight}}, fY8{{fWidth, fHeight}, {fOtherWidth, fOtherHeight}}
    {
        for (int i = 0; i < 2; i++) {
            FillBlock(pBytes, fBgr8[i]);
            FillBlock(pBytes, fBgr16[i]);
            FillBlock(pBytes, fXyz32[i]);
            FillBlock(pBytes, fY8[i]);
        }
    }

    int fWidth;
    int fHeight;
    bool fSame;
    int fOtherWidth;
    int fOtherHeight;
    cBitmapBGR8 fBgr8[2];
    cBitmapBGR16 fBgr16[2];
    cBitmapXYZ32 fXyz32[2];
    cBitmapY8 fY8[2];
};

// ---- Rows of a host

/// Size and stride of a host's picture, mostly those of the bitmap.
struct sHostRows
{
    sHostRows(cBytes& pBytes, int pWidth, int pHeight, int pPixelBytes, int pBitmapStride)
        : fWidth(pBytes.Byte() < 240 ? pWidth : pBytes.AnyInt()),
          fHeight(pBytes.Byte() < 240 ? pHeight : pBytes.AnyInt()),
          fStride(pBytes.Byte() < 64 ? pBitmapStride : pPixelBytes * pWidth + pBytes.Int(-2, 40)),
          fRowBytes(static_cast<size_t>(pPixelBytes) * static_cast<size_t>(pWidth)),
          fRows(static_cast<size_t>(pHeight)), fWhole(fStride == pBitmapStride)
    {
    }

    /// Bytes of pRows rows; whole rows when the strides are equal and the bitmap takes the padding along.
    size_t Size(size_t pStep, size_t pRows, bool pWhole) const
    {
        return pWhole ? pRows * pStep : (pRows - 1) * pStep + fRowBytes;
    }

    int fWidth;
    int fHeight;
    int fStride; ///< never negative: at least the row less two bytes
    size_t fRowBytes;
    size_t fRows;
    bool fWhole;
};

size_t StepOf(const sHostRows& pRows, int pSampleBytes)
{
    return static_cast<size_t>(std::max(0, pRows.fStride) / pSampleBytes * pSampleBytes);
}

cBlock HostBlock(cBytes& pBytes, size_t pSize)
{
    cBlock block(pSize);
    pBytes.Fill(block.Data(), std::min<size_t>(block.Size(), 8));
    return block;
}

/// Bytes between the rows that a bitmap wrote for a host are as they were.
void CheckGaps(const cBlock& pBlock, const sHostRows& pRows)
{
    const size_t step = static_cast<size_t>(pRows.fStride);
    for (size_t i = 0; i < pBlock.Size(); i++) {
        if (i % step >= pRows.fRowBytes) Check(pBlock[i] == kUntouched);
    }
}

void ReadHost8(cBytes& pBytes, cBitmapBGR8& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 3, pBitmap.fStride);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 1), rows.fRows, rows.fWhole));
    pBitmap.CopyFromBGR8(rows.fWidth, rows.fHeight, rows.fStride, host.Data());
}

/// Of the doubled rows those that lie whole inside the block are taken, and no others are read.
size_t DoubledRows(const cBitmapBGR16& pBitmap, size_t pRowBytes)
{
    const size_t inside = (BlockSize(pBitmap) - pRowBytes) / (2 * static_cast<size_t>(pBitmap.fStride)) + 1;
    return std::min(inside, static_cast<size_t>(pBitmap.fHeight));
}

void ReadHost16(cBytes& pBytes, cBitmapBGR16& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 6, pBitmap.fStride);
    const size_t count = rows.fWhole ? rows.fRows : DoubledRows(pBitmap, rows.fRowBytes);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 1), count, rows.fWhole));
    pBitmap.CopyFromBGR16(rows.fWidth, rows.fHeight, rows.fStride, host.Data());
}

void ReadLittleEndian16(cBytes& pBytes, cBitmapBGR16& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 6, pBitmap.fStride);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 2), rows.fRows, false));
    pBitmap.CopyFromLittleEndianRGB16(rows.fWidth, rows.fHeight, rows.fStride, host.As<unsigned short>());
}

void ReadHostFloats(cBytes& pBytes, cBitmapXYZ32& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 12, pBitmap.fStride);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 4), rows.fRows, rows.fWhole));
    pBitmap.CopyFromXYZ32(rows.fWidth, rows.fHeight, rows.fStride, host.As<float>());
}

void ReadTiledFloats(cBytes& pBytes, const cBitmapXYZ32& pLike)
{
    cBitmapXYZ32T tiled(&pLike);
    const sHostRows rows(pBytes, tiled.fWidth, tiled.fHeight, 12, tiled.fStride);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 4), rows.fRows, false));
    tiled.CopyFromXYZ32(rows.fWidth, rows.fHeight, rows.fStride, host.As<float>());
    Check(std::memcmp(tiled.GetScanline(0), host.Data(), rows.fRowBytes) == 0);
}

void WriteHost8(cBytes& pBytes, cBitmapBGR8& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 3, pBitmap.fStride);
    const cBlock host(rows.Size(StepOf(rows, 1), rows.fRows, false), kUntouched);
    pBitmap.CopyToBGR8(host.Data(), rows.fWidth, rows.fHeight, rows.fStride);
    CheckGaps(host, rows);
}

void WriteGrey(cBytes& pBytes, cBitmapY8& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 3, pBitmap.fStride);
    const cBlock host(rows.Size(StepOf(rows, 1), rows.fRows, false), kUntouched);
    pBitmap.CopyToBGR8(host.Data(), rows.fWidth, rows.fHeight, rows.fStride);
    CheckGaps(host, rows);
}

/// This one does not check the stride: rows may overlap or lie upwards.
void WriteFloatsAsBytes(cBytes& pBytes, const cBitmapXYZ32& pBitmap)
{
    const int stride = pBytes.Int(-80, 80);
    const size_t row = 3 * static_cast<size_t>(pBitmap.fWidth);
    const size_t way = static_cast<size_t>(std::abs(stride)) * static_cast<size_t>(pBitmap.fHeight - 1);
    const cBlock host(way + row);
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 3, 0);
    pBitmap.BGRFloatToBGR8Data(rows.fWidth, rows.fHeight, stride, host.Data() + (stride < 0 ? way : 0));
}

void GreyFromHost8(cBytes& pBytes, const sPictures& pPictures)
{
    const sHostRows rows(pBytes, pPictures.fWidth, pPictures.fHeight, 3, 0);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 1), rows.fRows, false));
    const std::unique_ptr<cBitmapY8> grey(
        cBitmapY8::FromBGR8(host.Data(), pPictures.fWidth, pPictures.fHeight, rows.fStride));
}

void GreyFromHost16(cBytes& pBytes, const sPictures& pPictures)
{
    const sHostRows rows(pBytes, pPictures.fWidth, pPictures.fHeight, 6, 0);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 2), rows.fRows, false));
    const std::unique_ptr<cBitmapY8> grey(
        cBitmapY8::FromBGR16(host.As<unsigned short>(), pPictures.fWidth, pPictures.fHeight, rows.fStride));
}

void ExchangeRows(cBytes& pBytes, sPictures& pPictures)
{
    const int which = pBytes.Int(0, 1);
    switch (pBytes.Int(0, 9)) {
    case 0:
        return ReadHost8(pBytes, pPictures.fBgr8[which]);
    case 1:
        return ReadHost16(pBytes, pPictures.fBgr16[which]);
    case 2:
        return ReadLittleEndian16(pBytes, pPictures.fBgr16[which]);
    case 3:
        return ReadHostFloats(pBytes, pPictures.fXyz32[which]);
    case 4:
        return ReadTiledFloats(pBytes, pPictures.fXyz32[which]);
    case 5:
        return WriteHost8(pBytes, pPictures.fBgr8[which]);
    case 6:
        return WriteGrey(pBytes, pPictures.fY8[which]);
    case 7:
        return WriteFloatsAsBytes(pBytes, pPictures.fXyz32[which]);
    case 8:
        return GreyFromHost8(pBytes, pPictures);
    default:
        return GreyFromHost16(pBytes, pPictures);
    }
}

// ---- Rectangles

struct sRectangles
{
    explicit sRectangles(cBytes& pBytes)
        : fSrcX(pBytes.AnyInt()), fSrcY(pBytes.AnyInt()), fDstX(pBytes.AnyInt()), fDstY(pBytes.AnyInt()),
          fWidth(pBytes.AnyInt()), fHeight(pBytes.AnyInt())
    {
    }

    int fSrcX;
    int fSrcY;
    int fDstX;
    int fDstY;
    int fWidth;
    int fHeight;
};

/// Whether the byte belongs to the target rectangle. Rows of 16-bit pictures lie two strides apart here.
template <class tBitmap>
bool Inside(const tBitmap& pBitmap, const sRectangles& pPlaces, int pPixelBytes, int pRowStep, size_t pByte)
{
    const auto stride = static_cast<size_t>(pBitmap.fStride);
    const size_t row = pByte / stride;
    const size_t column = pByte % stride;
    const auto first = static_cast<size_t>(pPlaces.fDstY) * static_cast<size_t>(pRowStep);
    const auto end = static_cast<size_t>(pPlaces.fDstY + pPlaces.fHeight) * static_cast<size_t>(pRowStep);
    const auto left = static_cast<size_t>(pPlaces.fDstX) * static_cast<size_t>(pPixelBytes);
    const auto right = left + static_cast<size_t>(pPlaces.fWidth) * static_cast<size_t>(pPixelBytes);
    return row >= first && row < end && row % static_cast<size_t>(pRowStep) == 0 && column >= left && column < right;
}

/// A refused copy changes nothing, and a copy nothing outside its target.
template <class tBitmap>
void CopyRectangle(cBytes& pBytes, tBitmap (&pBitmaps)[2], int pPixelBytes, int pRowStep)
{
    tBitmap& source = pBitmaps[pBytes.Int(0, 1)];
    tBitmap& target = pBitmaps[pBytes.Int(0, 1)];
    const sRectangles places(pBytes);
    const auto* const block = reinterpret_cast<const unsigned char*>(target.fData);
    const std::vector<unsigned char> before(block, block + BlockSize(target));
    bool done = false;
    try {
        cImageUtils::Copy(&source, &target, places.fSrcX, places.fSrcY, places.fDstX, places.fDstY, places.fWidth,
                          places.fHeight);
        done = true;
    } catch (const cException&) { // NOLINT(bugprone-empty-catch): refused
    }
    for (size_t i = 0; i < before.size(); i++) {
        if (!done || !Inside(target, places, pPixelBytes, pRowStep, i)) Check(block[i] == before[i]);
    }
}

void CopyAnyDepth(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapLDR* const pictures[] = {&pPictures.fBgr8[0], &pPictures.fBgr8[1], &pPictures.fBgr16[0],
                                    &pPictures.fBgr16[1]};
    const sRectangles places(pBytes);
    cBitmapLDR* const source = pictures[pBytes.Int(0, 3)];
    cImageUtils::Copy(source, pictures[pBytes.Int(0, 3)], places.fSrcX, places.fSrcY, places.fDstX, places.fDstY,
                      places.fWidth, places.fHeight);
}

void CopyRectangles(cBytes& pBytes, sPictures& pPictures)
{
    switch (pBytes.Int(0, 3)) {
    case 0:
        return CopyRectangle(pBytes, pPictures.fBgr8, 3, 1);
    case 1:
        return CopyRectangle(pBytes, pPictures.fBgr16, 6, 2);
    case 2:
        return CopyRectangle(pBytes, pPictures.fY8, 1, 1);
    default:
        return CopyAnyDepth(pBytes, pPictures);
    }
}

// ---- Conversions

template <class tPicture>
void Drop(tPicture* pPicture)
{
    const std::unique_ptr<tPicture> owned(pPicture);
}

void ConvertNew(cBytes& pBytes, sPictures& pPictures)
{
    const cBitmapXYZ32& floats = pPictures.fXyz32[0];
    switch (pBytes.Int(0, 10)) {
    case 0:
        return Drop(cImageUtils::BGR8ToBGR32(&pPictures.fBgr8[0]));
    case 1:
        return Drop(cImageUtils::BGR32ToBGR8(&floats, SpaceNumber(pBytes)));
    case 2:
        return Drop(cImageUtils::BGR16ToBGR32(&pPictures.fBgr16[0]));
    case 3:
        return Drop(cImageUtils::BGR32ToBGR16(&floats, SpaceNumber(pBytes)));
    case 4:
        return Drop(cImageUtils::BGR8ToBGR32Linear(&pPictures.fBgr8[0]));
    case 5:
        return Drop(cImageUtils::BGR32LinearToBGR8(&floats, SpaceNumber(pBytes)));
    case 6:
        return Drop(cImageUtils::BGR16ToBGR32Linear(&pPictures.fBgr16[0]));
    case 7:
        return Drop(cImageUtils::BGR32LinearToBGR16(&floats, SpaceNumber(pBytes)));
    case 8:
        return Drop(cBitmapY8::FromBitmapLDR(&pPictures.fBgr8[0]));
    case 9:
        return Drop(cBitmapY8::FromBitmapLDR(&pPictures.fBgr16[0]));
    default:
        return Drop(pPictures.fY8[0].Halve());
    }
}

void Scale(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& floats = pPictures.fXyz32[1];
    switch (pBytes.Int(0, 9)) {
    case 0:
        return cImageUtils::BGR8ToBGR32(&pPictures.fBgr8[0], &floats);
    case 1:
        return cImageUtils::BGR32ToBGR8(&floats, &pPictures.fBgr8[0]);
    case 2:
        return cImageUtils::BGR16ToBGR32(&pPictures.fBgr16[0], &floats);
    case 3:
        return cImageUtils::BGR32ToBGR16(&floats, &pPictures.fBgr16[0]);
    case 4:
        return cImageUtils::Convert(&pPictures.fBgr16[0], &pPictures.fBgr8[1]);
    case 5:
        return cImageUtils::Convert(&pPictures.fBgr8[0], &pPictures.fBgr16[1]);
    case 6:
        return pPictures.fBgr16[0].ToBGR8(&pPictures.fBgr8[1]);
    case 7:
        return pPictures.fBgr16[0].FromBGR8(&pPictures.fBgr8[1]);
    case 8:
        return cImageUtils::BGR8ToBGR32Linear(&pPictures.fBgr8[0], &floats);
    default:
        return pPictures.fBgr8[0].ToXYZ32(&floats);
    }
}

/// The tables are built once: each asks for up to 65536 values.
void ThroughTables(cBytes& pBytes, sPictures& pPictures)
{
    static cTransferGamma gamma(2.2f);
    static cTransferLUT_I8F32 from8(&gamma);
    static cTransferLUT_I16F32 from16(&gamma);
    static cTransferLUT_F32I8 to8(&gamma);
    static cTransferLUT_F32I16 to16(&gamma);
    const cMatrix33 matrix = Matrix(pBytes);
    cBitmapXYZ32& floats = pPictures.fXyz32[1];
    switch (pBytes.Int(0, 6)) {
    case 0:
        return cImageUtils::BGR8ToFloat3(&pPictures.fBgr8[0], &floats, &from8, matrix);
    case 1:
        return cImageUtils::BGR16ToFloat3(&pPictures.fBgr16[0], &floats, &from16, matrix);
    case 2:
        return cImageUtils::Float3ToBGR8(&floats, &pPictures.fBgr8[0], &to8, matrix);
    case 3:
        return cImageUtils::Float3ToBGR16(&floats, &pPictures.fBgr16[0], &to16, matrix);
    case 4:
        return pPictures.fBgr8[0].ToXYZ32(&floats, &from8, matrix);
    case 5:
        return pPictures.fBgr8[0].FromXYZ32(&floats, &to8, matrix);
    default:
        return pPictures.fBgr16[0].FromXYZ32(&floats, &to16, matrix);
    }
}

/// Those that build a table of 65536 values for the call, so they come seldom.
void ThroughSpaces(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& floats = pPictures.fXyz32[1];
    switch (pBytes.Int(0, 40)) {
    case 0:
        return cImageUtils::BGR32LinearToBGR8(&floats, &pPictures.fBgr8[0]);
    case 1:
        return cImageUtils::BGR16ToBGR32Linear(&pPictures.fBgr16[0], &floats);
    case 2:
        return cImageUtils::BGR32LinearToBGR16(&floats, &pPictures.fBgr16[0]);
    case 3:
        return pPictures.fBgr16[0].ToXYZ32(&floats);
    case 4:
        return pPictures.fBgr8[0].FromXYZ32(&floats);
    case 5:
        return pPictures.fBgr16[0].FromXYZ32(&floats);
    case 6:
        return pPictures.fBgr16[0].ToBGR32Linear(&floats);
    default:
        return pPictures.fBgr8[0].ToBGR32Linear(&floats);
    }
}

// ---- Construction and colour spaces

void BuildFrom(cBytes& pBytes, sPictures& pPictures)
{
    const int width = pBytes.AnyInt();
    const int height = pBytes.AnyInt();
    const int64_t wide = int64_t{pBytes.AnyInt()} + 6 * std::clamp(width, 0, 64);
    const int stride = static_cast<int>(std::min<int64_t>(wide, INT32_MAX));
    const bool exists = width > 0 && height > 0 && width < 64 && height < 64 && stride > 0 && stride < 1000;
    const cBlock host(exists ? static_cast<size_t>(height) * static_cast<size_t>(stride) : 1);
    if (!exists && width > 0 && height > 0 && stride > 0) return; // more than this host has
    const eColorSpaceID space = SpaceNumber(pBytes);
    cBitmapBGR8 eight(width, height, stride, host.Data(), space);
    const std::unique_ptr<cBitmapBGR16> sixteen(cBitmapBGR16::FromBGR16Data(width, height, stride, host.Data(), space));
    const cBitmapXYZ32 copy(&pPictures.fXyz32[0]);
    Check(std::memcmp(copy.fData, pPictures.fXyz32[0].fData, 12 * static_cast<size_t>(copy.fWidth)) == 0);
}

/// A caller hands over neither null nor the picture's own space.
void AssignSpace(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapLDR* const pictures[] = {&pPictures.fBgr8[0], &pPictures.fBgr8[1], &pPictures.fBgr16[0],
                                    &pPictures.fBgr16[1]};
    cBitmapLDR* const target = pictures[pBytes.Int(0, 3)];
    cBitmapLDR* const other = pictures[pBytes.Int(0, 3)];
    if (pBytes.Flag() && other != target && other->GetColorSpace() != nullptr)
        target->AssignColorSpace(other->GetColorSpace());
    else
        target->AssignColorSpace(SpaceNumber(pBytes));
    const cBitmapBGR16 alike(target->fWidth, target->fHeight, target->GetColorSpace());
    const cBitmapBGR8 alike8(target->fWidth, target->fHeight, target->GetColorSpace());
    Check(alike.fColorSpace != target->fColorSpace && alike8.fColorSpace != nullptr);
    float first = 0.0f;
    float second = 0.0f;
    target->GetWhiteBalance(&first, &second);
}

// ---- Arithmetic, channels, statistics

void Calculate(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& first = pPictures.fXyz32[0];
    cBitmapXYZ32& second = pPictures.fXyz32[pBytes.Int(0, 1)];
    switch (pBytes.Int(0, 9)) {
    case 0:
        return cImageUtils::Sub(&first, &second);
    case 1:
        return cImageUtils::Mul(&first, pBytes.Float());
    case 2:
        return cImageUtils::Mul(&second, &first, pBytes.Float());
    case 3:
        return cImageUtils::Mul(&first, &second, &pPictures.fXyz32[1]);
    case 4: {
        const int channel = pBytes.AnyInt();
        return cImageUtils::ClampLow(&first, channel, pBytes.Float());
    }
    case 5:
        return cImageUtils::TransformInPlace(&first, Matrix(pBytes));
    case 6:
        return cImageUtils::ColorTransform(&first, &second, Matrix(pBytes));
    case 7:
        return first.Transform(Matrix(pBytes));
    case 8:
        return cImageUtils::Normalize(&first, pBytes.Flag());
    default:
        return cImageUtils::Fill(&first, pBytes.Float());
    }
}

void FillIntegers(cBytes& pBytes, sPictures& pPictures)
{
    const auto value = pBytes.Raw<unsigned short>();
    cImageUtils::Fill(&pPictures.fBgr8[0], pBytes.Byte());
    cImageUtils::Fill(&pPictures.fBgr8[1], pBytes.Byte(), 1, 2);
    cImageUtils::Fill(&pPictures.fBgr16[0], value);
    cImageUtils::Fill(&pPictures.fBgr16[1], value, 1, 2);
    Check(cImageUtils::MaxDiff(&pPictures.fBgr16[0], &pPictures.fBgr16[0]) == 0);
}

/// One plane of floats, rows close together.
void UseChannel(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapXYZ32& floats = pPictures.fXyz32[0];
    const cBlock plane(sizeof(float) * static_cast<size_t>(floats.fWidth) * static_cast<size_t>(floats.fHeight));
    const int channel = pBytes.AnyInt();
    cImageUtils::ExtractChannel(&floats, plane.As<float>(), channel);
    Check(std::memcmp(plane.Data(), floats.fData + channel, sizeof(float)) == 0);
    const std::vector<unsigned char> before(plane.Data(), plane.Data() + plane.Size());
    cImageUtils::ReplaceChannel(plane.As<float>(), &floats, channel);
    cImageUtils::ExtractChannel(&floats, plane.As<float>(), channel);
    Check(std::memcmp(plane.Data(), before.data(), before.size()) == 0);
}

void Measure(cBytes& pBytes, sPictures& pPictures)
{
    const int channel = pBytes.AnyInt();
    float results[3] = {0, 0, 0};
    cImageUtils::Mean(&pPictures.fXyz32[0], results[0], results[1], results[2]);
    Check(cImageUtils::Diff(&pPictures.fBgr8[0], &pPictures.fBgr8[0]) == 0.0);
    const int most = cImageUtils::MaxDiff(&pPictures.fBgr8[0], &pPictures.fBgr8[1]);
    Check(most >= 0 && most <= 255);
    Check(cImageUtils::Diff(&pPictures.fBgr16[0], &pPictures.fBgr16[1]) >= 0.0);
    cImageUtils::Diff(&pPictures.fXyz32[0], &pPictures.fXyz32[1]);
    cImageUtils::GetMinMax(&pPictures.fXyz32[0], channel, results[0], results[1]);
}

// ---- Memory

void UseFlatMemory(cBytes& pBytes)
{
    const int width = pBytes.AnyInt();
    const int height = pBytes.AnyInt();
    const int pixelBytes = pBytes.AnyInt();
    int stride = 0;
    auto* const block = static_cast<unsigned char*>(cMemUtils::BitmapAlloc(width, height, pixelBytes, stride));
    Check(stride == cMemUtils::GetBitmapStride(width, pixelBytes));
    if (block != nullptr && width > 0 && height > 0 && pixelBytes > 0)
        std::memset(block, 1, RoundUp4(height) * static_cast<size_t>(stride));
    cMemUtils::BitmapFree(block);
}

/// More would be many tiles, each small enough to be had.
bool IsTooMuch(int pWidth, int pHeight, int pPixelBytes)
{
    return pWidth > 0 && pHeight > 0 && pPixelBytes > 0 && pWidth < 0x7FFFFFFF / pPixelBytes &&
           int64_t{pWidth} * pPixelBytes < 0x0B00000 && int64_t{pWidth} * pPixelBytes * pHeight > (16 << 20);
}

void UseTiles(cBytes& pBytes)
{
    const int width = pBytes.AnyInt();
    const int height = pBytes.AnyInt();
    const int planes = pBytes.AnyInt();
    if (IsTooMuch(width, height, planes) || IsTooMuch(width, height, 12) || planes > 0x3FFFFFFF) return;
    const cBitmapU16T tiled(width, height, planes);
    for (int y = 0; y < tiled.fHeight; y++)
        std::memset(tiled.GetScanline(y), y, static_cast<size_t>(tiled.fStride));
    const cBitmapXYZ32T floats(width, height);
    for (int y = 0; y < floats.fHeight; y++)
        std::memset(floats.GetScanline(y), y, static_cast<size_t>(floats.fStride));
}

/// A copy stays in its block or is refused.
void UseSafeCopy(cBytes& pBytes)
{
    const cBlock source(64);
    const cBlock target(static_cast<size_t>(pBytes.Int(0, 64)));
    const int place = pBytes.Int(0, 80) - 8;
    const auto count = static_cast<unsigned>(pBytes.Int(0, 64));
    auto* const at = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(target.Data()) +
                                                      static_cast<uintptr_t>(static_cast<intptr_t>(place)));
    cMemUtils::SafeMemCopy(at, source.Data(), count, target.Data(), static_cast<unsigned>(target.Size()));
}

void UseMemory(cBytes& pBytes)
{
    switch (pBytes.Int(0, 3)) {
    case 0:
        return UseFlatMemory(pBytes);
    case 1:
        return UseTiles(pBytes);
    case 2:
        return UseSafeCopy(pBytes);
    default: {
        const int width = pBytes.AnyInt();
        const cBitmapY32 plane(width, pBytes.AnyInt());
        Check(plane.fWidth == width && plane.fData != nullptr);
        return;
    }
    }
}

void Step(cBytes& pBytes, sPictures& pPictures)
{
    switch (pBytes.Int(0, 12)) {
    case 0:
    case 1:
        return ExchangeRows(pBytes, pPictures);
    case 2:
    case 3:
        return CopyRectangles(pBytes, pPictures);
    case 4:
        return Scale(pBytes, pPictures);
    case 5:
        return ThroughTables(pBytes, pPictures);
    case 6:
        return pBytes.Byte() < 64 ? ConvertNew(pBytes, pPictures) : ThroughSpaces(pBytes, pPictures);
    case 7:
        return Calculate(pBytes, pPictures);
    case 8:
        return pBytes.Flag() ? UseChannel(pBytes, pPictures) : FillIntegers(pBytes, pPictures);
    case 9:
        return Measure(pBytes, pPictures);
    case 10:
        return BuildFrom(pBytes, pPictures);
    case 11:
        return AssignSpace(pBytes, pPictures);
    default:
        return UseMemory(pBytes);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    sPictures pictures(bytes);
    for (int steps = 0; steps < kMostSteps && bytes.Left() > 0; steps++) {
        try {
            Step(bytes, pictures);
        } catch (const cException&) {     // NOLINT(bugprone-empty-catch): refused
        } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): refused
        }
    }
    return 0;
}
