#ifndef SELVANE_HOST_READ_INPUT_FILE_H
#define SELVANE_HOST_READ_INPUT_FILE_H

#include "picture/Picture.h"

#include <string>

namespace SelvaneHost
{

/// Reads all bytes of a file, pipe or device. "-" is standard input.
/// @param pCheck gets the first sixteen bytes, or all of a shorter file, before more is read. It throws to refuse the
///               file, so an endless device is not read further.
/// @throws cHostError with the system's text when the file cannot be read or is a folder, and for a pipe or device of
///         more than 2 GiB
tBytes ReadFile(const std::string& pPath, void (*pCheck)(const tBytes& pFirst));

/// Reads a file of settings or defaults.
/// @throws cHostError as ReadFile, and for more than 1 MiB
std::string ReadText(const std::string& pPath);

} // namespace SelvaneHost

#endif
