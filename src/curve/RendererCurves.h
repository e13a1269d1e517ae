#ifndef SELVANE_CURVE_RENDERERCURVES_H
#define SELVANE_CURVE_RENDERERCURVES_H

// Helpers of both renderers for their curves, internal.

#include "curve/cHermiteSpline.h"

#include <memory>

namespace Vornik
{

/// Returns a neutral hue curve, flat at 0.5.
inline std::unique_ptr<cHermiteSpline> NewNeutralHueCurve()
{
    auto curve = std::make_unique<cHermiteSpline>();
    curve->SetInterpolationMode(eSplineFlatTangents);
    curve->MovePoint(0, 0.0f, 0.5f);
    curve->MovePoint(1, 1.0f, 0.5f);
    return curve;
}

/// Replaces pHeld by a copy of pGiven if the two differ, and returns whether it did. The copy is complete before the
/// old curve is deleted.
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
