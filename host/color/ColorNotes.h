#ifndef SELVANE_HOST_COLOR_COLOR_NOTES_H
#define SELVANE_HOST_COLOR_COLOR_NOTES_H

#include "picture/Bytes.h"

#include <array>
#include <optional>

namespace SelvaneHost
{

inline constexpr int kNotSaid = 2; ///< the number of ITU-T H.273 for primaries and curves alike

/// Colours by the numbers of ITU-T H.273, as PNG, HEIF, AVIF and JPEG XL files have them.
struct sCodePoints
{
    int fPrimaries = kNotSaid;
    int fTransfer = kNotSaid;
};

/// Everything that a file says of its colours. Interpret.h decides what counts.
struct sColorNotes
{
    std::optional<sCodePoints> fCodePoints = {};
    tBytes fProfile = {};                                     ///< ICC; empty: none
    std::optional<int> fSpace = {};                           ///< SELVANE_SRGB or SELVANE_ADOBE_RGB, by name
    std::optional<std::array<float, 8>> fChromaticities = {}; ///< x and y of red, green, blue, white
    std::optional<double> fGamma = {};                        ///< linear value = sample ^ gamma
    float fWhiteLuminance = 0.0F;                             ///< cd/m2 of the sample 1; 0: not said
};

} // namespace SelvaneHost

#endif
