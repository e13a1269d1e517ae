#include "base/QuickMath.h"

#include "base/Processors.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

// The bounds of the quick functions against long double, over random arguments and at the places where the error is
// largest: the ends of the reduced ranges.

namespace
{

using namespace Vornik;
using namespace SelvaneTest;

constexpr int kArguments = 400000;
constexpr double kQuickLogError = 0x1p-49;
constexpr double kLn2 = 0.693147180559945309;
constexpr double kSqrt2 = 1.41421356237309505;

class cArguments
{
public:
    explicit cArguments(unsigned pSeed) : fEngine(pSeed) {}

    double Unit() { return static_cast<double>(fEngine() >> 11) * 0x1p-53; }
    double Between(double pLow, double pHigh) { return pLow + (pHigh - pLow) * Unit(); }
    int Below(int pEnd) { return static_cast<int>(fEngine() % static_cast<uint64_t>(pEnd)); }
    /// Any normal double above 0 and below 2^1023.
    double Positive() { return std::ldexp(1.0 + Unit(), Below(2045) - 1022); }

private:
    std::mt19937_64 fEngine;
};

double RelativeError(double pGot, long double pExact)
{
    if (pExact == 0.0L) return pGot == 0.0 ? 0.0 : 1.0;
    return static_cast<double>(std::fabs((static_cast<long double>(pGot) - pExact) / pExact));
}

struct sExp
{
    static SELVANE_INLINE double Of(double pX) { return QuickExp(pX); }
};

struct sLog
{
    static SELVANE_INLINE double Of(double pX) { return QuickLog(pX); }
};

std::vector<double> Results(const sProcessorVersion<double>& pVersion, const std::vector<double>& pArguments)
{
    std::vector<double> results(pArguments.size());
    pVersion.fLoop(pArguments.data(), results.data(), static_cast<int>(pArguments.size()));
    return results;
}

/// Half the arguments are any, half stand where the exponent of the result changes.
std::vector<double> ExpArguments()
{
    cArguments random(1);
    std::vector<double> arguments = {0.0, -0.0, 700.0, -700.0, 0x1p-60, 1.0, -1.0};
    for (int i = 0; i < kArguments; i++) {
        const double step = (random.Below(2018) - 1009 + 0.5) * kLn2 * (1.0 + random.Between(-1e-6, 1e-6));
        arguments.push_back(i % 2 == 0 ? random.Between(-700.0, 700.0) : step);
    }
    return arguments;
}

/// Any, near 1, and where the exponent of the reduced argument changes.
std::vector<double> LogArguments()
{
    cArguments random(2);
    std::vector<double> arguments = {1.0, 2.0, 0x1p-1022, 0x1p1023, std::nextafter(1.0, 0.0), std::nextafter(1.0, 2.0)};
    for (int i = 0; i < kArguments; i++) {
        const double step = std::ldexp(kSqrt2 * (1.0 + random.Between(-1e-6, 1e-6)), random.Below(2044) - 1022);
        const double near1 = 1.0 + std::ldexp(random.Between(-1.0, 1.0), -random.Below(50) - 1);
        arguments.push_back(i % 3 == 0 ? random.Positive() : i % 3 == 1 ? step : near1);
    }
    return arguments;
}

TEST(QuickMath, TheExponentialKeepsItsBoundInEveryVersion)
{
    const std::vector<double> arguments = ExpArguments();
    for (const auto& version : ProcessorVersions<double, sExp>()) {
        const std::vector<double> results = Results(version, arguments);
        for (size_t i = 0; i < arguments.size(); i++)
            ASSERT_LT(RelativeError(results[i], std::exp(static_cast<long double>(arguments[i]))), kQuickExpError)
                << version.fName << " " << std::hexfloat << arguments[i];
    }
}

TEST(QuickMath, TheLogarithmKeepsItsBoundInEveryVersion)
{
    const std::vector<double> arguments = LogArguments();
    for (const auto& version : ProcessorVersions<double, sLog>()) {
        const std::vector<double> results = Results(version, arguments);
        for (size_t i = 0; i < arguments.size(); i++)
            ASSERT_LT(RelativeError(results[i], std::log(static_cast<long double>(arguments[i]))), kQuickLogError)
                << version.fName << " " << std::hexfloat << arguments[i];
    }
}

TEST(QuickMath, ThePowerKeepsItsBoundUpToItsLargestExponent)
{
    cArguments random(3);
    for (int i = 0; i < kArguments; i++) {
        const double base = i % 2 == 0 ? random.Positive() : std::ldexp(1.0 + random.Unit(), -random.Below(20));
        const double natural = i % 3 == 0 ? 100.0 : random.Between(-100.0, 100.0);
        const double power = natural / std::log(base) * (1.0 - 0x1p-40);
        if (std::fabs(power) > 1e15) continue;
        const long double exact = std::pow(static_cast<long double>(base), static_cast<long double>(power));
        ASSERT_LT(RelativeError(QuickPower(base, power), exact), kQuickPowerError) << base << " ^ " << power;
    }
}

TEST(QuickMath, TheVersionsAgreeToTheBit)
{
    const auto exponentials = ProcessorVersions<double, sExp>();
    const auto logarithms = ProcessorVersions<double, sLog>();
    const std::vector<double> plainExp = Results(exponentials[0], ExpArguments());
    const std::vector<double> plainLog = Results(logarithms[0], LogArguments());
    for (size_t n = 1; n < exponentials.size(); n++) {
        EXPECT_TRUE(Results(exponentials[n], ExpArguments()) == plainExp) << exponentials[n].fName;
        EXPECT_TRUE(Results(logarithms[n], LogArguments()) == plainLog) << logarithms[n].fName;
    }
}

TEST(QuickMath, BoundsThatRoundToOneFloatAreCertain)
{
    for (const double value : {1.0, -1.0, 0.0, 1.0 + 0x1p-25, 3.5e38 * 0.9, 0x1p-130}) {
        const sBetweenFloats rounded = Rounded({value, 0x1p-42});
        EXPECT_TRUE(rounded.IsCertain()) << value;
        EXPECT_EQ(rounded.fLow, static_cast<float>(value));
    }
}

TEST(QuickMath, BoundsOnBothSidesOfAMidpointAreNot)
{
    const double midpoint = 1.0 + 0x1p-24; // between 1 and the next float
    for (const double value : {midpoint, midpoint - 0x1p-43, midpoint + 0x1p-43, -midpoint}) {
        const sBetweenFloats rounded = Rounded({value, 0x1p-42});
        EXPECT_FALSE(rounded.IsCertain()) << value;
    }
    EXPECT_EQ(Rounded({midpoint, 0x1p-42}).fLow, 1.0f);
    EXPECT_EQ(Rounded({midpoint, 0x1p-42}).fHigh, 1.0f + 0x1p-23f);
    for (const double value : {midpoint - 0x1p-41, midpoint + 0x1p-41})
        EXPECT_TRUE(Rounded({value, 0x1p-42}).IsCertain()) << value;
    EXPECT_FALSE(Rounded({1.0, 1.0}).IsCertain());
    EXPECT_FALSE(Rounded({std::numeric_limits<double>::quiet_NaN(), 0x1p-42}).IsCertain());
}

} // namespace
