#ifndef SELVANE_HOST_WRITE_PICTURE_WRITER_H
#define SELVANE_HOST_WRITE_PICTURE_WRITER_H

#include "picture/Picture.h"

#include <string>

namespace SelvaneHost
{

enum eFileKind : int
{
    ePng,  ///< lossless
    eTiff, ///< lossless, deflate with horizontal prediction
    eJpeg, ///< quality 95, full colour resolution; 8 bits a sample only
};

/// The kind that the name's extension asks for (.png, .tif, .tiff, .jpg, .jpeg, in any case of letters).
/// @throws cUsageError for any other extension, and for none
eFileKind KindFor(const std::string& pPath);

/// Encodes the picture in memory, with the stored ICC profile of the space (a PNG says sRGB in chunks of its own) and
/// the picture's metadata, and then writes the file whole.
/// @param pPicture 8 or 16-bit samples; 8 for a JPEG
/// @throws cHostError
void WritePicture(const sPicture& pPicture, Vornik::eColorSpaceID pSpace, const std::string& pPath);

} // namespace SelvaneHost

#endif
