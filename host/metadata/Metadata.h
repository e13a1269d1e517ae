#ifndef SELVANE_HOST_METADATA_METADATA_H
#define SELVANE_HOST_METADATA_METADATA_H

#include "picture/Bytes.h"

#include <cstddef>

namespace SelvaneHost
{

/// The metadata of a picture, as blocks that any format can carry. An empty block: the picture has none of its kind.
struct sMetadata
{
    tBytes fExif; ///< a TIFF structure ("II" or "MM" first), without the name "Exif" before it
    tBytes fIptc; ///< IIM data sets (0x1C first)
    tBytes fXmp;  ///< an XMP packet, UTF-8
};

/// The most bytes of a block. Larger ones are left out with a warning.
constexpr size_t kMostMetadata = 8 << 20;

} // namespace SelvaneHost

#endif
