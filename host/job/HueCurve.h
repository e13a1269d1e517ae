#ifndef SELVANE_HOST_JOB_HUE_CURVE_H
#define SELVANE_HOST_JOB_HUE_CURVE_H

// The hue curves of `selvane equalize`, as the command line gives them.

#include <selvane.h>

#include <string>

namespace SelvaneHost
{

/// Reads a list such as "0:0.5,0.33:0.6,1:0.5": points of hue and value. Hue 0 is red, 1/3 green, 2/3 blue, 1 red
/// again; a value of 0.5 changes nothing.
/// @param pOption name of the option, for the text of a failure
/// @throws cUsageError when the text is no such list, a number lies outside of 0 to 1, a hue occurs twice, or there are
///         more than SELVANE_MOST_POINTS points
selvane_curve ParseHueCurve(const std::string& pText, const std::string& pOption);

} // namespace SelvaneHost

#endif
