#ifndef SELVANE_HOST_READ_PNG_READER_H
#define SELVANE_HOST_READ_PNG_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikePng(const tBytes& pBytes);

/// Reads a PNG picture. Its own colour chunks decide the colour space, see picture/PngColor.h.
/// @throws cHostError see VipsReader.h
sPicture ReadPng(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
