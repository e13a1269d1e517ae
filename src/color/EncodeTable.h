#ifndef SELVANE_COLOR_ENCODETABLE_H
#define SELVANE_COLOR_ENCODETABLE_H

// Builds the table that encodes samples from a colour space's transfer, for both renderers, internal.

#include "base/Numeric.h"
#include "color/cColorSpace.h"
#include "curve/SampleTransfer.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// Returns whether pSpace is not null and has its encoding transfer. An empty cColorSpace_GenericRGB has none. A clone
/// has none if its second transfer found no memory.
inline bool CanEncode(cColorSpace* pSpace)
{
    return pSpace != nullptr && pSpace->GetFromLinearTransfer() != nullptr;
}

/// Fills pTable, 65536 entries, with the encoded sample of each linear 16-bit value. The sample is truncated to an
/// unsigned 32-bit number, which saturates; its low 16 bits are kept.
inline void FillEncodeLUT(unsigned short* pTable, cTransfer& pFromLinear)
{
    ForEachSample(pFromLinear, kTableSize, kFromSample16, [=](size_t i, float pValue) {
        pTable[i] = static_cast<unsigned short>(TruncateToUInt32(pValue * kToSample16) & 0xFFFFU);
    });
}

} // namespace Vornik

#endif
