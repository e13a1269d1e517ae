#ifndef SELVANE_HOST_PICTURE_COLOR_H
#define SELVANE_HOST_PICTURE_COLOR_H

// What the samples of a picture mean as light, in the terms of libselvane, and the spaces of an output.

#include "picture/Bytes.h"

#include <array>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// How samples become light: the fields of selvane_picture with the same names.
struct sColor
{
    int fPrimaries = 0;                        ///< selvane_primaries
    std::array<float, 8> fChromaticities = {}; ///< of SELVANE_CUSTOM: x and y of red, green, blue, white
    int fTransfer = 0;                         ///< selvane_transfer
    float fGamma = 0.0F;                       ///< of SELVANE_TRANSFER_POWER
    int fOutput = 0;                           ///< space of the output, unless another one is chosen
    bool fIsNamed = false;                     ///< the file says so; else the picture is taken as sRGB
    std::string fWords = {}; ///< what was done with them, "its colours are ..."; empty: nothing to say
};

/// The spaces of an output are SELVANE_SRGB to SELVANE_REC2020.
constexpr int kSpaces = 5;

/// Returns the name of a space on the command line: srgb, adobe, prophoto, p3, rec2020.
const char* SpaceWord(int pSpace);

/// Returns the space with this name on the command line. Empty if there is none.
std::optional<int> SpaceOfWord(const std::string& pWord);

/// Returns the name of a space for people, such as "Adobe RGB (1998)".
const char* SpaceName(int pSpace);

/// Returns libselvane's ICC profile of a space.
tBytes StoredProfile(int pSpace);

} // namespace SelvaneHost

#endif
