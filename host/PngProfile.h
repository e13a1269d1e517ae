#ifndef SELVANE_HOST_PNG_PROFILE_H
#define SELVANE_HOST_PNG_PROFILE_H

// The ICC profile of a PNG file, read and written by ourselves: libpng drops profiles that differ in the last bit of
// the connection space's white from its own, and the published profile of ProPhoto RGB is one of them. Source: PNG
// standard (third edition), 11.3.2.3 "iCCP".

#include "Picture.h"

namespace SelvaneHost
{

/// The profile in a PNG file; empty when it has none, or a damaged one.
tBytes PngProfile(const tBytes& pFile);

/// Where a profile has to be put in: bytes from the start of a PNG file, behind its header chunk.
constexpr size_t kPngProfilePlace = 8 + 25;

/// The whole chunk that holds the profile.
/// @param pName 1 to 79 Latin-1 characters, without blanks at its ends
/// @throws std::bad_alloc
tBytes PngProfileChunk(const tBytes& pProfile, const char* pName);

} // namespace SelvaneHost

#endif
