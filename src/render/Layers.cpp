#include "render/Layers.h"

#include "base/Versions.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numeric>

// Both layers are measured in one pass, by strips. Extremes run in lanes, which may be joined in any order but for the
// sign of a zero: the first zero of the picture decides that. The order decides the last bits of the sums. In picture
// order, from the top left to the bottom right, each addition waits for the one before; base and detail go side by
// side.

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
    double fSum[kLanes] = {}; ///< of sizes, for the detail

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
    tSums fSums{}; ///< in picture order
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

SELVANE_INLINE void AddToLanes(sRunning& pRunning, const float* pBase, const float* pDetail)
{
    for (int n = 0; n < kStrip; n += kLanes)
        for (int lane = 0; lane < kLanes; lane++) {
            pRunning.fBase.fSum[lane] += static_cast<double>(pBase[n + lane]);
            pRunning.fDetail.fSum[lane] += static_cast<double>(std::fabs(pDetail[n + lane]));
        }
}

/// Measures pStrips whole strips.
template <eSum tSum>
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
        if (tSum == eSum::eInOrder)
            running.fSums = Added(running.fSums, base, detail, kStrip);
        else
            AddToLanes(running, base, detail);
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

/// Joins the lanes. pSum is the sum outside them. pValueAt(i) is the value of pixel i; the first zero decides the sign
/// of an extreme of 0.
template <class tValueAt>
sLayer Joined(const sLanes& pLanes, double pSum, int64_t pCount, tValueAt pValueAt)
{
    sLayer layer;
    layer.fMean = std::accumulate(std::begin(pLanes.fSum), std::end(pLanes.fSum), pSum) / static_cast<double>(pCount);
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

sLayers MeasureLayers(const float* pLogLuminance, const float* pBase, float* pDetail, int64_t pCount, eSum pSum)
{
    const int64_t strips = pCount / kStrip;
    const int64_t done = strips * kStrip;
    sRunning running;
    const auto measure = pSum == eSum::eInOrder ? MeasureStrips<eSum::eInOrder> : MeasureStrips<eSum::eInLanes>;
    measure(pLogLuminance, pBase, pDetail, strips, &running);
    MeasureRest(pLogLuminance + done, pBase + done, pDetail == nullptr ? nullptr : pDetail + done,
                static_cast<int>(pCount - done), running);
    return {
        Joined(running.fBase, running.fSums[0], pCount, [=](int64_t i) { return pBase[i]; }),
        Joined(running.fDetail, running.fSums[1], pCount, [=](int64_t i) { return pLogLuminance[i] - pBase[i]; }),
    };
}

double MeanError(const sLayer& pLayer, int64_t pCount)
{
    const auto largest = static_cast<double>(std::max(std::fabs(pLayer.fMin), std::fabs(pLayer.fMax)));
    return static_cast<double>(pCount) * largest * 0x1p-51;
}

} // namespace Vornik
