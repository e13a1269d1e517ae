#include "picture/ProfileMatch.h"

#include "picture/Color.h"

#include <gtest/gtest.h>
#include <selvane.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace
{

using namespace SelvaneHost;

void Put32(tBytes& pBytes, unsigned pValue)
{
    for (int shift = 24; shift >= 0; shift -= 8)
        pBytes.push_back(static_cast<unsigned char>(pValue >> shift));
}

void PutFixed(tBytes& pBytes, double pValue)
{
    Put32(pBytes, static_cast<unsigned>(static_cast<int>(std::lround(pValue * 65536.0))));
}

void PutText(tBytes& pBytes, const char* pText)
{
    pBytes.insert(pBytes.end(), pText, pText + std::strlen(pText));
}

struct sTag
{
    const char* fName;
    tBytes fData;
};

/// Returns a profile with these tags, in the layout of ICC.1.
tBytes Profile(const char* pColors, const std::vector<sTag>& pTags)
{
    tBytes profile(128, 0);
    std::memcpy(profile.data() + 16, pColors, 4);
    std::memcpy(profile.data() + 36, "acsp", 4);
    Put32(profile, static_cast<unsigned>(pTags.size()));
    size_t offset = 132 + 12 * pTags.size();
    for (const sTag& tag : pTags) {
        PutText(profile, tag.fName);
        Put32(profile, static_cast<unsigned>(offset));
        Put32(profile, static_cast<unsigned>(tag.fData.size()));
        offset += tag.fData.size();
    }
    for (const sTag& tag : pTags)
        profile.insert(profile.end(), tag.fData.begin(), tag.fData.end());
    return profile;
}

tBytes Xyz(double pX, double pY, double pZ)
{
    tBytes data;
    PutText(data, "XYZ ");
    Put32(data, 0);
    for (const double value : {pX, pY, pZ})
        PutFixed(data, value);
    return data;
}

tBytes Parametric(unsigned pKind, const std::vector<double>& pParameters)
{
    tBytes data;
    PutText(data, "para");
    Put32(data, 0);
    Put32(data, pKind << 16);
    for (const double parameter : pParameters)
        PutFixed(data, parameter);
    return data;
}

tBytes Gamma(double pGamma)
{
    return Parametric(0, {pGamma});
}

tBytes SrgbCurve()
{
    return Parametric(3, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
}

tBytes Sampled(const std::vector<unsigned>& pValues)
{
    tBytes data;
    PutText(data, "curv");
    Put32(data, 0);
    Put32(data, static_cast<unsigned>(pValues.size()));
    for (const unsigned value : pValues) {
        data.push_back(static_cast<unsigned char>(value >> 8));
        data.push_back(static_cast<unsigned char>(value));
    }
    return data;
}

tBytes UnicodeDescription(const std::string& pText)
{
    tBytes data;
    PutText(data, "mluc");
    for (const unsigned word : {0U, 1U, 12U})
        Put32(data, word);
    PutText(data, "enUS");
    Put32(data, static_cast<unsigned>(2 * pText.size()));
    Put32(data, 28);
    for (const char c : pText) {
        data.push_back(0);
        data.push_back(static_cast<unsigned char>(c));
    }
    return data;
}

struct sColorants
{
    double fRed[3];
    double fGreen[3];
    double fBlue[3];
};

constexpr sColorants kSrgb = {{0.43604, 0.22249, 0.01392}, {0.38512, 0.71690, 0.09706}, {0.14305, 0.06061, 0.71391}};
constexpr sColorants kAdobe = {{0.60974, 0.31111, 0.01947}, {0.20528, 0.62567, 0.06087}, {0.14919, 0.06322, 0.74457}};
constexpr sColorants kProPhoto = {{0.79767, 0.28804, 0.0}, {0.13519, 0.71188, 0.0}, {0.03134, 0.00009, 0.82491}};
constexpr sColorants kP3 = {{0.51512, 0.24120, -0.00105}, {0.29198, 0.69225, 0.04189}, {0.15710, 0.06657, 0.78407}};

tBytes Shaper(const sColorants& pColorants, const tBytes& pCurve, const std::string& pName = "Somebody's own")
{
    const auto xyz = [](const double(&numbers)[3]) { return Xyz(numbers[0], numbers[1], numbers[2]); };
    return Profile("RGB ", {{"desc", UnicodeDescription(pName)},
                            {"rXYZ", xyz(pColorants.fRed)},
                            {"gXYZ", xyz(pColorants.fGreen)},
                            {"bXYZ", xyz(pColorants.fBlue)},
                            {"rTRC", pCurve},
                            {"gTRC", pCurve},
                            {"bTRC", pCurve}});
}

TEST(ProfileMatch, TheStoredProfilesAreThemselves)
{
    for (const int space : {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO})
        EXPECT_EQ(MatchProfile(StoredProfile(space)), space);
}

TEST(ProfileMatch, OtherMakersProfilesOfTheSameSpaceCount)
{
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, SrgbCurve())), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Gamma(2.2))), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Shaper(kAdobe, Gamma(2.19921875))), SELVANE_ADOBE_RGB);
    EXPECT_EQ(MatchProfile(Shaper(kProPhoto, Gamma(1.8))), SELVANE_PROPHOTO);
    const tBytes withToe = Parametric(3, {1.8, 1.0, 0.0, 1.0 / 16.0, 0.03125});
    EXPECT_EQ(MatchProfile(Shaper(kProPhoto, withToe)), SELVANE_PROPHOTO);
}

TEST(ProfileMatch, NamesDoNotCountWhereNumbersStand)
{
    EXPECT_EQ(MatchProfile(Shaper(kP3, SrgbCurve(), "sRGB IEC61966-2.1")), std::nullopt);
    EXPECT_EQ(MatchProfile(Shaper(kAdobe, Gamma(2.2), "sRGB")), SELVANE_ADOBE_RGB);
}

TEST(ProfileMatch, OtherSpacesAreNoneOfTheThree)
{
    EXPECT_EQ(MatchProfile(Shaper(kP3, SrgbCurve())), std::nullopt);
    sColorants shifted = kSrgb;
    shifted.fGreen[1] += 0.006;
    EXPECT_EQ(MatchProfile(Shaper(shifted, SrgbCurve())), std::nullopt);
    shifted.fGreen[1] -= 0.002;
    EXPECT_EQ(MatchProfile(Shaper(shifted, SrgbCurve())), SELVANE_SRGB);
}

TEST(ProfileMatch, TheRightPrimariesWithAnotherCurveAreNoneOfTheThree)
{
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Gamma(1.0))), std::nullopt);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Sampled({}))), std::nullopt) << "an empty curve is the identity";
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Gamma(1.8))), std::nullopt);
    EXPECT_EQ(MatchProfile(Shaper(kProPhoto, Gamma(2.2))), std::nullopt);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Parametric(9, {2.2}))), std::nullopt) << "an unknown kind of curve";
}

TEST(ProfileMatch, SampledCurvesAreReadInTheirMiddle)
{
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Sampled({563}))), SELVANE_SRGB) << "8.8 exponent";
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Sampled({0, 14029, 65535}))), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Sampled({0, 10000, 18058, 65535}))), SELVANE_SRGB) << "between two samples";
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Sampled({0, 32768, 65535}))), std::nullopt);
}

TEST(ProfileMatch, EveryKindOfParametricCurveIsRead)
{
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Parametric(1, {2.4, 1 / 1.055, 0.055 / 1.055}))), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Parametric(2, {2.2, 1.0, 0.0, 0.3}))), std::nullopt) << "raised by 0.3";
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Parametric(4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045, 0, 0}))),
              SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Shaper(kSrgb, Parametric(3, {2.4, 1.0, 0.0, 0.43, 0.9}))), SELVANE_SRGB)
        << "0.5 on the straight part";
}

TEST(ProfileMatch, AProfileOfTablesGoesByItsDescription)
{
    const auto described = [](const char* pWords) { return Profile("RGB ", {{"desc", UnicodeDescription(pWords)}}); };
    EXPECT_EQ(MatchProfile(described("sRGB v4 ICC preference")), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(described("Adobe RGB (1998)")), SELVANE_ADOBE_RGB);
    EXPECT_EQ(MatchProfile(described("ProPhoto RGB")), SELVANE_PROPHOTO);
    EXPECT_EQ(MatchProfile(described("ISO 22028-2 ROMM RGB")), SELVANE_PROPHOTO);
    EXPECT_EQ(MatchProfile(described("sRGB linear")), std::nullopt);
    EXPECT_EQ(MatchProfile(described("My printer")), std::nullopt);
    EXPECT_EQ(MatchProfile(Profile("CMYK", {{"desc", UnicodeDescription("sRGB")}})), std::nullopt);
}

TEST(ProfileMatch, GreyProfilesGoByTheirCurve)
{
    EXPECT_EQ(MatchProfile(Profile("GRAY", {{"kTRC", Gamma(2.2)}})), SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(Profile("GRAY", {{"kTRC", Gamma(1.8)}})), std::nullopt);
    EXPECT_EQ(MatchProfile(Profile("GRAY", {})), std::nullopt);
}

TEST(ProfileMatch, BothKindsOfDescriptionAreRead)
{
    EXPECT_EQ(ProfileDescription(StoredProfile(SELVANE_ADOBE_RGB)), "Adobe RGB (1998)");
    EXPECT_EQ(ProfileDescription(Shaper(kP3, SrgbCurve(), "Display P3")), "Display P3");
    EXPECT_EQ(ProfileDescription({}), "");
}

// Under the address sanitizer this test finds reads beyond the end of a damaged profile.
TEST(ProfileMatch, CutAndBrokenProfilesLeadNowhere)
{
    for (const tBytes& whole : {StoredProfile(SELVANE_SRGB), Shaper(kAdobe, Gamma(2.2))}) {
        for (size_t size = 0; size < whole.size(); size += size < 400 ? 1 : 37) {
            const tBytes cut(whole.begin(), whole.begin() + static_cast<long>(size));
            MatchProfile(cut);
            ProfileDescription(cut);
        }
        for (size_t at = 128; at < 340; at++) {
            tBytes broken = whole;
            broken[at] = 0xFF;
            MatchProfile(broken);
            ProfileDescription(broken);
        }
    }
    const tBytes half = StoredProfile(SELVANE_SRGB);
    EXPECT_EQ(MatchProfile(tBytes(half.begin(), half.begin() + 600)), std::nullopt);
}

TEST(ProfileMatch, PrimariesAreMatchedWithinTheirTolerance)
{
    EXPECT_EQ(MatchPrimaries({0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F}), SELVANE_SRGB);
    EXPECT_EQ(MatchPrimaries({0.640F, 0.330F, 0.290F, 0.600F, 0.150F, 0.060F}), SELVANE_SRGB) << "Radiance's own";
    EXPECT_EQ(MatchPrimaries({0.64F, 0.33F, 0.21F, 0.71F, 0.15F, 0.06F}), SELVANE_ADOBE_RGB);
    EXPECT_EQ(MatchPrimaries({0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F}), SELVANE_PROPHOTO);
    EXPECT_EQ(MatchPrimaries({0.68F, 0.32F, 0.265F, 0.69F, 0.15F, 0.06F}), std::nullopt) << "P3";
    EXPECT_EQ(MatchPrimaries({0.7347F, 0.2653F, 0.0F, 1.0F, 0.0001F, -0.077F}), std::nullopt) << "ACES";
    EXPECT_EQ(MatchPrimaries({NAN, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F}), std::nullopt);
}

} // namespace
