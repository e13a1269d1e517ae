#include "color/ProfileLight.h"

#include "picture/Color.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lcms2.h>
#include <selvane.h>

#include <array>
#include <cmath>
#include <cstring>
#include <random>

namespace
{

using namespace SelvaneHost;
using testing::HasSubstr;

using tVector = std::array<double, 3>;
using tMatrix = std::array<tVector, 3>; // rows

tMatrix Times(const tMatrix& pA, const tMatrix& pB)
{
    tMatrix product{};
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 3; j++)
            for (size_t k = 0; k < 3; k++)
                product[i][j] += pA[i][k] * pB[k][j];
    return product;
}

tVector Times(const tMatrix& pA, const tVector& pB)
{
    tVector product{};
    for (size_t i = 0; i < 3; i++)
        for (size_t k = 0; k < 3; k++)
            product[i] += pA[i][k] * pB[k];
    return product;
}

tMatrix Inverse(const tMatrix& m)
{
    tMatrix inverse{};
    double determinant = 0;
    for (size_t i = 0; i < 3; i++)
        determinant += m[0][i] * (m[1][(i + 1) % 3] * m[2][(i + 2) % 3] - m[1][(i + 2) % 3] * m[2][(i + 1) % 3]);
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 3; j++)
            inverse[j][i] = (m[(i + 1) % 3][(j + 1) % 3] * m[(i + 2) % 3][(j + 2) % 3] -
                             m[(i + 1) % 3][(j + 2) % 3] * m[(i + 2) % 3][(j + 1) % 3]) /
                            determinant;
    return inverse;
}

tVector Xyz(double pX, double pY)
{
    return {pX / pY, 1.0, (1.0 - pX - pY) / pY};
}

/// Linear RGB to XYZ under its white (SMPTE RP 177).
tMatrix ToXyz(const std::array<double, 8>& pXY)
{
    tMatrix columns{};
    for (size_t i = 0; i < 3; i++) {
        const tVector xyz = Xyz(pXY[2 * i], pXY[2 * i + 1]);
        for (size_t row = 0; row < 3; row++)
            columns[row][i] = xyz[row];
    }
    const tVector scale = Times(Inverse(columns), Xyz(pXY[6], pXY[7]));
    for (tVector& row : columns)
        for (size_t i = 0; i < 3; i++)
            row[i] *= scale[i];
    return columns;
}

/// The adaptation of Bradford (ICC.1:2022, annex E) from one white to another.
tMatrix Bradford(const tVector& pFrom, const tVector& pTo)
{
    const tMatrix cone = {{{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};
    const tVector from = Times(cone, pFrom), to = Times(cone, pTo);
    tMatrix gain{};
    for (size_t i = 0; i < 3; i++)
        gain[i][i] = to[i] / from[i];
    return Times(Inverse(cone), Times(gain, cone));
}

const tVector kD50 = {0.9642, 1.0, 0.8249};
constexpr std::array<double, 8> kRec2020 = {0.708, 0.292, 0.170, 0.797, 0.131, 0.046, 0.3127, 0.3290};
constexpr std::array<double, 8> kAces = {0.7347, 0.2653, 0.0, 1.0, 0.0001, -0.0770, 0.32168, 0.33767};

tBytes Saved(cmsHPROFILE pProfile)
{
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(pProfile, nullptr, &size);
    tBytes bytes(size);
    cmsSaveProfileToMem(pProfile, bytes.data(), &size);
    cmsCloseProfile(pProfile);
    return bytes;
}

tBytes ShaperProfile(const std::array<double, 8>& pXY, cmsToneCurve* pCurve)
{
    const cmsCIExyY white = {pXY[6], pXY[7], 1.0};
    const cmsCIExyYTRIPLE primaries = {{pXY[0], pXY[1], 1.0}, {pXY[2], pXY[3], 1.0}, {pXY[4], pXY[5], 1.0}};
    cmsToneCurve* const curves[3] = {pCurve, pCurve, pCurve};
    tBytes bytes = Saved(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(pCurve);
    return bytes;
}

cmsToneCurve* SrgbCurve()
{
    const double parameters[5] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return cmsBuildParametricToneCurve(nullptr, 4, parameters);
}

double SrgbLight(double pSample)
{
    return pSample <= 0.04045 ? pSample / 12.92 : std::pow((pSample + 0.055) / 1.055, 2.4);
}

sPicture Pixels(const tBytes& pSamples, int pChannels = 3)
{
    sPicture picture;
    AllocatePixels(picture, static_cast<int>(pSamples.size()) / pChannels, 1, eSamples8, pChannels);
    picture.fPixels = pSamples;
    return picture;
}

sPicture FloatPixel(const std::vector<float>& pSamples)
{
    sPicture picture;
    AllocatePixels(picture, 1, 1, eFloats);
    std::memcpy(picture.fPixels.data(), pSamples.data(), 12);
    return picture;
}

std::vector<float> FloatsOf(const sPicture& pPicture)
{
    std::vector<float> floats(pPicture.fPixels.size() / sizeof(float));
    std::memcpy(floats.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return floats;
}

/// XYZ under D50 of a linear colour of the picture, by its chromaticities and the adaptation from its white.
tVector SeenAs(const sPicture& pPicture, const tVector& pLinear)
{
    std::array<double, 8> xy{};
    for (size_t i = 0; i < 8; i++)
        xy[i] = static_cast<double>(pPicture.fColor.fChromaticities[i]);
    return Times(Bradford(Xyz(xy[6], xy[7]), kD50), Times(ToXyz(xy), pLinear));
}

TEST(ProfileLight, CurvesBecomeFloatsAndColorantsPrimaries)
{
    sPicture picture = Pixels({200, 100, 50, 9, 0, 255, 7, 80}, 4);
    ASSERT_TRUE(TakeProfile(picture, ShaperProfile(kRec2020, SrgbCurve())));
    EXPECT_EQ(picture.fForm, eFloats);
    EXPECT_EQ(picture.fColor.fPrimaries, SELVANE_CUSTOM);
    EXPECT_EQ(picture.fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
    EXPECT_THAT(picture.fColor.fWords, HasSubstr("read as primaries and curves"));
    EXPECT_EQ(picture.fColor.fOutput, SELVANE_SRGB);
    const std::vector<float> floats = FloatsOf(picture);
    for (size_t i = 0; i < 3; i++)
        EXPECT_NEAR(floats[i], SrgbLight((i == 0 ? 200 : i == 1 ? 100 : 50) / 255.0), 1e-4) << i;
    EXPECT_EQ(floats[3], 9.0F / 255.0F);
    const tMatrix expected = Times(Bradford(Xyz(0.3127, 0.329), kD50), ToXyz(kRec2020));
    for (const tVector& linear : {tVector{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0.2, 0.5, 0.9}})
        for (size_t i = 0; i < 3; i++)
            EXPECT_NEAR(SeenAs(picture, linear)[i], Times(expected, linear)[i], 2e-4);
}

TEST(ProfileLight, APowerIsLeftToLibselvane)
{
    for (const double gamma : {1.0, 1.8, 2.2, 2.4}) {
        sPicture picture = Pixels({200, 100, 50});
        ASSERT_TRUE(TakeProfile(picture, ShaperProfile(kRec2020, cmsBuildGamma(nullptr, gamma))));
        EXPECT_EQ(picture.fForm, eSamples8);
        EXPECT_EQ(picture.fPixels, (tBytes{200, 100, 50}));
        EXPECT_EQ(picture.fColor.fTransfer, gamma == 1.0 ? SELVANE_TRANSFER_LINEAR : SELVANE_TRANSFER_POWER);
        EXPECT_NEAR(picture.fColor.fGamma, gamma, 2e-5); // profiles hold 16 bits behind the point
    }
}

TEST(ProfileLight, FloatsBeyondOneGoOnAlongTheCurve)
{
    sPicture picture = FloatPixel({0.25F, 1.0F, 4.0F});
    ASSERT_TRUE(TakeProfile(picture, ShaperProfile(kRec2020, SrgbCurve())));
    const std::vector<float> floats = FloatsOf(picture);
    EXPECT_NEAR(floats[0], SrgbLight(0.25), 1e-4);
    EXPECT_NEAR(floats[1], 1.0, 1e-4);
    const double slope = 2.4 / 1.055; // of log light by log sample at 1
    EXPECT_NEAR(std::log(static_cast<double>(floats[2])) / std::log(4.0), slope, 0.01);
}

TEST(ProfileLight, AGreyProfileIsACurve)
{
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 1.6);
    const cmsCIExyY white = {0.3457, 0.3585, 1.0};
    const tBytes profile = Saved(cmsCreateGrayProfile(&white, curve));
    cmsFreeToneCurve(curve);
    sPicture picture = Pixels({100, 100, 100});
    ASSERT_TRUE(TakeProfile(picture, profile));
    EXPECT_EQ(picture.fColor.fPrimaries, SELVANE_SRGB);
    for (const float value : FloatsOf(picture))
        EXPECT_NEAR(value, std::pow(100 / 255.0, 1.6), 1e-5);
}

/// Samples of a table: the light of linear Rec. 2020, as XYZ under D50 in 16 bits (ICC.1, u1Fixed15).
int SampleXyz(const cmsUInt16Number pIn[], cmsUInt16Number pOut[], void* pMatrix)
{
    const auto& matrix = *static_cast<const tMatrix*>(pMatrix);
    const tVector xyz = Times(matrix, tVector{pIn[0] / 65535.0, pIn[1] / 65535.0, pIn[2] / 65535.0});
    for (size_t i = 0; i < 3; i++)
        pOut[i] =
            static_cast<cmsUInt16Number>(std::lround(std::max(xyz[i], 0.0) / (1.0 + 32767.0 / 32768.0) * 65535.0));
    return 1;
}

/// A profile of a scanner: three curves of gamma 2 and a table.
tBytes TableProfile(tMatrix pMatrix)
{
    cmsHPROFILE profile = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(profile, 4.3);
    cmsSetDeviceClass(profile, cmsSigInputClass);
    cmsSetColorSpace(profile, cmsSigRgbData);
    cmsSetPCS(profile, cmsSigXYZData);
    cmsToneCurve* const gamma = cmsBuildGamma(nullptr, 2.0);
    cmsToneCurve* const curves[3] = {gamma, gamma, gamma};
    cmsStage* const table = cmsStageAllocCLut16bit(nullptr, 17, 3, 3, nullptr);
    cmsStageSampleCLut16bit(table, SampleXyz, &pMatrix, 0);
    cmsPipeline* const pipeline = cmsPipelineAlloc(nullptr, 3, 3);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, curves));
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    cmsPipelineInsertStage(pipeline, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
    EXPECT_TRUE(cmsWriteTag(profile, cmsSigAToB0Tag, pipeline));
    cmsMLU* const name = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(name, "en", "US", "My scanner");
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, name);
    cmsMLUfree(name);
    cmsPipelineFree(pipeline);
    cmsFreeToneCurve(gamma);
    return Saved(profile);
}

TEST(ProfileLight, TablesBecomeAcesFloats)
{
    const tMatrix toXyz = Times(Bradford(Xyz(0.3127, 0.329), kD50), ToXyz(kRec2020));
    sPicture picture = Pixels({255, 255, 255, 200, 100, 50, 30, 255, 0});
    ASSERT_TRUE(TakeProfile(picture, TableProfile(toXyz)));
    EXPECT_EQ(picture.fColor.fPrimaries, SELVANE_ACES_AP0);
    EXPECT_EQ(picture.fColor.fTransfer, SELVANE_TRANSFER_LINEAR);
    EXPECT_EQ(picture.fColor.fWords, "its profile \"My scanner\" was converted to linear ACES2065-1");
    const tMatrix toAces = Inverse(Times(Bradford(Xyz(0.32168, 0.33767), kD50), ToXyz(kAces)));
    const std::vector<float> floats = FloatsOf(picture);
    const tBytes samples = {255, 255, 255, 200, 100, 50, 30, 255, 0};
    for (size_t pixel = 0; pixel < 3; pixel++) {
        tVector light{};
        for (size_t i = 0; i < 3; i++)
            light[i] = std::pow(samples[3 * pixel + i] / 255.0, 2.0);
        const tVector expected = Times(toAces, Times(toXyz, light));
        for (size_t i = 0; i < 3; i++)
            EXPECT_NEAR(floats[3 * pixel + i], expected[i], 5e-4) << pixel << " " << i;
    }
}

TEST(ProfileLight, AlphaStaysBesideTables)
{
    const tMatrix toXyz = Times(Bradford(Xyz(0.3127, 0.329), kD50), ToXyz(kRec2020));
    sPicture picture = Pixels({200, 100, 50, 51}, 4);
    ASSERT_TRUE(TakeProfile(picture, TableProfile(toXyz)));
    EXPECT_EQ(FloatsOf(picture)[3], 0.2F);
}

TEST(ProfileLight, WhatIsNoProfileOfRgbOrGreyLeavesThePicture)
{
    sPicture picture = Pixels({200, 100, 50});
    EXPECT_FALSE(TakeProfile(picture, {}));
    EXPECT_FALSE(TakeProfile(picture, tBytes(1000, 7)));
    EXPECT_FALSE(TakeProfile(picture, Saved(cmsCreateLab4Profile(nullptr))));
    EXPECT_EQ(picture.fPixels, (tBytes{200, 100, 50}));
    EXPECT_EQ(picture.fForm, eSamples8);
}

// Under the address sanitizer this test finds accesses outside a damaged profile.
TEST(ProfileLight, BrokenProfilesEndInAPictureOrInNone)
{
    std::mt19937 random(5);
    const tMatrix toXyz = Times(Bradford(Xyz(0.3127, 0.329), kD50), ToXyz(kRec2020));
    for (const tBytes& whole : {ShaperProfile(kRec2020, SrgbCurve()), TableProfile(toXyz)}) {
        for (int round = 0; round < 300; round++) {
            tBytes broken = whole;
            for (size_t changes = 1 + random() % 8; changes > 0; changes--)
                broken[random() % std::min<size_t>(broken.size(), 500)] = static_cast<unsigned char>(random());
            if (round % 3 == 0) broken.resize(random() % broken.size());
            sPicture picture = Pixels({200, 100, 50});
            TakeProfile(picture, broken);
            EXPECT_EQ(picture.fPixels.size(), AllBytes(picture));
        }
    }
}

} // namespace
