#ifndef SELVANE_BITMAP_CBITMAPXYZ32T_H
#define SELVANE_BITMAP_CBITMAPXYZ32T_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

class cBitmapXYZ32;

/// A tiled picture of three floats a pixel, c0, c1, c2 from the lowest address. Scanlines are reached one by one
/// through GetScanline: there is no relation between the addresses of neighbouring tiles.
///
/// A refused argument throws cArgumentNullException for a null pointer and cArgumentException otherwise, a scanline
/// longer than 10 MiB cInvalidOperationException, and no memory for the tiles cOutOfMemoryException.
class SELVANE_API cBitmapXYZ32T : public cBitmap
{
public:
    cBitmapXYZ32T(int pWidth, int pHeight);            ///< pixels not cleared
    explicit cBitmapXYZ32T(const cBitmapXYZ32* pFrom); ///< a copy of a flat picture
    ~cBitmapXYZ32T() override;

    /// First pixel of row pY, 0 up to the padded height; not checked.
    float* GetScanline(int pY) const;

    /// Copies a flat picture of this size in. pFromStride is in bytes and rounded down to a multiple of 4.
    void CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32);

    void** fTiles;   ///< owned tile set, see cMemUtils
    int fTileCount;  ///< number of tiles
    int fTileHeight; ///< scanlines of every tile but the last, which may be shorter
};

} // namespace Vornik

#endif
