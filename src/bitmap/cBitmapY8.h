#ifndef SELVANE_BITMAP_CBITMAPY8_H
#define SELVANE_BITMAP_CBITMAPY8_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

/// A flat grey picture of one byte per pixel.
///
/// Grey is the integer sum 7471 blue + 38469 green + 19595 red, shifted right. The shift is 16 bits for 8-bit samples
/// and 24 bits for 16-bit samples. The weights sum to 65535, so 8-bit white gives 254, and 16-bit white gives 255.
///
/// A null pointer throws cArgumentNullException, any other bad argument cArgumentException. Without memory for the
/// pixels, cOutOfMemoryException is thrown. All strides are in bytes.
class SELVANE_API cBitmapY8 : public cBitmap
{
public:
    /// Returns a pixel block, not cleared, and stores its stride in pStride. FreeBitmapData releases the block.
    static unsigned char* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(unsigned char* pY8);

    /// Returns the grey of blue, green, red bytes. The caller deletes the result.
    static cBitmapY8* FromBGR8(unsigned char* pSrcBGR8, int pSrcWidth, int pSrcHeight, int pSrcStride);
    /// Returns the grey of blue, green, red 16-bit samples. The caller deletes the result. A row has 6 * pSrcWidth
    /// bytes, but a pSrcStride from 3 * pSrcWidth on is accepted. The stride is rounded down to a multiple of 2.
    static cBitmapY8* FromBGR16(unsigned short* pSrcBGR16, int pSrcWidth, int pSrcHeight, int pSrcStride);
    /// Returns the grey of a picture of 8 or 16 bits per sample, null for any other depth. The caller deletes it.
    static cBitmapY8* FromBitmapLDR(cBitmapLDR* pSrcLDR);

    cBitmapY8(int pWidth, int pHeight); ///< pixels not cleared
    ~cBitmapY8() override;

    /// Writes every pixel as three equal bytes.
    void CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride);

    /// Returns a new picture of half the width and height, rounded down. Each pixel is the truncated mean of four. The
    /// caller deletes the result. Throws cArgumentException if this picture is one pixel wide or high.
    cBitmapY8* Halve() const;

    unsigned char* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
