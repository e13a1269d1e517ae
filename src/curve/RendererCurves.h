#ifndef SELVANE_CURVE_RENDERERCURVES_H
#define SELVANE_CURVE_RENDERERCURVES_H

// What both renderers do with their curves, internal.

#include "bitmap/Numeric.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "curve/cTransfer.h"

#include <memory>

namespace Vornik
{

/// A hue curve that changes nothing: flat at one half.
inline std::unique_ptr<cHermiteSpline> NewNeutralHueCurve()
{
    auto curve = std::make_unique<cHermiteSpline>();
    curve->SetInterpolationMode(eSplineFlatTangents);
    curve->MovePoint(0, 0.0f, 0.5f);
    curve->MovePoint(1, 1.0f, 0.5f);
    return curve;
}

/// Puts a copy of pGiven in the place of the held curve if the two differ. The copy is whole before the old curve goes.
/// True if it did.
inline bool ReplaceIfDifferent(cHermiteSpline*& pHeld, const cHermiteSpline& pGiven)
{
    if (!(*pHeld != pGiven)) return false;
    const cHermiteSpline* old = pHeld;
    pHeld = new cHermiteSpline(pGiven);
    delete old;
    return true;
}

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
