#include "host/read/ReadingTest.h"

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfMultiPartOutputFile.h>
#include <ImfOutputFile.h>
#include <ImfOutputPart.h>
#include <ImfPartType.h>
#include <ImfTiledOutputFile.h>

#include <algorithm>
#include <limits>

namespace
{

using namespace SelvaneHost;
using namespace SelvaneTest;
using testing::ElementsAre;
using testing::HasSubstr;

class OpenExrReader : public cReadingTest
{
};

std::vector<float> Channel(const std::vector<float>& pFloats, size_t pIndex)
{
    std::vector<float> plane;
    for (size_t i = pIndex; i < pFloats.size(); i += 3)
        plane.push_back(pFloats[i]);
    return plane;
}

TEST_F(OpenExrReader, FloatsArriveAsStored)
{
    std::vector<float> floats = Floats(6, 300); // more rows than the reader takes at once
    floats[0] = 1e38F;                          // above the range of 16-bit floats
    floats[1] = -1.0F;
    floats[2] = std::numeric_limits<float>::quiet_NaN();
    floats[3] = std::numeric_limits<float>::infinity();
    floats[6] = 70000.0F;
    StoreExr(fFolder / "a.exr", 6, 300,
             {{"R", Channel(floats, 0)}, {"G", Channel(floats, 1)}, {"B", Channel(floats, 2)}});
    const sPicture picture = Read("a.exr");
    EXPECT_EQ(picture.fForm, eFloats);
    EXPECT_EQ(picture.fChannels, 3);
    EXPECT_EQ(picture.fWidth, 6);
    EXPECT_EQ(picture.fHeight, 300);
    EXPECT_EQ(picture.fPixels, BytesOf(floats));
    EXPECT_TRUE(picture.fWarnings.empty());
}

TEST_F(OpenExrReader, ChannelsAreFoundInPartsAndLayers)
{
    const std::vector<float> floats = Floats(4, 3);
    const std::vector<float> r = Channel(floats, 0), g = Channel(floats, 1), b = Channel(floats, 2);
    StoreExr(fFolder / "alpha.exr", 4, 3, {{"A", r}, {"B", b}, {"G", g}, {"R", r}, {"Z", b}});
    std::vector<float> four;
    for (size_t i = 0; i < r.size(); i++)
        four.insert(four.end(), {r[i], g[i], b[i], r[i]});
    EXPECT_EQ(Read("alpha.exr").fChannels, 4);
    EXPECT_EQ(Read("alpha.exr").fPixels, BytesOf(four));
    EXPECT_TRUE(Read("alpha.exr").fWarnings.empty());
    StoreExr(fFolder / "layer.exr", 4, 3,
             {{"view.light.B", b}, {"view.light.G", g}, {"view.light.R", r}, {"depth.Z", r}});
    EXPECT_EQ(Read("layer.exr").fPixels, BytesOf(floats));
    EXPECT_THAT(Read("layer.exr").fWarnings, ElementsAre(HasSubstr("\"view.light\"")));
    StoreExr(fFolder / "grey.exr", 4, 3, {{"Y", g}});
    std::vector<float> grey;
    for (const float value : g)
        grey.insert(grey.end(), 3, value);
    EXPECT_EQ(Read("grey.exr").fPixels, BytesOf(grey));
    StoreExr(fFolder / "none.exr", 4, 3, {{"R", r}, {"G", g}});
    EXPECT_THAT(RefusalOf("none.exr"), HasSubstr("no channels R, G and B; its channels are G, R"));
    StoreExr(fFolder / "chroma.exr", 4, 3, {{"Y", g}, {"RY", r}, {"BY", b}});
    EXPECT_THAT(RefusalOf("chroma.exr"), HasSubstr("subsampled colour"));
}

TEST_F(OpenExrReader, OtherNamesOfColorsAreKnown)
{
    const std::vector<float> floats = Floats(4, 3);
    const std::vector<float> r = Channel(floats, 0), g = Channel(floats, 1), b = Channel(floats, 2);
    StoreExr(fFolder / "small.exr", 4, 3, {{"r", r}, {"g", g}, {"b", b}});
    StoreExr(fFolder / "words.exr", 4, 3, {{"red", r}, {"green", g}, {"blue", b}, {"alpha", r}});
    StoreExr(fFolder / "layer.exr", 4, 3, {{"sun.Red", r}, {"sun.Green", g}, {"sun.Blue", b}});
    EXPECT_EQ(Read("small.exr").fPixels, BytesOf(floats));
    EXPECT_EQ(Read("words.exr").fChannels, 4);
    EXPECT_EQ(Read("layer.exr").fPixels, BytesOf(floats));
}

TEST_F(OpenExrReader, ALayerIsChosenByName)
{
    const std::vector<float> floats = Floats(4, 3);
    const std::vector<float> r = Channel(floats, 0), g = Channel(floats, 1), b = Channel(floats, 2);
    StoreExr(fFolder / "a.exr", 4, 3,
             {{"R", b}, {"G", b}, {"B", b}, {"sky.R", r}, {"sky.G", g}, {"sky.B", b}, {"depth.Y", g}, {"mask.Z", r}});
    const auto layer = [&](const std::string& pName) {
        return SelvaneHost::ReadPictureFile(fFolder / "a.exr", {.fLayer = pName});
    };
    EXPECT_EQ(layer("sky").fPixels, BytesOf(floats));
    EXPECT_TRUE(layer("sky").fWarnings.empty());
    EXPECT_EQ(layer("depth").fPixels.size(), BytesOf(floats).size());
    for (const char* none : {"mask", "sk", "sea", "sky."})
        EXPECT_THAT(Refusal([&] { layer(none); }), testing::AllOf(HasSubstr("no layer \"" + std::string(none) + "\""),
                                                                  HasSubstr("sky.B, sky.G, sky.R")));
}

/// A picture of 20 x 18 pixels with R, G and B of 3 in 16-bit floats.
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

    /// Stores a part without colours first.
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

    static tBytes Pixels() { return BytesOf(std::vector<float>(3 * 20 * 18, 3.0F)); }

private:
    Imf::Header fHeader;
    Imf::FrameBuffer fBuffer;
    std::vector<Imath::half> fPlane = std::vector<Imath::half>(20 * 18, Imath::half(3.0F));
};

/// Expects samples of 3, or of about 3 where the compression loses some.
void ExpectFlat(const sPicture& pPicture, int pCompression)
{
    if (pCompression < Imf::DWAA_COMPRESSION) {
        EXPECT_EQ(pPicture.fPixels, cFlatExr::Pixels()) << pCompression;
        return;
    }
    std::vector<float> floats(pPicture.fPixels.size() / sizeof(float));
    std::memcpy(floats.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    for (const float value : floats)
        EXPECT_NEAR(value, 3.0F, 0.004F) << pCompression;
}

TEST_F(OpenExrReader, EveryCompressionIsRead)
{
    for (int compression = 0; compression < Imf::NUM_COMPRESSION_METHODS; compression++) {
        cFlatExr picture(static_cast<Imf::Compression>(compression));
        picture.StoreRows(fFolder / "rows.exr");
        ExpectFlat(Read("rows.exr"), compression);
        picture.StoreTiles(fFolder / "tiles.exr");
        ExpectFlat(Read("tiles.exr"), compression);
    }
}

/// Returns the file with a data window of the last part that is one column wider than its rows.
tBytes Widened(tBytes pFile)
{
    const std::string name("dataWindow\0box2i\0", 17);
    const auto found = std::find_end(pFile.begin(), pFile.end(), name.begin(), name.end());
    unsigned char& right = *(found + static_cast<std::ptrdiff_t>(name.size()) + 12); // after the size and two numbers
    EXPECT_EQ(right, 19);
    right = 20;
    return pFile;
}

// DWAA and DWAB fill the extra column from their block of pixels, so they are left out.
TEST_F(OpenExrReader, RowsThatHoldTooLittleAreRefused)
{
    for (int compression = 0; compression < Imf::DWAA_COMPRESSION; compression++) {
        cFlatExr picture(static_cast<Imf::Compression>(compression));
        picture.StoreRows(fFolder / "a.exr");
        WriteAll(fFolder / "rows.exr", Widened(ReadAll(fFolder / "a.exr")));
        EXPECT_THAT(RefusalOf("rows.exr"), HasSubstr("damaged or cut short")) << compression;
        picture.StoreTiles(fFolder / "a.exr");
        WriteAll(fFolder / "tiles.exr", Widened(ReadAll(fFolder / "a.exr")));
        EXPECT_THAT(RefusalOf("tiles.exr"), HasSubstr("damaged or cut short")) << compression;
    }
}

TEST_F(OpenExrReader, OfTwoPartsTheOneWithColorsIsRead)
{
    cFlatExr(Imf::ZIP_COMPRESSION).StoreAsSecondPart(fFolder / "a.exr");
    EXPECT_EQ(Read("a.exr").fPixels, cFlatExr::Pixels());
    WriteAll(fFolder / "wide.exr", Widened(ReadAll(fFolder / "a.exr")));
    EXPECT_THAT(RefusalOf("wide.exr"), HasSubstr("does not unpack to its size"));
}

/// Returns the file with another size for the last attribute of this name and type.
tBytes WithAttributeSize(tBytes pFile, const std::string& pNameAndType, uint32_t pSize)
{
    const auto found = std::find_end(pFile.begin(), pFile.end(), pNameAndType.begin(), pNameAndType.end());
    EXPECT_NE(found, pFile.end());
    auto byte = found + static_cast<std::ptrdiff_t>(pNameAndType.size());
    for (int shift = 0; shift < 32; shift += 8)
        *byte++ = static_cast<unsigned char>(pSize >> shift);
    return pFile;
}

TEST_F(OpenExrReader, AnAttributeLongerThanTheFileIsRefused)
{
    const std::string order("lineOrder\0lineOrder\0", 20);
    cFlatExr(Imf::ZIP_COMPRESSION).StoreRows(fFolder / "a.exr");
    const tBytes onePart = ReadAll(fFolder / "a.exr");
    cFlatExr(Imf::ZIP_COMPRESSION).StoreAsSecondPart(fFolder / "b.exr");
    const tBytes twoParts = ReadAll(fFolder / "b.exr");
    const auto refusal = [&](const tBytes& pFile) {
        WriteAll(fFolder / "claims.exr", pFile);
        return RefusalOf("claims.exr");
    };
    const std::string words = "damaged or cut short: an attribute is longer than the file";
    EXPECT_THAT(refusal(WithAttributeSize(onePart, order, 0x7FFFFFFF)), HasSubstr(words));
    EXPECT_THAT(refusal(WithAttributeSize(onePart, order, 0xFFFFFFFF)), HasSubstr(words));
    EXPECT_THAT(refusal(WithAttributeSize(twoParts, order, 0x7FFFFFFF)), HasSubstr(words));
}

TEST_F(OpenExrReader, TilesAndAShiftedWindowAreRead)
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
    EXPECT_EQ(Read("a.exr").fPixels, BytesOf(floats));
}

TEST_F(OpenExrReader, ChromaticitiesDecideTheColorSpace)
{
    const std::vector<float> plane(4, 1.0F);
    const auto read = [&](const std::vector<float>& pChromaticities) {
        StoreExr(fFolder / "a.exr", 2, 2, {{"R", plane}, {"G", plane}, {"B", plane}}, pChromaticities);
        return SelvaneHost::ReadPictureFile(fFolder / "a.exr", {.fAsEntry = true});
    };
    EXPECT_FALSE(read({}).fColor.fIsNamed);
    EXPECT_EQ(NamedSpace(read({0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F})), SELVANE_PROPHOTO);
    const sPicture other = read({0.713F, 0.293F, 0.165F, 0.830F, 0.128F, 0.044F});
    EXPECT_FALSE(other.fColor.fIsNamed);
    EXPECT_THAT(other.fColorSpaceWarning, HasSubstr("none of sRGB"));
    EXPECT_EQ(NamedSpace(Read("a.exr")), SELVANE_CUSTOM) << "ACEScg with the white of sRGB";
}

} // namespace
