#include "read/InputFile.h"

#include "picture/Errors.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

constexpr size_t kFirstBytes = 16;
constexpr size_t kPiece = 1 << 20;    // bytes; the least by which the buffer grows when the size is unknown
constexpr size_t kMostText = 1 << 20; // bytes of a file of settings
// Bytes of a pipe or device. No picture that the library holds is larger, except in 32-bit samples.
constexpr size_t kMostUnannounced = size_t{2} << 30;

class cDescriptor
{
public:
    explicit cDescriptor(int pDescriptor) : fDescriptor(pDescriptor) {}
    ~cDescriptor()
    {
        if (fDescriptor >= 0) ::close(fDescriptor);
    }
    cDescriptor(const cDescriptor&) = delete;
    cDescriptor& operator=(const cDescriptor&) = delete;
    operator int() const { return fDescriptor; }

private:
    const int fDescriptor;
};

[[noreturn]] void Fail(int pErrorNumber)
{
    throw cHostError("cannot be read: " + SystemWords(pErrorNumber));
}

/// Returns the size of a regular file. 0 for a pipe or device.
size_t AnnouncedSize(int pDescriptor)
{
    struct stat facts
    {
    };
    if (::fstat(pDescriptor, &facts) != 0) Fail(errno);
    if (S_ISDIR(facts.st_mode)) Fail(EISDIR);
    return S_ISREG(facts.st_mode) ? static_cast<size_t>(facts.st_size) : 0;
}

/// Reads into the buffer from pUsed on. Returns the number of bytes, 0 at the end of the file.
size_t ReadSome(int pDescriptor, tBytes& pBytes, size_t pUsed)
{
    for (;;) {
        const ssize_t count = ::read(pDescriptor, pBytes.data() + pUsed, pBytes.size() - pUsed);
        if (count >= 0) return static_cast<size_t>(count);
        if (errno != EINTR) Fail(errno);
    }
}

/// Reads the first bytes. A pipe may deliver them in several pieces.
tBytes ReadFirst(int pDescriptor)
{
    tBytes bytes(kFirstBytes);
    size_t used = 0;
    while (used < kFirstBytes) {
        const size_t count = ReadSome(pDescriptor, bytes, used);
        if (count == 0) break;
        used += count;
    }
    bytes.resize(used);
    return bytes;
}

/// Enlarges a full buffer by half, at least by kPiece, and at most to one byte above pMost.
void Grow(tBytes& pBytes, size_t pMost)
{
    const size_t used = pBytes.size();
    if (used > pMost) throw cHostError("cannot be read: no end after " + std::to_string(pMost >> 20) + " MiB");
    pBytes.resize(std::min(used + std::max(kPiece, used / 2), pMost + 1));
}

int Open(const std::string& pPath)
{
    const int file =
        pPath == "-" ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0) : ::open(pPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) Fail(errno);
    return file;
}

} // namespace

tBytes ReadFile(const std::string& pPath, void (*pCheck)(const tBytes& pFirst))
{
    const cDescriptor file(Open(pPath));
    const size_t announced = AnnouncedSize(file);
    tBytes bytes = ReadFirst(file);
    pCheck(bytes);
    size_t used = bytes.size();
    bytes.resize(std::max(announced, used) + 1); // with the extra byte, the last read finds the end without growing
    while (const size_t count = ReadSome(file, bytes, used)) {
        used += count;
        if (used == bytes.size()) Grow(bytes, std::max(announced, kMostUnannounced));
    }
    bytes.resize(used);
    return bytes;
}

std::string ReadText(const std::string& pPath)
{
    const cDescriptor file(Open(pPath));
    AnnouncedSize(file); // refuses a folder
    tBytes bytes(kMostText + 1);
    size_t used = 0;
    while (const size_t count = ReadSome(file, bytes, used))
        used += count;
    if (used > kMostText) throw cHostError("cannot be read: larger than any file of settings");
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(used)};
}

} // namespace SelvaneHost
