// The subcommand points.

#include "job/Report.h"
#include "sequence/Measure.h"
#include "sequence/Plot.h"
#include "sequence/Sequence.h"

namespace SelvaneHost
{

namespace
{

sPoints JoinFiles(const std::vector<std::string>& pPaths)
{
    std::vector<sPoints> parts;
    parts.reserve(pPaths.size());
    for (const std::string& path : pPaths)
        parts.push_back(ReadPoints(path));
    return Joined(parts);
}

} // namespace

void RunPoints(const sPointsOptions& pOptions)
{
    CheckWithPoints(pOptions.fJob.fLook);
    CheckBeside(pOptions.fFile, pOptions, {});
    CheckBeside(pOptions.fPlot, pOptions, {pOptions.fFile});
    size_t failed = 0;
    sPoints points =
        pOptions.fJoin ? JoinFiles(pOptions.fBatch.fInputs) : MeasureAll(pOptions.fBatch.fInputs, pOptions, failed);
    SmoothAll(points, pOptions.fWindow);
    WritePoints(points, pOptions.fFile);
    if (!pOptions.fPlot.empty()) WritePlot(points, pOptions.fPlot);
    const std::string summary = SummaryOf(points, failed);
    if (failed > 0) throw cHostError(summary);
    if (!pOptions.fQuiet) Report(summary);
}

} // namespace SelvaneHost
