#include "command/HueCurve.h"
#include "host/Workshop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace
{

using namespace SelvaneHost;

std::string RefusalOf(const std::string& pList)
{
    return SelvaneTest::Refusal([&] { ParseHuePoints(pList, "--hue-shift"); });
}

/// Returns the curve's value at each of the 65536 hues.
std::vector<float> Table(const std::vector<sHuePoint>& pPoints)
{
    const std::vector<Vornik::sControlPoint> points = CircularControlPoints(pPoints);
    Vornik::cHermiteSpline curve;
    curve.SetControlPoints(Vornik::eSplineManualTangents, static_cast<int>(points.size()), points.data());
    return {curve.GetLUT16f(), curve.GetLUT16f() + 65536};
}

/// Returns the value of an ease from each point to the next around the circle.
double Ease(std::vector<sHuePoint> pPoints, double pHue)
{
    std::sort(pPoints.begin(), pPoints.end(), [](const sHuePoint& a, const sHuePoint& b) { return a.fHue < b.fHue; });
    const size_t count = pPoints.size();
    for (size_t i = 0; i <= count; i++) {
        const sHuePoint& from = pPoints[(i + count - 1) % count];
        const sHuePoint& to = pPoints[i % count];
        const double left = from.fHue - (i == 0 ? 1.0 : 0.0);
        const double right = to.fHue + (i == count ? 1.0 : 0.0);
        if (right <= left || pHue < left || pHue > right) continue;
        const double t = (pHue - left) / (right - left);
        return from.fValue + (to.fValue - from.fValue) * t * t * (3.0 - 2.0 * t);
    }
    return -1.0;
}

TEST(HueCurve, PointsAreReadAndSorted)
{
    const std::vector<sHuePoint> points = ParseHuePoints("1:0.5,0:0.5,0.33:0.6", "--hue-shift");
    ASSERT_EQ(points.size(), 3U);
    EXPECT_EQ(points[0].fHue, 0.0);
    EXPECT_EQ(points[1].fHue, 0.33);
    EXPECT_EQ(points[1].fValue, 0.6);
    EXPECT_EQ(points[2].fHue, 1.0);
    EXPECT_EQ(ParseHuePoints("0.5:1", "x").size(), 1U);
}

TEST(HueCurve, WhatIsNoListOfPointsIsRefused)
{
    for (const char* text :
         {"", "0.5", "0.5:", ":0.5", "0.5:0.5,", ",0.5:0.5", "a:0.5", "0.5:0.5x", "0.5:0.5:0.5", "0.5 :1"})
        EXPECT_THAT(RefusalOf(text), testing::HasSubstr("--hue-shift")) << text;
    for (const char* text : {"-0.1:0.5", "1.1:0.5", "0.5:1.01", "0.5:-0.01", "nan:0.5", "0.5:nan", "0.5:inf"})
        EXPECT_THAT(RefusalOf(text), testing::HasSubstr("between 0 and 1")) << text;
    EXPECT_THAT(RefusalOf("0.5:0.1,0.2:0.2,0.5:0.3"), testing::HasSubstr("twice"));
}

// The table joins 100 chords between two points. A chord differs from the ease by at most 1.5 / 100^2 / 2 of the rise.
// Single precision and the truncated abscissa add less than that.
TEST(HueCurve, TheCurveEasesFromPointToPointAroundTheCircle)
{
    const std::vector<std::vector<sHuePoint>> cases = {{{0.0, 0.5}, {0.33, 0.6}, {1.0, 0.5}},
                                                       {{0.2, 0.1}, {0.7, 0.9}},
                                                       {{0.9, 0.2}, {0.1, 0.8}, {0.12, 0.1}},
                                                       {{0.0, 0.3}, {0.5, 0.7}},
                                                       {{0.5, 0.7}, {1.0, 0.25}},
                                                       {{0.95, 1.0}, {0.05, 0.0}},
                                                       {{0.4, 0.6}},
                                                       {{0.0, 0.6}},
                                                       {{1.0, 0.6}}};
    for (const auto& points : cases) {
        const std::vector<float> table = Table(points);
        for (size_t i = 0; i < table.size(); i += 13)
            ASSERT_NEAR(table[i], Ease(points, static_cast<double>(i) / 65535.0), 2e-3) << points[0].fHue << " " << i;
    }
}

TEST(HueCurve, RedHasOneValueFromBothSides)
{
    for (const auto& points :
         {std::vector<sHuePoint>{{0.2, 0.1}, {0.7, 0.9}}, {{0.01, 1.0}, {0.9, 0.0}}, {{0.0, 0.8}, {0.5, 0.1}}}) {
        const std::vector<float> table = Table(points);
        EXPECT_NEAR(table.front(), table.back(), 1e-4);
        EXPECT_NEAR(table[65] - table[0], table[65535] - table[65535 - 65], 1e-3) << "and nearly one slope";
    }
}

TEST(HueCurve, NothingOvershootsTheValuesGiven)
{
    const std::vector<float> table = Table({{0.1, 0.2}, {0.11, 0.9}, {0.5, 0.9}, {0.51, 0.2}});
    EXPECT_GE(*std::min_element(table.begin(), table.end()), 0.2F - 1e-6F);
    EXPECT_LE(*std::max_element(table.begin(), table.end()), 0.9F + 1e-6F);
}

TEST(HueCurve, ANeutralCurveIsFlat)
{
    for (const float value : Table({{0.0, 0.5}}))
        ASSERT_EQ(value, 0.5F);
}

TEST(HueCurve, PointsAtBothEndsStayAsGiven)
{
    const std::vector<float> table = Table({{0.0, 0.2}, {1.0, 0.9}});
    EXPECT_EQ(table.front(), 0.2F);
    EXPECT_EQ(table.back(), 0.9F);
}

} // namespace
