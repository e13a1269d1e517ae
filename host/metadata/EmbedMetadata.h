#ifndef SELVANE_HOST_METADATA_EMBED_METADATA_H
#define SELVANE_HOST_METADATA_EMBED_METADATA_H

#include "metadata/Metadata.h"

#include <span>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// Returns a JPEG, TIFF or WebP file with exactly these metadata, by Exiv2. The pixels and the colour profile stay as
/// they are. If Exiv2 fails, returns the file as it was, with a warning.
tBytes WithMetadata(std::span<const unsigned char> pFile, const sMetadata& pMetadata,
                    std::vector<std::string>& pWarnings);

/// Returns the chunks of a PNG file that hold the metadata: eXIf, iTXt for XMP, and zTXt for IPTC in the form "Raw
/// profile type iptc", which the usual programs read.
tBytes PngMetadataChunks(const sMetadata& pMetadata);

/// Copies IPTC data to XMP, for formats that hold no IPTC. XMP entries that are there stay. The IPTC block becomes
/// empty.
void MoveIptcIntoXmp(sMetadata& pMetadata, std::vector<std::string>& pWarnings);

} // namespace SelvaneHost

#endif
