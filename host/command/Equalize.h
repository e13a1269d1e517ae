#ifndef SELVANE_HOST_COMMAND_EQUALIZE_H
#define SELVANE_HOST_COMMAND_EQUALIZE_H

// The subcommand equalize.

#include "job/CommandSteps.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

struct sEqualizeOptions
{
    std::string fInput;
    std::optional<sArea> fCrop; ///< the part of the input to use
    sOutput fOutput;
    std::string fHueShift; ///< lists of HUE:VALUE; empty: the curve changes nothing
    std::string fSaturation;
    std::string fLightness;
    std::optional<int> fColorSpace;         ///< of the output, SELVANE_SRGB to SELVANE_REC2020; empty: the file decides
    std::optional<eInputSpace> fInputSpace; ///< what the samples mean; empty: the file decides
    bool fVerbose = false;                  ///< show the lines of libselvane's log
};

/// Applies the three hue curves to a finished picture.
/// @throws cHostError
void RunEqualize(const sEqualizeOptions& pOptions);

} // namespace SelvaneHost

#endif
