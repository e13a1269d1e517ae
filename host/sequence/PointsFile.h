#ifndef SELVANE_HOST_SEQUENCE_POINTS_FILE_H
#define SELVANE_HOST_SEQUENCE_POINTS_FILE_H

// The file of points, JSON:
//
//     {
//       "format": "selvane points 1",
//       "window": 25,                      frames that counted for one; 0: libselvane's choice
//       "settings": "wrap = true\n",       all that is the same in all frames, as text (TOML)
//       "frames": [
//         {
//           "input": "shots/frame0001.exr",
//           "measured": {"compression": 40.0, ..., "black_point": 0.01, "white_point": 2.5},
//           "smooth": {the same values, smoothed},
//           "cells": [64 numbers],          see selvane_frame
//           "cut": false, "odd": false
//         }, ...

#include <selvane.h>

#include <string>
#include <vector>

namespace SelvaneHost
{

struct sFrame
{
    std::string fInput; ///< path, as it was given
    selvane_frame fMeasured{};
    selvane_frame fSmooth{};
};

struct sPoints
{
    int fWindow = 0;
    std::string fSettings; ///< text (TOML) of what a frame does not hold
    std::vector<sFrame> fFrames;
};

/// Writes a file of points.
/// @throws cHostError
void WritePoints(const sPoints& pPoints, const std::string& pPath);

/// Reads a file of points.
/// @throws cHostError for a file that is none, naming what is missing or wrong
sPoints ReadPoints(const std::string& pPath);

/// Finds the frame of an input: by its path, or else by the name of its file, if one frame alone has it.
/// @throws cHostError if there is none, or more than one
const sFrame& FrameOf(const sPoints& pPoints, const std::string& pInput);

/// Puts files of points together, in their order.
/// @throws cHostError for files that were measured with different settings, and for a frame that comes twice
sPoints Joined(const std::vector<sPoints>& pParts);

/// Smooths all frames anew.
void SmoothAll(sPoints& pPoints, int pWindow);

} // namespace SelvaneHost

#endif
