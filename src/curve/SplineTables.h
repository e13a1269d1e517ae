#ifndef SELVANE_CURVE_SPLINETABLES_H
#define SELVANE_CURVE_SPLINETABLES_H

// Sizes of a curve's tables, internal.

#include <cstddef>

namespace Vornik
{

constexpr size_t kEntries16 = 65537; // of fLUT16f and fLUT16i; the last entry is one beyond the unit interval
constexpr size_t kEntries8 = 257;    // of fLUT8f and fLUT8i

} // namespace Vornik

#endif
