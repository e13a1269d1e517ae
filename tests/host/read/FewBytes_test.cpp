// Small files that claim large pictures. The tests make them byte by byte, and measure the memory of the command.

#include "host/Workshop.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"
#include "read/ReaderSteps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>

namespace
{

using namespace SelvaneTest;
using SelvaneHost::cHostError;
using testing::HasSubstr;
using testing::Not;

constexpr uint64_t kSide = 13000;             // pixels; a square of this side is allowed, and takes 1 GB in 16 bits
constexpr size_t kPadding = 11000;            // bytes; a file of this length could hold such a square
constexpr size_t kLittle = size_t{256} << 20; // bytes; the command alone takes some 40 MB
constexpr size_t kMost = size_t{6} << 30;     // bytes; the limit of a run, so that a failing test does no harm

/// Appends a number.
void Put(tBytes& pBytes, uint64_t pValue, size_t pSize, bool pBigEndian)
{
    for (size_t i = 0; i < pSize; i++)
        pBytes.push_back(static_cast<unsigned char>(pValue >> 8 * (pBigEndian ? pSize - 1 - i : i)));
}

void Put(tBytes& pBytes, const std::string& pText)
{
    pBytes.insert(pBytes.end(), pText.begin(), pText.end());
}

/// The fields of a TIFF file that consists of its directory alone.
struct sTiff
{
    uint64_t fWidth = kSide;
    uint64_t fHeight = kSide;
    uint64_t fChannels = 3;
    uint64_t fBits = 16;
    uint64_t fCodec = 8;
    bool fBigTiff = false;
    bool fBigEndian = false;
    size_t fPadding = 0;
};

struct sField
{
    uint64_t fTag;
    uint64_t fType; // 3: 16 bits, 4: 32 bits
    uint64_t fValue;
};

void PutField(tBytes& pFile, const sField& pField, const sTiff& pTiff)
{
    const size_t room = pTiff.fBigTiff ? 8 : 4;
    const size_t size = pField.fType == 3 ? 2 : 4;
    Put(pFile, pField.fTag, 2, pTiff.fBigEndian);
    Put(pFile, pField.fType, 2, pTiff.fBigEndian);
    Put(pFile, 1, room, pTiff.fBigEndian);
    Put(pFile, pField.fValue, size, pTiff.fBigEndian);
    pFile.resize(pFile.size() + room - size);
}

tBytes Tiff(const sTiff& pTiff)
{
    const bool big = pTiff.fBigTiff;
    tBytes file;
    Put(file, pTiff.fBigEndian ? "MM" : "II");
    Put(file, big ? 43U : 42U, 2, pTiff.fBigEndian);
    if (big) Put(file, 8U << (pTiff.fBigEndian ? 16 : 0), 4, pTiff.fBigEndian); // bytes of an offset, and a 0
    Put(file, big ? 16U : 8U, big ? 8 : 4, pTiff.fBigEndian);
    const std::vector<sField> fields = {{256, 4, pTiff.fWidth},
                                        {257, 4, pTiff.fHeight},
                                        {258, 3, pTiff.fBits},
                                        {259, 3, pTiff.fCodec},
                                        {262, 3, pTiff.fChannels > 1 ? 2U : 0U},
                                        {273, 4, 8}, // the strip: bytes of the directory itself
                                        {277, 3, pTiff.fChannels},
                                        {278, 4, pTiff.fHeight},
                                        {279, 4, 64}};
    Put(file, fields.size(), big ? 8 : 2, pTiff.fBigEndian);
    for (const sField& field : fields)
        PutField(file, field, pTiff);
    file.resize(file.size() + (big ? 8 : 4) + pTiff.fPadding); // 0: no further directory
    return file;
}

void PutChunk(tBytes& pFile, const std::string& pTypeAndData)
{
    Put(pFile, pTypeAndData.size() - 4, 4, true);
    Put(pFile, pTypeAndData);
    Put(pFile, crc32(0, reinterpret_cast<const Bytef*>(pTypeAndData.data()), static_cast<uInt>(pTypeAndData.size())), 4,
        true);
}

/// Returns a PNG file of 16 bits and three channels with damaged data.
tBytes Png(uint64_t pWidth, uint64_t pHeight, size_t pPadding = 0)
{
    tBytes file;
    Put(file, "\x89PNG\r\n\x1A\n");
    tBytes size;
    Put(size, pWidth, 4, true);
    Put(size, pHeight, 4, true);
    PutChunk(file, "IHDR" + std::string(size.begin(), size.end()) + std::string("\x10\x02\0\0\0", 5));
    PutChunk(file, "prIv" + std::string(pPadding, 'x'));
    PutChunk(file, "IDATno deflated data");
    PutChunk(file, "IEND");
    return file;
}

void PutSegment(tBytes& pFile, unsigned char pMarker, const std::string& pData)
{
    pFile.push_back(0xFF);
    pFile.push_back(pMarker);
    Put(pFile, pData.size() + 2, 2, true);
    Put(pFile, pData);
}

/// Returns a JPEG file of three channels that ends after twenty bytes of codes. The decoder accepts it.
/// @param pKind marker of the frame: 0xC0 baseline, 0xC2 progressive, 0xC9 with arithmetic coding
tBytes Jpeg(unsigned char pKind, uint64_t pWidth, uint64_t pHeight)
{
    tBytes size;
    Put(size, pHeight, 2, true);
    Put(size, pWidth, 2, true);
    const std::string oneCode = std::string(1, '\1') + std::string(16, '\0');
    tBytes file = {0xFF, 0xD8};
    PutSegment(file, 0xDB, std::string(1, '\0') + std::string(64, '\1'));
    PutSegment(file, pKind,
               "\b" + std::string(size.begin(), size.end()) + std::string("\3\1\x11\0\2\x11\0\3\x11\0", 10));
    PutSegment(file, 0xC4, std::string(1, '\0') + oneCode);
    PutSegment(file, 0xC4, std::string(1, '\x10') + oneCode);
    PutSegment(file, 0xDA, std::string("\3\1\0\2\0\3\0\0", 8) + (pKind == 0xC2 ? '\0' : '\x3F') + '\0');
    file.resize(file.size() + 20);
    file.push_back(0xFF);
    file.push_back(0xD9);
    return file;
}

tBytes Hdr(uint64_t pWidth, uint64_t pHeight, const tBytes& pPixels)
{
    tBytes file;
    Put(file,
        "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(pHeight) + " +X " + std::to_string(pWidth) + "\n");
    file.insert(file.end(), pPixels.begin(), pPixels.end());
    return file;
}

void PutAttribute(tBytes& pFile, const std::string& pName, const std::string& pType, const tBytes& pValue)
{
    Put(pFile, pName + '\0' + pType + '\0');
    Put(pFile, pValue.size(), 4, false);
    pFile.insert(pFile.end(), pValue.begin(), pValue.end());
}

/// Returns an OpenEXR file of one tile as large as the picture, with forty damaged bytes.
tBytes Exr(unsigned char pCompression)
{
    tBytes channels;
    for (const char* name : {"B", "G", "R"}) {
        Put(channels, name + std::string(1, '\0'));
        for (const uint64_t number : {1U, 0U, 1U, 1U}) // 16-bit floats, not subsampled
            Put(channels, number, 4, false);
    }
    channels.push_back(0);
    tBytes window, tile;
    for (const uint64_t number : {uint64_t{0}, uint64_t{0}, kSide - 1, kSide - 1})
        Put(window, number, 4, false);
    Put(tile, kSide, 4, false);
    Put(tile, kSide, 4, false);
    tile.push_back(0);
    tBytes file = {0x76, 0x2F, 0x31, 0x01, 2, 2, 0, 0};
    PutAttribute(file, "channels", "chlist", channels);
    PutAttribute(file, "compression", "compression", {pCompression});
    PutAttribute(file, "dataWindow", "box2i", window);
    PutAttribute(file, "displayWindow", "box2i", window);
    PutAttribute(file, "lineOrder", "lineOrder", {0});
    PutAttribute(file, "pixelAspectRatio", "float", {0, 0, 0x80, 0x3F});
    PutAttribute(file, "screenWindowCenter", "v2f", tBytes(8));
    PutAttribute(file, "screenWindowWidth", "float", {0, 0, 0x80, 0x3F});
    PutAttribute(file, "tiles", "tiledesc", tile);
    file.push_back(0);
    Put(file, file.size() + 8, 8, false); // offset of the tile
    file.resize(file.size() + 16);        // column, row and levels of the tile
    Put(file, 40, 4, false);
    file.resize(file.size() + 40);
    return file;
}

std::string RefusalOf(const tBytes& pFile)
{
    return Refusal([&] { SelvaneHost::ReadPicture(pFile); });
}

class FewBytes : public testing::Test
{
protected:
    static void SetUpTestSuite() { SelvaneHost::StartPictureLibrary(); }

    /// Runs the command. Expects a refusal that holds pWords, and at most kLittle bytes of memory.
    static void ExpectRefusal(const std::string& pPath, const std::string& pWords,
                              const std::function<void()>& pPrepare = {})
    {
        const sRun run = Selvane({"stats", pPath}, [&] {
#ifndef SELVANE_SANITIZED // a sanitizer takes terabytes of addresses
            const rlimit limit{kMost, kMost};
            ::setrlimit(RLIMIT_AS, &limit);
#endif
            if (pPrepare) pPrepare();
        });
        EXPECT_EQ(run.fStatus, 1) << run.fErr;
        EXPECT_THAT(run.fErr, HasSubstr(pWords)) << pPath;
#ifndef SELVANE_SANITIZED
        EXPECT_LT(run.fPeak, kLittle) << run.fErr;
#endif
    }

    void ExpectRefusal(const tBytes& pFile, const std::string& pWords) const
    {
        WriteAll(fFolder / "few", pFile);
        ExpectRefusal(fFolder / "few", pWords);
    }

    cFolder fFolder;
};

TEST_F(FewBytes, WhatIsNoPictureIsNotReadFurtherThanItsFirstBytes)
{
    const std::string words = "not a picture of a kind that can be read";
    ExpectRefusal("/dev/zero", words);
    ExpectRefusal("/dev/stdin", words, [] { ReadFrom("yes"); });
    WriteAll(fFolder / "sparse.hdr", "no");
    std::filesystem::resize_file(fFolder / "sparse.hdr", uint64_t{1} << 40);
    ExpectRefusal(fFolder / "sparse.hdr", words);
}

// The run takes some 3 GB of memory, so only the long form has it.
TEST_F(FewBytes, APipeThatBeginsLikeAPictureHasToEnd)
{
    if (!IsLong()) GTEST_SKIP() << "set SELVANE_LONG";
    const sRun run = Selvane({"stats", "/dev/stdin"}, [] { ReadFrom("echo '#?RADIANCE'; yes"); });
    EXPECT_EQ(run.fStatus, 1);
    EXPECT_THAT(run.fErr, HasSubstr("/dev/stdin: cannot be read: no end after 2048 MiB"));
    EXPECT_LT(run.fPeak, size_t{4} << 30);
}

TEST_F(FewBytes, MoreThanFiveChannelsAreRefused)
{
    for (const uint64_t channels : {6U, 60U, 65535U}) {
        sTiff tiff;
        tiff.fChannels = channels;
        tiff.fPadding = kPadding;
        ExpectRefusal(Tiff(tiff), channels == 65535 ? "" : std::to_string(channels) + " channels; at most 5");
    }
}

TEST_F(FewBytes, ATiffWithAnotherCodecIsRefused)
{
    // Fax, the older JPEG, others of the 1990s, JPEG 2000, LERC, LZMA, Zstandard, WebP, JPEG XL, and unknown numbers.
    for (const unsigned codec :
         {0U,     2U,     3U,     4U,     6U,     9U,     10U,    32766U, 32771U, 32809U, 32908U, 32909U,
          33003U, 34661U, 34676U, 34677U, 34712U, 34887U, 34925U, 50000U, 50001U, 50002U, 65535U}) {
        for (const bool bigTiff : {false, true}) {
            for (const bool bigEndian : {false, true}) {
                sTiff tiff;
                tiff.fCodec = codec;
                tiff.fBigTiff = bigTiff;
                tiff.fBigEndian = bigEndian;
                EXPECT_THAT(RefusalOf(Tiff(tiff)), HasSubstr("(compression " + std::to_string(codec) + ")"));
            }
        }
    }
}

TEST_F(FewBytes, ATiffWithAFaxCodeTakesNoMemory)
{
    sTiff fax;
    fax.fChannels = 1;
    fax.fBits = 1;
    fax.fCodec = 4;
    fax.fPadding = kPadding;
    ExpectRefusal(Tiff(fax), "packed in a way that is not read (compression 4)");
}

TEST_F(FewBytes, TheCodecsOfTiffThatAreReadAreRead)
{
    const tBytes samples = Samples8(40, 30);
    for (const char* codec : {"none", "lzw", "deflate", "packbits", "jpeg"}) {
        Store(fFolder / ("a.tif[compression=" + std::string(codec) + ",Q=100]"), samples.data(), 40, 30, Rgb8());
        const sPicture picture = SelvaneHost::ReadPictureFile(fFolder / "a.tif");
        EXPECT_EQ(picture.fPixels, Look(fFolder / "a.tif").fPixels) << codec;
    }
    sTiff other; // the older number of deflate
    other.fCodec = 32946;
    EXPECT_THAT(RefusalOf(Tiff(other)), Not(HasSubstr("compression")));
}

TEST_F(FewBytes, ASizeBeyondTheLimitIsRefused)
{
    sTiff tiff;
    tiff.fWidth = tiff.fHeight = 200000;
    const tBytes pixel = {1, 2, 3, 128};
    for (const tBytes& file : {Tiff(tiff), Png(200000, 200000), Jpeg(0xC0, 65000, 65000), Hdr(200000, 200000, pixel)})
        ExpectRefusal(file, "is too large: the most is 400 megapixels; --max-megapixels allows more");
}

// Without the check, two of these files would give a picture: the row of one colour, and the cut JPEG file, which
// decodes to grey.
TEST_F(FewBytes, ASizeThatTheFileCannotHoldIsRefused)
{
    const tBytes oneColor = {9, 9, 9, 128, 1, 1, 1, 0x7F, 1, 1, 1, 0x10, 1, 1, 1, 0x9C, 1, 1, 1, 0x0A};
    for (const tBytes& file : {Tiff({}), Png(kSide, kSide), Jpeg(0xC0, kSide, kSide), Jpeg(0xC2, kSide, kSide),
                               Jpeg(0xC9, kSide, kSide), Hdr(178000000, 1, oneColor)})
        ExpectRefusal(file, std::to_string(file.size()) + " bytes cannot hold the ");
}

// A file of this length could hold the picture, but its rows are missing.
TEST_F(FewBytes, RowsThatAreNotThereTakeNoMemory)
{
    sTiff tiff;
    tiff.fPadding = kPadding;
    for (const uint64_t codec : {1U, 5U, 8U, 32773U}) {
        tiff.fCodec = codec;
        ExpectRefusal(Tiff(tiff), "damaged or cut short");
    }
    ExpectRefusal(Png(kSide, kSide, kPadding), "damaged or cut short");
    ExpectRefusal(Hdr(kSide, kSide, tBytes(kPadding, 7)), "ends before its last pixel");
    ExpectRefusal(Hdr(kSide * kSide, 1, tBytes(kPadding, 7)), "ends before its last pixel");
    for (unsigned char compression = 0; compression <= 9; compression++)
        ExpectRefusal(Exr(compression), "damaged or cut short");
}

TEST(CheckClaim, AByteHoldsAtMostSixteenThousandPixels)
{
    sPicture picture;
    SelvaneHost::SetSize(picture, 16384, 73, SelvaneHost::eSamples8);
    EXPECT_NO_THROW(SelvaneHost::CheckClaim(picture, 73));
    EXPECT_THROW(SelvaneHost::CheckClaim(picture, 72), cHostError);
    SelvaneHost::SetSize(picture, 178956970, 1, SelvaneHost::eSamples8);
    EXPECT_NO_THROW(SelvaneHost::CheckClaim(picture, 10923));
    EXPECT_THROW(SelvaneHost::CheckClaim(picture, 10000), cHostError);
}

} // namespace
