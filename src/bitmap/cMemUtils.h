#ifndef SELVANE_BITMAP_CMEMUTILS_H
#define SELVANE_BITMAP_CMEMUTILS_H

#include "base/Export.h"

namespace Vornik
{

/// Allocates all pixel memory of the library, flat or tiled. Also offers a bounds-checked copy and guard bytes.
///
/// A width or height of v pixels is padded to (v + 3) & ~3, the next multiple of 4. The stride is the padded width
/// times the bytes of a pixel. A flat block has paddedHeight x stride bytes. A tile set cuts the padded height into
/// blocks of whole scanlines. A block has at most 0xA00000 bytes (10 MiB):
///
///     tiles[0]              tileHeight scanlines, stride bytes apart
///     ...                   tileHeight scanlines each
///     tiles[tileCount - 1]  the rest of the padded height, 1 to tileHeight scanlines
///
/// If memory runs out, an operation returns null and does not throw. The operations share no state.
class SELVANE_API cMemUtils
{
public:
    static void* Malloc(unsigned long pSize);                       ///< malloc; may return null
    static void* Calloc(unsigned long pCount, unsigned long pSize); ///< calloc; may return null
    static void Free(void* pBlock);                                 ///< free

    /// Copies pByteCount bytes to pDst. The destination must be inside the pBlockLength bytes from pBlockStart. The
    /// source must not overlap it. Throws cArgumentNullException or cArgumentException.
    static void SafeMemCopy(void* pDst, const void* pSrc, unsigned int pByteCount, void* pBlockStart,
                            unsigned int pBlockLength);

    /// Returns a flat block, not cleared, which BitmapFree releases. Returns null if memory runs out or a size does not
    /// fit 32 bits. In both cases pStride becomes the result of GetBitmapStride. Arguments are not checked.
    static void* BitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride);
    static void BitmapFree(void* pBlock);

    /// Returns the stride in bytes of a row of pWidth pixels, in wrapping 32-bit arithmetic.
    static int GetBitmapStride(int pWidth, int pPixelByteSize);

    /// Returns a tile set, not cleared, which TiledBitmapFree releases. Returns null if memory runs out or the padded
    /// height does not fit 32 bits; the three results then stay untouched. Throws cArgumentException for an argument
    /// below 1 and cInvalidOperationException for a scanline longer than 0xA00000 bytes.
    static void** TiledBitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride, int& pTileCount,
                                   int& pTileHeight);

    /// Releases a tile set. Throws cArgumentException for a null set or a count or height below 1, and releases nothing
    /// then. Throws cInvalidOperationException if a tile was null, after everything has been released.
    static void TiledBitmapFree(void** pTiles, int pTileCount, int pTileHeight);

    static void MarkBounds(char* pBlock, unsigned long pSize); ///< does nothing
    static void CheckBounds(char* pBlock);                     ///< does nothing

    /// Stores the guard byte of that address: 0xBC, 0x15, 0xEF, 0xFA for an address of 0, 1, 2, 3 modulo 4.
    static void MarkByte(char* pByte);
    /// Ends the process with a trap unless *pByte is the guard byte of its address.
    static void CheckByte(char* pByte);
};

} // namespace Vornik

#endif
