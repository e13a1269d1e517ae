#ifndef SELVANE_HOST_READ_OPEN_EXR_HEADERS_H
#define SELVANE_HOST_READ_OPEN_EXR_HEADERS_H

#include "picture/Picture.h"

namespace SelvaneHost
{

/// Checks the headers of all parts. Refuses an attribute that is longer than the file, and one whose size is not the
/// size of its type. Call it before the OpenEXR library reads the file: that library allocates as much memory as an
/// attribute claims. Source: "OpenEXR File Layout", headers.
/// @throws std::runtime_error with the reason, std::bad_alloc
void CheckOpenExrHeaders(const tBytes& pFile);

} // namespace SelvaneHost

#endif
