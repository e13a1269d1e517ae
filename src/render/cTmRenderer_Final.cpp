#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "bitmap/cBitmap.h"
#include "color/EncodeTable.h"
#include "color/MatrixProduct.h"
#include "color/cColorSpace.h"
#include "render/Stages.h"
#include "yhmv/cYHMVColorSpace.h"

#include <cmath>

// The last stage. Computes the tables that all pixels share, then fills the output in one pass of the decoder.

namespace Vornik
{

namespace
{

constexpr double kKeyPerContrast = 0x1.cac083126e978p-9; // the double next below 0.0035

/// Position of the contrast curve among its key frames, 0 to 1. A negative global contrast does not change it.
float ContrastKey(const cTmRenderer& pRenderer)
{
    const auto key = static_cast<float>((static_cast<double>(pRenderer.fContrast) + 100.0) * 0.005);
    if (!pRenderer.fContrastFollowsGlobal || pRenderer.fGlobalContrast < 0.0f) return key;
    const auto raised = static_cast<float>(
        std::fma(static_cast<double>(pRenderer.fGlobalContrast), kKeyPerContrast, static_cast<double>(key)));
    return raised < 1.0f ? raised : 1.0f;
}

} // namespace

cMatrix33 OutputMatrix(const cTmRenderer& pRenderer)
{
    return Multiply(pRenderer.fOutput->GetColorSpace()->GetFromPCSTransform(), pRenderer.fWorkToPCS);
}

unsigned short* EncodeTable(cTmRenderer& pRenderer)
{
    if (!pRenderer.fEncodeLUTValid) {
        FillEncodeLUT(pRenderer.fEncodeLUT, *pRenderer.fOutput->GetColorSpace()->GetFromLinearTransfer());
        pRenderer.fEncodeLUTValid = true;
    }
    return pRenderer.fEncodeLUT;
}

const unsigned short* ContrastSamples(cTmRenderer& pRenderer)
{
    const float key = ContrastKey(pRenderer);
    if (key != pRenderer.fContrastKey) pRenderer.fContrastCurve->InterpolateControlPoints(key);
    return pRenderer.fContrastCurve->GetLUT16i(); // at each run, since the table may be stale
}

float ExposureScale(const cTmRenderer& pRenderer)
{
    return static_cast<float>(std::exp2(static_cast<double>(pRenderer.fExposureEV)) *
                              (pRenderer.fUseAutoExposure ? static_cast<double>(pRenderer.fExposure) : 1.0));
}

void cTmRenderer::PreprocessCurvesAndTransforms(cMatrix33& pMatrix, unsigned short*& pEncodeLUT, float*& pContrastLUT,
                                                float*& pHSLUT, float*& pHLLUT, unsigned short*& pHHLUT, float& pScale)
{
    pMatrix = OutputMatrix(*this);
    pEncodeLUT = EncodeTable(*this);
    const unsigned short* samples = ContrastSamples(*this);
    const float key = ContrastKey(*this);
    if (key != fContrastKey) {
        fContrastKey = key;
        for (int i = 0; i < kTableSize; i++)
            fContrastLUT[i] = static_cast<float>(static_cast<double>(samples[i]) * kFromSample16D);
    }
    pContrastLUT = fContrastLUT;
    pHSLUT = fHSCurve->GetLUT16f();
    pHLLUT = fHLCurve->GetLUT16f();
    pHHLUT = fHHCurve->GetLUT16i();
    pScale = ExposureScale(*this);
}

void cTmRenderer::FinalRendering(bool* pCancel, bool* pCancelled)
{
    cMatrix33 matrix;
    unsigned short* encodeLUT = nullptr;
    float* contrastLUT = nullptr;
    float* saturationLUT = nullptr;
    float* lightnessLUT = nullptr;
    unsigned short* hueLUT = nullptr;
    float scale = 0.0f;
    PreprocessCurvesAndTransforms(matrix, encodeLUT, contrastLUT, saturationLUT, lightnessLUT, hueLUT, scale);
    fYHMVSpace->UpdateHMVToRGBLUT(saturationLUT, hueLUT);
    if (StopIfRequested(pCancel, pCancelled)) return;
    fYHMVSpace->YHMVToRGB(fYHMV, fOutput, encodeLUT, scale, fBlack, fWhite, matrix, contrastLUT, lightnessLUT);
}

} // namespace Vornik
