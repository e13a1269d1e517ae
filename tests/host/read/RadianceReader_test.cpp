#include "host/Workshop.h"
#include "picture/Errors.h"
#include "read/RadianceReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using namespace SelvaneHost;
using SelvaneTest::ExponentPixels;
using SelvaneTest::NamedSpace;
using SelvaneTest::Radiance;

/// Returns the picture's bytes in interleaved order.
tBytes Interleaved(const sPicture& pPicture)
{
    const auto width = static_cast<size_t>(pPicture.fWidth);
    tBytes pixels;
    for (size_t y = 0; y < static_cast<size_t>(pPicture.fHeight); y++) {
        for (size_t x = 0; x < width; x++) {
            for (size_t i = 0; i < 4; i++)
                pixels.push_back(pPicture.fPixels[y * 4 * width + i * width + x]);
        }
    }
    return pixels;
}

tBytes File(const std::string& pHeader, const tBytes& pPixels)
{
    tBytes file(pHeader.begin(), pHeader.end());
    file.insert(file.end(), pPixels.begin(), pPixels.end());
    return file;
}

std::string RefusalOf(const tBytes& pFile)
{
    return SelvaneTest::Refusal([&] { ReadRadiance(pFile); });
}

/// Returns a scanline in the new form: runs of four or more equal bytes, and literal pieces of at most three bytes.
tBytes NewForm(const tBytes& pPixels, size_t pWidth)
{
    tBytes line = {2, 2, static_cast<unsigned char>(pWidth >> 8), static_cast<unsigned char>(pWidth)};
    for (size_t component = 0; component < 4; component++) {
        for (size_t x = 0; x < pWidth;) {
            const auto at = [&](size_t i) { return pPixels[i * 4 + component]; };
            size_t run = 1;
            while (x + run < pWidth && run < 127 && at(x + run) == at(x))
                run++;
            if (run >= 4) {
                line.push_back(static_cast<unsigned char>(128 + run));
                line.push_back(at(x));
                x += run;
                continue;
            }
            const size_t count = std::min<size_t>(3, pWidth - x);
            line.push_back(static_cast<unsigned char>(count));
            for (size_t i = 0; i < count; i++)
                line.push_back(at(x++));
        }
    }
    return line;
}

TEST(RadianceReader, FlatBytesArriveUnchanged)
{
    tBytes pixels = ExponentPixels(5, 3);
    const tBytes odd = {3, 200, 7, 0, 0, 0, 0, 99, 255, 255, 255, 255}; // not normalised, and black with mantissas
    std::copy(odd.begin(), odd.end(), pixels.begin());
    const sPicture picture = ReadRadiance(Radiance(5, 3, pixels));
    EXPECT_EQ(picture.fWidth, 5);
    EXPECT_EQ(picture.fHeight, 3);
    EXPECT_EQ(picture.fForm, eExponentPlanes);
    EXPECT_EQ(Interleaved(picture), pixels);
    EXPECT_FALSE(picture.fColor.fIsNamed);
    EXPECT_TRUE(picture.fWarnings.empty());
}

TEST(RadianceReader, TheNewRunLengthFormIsRead)
{
    constexpr size_t kWidth = 300;
    tBytes pixels;
    tBytes lines;
    for (size_t y = 0; y < 4; y++) {
        tBytes row = ExponentPixels(kWidth, 1);
        for (size_t x = 40; x < 250; x++) // a long run of one colour
            std::copy_n(row.begin(), 4, row.begin() + static_cast<long>(x * 4));
        const tBytes line = NewForm(row, kWidth);
        lines.insert(lines.end(), line.begin(), line.end());
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    EXPECT_EQ(Interleaved(ReadRadiance(Radiance(kWidth, 4, lines))), pixels);
}

TEST(RadianceReader, TheOldRunLengthFormIsRead)
{
    // 10, two repetitions, 20, and 256 + 2 repetitions by a chain of two counts.
    const tBytes file = {10, 11, 12, 130, 1, 1, 1, 2, 20, 21, 22, 131, 1, 1, 1, 2, 1, 1, 1, 1};
    const sPicture picture = ReadRadiance(Radiance(262, 1, file));
    tBytes expected;
    for (int i = 0; i < 262; i++) {
        const tBytes pixel = i < 3 ? tBytes{10, 11, 12, 130} : tBytes{20, 21, 22, 131};
        expected.insert(expected.end(), pixel.begin(), pixel.end());
    }
    EXPECT_EQ(Interleaved(picture), expected);
}

// Upright, the two rows are abc and def. Each orientation stores the pixels in another order.
TEST(RadianceReader, AllEightOrientationsComeOutUpright)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"-Y 2 +X 3", "abcdef"}, {"-Y 2 -X 3", "cbafed"}, {"+Y 2 +X 3", "defabc"}, {"+Y 2 -X 3", "fedcba"},
        {"+X 3 -Y 2", "adbecf"}, {"+X 3 +Y 2", "daebfc"}, {"-X 3 -Y 2", "cfbead"}, {"-X 3 +Y 2", "fcebda"}};
    for (const auto& [size, order] : cases) {
        tBytes pixels;
        for (const char c : order)
            pixels.insert(pixels.end(), 4, static_cast<unsigned char>(c));
        const sPicture picture = ReadRadiance(File("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n" + size + "\n", pixels));
        ASSERT_EQ(picture.fWidth, 3) << size;
        ASSERT_EQ(picture.fHeight, 2) << size;
        std::string seen;
        const tBytes upright = Interleaved(picture);
        for (size_t i = 0; i < upright.size(); i += 4)
            seen += static_cast<char>(upright[i]);
        EXPECT_EQ(seen, "abcdef") << size;
    }
}

TEST(RadianceReader, XyzIsRefusedInWords)
{
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\nFORMAT=32-bit_rle_xyze\n\n-Y 1 +X 1\n", {1, 2, 3, 128})),
                testing::HasSubstr("XYZ"));
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\nFORMAT=ascii\n\n-Y 1 +X 1\n", {1, 2, 3, 128})),
                testing::HasSubstr("ascii"));
}

TEST(RadianceReader, AHeaderWithoutFormatAndWithOtherLinesIsFine)
{
    const sPicture picture =
        ReadRadiance(File("#?RGBE\r\n# a remark\r\nEXPOSURE= 2.5\r\n\r\n-Y 1 +X 1\r\n", {1, 2, 3, 128}));
    EXPECT_EQ(Interleaved(picture), (tBytes{1, 2, 3, 128}));
}

TEST(RadianceReader, PrimariesDecideTheColorSpace)
{
    const tBytes pixel = {1, 2, 3, 128};
    const auto read = [&](const std::string& pPrimaries) {
        return ReadRadiance(Radiance(1, 1, pixel, "PRIMARIES=" + pPrimaries + "\n"), {.fAsEntry = true});
    };
    EXPECT_EQ(NamedSpace(read("0.640 0.330 0.290 0.600 0.150 0.060 0.3333 0.3333")), SELVANE_SRGB);
    EXPECT_EQ(NamedSpace(read("0.64 0.33 0.21 0.71 0.15 0.06 0.3127 0.329")), SELVANE_ADOBE_RGB);
    for (const char* other : {"0.708 0.292 0.170 0.797 0.131 0.046 0.3127 0.329", "0.64 0.33", "red"}) {
        const sPicture picture = read(other);
        EXPECT_FALSE(picture.fColor.fIsNamed) << other;
        EXPECT_THAT(picture.fColorSpaceWarning, testing::HasSubstr("none of sRGB")) << other;
    }
    const sPicture wide =
        ReadRadiance(Radiance(1, 1, pixel, "PRIMARIES=0.708 0.292 0.170 0.797 0.131 0.046 0.3127 0.329\n"));
    EXPECT_EQ(NamedSpace(wide), SELVANE_REC2020);
    EXPECT_EQ(wide.fForm, eExponentPlanes);
}

TEST(RadianceReader, EveryCutIsRefused)
{
    tBytes lines;
    for (int y = 0; y < 3; y++) {
        const tBytes line = NewForm(ExponentPixels(20, 1), 20);
        lines.insert(lines.end(), line.begin(), line.end());
    }
    for (const tBytes& whole : {Radiance(20, 3, lines), Radiance(5, 3, ExponentPixels(5, 3))}) {
        ASSERT_EQ(RefusalOf(whole), "");
        for (size_t size = 0; size < whole.size(); size++) {
            const tBytes cut(whole.begin(), whole.begin() + static_cast<long>(size));
            ASSERT_THAT(RefusalOf(cut), testing::HasSubstr("damaged or cut short")) << size;
        }
    }
}

TEST(RadianceReader, RunsThatLeaveTheirRowAreRefused)
{
    const tBytes row = {2, 2, 0, 8};
    const auto withRuns = [&](const tBytes& pRuns) {
        tBytes line = row;
        line.insert(line.end(), pRuns.begin(), pRuns.end());
        line.resize(line.size() + 64, 1);
        return RefusalOf(Radiance(8, 1, line));
    };
    EXPECT_THAT(withRuns({137, 5}), testing::HasSubstr("leaves its row")) << "a run of 9";
    EXPECT_THAT(withRuns({9, 1, 1, 1, 1, 1, 1, 1, 1, 1}), testing::HasSubstr("leaves its row")) << "a stretch of 9";
    EXPECT_THAT(withRuns({0}), testing::HasSubstr("leaves its row")) << "an empty stretch";
    EXPECT_THAT(RefusalOf(Radiance(4, 1, {1, 1, 1, 3, 9, 9, 9, 9})), testing::HasSubstr("leaves its row"))
        << "nothing to repeat";
    EXPECT_THAT(RefusalOf(Radiance(4, 1, {9, 9, 9, 9, 1, 1, 1, 4})), testing::HasSubstr("leaves its row"))
        << "one too many";
    EXPECT_THAT(RefusalOf(Radiance(4, 1, {9, 9, 9, 9, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0, 1, 1, 1, 0})),
                testing::HasSubstr("leaves its row"))
        << "a chain beyond 32 bits";
}

TEST(RadianceReader, ARowOfAnotherLengthIsRefused)
{
    EXPECT_THAT(RefusalOf(Radiance(9, 1, NewForm(ExponentPixels(8, 1), 8))), testing::HasSubstr("another length"));
}

TEST(RadianceReader, SizesThatAreNoneAreRefused)
{
    const tBytes pixel = {1, 2, 3, 128};
    for (const char* size : {"-Y 1 +X", "-Y 1 +Y 1", "*Y 1 +X 1", "-Y one +X 1", "-Y 1x +X 1", "", "-Z 1 +X 1"})
        EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n" + std::string(size) + "\n", pixel)), testing::HasSubstr("damaged"))
            << size;
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n-Y 0 +X 5\n", pixel)), testing::HasSubstr("no pixels"));
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n-Y -1 +X 5\n", pixel)), testing::HasSubstr("no pixels"));
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n-Y 1 +X 2000000000\n", pixel)), testing::HasSubstr("too large"));
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n-Y 1 +X 99999999999999999999\n", pixel)), testing::HasSubstr("damaged"));
    EXPECT_THAT(RefusalOf(File("#?RADIANCE\n\n-Y 100000 +X 1\n", pixel)), testing::HasSubstr("cut short"))
        << "fewer bytes than rows: refused before any room is made";
}

} // namespace
