#include "Primaries.h"

#include <algorithm>
#include <selvane.h>

namespace SelvaneGegl
{

sPrimaries PrimariesOf(const Babl* pSpace)
{
    sPrimaries primaries{SELVANE_SRGB, {}};
    if (pSpace == nullptr || pSpace == babl_space("sRGB")) return primaries;
    primaries.fNumber = SELVANE_CUSTOM;
    double white[2], rgb[6];
    babl_space_get(pSpace, &white[0], &white[1], &rgb[0], &rgb[1], &rgb[2], &rgb[3], &rgb[4], &rgb[5], nullptr, nullptr,
                   nullptr);
    const auto toFloat = [](double pValue) { return static_cast<float>(pValue); };
    std::transform(rgb, rgb + 6, primaries.fXY, toFloat);
    std::transform(white, white + 2, primaries.fXY + 6, toFloat);
    return primaries;
}

const Babl* WorkingSpaceOf(const Babl* pSpace)
{
    const bool colored = pSpace != nullptr && babl_space_is_gray(pSpace) == 0 && babl_space_is_cmyk(pSpace) == 0;
    return colored ? pSpace : babl_space("sRGB");
}

} // namespace SelvaneGegl
