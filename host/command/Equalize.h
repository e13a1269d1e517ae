#ifndef SELVANE_HOST_COMMAND_EQUALIZE_H
#define SELVANE_HOST_COMMAND_EQUALIZE_H

// The subcommand equalize. It drives the library's colour equalizer through the classes and not through the entry.

#include "command/CommandSteps.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

struct sEqualizeOptions
{
    std::string fInput;
    sOutput fOutput;
    std::string fHueShift; ///< lists of HUE:VALUE; empty: the curve changes nothing
    std::string fSaturation;
    std::string fLightness;
    std::optional<Vornik::eColorSpaceID> fColorSpace; ///< empty: the file decides
    bool fVerbose = false;                            ///< show the library's progress lines
};

/// Applies the three hue curves to a finished picture.
/// @throws cHostError
void RunEqualize(const sEqualizeOptions& pOptions);

} // namespace SelvaneHost

#endif
