#ifndef SELVANE_RENDER_LAYERTABLES_H
#define SELVANE_RENDER_LAYERTABLES_H

// The two tables of phase 2, internal: from a value of a layer, in decades, to its linear factor. Entry 0 stands for
// the least value of the layer, entry 65535 for the largest.

#include "render/Layers.h"

namespace Vornik
{

constexpr double kLn10 = 0x1.26bb1bbb55516p+1; // 2.302585092994046; 10 to the power x is exp(x * kLn10)

/// Fills the table of the base, compressed by pExponent. Returns the largest entry, at least 0.
/// @param pAdaptation above 0: bends the exponents around the mean
float FillGlobalTable(float* pTable, const sLayer& pBase, float pAdaptation, float pExponent);

/// Fills the table of the detail. Returns the largest entry, at least 0.
float FillDetailTable(float* pTable, const sLayer& pDetail, float pAdaptation);

} // namespace Vornik

#endif
