#ifndef SELVANE_HOST_COMMAND_HUE_CURVE_H
#define SELVANE_HOST_COMMAND_HUE_CURVE_H

// The curves of `selvane equalize`, as a person writes them.

#include "curve/cHermiteSpline.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// A point of a hue curve: where on the circle of hues, and how much (0.5 changes nothing).
struct sHuePoint
{
    double fHue = 0;   ///< 0 red, 1/3 green, 2/3 blue, 1 red again
    double fValue = 0; ///< 0 to 1
};

/// Reads "0:0.5,0.33:0.6,1:0.5".
/// @param pOption name of the option, for the words of a failure
/// @throws cUsageError when the text is no such list, a number lies outside of 0 to 1, or a hue comes twice
std::vector<sHuePoint> ParseHuePoints(const std::string& pText, const std::string& pOption);

/// The control points of a curve through the points, sorted, for eSplineManualTangents.
///
/// Between neighbours the curve eases from one value to the other (3t^2 - 2t^3), so that it never leaves the values
/// given. Hue is a circle: the stretch between the last point and the first one goes across red, where it is cut in
/// two, without a change of its shape, so that hue 0 and hue 1 get one value and one slope. Points at both 0 and 1 end
/// that stretch.
std::vector<Vornik::sControlPoint> CircularControlPoints(std::vector<sHuePoint> pPoints);

} // namespace SelvaneHost

#endif
