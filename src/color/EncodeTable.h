#ifndef SELVANE_COLOR_ENCODETABLE_H
#define SELVANE_COLOR_ENCODETABLE_H

// From a colour space's transfer to the table that encodes samples, for both renderers; internal.

#include "base/Numeric.h"
#include "color/cColorSpace.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// True if the space can encode: it is there, and has the transfer that a shell of cColorSpace_GenericRGB, or a clone
/// for whose second transfer there was no memory, lacks.
inline bool CanEncode(cColorSpace* pSpace)
{
    return pSpace != nullptr && pSpace->GetFromLinearTransfer() != nullptr;
}

/// The encoded sample of each linear 16-bit value, 65536 entries. A value outside the unit interval saturates to 32
/// bits and keeps its low 16.
inline void FillEncodeLUT(unsigned short* pTable, cTransfer& pFromLinear)
{
    for (int i = 0; i < kTableSize; i++) {
        const float sample = pFromLinear.Function(static_cast<float>(i) * kFromSample16) * kToSample16;
        pTable[i] = static_cast<unsigned short>(TruncateToUInt32(sample) & 0xFFFFU);
    }
}

} // namespace Vornik

#endif
