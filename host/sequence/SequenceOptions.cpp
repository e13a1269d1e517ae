#include "sequence/SequenceOptions.h"

namespace SelvaneHost
{

namespace
{

constexpr int kMostWindow = 100000; // as selvane_smooth

} // namespace

void AddSmoothing(CLI::App& pCommand, sSequenceOptions& pOptions)
{
    pCommand.add_option("--window", pOptions.fWindow, "frames that count for one (default 25); 1 smooths nothing")
        ->check(CLI::Range(1, kMostWindow));
    pCommand.add_option("--plot", pOptions.fPlot, "draw what was measured and smoothed (.svg)");
}

} // namespace SelvaneHost
