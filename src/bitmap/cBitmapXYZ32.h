#ifndef SELVANE_BITMAP_CBITMAPXYZ32_H
#define SELVANE_BITMAP_CBITMAPXYZ32_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

/// A flat picture of three floats per pixel, c0, c1, c2 from the lowest address. They are X, Y, Z relative to D50, or
/// blue, green, red between 0 and 1. The operation that fills the bitmap decides which; the bitmap does not record it.
///
/// A null pointer throws cArgumentNullException, any other bad argument cArgumentException. Both leave the bitmap
/// unchanged. Without memory for the pixels, cOutOfMemoryException is thrown. All strides are in bytes.
class SELVANE_API cBitmapXYZ32 : public cBitmap
{
public:
    /// Returns a pixel block, not cleared, and stores its stride in pStride. FreeBitmapData releases the block.
    static float* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(float* pXYZ32);

    cBitmapXYZ32(int pWidth, int pHeight);            ///< pixels not cleared
    explicit cBitmapXYZ32(const cBitmapXYZ32* pFrom); ///< deep copy
    ~cBitmapXYZ32() override;

    /// Copies a picture of this size into the bitmap. If pFromStride equals fStride, the source must be fHeight x
    /// fStride bytes long, including the padding of its last row. Any other stride is rounded down to a multiple of 4.
    void CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32);

    float* GetImageData(); ///< fData

    void Transform(cMatrix33 pMatrix); ///< every pixel becomes pMatrix * (c0, c1, c2)

    /// Writes every float, in order, as a byte. Below 0 gives 0; above 1 or NaN gives 255. Any other value is
    /// multiplied by 255 and truncated. pToStride must be at least 3 * fWidth; it is not checked.
    void BGRFloatToBGR8Data(int pToWidth, int pToHeight, int pToStride, unsigned char* pToBGR8) const;

    float* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
