#include "render/cTmRenderer.h"

#include "render/Scene.h"
#include "support/Capture.h"
#include "support/Host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

TEST(cTmRenderer, FieldsStandInTheirOrder)
{
    const auto owned = std::make_unique<cTmRenderer>();
    const cTmRenderer& r = *owned;
    const void* fields[] = {
        &r.fInput,         &r.fOutput,          &r.fYHMVSpace,        &r.fYHMV,           &r.fLogLuminance,
        &r.fBase,          &r.fDetail,          &r.fContrastCurve,    &r.fHHCurve,        &r.fHSCurve,
        &r.fHLCurve,       &r.fEncodeLUT,       &r.fEncodeLUTValid,   &r.fContrastLUT,    &r.fExposure,
        &r.fExposureBase,  &r.fGlobalContrast,  &r.fAdaptationShadow, &r.fAdaptation,     &r.fContrastFollowsGlobal,
        &r.fContrast,      &r.fUseAutoExposure, &r.fExposureEV,       &r.fSpatialSize,    &r.fRangeSize,
        &r.fBaseBlur,      &r.fWrapX,           &r.fReservedFlagA,    &r.fReservedFlagB,  &r.fWhiteClip,
        &r.fBlackClip,     &r.fRequestType,     &r.fRequestedBlack,   &r.fRequestedWhite, &r.fPrepareNeeded,
        &r.fPhase1Needed,  &r.fPhase2Needed,    &r.fFinalNeeded,      &r.fContrastKey,    &r.fMinY,
        &r.fMaxY,          &r.fLogMinY,         &r.fLogMaxY,          &r.fWhite,          &r.fBlack,
        &r.fBaseMax,       &r.fBaseMin,         &r.fDetailMax,        &r.fDetailMin,      &r.fBaseAverage,
        &r.fDetailAverage, &r.fGlobalLUT,       &r.fDetailLUT,        &r.fWorkToPCS,      &r.fPCSToWork,
        &r.fLogEnabled,    &r.fNbProc};
    const char* previous = reinterpret_cast<const char*>(&r);
    for (const void* field : fields) {
        EXPECT_LT(previous, static_cast<const char*>(field));
        previous = static_cast<const char*>(field);
    }
    EXPECT_EQ(static_cast<const void*>(&r.fInput), reinterpret_cast<const char*>(&r) + sizeof(void*))
        << "one virtual table";
}

TEST(cTmRenderer, ANewRendererHasItsDocumentedState)
{
    const auto r = std::make_unique<cTmRenderer>();
    EXPECT_EQ(r->fInput, nullptr);
    EXPECT_EQ(r->fOutput, nullptr);
    EXPECT_EQ(r->fYHMV, nullptr);
    EXPECT_EQ(r->fLogLuminance, nullptr);
    EXPECT_EQ(r->fBase, nullptr);
    EXPECT_EQ(r->fDetail, nullptr);
    EXPECT_TRUE(r->fPrepareNeeded && r->fPhase1Needed && r->fPhase2Needed && r->fFinalNeeded);
    EXPECT_TRUE(r->fContrastFollowsGlobal && r->fUseAutoExposure);
    EXPECT_FALSE(r->fWrapX || r->fEncodeLUTValid);
    EXPECT_EQ(r->fGlobalContrast, 0.0f);
    EXPECT_EQ(r->fAdaptationShadow, 0.0f);
    EXPECT_EQ(r->fContrast, 0.0f);
    EXPECT_EQ(r->fExposureEV, 0.0f);
    EXPECT_EQ(r->fExposure, 0.0f);
    EXPECT_EQ(r->fSpatialSize, 100.0f);
    EXPECT_EQ(r->fRangeSize, 100.0f);
    EXPECT_EQ(r->fBaseBlur, 100.0f);
    EXPECT_EQ(r->fContrastKey, -1000.0f);
    EXPECT_EQ(r->fLogEnabled, 1);
    EXPECT_EQ(r->fNbProc, 1);
}

TEST(cTmRenderer, TheWorkingSpaceIsProPhotoRGB)
{
    const auto r = std::make_unique<cTmRenderer>();
    cColorSpace_ProPhotoRGB work;
    const cMatrix33 to = work.GetToPCSTransform();
    const cMatrix33 from = work.GetFromPCSTransform();
    EXPECT_EQ(std::memcmp(&to, &r->fWorkToPCS, sizeof to), 0);
    EXPECT_EQ(std::memcmp(&from, &r->fPCSToWork, sizeof from), 0);
}

TEST(cTmRenderer, TheContrastCurveHasFiveKeyFramesOfTwoPoints)
{
    const auto r = std::make_unique<cTmRenderer>();
    cContrastCurve& curve = *r->fContrastCurve;
    EXPECT_EQ(curve.GetKeyFrameCount(), 5);
    EXPECT_EQ(curve.GetPointCount(), 2);
    EXPECT_EQ(curve.GetInterpolationMode(), eSplineManualTangents);
    const float next[5][2] = {{0.308f, 1.09f}, {0.449f, 0.769f}, {0.0f, 0.0f}, {0.5f, 0.0f}, {1.0f, 0.0f}};
    const float previous[5][2] = {{1.752f, 2.714f}, {2.173f, 2.634f}, {0.0f, 0.0f}, {1.25f, 0.0f}, {2.22f, 0.0f}};
    for (int frame = 0; frame < 5; frame++) {
        const sControlPoint& first = curve.GetKeyFrames()[2 * frame];
        const sControlPoint& last = curve.GetKeyFrames()[2 * frame + 1];
        EXPECT_EQ(first.fPoint.x, 0.0f);
        EXPECT_EQ(first.fPoint.y, 0.0f);
        EXPECT_EQ(last.fPoint.x, 1.0f);
        EXPECT_EQ(last.fPoint.y, 1.0f);
        EXPECT_EQ(first.fNextTangent.x, next[frame][0]);
        EXPECT_EQ(first.fNextTangent.y, next[frame][1]);
        EXPECT_EQ(last.fPreviousTangent.x, previous[frame][0]);
        EXPECT_EQ(last.fPreviousTangent.y, previous[frame][1]);
        EXPECT_EQ(first.fPreviousTangent.x, 1.0f);
        EXPECT_EQ(first.fPreviousTangent.y, 1.0f);
        EXPECT_EQ(last.fNextTangent.x, 1.0f);
        EXPECT_EQ(last.fNextTangent.y, 1.0f);
    }
}

TEST(cTmRenderer, TheHueCurvesAreFlatAtOneHalf)
{
    const auto r = std::make_unique<cTmRenderer>();
    for (cHermiteSpline* curve : {r->fHHCurve, r->fHSCurve, r->fHLCurve}) {
        EXPECT_EQ(curve->GetInterpolationMode(), eSplineFlatTangents);
        for (int i : {0, 1, 30000, 65535})
            EXPECT_EQ(curve->GetLUT16f()[i], 0.5f) << i;
    }
    EXPECT_NE(r->fHHCurve, r->fHSCurve);
    EXPECT_NE(r->fHSCurve, r->fHLCurve);
}

template <class tException>
void ExpectPointer(const std::function<void()>& pCall, const char* pType, const char* pWords, const char* pSignature)
{
    try {
        pCall();
        ADD_FAILURE() << "nothing was thrown";
    } catch (tException* exception) {
        EXPECT_STREQ(exception->GetType(), pType);
        EXPECT_STREQ(exception->GetMessage(), pWords);
        EXPECT_STREQ(exception->GetFile(), "cTmRenderer.cpp");
        EXPECT_EQ(WithoutBlanks(exception->GetFuncSig()), WithoutBlanks(pSignature));
        EXPECT_EQ(std::strlen(exception->GetTimeStamp()), 24u);
        EXPECT_GT(exception->GetLine(), 0);
        delete exception;
    }
}

TEST(cTmRenderer, NullPicturesAreRefusedByPointerAndChangeNothing)
{
    sScene scene(3, 2);
    scene.Render();
    scene.fRenderer->fEncodeLUTValid = true;
    ExpectPointer<cArgumentNullException>([&] { scene.fRenderer->SetInput(nullptr); }, "cArgumentNullException",
                                          "Argument pInput is null.",
                                          "void Vornik::cTmRenderer::SetInput(Vornik::cBitmapXYZ32*)");
    ExpectPointer<cArgumentNullException>([&] { scene.fRenderer->SetOutput(nullptr); }, "cArgumentNullException",
                                          "Argument pOutput is null.",
                                          "void Vornik::cTmRenderer::SetOutput(Vornik::cBitmapLDR*)");
    EXPECT_EQ(scene.fRenderer->fInput, &scene.fInput);
    EXPECT_EQ(scene.fRenderer->fOutput, &scene.fOutput);
    EXPECT_TRUE(scene.fRenderer->fEncodeLUTValid);
    EXPECT_EQ(scene.Marks(), "----");
}

TEST(cTmRenderer, NullHueCurvesAreRefusedInOrder)
{
    const auto r = std::make_unique<cTmRenderer>();
    const cHermiteSpline curve;
    const char* signature = "void Vornik::cTmRenderer::SetHueCurves(const Vornik::cHermiteSpline*, "
                            "const Vornik::cHermiteSpline*, const Vornik::cHermiteSpline*)";
    const cHermiteSpline* held = r->fHHCurve;
    const auto expect = [&](const cHermiteSpline* pHH, const cHermiteSpline* pHS, const cHermiteSpline* pHL,
                            const char* pWords) {
        ExpectPointer<cArgumentNullException>([&] { r->SetHueCurves(pHH, pHS, pHL); }, "cArgumentNullException", pWords,
                                              signature);
        EXPECT_EQ(r->fHHCurve, held);
    };
    expect(nullptr, nullptr, nullptr, "Argument pHHCurve is null.");
    expect(&curve, nullptr, nullptr, "Argument pHSCurve is null.");
    expect(&curve, &curve, nullptr, "Argument pHLCurve is null.");
}

TEST(cTmRenderer, HueCurvesAreCopiedOnlyWhereTheyDiffer)
{
    sScene scene(3, 2);
    cTmRenderer& r = *scene.fRenderer;
    scene.Mark(false, false, false, false);
    const cHermiteSpline neutral(*r.fHSCurve);
    const cHermiteSpline* held[] = {r.fHHCurve, r.fHSCurve, r.fHLCurve};
    r.SetHueCurves(&neutral, &neutral, &neutral);
    EXPECT_EQ(scene.Marks(), "----");
    EXPECT_EQ(r.fHHCurve, held[0]);
    EXPECT_EQ(r.fHSCurve, held[1]);
    EXPECT_EQ(r.fHLCurve, held[2]);
    cHermiteSpline bent(neutral);
    bent.MovePoint(0, 0.0f, 0.75f);
    r.SetHueCurves(&neutral, &bent, &neutral);
    EXPECT_EQ(scene.Marks(), "---F");
    EXPECT_EQ(r.fHHCurve, held[0]);
    EXPECT_EQ(r.fHLCurve, held[2]);
    EXPECT_NE(r.fHSCurve, &bent);
    EXPECT_TRUE(*r.fHSCurve == bent);
}

TEST(cTmRenderer, RenderRefusesInOrderAndLeavesTheMarks)
{
    const char* signature = "void Vornik::cTmRenderer::Render(bool*, bool*)";
    const auto r = std::make_unique<cTmRenderer>();
    cBitmapXYZ32 input(4, 3);
    cBitmapBGR16 wider(5, 4, eColorSpace_sRGB);
    cBitmapBGR16 higher(4, 4, eColorSpace_sRGB);
    const auto expect = [&](const char* pWords) {
        ExpectPointer<cInvalidOperationException>([&] { r->Render(); }, "cInvalidOperationException", pWords,
                                                  signature);
        EXPECT_TRUE(r->fPrepareNeeded && r->fPhase1Needed && r->fPhase2Needed && r->fFinalNeeded);
    };
    expect("Input image is not set.");
    r->SetInput(&input);
    expect("Output image is not set.");
    r->SetOutput(&wider);
    expect("The input and output images do not have the same width.");
    r->SetOutput(&higher);
    expect("The input and output images do not have the same height.");
    EXPECT_EQ(r->fYHMV, nullptr) << "no stage has run";
}

TEST(cTmRenderer, AnOutputWithoutColourSpaceIsRefusedByObjectAfterTheFourChecks)
{
    cBitmapXYZ32 input(4, 3);
    FillDecades(input, 3.0f, 1);
    cBitmapBGR16 bare(4, 3, static_cast<eColorSpaceID>(7));
    cBitmapBGR16 bareAndWide(5, 3, static_cast<eColorSpaceID>(7));
    const auto r = std::make_unique<cTmRenderer>();
    r->SetInput(&input);
    r->SetOutput(&bareAndWide);
    EXPECT_THROW(r->Render(), cInvalidOperationException*);
    const auto expectRefused = [&](cBitmapBGR16& pOutput) {
        r->SetOutput(&pOutput);
        try {
            r->Render();
            ADD_FAILURE();
        } catch (const cInvalidOperationException& exception) {
            EXPECT_STREQ(exception.GetMessage(), "Color space is not set.");
            EXPECT_STREQ(exception.GetFile(), "cTmRenderer.cpp");
            EXPECT_EQ(WithoutBlanks(exception.GetFuncSig()),
                      WithoutBlanks("void Vornik::cTmRenderer::Render(bool*, bool*)"));
        }
        EXPECT_TRUE(r->fPrepareNeeded && r->fPhase1Needed && r->fPhase2Needed && r->fFinalNeeded);
        EXPECT_EQ(r->fYHMV, nullptr) << "no stage has run";
    };
    expectRefused(bare);
    cColorSpace_GenericRGB shell; // a space without transfers
    bare.AssignColorSpace(&shell);
    expectRefused(bare);
}

TEST(cTmRenderer, AnOldAcknowledgementStopsBehindTheFirstMarkedStage)
{
    const char* const marked[] = {"P12F", "-12F", "--2F", "---F"};
    for (int first = 0; first < 4; first++) {
        sScene scene(20, 10);
        scene.Render(); // the stages in front have to have left whole intermediates
        scene.Mark(first == 0, first <= 1, first <= 2, true);
        scene.fCancelled = true;
        scene.fRenderer->fGlobalLUT[0] = -1.0f;
        std::fill_n(scene.fOutput.fData, scene.fOutput.fStride / 2, static_cast<unsigned short>(7));
        const cHostScope host;
        scene.Render();
        EXPECT_TRUE(scene.fCancelled) << "not cleared";
        EXPECT_EQ(scene.Marks(), marked[first]);
        EXPECT_EQ(host.Calls().size(), first <= 1 ? 1u : 0u) << "preparation and phase 1 divide their work once each";
        EXPECT_EQ(scene.fRenderer->fGlobalLUT[0] != -1.0f, first == 2) << "the tables of phase 2";
        EXPECT_EQ(scene.fOutput.fData[0] != 7, first == 3) << "the stage itself ran to its end";
    }
}

TEST(cTmRenderer, AnOutputWithoutColourSpaceIsRefusedWhateverIsMarked)
{
    sScene scene(6, 4);
    cTmRenderer& r = *scene.fRenderer;
    scene.Render();
    cBitmapBGR16 bare(6, 4, static_cast<eColorSpaceID>(7));
    cBitmapBGR16 other(6, 4, eColorSpace_sRGB);
    cColorSpace_GenericRGB shell; // a space without transfers
    other.AssignColorSpace(&shell);
    const auto expectRefused = [&](const char* pMarks) {
        EXPECT_EQ(CaptureStderr([&] { EXPECT_THROW(scene.Render(), cInvalidOperationException); }), "");
        EXPECT_EQ(scene.Marks(), pMarks);
        EXPECT_FALSE(scene.fCancelled);
    };
    for (cBitmapBGR16* output : {&bare, &other}) {
        r.fOutput = output; // the encode table of the output before stands
        ASSERT_TRUE(r.fEncodeLUTValid);
        scene.Mark(false, false, false, false);
        expectRefused("----");
        scene.Mark(true, true, true, false); // the points are all that is asked for
        expectRefused("P12-");
        scene.Mark(true, true, true, true);
        scene.fCancel = true;
        expectRefused("P12F");
        scene.fCancel = false;
    }
}

TEST(cTmRenderer, SettersMarkTheirStages)
{
    sScene scene(3, 2);
    cTmRenderer& r = *scene.fRenderer;
    const auto after = [&](const std::function<void()>& pCall) {
        scene.Mark(false, false, false, false);
        r.fEncodeLUTValid = true;
        pCall();
        return scene.Marks() + (r.fEncodeLUTValid ? " valid" : " stale");
    };
    EXPECT_EQ(after([&] { r.SetInput(&scene.fInput); }), "P12F stale");
    EXPECT_EQ(after([&] { r.SetOutput(&scene.fOutput); }), "---F stale");
    EXPECT_EQ(after([&] { r.OutputColorSpaceChanged(); }), "---F stale");
    EXPECT_EQ(after([&] { r.AllRenderingNeeded(); }), "P12F valid");
    EXPECT_EQ(after([&] { r.ToneMapPhase1Needed(); }), "-12F valid");
    EXPECT_EQ(after([&] { r.ToneMapPhase2Needed(); }), "--2F valid");
    EXPECT_EQ(after([&] { r.FinalRenderingNeeded(); }), "---F valid");
    EXPECT_EQ(after([&] { sParams{}.Set(r); }), "P12F valid") << "the same values as before";
    EXPECT_EQ(after([&] { r.SetNbProc(5); }), "---- valid");
    EXPECT_EQ(r.fNbProc, 5);
}

TEST(cTmRenderer, ParametersAreStoredAndThePointsReset)
{
    const auto r = std::make_unique<cTmRenderer>();
    r->SetToneMappingParams(1.0f, 2.0f, false, 4.0f, false, 6.0f, 7.0f, 8.0f, 9.0f, true, true, true, 13.0f, 14.0f, 15,
                            16.0f, 17.0f);
    EXPECT_EQ(r->fGlobalContrast, 1.0f);
    EXPECT_EQ(r->fAdaptation, 2.0f);
    EXPECT_EQ(r->fAdaptationShadow, 0.0f) << "the shadow never takes the parameter";
    EXPECT_FALSE(r->fContrastFollowsGlobal);
    EXPECT_EQ(r->fContrast, 4.0f);
    EXPECT_FALSE(r->fUseAutoExposure);
    EXPECT_EQ(r->fExposureEV, 6.0f);
    EXPECT_EQ(r->fSpatialSize, 7.0f);
    EXPECT_EQ(r->fRangeSize, 8.0f);
    EXPECT_EQ(r->fBaseBlur, 9.0f);
    EXPECT_TRUE(r->fWrapX && r->fReservedFlagA && r->fReservedFlagB);
    EXPECT_EQ(r->fWhiteClip, 13.0f);
    EXPECT_EQ(r->fBlackClip, 14.0f);
    EXPECT_EQ(r->fRequestType, 15);
    EXPECT_EQ(r->fRequestedBlack, 16.0f);
    EXPECT_EQ(r->fRequestedWhite, 17.0f);
    EXPECT_EQ(r->fWhite, 1.0f);
    EXPECT_EQ(r->fBlack, 0.0f);
}

TEST(cTmRenderer, AMeasuringRequestLosesItsFinalStageOnlyWhenNothingElseDiffers)
{
    sScene scene(3, 2);
    sParams params;
    params.fRequestType = 9;
    const auto marks = [&](const std::function<void(sParams&)>& pChange) {
        params = {};
        params.Set(*scene.fRenderer);
        params.fRequestType = 9;
        pChange(params);
        params.Set(*scene.fRenderer);
        return scene.Marks();
    };
    EXPECT_EQ(marks([](sParams&) {}), "P12-");
    EXPECT_EQ(marks([](sParams& p) { p.fWhiteClip = 1.0f; }), "P12-") << "not among the compared ones";
    EXPECT_EQ(marks([](sParams& p) { p.fBlack = 1.0f; }), "P12-");
    EXPECT_EQ(marks([](sParams& p) { p.fGlobalContrast = 5.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fAdaptation = 0.5f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fContrastFollowsGlobal = false; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fContrast = 5.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fUseAutoExposure = false; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fExposureEV = 1.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fSpatialSize = 50.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fRangeSize = 50.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fBaseBlur = 1.0f; }), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fWrapX = true; }), "P12F");
    // an adaptation that is the same in both calls is still compared with 0
    params = {};
    params.fAdaptation = 0.5f;
    params.Set(*scene.fRenderer);
    params.fRequestType = 9;
    params.Set(*scene.fRenderer);
    EXPECT_EQ(scene.Marks(), "P12F");
    EXPECT_EQ(marks([](sParams& p) { p.fGlobalContrast = std::numeric_limits<float>::quiet_NaN(); }), "P12F");
}

TEST(cTmRenderer, ASecondRenderDoesNothing)
{
    sScene scene(7, 5);
    scene.Render();
    EXPECT_EQ(scene.Marks(), "----");
    std::memset(scene.fOutput.fData, 0x5A, 16);
    const cHostScope host;
    scene.Render();
    EXPECT_EQ(host.Calls().size(), 0u);
    EXPECT_EQ(scene.fOutput.fData[0], 0x5A5A);
}

TEST(cTmRenderer, ARendererWithoutParametersRendersWithItsFirstState)
{
    // the points are 0 and 0 then: no range, so the exposure path
    cBitmapXYZ32 input(4, 3);
    FillDecades(input, 3.0f, 1);
    cBitmapBGR16 output(4, 3, eColorSpace_sRGB);
    const auto r = std::make_unique<cTmRenderer>();
    r->fLogEnabled = 0;
    r->SetInput(&input);
    r->SetOutput(&output);
    EXPECT_NO_THROW(r->Render());
}

TEST(cTmRenderer, ACancelledStageStaysMarkedAndTheNextRenderGoesOnThere)
{
    sScene uncancelled(20, 9);
    uncancelled.Render();
    sScene scene(20, 9);
    scene.fCancel = true;
    scene.Render();
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "P12F");
    EXPECT_EQ(scene.fRenderer->fYHMV, nullptr) << "cancelled before the stage began: nothing was allocated";

    scene.fCancel = scene.fCancelled = false;
    {
        // the first call of the work splitter is the preparation's; the request arrives with the filter's slicing
        int calls = 0;
        sCutting cutting;
        cutting.fBeforeCall = [&](const sDivideCall&) { scene.fCancel = ++calls == 2; };
        const cHostScope host(cutting);
        scene.Render();
    }
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "-12F");

    scene.fCancel = scene.fCancelled = false;
    scene.Mark(false, false, true, true);
    scene.fCancel = true;
    scene.fRenderer->fPhase1Needed = false;
    scene.Render();
    EXPECT_EQ(scene.Marks(), "--2F");

    scene.fCancel = scene.fCancelled = false;
    scene.Mark(false, true, true, true);
    scene.Render();
    EXPECT_FALSE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "----");
    EXPECT_EQ(scene.Samples(), uncancelled.Samples());
}

TEST(cTmRenderer, ACancelledFinalStageLeavesTheOutputAlone)
{
    sScene scene(20, 9);
    scene.Render();
    const std::vector<unsigned short> before = scene.Samples();
    scene.fRenderer->fContrast = -50.0f;
    scene.fRenderer->FinalRenderingNeeded();
    scene.fCancel = true;
    scene.Render();
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "---F");
    EXPECT_EQ(scene.Samples(), before);
    scene.fCancel = scene.fCancelled = false;
    scene.Render();
    EXPECT_NE(scene.Samples(), before);
}

TEST(cTmRenderer, ARequestThatComesAfterTheLastLookIsNotSeen)
{
    sScene scene(6, 4);
    scene.fRenderer->fFinalNeeded = false;
    scene.Render();
    scene.Mark(false, false, false, false);
    scene.fCancel = true;
    scene.Render();
    EXPECT_FALSE(scene.fCancelled) << "no stage is marked, so nobody looks";
}

TEST(cTmRenderer, AcceptedPointsComeBackAsTheyWent)
{
    sScene scene(16, 8);
    sParams params;
    params.fRequestType = 1;
    params.fBlack = 0.25f;
    params.fWhite = 3.5f;
    params.Set(*scene.fRenderer);
    scene.Render();
    float black = 0.0f;
    float white = 0.0f;
    scene.fRenderer->GetRequestedStats(&black, &white);
    EXPECT_EQ(black, 0.25f);
    EXPECT_EQ(white, 3.5f);
    EXPECT_EQ(scene.fRenderer->fBlack, 0.25f);
    EXPECT_EQ(scene.fRenderer->fWhite, 3.5f);
}

} // namespace
