#ifndef SELVANE_HOST_JOB_JOB_H
#define SELVANE_HOST_JOB_JOB_H

// One picture from a file to a file. Whatever develops pictures, one or many, does it here.

#include "job/CommandSteps.h"
#include "job/Develop.h"

#include <functional>
#include <optional>
#include <string>

namespace SelvaneHost
{

/// All that one picture needs.
struct sJob
{
    std::string fInput;
    std::optional<sArea> fCrop; ///< the part of the input to use
    sLook fLook;
    std::optional<int> fColorSpace;         ///< of the output, SELVANE_SRGB to SELVANE_REC2020; empty: the file decides
    std::optional<eInputSpace> fInputSpace; ///< what the samples mean; empty: the file decides
    std::string fLayer;                     ///< of an OpenEXR file; empty: the first that has colours
    sOutput fOutput;
    int fThreads = 0; ///< 0: one for each processor
};

/// Parts of a job, in their order.
enum eJobStage : int
{
    eJobReads,
    eJobRenders,
    eJobWrites,
};

/// What a job tells while it runs. An empty function is not called.
struct sJobHooks
{
    /// Takes a stage and the share of it that is done, 0 to 1. On any thread, never twice at once. Returns false to
    /// cancel the job.
    std::function<bool(eJobStage, float)> fProgress = {};
    /// Takes the input with its size and form, before its rows take memory. May wait for memory, and may throw. Returns
    /// the workers for the picture, as sJob::fThreads.
    std::function<int(const sPicture&)> fAdmit = {};
    tLine fLine = {}; ///< takes warnings
    tLine fNote = {}; ///< takes what was done with unusual colours
    tLine fLog = {};  ///< takes the lines of libselvane's log
};

/// What a job did.
struct sDone
{
    int fWidth = 0;  ///< pixels of the picture
    int fHeight = 0; ///< pixels
    int fSpace = 0;  ///< SELVANE_SRGB to SELVANE_REC2020
    sArea fInside{}; ///< of the picture, without its border
    sDeveloped fDeveloped;
    std::string fCommand; ///< a command line that gives the same file again, for a shell
    sPicture fInput;      ///< what was developed, without its pixels and its metadata
};

/// Refuses a look whose options contradict each other.
/// @throws cUsageError
void CheckLook(const sLook& pLook);

/// Refuses a job that makes no sense, before anything is read.
/// @throws cUsageError
void CheckJob(const sJob& pJob);

/// Reads, develops and writes one picture. Several threads may run jobs at once.
/// @throws cHostError, cUsageError
sDone RunJob(const sJob& pJob, const sJobHooks& pHooks);

/// A command line that gives the same file again, for a POSIX shell.
std::string CommandFor(const sJob& pJob, const sDeveloped& pDeveloped);

/// Reads the part of the picture that a job uses, in the form that its look needs.
/// @throws cHostError
sPicture ReadFor(const sJob& pJob, const tLine& pLine);

/// The same as the first step of a job: tells progress, and asks to be admitted.
/// @param pThreads receives the workers for the picture
sPicture ReadFor(const sJob& pJob, const sJobHooks& pHooks, int& pThreads);

/// How libselvane runs for a job.
sRunning RunningOf(const sJobHooks& pHooks, int pThreads);

} // namespace SelvaneHost

#endif
