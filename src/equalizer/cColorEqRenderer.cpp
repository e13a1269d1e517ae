#include "equalizer/cColorEqRenderer.h"

#include "base/Cancel.h"
#include "base/Require.h"
#include "bitmap/cBitmap.h"
#include "bitmap/cBitmapU16T.h"
#include "color/EncodeTable.h"
#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"
#include "curve/RendererCurves.h"
#include "yhmv/cYHMVColorSpace.h"

#include <memory>

namespace Vornik
{

cColorEqRenderer::cColorEqRenderer()
    : fInput(nullptr), fOutput(nullptr), fYHMVSpace(nullptr), fHMV(nullptr), fHHCurve(nullptr), fHSCurve(nullptr),
      fHLCurve(nullptr), fEncodeLUT{}, fEncodeLUTValid(false), fPrepareNeeded(false), fFinalNeeded(false)
{
    {
        cColorSpace_ProPhotoRGB work;
        fPCSToWork = work.GetFromPCSTransform();
        fWorkToPCS = work.GetToPCSTransform();
    }
    auto space = std::make_unique<cYHMVColorSpace>();
    AllRenderingNeeded();
    auto hueCurve = NewNeutralHueCurve();
    auto saturationCurve = NewNeutralHueCurve();
    auto lightnessCurve = NewNeutralHueCurve();

    fYHMVSpace = space.release();
    fHHCurve = hueCurve.release();
    fHSCurve = saturationCurve.release();
    fHLCurve = lightnessCurve.release();
}

cColorEqRenderer::~cColorEqRenderer()
{
    delete fYHMVSpace;
    delete fHMV;
    delete fHHCurve;
    delete fHLCurve;
    delete fHSCurve;
}

void cColorEqRenderer::SetInput(cBitmapLDR* pInput)
{
    RequireNew(cArgumentNullException, pInput != nullptr, "Argument pInput is null.");

    fInput = pInput;
    fEncodeLUTValid = false;
    AllRenderingNeeded();
}

void cColorEqRenderer::SetOutput(cBitmapLDR* pOutput)
{
    RequireNew(cArgumentNullException, pOutput != nullptr, "Argument pOutput is null.");

    fOutput = pOutput;
    OutputColorSpaceChanged();
}

void cColorEqRenderer::OutputColorSpaceChanged()
{
    fEncodeLUTValid = false;
    FinalRenderingNeeded();
}

void cColorEqRenderer::SetHueCurves(const cHermiteSpline* pHHCurve, const cHermiteSpline* pHSCurve,
                                    const cHermiteSpline* pHLCurve)
{
    RequireNew(cArgumentNullException, pHHCurve != nullptr, "Argument pHHCurve is null.");
    RequireNew(cArgumentNullException, pHSCurve != nullptr, "Argument pHSCurve is null.");
    RequireNew(cArgumentNullException, pHLCurve != nullptr, "Argument pHLCurve is null.");

    if (ReplaceIfDifferent(fHHCurve, *pHHCurve)) FinalRenderingNeeded();
    if (ReplaceIfDifferent(fHSCurve, *pHSCurve)) FinalRenderingNeeded();
    if (ReplaceIfDifferent(fHLCurve, *pHLCurve)) FinalRenderingNeeded();
}

void cColorEqRenderer::AllRenderingNeeded()
{
    fPrepareNeeded = true;
    fFinalNeeded = true;
}

void cColorEqRenderer::FinalRenderingNeeded()
{
    fFinalNeeded = true;
}

void cColorEqRenderer::Render(bool* pCancel, bool* pCancelled)
{
    RequireNew(cInvalidOperationException, fInput != nullptr, "Input image is not set.");
    RequireNew(cInvalidOperationException, fOutput != nullptr, "Output image is not set.");
    RequireNew(cInvalidOperationException, fInput->fWidth == fOutput->fWidth,
               "The input and output images do not have the same width.");
    RequireNew(cInvalidOperationException, fInput->fHeight == fOutput->fHeight,
               "The input and output images do not have the same height.");
    Require(cInvalidOperationException, CanEncode(fOutput->GetColorSpace()), "Color space is not set.");

    if (fPrepareNeeded) {
        PrepareForRendering(pCancel, pCancelled);
        if (IsRequested(pCancelled)) return;
        fPrepareNeeded = false;
    }
    if (fFinalNeeded) {
        FinalRendering(pCancel, pCancelled);
        if (!IsRequested(pCancelled)) fFinalNeeded = false;
    }
}

void cColorEqRenderer::Render()
{
    bool cancel = false;
    bool cancelled = false;
    Render(&cancel, &cancelled);
}

void cColorEqRenderer::PrepareForRendering(bool* pCancel, bool* pCancelled)
{
    if (StopIfRequested(pCancel, pCancelled)) return;
    const int width = fInput->fWidth;
    const int height = fInput->fHeight;
    delete fHMV;
    fHMV = nullptr;
    auto records = std::make_unique<cBitmapU16T>(width, height, 5);
    cYHMVColorSpace::RGBToHMV(pCancel, pCancelled, fInput, records.get());
    fHMV = records.release();
    StopIfRequested(pCancel, pCancelled);
}

void cColorEqRenderer::PreprocessCurvesAndTransforms(cMatrix33& pMatrix, unsigned short*& pEncodeLUT, float*& pHSLUT,
                                                     float*& pHLLUT, unsigned short*& pHHLUT)
{
    cColorSpace* space = fOutput->GetColorSpace();
    pMatrix = Multiply(space->GetFromPCSTransform(), fWorkToPCS);
    if (!fEncodeLUTValid) {
        FillEncodeLUT(fEncodeLUT, *space->GetFromLinearTransfer());
        fEncodeLUTValid = true;
    }
    pEncodeLUT = fEncodeLUT;
    pHSLUT = fHSCurve->GetLUT16f();
    pHLLUT = fHLCurve->GetLUT16f();
    pHHLUT = fHHCurve->GetLUT16i();
}

void cColorEqRenderer::FinalRendering(bool* pCancel, bool* pCancelled)
{
    cMatrix33 matrix;
    unsigned short* encodeLUT = nullptr;
    float* saturationLUT = nullptr;
    float* lightnessLUT = nullptr;
    unsigned short* hueLUT = nullptr;
    PreprocessCurvesAndTransforms(matrix, encodeLUT, saturationLUT, lightnessLUT, hueLUT);
    fYHMVSpace->UpdateHMVToRGBLUT(saturationLUT, hueLUT);
    if (StopIfRequested(pCancel, pCancelled)) return;
    fYHMVSpace->HMVToRGB(fHMV, fOutput, encodeLUT, matrix, lightnessLUT);
}

} // namespace Vornik
