#include "write/UnfinishedFile.h"

#include "picture/Errors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

// Name of the file that the signal handler removes. The name is complete before gUnfinished is set.
char gUnfinishedName[PATH_MAX];
std::atomic<bool> gUnfinished{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// Signals without a handler: they do not end a program, or cannot be caught. SIGXFSZ, for a file that grows beyond the
// limit, becomes an error. All other signals end a program, also those that have a number and no name.
constexpr int kHarmlessSignals[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT,  SIGTSTP,
                                    SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH, SIGXFSZ};
constexpr int kFirstRealTimeSignal = 32; // of the kernel; the C library hands out those from SIGRTMIN on

extern "C" void RemoveAndEnd(int pSignal)
{
    const int before = errno;
    if (gUnfinished.load()) ::unlink(gUnfinishedName);
    ::signal(pSignal, SIG_DFL);
    ::raise(pSignal); // delivered when the handler returns
    errno = before;
}

/// Blocks all signals while it exists.
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

/// Returns whether the signal ends the program and has its default action. Under nohup and the like some signals are
/// ignored, and a sanitizer installs its own handlers.
bool EndsTheProgram(int pSignal)
{
    if (std::find(std::begin(kHarmlessSignals), std::end(kHarmlessSignals), pSignal) != std::end(kHarmlessSignals))
        return false;
    struct sigaction present
    {
    };
    return ::sigaction(pSignal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL;
}

/// Ignores the first real-time signals by the system call itself. The C library keeps them and refuses to handle, block
/// or ignore them. When the library needs such a signal, it installs its own handler.
void IgnoreKeptSignals()
{
    const std::array<uintptr_t, 4> ignore = {reinterpret_cast<uintptr_t>(SIG_IGN)}; // flags, restorer and mask are 0
    for (int signal = kFirstRealTimeSignal; signal < SIGRTMIN; signal++)
        ::syscall(SYS_rt_sigaction, signal, ignore.data(), nullptr, sizeof(uint64_t));
}

} // namespace

cUnfinishedFile::cUnfinishedFile(const std::string& pFolder)
{
    const std::string pattern = pFolder + "/.selvane-XXXXXX";
    if (pattern.size() >= sizeof gUnfinishedName) CannotWrite(ENAMETOOLONG);
    std::memcpy(gUnfinishedName, pattern.c_str(), pattern.size() + 1);
    const cBlockedSignals blocked; // until gUnfinished is set
    fDescriptor = ::mkstemp(gUnfinishedName);
    if (fDescriptor < 0) CannotWrite(errno);
    gUnfinished.store(true);
}

cUnfinishedFile::~cUnfinishedFile()
{
    if (fDescriptor >= 0) ::close(fDescriptor);
    if (!gUnfinished.load()) return;
    ::unlink(gUnfinishedName);
    gUnfinished.store(false);
}

void cUnfinishedFile::Write(const unsigned char* pBytes, size_t pSize)
{
    while (pSize > 0) {
        const ssize_t count = ::write(fDescriptor, pBytes, pSize);
        if (count < 0 && errno != EINTR) CannotWrite(errno);
        if (count <= 0) continue;
        pBytes += count;
        pSize -= static_cast<size_t>(count);
    }
}

void cUnfinishedFile::Finish(mode_t pMode)
{
    if (::fchmod(fDescriptor, pMode) != 0 && errno != EPERM) CannotWrite(errno);
    if (::fsync(fDescriptor) != 0) CannotWrite(errno);
    const int descriptor = fDescriptor;
    fDescriptor = -1;
    if (::close(descriptor) != 0) CannotWrite(errno);
}

void cUnfinishedFile::RenameTo(const std::string& pTarget)
{
    if (std::rename(gUnfinishedName, pTarget.c_str()) != 0) CannotWrite(errno);
    gUnfinished.store(false);
}

void CannotWrite(int pErrorNumber)
{
    throw cHostError("cannot be written: " + SystemWords(pErrorNumber));
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
