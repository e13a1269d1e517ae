#ifndef SELVANE_HOST_BATCH_TASKS_H
#define SELVANE_HOST_BATCH_TASKS_H

// Many pictures at once: some threads take one after the other, as memory allows.
//
//     begin     the next picture, in order; only one picture at a time finds out how large it is
//     admit     it waits until there is room for it, and gets its number of workers
//     work      beside the others: while one is read or written, others are rendered

#include "batch/Memory.h"
#include "batch/Progress.h"

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace SelvaneHost
{

/// How many pictures and workers run at once.
struct sShares
{
    int fJobs = 0;    ///< pictures at once; 0: as many as keep all processors busy, at least two
    int fThreads = 0; ///< workers inside each picture; 0: the processors divided among the pictures
};

/// Returns the pictures at once.
/// @param pProcessors of the machine
int JobsFor(const sShares& pShares, int pProcessors);

/// Returns the workers for a picture that begins to be rendered.
/// @param pPictures that are rendered beside it, with itself
int ThreadsFor(const sShares& pShares, int pProcessors, size_t pPictures);

/// The processors that this program may use.
int Processors();

/// What a picture tells the run, and gets from it.
class cTaskRun
{
public:
    using tAdmit = std::function<int(double pMegapixels, uint64_t pBytes)>;

    cTaskRun(cProgressShow& pShow, size_t pPicture, tAdmit pAdmit)
        : fShow(pShow), fPicture(pPicture), fAdmit(std::move(pAdmit))
    {
    }

    /// Says how large the picture is, and waits until there is room for it. Call it once.
    /// @return the workers for the picture
    /// @throws cHostError for a picture that is too large for all memory of the run
    int Admit(double pMegapixels, uint64_t pBytes) const { return fAdmit(pMegapixels, pBytes); }

    void SetShare(double pShare) const { fShow.SetShare(fPicture, pShare); }
    void Say(const std::string& pText) const { fShow.Say(pText); }

private:
    cProgressShow& fShow;
    const size_t fPicture;
    const tAdmit fAdmit;
};

/// Works on one picture. Returns the text for its line.
/// @throws cHostError
using tTask = std::function<std::string(const cTaskRun&)>;

/// Runs all tasks. A failure is said when it happens, and the others go on.
/// @return the numbers of the tasks that failed, in order
std::vector<size_t> RunTasks(const std::vector<tTask>& pTasks, const sShares& pShares, cMemoryGate& pGate,
                             cProgressShow& pShow);

} // namespace SelvaneHost

#endif
