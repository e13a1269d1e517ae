#ifndef SELVANE_YHMV_PACKSTRIP_H
#define SELVANE_YHMV_PACKSTRIP_H

// From XYZ to a strip that is ready to be decoded, without a record in between, internal.

#include "yhmv/DecodeStrip.h"
#include "yhmv/EncodeStrip.h"

#include <algorithm>
#include <cstddef>

namespace Vornik
{

/// Packs a strip: hue, smallest and largest primary. The luminance is that of pLuminance, or the pixels' own if null.
SELVANE_INLINE void PackStrip(const float* pXYZ, const float* pLuminance, int pCount, const cMatrix33& pFromPCS,
                              sDecodeStrip& pStrip)
{
    sRecordStrip records;
    for (int n = 0; n < pCount; ++n)
        EncodeXYZ(pXYZ + ptrdiff_t{3} * n, pFromPCS, records, n);
    std::copy_n(pLuminance != nullptr ? pLuminance : records.fLuminance, pCount, pStrip.fLuminance);
    std::copy_n(records.fHue, pCount, pStrip.fHue);
    std::copy_n(records.fSmallest, pCount, pStrip.fSmallest);
    std::copy_n(records.fLargest, pCount, pStrip.fLargest);
}

} // namespace Vornik

#endif
