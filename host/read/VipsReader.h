#ifndef SELVANE_HOST_READ_VIPS_READER_H
#define SELVANE_HOST_READ_VIPS_READER_H

// The common part of the readers for PNG, TIFF, JPEG and WebP files.

#include "color/ColorNotes.h"
#include "picture/Picture.h"
#include "picture/ReadOptions.h"

#include <vips/vips.h>

namespace SelvaneHost
{

/// The ways in which one kind of file differs.
struct sVipsKind
{
    /// The loader of libvips.
    int (*fLoad)(void* pBytes, size_t pSize, VipsImage** pImage, ...);
    /// Returns what a file says of its colours. Null: libvips finds the profile, and there is no more.
    sColorNotes (*fNotes)(const tBytes& pFile) = nullptr;
};

/// Decodes a file through libvips.
/// @throws cHostError when the file is damaged or too large, has more than five channels, colours other than RGB and
///         grey, or samples other than 8 and 16-bit integers and floats
sPicture ReadThroughVips(const sVipsKind& pKind, const tBytes& pBytes, const sReadOptions& pOptions);

} // namespace SelvaneHost

#endif
