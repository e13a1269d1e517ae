#ifndef SELVANE_HOST_READ_INPUT_FILE_H
#define SELVANE_HOST_READ_INPUT_FILE_H

#include "picture/Picture.h"

#include <string>

namespace SelvaneHost
{

/// The bytes of a file, pipe or device.
/// @param pCheck is shown the first eight bytes, or all of a shorter file, before more is read, and throws for what
///               nobody wants; an endless device ends there
/// @throws cHostError in the system's words when it cannot be read or is a folder, and for a pipe that brings more than
///         2 GiB
tBytes ReadFile(const std::string& pPath, void (*pCheck)(const tBytes& pFirst));

} // namespace SelvaneHost

#endif
