#ifndef SELVANE_RENDER_STAGES_H
#define SELVANE_RENDER_STAGES_H

// The parts of the stages, internal. Two roads put them together: cTmRenderer, whose stages leave all their fields, and
// RenderOnce, which leaves samples and points only.

#include "color/cMatrix.h"
#include "render/Luminance.h"

#include <optional>

namespace Vornik
{

class cTmRenderer;

// ---- Preparation ----------------------------------------------------------------------------------------------------

/// Allocates the compact picture and the three planes, all of the input's size. If memory runs out, all are null again.
void AllocateIntermediates(cTmRenderer& pRenderer);

/// Fills fLogLuminance with all workers and merges their extremes in slot order.
void MeasureLuminance(cTmRenderer& pRenderer, bool* pCancel, bool* pCancelled);

// ---- Phase 1 --------------------------------------------------------------------------------------------------------

/// The second stage. @param pDetail takes the detail; null if nobody reads it
void RunPhase1(cTmRenderer& pRenderer, float* pDetail, bool* pCancel, bool* pCancelled);

// ---- Phase 2 --------------------------------------------------------------------------------------------------------

/// The first half of the third stage: fills both tables and sets the exposure. None if a layer is flat, or on a request
/// to stop.
std::optional<sRemapping> FillTables(cTmRenderer& pRenderer, const bool* pCancel, bool* pCancelled);

/// The third stage, with the new luminance wherever pRows has it. Returns false if the luminance was not replaced, or
/// not completely: with a flat layer, or when it stopped.
bool RunPhase2(cTmRenderer& pRenderer, const cLuminanceRows& pRows, const bool* pCancel, bool* pCancelled);

// ---- Final stage ----------------------------------------------------------------------------------------------------

/// Linear ProPhoto RGB to the linear primaries of the output.
cMatrix33 OutputMatrix(const cTmRenderer& pRenderer);

/// fEncodeLUT, filled if it is not valid.
unsigned short* EncodeTable(cTmRenderer& pRenderer);

/// The 16-bit table of the contrast curve for the present parameters. Moves the curve if its key position changed.
const unsigned short* ContrastSamples(cTmRenderer& pRenderer);

/// The exposure scale, which acts if there is no range from black to white.
float ExposureScale(const cTmRenderer& pRenderer);

} // namespace Vornik

#endif
