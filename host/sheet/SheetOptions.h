#ifndef SELVANE_HOST_SHEET_SHEET_OPTIONS_H
#define SELVANE_HOST_SHEET_SHEET_OPTIONS_H

#include "sheet/Sheet.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

/// Adds the subcommand sheet. The options live as long as the parser.
void AddSheet(CLI::App& pApp, sSheetOptions& pOptions);

} // namespace SelvaneHost

#endif
