#ifndef SELVANE_HOST_READ_CONFINEMENT_H
#define SELVANE_HOST_READ_CONFINEMENT_H

// Takes from this process all that the decoding of a picture does not need, for good.

#include <cstdint>
#include <vector>

namespace SelvaneHost
{

/// Whether this program can do with so little. One that is built with sanitizers needs more of the system.
extern const bool kCanBeConfined;

/// Limits the address space and the processor time of this process, and forbids core files. A process beyond its memory
/// gets none; one beyond its time is ended by SIGXCPU.
void LimitResources(uint64_t pBytes, uint64_t pSeconds);

/// From here on this process may read what is open, take memory, run threads of its own, write to pFiles, and exit. An
/// attempt to open a file by name answers with an error; anything else ends the process by SIGSYS.
/// @return false if nothing was forbidden: the system refuses it, and errno says why, or kCanBeConfined is false
bool ForbidAllButReading(const std::vector<int>& pFiles);

} // namespace SelvaneHost

#endif
