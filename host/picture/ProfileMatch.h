#ifndef SELVANE_HOST_PICTURE_PROFILE_MATCH_H
#define SELVANE_HOST_PICTURE_PROFILE_MATCH_H

// Which of the library's three colour spaces a file means, by the numbers that it carries.

#include "picture/Picture.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

/// CIE x and y of the three primaries, as OpenEXR and Radiance headers give them.
struct sPrimaries
{
    float fRedX = 0;
    float fRedY = 0;
    float fGreenX = 0;
    float fGreenY = 0;
    float fBlueX = 0;
    float fBlueY = 0;
};

/// The space whose primaries these are, each number within 0.012: the default primaries of Radiance, with green at
/// 0.29, count as those of sRGB.
std::optional<Vornik::eColorSpaceID> MatchPrimaries(const sPrimaries& pPrimaries);

/// The space that an ICC profile describes.
///
/// An RGB profile with colorants (rXYZ, gXYZ, bXYZ) is one of the three when each of its nine numbers lies within 0.005
/// of those of the space's stored profile, and the value that its green curve gives for 0.5 lies within 0.02 of the
/// space's, so that a linear profile with the primaries of sRGB is not taken for sRGB. Names do not count then: every
/// maker writes its own. An RGB profile without colorants (tables only) goes by its description. A grey profile is sRGB
/// when its curve passes the same test against that of sRGB.
std::optional<Vornik::eColorSpaceID> MatchProfile(const tBytes& pProfile);

/// The profile's description, or an empty text.
std::string ProfileDescription(const tBytes& pProfile);

/// "none of sRGB, Adobe RGB and ProPhoto RGB; the picture is taken as sRGB (--color-space chooses another)".
std::string NoneOfTheThree();

/// The ICC profile that the library stores for a space.
tBytes StoredProfile(Vornik::eColorSpaceID pSpace);

} // namespace SelvaneHost

#endif
