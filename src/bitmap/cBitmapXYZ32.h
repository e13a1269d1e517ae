#ifndef SELVANE_BITMAP_CBITMAPXYZ32_H
#define SELVANE_BITMAP_CBITMAPXYZ32_H

#include "bitmap/cBitmap.h"
#include "color/cMatrix.h"

namespace Vornik
{

/// A flat picture of three floats a pixel, c0, c1, c2 from the lowest address: X, Y, Z relative to D50, or blue, green,
/// red between 0 and 1. The operation that filled it decides which; the bitmap does not record it.
///
/// A refused argument throws cArgumentNullException for a null pointer and cArgumentException otherwise, and leaves the
/// bitmap as it was; no memory for the pixels throws cOutOfMemoryException. All strides are in bytes.
class SELVANE_API cBitmapXYZ32 : public cBitmap
{
public:
    /// A pixel block for FreeBitmapData, not cleared; pStride takes its stride.
    static float* AllocBitmapData(int pWidth, int pHeight, int& pStride);
    static void FreeBitmapData(float* pXYZ32);

    cBitmapXYZ32(int pWidth, int pHeight);            ///< pixels not cleared
    explicit cBitmapXYZ32(const cBitmapXYZ32* pFrom); ///< deep copy
    ~cBitmapXYZ32() override;

    /// Copies a picture of this size in. With a source stride equal to fStride the source must be fHeight x fStride
    /// bytes long, the padding of its last row included; any other stride is rounded down to a multiple of 4.
    void CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32);

    float* GetImageData(); ///< fData

    void Transform(cMatrix33 pMatrix); ///< every pixel becomes pMatrix * (c0, c1, c2)

    /// Writes every float, in order, as a byte: below 0 gives 0, above 1 or NaN 255, otherwise the value times 255,
    /// truncated. The caller gives a pToStride of at least 3 * fWidth; it is not checked.
    void BGRFloatToBGR8Data(int pToWidth, int pToHeight, int pToStride, unsigned char* pToBGR8) const;

    float* fData; ///< owned block of paddedHeight x fStride bytes
};

} // namespace Vornik

#endif
