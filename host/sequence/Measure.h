#ifndef SELVANE_HOST_SEQUENCE_MEASURE_H
#define SELVANE_HOST_SEQUENCE_MEASURE_H

#include "sequence/Sequence.h"

namespace SelvaneHost
{

/// Measures frames, several at once. A failure is said when it happens, and its frame is left out.
/// @param pFailed receives the number of failures
/// @throws cHostError if no frame is left
sPoints MeasureAll(const std::vector<std::string>& pInputs, const sSequenceOptions& pOptions, size_t& pFailed);

/// "120 frames, 3 cuts, 1 odd".
std::string SummaryOf(const sPoints& pPoints, size_t pFailed);

} // namespace SelvaneHost

#endif
