#ifndef SELVANE_HOST_PICTURE_PICTURE_H
#define SELVANE_HOST_PICTURE_PICTURE_H

// A picture in memory, in the layout of the library's entry (entry/vorniklib3.h). The readers fill it, the commands
// pass its samples to the library, and the writer stores it. This folder holds what all of them know about a picture:
// its samples, its colours, the sliders and the failures.

#include "color/cColorSpace.h"
#include "picture/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// The form of the samples. The value is the entry's inputDepth.
enum eSampleForm : int
{
    eSamples8 = 8,        ///< interleaved red, green, blue; one byte each
    eSamples16 = 16,      ///< interleaved red, green, blue; native 16-bit integers
    eExponentPlanes = 32, ///< each row: width bytes each of red mantissas, green mantissas, blue mantissas, exponents
};

/// The most pixels of a picture. The library counts the bytes of its float picture, 12 a pixel, in 31 bits.
constexpr int64_t kMostPixels = 0x7FFFFFFF / 12;

/// A picture. It is upright, and its rows follow each other without padding.
struct sPicture
{
    int fWidth = 0;  ///< pixels
    int fHeight = 0; ///< pixels
    eSampleForm fForm = eSamples8;
    tBytes fPixels;

    /// The colour space that the file names. Empty if the file names none, or none of the library's three.
    std::optional<Vornik::eColorSpaceID> fColorSpace;
    /// Metadata for the output, by the name of libvips (Exif, XMP, IPTC).
    std::map<std::string, tBytes> fMetadata;
    /// Warnings about the way in which the file was read.
    std::vector<std::string> fWarnings;
    /// The warning about the colour space, or empty. It does not apply if the user chooses a colour space.
    std::string fColorSpaceWarning;
};

/// Returns the number of bytes in a row.
size_t RowBytes(const sPicture& pPicture);

/// Returns the number of bytes in all rows of a picture of this size and form.
size_t AllBytes(const sPicture& pPicture);

/// Returns the first byte of a row. fPixels must hold the row.
unsigned char* Row(sPicture& pPicture, int pRow);
const unsigned char* Row(const sPicture& pPicture, int pRow);

/// Sets size and form. Allocates no pixels.
/// @throws cHostError when a side is below 1 or the picture has more than kMostPixels pixels
void SetSize(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm);

/// Sets size and form, and allocates the pixels as zeros.
/// @throws cHostError when a side is below 1 or the picture has more than kMostPixels pixels
void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm);

/// A part of a picture, in pixels from the upper left corner.
struct sArea
{
    int fWidth;
    int fHeight;
    int fLeft;
    int fTop;
};

/// Reduces the picture to the area.
/// @throws cHostError when the area is empty or does not lie inside the picture
void Crop(sPicture& pPicture, const sArea& pArea);

} // namespace SelvaneHost

#endif
