#include "pool/Pool.h"

#include <algorithm>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace SelvaneLib
{

namespace
{

/// Blocks all signals of the calling thread while it lives. A thread inherits this: no handler of the host runs on
/// ours.
class cNoSignals
{
public:
    cNoSignals()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &fBefore);
    }
    ~cNoSignals() { pthread_sigmask(SIG_SETMASK, &fBefore, nullptr); }
    cNoSignals(const cNoSignals&) = delete;
    cNoSignals& operator=(const cNoSignals&) = delete;

private:
    sigset_t fBefore;
};

/// A call whose tasks wait for threads. All members are guarded by the pool's mutex.
struct sJob
{
    tTask fTask;
    void* fContext;
    int fCount;
    int fNext = 1; ///< number 0 belongs to the calling thread
    int fRunning = 0;
    std::condition_variable fIdle{};
};

class cPool
{
public:
    cPool() = default;
    cPool(const cPool&) = delete;
    cPool& operator=(const cPool&) = delete;

    ~cPool()
    {
        {
            const std::lock_guard lock(fMutex);
            fStop = true;
        }
        fWake.notify_all();
        for (std::thread& thread : fThreads)
            thread.join();
    }

    void Run(tTask pTask, void* pContext, int pCount)
    {
        sJob job{.fTask = pTask, .fContext = pContext, .fCount = pCount};
        const bool entered = Enter(job);
        pTask(pContext, 0);
        if (entered) Leave(job);
    }

private:
    /// Returns false without memory: then the calling thread works alone.
    bool Enter(sJob& pJob)
    {
        const std::lock_guard lock(fMutex);
        try {
            StartThreads(static_cast<size_t>(pJob.fCount) - 1);
            fJobs.push_back(&pJob);
        } catch (const std::bad_alloc&) {
            return false;
        }
        fWake.notify_all();
        return true;
    }

    void Leave(sJob& pJob)
    {
        std::unique_lock lock(fMutex);
        fJobs.remove(&pJob);
        pJob.fIdle.wait(lock, [&] { return pJob.fRunning == 0; });
    }

    /// Starts threads up to pCount, or as many as the system gives.
    void StartThreads(size_t pCount)
    {
        fThreads.reserve(pCount);
        const cNoSignals none;
        try {
            while (fThreads.size() < pCount)
                fThreads.emplace_back([this] { Loop(); });
        } catch (const std::system_error&) {
            // The call goes on with fewer threads.
        }
    }

    sJob* Waiting() const
    {
        const auto found =
            std::find_if(fJobs.begin(), fJobs.end(), [](const sJob* pJob) { return pJob->fNext < pJob->fCount; });
        return found == fJobs.end() ? nullptr : *found;
    }

    void Loop()
    {
        std::unique_lock lock(fMutex);
        for (;;) {
            sJob* job = nullptr;
            fWake.wait(lock, [&] { return fStop || (job = Waiting()) != nullptr; });
            if (fStop) return;
            const int index = job->fNext++;
            job->fRunning++;
            lock.unlock();
            job->fTask(job->fContext, index);
            lock.lock();
            if (--job->fRunning == 0) job->fIdle.notify_all();
        }
    }

    std::mutex fMutex; ///< guards all members and all jobs
    std::condition_variable fWake;
    std::list<sJob*> fJobs;
    std::vector<std::thread> fThreads;
    bool fStop = false;
};

/// The pool of the process. Never destroyed at the end of the program: a handle may live until then.
struct sShared
{
    std::mutex fMutex; ///< guards the members
    int fUsers = 0;
    std::unique_ptr<cPool> fPool;
};

sShared& Shared()
{
    alignas(sShared) static unsigned char memory[sizeof(sShared)];
    static sShared* const shared = new (memory) sShared;
    return *shared;
}

/// Null without memory.
cPool* SharedPool()
{
    sShared& shared = Shared();
    const std::lock_guard lock(shared.fMutex);
    if (shared.fPool == nullptr) shared.fPool.reset(new (std::nothrow) cPool);
    return shared.fPool.get();
}

} // namespace

cPoolUser::cPoolUser()
{
    const std::lock_guard lock(Shared().fMutex);
    Shared().fUsers++;
}

cPoolUser::~cPoolUser()
{
    std::unique_ptr<cPool> last;
    const std::lock_guard lock(Shared().fMutex);
    if (--Shared().fUsers == 0) last = std::move(Shared().fPool);
}

void RunOnPool(tTask pTask, void* pContext, int pCount)
{
    cPool* const pool = pCount > 1 ? SharedPool() : nullptr;
    if (pool == nullptr)
        pTask(pContext, 0);
    else
        pool->Run(pTask, pContext, pCount);
}

} // namespace SelvaneLib
