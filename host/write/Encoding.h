#ifndef SELVANE_HOST_WRITE_ENCODING_H
#define SELVANE_HOST_WRITE_ENCODING_H

// A finished picture on its way into a file.

#include "metadata/Metadata.h"
#include "picture/Picture.h"
#include "write/FileKind.h"

#include <span>

namespace SelvaneHost
{

/// How the colours of the pixels are thinned out. Only JPEG, WebP and AVIF can.
enum eSubsampling : int
{
    eFullColor,   ///< 4:4:4: a colour for each pixel. WebP halves in any case, and then does it with more care
    eHalvedColor, ///< 4:2:0: a colour for each square of four pixels
};

/// All that an encoder needs.
struct sEncoding
{
    const sPicture& fPicture; ///< 8 or 16-bit samples
    int fDepth = 8;           ///< bits of a sample in the file, one that the kind holds
    int fQuality = 90;        ///< 1 to 100, for JPEG, WebP, AVIF and JPEG XL
    eSubsampling fSubsampling = eFullColor;
    int fThreads = 1;
    int fSpace = 0;                          ///< SELVANE_SRGB to SELVANE_REC2020
    std::span<const unsigned char> fProfile; ///< ICC, of the space
    const sMetadata& fMetadata;
    double fPixelsPerMillimetre = 72 / 25.4;
};

/// Encodes a PNG, TIFF, JPEG or WebP file without metadata, and a PNG file also without its profile, by libvips.
/// @throws cHostError
tBytes EncodeThroughVips(const sEncoding& pEncoding, eFileKind pKind);

/// Encodes a small JPEG of the picture, at most 160 x 120 pixels: the thumbnail of Exif data.
/// @throws cHostError
tBytes EncodeThumbnail(const sPicture& pPicture);

/// Encodes an AVIF file with metadata, by libavif.
/// @throws cHostError
tBytes EncodeAvif(const sEncoding& pEncoding);

/// Encodes a JPEG XL file with metadata, by libjxl. Quality 100 is lossless. A lossy file names
/// its space in the terms of JPEG XL instead of a profile.
/// @throws cHostError
tBytes EncodeJxl(const sEncoding& pEncoding);

} // namespace SelvaneHost

#endif
