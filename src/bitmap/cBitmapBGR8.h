#ifndef SELVANE_BITMAP_CBITMAPBGR8_H
#define SELVANE_BITMAP_CBITMAPBGR8_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cTransferLUT_I8F32;
class cTransferLUT_F32I8;

/// A picture of 8 bits a sample, 3 bytes a pixel: blue, green, red from the lowest address.
///
/// A refused argument throws cArgumentNullException for a null pointer and cArgumentException otherwise, and leaves the
/// bitmap as it was; no memory for the pixels throws cOutOfMemoryException. All strides are in bytes.
class SELVANE_API cBitmapBGR8 : public cBitmapLDR
{
public:
    /// A pixel block for FreeBitmapData, not cleared; pStride takes its stride.
    static unsigned char* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    /// Writes "Freeing via FreeBitmapData" to the standard error stream and releases the block.
    static void FreeBitmapData(unsigned char* pBGR8);

    /// Pixels not cleared. A number that names no colour space leaves fColorSpace null.
    cBitmapBGR8(int pWidth, int pHeight, eColorSpaceID pColorSpaceID);
    /// Pixels not cleared. Keeps a clone of pReferentColorSpace, which stays the caller's.
    cBitmapBGR8(int pWidth, int pHeight, cColorSpace* pReferentColorSpace);
    /// A copy of the caller's pixels, which stay the caller's; see CopyFromBGR8.
    cBitmapBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8,
                eColorSpaceID pColorSpaceID);
    ~cBitmapBGR8() override;

    void ToXYZ32(cBitmapXYZ32* pToXYZ32) override;
    void ToBGR32Linear(cBitmapXYZ32* pTo) override;
    int GetBitsPerChannel() const override; ///< 8
    void* GetBitmapArray() override;        ///< fData

    void* GetBGR8(); ///< fData

    /// Copies a picture of this size in. With a source stride equal to fStride the source must be fHeight x fStride
    /// bytes long, the padding of its last row included.
    void CopyFromBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8);
    /// Copies the used pixels out, 3 * fWidth bytes a row.
    void CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride);

    /// The same as ToXYZ32(pToXYZ32) with a table and a matrix (linear red, green, blue to c0, c1, c2) of the caller's.
    void ToXYZ32(cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pCustomTransferLUT, cMatrix33 pMatrix);
    /// Fills this bitmap from X, Y, Z relative to D50.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32);
    /// The same with a table and a matrix (c0, c1, c2 to linear red, green, blue) of the caller's.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I8* pCustomTransferLUT, cMatrix33 pMatrix);

    unsigned char* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
