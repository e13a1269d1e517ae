#include "shell/HelpText.h"

#include "shell/OptionWords.h"

#include <algorithm>
#include <sstream>

namespace SelvaneHost
{

namespace
{

constexpr size_t kColumn = 32;   // where explanations begin
constexpr size_t kColumns = 100; // of a line

/// Appends a text with line breaks between words. The first line goes on behind pUsed columns.
void AppendWrapped(std::string& pTo, const std::string& pText, size_t pUsed)
{
    std::istringstream words(pText);
    std::string word;
    for (bool first = true; words >> word; first = false) {
        if (!first && pUsed + 1 + word.size() > kColumns) {
            pTo += "\n" + std::string(kColumn, ' ');
            pUsed = kColumn;
            first = true;
        }
        pTo += (first ? "" : " ") + word;
        pUsed += word.size() + (first ? 0 : 1);
    }
    pTo += "\n";
}

/// A line of a list: a name, and what it is in the second column.
std::string Entry(const std::string& pName, const std::string& pWhat)
{
    std::string text = "  " + pName;
    if (text.size() + 2 > kColumn)
        text += "\n" + std::string(kColumn, ' ');
    else
        text.resize(kColumn, ' ');
    AppendWrapped(text, pWhat, kColumn);
    return text;
}

std::string UsageOf(const CLI::App& pCommand, const std::string& pName)
{
    std::string text = "Usage: " + pName;
    if (!ListedCommands(pCommand).empty()) return text + " SUBCOMMAND ...\n";
    for (const CLI::Option* positional : Positionals(pCommand)) {
        std::string word = positional->get_name(true);
        if (positional->get_items_expected_max() > 1) word += "...";
        text += positional->get_required() ? " " + word : " [" + word + "]";
    }
    return text + " [OPTION]...\n";
}

std::string PositionalsText(const CLI::App& pCommand)
{
    std::string text;
    for (const CLI::Option* positional : Positionals(pCommand))
        text += Entry(positional->get_name(true), positional->get_description());
    return text.empty() ? text : "\n" + text;
}

/// The options of a group. "Options" comes last: its options are of no special room.
std::string GroupText(const CLI::App& pCommand, const std::string& pGroup)
{
    std::string text;
    for (const CLI::Option* option : ListedOptions(pCommand))
        if (option->get_group() == pGroup) text += Entry(Spelling(*option), option->get_description());
    return text.empty() ? text : "\n" + pGroup + ":\n" + text;
}

std::string OptionsText(const CLI::App& pCommand)
{
    constexpr const char* kOthers = "Options";
    std::string text;
    std::vector<std::string> done = {kOthers};
    for (const CLI::Option* option : ListedOptions(pCommand)) {
        if (std::find(done.begin(), done.end(), option->get_group()) != done.end()) continue;
        done.push_back(option->get_group());
        text += GroupText(pCommand, option->get_group());
    }
    return text + GroupText(pCommand, kOthers);
}

std::string CommandsText(const CLI::App& pApp)
{
    std::string text;
    for (const CLI::App* command : ListedCommands(pApp))
        text += Entry(command->get_name(), command->get_description());
    return text.empty() ? text : "\nSubcommands:\n" + text;
}

} // namespace

std::string cHelpText::make_help(const CLI::App* pApp, std::string pName, CLI::AppFormatMode /*pMode*/) const
{
    std::string text = pApp->get_description() + "\n\n" + UsageOf(*pApp, pName);
    if (!pApp->get_footer().empty()) text += "\n" + pApp->get_footer() + "\n";
    return text + PositionalsText(*pApp) + CommandsText(*pApp) + OptionsText(*pApp);
}

} // namespace SelvaneHost
