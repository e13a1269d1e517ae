#ifndef SELVANE_HOST_BATCH_BATCH_H
#define SELVANE_HOST_BATCH_BATCH_H

// Many pictures from files to files.

#include "batch/Plan.h"

namespace SelvaneHost
{

/// What the command line says of a run over pictures.
struct sRunOptions
{
    sJob fJob;             ///< of each picture: all but the input
    sBatchOptions fBatch;  ///< the inputs, and what concerns several
    bool fQuiet = false;   ///< say nothing but warnings and failures
    bool fVerbose = false; ///< show the lines of libselvane's log
};

/// How a run tells what it does.
struct sTelling
{
    bool fQuiet = false;   ///< no progress and no summary
    bool fVerbose = false; ///< the lines of libselvane's log
};

/// The hooks of a job within a run over several pictures.
/// @param pJob its workers and its depth count
sJobHooks HooksOf(const cTaskRun& pRun, const sJob& pJob, const sTelling& pTelling);

/// The tasks of a plan. What is done already takes no time.
std::vector<tTask> TasksOf(const std::vector<sPlanned>& pPlan, const sTelling& pTelling);

/// Runs all jobs of a plan, and says at the end what was done.
/// @param pMemory bytes for all pictures at once
/// @throws cHostError with the summary, when a picture failed
void RunPlan(const std::vector<sPlanned>& pPlan, const sShares& pShares, uint64_t pMemory, const sTelling& pTelling);

/// The hooks of the only job of a run. Show and job stay until the job is done.
/// @param pMemory bytes; a picture that needs more is refused
sJobHooks HooksOf(cProgressShow& pShow, const sJob& pJob, uint64_t pMemory, const sTelling& pTelling);

sTelling TellingOf(const sRunOptions& pOptions);

/// How many pictures and workers run at once.
sShares SharesOf(const sRunOptions& pOptions);

/// The memory of a run.
uint64_t MemoryOf(const sBatchOptions& pOptions);

} // namespace SelvaneHost

#endif
