#include "bitmap/cBitmapU16T.h"

#include "base/Require.h"
#include "bitmap/cMemUtils.h"

#include <climits>
#include <cstddef>

namespace Vornik
{

cBitmapU16T::cBitmapU16T(int pWidth, int pHeight, int pPlane)
    : fPlanes(0), fTiles(nullptr), fTileCount(0), fTileHeight(0)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    Require(cArgumentException, pPlane > 0, "Argument pPlane must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fPlanes = pPlane;
    // A pixel size beyond an int saturates. It is too wide for a tile in any case.
    const int pixelSize = pPlane <= INT_MAX / 2 ? 2 * pPlane : INT_MAX;
    fTiles = cMemUtils::TiledBitmapAlloc(pWidth, pHeight, pixelSize, fStride, fTileCount, fTileHeight);
    Require(cOutOfMemoryException, fTiles != nullptr, "Cannot alloc bitmap tiles.");
}

cBitmapU16T::~cBitmapU16T()
{
    if (fTiles != nullptr) cMemUtils::TiledBitmapFree(fTiles, fTileCount, fTileHeight);
    fTiles = nullptr;
}

unsigned short* cBitmapU16T::GetScanline(int pY) const
{
    const int tile = pY / fTileHeight;
    const int row = pY - tile * fTileHeight;
    return static_cast<unsigned short*>(fTiles[tile]) + ptrdiff_t{row} * (fStride / 2);
}

} // namespace Vornik
