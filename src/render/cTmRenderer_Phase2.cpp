#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"
#include "render/Layers.h"
#include "render/cTmRenderer_Points.h"
#include "yhmv/PixelRecord.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

// The third stage. Two tables turn base and detail into a new luminance, which replaces that of the compact picture.
// The stage also computes an exposure scale, and a histogram gives the black and the white point
// (cTmRenderer_Points.h). Everything runs on the calling thread. The steps take and return values; only
// ToneMappingPhase2 writes the renderer's fields.

namespace Vornik
{

namespace
{

constexpr double kLn10 = 0x1.26bb1bbb55516p+1;          // 2.302585092994046; 10 to the power x is exp(x * kLn10)
constexpr double kExposureScale = 0x1.bdb8cdadbe11fp-3; // 0.217637640824031
constexpr double kExposureRate = 0x1.866167ee00c88p+0;  // 1.5249237972318799
constexpr double kDamp = -0x1.b92bf8f493084p-3;         // -0.21541590210324923
constexpr double kPi = 3.141592653589793;
constexpr double kMinusHalfPi = -1.5707963267948966;

/// The larger of two values; pHeld if pValue is NaN.
SELVANE_INLINE float Larger(float pHeld, float pValue)
{
    return pValue > pHeld ? pValue : pHeld;
}

/// Exponent of the global compression; 1 means none. A negative contrast expands, three times as fast.
float CompressionExponent(float pGlobalContrast)
{
    const auto share = static_cast<float>(static_cast<double>(pGlobalContrast) * 0.01);
    return share > 0.0f ? 1.0f - share : static_cast<float>(std::fma(-3.0, static_cast<double>(share), 1.0));
}

/// The value that entry pIndex of a table stands for: the layer's minimum at 0, its maximum at 65535.
float Abscissa(int pIndex, const sLayer& pLayer)
{
    const auto x = static_cast<float>(static_cast<double>(static_cast<float>(pIndex)) * kFromSample16D);
    return std::fma(pLayer.Range(), x, pLayer.fMin);
}

/// The bend that adaptation gives a table. It multiplies the exponent of ten by (|value| / mean)^bend.
class cBend
{
public:
    cBend(double pBend, double pMean) : fBend(pBend), fInverseMean(1.0 / pMean) {}

    /// Stores the factor for the exponent in pFactor and returns true. Returns false for 0 and NaN: at 0 the power
    /// would be infinite.
    bool Factor(double pValue, double& pFactor) const
    {
        const double distance = std::fabs(fInverseMean * pValue);
        if (!(distance > 0.0)) return false;
        pFactor = std::pow(distance, fBend);
        return true;
    }

private:
    double fBend;
    double fInverseMean;
};

/// Fills a table of 65536 entries with exp(pExponent(value)) for each value of a layer. Returns the largest entry, at
/// least 0.
template <class tExponent>
float FillTable(float* pTable, const sLayer& pLayer, tExponent pExponent)
{
    float largest = 0.0f;
    for (int i = 0; i < kTableSize; i++) {
        pTable[i] = static_cast<float>(std::exp(pExponent(static_cast<double>(Abscissa(i, pLayer)))));
        largest = Larger(largest, pTable[i]);
    }
    return largest;
}

/// Fills the table from base value in decades to linear factor, compressed by pExponent. Returns the largest factor.
float FillGlobalTable(float* pTable, const sLayer& pBase, float pAdaptation, double pExponent)
{
    const cBend bend(-(0.05 * (static_cast<double>(pAdaptation) + 1.0)), pBase.fMean);
    return FillTable(pTable, pBase, [&](double pValue) {
        double factor = 0.0;
        return pAdaptation > 0.0f && bend.Factor(pValue, factor) ? factor * pExponent * pValue * kLn10
                                                                 : pValue * pExponent * kLn10;
    });
}

/// Fills the table from detail value in decades to linear factor. Returns the largest factor.
float FillDetailTable(float* pTable, const sLayer& pDetail, float pAdaptation)
{
    const cBend bend(std::fma(-static_cast<double>(pAdaptation), 0.02, -0.01), pDetail.fMean);
    return FillTable(pTable, pDetail, [&](double pValue) {
        double factor = 0.0;
        return pAdaptation > 0.0f && bend.Factor(pValue, factor) ? factor * pValue * kLn10 : pValue * kLn10;
    });
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

/// The two layers with their planes and tables.
struct sRemapping
{
    sLayer fBase;
    sLayer fDetail;
    const float* fBasePlane;
    const float* fDetailPlane;
    const float* fGlobalTable;
    const float* fDetailTable;
    float fGlobalMax; ///< largest entry of fGlobalTable
    float fDetailMax; ///< largest entry of fDetailTable
};

/// Table indices of pCount values, at most kStrip.
SELVANE_CLONES void TableIndices(const float* __restrict pValues, int pCount, float pMin, float pScale,
                                 int* __restrict pIndices)
{
    for (int i = 0; i < pCount; i++)
        pIndices[i] = RangeIndex(pValues[i], pMin, pScale);
}

/// Replaces the luminance of one row of the compact picture. pFirst is the index of its first pixel in the planes.
void RemapRow(const sRemapping& pRemapping, size_t pFirst, int pWidth, unsigned char* pPixels, sLuminance& pLuminance)
{
    const float baseScale = kToSample16 / pRemapping.fBase.Range();
    const float detailScale = kToSample16 / pRemapping.fDetail.Range();
    const float* base = pRemapping.fBasePlane + pFirst;
    const float* detail = pRemapping.fDetailPlane + pFirst;
    int baseAt[kStrip];
    int detailAt[kStrip];
    for (int x = 0; x < pWidth; x += kStrip) {
        const int count = std::min(kStrip, pWidth - x);
        TableIndices(base + x, count, pRemapping.fBase.fMin, baseScale, baseAt);
        TableIndices(detail + x, count, pRemapping.fDetail.fMin, detailScale, detailAt);
        for (int i = 0; i < count; i++, pPixels += kYHMVBytes) {
            const float luminance = pRemapping.fDetailTable[detailAt[i]] * pRemapping.fGlobalTable[baseAt[i]];
            StoreFloat(pPixels + kYHMVLuminance, luminance);
            pLuminance.Add(luminance);
        }
    }
}

/// Replaces the luminance of all rows and measures it. If *pCancel is set at the start of a row, the row is skipped and
/// the loop goes on.
sLuminance ReplaceLuminance(const sRemapping& pRemapping, int pWidth, int pHeight, const cBitmapU16T& pPicture,
                            const bool* pCancel, bool* pCancelled)
{
    sLuminance luminance{.fMin = pRemapping.fDetailMax * pRemapping.fGlobalMax};
    for (int y = 0; y < pHeight; y++) {
        unsigned char* pixels = RecordsOf(pPicture.GetScanline(y));
        if (StopIfRequested(pCancel, pCancelled)) continue;
        RemapRow(pRemapping, static_cast<size_t>(y) * static_cast<size_t>(pWidth), pWidth, pixels, luminance);
    }
    return luminance;
}

void LogExposure(const cTmRenderer& pRenderer, float pExponent, const sRemapping& pRemapping)
{
    std::fprintf(
        stderr,
        "GlobalContrast Log10: %1.2f -> GlobalOutMax: %1.2f (vs orig: %1.2f  exposure: %1.2f)  - DetailOutMax:  "
        "%1.2f (vs DetailAverage: %1.2f)\n",
        static_cast<double>(pExponent), static_cast<double>(pRemapping.fGlobalMax),
        std::exp(static_cast<double>(pRenderer.fLogMaxY) * kLn10), 1.0 / static_cast<double>(pRenderer.fExposure),
        static_cast<double>(pRemapping.fDetailMax), std::exp(pRemapping.fDetail.fMean * kLn10));
}

void LogAcceptedPoints(const sPoints& pPoints)
{
    std::fprintf(stderr, "requestType 1 - using  Black: %1.2f   White: %1.2f ->  Scaling:  %1.2f\n",
                 static_cast<double>(pPoints.fBlack), static_cast<double>(pPoints.fWhite),
                 1.0 / static_cast<double>(pPoints.fWhite - pPoints.fBlack));
}

void LogLuminance(const cTmRenderer& pRenderer, const sLuminance& pLuminance)
{
    const int count = pRenderer.fInput->fWidth * pRenderer.fInput->fHeight;
    std::fprintf(
        stderr,
        "Tone Mapped Y Min/Max: [%1.2f  %1.2f] (vs orig [%1.2f  %1.2f]) ave: %1.2f  -> scaling: %1.2f (vs exposure: "
        "%1.2f)\n",
        static_cast<double>(pLuminance.fMin), static_cast<double>(pLuminance.fMax),
        static_cast<double>(pRenderer.fMinY), static_cast<double>(pRenderer.fMaxY),
        pLuminance.fSum / static_cast<double>(count), 1.0 / static_cast<double>(pLuminance.fMax - pLuminance.fMin),
        static_cast<double>(pRenderer.fExposure));
}

} // namespace

void cTmRenderer::ToneMappingPhase2(bool* pCancel, bool* pCancelled)
{
    const int width = fInput->fWidth;
    const int height = fInput->fHeight;
    const float exponent = CompressionExponent(fGlobalContrast);
    const sLayer base{fBaseMin, fBaseMax, fBaseAverage};
    const sLayer detail{fDetailMin, fDetailMax, fDetailAverage};
    const float globalMax = FillGlobalTable(fGlobalLUT, base, fAdaptation, static_cast<double>(exponent));
    const float detailMax = FillDetailTable(fDetailLUT, detail, fAdaptation);
    if (StopIfRequested(pCancel, pCancelled)) return;
    if (base.Range() <= 0.0f || detail.Range() <= 0.0f)
        return; // Required: with a flat layer, luminance and exposure stay unchanged.

    const sExposures exposures = ExposuresFor(exponent, fMaxY, fBaseMax);
    fExposure = exposures.fScale;
    fExposureBase = exposures.fBaseScale;
    const sRemapping remapping{base, detail, fBase, fDetail, fGlobalLUT, fDetailLUT, globalMax, detailMax};
    if (fLogEnabled != 0) LogExposure(*this, exponent, remapping);
    const sLuminance luminance = ReplaceLuminance(remapping, width, height, *fYHMV, pCancel, pCancelled);
    if (StopIfRequested(pCancel, pCancelled)) return;

    if (fRequestType == 1 && fRequestedWhite > 0.0f) {
        fWhite = fRequestedWhite;
        fBlack = fRequestedBlack;
        if (fLogEnabled != 0) LogAcceptedPoints({fBlack, fWhite});
        return;
    }
    tCounters counters = NewCounters();
    if (counters == nullptr) return; // no points: white stays 1 and black 0, so the exposure scale acts
    if (fLogEnabled != 0) LogLuminance(*this, luminance);
    const cHistogram histogram(std::move(counters), *fYHMV, width, height, luminance);
    if (fLogEnabled != 0) histogram.LogPercentiles();
    const sPoints points = histogram.PointsFor(fBlackClip, fWhiteClip);
    fBlack = fRequestedBlack = points.fBlack;
    fWhite = fRequestedWhite = points.fWhite;
}

} // namespace Vornik
