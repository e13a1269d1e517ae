#ifndef SELVANE_HOST_WRITE_UNFINISHED_FILE_H
#define SELVANE_HOST_WRITE_UNFINISHED_FILE_H

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace SelvaneHost
{

/// A new file with the name .selvane-XXXXXX. The destructor removes it unless it was renamed. After CatchSignals, a
/// signal that ends the program removes it too. Up to 256 such files may exist at a time, on any threads.
class cUnfinishedFile
{
public:
    /// @throws cHostError with the system's text, like all operations below
    explicit cUnfinishedFile(const std::string& pFolder);
    ~cUnfinishedFile();
    cUnfinishedFile(const cUnfinishedFile&) = delete;
    cUnfinishedFile& operator=(const cUnfinishedFile&) = delete;

    int Descriptor() const { return fDescriptor; }

    void Write(const unsigned char* pBytes, size_t pSize);

    /// Sets the permissions, syncs the file and closes it.
    void Finish(mode_t pMode);

    void RenameTo(const std::string& pTarget);

    /// The same for a name that must not exist yet, whoever makes a file of that name meanwhile.
    void RenameToNew(const std::string& pTarget);

private:
    size_t fSlot; // of the name, for the signal handler
    int fDescriptor = -1;
};

/// Throws a cHostError with the system's text for an error number.
[[noreturn]] void CannotWrite(int pErrorNumber);

/// Handles every signal that ends the program, also those of a crash: removes an unfinished file, then ends the program
/// by that signal. Makes a file that grows beyond the limit an error and no signal. Ignores signals 32 and 33, which
/// the C library keeps for itself. Call it once, at the start.
void CatchSignals();

} // namespace SelvaneHost

#endif
