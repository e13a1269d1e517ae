// The memory of bitmaps: flat blocks, sets of tiles and the guarded copy, with any sizes.

#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY32.h"
#include "bitmap/cMemUtils.h"
#include "bitmap_fuzz/Steps.h"

namespace SelvaneFuzz
{

namespace
{

using namespace Vornik;

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

/// More would be many tiles, each of them small enough for the memory of a run.
bool IsTooMuch(int pWidth, int pHeight, int pPixelBytes)
{
    return pWidth > 0 && pHeight > 0 && pPixelBytes > 0 && pWidth < 0x7FFFFFFF / pPixelBytes &&
           int64_t{pWidth} * pPixelBytes < 0x0B00000 && int64_t{pWidth} * pPixelBytes * pHeight > (16 << 20);
}

/// Every byte of every row can be written.
template <class tBitmap>
void WriteRows(tBitmap& pBitmap)
{
    for (int y = 0; y < pBitmap.fHeight; y++)
        std::memset(pBitmap.GetScanline(y), y, static_cast<size_t>(pBitmap.fStride));
}

void UseTiles(cBytes& pBytes)
{
    const int width = pBytes.AnyInt();
    const int height = pBytes.AnyInt();
    const int planes = pBytes.AnyInt();
    if (IsTooMuch(width, height, planes) || IsTooMuch(width, height, 12) || planes > 0x3FFFFFFF) return;
    const cBitmapU16T words(width, height, planes);
    WriteRows(words);
    const cBitmapXYZ32T floats(width, height);
    WriteRows(floats);
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

void UsePlane(cBytes& pBytes)
{
    const int width = pBytes.AnyInt();
    const cBitmapY32 plane(width, pBytes.AnyInt());
    Check(plane.fWidth == width && plane.fData != nullptr);
}

using tUse = void (*)(cBytes&);

constexpr tUse kUses[] = {UseFlatMemory, UseTiles, UseSafeCopy, UsePlane};

} // namespace

void UseMemory(cBytes& pBytes, sPictures& /*pPictures*/)
{
    pBytes.Of(kUses)(pBytes);
}

} // namespace SelvaneFuzz
