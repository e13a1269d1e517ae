#ifndef SELVANE_HOST_COMMAND_DEVELOP_H
#define SELVANE_HOST_COMMAND_DEVELOP_H

// The render of `selvane tonemap` without --exact: libselvane looks at the picture and suggests the settings.

#include "picture/Picture.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// What the command line says of the look.
struct sLookOptions
{
    std::string fPreset;   ///< name of a preset; empty: natural
    std::string fSettings; ///< file of settings (TOML); empty: none. Not with a preset
    std::map<std::string, float>
        fGiven;                       ///< sliders by their name in a settings file, "white_clip"; they stand as given
    std::optional<float> fExposure;   ///< stops, on top of the suggestion
    std::optional<float> fContrast;   ///< on top of the suggestion
    std::optional<float> fSaturation; ///< on top of the suggestion
    bool fWrap = false;
    int fThreads = 0; ///< 0: one for each processor
    bool fVerbose = false;
    bool fQuiet = false;
};

/// How a picture was developed.
struct sDeveloped
{
    std::string fReason; ///< what decided the suggestion, in one line; empty if the settings need none
    std::string fWords;  ///< options that give the same picture again, "--exact --compression 40 ..."
};

/// Renders the input into the output, which has its size and 8 or 16 bits.
/// @throws cHostError, cUsageError
sDeveloped Develop(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace,
                   sPicture& pOutput);

/// Returns the settings that Develop would use, as text (TOML).
std::string SuggestionText(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace);

/// Renders with the sliders as they stand, and with exposure, contrast and saturation.
void DevelopExactly(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace,
                    sPicture& pOutput);

} // namespace SelvaneHost

#endif
