#ifndef SELVANE_CURVE_RENDERERCURVES_H
#define SELVANE_CURVE_RENDERERCURVES_H

// What both renderers do with their curves, internal.

#include "curve/cHermiteSpline.h"

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

} // namespace Vornik

#endif
