#ifndef SELVANE_HOST_EXPLAIN_EXPLAIN_OPTIONS_H
#define SELVANE_HOST_EXPLAIN_EXPLAIN_OPTIONS_H

#include "explain/Explain.h"

#include <CLI/CLI.hpp>

namespace SelvaneHost
{

/// Adds the subcommand explain. The options live as long as the parser.
void AddExplain(CLI::App& pApp, sExplainOptions& pOptions);

/// Adds --report.
void AddReport(CLI::App& pCommand, std::string& pReport);

} // namespace SelvaneHost

#endif
