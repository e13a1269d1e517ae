#ifndef SELVANE_LIB_RENDER_HUECONTROLS_H
#define SELVANE_LIB_RENDER_HUECONTROLS_H

// The curves over hue as the engine's colour equalizer takes them.

#include "curve/cHermiteSpline.h"
#include "selvane.h"

#include <vector>

namespace SelvaneLib
{

/// Returns the control points of a curve, by hue, for eSplineManualTangents. A curve without points is flat at 0.5.
///
/// Between two neighbours the curve eases from one value to the other (3t^2 - 2t^3). So it never leaves the range of
/// the given values. Hue is a circle: the piece from the last point to the first crosses red. There it is cut into two
/// pieces of the same shape, and hue 0 and hue 1 get one value and one slope. With points at both 0 and 1 no piece
/// crosses red.
std::vector<Vornik::sControlPoint> ControlPoints(const selvane_curve& pCurve);

} // namespace SelvaneLib

#endif
