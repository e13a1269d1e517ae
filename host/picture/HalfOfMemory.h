#ifndef SELVANE_HOST_PICTURE_HALF_OF_MEMORY_H
#define SELVANE_HOST_PICTURE_HALF_OF_MEMORY_H

#include <cstdint>
#include <string>

namespace SelvaneHost
{

/// Half of the memory of this machine, in bytes, or of the control group that this program runs in if that has less. It
/// is what pictures may take together, what a decoder may take, and what libselvane may hold, where nobody says more.
/// @param pGroups folder of the control groups
/// @return at least 1 MiB
uint64_t HalfOfMemory(const std::string& pGroups = "/sys/fs/cgroup");

} // namespace SelvaneHost

#endif
