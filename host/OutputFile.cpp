#include "OutputFile.h"

#include "Errors.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
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

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM, SIGQUIT, SIGPIPE, SIGXCPU};
constexpr int kCrashSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};

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

/// Permissions for the new file: those of the one that it replaces, or those that any new file gets.
mode_t ModeFor(const std::string& pTarget)
{
    struct stat facts
    {
    };
    if (::stat(pTarget.c_str(), &facts) == 0) return facts.st_mode & 07777;
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

    void Finish(mode_t pMode)
    {
        if (::fchmod(fDescriptor, pMode) != 0 && errno != EPERM) Fail(errno);
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
    file.Finish(ModeFor(target));
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
    const auto catchUnless = [&](int pSignal, auto pLeave) {
        struct sigaction before
        {
        };
        if (::sigaction(pSignal, nullptr, &before) == 0 && pLeave(before.sa_handler)) return;
        ::sigaction(pSignal, &action, nullptr);
    };
    for (const int signal : kEndingSignals) // nohup and the like ignore some
        catchUnless(signal, [](auto pHandler) { return pHandler == SIG_IGN; });
    for (const int signal : kCrashSignals) // a sanitizer has its own
        catchUnless(signal, [](auto pHandler) { return pHandler != SIG_DFL; });
    ::signal(SIGXFSZ, SIG_IGN);
}

} // namespace SelvaneHost
