#ifndef SELVANE_HOST_SHELL_OPTION_WORDS_H
#define SELVANE_HOST_SHELL_OPTION_WORDS_H

// What help, manual pages, completions and the file of defaults all ask about the options of the command. The options
// themselves are declared once, with CLI11.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns the long name without dashes, "white-clip". Empty for a positional one.
std::string LongName(const CLI::Option& pOption);

/// Whether the option takes no value.
bool IsFlag(const CLI::Option& pOption);

/// Returns the words of which the value is one. Empty if it may be anything else.
std::vector<std::string> ChoicesOf(const CLI::Option& pOption);

/// Returns what stands for the value in a help text: "8|16", "N", "FILE". Empty for a flag.
std::string ValueWord(const CLI::Option& pOption);

/// Returns the option with its value, as a person would type it: "-o, --output FILE".
std::string Spelling(const CLI::Option& pOption);

/// Returns the subcommands that help lists, in order.
std::vector<const CLI::App*> ListedCommands(const CLI::App& pApp);

/// Returns the options that are no positionals and that help lists, in order.
std::vector<const CLI::Option*> ListedOptions(const CLI::App& pCommand);

/// Returns the positionals, in order.
std::vector<const CLI::Option*> Positionals(const CLI::App& pCommand);

/// Returns the option with the long name, without dashes. Null if there is none.
const CLI::Option* FindOption(const CLI::App& pCommand, const std::string& pName);

} // namespace SelvaneHost

#endif
