#ifndef SELVANE_LIB_POOL_RUN_H
#define SELVANE_LIB_POOL_RUN_H

// One call of the library while it runs: its threads, its progress and its cancellation.

#include "selvane.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <mutex>

namespace SelvaneLib
{

/// What a handle was given to call back.
struct sCallbacks
{
    selvane_progress fProgress = nullptr;
    void* fProgressUser = nullptr;
    selvane_log fLog = nullptr;
    void* fLogUser = nullptr;
    selvane_executor fExecutor = nullptr;
    void* fExecutorUser = nullptr;
    int fThreads = 0; ///< 0: as many as the machine has
};

class cRun
{
public:
    /// @param pWeight expected time of the whole call, in the unit of Begin; Plan can replace it
    cRun(const sCallbacks& pCallbacks, double pWeight);
    ~cRun();
    cRun(const cRun&) = delete;
    cRun& operator=(const cRun&) = delete;

    int Threads() const { return fThreads; }

    /// Begins a stage with its expected time. Progress goes from the end of the stage before to the end of this one.
    void Begin(selvane_stage pStage, double pWeight);

    /// Says how much time the stages need that have not begun.
    void Plan(double pWeight);

    /// Says how much of the present stage is done, 0 to 1, and asks the progress function, if it is time to.
    void Advance(double pShareOfStage);

    /// Time of each stage until now, in milliseconds.
    const double* Milliseconds();

    /// Leaves the time until the next stage out: calls inside of this one add theirs.
    void PauseClock();
    void AddMilliseconds(const double* pMilliseconds);

    /// Takes a slot, the first and the last but one index of a tile.
    using tTile = std::function<void(int pSlot, int pBegin, int pEnd)>;

    /// Cuts the range into tiles and runs them on all threads. Two tiles that run at the same time have different
    /// slots, 0 to Threads() - 1. After a request to stop, the remaining tiles are left out.
    /// @param pCost pixels of an index; decides the size of the tiles
    void Divide(int pBegin, int pEnd, int64_t pCost, const tTile& pTile);

    /// The same, and throws if the call was cancelled.
    void DivideOrThrow(int pBegin, int pEnd, int64_t pCost, const tTile& pTile);

    /// Asks the progress function, if it is time to. For long work on the calling thread.
    void Poll();

    /// @throws cFailure with SELVANE_ERROR_CANCELLED after a request to stop
    void ThrowIfCancelled() const;
    bool IsCancelled() const;

    /// The request to stop in the form that the engine reads.
    bool* Cancel() { return &fCancel; }
    /// The engine's answer to it.
    bool* Cancelled() { return &fCancelled; }

    /// Pixels of a row of the picture at hand: the cost of an index in the engine's calls of DivideWork.
    int64_t fRowPixels = 1;

private:
    struct sTiles;
    void Work(sTiles& pTiles, int pSlot);
    void Report(double pShareOfStage, bool pMayCall);
    void EndStage();

    const sCallbacks& fCallbacks;
    const int fThreads;
    double fWeight;
    double fDone = 0;        ///< weight of the finished stages
    double fStageWeight = 0; ///< weight of the present one
    int fStage = SELVANE_STAGE_READ;
    double fShareOfStage = 0;
    double fShare = 0; ///< of the call, as told last
    double fMilliseconds[SELVANE_STAGES] = {};
    std::chrono::steady_clock::time_point fStageBegin;
    std::chrono::steady_clock::time_point fNextCall;
    std::mutex fProgressMutex; ///< guards the members of the progress
    bool fStarted = false;
    bool fCancel = false; ///< written and read as atomic
    bool fCancelled = false;
    cRun* fOuter; ///< the run of this thread before
};

/// Writes a line to the log function, if there is one. pFormat as for std::printf.
template <class... tArguments>
void Log(const sCallbacks& pCallbacks, const char* pFormat, tArguments... pArguments)
{
    if (pCallbacks.fLog == nullptr) return;
    char line[400];
    std::snprintf(line, sizeof line, pFormat, pArguments...);
    pCallbacks.fLog(pCallbacks.fLogUser, line);
}

} // namespace SelvaneLib

#endif
