#include "render/HueControls.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace SelvaneLib
{

namespace
{

constexpr double kNeutral = 0.5;

struct sHuePoint
{
    double fHue;
    double fValue;
};

/// The double of the shortest decimal that gives the float. People write points as decimals: 0.1f means 0.1, and
/// tangents of its digits are rounded once instead of twice.
double AsWritten(float pNumber)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pNumber);
    double number = 0.0;
    std::from_chars(digits.data(), end.ptr, number);
    return number;
}

std::vector<sHuePoint> Sorted(const selvane_curve& pCurve)
{
    std::vector<sHuePoint> points;
    points.reserve(static_cast<size_t>(pCurve.count));
    for (int i = 0; i < pCurve.count; i++)
        points.push_back({AsWritten(pCurve.points[i].x), AsWritten(pCurve.points[i].y)});
    std::sort(points.begin(), points.end(), [](const sHuePoint& a, const sHuePoint& b) { return a.fHue < b.fHue; });
    return points;
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

std::vector<Vornik::sControlPoint> ControlPoints(const selvane_curve& pCurve)
{
    const std::vector<sHuePoint> given = pCurve.count == 0 ? std::vector<sHuePoint>{{0.0, kNeutral}} : Sorted(pCurve);
    std::vector<Vornik::sControlPoint> points = InnerPoints(given);
    const bool redFirst = given.front().fHue == 0.0;
    const bool redLast = given.back().fHue == 1.0;
    if (redFirst && redLast) return points;
    const sCrossing crossing = Crossing(given.front(), given.back());
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

} // namespace SelvaneLib
