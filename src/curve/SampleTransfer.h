#ifndef SELVANE_CURVE_SAMPLETRANSFER_H
#define SELVANE_CURVE_SAMPLETRANSFER_H

// Transfer functions sampled into tables, internal: the values of Function, worked out many at a time.

#include "curve/cTransfer.h"

#include <cstddef>

namespace Vornik
{

constexpr size_t kSamplesAtOnce = 128;

/// Fills pValues with pTransfer.Function(i * pStep) for the kSamplesAtOnce indices i from pFirst on. Powers and the
/// sRGB curves are computed in vectors; every other transfer is asked for each value.
/// @throws what pTransfer throws
void SampleTransfer(cTransfer& pTransfer, size_t pFirst, float pStep, float (&pValues)[kSamplesAtOnce]);

/// Calls pTake(i, value) with the value of the transfer at i * pStep, for all indices i below pCount. pCount is a
/// multiple of kSamplesAtOnce.
template <class tTake>
void ForEachSample(cTransfer& pTransfer, size_t pCount, float pStep, tTake pTake)
{
    float values[kSamplesAtOnce];
    for (size_t first = 0; first < pCount; first += kSamplesAtOnce) {
        SampleTransfer(pTransfer, first, pStep, values);
        for (size_t i = 0; i < kSamplesAtOnce; ++i)
            pTake(first + i, values[i]);
    }
}

} // namespace Vornik

#endif
