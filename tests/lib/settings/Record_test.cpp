#include "settings/Record.h"

#include "Failures.h"
#include "settings/Settings.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <vector>

using namespace SelvaneLib;
using namespace SelvaneTest;

namespace
{

/// A record of the first release, and the same after a later one.
struct sFirst
{
    size_t struct_size;
    int32_t fA;
    int32_t fB;
};

struct sLater
{
    size_t struct_size;
    int32_t fA;
    int32_t fB;
    int32_t fC;
    int32_t fD;
};

constexpr sLater kDefaults = {sizeof(sLater), 10, 20, 30, 40};

/// Memory that ends where a page begins that nobody may touch.
class cEdge
{
public:
    cEdge()
    {
        fBlock =
            static_cast<char*>(mmap(nullptr, 2 * fPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(fBlock + fPage, fPage, PROT_NONE);
    }
    ~cEdge() { munmap(fBlock, 2 * fPage); }
    cEdge(const cEdge&) = delete;
    cEdge& operator=(const cEdge&) = delete;
    template <typename tRecord>
    tRecord* Last(size_t pBytes)
    {
        return reinterpret_cast<tRecord*>(fBlock + fPage - pBytes);
    }

private:
    size_t fPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    char* fBlock;
};

constexpr const char* kTooSmall = "1 struct_size is too small: set it to the size of the record";
constexpr const char* kTooLarge = "1 struct_size is too large: set it to the size of the record";
constexpr const char* kUnknown = "1 the record has fields that this version of the library does not know";

} // namespace

TEST(Record, OfAnOlderCallerGetsDefaultsAtItsEndAndIsReadNoFurther)
{
    cEdge edge;
    sFirst* const first = edge.Last<sFirst>(sizeof(sFirst));
    *first = {sizeof(sFirst), 1, 2};
    const sLater taken = TakeRecord(reinterpret_cast<const sLater*>(first), kDefaults, sizeof(sFirst));
    EXPECT_EQ(taken.struct_size, sizeof(sLater));
    EXPECT_EQ(taken.fA, 1);
    EXPECT_EQ(taken.fB, 2);
    EXPECT_EQ(taken.fC, 30);
    EXPECT_EQ(taken.fD, 40);
}

TEST(Record, OfAnOlderCallerIsFilledToItsEnd)
{
    cEdge edge;
    sFirst* const first = edge.Last<sFirst>(sizeof(sFirst));
    *first = {sizeof(sFirst), 1, 2};
    GiveRecord(kDefaults, reinterpret_cast<sLater*>(first), sizeof(sFirst));
    EXPECT_EQ(first->struct_size, sizeof(sFirst));
    EXPECT_EQ(first->fA, 10);
    EXPECT_EQ(first->fB, 20);
}

TEST(Record, OfANewerCallerIsTakenIfItsUnknownEndIsZero)
{
    sLater later = {sizeof(sLater), 1, 2, 0, 0};
    const sFirst defaults = {sizeof(sFirst), 10, 20};
    const sFirst taken = TakeRecord(reinterpret_cast<const sFirst*>(&later), defaults);
    EXPECT_EQ(taken.struct_size, sizeof(sFirst));
    EXPECT_EQ(taken.fA, 1);
    EXPECT_EQ(taken.fB, 2);
    later.fD = 1;
    EXPECT_EQ(FailureOf([&] { TakeRecord(reinterpret_cast<const sFirst*>(&later), defaults); }), kUnknown);
}

TEST(Record, OfANewerCallerGetsZeroInItsUnknownEnd)
{
    sLater later = {sizeof(sLater), 1, 2, 3, 4};
    const sFirst known = {sizeof(sFirst), 10, 20};
    GiveRecord(known, reinterpret_cast<sFirst*>(&later));
    EXPECT_EQ(later.struct_size, sizeof(sLater));
    EXPECT_EQ(later.fA, 10);
    EXPECT_EQ(later.fB, 20);
    EXPECT_EQ(later.fC, 0);
    EXPECT_EQ(later.fD, 0);
}

TEST(Record, NullAndForgottenAndAbsurdSizesAreRefused)
{
    EXPECT_EQ(FailureOf([] { TakeRecord<sLater>(nullptr, kDefaults); }), "1 the record is null");
    EXPECT_EQ(FailureOf([] { GiveRecord<sLater>(kDefaults, nullptr); }), "1 the record is null");
    sLater record = kDefaults;
    for (const size_t size : {size_t{0}, size_t{1}, sizeof(sFirst) - 1}) {
        record.struct_size = size;
        EXPECT_EQ(FailureOf([&] { TakeRecord(&record, kDefaults, sizeof(sFirst)); }), kTooSmall);
        EXPECT_EQ(FailureOf([&] { GiveRecord(kDefaults, &record, sizeof(sFirst)); }), kTooSmall);
    }
    for (const size_t size : {(size_t{1} << 20) + 1, ~size_t{0}}) {
        record.struct_size = size;
        EXPECT_EQ(FailureOf([&] { TakeRecord(&record, kDefaults); }), kTooLarge);
        EXPECT_EQ(FailureOf([&] { GiveRecord(kDefaults, &record); }), kTooLarge);
    }
    EXPECT_EQ(record.fA, 10);
}

TEST(Record, SettingsAreTakenWithTheirChecks)
{
    selvane_settings settings = DefaultSettings();
    settings.exposure = 2.0f;
    EXPECT_EQ(TakeSettings(&settings).exposure, 2.0f);
    settings.exposure = 21.0f;
    EXPECT_EQ(FailureOf([&] { TakeSettings(&settings); }), "1 exposure must lie between -20.0 and 20.0, and is 21.0");
    settings.struct_size = 0;
    EXPECT_EQ(FailureOf([&] { TakeSettings(&settings); }), kTooSmall);
}

TEST(Record, SettingsOfTheFirstReleaseHaveTheirSize)
{
    if (sizeof(size_t) != 8) GTEST_SKIP() << "the size is that of 64-bit machines";
    EXPECT_EQ(kFirstSettingsSize, 464u) << "the first size never changes";
}
