#ifndef SELVANE_HOST_BATCH_PLAN_H
#define SELVANE_HOST_BATCH_PLAN_H

// What a run over several pictures is going to do. All is checked before any work.

#include "batch/OutputNames.h"
#include "batch/Tasks.h"
#include "job/Job.h"

namespace SelvaneHost
{

/// What the command line says of several pictures.
struct sBatchOptions
{
    std::vector<std::string> fInputs;
    std::string fFolder;            ///< of the outputs
    std::string fName = kUsualName; ///< template of their names, see OutputName
    bool fOverwrite = false;        ///< outputs that exist are replaced
    bool fResume = false;           ///< outputs that are done are kept
    sShares fShares;                ///< its workers are those of the job
    uint64_t fMemory = 0;           ///< bytes; 0: see HalfOfMemory
};

/// A picture of the run.
struct sPlanned
{
    sJob fJob;
    bool fIsDone = false; ///< --resume: the output is there already
};

/// Gives each input its output. Makes the folder of the outputs if it is not there.
///
/// An output is done when it is newer than its input and than the files of settings. It is whole, since outputs get
/// their name when they are.
/// @param pCommon the job of each picture but for input and output path
/// @param pSettings further files that decide how the outputs look
/// @throws cUsageError for options that make no sense together, for two inputs with one output, for an output that is
///         an input, and for outputs that exist
std::vector<sPlanned> PlanBatch(const sJob& pCommon, const sBatchOptions& pOptions,
                                const std::vector<std::string>& pSettings);

} // namespace SelvaneHost

#endif
