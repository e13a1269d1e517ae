#ifndef SELVANE_BITMAP_CBITMAPU16T_H
#define SELVANE_BITMAP_CBITMAPU16T_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

/// A tiled picture of any number of 16-bit samples a pixel, whose meaning belongs to the user of the class. Scanlines
/// are reached one by one through GetScanline: there is no relation between the addresses of neighbouring tiles.
class SELVANE_API cBitmapU16T : public cBitmap
{
public:
    /// pPlane is the number of samples a pixel. Samples are not cleared. Throws cArgumentException for an argument
    /// below 1, cInvalidOperationException for a scanline longer than 10 MiB, and cOutOfMemoryException.
    cBitmapU16T(int pWidth, int pHeight, int pPlane);
    ~cBitmapU16T() override;

    /// First sample of row pY, 0 up to the padded height; not checked.
    unsigned short* GetScanline(int pY) const;

    int fPlanes;     ///< samples a pixel
    void** fTiles;   ///< owned tile set, see cMemUtils
    int fTileCount;  ///< number of tiles
    int fTileHeight; ///< scanlines of every tile but the last, which may be shorter
};

} // namespace Vornik

#endif
