#ifndef SELVANE_LIB_RENDER_HUETABLES_H
#define SELVANE_LIB_RENDER_HUETABLES_H

// The three hue curves of the settings as tables over all 65536 hues.

#include "selvane.h"

#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// Whether any of the three curves has points.
bool HasHueCurves(const selvane_settings& pSettings);

/// The curve at each hue i / 65535, 0 to 1; 0.5 everywhere without points. Between two points it eases (3t^2 - 2t^3),
/// and the piece from the last point to the first crosses red.
std::vector<float> HueTable(const selvane_curve& pCurve);

/// The same as 16-bit samples, truncated: 0.5 becomes 32767.
std::vector<uint16_t> HueSamples(const selvane_curve& pCurve);

} // namespace SelvaneLib

#endif
