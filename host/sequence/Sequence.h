#ifndef SELVANE_HOST_SEQUENCE_SEQUENCE_H
#define SELVANE_HOST_SEQUENCE_SEQUENCE_H

// The frames of a film or a time-lapse. libselvane measures each of them, smooths the measures over time, and renders
// with them.

#include "batch/Batch.h"
#include "sequence/PointsFile.h"

namespace SelvaneHost
{

/// What the command line of sequence and points says.
struct sSequenceOptions : sRunOptions
{
    int fWindow = 0;   ///< frames; 0: libselvane's choice
    std::string fPlot; ///< SVG file; empty: none
};

struct sPointsOptions : sSequenceOptions
{
    std::string fFile;  ///< of points, to write
    bool fJoin = false; ///< the inputs are files of points
};

/// Measures, smooths and renders all frames. A frame that fails is left out, and the others go on.
/// @throws cHostError, also when a frame failed
void RunSequence(const sSequenceOptions& pOptions);

/// Measures and smooths frames, or joins files of points and smooths them anew. Writes a file of points.
/// @throws cHostError, also when a frame failed
void RunPoints(const sPointsOptions& pOptions);

/// Refuses a file of points or a plot that cannot be written, or that is another file of the run.
/// @param pWritten may be empty: nothing is written
/// @param pAlsoWritten further files of the run
/// @throws cHostError, cUsageError
void CheckBeside(const std::string& pWritten, const sSequenceOptions& pOptions,
                 const std::vector<std::string>& pAlsoWritten);

/// Sets the settings of each frame of a plan from a file of points.
/// @throws cHostError for a frame that the file does not have
void UsePoints(const sPoints& pPoints, std::vector<sPlanned>& pPlan);

/// Sets the settings of a frame from a file of points.
void UsePoints(const sPoints& pPoints, sJob& pJob);

/// Refuses a look that does not go with the points of a sequence.
/// @throws cUsageError
void CheckWithPoints(const sLook& pLook);

} // namespace SelvaneHost

#endif
