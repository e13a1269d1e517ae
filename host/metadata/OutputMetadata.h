#ifndef SELVANE_HOST_METADATA_OUTPUT_METADATA_H
#define SELVANE_HOST_METADATA_OUTPUT_METADATA_H

#include "metadata/Metadata.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// What the user wants of the metadata.
struct sMetadataOptions
{
    bool fNone = false;          ///< leave out all metadata; the colour profile stays
    bool fStripLocation = false; ///< leave out where the picture was taken
};

/// What the metadata have to say of the result.
struct sOutputFacts
{
    int fWidth = 0;  ///< pixels
    int fHeight = 0; ///< pixels
    int fSpace = 0;  ///< selvane_primaries, SELVANE_SRGB to SELVANE_REC2020
    tBytes fThumbnail;
    std::string fSettings; ///< of the look, as text (TOML); empty: none
    std::string fVersion;  ///< of the program; empty: none
};

/// Returns whether the Exif data hold a thumbnail, so that the result needs one too.
bool HasThumbnail(const sMetadata& pMetadata);

/// Returns the resolution of the Exif data in pixels per millimetre. 72 pixels per inch if they give none.
double PixelsPerMillimetre(const sMetadata& pMetadata);

/// Returns the metadata of the result:
///
///   - without the entries that describe how the input was stored (strips, compression, curves, further pictures)
///   - orientation 1, because the pixels are upright; sizes and colour space are those of the result
///   - with the given thumbnail (JPEG) instead of the old one, or with none if it is empty
///   - in XMP the settings and the version, as selvane:Settings and selvane:Version
///
/// The same in XMP where XMP repeats them. Exif data are made for no picture that had none.
/// @param pWarnings receives a line for what is damaged and cannot be kept
sMetadata OutputMetadata(const sMetadata& pInput, const sOutputFacts& pFacts, const sMetadataOptions& pOptions,
                         std::vector<std::string>& pWarnings);

} // namespace SelvaneHost

#endif
