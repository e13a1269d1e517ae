#include "bitmap/cMemUtils.h"

#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <malloc.h>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cMemUtils.cpp";
const char* const kAlloc = "staticvoid**Vornik::cMemUtils::TiledBitmapAlloc(int,int,int,int&,int&,int&)";
const char* const kFree = "staticvoidVornik::cMemUtils::TiledBitmapFree(void**,int,int)";
const char* const kCopy = "staticvoidVornik::cMemUtils::SafeMemCopy(void*,constvoid*,unsignedint,void*,unsignedint)";

TEST(cMemUtils, CallocClearsAndMallocGivesWhatWasAsked)
{
    auto* const cleared = static_cast<unsigned char*>(cMemUtils::Calloc(7, 9));
    for (int i = 0; i < 63; ++i)
        EXPECT_EQ(cleared[i], 0);
    cMemUtils::Free(cleared);
    void* const block = cMemUtils::Malloc(100);
    EXPECT_GE(malloc_usable_size(block), 100u);
    cMemUtils::Free(block);
    cMemUtils::Free(nullptr);
}

TEST(cMemUtils, TheStrideIsPaddedInPixels)
{
    EXPECT_EQ(cMemUtils::GetBitmapStride(1, 3), 12);
    EXPECT_EQ(cMemUtils::GetBitmapStride(4, 3), 12);
    EXPECT_EQ(cMemUtils::GetBitmapStride(5, 3), 24);
    EXPECT_EQ(cMemUtils::GetBitmapStride(0, 3), 0);
    EXPECT_EQ(cMemUtils::GetBitmapStride(4000, 12), 48000);
    EXPECT_EQ(cMemUtils::GetBitmapStride(6, 1), 8);
}

TEST(cMemUtils, TheStrideWraps)
{
    EXPECT_EQ(cMemUtils::GetBitmapStride(0x10000000, 12), -1073741824);
    EXPECT_EQ(cMemUtils::GetBitmapStride(0x40000000, 12), 0);
    EXPECT_EQ(cMemUtils::GetBitmapStride(0x55555558, 3), 8);
    EXPECT_EQ(cMemUtils::GetBitmapStride(INT_MAX, 1), INT_MIN);
    EXPECT_EQ(cMemUtils::GetBitmapStride(-8, 3), -24);
    EXPECT_EQ(cMemUtils::GetBitmapStride(-1, 3), 0);
}

TEST(cMemUtils, AFlatBlockHoldsPaddedRows)
{
    int stride = 0;
    void* const one = cMemUtils::BitmapAlloc(1, 1, 12, stride);
    EXPECT_EQ(stride, 48);
    ASSERT_NE(one, nullptr);
    EXPECT_GE(malloc_usable_size(one), 192u);
    std::memset(one, 1, 192);
    cMemUtils::BitmapFree(one);

    void* const other = cMemUtils::BitmapAlloc(5, 5, 3, stride);
    EXPECT_EQ(stride, 24);
    ASSERT_NE(other, nullptr);
    std::memset(other, 1, 8 * 24);
    cMemUtils::BitmapFree(other);
    cMemUtils::BitmapFree(nullptr);
}

TEST(cMemUtils, AStrideThatDoesNotFitGivesNoBlockAndTheWrappedStride)
{
    const struct
    {
        int fWidth, fPixelByteSize, fStride;
    } cases[] = {{0x10000000, 12, -1073741824}, {0x40000000, 12, 0}, {0x55555558, 3, 8}, {0x2AAAAAAC, 6, 8},
                 {INT_MAX, 1, INT_MIN},         {0x7FFFFFFD, 4, 0}};
    for (const auto& c : cases) {
        int stride = 77;
        EXPECT_EQ(cMemUtils::BitmapAlloc(c.fWidth, 1, c.fPixelByteSize, stride), nullptr) << c.fWidth;
        EXPECT_EQ(stride, c.fStride) << c.fWidth;
    }
}

TEST(cMemUtils, APaddedHeightThatDoesNotFitGivesNoBlock)
{
    for (int height : {INT_MAX, INT_MAX - 1, INT_MAX - 2}) {
        int stride = 77;
        EXPECT_EQ(cMemUtils::BitmapAlloc(1, height, 1, stride), nullptr) << height;
        EXPECT_EQ(stride, 4);
    }
}

/// The cut of a tile set, worked out by counting rows.
struct sCut
{
    int fStride;
    int fTileHeight;
    int fTileCount;
    int fLastRows;
};

sCut CountTiles(int pWidth, int pHeight, int pPixelByteSize)
{
    sCut cut = {};
    int paddedWidth = pWidth;
    while (paddedWidth % 4 != 0)
        ++paddedWidth;
    int rows = pHeight;
    while (rows % 4 != 0)
        ++rows;
    cut.fStride = paddedWidth * pPixelByteSize;
    while ((cut.fTileHeight + 1) * int64_t{cut.fStride} <= 10 * 1024 * 1024)
        ++cut.fTileHeight;
    for (; rows > 0; rows -= cut.fTileHeight) {
        cut.fLastRows = rows < cut.fTileHeight ? rows : cut.fTileHeight;
        ++cut.fTileCount;
    }
    return cut;
}

/// Touches the first and last byte of every tile: a tile that is too small is a heap error.
void TouchTiles(void** pTiles, const sCut& pCut)
{
    for (int i = 0; i < pCut.fTileCount; ++i) {
        const int rows = i + 1 < pCut.fTileCount ? pCut.fTileHeight : pCut.fLastRows;
        auto* const tile = static_cast<unsigned char*>(pTiles[i]);
        ASSERT_NE(tile, nullptr);
        EXPECT_GE(malloc_usable_size(tile), static_cast<size_t>(rows) * static_cast<size_t>(pCut.fStride));
        tile[0] = 1;
        tile[static_cast<size_t>(rows) * static_cast<size_t>(pCut.fStride) - 1] = 1;
    }
}

void ExpectCut(int pWidth, int pHeight, int pPixelByteSize)
{
    SCOPED_TRACE(testing::Message() << pWidth << " x " << pHeight << " of " << pPixelByteSize);
    const sCut cut = CountTiles(pWidth, pHeight, pPixelByteSize);
    int stride = -1, count = -1, height = -1;
    void** const tiles = cMemUtils::TiledBitmapAlloc(pWidth, pHeight, pPixelByteSize, stride, count, height);
    ASSERT_NE(tiles, nullptr);
    EXPECT_EQ(stride, cut.fStride);
    EXPECT_EQ(count, cut.fTileCount);
    EXPECT_EQ(height, cut.fTileHeight);
    TouchTiles(tiles, cut);
    cMemUtils::TiledBitmapFree(tiles, count, height);
}

TEST(cMemUtils, TilesAreCutAsCounted)
{
    ExpectCut(1, 1, 1);
    ExpectCut(5, 5, 2);
    ExpectCut(4000, 3000, 12);
    ExpectCut(4000, 217, 12);
    ExpectCut(4000, 218, 12);
    ExpectCut(4000, 221, 12);
    ExpectCut(0xA00000 / 4, 1, 4);   // one scanline a tile
    ExpectCut(0x500000 / 14, 9, 14); // two scanlines a tile
    ExpectCut(4096, 640, 16);        // divides evenly: 4 tiles of 160
    ExpectCut(4096, 641, 16);
    ExpectCut(4096, 160, 16); // exactly one
}

TEST(cMemUtils, TheExampleOfTwelveMegapixels)
{
    int stride = 0, count = 0, height = 0;
    void** const tiles = cMemUtils::TiledBitmapAlloc(4000, 3000, 12, stride, count, height);
    EXPECT_EQ(stride, 48000);
    EXPECT_EQ(height, 218);
    EXPECT_EQ(count, 14);
    cMemUtils::TiledBitmapFree(tiles, count, height);
}

TEST(cMemUtils, AScanlineMayFillATileAndNoMore)
{
    int stride = 0, count = 0, height = 0;
    void** const tiles = cMemUtils::TiledBitmapAlloc(0xA00000, 2, 1, stride, count, height);
    ASSERT_NE(tiles, nullptr);
    EXPECT_EQ(stride, 0xA00000);
    EXPECT_EQ(height, 1);
    EXPECT_EQ(count, 4);
    cMemUtils::TiledBitmapFree(tiles, count, height);
    EXPECT_FAILURE(cMemUtils::TiledBitmapAlloc(0xA00004, 2, 1, stride, count, height), cInvalidOperationException,
                   "Scanline width exceeds max tile size.", kFile, kAlloc);
    EXPECT_FAILURE(cMemUtils::TiledBitmapAlloc(0xA00001, 2, 1, stride, count, height), cInvalidOperationException,
                   "Scanline width exceeds max tile size.", kFile, kAlloc);
}

TEST(cMemUtils, ATiledStrideIsComparedInSixtyFourBits)
{
    int stride = 1, count = 2, height = 3;
    // Wrapped to 32 bits these would be 8, 0 and negative.
    for (const auto& c : {std::pair{0x55555558, 3}, std::pair{0x40000000, 12}, std::pair{0x10000000, 12},
                          std::pair{INT_MAX, 1}, std::pair{INT_MAX, INT_MAX}}) {
        EXPECT_FAILURE(cMemUtils::TiledBitmapAlloc(c.first, 1, c.second, stride, count, height),
                       cInvalidOperationException, "Scanline width exceeds max tile size.", kFile, kAlloc);
    }
    EXPECT_EQ(stride, 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(height, 3);
}

TEST(cMemUtils, ATiledPaddedHeightThatDoesNotFitGivesNullAfterTheStrideCheck)
{
    int stride = 1, count = 2, height = 3;
    EXPECT_EQ(cMemUtils::TiledBitmapAlloc(1, INT_MAX, 1, stride, count, height), nullptr);
    EXPECT_EQ(cMemUtils::TiledBitmapAlloc(1, INT_MAX - 2, 1, stride, count, height), nullptr);
    EXPECT_FAILURE(cMemUtils::TiledBitmapAlloc(0xA00004, INT_MAX, 1, stride, count, height), cInvalidOperationException,
                   "Scanline width exceeds max tile size.", kFile, kAlloc);
    EXPECT_EQ(stride, 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(height, 3);
}

TEST(cMemUtils, TiledBitmapAllocChecksInOrder)
{
    int stride = 1, count = 2, height = 3;
    const auto alloc = [&](int pWidth, int pHeight, int pSize) {
        cMemUtils::TiledBitmapAlloc(pWidth, pHeight, pSize, stride, count, height);
    };
    EXPECT_FAILURE(alloc(0, 0, 0), cArgumentException, "Argument 'pWidth' cannot be less or equal to 0.", kFile,
                   kAlloc);
    EXPECT_FAILURE(alloc(-1, 1, 1), cArgumentException, "Argument 'pWidth' cannot be less or equal to 0.", kFile,
                   kAlloc);
    EXPECT_FAILURE(alloc(1, 0, 0), cArgumentException, "Argument 'pHeight' cannot be less or equal to 0.", kFile,
                   kAlloc);
    EXPECT_FAILURE(alloc(0xA00004, 1, 0), cArgumentException, "Argument 'pPixelByteSize' cannot be less or equal to 0.",
                   kFile, kAlloc);
    EXPECT_EQ(stride, 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(height, 3);
}

TEST(cMemUtils, TiledBitmapFreeChecksInOrderAndReleasesNothing)
{
    int stride = 0, count = 0, height = 0;
    void** const tiles = cMemUtils::TiledBitmapAlloc(1, 1, 1, stride, count, height);
    EXPECT_FAILURE(cMemUtils::TiledBitmapFree(nullptr, 0, 0), cArgumentException, "Argument 'pTiles' cannot be null.",
                   kFile, kFree);
    EXPECT_FAILURE(cMemUtils::TiledBitmapFree(tiles, 0, 0), cArgumentException,
                   "Argument 'pTileCount' cannot be less or equal to 0.", kFile, kFree);
    EXPECT_FAILURE(cMemUtils::TiledBitmapFree(tiles, -1, 1), cArgumentException,
                   "Argument 'pTileCount' cannot be less or equal to 0.", kFile, kFree);
    EXPECT_FAILURE(cMemUtils::TiledBitmapFree(tiles, 1, 0), cArgumentException,
                   "Argument 'pTileHeight' cannot be less or equal to 0.", kFile, kFree);
    std::memset(tiles[0], 1, 16); // still there
    cMemUtils::TiledBitmapFree(tiles, count, height);
}

TEST(cMemUtils, ANullTileIsReportedAfterEverythingIsReleased)
{
    auto** const tiles = static_cast<void**>(cMemUtils::Calloc(3, sizeof(void*)));
    tiles[0] = cMemUtils::Malloc(8);
    tiles[2] = cMemUtils::Malloc(8);
    EXPECT_FAILURE(cMemUtils::TiledBitmapFree(tiles, 3, 1), cInvalidOperationException,
                   "Tiles array contains one or several null tiles.", kFile, kFree);
}

class SafeMemCopy : public testing::Test
{
protected:
    SafeMemCopy() : fBlock(16, 0xEE), fSource(32, 7) {}

    void Copy(unsigned char* pDst, unsigned pCount)
    {
        cMemUtils::SafeMemCopy(pDst, fSource.data(), pCount, fBlock.data(), 16);
    }

    std::vector<unsigned char> fBlock;
    std::vector<unsigned char> fSource;
};

TEST_F(SafeMemCopy, ChecksInOrder)
{
    unsigned char* const start = fBlock.data();
    EXPECT_FAILURE(cMemUtils::SafeMemCopy(nullptr, nullptr, 0, nullptr, 0), cArgumentNullException,
                   "Argument 'pBlockStart' cannot be null.", kFile, kCopy);
    EXPECT_FAILURE(cMemUtils::SafeMemCopy(nullptr, nullptr, 0, start, 0), cArgumentNullException,
                   "Argument 'pSrc' cannot be null.", kFile, kCopy);
    EXPECT_FAILURE(cMemUtils::SafeMemCopy(nullptr, fSource.data(), 0, start, 0), cArgumentException,
                   "Argument 'pByteCount' must be greater than zero.", kFile, kCopy);
    EXPECT_FAILURE(cMemUtils::SafeMemCopy(nullptr, fSource.data(), 1, start, 0), cArgumentException,
                   "Argument 'pBlockLength' must be greater than zero.", kFile, kCopy);
    EXPECT_FAILURE(Copy(nullptr, 1), cArgumentException, "Argument 'pDst' cannot be less than 'pBlockStart'.", kFile,
                   kCopy);
    EXPECT_FAILURE(Copy(start - 1, 1), cArgumentException, "Argument 'pDst' cannot be less than 'pBlockStart'.", kFile,
                   kCopy);
    EXPECT_FAILURE(Copy(start + 16, 1), cArgumentException,
                   "Argument 'pDst' cannot be greater than or equal to 'pBlockStart + pBlockLength'.", kFile, kCopy);
    EXPECT_FAILURE(Copy(start + 17, UINT_MAX), cArgumentException,
                   "Argument 'pDst' cannot be greater than or equal to 'pBlockStart + pBlockLength'.", kFile, kCopy);
    EXPECT_FAILURE(Copy(start + 15, 2), cArgumentException, "Cannot copy outside of memory block.", kFile, kCopy);
    EXPECT_FAILURE(Copy(start, 17), cArgumentException, "Cannot copy outside of memory block.", kFile, kCopy);
    EXPECT_FAILURE(Copy(start, UINT_MAX), cArgumentException, "Cannot copy outside of memory block.", kFile, kCopy);
    EXPECT_EQ(fBlock, std::vector<unsigned char>(16, 0xEE));
}

TEST_F(SafeMemCopy, CopiesUpToTheEndOfTheBlock)
{
    Copy(fBlock.data() + 12, 4);
    std::vector<unsigned char> expected(16, 0xEE);
    std::fill(expected.begin() + 12, expected.end(), 7);
    EXPECT_EQ(fBlock, expected);
    Copy(fBlock.data(), 16);
    EXPECT_EQ(fBlock, std::vector<unsigned char>(16, 7));
}

TEST_F(SafeMemCopy, ComparesAddressesUnsigned)
{
    // An address in the upper half is beyond the block, not before it.
    auto* const high = reinterpret_cast<unsigned char*>(~uintptr_t{0} - 64);
    EXPECT_FAILURE(Copy(high, 1), cArgumentException,
                   "Argument 'pDst' cannot be greater than or equal to 'pBlockStart + pBlockLength'.", kFile, kCopy);
}

TEST(cMemUtils, GuardBytesFollowTheAddress)
{
    alignas(4) char bytes[9] = {};
    for (char& byte : bytes)
        cMemUtils::MarkByte(&byte);
    const unsigned char expected[] = {0xBC, 0x15, 0xEF, 0xFA, 0xBC, 0x15, 0xEF, 0xFA, 0xBC};
    EXPECT_EQ(std::memcmp(bytes, expected, sizeof(bytes)), 0);
    for (char& byte : bytes)
        cMemUtils::CheckByte(&byte);
    EXPECT_EQ(std::memcmp(bytes, expected, sizeof(bytes)), 0);
}

TEST(cMemUtilsDeathTest, AWrongGuardByteStopsTheProcess)
{
    alignas(4) char bytes[4] = {};
    for (char& byte : bytes)
        cMemUtils::MarkByte(&byte);
    bytes[1] = static_cast<char>(0xBC);
    cMemUtils::CheckByte(&bytes[0]);
    EXPECT_DEATH(cMemUtils::CheckByte(&bytes[1]), "");
}

TEST(cMemUtils, BoundsAreNeitherMarkedNorChecked)
{
    char bytes[16];
    std::memset(bytes, 0x5A, sizeof(bytes));
    cMemUtils::MarkBounds(bytes + 4, 8);
    cMemUtils::CheckBounds(bytes + 4);
    for (const char byte : bytes)
        EXPECT_EQ(byte, 0x5A);
    cMemUtils::MarkBounds(nullptr, 0);
    cMemUtils::CheckBounds(nullptr);
}

} // namespace
