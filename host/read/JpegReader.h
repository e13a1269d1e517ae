#ifndef SELVANE_HOST_READ_JPEG_READER_H
#define SELVANE_HOST_READ_JPEG_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeJpeg(const tBytes& pBytes);

/// Reads a JPEG picture.
/// @throws cHostError see VipsReader.h
sPicture ReadJpeg(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
