#include "curve/SampleTransfer.h"

#include "base/QuickMath.h"
#include "base/Versions.h"
#include "curve/sRGBCurve.h"

#include <typeinfo>

// A power is computed quickly, with a bound of its error, and both bounds go through the rest of the formula. If they
// end in one float, that is the value; otherwise Function decides.

namespace Vornik
{

namespace
{

constexpr float kLeastBase = 0x1p-20f; // smaller arguments, 0 among them, are left to Function
constexpr double kMostPower = 7.0;     // |power * log(2^-20)| stays below 100

constexpr sBetweenFloats kUncertain = {0.0f, 1.0f};

/// pValue^fPower
struct sPower
{
    double fPower;

    SELVANE_INLINE sBetweenFloats operator()(float pValue) const
    {
        const sBetweenFloats value = Rounded({QuickPower(static_cast<double>(pValue), fPower), kQuickPowerError});
        return pValue >= kLeastBase ? value : kUncertain;
    }
};

/// Linear light to sRGB. The product and the sum are not fused here, which adds less than 2^-50.
struct sLinearTo_sRGB
{
    SELVANE_INLINE sBetweenFloats operator()(float pValue) const
    {
        const double power = QuickPower(static_cast<double>(pValue), kInverseExponent);
        const sBetweenFloats curved = Rounded({power * kScale - kOffset, 4.0 * kQuickPowerError});
        const float straight = pValue * kSlope;
        const bool isCurved = pValue > kLinearKnee;
        return {isCurved ? curved.fLow : straight, isCurved ? curved.fHigh : straight};
    }
};

/// sRGB to linear light
struct s_sRGBToLinear
{
    SELVANE_INLINE sBetweenFloats operator()(float pValue) const
    {
        const double base = (static_cast<double>(pValue) + kOffset) * kInverseScale;
        const sBetweenFloats curved = Rounded({QuickPower(base, kExponent), kQuickPowerError});
        const float straight = pValue * kInverseSlope;
        const bool isCurved = pValue > kEncodedKnee;
        return {isCurved ? curved.fLow : straight, isCurved ? curved.fHigh : straight};
    }
};

struct sSamples
{
    float fLow[kSamplesAtOnce];
    float fHigh[kSamplesAtOnce];
};

float Place(size_t pIndex, float pStep)
{
    return static_cast<float>(pIndex) * pStep;
}

template <class tQuick>
SELVANE_CLONES void SampleQuickly(int pFirst, float pStep, tQuick pQuick, sSamples* pSamples)
{
    for (int i = 0; i < static_cast<int>(kSamplesAtOnce); ++i) {
        const sBetweenFloats value = pQuick(static_cast<float>(pFirst + i) * pStep);
        pSamples->fLow[i] = value.fLow;
        pSamples->fHigh[i] = value.fHigh;
    }
}

template <class tQuick>
void Sample(cTransfer& pTransfer, size_t pFirst, float pStep, tQuick pQuick, float (&pValues)[kSamplesAtOnce])
{
    sSamples samples;
    SampleQuickly(static_cast<int>(pFirst), pStep, pQuick, &samples);
    for (size_t i = 0; i < kSamplesAtOnce; ++i)
        pValues[i] =
            samples.fLow[i] == samples.fHigh[i] ? samples.fLow[i] : pTransfer.Function(Place(pFirst + i, pStep));
}

} // namespace

void SampleTransfer(cTransfer& pTransfer, size_t pFirst, float pStep, float (&pValues)[kSamplesAtOnce])
{
    // The class itself: a descendant may have another Function.
    const std::type_info& type = typeid(pTransfer);
    if (type == typeid(cTransferLinearTo_sRGB)) return Sample(pTransfer, pFirst, pStep, sLinearTo_sRGB{}, pValues);
    if (type == typeid(cTransfer_sRGBToLinear)) return Sample(pTransfer, pFirst, pStep, s_sRGBToLinear{}, pValues);
    if (type == typeid(cTransferGamma)) {
        const double power = 1.0 / static_cast<double>(static_cast<cTransferGamma&>(pTransfer).fGamma);
        if (power > 0.0 && power <= kMostPower) return Sample(pTransfer, pFirst, pStep, sPower{power}, pValues);
    }
    for (size_t i = 0; i < kSamplesAtOnce; ++i)
        pValues[i] = pTransfer.Function(Place(pFirst + i, pStep));
}

} // namespace Vornik
