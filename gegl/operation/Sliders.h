#ifndef SELVANE_GEGL_OPERATION_SLIDERS_H
#define SELVANE_GEGL_OPERATION_SLIDERS_H

// From the numbers of a dialogue to settings of the library.

#include <array>
#include <selvane.h>

namespace SelvaneGegl
{

/// Six hues around the circle: red, yellow, green, cyan, blue, magenta.
using tHueKeys = std::array<double, 6>;

/// What the sliders say. All 0 change nothing.
struct sSliders
{
    double fCompression = 0.0, fSmoothness = 0.0, fRadius = 0.0, fAdaptation = 0.0;
    double fWhiteClip = 0.0, fBlackClip = 0.0;
    double fExposure = 0.0, fContrast = 0.0, fSaturation = 0.0;
    tHueKeys fHueShift = {};      ///< degrees, -180 to 180
    tHueKeys fHueSaturation = {}; ///< -100 to 100
    tHueKeys fHueLightness = {};  ///< -100 to 100
};

/// Adds the sliders to settings. Sums stay within the ranges of the library, which are wider for offsets. A curve whose
/// keys are all 0 stays as it is.
void AddSliders(const sSliders& pSliders, selvane_settings& pSettings);

} // namespace SelvaneGegl

#endif
