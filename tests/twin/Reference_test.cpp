#include "support/DirectFilters.h"
#include "twin/ReferenceRoad.h"
#include "twin/ReferenceTables.h"

#include <cmath>
#include <gtest/gtest.h>

// The twin by itself: known numbers of its tables, and pictures whose result is plain to see.

namespace
{

using namespace SelvaneTest;
using namespace SelvaneTwin;

void ExpectMatrix(const sMatrix& pMatrix, const std::array<double, 9>& pExpected)
{
    for (size_t i = 0; i < 9; i++)
        EXPECT_NEAR(double(pMatrix.m[i]), pExpected[i], 6e-8) << i;
}

TEST(Reference, MatricesToSevenDecimals)
{
    ExpectMatrix(LinearToPCS(eSpaceSRGB),
                 {0.4360219, 0.3851089, 0.1430813, 0.2224752, 0.7169066, 0.0606182, 0.0139281, 0.0971015, 0.7141586});
    ExpectMatrix(LinearToPCS(eSpaceAdobe),
                 {0.6097190, 0.2052683, 0.1492247, 0.3111021, 0.6256769, 0.0632210, 0.0194767, 0.0608892, 0.7448224});
    ExpectMatrix(LinearToPCS(eSpaceProPhoto),
                 {0.7976673, 0.1351922, 0.0313525, 0.2880375, 0.7118769, 0.0000857, 0.0000000, 0.0000000, 0.8251882});
    for (int space = 0; space < eSpaceCount; space++)
        for (int i = 0; i < 9; i++)
            EXPECT_NEAR(double(Product(LinearToPCS(space), PCSToLinear(space)).m[i]), i % 4 == 0 ? 1.0 : 0.0, 1e-6);
}

TEST(Reference, TheLargestCodeIsALittleLessThanOne)
{
    EXPECT_EQ(DecodeTable(eSpaceSRGB, 8)[255], float(std::pow(255.0 / 256.0, 2.2)));
    EXPECT_EQ(DecodeTable(eSpaceProPhoto, 16)[65535], float(std::pow(65535.0 / 65536.0, 1.8)));
    EXPECT_EQ(ExponentTable()[136] * 255.0f, 255.0f);
    EXPECT_EQ(ExponentTable()[128] * 128.0f, 0.5f);
}

TEST(Reference, EncodeTablesRunFromZeroToTheTop)
{
    for (int space = 0; space < eSpaceCount; space++) {
        EXPECT_EQ(EncodeTable(space)[0], 0);
        EXPECT_GE(EncodeTable(space)[65535], 65534);
    }
}

TEST(Reference, FlatHueCurvesKeepTheHueCircle)
{
    const std::vector<std::array<float, 3>>& table = HueTable();
    EXPECT_NEAR(double(table[0][0]), 1.0, 1e-6);
    EXPECT_NEAR(double(table[0][1]), 0.0, 1e-6);
    EXPECT_NEAR(double(table[21845][1]), 1.0, 1e-4);
    EXPECT_NEAR(double(table[43690][2]), 1.0, 1e-4);
}

TEST(Reference, ContrastCurveRises)
{
    for (const float key : {-1.0f, 0.0f, 0.3f, 0.6f, 0.74f, 0.8555f, 1.0f}) {
        const std::vector<float> table = ContrastTable(key);
        EXPECT_LT(table[0], 1e-4f);
        EXPECT_GT(table[65535], 0.9999f);
        for (size_t i = 1; i < table.size(); i++)
            ASSERT_GE(table[i], table[i - 1]) << key << " " << i;
    }
    EXPECT_EQ(ContrastTable(1.0f), ContrastTable(5.0f));
    EXPECT_EQ(ContrastTable(-1.0f), ContrastTable(0.0f));
    EXPECT_EQ(ContrastPoints(0.25f)[0].nextX, 0.449f);
    EXPECT_EQ(ContrastPoints(0.25f)[1].previousY, 2.634f);
}

TEST(Reference, AConstantPlaneComesBackAndAnEdgeSurvives)
{
    std::vector<float> plane(40 * 20, -2.0f);
    const sDirectFast flat = DirectFast(plane, {40, 20, 2.0f, 0.3f, -2.0f, -2.0f});
    for (const float value : flat.fResult)
        ASSERT_NEAR(double(value), -2.0, 1e-5);
    for (size_t i = 0; i < plane.size(); i++)
        plane[i] = i % 40 < 20 ? -2.0f : 3.0f;
    const sDirectFast edge = DirectFast(plane, {40, 20, 2.0f, 0.3f, -2.0f, 3.0f});
    for (size_t i = 0; i < plane.size(); i++)
        ASSERT_NEAR(double(edge.fResult[i]), double(plane[i]), 0.2) << i;
}

sTmImageDesc Described(int pWidth, int pHeight, int pInputDepth, int pOutputDepth)
{
    return {pWidth, pHeight, 3, pInputDepth, pOutputDepth, 3 * pWidth, 3 * pWidth, 1};
}

TEST(Reference, ABadInputDepthTouchesNothing)
{
    const sTmImageDesc image = Described(2, 2, 12, 8);
    const sTmRunSettings run = {1, 0, 0};
    sTmSliders sliders{};
    sliders.blackPoint = 7.0f;
    unsigned char pixels[64] = {};
    const sRoad road = Road(&image, &run, 0, &sliders, pixels, pixels);
    EXPECT_EQ(road.fResult, -2);
    EXPECT_EQ(sliders.blackPoint, 7.0f);
    EXPECT_EQ(road.fErrorText, "");
    EXPECT_TRUE(road.fDivides.empty());
}

TEST(Reference, AUniformPictureIsBlackAndARampIsNot)
{
    const sTmImageDesc image = Described(16, 16, 8, 8);
    const sTmRunSettings run = {2, 0, 0};
    std::vector<unsigned char> input(768, 99);
    std::vector<unsigned char> output(768, 5);
    sTmSliders sliders{};
    const sRoad flat = Road(&image, &run, 0, &sliders, input.data(), output.data());
    EXPECT_EQ(flat.fResult, 1);
    EXPECT_EQ(output, std::vector<unsigned char>(768, 0));
    EXPECT_EQ(sliders.whitePoint, 0.0f);
    for (size_t i = 0; i < input.size(); i++)
        input[i] = static_cast<unsigned char>(i / 3);
    const sRoad ramp = Road(&image, &run, 0, &sliders, input.data(), output.data());
    EXPECT_EQ(ramp.fResult, 1);
    EXPECT_EQ(ramp.fDivides.size(), 2u);
    EXPECT_GT(sliders.whitePoint, 0.0f);
    EXPECT_EQ(output[0], 0);
    EXPECT_GT(output[767], 240);
    EXPECT_NE(ramp.fErrorText.find("+++  ToneMappingPhase1 16 x 16"), std::string::npos);
}

} // namespace
