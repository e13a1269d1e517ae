#ifndef SELVANE_HOST_PICTURE_PNG_COLOR_H
#define SELVANE_HOST_PICTURE_PNG_COLOR_H

// The colour chunks of PNG files, read and written without libpng, for two reasons:
//   - libpng drops a profile whose white differs in the last bit from its own. The published profile of ProPhoto RGB
//     is such a profile.
//   - libpng calls the published profile of sRGB incorrect. Every program that reads the file prints that warning.
// Source: PNG standard (third edition), 11.3.2 "Color space information".

#include "color/ColorNotes.h"
#include "picture/Picture.h"

namespace SelvaneHost
{

/// Returns the profile of a PNG file (chunk iCCP). Empty if the file has none or a damaged one.
tBytes PngProfile(const tBytes& pFile);

/// Returns what a PNG file says of its colours: chunks cICP, iCCP, sRGB, cHRM and gAMA.
sColorNotes PngNotes(const tBytes& pFile);

/// Place for colour chunks: bytes from the start of a PNG file to the end of its header chunk.
constexpr size_t kPngColorPlace = 8 + 25;

/// Makes a chunk iCCP with the profile.
/// @param pName 1 to 79 Latin-1 characters, without blanks at its ends
/// @throws std::bad_alloc
tBytes PngProfileChunk(const tBytes& pProfile, const char* pName);

/// Makes the chunks of a picture in sRGB. Chunk sRGB names the perceptual intent, which suits photographs. Chunks gAMA
/// and cHRM have the values of the standard, for readers that do not know sRGB.
tBytes PngSrgbChunks();

/// Appends a chunk: its length, type, data and checksum.
/// @param pType four letters
void PutPngChunk(tBytes& pTo, const char* pType, const tBytes& pData);

} // namespace SelvaneHost

#endif
