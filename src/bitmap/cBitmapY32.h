#ifndef SELVANE_BITMAP_CBITMAPY32_H
#define SELVANE_BITMAP_CBITMAPY32_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

/// A flat picture of one float per pixel.
///
/// A size below 1 throws cArgumentException, a null block cArgumentNullException. Without memory for the pixels,
/// cOutOfMemoryException is thrown.
class SELVANE_API cBitmapY32 : public cBitmap
{
public:
    /// Returns a pixel block, not cleared, and stores its stride in bytes in pStride. FreeBitmapData releases it.
    static float* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(float* pY32);

    cBitmapY32(int pWidth, int pHeight); ///< pixels not cleared
    ~cBitmapY32() override;

    float* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
