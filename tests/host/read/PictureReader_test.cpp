// Reading through the picture library and through OpenEXR, in this process.

#include "host/Workshop.h"
#include "picture/Errors.h"
#include "picture/ExponentPlanes.h"
#include "picture/PngColor.h"
#include "picture/ProfileMatch.h"
#include "read/PictureReader.h"

#include <ImfArray.h>
#include <ImfChannelList.h>
#include <ImfHeader.h>
#include <ImfMultiPartOutputFile.h>
#include <ImfOutputFile.h>
#include <ImfOutputPart.h>
#include <ImfPartType.h>
#include <ImfRgbaFile.h>
#include <ImfTiledOutputFile.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vips/vips.h>

#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

namespace
{

using namespace SelvaneHost;
using SelvaneTest::cFolder;
using SelvaneTest::Floats;
using SelvaneTest::OneOfEachKind;
using SelvaneTest::ReadAll;
using SelvaneTest::Rgb16;
using SelvaneTest::Rgb8;
using SelvaneTest::Samples16;
using SelvaneTest::Samples8;
using SelvaneTest::sStored;
using SelvaneTest::Store;
using SelvaneTest::StoreExr;
using SelvaneTest::WriteAll;
using testing::ElementsAre;
using testing::HasSubstr;

class PictureReader : public testing::Test
{
protected:
    static void SetUpTestSuite() { StartPictureLibrary(); }

    sPicture Read(const std::string& pName) const { return ReadPictureFile(fFolder / pName); }

    std::string Refusal(const std::string& pName) const
    {
        try {
            Read(pName);
        } catch (const cHostError& failure) {
            return failure.what();
        }
        return "";
    }

    cFolder fFolder;
};

tBytes BytesOf(const std::vector<uint16_t>& pSamples)
{
    tBytes bytes(pSamples.size() * 2);
    std::memcpy(bytes.data(), pSamples.data(), bytes.size());
    return bytes;
}

/// The planes that interleaved floats must become.
tBytes PlanesOf(const std::vector<float>& pFloats, int pWidth)
{
    tBytes planes(pFloats.size() / 3 * 4);
    for (size_t row = 0; row * static_cast<size_t>(pWidth) * 3 < pFloats.size(); row++) {
        const float* const first = pFloats.data() + row * static_cast<size_t>(pWidth) * 3;
        ToExponentRow(first, first + 1, first + 2, 3, pWidth, planes.data() + row * static_cast<size_t>(pWidth) * 4);
    }
    return planes;
}

std::vector<float> Channel(const std::vector<float>& pFloats, size_t pIndex)
{
    std::vector<float> plane;
    for (size_t i = pIndex; i < pFloats.size(); i += 3)
        plane.push_back(pFloats[i]);
    return plane;
}

TEST_F(PictureReader, LosslessSamplesArriveAsStored)
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
        EXPECT_FALSE(deep.fColorSpace.has_value());
    }
}

TEST_F(PictureReader, JpegSamplesAreWhatThePictureLibraryDecodes)
{
    const tBytes samples = Samples8(40, 30);
    Store(fFolder / "a.jpg", samples.data(), 40, 30, Rgb8());
    EXPECT_EQ(Read("a.jpg").fPixels, SelvaneTest::Look(fFolder / "a.jpg").fPixels);
}

TEST_F(PictureReader, MoreRowsThanOneStripArrive)
{
    const tBytes samples = Samples8(3, 200);
    Store(fFolder / "a.png", samples.data(), 3, 200, Rgb8());
    EXPECT_EQ(Read("a.png").fPixels, samples);
}

TEST_F(PictureReader, GreyIsExpandedToThreeSamples)
{
    const tBytes eight = {0, 100, 255};
    Store(fFolder / "a.png", eight.data(), 3, 1, {1, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, {}, 1, {}});
    EXPECT_EQ(Read("a.png").fPixels, (tBytes{0, 0, 0, 100, 100, 100, 255, 255, 255}));
    const std::vector<uint16_t> sixteen = {0, 1000, 65535};
    Store(fFolder / "b.tif", sixteen.data(), 3, 1, {1, VIPS_FORMAT_USHORT, VIPS_INTERPRETATION_GREY16, {}, 1, {}});
    EXPECT_EQ(Read("b.tif").fPixels, BytesOf({0, 0, 0, 1000, 1000, 1000, 65535, 65535, 65535}));
    EXPECT_TRUE(Read("b.tif").fWarnings.empty());
}

TEST_F(PictureReader, AlphaIsDroppedWithAWarning)
{
    const tBytes colors = {1, 2, 3, 40, 5, 6, 7, 80};
    Store(fFolder / "a.png", colors.data(), 2, 1, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_EQ(Read("a.png").fPixels, (tBytes{1, 2, 3, 5, 6, 7}));
    EXPECT_THAT(Read("a.png").fWarnings, ElementsAre(HasSubstr("alpha")));
    const tBytes grey = {9, 40, 8, 80};
    Store(fFolder / "b.png", grey.data(), 2, 1, {2, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_B_W, {}, 1, {}});
    EXPECT_EQ(Read("b.png").fPixels, (tBytes{9, 9, 9, 8, 8, 8}));
    EXPECT_THAT(Read("b.png").fWarnings, ElementsAre(HasSubstr("alpha")));
    const tBytes five = {1, 2, 3, 4, 5};
    Store(fFolder / "c.tif", five.data(), 1, 1, {5, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_EQ(Read("c.tif").fPixels, (tBytes{1, 2, 3}));
    EXPECT_THAT(Read("c.tif").fWarnings, ElementsAre(HasSubstr("2 further channels")));
}

TEST_F(PictureReader, FloatsOfATiffBecomePlanes)
{
    const std::vector<float> floats = Floats(6, 4);
    Store(fFolder / "a.tif", floats.data(), 6, 4, {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB, {}, 1, {}});
    const sPicture picture = Read("a.tif");
    EXPECT_EQ(picture.fForm, eExponentPlanes);
    EXPECT_EQ(picture.fPixels, PlanesOf(floats, 6));
}

TEST_F(PictureReader, ExrFloatsBecomePlanes)
{
    std::vector<float> floats = Floats(6, 300); // more rows than are read at once
    floats[0] = 1e38F;                          // beyond what 16-bit floats hold
    floats[1] = -1.0F;
    floats[2] = std::numeric_limits<float>::quiet_NaN();
    floats[3] = std::numeric_limits<float>::infinity();
    floats[6] = 70000.0F;
    StoreExr(fFolder / "a.exr", 6, 300,
             {{"R", Channel(floats, 0)}, {"G", Channel(floats, 1)}, {"B", Channel(floats, 2)}});
    const sPicture picture = Read("a.exr");
    EXPECT_EQ(picture.fForm, eExponentPlanes);
    EXPECT_EQ(picture.fWidth, 6);
    EXPECT_EQ(picture.fHeight, 300);
    EXPECT_EQ(picture.fPixels, PlanesOf(floats, 6));
    EXPECT_TRUE(picture.fWarnings.empty());
}

TEST_F(PictureReader, ExrChannelsAreFoundWhereTheyAre)
{
    const std::vector<float> floats = Floats(4, 3);
    const std::vector<float> r = Channel(floats, 0), g = Channel(floats, 1), b = Channel(floats, 2);
    StoreExr(fFolder / "alpha.exr", 4, 3, {{"A", r}, {"B", b}, {"G", g}, {"R", r}, {"Z", b}});
    EXPECT_EQ(Read("alpha.exr").fPixels, PlanesOf(floats, 4));
    EXPECT_THAT(Read("alpha.exr").fWarnings, ElementsAre(HasSubstr("alpha")));
    StoreExr(fFolder / "layer.exr", 4, 3,
             {{"view.light.B", b}, {"view.light.G", g}, {"view.light.R", r}, {"depth.Z", r}});
    EXPECT_EQ(Read("layer.exr").fPixels, PlanesOf(floats, 4));
    EXPECT_THAT(Read("layer.exr").fWarnings, ElementsAre(HasSubstr("\"view.light\"")));
    StoreExr(fFolder / "grey.exr", 4, 3, {{"Y", g}});
    std::vector<float> grey;
    for (const float value : g)
        grey.insert(grey.end(), 3, value);
    EXPECT_EQ(Read("grey.exr").fPixels, PlanesOf(grey, 4));
    StoreExr(fFolder / "none.exr", 4, 3, {{"R", r}, {"G", g}});
    EXPECT_THAT(Refusal("none.exr"), HasSubstr("no channels R, G and B"));
    StoreExr(fFolder / "chroma.exr", 4, 3, {{"Y", g}, {"RY", r}, {"BY", b}});
    EXPECT_THAT(Refusal("chroma.exr"), HasSubstr("subsampled colour"));
}

/// A flat picture of 20 by 18 pixels, 16-bit floats of 3 in R, G and B.
class cFlatExr
{
public:
    explicit cFlatExr(Imf::Compression pCompression) : fHeader(20, 18)
    {
        fHeader.compression() = pCompression;
        for (const char* name : {"R", "G", "B"}) {
            fHeader.channels().insert(name, Imf::Channel(Imf::HALF));
            fBuffer.insert(name, Imf::Slice(Imf::HALF, reinterpret_cast<char*>(fPlane.data()), sizeof(Imath::half),
                                            20 * sizeof(Imath::half)));
        }
    }

    void StoreRows(const std::string& pPath)
    {
        Imf::OutputFile file(pPath.c_str(), fHeader);
        file.setFrameBuffer(fBuffer);
        file.writePixels(18);
    }

    void StoreTiles(const std::string& pPath)
    {
        fHeader.setTileDescription(Imf::TileDescription(8, 8, Imf::MIPMAP_LEVELS));
        Imf::TiledOutputFile file(pPath.c_str(), fHeader);
        file.setFrameBuffer(fBuffer);
        for (int level = 0; level < file.numLevels(); level++)
            file.writeTiles(0, file.numXTiles(level) - 1, 0, file.numYTiles(level) - 1, level);
    }

    /// A part without colours before it.
    void StoreAsSecondPart(const std::string& pPath)
    {
        Imf::Header depth(20, 18);
        depth.dataWindow() = Imath::Box2i(Imath::V2i(0, 0), Imath::V2i(6, 4));
        depth.channels().insert("Z", Imf::Channel(Imf::HALF));
        depth.setName("depth");
        depth.setType(Imf::SCANLINEIMAGE);
        fHeader.setName("colours");
        fHeader.setType(Imf::SCANLINEIMAGE);
        const Imf::Header headers[] = {depth, fHeader};
        Imf::MultiPartOutputFile file(pPath.c_str(), headers, 2);
        Imf::FrameBuffer depths;
        depths.insert("Z", Imf::Slice(Imf::HALF, reinterpret_cast<char*>(fPlane.data()), sizeof(Imath::half),
                                      7 * sizeof(Imath::half)));
        Imf::OutputPart first(file, 0);
        first.setFrameBuffer(depths);
        first.writePixels(5);
        Imf::OutputPart second(file, 1);
        second.setFrameBuffer(fBuffer);
        second.writePixels(18);
    }

    static tBytes Planes() { return PlanesOf(std::vector<float>(3 * 20 * 18, 3.0F), 20); }

private:
    Imf::Header fHeader;
    Imf::FrameBuffer fBuffer;
    std::vector<Imath::half> fPlane = std::vector<Imath::half>(20 * 18, Imath::half(3.0F));
};

TEST_F(PictureReader, ExrOfEveryCompressionIsRead)
{
    for (int compression = 0; compression < Imf::NUM_COMPRESSION_METHODS; compression++) {
        cFlatExr picture(static_cast<Imf::Compression>(compression));
        picture.StoreRows(fFolder / "rows.exr");
        EXPECT_EQ(Read("rows.exr").fPixels, cFlatExr::Planes()) << compression;
        picture.StoreTiles(fFolder / "tiles.exr");
        EXPECT_EQ(Read("tiles.exr").fPixels, cFlatExr::Planes()) << compression;
    }
}

/// The last part said to be one column wider than its rows are.
tBytes Widened(tBytes pFile)
{
    const std::string name("dataWindow\0box2i\0", 17);
    const auto found = std::find_end(pFile.begin(), pFile.end(), name.begin(), name.end());
    unsigned char& right = *(found + static_cast<std::ptrdiff_t>(name.size()) + 12); // behind the size and two numbers
    EXPECT_EQ(right, 19);
    right = 20;
    return pFile;
}

// DWAA and DWAB fill the column from the block of pixels that it is in.
TEST_F(PictureReader, ExrWhoseRowsHoldTooLittleIsRefused)
{
    for (int compression = 0; compression < Imf::DWAA_COMPRESSION; compression++) {
        cFlatExr picture(static_cast<Imf::Compression>(compression));
        picture.StoreRows(fFolder / "a.exr");
        WriteAll(fFolder / "rows.exr", Widened(ReadAll(fFolder / "a.exr")));
        EXPECT_THAT(Refusal("rows.exr"), HasSubstr("damaged or cut short")) << compression;
        picture.StoreTiles(fFolder / "a.exr");
        WriteAll(fFolder / "tiles.exr", Widened(ReadAll(fFolder / "a.exr")));
        EXPECT_THAT(Refusal("tiles.exr"), HasSubstr("damaged or cut short")) << compression;
    }
}

TEST_F(PictureReader, ExrOfTwoPartsGivesTheOneWithColors)
{
    cFlatExr(Imf::ZIP_COMPRESSION).StoreAsSecondPart(fFolder / "a.exr");
    EXPECT_EQ(Read("a.exr").fPixels, cFlatExr::Planes());
    WriteAll(fFolder / "wide.exr", Widened(ReadAll(fFolder / "a.exr")));
    EXPECT_THAT(Refusal("wide.exr"), HasSubstr("does not unpack to its size"));
}

/// The size that the last attribute of a name and type claims, changed.
tBytes WithAttributeSize(tBytes pFile, const std::string& pNameAndType, uint32_t pSize)
{
    const auto found = std::find_end(pFile.begin(), pFile.end(), pNameAndType.begin(), pNameAndType.end());
    EXPECT_NE(found, pFile.end());
    auto byte = found + static_cast<std::ptrdiff_t>(pNameAndType.size());
    for (int shift = 0; shift < 32; shift += 8)
        *byte++ = static_cast<unsigned char>(pSize >> shift);
    return pFile;
}

TEST_F(PictureReader, ExrWithAnAttributeLongerThanTheFileIsRefused)
{
    const std::string order("lineOrder\0lineOrder\0", 20);
    cFlatExr(Imf::ZIP_COMPRESSION).StoreRows(fFolder / "a.exr");
    const tBytes onePart = ReadAll(fFolder / "a.exr");
    cFlatExr(Imf::ZIP_COMPRESSION).StoreAsSecondPart(fFolder / "b.exr");
    const tBytes twoParts = ReadAll(fFolder / "b.exr");
    const auto refusal = [&](const tBytes& pFile) {
        WriteAll(fFolder / "claims.exr", pFile);
        return Refusal("claims.exr");
    };
    const std::string words = "damaged or cut short: an attribute is longer than the file";
    EXPECT_THAT(refusal(WithAttributeSize(onePart, order, 0x7FFFFFFF)), HasSubstr(words));
    EXPECT_THAT(refusal(WithAttributeSize(onePart, order, 0xFFFFFFFF)), HasSubstr(words));
    EXPECT_THAT(refusal(WithAttributeSize(twoParts, order, 0x7FFFFFFF)), HasSubstr(words));
}

TEST_F(PictureReader, ExrInTilesAndWithAShiftedWindowIsRead)
{
    const std::vector<float> floats = Floats(50, 40);
    const Imath::Box2i window(Imath::V2i(-7, 11), Imath::V2i(42, 50));
    Imf::Header header(window, window);
    header.setTileDescription(Imf::TileDescription(16, 16, Imf::ONE_LEVEL));
    Imf::FrameBuffer buffer;
    std::vector<float> planes[3];
    const char* const names[3] = {"R", "G", "B"};
    for (size_t i = 0; i < 3; i++) {
        planes[i] = Channel(floats, i);
        header.channels().insert(names[i], Imf::Channel(Imf::FLOAT));
        buffer.insert(names[i], Imf::Slice::Make(Imf::FLOAT, planes[i].data(), window));
    }
    {
        Imf::TiledOutputFile file((fFolder / "a.exr").c_str(), header);
        file.setFrameBuffer(buffer);
        file.writeTiles(0, file.numXTiles() - 1, 0, file.numYTiles() - 1);
    }
    EXPECT_EQ(Read("a.exr").fPixels, PlanesOf(floats, 50));
}

TEST_F(PictureReader, ChromaticitiesOfExrDecideTheColorSpace)
{
    const std::vector<float> plane(4, 1.0F);
    const auto read = [&](const std::vector<float>& pChromaticities) {
        StoreExr(fFolder / "a.exr", 2, 2, {{"R", plane}, {"G", plane}, {"B", plane}}, pChromaticities);
        return Read("a.exr");
    };
    EXPECT_FALSE(read({}).fColorSpace.has_value());
    EXPECT_EQ(read({0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F}).fColorSpace,
              Vornik::eColorSpace_ProPhotoRGB);
    const sPicture other = read({0.713F, 0.293F, 0.165F, 0.830F, 0.128F, 0.044F});
    EXPECT_FALSE(other.fColorSpace.has_value());
    EXPECT_THAT(other.fColorSpaceWarning, HasSubstr("none of sRGB"));
}

TEST_F(PictureReader, TheEmbeddedProfileDecidesTheColorSpace)
{
    const tBytes samples = Samples8(2, 2);
    for (const auto space :
         {Vornik::eColorSpace_sRGB, Vornik::eColorSpace_AdobeRGB98, Vornik::eColorSpace_ProPhotoRGB}) {
        for (const char* name : {"a.png", "a.tif", "a.jpg"}) {
            sStored how = Rgb8();
            how.fProfile = StoredProfile(space);
            Store(fFolder / name, samples.data(), 2, 2, how);
            EXPECT_EQ(Read(name).fColorSpace, space) << name;
            EXPECT_EQ(Read(name).fColorSpaceWarning, "");
        }
    }
}

TEST_F(PictureReader, TheCamerasWordCountsWhereThereIsNoProfile)
{
    const tBytes samples = Samples8(2, 2);
    sStored how = Rgb8();
    how.fInteroperability = "R03";
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_EQ(Read("a.jpg").fColorSpace, Vornik::eColorSpace_AdobeRGB98);
    how.fProfile = StoredProfile(Vornik::eColorSpace_ProPhotoRGB);
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_EQ(Read("a.jpg").fColorSpace, Vornik::eColorSpace_ProPhotoRGB);
    how = Rgb8();
    how.fInteroperability = "R98";
    Store(fFolder / "a.jpg", samples.data(), 2, 2, how);
    EXPECT_FALSE(Read("a.jpg").fColorSpace.has_value());
}

TEST_F(PictureReader, TheSrgbChunkOfAPngCountsWhereThereIsNoProfile)
{
    const tBytes samples = Samples8(2, 2);
    const auto with = [&](const tBytes& pChunks) {
        Store(fFolder / "a.png", samples.data(), 2, 2, Rgb8());
        tBytes file = ReadAll(fFolder / "a.png");
        file.insert(file.begin() + kPngColorPlace, pChunks.begin(), pChunks.end());
        WriteAll(fFolder / "a.png", file);
        return Read("a.png").fColorSpace;
    };
    EXPECT_EQ(with({}), std::nullopt);
    tBytes chunks = PngSrgbChunks();
    EXPECT_EQ(with(chunks), Vornik::eColorSpace_sRGB);
    const tBytes profile = PngProfileChunk(StoredProfile(Vornik::eColorSpace_ProPhotoRGB), "a name");
    chunks.insert(chunks.end(), profile.begin(), profile.end());
    EXPECT_EQ(with(chunks), Vornik::eColorSpace_ProPhotoRGB) << "whatever comes first in the file";
}

TEST_F(PictureReader, AProfileThatIsNoneOfTheThreeIsNamed)
{
    sStored how = Rgb8();
    how.fProfile = StoredProfile(Vornik::eColorSpace_AdobeRGB98);
    how.fProfile[500 + 8 + 2] = 0; // its red primary is no longer that of Adobe RGB
    const tBytes samples = Samples8(2, 2);
    Store(fFolder / "a.tif", samples.data(), 2, 2, how);
    const sPicture picture = Read("a.tif");
    EXPECT_FALSE(picture.fColorSpace.has_value());
    EXPECT_THAT(picture.fColorSpaceWarning, HasSubstr("\"Adobe RGB (1998)\" is none of"));
}

// A 3 x 2 picture turned by each of the eight orientations: value of the upper left pixel and the size as seen.
TEST_F(PictureReader, ExifOrientationIsCarriedOut)
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

TEST_F(PictureReader, ColorsOtherThanRgbAndGreyAreRefusedInWords)
{
    const tBytes four(4 * 4 * 4, 100);
    for (const char* name : {"cmyk.tif", "cmyk.jpg"}) {
        Store(fFolder / name, four.data(), 4, 4, {4, VIPS_FORMAT_UCHAR, VIPS_INTERPRETATION_CMYK, {}, 1, {}});
        EXPECT_THAT(Refusal(name), HasSubstr("CMYK")) << name;
    }
    const std::vector<float> lab(4 * 4 * 3, 10.0F);
    Store(fFolder / "lab.tif", lab.data(), 4, 4, {3, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_LAB, {}, 1, {}});
    EXPECT_THAT(Refusal("lab.tif"), HasSubstr("\"lab\""));
    const std::vector<uint32_t> deep(4 * 4 * 3, 10);
    Store(fFolder / "deep.tif", deep.data(), 4, 4, {3, VIPS_FORMAT_UINT, VIPS_INTERPRETATION_sRGB, {}, 1, {}});
    EXPECT_THAT(Refusal("deep.tif"), HasSubstr("\"uint\""));
}

TEST_F(PictureReader, WhatIsNoPictureOfTheKnownKindsIsRefused)
{
    SelvaneTest::WriteAll(fFolder / "empty.png", "");
    EXPECT_THAT(Refusal("empty.png"), HasSubstr("empty"));
    for (const char* text :
         {"hello", "P6 1 1 255\n...", "GIF89a......", "RIFF....WEBPVP8 ", "<svg xmlns='x'/>", "\x89PN", "II*"}) {
        SelvaneTest::WriteAll(fFolder / "other.png", std::string(text));
        EXPECT_THAT(Refusal("other.png"), HasSubstr("not a picture of a kind that can be read")) << text;
    }
    EXPECT_THAT(Refusal("missing.png"), HasSubstr("No such file or directory"));
    EXPECT_THAT(Refusal("."), HasSubstr("Is a directory"));
}

TEST_F(PictureReader, TheLoadersThatThePictureLibraryDoesNotTrustAreBlocked)
{
    for (const char* blocked : {"ppmload", "radload", "openexrload", "svgload", "vipsload", "csvload"}) {
        VipsOperation* const operation = vips_operation_new(blocked);
        const auto flags = operation == nullptr ? 0 : VIPS_OPERATION_GET_CLASS(operation)->flags;
        EXPECT_TRUE(operation == nullptr || (flags & VIPS_OPERATION_BLOCKED) != 0) << blocked;
    }
    for (const char* open : {"pngload_buffer", "jpegload_buffer", "tiffload_buffer"})
        EXPECT_EQ(VIPS_OPERATION_GET_CLASS(vips_operation_new(open))->flags & VIPS_OPERATION_BLOCKED, 0) << open;
    const std::string text = "P5 1 1 255\nx";
    EXPECT_EQ(vips_image_new_from_buffer(text.data(), text.size(), "", nullptr), nullptr);
    vips_error_clear();
}

#ifndef SELVANE_SANITIZED // a sanitizer ends the process itself
TEST_F(PictureReader, WhatThePictureLibrarySaysBeforeItEndsTheProcessIsShown)
{
    EXPECT_EXIT(g_malloc(size_t{1} << 62), testing::KilledBySignal(SIGTRAP),
                "^selvane: the picture library gives up: [^\n]*failed to allocate[^\n]*\n$");
}
#endif

// The last things in a TIFF are its directory and the colour profile: none of it may be missed.
TEST_F(PictureReader, EveryCutOfATiffIsRefused)
{
    const tBytes eight = Samples8(24, 20);
    sStored profiled = Rgb8();
    profiled.fProfile = StoredProfile(Vornik::eColorSpace_AdobeRGB98);
    Store(fFolder / "a.tif", eight.data(), 24, 20, profiled);
    Store(fFolder / "big.tif[bigtiff]", eight.data(), 24, 20, profiled);
    for (const char* name : {"a.tif", "big.tif"}) {
        const tBytes whole = ReadAll(fFolder / name);
        ASSERT_EQ(Refusal(name), "");
        for (size_t size = 0; size + 1 < whole.size(); size += 5) // the very last byte may be padding
            ASSERT_THROW(ReadPicture(tBytes(whole.begin(), whole.begin() + static_cast<long>(size))), cHostError)
                << name << " of " << size << " bytes";
    }
}

TEST_F(PictureReader, CutFilesAreRefused)
{
    for (const auto& [name, whole] : OneOfEachKind(fFolder)) {
        ASSERT_EQ(Refusal(name), "") << name;
        for (size_t tenth = 0; tenth < 9; tenth++) {
            const tBytes cut(whole.begin(), whole.begin() + static_cast<long>(whole.size() * tenth / 10));
            SelvaneTest::WriteAll(fFolder / "cut", cut);
            EXPECT_NE(Refusal("cut"), "") << name << " cut to " << tenth << " tenths";
        }
    }
}

// Whatever the bytes are, the reader either gives a picture or says why not.
TEST_F(PictureReader, BrokenFilesEndInAPictureOrInWords)
{
    std::mt19937 random(11);
    int refused = 0;
    for (const auto& [name, whole] : OneOfEachKind(fFolder)) {
        for (int round = 0; round < 1000; round++) {
            try {
                const sPicture picture = ReadPicture(SelvaneTest::Broken(whole, random));
                EXPECT_EQ(picture.fPixels.size(), RowBytes(picture) * static_cast<size_t>(picture.fHeight));
            } catch (const cHostError& failure) {
                refused++;
                EXPECT_STRNE(failure.what(), "");
            } catch (const std::bad_alloc&) {
                refused++;
            }
        }
    }
    EXPECT_GT(refused, 1000) << "most of what is broken shows";
}

} // namespace
