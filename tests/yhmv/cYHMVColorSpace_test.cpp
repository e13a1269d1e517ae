#include "yhmv/cYHMVColorSpace.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "curve/cTransfer.h"
#include "support/Allocations.h"
#include "support/Capture.h"
#include "yhmv/Twin.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <type_traits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const unsigned char* Row(const cBitmapU16T& pRecords, int pY)
{
    return reinterpret_cast<const unsigned char*>(pRecords.GetScanline(pY));
}

void Fill(cBitmapU16T& pRecords, unsigned char pByte)
{
    for (int y = 0; y < pRecords.fHeight; ++y)
        std::memset(pRecords.GetScanline(y), pByte, static_cast<size_t>(pRecords.fStride));
}

// ---- the object ----

TEST(YHMVObject, IsNothingButItsTable)
{
    EXPECT_EQ(sizeof(cYHMVColorSpace), 786432u);
    EXPECT_EQ(offsetof(cYHMVColorSpace, fHMVToRGBLUT), 0u);
    EXPECT_EQ(sizeof(cYHMVColorSpace::fHMVToRGBLUT), 65536u * 3u * 4u);
    EXPECT_TRUE(std::is_standard_layout_v<cYHMVColorSpace>);
    EXPECT_FALSE(std::is_polymorphic_v<cYHMVColorSpace>);
    EXPECT_FALSE(std::is_copy_constructible_v<cYHMVColorSpace>);
    EXPECT_FALSE(std::is_copy_assignable_v<cYHMVColorSpace>);
}

// ---- point forms ----

struct sPoint
{
    float fH, fM, fV;
};

sPoint Split(float R, float G, float B)
{
    sPoint p{};
    cYHMVColorSpace::RGBToHMV(R, G, B, p.fH, p.fM, p.fV);
    return p;
}

TEST(PointRGBToHMV, HueRunsFromRedThroughGreenAndBlue)
{
    const float k = FromBits(0x3B360B61); // degrees to the unit scale
    EXPECT_EQ(Split(1, 0, 0).fH, 0.0f);
    EXPECT_EQ(Split(1, 1, 0).fH, 60.0f * k);
    EXPECT_EQ(Split(0, 1, 0).fH, 120.0f * k);
    EXPECT_EQ(Split(0, 1, 1).fH, 180.0f * k);
    EXPECT_EQ(Split(0, 0, 1).fH, 240.0f * k);
    EXPECT_EQ(Split(1, 0, 1).fH, 300.0f * k);
    EXPECT_EQ(Split(1, 0, 0.5f).fH, 330.0f * k);
}

TEST(PointRGBToHMV, AGreyHasHueZero)
{
    for (const float grey : {0.0f, 0.3f, -2.0f, 1e30f, kInfinity}) {
        const sPoint p = Split(grey, grey, grey);
        EXPECT_EQ(Bits(p.fH), 0u);
        EXPECT_EQ(p.fM, grey);
        EXPECT_EQ(p.fV, grey);
    }
}

TEST(PointRGBToHMV, NothingIsClampedAndNoMarkerIsUsed)
{
    const sPoint p = Split(-3.0f, -2.0f, -4.0f);
    EXPECT_EQ(p.fM, -4.0f);
    EXPECT_EQ(p.fV, -2.0f);
    EXPECT_EQ(Split(7.0f, 2.0f, -4.0f).fV, 7.0f);
}

TEST(PointRGBToHMV, ANaNPrimaryIsPassedOver)
{
    EXPECT_EQ(Split(kNaN, 2, 3).fM, 2.0f);
    EXPECT_EQ(Split(kNaN, 2, 3).fV, 3.0f);
    EXPECT_EQ(Split(2, kNaN, 3).fM, 2.0f);
    EXPECT_EQ(Split(3, kNaN, 2).fV, 3.0f);
    EXPECT_EQ(Split(2, 3, kNaN).fM, 2.0f);
    EXPECT_EQ(Split(2, 3, kNaN).fV, 3.0f);
    EXPECT_EQ(Split(kNaN, kNaN, 3).fM, 3.0f);
    EXPECT_TRUE(std::isnan(Split(kNaN, kNaN, kNaN).fV));
}

// With a red that is the largest and a blue that is NaN neither red row holds, nor the green one: the last row is left.
TEST(PointRGBToHMV, TheFirstRowThatHoldsGivesTheHue)
{
    EXPECT_EQ(Split(3, 1, kNaN).fH, 300.0f * FromBits(0x3B360B61));
    EXPECT_TRUE(std::isnan(Split(3, kNaN, 1).fH));
}

bool SameFloat(float pA, float pB)
{
    return Bits(pA) == Bits(pB) || (std::isnan(pA) && std::isnan(pB));
}

// Zeros of both signs among the primaries leave the sign of a zero extreme open; all else is exact.
void ExpectSplitLikeTwin(float R, float G, float B)
{
    const float min = TwinMin(R, TwinMin(G, B));
    const float max = TwinMax(R, TwinMax(G, B));
    const float hue = min == max ? 0.0f : TwinDegrees(R, G, B, min, max) * FromBits(0x3B360B61);
    const sPoint p = Split(R, G, B);
    EXPECT_TRUE(SameFloat(p.fH, hue)) << R << ' ' << G << ' ' << B << " hue " << p.fH << " instead of " << hue;
    EXPECT_TRUE(SameFloat(p.fM, min) || (p.fM == 0.0f && min == 0.0f)) << R << ' ' << G << ' ' << B;
    EXPECT_TRUE(SameFloat(p.fV, max) || (p.fV == 0.0f && max == 0.0f)) << R << ' ' << G << ' ' << B;
}

TEST(PointRGBToHMV, EqualsTheFormulaBitForBit)
{
    cRandom random(1);
    for (int i = 0; i < 200000; ++i)
        ExpectSplitLikeTwin(random.Between(-0.2f, 1), random.Between(-0.2f, 1), random.Between(-0.2f, 1));
    for (int i = 0; i < 50000; ++i)
        ExpectSplitLikeTwin(random.AnyBits(), random.AnyBits(), random.AnyBits());
    for (const float R : Extremes())
        for (const float G : Extremes())
            for (const float B : Extremes())
                ExpectSplitLikeTwin(R, G, B);
}

struct sRGB
{
    float fR, fG, fB;
};

sRGB Join(float H, float M, float V)
{
    sRGB c{};
    cYHMVColorSpace::HMVToRGB(H, M, V, c.fR, c.fG, c.fB);
    return c;
}

void ExpectColor(const sRGB& pColor, float R, float G, float B)
{
    EXPECT_EQ(pColor.fR, R);
    EXPECT_EQ(pColor.fG, G);
    EXPECT_EQ(pColor.fB, B);
}

// A quarter of the way into each sextant; the unit hues are exact thirds of powers of two only in the sum below.
TEST(PointHMVToRGB, EachSextantHasItsRow)
{
    const float low = 1.0f, high = 3.0f;
    const float f = 0.25f * 6.0f - 1.0f; // the fraction at hue 0.25
    ExpectColor(Join(0.0625f, low, high), high, low + 0.375f * (high - low), low);
    ExpectColor(Join(0.25f, low, high), high - f * (high - low), high, low);
    ExpectColor(Join(0.375f, low, high), low, high, low + 0.25f * (high - low));
    ExpectColor(Join(0.5625f, low, high), low, high - 0.375f * (high - low), high);
    ExpectColor(Join(0.75f, low, high), low + 0.5f * (high - low), low, high);
    ExpectColor(Join(0.875f, low, high), high, low, high - 0.25f * (high - low));
}

TEST(PointHMVToRGB, AWholeTurnIsNone)
{
    ExpectColor(Join(1.0f, 0.25f, 2.0f), 2.0f, 0.25f, 0.25f);
    ExpectColor(Join(0.0f, 0.25f, 2.0f), 2.0f, 0.25f, 0.25f);
    ExpectColor(Join(2.0625f, 1.0f, 3.0f), 3.0f, 1.75f, 1.0f);
}

// -1/16 of a turn: the remainder of -1 is -1, which has no row of its own.
TEST(PointHMVToRGB, ANegativeHueTakesTheLastRow)
{
    const float f = -0.375f + 1.0f;
    ExpectColor(Join(-0.0625f, 1.0f, 3.0f), 3.0f, 1.0f, 3.0f - f * 2.0f);
    ExpectColor(Join(-0.5f, 1.0f, 3.0f), 3.0f, 1.0f, 3.0f); // whole = -3
    ExpectColor(Join(-1.0f, 1.0f, 3.0f), 3.0f, 1.0f, 1.0f); // whole = -6, remainder 0
}

TEST(PointHMVToRGB, HuesBeyondTheIntegersSaturate)
{
    ExpectColor(Join(1e30f, 1.0f, 3.0f), 3.0f, 3.0f, 1.0f);  // 2147483647 leaves 1, the fraction 0
    ExpectColor(Join(-1e30f, 1.0f, 3.0f), 3.0f, 1.0f, 3.0f); // -2147483648 leaves -2
    const sRGB nan = Join(kNaN, 1.0f, 3.0f);                 // 0
    EXPECT_EQ(nan.fR, 3.0f);
    EXPECT_TRUE(std::isnan(nan.fG));
    EXPECT_EQ(nan.fB, 1.0f);
    EXPECT_TRUE(std::isnan(Join(kInfinity, 1.0f, 3.0f).fR));
    EXPECT_EQ(Join(kInfinity, 1.0f, 3.0f).fG, 3.0f);
}

void ExpectJoinLikeTwin(float H, float M, float V)
{
    float expected[3];
    TwinHMVToRGB(H, M, V, expected);
    const sRGB c = Join(H, M, V);
    EXPECT_TRUE(SameFloat(c.fR, expected[0]) && SameFloat(c.fG, expected[1]) && SameFloat(c.fB, expected[2]))
        << H << ' ' << M << ' ' << V;
}

TEST(PointHMVToRGB, EqualsTheFormulaBitForBit)
{
    cRandom random(2);
    for (int i = 0; i < 200000; ++i)
        ExpectJoinLikeTwin(random.Between(-0.1f, 1.1f), random.Between(-1, 1), random.Between(0, 2));
    for (int i = 0; i < 50000; ++i)
        ExpectJoinLikeTwin(random.AnyBits(), random.AnyBits(), random.AnyBits());
    for (const float H : Extremes())
        for (const float M : Extremes())
            for (const float V : Extremes())
                ExpectJoinLikeTwin(H, M, V);
}

// ---- the table ----

void ExpectEntry(const cYHMVColorSpace& pSpace, int pAt, float H, float M)
{
    float expected[3];
    TwinHMVToRGB(H, M, 1.0f, expected);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(Bits(pSpace.fHMVToRGBLUT[pAt][k]), Bits(expected[k])) << pAt << ' ' << k;
}

void ExpectNeutral(const cYHMVColorSpace& pSpace)
{
    for (int i = 0; i < 65536; ++i)
        ExpectEntry(pSpace, i, static_cast<float>(i) * FromBits(0x37800080), 0.0f);
}

TEST(HueTable, IsNeutralFromConstructionOn)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    ExpectNeutral(*space);
    EXPECT_EQ(space->fHMVToRGBLUT[0][0], 1.0f);
    EXPECT_EQ(space->fHMVToRGBLUT[0][1], 0.0f);
    EXPECT_EQ(space->fHMVToRGBLUT[65535][0], 1.0f); // hue 1 is hue 0
    EXPECT_EQ(space->fHMVToRGBLUT[65535][1], 0.0f);
    EXPECT_EQ(space->fHMVToRGBLUT[65535][2], 0.0f);
}

struct sCurves
{
    std::vector<float> fSaturation = std::vector<float>(65536, 0.5f);
    std::vector<unsigned short> fShift = std::vector<unsigned short>(65536, 32767);
};

TEST(HueTable, ComputeRestoresTheNeutralTable)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    std::memset(static_cast<void*>(space.get()), 0x55, sizeof *space);
    space->ComputeHMVToRGBLUT();
    ExpectNeutral(*space);
}

TEST(HueTable, NeutralCurvesRebuildTheNeutralTable)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    std::memset(static_cast<void*>(space.get()), 0x55, sizeof *space);
    sCurves curves;
    space->UpdateHMVToRGBLUT(curves.fSaturation.data(), curves.fShift.data());
    ExpectNeutral(*space);
}

TEST(HueTable, AShiftWrapsAroundTheCircle)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    sCurves curves;
    curves.fShift[65000] = 40000;
    curves.fShift[10] = 0;
    curves.fShift[65535] = 65535;
    space->UpdateHMVToRGBLUT(curves.fSaturation.data(), curves.fShift.data());
    ExpectEntry(*space, 65000, 6697.0f * FromBits(0x37800080), 0.0f);
    ExpectEntry(*space, 10, 32779.0f * FromBits(0x37800080), 0.0f);
    ExpectEntry(*space, 65535, 32767.0f * FromBits(0x37800080), 0.0f);
}

TEST(HueTable, SaturationSetsTheSmallestPrimary)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    sCurves curves;
    curves.fSaturation[0] = 0.0f;
    curves.fSaturation[1] = 1.0f;
    curves.fSaturation[2] = 0.3f;
    space->UpdateHMVToRGBLUT(curves.fSaturation.data(), curves.fShift.data());
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(space->fHMVToRGBLUT[0][k], 1.0f); // a grey
    EXPECT_EQ(space->fHMVToRGBLUT[1][2], -1.0f);
    EXPECT_EQ(space->fHMVToRGBLUT[2][2], std::fma(-2.0f, 0.3f, 1.0f));
}

TEST(HueTable, CurvesEqualTheFormulaBitForBit)
{
    const auto space = std::make_unique<cYHMVColorSpace>();
    cRandom random(3);
    sCurves curves;
    for (int i = 0; i < 65536; ++i) {
        curves.fSaturation[static_cast<size_t>(i)] = i % 64 == 0 ? random.Extreme() : random.Unit();
        curves.fShift[static_cast<size_t>(i)] = static_cast<unsigned short>(random.Word());
    }
    space->UpdateHMVToRGBLUT(curves.fSaturation.data(), curves.fShift.data());
    for (int i = 0; i < 65536; ++i) {
        const int h = (curves.fShift[static_cast<size_t>(i)] + i - 32767 + 65536) % 65536;
        const float m = std::fma(-2.0f, curves.fSaturation[static_cast<size_t>(i)], 1.0f);
        float expected[3];
        TwinHMVToRGB(static_cast<float>(h) * FromBits(0x37800080), m, 1.0f, expected);
        for (int k = 0; k < 3; ++k)
            EXPECT_TRUE(SameFloat(space->fHMVToRGBLUT[i][k], expected[k])) << i << ' ' << k;
    }
}

// ---- XYZ ----

void ExpectYHMV(const unsigned char* pAt, const sTwinRecord& pExpected)
{
    unsigned char expected[YHMVPixel::kBytes];
    WriteYHMV(expected, pExpected);
    const sTwinRecord r = ReadYHMV(pAt);
    EXPECT_EQ(std::memcmp(pAt, expected, sizeof expected), 0)
        << "Y " << r.Y << " H " << r.H << " M " << r.M << " V " << r.V << " instead of Y " << pExpected.Y << " H "
        << pExpected.H << " M " << pExpected.M << " V " << pExpected.V;
}

sTwinRecord EncodeOne(float X, float Y, float Z)
{
    cBitmapXYZ32 input(1, 1);
    const float pixel[3] = {X, Y, Z};
    std::memcpy(input.fData, pixel, sizeof pixel);
    cBitmapU16T output(1, 1, YHMVPixel::kPlanes);
    bool cancel = false, cancelled = false;
    cYHMVColorSpace::XYZToYHMV(&cancel, &cancelled, &input, &output);
    return ReadYHMV(Row(output, 0));
}

TEST(XYZToYHMV, NoLuminanceBecomesTheDarkNeutral)
{
    for (const float Y : {0.0f, -0.0f, -1.0f, -kInfinity}) {
        const sTwinRecord r = EncodeOne(0.5f, Y, 0.25f);
        EXPECT_EQ(Bits(r.Y), 0x358637BDu);
        EXPECT_EQ(r.H, 0);
        EXPECT_EQ(r.M, 1.0f);
        EXPECT_EQ(r.V, 1.0f);
    }
}

// With Y above 0 some primary is above 0 as long as all is finite; infinities and NaN leave none.
TEST(XYZToYHMV, AColourWithoutLightBecomesTheSecondMarkerUnderItsLuminance)
{
    for (const sTwinRecord& r : {EncodeOne(kNaN, 1.5f, 0.5f), EncodeOne(0.5f, 1.5f, kNaN)}) {
        EXPECT_EQ(r.Y, 1.5f);
        EXPECT_EQ(r.H, 0);
        EXPECT_EQ(Bits(r.M), 0u);
        EXPECT_EQ(Bits(r.V), 0x00800000u);
    }
}

TEST(XYZToYHMV, ANaNLuminanceKeepsItsBitsUnderTheSecondMarker)
{
    const sTwinRecord r = EncodeOne(0.5f, FromBits(0x7FC12345), 0.5f);
    EXPECT_EQ(Bits(r.Y), 0x7FC12345u);
    EXPECT_EQ(r.H, 0);
    EXPECT_EQ(Bits(r.M), 0u);
    EXPECT_EQ(Bits(r.V), 0x00800000u);
}

TEST(XYZToYHMV, ALuminanceAboveZeroGoesInAsItCame)
{
    for (const float Y : {FromBits(1), 1e-30f, 1.0f, 3e38f, kInfinity})
        EXPECT_EQ(Bits(EncodeOne(0.5f, Y, 0.5f).Y), Bits(Y));
}

TEST(XYZToYHMV, OutOfGamutColoursKeepANegativeSmallestPrimary)
{
    EXPECT_LT(EncodeOne(0.0f, 1.0f, 0.0f).M, 0.0f);
}

// Fills a picture with colours of all kinds: ordinary ones, 12 decades of luminance, values at which rules change, any
// bits.
void FillXYZ(cRandom& pRandom, cBitmapXYZ32& pPicture)
{
    float* row = pPicture.fData;
    for (int y = 0; y < pPicture.fHeight; ++y, row += pPicture.fStride / 4)
        for (int n = 0; n < 3 * pPicture.fWidth; n += 3) {
            const int kind = pRandom.Below(8);
            const float level = std::exp2(pRandom.Between(-20, 20));
            for (int k = 0; k < 3; ++k)
                row[n + k] = kind < 5    ? level * pRandom.Unit()
                             : kind == 5 ? level * pRandom.Between(-1, 1)
                             : kind == 6 ? pRandom.Extreme()
                                         : pRandom.AnyBits();
        }
}

void ExpectXYZLikeTwin(const cBitmapXYZ32& pInput, const cBitmapU16T& pOutput)
{
    for (int y = 0; y < pInput.fHeight; ++y) {
        const float* from = pInput.fData + static_cast<ptrdiff_t>(y) * (pInput.fStride / 4);
        for (int x = 0; x < pInput.fWidth; ++x)
            ExpectYHMV(Row(pOutput, y) + YHMVPixel::kBytes * x, TwinXYZ(from[3 * x], from[3 * x + 1], from[3 * x + 2]));
    }
}

TEST(XYZToYHMV, EqualsTheFormulaBitForBitAtEveryWidth)
{
    cRandom random(4);
    for (int width = 1; width <= 300; ++width) {
        cBitmapXYZ32 input(width, 3);
        FillXYZ(random, input);
        cBitmapU16T output(width, 3, YHMVPixel::kPlanes);
        Fill(output, 0xA5);
        cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &input, &output);
        ExpectXYZLikeTwin(input, output);
        for (int n = YHMVPixel::kBytes * width; n < output.fStride; ++n)
            ASSERT_EQ(Row(output, 2)[n], 0xA5) << "padding touched at width " << width;
    }
}

TEST(XYZToYHMV, EqualsTheFormulaAtEveryChangeOfARule)
{
    const int count = static_cast<int>(Extremes().size());
    cBitmapXYZ32 input(count * count, count);
    for (int y = 0; y < count; ++y)
        for (int x = 0; x < count * count; ++x) {
            float* at = input.fData + static_cast<ptrdiff_t>(y) * (input.fStride / 4) + 3 * x;
            at[0] = Extremes()[static_cast<size_t>(x / count)];
            at[1] = Extremes()[static_cast<size_t>(y)];
            at[2] = Extremes()[static_cast<size_t>(x % count)];
        }
    cBitmapU16T output(count * count, count, YHMVPixel::kPlanes);
    cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &input, &output);
    ExpectXYZLikeTwin(input, output);
}

TEST(XYZToYHMV, RowsOfSeveralTilesAreReachedOneByOne)
{
    cRandom random(5);
    cBitmapXYZ32 input(20000, 41);
    FillXYZ(random, input);
    cBitmapU16T output(20000, 41, YHMVPixel::kPlanes);
    ASSERT_GT(output.fTileCount, 1);
    cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &input, &output);
    for (int y = 0; y < 41; y += 8)
        for (int x = 0; x < 20000; x += 97) {
            const float* from = input.fData + static_cast<ptrdiff_t>(y) * (input.fStride / 4) + 3 * x;
            ExpectYHMV(Row(output, y) + YHMVPixel::kBytes * x, TwinXYZ(from[0], from[1], from[2]));
        }
}

// A stride that is no multiple of 4 bytes is rounded down to whole floats.
TEST(XYZToYHMV, TheStrideIsCutToWholeFloats)
{
    cRandom random(6);
    cBitmapXYZ32 input(8, 4);
    FillXYZ(random, input);
    input.fWidth = 3;
    input.fStride = 4 * 11 + 3;
    cBitmapU16T output(3, 4, YHMVPixel::kPlanes);
    cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &input, &output);
    ExpectXYZLikeTwin(input, output);
}

TEST(XYZToYHMV, DoesNotLookAtTheFlags)
{
    cBitmapXYZ32 input(1, 1);
    std::memset(input.fData, 0, 12);
    cBitmapU16T output(1, 1, YHMVPixel::kPlanes);
    Fill(output, 0xA5);
    bool cancel = true, cancelled = false;
    cYHMVColorSpace::XYZToYHMV(&cancel, &cancelled, &input, &output);
    EXPECT_FALSE(cancelled);
    ExpectYHMV(Row(output, 0), {0.000001f, 0, 1.0f, 1.0f});
}

TEST(XYZToYHMV, AFailedAllocationKeepsNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cBitmapXYZ32 input(1, 1);
    std::memset(input.fData, 0, 12);
    cBitmapU16T output(1, 1, YHMVPixel::kPlanes);
    FailEachAllocation([&] { cYHMVColorSpace::XYZToYHMV(nullptr, nullptr, &input, &output); });
}

// ---- display pictures ----

// A transfer to linear light from a plain array, for values that no colour space gives.
class cArrayTransfer : public cTransfer
{
public:
    explicit cArrayTransfer(std::vector<float> pValues) : fValues(std::move(pValues)) {}
    cTransfer* Clone() const override { return new cArrayTransfer(fValues); }
    float Function(float pX) override
    {
        const double position = static_cast<double>(pX) * static_cast<double>(fValues.size() - 1);
        return fValues[static_cast<size_t>(position + 0.5)];
    }

private:
    std::vector<float> fValues;
};

// A picture of another depth than 8: read as 16 bits.
class cBitmap12 : public cBitmapBGR16
{
public:
    using cBitmapBGR16::cBitmapBGR16;
    int GetBitsPerChannel() const override { return 12; }
};

cMatrix33 Product(const cMatrix33& l, const cMatrix33& r)
{
    cMatrix33 p{};
    const float* L = &l.m00;
    const float* R = &r.m00;
    float* P = &p.m00;
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k)
            P[3 * i + k] = L[3 * i] * R[k] + L[3 * i + 1] * R[3 + k] + L[3 * i + 2] * R[6 + k];
    return p;
}

float NotNegative(float pValue)
{
    return std::isnan(pValue) || pValue <= 0.0f ? 0.0f : pValue;
}

sTwinRecord TwinLDR(cColorSpace& pSpace, const cMatrix33& A, const float* pBGR)
{
    float linear[3];
    for (int k = 0; k < 3; ++k)
        linear[k] = pSpace.GetToLinearTransfer()->Function(pBGR[k]);
    const float r = linear[2], g = linear[1], b = linear[0];
    return TwinColor(NotNegative(A.m00 * r + A.m01 * g + A.m02 * b), NotNegative(A.m10 * r + A.m11 * g + A.m12 * b),
                     NotNegative(A.m20 * r + A.m21 * g + A.m22 * b));
}

void ExpectHMV(const unsigned char* pAt, const sTwinRecord& pExpected)
{
    unsigned char expected[HMVPixel::kBytes];
    WriteHMV(expected, pExpected);
    const sTwinRecord r = ReadHMV(pAt);
    EXPECT_EQ(std::memcmp(pAt, expected, sizeof expected), 0)
        << "H " << r.H << " M " << r.M << " V " << r.V << " instead of H " << pExpected.H << " M " << pExpected.M
        << " V " << pExpected.V;
}

template <class tSample>
void FillSamples(cRandom& pRandom, tSample* pData, size_t pCount)
{
    for (size_t i = 0; i < pCount; ++i) {
        const int kind = pRandom.Below(8);
        pData[i] = kind == 0            ? tSample{0}
                   : kind == 1          ? static_cast<tSample>(~0u)
                   : kind == 2 && i > 0 ? pData[i - 1]
                                        : static_cast<tSample>(pRandom.Word());
    }
}

// Compares with the formula; pStep is the row distance in samples.
template <class tSample>
void ExpectLDRLikeTwin(cBitmapLDR& pInput, const tSample* pData, int pStep, float pUnit, const cBitmapU16T& pOutput)
{
    cColorSpace& space = *pInput.GetColorSpace();
    cColorSpace_ProPhotoRGB work;
    const cMatrix33 A = Product(work.GetFromPCSTransform(), space.GetToPCSTransform());
    for (int y = 0; y < pInput.fHeight; ++y)
        for (int x = 0; x < pInput.fWidth; ++x) {
            const tSample* at = pData + static_cast<ptrdiff_t>(y) * pStep + 3 * x;
            const float bgr[3] = {static_cast<float>(at[0]) * pUnit, static_cast<float>(at[1]) * pUnit,
                                  static_cast<float>(at[2]) * pUnit};
            ExpectHMV(Row(pOutput, y) + HMVPixel::kBytes * x, TwinLDR(space, A, bgr));
        }
}

constexpr eColorSpaceID kSpaces[] = {eColorSpace_sRGB, eColorSpace_AdobeRGB98, eColorSpace_ProPhotoRGB};

// The 8-bit bitmap leaves a line on the error stream when it goes.
template <class tCall>
void Quietly(tCall pCall)
{
    CaptureStderr([&] { pCall(); });
}

void CheckBytes(cRandom& pRandom, int pWidth, eColorSpaceID pSpace)
{
    cBitmapBGR8 input(pWidth, 2, pSpace);
    FillSamples(pRandom, input.fData, static_cast<size_t>(input.fStride) * 2);
    cBitmapU16T output(pWidth, 2, HMVPixel::kPlanes);
    Fill(output, 0xA5);
    cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output);
    ExpectLDRLikeTwin(input, input.fData, input.fStride, FromBits(0x3B808081), output);
    for (int n = HMVPixel::kBytes * pWidth; n < output.fStride; ++n)
        ASSERT_EQ(Row(output, 1)[n], 0xA5) << "padding touched at width " << pWidth;
}

TEST(BitmapRGBToHMV, EightBitsEqualTheFormulaAtEveryWidth)
{
    Quietly([] {
        cRandom random(7);
        for (int width = 1; width <= 300; ++width)
            CheckBytes(random, width, kSpaces[width % 3]);
    });
}

TEST(BitmapRGBToHMV, SixteenBitsEqualTheFormula)
{
    cRandom random(8);
    for (const int width : {1, 127, 128, 129, 1000})
        for (const eColorSpaceID space : kSpaces) {
            cBitmapBGR16 input(width, 5, space);
            FillSamples(random, input.fData, static_cast<size_t>(input.fStride / 2) * 5);
            cBitmapU16T output(width, 5, HMVPixel::kPlanes);
            cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output);
            ExpectLDRLikeTwin(input, input.fData, input.fStride / 2, FromBits(0x37800080), output);
        }
}

TEST(BitmapRGBToHMV, AnyOtherDepthIsReadAsSixteenBits)
{
    cRandom random(9);
    cBitmap12 input(40, 3, eColorSpace_AdobeRGB98);
    FillSamples(random, input.fData, static_cast<size_t>(input.fStride / 2) * 3);
    cBitmapU16T output(40, 3, HMVPixel::kPlanes);
    cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output);
    ExpectLDRLikeTwin(input, input.fData, input.fStride / 2, FromBits(0x37800080), output);
}

TEST(BitmapRGBToHMV, TheStrideIsInBytesAndHalvedForSixteenBits)
{
    Quietly([] {
        cRandom random(10);
        cBitmapBGR8 bytes(16, 4, eColorSpace_sRGB);
        FillSamples(random, bytes.fData, static_cast<size_t>(bytes.fStride) * 4);
        bytes.fWidth = 5;
        bytes.fStride = 17;
        cBitmapU16T output(5, 4, HMVPixel::kPlanes);
        cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &bytes, &output);
        ExpectLDRLikeTwin(bytes, bytes.fData, 17, FromBits(0x3B808081), output);

        cBitmapBGR16 words(16, 4, eColorSpace_sRGB);
        FillSamples(random, words.fData, static_cast<size_t>(words.fStride / 2) * 4);
        words.fWidth = 5;
        words.fStride = 35;
        cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &words, &output);
        ExpectLDRLikeTwin(words, words.fData, 17, FromBits(0x37800080), output);
    });
}

TEST(BitmapRGBToHMV, NegativeAndNaNPrimariesBecomeZero)
{
    Quietly([] {
        cRandom random(11);
        std::vector<float> values(256);
        for (float& value : values)
            value = random.Below(2) == 0 ? random.Extreme() : random.Between(-1, 1);
        cBitmapBGR8 input(300, 40, eColorSpace_sRGB);
        delete input.fColorSpace->fToLinear;
        input.fColorSpace->fToLinear = new cArrayTransfer(values);
        FillSamples(random, input.fData, static_cast<size_t>(input.fStride) * 40);
        cBitmapU16T output(300, 40, HMVPixel::kPlanes);
        cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output);
        ExpectLDRLikeTwin(input, input.fData, input.fStride, FromBits(0x3B808081), output);
    });
}

TEST(BitmapRGBToHMV, BlackGetsTheMarkerAndGreyHasNoHue)
{
    cBitmapBGR16 input(1, 1, eColorSpace_ProPhotoRGB);
    std::memset(input.fData, 0, 6);
    cBitmapU16T output(1, 1, HMVPixel::kPlanes);
    cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output);
    const sTwinRecord r = ReadHMV(Row(output, 0));
    EXPECT_EQ(r.H, 0);
    EXPECT_EQ(Bits(r.M), 0u);
    EXPECT_EQ(Bits(r.V), 0x00800000u);
}

TEST(BitmapRGBToHMV, DoesNotLookAtTheFlags)
{
    cBitmapBGR16 input(1, 1, eColorSpace_sRGB);
    std::memset(input.fData, 0xFF, 6);
    cBitmapU16T output(1, 1, HMVPixel::kPlanes);
    Fill(output, 0xA5);
    bool cancel = true, cancelled = false;
    cYHMVColorSpace::RGBToHMV(&cancel, &cancelled, &input, &output);
    EXPECT_FALSE(cancelled);
    ExpectLDRLikeTwin(input, input.fData, input.fStride / 2, FromBits(0x37800080), output);
}

TEST(BitmapRGBToHMV, WithoutAColourSpaceNothingIsConverted)
{
    cBitmapBGR16 input(1, 1, static_cast<eColorSpaceID>(7));
    ASSERT_EQ(input.GetColorSpace(), nullptr);
    cBitmapU16T output(1, 1, HMVPixel::kPlanes);
    Fill(output, 0xA5);
    EXPECT_FAILURE(cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output), cInvalidOperationException,
                   "Color space is not set.", "cYHMVColorSpace.cpp", "Vornik::cYHMVColorSpace::RGBToHMV(bool*,bool*,");
    EXPECT_THROW(cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &input, &output), cInvalidOperationException);
    for (int n = 0; n < HMVPixel::kBytes; ++n)
        EXPECT_EQ(Row(output, 0)[n], 0xA5);
}

TEST(BitmapRGBToHMV, AFailedAllocationKeepsNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    Quietly([] {
        cBitmapBGR8 bytes(1, 1, eColorSpace_sRGB);
        cBitmapBGR16 words(1, 1, eColorSpace_sRGB);
        std::memset(bytes.fData, 0, 3);
        std::memset(words.fData, 0, 6);
        cBitmapU16T output(1, 1, HMVPixel::kPlanes);
        EXPECT_GE(FailEachAllocation([&] { cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &bytes, &output); }), 1);
        EXPECT_GE(FailEachAllocation([&] { cYHMVColorSpace::RGBToHMV(nullptr, nullptr, &words, &output); }), 1);
    });
}

} // namespace
