#ifndef SELVANE_BITMAP_CMEMUTILS_H
#define SELVANE_BITMAP_CMEMUTILS_H

#include "base/Export.h"

namespace Vornik
{

/// All pixel memory of the library: the size rules of flat and tiled bitmaps, a bounds-checked copy and guard bytes.
///
/// Sizes. A width or height of v pixels is padded to (v + 3) with its two low bits cleared, the next multiple of 4. The
/// stride is the padded width times the bytes of a pixel. A flat block is paddedHeight x stride bytes. A tile set cuts
/// the padded height into blocks of whole scanlines of at most 0xA00000 bytes (10 MiB):
///
///     tiles[0]              tileHeight scanlines, stride bytes apart
///     ...                   tileHeight scanlines each
///     tiles[tileCount - 1]  what is left of the padded height, 1 to tileHeight scanlines
///
/// Exhausted memory is a null result here, never an exception. No operation shares state with another.
class SELVANE_API cMemUtils
{
public:
    static void* Malloc(unsigned long pSize);                       ///< malloc; may return null
    static void* Calloc(unsigned long pCount, unsigned long pSize); ///< calloc; may return null
    static void Free(void* pBlock);                                 ///< free

    /// Copies pByteCount bytes to pDst, which must lie inside the pBlockLength bytes from pBlockStart. The source must
    /// not overlap the destination. Throws cArgumentNullException or cArgumentException.
    static void SafeMemCopy(void* pDst, const void* pSrc, unsigned int pByteCount, void* pBlockStart,
                            unsigned int pBlockLength);

    /// A flat block for BitmapFree, not cleared; null when memory runs out or a size does not fit its 32 bits. pStride
    /// takes the stride in bytes in either case, as GetBitmapStride gives it. The arguments are not checked.
    static void* BitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride);
    static void BitmapFree(void* pBlock);

    /// The stride in bytes of a row of pWidth pixels, in wrapping 32-bit arithmetic.
    static int GetBitmapStride(int pWidth, int pPixelByteSize);

    /// A tile set for TiledBitmapFree, not cleared; null, with the three results untouched, when memory runs out or the
    /// padded height does not fit 32 bits. Throws cArgumentException for an argument below 1 and
    /// cInvalidOperationException for a scanline longer than 0xA00000 bytes.
    static void** TiledBitmapAlloc(int pWidth, int pHeight, int pPixelByteSize, int& pStride, int& pTileCount,
                                   int& pTileHeight);

    /// Releases a tile set. Throws cArgumentException, before anything is released, for a null set or a count or height
    /// below 1; throws cInvalidOperationException, after everything is released, when a tile was null.
    static void TiledBitmapFree(void** pTiles, int pTileCount, int pTileHeight);

    static void MarkBounds(char* pBlock, unsigned long pSize); ///< does nothing
    static void CheckBounds(char* pBlock);                     ///< does nothing

    /// Stores the guard byte of that address: 0xBC, 0x15, 0xEF, 0xFA for an address of 0, 1, 2, 3 modulo 4.
    static void MarkByte(char* pByte);
    /// Stops the process with a trap unless the guard byte of that address stands there.
    static void CheckByte(char* pByte);
};

} // namespace Vornik

#endif
