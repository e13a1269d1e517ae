#include "bitmap/cBitmapXYZ32T.h"

#include "bitmap/cBitmapXYZ32.h"
#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapXYZ32T.cpp";
const char* const kBySize = "Vornik::cBitmapXYZ32T::cBitmapXYZ32T(int, int)";
const char* const kByPicture = "Vornik::cBitmapXYZ32T::cBitmapXYZ32T(const Vornik::cBitmapXYZ32*)";

TEST(cBitmapXYZ32T, ConstructorsCheckForThemselves)
{
    const cBitmapXYZ32* const none = nullptr;
    EXPECT_FAILURE(cBitmapXYZ32T(0, 0), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   kBySize);
    EXPECT_FAILURE(cBitmapXYZ32T(1, -3), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   kBySize);
    EXPECT_FAILURE(cBitmapXYZ32T(1, INT_MAX), cOutOfMemoryException, "Cannot alloc bitmap tiles.", kFile, kBySize);
    EXPECT_FAILURE(cBitmapXYZ32T{none}, cArgumentNullException, "Argument pFrom cannot be null.", kFile, kByPicture);
}

TEST(cBitmapXYZ32T, AScanlineLongerThanATileIsRefusedByTheTileSet)
{
    const char* const signature = "cMemUtils::TiledBitmapAlloc(int,int,int,int&,int&,int&)";
    EXPECT_FAILURE(cBitmapXYZ32T(0xA00000 / 12 + 4, 1), cInvalidOperationException,
                   "Scanline width exceeds max tile size.", "cMemUtils.cpp", signature);
    EXPECT_FAILURE(cBitmapXYZ32T(0x15555558, 1), cInvalidOperationException, "Scanline width exceeds max tile size.",
                   "cMemUtils.cpp", signature); // wraps to a small number
}

TEST(cBitmapXYZ32T, ScanlinesLieInTheirTiles)
{
    cBitmapXYZ32T bitmap(20000, 97); // 240000 bytes a scanline, 43 scanlines a tile, padded height 100
    EXPECT_EQ(bitmap.fWidth, 20000);
    EXPECT_EQ(bitmap.fHeight, 97);
    EXPECT_EQ(bitmap.fStride, 240000);
    EXPECT_EQ(bitmap.fTileHeight, 43);
    EXPECT_EQ(bitmap.fTileCount, 3);
    for (int y = 0; y < 100; ++y) {
        const auto* const expected = static_cast<const char*>(bitmap.fTiles[y / 43]) + 240000 * (y % 43);
        ASSERT_EQ(static_cast<const void*>(bitmap.GetScanline(y)), expected) << y;
    }
    std::memset(bitmap.GetScanline(99), 1, 240000); // the last row of a short tile
}

TEST(cBitmapXYZ32T, ASmallPictureIsOneTile)
{
    cBitmapXYZ32T bitmap(5, 6);
    EXPECT_EQ(bitmap.fStride, 96);
    EXPECT_EQ(bitmap.fTileCount, 1);
    EXPECT_EQ(bitmap.fTileHeight, 0xA00000 / 96);
    std::memset(bitmap.GetScanline(0), 1, 8 * 96);
}

TEST(cBitmapXYZ32T, CopyFromXYZ32ChecksInOrder)
{
    const char* const signature = "void Vornik::cBitmapXYZ32T::CopyFromXYZ32(int, int, int, const float*)";
    cBitmapXYZ32T bitmap(5, 6);
    std::memset(bitmap.GetScanline(0), 0xEE, 8 * 96);
    const float pixels[128] = {};
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(4, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 7, 0, nullptr), cArgumentException,
                   "Argument pFromWidth must be equal to this->fHeight.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 6, 59, pixels), cArgumentException,
                   "Argument pFromStride must be greater than or equal to 12*this->fWidth.", kFile, signature);
    EXPECT_FAILURE(bitmap.CopyFromXYZ32(5, 6, 60, nullptr), cArgumentNullException,
                   "Argument pFromXYZ32 cannot be null.", kFile, signature);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(bitmap.GetScanline(0));
    EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 8 * 96), std::vector<unsigned char>(8 * 96, 0xEE));
}

TEST(cBitmapXYZ32T, CopyFromXYZ32GoesRowByRowOverTheTiles)
{
    cBitmapXYZ32T bitmap(20001, 45); // 43 scanlines a tile
    ASSERT_EQ(bitmap.fTileCount, 2);
    const int stride = 12 * 20001 + 7; // rounded down to 12 * 20001 + 4
    const int step = 12 * 20001 + 4;
    cGuarded source(static_cast<size_t>(44) * static_cast<size_t>(step) + 12 * 20001);
    source.FillRandom(1);
    for (int y = 0; y < 48; ++y)
        std::memset(bitmap.GetScanline(y), 0xEE, static_cast<size_t>(bitmap.fStride));
    bitmap.CopyFromXYZ32(20001, 45, stride, source.As<float>());
    const std::vector<unsigned char> untouched(static_cast<size_t>(bitmap.fStride), 0xEE);
    for (int y = 0; y < 48; ++y) {
        const auto* const row = reinterpret_cast<const unsigned char*>(bitmap.GetScanline(y));
        const size_t used = y < 45 ? 12 * 20001 : 0;
        const ptrdiff_t start = y < 45 ? static_cast<ptrdiff_t>(y) * step : 0;
        ASSERT_EQ(std::memcmp(row, source.Bytes() + start, used), 0) << y;
        ASSERT_EQ(std::memcmp(row + used, untouched.data(), untouched.size() - used), 0) << y;
    }
}

TEST(cBitmapXYZ32T, CopyFromXYZ32OfTheSameStrideKeepsThePaddingToo)
{
    cBitmapXYZ32T bitmap(5, 6);
    cGuarded source(5 * static_cast<size_t>(bitmap.fStride) + 60); // no padding behind its last row
    source.FillRandom(3);
    for (int y = 0; y < 6; ++y)
        std::memset(bitmap.GetScanline(y), 0xEE, static_cast<size_t>(bitmap.fStride));
    bitmap.CopyFromXYZ32(5, 6, bitmap.fStride, source.As<float>());
    const std::vector<unsigned char> untouched(static_cast<size_t>(bitmap.fStride) - 60, 0xEE);
    for (int y = 0; y < 6; ++y) {
        const auto* const row = reinterpret_cast<const unsigned char*>(bitmap.GetScanline(y));
        EXPECT_EQ(std::memcmp(row, source.Bytes() + y * bitmap.fStride, 60), 0) << y;
        EXPECT_EQ(std::memcmp(row + 60, untouched.data(), untouched.size()), 0) << y;
    }
}

TEST(cBitmapXYZ32T, TheCopyingConstructorRefusesAScanlineThatFitsNoTile)
{
    const cBitmapXYZ32 wide(873816, 1);
    EXPECT_FAILURE(cBitmapXYZ32T{&wide}, cInvalidOperationException, "Scanline width exceeds max tile size.",
                   "cMemUtils.cpp", "TiledBitmapAlloc");
}

TEST(cBitmapXYZ32T, TheCopyingConstructorTakesTheUsedPixels)
{
    cBitmapXYZ32 source(5, 6);
    RandomBlock(source, 2);
    const cBitmapXYZ32T copy(&source);
    EXPECT_EQ(copy.fWidth, 5);
    EXPECT_EQ(copy.fHeight, 6);
    for (int y = 0; y < 6; ++y)
        EXPECT_EQ(std::memcmp(copy.GetScanline(y), source.fData + 24 * y, 60), 0) << y;
}

TEST(cBitmapXYZ32T, TheCopyingConstructorReportsWhatTheCopyRefuses)
{
    cBitmapXYZ32 source(5, 6);
    float* const block = source.fData;
    source.fData = nullptr;
    EXPECT_FAILURE(cBitmapXYZ32T{&source}, cArgumentNullException, "Argument pFromXYZ32 cannot be null.", kFile,
                   "cBitmapXYZ32T::CopyFromXYZ32(int,int,int,constfloat*)");
    source.fData = block;
}

} // namespace
