#include "render/LayerTables.h"

#include "base/Numeric.h"
#include "base/QuickMath.h"
#include "base/Versions.h"

#include <cmath>
#include <cstdlib>

// Powers of ten are exp of the exponent times log(10). An entry is computed quickly, with a bound of its error. Where
// the bounds round to two floats, the C library's exp and pow decide.

namespace Vornik
{

namespace
{

constexpr int kStrip = 128;
constexpr double kMostExponent = 700.0; // of the quick exp
constexpr double kMostPower = 100.0;    // |bend * log(distance)|
constexpr double kLeastDistance = 0x1p-1000;

/// The natural exponent of each value of a layer: value * compression * log(10). With adaptation it is also multiplied
/// by (|value| / mean)^bend, but not for 0 and NaN: at 0 the power would be infinite.
class cExponents
{
public:
    cExponents(float pAdaptation, double pBend, double pMean, double pCompression)
        : fIsBent(pAdaptation > 0.0f), fBend(pBend), fInverseMean(1.0 / pMean), fCompression(pCompression)
    {
    }

    bool IsBent() const { return fIsBent; }

    double Exact(double pValue) const
    {
        const double distance = std::fabs(fInverseMean * pValue);
        if (!fIsBent || !(distance > 0.0)) return pValue * fCompression * kLn10;
        return std::pow(distance, fBend) * fCompression * pValue * kLn10;
    }

    /// The factor of the quick form, and the bound of the error that it gives an entry.
    template <bool tIsBent>
    SELVANE_INLINE sBounded Quick(double pValue) const
    {
        const double straight = pValue * fCompression * kLn10;
        if (!tIsBent) return Entry(straight, kQuickExpError, true);
        const double distance = std::fabs(fInverseMean * pValue);
        const double power = fBend * QuickLog(distance);
        const double bent = QuickExp(power) * fCompression * pValue * kLn10;
        const bool sure = std::fabs(power) <= kMostPower && distance >= kLeastDistance;
        return Entry(bent, kQuickExpError + std::fabs(bent) * kQuickPowerError, sure);
    }

private:
    /// An error of 1 makes an entry uncertain.
    static SELVANE_INLINE sBounded Entry(double pExponent, double pError, bool pIsSure)
    {
        const bool sure = pIsSure & (std::fabs(pExponent) <= kMostExponent);
        return {QuickExp(sure ? pExponent : 0.0), sure ? pError : 1.0};
    }

    bool fIsBent;
    double fBend;
    double fInverseMean;
    double fCompression;
};

/// The value that entry pIndex stands for.
SELVANE_INLINE float Abscissa(int pIndex, const sLayer& pLayer)
{
    const auto x = static_cast<float>(static_cast<double>(static_cast<float>(pIndex)) * kFromSample16D);
    return std::fma(pLayer.Range(), x, pLayer.fMin);
}

template <bool tIsBent>
SELVANE_CLONES void FillStrip(int pFirst, sLayer pLayer, cExponents pExponents, float* pLow, float* pHigh)
{
    for (int n = 0; n < kStrip; n++) {
        const auto value = static_cast<double>(Abscissa(pFirst + n, pLayer));
        const sBetweenFloats entry = Rounded(pExponents.Quick<tIsBent>(value));
        pLow[n] = entry.fLow;
        pHigh[n] = entry.fHigh;
    }
}

float FillTable(float* pTable, const sLayer& pLayer, const cExponents& pExponents)
{
    const auto fill = pExponents.IsBent() ? FillStrip<true> : FillStrip<false>;
    float largest = 0.0f;
    float high[kStrip];
    for (int first = 0; first < kTableSize; first += kStrip) {
        float* const entries = pTable + first;
        fill(first, pLayer, pExponents, entries, high);
        for (int n = 0; n < kStrip; n++) {
            if (entries[n] != high[n])
                entries[n] =
                    static_cast<float>(std::exp(pExponents.Exact(static_cast<double>(Abscissa(first + n, pLayer)))));
            largest = entries[n] > largest ? entries[n] : largest; // NaN counts as absent
        }
    }
    return largest;
}

} // namespace

float FillGlobalTable(float* pTable, const sLayer& pBase, float pAdaptation, float pExponent)
{
    const double bend = -(0.05 * (static_cast<double>(pAdaptation) + 1.0));
    return FillTable(pTable, pBase, cExponents(pAdaptation, bend, pBase.fMean, static_cast<double>(pExponent)));
}

float FillDetailTable(float* pTable, const sLayer& pDetail, float pAdaptation)
{
    const double bend = std::fma(-static_cast<double>(pAdaptation), 0.02, -0.01);
    return FillTable(pTable, pDetail, cExponents(pAdaptation, bend, pDetail.fMean, 1.0));
}

} // namespace Vornik
