#ifndef SELVANE_HOST_JOB_DEVELOP_H
#define SELVANE_HOST_JOB_DEVELOP_H

// The render of a picture by libselvane, with the look of the command line.

#include "job/CommandSteps.h"
#include "picture/Picture.h"

#include <selvane.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// What the command line says of the look.
struct sLook
{
    std::string fPreset;   ///< name of a preset; empty: natural
    std::string fSettings; ///< file of settings (TOML); empty: none. Not with a preset
    std::map<std::string, float>
        fGiven;                       ///< sliders by their name in a settings file, "white_clip"; they stand as given
    std::optional<float> fExposure;   ///< stops, on top of the suggestion
    std::optional<float> fContrast;   ///< on top of the suggestion
    std::optional<float> fSaturation; ///< on top of the suggestion
    std::map<std::string, selvane_curve> fCurves; ///< over hue, by their option, "--hue-shift"
    bool fWrap = false;
    bool fManual = false;                     ///< sliders as they stand, 0 where they are not given
    bool fExact = false;                      ///< the same, on the samples that the engine's entry takes
    std::optional<float> fBlackPoint;         ///< luminance; both points or none. As fExact, unless with fManual
    std::optional<float> fWhitePoint;         ///< luminance, above the black point
    std::optional<selvane_settings> fSettled; ///< complete settings with automatic 0; nothing else counts
};

/// A curve over hue of the settings and its option.
struct sCurveOption
{
    const char* fOption;
    selvane_curve selvane_settings::*fMember;
    const char* fHelp;
};

inline constexpr sCurveOption kCurveOptions[] = {
    {"--hue-shift", &selvane_settings::hue, "points HUE:VALUE,... from 0 to 1 that shift hues; 0.5 changes nothing"},
    {"--hue-saturation", &selvane_settings::hue_saturation, "points HUE:VALUE,... for saturation: 0 grey, 1 double"},
    {"--hue-lightness", &selvane_settings::hue_lightness, "points HUE:VALUE,... for lightness: 0 dark, 1 double"},
};

/// Returns whether the picture has to have the form of the engine's entry, see MakeEntryForm.
bool TakesEntryForm(const sLook& pLook);

/// Returns whether the sliders stand as they are, without a suggestion.
bool StandsAlone(const sLook& pLook);

/// How to run.
struct sRunning
{
    int fThreads = 0;                               ///< 0: one for each processor
    tLine fLog = {};                                ///< takes the lines of libselvane's log; empty: none
    std::function<bool(int, float)> fProgress = {}; ///< takes selvane_stage and the share of the render that is done,
                                                    ///< 0 to 1; false cancels. Empty: not asked
};

/// How a picture was developed.
struct sDeveloped
{
    std::string fReason;          ///< what decided the suggestion, in one line; empty if the settings need none
    std::string fWords;           ///< options that give the same picture again, "--manual --compression 40 ..."
    selvane_settings fSettings{}; ///< complete, with automatic 0
    selvane_report fReport{};
    selvane_settings fAsked{};                  ///< what was set; with automatic 1, offsets to the suggestion
    std::optional<selvane_settings> fSuggested; ///< empty if the settings need no suggestion
    std::vector<std::string> fReasons;          ///< all that decided the suggestion
};

/// Gives a function a handle that has the picture. The handle lives as long as the call.
/// @throws cHostError, cUsageError
void WithPicture(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning,
                 const std::function<void(selvane*)>& pUse);

/// Sets the settings of the look. Returns them complete, with automatic 0.
/// @throws cHostError, cUsageError
selvane_settings SetSettings(selvane* pHandle, const sLook& pLook);

/// Tells how the latest render of a handle came about.
/// @param pSettings as SetSettings returned them
sDeveloped DevelopedBy(selvane* pHandle, const sLook& pLook, const selvane_settings& pSettings);

/// Settings as text (TOML).
std::string SettingsText(const selvane_settings& pSettings);

/// Renders the input into a part of the output, which has 8 or 16 bits, or floats: those become linear.
/// @param pSpace SELVANE_SRGB to SELVANE_REC2020
/// @param pArea of the input's size
/// @throws cHostError, cUsageError
sDeveloped Develop(const sPicture& pInput, const sLook& pLook, int pSpace, const sRunning& pRunning, sPicture& pOutput,
                   const sArea& pArea);

/// Measures the input as a frame of a sequence, with the settings that Develop would use.
/// @throws cHostError, cUsageError
selvane_frame MeasureFrame(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning);

/// Returns the settings of the look without those that suit a picture, as text (TOML).
std::string BaseText(const sLook& pLook);

/// Returns complete settings: the sliders and points of a frame, and all else from a text that BaseText gave.
selvane_settings SettingsOf(const selvane_frame& pFrame, const std::string& pBaseText);

/// Smooths the frames of a sequence. @param pWindow frames that count for one; 0: the usual number
std::vector<selvane_frame> SmoothFrames(const std::vector<selvane_frame>& pFrames, int pWindow);

/// Returns the settings that Develop would use, as text (TOML).
std::string SuggestionText(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning);

/// Applies the three curves over hue of the settings to a finished picture of 8 or 16 bits.
/// @param pOutput has the size of the input and 8 or 16 bits
void Equalize(const sPicture& pInput, const selvane_settings& pSettings, int pSpace, const sRunning& pRunning,
              sPicture& pOutput);

} // namespace SelvaneHost

#endif
