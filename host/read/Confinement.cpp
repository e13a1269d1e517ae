#include "read/Confinement.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/prctl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SELVANE_SANITIZED_PROCESS 1 // reserves terabytes of addresses, and calls the system from its own threads
#else
#define SELVANE_SANITIZED_PROCESS 0
#endif

namespace SelvaneHost
{

namespace
{

void Limit(decltype(RLIMIT_AS) pWhat, uint64_t pMost)
{
    rlimit limit{};
    if (::getrlimit(pWhat, &limit) != 0) return;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, pMost);
    limit.rlim_max = std::min<rlim_t>(limit.rlim_max, pMost);
    ::setrlimit(pWhat, &limit);
}

void AllowAllOf(decltype(RLIMIT_AS) pWhat)
{
    rlimit limit{};
    if (::getrlimit(pWhat, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(pWhat, &limit);
}

/// A filter under construction. Rules that the system does not know are left out: then the default holds.
class cFilter
{
public:
    cFilter() : fContext(::seccomp_init(SCMP_ACT_KILL_PROCESS)) {}
    ~cFilter() { ::seccomp_release(fContext); }
    cFilter(const cFilter&) = delete;
    cFilter& operator=(const cFilter&) = delete;

    void Allow(std::initializer_list<int> pCalls)
    {
        for (const int call : pCalls)
            ::seccomp_rule_add(fContext, SCMP_ACT_ALLOW, call, 0);
    }
    void AllowIf(int pCall, scmp_arg_cmp pTest) { ::seccomp_rule_add(fContext, SCMP_ACT_ALLOW, pCall, 1, pTest); }
    void Refuse(std::initializer_list<int> pCalls, int pError)
    {
        for (const int call : pCalls)
            ::seccomp_rule_add(fContext, SCMP_ACT_ERRNO(static_cast<uint16_t>(pError)), call, 0);
    }
    void RefuseIf(int pCall, scmp_arg_cmp pTest, int pError)
    {
        ::seccomp_rule_add(fContext, SCMP_ACT_ERRNO(static_cast<uint16_t>(pError)), pCall, 1, pTest);
    }
    /// Returns false when the system refuses the filter. errno then says why.
    bool Load()
    {
        if (fContext == nullptr) return false;
        ::seccomp_attr_set(fContext, SCMP_FLTATR_API_SYSRAWRC, 1); // the errors of the system as they are
        const int result = ::seccomp_load(fContext);
        errno = -result;
        return result == 0;
    }

private:
    const scmp_filter_ctx fContext;
};

scmp_arg_cmp Equal(unsigned pArgument, uint64_t pValue)
{
    return {pArgument, SCMP_CMP_EQ, pValue, 0};
}

scmp_arg_cmp Masked(unsigned pArgument, uint64_t pMask, uint64_t pValue)
{
    return {pArgument, SCMP_CMP_MASKED_EQ, pMask, pValue};
}

void AllowReading(cFilter& pFilter, const std::vector<int>& pFiles)
{
    pFilter.Allow({SCMP_SYS(read), SCMP_SYS(readv), SCMP_SYS(pread64), SCMP_SYS(lseek), SCMP_SYS(fstat),
                   SCMP_SYS(close), SCMP_SYS(fadvise64)});
    pFilter.AllowIf(SCMP_SYS(newfstatat), Masked(3, AT_EMPTY_PATH, AT_EMPTY_PATH));
    for (const int file : pFiles)
        for (const int call : {SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(ftruncate)})
            pFilter.AllowIf(call, Equal(0, static_cast<uint64_t>(file)));
    pFilter.AllowIf(SCMP_SYS(write), Equal(0, STDERR_FILENO)); // leads nowhere, but the libraries write to it
    pFilter.AllowIf(SCMP_SYS(writev), Equal(0, STDERR_FILENO));
    pFilter.AllowIf(SCMP_SYS(fcntl), Equal(1, F_GETFL));
    pFilter.AllowIf(SCMP_SYS(fcntl), Equal(1, F_GETFD));
}

/// Memory, but none that could be executed.
void AllowMemory(cFilter& pFilter)
{
    pFilter.Allow({SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise)});
    for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)}) {
        pFilter.AllowIf(call, Masked(2, PROT_EXEC, 0));
        pFilter.RefuseIf(call, Masked(2, PROT_EXEC, PROT_EXEC), EACCES);
    }
}

/// Threads of this process, but no process.
void AllowThreads(cFilter& pFilter)
{
    pFilter.AllowIf(SCMP_SYS(clone), Masked(0, CLONE_THREAD, CLONE_THREAD));
    pFilter.Refuse({SCMP_SYS(clone3)}, ENOSYS); // its flags lie in memory, out of reach; the C library then calls clone
    pFilter.Allow({SCMP_SYS(futex),
                   SCMP_SYS(set_robust_list),
                   SCMP_SYS(rseq),
                   SCMP_SYS(sched_yield),
                   SCMP_SYS(sched_getaffinity),
                   SCMP_SYS(rt_sigprocmask),
                   SCMP_SYS(rt_sigaction),
                   SCMP_SYS(rt_sigreturn),
                   SCMP_SYS(sigaltstack),
                   SCMP_SYS(gettid),
                   SCMP_SYS(getpid),
                   SCMP_SYS(exit),
                   SCMP_SYS(exit_group),
                   SCMP_SYS(clock_gettime),
                   SCMP_SYS(gettimeofday),
                   SCMP_SYS(clock_nanosleep),
                   SCMP_SYS(nanosleep),
                   SCMP_SYS(getrandom),
                   SCMP_SYS(getrusage),
                   SCMP_SYS(sysinfo),
                   SCMP_SYS(uname),
                   SCMP_SYS(getcpu),
                   SCMP_SYS(restart_syscall)});
    pFilter.AllowIf(SCMP_SYS(tgkill), Equal(0, static_cast<uint64_t>(::getpid()))); // abort
    pFilter.AllowIf(SCMP_SYS(kill), Equal(0, static_cast<uint64_t>(::getpid())));
    pFilter.AllowIf(SCMP_SYS(prctl), Equal(0, PR_SET_NAME));
    pFilter.AllowIf(SCMP_SYS(prctl), Equal(0, PR_SET_VMA));
    pFilter.AllowIf(SCMP_SYS(prlimit64), Equal(2, 0)); // asks, sets nothing
}

/// What libraries try where they can do without.
void RefuseNames(cFilter& pFilter)
{
    pFilter.Refuse({SCMP_SYS(open), SCMP_SYS(openat), SCMP_SYS(stat), SCMP_SYS(lstat), SCMP_SYS(access),
                    SCMP_SYS(faccessat), SCMP_SYS(faccessat2), SCMP_SYS(readlink), SCMP_SYS(readlinkat),
                    SCMP_SYS(statx), SCMP_SYS(getcwd), SCMP_SYS(unlink)},
                   EACCES);
    pFilter.RefuseIf(SCMP_SYS(newfstatat), Masked(3, AT_EMPTY_PATH, 0), EACCES);
    pFilter.Refuse({SCMP_SYS(ioctl)}, ENOTTY);
    pFilter.Refuse({SCMP_SYS(sched_setscheduler), SCMP_SYS(sched_setaffinity), SCMP_SYS(setpriority)}, EPERM);
}

} // namespace

const bool kCanBeConfined = SELVANE_SANITIZED_PROCESS == 0;

void LimitResources(uint64_t pBytes, uint64_t pSeconds)
{
    if (kCanBeConfined) Limit(RLIMIT_AS, pBytes);
    Limit(RLIMIT_CPU, pSeconds);
    Limit(RLIMIT_CORE, 0);
    AllowAllOf(RLIMIT_FSIZE); // of files on a disk; the picture is handed over in memory
}

bool ForbidAllButReading(const std::vector<int>& pFiles)
{
    if (!kCanBeConfined) return false;
    cFilter filter;
    AllowReading(filter, pFiles);
    AllowMemory(filter);
    AllowThreads(filter);
    RefuseNames(filter);
    return filter.Load();
}

} // namespace SelvaneHost
