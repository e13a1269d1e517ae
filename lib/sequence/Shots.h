#ifndef SELVANE_LIB_SEQUENCE_SHOTS_H
#define SELVANE_LIB_SEQUENCE_SHOTS_H

#include "selvane.h"

#include <cstddef>
#include <vector>

namespace SelvaneLib
{

/// Frames without a cut between them.
struct sShot
{
    size_t fBegin; ///< first frame
    size_t fEnd;   ///< frame behind the last
};

/// Finds the shots of a sequence: a cut is where more than half of the cells change at once, by much more than between
/// the frames around, and the frames on both sides of it do not come back to each other.
std::vector<sShot> FindShots(const std::vector<selvane_frame>& pFrames);

/// The middle one of some values; the lower one of two. Changes their order.
/// @param pValues at least one
double MiddleOf(std::vector<double>& pValues);

} // namespace SelvaneLib

#endif
