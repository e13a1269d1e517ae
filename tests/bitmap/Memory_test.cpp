// What bitmaps take from the heap, what they give back, and what is lost: only the five texts of an exception and the
// last tile of a failed tile set may be.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cBitmapY32.h"
#include "bitmap/cBitmapY8.h"
#include "bitmap/cException.h"
#include "bitmap/cMemUtils.h"
#include "support/Capture.h"

#include "Fixtures.h"
#include "Heap.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <new>
#include <optional>
#include <utility>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

using cSizes = std::vector<size_t>;

/// How a watched call ended.
enum eEnd
{
    eReturned,
    eBadAlloc,
    eOutOfMemory, // cOutOfMemoryException
    eOther,       // another of the family
};

struct sRun
{
    sHeapUse fUse;
    eEnd fEnd = eReturned;
};

/// Runs a call that may throw, catching inside the watch, so that what is left is what is lost.
sRun RunWatched(const std::function<void()>& pCall, const cRefusal& pRefuse = {})
{
    sRun run;
    run.fUse = WatchHeap(
        [&] {
            try {
                pCall();
            } catch (const std::bad_alloc&) {
                run.fEnd = eBadAlloc;
            } catch (const cOutOfMemoryException&) {
                run.fEnd = eOutOfMemory;
            } catch (const cException&) {
                run.fEnd = eOther;
            } catch (const std::runtime_error&) {
                run.fEnd = eOther;
            }
        },
        pRefuse);
    return run;
}

/// Bytes of the five texts that the failure of a call leaves behind, in the order in which they are taken.
cSizes TextsOf(const std::function<void()>& pCall)
{
    const sFailure failure = FailureOf(pCall);
    return {failure.fType.size() + 1, failure.fDescription.size() + 1, failure.fFile.size() + 1,
            failure.fTimeStamp.size() + 1, failure.fFuncSig.size() + 1};
}

/// Refuses one request after another until the call succeeds. A refusal ends in the family's own class where pixels
/// were asked for (whose requests have one of these sizes) and in std::bad_alloc elsewhere; nothing but texts is lost.
void ExpectCleanWithEveryRefusal(const std::function<void()>& pCall, const cSizes& pPixelBlocks)
{
    const sRun whole = RunWatched(pCall);
    ASSERT_EQ(whole.fEnd, eReturned);
    EXPECT_EQ(whole.fUse.fLost, cSizes());
    ASSERT_FALSE(whole.fUse.fRequests.empty());
    for (int i = 0; i < static_cast<int>(whole.fUse.fRequests.size()); ++i) {
        SCOPED_TRACE(i);
        const size_t refused = whole.fUse.fRequests[static_cast<size_t>(i)];
        const bool pixels = std::count(pPixelBlocks.begin(), pPixelBlocks.end(), refused) != 0;
        const sRun run = RunWatched(pCall, RefuseRequest(i));
        EXPECT_EQ(run.fEnd, pixels ? eOutOfMemory : eBadAlloc);
        EXPECT_EQ(run.fUse.fLost.size(), pixels ? 5u : 0u);
    }
}

TEST(ExceptionMemory, TextsAreTakenInTheirOrderAndStay)
{
    const sHeapUse use = WatchHeap([] { const cException e("1", "22", "message", 3, "4444", "55555", "666666"); });
    // The message is the base's; then type, description, file, time stamp, signature.
    ASSERT_EQ(use.fRequests.size(), 6u);
    EXPECT_EQ(cSizes(use.fRequests.begin() + 1, use.fRequests.end()), (cSizes{2, 3, 5, 6, 7}));
    EXPECT_EQ(use.fLost, (cSizes{2, 3, 5, 6, 7}));
    EXPECT_EQ(use.fFrees, 1);
}

TEST(ExceptionMemory, ARefusedTextReadsAsNullAndTheRestStands)
{
    for (int refused = 1; refused <= 5; ++refused) {
        std::optional<cArgumentException> exception;
        const sHeapUse use =
            WatchHeap([&] { exception.emplace("message", 5, "file", "stamp", "signature"); }, RefuseRequest(refused));
        EXPECT_EQ(use.fRequests.size(), 6u);
        EXPECT_EQ(exception->GetType() == nullptr, refused == 1);
        EXPECT_EQ(exception->GetDescription() == nullptr, refused == 2);
        EXPECT_EQ(exception->GetFile() == nullptr, refused == 3);
        EXPECT_EQ(exception->GetTimeStamp() == nullptr, refused == 4);
        EXPECT_EQ(exception->GetFuncSig() == nullptr, refused == 5);
        EXPECT_EQ(exception->GetLine(), 5);
        EXPECT_STREQ(exception->GetMessage(), "message");
    }
}

TEST(ExceptionMemory, WithNoTextAtAllLineAndMessageStand)
{
    std::optional<cOutOfMemoryException> exception;
    WatchHeap([&] { exception.emplace("message", -7, "file", "stamp", "signature"); },
              [](int pIndex, size_t) { return pIndex >= 1; });
    EXPECT_EQ(exception->GetType(), nullptr);
    EXPECT_EQ(exception->GetDescription(), nullptr);
    EXPECT_EQ(exception->GetFile(), nullptr);
    EXPECT_EQ(exception->GetTimeStamp(), nullptr);
    EXPECT_EQ(exception->GetFuncSig(), nullptr);
    EXPECT_EQ(exception->GetLine(), -7);
    EXPECT_STREQ(exception->GetMessage(), "message");
}

TEST(ExceptionMemory, NullTextsTakeNothing)
{
    const sHeapUse use =
        WatchHeap([] { const cException e(nullptr, nullptr, "message", 3, nullptr, nullptr, nullptr); });
    EXPECT_EQ(use.fRequests.size(), 1u);
    EXPECT_EQ(use.fLost, cSizes());
}

TEST(ExceptionMemory, CopyAndSourceFreeNoText)
{
    const sHeapUse use = WatchHeap([] {
        const cArgumentException source("message", 3, "4444", "55555", "666666");
        const cArgumentException copy(source);
    });
    EXPECT_EQ(use.fLost.size(), 5u);
    EXPECT_EQ(use.fRequests.size(), 6u);
}

TEST(ExceptionMemory, AThrownCheckLosesItsFiveTextsOnce)
{
    const auto call = [] { cMemUtils::TiledBitmapFree(nullptr, 1, 1); };
    const sRun run = RunWatched(call);
    EXPECT_EQ(run.fEnd, eOther);
    EXPECT_EQ(run.fUse.fLost, TextsOf(call));
}

TEST(FlatMemory, ABlockIsPaddedHeightTimesStride)
{
    const struct
    {
        int fWidth, fHeight, fPixelByteSize;
        size_t fBytes;
    } cases[] = {{1, 1, 12, 192}, {1, 1, 3, 48}, {5, 5, 3, 192}, {4, 4, 6, 96}, {4000, 3000, 12, 144000000}};
    for (const auto& c : cases) {
        const sHeapUse use = WatchHeap([&] {
            int stride = 0;
            cMemUtils::BitmapFree(cMemUtils::BitmapAlloc(c.fWidth, c.fHeight, c.fPixelByteSize, stride));
        });
        EXPECT_EQ(use.fRequests, cSizes{c.fBytes});
        EXPECT_EQ(use.fLost, cSizes());
    }
}

TEST(FlatMemory, TheSizeIsFormedIn64Bits)
{
    const auto refuseAll = [](int, size_t) { return true; };
    int stride = 0;
    const sHeapUse use = WatchHeap([&] { cMemUtils::BitmapAlloc(40000, 40000, 12, stride); }, refuseAll);
    EXPECT_EQ(use.fRequests, cSizes{19200000000u});
    EXPECT_EQ(stride, 480000);
    const sHeapUse largest = WatchHeap([&] { cMemUtils::BitmapAlloc(0x7FFFFFFC, 0x7FFFFFFC, 1, stride); }, refuseAll);
    EXPECT_EQ(largest.fRequests, cSizes{size_t{0x7FFFFFFC} * 0x7FFFFFFC});
}

TEST(FlatMemory, ASizeThatDoesNotFitAsksForNothing)
{
    const std::pair<int, int> sizes[] = {{0x10000000, 1}, {0x55555558, 1}, {1, INT_MAX}, {1, INT_MAX - 2}};
    for (const auto& size : sizes) {
        int stride = 0;
        void* block = &stride;
        const sHeapUse use = WatchHeap([&] { block = cMemUtils::BitmapAlloc(size.first, size.second, 12, stride); });
        EXPECT_EQ(block, nullptr);
        EXPECT_EQ(use.fRequests, cSizes());
    }
}

TEST(FlatMemory, TheStrideIsGivenAlsoWhenMemoryIsOut)
{
    int stride = 0;
    void* block = &stride;
    WatchHeap([&] { block = cMemUtils::BitmapAlloc(5, 1, 3, stride); }, RefuseRequest(0));
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(stride, 24);
}

/// A tile set of 13 full tiles of 218 scanlines of 48000 bytes and a last one of 166: request 0 is the array, 1 to 13
/// are the full tiles, 14 is the last.
struct sTileSet
{
    void** fTiles = nullptr;
    int fStride = -1;
    int fTileCount = -2;
    int fTileHeight = -3;
    sHeapUse fUse;
};

constexpr size_t kArray = 14 * sizeof(void*);
constexpr size_t kFullTile = 218 * 48000;
constexpr size_t kLastTile = 166 * 48000;

sTileSet AllocTiles(const cRefusal& pRefuse = {})
{
    sTileSet set;
    set.fUse = WatchHeap(
        [&] { set.fTiles = cMemUtils::TiledBitmapAlloc(4000, 3000, 12, set.fStride, set.fTileCount, set.fTileHeight); },
        pRefuse);
    return set;
}

void ExpectNoTiles(const sTileSet& pSet)
{
    EXPECT_EQ(pSet.fTiles, nullptr);
    EXPECT_EQ(pSet.fStride, -1); // the results stay untouched
    EXPECT_EQ(pSet.fTileCount, -2);
    EXPECT_EQ(pSet.fTileHeight, -3);
}

TEST(TileMemory, TheSetIsAnArrayAndItsTiles)
{
    const sTileSet set = AllocTiles();
    cSizes expected(14, kFullTile);
    expected.front() = kArray;
    expected.push_back(kLastTile);
    EXPECT_EQ(set.fUse.fRequests, expected);
    const sHeapUse use = WatchHeap([&] { cMemUtils::TiledBitmapFree(set.fTiles, set.fTileCount, set.fTileHeight); });
    EXPECT_EQ(use.fFrees, 15);
}

TEST(TileMemory, AnEvenDivisionHasNoShortTile)
{
    sTileSet set;
    const sHeapUse use = WatchHeap(
        [&] { set.fTiles = cMemUtils::TiledBitmapAlloc(4096, 640, 16, set.fStride, set.fTileCount, set.fTileHeight); });
    EXPECT_EQ(use.fRequests, (cSizes{32, 0xA00000, 0xA00000, 0xA00000, 0xA00000}));
    cMemUtils::TiledBitmapFree(set.fTiles, set.fTileCount, set.fTileHeight);
}

TEST(TileMemory, AnArrayThatIsRefusedGivesNullAndAsksNoFurther)
{
    const sTileSet set = AllocTiles(RefuseRequest(0));
    ExpectNoTiles(set);
    EXPECT_EQ(set.fUse.fRequests, cSizes{kArray});
    EXPECT_EQ(set.fUse.fLost, cSizes());
}

TEST(TileMemory, ARefusedFullTileStillAsksForTheLastWhichIsLostOnce)
{
    for (int refused = 1; refused <= 13; ++refused) {
        SCOPED_TRACE(refused);
        const sTileSet set = AllocTiles(RefuseRequest(refused));
        ExpectNoTiles(set);
        cSizes expected(static_cast<size_t>(refused) + 1, kFullTile); // up to the refused one
        expected.front() = kArray;
        expected.push_back(kLastTile);
        EXPECT_EQ(set.fUse.fRequests, expected);
        EXPECT_EQ(set.fUse.fLost, cSizes{kLastTile}); // required: exactly this one
    }
}

TEST(TileMemory, ARefusedLastTileLosesNothing)
{
    const sTileSet set = AllocTiles(RefuseRequest(14));
    ExpectNoTiles(set);
    EXPECT_EQ(set.fUse.fRequests.size(), 15u);
    EXPECT_EQ(set.fUse.fLost, cSizes());
}

TEST(TileMemory, AFullAndTheLastTileRefusedLoseNothing)
{
    const sTileSet set = AllocTiles([](int pIndex, size_t pSize) { return pIndex == 5 || pSize == kLastTile; });
    ExpectNoTiles(set);
    EXPECT_EQ(set.fUse.fRequests.size(), 7u);
    EXPECT_EQ(set.fUse.fLost, cSizes());
}

TEST(TileMemory, TheOnlyTileRefusedLosesNothing)
{
    sTileSet set;
    const sHeapUse use = WatchHeap(
        [&] { set.fTiles = cMemUtils::TiledBitmapAlloc(1, 1, 1, set.fStride, set.fTileCount, set.fTileHeight); },
        RefuseRequest(1));
    ExpectNoTiles(set);
    EXPECT_EQ(use.fLost, cSizes());
}

TEST(TileMemory, ATooWideScanlineAsksForNoTile)
{
    const auto call = [] {
        int stride = 0, count = 0, height = 0;
        cMemUtils::TiledBitmapAlloc(0xA00004, INT_MAX, 1, stride, count, height);
    };
    const sRun run = RunWatched(call);
    EXPECT_EQ(run.fEnd, eOther);
    EXPECT_EQ(run.fUse.fLost, TextsOf(call));
}

TEST(TileMemory, APaddedHeightThatDoesNotFitAsksForNothing)
{
    for (const int height : {INT_MAX, INT_MAX - 2}) {
        sTileSet set;
        const sHeapUse use = WatchHeap([&] {
            set.fTiles = cMemUtils::TiledBitmapAlloc(1, height, 1, set.fStride, set.fTileCount, set.fTileHeight);
        });
        ExpectNoTiles(set);
        EXPECT_EQ(use.fRequests, cSizes());
    }
}

TEST(TileMemory, ANullTileLeavesNothingBehindButTheTexts)
{
    void** tiles = nullptr;
    const auto make = [&] {
        tiles = static_cast<void**>(cMemUtils::Calloc(3, sizeof(void*)));
        tiles[0] = cMemUtils::Malloc(8);
        tiles[2] = cMemUtils::Malloc(16);
    };
    const sRun run = RunWatched([&] {
        make();
        cMemUtils::TiledBitmapFree(tiles, 3, 1);
    });
    EXPECT_EQ(run.fEnd, eOther);
    make();
    EXPECT_EQ(run.fUse.fLost, TextsOf([&] { cMemUtils::TiledBitmapFree(tiles, 3, 1); }));
}

TEST(TileMemory, ARefusedCheckReleasesNothing)
{
    sTileSet set = AllocTiles();
    const sRun run = RunWatched([&] { cMemUtils::TiledBitmapFree(set.fTiles, 14, 0); });
    EXPECT_EQ(run.fEnd, eOther);
    const sHeapUse use = WatchHeap([&] { cMemUtils::TiledBitmapFree(set.fTiles, 14, 218); });
    EXPECT_EQ(use.fFrees, 15);
}

TEST(TileMemory, ATiledBitmapWithoutMemoryThrowsAndLosesTheLastTile)
{
    const auto call = [] { const cBitmapXYZ32T bitmap(4000, 3000); };
    const sRun run = RunWatched(call, RefuseRequest(3));
    EXPECT_EQ(run.fEnd, eOutOfMemory);
    ASSERT_EQ(run.fUse.fLost.size(), 6u); // the tile and five texts
    EXPECT_EQ(run.fUse.fLost[0], kLastTile);
    const sRun planes = RunWatched([] { const cBitmapU16T bitmap(4000, 3000, 6); }, RefuseRequest(1));
    EXPECT_EQ(planes.fEnd, eOutOfMemory);
    ASSERT_EQ(planes.fUse.fLost.size(), 6u);
    EXPECT_EQ(planes.fUse.fLost[0], kLastTile);
}

/// Silences the trace of 8-bit bitmaps.
void Quietly(const std::function<void()>& pCall)
{
    CaptureStderr(pCall);
}

TEST(BitmapMemory, EveryClassGivesBackWhatItTook)
{
    Quietly([] {
        ExpectCleanWithEveryRefusal([] { const cBitmapBGR8 b(5, 6, eColorSpace_sRGB); }, {192});
        ExpectCleanWithEveryRefusal([] { const cBitmapBGR16 b(5, 6, eColorSpace_AdobeRGB98); }, {384});
        ExpectCleanWithEveryRefusal([] { const cBitmapXYZ32 b(5, 6); }, {768});
        ExpectCleanWithEveryRefusal([] { const cBitmapXYZ32T b(5, 6); }, {8, 768});
        ExpectCleanWithEveryRefusal([] { const cBitmapY32 b(5, 6); }, {256});
        ExpectCleanWithEveryRefusal([] { const cBitmapY8 b(5, 6); }, {64});
        ExpectCleanWithEveryRefusal([] { const cBitmapU16T b(5, 6, 7); }, {8, 896});
    });
}

TEST(BitmapMemory, CopiesOfASpaceAreGivenBack)
{
    Quietly([] {
        cCountedSpace space;
        ExpectCleanWithEveryRefusal([&] { const cBitmapBGR8 b(5, 6, &space); }, {192});
        ExpectCleanWithEveryRefusal([&] { const cBitmapBGR16 b(5, 6, &space); }, {384});
        cBitmapBGR16 bitmap(1, 1, kNoSpace);
        ExpectCleanWithEveryRefusal(
            [&] {
                bitmap.AssignColorSpace(&space);
                delete bitmap.fColorSpace;
                bitmap.fColorSpace = nullptr;
            },
            {});
    });
}

TEST(BitmapMemory, ARefusedNumberTakesNothingFromTheHeap)
{
    cBitmapBGR16 bitmap(1, 1, eColorSpace_sRGB);
    const sHeapUse use = WatchHeap([&] { bitmap.AssignColorSpace(kNoSpace); });
    EXPECT_EQ(use.fRequests, cSizes());
    EXPECT_EQ(use.fFrees, 0);
    const sHeapUse built = WatchHeap([] { const cBitmapBGR16 b(1, 1, kNoSpace); });
    EXPECT_EQ(built.fRequests, cSizes{96});
}

TEST(BitmapMemory, AFailingNumberKeepsTheOldSpace)
{
    cBitmapBGR16 bitmap(1, 1, eColorSpace_sRGB);
    cColorSpace* const old = bitmap.fColorSpace;
    for (int refused = 0; refused < 3; ++refused) { // the space and its two transfers
        const sRun run = RunWatched([&] { bitmap.AssignColorSpace(eColorSpace_ProPhotoRGB); }, RefuseRequest(refused));
        EXPECT_EQ(run.fEnd, eBadAlloc);
        EXPECT_EQ(run.fUse.fLost, cSizes());
        EXPECT_EQ(bitmap.fColorSpace, old);
    }
    EXPECT_STREQ(old->GetName(), "sRGB IEC61966-2.1");
}

TEST(BitmapMemory, AWidthOfZeroThrowsBeforeAnyBlock)
{
    const sRun run = RunWatched([] { const cBitmapBGR8 b(0, 1, eColorSpace_sRGB); });
    EXPECT_EQ(run.fEnd, eOther);
    EXPECT_EQ(run.fUse.fLost, TextsOf([] { const cBitmapBGR8 b(0, 1, eColorSpace_sRGB); }));
}

TEST(BitmapMemory, AFailedColourSpaceLeavesOneTraceInTheEightBitClass)
{
    for (int refused = 1; refused <= 3; ++refused) {
        const std::string said = CaptureStderr([&] {
            const sRun run = RunWatched([] { const cBitmapBGR8 b(5, 6, eColorSpace_sRGB); }, RefuseRequest(refused));
            EXPECT_EQ(run.fEnd, eBadAlloc);
        });
        EXPECT_EQ(said, "Freeing via FreeBitmapData\n");
    }
}

TEST(BitmapMemory, ForeignPixelsAreCopiedOnce)
{
    std::vector<unsigned char> pixels(6 * 100);
    Quietly([&] {
        ExpectCleanWithEveryRefusal([&] { const cBitmapBGR8 b(5, 6, 17, pixels.data(), eColorSpace_sRGB); }, {192});
        ExpectCleanWithEveryRefusal(
            [&] { delete cBitmapBGR16::FromBGR16Data(5, 6, 48, pixels.data(), eColorSpace_sRGB); }, {384});
        ExpectCleanWithEveryRefusal(
            [&] { delete cBitmapBGR16::FromBGR16Data(5, 6, 30, pixels.data(), eColorSpace_sRGB); }, {384});
        ExpectCleanWithEveryRefusal([&] { delete cBitmapY8::FromBGR8(pixels.data(), 5, 6, 15); }, {64});
    });
}

TEST(BitmapMemory, FromBGR16DataLosesNothingWhenTheCopyRefuses)
{
    unsigned char pixels[64] = {};
    const auto call = [&] { delete cBitmapBGR16::FromBGR16Data(2, 2, 6, pixels, eColorSpace_sRGB); };
    const sRun run = RunWatched(call);
    EXPECT_EQ(run.fEnd, eOther);
    EXPECT_EQ(run.fUse.fLost, TextsOf(call));
}

TEST(BitmapMemory, CopyingConstructorsLoseNothing)
{
    cBitmapXYZ32 source(5, 6);
    ExpectCleanWithEveryRefusal([&] { const cBitmapXYZ32 b(&source); }, {768});
    ExpectCleanWithEveryRefusal([&] { const cBitmapXYZ32T b(&source); }, {8, 768});

    float* const block = std::exchange(source.fData, nullptr);
    const auto flat = [&] { const cBitmapXYZ32 b(&source); };
    const auto tiled = [&] { const cBitmapXYZ32T b(&source); };
    EXPECT_EQ(RunWatched(flat).fUse.fLost, TextsOf(flat));
    EXPECT_EQ(RunWatched(tiled).fUse.fLost, TextsOf(tiled));
    source.fData = block;
}

TEST(BitmapMemory, HalvingAPixelLosesNothing)
{
    const cBitmapY8 small(1, 1);
    const auto call = [&] { delete small.Halve(); };
    EXPECT_EQ(RunWatched(call).fUse.fLost, TextsOf(call));
    const cBitmapY8 large(4, 4);
    ExpectCleanWithEveryRefusal([&] { delete large.Halve(); }, {16});
}

TEST(BitmapMemory, ConversionsGiveTheirTablesBack)
{
    cBitmapBGR8 shallow(5, 6, eColorSpace_sRGB);
    cBitmapBGR16 deep(5, 6, eColorSpace_sRGB);
    cBitmapXYZ32 xyz(5, 6);
    RandomBlock(shallow, 1);
    RandomBlock(deep, 2);
    ExpectCleanWithEveryRefusal([&] { shallow.ToXYZ32(&xyz); }, {});
    ExpectCleanWithEveryRefusal([&] { shallow.FromXYZ32(&xyz); }, {});
    ExpectCleanWithEveryRefusal([&] { shallow.ToBGR32Linear(&xyz); }, {});
    ExpectCleanWithEveryRefusal([&] { deep.ToXYZ32(&xyz); }, {});
    ExpectCleanWithEveryRefusal([&] { deep.FromXYZ32(&xyz); }, {});
    ExpectCleanWithEveryRefusal([&] { deep.ToBGR32Linear(&xyz); }, {});
    EXPECT_EQ(WatchHeap([&] { deep.ToBGR8(&shallow); }).fRequests, cSizes());
    EXPECT_EQ(WatchHeap([&] { deep.FromBGR8(&shallow); }).fRequests, cSizes());
}

TEST(BitmapMemory, APlainCopyTakesNothingFromTheHeap)
{
    cBitmapBGR8 shallow(5, 6, eColorSpace_sRGB);
    cBitmapBGR16 deep(5, 6, eColorSpace_sRGB);
    cBitmapXYZ32 xyz(5, 6);
    cBitmapY8 grey(5, 6);
    std::vector<unsigned char> pixels(6 * 100);
    const sHeapUse use = WatchHeap([&] {
        shallow.CopyFromBGR8(5, 6, 15, pixels.data());
        shallow.CopyToBGR8(pixels.data(), 5, 6, 15);
        deep.CopyFromBGR16(5, 6, 30, pixels.data());
        grey.CopyToBGR8(pixels.data(), 5, 6, 15);
        xyz.BGRFloatToBGR8Data(5, 6, 15, pixels.data());
    });
    EXPECT_EQ(use.fRequests, cSizes());
}

} // namespace
