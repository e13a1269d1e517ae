#ifndef SELVANE_HOST_COLOR_PROFILE_LIGHT_H
#define SELVANE_HOST_COLOR_PROFILE_LIGHT_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Sets the colours of the picture by an ICC profile, with Little CMS:
///
///   RGB, matrix and curves    the colorants are the primaries. Curves that are one power are left to libselvane;
///                             others make linear floats
///   RGB, tables               linear floats in ACES2065-1, which holds all colours; relative colorimetric
///   grey                      linear floats
///
/// A sampled curve goes on as a power above the largest sample, for floats beyond 1.
/// @return false, and an untouched picture, if the profile is damaged or for other colours
bool TakeProfile(sPicture& pPicture, const tBytes& pProfile);

} // namespace SelvaneHost

#endif
