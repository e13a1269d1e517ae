#include "write/OutputFile.h"

#include "picture/Errors.h"
#include "write/UnfinishedFile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

std::string FolderOf(const std::string& pPath)
{
    const size_t slash = pPath.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : pPath.substr(0, slash);
}

/// Follows symbolic links. Returns the path itself if it is no link or leads nowhere.
std::string Resolved(const std::string& pPath)
{
    char* const real = ::realpath(pPath.c_str(), nullptr);
    if (real == nullptr) return pPath;
    std::string name(real);
    std::free(real);
    return name;
}

/// Gives the new file the group and, if possible, the owner of the file that it replaces.
/// @return the permissions for the new file: without set-user-ID, set-group-ID and sticky bits, and without those of
///         the group if the group could not be given
mode_t TakeOver(int pDescriptor, const struct stat& pReplaced)
{
    constexpr uid_t kAsItIs = static_cast<uid_t>(-1);
    const mode_t rights = pReplaced.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (::fchown(pDescriptor, pReplaced.st_uid, pReplaced.st_gid) == 0 ||
        ::fchown(pDescriptor, kAsItIs, pReplaced.st_gid) == 0)
        return rights;
    return rights & ~static_cast<mode_t>(S_IRWXG);
}

/// The permissions that a new file does not get. The system tells them only by changing them, so one thread at a time
/// asks; a file that another part of the program makes in that moment is closed to others.
mode_t NewFileMask()
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const mode_t mask = ::umask(0077);
    ::umask(mask);
    return mask;
}

/// Returns the permissions for the new file: those of the replaced file, or those of any new file.
mode_t ModeFor(int pDescriptor, const std::string& pTarget)
{
    struct stat replaced
    {
    };
    if (::stat(pTarget.c_str(), &replaced) == 0) return TakeOver(pDescriptor, replaced);
    return 0666 & ~NewFileMask();
}

/// Syncs the folder, so that the rename survives a power cut. Failures are ignored: some file systems cannot do it, and
/// the file itself is on the disk already.
void SyncFolder(const std::string& pFolder)
{
    const int folder = ::open(pFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    ::fsync(folder);
    ::close(folder);
}

void CheckNoTerminal()
{
    if (::isatty(STDOUT_FILENO) == 1)
        throw cUsageError("standard output is a terminal; send it to a file or a program");
}

void WriteStandardOutput(std::span<const unsigned char> pBytes)
{
    while (!pBytes.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, pBytes.data(), pBytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) CannotWrite(errno);
        pBytes = pBytes.subspan(static_cast<size_t>(written));
    }
}

} // namespace

void CheckWritable(const std::string& pPath)
{
    if (pPath == "-") return CheckNoTerminal();
    const std::string target = Resolved(pPath);
    struct stat facts
    {
    };
    if (::stat(target.c_str(), &facts) == 0) {
        if (S_ISDIR(facts.st_mode)) CannotWrite(EISDIR);
        if (!S_ISREG(facts.st_mode)) throw cHostError("cannot be written: not a regular file");
    } else if (errno != ENOENT) {
        CannotWrite(errno);
    }
    const std::string folder = FolderOf(target);
    if (::access(folder.c_str(), W_OK | X_OK) != 0) CannotWrite(errno);
}

void WriteFile(const std::string& pPath, const std::vector<std::span<const unsigned char>>& pPieces, bool pMustBeNew)
{
    if (pPath == "-") {
        for (const std::span<const unsigned char> piece : pPieces)
            WriteStandardOutput(piece);
        return;
    }
    const std::string target = Resolved(pPath);
    const std::string folder = FolderOf(target);
    cUnfinishedFile file(folder);
    for (const std::span<const unsigned char> piece : pPieces)
        file.Write(piece.data(), piece.size());
    file.Finish(ModeFor(file.Descriptor(), target));
    if (pMustBeNew)
        file.RenameToNew(target);
    else
        file.RenameTo(target);
    SyncFolder(folder);
}

} // namespace SelvaneHost
