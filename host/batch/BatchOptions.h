#ifndef SELVANE_HOST_BATCH_BATCH_OPTIONS_H
#define SELVANE_HOST_BATCH_BATCH_OPTIONS_H

#include "batch/Plan.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

/// Adds the inputs of a subcommand that takes several pictures, and how many are worked on at once.
void AddInputs(CLI::App& pCommand, sBatchOptions& pOptions);

/// Adds where the outputs of several pictures go.
void AddOutputs(CLI::App& pCommand, sBatchOptions& pOptions);

} // namespace SelvaneHost

#endif
