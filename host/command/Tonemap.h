#ifndef SELVANE_HOST_COMMAND_TONEMAP_H
#define SELVANE_HOST_COMMAND_TONEMAP_H

// The subcommands tonemap and stats. tonemap develops through libselvane, see Develop.h. With --exact and with points,
// and in stats, the sliders go to the entry of the engine as they stand, see entry/vorniklib3.h.

#include "command/CommandSteps.h"
#include "command/Develop.h"
#include "picture/Picture.h"
#include "picture/Sliders.h"

#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

struct sStatsOptions
{
    std::string fInput;
    std::optional<sArea> fCrop; ///< the part of the input to use
    sTmSliders fSliders = DefaultSliders();
    std::vector<std::string> fGiven;                  ///< options of the sliders that were given
    bool fWrap = false;                               ///< the left and the right edge meet
    std::optional<Vornik::eColorSpaceID> fColorSpace; ///< empty: the file decides
    int fThreads = 0;                                 ///< 0: one for each processor
    bool fVerbose = false;                            ///< show the library's progress lines
};

struct sTonemapOptions : sStatsOptions
{
    sOutput fOutput;
    bool fExact = false;              ///< sliders as they stand, without a suggestion
    bool fSuggest = false;            ///< print the settings instead of rendering
    sLookOptions fLook;               ///< without the fields that sStatsOptions has
    std::optional<float> fBlackPoint; ///< points of an earlier run; both or none
    std::optional<float> fWhitePoint;
};

/// Tone-maps a picture and writes the result. Says in two lines what was chosen and which options give it again.
/// @throws cHostError
void RunTonemap(const sTonemapOptions& pOptions);

/// Measures a picture and prints its black and white point.
/// @throws cHostError
void RunStats(const sStatsOptions& pOptions);

} // namespace SelvaneHost

#endif
