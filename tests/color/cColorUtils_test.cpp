#include "color/cColorUtils.h"

#include "color/Numbers.h"
#include "color/cColorSpace.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <type_traits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// What outside programs compile against.

using tThree = void (*)(float, float, float, float&, float&, float&);
using tVectors = cVector3 (*)(cVector3);
static_assert(std::is_same_v<decltype(&cColorUtils::xyYToXYZ), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::XYZToxyz), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::XYZToxyY), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::sRGBToLinear), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::sRGBFromLinear), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::ProPhotoToLinear), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::ProPhotoFromLinear), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::sRGBToProPhoto), tThree>);
static_assert(std::is_same_v<decltype(&cColorUtils::ProPhotoTosRGB), tThree>);

using tToSpace = bool (*)(cColorSpace*, float, float, float&, float&, float&);
using tFromSpace = void (*)(cColorSpace*, float, float, float, float&, float&, float&);
static_assert(std::is_same_v<decltype(&cColorUtils::xyToRGBLinear), tToSpace>);
static_assert(std::is_same_v<decltype(&cColorUtils::UprimeVprimeToRGBLinear), tToSpace>);
static_assert(std::is_same_v<decltype(&cColorUtils::RGBLinearToXYZ), tFromSpace>);
static_assert(std::is_same_v<decltype(&cColorUtils::RGBLinearToPCS), tFromSpace>);
static_assert(
    std::is_same_v<decltype(&cColorUtils::RGBLinearToxy), void (*)(cColorSpace*, float, float, float, float&, float&)>);
static_assert(std::is_same_v<decltype(&cColorUtils::xyYToRGBLinear),
                             bool (*)(cColorSpace*, float, float, float, float&, float&, float&)>);
static_assert(std::is_same_v<decltype(&cColorUtils::RGBLinearToRGBLinear),
                             bool (*)(cColorSpace*, cColorSpace*, float, float, float, float&, float&, float&)>);

/// The three-float form of an operation as a function of a vector.
cVector3 Through(tThree pOperation, cVector3 pIn)
{
    cVector3 out(-7.0f, -7.0f, -7.0f);
    pOperation(pIn.x, pIn.y, pIn.z, out.x, out.y, out.z);
    return out;
}

using tThreeBits = std::array<uint32_t, 3>;

tThreeBits BitsThrough(tThree pOperation, cVector3 pIn)
{
    return BitsOf(Through(pOperation, pIn));
}

cVector3 RandomColour(cRandom& pRandom, float pLow, float pHigh)
{
    const float x = pRandom.FloatBetween(pLow, pHigh);
    const float y = pRandom.FloatBetween(pLow, pHigh);
    return {x, y, pRandom.FloatBetween(pLow, pHigh)};
}

/// One row of a matrix times a colour, one rounding a step.
float RowTimes(const float* pRow, cVector3 pIn)
{
    const float first = pRow[0] * pIn.x;
    const float second = pRow[1] * pIn.y;
    const float third = pRow[2] * pIn.z;
    const float sum = first + second;
    return sum + third;
}

cVector3 SlowTransform(const tFloats& pMatrix, cVector3 pIn)
{
    return {RowTimes(&pMatrix[0], pIn), RowTimes(&pMatrix[3], pIn), RowTimes(&pMatrix[6], pIn)};
}

std::unique_ptr<cColorSpace> Make(eColorSpaceID pID)
{
    return std::unique_ptr<cColorSpace>(cColorSpace::FromID(pID));
}

/// A space whose four matrices have nothing to do with each other.
std::unique_ptr<cColorSpace> Patchwork()
{
    auto space = std::make_unique<cColorSpace_GenericRGB>();
    space->fToXYZ = {0.4f, 0.3f, 0.2f, 0.25f, 0.65f, 0.1f, 0.02f, 0.11f, 0.93f};
    space->fFromXYZ = {3.1f, -1.5f, -0.4f, -0.9f, 1.8f, 0.04f, 0.05f, -0.2f, 1.01f};
    space->fToPCS = {0.6f, 0.21f, 0.15f, 0.31f, 0.62f, 0.07f, 0.03f, 0.06f, 0.77f};
    space->fFromPCS = {1.3f, -0.25f, -0.05f, -0.5f, 1.5f, 0.02f, 0.001f, -0.002f, 1.2f};
    return space;
}

// Chromaticity.

TEST(cColorUtils, LuminanceComesFirstInxyYToXYZ)
{
    // Y = 2, x = 0.25, y = 0.5: X = 1, Z = 1; no rounding anywhere.
    EXPECT_EQ(BitsThrough(cColorUtils::xyYToXYZ, {2.0f, 0.25f, 0.5f}), BitsOf(cVector3(1.0f, 2.0f, 1.0f)));
}

TEST(cColorUtils, xyYToXYZRoundsStepByStep)
{
    cRandom random(741);
    for (int i = 0; i < 3000; i++) {
        const float luminance = random.FloatBetween(0.0f, 3.0f);
        const float x = random.FloatBetween(0.05f, 0.7f);
        const float y = random.FloatBetween(0.05f, 0.8f);
        const float reciprocal = 1.0f / y;
        const float scaledX = x * reciprocal;
        const float rest = 1.0f - y;
        const float z = rest - x;
        const float scaledZ = z * reciprocal;
        const cVector3 expected(scaledX * luminance, luminance, scaledZ * luminance);
        ASSERT_EQ(BitsThrough(cColorUtils::xyYToXYZ, {luminance, x, y}), BitsOf(expected));
        cVector3 one;
        cColorUtils::xyToXYZ(x, y, one.x, one.y, one.z);
        ASSERT_EQ(BitsOf(one), BitsOf(cVector3(scaledX, 1.0f, scaledZ)));
        ASSERT_EQ(BitsOf(cColorUtils::xyToXYZ(cVector2(x, y))), BitsOf(one));
    }
}

TEST(cColorUtils, ChromaticityScalesByTheReciprocalOfYPlusZPlusX)
{
    cRandom random(742);
    for (int i = 0; i < 3000; i++) {
        const cVector3 xyz = RandomColour(random, 0.0f, 2.0f);
        const float sum = xyz.y + xyz.z;
        const float scale = 1.0f / (sum + xyz.x);
        const cVector3 expected(scale * xyz.x, scale * xyz.y, scale * xyz.z);
        ASSERT_EQ(BitsThrough(cColorUtils::XYZToxyz, xyz), BitsOf(expected));
        ASSERT_EQ(BitsThrough(cColorUtils::XYZToxyY, xyz), BitsOf(cVector3(expected.x, expected.y, xyz.y)));
        cVector2 chroma;
        cColorUtils::XYZToxy(xyz.x, xyz.y, xyz.z, chroma.x, chroma.y);
        ASSERT_EQ(BitsOf(chroma), BitsOf(cVector2(expected.x, expected.y)));
        ASSERT_EQ(BitsOf(cColorUtils::XYZToxy(xyz)), BitsOf(chroma));
    }
}

TEST(cColorUtils, ZeroDenominatorsGiveWhatTheArithmeticGives)
{
    const cVector3 onAxis = cColorUtils::xyToXYZ(cVector2(0.25f, 0.0f));
    EXPECT_EQ(onAxis.x, kInfinity);
    EXPECT_EQ(onAxis.y, 1.0f);
    EXPECT_EQ(onAxis.z, kInfinity);
    const cVector2 black = cColorUtils::XYZToxy(cVector3(0.0f, 0.0f, 0.0f));
    EXPECT_TRUE(std::isnan(black.x));
    EXPECT_TRUE(std::isnan(black.y));

    float x = 0.0f, y = 0.0f, z = 0.0f;
    cColorUtils::XYZToxyz(0.0f, 0.0f, 0.0f, x, y, z);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
    cColorUtils::XYZToxyY(0.0f, 0.0f, 0.0f, x, y, z);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
    EXPECT_EQ(z, 0.0f);
    cColorUtils::xyYToXYZ(0.5f, 0.0f, 0.0f, x, y, z);
    EXPECT_TRUE(std::isnan(x));
    EXPECT_EQ(y, 0.5f);
    EXPECT_EQ(z, kInfinity);
}

// Infinite X and Z: red and green are infinity less infinity, blue is infinite.
TEST(cColorUtils, ZeroDenominatorsThroughAColourSpaceToo)
{
    const auto sRGB = Make(eColorSpace_sRGB);
    float r = 7.0f, g = 7.0f, b = 7.0f;
    EXPECT_TRUE(cColorUtils::xyYToRGBLinear(sRGB.get(), 0.5f, 0.25f, 0.0f, r, g, b));
    EXPECT_EQ(BitsOf(cVector3(r, g, b)), BitsOf(cVector3(1.0f, 1.0f, 1.0f)));
    EXPECT_FALSE(cColorUtils::xyToRGBLinear(sRGB.get(), 0.25f, 0.0f, r, g, b));
    EXPECT_EQ(r, 0.0f);
    EXPECT_EQ(g, 0.0f);
    EXPECT_TRUE(std::isnan(b)) << "infinite, times 1 / infinity";
    EXPECT_FALSE(cColorUtils::UprimeVprimeToRGBLinear(sRGB.get(), 0.0f, 0.75f, r, g, b));
    EXPECT_EQ(BitsOf(cVector3(r, g, b)), BitsOf(cVector3(0.0f, 0.0f, 0.0f)));
    float x = 0.0f, y = 0.0f;
    cColorUtils::RGBLinearToxy(sRGB.get(), 0.0f, 0.0f, 0.0f, x, y);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y));
}

TEST(cColorUtils, ResultsMayBeWrittenOverTheInputs)
{
    float x = 0.3f, y = 0.4f, z = 0.5f;
    const cVector3 expected = Through(cColorUtils::XYZToxyz, {x, y, z});
    cColorUtils::XYZToxyz(x, y, z, x, y, z);
    EXPECT_EQ(BitsOf(cVector3(x, y, z)), BitsOf(expected));

    float r = 0.9f, g = 0.2f, b = 0.4f;
    const cVector3 hsb = cColorUtils::RGBToHSB(cVector3(r, g, b));
    cColorUtils::RGBToHSB(r, g, b, r, g, b);
    EXPECT_EQ(BitsOf(cVector3(r, g, b)), BitsOf(hsb));
}

// Through a colour space.

/// With Y = 1 the second column of fFromXYZ is the linear RGB, exactly.
std::unique_ptr<cColorSpace> SpaceThatGives(float pR, float pG, float pB)
{
    auto space = std::make_unique<cColorSpace_GenericRGB>();
    space->fFromXYZ = {0.0f, pR, 0.0f, 0.0f, pG, 0.0f, 0.0f, pB, 0.0f};
    space->fFromPCS = {pR, 0.0f, 0.0f, pG, 0.0f, 0.0f, pB, 0.0f, 0.0f};
    space->fToPCS = {1.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 1.0f};
    return space;
}

struct sWalk
{
    float fR, fG, fB;
    bool fResult;
    float fToR, fToG, fToB;
};

const sWalk kWalks[] = {
    {0.25f, 0.5f, 0.75f, true, 0.25f, 0.5f, 0.75f},
    {0.0f, 1.0f, 0.0f, true, 0.0f, 1.0f, 0.0f},
    {-0.25f, 0.5f, 0.75f, false, 0.0f, 0.5f, 0.75f},
    {0.25f, -0.5f, 0.75f, false, 0.25f, 0.0f, 0.75f},
    {0.25f, 0.5f, -0.75f, false, 0.25f, 0.5f, 0.0f},
    {1.5f, 0.5f, 0.75f, true, 1.0f, 0.5f, 0.75f},
    {0.25f, 0.5f, 2.0f, true, 0.25f, 0.5f, 1.0f},
    {-0.25f, 1.5f, 0.75f, true, 0.0f, 1.0f, 0.75f}, // the last component out of range decides
    {-0.25f, 0.5f, 1.5f, true, 0.0f, 0.5f, 1.0f},
    {1.5f, -0.5f, 0.75f, false, 1.0f, 0.0f, 0.75f},
    {1.5f, 0.5f, -0.75f, false, 1.0f, 0.5f, 0.0f},
    {-1.0f, 2.0f, -1.0f, false, 0.0f, 1.0f, 0.0f},
    {-1.0f, -1.0f, 2.0f, true, 0.0f, 0.0f, 1.0f},
    {kNaN, 0.5f, 0.75f, true, 1.0f, 0.5f, 0.75f}, // NaN counts as above 1
    {-1.0f, kNaN, 0.75f, true, 0.0f, 1.0f, 0.75f},
    {-1.0f, 0.5f, kNaN, true, 0.0f, 0.5f, 1.0f},
    {kInfinity, 0.5f, -kInfinity, false, 1.0f, 0.5f, 0.0f},
};

TEST(cColorUtils, TheGamutWalkLetsTheLastComponentOutOfRangeDecide)
{
    for (const sWalk& walk : kWalks) {
        const auto space = SpaceThatGives(walk.fR, walk.fG, walk.fB);
        const tThreeBits expected = BitsOf(cVector3(walk.fToR, walk.fToG, walk.fToB));
        cVector3 rgb;
        // An infinity times the zero of the other columns would be NaN, hence X = Z = 0: x = 0, y = 1.
        EXPECT_EQ(cColorUtils::xyYToRGBLinear(space.get(), 1.0f, 0.0f, 1.0f, rgb.x, rgb.y, rgb.z), walk.fResult);
        EXPECT_EQ(BitsOf(rgb), expected) << walk.fR << ' ' << walk.fG << ' ' << walk.fB;

        const auto source = SpaceThatGives(0.0f, 0.0f, 0.0f);
        const bool result =
            cColorUtils::RGBLinearToRGBLinear(source.get(), space.get(), 1.0f, 0.0f, 0.0f, rgb.x, rgb.y, rgb.z);
        const bool finite = std::isfinite(walk.fR) && std::isfinite(walk.fG) && std::isfinite(walk.fB);
        if (finite) {
            EXPECT_EQ(result, walk.fResult);
            EXPECT_EQ(BitsOf(rgb), expected) << walk.fR << ' ' << walk.fG << ' ' << walk.fB;
        }
    }
}

TEST(cColorUtils, xyYToRGBLinearTakesFromXYZ)
{
    const auto space = Patchwork();
    cRandom random(743);
    for (int i = 0; i < 3000; i++) {
        const cVector3 in(random.FloatBetween(0.0f, 1.0f), random.FloatBetween(0.2f, 0.45f),
                          random.FloatBetween(0.2f, 0.45f));
        const cVector3 xyz = Through(cColorUtils::xyYToXYZ, in);
        cVector3 expected = SlowTransform(NumbersOf(space->fFromXYZ), xyz);
        bool inside = true;
        for (float* component : {&expected.x, &expected.y, &expected.z}) {
            if (*component < 0.0f || *component > 1.0f) {
                inside = *component > 1.0f;
                *component = inside ? 1.0f : 0.0f;
            }
        }
        cVector3 rgb;
        ASSERT_EQ(cColorUtils::xyYToRGBLinear(space.get(), in.x, in.y, in.z, rgb.x, rgb.y, rgb.z), inside);
        ASSERT_EQ(BitsOf(rgb), BitsOf(expected));
    }
}

TEST(cColorUtils, xyToRGBLinearRaisesToZeroAndScalesTheLargestToOne)
{
    struct sCase
    {
        float fR, fG, fB;
        bool fResult;
        float fToR, fToG, fToB;
    };
    const sCase cases[] = {
        {0.25f, 0.5f, 0.125f, true, 0.5f, 1.0f, 0.25f},
        {2.0f, 4.0f, 1.0f, true, 0.5f, 1.0f, 0.25f}, // nothing is clamped at 1
        {-1.0f, 4.0f, 1.0f, false, 0.0f, 1.0f, 0.25f},
        {4.0f, -1.0f, 1.0f, false, 1.0f, 0.0f, 0.25f},
        {1.0f, 4.0f, -1.0f, false, 0.25f, 1.0f, 0.0f},
        {kNaN, 4.0f, 1.0f, false, 0.0f, 1.0f, 0.25f}, // not at least 0
        {1.0f, kNaN, 4.0f, false, 0.25f, 0.0f, 1.0f},
        {4.0f, 1.0f, kNaN, false, 1.0f, 0.25f, 0.0f},
        {0.0f, 0.0f, 0.0f, true, 0.0f, 0.0f, 0.0f}, // no scaling by the reciprocal of 0
        {-1.0f, -2.0f, -3.0f, false, 0.0f, 0.0f, 0.0f},
        {-1.0f, 0.0f, -3.0f, false, 0.0f, 0.0f, 0.0f},
    };
    for (const sCase& c : cases) {
        const auto space = SpaceThatGives(c.fR, c.fG, c.fB);
        cVector3 rgb;
        EXPECT_EQ(cColorUtils::xyToRGBLinear(space.get(), 0.25f, 0.5f, rgb.x, rgb.y, rgb.z), c.fResult);
        EXPECT_EQ(BitsOf(rgb), BitsOf(cVector3(c.fToR, c.fToG, c.fToB))) << c.fR << ' ' << c.fG << ' ' << c.fB;
    }
}

cVector3 SlowBrightest(const tFloats& pFromXYZ, float pX, float pY, bool* pInside)
{
    const float reciprocal = 1.0f / pY;
    const float rest = 1.0f - pY;
    const float z = rest - pX;
    cVector3 rgb = SlowTransform(pFromXYZ, {pX * reciprocal, 1.0f, z * reciprocal});
    *pInside = true;
    float largest = 0.0f;
    for (float* component : {&rgb.x, &rgb.y, &rgb.z}) {
        if (!(*component >= 0.0f)) {
            *component = 0.0f;
            *pInside = false;
        }
        if (*component > largest) largest = *component;
    }
    if (largest == 0.0f) return rgb;
    const float scale = 1.0f / largest;
    return {rgb.x * scale, rgb.y * scale, rgb.z * scale};
}

TEST(cColorUtils, xyToRGBLinearMultipliesByReciprocals)
{
    const auto space = Patchwork();
    cRandom random(744);
    for (int i = 0; i < 3000; i++) {
        const float x = random.FloatBetween(0.05f, 0.7f);
        const float y = random.FloatBetween(0.05f, 0.8f);
        bool inside = false;
        const cVector3 expected = SlowBrightest(NumbersOf(space->fFromXYZ), x, y, &inside);
        cVector3 rgb;
        ASSERT_EQ(cColorUtils::xyToRGBLinear(space.get(), x, y, rgb.x, rgb.y, rgb.z), inside);
        ASSERT_EQ(BitsOf(rgb), BitsOf(expected));
    }
}

TEST(cColorUtils, UprimeVprimeBecomesxy)
{
    const auto space = Patchwork();
    cRandom random(745);
    for (int i = 0; i < 3000; i++) {
        const float u = random.FloatBetween(0.1f, 0.4f);
        const float v = random.FloatBetween(0.3f, 0.55f);
        const float six = 6.0f * u;
        const float sixteen = 16.0f * v;
        const float difference = six - sixteen;
        const float d = 1.0f / (difference + 12.0f);
        const float nine = 9.0f * u;
        const float four = 4.0f * v;
        bool inside = false;
        const cVector3 expected = SlowBrightest(NumbersOf(space->fFromXYZ), nine * d, four * d, &inside);
        cVector3 rgb;
        ASSERT_EQ(cColorUtils::UprimeVprimeToRGBLinear(space.get(), u, v, rgb.x, rgb.y, rgb.z), inside);
        ASSERT_EQ(BitsOf(rgb), BitsOf(expected));
    }
}

TEST(cColorUtils, TheWhiteOfASpaceIsWhite)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        const auto space = Make(id);
        const cVector2 white = space->GetWhitePoint();
        cVector3 rgb;
        EXPECT_TRUE(cColorUtils::xyToRGBLinear(space.get(), white.x, white.y, rgb.x, rgb.y, rgb.z));
        EXPECT_EQ(std::max({rgb.x, rgb.y, rgb.z}), 1.0f) << id;
        EXPECT_NEAR(rgb.x, 1.0f, 1e-6f);
        EXPECT_NEAR(rgb.y, 1.0f, 1e-6f);
        EXPECT_NEAR(rgb.z, 1.0f, 1e-6f);
    }
    const auto sRGB = Make(eColorSpace_sRGB);
    cVector3 rgb;
    EXPECT_FALSE(cColorUtils::xyToRGBLinear(sRGB.get(), 0.1f, 0.8f, rgb.x, rgb.y, rgb.z)); // outside the gamut
    EXPECT_EQ(rgb.x, 0.0f);
    EXPECT_EQ(rgb.y, 1.0f);
}

TEST(cColorUtils, ToXYZAndToPCSTakeTheirOwnMatrix)
{
    const auto space = Patchwork();
    cRandom random(746);
    for (int i = 0; i < 3000; i++) {
        const cVector3 rgb = RandomColour(random, -1.0f, 2.0f);
        const cVector3 xyz = SlowTransform(NumbersOf(space->fToXYZ), rgb);
        cVector3 out;
        cColorUtils::RGBLinearToXYZ(space.get(), rgb.x, rgb.y, rgb.z, out.x, out.y, out.z);
        ASSERT_EQ(BitsOf(out), BitsOf(xyz));
        cColorUtils::RGBLinearToPCS(space.get(), rgb.x, rgb.y, rgb.z, out.x, out.y, out.z);
        ASSERT_EQ(BitsOf(out), BitsOf(SlowTransform(NumbersOf(space->fToPCS), rgb)));
        cVector2 chroma;
        cColorUtils::RGBLinearToxy(space.get(), rgb.x, rgb.y, rgb.z, chroma.x, chroma.y);
        ASSERT_EQ(BitsOf(chroma), BitsOf(cColorUtils::XYZToxy(xyz)));
    }
}

TEST(cColorUtils, BetweenSpacesTheMatricesAreMultipliedFirst)
{
    const auto source = Make(eColorSpace_AdobeRGB98);
    const auto destination = Make(eColorSpace_ProPhotoRGB);
    const tFloats from = NumbersOf(destination->fFromPCS);
    const tFloats to = NumbersOf(source->fToPCS);
    tFloats product;
    for (size_t i = 0; i < 9; i++)
        product[i] = RowTimes(&from[i / 3 * 3], {to[i % 3], to[3 + i % 3], to[6 + i % 3]});
    cRandom random(747);
    int different = 0;
    for (int i = 0; i < 3000; i++) {
        const cVector3 rgb = RandomColour(random, 0.0f, 0.9f);
        const cVector3 expected = SlowTransform(product, rgb);
        cVector3 out;
        ASSERT_TRUE(cColorUtils::RGBLinearToRGBLinear(source.get(), destination.get(), rgb.x, rgb.y, rgb.z, out.x,
                                                      out.y, out.z));
        ASSERT_EQ(BitsOf(out), BitsOf(expected));
        different += BitsOf(SlowTransform(from, SlowTransform(to, rgb))) != BitsOf(expected);
    }
    EXPECT_GT(different, 300); // the other order has other roundings
}

TEST(cColorUtils, IntoTheSameSpaceNothingChangesButRoundings)
{
    for (const eColorSpaceID id : {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB}) {
        const auto space = Make(id);
        cVector3 out;
        EXPECT_TRUE(cColorUtils::RGBLinearToRGBLinear(space.get(), space.get(), 0.2f, 0.5f, 0.8f, out.x, out.y, out.z));
        EXPECT_NEAR(out.x, 0.2f, 1e-6f);
        EXPECT_NEAR(out.y, 0.5f, 1e-6f);
        EXPECT_NEAR(out.z, 0.8f, 1e-6f);
    }
}

// Hue.

TEST(cColorUtils, HueOfPlainColours)
{
    struct sCase
    {
        cVector3 fRGB, fHSB;
    };
    const sCase cases[] = {
        {{0.0f, 0.0f, 0.0f}, {0.0f, 0.0f, 0.0f}},   {{0.3f, 0.3f, 0.3f}, {0.0f, 0.0f, 0.3f}},
        {{1.0f, 1.0f, 1.0f}, {0.0f, 0.0f, 1.0f}},   {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 1.0f}},
        {{1.0f, 1.0f, 0.0f}, {60.0f, 1.0f, 1.0f}}, // red is asked first
        {{0.0f, 1.0f, 0.0f}, {120.0f, 1.0f, 1.0f}}, {{0.0f, 1.0f, 1.0f}, {180.0f, 1.0f, 1.0f}},
        {{0.0f, 0.0f, 1.0f}, {240.0f, 1.0f, 1.0f}}, {{1.0f, 0.0f, 1.0f}, {300.0f, 1.0f, 1.0f}},
        {{1.0f, 0.0f, 0.5f}, {330.0f, 1.0f, 1.0f}},                                           // B above G adds 360
        {{0.5f, 0.25f, 0.25f}, {0.0f, 0.5f, 0.5f}}, {{2.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 1.0f}}, // clamped first
        {{2.0f, 3.0f, -1.0f}, {60.0f, 1.0f, 1.0f}}, {{-1.0f, -2.0f, -3.0f}, {0.0f, 0.0f, 0.0f}},
    };
    for (const sCase& c : cases) {
        EXPECT_EQ(BitsOf(cColorUtils::RGBToHSB(c.fRGB)), BitsOf(c.fHSB))
            << c.fRGB.x << ' ' << c.fRGB.y << ' ' << c.fRGB.z;
        cVector3 out;
        cColorUtils::RGBToHSB(c.fRGB.x, c.fRGB.y, c.fRGB.z, out.x, out.y, out.z);
        EXPECT_EQ(BitsOf(out), BitsOf(c.fHSB));
    }
}

TEST(cColorUtils, HueRoundsStepByStep)
{
    cRandom random(748);
    for (int i = 0; i < 5000; i++) {
        const cVector3 rgb = RandomColour(random, 0.0f, 1.0f);
        const float max = std::fmax(rgb.x, std::fmax(rgb.y, rgb.z));
        const float min = std::fmin(rgb.x, std::fmin(rgb.y, rgb.z));
        const float range = max - min;
        const float first = max == rgb.x ? rgb.y - rgb.z : max == rgb.y ? rgb.z - rgb.x : rgb.x - rgb.y;
        const float scaled = first * 60.0f;
        const float part = scaled / range;
        const float base = max == rgb.x ? (rgb.z > rgb.y ? 360.0f : 0.0f) : max == rgb.y ? 120.0f : 240.0f;
        const float ratio = min / max;
        const cVector3 expected(base == 0.0f ? part : part + base, 1.0f - ratio, max);
        ASSERT_EQ(BitsOf(cColorUtils::RGBToHSB(rgb)), BitsOf(expected));
    }
}

float SlowClamp(float pValue)
{
    return pValue < 0.0f ? 0.0f : pValue > 1.0f ? 1.0f : pValue;
}

cVector3 SlowHSBToRGB(float pH, float pS, float pV)
{
    const float perTurn = FromBits(0x3B360B61);
    const float perSector = FromBits(0x3C888889);
    const float turns = pH < 0.0f ? pH * -perTurn : pH * perTurn;
    const float whole = std::floor(turns);
    const float degrees = pH < 0.0f ? (1.0f - whole) * 360.0f : whole * 360.0f;
    const float hue = pH < 0.0f ? pH + degrees : pH - degrees;
    const float s = SlowClamp(pS), v = SlowClamp(pV);
    const float x = hue * perSector;
    const int k = static_cast<int>(std::floor(x));
    const float f = x - static_cast<float>(k);
    const float sf = s * f;
    const float left = 1.0f - sf;
    const float back = f - 1.0f;
    const float sb = s * back;
    const float right = 1.0f + sb;
    const float grey = 1.0f - s;
    const float p = SlowClamp(grey * v), q = SlowClamp(v * left), t = SlowClamp(v * right);
    const int sector = k - 6 * (k / 6);
    const cVector3 table[6] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    return sector >= 0 && sector < 6 ? table[sector] : cVector3();
}

TEST(cColorUtils, HSBToRGBRoundsStepByStep)
{
    cRandom random(749);
    for (int i = 0; i < 20000; i++) {
        const float range = i % 2 == 0 ? 370.0f : 5000.0f;
        const cVector3 hsb(random.FloatBetween(-range, range), random.FloatBetween(-0.2f, 1.2f),
                           random.FloatBetween(-0.2f, 1.2f));
        const cVector3 expected = SlowHSBToRGB(hsb.x, hsb.y, hsb.z);
        ASSERT_EQ(BitsOf(cColorUtils::HSBToRGB(hsb)), BitsOf(expected)) << hsb.x << ' ' << hsb.y << ' ' << hsb.z;
        cVector3 out;
        cColorUtils::HSBToRGB(hsb.x, hsb.y, hsb.z, out.x, out.y, out.z);
        ASSERT_EQ(BitsOf(out), BitsOf(expected));
    }
}

TEST(cColorUtils, EverySectorHasItsColours)
{
    struct sCase
    {
        float fH;
        cVector3 fRGB; // at S = 0.5, V = 1 and the middle of the sector
    };
    const sCase cases[] = {{30.0f, {1.0f, 0.75f, 0.5f}},  {90.0f, {0.75f, 1.0f, 0.5f}},  {150.0f, {0.5f, 1.0f, 0.75f}},
                           {210.0f, {0.5f, 0.75f, 1.0f}}, {270.0f, {0.75f, 0.5f, 1.0f}}, {330.0f, {1.0f, 0.5f, 0.75f}}};
    for (const sCase& c : cases) {
        const cVector3 rgb = cColorUtils::HSBToRGB(cVector3(c.fH, 0.5f, 1.0f));
        EXPECT_NEAR(rgb.x, c.fRGB.x, 1e-6f) << c.fH;
        EXPECT_NEAR(rgb.y, c.fRGB.y, 1e-6f) << c.fH;
        EXPECT_NEAR(rgb.z, c.fRGB.z, 1e-6f) << c.fH;
    }
}

tThreeBits RGBAtHue(float pH)
{
    return BitsOf(cColorUtils::HSBToRGB(cVector3(pH, 0.8f, 0.9f)));
}

TEST(cColorUtils, HuesWrap)
{
    EXPECT_EQ(RGBAtHue(360.0f), RGBAtHue(0.0f));
    EXPECT_EQ(RGBAtHue(-30.0f), RGBAtHue(330.0f));
    EXPECT_EQ(RGBAtHue(720.0f), RGBAtHue(0.0f));
    EXPECT_EQ(RGBAtHue(-0.0f), RGBAtHue(0.0f));
}

TEST(cColorUtils, NegativeHuesBeyondOneTurnStayNegative)
{
    const tThreeBits black = {0, 0, 0};
    EXPECT_EQ(RGBAtHue(-360.0f), black);
    EXPECT_EQ(RGBAtHue(-720.0f), RGBAtHue(0.0f)); // becomes -1080, which is -18 sectors exactly
    EXPECT_EQ(RGBAtHue(-1080.0f), black);         // becomes -1800, which is a little below -30 sectors
    EXPECT_EQ(RGBAtHue(-390.0f), black);          // wraps to a negative hue as well
    EXPECT_NE(RGBAtHue(-359.0f), black);
}

TEST(cColorUtils, TurnsAreCountedWithTheReciprocalOf360)
{
    // Just below five turns the product with the rounded-up reciprocal already counts five; a division would count
    // four. What is left is negative, in sector -1.
    const tThreeBits black = {0, 0, 0};
    EXPECT_EQ(RGBAtHue(FromBits(0x44E0FFFF)), black); // 1799.99988
    EXPECT_EQ(RGBAtHue(FromBits(0x454A7FFF)), black); // 3239.99976
}

TEST(cColorUtils, HuesBeyondEveryIntegerSaturate)
{
    const float hues[] = {3e11f, -3e11f, 1e30f, -1e30f, 3e38f, -3e38f, kInfinity, -kInfinity, kNaN};
    for (const float hue : hues) {
        const cVector3 rgb = cColorUtils::HSBToRGB(cVector3(hue, 0.8f, 0.9f));
        for (const float component : {rgb.x, rgb.y, rgb.z})
            EXPECT_FALSE(component < 0.0f || component > 1.0f) << hue;
    }
    // A hue of NaN stands in sector 0.
    const cVector3 rgb = cColorUtils::HSBToRGB(cVector3(kNaN, 0.5f, 1.0f));
    EXPECT_EQ(rgb.x, 1.0f);
    EXPECT_TRUE(std::isnan(rgb.y));
    EXPECT_EQ(rgb.z, 0.5f);
}

TEST(cColorUtils, HueGoesThereAndBack)
{
    cRandom random(750);
    for (int i = 0; i < 1000; i++) {
        const cVector3 rgb = RandomColour(random, 0.0f, 1.0f);
        const cVector3 back = cColorUtils::HSBToRGB(cColorUtils::RGBToHSB(rgb));
        ASSERT_NEAR(back.x, rgb.x, 4e-6f);
        ASSERT_NEAR(back.y, rgb.y, 4e-6f);
        ASSERT_NEAR(back.z, rgb.z, 4e-6f);
    }
}

// Transfer curves. The exponents, factor and offset as doubles, as they come out of single precision.

float SlowsRGBToLinear(float pValue)
{
    if (pValue <= FromBits(0x3D25AEE6)) return pValue * FromBits(0x3D9E8391);
    const float sum = pValue + 0.055f;
    const float scaled = sum * 0.9478673f;
    return Rounded(std::pow(static_cast<double>(scaled), 2.4000000953674316));
}

float SlowsRGBFromLinear(float pValue)
{
    if (pValue <= FromBits(0x3B4D2E1C)) return pValue * FromBits(0x414EB852);
    const double scaled = std::pow(static_cast<double>(pValue), 0.4166666567325592) * 1.0549999475479126;
    return Rounded(scaled - 0.054999999701976776);
}

float SlowProPhotoToLinear(float pValue)
{
    return Rounded(std::pow(static_cast<double>(pValue), 1.7999999523162842));
}

float SlowProPhotoFromLinear(float pValue)
{
    return Rounded(std::pow(static_cast<double>(pValue), 0.55555558204650879));
}

cVector3 Each(float (*pCurve)(float), cVector3 pIn)
{
    return {pCurve(pIn.x), pCurve(pIn.y), pCurve(pIn.z)};
}

/// The bits, all NaN alike.
tThreeBits BitsOrNaN(cVector3 pColour)
{
    const auto one = [](float pValue) { return std::isnan(pValue) ? 0x7fc00000u : Bits(pValue); };
    return {one(pColour.x), one(pColour.y), one(pColour.z)};
}

void ExpectCurve(tThree pOperation, float (*pCurve)(float), float pLow, float pHigh)
{
    cRandom random(751);
    for (int i = 0; i < 5000; i++) {
        const cVector3 in = RandomColour(random, pLow, pHigh);
        ASSERT_EQ(BitsOrNaN(Through(pOperation, in)), BitsOrNaN(Each(pCurve, in)))
            << in.x << ' ' << in.y << ' ' << in.z;
    }
}

TEST(cColorUtils, CurvesHaveTheBitsOfTheirFormulas)
{
    for (const auto& [low, high] : {std::pair{0.0f, 1.0f}, std::pair{0.0f, 0.08f}, std::pair{-2.0f, 3.0f}}) {
        ExpectCurve(cColorUtils::sRGBToLinear, SlowsRGBToLinear, low, high);
        ExpectCurve(cColorUtils::sRGBFromLinear, SlowsRGBFromLinear, low, high);
        ExpectCurve(cColorUtils::ProPhotoToLinear, SlowProPhotoToLinear, low, high);
        ExpectCurve(cColorUtils::ProPhotoFromLinear, SlowProPhotoFromLinear, low, high);
    }
    ExpectCurve(cColorUtils::sRGBFromLinear, SlowsRGBFromLinear, 0.0f, 0.006f);
}

float One(tThree pOperation, float pValue)
{
    const cVector3 out = Through(pOperation, {pValue, pValue, pValue});
    EXPECT_EQ(Bits(out.x), Bits(out.y));
    EXPECT_EQ(Bits(out.x), Bits(out.z));
    return out.x;
}

TEST(cColorUtils, JunctionsBelongToTheLine)
{
    const float decode = FromBits(0x3D25AEE6), encode = FromBits(0x3B4D2E1C); // 0.04045, 0.0031308
    EXPECT_EQ(Bits(One(cColorUtils::sRGBToLinear, decode)), Bits(decode * FromBits(0x3D9E8391)));
    EXPECT_EQ(Bits(One(cColorUtils::sRGBFromLinear, encode)), Bits(encode * FromBits(0x414EB852)));
    // One step further the power has another value than the line would have.
    const float above = std::nextafter(decode, 1.0f);
    EXPECT_EQ(Bits(One(cColorUtils::sRGBToLinear, above)), Bits(SlowsRGBToLinear(above)));
    EXPECT_NE(Bits(SlowsRGBToLinear(above)), Bits(above * FromBits(0x3D9E8391)));
    const float encodeAbove = std::nextafter(encode, 1.0f);
    EXPECT_EQ(Bits(One(cColorUtils::sRGBFromLinear, encodeAbove)), Bits(SlowsRGBFromLinear(encodeAbove)));
    EXPECT_NE(Bits(SlowsRGBFromLinear(encodeAbove)), Bits(encodeAbove * FromBits(0x414EB852)));
}

TEST(cColorUtils, NegativeValuesStayOnThesRGBLineAndFollowThePowerOfProPhoto)
{
    EXPECT_EQ(Bits(One(cColorUtils::sRGBToLinear, -0.5f)), Bits(-0.5f * FromBits(0x3D9E8391)));
    EXPECT_EQ(Bits(One(cColorUtils::sRGBFromLinear, -0.5f)), Bits(-0.5f * FromBits(0x414EB852)));
    const cVector3 in(-0.5f, -0.25f, -1.0f);
    for (const tThree operation : {tThree(cColorUtils::ProPhotoToLinear), tThree(cColorUtils::ProPhotoFromLinear)}) {
        const cVector3 out = Through(operation, in);
        EXPECT_TRUE(std::isnan(out.x) && std::isnan(out.y) && std::isnan(out.z));
    }
}

TEST(cColorUtils, CurvesDoNotClamp)
{
    EXPECT_GT(One(cColorUtils::sRGBToLinear, 2.0f), 4.0f);
    EXPECT_GT(One(cColorUtils::sRGBFromLinear, 2.0f), 1.3f);
    EXPECT_GT(One(cColorUtils::ProPhotoToLinear, 2.0f), 3.4f);
    EXPECT_GT(One(cColorUtils::ProPhotoFromLinear, 2.0f), 1.4f);
    EXPECT_NEAR(One(cColorUtils::sRGBFromLinear, 1.0f), 1.0f, 2e-7f);
    EXPECT_EQ(One(cColorUtils::ProPhotoToLinear, 1.0f), 1.0f);
}

// Fixed spaces. Each number the nearest float to its decimal.

constexpr tBits ksRGBToPCS = {0x3edf3e43, 0x3ec52cfe, 0x3e1283e1, 0x3e63d08a, 0x3f378731,
                              0x3d784ad0, 0x3c6432d0, 0x3dc6dd29, 0x3f36d319};
constexpr tBits kPCSTosRGB = {0x40489891, 0xbfcf017e, 0xbefb3b2b, 0xbf7a8ef4, 0x3ff54339,
                              0x3d0902a8, 0x3d935991, 0xbe6a7b69, 0x3fb3dfec};
constexpr tBits kProPhotoToPCS = {0x3f4c33ed, 0x3e0a6fd3, 0x3d006b83, 0x3e9379a3, 0x3f363d91,
                                  0x38b3a5c8, 0xb30af859, 0x3258d976, 0x3f533f89};
constexpr tBits kPCSToProPhoto = {0x3fac4849, 0xbe82df50, 0xbd515b17, 0xbf0b6ab0, 0x3fc10b6b,
                                  0x3ca83924, 0x338339c3, 0xb30e210a, 0x3f9b1dbd};
constexpr tBits ksRGBToProPhoto = {0x3f077f63, 0x3ea9068c, 0x3e0ff548, 0x3dc9701a, 0x3f5f9c18,
                                   0x3ce6bbea, 0x3c8a4550, 0x3df0fe03, 0x3f5d8e1a};
constexpr tBits kProPhotoTosRGB = {0x40023236, 0xbf3a3fd1, 0xbe9d1203, 0xbe6a4a66, 0x3f9da8f6,
                                   0xbb3f5657, 0xbc0c5855, 0xbe1cf64b, 0x3f94b779};

cVector3 SlowTransform(const tBits& pMatrix, cVector3 pIn)
{
    return SlowTransform(std::bit_cast<tFloats>(pMatrix), pIn);
}

TEST(cColorUtils, FixedConversionsAreCurveMatrixCurve)
{
    cRandom random(752);
    for (int i = 0; i < 4000; i++) {
        const cVector3 in = RandomColour(random, i % 2 == 0 ? 0.0f : -0.3f, 1.3f);
        const cVector3 fromsRGB = Each(SlowsRGBToLinear, in);
        const cVector3 fromProPhoto = Each(SlowProPhotoToLinear, in);
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::sRGBToPCS, in)), BitsOrNaN(SlowTransform(ksRGBToPCS, fromsRGB)));
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::sRGBFromPCS, in)),
                  BitsOrNaN(Each(SlowsRGBFromLinear, SlowTransform(kPCSTosRGB, in))));
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::ProPhotoToPCS, in)),
                  BitsOrNaN(SlowTransform(kProPhotoToPCS, fromProPhoto)));
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::ProPhotoFromPCS, in)),
                  BitsOrNaN(Each(SlowProPhotoFromLinear, SlowTransform(kPCSToProPhoto, in))));
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::sRGBToProPhoto, in)),
                  BitsOrNaN(Each(SlowProPhotoFromLinear, SlowTransform(ksRGBToProPhoto, fromsRGB))));
        const cVector3 clamped = Each(SlowClamp, SlowTransform(kProPhotoTosRGB, fromProPhoto));
        ASSERT_EQ(BitsOrNaN(Through(cColorUtils::ProPhotoTosRGB, in)), BitsOrNaN(Each(SlowsRGBFromLinear, clamped)));
    }
}

TEST(cColorUtils, VectorFormsPackTheThreeFloatForms)
{
    const std::pair<tThree, tVectors> pairs[] = {{cColorUtils::sRGBToPCS, cColorUtils::sRGBToPCS},
                                                 {cColorUtils::sRGBFromPCS, cColorUtils::sRGBFromPCS},
                                                 {cColorUtils::ProPhotoToPCS, cColorUtils::ProPhotoToPCS},
                                                 {cColorUtils::ProPhotoFromPCS, cColorUtils::ProPhotoFromPCS},
                                                 {cColorUtils::RGBToHSB, cColorUtils::RGBToHSB},
                                                 {cColorUtils::HSBToRGB, cColorUtils::HSBToRGB}};
    const cVector3 in(0.2f, 0.5f, 0.7f);
    for (const auto& [three, vectors] : pairs)
        EXPECT_EQ(BitsThrough(three, in), BitsOf(vectors(in)));
}

TEST(cColorUtils, EachComponentReachesTheMatrixFromItsOwnPlace)
{
    // A single component lights one column; the exact numbers of the table come through where the curve gives 1.
    for (size_t column = 0; column < 3; column++) {
        const cVector3 in(column == 0 ? 1.0f : 0.0f, column == 1 ? 1.0f : 0.0f, column == 2 ? 1.0f : 0.0f);
        const tThreeBits expected = {kProPhotoToPCS[column], kProPhotoToPCS[3 + column], kProPhotoToPCS[6 + column]};
        EXPECT_EQ(BitsThrough(cColorUtils::ProPhotoToPCS, in), expected);
    }
}

TEST(cColorUtils, OnlyProPhotoTosRGBClamps)
{
    const cVector3 green(0.0f, 1.0f, 0.0f); // far outside sRGB
    const cVector3 clamped = Through(cColorUtils::ProPhotoTosRGB, green);
    EXPECT_EQ(Bits(clamped.x), Bits(0.0f));
    EXPECT_EQ(Bits(clamped.y), Bits(SlowsRGBFromLinear(1.0f)));
    EXPECT_EQ(Bits(clamped.z), Bits(0.0f));
    const cVector3 open = cColorUtils::sRGBFromPCS(cColorUtils::ProPhotoToPCS(green));
    EXPECT_LT(open.x, 0.0f);
    EXPECT_GT(open.y, 1.0f);
    EXPECT_GT(Through(cColorUtils::sRGBToProPhoto, {2.0f, 2.0f, 2.0f}).x, 1.5f);
}

TEST(cColorUtils, FixedMatricesAgreeWithTheColourSpaces)
{
    const auto sRGB = Make(eColorSpace_sRGB);
    const auto proPhoto = Make(eColorSpace_ProPhotoRGB);
    const auto expectNear = [](const tBits& pFixed, const cMatrix33& pMatrix) {
        const tFloats numbers = NumbersOf(pMatrix);
        for (size_t i = 0; i < 9; i++)
            EXPECT_NEAR(FromBits(pFixed[i]), numbers[i], 5e-7f) << i;
    };
    expectNear(ksRGBToPCS, sRGB->fToPCS);
    expectNear(kPCSTosRGB, sRGB->fFromPCS);
    expectNear(kProPhotoToPCS, proPhoto->fToPCS);
    expectNear(kPCSToProPhoto, proPhoto->fFromPCS);
}

} // namespace
