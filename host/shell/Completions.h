#ifndef SELVANE_HOST_SHELL_COMPLETIONS_H
#define SELVANE_HOST_SHELL_COMPLETIONS_H

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Words that a value may be, beside those that the option itself knows, by the option's long name without dashes.
using tValueWords = std::map<std::string, std::vector<std::string>>;

/// Returns the script that makes a shell complete the subcommands, options and values of the program.
/// @param pShell "bash", "zsh" or "fish"
std::string CompletionsFor(const CLI::App& pApp, const std::string& pShell, const tValueWords& pWords);

} // namespace SelvaneHost

#endif
