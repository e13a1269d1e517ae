#include "shell/ShellOptions.h"

#include "picture/Errors.h"
#include "shell/Completions.h"
#include "shell/Defaults.h"
#include "shell/ManualPage.h"
#include "shell/Nearest.h"
#include "shell/OptionWords.h"

#include <algorithm>
#include <cstdio>
#include <selvane.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

void Print(const std::string& pText)
{
    std::fwrite(pText.data(), 1, pText.size(), stdout);
}

void RunConfig(const CLI::App& pApp, const sShellOptions& pOptions)
{
    if (!pOptions.fUnset.empty()) return UnsetDefault(pApp, pOptions.fUnset);
    if (!pOptions.fValue.empty()) return SetDefault(pApp, pOptions.fName, pOptions.fValue);
    if (!pOptions.fName.empty()) return Print(DefaultOf(pApp, pOptions.fName) + "\n");
    Print("# " + (DefaultsPath().empty() ? "no file" : DefaultsPath()) + "\n" + AllDefaults(pApp));
}

void AddConfig(CLI::App& pApp, sShellOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("config", "show and change your own defaults");
    command->footer(
        "Examples:\n"
        "  selvane config                            shows the file and what stands in it\n"
        "  selvane config tonemap.preset clear       tonemap takes --preset clear from now on\n"
        "  selvane config tonemap.preset             shows that default\n"
        "  selvane config --unset tonemap.preset     takes it away\n"
        "\n"
        "The file has a table for each subcommand and a line for each of its long options, without dashes.\n"
        "A flag is true or false. The command line comes after it, so it wins. --exact ignores the file.\n"
        "SELVANE_CONFIG=FILE chooses another file, SELVANE_CONFIG= none.");
    CLI::Option* const name = command->add_option("NAME", pOptions.fName, "SUBCOMMAND.OPTION");
    command->add_option("VALUE", pOptions.fValue, "its new default")->needs(name);
    command->add_option("--unset", pOptions.fUnset, "take the default of SUBCOMMAND.OPTION away")
        ->excludes(name)
        ->type_name("NAME");
    command->callback([&pApp, &pOptions] { RunConfig(pApp, pOptions); });
}

/// The presets complete by name, though a person's own may stand there too.
tValueWords ValueWords()
{
    tValueWords words;
    for (int i = 0; selvane_preset_name(i) != nullptr; i++)
        words["preset"].push_back(selvane_preset_name(i));
    return words;
}

void AddCompletions(CLI::App& pApp, sShellOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("completions", "print what makes a shell complete the options");
    command->footer("Examples:\n"
                    "  . <(selvane completions bash)             in ~/.bashrc\n"
                    "  . <(selvane completions zsh)              in ~/.zshrc, behind compinit\n"
                    "  selvane completions fish | source         in ~/.config/fish/config.fish\n"
                    "\n"
                    "An installed package has them already.");
    command->add_option("SHELL", pOptions.fShell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    command->callback([&pApp, &pOptions] { Print(CompletionsFor(pApp, pOptions.fShell, ValueWords())); });
}

const CLI::App* CommandNamed(const CLI::App& pApp, const std::string& pName)
{
    for (const CLI::App* command : ListedCommands(pApp))
        if (command->get_name() == pName) return command;
    return nullptr;
}

/// The build makes the manual pages with it.
void AddManual(CLI::App& pApp, sShellOptions& pOptions)
{
    CLI::App* const command = pApp.add_subcommand("manual", "print the manual page of a subcommand")->group("");
    command->add_option("SUBCOMMAND", pOptions.fPage, "subcommand; without it their names are printed");
    command->callback([&pApp, &pOptions] {
        if (pOptions.fPage.empty()) {
            for (const CLI::App* listed : ListedCommands(pApp))
                Print(listed->get_name() + "\n");
            return;
        }
        const CLI::App* const page = CommandNamed(pApp, pOptions.fPage);
        if (page == nullptr) throw cUsageError(pOptions.fPage + " is no subcommand");
        Print(ManualPage(*page, pOptions.fVersion));
    });
}

/// "; did you mean X?", or nothing.
std::string DidYouMean(const std::string& pWord, const std::vector<std::string>& pCandidates, const char* pBefore)
{
    const std::string nearest = NearestTo(pWord, pCandidates);
    return nearest.empty() ? std::string() : "; did you mean " + std::string(pBefore) + nearest + "?";
}

std::vector<std::string> LongNames(const CLI::App& pCommand)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : ListedOptions(pCommand))
        if (!LongName(*option).empty()) names.push_back(LongName(*option));
    return names;
}

std::string Hint(const std::string& pCommand)
{
    return " (selvane " + (pCommand.empty() ? "" : pCommand + " ") + "--help lists what there is)";
}

/// The first word that looks like a long option and is none of the subcommand's. "" if there is none.
std::string UnknownOption(const CLI::App& pCommand, const std::vector<std::string>& pWords)
{
    for (const std::string& word : pWords) {
        if (word == "--") break;
        if (!word.starts_with("--")) continue;
        std::string name = word.substr(2, word.find('=') - 2);
        if (FindOption(pCommand, name) == nullptr) return name;
    }
    return {};
}

/// The first word that looks like an option and is the name of a file. "" if there is none.
std::string FileLikeAnOption(const std::vector<std::string>& pWords)
{
    for (const std::string& word : pWords) {
        if (word == "--") break;
        if (word.size() > 1 && word.starts_with('-') && ::access(word.c_str(), F_OK) == 0) return word;
    }
    return {};
}

} // namespace

void AddShell(CLI::App& pApp, sShellOptions& pOptions)
{
    AddConfig(pApp, pOptions);
    AddCompletions(pApp, pOptions);
    AddManual(pApp, pOptions);
}

std::string WordsFor(const CLI::App& pApp, const CLI::ParseError& pError, const std::vector<std::string>& pWords)
{
    const CLI::App* const command = pWords.size() > 1 ? CommandNamed(pApp, pWords[1]) : nullptr;
    if (command == nullptr) return pError.what() + Hint("");
    const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&pError) != nullptr;
    if (isExtra) {
        const std::string unknown = UnknownOption(*command, pWords);
        if (!unknown.empty())
            return command->get_name() + " has no option --" + unknown +
                   DidYouMean(unknown, LongNames(*command), "--") + Hint(command->get_name());
    }
    const bool isMissing = dynamic_cast<const CLI::RequiredError*>(&pError) != nullptr;
    const std::string file = isExtra || isMissing ? FileLikeAnOption(pWords) : std::string();
    if (!file.empty()) return file + ": write ./" + file + " for the file of this name" + Hint(command->get_name());
    return pError.what() + Hint(command->get_name());
}

void CheckSubcommand(const CLI::App& pApp, const std::vector<std::string>& pWords)
{
    if (pWords.size() < 2 || pWords[1].starts_with('-')) return;
    const auto named = [&](const CLI::App* pCommand) { return pCommand->check_name(pWords[1]); };
    if (!pApp.get_subcommands(named).empty()) return;
    std::vector<std::string> names;
    for (const CLI::App* command : ListedCommands(pApp))
        names.push_back(command->get_name());
    throw cUsageError(pWords[1] + " is no subcommand" + DidYouMean(pWords[1], names, "") + Hint(""));
}

} // namespace SelvaneHost
