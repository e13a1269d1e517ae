#ifndef SELVANE_HOST_READ_WEBP_READER_H
#define SELVANE_HOST_READ_WEBP_READER_H

#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

bool LooksLikeWebp(const tBytes& pBytes);

/// Reads a WebP picture, the first frame of an animation.
/// @throws cHostError
sPicture ReadWebp(const tBytes& pBytes, const sReadOptions& pOptions = {});

} // namespace SelvaneHost

#endif
