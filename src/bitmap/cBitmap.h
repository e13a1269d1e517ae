#ifndef SELVANE_BITMAP_CBITMAP_H
#define SELVANE_BITMAP_CBITMAP_H

#include "base/Export.h"
#include "color/cColorSpace.h"

namespace Vornik
{

class cBitmapXYZ32;

/// Root of all pictures: a size and a row distance. Who owns the pixels, and of which kind they are, is the
/// descendant's matter.
///
/// Flat descendants hold one block of paddedHeight x fStride bytes, with width and height padded to multiples of 4
/// pixels; tiled ones hold a set of blocks. The padding is never initialised, read or filled. A bitmap has no lock:
/// reading from several threads is safe, and so is writing rows of its own from each.
class SELVANE_API cBitmap
{
public:
    cBitmap(); ///< leaves the fields unset: the descendant's constructor fills them after its checks
    virtual ~cBitmap();
    cBitmap(const cBitmap&) = delete;
    cBitmap& operator=(const cBitmap&) = delete;

    virtual int GetStride();
    /// Not an operation: throws cInvalidOperationException for every class.
    virtual void SwapWidthHeight();

    int GetWidth();
    int GetHeight();

    int fWidth;  ///< pixels, not padded
    int fHeight; ///< pixels, not padded
    int fStride; ///< bytes from one scanline to the next, in every class
};

/// A display-referred picture: interleaved integer samples, blue, green, red from the lowest address, and a colour
/// space.
class SELVANE_API cBitmapLDR : public cBitmap
{
public:
    cBitmapLDR(); ///< without a colour space
    ~cBitmapLDR() override;

    /// Fills pToXYZ32, of this size, with X, Y, Z relative to D50.
    virtual void ToXYZ32(cBitmapXYZ32* pToXYZ32) = 0;
    /// Fills pTo, of this size, with linear blue, green, red.
    virtual void ToBGR32Linear(cBitmapXYZ32* pTo) = 0;
    virtual int GetBitsPerChannel() const = 0;
    virtual void* GetBitmapArray() = 0; ///< the pixels, still owned by the bitmap

    cColorSpace*
    GetColorSpace(); ///< still owned by the bitmap; null when it was built with a number that names no space

    /// Deletes the present colour space, then stores a clone of pColorSpace, which is neither null nor this bitmap's
    /// own.
    void AssignColorSpace(cColorSpace* pColorSpace);
    /// Replaces the colour space by a new one of that number; keeps the present one when the number names none.
    void AssignColorSpace(eColorSpaceID pColorSpaceID);

    /// Stores the chromaticity of the colour space's white, CIE x through pFirst and y through pSecond, neither of them
    /// null. Throws cInvalidOperationException when there is no colour space.
    void GetWhiteBalance(float* pFirst, float* pSecond);

    cColorSpace* fColorSpace; ///< owned; null only when the bitmap was built with a number that names no space
};

} // namespace Vornik

#endif
