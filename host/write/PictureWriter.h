#ifndef SELVANE_HOST_WRITE_PICTURE_WRITER_H
#define SELVANE_HOST_WRITE_PICTURE_WRITER_H

// This folder stores a finished picture: PictureWriter encodes it in memory (Encoding.h), OutputFile writes the bytes,
// and UnfinishedFile removes what a failed or interrupted run has begun. Resize.h changes the size before.

#include "metadata/OutputMetadata.h"
#include "picture/Picture.h"
#include "write/Encoding.h"
#include "write/FileKind.h"

#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// How a picture is stored.
struct sStorage
{
    eFileKind fKind = ePng;
    int fSpace = 0;                   ///< SELVANE_SRGB to SELVANE_REC2020
    int fDepth = 8;                   ///< bits of a sample in the file, see DepthFor
    std::optional<int> fQuality = {}; ///< 1 to 100; empty: 95 for JPEG, 80 for AVIF, 90 for WebP and JPEG XL
    eSubsampling fSubsampling = eFullColor;
    int fThreads = 1;
    sMetadataOptions fMetadata = {};
    bool fMustBeNew = false;    ///< no file is replaced, see WriteFile
    std::string fSettings = {}; ///< of the look, for the XMP data; empty: none
    std::string fVersion = {};  ///< of the program, for the XMP data; empty: none
};

/// Encodes a picture in memory and writes the file in one go, see OutputFile.h. The file gets the metadata of the
/// picture (OutputMetadata.h) and libselvane's ICC profile of the space. A PNG in sRGB gets chunk sRGB instead, see
/// picture/PngColor.h, and a lossy JPEG XL file the space in its own terms.
/// @param pPicture 8-bit samples for fDepth 8, else 16-bit ones. JPEG files leave alpha out
/// @param pPath "-" is standard output
/// @return warnings about what the file does not hold
/// @throws cHostError
std::vector<std::string> WritePicture(const sPicture& pPicture, const sStorage& pStorage, const std::string& pPath);

} // namespace SelvaneHost

#endif
