#ifndef SELVANE_BITMAP_CBITMAPU16T_H
#define SELVANE_BITMAP_CBITMAPU16T_H

#include "bitmap/cBitmap.h"

namespace Vornik
{

/// A tiled picture of 16-bit samples, any number per pixel. The user of the class defines what they mean. GetScanline
/// gives the address of each scanline; the addresses of two tiles are unrelated.
class SELVANE_API cBitmapU16T : public cBitmap
{
public:
    /// pPlane is the number of samples per pixel. Does not clear the samples. Throws cArgumentException for an argument
    /// below 1, cInvalidOperationException for a scanline longer than 10 MiB, and cOutOfMemoryException.
    cBitmapU16T(int pWidth, int pHeight, int pPlane);
    ~cBitmapU16T() override;

    /// Returns the first sample of row pY, from 0 to the padded height - 1. pY is not checked.
    unsigned short* GetScanline(int pY) const;

    int fPlanes;     ///< samples per pixel
    void** fTiles;   ///< owned tile set, see cMemUtils
    int fTileCount;  ///< number of tiles
    int fTileHeight; ///< scanlines of every tile but the last, which may be shorter
};

} // namespace Vornik

#endif
