#ifndef SELVANE_LIB_SETTINGS_SETTINGS_TEXT_H
#define SELVANE_LIB_SETTINGS_SETTINGS_TEXT_H

// Settings as TOML, for command lines, sidecar files and presets:
//
//     exposure = 0.5
//     wrap = true
//     points = "given"
//     hue_saturation = [[0.0, 0.5], [0.33, 0.8]]

#include "selvane.h"

#include <string>
#include <string_view>

namespace SelvaneLib
{

/// Most bytes of a text. The fullest settings take some 1700.
inline constexpr size_t kMostText = 65536;

/// Most dots of a line. Each dot of a key nests a table in a table; they are deleted from the outside in, each on the
/// stack of the one around it. A full curve on one line has 32.
inline constexpr int kMostDots = 48;

/// Writes a line for each value that is not the default.
/// @param pSettings has passed CheckSettings
std::string TextOfSettings(const selvane_settings& pSettings);

/// What a text says.
struct sSettingsText
{
    selvane_settings fSettings;
    std::string fDescription; ///< value of the key "description", which any text may have
};

/// Reads a text. What it does not name is the default. Needs less than 64 KiB of stack, whatever the text
/// @throws cFailure with SELVANE_ERROR_TEXT, which names line and key
sSettingsText ReadSettings(std::string_view pText);

} // namespace SelvaneLib

#endif
