#include "batch/Tasks.h"

#include "picture/Errors.h"

#include <algorithm>
#include <atomic>
#include <malloc.h>
#include <sched.h>
#include <system_error>
#include <thread>

namespace SelvaneHost
{

namespace
{

/// Blocks from this size on, in bytes, have pages of their own, so that what a picture gives back goes to the system
/// and does not stay with its thread.
constexpr int kOwnPages = 1 << 20;

/// The state of a run that its threads share.
class cTasks
{
public:
    cTasks(const std::vector<tTask>& pTasks, const sShares& pShares, cMemoryGate& pGate, cProgressShow& pShow)
        : fTasks(pTasks), fShares(pShares), fGate(pGate), fShow(pShow), fProcessors(Processors())
    {
    }
    cTasks(const cTasks&) = delete;
    cTasks& operator=(const cTasks&) = delete;

    std::vector<size_t> Run()
    {
        ::mallopt(M_MMAP_THRESHOLD, kOwnPages);
        const size_t jobs = std::min(fTasks.size(), static_cast<size_t>(JobsFor(fShares, fProcessors)));
        fJobs = jobs;
        std::vector<std::thread> threads;
        try {
            while (threads.size() + 1 < jobs)
                threads.emplace_back([this] { Work(); });
        } catch (const std::system_error&) {
            // The run goes on with fewer pictures at once.
        }
        Work();
        for (std::thread& thread : threads)
            thread.join();
        std::sort(fFailed.begin(), fFailed.end());
        return fFailed;
    }

private:
    void Work()
    {
        for (;;) {
            std::unique_lock turn(fTurn);
            if (fNext == fTasks.size()) return;
            Begin(fNext++, turn);
        }
    }

    /// @param pTurn given back when the picture is admitted or has failed
    void Begin(size_t pTask, std::unique_lock<std::mutex>& pTurn)
    {
        cMemoryGate::cRoom room;
        const auto admit = [&](double pMegapixels, uint64_t pBytes) {
            fShow.SetSize(pTask, pMegapixels);
            room = fGate.Take(pBytes);
            if (pTurn.owns_lock()) pTurn.unlock();
            return ThreadsFor(fShares, fProcessors, AtOnce(pBytes));
        };
        try {
            fShow.Finish(pTask, fTasks[pTask](cTaskRun(fShow, pTask, admit)));
        } catch (const std::bad_alloc&) {
            Fail(pTask, "not enough memory");
        } catch (const std::exception& failure) {
            Fail(pTask, failure.what());
        }
        fEnded++;
    }

    /// The pictures that can be worked on at once, while there are so many left and each takes so much memory.
    size_t AtOnce(uint64_t pBytes) const
    {
        const uint64_t fitting = fGate.Bytes() / std::max<uint64_t>(1, pBytes);
        const size_t left = fTasks.size() - fEnded.load();
        return std::max<size_t>(1, std::min({fJobs, left, static_cast<size_t>(fitting)}));
    }

    void Fail(size_t pTask, const std::string& pText)
    {
        fShow.Say(pText);
        fShow.Fail(pTask);
        const std::lock_guard lock(fFailedMutex);
        fFailed.push_back(pTask);
    }

    const std::vector<tTask>& fTasks;
    const sShares fShares;
    cMemoryGate& fGate;
    cProgressShow& fShow;
    const int fProcessors;
    size_t fJobs = 1;
    std::mutex fTurn; ///< guards fNext; held until a picture is admitted, so that pictures come in order
    size_t fNext = 0;
    std::atomic<size_t> fEnded{0};
    std::mutex fFailedMutex;
    std::vector<size_t> fFailed;
};

} // namespace

int JobsFor(const sShares& pShares, int pProcessors)
{
    if (pShares.fJobs > 0) return pShares.fJobs;
    const int threads = std::max(1, pShares.fThreads);
    return std::max(2, (pProcessors + threads - 1) / threads); // two: one is read or written while one is rendered
}

int ThreadsFor(const sShares& pShares, int pProcessors, size_t pPictures)
{
    if (pShares.fThreads > 0) return pShares.fThreads;
    const auto pictures = static_cast<int>(std::min<size_t>(pPictures, static_cast<size_t>(pProcessors)));
    return (pProcessors + pictures - 1) / std::max(1, pictures);
}

int Processors()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    if (::sched_getaffinity(0, sizeof set, &set) == 0) return std::max(1, CPU_COUNT(&set));
    return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

std::vector<size_t> RunTasks(const std::vector<tTask>& pTasks, const sShares& pShares, cMemoryGate& pGate,
                             cProgressShow& pShow)
{
    return cTasks(pTasks, pShares, pGate, pShow).Run();
}

} // namespace SelvaneHost
