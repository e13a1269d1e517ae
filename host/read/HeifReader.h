#ifndef SELVANE_HOST_READ_HEIF_READER_H
#define SELVANE_HOST_READ_HEIF_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeHeif(const tBytes& pBytes);

/// Reads the primary picture of a HEIF or AVIF file with libheif, turned and mirrored as the file says. Samples of more
/// than 8 bits become 16 bits.
/// @throws cHostError
sPicture ReadHeif(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
