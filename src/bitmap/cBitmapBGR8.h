#ifndef SELVANE_BITMAP_CBITMAPBGR8_H
#define SELVANE_BITMAP_CBITMAPBGR8_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cTransferLUT_I8F32;
class cTransferLUT_F32I8;

/// A picture of 8 bits per sample and 3 bytes per pixel: blue, green, red from the lowest address.
///
/// A null pointer throws cArgumentNullException, any other bad argument cArgumentException. Both leave the bitmap
/// unchanged. Without memory for the pixels, cOutOfMemoryException is thrown. All strides are in bytes.
class SELVANE_API cBitmapBGR8 : public cBitmapLDR
{
public:
    /// Returns a pixel block, not cleared, and stores its stride in pStride. FreeBitmapData releases the block.
    static unsigned char* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    /// Writes "Freeing via FreeBitmapData" to the standard error stream and releases the block.
    static void FreeBitmapData(unsigned char* pBGR8);

    /// Does not clear the pixels. A number that names no colour space leaves fColorSpace null.
    cBitmapBGR8(int pWidth, int pHeight, eColorSpaceID pColorSpaceID);
    /// Does not clear the pixels. Clones pReferentColorSpace; the caller keeps it.
    cBitmapBGR8(int pWidth, int pHeight, cColorSpace* pReferentColorSpace);
    /// Copies the caller's pixels by CopyFromBGR8. The caller keeps its buffer.
    cBitmapBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8,
                eColorSpaceID pColorSpaceID);
    ~cBitmapBGR8() override;

    void ToXYZ32(cBitmapXYZ32* pToXYZ32) override;
    void ToBGR32Linear(cBitmapXYZ32* pTo) override;
    int GetBitsPerChannel() const override; ///< 8
    void* GetBitmapArray() override;        ///< fData

    void* GetBGR8(); ///< fData

    /// Copies a picture of this size into the bitmap. If pFromStride equals fStride, the source must be fHeight x
    /// fStride bytes long, including the padding of its last row.
    void CopyFromBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8);
    /// Copies the pixels without their padding to pDstBGR8, 3 * fWidth bytes per row.
    void CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride);

    /// The same as ToXYZ32(pToXYZ32) with the caller's table and matrix. The matrix takes linear red, green, blue to
    /// c0, c1, c2.
    void ToXYZ32(cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pCustomTransferLUT, cMatrix33 pMatrix);
    /// Fills this bitmap from X, Y, Z relative to D50.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32);
    /// The same with the caller's table and matrix. The matrix takes c0, c1, c2 to linear red, green, blue.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I8* pCustomTransferLUT, cMatrix33 pMatrix);

    unsigned char* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
