#include "curve/cTransfer.h"

#include "Bits.h"
#include "support/Allocations.h"
#include "support/Capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <stdexcept>
#include <type_traits>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Values around the places where a curve changes its formula, and random ones over the unit interval and beyond.
std::vector<float> Probes()
{
    std::vector<float> probes = {0.0f,  -0.0f, 1.0f, 2.0f,   -1.0f,     0.5f,       1e-30f, 1e30f,
                                 -0.2f, 0.75f, kNaN, 1e-42f, kInfinity, -kInfinity, 12.5f};
    for (const uint32_t knee : {0x3B4D2E1Cu, 0x3D25AEE6u, 0x3F800000u}) {
        for (uint32_t bits = knee - 3; bits <= knee + 3; ++bits)
            probes.push_back(FloatOf(bits));
    }
    // Where a division by 1.055 gives another float than the product with its reciprocal.
    probes.insert(probes.end(), {FloatOf(0x501617DAu), FloatOf(0x591339E9u)});
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i)
        probes.push_back(static_cast<float>(random() >> 8) * 0x1p-24f);
    return probes;
}

float Gamma(float pGamma, float pValue)
{
    return static_cast<float>(std::pow(static_cast<double>(pValue), 1.0 / static_cast<double>(pGamma)));
}

/// A transfer made of a function, which notes the arguments of its calls.
class cNotingTransfer : public cTransfer
{
public:
    explicit cNotingTransfer(float (*pFunction)(float)) : fFunction(pFunction) {}

    cTransfer* Clone() const override { return new cNotingTransfer(fFunction); }
    float Function(float pValue) override
    {
        fArguments.push_back(pValue);
        return fFunction(pValue);
    }

    float (*fFunction)(float);
    std::vector<float> fArguments;
};

// Layout

TEST(cTransfer, SlotsFollowTheDestructors)
{
    EXPECT_EQ(SlotOf(&cTransfer::Clone), 2);
    EXPECT_EQ(SlotOf(&cTransfer::Function), 3);
    EXPECT_EQ(SlotOf(&cTransferLUT::BuildCache), 2);
}

TEST(cTransfer, FieldsStandBehindTheTablePointer)
{
    EXPECT_EQ(sizeof(cTransfer), sizeof(void*));
    EXPECT_EQ(sizeof(cTransferLUT), sizeof(void*));
    const cTransferGamma gamma(2.0f);
    EXPECT_EQ(OffsetIn(gamma, gamma.fGamma), ptrdiff_t{sizeof(void*)});
    const cTransfer_Table table;
    EXPECT_EQ(OffsetIn(table, table.fTable), ptrdiff_t{sizeof(void*)});
    EXPECT_EQ(OffsetIn(table, table.fTableSize), ptrdiff_t{2 * sizeof(void*)});
}

TEST(cTransfer, CacheTablesLieInsideTheObject)
{
    EXPECT_EQ(sizeof(cTransferLUT_I8F32), sizeof(void*) + 256 * sizeof(float));
    EXPECT_EQ(sizeof(cTransferLUT_I16F32), sizeof(void*) + 65536 * sizeof(float));
    EXPECT_EQ(sizeof(cTransferLUT_F32I8), sizeof(void*) + 65536);
    EXPECT_EQ(sizeof(cTransferLUT_F32I16), sizeof(void*) + 65536 * sizeof(unsigned short));
}

TEST(cTransfer, FamilyIsAsDescribed)
{
    static_assert(std::is_abstract_v<cTransfer> && std::is_abstract_v<cTransferLUT>);
    static_assert(std::has_virtual_destructor_v<cTransfer> && std::has_virtual_destructor_v<cTransferLUT>);
    static_assert(std::is_base_of_v<cTransfer, cTransfer_Table> &&
                  std::is_base_of_v<cTransferLUT, cTransferLUT_F32I16>);
    static_assert(!std::is_copy_constructible_v<cTransfer_Table> && !std::is_copy_assignable_v<cTransfer_Table>);
    static_assert(std::is_constructible_v<cTransfer_Table, unsigned short*, int>);
    static_assert(!std::is_constructible_v<cTransfer_Table, const unsigned short*, int>);
}

// Gamma

TEST(cTransferGamma, ExponentIsTheReciprocalInDouble)
{
    for (const float gamma : {2.2f, 1.8f, FloatOf(0x3EE8BA2Eu), FloatOf(0x3F0E38E4u), 1.0f, -2.0f}) {
        cTransferGamma transfer(gamma);
        for (const float x : Probes())
            ASSERT_SAME_FLOAT(transfer.Function(x), Gamma(gamma, x));
    }
}

TEST(cTransferGamma, TwoEncodesAndOneHalfDecodes)
{
    EXPECT_EQ(cTransferGamma(2.0f).Function(0.25f), 0.5f);
    EXPECT_EQ(cTransferGamma(0.5f).Function(0.25f), 0.0625f);
    EXPECT_EQ(cTransferGamma(0.5f).Function(-3.0f), 9.0f);
    EXPECT_TRUE(std::isnan(cTransferGamma(2.0f).Function(-0.25f)));
}

TEST(cTransferGamma, GammaOfZeroGivesWhatPowGives)
{
    cTransferGamma transfer(0.0f);
    EXPECT_EQ(transfer.fGamma, 0.0f);
    EXPECT_EQ(transfer.Function(0.5f), 0.0f);
    EXPECT_EQ(transfer.Function(1.0f), 1.0f);
    EXPECT_EQ(transfer.Function(2.0f), kInfinity);
}

// sRGB

TEST(cTransferLinearTo_sRGB, FollowsItsTwoFormulas)
{
    cTransferLinearTo_sRGB transfer;
    for (const float x : Probes()) {
        const double power = std::pow(static_cast<double>(x), 0.41666666666666669);
        const float above = static_cast<float>(std::fma(power, 1.055, -0.055));
        ASSERT_SAME_FLOAT(transfer.Function(x), x > FloatOf(0x3B4D2E1Cu) ? above : x * FloatOf(0x414EB852u));
    }
}

TEST(cTransferLinearTo_sRGB, KneeItselfIsLinear)
{
    cTransferLinearTo_sRGB transfer;
    EXPECT_EQ(transfer.Function(0.0031308f), 0.0031308f * 12.92f);
    EXPECT_NE(transfer.Function(FloatOf(0x3B4D2E1Du)), FloatOf(0x3B4D2E1Du) * 12.92f);
    EXPECT_TRUE(std::isnan(transfer.Function(kNaN)));
    EXPECT_EQ(transfer.Function(-1.0f), -12.92f);
}

TEST(cTransfer_sRGBToLinear, FollowsItsTwoFormulas)
{
    cTransfer_sRGBToLinear transfer;
    for (const float x : Probes()) {
        const float above = static_cast<float>(std::pow((static_cast<double>(x) + 0.055) * 0.94786729857819907, 2.4));
        ASSERT_SAME_FLOAT(transfer.Function(x), x > FloatOf(0x3D25AEE6u) ? above : x * FloatOf(0x3D9E8391u));
    }
}

TEST(cTransfer_sRGBToLinear, KneeItselfIsLinear)
{
    cTransfer_sRGBToLinear transfer;
    EXPECT_EQ(transfer.Function(0.04045f), 0.04045f * FloatOf(0x3D9E8391u));
    EXPECT_NE(transfer.Function(FloatOf(0x3D25AEE7u)), FloatOf(0x3D25AEE7u) * FloatOf(0x3D9E8391u));
    EXPECT_TRUE(std::isnan(transfer.Function(kNaN)));
}

TEST(cTransfer_sRGBToLinear, LinearBranchMultipliesByTheReciprocal)
{
    cTransfer_sRGBToLinear transfer;
    int different = 0;
    for (int i = 0; i < 1000; ++i) {
        const float x = static_cast<float>(i) * 4e-5f;
        different += transfer.Function(x) != x / 12.92f;
    }
    EXPECT_GT(different, 10);
}

// Tables

cTransfer_Table RandomTable(int pSize, std::mt19937& pRandom)
{
    std::vector<unsigned short> samples(static_cast<size_t>(pSize));
    for (unsigned short& sample : samples)
        sample = static_cast<unsigned short>(pRandom());
    return cTransfer_Table(samples.data(), pSize);
}

TEST(cTransfer_Table, CopiesSamplesAsFloatsAndRepeatsTheLast)
{
    std::vector<unsigned short> samples = {0, 1, 32768, 65534, 65535, 77};
    cTransfer_Table table(samples.data(), 6);
    const std::vector<unsigned short> given = samples;
    samples.assign(6, 0);
    EXPECT_EQ(table.fTableSize, 6);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(table.fTable[i], static_cast<float>(given[static_cast<size_t>(i)]) * FloatOf(0x37800080u));
    EXPECT_EQ(table.fTable[4], 1.0f);
    EXPECT_EQ(BitsOf(table.fTable[6]), BitsOf(table.fTable[5]));
}

TEST(cTransfer_Table, TwoSamplesAreAStraightLine)
{
    unsigned short samples[] = {65535, 0};
    cTransfer_Table table(samples, 2);
    EXPECT_EQ(table.Function(0.5f), 0.5f);
    EXPECT_EQ(table.Function(0.25f), 0.75f);
}

TEST(cTransfer_Table, EndsAreClamped)
{
    unsigned short samples[] = {65535, 7, 32000};
    cTransfer_Table table(samples, 3);
    for (const float x : {0.0f, -0.0f, -5.0f, -kInfinity})
        EXPECT_EQ(table.Function(x), 1.0f);
    for (const float x : {1.0f, 2.0f, kInfinity})
        EXPECT_EQ(table.Function(x), table.fTable[2]);
    EXPECT_TRUE(std::isnan(table.Function(kNaN)));
}

/// The interpolation with each rounding written out; pFused false leaves the fused sum away.
float InterpolateSlowly(const cTransfer_Table& pTable, float pValue, bool pFused)
{
    const float n = static_cast<float>(pTable.fTableSize - 1);
    volatile float t = n * pValue;
    const int i = static_cast<int>(t);
    volatile float f = t - static_cast<float>(i);
    volatile float rest = 1.0f - t;
    rest = rest + static_cast<float>(i);
    volatile float second = f * pTable.fTable[i + 1];
    if (pFused) return std::fma(rest, pTable.fTable[i], second);
    volatile float first = rest * pTable.fTable[i];
    return first + second;
}

TEST(cTransfer_Table, FirstProductIsFusedOnTopOfTheSecond)
{
    std::mt19937 random(11);
    int guarded = 0;
    for (const int size : {2, 3, 4, 17, 256, 1024, 4096, 65535, 70000}) {
        cTransfer_Table table = RandomTable(size, random);
        for (int i = 0; i < 4000; ++i) {
            const float x = static_cast<float>(random() >> 8) * 0x1p-24f;
            if (x <= 0.0f || x * static_cast<float>(size - 1) >= static_cast<float>(size - 1)) continue;
            const float expected = InterpolateSlowly(table, x, true);
            ASSERT_SAME_FLOAT(table.Function(x), expected);
            guarded += expected != InterpolateSlowly(table, x, false);
        }
    }
    EXPECT_GT(guarded, 1000) << "the probes would not notice a plain sum";
}

TEST(cTransfer_Table, DefaultIsEmptyAndCanBeCloned)
{
    const cTransfer_Table table;
    EXPECT_EQ(table.fTable, nullptr);
    EXPECT_EQ(table.fTableSize, 0);
    const std::unique_ptr<cTransfer> clone(table.Clone());
    EXPECT_EQ(dynamic_cast<cTransfer_Table&>(*clone).fTableSize, 0);
}

TEST(cTransfer_Table, RefusesItsArguments)
{
    unsigned short samples[] = {1, 2};
    const char* const where = "Vornik::cTransfer_Table::cTransfer_Table(";
    EXPECT_FAILURE(cTransfer_Table(nullptr, 2), cArgumentNullException, "Argument pTable cannot be null.",
                   "cTransfer.cpp", where);
    EXPECT_FAILURE(cTransfer_Table(nullptr, 0), cArgumentNullException, "Argument pTable cannot be null.",
                   "cTransfer.cpp", where);
    for (const int size : {1, 0, -1, INT_MIN})
        EXPECT_FAILURE(cTransfer_Table(samples, size), cArgumentException,
                       "Argument pTableSize must be greater than 1.", "cTransfer.cpp", where);
    EXPECT_THROW(cTransfer_Table(samples, INT_MAX), std::bad_array_new_length);
}

// Clones

TEST(cTransfer, CloneIsANewObjectOfTheSameClass)
{
    const cTransferGamma gamma(1.8f);
    const std::unique_ptr<cTransfer> gammaClone(gamma.Clone());
    EXPECT_EQ(dynamic_cast<cTransferGamma&>(*gammaClone).fGamma, 1.8f);
    const cTransferLinearTo_sRGB encode;
    const std::unique_ptr<cTransfer> encodeClone(encode.Clone());
    EXPECT_NE(dynamic_cast<cTransferLinearTo_sRGB*>(encodeClone.get()), nullptr);
    const cTransfer_sRGBToLinear decode;
    const std::unique_ptr<cTransfer> decodeClone(decode.Clone());
    EXPECT_NE(dynamic_cast<cTransfer_sRGBToLinear*>(decodeClone.get()), nullptr);
    EXPECT_NE(static_cast<const cTransfer*>(&encode), encodeClone.get());
}

TEST(cTransfer_Table, CloneCopiesAllEntriesIntoATableOfItsOwn)
{
    std::mt19937 random(3);
    cTransfer_Table table = RandomTable(33, random);
    table.fTable[33] = 0.125f; // the repeated entry is copied too, not made anew
    const std::unique_ptr<cTransfer> made(table.Clone());
    const auto& clone = dynamic_cast<cTransfer_Table&>(*made);
    EXPECT_EQ(clone.fTableSize, 33);
    EXPECT_NE(clone.fTable, table.fTable);
    EXPECT_EQ(std::memcmp(clone.fTable, table.fTable, 34 * sizeof(float)), 0);
}

TEST(cTransfer_Table, CloneRefusesACountThatDoesNotFit)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    std::mt19937 random(3);
    cTransfer_Table table = RandomTable(4, random);
    for (const int size : {INT_MAX, -2, INT_MIN}) {
        table.fTableSize = size;
        const cAllocationScope allocations;
        EXPECT_THROW(static_cast<void>(table.Clone()), std::bad_array_new_length);
        EXPECT_LE(allocations.Held(), 0);
    }
    table.fTableSize = 4;
}

TEST(cTransfer_Table, DestructorFreesTheTable)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cAllocationScope allocations;
    {
        unsigned short samples[] = {1, 2, 3};
        const cTransfer_Table table(samples, 3);
        EXPECT_EQ(allocations.Held(), 1);
    }
    EXPECT_EQ(allocations.Held(), 0);
}

TEST(cTransfer_Table, CloneWithoutMemoryLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    std::mt19937 random(3);
    const cTransfer_Table table = RandomTable(4, random);
    for (int failing = 0; failing < 2; ++failing) {
        const cAllocationScope allocations(failing);
        EXPECT_THROW(static_cast<void>(table.Clone()), std::bad_alloc);
        EXPECT_EQ(allocations.Tried(), failing + 1);
        EXPECT_EQ(allocations.Held(), 0);
    }
}

// Caches

float Identity(float pValue)
{
    return pValue;
}

template <class tCache>
void ExpectAscendingCalls(size_t pCount, uint32_t pStepBits)
{
    cNotingTransfer transfer(Identity);
    const auto cache = std::make_unique<tCache>(&transfer);
    ASSERT_EQ(transfer.fArguments.size(), pCount);
    for (size_t i = 0; i < pCount; ++i)
        ASSERT_EQ(BitsOf(transfer.fArguments[i]), BitsOf(static_cast<float>(i) * FloatOf(pStepBits))) << i;
    cache->BuildCache(&transfer);
    EXPECT_EQ(transfer.fArguments.size(), 2 * pCount);
}

TEST(cTransferLUT, CallsTheFunctionOnceAnEntryInAscendingOrder)
{
    ExpectAscendingCalls<cTransferLUT_I8F32>(256, 0x3B808081u);
    ExpectAscendingCalls<cTransferLUT_I16F32>(65536, 0x37800080u);
    ExpectAscendingCalls<cTransferLUT_F32I8>(65536, 0x37800080u);
    ExpectAscendingCalls<cTransferLUT_F32I16>(65536, 0x37800080u);
}

TEST(cTransferLUT, FloatEntriesAreTheResults)
{
    cTransfer_sRGBToLinear transfer;
    const auto small = std::make_unique<cTransferLUT_I8F32>(&transfer);
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(BitsOf(small->fLUT[i]), BitsOf(transfer.Function(static_cast<float>(i) * FloatOf(0x3B808081u))));
    const auto large = std::make_unique<cTransferLUT_I16F32>(&transfer);
    for (int i = 0; i < 65536; ++i)
        ASSERT_EQ(BitsOf(large->fLUT[i]), BitsOf(transfer.Function(static_cast<float>(i) * FloatOf(0x37800080u))));
}

TEST(cTransferLUT, IntegerEntriesAreTruncatedProductsInSinglePrecision)
{
    cTransferLinearTo_sRGB transfer;
    const auto bytes = std::make_unique<cTransferLUT_F32I8>(&transfer);
    const auto words = std::make_unique<cTransferLUT_F32I16>(&transfer);
    int inDouble = 0;
    for (int i = 0; i < 65536; ++i) {
        const float value = transfer.Function(static_cast<float>(i) * FloatOf(0x37800080u));
        volatile float product = value * 255.0f;
        ASSERT_EQ(bytes->fLUT[i], static_cast<int>(product)) << i;
        product = value * 65535.0f;
        ASSERT_EQ(words->fLUT[i], static_cast<int>(product)) << i;
        inDouble += words->fLUT[i] != static_cast<int>(static_cast<double>(value) * 65535.0);
    }
    EXPECT_GT(inDouble, 0) << "the entries would not notice a product in double";
    EXPECT_EQ(words->fLUT[65535], 65535);
}

/// The first entry that a cache makes of a function's result.
template <class tCache>
int EntryOf(float (*pFunction)(float))
{
    cNotingTransfer transfer(pFunction);
    return std::make_unique<tCache>(&transfer)->fLUT[0];
}

TEST(cTransferLUT, EntryBeyondItsRangeKeepsItsLowBits)
{
    const auto byte = EntryOf<cTransferLUT_F32I8>;
    const auto word = EntryOf<cTransferLUT_F32I16>;
    EXPECT_EQ(byte([](float) { return 2.0f; }), 510 & 0xFF);
    EXPECT_EQ(word([](float) { return 2.0f; }), 131070 & 0xFFFF);
    EXPECT_EQ(byte([](float) { return 1e5f; }), 25500000 & 0xFF);
    EXPECT_EQ(word([](float) { return 1e4f; }), 655350016 & 0xFFFF);
    EXPECT_EQ(word([](float) { return 60000.0f; }), static_cast<int>(3932100096u & 0xFFFFu)) << "beyond 31 bits";
}

TEST(cTransferLUT, EntrySaturatesTo32BitsBeforeItIsCut)
{
    const auto byte = EntryOf<cTransferLUT_F32I8>;
    const auto word = EntryOf<cTransferLUT_F32I16>;
    EXPECT_EQ(byte([](float) { return 1e30f; }), 255);
    EXPECT_EQ(word([](float) { return 1e30f; }), 65535);
    EXPECT_EQ(word([](float) { return kInfinity; }), 65535);
    for (const auto negative : {+[](float) { return -1e-3f; }, +[](float) { return -2.0f; },
                                +[](float) { return -kInfinity; }, +[](float) { return kNaN; }}) {
        EXPECT_EQ(byte(negative), 0);
        EXPECT_EQ(word(negative), 0);
    }
}

TEST(cTransferLUT, JustBelowOneGives254)
{
    EXPECT_EQ(EntryOf<cTransferLUT_F32I8>([](float) { return 1.0f; }), 255);
    EXPECT_EQ(EntryOf<cTransferLUT_F32I8>([](float) { return 0x1.fffffep-1f; }), 254);
}

TEST(cTransferLUT, ConstructorReportsItself)
{
    const char* const words = "Argument pTransfer cannot be null.";
    EXPECT_FAILURE(cTransferLUT_I8F32(nullptr), cArgumentNullException, words, "cTransfer.cpp",
                   "cTransferLUT_I8F32::cTransferLUT_I8F32(Vornik::cTransfer*)");
    EXPECT_FAILURE(cTransferLUT_I16F32(nullptr), cArgumentNullException, words, "cTransfer.cpp",
                   "cTransferLUT_I16F32::cTransferLUT_I16F32(Vornik::cTransfer*)");
    EXPECT_FAILURE(cTransferLUT_F32I8(nullptr), cArgumentNullException, words, "cTransfer.cpp",
                   "cTransferLUT_F32I8::cTransferLUT_F32I8(Vornik::cTransfer*)");
    EXPECT_FAILURE(cTransferLUT_F32I16(nullptr), cArgumentNullException, words, "cTransfer.cpp",
                   "cTransferLUT_F32I16::cTransferLUT_F32I16(Vornik::cTransfer*)");
}

template <class tCache>
void ExpectBuildCacheRefusesNull(const char* pSignature)
{
    cNotingTransfer transfer(Identity);
    const auto cache = std::make_unique<tCache>(&transfer);
    const auto before = std::make_unique<tCache>(*cache);
    EXPECT_FAILURE(cache->BuildCache(nullptr), cArgumentNullException, "Argument pTransfer cannot be null.",
                   "cTransfer.cpp", pSignature);
    EXPECT_EQ(std::memcmp(cache->fLUT, before->fLUT, sizeof cache->fLUT), 0);
}

TEST(cTransferLUT, BuildCacheReportsItself)
{
    ExpectBuildCacheRefusesNull<cTransferLUT_I8F32>("void Vornik::cTransferLUT_I8F32::BuildCache(Vornik::cTransfer*)");
    ExpectBuildCacheRefusesNull<cTransferLUT_I16F32>(
        "void Vornik::cTransferLUT_I16F32::BuildCache(Vornik::cTransfer*)");
    ExpectBuildCacheRefusesNull<cTransferLUT_F32I8>("void Vornik::cTransferLUT_F32I8::BuildCache(Vornik::cTransfer*)");
    ExpectBuildCacheRefusesNull<cTransferLUT_F32I16>(
        "void Vornik::cTransferLUT_F32I16::BuildCache(Vornik::cTransfer*)");
}

TEST(cTransferLUT, FailureOfTheFunctionPassesOn)
{
    cNotingTransfer transfer([](float pValue) -> float {
        if (pValue > 0.5f) throw std::out_of_range("half");
        return 0.0f;
    });
    const auto make = [&] { return std::make_unique<cTransferLUT_I8F32>(&transfer); };
    EXPECT_THROW(make(), std::out_of_range);
}

} // namespace
