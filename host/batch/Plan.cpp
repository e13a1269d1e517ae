#include "batch/Plan.h"

#include "write/Apart.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace SelvaneHost
{

namespace
{

namespace fs = std::filesystem;

void CheckOptions(const sBatchOptions& pOptions, const sJob& pCommon)
{
    if (pOptions.fFolder.empty()) throw cUsageError("several pictures need --out-dir, the folder of the outputs");
    if (!pCommon.fOutput.fPath.empty()) throw cUsageError("--output does not go with --out-dir; see --name");
    if (pCommon.fOutput.fForce) throw cUsageError("--force is for one output; --overwrite replaces several");
    if (pOptions.fOverwrite && pOptions.fResume) throw cUsageError("--overwrite and --resume do not go together");
}

void MakeFolder(const std::string& pFolder)
{
    std::error_code failure;
    fs::create_directories(pFolder, failure);
    if (failure) throw cHostError(pFolder + ": the folder cannot be made: " + failure.message());
}

using tFile = std::pair<dev_t, ino_t>;

/// What tells a file from any other; empty if there is none of that name.
std::optional<tFile> FileOf(const std::string& pPath)
{
    struct stat facts
    {
    };
    if (::stat(pPath.c_str(), &facts) != 0) return std::nullopt;
    return tFile(facts.st_dev, facts.st_ino);
}

void CheckAgainstInputs(const std::vector<sPlanned>& pPlan, const std::vector<std::string>& pSettings)
{
    std::set<tFile> inputs;
    const auto insert = [&](const std::string& pPath) {
        if (const auto file = FileOf(pPath)) inputs.insert(*file);
    };
    for (const sPlanned& planned : pPlan)
        insert(planned.fJob.fInput);
    std::ranges::for_each(pSettings, insert);
    for (const sPlanned& planned : pPlan) {
        const auto file = FileOf(planned.fJob.fOutput.fPath);
        if (file && inputs.contains(*file)) throw cUsageError(planned.fJob.fOutput.fPath + ": is one of the inputs");
    }
}

/// Refuses outputs that are links to one file.
void RefuseSharedTargets(const std::vector<sPlanned>& pPlan)
{
    std::set<fs::path> targets;
    for (const sPlanned& planned : pPlan) {
        const std::string& path = planned.fJob.fOutput.fPath;
        if (!targets.insert(TargetOf(path)).second)
            throw cUsageError(path + ": is another output of this run, by a link");
    }
}

void RefuseExisting(const std::vector<sPlanned>& pPlan)
{
    const auto exists = [](const sPlanned& pPlanned) {
        std::error_code ignored;
        return fs::exists(fs::symlink_status(pPlanned.fJob.fOutput.fPath, ignored));
    };
    const auto first = std::find_if(pPlan.begin(), pPlan.end(), exists);
    if (first == pPlan.end()) return;
    const auto more = std::count_if(first + 1, pPlan.end(), exists);
    throw cUsageError(first->fJob.fOutput.fPath + (more > 0 ? " and " + std::to_string(more) + " more outputs" : "") +
                      (more > 0 ? " exist" : " exists") +
                      " already; --overwrite replaces what is there, --resume keeps what is done");
}

/// Whether the output exists and is newer than all that decides it.
bool IsDone(const sJob& pJob, const std::vector<std::string>& pSettings)
{
    std::error_code missing;
    const auto time = fs::last_write_time(pJob.fOutput.fPath, missing);
    if (missing || !fs::is_regular_file(pJob.fOutput.fPath, missing)) return false;
    const auto isOlder = [&](const std::string& pPath) {
        std::error_code failure;
        const auto other = fs::last_write_time(pPath, failure);
        return !failure && other < time;
    };
    return isOlder(pJob.fInput) && std::all_of(pSettings.begin(), pSettings.end(), isOlder);
}

} // namespace

std::vector<sPlanned> PlanBatch(const sJob& pCommon, const sBatchOptions& pOptions,
                                const std::vector<std::string>& pSettings)
{
    CheckOptions(pOptions, pCommon);
    const bool mustBeNew = !pOptions.fOverwrite && !pOptions.fResume;
    const std::vector<std::string> outputs =
        OutputPaths(pOptions.fInputs, pOptions.fFolder, pOptions.fName, pCommon.fOutput.fFormat);
    std::vector<sPlanned> plan;
    for (size_t i = 0; i < outputs.size(); i++) {
        plan.push_back({.fJob = pCommon});
        sJob& job = plan.back().fJob;
        job.fInput = pOptions.fInputs[i];
        job.fOutput.fPath = outputs[i];
        job.fOutput.fMustBeNew = mustBeNew;
        CheckJob(job);
    }
    CheckAgainstInputs(plan, pSettings);
    RefuseSharedTargets(plan);
    if (mustBeNew) RefuseExisting(plan);
    for (sPlanned& planned : plan)
        planned.fIsDone = pOptions.fResume && IsDone(planned.fJob, pSettings);
    MakeFolder(pOptions.fFolder);
    return plan;
}

} // namespace SelvaneHost
