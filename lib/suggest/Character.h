#ifndef SELVANE_LIB_SUGGEST_CHARACTER_H
#define SELVANE_LIB_SUGGEST_CHARACTER_H

// What kind of scene it is, before anything is rendered. Only ratios of luminance count: a scene has no unit.

#include "suggest/Suggest.h"

namespace SelvaneLib
{

/// Each mark is 0 (not at all) to 1.
struct sCharacter
{
    double fLowKey = 0.0;        ///< most lies near the darkest parts, a little far above: lamps in the night
    double fVioletShadows = 0.0; ///< the darkest tenth is violet: noise of the sensor
    double fNight = 0.0;         ///< the two together
    double fHighKey = 0.0;       ///< most lies near the brightest parts or nothing is dark: snow, fog, a white room
    double fWhiteRoom = 0.0;     ///< nothing is dark, and there are sources: walls that throw light about, and a window
    double fTexture = 0.0;       ///< local contrast, decades
    double fSources = 0.0;       ///< share of pixels far above the median: windows, sky, lamps
};

/// @param pScene with at least one pixel that counts
sCharacter CharacterOf(const sScene& pScene);

/// Whether a pixel of the reduced picture counts: weight and luminance above 0, the luminance finite.
bool Counts(const sScene& pScene, size_t pPixel);

} // namespace SelvaneLib

#endif
