// Copies of rectangles, against a model that moves one byte after the other.

#include "image/cImageUtils.h"

#include "image/Pictures.h"

#include <algorithm>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

struct sRectangles
{
    int fSrcX, fSrcY, fDstX, fDstY, fWidth, fHeight;
};

template <class tBitmap>
void Copy(const tBitmap& pSource, tBitmap& pTarget, const sRectangles& pWhat)
{
    cImageUtils::Copy(&pSource, &pTarget, pWhat.fSrcX, pWhat.fSrcY, pWhat.fDstX, pWhat.fDstY, pWhat.fWidth,
                      pWhat.fHeight);
}

/// Bytes from row to row in the copy: in 16-bit pictures twice the real distance.
template <class tBitmap>
size_t CopyStride(const tBitmap& pBitmap)
{
    return static_cast<size_t>(pBitmap.fStride) * (std::is_same_v<tBitmap, cBitmapBGR16> ? 2 : 1);
}

/// What the copy has to do, on copies of the blocks; both may be one block. A row that leaves a block is left out.
template <class tBitmap>
void Model(const std::vector<unsigned char>& pFrom, size_t pFromStride, std::vector<unsigned char>& pTo,
           size_t pToStride, const sRectangles& pWhat)
{
    const size_t pixel = sizeof(tSampleOf<tBitmap>) * kChannels<tBitmap>;
    const auto unsignedOf = [](int v) { return static_cast<size_t>(v); };
    const size_t bytes = pixel * unsignedOf(pWhat.fWidth);
    for (int i = 0; i < pWhat.fHeight; ++i) {
        const size_t from = unsignedOf(pWhat.fSrcY + i) * pFromStride + pixel * unsignedOf(pWhat.fSrcX);
        const size_t to = unsignedOf(pWhat.fDstY + i) * pToStride + pixel * unsignedOf(pWhat.fDstX);
        if (from + bytes > pFrom.size() || to + bytes > pTo.size()) continue;
        for (size_t b = 0; b < bytes; ++b)
            pTo[to + b] = pFrom[from + b];
    }
}

template <class tBitmap>
void ExpectCopyBetweenPictures(const sRectangles& pWhat)
{
    auto source = MakePicture<tBitmap>(11, 9, 4);
    auto target = MakePicture<tBitmap>(13, 10, 9);
    SetRandom(*source, 1);
    SetRandom(*target, 2);
    const auto sourceBlock = BlockOf(*source);
    auto expected = BlockOf(*target);
    Model<tBitmap>(sourceBlock, CopyStride(*source), expected, CopyStride(*target), pWhat);
    Copy(*source, *target, pWhat);
    EXPECT_EQ(BlockOf(*target), expected);
    EXPECT_EQ(BlockOf(*source), sourceBlock);
}

template <class tBitmap>
void ExpectCopyWithinAPicture(const sRectangles& pWhat)
{
    auto picture = MakePicture<tBitmap>(40, 12, 4);
    SetRandom(*picture, 3);
    auto expected = BlockOf(*picture);
    Model<tBitmap>(expected, CopyStride(*picture), expected, CopyStride(*picture), pWhat); // a reference to itself
    Copy(*picture, *picture, pWhat);
    EXPECT_EQ(BlockOf(*picture), expected);
}

template <class tBitmap>
class Copies : public ::testing::Test
{
};

using tBitmaps = ::testing::Types<cBitmapBGR8, cBitmapBGR16, cBitmapY8>;
TYPED_TEST_SUITE(Copies, tBitmaps);

TYPED_TEST(Copies, ARectangleGoesOverAndNothingElseChanges)
{
    const sRectangles cases[] = {{0, 0, 0, 0, 11, 9}, {0, 0, 2, 1, 11, 9}, {3, 2, 5, 4, 4, 3},  {10, 8, 12, 9, 1, 1},
                                 {10, 0, 0, 0, 1, 9}, {0, 8, 0, 0, 11, 1}, {0, 0, 0, 9, 11, 1}, {1, 0, 2, 0, 9, 1},
                                 {2, 3, 1, 0, 5, 6},  {2, 0, 1, 3, 5, 6}};
    for (const sRectangles& what : cases)
        ExpectCopyBetweenPictures<TypeParam>(what);
}

TYPED_TEST(Copies, OverlappingRectanglesGoByteByByteFromTheLowestAddressUp)
{
    // To the right the first pixels repeat, to the left the row moves; down the first rows repeat, up they move.
    const sRectangles cases[] = {{0, 0, 1, 0, 30, 1},  {0, 0, 2, 0, 38, 1},  {0, 0, 7, 0, 33, 1},  {1, 0, 0, 0, 39, 1},
                                 {9, 0, 4, 0, 31, 1},  {0, 0, 0, 0, 40, 1},  {0, 0, 0, 1, 40, 11}, {0, 1, 0, 0, 40, 11},
                                 {0, 0, 3, 2, 30, 10}, {3, 2, 0, 0, 30, 10}, {5, 0, 2, 3, 30, 9},  {2, 3, 5, 0, 30, 9},
                                 {0, 1, 20, 0, 20, 5}, {20, 0, 0, 1, 20, 5}};
    for (const sRectangles& what : cases)
        ExpectCopyWithinAPicture<TypeParam>(what);
}

TYPED_TEST(Copies, ACopyToTheRightRepeatsTheFirstPixel)
{
    auto picture = MakePicture<TypeParam>(100, 1);
    SetRandom(*picture, 4);
    Copy(*picture, *picture, {0, 0, 1, 0, 99, 1});
    ForEachSample(*picture, [&](int x, int y, int c) { ASSERT_EQ(At(*picture, x, y, c), At(*picture, 0, 0, c)) << x; });
}

TYPED_TEST(Copies, TheLastPixelOfBothPasses)
{
    auto source = MakePicture<TypeParam>(1, 1);
    auto target = MakePicture<TypeParam>(1, 1);
    SetRandom(*source, 5);
    Copy(*source, *target, {0, 0, 0, 0, 1, 1});
    for (int c = 0; c < kChannels<TypeParam>; ++c)
        EXPECT_EQ(target->fData[c], source->fData[c]);
    ExpectPaddingUntouched(*target);
}

// ---- 16-bit rows ----------------------------------------------------------------------------------------------------

TEST(CopyBGR16, RowsLieTwiceAsFarApart)
{
    auto source = MakePicture<cBitmapBGR16>(4, 8);
    auto target = MakePicture<cBitmapBGR16>(4, 8);
    SetRandom(*source, 6);
    Copy(*source, *target, {1, 1, 2, 2, 2, 1});
    // Row 1 of the call is row 2 of the source, row 2 of the call row 4 of the target.
    for (int x = 0; x < 2; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(At(*target, 2 + x, 4, c), At(*source, 1 + x, 2, c));
    int changed = 0;
    ForEachSample(*target, [&](int x, int y, int c) { changed += At(*target, x, y, c) != 0xA5A5; });
    EXPECT_EQ(changed, 6);
}

TEST(CopyBGR16, RowZeroLiesWhereItIsExpected)
{
    auto source = MakePicture<cBitmapBGR16>(5, 2);
    auto target = MakePicture<cBitmapBGR16>(5, 2);
    SetRandom(*source, 7);
    Copy(*source, *target, {0, 0, 0, 0, 5, 1});
    for (int x = 0; x < 5; ++x)
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(At(*target, x, 0, c), At(*source, x, 0, c));
    EXPECT_EQ(At(*target, 0, 1, 0), 0xA5A5);
}

/// A picture that says it is lower than its memory, so that what a copy does beyond its block shows.
std::unique_ptr<cBitmapBGR16> MakeWithRoomBelow(int pWidth, int pHeight, unsigned pSeed)
{
    auto picture = MakePicture<cBitmapBGR16>(pWidth, 4 * pHeight + 16);
    SetRandom(*picture, pSeed);
    picture->fHeight = pHeight;
    return picture;
}

/// The block and as much again behind it.
std::vector<unsigned char> TwiceTheBlock(const cBitmapBGR16& pPicture)
{
    const auto* const bytes = reinterpret_cast<const unsigned char*>(pPicture.fData);
    return std::vector<unsigned char>(bytes, bytes + 2 * BlockBytes(pPicture));
}

TEST(CopyBGR16, ARowThatLeavesEitherBlockIsLeftOut)
{
    // Rows of 24 bytes, so that rows of the call are 48 apart; height 6 and 9 are padded to 8 and 12 rows.
    const sRectangles cases[] = {{0, 0, 0, 0, 4, 6}, {0, 3, 0, 0, 4, 3}, {0, 0, 0, 5, 4, 4}, {0, 4, 0, 4, 4, 2},
                                 {3, 3, 0, 5, 1, 1}, {0, 2, 0, 3, 4, 4}, {0, 0, 0, 3, 4, 6}};
    for (const sRectangles& what : cases) {
        const auto source = MakeWithRoomBelow(4, 6, 8);
        auto target = MakeWithRoomBelow(4, 9, 9);
        const auto sourceBlock = BlockOf(*source);
        auto expected = BlockOf(*target);
        Model<cBitmapBGR16>(sourceBlock, CopyStride(*source), expected, CopyStride(*target), what);
        auto whole = TwiceTheBlock(*target);
        std::copy(expected.begin(), expected.end(), whole.begin());
        Copy(*source, *target, what);
        EXPECT_EQ(TwiceTheBlock(*target), whole) << what.fSrcY << " to " << what.fDstY;
    }
}

TEST(CopyBGR16, TheLastRowThatFitsIsKept)
{
    // Height 6 is padded to 8 rows of 24 bytes: row 3 of the call begins at byte 144 of 192 and is kept, row 4 begins
    // at 192.
    const auto source = MakeWithRoomBelow(4, 6, 10);
    auto target = MakeWithRoomBelow(4, 6, 11);
    const auto before = TwiceTheBlock(*target);
    Copy(*source, *target, {0, 3, 0, 0, 4, 1});
    EXPECT_EQ(std::memcmp(target->fData, reinterpret_cast<unsigned char*>(source->fData) + 144, 24), 0);
    Copy(*source, *target, {0, 0, 0, 3, 4, 1});
    EXPECT_EQ(std::memcmp(reinterpret_cast<unsigned char*>(target->fData) + 144, source->fData, 24), 0);
    auto unchanged = MakeWithRoomBelow(4, 6, 11);
    Copy(*source, *unchanged, {0, 4, 0, 0, 1, 2});
    Copy(*source, *unchanged, {0, 0, 0, 4, 1, 2});
    EXPECT_EQ(TwiceTheBlock(*unchanged), before);
}

TEST(CopyBGR16, ARowThatWouldLeaveByItsLastPixelAloneIsLeftOut)
{
    // A stride no longer than half a row: the row begins inside the block and ends outside.
    auto source = MakeWithRoomBelow(4, 1, 12);
    auto target = MakeWithRoomBelow(4, 1, 13);
    source->fStride = 6;
    const auto before = TwiceTheBlock(*target);
    source->fHeight = 2; // 4 padded rows of 6 bytes; row 1 of the call takes the bytes 12 to 36
    Copy(*source, *target, {0, 1, 0, 0, 4, 1});
    EXPECT_EQ(TwiceTheBlock(*target), before);
    Copy(*source, *target, {0, 1, 0, 0, 2, 1}); // 12 to 24
    EXPECT_EQ(std::memcmp(target->fData, reinterpret_cast<unsigned char*>(source->fData) + 12, 12), 0);
}

// ---- By depth -------------------------------------------------------------------------------------------------------

TEST(CopyLDR, TheDepthDecides)
{
    auto narrow = MakePicture<cBitmapBGR8>(4, 8);
    auto wide = MakePicture<cBitmapBGR16>(4, 8);
    SetRandom(*narrow, 14);
    SetRandom(*wide, 15);
    auto narrowTarget = MakePicture<cBitmapBGR8>(4, 8);
    auto wideTarget = MakePicture<cBitmapBGR16>(4, 8);
    auto narrowExpected = MakePicture<cBitmapBGR8>(4, 8);
    auto wideExpected = MakePicture<cBitmapBGR16>(4, 8);
    const sRectangles what = {1, 1, 0, 2, 3, 4};
    Copy<cBitmapLDR>(*narrow, *narrowTarget, what);
    Copy<cBitmapLDR>(*wide, *wideTarget, what);
    Copy(*narrow, *narrowExpected, what);
    Copy(*wide, *wideExpected, what);
    EXPECT_EQ(BlockOf(*narrowTarget), BlockOf(*narrowExpected));
    EXPECT_EQ(BlockOf(*wideTarget), BlockOf(*wideExpected));
    EXPECT_NE(BlockOf(*narrowTarget), std::vector<unsigned char>(BlockBytes(*narrowTarget), kUntouched));
}

/// A 16-bit picture that names another depth: everything but 8 goes by 16-bit samples.
class cTwelveBits : public cBitmapBGR16
{
public:
    using cBitmapBGR16::cBitmapBGR16;
    int GetBitsPerChannel() const override { return 12; }
};

TEST(CopyLDR, EveryOtherDepthGoesAs16Bits)
{
    cTwelveBits source(4, 4, eColorSpace_sRGB);
    cTwelveBits target(4, 4, eColorSpace_sRGB);
    SetRandom<cBitmapBGR16>(source, 16);
    cImageUtils::Fill(&target, static_cast<unsigned short>(0));
    Copy<cBitmapLDR>(source, target, {0, 0, 0, 0, 4, 1});
    EXPECT_EQ(std::memcmp(source.fData, target.fData, 24), 0);
}

} // namespace
