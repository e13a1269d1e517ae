#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "bitmap/cBitmapXYZ32.h"
#include "filter/cBilateral.h"
#include "render/Layers.h"

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

struct sLayers
{
    sLayer fBase;
    sLayer fDetail;
};

/// Subtracts the base from the logarithm, pixel by pixel, and measures both layers. The sums run in picture order, from
/// the top left to the bottom right: the order decides their last bits.
sLayers SplitAndMeasure(const float* pLogLuminance, const float* pBase, float* pDetail, int64_t pCount)
{
    sLayers layers;
    double baseSum = 0.0, detailSum = 0.0;
    for (int64_t i = 0; i < pCount; i++) {
        const float base = pBase[i];
        const float detail = pLogLuminance[i] - base;
        pDetail[i] = detail;
        Extend(layers.fBase, base);
        Extend(layers.fDetail, detail);
        baseSum += static_cast<double>(base);
        detailSum += static_cast<double>(std::fabs(detail));
    }
    layers.fBase.fMean = baseSum / static_cast<double>(pCount);
    layers.fDetail.fMean = detailSum / static_cast<double>(pCount);
    return layers;
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

} // namespace

void cTmRenderer::ToneMappingPhase1(bool* pCancel, bool* pCancelled)
{
    const int width = fInput->fWidth;
    const int height = fInput->fHeight;
    cBilateral::Filter_Fast(pCancel, pCancelled, fNbProc, fLogLuminance, fBase, width, height,
                            SpaceSampling(fSpatialSize, width, height), RangeSampling(fRangeSize), fLogMinY, fLogMaxY,
                            fBaseBlur * 0.01f, fWrapX);
    if (IsRequested(pCancelled)) return;
    Store(*this, {}); // the measures of an empty picture
    if (height > 0) {
        if (StopIfRequested(pCancel, pCancelled)) return;
        if (width > 0) Store(*this, SplitAndMeasure(fLogLuminance, fBase, fDetail, int64_t{width} * height));
    }
    if (fLogEnabled != 0) LogLayers(*this);
}

} // namespace Vornik
