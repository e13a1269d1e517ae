#include "host/metadata/Sample.h"
#include "metadata/ExivData.h"
#include "metadata/MetadataReader.h"
#include "metadata/OutputMetadata.h"
#include "picture/PictureLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <selvane.h>

namespace SelvaneTest
{

namespace
{

using namespace SelvaneHost;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The metadata of the sample, and what becomes of them.
class OutputMetadata_ : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        StartPictureLibrary();
        const cFolder folder;
        std::vector<std::string> warnings;
        StoreWithMetadata(folder / "in.jpg");
        gInput = ReadMetadata(ReadAll(folder / "in.jpg"), warnings);
    }

    sExivData Result(const sMetadata& pInput, const sMetadataOptions& pOptions = {})
    {
        return Decoded(OutputMetadata(pInput, fFacts, pOptions, fWarnings), fWarnings);
    }

    static std::vector<std::string> Keys(const sExivData& pData)
    {
        std::vector<std::string> keys;
        for (const auto& entry : pData.fExif)
            keys.push_back(entry.key());
        for (const auto& entry : pData.fIptc)
            keys.push_back(entry.key());
        for (const auto& entry : pData.fXmp)
            keys.push_back(entry.key());
        return keys;
    }

    /// The sample with further Exif entries.
    static sMetadata With(const std::vector<std::pair<std::string, std::string>>& pEntries)
    {
        std::vector<std::string> warnings;
        sExivData data = Decoded(gInput, warnings);
        for (const auto& [key, value] : pEntries)
            data.fExif[key] = value;
        return Encoded(data, warnings);
    }

    static sMetadata gInput;
    sOutputFacts fFacts{30, 20, SELVANE_SRGB, {}, "exposure = 1\n", "9.9"};
    std::vector<std::string> fWarnings;
};

sMetadata OutputMetadata_::gInput;

TEST_F(OutputMetadata_, OrientationAndSizesAreThoseOfTheResult)
{
    sExivData data = Result(With({{"Exif.Image.Orientation", "6"}, {"Exif.Image.ImageWidth", "7000"}}));
    EXPECT_EQ(data.fExif["Exif.Image.Orientation"].toString(), "1");
    EXPECT_EQ(data.fExif["Exif.Image.ImageWidth"].toString(), "30");
    EXPECT_EQ(data.fExif["Exif.Photo.PixelXDimension"].toString(), "30");
    EXPECT_EQ(data.fExif["Exif.Photo.PixelYDimension"].toString(), "20");
    EXPECT_EQ(data.fXmp["Xmp.tiff.Orientation"].toString(), "1"); // 6 in the sample
    EXPECT_THAT(fWarnings, IsEmpty());
}

struct sSpaceCase
{
    int fSpace;
    const char* fColorSpace;
    const char* fIndex;
};

TEST_F(OutputMetadata_, TheColorSpaceTagIsThatOfTheProfile)
{
    for (const sSpaceCase& space :
         {sSpaceCase{SELVANE_SRGB, "1", "R98"}, sSpaceCase{SELVANE_ADOBE_RGB, "65535", "R03"},
          sSpaceCase{SELVANE_PROPHOTO, "65535", ""}, sSpaceCase{SELVANE_DISPLAY_P3, "65535", ""},
          sSpaceCase{SELVANE_REC2020, "65535", ""}}) {
        fFacts.fSpace = space.fSpace;
        sExivData data = Result(With({{"Exif.Photo.ColorSpace", "2"}, {"Exif.Iop.InteroperabilityIndex", "R03"}}));
        EXPECT_EQ(data.fExif["Exif.Photo.ColorSpace"].toString(), space.fColorSpace) << space.fSpace;
        EXPECT_EQ(data.fExif["Exif.Iop.InteroperabilityIndex"].toString(), space.fIndex) << space.fSpace;
    }
}

TEST_F(OutputMetadata_, TheOldThumbnailGoesAndTheNewOneComes)
{
    EXPECT_TRUE(HasThumbnail(gInput));
    EXPECT_THAT(Keys(Result(gInput)), Not(Contains(HasSubstr("Thumbnail"))));
    const cFolder folder;
    StorePlain(folder / "new.jpg", 8, 6);
    fFacts.fThumbnail = ReadAll(folder / "new.jpg");
    const sExivData data = Result(gInput);
    const Exiv2::DataBuf found = Exiv2::ExifThumbC(data.fExif).copy();
    EXPECT_EQ(tBytes(found.pData_, found.pData_ + found.size_), fFacts.fThumbnail);
}

TEST_F(OutputMetadata_, WhatDescribesTheStorageOfTheInputGoes)
{
    const auto keys = Keys(Result(With({{"Exif.Image.Compression", "7"},
                                        {"Exif.Image.WhitePoint", "3127/10000 3290/10000"},
                                        {"Exif.Image.DNGVersion", "1 4 0 0"},
                                        {"Exif.SubImage1.ImageWidth", "5000"},
                                        {"Exif.Photo.Gamma", "22/10"}})));
    for (const char* gone : {"Exif.Image.Compression", "Exif.Image.WhitePoint", "Exif.Image.DNGVersion",
                             "Exif.SubImage1.ImageWidth", "Exif.Photo.Gamma"})
        EXPECT_THAT(keys, Not(Contains(gone)));
    EXPECT_THAT(keys, AllOf(Contains("Exif.Image.Copyright"), Contains("Exif.Image.XResolution"),
                            Contains("Exif.Photo.MakerNote"), Contains("Exif.GPSInfo.GPSLatitude")));
}

TEST_F(OutputMetadata_, SettingsAndVersionStandInXmp)
{
    sExivData data = Result({});
    EXPECT_EQ(data.fXmp["Xmp.selvane.Settings"].toString(), "exposure = 1\n");
    EXPECT_EQ(data.fXmp["Xmp.selvane.Version"].toString(), "9.9");
    EXPECT_THAT(Keys(data), Not(Contains(HasSubstr("Exif"))));
}

TEST_F(OutputMetadata_, NoMetadataLeavesNothing)
{
    const sMetadata metadata = OutputMetadata(gInput, fFacts, {true, false}, fWarnings);
    EXPECT_THAT(metadata.fExif, IsEmpty());
    EXPECT_THAT(metadata.fIptc, IsEmpty());
    EXPECT_THAT(metadata.fXmp, IsEmpty());
}

TEST_F(OutputMetadata_, StrippedOfLocationNothingTellsThePlace)
{
    const auto whole = Keys(Result(gInput));
    for (const char* place : {"Exif.GPSInfo.GPSLatitude", "Exif.Photo.MakerNote", "Iptc.Application2.City",
                              "Xmp.exif.GPSLatitude", "Xmp.photoshop.State"})
        EXPECT_THAT(whole, Contains(place));
    EXPECT_THAT(whole, Contains(HasSubstr("LocationShown")));
    const auto stripped = Keys(Result(gInput, {false, true}));
    for (const char* part : {"GPS", "MakerNote", "City", "State", "Location"})
        EXPECT_THAT(stripped, Not(Contains(HasSubstr(part)))) << part;
    EXPECT_THAT(stripped, AllOf(Contains("Exif.Image.Copyright"), Contains("Xmp.dc.title"),
                                Contains("Iptc.Application2.Keywords"), Contains("Xmp.selvane.Version")));
}

/// Each kind of entry that tells a place, and some that do not although they look like it.
TEST_F(OutputMetadata_, EachEntryThatTellsThePlaceIsStripped)
{
    const std::vector<std::pair<const char*, const char*>> places = {{"Xmp.exif.GPSTimeStamp", "2020-01-02T03:04:05Z"},
                                                                     {"Xmp.exif.GPSImgDirection", "1/2"},
                                                                     {"Xmp.exif.GPSLongitude", "7,30.5E"},
                                                                     {"Xmp.exif.GPSAltitude", "400/1"},
                                                                     {"Xmp.photoshop.City", "Bern"},
                                                                     {"Xmp.photoshop.State", "Bern"},
                                                                     {"Xmp.photoshop.Country", "Switzerland"},
                                                                     {"Xmp.iptc.Location", "Bundesplatz"},
                                                                     {"Xmp.iptc.CountryCode", "CHE"}};
    const std::vector<const char*> others = {"Xmp.photoshop.Credit", "Xmp.xmp.CreatorTool", "Xmp.photoshop.Headline"};
    const std::vector<const char*> named = {"LocationCode",  "LocationName", "City",       "SubLocation",
                                            "ProvinceState", "CountryCode",  "CountryName"};
    sExivData data = Decoded(gInput, fWarnings);
    for (const auto& [key, value] : places)
        data.fXmp[key] = std::string(value);
    for (const char* key : others)
        data.fXmp[key] = std::string("x");
    for (const char* name : named)
        data.fIptc["Iptc.Application2." + std::string(name)] = std::string("x");
    const sMetadata block = Encoded(data, fWarnings);
    const auto whole = Keys(Result(block)), stripped = Keys(Result(block, {false, true}));
    for (const auto& [key, value] : places) {
        EXPECT_THAT(whole, Contains(key));
        EXPECT_THAT(stripped, Not(Contains(key)));
    }
    for (const char* name : named) {
        EXPECT_THAT(whole, Contains("Iptc.Application2." + std::string(name)));
        EXPECT_THAT(stripped, Not(Contains("Iptc.Application2." + std::string(name))));
    }
    for (const char* key : others)
        EXPECT_THAT(stripped, Contains(key));
}

TEST_F(OutputMetadata_, DamagedBlocksAreAWarningAndTheRestStays)
{
    sMetadata metadata = gInput;
    metadata.fXmp = {'<', 'x', '>'};
    sExivData data = Result(metadata);
    EXPECT_THAT(fWarnings, Contains(HasSubstr("damaged")));
    EXPECT_EQ(data.fExif["Exif.Image.Copyright"].toString(), "(c) A. Painter");
    EXPECT_EQ(data.fXmp["Xmp.selvane.Version"].toString(), "9.9");
}

TEST_F(OutputMetadata_, AnyBytesDoNoHarm)
{
    std::mt19937 random(3);
    for (int i = 0; i < (IsLong() ? 20000 : 500); i++) {
        sMetadata metadata{Broken(gInput.fExif, random), Broken(gInput.fIptc, random), Broken(gInput.fXmp, random)};
        const sExivData data = Result(metadata);
        const auto orientation = data.fExif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
        if (orientation != data.fExif.end()) {
            EXPECT_EQ(orientation->toString(), "1");
        }
    }
}

TEST_F(OutputMetadata_, ExifBeyond64KilobytesLosesItsLargestEntriesWithAWarning)
{
    const std::string text(70000, 'x');
    sExivData data = Decoded(gInput, fWarnings);
    data.fExif["Exif.Image.ImageDescription"] = text;
    const sMetadata block = Encoded(data, fWarnings);
    EXPECT_THAT(fWarnings, Contains(HasSubstr("larger than 64 kB")));
    EXPECT_THAT(Keys(Result(block)),
                AllOf(Contains("Exif.Image.Copyright"), Not(Contains("Exif.Image.ImageDescription"))));
}

TEST_F(OutputMetadata_, ResolutionIsThatOfTheExifData)
{
    EXPECT_DOUBLE_EQ(PixelsPerMillimetre(gInput), 300 / 25.4);
    EXPECT_DOUBLE_EQ(PixelsPerMillimetre(With({{"Exif.Image.ResolutionUnit", "3"}})), 30);
    EXPECT_DOUBLE_EQ(PixelsPerMillimetre(With({{"Exif.Image.XResolution", "1/0"}})), 72 / 25.4);
    EXPECT_DOUBLE_EQ(PixelsPerMillimetre({}), 72 / 25.4);
}

} // namespace

} // namespace SelvaneTest
