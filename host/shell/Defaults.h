#ifndef SELVANE_HOST_SHELL_DEFAULTS_H
#define SELVANE_HOST_SHELL_DEFAULTS_H

// A person's own defaults: a file of TOML with a table for each subcommand and a line for each option.
//
//     [tonemap]
//     preset = "clear"
//     quality = 92
//     quiet = true
//
// Its options are put before those of the command line, where the last of a repeated option counts.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns the name of the file: $SELVANE_CONFIG, else $XDG_CONFIG_HOME/selvane/config.toml, else
/// ~/.config/selvane/config.toml. "" if SELVANE_CONFIG is empty or nobody's home is known: then there are no defaults.
std::string DefaultsPath();

/// Returns the command line with the defaults of its subcommand behind the name of the subcommand. Without a file the
/// words stay as they are. An option is left out if the command line has it or one that does not go with it.
/// @param pWords the command line, with the name of the program
/// @throws cUsageError for a file that is no TOML, and for a table, an option or a kind of value that does not exist
/// @throws cHostError when the file is there and cannot be read
std::vector<std::string> WithDefaults(const CLI::App& pApp, const std::vector<std::string>& pWords);

/// Returns the value of a default as the file has it, such as "92". `pName` is "tonemap.quality".
/// @throws cUsageError for an option that does not exist; cHostError if it has no default
std::string DefaultOf(const CLI::App& pApp, const std::string& pName);

/// Sets a default, and keeps all others. Comments of the file are lost.
/// @throws cUsageError for an option that does not exist
/// @throws cHostError when the file cannot be read or written
void SetDefault(const CLI::App& pApp, const std::string& pName, const std::string& pValue);

/// Takes a default away. A default that is not there stays away.
/// @throws as SetDefault
void UnsetDefault(const CLI::App& pApp, const std::string& pName);

/// Returns all defaults as TOML.
/// @throws as WithDefaults
std::string AllDefaults(const CLI::App& pApp);

} // namespace SelvaneHost

#endif
