#include "host/metadata/Sample.h"
#include "metadata/ExivData.h"
#include "metadata/MetadataReader.h"
#include "picture/PictureLibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace SelvaneTest
{

namespace
{

using namespace SelvaneHost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string ExifValue(const sMetadata& pMetadata, const char* pKey)
{
    std::vector<std::string> warnings;
    const Exiv2::ExifData exif = Decoded(pMetadata, warnings).fExif;
    const auto found = exif.findKey(Exiv2::ExifKey(pKey));
    return found == exif.end() ? "-" : found->toString();
}

std::string XmpValue(const sMetadata& pMetadata, const char* pKey)
{
    std::vector<std::string> warnings;
    const Exiv2::XmpData xmp = Decoded(pMetadata, warnings).fXmp;
    const auto found = xmp.findKey(Exiv2::XmpKey(pKey));
    return found == xmp.end() ? "-" : found->toString();
}

class MetadataReader : public testing::Test
{
protected:
    static void SetUpTestSuite() { StartPictureLibrary(); }

    sMetadata Read(const std::string& pPath) { return ReadMetadata(ReadAll(pPath), fWarnings); }

    cFolder fFolder;
    std::vector<std::string> fWarnings;
};

class MetadataOfAFormat : public MetadataReader, public testing::WithParamInterface<const char*>
{
};

TEST_P(MetadataOfAFormat, ExifAndXmpAreReadWhole)
{
    const std::string path = fFolder / std::string("in").append(GetParam());
    StoreWithMetadata(path);
    const sMetadata metadata = Read(path);
    EXPECT_THAT(fWarnings, IsEmpty());
    EXPECT_EQ(ExifValue(metadata, "Exif.Image.Copyright"), "(c) A. Painter");
    EXPECT_EQ(ExifValue(metadata, "Exif.Image.Make"), "Selvane Works");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.DateTimeOriginal"), "2021:03:04 05:06:07");
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSLatitude"), "33/1 30/1 0/1");
    EXPECT_EQ(XmpValue(metadata, "Xmp.dc.title"), "lang=\"x-default\" A harbour");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.MakerNote") == "-", false);
}

TEST_P(MetadataOfAFormat, AFileWithoutMetadataHasNone)
{
    const std::string path = fFolder / std::string("plain").append(GetParam());
    StorePlain(path);
    const sMetadata metadata = Read(path);
    EXPECT_THAT(fWarnings, IsEmpty());
    EXPECT_EQ(ExifValue(metadata, "Exif.Image.Copyright"), "-");
    EXPECT_THAT(metadata.fIptc, IsEmpty());
    EXPECT_THAT(metadata.fXmp, IsEmpty());
}

// A cut file may have lost its metadata, a changed one may have others: neither may do more than warn.
TEST_P(MetadataOfAFormat, CutAndChangedFilesDoNoHarm)
{
    const std::string path = fFolder / std::string("in").append(GetParam());
    StoreWithMetadata(path);
    const tBytes whole = ReadAll(path);
    for (size_t size = 0; size < whole.size(); size += 1 + whole.size() / 150)
        ReadMetadata(tBytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)), fWarnings);
    std::mt19937 random(5);
    for (int i = 0; i < (IsLong() ? 5000 : 200); i++)
        ReadMetadata(Broken(whole, random), fWarnings);
    for (const std::string& warning : fWarnings)
        EXPECT_THAT(warning, testing::AnyOf(HasSubstr("damaged"), HasSubstr("cannot be kept"), HasSubstr("larger")));
}

INSTANTIATE_TEST_SUITE_P(All, MetadataOfAFormat,
                         testing::Values(".jpg", ".png", ".tif", ".webp", ".heic", ".avif", ".jxl"),
                         [](const auto& pInfo) { return std::string(pInfo.param).substr(1); });

TEST_F(MetadataReader, IptcIsReadWhereTheFormatHoldsIt)
{
    for (const char* name : {"in.jpg", "in.png", "in.tif"}) {
        StoreWithMetadata(fFolder / name);
        std::vector<std::string> values;
        for (const Exiv2::Iptcdatum& entry : Decoded(Read(fFolder / name), fWarnings).fIptc)
            if (entry.record() == Exiv2::IptcDataSets::application2 && entry.tag() != 0)
                values.push_back(entry.toString());
        EXPECT_THAT(values, testing::UnorderedElementsAre("Sydney", "harbour", "dusk")) << name;
    }
    EXPECT_THAT(fWarnings, IsEmpty());
}

TEST_F(MetadataReader, AttributesOfOpenExrBecomeExif)
{
    StoreWithMetadata(fFolder / "in.exr");
    const sMetadata metadata = Read(fFolder / "in.exr");
    EXPECT_THAT(fWarnings, IsEmpty());
    EXPECT_EQ(ExifValue(metadata, "Exif.Image.Copyright"), "(c) A. Painter");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.ExposureTime"), "1/125");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.FNumber"), "28/5");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.ISOSpeedRatings"), "400");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.DateTimeOriginal"), "2021:03:04 05:06:07");
    EXPECT_EQ(ExifValue(metadata, "Exif.Photo.OffsetTimeOriginal"), "+02:00"); // UTC is two hours less
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSLatitudeRef"), "S");
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSLatitude"), "33/1 30/1 0/100");
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSLongitudeRef"), "E");
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSLongitude"), "151/1 15/1 0/100");
    EXPECT_EQ(ExifValue(metadata, "Exif.GPSInfo.GPSAltitude"), "35/1");
}

TEST_F(MetadataReader, AnOpenExrFileWithoutSuchAttributesHasNoExif)
{
    StorePlain(fFolder / "plain.exr");
    EXPECT_THAT(Read(fFolder / "plain.exr").fExif, IsEmpty());
}

TEST_F(MetadataReader, ABlockBeyondTheLimitIsLeftOutWithAWarning)
{
    StorePlain(fFolder / "in.png");
    const std::string large(kMostMetadata, 'x');
    WriteAll(fFolder / "large.xmp", "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                                    "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
                                    "rdf:about='' xmlns:dc='http://purl.org/dc/elements/1.1/' dc:source='" +
                                        large + "'/></rdf:RDF></x:xmpmeta>");
    Exiftool({"-q", "-overwrite_original", "-xmp<=" + (fFolder / "large.xmp"), fFolder / "in.png"});
    EXPECT_GT(ReadAll(fFolder / "in.png").size(), kMostMetadata);
    EXPECT_THAT(Read(fFolder / "in.png").fXmp, IsEmpty());
    EXPECT_THAT(fWarnings, ElementsAre("its XMP data are larger than 8 MB and were left out"));
}

} // namespace

} // namespace SelvaneTest
