#ifndef SELVANE_HOST_BATCH_MEMORY_H
#define SELVANE_HOST_BATCH_MEMORY_H

// The memory that pictures may take together.

#include "picture/Picture.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// Reads a size such as "800M", "2.5G" or "4096", in bytes or units of 1024.
/// @throws cUsageError for any other text, and for less than 1 MiB
uint64_t BytesOf(const std::string& pText);

/// The most bytes that a picture takes on its way from file to file: its file, its samples, libselvane's handle, the
/// rendered samples, those in another size, and the encoded file.
/// @param pInput has the size and the form; its samples are not looked at
/// @param pFileBytes length of the input file
/// @param pDepth bits of an output sample
/// @param pResized pixels of the result, if its size is another one: it is then rendered in floats
uint64_t NeededBytes(const sPicture& pInput, uint64_t pFileBytes, int pDepth,
                     std::optional<uint64_t> pResized = std::nullopt);

/// Lets pictures in as long as there is room.
class cMemoryGate
{
public:
    explicit cMemoryGate(uint64_t pBytes) : fBytes(pBytes), fFree(pBytes) {}
    cMemoryGate(const cMemoryGate&) = delete;
    cMemoryGate& operator=(const cMemoryGate&) = delete;

    /// Room for a picture, which goes back with the object.
    class cRoom
    {
    public:
        cRoom() = default;
        cRoom(cMemoryGate& pGate, uint64_t pBytes) : fGate(&pGate), fBytes(pBytes) {}
        cRoom(cRoom&& pOther) noexcept;
        cRoom& operator=(cRoom&& pOther) noexcept;
        ~cRoom() { GiveBack(); }

    private:
        void GiveBack();

        cMemoryGate* fGate = nullptr;
        uint64_t fBytes = 0;
    };

    uint64_t Bytes() const { return fBytes; }

    /// Waits until there is room. Threads that wait are not served in any order.
    /// @throws cHostError at once for more than all room that there is
    cRoom Take(uint64_t pBytes);

private:
    const uint64_t fBytes;
    std::mutex fMutex;
    std::condition_variable fFreed;
    uint64_t fFree; ///< guarded by the mutex
};

} // namespace SelvaneHost

#endif
