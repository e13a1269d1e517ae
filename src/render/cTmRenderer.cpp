#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Require.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/EncodeTable.h"
#include "color/cColorSpace.h"
#include "curve/RendererCurves.h"
#include "yhmv/cYHMVColorSpace.h"

#include <memory>

// The renderer object: parameters, marks and the order of the stages. Each stage has its own source file. All checks
// that throw are in this file.

namespace Vornik
{

namespace
{

constexpr int kContrastPoints = 2;
constexpr int kContrastKeyFrames = 5;

/// One control point per row of the array: x, y, previous tangent x, y, next tangent x, y. Two points make a key frame.
/// The key frames go from the flattest contrast to the steepest; the third is the straight line. The outer tangents
/// have no effect.
constexpr float kContrastFrames[kContrastKeyFrames * kContrastPoints][6] = {
    {0.0f, 0.0f, 1.0f, 1.0f, 0.308f, 1.09f},  {1.0f, 1.0f, 1.752f, 2.714f, 1.0f, 1.0f}, //
    {0.0f, 0.0f, 1.0f, 1.0f, 0.449f, 0.769f}, {1.0f, 1.0f, 2.173f, 2.634f, 1.0f, 1.0f}, //
    {0.0f, 0.0f, 1.0f, 1.0f, 0.0f, 0.0f},     {1.0f, 1.0f, 0.0f, 0.0f, 1.0f, 1.0f},     //
    {0.0f, 0.0f, 1.0f, 1.0f, 0.5f, 0.0f},     {1.0f, 1.0f, 1.25f, 0.0f, 1.0f, 1.0f},    //
    {0.0f, 0.0f, 1.0f, 1.0f, 1.0f, 0.0f},     {1.0f, 1.0f, 2.22f, 0.0f, 1.0f, 1.0f},    //
};

std::unique_ptr<cContrastCurve> NewContrastCurve()
{
    auto curve = std::make_unique<cContrastCurve>();
    curve->SetKeyFrames(eSplineManualTangents, kContrastPoints, kContrastKeyFrames, &kContrastFrames[0][0]);
    return curve;
}

} // namespace

cContrastCurve::cContrastCurve() = default;
cContrastCurve::~cContrastCurve() = default;

// The tables are not cleared, since they are written before they are read. fOutput must be null before it is set, and
// fExposure 0 before a render.
cTmRenderer::cTmRenderer()
    : fInput(nullptr), fOutput(nullptr), fYHMVSpace(nullptr), fYHMV(nullptr), fLogLuminance(nullptr), fBase(nullptr),
      fDetail(nullptr), fContrastCurve(nullptr), fHHCurve(nullptr), fHSCurve(nullptr), fHLCurve(nullptr),
      fEncodeLUTValid(false), fExposure(0.0f), fExposureBase(0.0f), fGlobalContrast(0.0f), fAdaptationShadow(0.0f),
      fAdaptation(0.0f), fContrastFollowsGlobal(true), fContrast(0.0f), fUseAutoExposure(true), fExposureEV(0.0f),
      fSpatialSize(100.0f), fRangeSize(100.0f), fBaseBlur(100.0f), fWrapX(false), fReservedFlagA(false),
      fReservedFlagB(false), fWhiteClip(0.0f), fBlackClip(0.0f), fRequestType(0), fRequestedBlack(0.0f),
      fRequestedWhite(0.0f), fPrepareNeeded(true), fPhase1Needed(true), fPhase2Needed(true), fFinalNeeded(true),
      fContrastKey(-1000.0f), fMinY(0.0f), fMaxY(0.0f), fLogMinY(0.0f), fLogMaxY(0.0f), fWhite(0.0f), fBlack(0.0f),
      fBaseMax(0.0f), fBaseMin(0.0f), fDetailMax(0.0f), fDetailMin(0.0f), fBaseAverage(0.0),
      fDetailAverage(0.0), fWorkToPCS{}, fPCSToWork{}, fLogEnabled(1), fNbProc(1)
{
    {
        const auto work = std::make_unique<cColorSpace_ProPhotoRGB>();
        fPCSToWork = work->GetFromPCSTransform();
        fWorkToPCS = work->GetToPCSTransform();
    }
    auto yhmvSpace = std::make_unique<cYHMVColorSpace>();
    auto contrast = NewContrastCurve();
    auto hueToHue = NewNeutralHueCurve();
    auto hueToSaturation = NewNeutralHueCurve();
    auto hueToLightness = NewNeutralHueCurve();
    fYHMVSpace = yhmvSpace.release();
    fContrastCurve = contrast.release();
    fHHCurve = hueToHue.release();
    fHSCurve = hueToSaturation.release();
    fHLCurve = hueToLightness.release();
}

cTmRenderer::~cTmRenderer()
{
    delete fYHMVSpace;
    delete[] fLogLuminance;
    delete[] fDetail;
    delete[] fBase;
    delete fYHMV;
    delete fContrastCurve;
    delete fHHCurve;
    delete fHLCurve;
    delete fHSCurve;
}

void cTmRenderer::SetNbProc(int pNbProc)
{
    fNbProc = pNbProc;
}

void cTmRenderer::SetInput(cBitmapXYZ32* pInput)
{
    RequireNew(cArgumentNullException, pInput != nullptr, "Argument pInput is null.");
    fInput = pInput;
    fEncodeLUTValid = false;
    AllRenderingNeeded();
}

void cTmRenderer::SetOutput(cBitmapLDR* pOutput)
{
    RequireNew(cArgumentNullException, pOutput != nullptr, "Argument pOutput is null.");
    fOutput = pOutput;
    fEncodeLUTValid = false;
    FinalRenderingNeeded();
}

// Required: all stages are marked before the comparisons. The comparisons only decide what is stored and whether a
// measuring request marks its final stage again. pAdaptation is compared with fAdaptationShadow, which is always 0, so
// any other value marks the final stage again.
void cTmRenderer::SetToneMappingParams(float pGlobalContrast, float pAdaptation, bool pContrastFollowsGlobal,
                                       float pContrast, bool pUseAutoExposure, float pExposureEV, float pSpatialSize,
                                       float pRangeSize, float pBaseBlur, bool pWrapX, bool pReservedFlagA,
                                       bool pReservedFlagB, float pWhiteClip, float pBlackClip, int pRequestType,
                                       float pBlack, float pWhite)
{
    fAdaptationShadow = 0.0f;
    fReservedFlagA = pReservedFlagA;
    fReservedFlagB = pReservedFlagB;
    fRequestType = pRequestType;
    fAdaptation = pAdaptation;
    fWhiteClip = pWhiteClip;
    fBlackClip = pBlackClip;
    fRequestedBlack = pBlack;
    fRequestedWhite = pWhite;
    fWhite = 1.0f;
    fBlack = 0.0f;
    AllRenderingNeeded();
    if (fRequestType == 9) fFinalNeeded = false;
    if (fGlobalContrast != pGlobalContrast || fAdaptationShadow != pAdaptation) {
        fAdaptationShadow = 0.0f;
        fGlobalContrast = pGlobalContrast;
        ToneMapPhase2Needed();
    }
    if (fContrastFollowsGlobal != pContrastFollowsGlobal || fContrast != pContrast) {
        fContrastFollowsGlobal = pContrastFollowsGlobal;
        fContrast = pContrast;
        FinalRenderingNeeded();
    }
    if (fUseAutoExposure != pUseAutoExposure || fExposureEV != pExposureEV) {
        fUseAutoExposure = pUseAutoExposure;
        fExposureEV = pExposureEV;
        FinalRenderingNeeded();
    }
    if (fSpatialSize != pSpatialSize || fRangeSize != pRangeSize || fBaseBlur != pBaseBlur || fWrapX != pWrapX) {
        fSpatialSize = pSpatialSize;
        fRangeSize = pRangeSize;
        fBaseBlur = pBaseBlur;
        fWrapX = pWrapX;
        ToneMapPhase1Needed();
    }
}

void cTmRenderer::SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve,
                               const cHermiteSpline* pHLCurve)
{
    RequireNew(cArgumentNullException, pHHCurve != nullptr, "Argument pHHCurve is null.");
    RequireNew(cArgumentNullException, pHSCurve != nullptr, "Argument pHSCurve is null.");
    RequireNew(cArgumentNullException, pHLCurve != nullptr, "Argument pHLCurve is null.");
    if (ReplaceIfDifferent(fHHCurve, *pHHCurve)) FinalRenderingNeeded();
    if (ReplaceIfDifferent(fHSCurve, *pHSCurve)) FinalRenderingNeeded();
    if (ReplaceIfDifferent(fHLCurve, *pHLCurve)) FinalRenderingNeeded();
}

void cTmRenderer::AllRenderingNeeded()
{
    fPrepareNeeded = true;
    ToneMapPhase1Needed();
}

void cTmRenderer::ToneMapPhase1Needed()
{
    fPhase1Needed = true;
    ToneMapPhase2Needed();
}

void cTmRenderer::ToneMapPhase2Needed()
{
    fPhase2Needed = true;
    FinalRenderingNeeded();
}

void cTmRenderer::FinalRenderingNeeded()
{
    fFinalNeeded = true;
}

void cTmRenderer::OutputColorSpaceChanged()
{
    fEncodeLUTValid = false;
    FinalRenderingNeeded();
}

void cTmRenderer::Render()
{
    bool cancel = false;
    bool cancelled = false;
    Render(&cancel, &cancelled);
}

void cTmRenderer::Render(bool* pCancel, bool* pCancelled)
{
    RequireNew(cInvalidOperationException, fInput != nullptr, "Input image is not set.");
    RequireNew(cInvalidOperationException, fOutput != nullptr, "Output image is not set.");
    RequireNew(cInvalidOperationException, fInput->fWidth == fOutput->fWidth,
               "The input and output images do not have the same width.");
    RequireNew(cInvalidOperationException, fInput->fHeight == fOutput->fHeight,
               "The input and output images do not have the same height.");
    Require(cInvalidOperationException, CanEncode(fOutput->GetColorSpace()), "Color space is not set.");

    // A stage that stops stays marked, and the later stages do not run.
    const auto finish = [&](bool& pNeeded, void (cTmRenderer::*pStage)(bool*, bool*)) {
        if (!pNeeded) return true;
        (this->*pStage)(pCancel, pCancelled);
        if (IsRequested(pCancelled)) return false;
        pNeeded = false;
        return true;
    };
    if (!finish(fPrepareNeeded, &cTmRenderer::PrepareForRendering)) return;
    if (!finish(fPhase1Needed, &cTmRenderer::ToneMappingPhase1)) return;
    if (!finish(fPhase2Needed, &cTmRenderer::ToneMappingPhase2)) return;
    finish(fFinalNeeded, &cTmRenderer::FinalRendering);
}

void cTmRenderer::GetRequestedStats(float* pBlack, float* pWhite)
{
    *pBlack = fRequestedBlack;
    *pWhite = fRequestedWhite;
}

} // namespace Vornik
