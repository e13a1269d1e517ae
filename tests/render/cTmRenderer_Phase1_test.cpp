#include "render/Scene.h"
#include "support/Capture.h"
#include "support/Host.h"
#include "support/Records.h"

#include "filter/cBilateral.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

struct sSampling
{
    float fSpace;
    float fRange;
};

/// The two samplings that the slicing record carries, for one pair of parameters.
sSampling SamplingOf(int pWidth, int pHeight, float pSpatialSize, float pRangeSize)
{
    sScene scene(pWidth, pHeight);
    sParams params;
    params.fSpatialSize = pSpatialSize;
    params.fRangeSize = pRangeSize;
    params.Set(*scene.fRenderer);
    scene.Mark(true, true, false, false);
    const cHostScope host;
    scene.Render();
    for (const sDivideCall& call : host.Calls())
        if (call.fFunction == &Filter_Fast_Interpolate_tile_threaded) {
            const unsigned char* const record = call.fRecord.data();
            return {GetField(record, SliceRecord::kSpaceSampling), GetField(record, SliceRecord::kRangeSampling)};
        }
    return {};
}

TEST(Phase1, SpatialSamplingFollowsTheLongerSideAndTwoSlopes)
{
    EXPECT_EQ(SamplingOf(400, 30, 100.0f, 60.0f).fSpace, 25.0f * (400.0f * 0.001f));
    EXPECT_EQ(SamplingOf(30, 400, 100.0f, 60.0f).fSpace, 25.0f * (400.0f * 0.001f));
    EXPECT_EQ(SamplingOf(50, 50, 100.0f, 60.0f).fSpace, 25.0f * (50.0f * 0.001f));
    EXPECT_EQ(SamplingOf(50, 20, 10.0f, 60.0f).fSpace, 10.0f * (50.0f * 0.001f));
    const float sixth = 0x1.555556p-3f;
    for (float size : {0.0f, 30.0f, 51.0f, 99.5f})
        EXPECT_EQ(SamplingOf(50, 20, size, 60.0f).fSpace, std::fma(size - 10.0f, sixth, 10.0f) * (50.0f * 0.001f))
            << size;
    for (float size : {100.0f, 109.0f, 143.7f, 190.0f})
        EXPECT_EQ(SamplingOf(50, 20, size, 60.0f).fSpace, std::fma(size - 100.0f, 0.75f, 25.0f) * (50.0f * 0.001f))
            << size;
}

TEST(Phase1, RangeSamplingIsOneFusedStep)
{
    for (float size : {0.0f, 60.0f, 100.0f, 13.37f, 160.0f})
        EXPECT_EQ(SamplingOf(20, 20, 100.0f, size).fRange, std::fma(size, 0.002f, 0.2f)) << size;
}

TEST(Phase1, TheBaseIsThatOfTheFilter)
{
    for (bool wrap : {false, true})
        for (float blur : {0.0f, 100.0f, 37.0f}) {
            sScene scene(60, 35);
            sParams params;
            params.fWrapX = wrap;
            params.fBaseBlur = blur;
            params.Set(*scene.fRenderer);
            scene.Mark(true, true, false, false);
            scene.Render();
            std::vector<float> base(60 * 35);
            bool cancel = false;
            bool cancelled = false;
            cTmRenderer& r = *scene.fRenderer;
            cBilateral::Filter_Fast(&cancel, &cancelled, 1, r.fLogLuminance, base.data(), 60, 35,
                                    25.0f * (60.0f * 0.001f), std::fma(60.0f, 0.002f, 0.2f), r.fLogMinY, r.fLogMaxY,
                                    blur * 0.01f, wrap);
            EXPECT_EQ(std::memcmp(base.data(), r.fBase, base.size() * sizeof(float)), 0) << wrap << " " << blur;
        }
}

TEST(Phase1, LayersAreMeasuredInTheOrderOfThePixels)
{
    sScene scene(60, 35, 8.0f);
    scene.Render();
    const cTmRenderer& r = *scene.fRenderer;
    float baseMax = -1e30f, baseMin = 1e30f, detailMax = -1e30f, detailMin = 1e30f;
    double base = 0.0, detail = 0.0;
    for (int i = 0; i < 60 * 35; i++) {
        EXPECT_EQ(r.fDetail[i], r.fLogLuminance[i] - r.fBase[i]);
        baseMax = std::max(baseMax, r.fBase[i]);
        baseMin = std::min(baseMin, r.fBase[i]);
        detailMax = std::max(detailMax, r.fDetail[i]);
        detailMin = std::min(detailMin, r.fDetail[i]);
        base += static_cast<double>(r.fBase[i]);
        detail += std::fabs(static_cast<double>(r.fDetail[i]));
    }
    EXPECT_EQ(r.fBaseMax, baseMax);
    EXPECT_EQ(r.fBaseMin, baseMin);
    EXPECT_EQ(r.fDetailMax, detailMax);
    EXPECT_EQ(r.fDetailMin, detailMin);
    EXPECT_LT(r.fDetailMin, 0.0f) << "the extremes of detail are signed";
    EXPECT_EQ(r.fBaseAverage, base / 2100.0);
    EXPECT_EQ(r.fDetailAverage, detail / 2100.0);
}

TEST(Phase1, TheLogLineIsPrinted)
{
    sScene scene(20, 10);
    scene.fRenderer->fLogEnabled = 1;
    scene.Mark(true, true, false, false);
    const std::string line = CaptureStderr([&] { scene.Render(); });
    const cTmRenderer& r = *scene.fRenderer;
    char expected[400];
    std::snprintf(
        expected, sizeof expected,
        "+++  ToneMappingPhase1 %d x %d  - min/ave/max  Detail: %1.2f  %1.2f  %1.2f  -  Base: %1.2f  %1.2f  %1.2f (vs "
        "orig: %1.2f) ->  DR: %1.2f (orig: %1.2f)\n",
        20, 10, static_cast<double>(r.fDetailMin), r.fDetailAverage, static_cast<double>(r.fDetailMax),
        static_cast<double>(r.fBaseMin), r.fBaseAverage, static_cast<double>(r.fBaseMax),
        static_cast<double>(r.fLogMaxY), static_cast<double>(r.fBaseMax - r.fBaseMin),
        static_cast<double>(r.fLogMaxY - r.fLogMinY));
    EXPECT_EQ(line, expected);
    scene.fRenderer->fLogEnabled = 0;
    scene.Mark(true, true, false, false);
    EXPECT_EQ(CaptureStderr([&] { scene.Render(); }), "");
}

TEST(Phase1, ARequestIsSeenBeforeTheGridAndBeforeTheMeasuring)
{
    sScene scene(20, 10);
    scene.fRenderer->fLogEnabled = 1;
    scene.Mark(true, false, false, false);
    scene.Render();
    scene.Mark(false, true, false, false);
    scene.fCancel = true;
    EXPECT_EQ(CaptureStderr([&] { scene.Render(); }), "");
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "-1--");

    scene.fCancel = scene.fCancelled = false;
    scene.fRenderer->fDetail[0] = 77.0f;
    {
        const cHostScope host({.fAfterCall = [&] { scene.fCancel = true; }});
        EXPECT_EQ(CaptureStderr([&] { scene.Render(); }), "");
    }
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.fRenderer->fDetail[0], 77.0f) << "nothing was measured";
    EXPECT_EQ(scene.Marks(), "-1--");
}

TEST(Phase1, WhatWasMeasuredIsForgottenBeforeTheLookAndNotBeforeTheFilter)
{
    sScene scene(20, 10);
    cTmRenderer& r = *scene.fRenderer;
    const auto set = [&] {
        r.fBaseAverage = r.fDetailAverage = 5.0;
        r.fBaseMax = r.fBaseMin = r.fDetailMax = r.fDetailMin = 5.0f;
    };
    scene.Mark(true, false, false, false);
    scene.Render();
    scene.Mark(false, true, false, false);
    set();
    scene.fCancel = true;
    scene.Render(); // stopped in the filter
    EXPECT_EQ(r.fBaseAverage, 5.0);
    EXPECT_EQ(r.fDetailMin, 5.0f);

    scene.fCancel = scene.fCancelled = false;
    set();
    {
        const cHostScope host({.fAfterCall = [&] { scene.fCancel = true; }});
        scene.Render(); // stopped behind it
    }
    EXPECT_EQ(r.fBaseAverage, 0.0);
    EXPECT_EQ(r.fDetailAverage, 0.0);
    EXPECT_EQ(r.fBaseMax, -1e30f);
    EXPECT_EQ(r.fDetailMax, -1e30f);
    EXPECT_EQ(r.fBaseMin, 1e30f);
    EXPECT_EQ(r.fDetailMin, 1e30f);
}

TEST(Phase1, AnOldAcknowledgementStopsBehindTheFilter)
{
    sScene scene(20, 10);
    scene.Mark(true, false, false, false);
    scene.Render();
    scene.Mark(false, true, false, false);
    scene.fRenderer->fDetail[0] = 77.0f;
    scene.fRenderer->fBase[0] = 77.0f;
    scene.fCancelled = true;
    scene.Render();
    EXPECT_NE(scene.fRenderer->fBase[0], 77.0f) << "filtered";
    EXPECT_EQ(scene.fRenderer->fDetail[0], 77.0f) << "not measured";
    EXPECT_EQ(scene.Marks(), "-1--");
    EXPECT_TRUE(scene.fCancelled);
}

TEST(Phase1, WithoutRowsThereIsNoLookAndWithoutPixelsNoMean)
{
    sScene scene(20, 10);
    cTmRenderer& r = *scene.fRenderer;
    scene.Mark(true, false, false, false);
    scene.Render();
    const auto run = [&](int pWidth, int pHeight) {
        scene.fInput.fWidth = scene.fOutput.fWidth = pWidth; // no bitmap is made so
        scene.fInput.fHeight = scene.fOutput.fHeight = pHeight;
        scene.Mark(false, true, false, false);
        r.fBaseAverage = r.fDetailAverage = 5.0;
        r.fBaseMax = 5.0f;
        scene.fCancel = scene.fCancelled = false;
        const cHostScope host({.fAfterCall = [&] { scene.fCancel = true; }});
        scene.Render();
        EXPECT_EQ(r.fBaseAverage, 0.0);
        EXPECT_EQ(r.fDetailAverage, 0.0);
        EXPECT_EQ(r.fBaseMax, -1e30f);
    };
    run(20, 0);
    EXPECT_FALSE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "----");
    run(20, -1);
    EXPECT_FALSE(scene.fCancelled);
    run(0, 10);
    EXPECT_TRUE(scene.fCancelled);
    run(-1, 10);
    EXPECT_TRUE(scene.fCancelled);
    scene.fInput.fWidth = scene.fOutput.fWidth = 20;
    scene.fInput.fHeight = scene.fOutput.fHeight = 10;
}

TEST(Phase1, AnImpossibleSamplingIsABadArrayLengthAndTheStageStaysMarked)
{
    sScene scene(20, 10);
    sParams params;
    params.fRangeSize = -1000.0f; // a sampling of -1.8
    params.Set(*scene.fRenderer);
    EXPECT_THROW(scene.Render(), std::bad_array_new_length);
    EXPECT_EQ(scene.Marks(), "-12F");
}

} // namespace
