#ifndef SELVANE_HOST_COMMAND_TONEMAP_H
#define SELVANE_HOST_COMMAND_TONEMAP_H

// The subcommands tonemap and stats. Both call the library's entry, see entry/vorniklib3.h.

#include "command/CommandSteps.h"
#include "picture/Picture.h"
#include "picture/Sliders.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

struct sStatsOptions
{
    std::string fInput;
    std::optional<sArea> fCrop; ///< the part of the input to use
    sTmSliders fSliders = DefaultSliders();
    bool fWrap = false;                               ///< the left and the right edge meet
    std::optional<Vornik::eColorSpaceID> fColorSpace; ///< empty: the file decides
    int fThreads = 0;                                 ///< 0: one for each processor
    bool fVerbose = false;                            ///< show the library's progress lines
};

struct sTonemapOptions : sStatsOptions
{
    sOutput fOutput;
    std::optional<float> fBlackPoint; ///< points of an earlier run; both or none
    std::optional<float> fWhitePoint;
};

/// Tone-maps a picture and writes the result.
/// @throws cHostError
void RunTonemap(const sTonemapOptions& pOptions);

/// Measures a picture and prints its black and white point.
/// @throws cHostError
void RunStats(const sStatsOptions& pOptions);

} // namespace SelvaneHost

#endif
