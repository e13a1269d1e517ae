#ifndef SELVANE_HOST_PICTURE_PROFILE_MATCH_H
#define SELVANE_HOST_PICTURE_PROFILE_MATCH_H

// Comparison of a file's profile or primaries with the engine's three colour spaces: SELVANE_SRGB, SELVANE_ADOBE_RGB
// and SELVANE_PROPHOTO.

#include "picture/Picture.h"

#include <array>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// Returns the space with these primaries. Each number may differ by 0.012. So the default primaries of Radiance, with
/// a green x of 0.29, match those of sRGB. White does not count.
/// @param pChromaticities CIE x and y of red, green, blue, white
std::optional<int> MatchPrimaries(const std::array<float, 8>& pChromaticities);

/// The same, and white counts: within 0.012, or the white of equal energy, which is the default of Radiance.
std::optional<int> MatchChromaticities(const std::array<float, 8>& pChromaticities);

/// Returns the space that an ICC profile describes, by the kind of the profile:
///
///   RGB with colorants (rXYZ, gXYZ, bXYZ)   compared with the stored profile of each space. Each of the nine numbers
///                                           may differ by 0.005, and the value of the green curve at 0.5 by 0.02. A
///                                           linear profile with the primaries of sRGB fails at the curve. The
///                                           description is not read, because each maker chooses its own.
///   RGB with tables only                    by its description
///   grey                                    sRGB if its curve passes the same test against the curve of sRGB
///
/// @param pSpaces 3, or more to compare with further spaces of libselvane: SELVANE_DISPLAY_P3 and SELVANE_REC2020
std::optional<int> MatchProfile(const tBytes& pProfile, int pSpaces = 3);

/// Returns the profile's description. Empty if it has none.
std::string ProfileDescription(const tBytes& pProfile);

/// Returns "none of sRGB, Adobe RGB and ProPhoto RGB; the picture is taken as sRGB (--color-space chooses another)".
std::string NoneOfTheThree();

} // namespace SelvaneHost

#endif
