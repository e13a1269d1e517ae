#ifndef SELVANE_BITMAP_FLATBLOCK_H
#define SELVANE_BITMAP_FLATBLOCK_H

// The block of a flat bitmap and copies of rows, internal.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vornik
{

/// The next multiple of 4 at or above a width or height in pixels.
constexpr int64_t PadTo4(int64_t pPixels)
{
    return (pPixels + 3) & ~int64_t{3};
}

/// Bytes of the block of a flat bitmap of that height (pixels, not padded) and stride (bytes).
constexpr int64_t FlatBlockSize(int pHeight, int pStride)
{
    return PadTo4(pHeight) * pStride;
}

/// Copies pRowBytes bytes of each of pRows rows; strides in bytes.
inline void CopyRows(void* pDst, ptrdiff_t pDstStride, const void* pSrc, ptrdiff_t pSrcStride, size_t pRowBytes,
                     int pRows)
{
    auto* target = static_cast<unsigned char*>(pDst);
    const auto* source = static_cast<const unsigned char*>(pSrc);
    for (ptrdiff_t y = 0; y < pRows; ++y)
        std::memcpy(target + y * pDstStride, source + y * pSrcStride, pRowBytes);
}

} // namespace Vornik

#endif
