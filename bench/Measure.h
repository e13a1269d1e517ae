#ifndef SELVANE_BENCH_MEASURE_H
#define SELVANE_BENCH_MEASURE_H

// How every benchmark is run and what it prints. A program defines AddCases; Measure.cpp has the main function.
//
//   ns         nanoseconds a pixel, or an entry of a table, in the fastest call
//   median     the same in the median call
//   cpu        processor time of all threads, in nanoseconds a pixel, in a cheap call (one in eight took less): on a
//              machine that others use too, it tells more than the clock on the wall
//   GB/s       bytes that the fastest call reads and writes in a second
//   copy       nanoseconds a pixel that a copy of as many bytes takes in the same run

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace SelvaneBench
{

/// What one call does.
struct sWork
{
    double fItems;     ///< pixels of a picture, or entries of a table
    double fBytes;     ///< bytes that have to be read and written for each
    size_t fFresh = 0; ///< bytes of new memory that a call takes from the system; 0: none
};

/// A moment, in seconds: on the wall and in processor time of all threads.
struct sMoment
{
    double fWall;
    double fCpu;
};

sMoment Now();

/// What each call took, one entry a call.
struct sTimes
{
    std::vector<double> fWall; ///< seconds
    std::vector<double> fCpu;  ///< seconds, of all threads

    void Enter(const sMoment& pTook)
    {
        fWall.push_back(pTook.fWall);
        fCpu.push_back(pTook.fCpu);
    }
};

/// Enters a case. pName is its path, from the general to the particular: "blur/24MP/sigma2/1worker". A case that throws
/// counts as failed, and so does the program.
void Add(const std::string& pName, const std::function<void(benchmark::State&)>& pCase);

/// Times each call by itself. As much memory as a call takes is touched and freed right before it: a machine that lent
/// its free memory elsewhere then has it back, and the call does not pay for that.
void Measure(benchmark::State& pState, const sWork& pWork, const std::function<void()>& pCall);

/// Enters the times of calls that were measured elsewhere. Replaces Measure.
void Replay(benchmark::State& pState, const sWork& pWork, const sTimes& pTimes);

/// Touches and frees as many bytes.
void TouchMemory(size_t pBytes);

/// Where the memory of a call comes from.
enum class eMemory
{
    eBigPages,   ///< from the system, in big pages where it has any
    eSmallPages, ///< from the system, in small pages
    eKept,       ///< from the heap, which keeps all that it ever took: no page is new but in the first call
};

/// The last word of a case's path.
const char* Memory(eMemory pMemory);

/// For all memory that is asked for from now on. The heap does not forget eKept: enter such cases last.
void UseMemory(eMemory pMemory);

/// Defined by each program: enters its cases.
void AddCases();

/// Makes an object again only if its key differs from that of the latest. The number of iterations of a case is found
/// by trying, so a case is called more than once.
template <class tKey, class tObject>
class cLatest
{
public:
    template <class tMake>
    tObject& Get(const tKey& pKey, tMake pMake)
    {
        if (fObject == nullptr || !(fKey == pKey)) {
            fObject.reset();
            fObject = pMake();
            fKey = pKey;
        }
        return *fObject;
    }

private:
    tKey fKey{};
    std::unique_ptr<tObject> fObject;
};

} // namespace SelvaneBench

#endif
