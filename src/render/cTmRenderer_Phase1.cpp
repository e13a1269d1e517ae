#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "bitmap/cBitmapXYZ32.h"
#include "filter/cBilateral.h"
#include "render/LayerTables.h"
#include "render/Layers.h"
#include "render/PrintAlike.h"
#include "render/Stages.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

// The second stage. Splits the logarithm of luminance into a smooth base and the remaining detail, and measures both.

namespace Vornik
{

namespace
{

/// Spatial sampling of the bilateral grid in pixels per cell, from fSpatialSize and the picture's longer side.
float SpaceSampling(float pSpatialSize, int pWidth, int pHeight)
{
    const float perMille = pSpatialSize >= 100.0f ? std::fma(pSpatialSize - 100.0f, 0.75f, 25.0f)
                                                  : std::fma(pSpatialSize - 10.0f, 0x1.555556p-3f /* 1/6 */, 10.0f);
    return perMille * (static_cast<float>(std::max(pWidth, pHeight)) * 0.001f);
}

/// Range sampling of the bilateral grid in decades per cell, from fRangeSize.
float RangeSampling(float pRangeSize)
{
    return std::fma(pRangeSize, 0.002f, 0.2f);
}

void Store(cTmRenderer& pRenderer, const sLayers& pLayers)
{
    pRenderer.fBaseMin = pLayers.fBase.fMin;
    pRenderer.fBaseMax = pLayers.fBase.fMax;
    pRenderer.fBaseAverage = pLayers.fBase.fMean;
    pRenderer.fDetailMin = pLayers.fDetail.fMin;
    pRenderer.fDetailMax = pLayers.fDetail.fMax;
    pRenderer.fDetailAverage = pLayers.fDetail.fMean;
}

/// Prints the measures. The mean of the detail is that of its absolute value; the extremes are signed.
void LogLayers(const cTmRenderer& pRenderer)
{
    std::fprintf(
        stderr,
        "+++  ToneMappingPhase1 %d x %d  - min/ave/max  Detail: %1.2f  %1.2f  %1.2f  -  Base: %1.2f  %1.2f  %1.2f "
        "(vs orig: %1.2f) ->  DR: %1.2f (orig: %1.2f)\n",
        pRenderer.fInput->fWidth, pRenderer.fInput->fHeight, static_cast<double>(pRenderer.fDetailMin),
        pRenderer.fDetailAverage, static_cast<double>(pRenderer.fDetailMax), static_cast<double>(pRenderer.fBaseMin),
        pRenderer.fBaseAverage, static_cast<double>(pRenderer.fBaseMax), static_cast<double>(pRenderer.fLogMaxY),
        static_cast<double>(pRenderer.fBaseMax - pRenderer.fBaseMin),
        static_cast<double>(pRenderer.fLogMaxY - pRenderer.fLogMinY));
}

/// Whether each mean prints as the one in picture order does, in the lines of this stage and of the next.
bool MeansPrintAlike(const sLayers& pLayers, int64_t pCount)
{
    const sLayer& detail = pLayers.fDetail;
    const double error = MeanError(detail, pCount);
    const double factor = std::exp(detail.fMean * kLn10);
    return PrintsAlike(pLayers.fBase.fMean, MeanError(pLayers.fBase, pCount)) && PrintsAlike(detail.fMean, error) &&
           PrintsAlike(factor, std::exp((detail.fMean + error) * kLn10) - factor + factor * 0x1p-50);
}

/// Measures both layers. If nobody looks at the fields, only the progress lines and the adaptation show the means.
sLayers Measure(const cTmRenderer& pRenderer, float* pDetail)
{
    const cTmRenderer& r = pRenderer;
    const int64_t count = int64_t{r.fInput->fWidth} * r.fInput->fHeight;
    if (pDetail == nullptr && !(r.fAdaptation > 0.0f)) {
        const sLayers layers = MeasureLayers(r.fLogLuminance, r.fBase, nullptr, count, eSum::eInLanes);
        if (MeansPrintAlike(layers, count)) return layers;
    }
    return MeasureLayers(r.fLogLuminance, r.fBase, pDetail, count, eSum::eInOrder);
}

} // namespace

void RunPhase1(cTmRenderer& pRenderer, float* pDetail, bool* pCancel, bool* pCancelled)
{
    const cTmRenderer& r = pRenderer;
    const int width = r.fInput->fWidth;
    const int height = r.fInput->fHeight;
    cBilateral::Filter_Fast(pCancel, pCancelled, r.fNbProc, r.fLogLuminance, r.fBase, width, height,
                            SpaceSampling(r.fSpatialSize, width, height), RangeSampling(r.fRangeSize), r.fLogMinY,
                            r.fLogMaxY, r.fBaseBlur * 0.01f, r.fWrapX);
    if (IsRequested(pCancelled)) return;
    Store(pRenderer, {}); // the measures of an empty picture
    if (height > 0) {
        if (StopIfRequested(pCancel, pCancelled)) return;
        if (width > 0) Store(pRenderer, Measure(r, pDetail));
    }
    if (r.fLogEnabled != 0) LogLayers(r);
}

void cTmRenderer::ToneMappingPhase1(bool* pCancel, bool* pCancelled)
{
    RunPhase1(*this, fDetail, pCancel, pCancelled);
}

} // namespace Vornik
