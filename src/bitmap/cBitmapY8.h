#ifndef SELVANE_BITMAP_CBITMAPY8_H
#define SELVANE_BITMAP_CBITMAPY8_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

/// A flat grey picture of one byte a pixel.
///
/// Grey is (7471 blue + 38469 green + 19595 red) / 65536 in whole numbers. The weights sum to 65535, so that white
/// of 8 bits gives 254; that of 16 bits, shifted by 24 as it is, gives 255. A refused argument throws
/// cArgumentNullException for a null pointer and cArgumentException otherwise; no memory for the pixels throws
/// cOutOfMemoryException. All strides are in bytes.
class SELVANE_API cBitmapY8 : public cBitmap
{
public:
    /// A pixel block for FreeBitmapData, not cleared; pStride takes its stride.
    static unsigned char* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(unsigned char* pY8);

    /// The grey of blue, green, red bytes; the caller deletes the result.
    static cBitmapY8* FromBGR8(unsigned char* pSrcBGR8, int pSrcWidth, int pSrcHeight, int pSrcStride);
    /// The grey of blue, green, red 16-bit samples; the caller deletes the result. A row takes 6 * pSrcWidth bytes,
    /// although a pSrcStride from 3 * pSrcWidth on is accepted; it is rounded down to a multiple of 2.
    static cBitmapY8* FromBGR16(unsigned short* pSrcBGR16, int pSrcWidth, int pSrcHeight, int pSrcStride);
    /// The grey of a picture of 8 or 16 bits a sample; the caller deletes the result. Null for any other depth.
    static cBitmapY8* FromBitmapLDR(cBitmapLDR* pSrcLDR);

    cBitmapY8(int pWidth, int pHeight); ///< pixels not cleared
    ~cBitmapY8() override;

    /// Writes every pixel as three equal bytes.
    void CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride);

    /// A new picture of half the width and height, rounded down, each pixel the truncated mean of four; the caller
    /// deletes it. Throws cArgumentException when this picture is one pixel wide or high.
    cBitmapY8* Halve() const;

    unsigned char* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
