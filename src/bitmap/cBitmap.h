#ifndef SELVANE_BITMAP_CBITMAP_H
#define SELVANE_BITMAP_CBITMAP_H

#include "base/Export.h"
#include "color/cColorSpace.h"

namespace Vornik
{

class cBitmapXYZ32;

/// Base of all pictures: a size and a row distance. The descendant defines the pixels and who owns them.
///
/// A flat descendant holds one block of paddedHeight x fStride bytes. Its width and height are padded to multiples of 4
/// pixels. A tiled descendant holds a set of blocks. No constructor initialises the padding, and no operation on pixels
/// reads or fills it.
///
/// A bitmap has no lock. Several threads may read it at once, and several threads may write different rows.
class SELVANE_API cBitmap
{
public:
    cBitmap(); ///< leaves the fields unset; the descendant's constructor sets them after its checks
    virtual ~cBitmap();
    cBitmap(const cBitmap&) = delete;
    cBitmap& operator=(const cBitmap&) = delete;

    virtual int GetStride();
    /// Throws cInvalidOperationException in every class.
    virtual void SwapWidthHeight();

    int GetWidth();
    int GetHeight();

    int fWidth;  ///< pixels, not padded
    int fHeight; ///< pixels, not padded
    int fStride; ///< bytes from one scanline to the next, in every class
};

/// A display-referred picture with a colour space. Its integer samples are interleaved: blue, green, red from the
/// lowest address.
class SELVANE_API cBitmapLDR : public cBitmap
{
public:
    cBitmapLDR(); ///< without a colour space
    ~cBitmapLDR() override;

    /// Fills pToXYZ32, which has this picture's size, with X, Y, Z relative to D50.
    virtual void ToXYZ32(cBitmapXYZ32* pToXYZ32) = 0;
    /// Fills pTo, which has this picture's size, with linear blue, green, red.
    virtual void ToBGR32Linear(cBitmapXYZ32* pTo) = 0;
    virtual int GetBitsPerChannel() const = 0;
    virtual void* GetBitmapArray() = 0; ///< the pixels, still owned by the bitmap

    /// Returns fColorSpace. The bitmap still owns it.
    cColorSpace* GetColorSpace();

    /// Deletes the present colour space, then stores a clone of pColorSpace. pColorSpace must not be null or the
    /// bitmap's own colour space. If cloning throws, the bitmap has no colour space.
    void AssignColorSpace(cColorSpace* pColorSpace);
    /// Replaces the colour space by a new one of that number. Keeps the present one if the number names none.
    void AssignColorSpace(eColorSpaceID pColorSpaceID);

    /// Stores the chromaticity of the colour space's white: CIE x in *pFirst, CIE y in *pSecond. Neither pointer may be
    /// null. Throws cInvalidOperationException if there is no colour space.
    void GetWhiteBalance(float* pFirst, float* pSecond);

    cColorSpace* fColorSpace; ///< owned; null after a number that names no space, or after a failed clone
};

} // namespace Vornik

#endif
