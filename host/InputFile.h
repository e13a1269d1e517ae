#ifndef SELVANE_HOST_INPUT_FILE_H
#define SELVANE_HOST_INPUT_FILE_H

#include "Picture.h"

#include <string>

namespace SelvaneHost
{

/// The bytes of a file, pipe or device.
/// @throws cHostError in the system's words when it cannot be read, or is a folder
tBytes ReadFile(const std::string& pPath);

} // namespace SelvaneHost

#endif
