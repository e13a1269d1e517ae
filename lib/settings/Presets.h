#ifndef SELVANE_LIB_SETTINGS_PRESETS_H
#define SELVANE_LIB_SETTINGS_PRESETS_H

// Presets: texts of settings with a name and a description. Those of the library are the files of lib/presets, compiled
// in; a user's own are files NAME.toml in a folder, and come first.

#include "selvane.h"

#include <array>
#include <string>
#include <vector>

namespace SelvaneLib
{

struct sPreset
{
    const char* fName;
    const char* fText;
};

inline constexpr size_t kPresetCount = 7;
extern const std::array<sPreset, kPresetCount> kPresets;

/// Returns the folder of the user's own presets: $XDG_CONFIG_HOME/selvane/presets, else ~/.config/selvane/presets. As
/// the base directory standard of freedesktop.org has it, a path that does not begin at the root counts for nothing. ""
/// without a home.
std::string UserPresets();

/// Reads a preset.
/// @param pFolder folder of the user's own, which come first; may be ""
/// @throws cFailure with SELVANE_ERROR_ARGUMENT for a name that no preset has or that leads out of the folder, and for
///         a file that cannot be read; with SELVANE_ERROR_TEXT for a text that cannot be read
selvane_settings Preset(const std::string& pName, const std::string& pFolder);

/// Names of the library's presets in their order, then of those files in the folder whose name can be read.
/// @param pFolder may be "", or not there
std::vector<std::string> PresetNames(const std::string& pFolder);

/// Returns the description of a preset of the library, which lives as long as the library; null behind the last.
/// @throws std::bad_alloc
const char* PresetDescription(int pIndex);

} // namespace SelvaneLib

#endif
