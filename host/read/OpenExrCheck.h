#ifndef SELVANE_HOST_READ_OPEN_EXR_CHECK_H
#define SELVANE_HOST_READ_OPEN_EXR_CHECK_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Reads all headers, and refuses those with an attribute that is longer than the file, or whose size is not that of
/// its type, before the OpenEXR library's own reading takes as much memory as such an attribute claims to need. Source:
/// "OpenEXR File Layout", headers.
/// @throws std::runtime_error with the words of the refusal, std::bad_alloc
void CheckOpenExrHeaders(const tBytes& pFile);

/// Unpacks every chunk of a part's full-size picture, and finds those that hold fewer bytes than their rows need. The
/// OpenEXR library's own reading passes over that and fills the rest of such rows with what its memory held before.
/// A chunk of a compression that cannot be unpacked here (DWAA and DWAB before OpenEXR 3.2) is passed over: its decoder
/// fills its rows or fails.
/// @param pPart number of the part, from 0; it holds flat pixels
/// @throws std::runtime_error with the words of the library, std::bad_alloc
void CheckOpenExrChunks(const tBytes& pFile, int pPart);

} // namespace SelvaneHost

#endif
