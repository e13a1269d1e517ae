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

/// Number of pixels in the strip that begins at pFirst.
SELVANE_INLINE int StripCount(int pWidth, ptrdiff_t pFirst)
{
    return static_cast<int>(pWidth - pFirst < kStrip ? pWidth - pFirst : kStrip);
}

} // namespace Vornik

#endif
