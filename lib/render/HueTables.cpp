#include "render/HueTables.h"

#include <algorithm>
#include <cstddef>

namespace SelvaneLib
{

namespace
{

constexpr size_t kHues = 65536;
constexpr float kNeutral = 0.5f;

/// The points by hue, with the last one also a circle below and the first one a circle above.
std::vector<selvane_point> Circle(const selvane_curve& pCurve)
{
    std::vector<selvane_point> points(pCurve.points, pCurve.points + pCurve.count);
    std::sort(points.begin(), points.end(), [](const selvane_point& a, const selvane_point& b) { return a.x < b.x; });
    const selvane_point first{points.front().x + 1.0f, points.front().y};
    const selvane_point last{points.back().x - 1.0f, points.back().y};
    points.insert(points.begin(), last);
    points.push_back(first);
    return points;
}

float Between(const selvane_point& pA, const selvane_point& pB, double pHue)
{
    const double width = static_cast<double>(pB.x) - static_cast<double>(pA.x);
    const double t = width > 0.0 ? (pHue - static_cast<double>(pA.x)) / width : 0.0;
    const double rise = static_cast<double>(pB.y) - static_cast<double>(pA.y);
    return static_cast<float>(static_cast<double>(pA.y) + rise * t * t * (3.0 - 2.0 * t));
}

} // namespace

bool HasHueCurves(const selvane_settings& pSettings)
{
    return pSettings.hue.count + pSettings.hue_saturation.count + pSettings.hue_lightness.count > 0;
}

std::vector<float> HueTable(const selvane_curve& pCurve)
{
    std::vector<float> table(kHues, kNeutral);
    if (pCurve.count == 0) return table;
    const std::vector<selvane_point> points = Circle(pCurve);
    size_t next = 1;
    for (size_t i = 0; i < kHues; i++) {
        const double hue = static_cast<double>(i) / (kHues - 1);
        while (next + 1 < points.size() && static_cast<double>(points[next].x) < hue)
            next++;
        table[i] = std::clamp(Between(points[next - 1], points[next], hue), 0.0f, 1.0f);
    }
    return table;
}

std::vector<uint16_t> HueSamples(const selvane_curve& pCurve)
{
    const std::vector<float> table = HueTable(pCurve);
    std::vector<uint16_t> samples(kHues);
    for (size_t i = 0; i < kHues; i++)
        samples[i] = static_cast<uint16_t>(table[i] * 65535.0f);
    return samples;
}

} // namespace SelvaneLib
