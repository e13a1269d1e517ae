#include "settings/Presets.h"

#include "api/Failure.h"
#include "settings/SettingsText.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

namespace SelvaneLib
{

namespace
{

constexpr size_t kMostName = 100; // bytes

/// Refuses names that lead to another folder or a hidden file.
void CheckName(const std::string& pName)
{
    const auto refused = [](unsigned char c) { return c < 0x20 || c == '/' || c == '\\' || c == '.'; };
    Require(!pName.empty(), "the name of the preset is empty");
    Require(pName.size() <= kMostName, "the name of the preset is too long");
    Require(std::none_of(pName.begin(), pName.end(), refused),
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

const char* PresetDescription(int pIndex)
{
    if (pIndex < 0 || pIndex >= static_cast<int>(kPresetCount)) return nullptr;
    static const std::array<std::string, kPresetCount> descriptions = Descriptions();
    return descriptions[static_cast<size_t>(pIndex)].c_str();
}

} // namespace SelvaneLib
