#ifndef SELVANE_BITMAP_CBITMAPXYZ32T_H
#define SELVANE_BITMAP_CBITMAPXYZ32T_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

class cBitmapXYZ32;

/// A tiled picture of three floats per pixel, c0, c1, c2 from the lowest address. GetScanline gives the address of each
/// scanline; the addresses of two tiles are unrelated.
///
/// A null pointer throws cArgumentNullException, any other bad argument cArgumentException. A scanline longer than 10
/// MiB throws cInvalidOperationException. Without memory for the tiles, cOutOfMemoryException is thrown.
class SELVANE_API cBitmapXYZ32T : public cBitmap
{
public:
    cBitmapXYZ32T(int pWidth, int pHeight);            ///< pixels not cleared
    explicit cBitmapXYZ32T(const cBitmapXYZ32* pFrom); ///< a copy of a flat picture
    ~cBitmapXYZ32T() override;

    /// Returns the first pixel of row pY, from 0 to the padded height - 1. pY is not checked.
    float* GetScanline(int pY) const;

    /// Copies a flat picture of this size into the bitmap. pFromStride is in bytes, rounded down to a multiple of 4.
    void CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32);

    void** fTiles;   ///< owned tile set, see cMemUtils
    int fTileCount;  ///< number of tiles
    int fTileHeight; ///< scanlines of every tile but the last, which may be shorter
};

} // namespace Vornik

#endif
