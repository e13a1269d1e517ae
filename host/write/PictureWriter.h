#ifndef SELVANE_HOST_WRITE_PICTURE_WRITER_H
#define SELVANE_HOST_WRITE_PICTURE_WRITER_H

// This folder stores a finished picture: PictureWriter encodes it in memory, OutputFile writes the bytes, and
// UnfinishedFile removes what a failed or interrupted run has begun.

#include "picture/Picture.h"
#include "write/FileKind.h"

#include <string>

namespace SelvaneHost
{

/// Encodes a picture in memory and writes the file in one go, see OutputFile.h. The file gets the metadata of the
/// picture and libselvane's ICC profile of the space. A PNG in sRGB gets chunk sRGB instead, see picture/PngColor.h.
/// @param pPicture 8 or 16-bit samples; 8-bit ones without alpha for a JPEG
/// @param pSpace SELVANE_SRGB to SELVANE_REC2020
/// @throws cHostError
void WritePicture(const sPicture& pPicture, int pSpace, eFileKind pKind, const std::string& pPath);

} // namespace SelvaneHost

#endif
