#include "write/OutputFile.h"

#include "picture/Errors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

// Name of the file that a signal has to remove. Written before gUnfinished is set, so that the handler never sees half
// of it.
char gUnfinishedName[PATH_MAX];
std::atomic<bool> gUnfinished{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// Signals that end no program by default, or that no program can catch; one that grows a file too far becomes an error.
// All others, those with a number and no name too, end it.
constexpr int kHarmlessSignals[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT,  SIGTSTP,
                                    SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH, SIGXFSZ};
constexpr int kFirstRealTimeSignal = 32; // of the system; SIGRTMIN is the first that the C library gives away

extern "C" void RemoveAndEnd(int pSignal)
{
    const int before = errno;
    if (gUnfinished.load()) ::unlink(gUnfinishedName);
    ::signal(pSignal, SIG_DFL);
    ::raise(pSignal); // which waits for the handler's end
    errno = before;
}

[[noreturn]] void Fail(int pErrorNumber)
{
    throw cHostError("cannot be written: " + SystemWords(pErrorNumber));
}

std::string FolderOf(const std::string& pPath)
{
    const size_t slash = pPath.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : pPath.substr(0, slash);
}

/// The name behind a symbolic link; the path itself when it is none or leads nowhere.
std::string Resolved(const std::string& pPath)
{
    char* const real = ::realpath(pPath.c_str(), nullptr);
    if (real == nullptr) return pPath;
    std::string name(real);
    std::free(real);
    return name;
}

/// Gives the new file the owner and the group of the one that it replaces, as far as this user may.
/// @return the permissions to take over: without the bits that lend a program its owner's or group's rights, and with
///         none for the group where that is another one now
mode_t TakeOver(int pDescriptor, const struct stat& pReplaced)
{
    constexpr uid_t kAsItIs = static_cast<uid_t>(-1);
    const mode_t rights = pReplaced.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    if (::fchown(pDescriptor, pReplaced.st_uid, pReplaced.st_gid) == 0 ||
        ::fchown(pDescriptor, kAsItIs, pReplaced.st_gid) == 0)
        return rights;
    return rights & ~static_cast<mode_t>(S_IRWXG);
}

/// Permissions for the new file: those of the one that it replaces, or those that any new file gets.
mode_t ModeFor(int pDescriptor, const std::string& pTarget)
{
    struct stat replaced
    {
    };
    if (::stat(pTarget.c_str(), &replaced) == 0) return TakeOver(pDescriptor, replaced);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

/// The new file beside its target, removed again unless it was renamed.
class cUnfinishedFile
{
public:
    explicit cUnfinishedFile(const std::string& pFolder)
    {
        const std::string pattern = pFolder + "/.selvane-XXXXXX";
        if (pattern.size() >= sizeof gUnfinishedName) Fail(ENAMETOOLONG);
        std::memcpy(gUnfinishedName, pattern.c_str(), pattern.size() + 1);
        const cBlockedSignals blocked; // between the file's making and the note of it
        fDescriptor = ::mkstemp(gUnfinishedName);
        if (fDescriptor < 0) Fail(errno);
        gUnfinished.store(true);
    }

    ~cUnfinishedFile()
    {
        if (fDescriptor >= 0) ::close(fDescriptor);
        if (!gUnfinished.load()) return;
        ::unlink(gUnfinishedName);
        gUnfinished.store(false);
    }

    cUnfinishedFile(const cUnfinishedFile&) = delete;
    cUnfinishedFile& operator=(const cUnfinishedFile&) = delete;

    void Write(const unsigned char* pBytes, size_t pSize)
    {
        while (pSize > 0) {
            const ssize_t count = ::write(fDescriptor, pBytes, pSize);
            if (count < 0 && errno != EINTR) Fail(errno);
            if (count <= 0) continue;
            pBytes += count;
            pSize -= static_cast<size_t>(count);
        }
    }

    void FinishFor(const std::string& pTarget)
    {
        if (::fchmod(fDescriptor, ModeFor(fDescriptor, pTarget)) != 0 && errno != EPERM) Fail(errno);
        if (::fsync(fDescriptor) != 0) Fail(errno);
        const int descriptor = fDescriptor;
        fDescriptor = -1;
        if (::close(descriptor) != 0) Fail(errno);
    }

    void RenameTo(const std::string& pTarget)
    {
        if (::rename(gUnfinishedName, pTarget.c_str()) != 0) Fail(errno);
        gUnfinished.store(false);
    }

private:
    class cBlockedSignals
    {
    public:
        cBlockedSignals()
        {
            sigset_t all;
            ::sigfillset(&all);
            ::pthread_sigmask(SIG_BLOCK, &all, &fBefore);
        }
        ~cBlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &fBefore, nullptr); }
        cBlockedSignals(const cBlockedSignals&) = delete;
        cBlockedSignals& operator=(const cBlockedSignals&) = delete;

    private:
        sigset_t fBefore{};
    };

    int fDescriptor = -1;
};

/// Whether the signal ends a program that does nothing about it, and is still at that: nohup and the like have some
/// ignored, and a sanitizer has handlers of its own.
bool EndsTheProgram(int pSignal)
{
    if (std::find(std::begin(kHarmlessSignals), std::end(kHarmlessSignals), pSignal) != std::end(kHarmlessSignals))
        return false;
    struct sigaction present
    {
    };
    return ::sigaction(pSignal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL;
}

/// The C library keeps the first real-time signals to itself and lets no program handle, block or ignore them. Ignored
/// by the system call they do not end it; where the C library comes to use one, it puts its own handler there.
void IgnoreKeptSignals()
{
    const std::array<uintptr_t, 4> ignore = {reinterpret_cast<uintptr_t>(SIG_IGN)}; // and no flags, restorer, mask
    for (int signal = kFirstRealTimeSignal; signal < SIGRTMIN; signal++)
        ::syscall(SYS_rt_sigaction, signal, ignore.data(), nullptr, sizeof(uint64_t));
}

/// Makes the rename last through a power cut. Not every file system can; the file itself is safe already.
void SyncFolder(const std::string& pFolder)
{
    const int folder = ::open(pFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;
    ::fsync(folder);
    ::close(folder);
}

} // namespace

void CheckWritable(const std::string& pPath)
{
    const std::string target = Resolved(pPath);
    struct stat facts
    {
    };
    if (::stat(target.c_str(), &facts) == 0) {
        if (S_ISDIR(facts.st_mode)) Fail(EISDIR);
        if (!S_ISREG(facts.st_mode)) throw cHostError("cannot be written: not a regular file");
    } else if (errno != ENOENT) {
        Fail(errno);
    }
    const std::string folder = FolderOf(target);
    if (::access(folder.c_str(), W_OK | X_OK) != 0) Fail(errno);
}

void WriteFile(const std::string& pPath, const std::vector<std::span<const unsigned char>>& pPieces)
{
    const std::string target = Resolved(pPath);
    const std::string folder = FolderOf(target);
    cUnfinishedFile file(folder);
    for (const std::span<const unsigned char> piece : pPieces)
        file.Write(piece.data(), piece.size());
    file.FinishFor(target);
    file.RenameTo(target);
    SyncFolder(folder);
}

void CatchSignals()
{
    struct sigaction action
    {
    };
    action.sa_handler = RemoveAndEnd;
    sigfillset(&action.sa_mask);
    for (int signal = 1; signal <= SIGRTMAX; signal++) {
        if (EndsTheProgram(signal)) ::sigaction(signal, &action, nullptr);
    }
    ::signal(SIGXFSZ, SIG_IGN);
    IgnoreKeptSignals();
}

} // namespace SelvaneHost
