#include "shell/OptionWords.h"

#include <algorithm>

namespace SelvaneHost
{

std::string LongName(const CLI::Option& pOption)
{
    return pOption.get_lnames().empty() ? std::string() : pOption.get_lnames().front();
}

bool IsFlag(const CLI::Option& pOption)
{
    return pOption.get_items_expected_max() == 0;
}

// CLI11 says of a value "TEXT:{srgb,adobe}" or "INT:INT in [0 - 256]": its kind, and what it is checked for.
std::vector<std::string> ChoicesOf(const CLI::Option& pOption)
{
    const std::string type = pOption.get_type_name();
    const size_t from = type.find(":{");
    const size_t to = type.find('}', from);
    if (from == std::string::npos || to == std::string::npos) return {};
    return CLI::detail::split(type.substr(from + 2, to - from - 2), ',');
}

std::string ValueWord(const CLI::Option& pOption)
{
    if (IsFlag(pOption)) return {};
    const std::vector<std::string> choices = ChoicesOf(pOption);
    if (!choices.empty()) return CLI::detail::join(choices, "|");
    const std::string type = pOption.get_type_name();
    const std::string kind = type.substr(0, type.find(':'));
    return kind == "FLOAT" || kind == "INT" || kind == "UINT" ? "N" : kind;
}

std::string Spelling(const CLI::Option& pOption)
{
    std::string text;
    for (const std::string& name : pOption.get_snames())
        text += (text.empty() ? "-" : ", -") + name;
    for (const std::string& name : pOption.get_lnames())
        text += (text.empty() ? "--" : ", --") + name;
    const std::string value = ValueWord(pOption);
    return value.empty() ? text : text + " " + value;
}

std::vector<const CLI::App*> ListedCommands(const CLI::App& pApp)
{
    return pApp.get_subcommands([](const CLI::App* pCommand) { return !pCommand->get_group().empty(); });
}

std::vector<const CLI::Option*> ListedOptions(const CLI::App& pCommand)
{
    return pCommand.get_options(
        [](const CLI::Option* pOption) { return pOption->nonpositional() && !pOption->get_group().empty(); });
}

std::vector<const CLI::Option*> Positionals(const CLI::App& pCommand)
{
    return pCommand.get_options([](const CLI::Option* pOption) { return pOption->get_positional(); });
}

const CLI::Option* FindOption(const CLI::App& pCommand, const std::string& pName)
{
    return pCommand.get_option_no_throw("--" + pName);
}

} // namespace SelvaneHost
