#include "bitmap/cMemUtils.h"

#include "base/BigPages.h"
#include "base/Require.h"
#include "bitmap/FlatBlock.h"

#include <cstdlib>
#include <cstring>

namespace Vornik
{

namespace
{

constexpr int kMaxTileSize = 0xA00000; // bytes of one tile, and of one scanline: 10 MiB

constexpr uint32_t kGuardPattern = 0xFAEF15BC; // guard bytes; the lowest is for a 4-aligned address

/// How a padded height is cut into tiles.
struct sTiling
{
    int fTileHeight; // scanlines of a full tile
    int fTileCount;
    int fFullTiles; // tiles before the last
    int fLastRows;  // scanlines of the last tile, 1 to fTileHeight
};

sTiling CutIntoTiles(int pPaddedHeight, int pStride)
{
    const int tileHeight = kMaxTileSize / pStride;
    const int whole = pPaddedHeight / tileHeight;
    // If the height divides evenly, the last tile is a whole one too.
    const int full = tileHeight * whole < pPaddedHeight ? whole : whole - 1;
    return {tileHeight, full + 1, full, pPaddedHeight - full * tileHeight};
}

void* AllocScanlines(int pRows, int pStride)
{
    return cMemUtils::Malloc(static_cast<unsigned long>(pRows) * static_cast<unsigned long>(pStride));
}

/// Fills the cleared array and returns whether every tile got memory. Allocates the last tile even if a full one
/// failed.
bool AllocTiles(void** pTiles, const sTiling& pTiling, int pStride)
{
    bool complete = true;
    for (int i = 0; i < pTiling.fFullTiles && complete; ++i) {
        pTiles[i] = AllocScanlines(pTiling.fTileHeight, pStride);
        complete = pTiles[i] != nullptr;
    }
    void* const last = AllocScanlines(pTiling.fLastRows, pStride);
    pTiles[pTiling.fTileCount - 1] = last;
    return complete && last != nullptr;
}

/// Frees the full tiles and the array. Required: if a full tile failed, the last tile is lost.
void DropTiles(void** pTiles, const sTiling& pTiling)
{
    for (int i = 0; i < pTiling.fFullTiles; ++i) {
        if (pTiles[i] != nullptr) cMemUtils::Free(pTiles[i]);
        pTiles[i] = nullptr;
    }
    cMemUtils::Free(pTiles);
}

unsigned char GuardByte(const char* pByte)
{
    const auto shift = static_cast<unsigned>(reinterpret_cast<uintptr_t>(pByte) & 3) * 8;
    return static_cast<unsigned char>(kGuardPattern >> shift);
}

} // namespace

void* cMemUtils::Malloc(unsigned long pSize)
{
    void* const block = std::malloc(pSize);
    AskForBigPages(block, pSize);
    return block;
}

void* cMemUtils::Calloc(unsigned long pCount, unsigned long pSize)
{
    return std::calloc(pCount, pSize);
}

void cMemUtils::Free(void* pBlock)
{
    std::free(pBlock);
}

void cMemUtils::SafeMemCopy(void* pDst, const void* pSrc, unsigned int pByteCount, void* pBlockStart,
                            unsigned int pBlockLength)
{
    const auto target = reinterpret_cast<uintptr_t>(pDst);
    const auto start = reinterpret_cast<uintptr_t>(pBlockStart);
    const auto end = start + pBlockLength;
    Require(cArgumentNullException, pBlockStart != nullptr, "Argument 'pBlockStart' cannot be null.");
    Require(cArgumentNullException, pSrc != nullptr, "Argument 'pSrc' cannot be null.");
    Require(cArgumentException, pByteCount != 0, "Argument 'pByteCount' must be greater than zero.");
    Require(cArgumentException, pBlockLength != 0, "Argument 'pBlockLength' must be greater than zero.");
    Require(cArgumentException, target >= start, "Argument 'pDst' cannot be less than 'pBlockStart'.");
    Require(cArgumentException, target < end,
            "Argument 'pDst' cannot be greater than or equal to 'pBlockStart + pBlockLength'.");
    Require(cArgumentException, pByteCount <= end - target, "Cannot copy outside of memory block.");
    std::memcpy(pDst, pSrc, pByteCount);
}

void* cMemUtils::BitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride)
{
    pStride = GetBitmapStride(pWidth, pPixelByteSize);
    const int64_t height = PadTo4(pHeight);
    const int64_t size = height * pStride;
    const bool fits = PadTo4(pWidth) * pPixelByteSize == pStride && height <= INT32_MAX && size >= 0;
    return fits ? Malloc(static_cast<unsigned long>(size)) : nullptr;
}

void cMemUtils::BitmapFree(void* pBlock)
{
    Free(pBlock);
}

int cMemUtils::GetBitmapStride(int pWidth, int pPixelByteSize)
{
    const uint32_t padded = (static_cast<uint32_t>(pWidth) + 3) & ~uint32_t{3};
    return static_cast<int>(padded * static_cast<uint32_t>(pPixelByteSize));
}

void** cMemUtils::TiledBitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride, int& pTileCount,
                                   int& pTileHeight)
{
    Require(cArgumentException, pWidth > 0, "Argument 'pWidth' cannot be less or equal to 0.");
    Require(cArgumentException, pHeight > 0, "Argument 'pHeight' cannot be less or equal to 0.");
    Require(cArgumentException, pPixelByteSize > 0, "Argument 'pPixelByteSize' cannot be less or equal to 0.");
    const int64_t rowBytes = PadTo4(pWidth) * pPixelByteSize;
    Require(cInvalidOperationException, rowBytes <= kMaxTileSize, "Scanline width exceeds max tile size.");
    const int64_t paddedHeight = PadTo4(pHeight);
    if (paddedHeight > INT32_MAX) return nullptr;

    const int stride = static_cast<int>(rowBytes);
    const sTiling tiling = CutIntoTiles(static_cast<int>(paddedHeight), stride);
    auto** const tiles = static_cast<void**>(Calloc(static_cast<unsigned long>(tiling.fTileCount), sizeof(void*)));
    if (tiles == nullptr) return nullptr;
    if (!AllocTiles(tiles, tiling, stride)) {
        DropTiles(tiles, tiling);
        return nullptr;
    }
    pStride = stride;
    pTileCount = tiling.fTileCount;
    pTileHeight = tiling.fTileHeight;
    return tiles;
}

void cMemUtils::TiledBitmapFree(void** pTiles, int pTileCount, int pTileHeight)
{
    Require(cArgumentException, pTiles != nullptr, "Argument 'pTiles' cannot be null.");
    Require(cArgumentException, pTileCount > 0, "Argument 'pTileCount' cannot be less or equal to 0.");
    Require(cArgumentException, pTileHeight > 0, "Argument 'pTileHeight' cannot be less or equal to 0.");
    bool complete = true;
    for (int i = 0; i < pTileCount; ++i) {
        if (pTiles[i] == nullptr)
            complete = false;
        else
            Free(pTiles[i]);
        pTiles[i] = nullptr;
    }
    Free(pTiles);
    Require(cInvalidOperationException, complete, "Tiles array contains one or several null tiles.");
}

void cMemUtils::MarkBounds(char* /*pBlock*/, unsigned long /*pSize*/) {}

void cMemUtils::CheckBounds(char* /*pBlock*/) {}

void cMemUtils::MarkByte(char* pByte)
{
    *pByte = static_cast<char>(GuardByte(pByte));
}

void cMemUtils::CheckByte(char* pByte)
{
    if (static_cast<unsigned char>(*pByte) != GuardByte(pByte)) __builtin_trap();
}

} // namespace Vornik
