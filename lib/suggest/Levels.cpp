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
constexpr size_t kNoBin = kBins;
constexpr size_t kTableBins = kBins + 1; // the last takes what does not count

// Neighbours count into different tables: a counter that was just written is slow to read again.
constexpr size_t kTables = 4;

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

/// The bin of a luminance, or kNoBin.
size_t BinOf(float pLuminance)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &pLuminance, sizeof bits);
    return bits - 1 < kInfinityBits - 1 ? bits >> kDroppedBits : kNoBin;
}

/// The first bin such that it and those below hold more than the share.
size_t BinAt(const std::vector<uint64_t>& pBins, double pShare, double pTotal)
{
    double sum = 0.0;
    for (size_t bin = 0; bin < kBins; bin++) {
        sum += static_cast<double>(pBins[bin]);
        if (sum > pShare * pTotal) return bin;
    }
    return kBins - 1;
}

} // namespace

cLevelCount::cLevelCount() : fBins(kTables * kTableBins) {}

void cLevelCount::Add(float pLuminance, uint32_t pPixels)
{
    fBins[BinOf(pLuminance)] += pPixels;
}

void cLevelCount::AddXYZ(const float* pXYZ, size_t pPixels)
{
    uint32_t* const bins = fBins.data();
    size_t i = 0;
    for (; i + kTables <= pPixels; i += kTables)
        for (size_t table = 0; table < kTables; table++)
            bins[table * kTableBins + BinOf(pXYZ[3 * (i + table) + 1])]++;
    for (; i < pPixels; i++)
        Add(pXYZ[3 * i + 1]);
}

void cLevelCount::Join(const cLevelCount& pOther)
{
    std::transform(fBins.begin(), fBins.end(), pOther.fBins.begin(), fBins.begin(), std::plus<>());
}

/// The bins that count, of all tables together.
std::vector<uint64_t> cLevelCount::Sums() const
{
    std::vector<uint64_t> sums(kBins);
    for (size_t table = 0; table < kTables; table++)
        for (size_t bin = 0; bin < kBins; bin++)
            sums[bin] += fBins[table * kTableBins + bin];
    return sums;
}

sLevels cLevelCount::Levels() const
{
    const std::vector<uint64_t> bins = Sums();
    const auto total = static_cast<double>(std::accumulate(bins.begin(), bins.end(), uint64_t{0}));
    if (total == 0.0) return {};
    const size_t low = BinAt(bins, kLowShare, total), high = BinAt(bins, kHighShare, total);
    double sum = 0.0;
    for (size_t bin = 0; bin < kBins; bin++)
        if (bins[bin] > 0) sum += static_cast<double>(bins[bin]) * LogAt(std::clamp(bin, low, high));
    return {LogAt(low), LogAt(BinAt(bins, 0.5, total)), LogAt(high), sum / total, false};
}

} // namespace SelvaneLib
