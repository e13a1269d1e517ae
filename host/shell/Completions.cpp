#include "shell/Completions.h"

#include "shell/OptionWords.h"

namespace SelvaneHost
{

namespace
{

std::vector<std::string> ValuesOf(const CLI::Option& pOption, const tValueWords& pWords)
{
    const auto known = pWords.find(LongName(pOption));
    return known != pWords.end() ? known->second : ChoicesOf(pOption);
}

/// The shell's word for a text: single quotes around, those inside replaced.
std::string Quoted(const std::string& pText, const std::string& pQuote)
{
    std::string quoted = "'";
    for (const char letter : pText)
        quoted += letter == '\'' ? pQuote : std::string(1, letter);
    return quoted + "'";
}

std::string Names(const CLI::App& pApp)
{
    std::string names;
    for (const CLI::App* command : ListedCommands(pApp))
        names += (names.empty() ? "" : " ") + command->get_name();
    return names;
}

std::vector<std::string> DashedNames(const CLI::Option& pOption)
{
    std::vector<std::string> names;
    for (const std::string& name : pOption.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : pOption.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::string AllDashedNames(const CLI::App& pCommand)
{
    std::string names;
    for (const CLI::Option* option : ListedOptions(pCommand))
        for (const std::string& name : DashedNames(*option))
            names += (names.empty() ? "" : " ") + name;
    return names;
}

// ---- bash -----------------------------------------------------------------------------------------------------------

/// The case of an option whose value is one of some words. All others take names of files.
std::string BashValueCase(const CLI::App& pCommand, const CLI::Option& pOption, const tValueWords& pWords)
{
    const std::vector<std::string> values = ValuesOf(pOption, pWords);
    if (values.empty()) return {};
    std::string text;
    for (const std::string& name : DashedNames(pOption))
        text += (text.empty() ? "        " : "|") + pCommand.get_name() + "," + name;
    return text + ") COMPREPLY=($(compgen -W " + Quoted(CLI::detail::join(values, " "), "'\\''") +
           " -- \"$word\")); return ;;\n";
}

std::string BashScript(const CLI::App& pApp, const tValueWords& pWords)
{
    std::string values, options;
    for (const CLI::App* command : ListedCommands(pApp)) {
        for (const CLI::Option* option : ListedOptions(*command))
            values += BashValueCase(*command, *option, pWords);
        options += "        " + command->get_name() + ") COMPREPLY=($(compgen -W '" + AllDashedNames(*command) +
                   "' -- \"$word\")) ;;\n";
    }
    return "# Completions of bash for selvane.\n"
           "_selvane() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
           "        COMPREPLY=($(compgen -W '" +
           Names(pApp) + " --help --version' -- \"$word\"))\n" +
           "        return\n"
           "    fi\n"
           "    case $command,$before in\n" +
           values +
           "    esac\n"
           "    [[ $word == -* ]] || return 0 # names of files\n"
           "    case $command in\n" +
           options +
           "    esac\n"
           "}\n"
           "complete -o bashdefault -o default -F _selvane selvane\n";
}

// ---- zsh ------------------------------------------------------------------------------------------------------------

/// A description inside of brackets and between colons.
std::string ZshEscaped(const std::string& pText)
{
    std::string escaped;
    for (const char letter : pText) {
        if (letter == '[' || letter == ']' || letter == ':' || letter == '\\') escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

/// What _arguments is told of the value: its words, nothing for a number, else files.
std::string ZshValue(const CLI::Option& pOption, const tValueWords& pWords)
{
    if (IsFlag(pOption)) return {};
    const std::vector<std::string> values = ValuesOf(pOption, pWords);
    if (!values.empty()) return ":" + LongName(pOption) + ":(" + CLI::detail::join(values, " ") + ")";
    return ":" + LongName(pOption) + (ValueWord(pOption) == "N" ? ": " : ":_files");
}

std::string ZshOption(const CLI::Option& pOption, const tValueWords& pWords)
{
    std::string text;
    for (const std::string& name : DashedNames(pOption))
        text +=
            " \\\n                " +
            Quoted("*" + name + "[" + ZshEscaped(pOption.get_description()) + "]" + ZshValue(pOption, pWords), "'\\''");
    return text;
}

std::string ZshScript(const CLI::App& pApp, const tValueWords& pWords)
{
    std::string commands, cases;
    for (const CLI::App* command : ListedCommands(pApp)) {
        commands +=
            "        " + Quoted(command->get_name() + ":" + ZshEscaped(command->get_description()), "'\\''") + "\n";
        cases += "        " + command->get_name() + ")\n            _arguments -S";
        for (const CLI::Option* option : ListedOptions(*command))
            cases += ZshOption(*option, pWords);
        cases += " \\\n                '*:file:_files' ;;\n";
    }
    return "#compdef selvane\n"
           "# Completions of zsh for selvane.\n"
           "_selvane() {\n"
           "    local -a commands\n"
           "    commands=(\n" +
           commands +
           "    )\n"
           "    if (( CURRENT == 2 )); then\n"
           "        _describe -t commands subcommand commands\n"
           "        _arguments '--help[how it is used]' '--version[the version]'\n"
           "        return\n"
           "    fi\n"
           "    local command=$words[2]\n"
           "    shift words\n"
           "    (( CURRENT-- ))\n"
           "    case $command in\n" +
           cases +
           "    esac\n"
           "}\n"
           "if [ \"$funcstack[1]\" = _selvane ]; then _selvane \"$@\"; else compdef _selvane selvane; fi\n";
}

// ---- fish -----------------------------------------------------------------------------------------------------------

std::string FishOption(const CLI::App& pCommand, const CLI::Option& pOption, const tValueWords& pWords)
{
    std::string line = "complete -c selvane -n '__fish_seen_subcommand_from " + pCommand.get_name() + "'";
    for (const std::string& name : pOption.get_snames())
        line += " -s " + name;
    for (const std::string& name : pOption.get_lnames())
        line += " -l " + name;
    const std::vector<std::string> values = ValuesOf(pOption, pWords);
    if (!values.empty())
        line += " -xa " + Quoted(CLI::detail::join(values, " "), "\\'");
    else if (!IsFlag(pOption))
        line += ValueWord(pOption) == "N" ? " -x" : " -rF";
    return line + " -d " + Quoted(pOption.get_description(), "\\'") + "\n";
}

std::string FishScript(const CLI::App& pApp, const tValueWords& pWords)
{
    std::string text = "# Completions of fish for selvane.\n"
                       "complete -c selvane -n __fish_use_subcommand -f\n"
                       "complete -c selvane -n __fish_use_subcommand -s h -l help -d 'how it is used'\n"
                       "complete -c selvane -n __fish_use_subcommand -l version -d 'the version'\n";
    for (const CLI::App* command : ListedCommands(pApp)) {
        text += "complete -c selvane -n __fish_use_subcommand -fa " + command->get_name() + " -d " +
                Quoted(command->get_description(), "\\'") + "\n";
        for (const CLI::Option* option : ListedOptions(*command))
            text += FishOption(*command, *option, pWords);
    }
    return text;
}

} // namespace

std::string CompletionsFor(const CLI::App& pApp, const std::string& pShell, const tValueWords& pWords)
{
    if (pShell == "bash") return BashScript(pApp, pWords);
    return pShell == "zsh" ? ZshScript(pApp, pWords) : FishScript(pApp, pWords);
}

} // namespace SelvaneHost
