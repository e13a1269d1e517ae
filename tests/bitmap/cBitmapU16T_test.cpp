#include "bitmap/cBitmapU16T.h"

#include "support/Capture.h"

#include "Fixtures.h"

#include <gtest/gtest.h>

#include <climits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const char* const kFile = "cBitmapU16T.cpp";
const char* const kSignature = "Vornik::cBitmapU16T::cBitmapU16T(int, int, int)";

TEST(cBitmapU16T, TheConstructorChecksInOrder)
{
    EXPECT_FAILURE(cBitmapU16T(0, 0, 0), cArgumentException, "Argument pWidth must be greater than zero.", kFile,
                   kSignature);
    EXPECT_FAILURE(cBitmapU16T(1, 0, 0), cArgumentException, "Argument pHeight must be greater than zero.", kFile,
                   kSignature);
    EXPECT_FAILURE(cBitmapU16T(1, 1, 0), cArgumentException, "Argument pPlane must be greater than zero.", kFile,
                   kSignature);
    EXPECT_FAILURE(cBitmapU16T(1, INT_MAX, 1), cOutOfMemoryException, "Cannot alloc bitmap tiles.", kFile, kSignature);
}

TEST(cBitmapU16T, TooManyPlanesAreAScanlineThatIsTooWide)
{
    const char* const signature = "cMemUtils::TiledBitmapAlloc(int,int,int,int&,int&,int&)";
    // 2 * pPlane does not fit 32 bits from 0x40000000 on; wrapped, 0x80000001 * 2 would be 2.
    for (const int planes : {0x500000 / 4 + 1, 0x3FFFFFFF, 0x40000000, 0x40000001, INT_MAX}) {
        EXPECT_FAILURE(cBitmapU16T(1, 1, planes), cInvalidOperationException, "Scanline width exceeds max tile size.",
                       "cMemUtils.cpp", signature);
    }
    const cBitmapU16T widest(1, 1, 0x500000 / 4);
    EXPECT_EQ(widest.fStride, 0xA00000);
}

TEST(cBitmapU16T, PlanesAreSamplesOfAPixel)
{
    cBitmapU16T bitmap(5, 5, 7);
    EXPECT_EQ(bitmap.fWidth, 5);
    EXPECT_EQ(bitmap.fHeight, 5);
    EXPECT_EQ(bitmap.fPlanes, 7);
    EXPECT_EQ(bitmap.fStride, 8 * 14);
    EXPECT_EQ(bitmap.fTileCount, 1);
    EXPECT_EQ(bitmap.fTileHeight, 0xA00000 / (8 * 14));
    for (int y = 0; y < 8; ++y) { // padded height
        EXPECT_EQ(bitmap.GetScanline(y), static_cast<unsigned short*>(bitmap.fTiles[0]) + 56 * y);
        std::memset(bitmap.GetScanline(y), 1, 8 * 14);
    }
}

TEST(cBitmapU16T, ScanlinesLieInTheirTiles)
{
    cBitmapU16T bitmap(17000, 90, 7); // 238000 bytes a scanline, 44 scanlines a tile, padded height 92
    EXPECT_EQ(bitmap.fTileHeight, 44);
    EXPECT_EQ(bitmap.fTileCount, 3);
    for (int y = 0; y < 92; ++y) {
        const auto* const expected = static_cast<const char*>(bitmap.fTiles[y / 44]) + 238000 * (y % 44);
        ASSERT_EQ(static_cast<const void*>(bitmap.GetScanline(y)), expected) << y;
    }
    std::memset(bitmap.GetScanline(91), 1, 238000);
}

} // namespace
