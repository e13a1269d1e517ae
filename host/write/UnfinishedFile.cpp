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
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace SelvaneHost
{

namespace
{

/// Who may use a slot. The signal handler removes the file of a slot that is there: its name is complete.
enum eSlot : int
{
    eFree,
    eTaken, ///< its name is being written, or its file is gone
    eThere
};

/// The name of an unfinished file.
struct sSlot
{
    std::atomic<int> fState{eFree};
    char fName[PATH_MAX];
};
static_assert(std::atomic<int>::is_always_lock_free);

constexpr size_t kMostUnfinished = 256; // as many as there can be jobs
sSlot gSlots[kMostUnfinished];

// A signal can meet one thread while another makes a file. So the handler waits until no file is being made, and after
// that none is made any more. A folder that does not answer ends the wait.
std::atomic<int> gMaking{0}; ///< threads that make a file
std::atomic<bool> gEnds{false};
constexpr int kMostWaits = 1000;
constexpr timespec kWait = {.tv_sec = 0, .tv_nsec = 1000000};

/// @return the number of a free slot, taken
size_t TakeSlot()
{
    for (size_t slot = 0; slot < kMostUnfinished; slot++) {
        int free = eFree;
        if (gSlots[slot].fState.compare_exchange_strong(free, eTaken)) return slot;
    }
    CannotWrite(EMFILE);
}

// Signals without a handler: they do not end a program, or cannot be caught. SIGXFSZ, for a file that grows beyond the
// limit, becomes an error. All other signals end a program, also those that have a number and no name.
constexpr int kHarmlessSignals[] = {SIGKILL, SIGSTOP, SIGCHLD, SIGCONT,  SIGTSTP,
                                    SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH, SIGXFSZ};
constexpr int kFirstRealTimeSignal = 32; // of the kernel; the C library hands out those from SIGRTMIN on

extern "C" void RemoveAndEnd(int pSignal)
{
    const int before = errno;
    gEnds.store(true);
    for (int i = 0; i < kMostWaits && gMaking.load() > 0; i++)
        ::nanosleep(&kWait, nullptr);
    for (sSlot& slot : gSlots)
        if (slot.fState.load() == eThere) ::unlink(slot.fName);
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

/// Another thread ends the program.
[[noreturn]] void WaitForTheEnd()
{
    for (;;)
        ::pause();
}

/// Makes a file and says so in its slot, in one step as far as signals can see.
/// @return its descriptor, or below 0 with errno
int MakeFile(sSlot& pSlot)
{
    const cBlockedSignals blocked;
    gMaking.fetch_add(1);
    if (gEnds.load()) {
        gMaking.fetch_sub(1);
        WaitForTheEnd();
    }
    const int descriptor = ::mkstemp(pSlot.fName);
    if (descriptor >= 0) pSlot.fState.store(eThere);
    gMaking.fetch_sub(1);
    return descriptor;
}

/// The file is gone if another thread ends the program.
[[noreturn]] void CannotRename(int pErrorNumber)
{
    if (gEnds.load()) WaitForTheEnd();
    CannotWrite(pErrorNumber);
}

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

cUnfinishedFile::cUnfinishedFile(const std::string& pFolder) : fSlot(TakeSlot())
{
    sSlot& slot = gSlots[fSlot];
    const std::string pattern = pFolder + "/.selvane-XXXXXX";
    const bool fits = pattern.size() < sizeof slot.fName;
    if (fits) {
        std::memcpy(slot.fName, pattern.c_str(), pattern.size() + 1);
        fDescriptor = MakeFile(slot);
    }
    if (fDescriptor >= 0) return;
    const int number = fits ? errno : ENAMETOOLONG;
    slot.fState.store(eFree);
    CannotWrite(number);
}

cUnfinishedFile::~cUnfinishedFile()
{
    sSlot& slot = gSlots[fSlot];
    if (fDescriptor >= 0) ::close(fDescriptor);
    if (slot.fState.load() == eThere) ::unlink(slot.fName);
    slot.fState.store(eFree);
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
    sSlot& slot = gSlots[fSlot];
    if (std::rename(slot.fName, pTarget.c_str()) != 0) CannotRename(errno);
    slot.fState.store(eTaken);
}

void cUnfinishedFile::RenameToNew(const std::string& pTarget)
{
    sSlot& slot = gSlots[fSlot];
    if (::link(slot.fName, pTarget.c_str()) == 0) return; // the destructor removes the other name
    if (errno == EEXIST) CannotWrite(EEXIST);
    if (::renameat2(AT_FDCWD, slot.fName, AT_FDCWD, pTarget.c_str(), RENAME_NOREPLACE) != 0) CannotRename(errno);
    slot.fState.store(eTaken);
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
