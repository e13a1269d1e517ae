#include "picture/HalfOfMemory.h"

#include <algorithm>
#include <fstream>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

constexpr uint64_t kLeastBytes = uint64_t{1} << 20;

uint64_t MachineMemory()
{
    const auto pages = static_cast<uint64_t>(std::max(1L, ::sysconf(_SC_PHYS_PAGES)));
    return pages * static_cast<uint64_t>(std::max(1L, ::sysconf(_SC_PAGESIZE)));
}

/// The limit of the control group; the largest number if there is none.
uint64_t GroupMemory(const std::string& pGroups)
{
    for (const char* name : {"/memory.max", "/memory/memory.limit_in_bytes"}) {
        std::ifstream file(pGroups + name);
        uint64_t bytes = 0;
        if (file >> bytes && bytes > 0) return bytes;
    }
    return UINT64_MAX;
}

} // namespace

uint64_t HalfOfMemory(const std::string& pGroups)
{
    return std::max(kLeastBytes, std::min(MachineMemory(), GroupMemory(pGroups)) / 2);
}

} // namespace SelvaneHost
