#include "command/HueCurve.h"

#include "picture/Errors.h"

#include <algorithm>
#include <charconv>

namespace SelvaneHost
{

namespace
{

double Number(const std::string& pText, const std::string& pOption)
{
    double value = 0;
    const char* const end = pText.data() + pText.size();
    const auto [stop, error] = std::from_chars(pText.data(), end, value);
    if (error != std::errc() || stop != end)
        throw cUsageError(pOption + ": \"" + pText + "\" is not a number; write HUE:VALUE,HUE:VALUE,...");
    if (!(value >= 0.0 && value <= 1.0)) throw cUsageError(pOption + ": " + pText + " does not lie between 0 and 1");
    return value;
}

sHuePoint Point(const std::string& pText, const std::string& pOption)
{
    const size_t colon = pText.find(':');
    if (colon == std::string::npos)
        throw cUsageError(pOption + ": \"" + pText + "\" is no point; write HUE:VALUE,HUE:VALUE,...");
    return {Number(pText.substr(0, colon), pOption), Number(pText.substr(colon + 1), pOption)};
}

bool EarlierHue(const sHuePoint& pA, const sHuePoint& pB)
{
    return pA.fHue < pB.fHue;
}

Vornik::sControlPoint ControlPoint(double pX, double pY, double pBeforeX, double pBeforeY, double pAfterX,
                                   double pAfterY)
{
    Vornik::sControlPoint point{};
    point.fPoint = Vornik::cVector2(static_cast<float>(pX), static_cast<float>(pY));
    point.fPreviousTangent = Vornik::cVector2(static_cast<float>(pBeforeX), static_cast<float>(pBeforeY));
    point.fNextTangent = Vornik::cVector2(static_cast<float>(pAfterX), static_cast<float>(pAfterY));
    return point;
}

/// The piece of the curve that crosses red, from the last point to the first.
struct sCrossing
{
    double fWidth;  // in hue
    double fBefore; // share of the width before red
    double fValue;  // value at red
    double fSlope;  // slope at red: change of the value over the whole width
};

sCrossing Crossing(const sHuePoint& pFirst, const sHuePoint& pLast)
{
    const double width = pFirst.fHue + 1.0 - pLast.fHue;
    const double t = (1.0 - pLast.fHue) / width;
    const double rise = pFirst.fValue - pLast.fValue;
    return {width, t, pLast.fValue + rise * t * t * (3.0 - 2.0 * t), rise * 6.0 * t * (1.0 - t)};
}

/// Returns the control points of the given points. Each tangent is as wide as its piece of the curve. So hue changes at
/// a constant rate within the piece.
std::vector<Vornik::sControlPoint> InnerPoints(const std::vector<sHuePoint>& pPoints)
{
    std::vector<Vornik::sControlPoint> points;
    for (size_t i = 0; i < pPoints.size(); i++) {
        const double x = pPoints[i].fHue;
        const double before = x - (i > 0 ? pPoints[i - 1].fHue : 0.0);
        const double after = (i + 1 < pPoints.size() ? pPoints[i + 1].fHue : 1.0) - x;
        points.push_back(ControlPoint(x, pPoints[i].fValue, before, 0.0, after, 0.0));
    }
    return points;
}

} // namespace

std::vector<sHuePoint> ParseHuePoints(const std::string& pText, const std::string& pOption)
{
    std::vector<sHuePoint> points;
    for (size_t start = 0; start <= pText.size();) {
        const size_t comma = std::min(pText.find(',', start), pText.size());
        points.push_back(Point(pText.substr(start, comma - start), pOption));
        start = comma + 1;
    }
    std::sort(points.begin(), points.end(), EarlierHue);
    const auto twin = std::adjacent_find(points.begin(), points.end(),
                                         [](const sHuePoint& a, const sHuePoint& b) { return a.fHue == b.fHue; });
    if (twin != points.end()) throw cUsageError(pOption + ": a hue is given twice");
    return points;
}

std::vector<Vornik::sControlPoint> CircularControlPoints(std::vector<sHuePoint> pPoints)
{
    std::sort(pPoints.begin(), pPoints.end(), EarlierHue);
    std::vector<Vornik::sControlPoint> points = InnerPoints(pPoints);
    const bool redFirst = pPoints.front().fHue == 0.0;
    const bool redLast = pPoints.back().fHue == 1.0;
    if (redFirst && redLast) return points;
    const sCrossing crossing = Crossing(pPoints.front(), pPoints.back());
    const double after = 1.0 - crossing.fBefore;
    if (!redFirst) {
        points.insert(points.begin(),
                      ControlPoint(0.0, crossing.fValue, 0.0, 0.0, crossing.fWidth * after, crossing.fSlope * after));
    }
    if (!redLast) {
        points.push_back(ControlPoint(1.0, crossing.fValue, crossing.fWidth * crossing.fBefore,
                                      crossing.fSlope * crossing.fBefore, 0.0, 0.0));
    }
    return points;
}

} // namespace SelvaneHost
