#ifndef SELVANE_HOST_WRITE_FILE_KIND_H
#define SELVANE_HOST_WRITE_FILE_KIND_H

#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// The kinds of output files.
enum eFileKind : int
{
    ePng,  ///< lossless; 8 or 16 bits per sample
    eTiff, ///< lossless, deflate with horizontal prediction; 8 or 16 bits
    eJpeg, ///< 8 bits, no alpha
    eWebp, ///< 8 bits
    eAvif, ///< 8, 10 or 12 bits
    eJxl,  ///< JPEG XL; 8 or 16 bits, lossless at quality 100
};

/// Returns the names of all kinds, for --format: png, tiff, jpeg, webp, avif, jxl.
std::vector<std::string> FileKindNames();

/// Returns the kind for the extension of a file name, in upper or lower case: .png, .tif, .tiff, .jpg, .jpeg, .webp,
/// .avif or .jxl.
/// @param pFormat a name of a kind, which counts instead of the extension; empty: none
/// @throws cUsageError for any other extension, or none
eFileKind KindFor(const std::string& pPath, const std::string& pFormat = {});

/// Returns the bits of an output sample: those that were asked for. Without them, 8 for an input of 8 bits, and else
/// the usual deep form of the kind: 16, 10 for AVIF, 8 for JPEG and WebP.
/// @param pAsked empty: none
/// @throws cUsageError for bits that the kind does not hold
int DepthFor(eFileKind pKind, std::optional<int> pAsked, bool pInputIsDeep);

/// The most pixels of a side in files of this kind.
int MostSide(eFileKind pKind);

/// The kind as people write it, "JPEG XL".
const char* SpokenName(eFileKind pKind);

} // namespace SelvaneHost

#endif
