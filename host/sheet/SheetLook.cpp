#include "sheet/SheetLook.h"

#include "job/PictureOptions.h"

#include <glib.h>
#include <memory>
#include <selvane.h>

namespace SelvaneHost
{

namespace
{

constexpr const char* kPlainWords = "as a camera exposes it, without tone mapping";

struct sFreeWords
{
    void operator()(char** pWords) const { g_strfreev(pWords); }
};

std::vector<std::string> WordsOf(const std::string& pText)
{
    int count = 0;
    char** raw = nullptr;
    GError* error = nullptr;
    if (g_shell_parse_argv(pText.c_str(), &count, &raw, &error) == 0) {
        const std::unique_ptr<GError, decltype(&g_error_free)> failure(error, g_error_free);
        throw cUsageError("--look " + pText + ": " + failure->message);
    }
    const std::unique_ptr<char*, sFreeWords> words(raw);
    return {raw, raw + count};
}

bool IsFile(const std::string& pWord)
{
    return pWord.find('/') != std::string::npos || pWord.ends_with(".toml");
}

/// What a preset of the library is for; empty for any other.
std::string DescriptionOf(const std::string& pPreset)
{
    for (int i = 0; const char* const name = selvane_preset_name(i); i++)
        if (pPreset == name) return selvane_preset_description(i);
    return {};
}

/// Takes the options of a look, and refuses what is none.
sLook OptionsOf(const std::vector<std::string>& pWords, const std::string& pText)
{
    sJob job;
    CLI::App app;
    app.set_help_flag();
    AddLook(app, job.fLook);
    AddSliders(app, job);
    try {
        app.parse(std::vector<std::string>(pWords.rbegin(), pWords.rend()));
        CheckLook(job.fLook);
    } catch (const CLI::ParseError& failure) {
        throw cUsageError("--look " + pText + ": " + failure.what());
    } catch (const cUsageError& failure) {
        throw cUsageError("--look " + pText + ": " + failure.what());
    }
    return job.fLook;
}

std::string Joined(const std::vector<std::string>& pWords)
{
    std::string text;
    for (const std::string& word : pWords)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

} // namespace

sSheetLook LookOf(const std::string& pText)
{
    std::vector<std::string> words = WordsOf(pText);
    if (words.front().starts_with('-')) return {.fName = Joined(words), .fLook = OptionsOf(words, pText)};
    const std::string name = words.front();
    words.erase(words.begin());
    if (name == "plain" && words.empty()) return {.fName = name, .fWords = kPlainWords, .fPlain = true};
    if (name == "plain") throw cUsageError("--look " + pText + ": plain has no options");
    sSheetLook look{.fName = name, .fWords = words.empty() ? DescriptionOf(name) : Joined(words)};
    words.insert(words.begin(), {IsFile(name) ? "--settings" : "--preset", name});
    look.fLook = OptionsOf(words, pText);
    return look;
}

std::vector<sSheetLook> UsualLooks()
{
    std::vector<sSheetLook> looks = {LookOf("plain")};
    for (int i = 0; const char* const name = selvane_preset_name(i); i++)
        looks.push_back(LookOf(name));
    return looks;
}

} // namespace SelvaneHost
