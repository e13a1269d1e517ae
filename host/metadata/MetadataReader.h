#ifndef SELVANE_HOST_METADATA_METADATA_READER_H
#define SELVANE_HOST_METADATA_METADATA_READER_H

// This folder reads the metadata of a file (MetadataReader), makes them true of the result (OutputMetadata), and puts
// them into an encoded file (EmbedMetadata). Metadata are never a reason to lose a picture: what cannot be read or
// kept is left out, with a warning.

#include "metadata/Metadata.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// Reads the metadata of a picture file: JPEG, PNG, TIFF and WebP by Exiv2, HEIF and AVIF by libheif, JPEG XL by
/// libjxl, OpenEXR from its attributes. Other files have none. Call it for files whose pixels could be read: the
/// readers check the headers of OpenEXR files.
/// @param pWarnings receives a line for what is damaged or too large
sMetadata ReadMetadata(const tBytes& pFile, std::vector<std::string>& pWarnings);

} // namespace SelvaneHost

#endif
