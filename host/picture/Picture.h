#ifndef SELVANE_HOST_PICTURE_PICTURE_H
#define SELVANE_HOST_PICTURE_PICTURE_H

// A picture in memory, as the library's entry takes it and gives it back.

#include "color/cColorSpace.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// What a sample is. The value is the entry's inputDepth.
enum eSampleForm : int
{
    eSamples8 = 8,        ///< interleaved red, green, blue, one byte each
    eSamples16 = 16,      ///< the same, native 16-bit integers
    eExponentPlanes = 32, ///< each row: width red mantissas, width green, width blue, width exponents, one byte each
};

/// More pixels than this the library cannot hold: its float picture counts bytes, 12 a pixel, in 31 bits.
constexpr int64_t kMostPixels = 0x7FFFFFFF / 12;

using tBytes = std::vector<unsigned char>;

/// A picture, upright, without padding between its rows.
struct sPicture
{
    int fWidth = 0;  ///< pixels
    int fHeight = 0; ///< pixels
    eSampleForm fForm = eSamples8;
    tBytes fPixels;

    /// The space that the file says its samples are in; empty when it says nothing or something else, which is then a
    /// warning.
    std::optional<Vornik::eColorSpaceID> fColorSpace;
    /// Blocks to carry over to the output, by the name that the picture library gives them (Exif, XMP, IPTC).
    std::map<std::string, tBytes> fMetadata;
    /// What the person should know about how the file was read.
    std::vector<std::string> fWarnings;
    /// The one about the colour space; void when the person chose one.
    std::string fColorSpaceWarning;
};

/// Bytes of one row.
inline size_t RowBytes(const sPicture& pPicture)
{
    const size_t bytesPerPixel = pPicture.fForm == eSamples8 ? 3 : pPicture.fForm == eSamples16 ? 6 : 4;
    return bytesPerPixel * static_cast<size_t>(pPicture.fWidth);
}

/// Takes the size, and no room for the pixels yet.
/// @throws cHostError when the size is not above zero or above kMostPixels
void SetSize(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm);

/// Refuses a size that stands in a file too short to hold so many pixels, so that a few bytes cannot ask for gigabytes.
/// @param pFileBytes the whole file
/// @throws cHostError
void CheckClaim(const sPicture& pPicture, size_t pFileBytes);

/// Takes the size and room for the pixels.
/// @throws cHostError when the size is not above zero or above kMostPixels
void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm);

/// A part of a picture, in pixels from its upper left corner.
struct sArea
{
    int fWidth;
    int fHeight;
    int fLeft;
    int fTop;
};

/// Cuts the picture down to the area.
/// @throws cHostError when the area does not lie inside it
void Crop(sPicture& pPicture, const sArea& pArea);

} // namespace SelvaneHost

#endif
