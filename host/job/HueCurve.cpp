#include "job/HueCurve.h"

#include "picture/Errors.h"

#include <algorithm>
#include <charconv>

namespace SelvaneHost
{

namespace
{

float Number(const std::string& pText, const std::string& pOption)
{
    float value = 0;
    const char* const end = pText.data() + pText.size();
    const auto [stop, error] = std::from_chars(pText.data(), end, value);
    if (error != std::errc() || stop != end)
        throw cUsageError(pOption + ": \"" + pText + "\" is not a number; write HUE:VALUE,HUE:VALUE,...");
    if (!(value >= 0.0F && value <= 1.0F)) throw cUsageError(pOption + ": " + pText + " does not lie between 0 and 1");
    return value;
}

selvane_point Point(const std::string& pText, const std::string& pOption)
{
    const size_t colon = pText.find(':');
    if (colon == std::string::npos)
        throw cUsageError(pOption + ": \"" + pText + "\" is no point; write HUE:VALUE,HUE:VALUE,...");
    return {Number(pText.substr(0, colon), pOption), Number(pText.substr(colon + 1), pOption)};
}

bool HasHue(const selvane_curve& pCurve, float pHue)
{
    return std::any_of(pCurve.points, pCurve.points + pCurve.count,
                       [&](const selvane_point& point) { return point.x == pHue; });
}

void Add(const selvane_point& pPoint, const std::string& pOption, selvane_curve& pCurve)
{
    if (HasHue(pCurve, pPoint.x)) throw cUsageError(pOption + ": a hue is given twice");
    if (pCurve.count == SELVANE_MOST_POINTS)
        throw cUsageError(pOption + ": more than " + std::to_string(SELVANE_MOST_POINTS) + " points");
    pCurve.points[pCurve.count++] = pPoint;
}

} // namespace

selvane_curve ParseHueCurve(const std::string& pText, const std::string& pOption)
{
    selvane_curve curve{};
    for (size_t start = 0; start <= pText.size();) {
        const size_t comma = std::min(pText.find(',', start), pText.size());
        Add(Point(pText.substr(start, comma - start), pOption), pOption, curve);
        start = comma + 1;
    }
    return curve;
}

} // namespace SelvaneHost
