#ifndef SELVANE_HOST_SHELL_MANUAL_PAGE_H
#define SELVANE_HOST_SHELL_MANUAL_PAGE_H

#include <CLI/CLI.hpp>
#include <string>

namespace SelvaneHost
{

/// Returns the manual page of a subcommand in the language of man(7): name, synopsis, examples, options, exit status.
std::string ManualPage(const CLI::App& pCommand, const std::string& pVersion);

} // namespace SelvaneHost

#endif
