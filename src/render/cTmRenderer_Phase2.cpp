#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "bitmap/cBitmapXYZ32.h"
#include "render/LayerTables.h"
#include "render/Luminance.h"
#include "render/PrintAlike.h"
#include "render/Stages.h"
#include "render/cTmRenderer_Points.h"

#include <cmath>
#include <cstdio>
#include <optional>
#include <utility>

// The third stage. Two tables turn base and detail into a new luminance, which replaces that of the compact picture.
// The stage also computes an exposure scale, and a histogram gives the black and the white point
// (cTmRenderer_Points.h). Everything runs on the calling thread. The steps take and return values; only
// ToneMappingPhase2 writes the renderer's fields.

namespace Vornik
{

namespace
{

constexpr double kExposureScale = 0x1.bdb8cdadbe11fp-3; // 0.217637640824031
constexpr double kExposureRate = 0x1.866167ee00c88p+0;  // 1.5249237972318799
constexpr double kDamp = -0x1.b92bf8f493084p-3;         // -0.21541590210324923
constexpr double kPi = 3.141592653589793;
constexpr double kMinusHalfPi = -1.5707963267948966;

/// Exponent of the global compression; 1 means none. A negative contrast expands, three times as fast.
float CompressionExponent(float pGlobalContrast)
{
    const auto share = static_cast<float>(static_cast<double>(pGlobalContrast) * 0.01);
    return share > 0.0f ? 1.0f - share : static_cast<float>(std::fma(-3.0, static_cast<double>(share), 1.0));
}

/// Rounds to float through memory. At -O2, g++ 12 puts two neighbouring chains of roundings into one vector and drops
/// the inner rounding. That changes the last bit of a quarter to a half of all results.
float Narrow(double pValue)
{
    const volatile float narrow = static_cast<float>(pValue);
    return narrow;
}

/// The terms of the exposure scale that do not depend on the peak.
struct sExposureBlend
{
    float fWeight;   ///< share of the peak, 0 to 1: 0 at exponents 0 and 1, 1 at one half
    float fBasic;    ///< the scale without the peak
    double fDamping; ///< factor that falls as contrast rises, from 1 to about 0.785
};

sExposureBlend BlendOf(float pExponent)
{
    const auto exponent = static_cast<double>(pExponent);
    const float q = pExponent < 1.0f ? pExponent : 1.0f;
    const double angle = std::fma(static_cast<double>(q), kPi, kMinusHalfPi);
    float rise = Narrow(2.0 * (1.0 - exponent));
    rise = rise < 1.0f ? rise : 1.0f;
    rise = rise > 0.0f ? rise : 0.0f;
    return {
        .fWeight = Narrow(std::pow(std::cos(angle), q < 0.5f ? 4.0 : 0.5)),
        .fBasic = Narrow(std::exp(exponent * kExposureRate) * kExposureScale),
        .fDamping = std::fma(static_cast<double>(rise), kDamp, 1.0),
    };
}

/// The exposure scale for one peak.
float Exposure(const sExposureBlend& pBlend, float pPeak)
{
    const float share = pPeak * pBlend.fWeight;
    const float blended = Narrow(std::fma(1.0 - static_cast<double>(pBlend.fWeight), static_cast<double>(pBlend.fBasic),
                                          static_cast<double>(share)));
    return Narrow(static_cast<double>(blended) * pBlend.fDamping);
}

/// The exposure scale from the largest luminance, and the one from the largest base value.
struct sExposures
{
    float fScale;
    float fBaseScale;
};

sExposures ExposuresFor(float pExponent, float pMaxY, float pBaseMax)
{
    const auto exponent = static_cast<double>(pExponent);
    const sExposureBlend blend = BlendOf(pExponent);
    const float peak = Narrow(std::pow(static_cast<double>(pMaxY), -exponent));
    const float basePeak = Narrow(std::exp(static_cast<double>(pBaseMax) * -exponent * kLn10));
    return {Exposure(blend, peak), Exposure(blend, basePeak)};
}

void LogExposure(const cTmRenderer& pRenderer, float pExponent, const sRemapping& pRemapping)
{
    std::fprintf(
        stderr,
        "GlobalContrast Log10: %1.2f -> GlobalOutMax: %1.2f (vs orig: %1.2f  exposure: %1.2f)  - DetailOutMax:  "
        "%1.2f (vs DetailAverage: %1.2f)\n",
        static_cast<double>(pExponent), static_cast<double>(pRemapping.fGlobalMax),
        std::exp(static_cast<double>(pRenderer.fLogMaxY) * kLn10), 1.0 / static_cast<double>(pRenderer.fExposure),
        static_cast<double>(pRemapping.fDetailMax), std::exp(pRemapping.fLayers.fDetail.fMean * kLn10));
}

void LogAcceptedPoints(const sPoints& pPoints)
{
    std::fprintf(stderr, "requestType 1 - using  Black: %1.2f   White: %1.2f ->  Scaling:  %1.2f\n",
                 static_cast<double>(pPoints.fBlack), static_cast<double>(pPoints.fWhite),
                 1.0 / static_cast<double>(pPoints.fWhite - pPoints.fBlack));
}

/// A mean luminance that prints as that of the sum in picture order does.
double MeanToPrint(const cLuminanceRows& pRows, const sLuminanceSum& pSum)
{
    const auto count = static_cast<double>(pRows.Width() * pRows.Height());
    const bool certain = pSum.fError == 0.0 || PrintsAlike(pSum.fSum / count, pSum.fError / count);
    return (certain ? pSum.fSum : SumInOrder(pRows, pRows.Height())) / count;
}

void LogLuminance(const cTmRenderer& pRenderer, const cLuminanceRows& pRows, const sNewLuminance& pLuminance)
{
    const sLuminance& extremes = pLuminance.fExtremes;
    std::fprintf(
        stderr,
        "Tone Mapped Y Min/Max: [%1.2f  %1.2f] (vs orig [%1.2f  %1.2f]) ave: %1.2f  -> scaling: %1.2f (vs exposure: "
        "%1.2f)\n",
        static_cast<double>(extremes.fMin), static_cast<double>(extremes.fMax), static_cast<double>(pRenderer.fMinY),
        static_cast<double>(pRenderer.fMaxY), MeanToPrint(pRows, pLuminance.fSum),
        1.0 / static_cast<double>(extremes.fMax - extremes.fMin), static_cast<double>(pRenderer.fExposure));
}

/// Black and white point of the new luminance; none without memory for the counters.
std::optional<sPoints> FindPoints(const cTmRenderer& pRenderer, const cLuminanceRows& pRows,
                                  const sNewLuminance& pLuminance)
{
    tCounters counters = NewCounters();
    if (counters == nullptr) return std::nullopt;
    if (pRenderer.fLogEnabled != 0) LogLuminance(pRenderer, pRows, pLuminance);
    const cHistogram histogram(std::move(counters), pRows, pLuminance.fExtremes);
    if (pRenderer.fLogEnabled != 0) histogram.LogPercentiles();
    return histogram.PointsFor(pRenderer.fBlackClip, pRenderer.fWhiteClip);
}

} // namespace

std::optional<sRemapping> FillTables(cTmRenderer& pRenderer, const bool* pCancel, bool* pCancelled)
{
    cTmRenderer& r = pRenderer;
    const float exponent = CompressionExponent(r.fGlobalContrast);
    const sLayers layers{{r.fBaseMin, r.fBaseMax, r.fBaseAverage}, {r.fDetailMin, r.fDetailMax, r.fDetailAverage}};
    const float globalMax = FillGlobalTable(r.fGlobalLUT, layers.fBase, r.fAdaptation, exponent);
    const float detailMax = FillDetailTable(r.fDetailLUT, layers.fDetail, r.fAdaptation);
    if (StopIfRequested(pCancel, pCancelled)) return std::nullopt;
    if (layers.fBase.Range() <= 0.0f || layers.fDetail.Range() <= 0.0f)
        return std::nullopt; // Required: with a flat layer, luminance and exposure stay unchanged.

    const sExposures exposures = ExposuresFor(exponent, r.fMaxY, r.fBaseMax);
    r.fExposure = exposures.fScale;
    r.fExposureBase = exposures.fBaseScale;
    const sRemapping remapping{layers, r.fGlobalLUT, r.fDetailLUT, globalMax, detailMax};
    if (r.fLogEnabled != 0) LogExposure(r, exponent, remapping);
    return remapping;
}

bool RunPhase2(cTmRenderer& pRenderer, const cLuminanceRows& pRows, const bool* pCancel, bool* pCancelled)
{
    cTmRenderer& r = pRenderer;
    const std::optional<sRemapping> remapping = FillTables(r, pCancel, pCancelled);
    if (!remapping) return false;
    const sNewLuminance luminance = ReplaceLuminance(pRows, *remapping, pCancel, pCancelled);
    if (StopIfRequested(pCancel, pCancelled)) return false;

    if (r.fRequestType == 1 && r.fRequestedWhite > 0.0f) {
        r.fWhite = r.fRequestedWhite;
        r.fBlack = r.fRequestedBlack;
        if (r.fLogEnabled != 0) LogAcceptedPoints({r.fBlack, r.fWhite});
        return true;
    }
    const std::optional<sPoints> points = FindPoints(r, pRows, luminance);
    if (!points) return true; // white stays 1 and black 0, so the exposure scale acts
    r.fBlack = r.fRequestedBlack = points->fBlack;
    r.fWhite = r.fRequestedWhite = points->fWhite;
    return true;
}

void cTmRenderer::ToneMappingPhase2(bool* pCancel, bool* pCancelled)
{
    const cLuminanceRows records(*fYHMV, fBase, fDetail, fInput->fWidth, fInput->fHeight);
    RunPhase2(*this, records, pCancel, pCancelled);
}

} // namespace Vornik
