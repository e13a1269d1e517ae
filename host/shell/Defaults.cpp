#include "shell/Defaults.h"

#include "job/CommandSteps.h"
#include "picture/Errors.h"
#include "read/InputFile.h"
#include "shell/OptionWords.h"
#include "write/OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <span>
#include <sstream>
#include <unistd.h>

#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

namespace SelvaneHost
{

namespace
{

constexpr const char* kHint = " (selvane config --help says what may stand there)";

std::string Environment(const char* pName)
{
    const char* const value = std::getenv(pName);
    return value == nullptr ? std::string() : std::string(value);
}

[[noreturn]] void Refuse(const std::string& pWhat)
{
    throw cUsageError(DefaultsPath() + ": " + pWhat + kHint);
}

/// The text of the file. Empty if there is none.
std::string TextOfFile(const std::string& pPath)
{
    if (pPath.empty()) return {};
    if (::access(pPath.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR)) return {};
    return About(pPath, [&] { return ReadText(pPath); });
}

toml::table ReadFile()
{
    const toml::parse_result parsed = toml::parse(TextOfFile(DefaultsPath()));
    if (parsed) return parsed.table();
    const toml::parse_error& error = parsed.error();
    Refuse("line " + std::to_string(error.source().begin.line) + ": " + std::string(error.description()));
}

const CLI::App& FindCommand(const CLI::App& pApp, const std::string& pName)
{
    for (const CLI::App* command : ListedCommands(pApp))
        if (command->get_name() == pName) return *command;
    Refuse("[" + pName + "] is no subcommand");
}

const CLI::Option& OptionOf(const CLI::App& pCommand, const std::string& pName)
{
    const CLI::Option* const option = FindOption(pCommand, pName);
    if (option == nullptr || pName == "help" || LongName(*option) != pName)
        Refuse(pCommand.get_name() + " has no option --" + pName);
    return *option;
}

/// The fewest digits from which the same number can be read.
std::string Digits(double pValue)
{
    char digits[64];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, pValue);
    return {digits, end.ptr};
}

/// The value as the command line would have it. Empty for a flag that is off.
std::optional<std::string> WordOf(const CLI::App& pCommand, const std::string& pName, const toml::node& pValue)
{
    const CLI::Option& option = OptionOf(pCommand, pName);
    const std::string place = "[" + pCommand.get_name() + "] " + pName;
    if (IsFlag(option)) {
        if (!pValue.is_boolean()) Refuse(place + " is true or false");
        return pValue.as_boolean()->get() ? std::optional<std::string>("--" + pName) : std::nullopt;
    }
    std::string value;
    if (pValue.is_string())
        value = pValue.as_string()->get();
    else if (pValue.is_integer())
        value = std::to_string(pValue.as_integer()->get());
    else if (pValue.is_floating_point())
        value = Digits(pValue.as_floating_point()->get());
    else
        Refuse(place + " is a text or a number");
    return "--" + pName + "=" + value;
}

const toml::table* TableOf(const toml::table& pFile, const CLI::App& pCommand)
{
    const toml::node* const node = pFile.get(pCommand.get_name());
    if (node == nullptr) return nullptr;
    if (!node->is_table()) Refuse(pCommand.get_name() + " is a table: [" + pCommand.get_name() + "]");
    return node->as_table();
}

/// Checks that every table belongs to a subcommand and every line to one of its options.
void CheckFile(const CLI::App& pApp, const toml::table& pFile)
{
    for (const auto& [name, node] : pFile) {
        const CLI::App& command = FindCommand(pApp, std::string(name.str()));
        for (const auto& [option, value] : *TableOf(pFile, command))
            WordOf(command, std::string(option.str()), value);
    }
}

/// Whether the words hold an option, as "--name", "--name=value", or by its letter.
bool Holds(const std::vector<std::string>& pWords, const CLI::App& pCommand, const std::string& pName)
{
    const CLI::Option& option = OptionOf(pCommand, pName);
    return std::any_of(pWords.begin(), pWords.end(), [&](const std::string& pWord) {
        if (pWord == "--" + pName || pWord.starts_with("--" + pName + "=")) return true;
        const std::vector<std::string>& letters = option.get_snames();
        return std::any_of(letters.begin(), letters.end(),
                           [&](const std::string& pLetter) { return pWord.starts_with("-" + pLetter); });
    });
}

/// Whether a default has to stay away: the command line has the option, or asks for another source of the look.
bool IsOverruled(const std::vector<std::string>& pWords, const CLI::App& pCommand, const std::string& pName)
{
    if (Holds(pWords, pCommand, pName)) return true;
    if (pName != "preset" && pName != "settings") return false;
    return Holds(pWords, pCommand, "preset") || Holds(pWords, pCommand, "settings");
}

struct sPlace
{
    const CLI::App& fCommand;
    std::string fOption;
};

/// Takes "tonemap.quality" apart.
sPlace PlaceOf(const CLI::App& pApp, const std::string& pName)
{
    const size_t dot = pName.find('.');
    if (dot == std::string::npos) throw cUsageError(pName + ": write SUBCOMMAND.OPTION, such as tonemap.preset");
    const CLI::App& command = FindCommand(pApp, pName.substr(0, dot));
    OptionOf(command, pName.substr(dot + 1));
    return {command, pName.substr(dot + 1)};
}

toml::table CheckedFile(const CLI::App& pApp)
{
    toml::table file = ReadFile();
    CheckFile(pApp, file);
    return file;
}

std::string TextOf(const toml::table& pFile)
{
    std::ostringstream text;
    text << pFile;
    return pFile.empty() ? std::string() : text.str() + "\n";
}

void Store(const toml::table& pFile)
{
    const std::string path = DefaultsPath();
    if (path.empty()) throw cHostError("no folder for defaults is known: HOME is not set, or SELVANE_CONFIG is empty");
    std::error_code failed;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failed);
    const std::string text = TextOf(pFile);
    const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    About(path, [&] { WriteFile(path, {bytes}); });
}

/// The number that a text is as a whole, or empty.
template <class tNumber>
std::optional<tNumber> NumberOf(const std::string& pText)
{
    tNumber number{};
    const char* const end = pText.data() + pText.size();
    const std::from_chars_result result = std::from_chars(pText.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

void Insert(toml::table& pTable, const sPlace& pPlace, const std::string& pValue)
{
    const CLI::Option& option = OptionOf(pPlace.fCommand, pPlace.fOption);
    if (IsFlag(option)) {
        if (pValue != "true" && pValue != "false") throw cUsageError("--" + pPlace.fOption + " is true or false");
        pTable.insert_or_assign(pPlace.fOption, pValue == "true");
    } else if (const std::optional<int64_t> whole = NumberOf<int64_t>(pValue)) {
        pTable.insert_or_assign(pPlace.fOption, *whole);
    } else if (const std::optional<double> number = NumberOf<double>(pValue)) {
        pTable.insert_or_assign(pPlace.fOption, *number);
    } else {
        pTable.insert_or_assign(pPlace.fOption, pValue);
    }
}

} // namespace

std::string DefaultsPath()
{
    if (const char* const chosen = std::getenv("SELVANE_CONFIG")) return chosen;
    const std::string config = Environment("XDG_CONFIG_HOME");
    if (!config.empty()) return config + "/selvane/config.toml";
    const std::string home = Environment("HOME");
    return home.empty() ? std::string() : home + "/.config/selvane/config.toml";
}

std::vector<std::string> WithDefaults(const CLI::App& pApp, const std::vector<std::string>& pWords)
{
    const auto named = [&](const CLI::App* pCommand) { return pWords.size() > 1 && pCommand->get_name() == pWords[1]; };
    const std::vector<const CLI::App*> commands = ListedCommands(pApp);
    const auto command = std::find_if(commands.begin(), commands.end(), named);
    if (command == commands.end() || pWords[1] == "config") return pWords;
    const toml::table file = CheckedFile(pApp);
    const toml::table* const defaults = TableOf(file, **command);
    const bool exact = FindOption(**command, "exact") != nullptr && Holds(pWords, **command, "exact");
    if (defaults == nullptr || exact) return pWords;
    std::vector<std::string> words = {pWords[0], pWords[1]};
    for (const auto& [name, value] : *defaults) {
        const std::string option(name.str());
        const std::optional<std::string> word = WordOf(**command, option, value);
        if (word && !IsOverruled(pWords, **command, option)) words.push_back(*word);
    }
    words.insert(words.end(), pWords.begin() + 2, pWords.end());
    return words;
}

std::string DefaultOf(const CLI::App& pApp, const std::string& pName)
{
    const sPlace place = PlaceOf(pApp, pName);
    const toml::table file = CheckedFile(pApp);
    const toml::table* const defaults = TableOf(file, place.fCommand);
    const toml::node* const value = defaults == nullptr ? nullptr : defaults->get(place.fOption);
    if (value == nullptr) throw cHostError(pName + " has no default in " + DefaultsPath());
    if (value->is_boolean()) return value->as_boolean()->get() ? "true" : "false";
    const std::string word = *WordOf(place.fCommand, place.fOption, *value);
    return word.substr(word.find('=') + 1);
}

void SetDefault(const CLI::App& pApp, const std::string& pName, const std::string& pValue)
{
    const sPlace place = PlaceOf(pApp, pName);
    toml::table file = CheckedFile(pApp);
    const auto [at, isNew] = file.emplace<toml::table>(place.fCommand.get_name());
    Insert(*at->second.as_table(), place, pValue);
    Store(file);
}

void UnsetDefault(const CLI::App& pApp, const std::string& pName)
{
    const sPlace place = PlaceOf(pApp, pName);
    toml::table file = CheckedFile(pApp);
    toml::node* const defaults = file.get(place.fCommand.get_name());
    if (defaults == nullptr || defaults->as_table()->erase(place.fOption) == 0) return;
    Store(file);
}

std::string AllDefaults(const CLI::App& pApp)
{
    return TextOf(CheckedFile(pApp));
}

} // namespace SelvaneHost
