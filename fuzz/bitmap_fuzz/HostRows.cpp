// Rows that a host hands over or takes. What it hands over is exactly as large as the operation may read or write.

#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap_fuzz/Steps.h"

#include <algorithm>

namespace SelvaneFuzz
{

namespace
{

using namespace Vornik;

constexpr unsigned char kUntouched = 0xA5;

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

    /// Bytes of pRows rows. With pWhole the last row counts with its padding, which the bitmap then takes along.
    size_t Size(size_t pStep, size_t pRows, bool pWhole) const
    {
        return pWhole ? pRows * pStep : (pRows - 1) * pStep + fRowBytes;
    }

    int fWidth;
    int fHeight;
    int fStride; ///< never negative: at least the row less two bytes
    size_t fRowBytes;
    size_t fRows;
    bool fWhole; ///< the host's rows are as long as the bitmap's
};

/// Bytes from row to row, as whole samples.
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

/// The bytes between the rows that a bitmap wrote for a host are as they were.
void CheckGaps(const cBlock& pBlock, const sHostRows& pRows)
{
    const size_t step = static_cast<size_t>(pRows.fStride);
    for (size_t i = 0; i < pBlock.Size(); i++) {
        if (i % step >= pRows.fRowBytes) Check(pBlock[i] == kUntouched);
    }
}

// ---- Reading -------------------------------------------------------------------------------------------------------

void Read8(cBytes& pBytes, cBitmapBGR8& pBitmap)
{
    const sHostRows rows(pBytes, pBitmap.fWidth, pBitmap.fHeight, 3, pBitmap.fStride);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 1), rows.fRows, rows.fWhole));
    pBitmap.CopyFromBGR8(rows.fWidth, rows.fHeight, rows.fStride, host.Data());
}

/// The bitmap doubles its own stride here. It takes the rows that lie whole inside its block and reads no others.
size_t DoubledRows(const cBitmapBGR16& pBitmap, size_t pRowBytes)
{
    const size_t inside = (BlockSize(pBitmap) - pRowBytes) / (2 * static_cast<size_t>(pBitmap.fStride)) + 1;
    return std::min(inside, static_cast<size_t>(pBitmap.fHeight));
}

void Read16(cBytes& pBytes, cBitmapBGR16& pBitmap)
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

void ReadFloats(cBytes& pBytes, cBitmapXYZ32& pBitmap)
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

void GreyFrom8(cBytes& pBytes, const sPictures& pPictures)
{
    const sHostRows rows(pBytes, pPictures.fWidth, pPictures.fHeight, 3, 0);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 1), rows.fRows, false));
    const std::unique_ptr<cBitmapY8> grey(
        cBitmapY8::FromBGR8(host.Data(), pPictures.fWidth, pPictures.fHeight, rows.fStride));
}

void GreyFrom16(cBytes& pBytes, const sPictures& pPictures)
{
    const sHostRows rows(pBytes, pPictures.fWidth, pPictures.fHeight, 6, 0);
    const cBlock host = HostBlock(pBytes, rows.Size(StepOf(rows, 2), rows.fRows, false));
    const std::unique_ptr<cBitmapY8> grey(
        cBitmapY8::FromBGR16(host.As<unsigned short>(), pPictures.fWidth, pPictures.fHeight, rows.fStride));
}

// ---- Writing -------------------------------------------------------------------------------------------------------

/// Colour or grey, three bytes a pixel.
template <class tBitmap>
void Write8(cBytes& pBytes, tBitmap& pBitmap)
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

/// With one of the two pictures of a class; pWhich is 0 or 1.
using tExchange = void (*)(cBytes& pBytes, sPictures& pPictures, int pWhich);

constexpr tExchange kExchanges[] = {
    [](cBytes& b, sPictures& p, int i) { Read8(b, p.fBgr8[i]); },
    [](cBytes& b, sPictures& p, int i) { Read16(b, p.fBgr16[i]); },
    [](cBytes& b, sPictures& p, int i) { ReadLittleEndian16(b, p.fBgr16[i]); },
    [](cBytes& b, sPictures& p, int i) { ReadFloats(b, p.fXyz32[i]); },
    [](cBytes& b, sPictures& p, int i) { ReadTiledFloats(b, p.fXyz32[i]); },
    [](cBytes& b, sPictures& p, int i) { Write8(b, p.fBgr8[i]); },
    [](cBytes& b, sPictures& p, int i) { Write8(b, p.fY8[i]); },
    [](cBytes& b, sPictures& p, int i) { WriteFloatsAsBytes(b, p.fXyz32[i]); },
    [](cBytes& b, sPictures& p, int) { GreyFrom8(b, p); },
    [](cBytes& b, sPictures& p, int) { GreyFrom16(b, p); },
};

} // namespace

void ExchangeRows(cBytes& pBytes, sPictures& pPictures)
{
    const int which = pBytes.Int(0, 1);
    pBytes.Of(kExchanges)(pBytes, pPictures, which);
}

} // namespace SelvaneFuzz
