#include "color/cColorSpace.h"

#include "support/Sha256.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

// The stored ICC profiles, read as the standard lays them out (ICC.1:1998-09, version 2.1.0): a header of 128 bytes,
// the number of tags, 12 bytes a tag (signature, offset, size), then the tags' data. Everything is big-endian.

namespace
{

struct sProfile
{
    const unsigned char* fData;
    unsigned int fSize;

    uint32_t At(uint32_t pOffset, uint32_t pBytes) const
    {
        uint32_t value = 0;
        for (uint32_t i = 0; i < pBytes; i++)
            value = value << 8 | fData[pOffset + i];
        return value;
    }
    uint32_t Long(uint32_t pOffset) const { return At(pOffset, 4); }
    uint32_t Short(uint32_t pOffset) const { return At(pOffset, 2); }
    std::string Text(uint32_t pOffset, uint32_t pBytes) const
    {
        return std::string(reinterpret_cast<const char*>(fData) + pOffset, pBytes);
    }
    bool IsZero(uint32_t pFrom, uint32_t pEnd) const
    {
        for (uint32_t i = pFrom; i < pEnd; i++)
            if (fData[i] != 0) return false;
        return true;
    }
};

template <class tSpace>
sProfile Get()
{
    unsigned char* data = nullptr;
    unsigned int size = 0;
    tSpace::GetICCProfile(data, size);
    return {data, size};
}

const sProfile ksRGB = Get<cColorSpace_sRGB>();
const sProfile kAdobe = Get<cColorSpace_AdobeRGB98>();
const sProfile kProPhoto = Get<cColorSpace_ProPhotoRGB>();

struct sTag
{
    const char* fSignature;
    uint32_t fOffset, fSize;
    const char* fType;
};

const std::vector<sTag> ksRGBTags = {
    {"cprt", 336, 51, "text"},   {"desc", 388, 108, "desc"}, {"wtpt", 496, 20, "XYZ "},    {"bkpt", 516, 20, "XYZ "},
    {"rXYZ", 536, 20, "XYZ "},   {"gXYZ", 556, 20, "XYZ "},  {"bXYZ", 576, 20, "XYZ "},    {"dmnd", 596, 112, "desc"},
    {"dmdd", 708, 136, "desc"},  {"vued", 844, 134, "desc"}, {"view", 980, 36, "view"},    {"lumi", 1016, 20, "XYZ "},
    {"meas", 1036, 36, "meas"},  {"tech", 1072, 12, "sig "}, {"rTRC", 1084, 2060, "curv"}, {"gTRC", 1084, 2060, "curv"},
    {"bTRC", 1084, 2060, "curv"}};
const std::vector<sTag> kAdobeTags = {{"cprt", 252, 50, "text"}, {"desc", 304, 107, "desc"}, {"wtpt", 412, 20, "XYZ "},
                                      {"bkpt", 432, 20, "XYZ "}, {"rTRC", 452, 14, "curv"},  {"gTRC", 468, 14, "curv"},
                                      {"bTRC", 484, 14, "curv"}, {"rXYZ", 500, 20, "XYZ "},  {"gXYZ", 520, 20, "XYZ "},
                                      {"bXYZ", 540, 20, "XYZ "}};
const std::vector<sTag> kProPhotoTags = {
    {"cprt", 276, 72, "text"}, {"desc", 348, 131, "desc"}, {"wtpt", 480, 20, "XYZ "},  {"rTRC", 500, 14, "curv"},
    {"gTRC", 500, 14, "curv"}, {"bTRC", 500, 14, "curv"},  {"rXYZ", 516, 20, "XYZ "},  {"gXYZ", 536, 20, "XYZ "},
    {"bXYZ", 556, 20, "XYZ "}, {"dmnd", 576, 110, "desc"}, {"dmdd", 688, 209, "desc"}, {"mmod", 900, 40, "mmod"}};

const sTag& TagOf(const std::vector<sTag>& pTags, const std::string& pSignature)
{
    for (const sTag& tag : pTags)
        if (tag.fSignature == pSignature) return tag;
    ADD_FAILURE() << "no tag " << pSignature;
    return pTags.front();
}

TEST(cColorSpaceProfiles, SizesAndDigestsAreThoseOfThePublishedFiles)
{
    EXPECT_EQ(ksRGB.fSize, 3144u);
    EXPECT_EQ(kAdobe.fSize, 560u);
    EXPECT_EQ(kProPhoto.fSize, 940u);
    EXPECT_EQ(Sha256(ksRGB.fData, ksRGB.fSize), "2b3aa1645779a9e634744faf9b01e9102b0c9b88fd6deced7934df86b949af7e");
    EXPECT_EQ(Sha256(kAdobe.fData, kAdobe.fSize), "304f569a83c1e5eddaddac54e99ed03339333db013738bb499ab64f049887e28");
    EXPECT_EQ(Sha256(kProPhoto.fData, kProPhoto.fSize),
              "0a8ef7d1d958d98225b3b71d93d9e8e3cecd9c302e014973d025d2a977ecf27c");
}

TEST(cColorSpaceProfiles, EachClassAlwaysGivesItsOwnBytes)
{
    EXPECT_EQ(Get<cColorSpace_sRGB>().fData, ksRGB.fData);
    EXPECT_EQ(Get<cColorSpace_AdobeRGB98>().fData, kAdobe.fData);
    EXPECT_EQ(Get<cColorSpace_ProPhotoRGB>().fData, kProPhoto.fData);
    EXPECT_EQ(std::set<const unsigned char*>({ksRGB.fData, kAdobe.fData, kProPhoto.fData}).size(), 3u);
}

struct sHeader
{
    const char* fCMM;
    std::vector<uint32_t> fDate; ///< year, month, day, hours, minutes, seconds
    const char* fPlatform;
    const char* fManufacturer;
    std::string fModel;
    uint32_t fIlluminantZ;
    const char* fCreator;
};

void ExpectHeader(const sProfile& p, const sHeader& pExpected)
{
    EXPECT_EQ(p.Long(0), p.fSize);
    EXPECT_EQ(p.Text(4, 4), pExpected.fCMM);
    EXPECT_EQ(p.Long(8), 0x02100000u); // version 2.1.0
    EXPECT_EQ(p.Text(12, 4), "mntr");
    EXPECT_EQ(p.Text(16, 4), "RGB ");
    EXPECT_EQ(p.Text(20, 4), "XYZ ");
    for (uint32_t i = 0; i < 6; i++)
        EXPECT_EQ(p.Short(24 + 2 * i), pExpected.fDate[i]) << i;
    EXPECT_EQ(p.Text(36, 4), "acsp");
    EXPECT_EQ(p.Text(40, 4), pExpected.fPlatform);
    EXPECT_EQ(p.Long(44), 0u); // flags
    EXPECT_EQ(p.Text(48, 4), pExpected.fManufacturer);
    EXPECT_EQ(p.Text(52, 4), pExpected.fModel);
    EXPECT_TRUE(p.IsZero(56, 64)); // attributes
    EXPECT_EQ(p.Long(64), 0u);     // perceptual intent
    EXPECT_EQ(p.Long(68), 0x0000f6d6u);
    EXPECT_EQ(p.Long(72), 0x00010000u);
    EXPECT_EQ(p.Long(76), pExpected.fIlluminantZ);
    EXPECT_EQ(p.Text(80, 4), pExpected.fCreator);
    EXPECT_TRUE(p.IsZero(84, 128)); // profile ID and reserved
}

TEST(cColorSpaceProfiles, HeadersHoldTheirFields)
{
    ExpectHeader(ksRGB, {"Lino", {1998, 2, 9, 6, 49, 0}, "MSFT", "IEC ", "sRGB", 0xd32d, "HP  "});
    ExpectHeader(kAdobe, {"ADBE", {2000, 8, 11, 19, 51, 59}, "APPL", "none", std::string(4, '\0'), 0xd32d, "ADBE"});
    ExpectHeader(kProPhoto, {"KCMS", {1998, 12, 1, 18, 58, 21}, "MSFT", "KODA", "ROMM", 0xd32b, "KODA"});
}

void ExpectTags(const sProfile& p, const std::vector<sTag>& pTags)
{
    ASSERT_EQ(p.Long(128), pTags.size());
    for (uint32_t i = 0; i < pTags.size(); i++) {
        const sTag& tag = pTags[i];
        const uint32_t entry = 132 + 12 * i;
        EXPECT_EQ(p.Text(entry, 4), tag.fSignature);
        EXPECT_EQ(p.Long(entry + 4), tag.fOffset) << tag.fSignature;
        EXPECT_EQ(p.Long(entry + 8), tag.fSize) << tag.fSignature;
        EXPECT_EQ(p.Text(tag.fOffset, 4), tag.fType) << tag.fSignature;
        EXPECT_EQ(p.Long(tag.fOffset + 4), 0u) << tag.fSignature;
        EXPECT_EQ(tag.fOffset % 4, 0u);
        EXPECT_LE(tag.fOffset + tag.fSize, p.fSize);
    }
}

TEST(cColorSpaceProfiles, TagTablesHoldSignatureOffsetSizeAndType)
{
    ExpectTags(ksRGB, ksRGBTags);
    ExpectTags(kAdobe, kAdobeTags);
    ExpectTags(kProPhoto, kProPhotoTags);
}

/// The bytes that belong to neither the header nor a tag; each must be 0.
std::vector<uint32_t> PaddingOf(const sProfile& p, const std::vector<sTag>& pTags)
{
    std::vector<bool> covered(p.fSize, false);
    const auto cover = [&](uint32_t pFrom, uint32_t pSize) {
        for (uint32_t i = pFrom; i < pFrom + pSize; i++)
            covered[i] = true;
    };
    cover(0, 132 + 12 * static_cast<uint32_t>(pTags.size()));
    for (const sTag& tag : pTags)
        cover(tag.fOffset, tag.fSize);
    std::vector<uint32_t> padding;
    for (uint32_t i = 0; i < p.fSize; i++) {
        if (covered[i]) continue;
        padding.push_back(i);
        EXPECT_EQ(p.fData[i], 0) << i;
    }
    return padding;
}

TEST(cColorSpaceProfiles, PaddingIsZeroAndNothingElseLiesBetweenTheTags)
{
    using tPlaces = std::vector<uint32_t>;
    EXPECT_EQ(PaddingOf(ksRGB, ksRGBTags), (tPlaces{387, 978, 979}));
    EXPECT_EQ(PaddingOf(kAdobe, kAdobeTags), (tPlaces{302, 303, 411, 466, 467, 482, 483, 498, 499}));
    EXPECT_EQ(PaddingOf(kProPhoto, kProPhotoTags), (tPlaces{479, 514, 515, 686, 687, 897, 898, 899}));
}

void ExpectNotice(const sProfile& p, const sTag& pTag, const std::string& pText)
{
    EXPECT_EQ(p.Text(pTag.fOffset + 8, pTag.fSize - 8), pText + '\0');
}

TEST(cColorSpaceProfiles, NoticesAreThoseOfTheMakers)
{
    ExpectNotice(ksRGB, TagOf(ksRGBTags, "cprt"), "Copyright (c) 1998 Hewlett-Packard Company");
    ExpectNotice(kAdobe, TagOf(kAdobeTags, "cprt"), "Copyright 2000 Adobe Systems Incorporated");
    ExpectNotice(kProPhoto, TagOf(kProPhotoTags, "cprt"),
                 "Copyright (c) Eastman Kodak Company, 1999, all rights reserved.");
}

/// Which parts of a description repeat the ASCII text.
enum eRepeats
{
    eAsciiOnly,
    eMacintosh,
    eUnicodeAndMacintosh,
};

std::string BigEndian(uint32_t pValue, int pBytes)
{
    std::string bytes;
    for (int shift = 8 * (pBytes - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(pValue >> shift & 0xff);
    return bytes;
}

/// A description: count and ASCII text, language and count and Unicode text, script, count and Macintosh text in 67
/// bytes.
std::string DescriptionOf(const std::string& pText, eRepeats pRepeats)
{
    const std::string text = pText + '\0';
    const auto count = static_cast<uint32_t>(text.size());
    std::string bytes = "desc" + BigEndian(0, 4) + BigEndian(count, 4) + text + BigEndian(0, 4);
    if (pRepeats == eUnicodeAndMacintosh) {
        bytes += BigEndian(count + 1, 4) + "\xfe\xff"; // byte order mark
        for (const char letter : text)
            bytes += std::string(1, '\0') + letter;
    } else {
        bytes += BigEndian(0, 4);
    }
    const bool macintosh = pRepeats != eAsciiOnly;
    bytes += BigEndian(0, 2) + BigEndian(macintosh ? count : 0, 1);
    std::string field = macintosh ? text : "";
    field.resize(67, '\0');
    return bytes + field;
}

void ExpectDescription(const sProfile& p, const sTag& pTag, const std::string& pText, eRepeats pRepeats)
{
    EXPECT_EQ(p.Text(pTag.fOffset, pTag.fSize), DescriptionOf(pText, pRepeats)) << pTag.fSignature;
}

TEST(cColorSpaceProfiles, DescriptionsHoldTheirTexts)
{
    ExpectDescription(ksRGB, TagOf(ksRGBTags, "desc"), "sRGB IEC61966-2.1", eMacintosh);
    ExpectDescription(ksRGB, TagOf(ksRGBTags, "dmnd"), "IEC http://www.iec.ch", eMacintosh);
    ExpectDescription(ksRGB, TagOf(ksRGBTags, "dmdd"), "IEC 61966-2.1 Default RGB colour space - sRGB", eMacintosh);
    ExpectDescription(ksRGB, TagOf(ksRGBTags, "vued"), "Reference Viewing Condition in IEC61966-2.1", eMacintosh);
    ExpectDescription(kAdobe, TagOf(kAdobeTags, "desc"), "Adobe RGB (1998)", eAsciiOnly);
    ExpectDescription(kProPhoto, TagOf(kProPhotoTags, "desc"), "ProPhoto RGB", eUnicodeAndMacintosh);
    ExpectDescription(kProPhoto, TagOf(kProPhotoTags, "dmnd"), "KODAK", eUnicodeAndMacintosh);
    ExpectDescription(kProPhoto, TagOf(kProPhotoTags, "dmdd"), "Reference Output Medium Metric(ROMM)  ",
                      eUnicodeAndMacintosh);
}

using tXYZ = std::vector<uint32_t>;

void ExpectXYZ(const sProfile& p, const sTag& pTag, const tXYZ& pStored, const std::vector<double>& pPlain)
{
    for (uint32_t i = 0; i < 3; i++) {
        const uint32_t stored = p.Long(pTag.fOffset + 8 + 4 * i);
        EXPECT_EQ(stored, pStored[i]) << pTag.fSignature << ' ' << i;
        EXPECT_NEAR(static_cast<int32_t>(stored) / 65536.0, pPlain[i], 1e-6) << pTag.fSignature << ' ' << i;
    }
}

TEST(cColorSpaceProfiles, WhitesBlacksAndPrimariesOfsRGB)
{
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "wtpt"), {0xf351, 0x10000, 0x116cc}, {0.950455, 1.0, 1.08905});
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "bkpt"), {0, 0, 0}, {0, 0, 0});
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "rXYZ"), {0x6fa2, 0x38f5, 0x0390}, {0.436066, 0.222488, 0.013916});
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "gXYZ"), {0x6299, 0xb785, 0x18da}, {0.385147, 0.716873, 0.097076});
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "bXYZ"), {0x24a0, 0x0f84, 0xb6cf}, {0.143066, 0.060608, 0.714096});
    ExpectXYZ(ksRGB, TagOf(ksRGBTags, "lumi"), {0x4c0956, 0x500000, 0x571fe7}, {76.036469, 80.0, 87.124619});
}

TEST(cColorSpaceProfiles, WhitesBlacksAndPrimariesOfAdobeRGB)
{
    ExpectXYZ(kAdobe, TagOf(kAdobeTags, "wtpt"), {0xf351, 0x10000, 0x116cc}, {0.950455, 1.0, 1.08905});
    ExpectXYZ(kAdobe, TagOf(kAdobeTags, "bkpt"), {0, 0, 0}, {0, 0, 0});
    ExpectXYZ(kAdobe, TagOf(kAdobeTags, "rXYZ"), {0x9c18, 0x4fa5, 0x04fc}, {0.609741, 0.311111, 0.01947});
    ExpectXYZ(kAdobe, TagOf(kAdobeTags, "gXYZ"), {0x348d, 0xa02c, 0x0f95}, {0.205276, 0.625671, 0.060867});
    ExpectXYZ(kAdobe, TagOf(kAdobeTags, "bXYZ"), {0x2631, 0x102f, 0xbe9c}, {0.149185, 0.063217, 0.744568});
}

TEST(cColorSpaceProfiles, WhiteAndPrimariesOfProPhotoRGB)
{
    ExpectXYZ(kProPhoto, TagOf(kProPhotoTags, "wtpt"), {0xf6d6, 0x10000, 0xd32c}, {0.964203, 1.0, 0.82489});
    ExpectXYZ(kProPhoto, TagOf(kProPhotoTags, "rXYZ"), {0xcc34, 0x49bd, 0}, {0.797668, 0.28804, 0});
    ExpectXYZ(kProPhoto, TagOf(kProPhotoTags, "gXYZ"), {0x229c, 0xb63e, 0}, {0.135193, 0.711884, 0});
    ExpectXYZ(kProPhoto, TagOf(kProPhotoTags, "bXYZ"), {0x0806, 0x0006, 0xd32d}, {0.031342, 0.000092, 0.824905});
}

TEST(cColorSpaceProfiles, TheCurveOfsRGBFollowsItsRuleAndIsShared)
{
    const uint32_t curve = TagOf(ksRGBTags, "rTRC").fOffset;
    EXPECT_EQ(TagOf(ksRGBTags, "gTRC").fOffset, curve);
    EXPECT_EQ(TagOf(ksRGBTags, "bTRC").fOffset, curve);
    ASSERT_EQ(ksRGB.Long(curve + 8), 1024u);
    for (uint32_t i = 0; i < 1024; i++) {
        const double v = i / 1023.0;
        const double linear = v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
        EXPECT_EQ(ksRGB.Short(curve + 12 + 2 * i), static_cast<uint32_t>(65535.0 * linear + 0.5)) << i;
    }
    EXPECT_EQ(ksRGB.Short(curve + 12), 0u);
    EXPECT_EQ(ksRGB.Short(curve + 14), 5u);
    EXPECT_EQ(ksRGB.Short(3142), 65535u);
}

TEST(cColorSpaceProfiles, TheOtherCurvesAreOneGammaEach)
{
    for (const char* tag : {"rTRC", "gTRC", "bTRC"}) {
        const uint32_t adobe = TagOf(kAdobeTags, tag).fOffset;
        EXPECT_EQ(kAdobe.Long(adobe + 8), 1u);
        EXPECT_EQ(kAdobe.Short(adobe + 12), 563u); // 2.19921875 in 8.8 fixed point
        const uint32_t proPhoto = TagOf(kProPhotoTags, tag).fOffset;
        EXPECT_EQ(kProPhoto.Long(proPhoto + 8), 1u);
        EXPECT_EQ(kProPhoto.Short(proPhoto + 12), 461u); // 1.80078125
    }
}

void ExpectLongs(const sProfile& p, uint32_t pOffset, const std::vector<uint32_t>& pExpected)
{
    for (uint32_t i = 0; i < pExpected.size(); i++)
        EXPECT_EQ(p.Long(pOffset + 4 * i), pExpected[i]) << pOffset + 4 * i;
}

TEST(cColorSpaceProfiles, ViewingMeasurementAndTechnologyOfsRGB)
{
    // Illuminant 19.6445 20.3718 16.8089, surround 3.92889 4.07439 3.36179, type 1.
    ExpectLongs(ksRGB, 980 + 8, {0x13a4fe, 0x145f2e, 0x10cf14, 0x3edcc, 0x4130b, 0x35c9e, 1});
    EXPECT_NEAR(ksRGB.Long(988) / 65536.0, 19.6445, 5e-5);
    EXPECT_NEAR(ksRGB.Long(1000) / 65536.0, 3.92889, 5e-6);
    // Observer, backing, geometry, flare, illuminant.
    ExpectLongs(ksRGB, 1036 + 8, {1, 0, 0, 0, 0, 0x28f, 2});
    EXPECT_EQ(ksRGB.Text(1072 + 8, 4), "CRT ");
}

TEST(cColorSpaceProfiles, MakeAndModelOfProPhotoRGB)
{
    ExpectLongs(kProPhoto, 900 + 8, {0x00000610, 0x00009d03, 0x01010101, 0xb0cf3b80, 0, 0, 0, 0});
}

} // namespace
