#include "host/Workshop.h"
#include "host/metadata/Sample.h"
#include "metadata/MetadataReader.h"
#include "picture/PictureLibrary.h"
#include "picture/ProfileMatch.h"
#include "write/PictureWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <selvane.h>
#include <vips/vips.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <set>

namespace SelvaneTest
{

namespace
{

using namespace SelvaneHost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kWide = 96, kHigh = 64;

/// A smooth picture, which lossy formats keep well: red grows to the right, green downwards, blue is even. Alpha, if
/// any, is half.
sPicture Smooth(eSampleForm pForm, int pChannels = 3)
{
    sPicture picture;
    AllocatePixels(picture, kWide, kHigh, pForm, pChannels);
    for (int y = 0; y < kHigh; y++)
        for (int x = 0; x < kWide; x++) {
            const double values[] = {(x + 0.5) / kWide, (y + 0.5) / kHigh, 0.5, 0.5};
            for (int c = 0; c < pChannels; c++) {
                const size_t at = static_cast<size_t>((y * kWide + x) * pChannels + c);
                if (pForm == eSamples8) {
                    picture.fPixels[at] = static_cast<unsigned char>(std::lround(values[c] * 255));
                } else {
                    const auto sample = static_cast<uint16_t>(std::lround(values[c] * 65535));
                    std::memcpy(picture.fPixels.data() + 2 * at, &sample, 2);
                }
            }
        }
    return picture;
}

/// A picture as libvips reads it, with samples from 0 to 1.
struct sSeen
{
    int fWidth = 0, fHeight = 0, fBands = 0, fBits = 0;
    std::vector<double> fSamples;
    tBytes fProfile;
};

sSeen See(const std::string& pPath)
{
    vips_operation_block_set("VipsForeignLoadJxl", FALSE);
    VipsImage* const image = vips_image_new_from_file(pPath.c_str(), nullptr);
    if (image == nullptr) throw std::runtime_error(vips_error_buffer());
    sSeen seen{vips_image_get_width(image), vips_image_get_height(image), vips_image_get_bands(image), 8, {}, {}};
    if (vips_image_get_typeof(image, "bits-per-sample") != 0) vips_image_get_int(image, "bits-per-sample", &seen.fBits);
    if (vips_image_get_typeof(image, "heif-bitdepth") != 0) vips_image_get_int(image, "heif-bitdepth", &seen.fBits);
    const bool deep = vips_image_get_format(image) == VIPS_FORMAT_USHORT;
    const void* profile = nullptr;
    size_t size = 0;
    if (vips_image_get_typeof(image, VIPS_META_ICC_NAME) != 0) {
        vips_image_get_blob(image, VIPS_META_ICC_NAME, &profile, &size);
        const auto* const bytes = static_cast<const unsigned char*>(profile);
        seen.fProfile.assign(bytes, bytes + size);
    }
    void* const pixels = vips_image_write_to_memory(image, &size);
    for (size_t i = 0; i < size / (deep ? 2 : 1); i++)
        seen.fSamples.push_back(deep ? static_cast<uint16_t*>(pixels)[i] / 65535.0
                                     : static_cast<unsigned char*>(pixels)[i] / 255.0);
    g_free(pixels);
    g_object_unref(image);
    return seen;
}

/// A sample of Smooth, from 0 to 1.
double Expected(size_t pIndex, size_t pBands)
{
    const size_t pixel = pIndex / pBands;
    const double values[] = {(static_cast<double>(pixel % kWide) + 0.5) / kWide,
                             (static_cast<double>(pixel / kWide) + 0.5) / kHigh, 0.5, 0.5};
    return values[pIndex % pBands];
}

/// The largest difference to Smooth, in samples from 0 to 1.
double Difference(const sSeen& pSeen)
{
    double largest = 0;
    for (size_t i = 0; i < pSeen.fSamples.size(); i++)
        largest = std::max(largest, std::fabs(pSeen.fSamples[i] - Expected(i, static_cast<size_t>(pSeen.fBands))));
    return largest;
}

struct sFormatCase
{
    const char* fExtension;
    eFileKind fKind;
    int fDepth;
    double fTolerance; ///< of a sample from 0 to 1, at quality 100
};

class PictureWriter : public testing::TestWithParam<sFormatCase>
{
protected:
    static void SetUpTestSuite() { StartPictureLibrary(); }

    std::string Path(const char* pName = "out") const { return fFolder / (std::string(pName) + GetParam().fExtension); }
    sStorage Storage() const
    {
        sStorage storage;
        storage.fKind = GetParam().fKind;
        storage.fDepth = GetParam().fDepth;
        storage.fVersion = "9.9";
        storage.fSettings = "exposure = 1\n";
        return storage;
    }
    static eSampleForm Form() { return GetParam().fDepth == 8 ? eSamples8 : eSamples16; }

    cFolder fFolder;
};

TEST_P(PictureWriter, ThePixelsArriveWithSizeDepthAndAlpha)
{
    sStorage storage = Storage();
    storage.fQuality = 100;
    for (const int channels : {3, 4}) {
        WritePicture(Smooth(Form(), channels), storage, Path());
        const sSeen seen = See(Path());
        EXPECT_EQ(seen.fWidth, kWide);
        EXPECT_EQ(seen.fHeight, kHigh);
        EXPECT_EQ(seen.fBands, GetParam().fKind == eJpeg ? 3 : channels);
        EXPECT_LE(Difference(seen), GetParam().fTolerance) << channels;
    }
}

/// The kinds whose profile libvips reads as it is stored. PngColor_test looks at PNG files.
class ProfileWriter : public PictureWriter
{
};

TEST_P(ProfileWriter, TheProfileIsTheLibrarysInEachSpace)
{
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        sStorage storage = Storage();
        storage.fSpace = space;
        storage.fQuality = 100;
        WritePicture(Smooth(Form()), storage, Path());
        EXPECT_EQ(See(Path()).fProfile, StoredProfile(space)) << space;
    }
}

class JpegXlWriter : public PictureWriter
{
};

// Decoders of lossy files make the samples from colours of another kind, by the space that the file names.
TEST_P(JpegXlWriter, ALossyFileIsDecodedIntoItsOwnSpace)
{
    std::set<std::string> profiles; // that libjxl makes of the names of the spaces
    for (int space = SELVANE_SRGB; space <= SELVANE_REC2020; space++) {
        sStorage storage = Storage();
        storage.fSpace = space;
        storage.fQuality = 95;
        WritePicture(Smooth(Form()), storage, Path());
        const sSeen seen = See(Path());
        double sum = 0;
        for (size_t i = 0; i < seen.fSamples.size(); i++)
            sum += std::fabs(seen.fSamples[i] - Expected(i, 3));
        EXPECT_LT(sum / static_cast<double>(seen.fSamples.size()), 0.01) << space;
        profiles.emplace(seen.fProfile.begin(), seen.fProfile.end());
    }
    EXPECT_EQ(profiles.size(), 5U);
}

TEST_P(PictureWriter, NoMetadataLeavesTheProfileAlone)
{
    StoreWithMetadata(fFolder / "in.jpg");
    sPicture picture = Smooth(Form());
    picture.fMetadata = ReadMetadata(ReadAll(fFolder / "in.jpg"), picture.fWarnings);
    sStorage storage = Storage();
    storage.fMetadata.fNone = true;
    EXPECT_THAT(WritePicture(picture, storage, Path()), IsEmpty());
    if (GetParam().fKind != ePng && GetParam().fKind != eJxl) {
        EXPECT_EQ(See(Path()).fProfile, StoredProfile(SELVANE_SRGB));
    }
    const bool tiff = GetParam().fKind == eTiff; // its size and layout are in the first directory
    EXPECT_EQ(Exiftool({"-s", "-EXIF:all", "-IPTC:all", "-XMP:all", tiff ? "-IFD1:all" : "-IFD0:all",
                        tiff ? "--IFD0:all" : "-IFD1:all", Path()}),
              "");
}

TEST_P(PictureWriter, HostileMetadataAreWarningsAndThePictureIsWritten)
{
    sPicture picture = Smooth(Form());
    std::mt19937 random(11);
    StoreWithMetadata(fFolder / "in.jpg");
    const sMetadata whole = ReadMetadata(ReadAll(fFolder / "in.jpg"), picture.fWarnings);
    sStorage storage = Storage();
    storage.fQuality = 100;
    for (int i = 0; i < 15; i++) {
        picture.fMetadata = {Broken(whole.fExif, random), Broken(whole.fIptc, random), Broken(whole.fXmp, random)};
        WritePicture(picture, storage, Path());
        EXPECT_LE(Difference(See(Path())), GetParam().fTolerance);
    }
}

TEST_P(PictureWriter, AnXmpPacketThatIsTooLargeForTheFormatIsAWarning)
{
    sPicture picture = Smooth(Form());
    const std::string packet = "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                               "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about='' "
                               "xmlns:dc='http://purl.org/dc/elements/1.1/' dc:source='" +
                               std::string(100000, 'x') + "'/></rdf:RDF></x:xmpmeta>";
    picture.fMetadata.fXmp.assign(packet.begin(), packet.end());
    const std::vector<std::string> warnings = WritePicture(picture, Storage(), Path());
    if (GetParam().fKind == eJpeg) {
        EXPECT_THAT(warnings, ElementsAre("its XMP data are larger than a JPEG file can hold and were left out"));
    } else {
        EXPECT_THAT(warnings, IsEmpty());
        EXPECT_EQ(TagOf(Path(), "XMP-dc:Source").size(), 100000U);
    }
}

TEST_P(PictureWriter, QualityMakesLossyFilesSmaller)
{
    const auto size = [&](int pQuality) {
        sStorage storage = Storage();
        storage.fQuality = pQuality;
        storage.fMetadata.fNone = true;
        sPicture noisy = Smooth(eSamples8);
        noisy.fPixels = Samples8(kWide, kHigh);
        if (Form() == eSamples16) {
            noisy = Smooth(eSamples16);
            const std::vector<uint16_t> samples = Samples16(kWide, kHigh);
            std::memcpy(noisy.fPixels.data(), samples.data(), noisy.fPixels.size());
        }
        WritePicture(noisy, storage, Path());
        return ReadAll(Path()).size();
    };
    const bool lossless = GetParam().fKind == ePng || GetParam().fKind == eTiff;
    if (lossless) {
        EXPECT_EQ(size(20), size(95));
    } else {
        EXPECT_LT(4 * size(20), 3 * size(95));
    }
}

const std::vector<sFormatCase> kPngs = {{".png", ePng, 8, 0.5 / 255}, {".png", ePng, 16, 1e-5}};
const std::vector<sFormatCase> kJpegXls = {{".jxl", eJxl, 8, 0.5 / 255}, {".jxl", eJxl, 16, 1e-5}};
const std::vector<sFormatCase> kOthers = {{".tif", eTiff, 8, 0.5 / 255},  {".tif", eTiff, 16, 1e-5},
                                          {".jpg", eJpeg, 8, 4.0 / 255},  {".webp", eWebp, 8, 8.0 / 255},
                                          {".avif", eAvif, 8, 3.0 / 255}, {".avif", eAvif, 10, 2.0 / 255},
                                          {".avif", eAvif, 12, 2.0 / 255}};

/// "png16".
std::string NameOf(const testing::TestParamInfo<sFormatCase>& pInfo)
{
    return std::string(pInfo.param.fExtension).substr(1) + std::to_string(pInfo.param.fDepth);
}

INSTANTIATE_TEST_SUITE_P(Png, PictureWriter, testing::ValuesIn(kPngs), NameOf);
INSTANTIATE_TEST_SUITE_P(JpegXl, PictureWriter, testing::ValuesIn(kJpegXls), NameOf);
INSTANTIATE_TEST_SUITE_P(Others, PictureWriter, testing::ValuesIn(kOthers), NameOf);
INSTANTIATE_TEST_SUITE_P(JpegXl, ProfileWriter, testing::ValuesIn(kJpegXls), NameOf);
INSTANTIATE_TEST_SUITE_P(Others, ProfileWriter, testing::ValuesIn(kOthers), NameOf);
INSTANTIATE_TEST_SUITE_P(All, JpegXlWriter, testing::ValuesIn(kJpegXls), NameOf);

} // namespace

} // namespace SelvaneTest
