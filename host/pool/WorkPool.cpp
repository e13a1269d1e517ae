// DivideWork on a small pool of threads that stay alive between calls. This file and filter/DivideWork.h are all that
// another host needs to take over.
//
//     slot 0         the calling thread
//     slot 1, 2 ...  pool threads, each with its slot for life; started when a call first asks for them, ended with the
//                    program
//
// A range is cut into about four tiles a worker, which the workers take one after another: on a busy machine the fast
// ones take more. With one worker, or fewer, the range is one tile on the calling thread.
//
// Any number of threads may call at once, also from inside a tile: the first has the pool, and whoever finds it taken
// runs all tiles itself, on slot 0. So nobody waits for somebody else's picture, and nothing can lock up. What the
// library computes does not depend on who runs which tile.
//
// A thread that cannot be started is done without. The one failure is std::bad_alloc for the copies of the record,
// thrown before any tile has run.

#include "filter/DivideWork.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace
{

constexpr int kTilesPerWorker = 4;
constexpr int kMostWorkers = 256; // more threads than this are not started, whatever is asked for
constexpr size_t kCacheLine = 64; // bytes; copies of the record do not share lines

/// One call of DivideWork: hands out its tiles to the workers.
class cJob
{
public:
    cJob(int pStart, int pEnd, int pWorkers, void* (*pFunction)(void*), const void* pRecord, size_t pRecordSize)
        : fStart(pStart), fLength(static_cast<int64_t>(pEnd) - pStart),
          fTiles(pWorkers == 1 ? 1 : std::min<int64_t>(fLength, int64_t{pWorkers} * kTilesPerWorker)),
          fFunction(pFunction), fRecord(pRecord), fRecordSize(pRecordSize),
          fCopySize((pRecordSize + kCacheLine - 1) / kCacheLine * kCacheLine),
          fCopies(fCopySize * static_cast<size_t>(pWorkers))
    {
    }

    /// Runs tiles in this slot until none is left.
    void Work(int pSlot)
    {
        for (int64_t tile = fNext++; tile < fTiles; tile = fNext++)
            RunTile(pSlot, tile);
    }

private:
    /// Index at which a tile begins; that of fTiles is the end of the range.
    int EdgeOf(int64_t pTile) const { return static_cast<int>(fStart + fLength * pTile / fTiles); }

    void RunTile(int pSlot, int64_t pTile)
    {
        const TileRecord header{pSlot, 0, EdgeOf(pTile), EdgeOf(pTile + 1)};
        unsigned char* copy = fCopies.data() + fCopySize * static_cast<size_t>(pSlot);
        std::memcpy(copy, fRecord, fRecordSize);
        std::memcpy(copy, &header, sizeof header);
        fFunction(copy);
    }

    const int64_t fStart;
    const int64_t fLength;
    const int64_t fTiles;
    void* (*const fFunction)(void*);
    const void* const fRecord;
    const size_t fRecordSize;
    const size_t fCopySize;
    std::vector<unsigned char> fCopies; // one a slot
    std::atomic<int64_t> fNext{0};
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
        for (const auto& worker : fWorkers) {
            worker->fWake.notify_one();
            worker->fThread.join();
        }
    }

    /// True for one caller at a time, who gives it back with Release.
    bool Claim() { return !fClaimed.test_and_set(std::memory_order_acquire); }
    void Release() { fClaimed.clear(std::memory_order_release); }

    /// Runs the job on the calling thread and up to pHelpers threads; returns when all have finished. Only for who has
    /// claimed the pool.
    void Run(cJob& pJob, int pHelpers)
    {
        const size_t helpers = StartWorkers(static_cast<size_t>(pHelpers));
        Wake(pJob, helpers);
        pJob.Work(0);
        std::unique_lock lock(fMutex);
        fFinished.wait(lock, [this] { return fRunning == 0; });
    }

private:
    struct sWorker
    {
        std::condition_variable fWake;
        bool fHasWork = false;
        std::thread fThread;
    };

    /// Brings the number of threads up to pCount if it can; the number that may be used.
    size_t StartWorkers(size_t pCount)
    {
        try {
            while (fWorkers.size() < pCount) {
                auto worker = std::make_unique<sWorker>();
                sWorker* const self = worker.get();
                const int slot = static_cast<int>(fWorkers.size()) + 1;
                fWorkers.reserve(fWorkers.size() + 1);
                worker->fThread = std::thread([this, self, slot] { Loop(*self, slot); });
                fWorkers.push_back(std::move(worker));
            }
        } catch (const std::system_error&) {
            // No more threads to be had: the caller and those that exist do the work.
        } catch (const std::bad_alloc&) {
            // Likewise.
        }
        return std::min(pCount, fWorkers.size());
    }

    void Wake(cJob& pJob, size_t pHelpers)
    {
        const std::lock_guard lock(fMutex);
        fJob = &pJob;
        fRunning = pHelpers;
        for (size_t i = 0; i < pHelpers; i++) {
            fWorkers[i]->fHasWork = true;
            fWorkers[i]->fWake.notify_one();
        }
    }

    void Loop(sWorker& pSelf, int pSlot)
    {
        std::unique_lock lock(fMutex);
        for (;;) {
            pSelf.fWake.wait(lock, [&] { return pSelf.fHasWork || fStop; });
            if (!pSelf.fHasWork) return;
            pSelf.fHasWork = false;
            cJob& job = *fJob;
            lock.unlock();
            job.Work(pSlot);
            lock.lock();
            if (--fRunning == 0) fFinished.notify_one();
        }
    }

    std::atomic_flag fClaimed; // not a mutex: a call from inside a tile may meet its own claim
    std::mutex fMutex;         // guards what follows, but for the list itself, which only the claimant changes
    std::condition_variable fFinished;
    cJob* fJob = nullptr;
    size_t fRunning = 0; // pool threads that have not finished the job
    bool fStop = false;
    std::vector<std::unique_ptr<sWorker>> fWorkers;
};

/// The claim on the pool for one call.
class cClaim
{
public:
    explicit cClaim(cPool& pPool) : fPool(pPool), fHeld(pPool.Claim()) {}
    ~cClaim()
    {
        if (fHeld) fPool.Release();
    }
    cClaim(const cClaim&) = delete;
    cClaim& operator=(const cClaim&) = delete;
    bool Held() const { return fHeld; }

private:
    cPool& fPool;
    const bool fHeld;
};

cPool& Pool()
{
    static cPool pool;
    return pool;
}

/// Workers that are of use: the calling thread counts as one.
int UsefulWorkers(int pThreads, int64_t pLength)
{
    return static_cast<int>(std::clamp<int64_t>(std::min<int64_t>(pThreads, pLength), 1, kMostWorkers));
}

} // namespace

extern "C" __attribute__((visibility("default"))) void DivideWork(int start, int end, int threads, void* (*fn)(void*),
                                                                  void* record, size_t recordSize)
{
    if (end <= start) return;
    const int workers = UsefulWorkers(threads, static_cast<int64_t>(end) - start);
    if (workers == 1) {
        cJob(start, end, 1, fn, record, recordSize).Work(0);
        return;
    }
    cPool& pool = Pool();
    const cClaim claim(pool);
    if (!claim.Held()) {
        cJob(start, end, 1, fn, record, recordSize).Work(0);
        return;
    }
    cJob job(start, end, workers, fn, record, recordSize);
    pool.Run(job, workers - 1);
}
