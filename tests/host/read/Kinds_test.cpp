// PFM, WebP, HEIF, AVIF and JPEG XL files, and TIFF files of half and double floats.

#include "color/Light.h"
#include "host/read/Encoded.h"
#include "host/read/ReadingTest.h"

#include <Imath/half.h>
#include <tiffio.h>
#include <vips/vips.h>

#include <algorithm>
#include <unistd.h>

namespace
{

using namespace SelvaneHost;
using namespace SelvaneTest;
using testing::HasSubstr;

class Kinds : public cReadingTest
{
};

constexpr int kWide = 40;
constexpr int kHigh = 24;
constexpr size_t kSamples = size_t{3} * kWide * kHigh;

std::vector<float> FloatsIn(const sPicture& pPicture)
{
    std::vector<float> floats(pPicture.fPixels.size() / sizeof(float));
    std::memcpy(floats.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return floats;
}

std::vector<uint16_t> WordsIn(const sPicture& pPicture)
{
    std::vector<uint16_t> words(pPicture.fPixels.size() / 2);
    std::memcpy(words.data(), pPicture.fPixels.data(), pPicture.fPixels.size());
    return words;
}

/// A PFM file. Rows go from the bottom up.
tBytes Pfm(const std::string& pHeader, const std::vector<float>& pFloats, size_t pRow, bool pLowestFirst)
{
    tBytes file(pHeader.begin(), pHeader.end());
    for (size_t last = pFloats.size(); last > 0; last -= pRow)
        for (size_t i = last - pRow; i < last; i++) {
            unsigned char bytes[4];
            std::memcpy(bytes, &pFloats[i], 4);
            if (!pLowestFirst) std::reverse(std::begin(bytes), std::end(bytes));
            file.insert(file.end(), std::begin(bytes), std::end(bytes));
        }
    return file;
}

TEST_F(Kinds, PfmFloatsArriveAsStored)
{
    const std::vector<float> floats = Floats(5, 3);
    for (const bool low : {true, false}) {
        const std::string scale = low ? "-1.0" : "1.000";
        WriteAll(fFolder / "a.pfm", Pfm("PF\n5 3\n" + scale + "\n", floats, 15, low));
        const sPicture picture = Read("a.pfm");
        EXPECT_EQ(picture.fForm, eFloats);
        EXPECT_EQ(picture.fPixels, BytesOf(floats));
    }
    WriteAll(fFolder / "a.pfm", Pfm("PF 5 3 -2\n", floats, 15, true));
    EXPECT_EQ(FloatsIn(Read("a.pfm"))[7], 2.0F * floats[7]);
    const std::vector<float> grey = {1.5F, 2.5F};
    WriteAll(fFolder / "g.pfm", Pfm("Pf\n1 2\n-1\n", grey, 1, true));
    EXPECT_EQ(FloatsIn(Read("g.pfm")), (std::vector<float>{1.5F, 1.5F, 1.5F, 2.5F, 2.5F, 2.5F}));
}

TEST_F(Kinds, ALayerOfAFileWithoutLayersIsAWarning)
{
    const tBytes samples = Samples8(kWide, kHigh);
    Store(fFolder / "a.png", samples.data(), kWide, kHigh, Rgb8());
    const sPicture picture = SelvaneHost::ReadPictureFile(fFolder / "a.png", {.fLayer = "sky"});
    EXPECT_EQ(picture.fPixels, samples);
    EXPECT_THAT(picture.fWarnings, testing::ElementsAre("a file of this kind has no layers; --layer is not used"));
    EXPECT_THAT(Read("a.png").fWarnings, testing::IsEmpty());
}

TEST_F(Kinds, DamagedPfmIsRefused)
{
    const std::vector<float> floats = Floats(5, 3);
    const tBytes whole = Pfm("PF\n5 3\n-1\n", floats, 15, true);
    for (size_t size = 3; size < whole.size(); size++) {
        WriteAll(fFolder / "cut.pfm", tBytes(whole.begin(), whole.begin() + static_cast<long>(size)));
        EXPECT_NE(RefusalOf("cut.pfm"), "") << size;
    }
    for (const char* header : {"PF\n0 3\n-1\n", "PF\n5 x\n-1\n", "PF\n5 3\nnan\n", "PF\n5 3\n0\n", "PF\n-5 3\n-1\n",
                               "PF\n99999999 99999999\n-1\n", "PF\n13000 13000\n-1\n"}) {
        WriteAll(fFolder / "bad.pfm", Pfm(header, floats, 15, true));
        EXPECT_NE(RefusalOf("bad.pfm"), "") << header;
    }
}

TEST_F(Kinds, LosslessWebpArrivesAsStored)
{
    const tBytes samples = Samples8(kWide, kHigh);
    sStored how = Rgb8();
    how.fProfile = StoredProfile(SELVANE_DISPLAY_P3);
    Store(fFolder / "a.webp[lossless]", samples.data(), kWide, kHigh, how);
    const sPicture picture = Read("a.webp");
    EXPECT_EQ(picture.fForm, eSamples8);
    EXPECT_EQ(picture.fPixels, samples);
    EXPECT_EQ(NamedSpace(picture), SELVANE_DISPLAY_P3);
}

/// How a TIFF file of half or double floats is laid out.
struct sHalfTiff
{
    uint16_t fSamples = 3;
    uint16_t fPlanar = PLANARCONFIG_CONTIG;
    uint32_t fTile = 0; ///< side; 0: strips of 5 rows
    uint16_t fCompression = COMPRESSION_NONE;
    uint16_t fPredictor = 1;
    bool fDouble = false; ///< of 64 bits instead
};

/// The sample of a channel of a pixel, exact in half floats, up to 60000.
float HalfSample(uint32_t pX, uint32_t pY, uint16_t pChannel)
{
    return std::ldexp(1.0F + static_cast<float>((pX * 7 + pY * 13 + pChannel * 29) % 64) / 64.0F,
                      static_cast<int>((pX + pY) % 24) - 10);
}

void StoreHalfTiff(const std::string& pPath, const sHalfTiff& pHow)
{
    TIFF* const file = TIFFOpen(pPath.c_str(), "w");
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kWide);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, kHigh);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, pHow.fDouble ? 64 : 16);
    TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, pHow.fSamples);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, pHow.fSamples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, pHow.fPlanar);
    TIFFSetField(file, TIFFTAG_COMPRESSION, pHow.fCompression);
    if (pHow.fPredictor != 1) TIFFSetField(file, TIFFTAG_PREDICTOR, pHow.fPredictor);
    const uint32_t tileWidth = pHow.fTile > 0 ? pHow.fTile : kWide, tileHeight = pHow.fTile > 0 ? pHow.fTile : 5;
    if (pHow.fTile > 0) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, tileWidth);
        TIFFSetField(file, TIFFTAG_TILELENGTH, tileHeight);
    } else
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, tileHeight);
    const bool planes = pHow.fPlanar == PLANARCONFIG_SEPARATE;
    for (uint16_t plane = 0; plane < (planes ? pHow.fSamples : 1); plane++)
        for (uint32_t y = 0; y < kHigh; y += tileHeight)
            for (uint32_t x = 0; x < kWide; x += tileWidth) {
                std::vector<uint16_t> tile;
                std::vector<double> wide;
                const uint32_t rows = pHow.fTile > 0 ? tileHeight : std::min<uint32_t>(tileHeight, kHigh - y);
                for (uint32_t v = y; v < y + rows; v++)
                    for (uint32_t u = x; u < x + tileWidth; u++)
                        for (uint16_t s = planes ? plane : 0; s < (planes ? plane + 1 : pHow.fSamples); s++)
                            for (const float sample : {HalfSample(u, v, s)}) {
                                tile.push_back(Imath::half(sample).bits());
                                wide.push_back(static_cast<double>(sample));
                            }
                void* const data = pHow.fDouble ? static_cast<void*>(wide.data()) : tile.data();
                const auto size = static_cast<tmsize_t>((pHow.fDouble ? 8 : 2) * tile.size());
                if (pHow.fTile > 0)
                    TIFFWriteEncodedTile(file, TIFFComputeTile(file, x, y, 0, plane), data, size);
                else
                    TIFFWriteEncodedStrip(file, TIFFComputeStrip(file, y, plane), data, size);
            }
    TIFFClose(file);
}

TEST_F(Kinds, HalfAndDoubleFloatsOfATiffArriveInEveryLayout)
{
    const sHalfTiff cases[] = {{},
                               {.fSamples = 1},
                               {.fSamples = 4},
                               {.fTile = 16},
                               {.fPlanar = PLANARCONFIG_SEPARATE},
                               {.fPlanar = PLANARCONFIG_SEPARATE, .fTile = 16},
                               {.fCompression = COMPRESSION_LZW},
                               {.fCompression = COMPRESSION_ADOBE_DEFLATE, .fPredictor = 3},
                               {.fSamples = 5},
                               {.fDouble = true},
                               {.fSamples = 1, .fTile = 16, .fDouble = true}};
    for (const sHalfTiff& how : cases) {
        StoreHalfTiff(fFolder / "a.tif", how);
        const sPicture picture = Read("a.tif");
        ASSERT_EQ(picture.fForm, eFloats);
        ASSERT_EQ(picture.fChannels, how.fSamples == 4 ? 4 : 3);
        const std::vector<float> floats = FloatsIn(picture);
        for (uint32_t i = 0; i < floats.size(); i++) {
            const auto channels = static_cast<uint32_t>(picture.fChannels);
            const uint32_t pixel = i / channels;
            const auto channel = static_cast<uint16_t>(how.fSamples == 1 ? 0 : i % channels);
            ASSERT_EQ(floats[i], HalfSample(pixel % kWide, pixel / kWide, channel)) << how.fSamples << " " << i;
        }
    }
}

TEST_F(Kinds, DamagedHalfFloatsEndInAPictureOrInWords)
{
    std::mt19937 random(9);
    for (const sHalfTiff& how :
         {sHalfTiff{}, {.fTile = 16}, {.fCompression = COMPRESSION_ADOBE_DEFLATE, .fPredictor = 3}}) {
        StoreHalfTiff(fFolder / "a.tif", how);
        const tBytes whole = ReadAll(fFolder / "a.tif");
        for (int round = 0; round < 300; round++) {
            try {
                const sPicture picture = ReadPicture(Broken(whole, random));
                EXPECT_EQ(picture.fPixels.size(), AllBytes(picture));
            } catch (const cHostError& failure) {
                EXPECT_STRNE(failure.what(), "");
            } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): an answer too
            }
        }
    }
}

std::vector<uint16_t> CodesOf(int pBits)
{
    std::vector<uint16_t> codes(kSamples);
    for (size_t i = 0; i < kSamples; i++)
        codes[i] = static_cast<uint16_t>((i * 37 + i / 120 * 11) % (size_t{1} << pBits));
    return codes;
}

TEST_F(Kinds, AvifOfEveryDepthArrivesWithItsCodePoints)
{
    for (const int bits : {8, 10, 12}) {
        StoreAvif(fFolder / "a.avif", kWide, kHigh, CodesOf(bits), bits, {12, 13});
        const std::vector<uint16_t> codes = DecodedHeif(fFolder / "a.avif", bits);
        const sPicture picture = Read("a.avif");
        EXPECT_EQ(picture.fForm, bits == 8 ? eSamples8 : eSamples16);
        EXPECT_EQ(NamedSpace(picture), SELVANE_DISPLAY_P3);
        const unsigned most = (1U << bits) - 1;
        ASSERT_EQ(picture.fWidth, kWide);
        for (size_t i = 0; i < kSamples; i++) {
            if (bits == 8)
                ASSERT_EQ(picture.fPixels[i], codes[i]) << i;
            else
                ASSERT_EQ(WordsIn(picture)[i], (codes[i] * 65535U + most / 2) / most) << bits << " bits, " << i;
        }
    }
}

TEST_F(Kinds, AvifInPqIsLight)
{
    StoreAvif(fFolder / "a.avif", kWide, kHigh, CodesOf(10), 10, {9, 16});
    const std::vector<uint16_t> codes = DecodedHeif(fFolder / "a.avif", 10);
    const sPicture picture = Read("a.avif");
    EXPECT_EQ(NamedSpace(picture), SELVANE_REC2020);
    ASSERT_EQ(picture.fForm, eFloats);
    for (size_t i = 0; i < kSamples; i += 17) {
        const double signal = static_cast<double>((codes[i] * 65535U + 511) / 1023) / 65535.0;
        ASSERT_EQ(FloatsIn(picture)[i], static_cast<float>(PqLight(signal))) << i;
    }
}

/// A profile can only approach PQ, and counts before any other code points.
TEST_F(Kinds, AvifWithAProfileTooIsReadByThePqOrElseByTheProfile)
{
    const tBytes profile = StoredProfile(SELVANE_ADOBE_RGB);
    StoreAvif(fFolder / "pq.avif", kWide, kHigh, CodesOf(10), 10, {9, 16, profile});
    EXPECT_EQ(NamedSpace(Read("pq.avif")), SELVANE_REC2020);
    EXPECT_EQ(Read("pq.avif").fForm, eFloats);
    StoreAvif(fFolder / "p3.avif", kWide, kHigh, CodesOf(8), 8, {12, 13, profile});
    EXPECT_EQ(NamedSpace(Read("p3.avif")), SELVANE_ADOBE_RGB);
}

TEST_F(Kinds, JpegXlOfEveryFormArrivesAsStored)
{
    const tBytes eight = Samples8(kWide, kHigh);
    const std::vector<uint16_t> sixteen = Samples16(kWide, kHigh);
    const std::vector<float> floats = Floats(kWide, kHigh);
    StoreJxl(fFolder / "8.jxl", eight, kWide, kHigh, JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_SRGB));
    StoreJxl(fFolder / "16.jxl", sixteen, kWide, kHigh, JxlColors(JXL_PRIMARIES_P3, JXL_TRANSFER_FUNCTION_SRGB));
    StoreJxl(fFolder / "float.jxl", floats, kWide, kHigh, JxlColors(JXL_PRIMARIES_2100, JXL_TRANSFER_FUNCTION_LINEAR));
    StoreJxl(fFolder / "gamma.jxl", sixteen, kWide, kHigh,
             JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_GAMMA, 1 / 1.8));
    EXPECT_EQ(Read("8.jxl").fPixels, eight);
    EXPECT_EQ(NamedSpace(Read("8.jxl")), SELVANE_SRGB);
    EXPECT_EQ(Read("8.jxl").fColor.fTransfer, SELVANE_TRANSFER_ENGINE);
    EXPECT_EQ(WordsIn(Read("16.jxl")), sixteen);
    EXPECT_EQ(NamedSpace(Read("16.jxl")), SELVANE_DISPLAY_P3);
    EXPECT_EQ(FloatsIn(Read("float.jxl")), floats);
    EXPECT_EQ(NamedSpace(Read("float.jxl")), SELVANE_REC2020);
    EXPECT_EQ(Read("gamma.jxl").fColor.fTransfer, SELVANE_TRANSFER_POWER);
    EXPECT_NEAR(Read("gamma.jxl").fColor.fGamma, 1.8, 1e-5);
}

TEST_F(Kinds, JpegXlInHlgIsLight)
{
    const std::vector<uint16_t> sixteen = Samples16(kWide, kHigh);
    StoreJxl(fFolder / "a.jxl", sixteen, kWide, kHigh, JxlColors(JXL_PRIMARIES_2100, JXL_TRANSFER_FUNCTION_HLG));
    const sPicture picture = Read("a.jxl");
    EXPECT_EQ(NamedSpace(picture), SELVANE_REC2020);
    ASSERT_EQ(picture.fForm, eFloats);
    for (size_t i = 0; i < kSamples; i += 13)
        ASSERT_NEAR(static_cast<double>(FloatsIn(picture)[i]) / HlgLight(sixteen[i] / 65535.0), 1.0, 1e-5) << i;
}

/// Sets the limit of pixels while it exists.
class cFewerPixels
{
public:
    explicit cFewerPixels(int64_t pMost) : fBefore(SelvaneHost::MostPixels()) { SelvaneHost::SetMostPixels(pMost); }
    ~cFewerPixels() { SelvaneHost::SetMostPixels(fBefore); }
    cFewerPixels(const cFewerPixels&) = delete;
    cFewerPixels& operator=(const cFewerPixels&) = delete;

private:
    const int64_t fBefore;
};

/// Returns the file without its last quarter, where pixels are. Files of boxes and chunks claim their length, so their
/// pixels are written over. A TIFF file stays whole: what leads to its pixels may stand behind them.
tBytes WithoutPixels(const std::string& pName, const tBytes& pWhole)
{
    constexpr std::string_view kPixels = "mdat";
    tBytes file = pWhole;
    const auto third = static_cast<std::ptrdiff_t>(file.size() / 3);
    if (pName == "a.avif" || pName == "a.heic")
        std::fill(std::search(file.begin(), file.end(), kPixels.begin(), kPixels.end()) + 4, file.end(), 0xFF);
    else if (pName == "a.webp")
        std::fill(file.begin() + third, file.begin() + 2 * third, 0xFF);
    else if (pName != "a.tif")
        file.resize(file.size() / 4 * 3);
    return file;
}

/// Whoever unpacks a row first finds that the pixels are not there.
TEST_F(Kinds, ASizeBeyondTheLimitIsRefusedBeforeARowIsUnpacked)
{
    constexpr int kWidth = 150, kHeight = 110;
    const tBytes eight = Samples8(kWidth, kHeight);
    const std::vector<float> floats = Floats(kWidth, kHeight);
    const std::vector<float> plane(floats.begin(), floats.begin() + std::ptrdiff_t{kWidth} * kHeight);
    const auto jxl = JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_SRGB);
    for (const char* name : {"a.png", "a.tif", "a.jpg", "a.webp[lossless]"})
        Store(fFolder / name, eight.data(), kWidth, kHeight, Rgb8());
    WriteAll(fFolder / "a.hdr", Radiance(kWidth, kHeight, ExponentPixels(kWidth, kHeight)));
    StoreExr(fFolder / "a.exr", kWidth, kHeight, {{"R", plane}, {"G", plane}, {"B", plane}});
    WriteAll(fFolder / "a.pfm", Pfm("PF\n150 110\n-1\n", floats, size_t{3} * kWidth, true));
    StoreJxl(fFolder / "a.jxl", eight, kWidth, kHeight, jxl);
    StoreAvif(fFolder / "a.avif", kWidth, kHeight, {eight.begin(), eight.end()}, 8, {1, 13});
    StoreHeic(fFolder / "a.heic", kWidth, kHeight, eight, {1, 13});
    for (const std::string& name : fFolder.Names()) {
        EXPECT_EQ(RefusalOf(name), "") << name;
        WriteAll(fFolder / name, WithoutPixels(name, ReadAll(fFolder / name)));
        EXPECT_EQ(RefusalOf(name).empty(), name == "a.tif") << name;
        const cFewerPixels fewer(kWidth * kHeight - 1);
        EXPECT_THAT(RefusalOf(name), testing::HasSubstr("a picture of 150 x 110 pixels is too large")) << name;
    }
}

TEST_F(Kinds, CutAndBrokenFilesOfTheNewKindsEndInAPictureOrInWords)
{
    StoreJxl(fFolder / "a.jxl", Samples8(kWide, kHigh), kWide, kHigh,
             JxlColors(JXL_PRIMARIES_SRGB, JXL_TRANSFER_FUNCTION_SRGB));
    StoreAvif(fFolder / "a.avif", kWide, kHigh, CodesOf(8), 8, {1, 13});
    const tBytes eight = Samples8(kWide, kHigh);
    Store(fFolder / "a.webp[lossless]", eight.data(), kWide, kHigh, Rgb8());
    std::mt19937 random(3);
    for (const char* name : {"a.jxl", "a.avif", "a.webp"}) {
        const tBytes whole = ReadAll(fFolder / name);
        for (size_t tenth = 0; tenth < 9; tenth++) {
            WriteAll(fFolder / "cut",
                     tBytes(whole.begin(), whole.begin() + static_cast<long>(whole.size() * tenth / 10)));
            EXPECT_NE(RefusalOf("cut"), "") << name << " cut to " << tenth << " tenths";
        }
        for (int round = 0; round < 100; round++) {
            try {
                const sPicture picture = ReadPicture(Broken(whole, random));
                EXPECT_EQ(picture.fPixels.size(), AllBytes(picture)) << name;
            } catch (const cHostError& failure) {
                EXPECT_STRNE(failure.what(), "") << name;
            } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): an answer too
            }
        }
    }
}

} // namespace
