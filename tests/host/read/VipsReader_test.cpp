// PNG, TIFF and JPEG files.

#include "host/read/ReadingTest.h"
#include "picture/Color.h"
#include "picture/PngColor.h"

#include <vips/vips.h>

namespace
{

using namespace SelvaneHost;
using namespace SelvaneTest;
using testing::ElementsAre;
using testing::HasSubstr;

class VipsReader : public cReadingTest
{
};

TEST_F(VipsReader, LosslessSamplesArriveAsStored)
{
    const tBytes eight = Samples8(7, 5);
    const std::vector<uint16_t> sixteen = Samples16(7, 5);
    for (const char* name : {"a.png", "a.tif"}) {
        Store(fFolder / name, eight.data(), 7, 5, Rgb8());
        const sPicture picture = Read(name);
        EXPECT_EQ(picture.fForm, eSamples8);
        EXPECT_EQ(picture.fWidth, 7);
        EXPECT_EQ(picture.fHeight, 5);
        EXPECT_EQ(picture.fPixels, eight);
        Store(fFolder / name, sixteen.data(), 7, 5, Rgb16());
        const sPicture deep = Read(name);
        EXPECT_EQ(deep.fForm, eSamples16);
        EXPECT_EQ(deep.fPixels, BytesOf(sixteen));
        EXPECT_TRUE(deep.fWarnings.empty());
        EXPECT_FALSE(deep.fColor.fIsNamed);
    }
}

TEST_F(VipsReader, JpegSamplesAreThoseOfLibvips)
{
    const tBytes samples = Samples8(40, 30);
    Store(fFolder / "a.jpg", samples.data(), 40, 30, Rgb8());
    EXPECT_EQ(Read("a.jpg").fPixels, Look(fFolder / "a.jpg").fPixels);
}

TEST_F(VipsReader, MoreRowsThanOneStripArrive)
{
    const tBytes samples = Samples8(3, 200);
    Store(fFolder / "a.png", samples.data(), 3, 200, Rgb8());
    EXPECT_EQ(Read("a.png").fPixels, samples);
}

TEST_F(VipsReader, GreyIsExpandedToThreeSamples)
{
    const tBytes eight = {0, 100, 255};
    Store(fFolder / "a.png", eight.data(), 3, 1, {1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, {}, 1, {}});
    EXPECT_EQ(Read("a.png").fPixels, (tBytes{0, 0, 0, 100, 100, 100, 255, 255, 255}));
    const std::vector<uint16_t> sixteen = {0, 1000, 65535};
    Store(fFolder / "b.tif", sixteen.data(), 3, 1, {1, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16, {}, 1, {}});
    EXPECT_EQ(Read("b.tif").fPixels, BytesOf<uint16_t>({0, 0, 0, 1000, 1000, 1000, 65535, 65535, 65535}));
    EXPECT_TRUE(Read("b.tif").fWarnings.empty());
}

TEST_F(VipsReader, AlphaIsTheFourthChannel)
{
    const tBytes colors = {1, 2, 3, 40, 5, 6, 7, 80};
    Store(fFolder / "a.png", colors.data(), 2, 1, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_EQ(Read("a.png").fChannels, 4);
    EXPECT_EQ(Read("a.png").fPixels, colors);
    EXPECT_TRUE(Read("a.png").fWarnings.empty());
    const tBytes grey = {9, 40, 8, 80};
    Store(fFolder / "b.png", grey.data(), 2, 1, {2, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, {}, 1, {}});
    EXPECT_EQ(Read("b.png").fPixels, (tBytes{9, 9, 9, 40, 8, 8, 8, 80}));
    const tBytes five = {1, 2, 3, 4, 5};
    Store(fFolder / "c.tif", five.data(), 1, 1, {5, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_EQ(Read("c.tif").fChannels, 3);
    EXPECT_EQ(Read("c.tif").fPixels, (tBytes{1, 2, 3}));
    EXPECT_THAT(Read("c.tif").fWarnings, ElementsAre(HasSubstr("2 further channels")));
}

TEST_F(VipsReader, FloatsOfATiffArriveAsStored)
{
    const std::vector<float> floats = Floats(6, 4);
    Store(fFolder / "a.tif", floats.data(), 6, 4, {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB, {}, 1, {}});
    const sPicture picture = Read("a.tif");
    EXPECT_EQ(picture.fForm, eFloats);
    EXPECT_EQ(picture.fPixels, BytesOf(floats));
}

TEST_F(VipsReader, TheEmbeddedProfileDecidesTheColorSpace)
{
    const tBytes samples = Samples8(2, 2);
    for (const auto space : {SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO}) {
        for (const char* name : {"a.png", "a.tif", "a.jpg"}) {
            sStored how = Rgb8();
            how.fProfile = StoredProfile(space);
            Store(fFolder / name, samples.data(), 2, 2, how);
            EXPECT_EQ(NamedSpace(Read(name)), space) << name;
            EXPECT_EQ(Read(name).fColorSpaceWarning, "");
        }
    }
}

TEST_F(VipsReader, ExifDecidesTheColorSpaceWithoutAProfile)
{
    const tBytes samples = Samples8(2, 2);
    sStored how = Rgb8();
    how.fInteroperability = "R03";
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_EQ(NamedSpace(Read("a.jpg")), SELVANE_ADOBE_RGB);
    how.fProfile = StoredProfile(SELVANE_PROPHOTO);
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_EQ(NamedSpace(Read("a.jpg")), SELVANE_PROPHOTO);
    how = Rgb8();
    how.fInteroperability = "R98";
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_FALSE(Read("a.jpg").fColor.fIsNamed);
}

TEST_F(VipsReader, TheSrgbChunkOfAPngDecidesWithoutAProfile)
{
    const tBytes samples = Samples8(2, 2);
    const auto with = [&](const tBytes& pChunks) {
        Store(fFolder / "a.png", samples.data(), 2, 2, Rgb8());
        tBytes file = ReadAll(fFolder / "a.png");
        file.insert(file.begin() + kPngColorPlace, pChunks.begin(), pChunks.end());
        WriteAll(fFolder / "a.png", file);
        return NamedSpace(Read("a.png"));
    };
    EXPECT_EQ(with({}), std::nullopt);
    tBytes chunks = PngSrgbChunks();
    EXPECT_EQ(with(chunks), SELVANE_SRGB);
    const tBytes profile = PngProfileChunk(StoredProfile(SELVANE_PROPHOTO), "a name");
    chunks.insert(chunks.end(), profile.begin(), profile.end());
    EXPECT_EQ(with(chunks), SELVANE_PROPHOTO) << "whatever comes first in the file";
}

TEST_F(VipsReader, AProfileThatIsNoneOfTheThreeIsNamed)
{
    sStored how = Rgb8();
    how.fProfile = StoredProfile(SELVANE_ADOBE_RGB);
    how.fProfile[500 + 8 + 2] = 0; // its red primary is no longer that of Adobe RGB
    const tBytes samples = Samples8(2, 2);
    Store(fFolder / "a.tif", samples.data(), 2, 2, how);
    const sPicture picture = SelvaneHost::ReadPictureFile(fFolder / "a.tif", {.fAsEntry = true});
    EXPECT_FALSE(picture.fColor.fIsNamed);
    EXPECT_THAT(picture.fColorSpaceWarning, HasSubstr("\"Adobe RGB (1998)\" is none of"));
    EXPECT_EQ(NamedSpace(Read("a.tif")), SELVANE_CUSTOM);
}

// A 3 x 2 picture with each of the eight orientations. The table holds the upper left pixel and the upright size.
TEST_F(VipsReader, ExifOrientationIsCarriedOut)
{
    tBytes samples;
    for (unsigned char i = 1; i <= 6; i++) // 1 2 3 over 4 5 6
        samples.insert(samples.end(), 3, i);
    const int expected[9][3] = {{},        {1, 3, 2}, {3, 3, 2}, {6, 3, 2}, {4, 3, 2},
                                {1, 2, 3}, {4, 2, 3}, {6, 2, 3}, {3, 2, 3}};
    for (int orientation = 1; orientation <= 8; orientation++) {
        sStored how = Rgb8();
        how.fOrientation = orientation;
        Store(fFolder / "a.tif", samples.data(), 3, 2, how);
        const sPicture picture = Read("a.tif");
        EXPECT_EQ(picture.fPixels[0], expected[orientation][0]) << orientation;
        EXPECT_EQ(picture.fWidth, expected[orientation][1]) << orientation;
        EXPECT_EQ(picture.fHeight, expected[orientation][2]) << orientation;
    }
}

TEST_F(VipsReader, ColorsOtherThanRgbAndGreyAreRefusedInWords)
{
    const tBytes four(4 * 4 * 4, 100);
    for (const char* name : {"cmyk.tif", "cmyk.jpg"}) {
        Store(fFolder / name, four.data(), 4, 4, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK, {}, 1, {}});
        EXPECT_THAT(RefusalOf(name), HasSubstr("CMYK")) << name;
    }
    const std::vector<float> lab(4 * 4 * 3, 10.0F);
    Store(fFolder / "lab.tif", lab.data(), 4, 4, {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_LAB, {}, 1, {}});
    EXPECT_THAT(RefusalOf("lab.tif"), HasSubstr("\"lab\""));
    const std::vector<uint32_t> deep(4 * 4 * 3, 10);
    Store(fFolder / "deep.tif", deep.data(), 4, 4, {3, VIPS_FORMAT_UINT, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_THAT(RefusalOf("deep.tif"), HasSubstr("\"uint\""));
}

} // namespace
