#ifndef SELVANE_HOST_READ_OPEN_EXR_CHUNKS_H
#define SELVANE_HOST_READ_OPEN_EXR_CHUNKS_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Unpacks each chunk of a part's full-size picture, and refuses chunks with fewer bytes than their rows need. The
/// OpenEXR library accepts such chunks and fills the rest of the rows with the former content of its memory.
///
/// DWAA and DWAB cannot be unpacked this way before OpenEXR 3.2. Their chunks are skipped, because their decoder fills
/// all rows or fails.
/// @param pPart index of the part, from 0; the part must hold flat pixels
/// @throws std::runtime_error with the reason, std::bad_alloc
void CheckOpenExrChunks(const tBytes& pFile, int pPart);

} // namespace SelvaneHost

#endif
