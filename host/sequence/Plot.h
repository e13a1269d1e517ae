#ifndef SELVANE_HOST_SEQUENCE_PLOT_H
#define SELVANE_HOST_SEQUENCE_PLOT_H

#include "sequence/PointsFile.h"

#include <string>

namespace SelvaneHost
{

/// Draws what was measured (dots) and what became of it (lines) over the frames: white and black point as logarithms,
/// and compression and contrast. Cuts are vertical lines; frames that were left out are rings.
/// @return the text of an SVG picture
std::string Plot(const sPoints& pPoints);

/// Writes the drawing to a file.
/// @throws cHostError
void WritePlot(const sPoints& pPoints, const std::string& pPath);

} // namespace SelvaneHost

#endif
