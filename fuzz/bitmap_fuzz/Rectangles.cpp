// Copies of a rectangle from one picture to another, at any places and with any sizes.

#include "bitmap/cException.h"
#include "bitmap_fuzz/Steps.h"
#include "image/cImageUtils.h"

namespace SelvaneFuzz
{

namespace
{

using namespace Vornik;

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

/// Whether a byte of the target's block belongs to the target rectangle. Rows lie pRowStep strides apart.
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

template <class tBitmap>
bool TryCopy(tBitmap& pSource, tBitmap& pTarget, const sRectangles& pPlaces)
{
    try {
        cImageUtils::Copy(&pSource, &pTarget, pPlaces.fSrcX, pPlaces.fSrcY, pPlaces.fDstX, pPlaces.fDstY,
                          pPlaces.fWidth, pPlaces.fHeight);
        return true;
    } catch (const cException&) {
        return false;
    }
}

/// A refused copy changes nothing. Any other changes nothing outside its target.
template <class tBitmap>
void CopyAlike(cBytes& pBytes, tBitmap (&pBitmaps)[2], int pPixelBytes, int pRowStep)
{
    tBitmap& source = pBytes.Of(pBitmaps);
    tBitmap& target = pBytes.Of(pBitmaps);
    const sRectangles places(pBytes);
    const auto* const block = reinterpret_cast<const unsigned char*>(target.fData);
    const std::vector<unsigned char> before(block, block + BlockSize(target));
    const bool done = TryCopy(source, target, places);
    for (size_t i = 0; i < before.size(); i++) {
        if (!done || !Inside(target, places, pPixelBytes, pRowStep, i)) Check(block[i] == before[i]);
    }
}

/// From either depth to either depth.
void CopyAnyDepth(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapLDR* const pictures[] = {&pPictures.fBgr8[0], &pPictures.fBgr8[1], &pPictures.fBgr16[0],
                                    &pPictures.fBgr16[1]};
    const sRectangles places(pBytes);
    cBitmapLDR* const source = pBytes.Of(pictures);
    cBitmapLDR* const target = pBytes.Of(pictures);
    cImageUtils::Copy(source, target, places.fSrcX, places.fSrcY, places.fDstX, places.fDstY, places.fWidth,
                      places.fHeight);
}

constexpr tStep kCopies[] = {
    [](cBytes& pBytes, sPictures& pPictures) { CopyAlike(pBytes, pPictures.fBgr8, 3, 1); },
    [](cBytes& pBytes, sPictures& pPictures) { CopyAlike(pBytes, pPictures.fBgr16, 6, 2); }, // every other row
    [](cBytes& pBytes, sPictures& pPictures) { CopyAlike(pBytes, pPictures.fY8, 1, 1); },
    CopyAnyDepth,
};

} // namespace

void CopyRectangles(cBytes& pBytes, sPictures& pPictures)
{
    pBytes.Of(kCopies)(pBytes, pPictures);
}

} // namespace SelvaneFuzz
