#ifndef SELVANE_HOST_PICTURE_PNG_COLOR_H
#define SELVANE_HOST_PICTURE_PNG_COLOR_H

// What a PNG file says of its colours, read and written by ourselves. libpng drops profiles that differ in the last bit
// of the connection space's white from its own, and the published profile of ProPhoto RGB is one of them; and it calls
// the published profile of sRGB incorrect, aloud, in every program that reads the file. Source: PNG standard (third
// edition), 11.3.2 "Color space information".

#include "picture/Picture.h"

namespace SelvaneHost
{

/// The profile in a PNG file (iCCP); empty when it has none, or a damaged one.
tBytes PngProfile(const tBytes& pFile);

/// Whether a PNG file says that its colours are sRGB (sRGB). A profile beside that stands above it.
bool PngSaysSrgb(const tBytes& pFile);

/// Where chunks about colours have to be put in: bytes from the start of a PNG file, behind its header chunk.
constexpr size_t kPngColorPlace = 8 + 25;

/// The whole chunk that holds the profile.
/// @param pName 1 to 79 Latin-1 characters, without blanks at its ends
/// @throws std::bad_alloc
tBytes PngProfileChunk(const tBytes& pProfile, const char* pName);

/// The chunks that say sRGB: sRGB itself, with the perceptual intent of photographs, and the gAMA and cHRM that the
/// standard gives to go with it for readers that know no other.
tBytes PngSrgbChunks();

} // namespace SelvaneHost

#endif
