#ifndef SELVANE_YHMV_PIXELRECORD_H
#define SELVANE_YHMV_PIXELRECORD_H

// The bytes of the two pixel records, internal; cYHMVColorSpace.h draws them. Rows are processed in strips, field by
// field over small arrays, so that the arithmetic between loading and storing vectorises.

#include "base/Versions.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vornik
{

constexpr int kStrip = 128; // pixels; the arrays of a strip stay in the first-level cache

constexpr int kLine = 16; // pixels whose floats fill a line of the cache

constexpr int kYHMVBytes = 14;
constexpr int kYHMVLuminance = 0;

constexpr int kHMVBytes = 10;

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

/// Asks for the lines of kLine records of tBytes bytes. Records are many lines for the processor to foresee, and a
/// store that waits for its line holds up all later ones.
/// @tparam tWrite whether they will be written
template <int tBytes, bool tWrite>
SELVANE_INLINE void PrefetchRecords(const unsigned char* pRecords)
{
    constexpr ptrdiff_t kLineBytes = 64;
    for (ptrdiff_t i = 0; i < ptrdiff_t{tBytes} * kLine; i += kLineBytes)
        __builtin_prefetch(pRecords + i, tWrite ? 1 : 0);
}

/// The records of a strip as they stand, at a distance of 16 bytes. A record moves as one block of 16 bytes; the last
/// one takes its own bytes only, since the next ones need not belong to the picture. An HMV record stands where the
/// same fields of a YHMV record do, from the second word on.
struct sRawRecords
{
    uint32_t fWords[4 * kStrip]; ///< Y; H and half of M; halves of M and V; half of V in the low 16 bits

    SELVANE_INLINE float Luminance(int pAt) const { return std::bit_cast<float>(fWords[ptrdiff_t{4} * pAt]); }
    SELVANE_INLINE int Hue(int pAt) const { return static_cast<int>(fWords[ptrdiff_t{4} * pAt + 1] & 0xFFFF); }
    SELVANE_INLINE float Smallest(int pAt) const
    {
        return Joined(fWords[ptrdiff_t{4} * pAt + 1], fWords[ptrdiff_t{4} * pAt + 2]);
    }
    SELVANE_INLINE float Largest(int pAt) const
    {
        return Joined(fWords[ptrdiff_t{4} * pAt + 2], fWords[ptrdiff_t{4} * pAt + 3]);
    }

    SELVANE_INLINE void Set(int pAt, float pLuminance, int pHue, float pSmallest, float pLargest)
    {
        const auto smallest = std::bit_cast<uint32_t>(pSmallest);
        const auto largest = std::bit_cast<uint32_t>(pLargest);
        fWords[ptrdiff_t{4} * pAt] = std::bit_cast<uint32_t>(pLuminance);
        fWords[ptrdiff_t{4} * pAt + 1] = static_cast<uint32_t>(pHue) | smallest << 16;
        fWords[ptrdiff_t{4} * pAt + 2] = smallest >> 16 | largest << 16;
        fWords[ptrdiff_t{4} * pAt + 3] = largest >> 16;
    }

private:
    static SELVANE_INLINE float Joined(uint32_t pLow, uint32_t pHigh)
    {
        return std::bit_cast<float>(pLow >> 16 | pHigh << 16);
    }
};

/// Moves pCount records, at least 1, from a distance of tFromBytes to one of tToBytes, in this order: each block of 16
/// bytes may reach into the next record. One of the distances is that of the picture. pAhead is where the records of a
/// later strip stand in it, and are asked for.
template <int tFromBytes, int tToBytes>
SELVANE_INLINE void MoveRecords(const unsigned char* pFrom, unsigned char* pTo, int pCount, const unsigned char* pAhead)
{
    constexpr int kBytes = tFromBytes < tToBytes ? tFromBytes : tToBytes;
    for (int first = 0; first < pCount - 1; first += kLine) {
        PrefetchRecords<kBytes, tToBytes == kBytes>(pAhead + ptrdiff_t{kBytes} * first);
        const int end = first + kLine < pCount - 1 ? first + kLine : pCount - 1;
#pragma GCC unroll 4
        for (int n = first; n < end; ++n)
            std::memcpy(pTo + ptrdiff_t{tToBytes} * n, pFrom + ptrdiff_t{tFromBytes} * n, 16);
    }
    const ptrdiff_t last = pCount - 1;
    std::memcpy(pTo + tToBytes * last, pFrom + tFromBytes * last, kBytes);
}

/// The first word of pRaw that a record of tBytes bytes fills.
template <int tBytes>
SELVANE_INLINE auto* FirstWord(auto& pRaw)
{
    return pRaw.fWords + (tBytes == kYHMVBytes ? 0 : 1);
}

/// @tparam tBytes of a record
template <int tBytes>
SELVANE_INLINE void LoadRecords(const unsigned char* pRecords, int pCount, sRawRecords& pRaw)
{
    auto* raw = reinterpret_cast<unsigned char*>(FirstWord<tBytes>(pRaw));
    MoveRecords<tBytes, 16>(pRecords, raw, pCount, pRecords + ptrdiff_t{2} * kStrip * tBytes);
}

/// @tparam tBytes of a record
template <int tBytes>
SELVANE_INLINE void StoreRecords(unsigned char* pRecords, int pCount, const sRawRecords& pRaw)
{
    const auto* raw = reinterpret_cast<const unsigned char*>(FirstWord<tBytes>(pRaw));
    MoveRecords<16, tBytes>(raw, pRecords, pCount, pRecords + ptrdiff_t{2} * kStrip * tBytes);
}

/// Number of pixels in the strip that begins at pFirst.
SELVANE_INLINE int StripCount(int pWidth, ptrdiff_t pFirst)
{
    return static_cast<int>(pWidth - pFirst < kStrip ? pWidth - pFirst : kStrip);
}

} // namespace Vornik

#endif
