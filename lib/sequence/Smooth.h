#ifndef SELVANE_LIB_SEQUENCE_SMOOTH_H
#define SELVANE_LIB_SEQUENCE_SMOOTH_H

#include "selvane.h"

#include <vector>

namespace SelvaneLib
{

constexpr int kUsualWindow = 25; ///< frames; about a second of film
constexpr int kMostWindow = 100000;

/// Smooths the frames of a sequence, as selvane_smooth says.
/// @param pFrames their values are finite and within the ranges
/// @param pWindow frames, 1 to kMostWindow
std::vector<selvane_frame> Smooth(const std::vector<selvane_frame>& pFrames, int pWindow);

} // namespace SelvaneLib

#endif
