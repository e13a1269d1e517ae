#ifndef SELVANE_HOST_EXPLAIN_JOB_REPORT_H
#define SELVANE_HOST_EXPLAIN_JOB_REPORT_H

#include "explain/ReportFile.h"
#include "job/Job.h"

#include <array>
#include <chrono>
#include <string>

namespace SelvaneHost
{

/// Time in laps.
class cStopwatch
{
public:
    /// Milliseconds since the lap before, or since the object was made.
    double Lap();

private:
    std::chrono::steady_clock::time_point fLap = std::chrono::steady_clock::now();
};

/// Refuses a report that would replace the input or the output, or that cannot be written.
/// @throws cHostError, cUsageError
void CheckReport(const std::string& pReport, const sJob& pJob);

/// Fills what the facts say of the input.
void DescribeInput(const sJob& pJob, const sPicture& pInput, sRunFacts& pFacts);

/// Watches a job from outside, and writes its report.
class cJobReport
{
public:
    /// Hooks that do what the others do, and watch.
    sJobHooks Hooks(const sJobHooks& pOthers);

    /// Writes the report of a job that is done.
    /// @throws cHostError
    void Write(const sJob& pJob, const sDone& pDone, const std::string& pPath);

private:
    void Watch(eJobStage pStage);

    cStopwatch fWatch;
    eJobStage fStage = eJobReads;
    std::array<double, 3> fMilliseconds{}; ///< by eJobStage
    std::vector<std::string> fWarnings;
};

} // namespace SelvaneHost

#endif
