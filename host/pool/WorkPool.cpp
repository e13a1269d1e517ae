// DivideWork on a pool of threads that stay alive between calls. This folder is complete: another host needs only this
// file and filter/DivideWork.h.
//
//     slot 0         the calling thread
//     slot 1, 2 ...  pool threads. Each starts when a call first needs it, keeps its slot, and ends with the program
//
// The range is cut into about four tiles per worker. Each worker takes the next tile when it is free, so on a busy
// machine the fast workers take more tiles. With one worker or fewer, the range is one tile on the calling thread.
//
// Any number of threads may call at the same time, also from inside a tile. The first call claims the pool. Any other
// call runs its range as one tile on its own thread, in slot 0, and does not wait. So no call can block another. The
// results of the library do not depend on the thread that runs a tile.
//
// If a thread cannot be started, the call goes on with fewer threads. The only failure is std::bad_alloc for the copies
// of the record. It is thrown before any tile runs.

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
constexpr int kMostWorkers = 256; // the most workers of a call, whatever number it asks for
constexpr size_t kCacheLine = 64; // bytes; two copies of the record do not share a line

/// One call of DivideWork. It hands out its tiles to the workers.
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

    /// Runs tiles in this slot until no tile is left.
    void Work(int pSlot)
    {
        for (int64_t tile = fNext++; tile < fTiles; tile = fNext++)
            RunTile(pSlot, tile);
    }

private:
    /// Returns the index at which a tile begins. For fTiles, returns the end of the range.
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
    std::vector<unsigned char> fCopies; // one per slot
    std::atomic<int64_t> fNext{0};
};

/// The threads. They sleep between the calls.
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

    /// Returns true if no other call has claimed the pool. Then call Release at the end.
    bool Claim() { return !fClaimed.test_and_set(std::memory_order_acquire); }
    void Release() { fClaimed.clear(std::memory_order_release); }

    /// Runs the job on the calling thread and on up to pHelpers pool threads. Returns when all have finished. The
    /// caller must have claimed the pool.
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

    /// Starts threads until there are pCount, or until no more can be started. Returns the number of usable threads.
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
            // The caller and the existing threads do the work.
        } catch (const std::bad_alloc&) {
            // The same.
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

    std::atomic_flag fClaimed; // not a mutex: a call from inside a tile may find the claim of its own thread
    std::mutex fMutex;         // guards the members below; the list fWorkers itself belongs to the claiming call
    std::condition_variable fFinished;
    cJob* fJob = nullptr;
    size_t fRunning = 0; // pool threads that have not finished the job
    bool fStop = false;
    std::vector<std::unique_ptr<sWorker>> fWorkers;
};

/// Claims the pool for one call and releases it at the end.
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

/// Returns the number of workers for a range, with the calling thread: at least 1, at most one per index.
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
