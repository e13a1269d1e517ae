#include "settings/Presets.h"

#include "api/Failure.h"
#include "settings/SettingsText.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <system_error>

namespace SelvaneLib
{

namespace
{

constexpr size_t kMostName = 100; // bytes

/// Whether a byte leads to another folder, a hidden file or another line.
bool IsRefused(unsigned char pByte)
{
    return pByte < 0x20 || pByte == '/' || pByte == '\\' || pByte == '.';
}

bool IsName(const std::string& pName)
{
    return !pName.empty() && pName.size() <= kMostName && std::none_of(pName.begin(), pName.end(), IsRefused);
}

void CheckName(const std::string& pName)
{
    Require(!pName.empty(), "the name of the preset is empty");
    Require(pName.size() <= kMostName, "the name of the preset is too long");
    Require(std::none_of(pName.begin(), pName.end(), IsRefused),
            "the name of a preset has no slash, dot or control character");
}

[[noreturn]] void RefuseFile(const std::string& pPath, const char* pReason)
{
    throw cFailure(SELVANE_ERROR_ARGUMENT, pPath + " " + pReason);
}

struct sCloseFile
{
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

/// Reads a file. One that is too long is cut behind the first byte too many.
std::string ReadFile(const std::string& pPath)
{
    const std::unique_ptr<std::FILE, sCloseFile> file(std::fopen(pPath.c_str(), "rbe"));
    if (!file) RefuseFile(pPath, "cannot be opened");
    std::string text(kMostText + 1, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    if (std::ferror(file.get()) != 0) RefuseFile(pPath, "cannot be read");
    return text;
}

/// Reads the user's own preset; nothing if there is no such file.
std::optional<selvane_settings> UserPreset(const std::string& pName, const std::string& pFolder)
{
    if (pFolder.empty()) return std::nullopt;
    const std::string path = pFolder + "/" + pName + ".toml";
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found) return std::nullopt;
    if (status.type() != std::filesystem::file_type::regular) RefuseFile(path, "is not a file that can be read");
    try {
        return ReadSettings(ReadFile(path)).fSettings;
    } catch (const cFailure& failure) {
        if (failure.Status() != SELVANE_ERROR_TEXT) throw;
        throw cFailure(SELVANE_ERROR_TEXT, path + ": " + failure.what());
    }
}

/// Names of the presets in the folder, sorted.
std::vector<std::string> UserNames(const std::string& pFolder)
{
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(pFolder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::filesystem::path& path = entry->path();
        std::error_code unknown;
        if (path.extension() == ".toml" && IsName(path.stem()) && entry->is_regular_file(unknown))
            names.push_back(path.stem());
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool IsAbsolute(const char* pPath)
{
    return pPath != nullptr && pPath[0] == '/';
}

/// The descriptions of all presets of the library, read from their texts.
std::array<std::string, kPresetCount> Descriptions()
{
    std::array<std::string, kPresetCount> descriptions;
    std::transform(kPresets.begin(), kPresets.end(), descriptions.begin(),
                   [](const sPreset& preset) { return ReadSettings(preset.fText).fDescription; });
    return descriptions;
}

} // namespace

std::string UserPresets()
{
    const char* const config = std::getenv("XDG_CONFIG_HOME");
    if (IsAbsolute(config)) return std::string(config) + "/selvane/presets";
    const char* const home = std::getenv("HOME");
    return IsAbsolute(home) ? std::string(home) + "/.config/selvane/presets" : std::string();
}

selvane_settings Preset(const std::string& pName, const std::string& pFolder)
{
    CheckName(pName);
    if (const std::optional<selvane_settings> own = UserPreset(pName, pFolder)) return *own;
    for (const sPreset& preset : kPresets)
        if (pName == preset.fName) return ReadSettings(preset.fText).fSettings;
    throw cFailure(SELVANE_ERROR_ARGUMENT, "there is no preset \"" + pName + "\"");
}

std::vector<std::string> PresetNames(const std::string& pFolder)
{
    std::vector<std::string> names;
    names.reserve(std::size(kPresets));
    for (const sPreset& preset : kPresets)
        names.emplace_back(preset.fName);
    const std::vector<std::string> own = UserNames(pFolder);
    std::copy_if(own.begin(), own.end(), std::back_inserter(names), [](const std::string& pName) {
        return std::none_of(kPresets.begin(), kPresets.end(), [&](const sPreset& p) { return pName == p.fName; });
    });
    return names;
}

const char* PresetDescription(int pIndex)
{
    if (pIndex < 0 || pIndex >= static_cast<int>(kPresetCount)) return nullptr;
    static const std::array<std::string, kPresetCount> descriptions = Descriptions();
    return descriptions[static_cast<size_t>(pIndex)].c_str();
}

} // namespace SelvaneLib
