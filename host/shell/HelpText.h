#ifndef SELVANE_HOST_SHELL_HELP_TEXT_H
#define SELVANE_HOST_SHELL_HELP_TEXT_H

// The texts of --help: first how a thing is done, then all there is. The footer of a subcommand holds its examples.

#include <CLI/CLI.hpp>
#include <string>

namespace SelvaneHost
{

/// Writes help texts for the command and its subcommands.
class cHelpText : public CLI::FormatterBase
{
public:
    std::string make_help(const CLI::App* pApp, std::string pName, CLI::AppFormatMode pMode) const override;
};

} // namespace SelvaneHost

#endif
