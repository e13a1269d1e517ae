#ifndef SELVANE_TESTS_LIB_SEQUENCE_FRAMES_H
#define SELVANE_TESTS_LIB_SEQUENCE_FRAMES_H

// Made frames for the tests of what is smoothed over time.

#include "selvane.h"

#include <algorithm>
#include <vector>

namespace SelvaneTest
{

/// A frame with a value in each field, as no default has it.
inline selvane_frame PlainFrame()
{
    selvane_frame frame;
    selvane_frame_init(&frame);
    frame.compression = 31.25f;
    frame.smoothness = 1.1f;
    frame.radius = -2.3f;
    frame.adaptation = 12.5f;
    frame.white_clip = 7.0f;
    frame.black_clip = 0.4f;
    frame.exposure = -0.3f;
    frame.contrast = 13.0f;
    frame.saturation = 5.5f;
    frame.black_point = 0.0123f;
    frame.white_point = 2.7f;
    for (int i = 0; i < SELVANE_FRAME_CELLS; i++)
        frame.cells[i] = -1.0f + 0.03f * static_cast<float>(i);
    return frame;
}

inline std::vector<selvane_frame> PlainFrames(size_t pCount)
{
    return std::vector<selvane_frame>(pCount, PlainFrame());
}

/// Adds light to the first cells of a frame, in decades.
inline void Light(selvane_frame& pFrame, float pDecades, int pCells = SELVANE_FRAME_CELLS)
{
    for (int i = 0; i < pCells; i++)
        pFrame.cells[i] += pDecades;
}

/// Every value that is smoothed, in the order of the record.
inline std::vector<float> ValuesOf(const selvane_frame& pFrame)
{
    return {pFrame.compression, pFrame.smoothness,  pFrame.radius,     pFrame.adaptation,
            pFrame.white_clip,  pFrame.black_clip,  pFrame.exposure,   pFrame.contrast,
            pFrame.saturation,  pFrame.black_point, pFrame.white_point};
}

} // namespace SelvaneTest

#endif
