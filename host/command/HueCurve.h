#ifndef SELVANE_HOST_COMMAND_HUE_CURVE_H
#define SELVANE_HOST_COMMAND_HUE_CURVE_H

// The hue curves of `selvane equalize`, from the command line to control points.

#include "curve/cHermiteSpline.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// A point of a hue curve.
struct sHuePoint
{
    double fHue = 0;   ///< 0 red, 1/3 green, 2/3 blue, 1 red again
    double fValue = 0; ///< 0 to 1; 0.5 changes nothing
};

/// Reads a list such as "0:0.5,0.33:0.6,1:0.5". Returns the points sorted by hue.
/// @param pOption name of the option, for the text of a failure
/// @throws cUsageError when the text is no such list, a number lies outside of 0 to 1, or a hue occurs twice
std::vector<sHuePoint> ParseHuePoints(const std::string& pText, const std::string& pOption);

/// Returns the control points of a curve through the points, sorted, for eSplineManualTangents.
///
/// Between two neighbours the curve eases from one value to the other (3t^2 - 2t^3). So it never leaves the range of
/// the given values. Hue is a circle: the piece from the last point to the first crosses red. There it is cut into two
/// pieces of the same shape, and hue 0 and hue 1 get one value and one slope. With points at both 0 and 1 no piece
/// crosses red.
std::vector<Vornik::sControlPoint> CircularControlPoints(std::vector<sHuePoint> pPoints);

} // namespace SelvaneHost

#endif
