#ifndef SELVANE_HOST_PICTURE_PICTURE_H
#define SELVANE_HOST_PICTURE_PICTURE_H

// A picture in memory. The readers fill it, the commands pass its samples to libselvane, and the writer stores it. This
// folder holds what all of them know about a picture: its samples, its colours, the sliders and the failures.

#include "metadata/Metadata.h"
#include "picture/Bytes.h"
#include "picture/Color.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace SelvaneHost
{

enum eSampleForm : int
{
    eSamples8,       ///< interleaved; one byte each
    eSamples16,      ///< interleaved; native 16-bit integers
    eExponentPlanes, ///< each row: width bytes each of red mantissas, green mantissas, blue mantissas, exponents
    eFloats,         ///< interleaved; native 32-bit floats of any scale
};

/// The most pixels that a picture may have, at first 400 million. Any reader refuses a larger one by SetSize, before it
/// unpacks a row.
int64_t MostPixels();

/// Sets it, for the whole process. Call it before any thread.
void SetMostPixels(int64_t pPixels);

/// A picture. It is upright, and its rows follow each other without padding.
struct sPicture
{
    int fWidth = 0;  ///< pixels
    int fHeight = 0; ///< pixels
    eSampleForm fForm = eSamples8;
    int fChannels = 3; ///< red, green, blue and with 4 alpha. Exponent planes: 3
    tBytes fPixels;

    sColor fColor;
    sMetadata fMetadata;
    /// Warnings about the way in which the file was read.
    std::vector<std::string> fWarnings;
    /// The warning about the colour space, or empty. It does not apply if the user chooses a colour space.
    std::string fColorSpaceWarning;
};

/// Returns the number of bytes of a sample. Of exponent planes: 1.
size_t SampleBytes(eSampleForm pForm);

/// Returns the number of bytes of a pixel.
size_t PixelBytes(const sPicture& pPicture);

/// Returns the number of bytes in a row.
size_t RowBytes(const sPicture& pPicture);

/// Returns the number of bytes in all rows of a picture of this size and form.
size_t AllBytes(const sPicture& pPicture);

/// Returns the first byte of a row. fPixels must hold the row.
unsigned char* Row(sPicture& pPicture, int pRow);
const unsigned char* Row(const sPicture& pPicture, int pRow);

/// Sets size, form and channels, and tells a cSizeWatch. Allocates no pixels.
/// @throws cHostError when a side is below 1 or the picture has more than MostPixels()
void SetSize(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm, int pChannels = 3);

/// Sets size, form and channels, and allocates the pixels as zeros.
/// @throws cHostError when a side is below 1 or the picture has more than MostPixels()
void AllocatePixels(sPicture& pPicture, int64_t pWidth, int64_t pHeight, eSampleForm pForm, int pChannels = 3);

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

/// Drops the alpha channel, if there is one.
void DropAlpha(sPicture& pPicture);

/// Gives the picture one of the forms that the engine's entry takes: floats become exponent planes (see
/// ExponentPlanes.h), and alpha is dropped.
void MakeEntryForm(sPicture& pPicture);

} // namespace SelvaneHost

#endif
