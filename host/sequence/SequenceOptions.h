#ifndef SELVANE_HOST_SEQUENCE_SEQUENCE_OPTIONS_H
#define SELVANE_HOST_SEQUENCE_SEQUENCE_OPTIONS_H

#include "sequence/Sequence.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

/// Adds how the frames of a sequence are smoothed over time.
void AddSmoothing(CLI::App& pCommand, sSequenceOptions& pOptions);

} // namespace SelvaneHost

#endif
