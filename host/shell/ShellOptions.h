#ifndef SELVANE_HOST_SHELL_SHELL_OPTIONS_H
#define SELVANE_HOST_SHELL_SHELL_OPTIONS_H

// The subcommands about the command itself: config, completions, and manual, which help does not list.

#include <CLI/CLI.hpp>
#include <string>

namespace SelvaneHost
{

/// What the command line of these subcommands says.
struct sShellOptions
{
    std::string fVersion; ///< of the command
    std::string fName;    ///< of a default: "tonemap.quality"
    std::string fValue;   ///< of a default
    std::string fUnset;   ///< name of a default to take away
    std::string fShell;   ///< whose completions to print
    std::string fPage;    ///< subcommand whose manual page to print
};

/// Declares the subcommands. Call it behind all others: they look at them.
void AddShell(CLI::App& pApp, sShellOptions& pOptions);

/// Returns what to say of a command line that cannot be parsed: what is wrong, the nearest option if one was mistyped,
/// and where the right ones are listed.
/// @param pWords the command line, with the name of the program
std::string WordsFor(const CLI::App& pApp, const CLI::ParseError& pError, const std::vector<std::string>& pWords);

/// Refuses a first word that is no subcommand, with the nearest one.
/// @throws cUsageError
void CheckSubcommand(const CLI::App& pApp, const std::vector<std::string>& pWords);

} // namespace SelvaneHost

#endif
