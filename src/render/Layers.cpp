#include "render/Layers.h"

#include "base/Versions.h"

#include <algorithm>
#include <cmath>

// Both layers are measured in one pass, by strips. Extremes run in lanes, which may be joined in any order but for the
// sign of a zero: the first zero of the picture decides that. The sums run in picture order, from the top left to the
// bottom right, since the order decides their last bits; base and detail side by side.

namespace Vornik
{

namespace
{

constexpr int kStrip = 128; // pixels
constexpr int kLanes = 32;  // fewer lanes than in two vectors would stay scalar

/// Two sums side by side: base and detail.
using tSums = double __attribute__((vector_size(16)));

struct sLanes
{
    float fMin[kLanes];
    float fMax[kLanes];

    sLanes()
    {
        std::fill_n(fMin, kLanes, kBeyond);
        std::fill_n(fMax, kLanes, -kBeyond);
    }
};

struct sRunning
{
    sLanes fBase;
    sLanes fDetail;
    tSums fSums{};
};

/// Widens the extremes by a value. NaN changes neither.
SELVANE_INLINE void Extend(float& pMin, float& pMax, float pValue)
{
    pMin = pValue < pMin ? pValue : pMin;
    pMax = pValue > pMax ? pValue : pMax;
}

SELVANE_INLINE void Extend(sLanes& pLanes, const float* pStrip)
{
    for (int n = 0; n < kStrip; n += kLanes)
        for (int lane = 0; lane < kLanes; lane++)
            Extend(pLanes.fMin[lane], pLanes.fMax[lane], pStrip[n + lane]);
}

SELVANE_INLINE tSums Added(tSums pSums, const float* pBase, const float* pDetail, int pCount)
{
#pragma GCC unroll 8
    for (int n = 0; n < pCount; n++)
        pSums += tSums{static_cast<double>(pBase[n]), static_cast<double>(std::fabs(pDetail[n]))};
    return pSums;
}

/// Measures pStrips whole strips.
SELVANE_CLONES void MeasureStrips(const float* pLogLuminance, const float* pBase, float* pDetail, int64_t pStrips,
                                  sRunning* pRunning)
{
    sRunning running = *pRunning;
    for (int64_t strip = 0; strip < pStrips; strip++) {
        const float* log = pLogLuminance + strip * kStrip;
        const float* base = pBase + strip * kStrip;
        float detail[kStrip];
        for (int n = 0; n < kStrip; n++)
            detail[n] = log[n] - base[n];
        Extend(running.fBase, base);
        Extend(running.fDetail, detail);
        running.fSums = Added(running.fSums, base, detail, kStrip);
        if (pDetail != nullptr) std::copy_n(detail, kStrip, pDetail + strip * kStrip);
    }
    *pRunning = running;
}

/// Measures the last pixels, fewer than a strip, with the extremes of the first lane.
void MeasureRest(const float* pLogLuminance, const float* pBase, float* pDetail, int pCount, sRunning& pRunning)
{
    float detail[kStrip];
    for (int n = 0; n < pCount; n++) {
        detail[n] = pLogLuminance[n] - pBase[n];
        Extend(pRunning.fBase.fMin[0], pRunning.fBase.fMax[0], pBase[n]);
        Extend(pRunning.fDetail.fMin[0], pRunning.fDetail.fMax[0], detail[n]);
    }
    pRunning.fSums = Added(pRunning.fSums, pBase, detail, pCount);
    if (pDetail != nullptr) std::copy_n(detail, pCount, pDetail);
}

/// Joins the lanes. pValueAt(i) is the value of pixel i; the first zero decides the sign of an extreme of 0.
template <class tValueAt>
sLayer Joined(const sLanes& pLanes, double pMean, int64_t pCount, tValueAt pValueAt)
{
    sLayer layer;
    layer.fMean = pMean;
    for (int lane = 0; lane < kLanes; lane++) {
        layer.fMin = std::min(layer.fMin, pLanes.fMin[lane]);
        layer.fMax = std::max(layer.fMax, pLanes.fMax[lane]);
    }
    for (float* extreme : {&layer.fMin, &layer.fMax})
        for (int64_t i = 0; *extreme == 0.0f && i < pCount; i++)
            if (pValueAt(i) == 0.0f) {
                *extreme = pValueAt(i);
                break;
            }
    return layer;
}

} // namespace

sLayers MeasureLayers(const float* pLogLuminance, const float* pBase, float* pDetail, int64_t pCount)
{
    const int64_t strips = pCount / kStrip;
    const int64_t done = strips * kStrip;
    sRunning running;
    MeasureStrips(pLogLuminance, pBase, pDetail, strips, &running);
    MeasureRest(pLogLuminance + done, pBase + done, pDetail == nullptr ? nullptr : pDetail + done,
                static_cast<int>(pCount - done), running);
    const auto pixels = static_cast<double>(pCount);
    return {
        Joined(running.fBase, running.fSums[0] / pixels, pCount, [=](int64_t i) { return pBase[i]; }),
        Joined(running.fDetail, running.fSums[1] / pixels, pCount,
               [=](int64_t i) { return pLogLuminance[i] - pBase[i]; }),
    };
}

} // namespace Vornik
