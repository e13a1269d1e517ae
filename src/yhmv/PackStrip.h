#ifndef SELVANE_YHMV_PACKSTRIP_H
#define SELVANE_YHMV_PACKSTRIP_H

// From XYZ to a strip that is ready to be decoded, without a record in between, internal.

#include "yhmv/DecodeStrip.h"
#include "yhmv/EncodeStrip.h"

#include <algorithm>
#include <cstddef>

namespace Vornik
{

/// Packs a strip: hue, smallest and largest primary. The luminance is that of pLuminance, or the pixels' own if null. A
/// short strip is filled up first: loops of one length take no time for what would remain.
SELVANE_INLINE void PackStrip(const float* pXYZ, const float* pLuminance, int pCount, const cMatrix33& pFromPCS,
                              sDecodeStrip& pStrip)
{
    float filled[3 * kStrip];
    if (pCount < kStrip) {
        std::fill_n(std::copy_n(pXYZ, 3 * pCount, filled), 3 * (kStrip - pCount), 0.0f);
        pXYZ = filled;
    }
    for (int n = 0; n < kStrip; ++n)
        EncodeXYZ(pXYZ + ptrdiff_t{3} * n, pFromPCS, pStrip, n);
    if (pLuminance == nullptr) return;
    for (int n = 0; n < pCount; ++n)
        pStrip.fLuminance[n] = pLuminance[n];
}

/// Asks for a quarter of the pixels of a strip that is two strips ahead. All 24 lines at once would wait for each
/// other.
template <int tQuarter>
SELVANE_INLINE void PrefetchPart(const float* pStrip)
{
    constexpr ptrdiff_t kPart = 3 * kStrip / 4;
    for (ptrdiff_t i = 0; i < kPart; i += 16)
        __builtin_prefetch(pStrip + tQuarter * kPart + i);
}

} // namespace Vornik

#endif
