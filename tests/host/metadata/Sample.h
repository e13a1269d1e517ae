#ifndef SELVANE_TESTS_HOST_METADATA_SAMPLE_H
#define SELVANE_TESTS_HOST_METADATA_SAMPLE_H

// Pictures with known metadata, and what exiftool says of a file. exiftool shares no code with the libraries of the
// host.

#include "host/Workshop.h"

#include <string>
#include <vector>

namespace SelvaneTest
{

/// Runs exiftool. Returns what it prints on standard output, without the last line feed.
std::string Exiftool(const std::vector<std::string>& pWords);

/// Returns a tag of a file, as a number where it has one; "-" if the file has none.
/// @param pTag with its group: "GPS:GPSLatitude"
std::string TagOf(const std::string& pPath, const std::string& pTag);

/// Returns several tags of several files with one call of exiftool: rows of the files, columns of the tags.
std::vector<std::vector<std::string>> TagsOf(const std::vector<std::string>& pPaths,
                                             const std::vector<std::string>& pTags);

/// The maker's note of the sample files.
constexpr const char* kMakerNote = "a note in a form of the maker's own, which no program knows";

/// Writes a small picture with everything: Exif with GPS, a maker's note and a thumbnail, IPTC where the format holds
/// it, and XMP. The extension decides the kind: .jpg, .png, .tif, .webp, .heic, .avif, .jxl or .exr. OpenEXR gets its
/// attributes instead.
void StoreWithMetadata(const std::string& pPath);

/// Writes a small picture without metadata, of the same kinds.
void StorePlain(const std::string& pPath, int pWidth = 64, int pHeight = 48);

} // namespace SelvaneTest

#endif
