// What an object is like after an allocation inside one of its operations has failed: as it was, or as far as it is
// said to have come, and in either case fit to go on.

#include "Faults.h"
#include "TileHost.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapXYZ32T.h"
#include "bitmap/cException.h"
#include "bitmap/cMemUtils.h"
#include "color/cColorSpace.h"
#include "curve/cHermiteSpline.h"
#include "equalizer/cColorEqRenderer.h"
#include "image/cImageUtils.h"
#include "render/cTmRenderer.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

class StateFaults : public cWatchedHeapTest
{
};

using cPoints = std::vector<sControlPoint>;

cPoints PointsOf(const cHermiteSpline& pCurve)
{
    return cPoints(pCurve.fPoints, pCurve.fPoints + pCurve.fCount);
}

/// Enough points for sorting to ask for memory of its own.
cPoints ManyPoints()
{
    cPoints points(60);
    for (size_t i = 0; i < points.size(); i++)
        points[i].fPoint = cVector2(static_cast<float>(i * 7 % 60) / 60.0f, static_cast<float>(i % 13) / 13.0f);
    return points;
}

TEST_F(StateFaults, AddPointThatFailsChangesNothing)
{
    for (const eSplineInterpolationMode mode : {eSplineCatmullRom, eSplineManualTangents, eSplineFlatTangents}) {
        cHermiteSpline curve(0.0f, 0.1f, 0.5f, 0.9f, 1.0f, 0.2f);
        curve.SetInterpolationMode(mode);
        curve.GetLUT16f();
        const cPoints before = PointsOf(curve);
        const sOutcome outcome = RunWatched([&] { curve.AddPoint(0.3f, 0.3f); }, {eFaultOnce, 0});
        EXPECT_EQ(outcome.fEnd, eBadAlloc);
        EXPECT_EQ(PointsOf(curve), before);
        EXPECT_TRUE(curve.fLUT16fValid);
        EXPECT_TRUE(outcome.fUse.fLost.empty());
        EXPECT_EQ(curve.AddPoint(0.3f, 0.3f), 1);
        EXPECT_EQ(curve.fCount, 4);
    }
}

// The order of the points comes out with the memory that sorting would like to have, and without it.
TEST_F(StateFaults, SortingGoesOnWithoutMemory)
{
    const cPoints points = ManyPoints();
    cHermiteSpline expected;
    expected.SetControlPoints(eSplineCatmullRom, 60, points.data());
    cHermiteSpline curve;
    const sOutcome outcome = RunWatched([&] { curve.SetControlPoints(eSplineCatmullRom, 60, points.data()); },
                                        {eFaultFromThenOn, 1}); // all but the array itself
    EXPECT_EQ(outcome.fEnd, eReturned);
    EXPECT_TRUE(curve == expected);
}

TEST_F(StateFaults, SetControlPointsThatFailsLeavesNoPoints)
{
    const cPoints points = ManyPoints();
    cHermiteSpline curve(0.0f, 0.1f, 0.5f, 0.9f, 1.0f, 0.2f);
    const sOutcome outcome =
        RunWatched([&] { curve.SetControlPoints(eSplineLinear, 60, points.data()); }, {eFaultOnce, 0});
    EXPECT_EQ(outcome.fEnd, eBadAlloc);
    EXPECT_EQ(curve.fPoints, nullptr);
    EXPECT_EQ(curve.fCount, 60);
    EXPECT_TRUE(outcome.fUse.fLost.empty());
    curve.SetControlPoints(eSplineLinear, 60, points.data());
    EXPECT_EQ(PointsOf(curve).size(), 60u);
}

TEST_F(StateFaults, KeyFramesThatFailAreGoneAndTheCurveStands)
{
    cInterpolatedHermiteSpline curve(0.0f, 0.0f, 0.4f, 0.7f, 1.0f, 1.0f);
    curve.UpdatePointArray();
    const cPoints before = PointsOf(curve);
    const sOutcome outcome = RunWatched([&] { curve.SetKeyFrameCount(4); }, {eFaultOnce, 0});
    EXPECT_EQ(outcome.fEnd, eBadAlloc);
    EXPECT_EQ(curve.fKeyFrames, nullptr);
    EXPECT_EQ(PointsOf(curve), before);
    EXPECT_TRUE(outcome.fUse.fLost.empty());
    curve.SetKeyFrameCount(4);
    ASSERT_NE(curve.fKeyFrames, nullptr);
    EXPECT_EQ(cPoints(curve.fKeyFrames + 9, curve.fKeyFrames + 12), before);
}

// The point is in when the key frames, laid out anew for one point more, cannot be had.
TEST_F(StateFaults, AddPointToKeyFramesFailsInTwoPlaces)
{
    cInterpolatedHermiteSpline first(0.0f, 0.0f, 1.0f, 1.0f);
    first.UpdatePointArray();
    const cPoints before = PointsOf(first);
    EXPECT_EQ(RunWatched([&] { first.AddPoint(0.5f, 0.2f); }, {eFaultOnce, 0}).fEnd, eBadAlloc);
    EXPECT_EQ(PointsOf(first), before);
    EXPECT_NE(first.fKeyFrames, nullptr);

    cInterpolatedHermiteSpline second(0.0f, 0.0f, 1.0f, 1.0f);
    second.UpdatePointArray();
    const sOutcome outcome = RunWatched([&] { second.AddPoint(0.5f, 0.2f); }, {eFaultOnce, 1});
    EXPECT_EQ(outcome.fEnd, eBadAlloc);
    EXPECT_EQ(second.fCount, 3);
    EXPECT_EQ(second.fKeyFrames, nullptr);
    second.SetKeyFrame(0); // what is not stored is not read
    second.InterpolateControlPoints(0.5f);
    EXPECT_EQ(second.fCount, 3);
    // The number of points counts as laid out since the update that failed: no later one lays the key frames out.
    EXPECT_EQ(second.fLastPointCount, 3);
    second.UpdatePointArray();
    EXPECT_EQ(second.fKeyFrames, nullptr);
    second.AddPoint(0.7f, 0.4f);
    EXPECT_NE(second.fKeyFrames, nullptr) << "another number of points";
}

TEST_F(StateFaults, AColorSpaceThatCannotBeHadByNumberLeavesTheOldOne)
{
    cBitmapBGR8 bitmap(3, 3, eColorSpace_sRGB);
    for (int request = 0; request < 3; request++) {
        const cColorSpace* const before = bitmap.fColorSpace;
        const sOutcome outcome =
            RunWatched([&] { bitmap.AssignColorSpace(eColorSpace_ProPhotoRGB); }, {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, eBadAlloc);
        EXPECT_EQ(bitmap.fColorSpace, before);
        EXPECT_TRUE(outcome.fUse.fLost.empty());
    }
    EXPECT_STREQ(bitmap.GetColorSpace()->GetName(), "sRGB IEC61966-2.1");
}

// The old one goes first here, so there is none left.
TEST_F(StateFaults, AColorSpaceThatCannotBeCopiedLeavesNone)
{
    cColorSpace_AdobeRGB98 space;
    for (int request = 0; request < 3; request++) {
        cBitmapBGR16 bitmap(3, 3, eColorSpace_sRGB);
        const sOutcome outcome = RunWatched([&] { bitmap.AssignColorSpace(&space); }, {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, eBadAlloc);
        EXPECT_EQ(bitmap.fColorSpace, nullptr);
        EXPECT_TRUE(outcome.fUse.fLost.empty());
        bitmap.AssignColorSpace(&space);
        EXPECT_STREQ(bitmap.GetColorSpace()->GetName(), "Adobe RGB (1998)");
    }
}

/// A clone of a space with table transfers asks for itself, then for object and table of each transfer.
TEST_F(StateFaults, ACloneWithoutItsSecondTransferHasNeither)
{
    unsigned short table[4] = {0, 20000, 40000, 65535};
    const cColorSpace_sRGB from;
    const cColorSpace_GenericRGB space(from.fToPCS, cVector3(0.95f, 1.0f, 1.09f), table, 4, table, 3);
    for (int request = 0; request <= 5; request++) {
        SCOPED_TRACE(request);
        bool complete = false;
        bool empty = false;
        const sOutcome outcome = RunWatched(
            [&] {
                const std::unique_ptr<cColorSpace> clone(space.Clone());
                complete = clone->fToLinear != nullptr && clone->fFromLinear != nullptr;
                empty = clone->fToLinear == nullptr && clone->fFromLinear == nullptr;
            },
            {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, request < 3 ? eBadAlloc : eReturned);
        EXPECT_EQ(empty, request == 3 || request == 4);
        EXPECT_EQ(complete, request == 5);
        EXPECT_TRUE(outcome.fUse.fLost.empty());
    }
}

/// Curves that differ from the neutral ones of a renderer.
struct sCurves
{
    cHermiteSpline fHue{0.0f, 0.4f, 1.0f, 0.6f};
    cHermiteSpline fSaturation{0.0f, 0.3f, 1.0f, 0.7f};
    cHermiteSpline fLightness{0.0f, 0.2f, 1.0f, 0.8f};
};

// A copy asks for itself, four tables and the points.
template <class tRenderer>
void ExpectCurvesUpToTheFailure()
{
    constexpr int kRequests = 6;
    const sCurves curves;
    for (int request = 0; request < 3 * kRequests; request++) {
        SCOPED_TRACE(request);
        const auto renderer = std::make_unique<tRenderer>();
        const cHermiteSpline* const old[] = {renderer->fHHCurve, renderer->fHSCurve, renderer->fHLCurve};
        renderer->fFinalNeeded = false;
        const sOutcome outcome =
            RunWatched([&] { renderer->SetHueCurves(&curves.fHue, &curves.fSaturation, &curves.fLightness); },
                       {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, eBadAlloc);
        EXPECT_EQ(*renderer->fHHCurve == curves.fHue, request >= kRequests);
        EXPECT_EQ(*renderer->fHSCurve == curves.fSaturation, request >= 2 * kRequests);
        EXPECT_EQ(renderer->fHLCurve, old[2]);
        if (request < kRequests) {
            EXPECT_EQ(renderer->fHHCurve, old[0]);
        }
        if (request < 2 * kRequests) {
            EXPECT_EQ(renderer->fHSCurve, old[1]);
        }
        EXPECT_EQ(renderer->fFinalNeeded, request >= kRequests);
        // The new curves belong to the renderer and go with it.
        EXPECT_EQ(outcome.fUse.fLost.size(), static_cast<size_t>(request / kRequests * kRequests));
    }
}

TEST_F(StateFaults, HueCurvesBeforeTheFailedOneStayChanged)
{
    ExpectCurvesUpToTheFailure<cTmRenderer>();
    ExpectCurvesUpToTheFailure<cColorEqRenderer>();
}

/// XYZ over four decades.
std::unique_ptr<cBitmapXYZ32> NewInput(int pWidth, int pHeight)
{
    auto input = std::make_unique<cBitmapXYZ32>(pWidth, pHeight);
    for (int y = 0; y < pHeight; y++)
        for (int x = 0; x < pWidth; x++) {
            float* const pixel = input->fData + y * (input->fStride / 4) + 3 * x;
            pixel[1] = std::pow(10.0f, static_cast<float>((x * 7 + y * 5) % 41) / 10.0f - 2.0f);
            pixel[0] = 0.9f * pixel[1];
            pixel[2] = 0.7f * pixel[1];
        }
    return input;
}

void SetParams(cTmRenderer& pRenderer)
{
    pRenderer.SetToneMappingParams(47.0f, 0.0f, true, 20.0f, true, 0.0f, 100.0f, 60.0f, 30.0f, false, false, false,
                                   0.1f, 0.1f, 0, 0.0f, 0.0f);
}

std::vector<unsigned short> PixelsOf(const cBitmapBGR16& pBitmap)
{
    std::vector<unsigned short> pixels;
    for (int y = 0; y < pBitmap.fHeight; y++) {
        const unsigned short* const row = pBitmap.fData + y * (pBitmap.fStride / 2);
        pixels.insert(pixels.end(), row, row + 3 * pBitmap.fWidth);
    }
    return pixels;
}

/// The first stage that is still marked; 4 when none is.
int FirstMarked(const cTmRenderer& pRenderer)
{
    const bool marks[] = {pRenderer.fPrepareNeeded, pRenderer.fPhase1Needed, pRenderer.fPhase2Needed,
                          pRenderer.fFinalNeeded};
    return static_cast<int>(std::find(std::begin(marks), std::end(marks), true) - std::begin(marks));
}

struct sRenderScene
{
    std::unique_ptr<cBitmapXYZ32> fInput = NewInput(14, 11);
    cBitmapBGR16 fOutput{14, 11, eColorSpace_sRGB};
    std::unique_ptr<cTmRenderer> fRenderer = std::make_unique<cTmRenderer>();

    explicit sRenderScene(int pWorkers)
    {
        cImageUtils::Fill(&fOutput, 4711);
        fRenderer->fLogEnabled = 0;
        fRenderer->SetNbProc(pWorkers);
        fRenderer->SetInput(fInput.get());
        fRenderer->SetOutput(&fOutput);
        SetParams(*fRenderer);
    }
};

/// Refuses each request of Render in turn. Returns how often each of the first two stages was the one that failed.
void ExpectRenderGoesOn(int pWorkers, std::vector<int>& pFailures)
{
    sRenderScene whole(pWorkers);
    const sOutcome plain = RunWatched([&] { whole.fRenderer->Render(); });
    ASSERT_EQ(plain.fEnd, eReturned);
    const std::vector<unsigned short> expected = PixelsOf(whole.fOutput);
    const std::vector<sRequest>& requests = plain.fUse.fRequests;
    for (size_t request = 0; request < requests.size(); request++) {
        SCOPED_TRACE(request);
        const bool histogram = requests[request].fKind == eCalloc && requests[request].fSize == 65536 * 4;
        sRenderScene scene(pWorkers);
        cTmRenderer& renderer = *scene.fRenderer;
        const sOutcome outcome = RunWatched([&] { renderer.Render(); }, {eFaultOnce, static_cast<int>(request)});
        ExpectCleanBook(outcome.fUse);
        const int stage = FirstMarked(renderer);
        if (histogram) {
            EXPECT_EQ(outcome.fEnd, eReturned);
            EXPECT_EQ(stage, 4);
            EXPECT_EQ(renderer.fWhite, 1.0f);
            EXPECT_EQ(renderer.fBlack, 0.0f);
            SetParams(renderer);
        } else {
            EXPECT_EQ(outcome.fEnd, IsFromMalloc(requests[request]) ? eOutOfMemory : eBadAlloc);
            ASSERT_LT(stage, 2);
            pFailures[static_cast<size_t>(stage)]++;
            EXPECT_TRUE(renderer.fPhase1Needed && renderer.fPhase2Needed && renderer.fFinalNeeded);
            const std::vector<unsigned short> untouched(expected.size(), 4711);
            EXPECT_EQ(PixelsOf(scene.fOutput), untouched);
        }
        renderer.Render();
        EXPECT_EQ(FirstMarked(renderer), 4);
        EXPECT_EQ(PixelsOf(scene.fOutput), expected);
    }
}

TEST_F(StateFaults, ARenderThatFailedGoesOnWithTheSameBits)
{
    for (const int workers : {1, 4, 300}) { // the last has its slots from the heap
        SCOPED_TRACE(workers);
        std::vector<int> failures(2, 0);
        ExpectRenderGoesOn(workers, failures);
        EXPECT_GE(failures[0], 6); // the picture's object, its tile set and tile, and three planes
        EXPECT_GE(failures[1], 4); // two grids, and table and plane of the blur
    }
}

TEST_F(StateFaults, APreparationThatFailedLeavesNoIntermediates)
{
    constexpr int kRequests = 6; // the picture's object, its tile set and tile, and three planes
    for (int request = 0; request < kRequests; request++) {
        SCOPED_TRACE(request);
        sRenderScene scene(1);
        cTmRenderer& renderer = *scene.fRenderer;
        renderer.Render(); // intermediates of an earlier run, which go first
        renderer.AllRenderingNeeded();
        EXPECT_NE(RunWatched([&] { renderer.Render(); }, {eFaultOnce, request}).fEnd, eReturned);
        EXPECT_EQ(renderer.fYHMV, nullptr);
        EXPECT_EQ(renderer.fLogLuminance, nullptr);
        EXPECT_EQ(renderer.fBase, nullptr);
        EXPECT_EQ(renderer.fDetail, nullptr);
        EXPECT_TRUE(renderer.fPrepareNeeded);
    }
}

TEST_F(StateFaults, AnEqualizerThatFailedGoesOnWithTheSameBits)
{
    cBitmapBGR16 input(14, 11, eColorSpace_AdobeRGB98);
    for (int i = 0; i < 14 * 11 * 3; i++)
        input.fData[i / 42 * (input.fStride / 2) + i % 42] = static_cast<unsigned short>(i * 9973);
    const sCurves curves;
    const auto prepare = [&](cColorEqRenderer& pRenderer, cBitmapBGR16& pOutput) {
        pRenderer.SetInput(&input);
        pRenderer.SetOutput(&pOutput);
        pRenderer.SetHueCurves(&curves.fHue, &curves.fSaturation, &curves.fLightness);
    };
    cBitmapBGR16 expected(14, 11, eColorSpace_sRGB);
    const auto whole = std::make_unique<cColorEqRenderer>();
    prepare(*whole, expected);
    const sOutcome plain = RunWatched([&] { whole->Render(); });
    ASSERT_EQ(plain.fEnd, eReturned);
    const std::vector<sRequest>& requests = plain.fUse.fRequests;
    ASSERT_GE(requests.size(), 4u); // the records' object, tile set and tile, and the table of the input's samples
    for (size_t request = 0; request < requests.size(); request++) {
        SCOPED_TRACE(request);
        cBitmapBGR16 output(14, 11, eColorSpace_sRGB);
        const auto renderer = std::make_unique<cColorEqRenderer>();
        prepare(*renderer, output);
        const sOutcome outcome = RunWatched([&] { renderer->Render(); }, {eFaultOnce, static_cast<int>(request)});
        EXPECT_EQ(outcome.fEnd, IsFromMalloc(requests[request]) ? eOutOfMemory : eBadAlloc);
        EXPECT_EQ(renderer->fHMV, nullptr);
        EXPECT_TRUE(renderer->fPrepareNeeded && renderer->fFinalNeeded);
        renderer->Render();
        EXPECT_EQ(PixelsOf(output), PixelsOf(expected));
    }
}

/// Three tiles of at most 10 MiB, refused one after another.
template <class tMake>
void ExpectTileSetFaults(size_t pTile, size_t pLastTile, const tMake& pMake)
{
    const sOutcome whole = RunWatched(pMake);
    ASSERT_EQ(whole.fEnd, eReturned);
    ASSERT_TRUE(whole.fUse.fLost.empty());
    const std::vector<sRequest>& requests = whole.fUse.fRequests;
    ASSERT_EQ(requests.size(), 5u); // object, array, three tiles
    EXPECT_EQ(requests[2].fSize, pTile);
    EXPECT_EQ(requests[3].fSize, pTile);
    EXPECT_EQ(requests[4].fSize, pLastTile);
    for (int request = 0; request < 5; request++) {
        SCOPED_TRACE(request);
        const sOutcome outcome = RunWatched(pMake, {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, request == 0 ? eBadAlloc : eOutOfMemory);
        const bool lastLost = request == 2 || request == 3;
        if (lastLost) {
            ASSERT_FALSE(outcome.fUse.fLost.empty());
            EXPECT_EQ(outcome.fUse.fLost[0].fSize, pLastTile);
        }
        if (request > 0)
            ExpectFiveTexts(outcome.fUse, lastLost ? 1 : 0);
        else
            EXPECT_TRUE(outcome.fUse.fLost.empty());
        FreeLost(outcome.fUse);
    }
}

TEST_F(StateFaults, TheLastTileOfAFailedTileSetIsLostOnce)
{
    // 1024 pixels of 12 bytes a row: 853 rows a tile.
    ExpectTileSetFaults(size_t{12288} * 853, size_t{12288} * (2000 - 2 * 853),
                        [] { const auto bitmap = std::make_unique<cBitmapXYZ32T>(1024, 2000); });
    // 1024 pixels of 5 planes: 1024 rows a tile, and a height that divides evenly.
    ExpectTileSetFaults(size_t{10240} * 1024, size_t{10240} * 1024,
                        [] { const auto bitmap = std::make_unique<cBitmapU16T>(1024, 3072, 5); });
}

TEST_F(StateFaults, AFailedTileSetLeavesTheOutArguments)
{
    for (int request = 0; request < 4; request++) {
        int stride = -1;
        int count = -2;
        int height = -3;
        void** tiles = nullptr;
        const sOutcome outcome = RunWatched(
            [&] { tiles = cMemUtils::TiledBitmapAlloc(1024, 2000, 12, stride, count, height); }, {eFaultOnce, request});
        EXPECT_EQ(outcome.fEnd, eReturned);
        EXPECT_EQ(tiles, nullptr);
        EXPECT_EQ(stride, -1);
        EXPECT_EQ(count, -2);
        EXPECT_EQ(height, -3);
        EXPECT_EQ(outcome.fUse.fLost.size(), request == 1 || request == 2 ? 1u : 0u);
        FreeLost(outcome.fUse);
    }
}

/// The checks of the two renderers that throw a pointer: the object, the words of its base and five texts are lost.
template <class tRenderer>
void ExpectPointerLosses()
{
    const auto renderer = std::make_unique<tRenderer>();
    const auto expectLost = [](const std::function<void()>& pCall, const char* pType, const char* pDescription) {
        const sOutcome outcome = RunWatched(pCall);
        EXPECT_EQ(outcome.fEnd, ePointer);
        ASSERT_EQ(outcome.fUse.fLost.size(), 7u);
        EXPECT_EQ(outcome.fUse.fLost[0].fKind, eNew);
        EXPECT_EQ(outcome.fUse.fLost[0].fSize, sizeof(cException));
        EXPECT_EQ(outcome.fUse.fLost[1].fKind, eNew); // the words, which go when somebody deletes the object
        ExpectFiveTexts(outcome.fUse, 2, pType, pDescription);
        FreeLost(outcome.fUse);
    };
    const cHermiteSpline curve;
    const char* const type = "cArgumentNullException";
    const char* const description = "Argument Null Error";
    expectLost([&] { renderer->SetInput(nullptr); }, type, description);
    expectLost([&] { renderer->SetOutput(nullptr); }, type, description);
    expectLost([&] { renderer->SetHueCurves(&curve, nullptr, &curve); }, type, description);
    expectLost([&] { renderer->Render(); }, "cInvalidOperationException", "Invalid Operation Error");

    const sOutcome deleted = RunWatched([&] {
        try {
            renderer->SetInput(nullptr);
        } catch (const cException* exception) {
            delete exception;
        }
    });
    ExpectFiveTexts(deleted.fUse, 0, type, description);
    FreeLost(deleted.fUse);
}

TEST_F(StateFaults, AThrownPointerIsLostOnce)
{
    ExpectPointerLosses<cTmRenderer>();
    ExpectPointerLosses<cColorEqRenderer>();
}

} // namespace

#endif
