#include "base/Log10.h"

#include "base/Processors.h"
#include "bitmap/cBitmapXYZ32.h"
#include "render/cTmRenderer.h"
#include "support/ArmLogarithms.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>
#include <vector>

// The library's logarithm gives, on every machine, what log10f of glibc 2.36 gives on x86-64. The digests below were
// made of that function's values, by a program of its own. Where the C library is one of those, its values are compared
// too.

namespace
{

using namespace Vornik;
using namespace SelvaneTest;

constexpr uint32_t kFirst = 1;           // bits of the smallest positive float
constexpr uint32_t kBehind = 0x7F800000; // bits of infinity
constexpr uint32_t kStratum = 2048;      // neighbouring floats of which one is taken
constexpr uint64_t kDigestOfStrata = 0xE7E5DE5034019775;
constexpr uint64_t kDigestOfAll = 0x7DF468C56753D4C9;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct sLog10
{
    static SELVANE_INLINE float Of(float pValue) { return Log10(pValue); }
};

using cLoops = std::vector<std::pair<std::string, std::function<void(const float*, float*, int)>>>;

/// The library's own loop over pixels, with every value above pFloor.
void LogarithmsOfPixels(const float* pFrom, float* pTo, int pCount, float pFloor)
{
    cBitmapXYZ32 picture(pCount, 1);
    for (int i = 0; i < pCount; i++)
        picture.fData[3 * i + 1] = pFrom[i];
    bool cancel = false;
    bool cancelled = false;
    float smallest = kInfinity;
    float largest = 0.0f;
    CalcMinMaxLog_tile(0, 0, 1, &picture, pTo, pCount, &cancel, &cancelled, &smallest, &largest, pFloor);
}

/// All compiled forms of the logarithm that this machine can run.
cLoops Loops()
{
    cLoops loops;
    for (const auto& version : ProcessorVersions<float, sLog10>())
        loops.emplace_back(version.fName, version.fLoop);
    loops.emplace_back("pixels", [](const float* pFrom, float* pTo, int pCount) {
        LogarithmsOfPixels(pFrom, pTo, pCount, std::bit_cast<float>(kFirst));
    });
    return loops;
}

/// FNV-1a, 64 bits, over the bits of each value.
uint64_t Add(uint64_t pDigest, const std::vector<float>& pValues)
{
    for (const float value : pValues)
        pDigest = (pDigest ^ std::bit_cast<uint32_t>(value)) * 0x100000001B3u;
    return pDigest;
}

constexpr uint64_t kEmptyDigest = 0xCBF29CE484222325u;

/// One float of each stratum, 1044480 of them.
std::vector<float> Stratified()
{
    std::vector<float> values;
    uint64_t state = 1;
    for (uint32_t start = 0; start < kBehind; start += kStratum) {
        state = state * 6364136223846793005u + 1442695040888963407u;
        values.push_back(std::bit_cast<float>(std::max(kFirst, start + static_cast<uint32_t>(state >> 53))));
    }
    return values;
}

std::vector<float> Logarithms(const cLoops::value_type& pLoop, const std::vector<float>& pValues)
{
    std::vector<float> logarithms(pValues.size());
    pLoop.second(pValues.data(), logarithms.data(), static_cast<int>(pValues.size()));
    return logarithms;
}

float SystemLog10(float pValue)
{
    volatile float value = pValue; // so that no compiler works it out
    return ::log10f(value);
}

/// Whether the C library's log10f is the one whose values are wanted: glibc's on x86-64, but for newer ones that round
/// correctly. Their value for 3 is 0x1.e8927ap-2.
bool SystemIsTheModel()
{
#if defined(__x86_64__) && defined(__GLIBC__)
    return SystemLog10(3.0f) == 0x1.e89278p-2f;
#else
    return false;
#endif
}

std::vector<float> SystemLogarithms(const std::vector<float>& pValues)
{
    std::vector<float> logarithms(pValues.size());
    std::transform(pValues.begin(), pValues.end(), logarithms.begin(), SystemLog10);
    return logarithms;
}

void ExpectSameBits(const std::vector<float>& pValues, const std::vector<float>& pGot,
                    const std::vector<float>& pExpected, const std::string& pName)
{
    for (size_t i = 0; i < pValues.size(); i++)
        ASSERT_EQ(std::bit_cast<uint32_t>(pGot[i]), std::bit_cast<uint32_t>(pExpected[i]))
            << pName << ": the logarithm of " << std::hexfloat << pValues[i] << " is " << pGot[i] << ", expected "
            << pExpected[i];
}

TEST(Log10, AMillionFloatsHaveTheBitsOfTheModelInEveryVersion)
{
    const std::vector<float> values = Stratified();
    ASSERT_EQ(values.size(), 1044480u);
    for (const auto& loop : Loops())
        EXPECT_EQ(Add(kEmptyDigest, Logarithms(loop, values)), kDigestOfStrata) << loop.first;
}

TEST(Log10, AMillionFloatsHaveTheBitsOfTheSystem)
{
    if (!SystemIsTheModel()) GTEST_SKIP() << "the C library's log10f is another one";
    const std::vector<float> values = Stratified();
    const std::vector<float> expected = SystemLogarithms(values);
    ASSERT_EQ(Add(kEmptyDigest, expected), kDigestOfStrata);
    for (const auto& loop : Loops())
        ExpectSameBits(values, Logarithms(loop, values), expected, loop.first);
}

TEST(Log10, EveryPositiveFloatHasTheBitsOfTheModelInEveryVersion)
{
    if (std::getenv("SELVANE_LONG") == nullptr) GTEST_SKIP() << "the long form, SELVANE_LONG, takes all 2^31";
    constexpr uint32_t kBlock = 1u << 20;
    const cLoops loops = Loops();
    std::vector<uint64_t> digests(loops.size(), kEmptyDigest);
    std::vector<float> values;
    for (uint32_t start = kFirst; start < kBehind; start += kBlock) {
        values.resize(std::min(kBlock, kBehind - start));
        for (uint32_t i = 0; i < values.size(); i++)
            values[i] = std::bit_cast<float>(start + i);
        for (size_t n = 0; n < loops.size(); n++)
            digests[n] = Add(digests[n], Logarithms(loops[n], values));
    }
    for (size_t n = 0; n < loops.size(); n++)
        EXPECT_EQ(digests[n], kDigestOfAll) << loops[n].first;
}

TEST(Log10, ItIsALogarithm)
{
    for (const float value : Stratified()) {
        const long double exact = std::log10(static_cast<long double>(value));
        const auto nearest = static_cast<float>(exact);
        const float place = std::nextafter(std::fabs(nearest), kInfinity) - std::fabs(nearest);
        ASSERT_LE(std::fabs(static_cast<long double>(Log10(value)) - exact), 2.0L * static_cast<long double>(place))
            << std::hexfloat << value;
    }
    EXPECT_EQ(std::bit_cast<uint32_t>(Log10(1.0f)), 0u);
    EXPECT_EQ(Log10(10.0f), 1.0f);
}

TEST(Log10, TheTableHoldsTheLogarithmsOfItsReciprocals)
{
    for (const sLogEntry& entry : kLogTable) // two numbers of it are a little beside the nearest double
        EXPECT_LT(std::fabs(static_cast<long double>(entry.fLog) + std::log(static_cast<long double>(entry.fInverse))),
                  0x1p-53L)
            << std::hexfloat << entry.fInverse;
}

TEST(Log10, WhereArmFusesItsStepsTheBitsAreStillThoseOfTheModel)
{
    for (const sArmLogarithm& known : kArmLogarithms) {
        const float value = std::bit_cast<float>(known.fValue);
        ASSERT_NE(known.fLogarithm, known.fOnArm);
        for (const auto& loop : Loops())
            ASSERT_EQ(std::bit_cast<uint32_t>(Logarithms(loop, {value})[0]), known.fLogarithm)
                << loop.first << " " << std::hexfloat << value;
        if (SystemIsTheModel()) {
            ASSERT_EQ(std::bit_cast<uint32_t>(SystemLog10(value)), known.fLogarithm);
        }
    }
}

/// Bits of a value and of its logarithm.
struct sPair
{
    uint32_t fValue;
    uint32_t fLogarithm;
};

TEST(Log10, EndsAndPowersOfTwo)
{
    const sPair pairs[] = {
        {0x00000001, 0xC23369F4}, // 2^-149, the smallest subnormal: -44.853455
        {0x007FFFFF, 0xC217B818}, // the largest subnormal: -37.92978
        {0x00800000, 0xC217B818}, // 2^-126
        {0x3F7FFFFF, 0xB2DE5BD9}, // below 1
        {0x3F800000, 0x00000000}, // 1
        {0x3F800001, 0x335E5BD8}, // above 1
        {0x40000000, 0x3E9A209B}, // 2: 0.30103
        {0x7F7FFFFF, 0x421A209B}, // the largest float: 38.53184
    };
    for (const sPair& pair : pairs)
        for (const auto& loop : Loops())
            EXPECT_EQ(std::bit_cast<uint32_t>(Logarithms(loop, {std::bit_cast<float>(pair.fValue)})[0]),
                      pair.fLogarithm)
                << loop.first << " " << std::hex << pair.fValue;
}

TEST(Log10, OtherArguments)
{
    const sPair pairs[] = {
        {0x00000000, 0xFF800000}, // 0: -infinity
        {0x80000000, 0xFF800000}, // -0: -infinity
        {0x7F800000, 0x7F800000}, // infinity: itself
        {0x80000001, 0x7FC00000}, // below 0: the positive quiet NaN
        {0xBF800000, 0x7FC00000}, //
        {0xFF7FFFFF, 0x7FC00000}, //
        {0xFF800000, 0x7FC00000}, // -infinity
        {0x7FC00000, 0x7FC00000}, // quiet NaNs: themselves
        {0xFFC12345, 0xFFC12345}, //
        {0x7F812345, 0x7FC12345}, // signalling NaNs: their quiet forms
        {0xFF800001, 0xFFC00001}, //
    };
    for (const sPair& pair : pairs)
        for (const auto& version : ProcessorVersions<float, sLog10>()) {
            // In memory: a register of the old kind would make a signalling NaN quiet on the way.
            float value;
            float got;
            std::memcpy(&value, &pair.fValue, sizeof value);
            version.fLoop(&value, &got, 1);
            EXPECT_EQ(std::bit_cast<uint32_t>(got), pair.fLogarithm) << version.fName << " " << std::hex << pair.fValue;
        }
}

TEST(Log10, PixelsWithAFloorOfZeroOrBelowTakeTheSameValues)
{
    const std::vector<float> values = {0.0f, -0.0f, -1.0f, 2.0f, 0x1p-149f, kInfinity};
    std::vector<float> got(values.size());
    LogarithmsOfPixels(values.data(), got.data(), static_cast<int>(values.size()), -kInfinity);
    for (size_t i = 0; i < values.size(); i++)
        EXPECT_EQ(std::bit_cast<uint32_t>(got[i]), std::bit_cast<uint32_t>(Log10(values[i]))) << values[i];
}

TEST(Log10, AnInfinitePixelStaysInfiniteAmongOthers)
{
    std::vector<float> values(300, 2.0f);
    values[0] = values[131] = values[299] = kInfinity;
    std::vector<float> got(values.size());
    LogarithmsOfPixels(values.data(), got.data(), static_cast<int>(values.size()), 0x1p-149f);
    for (size_t i = 0; i < values.size(); i++)
        EXPECT_EQ(std::bit_cast<uint32_t>(got[i]), values[i] == 2.0f ? 0x3E9A209Bu : 0x7F800000u) << i;
}

} // namespace
