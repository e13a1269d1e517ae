#include "render/cTmRenderer.h"

#include "base/Cancel.h"
#include "base/Numeric.h"
#include "bitmap/cBitmapU16T.h"
#include "bitmap/cBitmapXYZ32.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

// The third stage: two tables turn base and detail into a new luminance, which replaces that of the compact picture;
// then an exposure scale, and from a histogram the black and the white point. It all runs on the calling thread.

namespace Vornik
{

namespace
{

constexpr double kLn10 = 0x1.26bb1bbb55516p+1; // 2.302585092994046; powers of ten are exp of the argument times this
constexpr double kInverse65535 = 0x1.0001000100010p-16; // 1.5259021896696422e-05
constexpr double kExposureScale = 0x1.bdb8cdadbe11fp-3; // 0.217637640824031
constexpr double kExposureRate = 0x1.866167ee00c88p+0;  // 1.5249237972318799
constexpr double kDamp = -0x1.b92bf8f493084p-3;         // -0.21541590210324923
constexpr double kPi = 3.141592653589793;
constexpr double kMinusHalfPi = -1.5707963267948966;

constexpr int kBins = kTableSize;
constexpr int kPixelBytes = 14; // a pixel of fYHMV; the luminance is its first four bytes
constexpr int kStrip = 128;     // pixels whose factors are fetched together

/// The larger of two values; a NaN in the second counts as absent.
SELVANE_INLINE float Larger(float pHeld, float pValue)
{
    return pValue > pHeld ? pValue : pHeld;
}

/// Exponent of the global compression, 1 meaning none. A negative contrast expands, three times as fast.
float CompressionExponent(float pGlobalContrast)
{
    const auto share = static_cast<float>(static_cast<double>(pGlobalContrast) * 0.01);
    return share > 0.0f ? 1.0f - share : static_cast<float>(std::fma(-3.0, static_cast<double>(share), 1.0));
}

/// The value for which entry pIndex of a table stands: the minimum at 0, the maximum at 65535.
float Abscissa(int pIndex, float pRange, float pMin)
{
    const auto x = static_cast<float>(static_cast<double>(static_cast<float>(pIndex)) * kInverse65535);
    return std::fma(pRange, x, pMin);
}

/// The adaptation's bend of a table: (|value| / mean)^bend, which multiplies the exponent of ten.
class cBend
{
public:
    cBend(double pBend, double pMean) : fBend(pBend), fInverseMean(1.0 / pMean) {}

    /// The factor by which the bend multiplies the exponent; no factor at a value of zero, where the power is infinite.
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

/// Fills fGlobalLUT: the base layer compressed by pExponent, out of the logarithmic domain. Returns its largest entry.
float BuildGlobalLUT(cTmRenderer& pRenderer, double pExponent)
{
    const float range = pRenderer.fBaseMax - pRenderer.fBaseMin;
    const cBend bend(-(0.05 * (static_cast<double>(pRenderer.fAdaptation) + 1.0)), pRenderer.fBaseAverage);
    float largest = 0.0f;
    for (int i = 0; i < kTableSize; i++) {
        const auto base = static_cast<double>(Abscissa(i, range, pRenderer.fBaseMin));
        double factor = 0.0;
        const double exponent = pRenderer.fAdaptation > 0.0f && bend.Factor(base, factor)
                                    ? factor * pExponent * base * kLn10
                                    : base * pExponent * kLn10;
        pRenderer.fGlobalLUT[i] = static_cast<float>(std::exp(exponent));
        largest = Larger(largest, pRenderer.fGlobalLUT[i]);
    }
    return largest;
}

/// Fills fDetailLUT: the detail layer carried over, out of the logarithmic domain. Returns its largest entry.
float BuildDetailLUT(cTmRenderer& pRenderer)
{
    const float range = pRenderer.fDetailMax - pRenderer.fDetailMin;
    const cBend bend(std::fma(-static_cast<double>(pRenderer.fAdaptation), 0.02, -0.01), pRenderer.fDetailAverage);
    float largest = 0.0f;
    for (int i = 0; i < kTableSize; i++) {
        const auto detail = static_cast<double>(Abscissa(i, range, pRenderer.fDetailMin));
        double factor = 0.0;
        const double exponent =
            pRenderer.fAdaptation > 0.0f && bend.Factor(detail, factor) ? factor * detail * kLn10 : detail * kLn10;
        pRenderer.fDetailLUT[i] = static_cast<float>(std::exp(exponent));
        largest = Larger(largest, pRenderer.fDetailLUT[i]);
    }
    return largest;
}

/// Rounds to float through memory: at -O2 g++ 12 puts two neighbouring chains of roundings into one vector and drops
/// the inner rounding, which changes the last bit of a quarter to a half of all results.
float Narrow(double pValue)
{
    const volatile float narrow = static_cast<float>(pValue);
    return narrow;
}

/// The numbers of the exposure that do not depend on the peak.
struct sExposureBlend
{
    float fWeight;   ///< share of the peak, 0 to 1: 0 at exponents 0 and 1, 1 at one half
    float fBasic;    ///< the scale without the peak
    double fDamping; ///< loss as contrast rises, 1 down to about 0.785
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

void SetExposure(cTmRenderer& pRenderer, float pExponent)
{
    const auto exponent = static_cast<double>(pExponent);
    const sExposureBlend blend = BlendOf(pExponent);
    const float peak = Narrow(std::pow(static_cast<double>(pRenderer.fMaxY), -exponent));
    const float basePeak = Narrow(std::exp(static_cast<double>(pRenderer.fBaseMax) * -exponent * kLn10));
    pRenderer.fExposure = Exposure(blend, peak);
    pRenderer.fExposureBase = Exposure(blend, basePeak);
}

void LogExposure(const cTmRenderer& pRenderer, double pExponent, float pGlobalMax, float pDetailMax)
{
    std::fprintf(
        stderr,
        "GlobalContrast Log10: %1.2f -> GlobalOutMax: %1.2f (vs orig: %1.2f  exposure: %1.2f)  - DetailOutMax:  "
        "%1.2f (vs DetailAverage: %1.2f)\n",
        pExponent, static_cast<double>(pGlobalMax), std::exp(static_cast<double>(pRenderer.fLogMaxY) * kLn10),
        1.0 / static_cast<double>(pRenderer.fExposure), static_cast<double>(pDetailMax),
        std::exp(pRenderer.fDetailAverage * kLn10));
}

/// Running extremes and sum of the new luminance, in the order of the pixels.
struct sLuminance
{
    float fMin; ///< begins at the product of the tables' maxima, which bounds every value
    float fMax;
    double fSum;

    /// Required: a value that sets a new maximum is not tried for the minimum. NaN changes neither.
    void Add(float pValue)
    {
        if (pValue > fMax)
            fMax = pValue;
        else
            fMin = pValue < fMin ? pValue : fMin;
        fSum += static_cast<double>(pValue);
    }
};

SELVANE_INLINE int TableIndex(float pValue, float pMin, float pScale)
{
    const int index = TruncateToInt32((pValue - pMin) * pScale);
    const int low = index > 0 ? index : 0;
    return low < kTableSize - 1 ? low : kTableSize - 1;
}

/// Table indices of pCount values, at most kStrip.
SELVANE_CLONES void TableIndices(const float* __restrict pValues, int pCount, float pMin, float pScale,
                                 int* __restrict pIndices)
{
    for (int i = 0; i < pCount; i++)
        pIndices[i] = TableIndex(pValues[i], pMin, pScale);
}

/// Replaces the luminance of one row of the compact picture.
class cRemapping
{
public:
    explicit cRemapping(const cTmRenderer& pRenderer)
        : fRenderer(pRenderer), fBaseScale(kToSample16 / (pRenderer.fBaseMax - pRenderer.fBaseMin)),
          fDetailScale(kToSample16 / (pRenderer.fDetailMax - pRenderer.fDetailMin))
    {
    }

    void Row(const float* pBase, const float* pDetail, int pWidth, unsigned char* pPixels, sLuminance& pLuminance) const
    {
        int base[kStrip];
        int detail[kStrip];
        for (int x = 0; x < pWidth; x += kStrip) {
            const int count = std::min(kStrip, pWidth - x);
            TableIndices(pBase + x, count, fRenderer.fBaseMin, fBaseScale, base);
            TableIndices(pDetail + x, count, fRenderer.fDetailMin, fDetailScale, detail);
            for (int i = 0; i < count; i++, pPixels += kPixelBytes) {
                const float luminance = fRenderer.fDetailLUT[detail[i]] * fRenderer.fGlobalLUT[base[i]];
                std::memcpy(pPixels, &luminance, sizeof luminance);
                pLuminance.Add(luminance);
            }
        }
    }

private:
    const cTmRenderer& fRenderer;
    float fBaseScale;
    float fDetailScale;
};

/// Replaces the luminance of all rows. A row at whose start the request to stop is seen is left alone, and the walk
/// goes on.
void ReplaceLuminance(cTmRenderer& pRenderer, const bool* pCancel, bool* pCancelled, sLuminance& pLuminance)
{
    const cRemapping remapping(pRenderer);
    const int width = pRenderer.fInput->fWidth;
    for (int y = 0; y < pRenderer.fInput->fHeight; y++) {
        auto* pixels = reinterpret_cast<unsigned char*>(pRenderer.fYHMV->GetScanline(y));
        if (StopIfRequested(pCancel, pCancelled)) continue;
        const auto first = static_cast<size_t>(y) * static_cast<size_t>(width);
        remapping.Row(pRenderer.fBase + first, pRenderer.fDetail + first, width, pixels, pLuminance);
    }
}

void LogAcceptedPoints(const cTmRenderer& pRenderer)
{
    std::fprintf(stderr, "requestType 1 - using  Black: %1.2f   White: %1.2f ->  Scaling:  %1.2f\n",
                 static_cast<double>(pRenderer.fBlack), static_cast<double>(pRenderer.fWhite),
                 1.0 / static_cast<double>(pRenderer.fWhite - pRenderer.fBlack));
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

/// Histogram of the new luminance between its extremes, and the two scans that find a share of the pixels in it. The
/// counters are the caller's.
class cHistogram
{
public:
    cHistogram(uint32_t* pCounters, const sLuminance& pLuminance, float pPixels)
        : fCounters(pCounters), fMin(pLuminance.fMin),
          fScale(pLuminance.fMax > pLuminance.fMin ? kToSample16 / (pLuminance.fMax - pLuminance.fMin) : 1.0f),
          fPixels(pPixels), fBinWidth(1.0f / fScale)
    {
    }

    /// Adds a row of the compact picture.
    void AddRow(const unsigned char* pPixels, int pWidth)
    {
        for (int x = 0; x < pWidth; x++, pPixels += kPixelBytes) {
            float luminance = 0.0f;
            std::memcpy(&luminance, pPixels, sizeof luminance);
            fCounters[TableIndex(luminance, fMin, fScale)]++;
        }
    }

    /// 1 to 65535: how many bins from the bottom make the sum stop. Required: the last counter never counts.
    template <class tStop>
    int Rise(tStop pStop) const
    {
        float sum = 0.0f;
        for (int n = 1;; n++) {
            sum += static_cast<float>(fCounters[n - 1]);
            if (pStop(sum) || n == kBins - 1) return n;
        }
    }

    /// The bin, counted from the top, from which on at most pLimit pixels lie below; 65535 when that is so for all.
    /// Required: the first counter never counts.
    int Fall(float pLimit) const
    {
        if (fPixels <= pLimit) return kBins - 1;
        float sum = fPixels;
        for (int n = kBins - 2;; n--) {
            sum -= static_cast<float>(fCounters[n + 1]);
            if (sum <= pLimit || n == 0) return n;
        }
    }

    /// The luminance at the lower end of a bin, one fused step.
    float PointAt(int pBin) const { return std::fma(fBinWidth, static_cast<float>(pBin), fMin); }

    float Pixels() const { return fPixels; }
    float BinWidth() const { return fBinWidth; }
    /// PointAt in two roundings, as the log line prints it.
    float PrintedPointAt(int pBin) const { return fMin + fBinWidth * static_cast<float>(pBin); }

private:
    uint32_t* fCounters;
    float fMin;
    float fScale;
    float fPixels; ///< width times height, a float product
    float fBinWidth;
};

void LogPercentiles(const cHistogram& pHistogram)
{
    const auto pixels = static_cast<double>(pHistogram.Pixels());
    const auto onePerCent = static_cast<float>(pixels * 0.01);
    const float half = pHistogram.Pixels() * 0.5f;
    const int low = onePerCent < 0.0f ? 0 : pHistogram.Rise([=](float pSum) { return pSum > onePerCent; });
    const int median = half <= 0.0f ? 0 : pHistogram.Rise([=](float pSum) { return pSum >= half; });
    const int high1 = pHistogram.Fall(static_cast<float>(pixels * 0.99));
    const int high2 = pHistogram.Fall(static_cast<float>(pixels * 0.9999));
    const int high3 = pHistogram.Fall(static_cast<float>(pixels * 0.99995));
    // Required: the median's value goes without the minimum.
    std::fprintf(
        stderr,
        "Linear Perc1 at: %d (%1.2f) -  Median: %d (%1.2f)  - perc99andhigher:  %d  %d  %d  (%1.2f  %1.2f  %1.2f) -  "
        "max: %d  (%1.2f)\n",
        low >> 8, static_cast<double>(pHistogram.PrintedPointAt(low)), median >> 8,
        static_cast<double>(pHistogram.BinWidth() * static_cast<float>(median)), high1 >> 8, high2 >> 8, high3 >> 8,
        static_cast<double>(pHistogram.PrintedPointAt(high1)), static_cast<double>(pHistogram.PrintedPointAt(high2)),
        static_cast<double>(pHistogram.PrintedPointAt(high3)), 255,
        static_cast<double>(pHistogram.PrintedPointAt(kBins - 1)));
}

/// Black and white point from the shares of pixels to clip; both are handed out to the host as well.
void SetPoints(cTmRenderer& pRenderer, const cHistogram& pHistogram)
{
    const double pixels = static_cast<double>(static_cast<float>(pRenderer.fInput->fWidth)) *
                          static_cast<double>(static_cast<float>(pRenderer.fInput->fHeight));
    const auto blackLimit = static_cast<float>(static_cast<double>(pRenderer.fBlackClip) * 0.01 * pixels);
    const auto whiteLimit =
        static_cast<float>(std::fma(-static_cast<double>(pRenderer.fWhiteClip), 0.01, 1.0) * pixels);
    const int black = blackLimit <= 0.0f ? 0 : pHistogram.Rise([=](float pSum) { return pSum >= blackLimit; });
    pRenderer.fBlack = pHistogram.PointAt(black);
    pRenderer.fWhite = pHistogram.PointAt(pHistogram.Fall(whiteLimit));
    pRenderer.fRequestedBlack = pRenderer.fBlack;
    pRenderer.fRequestedWhite = pRenderer.fWhite;
}

struct sFree
{
    void operator()(void* pBlock) const { std::free(pBlock); }
};

/// Measures the new luminance. Without memory for the counters there are no points: white and black keep 1 and 0, and
/// the final stage goes by exposure.
void FindPoints(cTmRenderer& pRenderer, const sLuminance& pLuminance)
{
    const std::unique_ptr<uint32_t, sFree> counters(static_cast<uint32_t*>(std::calloc(kBins, sizeof(uint32_t))));
    if (counters == nullptr) return;
    const int width = pRenderer.fInput->fWidth;
    const int height = pRenderer.fInput->fHeight;
    if (pRenderer.fLogEnabled != 0) LogLuminance(pRenderer, pLuminance);
    cHistogram histogram(counters.get(), pLuminance, static_cast<float>(width) * static_cast<float>(height));
    for (int y = 0; y < height; y++)
        histogram.AddRow(reinterpret_cast<const unsigned char*>(pRenderer.fYHMV->GetScanline(y)), width);
    if (pRenderer.fLogEnabled != 0) LogPercentiles(histogram);
    SetPoints(pRenderer, histogram);
}

} // namespace

void cTmRenderer::ToneMappingPhase2(bool* pCancel, bool* pCancelled)
{
    const float exponent = CompressionExponent(fGlobalContrast);
    const float globalMax = BuildGlobalLUT(*this, static_cast<double>(exponent));
    const float detailMax = BuildDetailLUT(*this);
    if (StopIfRequested(pCancel, pCancelled)) return;
    if (fBaseMax - fBaseMin <= 0.0f || fDetailMax - fDetailMin <= 0.0f)
        return; // Required: a flat layer keeps the input's luminance and whatever exposure there was.
    SetExposure(*this, exponent);
    if (fLogEnabled != 0) LogExposure(*this, static_cast<double>(exponent), globalMax, detailMax);
    sLuminance luminance{.fMin = detailMax * globalMax, .fMax = 0.0f, .fSum = 0.0};
    ReplaceLuminance(*this, pCancel, pCancelled, luminance);
    if (StopIfRequested(pCancel, pCancelled)) return;
    if (fRequestType == 1 && fRequestedWhite > 0.0f) {
        fWhite = fRequestedWhite;
        fBlack = fRequestedBlack;
        if (fLogEnabled != 0) LogAcceptedPoints(*this);
        return;
    }
    FindPoints(*this, luminance);
}

} // namespace Vornik
