#ifndef SELVANE_HOST_READ_VIPS_READER_H
#define SELVANE_HOST_READ_VIPS_READER_H

// The common part of the readers for PNG, TIFF and JPEG files.

#include "picture/Picture.h"

#include <vips/vips.h>

namespace SelvaneHost
{

/// The ways in which one kind of file differs.
struct sVipsKind
{
    /// The loader of libvips.
    int (*fLoad)(void* pBytes, size_t pSize, VipsImage** pImage, ...);
    /// Returns the ICC profile of a file, or nothing. Null: libvips finds the profile.
    tBytes (*fProfile)(const tBytes& pFile) = nullptr;
    /// Returns whether a file without a profile names sRGB. Null: such files name no colour space.
    bool (*fSaysSrgb)(const tBytes& pFile) = nullptr;
};

/// Decodes a file through libvips.
/// @throws cHostError when the file is damaged or too large, has more than five channels, colours other than RGB and
///         grey, or samples other than 8 and 16-bit integers and 32-bit floats
sPicture ReadThroughVips(const sVipsKind& pKind, const tBytes& pBytes);

} // namespace SelvaneHost

#endif
