#include "shell/ManualPage.h"

#include "shell/OptionWords.h"

#include <algorithm>
#include <sstream>

namespace SelvaneHost
{

namespace
{

/// A text as man(7) takes it: a backslash, a dash, and a point or a quote at the beginning of a line mean something
/// there.
std::string Plain(const std::string& pText)
{
    std::string text;
    bool begins = true;
    for (const char letter : pText) {
        if (begins && (letter == '.' || letter == '\'')) text += "\\&";
        begins = letter == '\n';
        if (letter == '\\')
            text += "\\e";
        else if (letter == '-')
            text += "\\-";
        else
            text += letter;
    }
    return text;
}

std::string Synopsis(const CLI::App& pCommand)
{
    std::string text = ".B selvane " + Plain(pCommand.get_name()) + "\n";
    for (const CLI::Option* positional : Positionals(pCommand)) {
        const bool several = positional->get_items_expected_max() > 1;
        text += ".I " + Plain(positional->get_name(true)) + (several ? " ...\n" : "\n");
    }
    return text + ".RI [ option \" ...]\"\n";
}

std::string Entry(const std::string& pName, const std::string& pWhat)
{
    return ".TP\n.B " + Plain(pName) + "\n" + Plain(pWhat) + "\n";
}

/// The options by group, each group under a heading of its own.
std::string Options(const CLI::App& pCommand)
{
    std::vector<std::string> groups;
    for (const CLI::Option* option : ListedOptions(pCommand))
        if (std::find(groups.begin(), groups.end(), option->get_group()) == groups.end())
            groups.push_back(option->get_group());
    std::string text;
    for (const std::string& group : groups) {
        if (group != "Options") text += ".SS " + Plain(group) + "\n";
        for (const CLI::Option* option : ListedOptions(pCommand))
            if (option->get_group() == group) text += Entry(Spelling(*option), option->get_description());
    }
    return text;
}

std::string Capitals(std::string pText)
{
    std::transform(pText.begin(), pText.end(), pText.begin(), [](char pLetter) {
        return pLetter >= 'a' && pLetter <= 'z' ? static_cast<char>(pLetter - 'a' + 'A') : pLetter;
    });
    return pText;
}

} // namespace

std::string ManualPage(const CLI::App& pCommand, const std::string& pVersion)
{
    const std::string name = "selvane-" + pCommand.get_name();
    std::string text = ".TH " + Capitals(name) + " 1 \"\" \"selvane " + pVersion + "\" \"User commands\"\n";
    text += ".SH NAME\n" + Plain(name) + " \\- " + Plain(pCommand.get_description()) + "\n";
    text += ".SH SYNOPSIS\n" + Synopsis(pCommand);
    if (!pCommand.get_footer().empty()) text += ".SH EXAMPLES\n.nf\n" + Plain(pCommand.get_footer()) + "\n.fi\n";
    text += ".SH OPTIONS\n";
    for (const CLI::Option* positional : Positionals(pCommand))
        text += Entry(positional->get_name(true), positional->get_description());
    text += Options(pCommand);
    text += ".SH EXIT STATUS\n0: done. 1: a picture could not be read, computed or written. 2: the command line is "
            "wrong.\n";
    return text + ".SH SEE ALSO\n.BR selvane (1)\n";
}

} // namespace SelvaneHost
