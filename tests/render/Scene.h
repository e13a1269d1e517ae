#ifndef SELVANE_TESTS_RENDER_SCENE_H
#define SELVANE_TESTS_RENDER_SCENE_H

// A renderer with a made picture in front of it and an output behind it.

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "render/cTmRenderer.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace SelvaneTest
{

/// Random XYZ over pDecades decades of luminance, not far from grey.
inline void FillDecades(Vornik::cBitmapXYZ32& pPicture, float pDecades, unsigned pSeed)
{
    std::mt19937 random(pSeed);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    for (int y = 0; y < pPicture.fHeight; y++)
        for (int x = 0; x < pPicture.fWidth; x++) {
            float* pixel = pPicture.fData + y * (pPicture.fStride / 4) + 3 * x;
            const float luminance = std::pow(10.0f, (unit(random) - 0.5f) * pDecades);
            pixel[0] = luminance * (0.7f + 0.5f * unit(random));
            pixel[1] = luminance;
            pixel[2] = luminance * (0.6f + 0.5f * unit(random));
        }
}

/// The parameters that the entry sends for sliders at zero.
struct sParams
{
    float fGlobalContrast = 47.0f;
    float fAdaptation = 0.0f;
    bool fContrastFollowsGlobal = true;
    float fContrast = 20.0f;
    bool fUseAutoExposure = true;
    float fExposureEV = 0.0f;
    float fSpatialSize = 100.0f;
    float fRangeSize = 60.0f;
    float fBaseBlur = 0.0f;
    bool fWrapX = false;
    float fWhiteClip = 0.0f;
    float fBlackClip = 0.0f;
    int fRequestType = 0;
    float fBlack = 0.0f;
    float fWhite = 0.0f;

    void Set(Vornik::cTmRenderer& pRenderer) const
    {
        pRenderer.SetToneMappingParams(fGlobalContrast, fAdaptation, fContrastFollowsGlobal, fContrast,
                                       fUseAutoExposure, fExposureEV, fSpatialSize, fRangeSize, fBaseBlur, fWrapX,
                                       false, false, fWhiteClip, fBlackClip, fRequestType, fBlack, fWhite);
    }
};

struct sScene
{
    Vornik::cBitmapXYZ32 fInput;
    Vornik::cBitmapBGR16 fOutput;
    std::unique_ptr<Vornik::cTmRenderer> fRenderer = std::make_unique<Vornik::cTmRenderer>();
    bool fCancel = false;
    bool fCancelled = false;

    sScene(int pWidth, int pHeight, float pDecades = 5.0f, unsigned pSeed = 1)
        : fInput(pWidth, pHeight), fOutput(pWidth, pHeight, Vornik::eColorSpace_sRGB)
    {
        FillDecades(fInput, pDecades, pSeed);
        fRenderer->SetInput(&fInput);
        fRenderer->SetOutput(&fOutput);
        fRenderer->fLogEnabled = 0;
        sParams{}.Set(*fRenderer);
    }

    void Render() { fRenderer->Render(&fCancel, &fCancelled); }

    void Mark(bool pPrepare, bool pPhase1, bool pPhase2, bool pFinal)
    {
        fRenderer->fPrepareNeeded = pPrepare;
        fRenderer->fPhase1Needed = pPhase1;
        fRenderer->fPhase2Needed = pPhase2;
        fRenderer->fFinalNeeded = pFinal;
    }

    /// The marks as four letters, P 1 2 F, or a dash.
    std::string Marks() const
    {
        return std::string(fRenderer->fPrepareNeeded ? "P" : "-") + (fRenderer->fPhase1Needed ? "1" : "-") +
               (fRenderer->fPhase2Needed ? "2" : "-") + (fRenderer->fFinalNeeded ? "F" : "-");
    }

    /// The used samples of the output.
    std::vector<unsigned short> Samples() const
    {
        std::vector<unsigned short> samples;
        for (int y = 0; y < fOutput.fHeight; y++) {
            const unsigned short* row = fOutput.fData + y * (fOutput.fStride / 2);
            samples.insert(samples.end(), row, row + 3 * fOutput.fWidth);
        }
        return samples;
    }
};

} // namespace SelvaneTest

#endif
