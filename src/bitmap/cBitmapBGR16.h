#ifndef SELVANE_BITMAP_CBITMAPBGR16_H
#define SELVANE_BITMAP_CBITMAPBGR16_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

class cBitmapBGR8;
class cTransferLUT_F32I16;

/// A picture of 16 bits a sample, 6 bytes a pixel: native samples blue, green, red from the lowest address.
///
/// A refused argument throws cArgumentNullException for a null pointer and cArgumentException otherwise, and leaves the
/// bitmap as it was; no memory for the pixels throws cOutOfMemoryException. All strides are in bytes.
class SELVANE_API cBitmapBGR16 : public cBitmapLDR
{
public:
    /// A pixel block for FreeBitmapData, not cleared; pStride takes its stride.
    static unsigned short* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(unsigned short* pBGR16);

    /// A new bitmap with a copy of the caller's pixels, by CopyFromBGR16; the caller deletes it.
    static cBitmapBGR16* FromBGR16Data(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16,
                                       eColorSpaceID pColorSpaceID);

    /// Pixels not cleared. A number that names no colour space leaves fColorSpace null.
    cBitmapBGR16(int pWidth, int pHeight, eColorSpaceID pColorSpaceID);
    /// Pixels not cleared. Keeps a clone of pReferentColorSpace, which stays the caller's.
    cBitmapBGR16(int pWidth, int pHeight, cColorSpace* pReferentColorSpace);
    ~cBitmapBGR16() override;

    int GetStride() override;
    void ToXYZ32(cBitmapXYZ32* pToXYZ32) override;
    void ToBGR32Linear(cBitmapXYZ32* pTo) override;
    int GetBitsPerChannel() const override; ///< 16
    void* GetBitmapArray() override;        ///< fData
    virtual unsigned short* GetImageData(); ///< fData

    /// Copies a picture of this size in. With a source stride equal to fStride, fHeight x fStride bytes are copied as
    /// they stand. With any other stride row y lands 2 * y * fStride bytes from the start of the block, at twice the
    /// distance of rows, and rows that would leave the block are dropped.
    void CopyFromBGR16(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16);
    /// Copies a picture of this size in, exchanging the two bytes of every sample (on any host) and red with blue.
    void CopyFromLittleEndianRGB16(int pFromWidth, int pFromHeight, int pFromStride, unsigned short* pFromLERGB16);

    void ToBGR8(cBitmapBGR8* pToBGR8);     ///< every sample divided by 257
    void FromBGR8(cBitmapBGR8* pFromBGR8); ///< every sample times 257

    /// Fills this bitmap from X, Y, Z relative to D50.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32);
    /// The same with a table and a matrix (c0, c1, c2 to linear red, green, blue) of the caller's.
    void FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I16* pCustomTransferLUT, cMatrix33 pMatrix);

    unsigned short* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
