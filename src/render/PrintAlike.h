#ifndef SELVANE_RENDER_PRINTALIKE_H
#define SELVANE_RENDER_PRINTALIKE_H

// Numbers that only a progress line shows, internal.

#include <cmath>
#include <cstdio>
#include <cstring>

namespace Vornik
{

/// Whether all numbers within pError of pValue print alike with two decimals, as the progress lines do. False if pValue
/// or pError is not finite.
inline bool PrintsAlike(double pValue, double pError)
{
    char words[2][400]; // room for any double
    std::snprintf(words[0], sizeof words[0], "%1.2f", pValue - pError);
    std::snprintf(words[1], sizeof words[1], "%1.2f", pValue + pError);
    return std::isfinite(pValue) && std::isfinite(pError) && std::strcmp(words[0], words[1]) == 0;
}

} // namespace Vornik

#endif
