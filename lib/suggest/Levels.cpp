#include "suggest/Levels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>

namespace SelvaneLib
{

namespace
{

// The upper bits of a float above 0 rise with its value: 8 of the exponent, 6 of the mantissa.
constexpr int kDroppedBits = 17;
constexpr uint32_t kInfinityBits = 0x7F800000;
constexpr size_t kBins = kInfinityBits >> kDroppedBits;

constexpr double kLowShare = 0.01;
constexpr double kHighShare = 0.9975;

float FloatOf(uint32_t pBits)
{
    float value = 0.0f;
    std::memcpy(&value, &pBits, sizeof value);
    return value;
}

/// log10 of the luminance in the middle of a bin.
double LogAt(size_t pBin)
{
    const auto bits = static_cast<uint32_t>(pBin << kDroppedBits);
    return std::log10(static_cast<double>(FloatOf(bits + (1u << (kDroppedBits - 1)))));
}

} // namespace

cLevelCount::cLevelCount() : fBins(kBins) {}

void cLevelCount::Add(float pLuminance, uint64_t pPixels)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &pLuminance, sizeof bits);
    if (bits - 1 < kInfinityBits - 1) fBins[bits >> kDroppedBits] += static_cast<uint32_t>(pPixels);
}

void cLevelCount::Join(const cLevelCount& pOther)
{
    std::transform(fBins.begin(), fBins.end(), pOther.fBins.begin(), fBins.begin(), std::plus<>());
}

uint64_t cLevelCount::Total() const
{
    return std::accumulate(fBins.begin(), fBins.end(), uint64_t{0});
}

/// The first bin such that it and those below hold more than the share.
size_t cLevelCount::BinAt(double pShare, uint64_t pTotal) const
{
    uint64_t sum = 0;
    for (size_t bin = 0; bin < kBins; bin++) {
        sum += fBins[bin];
        if (static_cast<double>(sum) > pShare * static_cast<double>(pTotal)) return bin;
    }
    return kBins - 1;
}

sLevels cLevelCount::Levels() const
{
    const uint64_t total = Total();
    if (total == 0) return {};
    const size_t low = BinAt(kLowShare, total), high = BinAt(kHighShare, total);
    double sum = 0.0;
    for (size_t bin = 0; bin < kBins; bin++)
        if (fBins[bin] > 0) sum += static_cast<double>(fBins[bin]) * LogAt(std::clamp(bin, low, high));
    return {LogAt(low), LogAt(BinAt(0.5, total)), LogAt(high), sum / static_cast<double>(total), false};
}

} // namespace SelvaneLib
