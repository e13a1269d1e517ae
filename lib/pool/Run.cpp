#include "pool/Run.h"

#include "api/Failure.h"
#include "base/Cancel.h"
#include "filter/DivideWork.h"
#include "pool/Pool.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace SelvaneLib
{

namespace
{

constexpr int64_t kTilePixels = int64_t{1} << 16; // about a millisecond of work
constexpr int kLeastTilesPerThread = 4;
constexpr int kMostThreads = 256;
constexpr auto kBetweenCalls = std::chrono::milliseconds(40);

/// The engine's calls of DivideWork have no context, so the run of the calling thread is kept here.
thread_local cRun* gRun = nullptr;

int ThreadsOf(const sCallbacks& pCallbacks)
{
    const int wanted =
        pCallbacks.fThreads > 0 ? pCallbacks.fThreads : static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(wanted, 1, kMostThreads);
}

double MillisecondsSince(std::chrono::steady_clock::time_point pBegin)
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - pBegin).count();
}

int64_t TilesFor(int64_t pLength, int64_t pCost, int pThreads)
{
    const int64_t bySize = (pLength * pCost + kTilePixels - 1) / kTilePixels;
    const int64_t least = pThreads == 1 ? 1 : int64_t{pThreads} * kLeastTilesPerThread;
    return std::clamp<int64_t>(std::max(bySize, least), 1, pLength);
}

} // namespace

/// The tiles of one range, which the threads take one after the other.
struct cRun::sTiles
{
    cRun* fRun;
    const tTile* fTile;
    int64_t fBegin;
    int64_t fLength;
    int64_t fTiles;
    bool fCallerOnly; ///< only slot 0, on the calling thread, calls the progress function
    std::atomic<int64_t> fNext{0};
    std::mutex fMutex{};
    std::exception_ptr fFailure{}; ///< the first one; guarded by fMutex

    int EdgeOf(int64_t pTile) const { return static_cast<int>(fBegin + fLength * pTile / fTiles); }

    void Fail()
    {
        const std::lock_guard lock(fMutex);
        if (fFailure == nullptr) fFailure = std::current_exception();
        fNext = fTiles;
    }
};

cRun::cRun(const sCallbacks& pCallbacks, double pWeight)
    : fCallbacks(pCallbacks), fThreads(ThreadsOf(pCallbacks)), fWeight(std::max(pWeight, 1e-9)),
      fStageBegin(std::chrono::steady_clock::now()), fNextCall(fStageBegin), fOuter(gRun)
{
    gRun = this;
}

cRun::~cRun()
{
    gRun = fOuter;
}

void cRun::EndStage()
{
    if (fStarted) fMilliseconds[fStage] += MillisecondsSince(fStageBegin);
    fStageBegin = std::chrono::steady_clock::now();
}

void cRun::Begin(selvane_stage pStage, double pWeight)
{
    EndStage();
    fStarted = true;
    fDone += fStageWeight;
    fStageWeight = pWeight;
    fStage = pStage;
    fShareOfStage = 0;
    Poll();
    ThrowIfCancelled();
}

void cRun::Plan(double pWeight)
{
    const std::lock_guard lock(fProgressMutex);
    fWeight = std::max(fDone + fStageWeight + pWeight, 1e-9);
}

void cRun::Advance(double pShareOfStage)
{
    Report(pShareOfStage, true);
}

const double* cRun::Milliseconds()
{
    EndStage();
    return fMilliseconds;
}

void cRun::PauseClock()
{
    EndStage();
    fStarted = false;
}

void cRun::AddMilliseconds(const double* pMilliseconds)
{
    for (int stage = 0; stage < SELVANE_STAGES; stage++)
        fMilliseconds[stage] += pMilliseconds[stage];
}

bool cRun::IsCancelled() const
{
    return Vornik::IsRequested(&fCancel);
}

void cRun::ThrowIfCancelled() const
{
    if (IsCancelled()) throw cFailure(SELVANE_ERROR_CANCELLED, "the call was cancelled");
}

void cRun::Poll()
{
    Report(0.0, true);
}

void cRun::Report(double pShareOfStage, bool pMayCall)
{
    if (fCallbacks.fProgress == nullptr || !pMayCall) return;
    const std::unique_lock lock(fProgressMutex, std::try_to_lock);
    if (!lock.owns_lock() || IsCancelled()) return;
    fShareOfStage = std::max(fShareOfStage, pShareOfStage);
    const auto now = std::chrono::steady_clock::now();
    if (now < fNextCall) return;
    fNextCall = now + kBetweenCalls;
    fShare = std::clamp((fDone + fStageWeight * fShareOfStage) / fWeight, fShare, 1.0); // never falls
    if (fCallbacks.fProgress(fCallbacks.fProgressUser, fStage, static_cast<float>(fShare)) != 0)
        Vornik::Acknowledge(&fCancel);
}

void cRun::Work(sTiles& pTiles, int pSlot)
{
    try {
        for (int64_t tile = pTiles.fNext++; tile < pTiles.fTiles && !IsCancelled(); tile = pTiles.fNext++) {
            (*pTiles.fTile)(pSlot, pTiles.EdgeOf(tile), pTiles.EdgeOf(tile + 1));
            Report(static_cast<double>(tile + 1) / static_cast<double>(pTiles.fTiles),
                   !pTiles.fCallerOnly || pSlot == 0);
        }
    } catch (...) {
        pTiles.Fail();
    }
}

void cRun::Divide(int pBegin, int pEnd, int64_t pCost, const tTile& pTile)
{
    if (pEnd <= pBegin) return;
    const int64_t length = int64_t{pEnd} - pBegin;
    sTiles tiles{.fRun = this,
                 .fTile = &pTile,
                 .fBegin = pBegin,
                 .fLength = length,
                 .fTiles = TilesFor(length, pCost, fThreads),
                 .fCallerOnly = fCallbacks.fExecutor == nullptr};
    const int tasks = static_cast<int>(std::min<int64_t>(fThreads, tiles.fTiles));
    const auto task = [](void* pTiles, int pSlot) {
        auto& all = *static_cast<sTiles*>(pTiles);
        all.fRun->Work(all, pSlot);
    };
    if (fCallbacks.fExecutor != nullptr)
        fCallbacks.fExecutor(fCallbacks.fExecutorUser, task, &tiles, tasks);
    else
        RunOnPool(task, &tiles, tasks);
    Work(tiles, 0); // what an executor left
    if (tiles.fFailure != nullptr) std::rethrow_exception(tiles.fFailure);
    Report(1.0, true); // the last tile may have ended on a thread that does not call
}

void cRun::DivideOrThrow(int pBegin, int pEnd, int64_t pCost, const tTile& pTile)
{
    Divide(pBegin, pEnd, pCost, pTile);
    ThrowIfCancelled();
}

} // namespace SelvaneLib

/// The engine's parallel steps. Hidden: a host may export a DivideWork of its own.
extern "C" void DivideWork(int start, int end, int /*threads*/, void* (*fn)(void*), void* record, size_t recordSize)
{
    SelvaneLib::cRun& run = *SelvaneLib::gRun;
    run.Divide(start, end, run.fRowPixels, [&](int pSlot, int pBegin, int pEnd) {
        constexpr size_t kMostBytes = 256;
        alignas(16) unsigned char copy[kMostBytes];
        const TileRecord header{pSlot, 0, pBegin, pEnd};
        std::memcpy(copy, record, std::min(recordSize, kMostBytes));
        std::memcpy(copy, &header, sizeof header);
        fn(copy);
    });
}
