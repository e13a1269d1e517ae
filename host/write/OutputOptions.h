#ifndef SELVANE_HOST_WRITE_OUTPUT_OPTIONS_H
#define SELVANE_HOST_WRITE_OUTPUT_OPTIONS_H

// What the command line says of the output. All subcommands that write a picture share these options.

#include "write/Output.h"

namespace CLI
{
class App;
class Option;
} // namespace CLI

namespace SelvaneHost
{

/// Declares the options. Returns --output.
CLI::Option* AddOutputOptions(CLI::App& pCommand, sOutput& pOutput);

/// Declares --format.
void AddFormat(CLI::App& pCommand, sOutput& pOutput);

/// Declares how an output is encoded, without its name.
void AddStorageOptions(CLI::App& pCommand, sOutput& pOutput);

/// Declares --resize and --enlarge.
void AddResizeOptions(CLI::App& pCommand, sOutput& pOutput);

} // namespace SelvaneHost

#endif
