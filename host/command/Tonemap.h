#ifndef SELVANE_HOST_COMMAND_TONEMAP_H
#define SELVANE_HOST_COMMAND_TONEMAP_H

// The subcommands tonemap and stats.

#include "batch/Batch.h"
#include "job/Job.h"

namespace SelvaneHost
{

/// What the command line of tonemap and stats says. stats has no output.
struct sTonemapOptions : sRunOptions
{
    std::string fPoints;   ///< of tonemap: file of the points of a sequence; empty: none
    bool fSuggest = false; ///< print the settings instead of rendering
    std::string fReport;   ///< JSON file to write beside the picture; empty: none
};

/// Tone-maps pictures and writes the results. Of a single one says in two lines what was chosen and which options give
/// it again.
/// @throws cHostError
void RunTonemap(const sTonemapOptions& pOptions);

/// Measures a picture and prints its black and white point.
/// @throws cHostError
void RunStats(const sTonemapOptions& pOptions);

} // namespace SelvaneHost

#endif
