#ifndef SELVANE_YHMV_PIXELRECORD_H
#define SELVANE_YHMV_PIXELRECORD_H

// Byte offsets of the two pixel records, internal; cYHMVColorSpace.h draws them. Rows are processed in strips, field by
// field over small arrays, so that the arithmetic between loading and storing vectorises.

#include "base/Versions.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vornik
{

constexpr int kStrip = 128; // pixels; the arrays of a strip stay in the first-level cache

constexpr int kYHMVBytes = 14;
constexpr int kYHMVLuminance = 0;
constexpr int kYHMVHue = 4;
constexpr int kYHMVSmallest = 6;
constexpr int kYHMVLargest = 10;

constexpr int kHMVBytes = 10;
constexpr int kHMVSmallest = 2;
constexpr int kHMVLargest = 6;

/// The records of a scanline.
inline unsigned char* RecordsOf(unsigned short* pScanline)
{
    return reinterpret_cast<unsigned char*>(pScanline);
}

inline const unsigned char* RecordsOf(const unsigned short* pScanline)
{
    return reinterpret_cast<const unsigned char*>(pScanline);
}

SELVANE_INLINE float LoadFloat(const unsigned char* pFrom)
{
    float value = 0.0f;
    std::memcpy(&value, pFrom, sizeof value);
    return value;
}

SELVANE_INLINE void StoreFloat(unsigned char* pTo, float pValue)
{
    std::memcpy(pTo, &pValue, sizeof pValue);
}

SELVANE_INLINE int LoadHue(const unsigned char* pFrom)
{
    uint16_t hue = 0;
    std::memcpy(&hue, pFrom, sizeof hue);
    return hue;
}

SELVANE_INLINE void StoreHue(unsigned char* pTo, int pHue)
{
    const uint16_t hue = static_cast<uint16_t>(pHue);
    std::memcpy(pTo, &hue, sizeof hue);
}

/// The records of a strip, four numbers of 32 bits each. A record moves as two overlapping blocks of 8 bytes, which stay
/// inside it and take half as many instructions as field by field: Y and H, then M and V.
struct sRecordWords
{
    uint32_t fWords[4 * kStrip]; ///< Y, H in the low 16 bits, M, V
};

SELVANE_INLINE void LoadYHMVWords(const unsigned char* pRecords, int pCount, sRecordWords& pWords)
{
#pragma GCC unroll 4
    for (int n = 0; n < pCount; ++n, pRecords += kYHMVBytes) {
        std::memcpy(pWords.fWords + ptrdiff_t{4} * n, pRecords + kYHMVLuminance, 8);
        std::memcpy(pWords.fWords + ptrdiff_t{4} * n + 2, pRecords + kYHMVSmallest, 8);
    }
}

SELVANE_INLINE void StoreYHMVWords(unsigned char* pRecords, int pCount, const sRecordWords& pWords)
{
#pragma GCC unroll 4
    for (int n = 0; n < pCount; ++n, pRecords += kYHMVBytes) {
        std::memcpy(pRecords + kYHMVLuminance, pWords.fWords + ptrdiff_t{4} * n, 8);
        std::memcpy(pRecords + kYHMVSmallest, pWords.fWords + ptrdiff_t{4} * n + 2, 8);
    }
}

/// Number of pixels in the strip that begins at pFirst.
SELVANE_INLINE int StripCount(int pWidth, ptrdiff_t pFirst)
{
    return static_cast<int>(pWidth - pFirst < kStrip ? pWidth - pFirst : kStrip);
}

} // namespace Vornik

#endif
