#ifndef SELVANE_HOST_METADATA_BOX_METADATA_H
#define SELVANE_HOST_METADATA_BOX_METADATA_H

// Metadata of the formats that are made of boxes. They hold Exif and XMP, but no IPTC.

#include "metadata/Metadata.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns the Exif and XMP items of the main picture of a HEIF or AVIF file, by libheif.
sMetadata ReadHeifMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings);

/// Returns the Exif and XMP boxes of a JPEG XL file, by libjxl; also compressed ones.
sMetadata ReadJpegXlMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings);

} // namespace SelvaneHost

#endif
