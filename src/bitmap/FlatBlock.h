#ifndef SELVANE_BITMAP_FLATBLOCK_H
#define SELVANE_BITMAP_FLATBLOCK_H

// Sizes of a flat bitmap's block, and copies of rows, internal.

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vornik
{

/// Rounds a width or height in pixels up to a multiple of 4.
constexpr int64_t PadTo4(int64_t pPixels)
{
    return (pPixels + 3) & ~int64_t{3};
}

/// Bytes of a flat bitmap's block. pHeight is in pixels, not padded; pStride is in bytes.
constexpr int64_t FlatBlockSize(int pHeight, int pStride)
{
    return PadTo4(pHeight) * pStride;
}

/// Copies the first pRowBytes bytes of pRows rows. Strides are in bytes.
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
