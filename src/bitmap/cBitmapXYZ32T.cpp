#include "bitmap/cBitmapXYZ32T.h"

#include "base/Require.h"
#include "bitmap/FlatBlock.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cMemUtils.h"

namespace Vornik
{

namespace
{

constexpr int kPixelSize = 12; // bytes

} // namespace

cBitmapXYZ32T::cBitmapXYZ32T(int pWidth, int pHeight) : fTiles(nullptr), fTileCount(0), fTileHeight(0)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fTiles = cMemUtils::TiledBitmapAlloc(pWidth, pHeight, kPixelSize, fStride, fTileCount, fTileHeight);
    Require(cOutOfMemoryException, fTiles != nullptr, "Cannot alloc bitmap tiles.");
}

cBitmapXYZ32T::cBitmapXYZ32T(const cBitmapXYZ32* pFrom) : fTiles(nullptr), fTileCount(0), fTileHeight(0)
{
    Require(cArgumentNullException, pFrom != nullptr, "Argument pFrom cannot be null.");
    fWidth = pFrom->fWidth;
    fHeight = pFrom->fHeight;
    fTiles = cMemUtils::TiledBitmapAlloc(fWidth, fHeight, kPixelSize, fStride, fTileCount, fTileHeight);
    Require(cOutOfMemoryException, fTiles != nullptr, "Cannot alloc bitmap tiles.");
    try {
        CopyFromXYZ32(pFrom->fWidth, pFrom->fHeight, pFrom->fStride, pFrom->fData);
    } catch (...) {
        cMemUtils::TiledBitmapFree(fTiles, fTileCount, fTileHeight);
        fTiles = nullptr;
        throw;
    }
}

cBitmapXYZ32T::~cBitmapXYZ32T()
{
    if (fTiles != nullptr) cMemUtils::TiledBitmapFree(fTiles, fTileCount, fTileHeight);
    fTiles = nullptr;
}

float* cBitmapXYZ32T::GetScanline(int pY) const
{
    const int tile = pY / fTileHeight;
    const int row = pY - tile * fTileHeight;
    return static_cast<float*>(fTiles[tile]) + ptrdiff_t{row} * (fStride / 4);
}

void cBitmapXYZ32T::CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32)
{
    Require(cArgumentException, pFromWidth == fWidth, "Argument pFromWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromHeight == fHeight, "Argument pFromWidth must be equal to this->fHeight.");
    Require(cArgumentException, pFromStride >= int64_t{12} * fWidth,
            "Argument pFromStride must be greater than or equal to 12*this->fWidth.");
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    const auto rowBytes = size_t{12} * static_cast<size_t>(fWidth);
    for (int y = 0; y < fHeight; ++y)
        std::memcpy(GetScanline(y), pFromXYZ32 + ptrdiff_t{y} * (pFromStride / 4), rowBytes);
}

} // namespace Vornik
