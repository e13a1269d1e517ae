#include "batch/BatchOptions.h"

namespace SelvaneHost
{

namespace
{

constexpr int kMostJobs = 256;

} // namespace

void AddInputs(CLI::App& pCommand, sBatchOptions& pOptions)
{
    pCommand.add_option("INPUT", pOptions.fInputs, "pictures to read")
        ->required()
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    pCommand
        .add_option("--jobs", pOptions.fShares.fJobs,
                    "pictures at once (default 0: as many as keep the processors busy)")
        ->check(CLI::Range(0, kMostJobs));
    pCommand.add_option_function<std::string>(
        "--memory", [&pOptions](const std::string& pText) { pOptions.fMemory = BytesOf(pText); },
        "memory for all pictures at once, such as 800M or 4G (default: half of the machine's)");
}

void AddOutputs(CLI::App& pCommand, sBatchOptions& pOptions)
{
    pCommand.add_option("--out-dir", pOptions.fFolder, "folder of the outputs of several pictures");
    pCommand.add_option("--name", pOptions.fName,
                        std::string("names of the outputs (default ") + kUsualName +
                            "): {stem}, {ext}, {folder}, {number}");
    pCommand.add_flag("--overwrite", pOptions.fOverwrite, "replace outputs that exist");
    pCommand.add_flag("--resume", pOptions.fResume, "keep outputs that are newer than their input, make the others");
}

} // namespace SelvaneHost
