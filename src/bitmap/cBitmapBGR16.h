#ifndef SELVANE_BITMAP_CBITMAPBGR16_H
#define SELVANE_BITMAP_CBITMAPBGR16_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cBitmapBGR8;
class cTransferLUT_F32I16;

/// A picture of 16 bits per sample and 6 bytes per pixel. Samples are in native byte order: blue, green, red from the
/// lowest address.
///
/// A null pointer throws cArgumentNullException, any other bad argument cArgumentException. Both leave the bitmap
/// unchanged. Without memory for the pixels, cOutOfMemoryException is thrown. All strides are in bytes.
class SELVANE_API cBitmapBGR16 : public cBitmapLDR
{
public:
    /// Returns a pixel block, not cleared, and stores its stride in pStride. FreeBitmapData releases the block.
    static unsigned short* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(unsigned short* pBGR16);

    /// Returns a new bitmap that CopyFromBGR16 has filled with the caller's pixels. The caller deletes it.
    static cBitmapBGR16* FromBGR16Data(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16,
                                       eColorSpaceID pColorSpaceID);

    /// Does not clear the pixels. A number that names no colour space leaves fColorSpace null.
    cBitmapBGR16(int pWidth, int pHeight, eColorSpaceID pColorSpaceID);
    /// Does not clear the pixels. Clones pReferentColorSpace; the caller keeps it.
    cBitmapBGR16(int pWidth, int pHeight, cColorSpace* pReferentColorSpace);
    ~cBitmapBGR16() override;

    int GetStride() override;
    void ToXYZ32(cBitmapXYZ32* pToXYZ32) override;
    void ToBGR32Linear(cBitmapXYZ32* pTo) override;
    int GetBitsPerChannel() const override; ///< 16
    void* GetBitmapArray() override;        ///< fData
    virtual unsigned short* GetImageData(); ///< fData

    /// Copies a picture of this size into the bitmap. If pFromStride equals fStride, fHeight x fStride bytes are copied
    /// in one piece. With any other stride, row y goes to byte 2 * y * fStride of the block, twice the usual distance.
    /// Rows that would leave the block are dropped.
    void CopyFromBGR16(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16);
    /// Copies a picture of this size into the bitmap. Exchanges the two bytes of every sample, on any host, and red
    /// with blue.
    void CopyFromLittleEndianRGB16(int pFromWidth, int pFromHeight, int pFromStride, unsigned short* pFromLERGB16);

    void ToBGR8(cBitmapBGR8* pToBGR8);     ///< divides every sample by 257, truncated
    void FromBGR8(cBitmapBGR8* pFromBGR8); ///< multiplies every sample by 257

    /// Fills this bitmap from X, Y, Z relative to D50.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32);
    /// The same with the caller's table and matrix. The matrix takes c0, c1, c2 to linear red, green, blue.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I16* pCustomTransferLUT, cMatrix33 pMatrix);

    unsigned short* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
