// Histograms, the curve and area means, against small cases that can be counted by hand.

#include "explain/AreaMean.h"
#include "explain/Light.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace
{

using namespace SelvaneHost;

sPlanes PlanesOf(const std::vector<float>& pScene, const std::vector<float>& pMapped, double pBlack, double pWhite)
{
    return {pScene.size(), pScene.data(), pMapped.data(), nullptr, pBlack, pWhite};
}

TEST(Light, ColumnsShareOutTheAxisAndItsEndIsInTheLastOne)
{
    const sAxis axis{-2.0, 2.0, 8};
    const std::pair<double, int> cases[] = {{-2.0, 0}, {-1.51, 0}, {-1.5, 1},   {0.0, 4},  {1.99, 7},
                                            {2.0, 7},  {2.01, 8},  {-2.01, -1}, {50.0, 8}, {-50.0, -1}};
    for (const auto& [value, column] : cases)
        EXPECT_EQ(axis.ColumnOf(value), column) << value;
}

TEST(Light, AHistogramCountsWhatBecameBlackAndWhite)
{
    const std::vector<float> scene = {-1.5F, -1.5F, 0.5F, 0.5F, 0.5F, 7.0F, -7.0F};
    const std::vector<float> mapped = {-1.0F, -0.9F, 0.0F, 0.3F, 0.31F, 2.0F, -3.0F};
    const sHistogram histogram = HistogramOf(scene.data(), PlanesOf(scene, mapped, 0.1, 2.0), {-2.0, 2.0, 4});
    EXPECT_EQ(histogram.fAll, (std::vector<int64_t>{2, 0, 3, 0}));
    EXPECT_EQ(histogram.fBlack, (std::vector<int64_t>{1, 0, 0, 0})); // at or below log10 of 0.1
    EXPECT_EQ(histogram.fWhite, (std::vector<int64_t>{0, 0, 1, 0})); // at or above log10 of 2, 0.301
    EXPECT_EQ(histogram.fBelow, 1);
    EXPECT_EQ(histogram.fAbove, 1);
}

TEST(Light, PixelsThatAreHiddenCountNowhere)
{
    const std::vector<float> scene = {0.0F, 0.0F, 1.0F};
    const unsigned char visible[] = {1, 0, 0};
    sPlanes planes = PlanesOf(scene, scene, 0.001, 1000.0);
    planes.fVisible = visible;
    const sHistogram histogram = HistogramOf(scene.data(), planes, {-1.0, 2.0, 1});
    EXPECT_EQ(histogram.fAll, std::vector<int64_t>{1});
    EXPECT_NEAR(AxisOf(scene.data(), planes, 0.0, 0.0, 5).fTo, 0.05, 0.002); // the pixel at 1 is hidden
}

TEST(Light, AnAxisLeavesAFewDarkPixelsOutAndReachesTheBrightest)
{
    std::vector<float> scene(1000, 0.0F);
    scene[0] = -9.0F;
    scene[1] = 3.5F;
    const sAxis axis = AxisOf(scene.data(), PlanesOf(scene, scene, 0.0, 1.0), 0.001, 0.3, 100);
    EXPECT_NEAR(axis.fFrom, -0.3, 0.002);
    EXPECT_NEAR(axis.fTo, 3.5, 0.002);
    const sAxis all = AxisOf(scene.data(), PlanesOf(scene, scene, 0.0, 1.0), 0.0, 0.0, 100);
    EXPECT_NEAR(all.fFrom, -9.0, 0.002);
}

TEST(Light, AnAxisOfOneToneHasATenthOfADecade)
{
    const std::vector<float> scene(50, 0.5F);
    const sAxis axis = AxisOf(scene.data(), PlanesOf(scene, scene, 0.0, 1.0), 0.001, 0.0, 10);
    EXPECT_NEAR(axis.fTo - axis.fFrom, 0.1, 1e-9);
    EXPECT_GE(axis.ColumnOf(0.5), 0);
    EXPECT_LT(axis.ColumnOf(0.5), 10);
}

/// 101 pixels of each level from 0 to 100 of 255: the quantiles are the levels themselves.
TEST(Light, TheCurveHasTheQuantilesOfEachColumn)
{
    cToneCurve curve({0.0, 2.0, 2});
    for (int level = 0; level <= 100; level++) {
        const double sample = level / 255.0;
        curve.Add(0.5, sample <= 0.04045 ? sample / 12.92 : std::pow((sample + 0.055) / 1.055, 2.4));
    }
    for (int i = 0; i < kFewPixels - 1; i++)
        curve.Add(1.5, 1.0);
    curve.Add(9.0, 1.0);
    const std::vector<sSpread> spreads = curve.Spreads();
    ASSERT_EQ(spreads.size(), 2U);
    EXPECT_EQ(spreads[0].fCount, 101);
    EXPECT_NEAR(spreads[0].fLeast, 5.0, 0.15);
    EXPECT_NEAR(spreads[0].fLower, 25.0, 0.15);
    EXPECT_NEAR(spreads[0].fMedian, 50.0, 0.15);
    EXPECT_NEAR(spreads[0].fUpper, 75.0, 0.15);
    EXPECT_NEAR(spreads[0].fMost, 95.0, 0.15);
    EXPECT_EQ(spreads[1].fCount, kFewPixels - 1); // too few: no spread
    EXPECT_EQ(spreads[1].fMedian, 0.0);
}

TEST(Light, ColumnsAtBothEndsOfTheDisplayHaveTheirLevel)
{
    cToneCurve curve({0.0, 2.0, 2});
    for (int i = 0; i < 20; i++) {
        curve.Add(0.5, 0.0);
        curve.Add(1.5, 7.0); // cut off
    }
    EXPECT_EQ(curve.Spreads()[0].fMost, 0.0);
    EXPECT_EQ(curve.Spreads()[1].fLeast, 255.0);
}

TEST(AreaMean, AreasShareOutThePicture)
{
    cAreaMean mean(5, 3, 2, 2, 2); // columns 0 to 2 and 3 to 4, rows 0 to 1 and 2
    for (int y = 0; y < 3; y++) {
        std::vector<float> row;
        for (int x = 0; x < 5; x++) {
            row.push_back(static_cast<float>(x));
            row.push_back(static_cast<float>(10 * y));
        }
        mean.AddRow(row.data());
    }
    const sFloats small = mean.Mean();
    EXPECT_EQ(small.fValues, (std::vector<float>{1.0F, 5.0F, 3.5F, 5.0F, 1.0F, 20.0F, 3.5F, 20.0F}));
}

TEST(AreaMean, ASmallPictureStaysAndNoNumberIsZero)
{
    const float values[] = {1.0F, -2.5F, std::numeric_limits<float>::quiet_NaN()};
    cAreaMean mean(3, 1, 1, 3, 1);
    mean.AddRow(values);
    EXPECT_EQ(mean.Mean().fValues, (std::vector<float>{1.0F, -2.5F, 0.0F}));
}

} // namespace
