#include "render/Scene.h"
#include "support/Host.h"
#include "support/Records.h"

#include "bitmap/cBitmapU16T.h"
#include "filter/DivideWork.h"
#include "yhmv/cYHMVColorSpace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <new>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const float kFloor = std::ldexp(1.0f, -128);

float& Luminance(cBitmapXYZ32& pPicture, int pX, int pY)
{
    return pPicture.fData[pY * (pPicture.fStride / 4) + 3 * pX + 1];
}

TEST(Preparation, EachPixelGetsTheLogarithmOfItsLuminance)
{
    sScene scene(13, 7, 12.0f);
    scene.Render();
    float smallest = 1e30f;
    float largest = -1e30f;
    for (int y = 0; y < 7; y++)
        for (int x = 0; x < 13; x++) {
            const float luminance = Luminance(scene.fInput, x, y);
            EXPECT_EQ(scene.fRenderer->fLogLuminance[y * 13 + x], log10f(luminance));
            smallest = std::min(smallest, luminance);
            largest = std::max(largest, luminance);
        }
    EXPECT_EQ(scene.fRenderer->fMinY, smallest);
    EXPECT_EQ(scene.fRenderer->fMaxY, largest);
    EXPECT_EQ(scene.fRenderer->fLogMinY, log10f(smallest));
    EXPECT_EQ(scene.fRenderer->fLogMaxY, log10f(largest));
}

TEST(Preparation, ZeroNegativeAndNaNCountAsTheFloor)
{
    sScene scene(4, 1);
    const float values[] = {0.0f, -3.0f, std::numeric_limits<float>::quiet_NaN(), 2.0f};
    for (int x = 0; x < 4; x++)
        Luminance(scene.fInput, x, 0) = values[x];
    scene.Render();
    for (int x = 0; x < 3; x++)
        EXPECT_EQ(scene.fRenderer->fLogLuminance[x], log10f(kFloor)) << x;
    EXPECT_NEAR(scene.fRenderer->fLogLuminance[0], -38.53f, 0.01f);
    EXPECT_EQ(scene.fRenderer->fMinY, kFloor);
    EXPECT_EQ(scene.fRenderer->fMaxY, 2.0f);
}

TEST(Preparation, TheCompactPictureIsThatOfTheEncoder)
{
    sScene scene(9, 5);
    scene.Mark(true, false, false, false);
    scene.Render();
    cBitmapU16T expected(9, 5, YHMVPixel::kPlanes);
    bool cancel = false;
    bool cancelled = false;
    cYHMVColorSpace::XYZToYHMV(&cancel, &cancelled, &scene.fInput, &expected);
    ASSERT_EQ(scene.fRenderer->fYHMV->fPlanes, YHMVPixel::kPlanes);
    for (int y = 0; y < 5; y++)
        EXPECT_EQ(std::memcmp(scene.fRenderer->fYHMV->GetScanline(y), expected.GetScanline(y), 9 * YHMVPixel::kBytes),
                  0)
            << y;
}

TEST(Preparation, TheRecordStandsAtItsOffsetsAndIsZeroElsewhere)
{
    sScene scene(11, 6);
    scene.fRenderer->SetNbProc(3);
    scene.Mark(true, false, false, false);
    std::pair<float, float> seeds;
    const cHostScope host({.fBeforeCall = [&](const sDivideCall& pCall) {
        const unsigned char* const record = pCall.fRecord.data();
        seeds = {*GetField(record, MinMaxRecord::kSlotMin), *GetField(record, MinMaxRecord::kSlotMax)};
    }});
    scene.Render();
    EXPECT_EQ(seeds, std::pair(1e30f, -1e30f));
    ASSERT_EQ(host.Calls().size(), 1u);
    const sDivideCall& call = host.Calls()[0];
    EXPECT_EQ(call.fStart, 0);
    EXPECT_EQ(call.fEnd, 6);
    EXPECT_EQ(call.fThreads, 3);
    EXPECT_EQ(call.fFunction, &CalcMinMaxLog_tile_threaded);
    ASSERT_EQ(call.fRecord.size(), MinMaxRecord::kBytes);
    std::vector<unsigned char> expected(MinMaxRecord::kBytes, 0);
    unsigned char* const record = expected.data();
    SetField(record, MinMaxRecord::kPicture, &scene.fInput);
    SetField(record, MinMaxRecord::kLogLuminance, scene.fRenderer->fLogLuminance);
    SetField(record, MinMaxRecord::kWidth, 11);
    SetField(record, MinMaxRecord::kCancel, &scene.fCancel);
    SetField(record, MinMaxRecord::kCancelled, &scene.fCancelled);
    for (const auto slots : {MinMaxRecord::kSlotMin, MinMaxRecord::kSlotMax}) // arrays of the renderer's own
        SetField(record, slots, GetField(call.fRecord.data(), slots));
    SetField(record, MinMaxRecord::kFloor, kFloor);
    EXPECT_EQ(call.fRecord, expected);
}

TEST(Preparation, AnyCutAndAnyWorkersGiveTheSameExtremes)
{
    sScene one(31, 40);
    one.Mark(true, false, false, false);
    one.Render();
    for (int workers : {2, 3, 5, 256, 257, 300}) {
        sScene many(31, 40);
        many.fRenderer->SetNbProc(workers);
        many.Mark(true, false, false, false);
        const cHostScope host({.fTiles = 17, .fOrder = eTilesShuffled, .fThreads = workers < 10, .fUneven = true});
        many.Render();
        EXPECT_EQ(many.fRenderer->fMinY, one.fRenderer->fMinY) << workers;
        EXPECT_EQ(many.fRenderer->fMaxY, one.fRenderer->fMaxY) << workers;
        EXPECT_EQ(std::memcmp(many.fRenderer->fLogLuminance, one.fRenderer->fLogLuminance, 31 * 40 * sizeof(float)), 0);
    }
}

TEST(Preparation, WithoutWorkersNothingIsMergedButSlotZeroHasRoom)
{
    for (int workers : {0, -4}) {
        sScene scene(5, 3);
        scene.fRenderer->SetNbProc(workers);
        scene.Mark(true, false, false, false);
        scene.Render();
        EXPECT_EQ(scene.fRenderer->fMinY, 1e30f);
        EXPECT_EQ(scene.fRenderer->fMaxY, -1e30f);
        EXPECT_EQ(scene.fRenderer->fLogMinY, log10f(1e30f));
        EXPECT_TRUE(std::isnan(scene.fRenderer->fLogMaxY));
        EXPECT_EQ(scene.fRenderer->fLogLuminance[0], log10f(Luminance(scene.fInput, 0, 0))) << "slot 0 was run";
    }
}

TEST(Preparation, ATileLooksAtTheRequestOnceAndLeavesItsRows)
{
    sScene scene(4, 8);
    std::vector<float> logs(4 * 8, 7.0f);
    float smallest = 1e30f;
    float largest = -1e30f;
    bool cancel = true;
    bool cancelled = false;
    CalcMinMaxLog_tile(0, 2, 5, &scene.fInput, logs.data(), 4, &cancel, &cancelled, &smallest, &largest, kFloor);
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(std::count(logs.begin(), logs.end(), 7.0f), 32);
    EXPECT_EQ(smallest, 1e30f);
    cancelled = false;
    CalcMinMaxLog_tile(0, 5, 5, &scene.fInput, logs.data(), 4, &cancel, &cancelled, &smallest, &largest, kFloor);
    EXPECT_FALSE(cancelled) << "an empty tile returns before it looks";
    cancel = false;
    CalcMinMaxLog_tile(0, 2, 5, &scene.fInput, logs.data(), 4, &cancel, &cancelled, &smallest, &largest, kFloor);
    EXPECT_EQ(std::count(logs.begin(), logs.end(), 7.0f), 20);
    EXPECT_NE(logs[2 * 4], 7.0f);
    EXPECT_NE(logs[4 * 4 + 3], 7.0f);
}

TEST(Preparation, SlotsGatherOverSeveralTilesOfOneWorker)
{
    sScene scene(4, 8);
    std::vector<float> logs(4 * 8);
    float smallest[3] = {1e30f, 1e30f, 1e30f};
    float largest[3] = {-1e30f, -1e30f, -1e30f};
    bool cancel = false;
    bool cancelled = false;
    for (int row : {6, 1})
        CalcMinMaxLog_tile(1, row, row + 1, &scene.fInput, logs.data(), 4, &cancel, &cancelled, smallest, largest,
                           kFloor);
    float expectedMin = 1e30f;
    float expectedMax = -1e30f;
    for (int row : {1, 6})
        for (int x = 0; x < 4; x++) {
            expectedMin = std::min(expectedMin, Luminance(scene.fInput, x, row));
            expectedMax = std::max(expectedMax, Luminance(scene.fInput, x, row));
        }
    EXPECT_EQ(smallest[1], expectedMin);
    EXPECT_EQ(largest[1], expectedMax);
    EXPECT_EQ(smallest[0], 1e30f);
    EXPECT_EQ(largest[2], -1e30f);
}

TEST(Preparation, ARequestDuringThePassIsSeenByTheNextTileAndAtTheEnd)
{
    sScene scene(6, 10);
    int tiles = 0;
    {
        const cHostScope host({.fTiles = 5, .fBeforeTile = [&] { scene.fCancel = ++tiles > 2; }});
        scene.Render();
    }
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "P12F");
    EXPECT_EQ(scene.fRenderer->fLogLuminance[0], log10f(Luminance(scene.fInput, 0, 0))) << "the first tiles were done";
    scene.fCancel = scene.fCancelled = false;
    {
        const cHostScope host({.fAfterCall = [&] { scene.fCancel = true; }});
        scene.Render();
    }
    EXPECT_TRUE(scene.fCancelled) << "after the last tile's look";
    EXPECT_EQ(scene.Marks(), "P12F");
}

TEST(Preparation, AnotherInputOfAnotherSizeNeedsNoOtherStep)
{
    sScene small(3, 3);
    small.Render();
    cBitmapXYZ32 larger(40, 30);
    FillDecades(larger, 4.0f, 9);
    cBitmapBGR16 output(40, 30, eColorSpace_sRGB);
    small.fRenderer->SetInput(&larger);
    small.fRenderer->SetOutput(&output);
    small.Render();
    EXPECT_EQ(small.fRenderer->fYHMV->fWidth, 40);
    EXPECT_EQ(small.fRenderer->fLogLuminance[40 * 30 - 1], log10f(Luminance(larger, 39, 29)));
}

TEST(Preparation, APixelCountThatDoesNotFitIsABadArrayLength)
{
    // the input's size is pretended: nothing of it is read before the count is made
    for (const auto& [width, height] : {std::pair{65536, 32768}, std::pair{70000, 70000}}) {
        sScene scene(4, 4);
        scene.fInput.fWidth = scene.fOutput.fWidth = width;
        scene.fInput.fHeight = scene.fOutput.fHeight = height;
        cBitmapXYZ32& input = scene.fInput;
        EXPECT_THROW(scene.Render(), std::bad_array_new_length);
        EXPECT_EQ(scene.fRenderer->fYHMV, nullptr);
        EXPECT_EQ(scene.fRenderer->fLogLuminance, nullptr);
        EXPECT_EQ(scene.fRenderer->fBase, nullptr);
        EXPECT_EQ(scene.fRenderer->fDetail, nullptr);
        EXPECT_EQ(scene.Marks(), "P12F");
        input.fWidth = input.fHeight = scene.fOutput.fWidth = scene.fOutput.fHeight = 4;
    }
}

} // namespace
