#ifndef SELVANE_LIB_SETTINGS_SETTINGS_H
#define SELVANE_LIB_SETTINGS_SETTINGS_H

// The settings of selvane_settings: one table says what each is called, where it stands and which values it may have.
// Checks, defaults, sums and text come from the table, so a new setting is a new row.

#include "selvane.h"

#include <array>
#include <cstddef>
#include <variant>

namespace SelvaneLib
{

using tWhole = int32_t selvane_settings::*;
using tNumber = float selvane_settings::*;
using tCurve = selvane_curve selvane_settings::*;

/// What an offset of a setting does to the suggestion (automatic 1).
enum class eOffset
{
    kAdds,    ///< it is added, and the sum kept within the range
    kReplaces ///< it stands where it is not neutral
};

/// One setting.
struct sSetting
{
    const char* fKey; ///< name of the member, and key in a text
    std::variant<tWhole, tNumber, tCurve> fMember;
    float fLeast;       ///< smallest value, included. Of a curve: of x and y
    float fMost;        ///< largest value, included
    float fLeastOffset; ///< smallest value with automatic 1
    eOffset fOffset;
    std::array<const char*, 2> fWords; ///< words of the values 0 and 1 in a text; null: false and true
    const char* fDescription;          ///< half a sentence for people
};

inline constexpr size_t kSettingCount = 17;
extern const std::array<sSetting, kSettingCount> kSettings;

/// Size of the record in the first release, in bytes: fields that are added later stand behind.
inline constexpr size_t kFirstSettingsSize = offsetof(selvane_settings, reserved) + sizeof(int32_t);

/// Returns the defaults: automatic 1, everything else neutral.
selvane_settings DefaultSettings();

/// Checks one setting.
/// @throws cFailure with SELVANE_ERROR_ARGUMENT, which names the setting and its range
void CheckSetting(const sSetting& pSetting, const selvane_settings& pSettings);

/// Checks the black and the white point against each other, where they are given.
/// @throws cFailure with SELVANE_ERROR_ARGUMENT
void CheckPoints(const selvane_settings& pSettings);

/// Checks everything, in the order of the table, and last that the reserved field is 0.
/// @throws cFailure with SELVANE_ERROR_ARGUMENT, which names the setting
void CheckSettings(const selvane_settings& pSettings);

/// Copies the settings of a caller, whose record may be of another version, and checks them.
/// @throws cFailure as TakeRecord and CheckSettings
selvane_settings TakeSettings(const selvane_settings* pSettings);

/// Returns the settings that a render uses, with automatic 0: the offsets as they stand if their automatic is 0; else
/// the sums of sliders with those of the suggestion, kept within the ranges, and the offsets' own points and curves
/// where they have some.
/// @param pSuggestion,pOffsets have passed CheckSettings
selvane_settings WithOffsets(const selvane_settings& pSuggestion, const selvane_settings& pOffsets);

} // namespace SelvaneLib

#endif
