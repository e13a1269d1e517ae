#include "suggest/Quality.h"

#include "StructuralFidelity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace SelvaneLib;
using namespace SelvaneTmqi;

namespace
{

// A scene and a picture of it from whole numbers. The expected values were computed by a program of its own in another
// language, with other routines for the windows and the normal distribution.
constexpr int kWidth = 203;
constexpr int kHeight = 181;

sPlane Scene()
{
    sPlane plane{kWidth, kHeight, {}};
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            plane.fValues.push_back(std::exp(((x * 7 + y * 13) % 101) / 25.0) + (x > 100 ? 200.0 : 0.0));
    return plane;
}

sPlane Grey()
{
    sPlane plane{kWidth, kHeight, {}};
    for (int y = 0; y < kHeight; y++)
        for (int x = 0; x < kWidth; x++)
            plane.fValues.push_back((x * 5 + y * 3) % 97 + (x > 100 ? 120.0 : 0.0));
    return plane;
}

TEST(StructuralFidelity, HasTheValuesOfAnotherProgramOnEachScale)
{
    const sFidelity fidelity = cStructuralFidelity(Scene()).Compare(Grey());
    const double expected[] = {0.0615249713, 0.0744407851, 0.1689124447, 0.5134392133, 0.9981954846};
    for (int i = 0; i < kScales; i++)
        EXPECT_NEAR(fidelity.fScale[i], expected[i], 1e-9) << "scale " << i;
    EXPECT_NEAR(fidelity.fAll, 0.2104960586, 1e-9);
}

TEST(StructuralFidelity, IsOneForThePictureItselfAndLessForAFlatOne)
{
    const sPlane scene = Grey();
    sPlane flat = scene;
    flat.fValues.assign(flat.fValues.size(), 100.0);
    EXPECT_GT(cStructuralFidelity(scene).Compare(scene).fAll, 0.98);
    EXPECT_LT(cStructuralFidelity(scene).Compare(flat).fAll, 0.1);
}

TEST(Quality, LightIsMeasuredInBlocksAlsoWhereTheEdgeCutsThem)
{
    const sPlane grey = Grey();
    const std::vector<float> levels(grey.fValues.begin(), grey.fValues.end());
    const sLight light = MeasureLight(levels.data(), nullptr, kWidth, kHeight, kFineFrequency);
    EXPECT_NEAR(light.fMean, 108.29319870451515, 1e-9);
    EXPECT_NEAR(light.fContrast, 26.630702212037324, 1e-9);
}

TEST(Quality, PixelsWithoutWeightAreAsIfTheyWereNotThere)
{
    const float levels[] = {10.0f, 200.0f, 20.0f}, weights[] = {1.0f, 0.0f, 0.5f}, none[] = {0.0f, 0.0f, 0.0f};
    const sLight light = MeasureLight(levels, weights, 3, 1, kFineFrequency);
    EXPECT_EQ(light.fMean, 15.0);
    EXPECT_DOUBLE_EQ(light.fContrast, std::sqrt(50.0)); // sample deviation of 10 and 20
    EXPECT_EQ(MeasureLight(levels, none, 3, 1, kFineFrequency).fMean, 0.0);
}

TEST(Quality, ContrastIsSeenFromTheThresholdOfTheFrequencyOn)
{
    EXPECT_NEAR(cVisibility(16.0)(1.3236101052), 0.5, 1e-9);
    EXPECT_NEAR(cVisibility(4.0)(1.1280131172), 0.5, 1e-9);
    EXPECT_NEAR(cVisibility(1.0)(2.8936759503), 0.5, 1e-9);
    EXPECT_NEAR(cVisibility(16.0)(1.3236101052 * 4.0 / 3.0), 0.8413447460685429, 1e-9); // one deviation further
}

TEST(Quality, VisibleStructureIsTheMeanOverBlocks)
{
    std::vector<float> levels(22, 100.0f); // two blocks of one row: flat, and 0 and 200 by turns
    for (size_t i = 11; i < levels.size(); i++)
        levels[i] = i % 2 == 0 ? 0.0f : 200.0f;
    EXPECT_NEAR(MeasureLight(levels.data(), nullptr, 22, 1, kFineFrequency).fVisible, 0.5, 2e-3);
}

TEST(Quality, NaturalnessIsTheProductOfTheTwoDistributions)
{
    EXPECT_NEAR(Naturalness(kCommonMean, kCommonContrast), 1.0, 1e-12);
    EXPECT_NEAR(Naturalness(88.0, 12.0), 0.463160057080, 1e-11);
    EXPECT_NEAR(Naturalness(130.0, 30.0), 0.325627803641, 1e-11);
    EXPECT_EQ(Naturalness(kCommonMean, 0.0), 0.0);
    EXPECT_EQ(Naturalness(kCommonMean, 65.0), 0.0);
}

TEST(Quality, JoinsFidelityAndNaturalness)
{
    EXPECT_NEAR(Quality(1.0, 1.0), 1.0, 1e-12);
    EXPECT_NEAR(Quality(0.9, 0.8), 0.945612932367, 1e-11);
}

} // namespace
