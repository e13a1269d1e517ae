#include "explain/PlainStops.h"

#include "picture/Errors.h"

#include <algorithm>
#include <cmath>

namespace SelvaneHost
{

namespace
{

constexpr double kMiddleGrey = 0.18;
constexpr double kMostStops = 100.0; // of selvane_plain

} // namespace

bool IsForDisplay(const sPicture& pPicture)
{
    return pPicture.fForm == eSamples8 || pPicture.fForm == eSamples16;
}

double PlainStops(const selvane* pHandle)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    if (selvane_get_report(pHandle, &report) != SELVANE_OK) throw cHostError(selvane_error(pHandle));
    const double stops = std::log2(kMiddleGrey) - static_cast<double>(report.log_luminance_mean) / std::log10(2.0);
    return std::clamp(stops, -kMostStops, kMostStops);
}

} // namespace SelvaneHost
