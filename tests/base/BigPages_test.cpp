#include "base/BigPages.h"

#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cMemUtils.h"
#include "filter/cBilateral.h"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <sys/mman.h>
#include <vector>

// What the library asks the system for: madvise of this program stands before the system's, for the library too.

namespace
{

struct sRequest
{
    uintptr_t fBegin;
    size_t fBytes;
    int fAdvice;
};

std::vector<sRequest> gRequests;

} // namespace

extern "C" int madvise(void* pBlock, size_t pBytes, int pAdvice) noexcept
{
    gRequests.push_back({reinterpret_cast<uintptr_t>(pBlock), pBytes, pAdvice});
    return -1; // as a system without big pages
}

namespace
{

using namespace Vornik;

constexpr size_t kMiB = size_t{1} << 20;

/// The smallest range of whole big pages around a block.
void ExpectOneRequestAround(const void* pBlock, size_t pBytes)
{
    ASSERT_EQ(gRequests.size(), 1u);
    const auto block = reinterpret_cast<uintptr_t>(pBlock);
    const sRequest& request = gRequests[0];
    const uintptr_t end = request.fBegin + request.fBytes;
    EXPECT_EQ(request.fAdvice, MADV_HUGEPAGE);
    EXPECT_EQ(request.fBegin % (2 * kMiB), 0u);
    EXPECT_EQ(end % (2 * kMiB), 0u);
    EXPECT_LE(request.fBegin, block);
    EXPECT_LT(block - request.fBegin, 2 * kMiB);
    EXPECT_GE(end, block + pBytes);
    EXPECT_LT(end - (block + pBytes), 2 * kMiB);
}

/// Nothing is read or written there.
void* At(uintptr_t pAddress)
{
    return reinterpret_cast<void*>(pAddress); // NOLINT(performance-no-int-to-ptr)
}

TEST(BigPages, BothEndsAreRoundedOutwardsToWholeBigPages)
{
    constexpr uintptr_t kPage = 2 * kMiB;
    const struct
    {
        uintptr_t fBlock;
        size_t fBytes;
        uintptr_t fBegin;
        uintptr_t fEnd;
    } rows[] = {
        {8 * kPage, kPage, 8 * kPage, 9 * kPage},             // whole
        {8 * kPage + 16, kPage, 8 * kPage, 10 * kPage},       // both ends inside
        {8 * kPage + 16, kPage - 16, 8 * kPage, 9 * kPage},   // ends with a page
        {9 * kPage - 1, kMiB, 8 * kPage, 10 * kPage},         // the last byte of a page
        {8 * kPage + 4096, kMiB, 8 * kPage, 9 * kPage},       // inside one
        {8 * kPage, 3 * kPage + 1, 8 * kPage, 12 * kPage},    // one byte more
        {8 * kPage + 16, 700 * kMiB, 8 * kPage, 359 * kPage}, // large
    };
    for (const auto& row : rows) {
        gRequests.clear();
        AskForBigPages(At(row.fBlock), row.fBytes);
        ASSERT_EQ(gRequests.size(), 1u);
        EXPECT_EQ(gRequests[0].fBegin, row.fBegin) << row.fBlock;
        EXPECT_EQ(gRequests[0].fBegin + gRequests[0].fBytes, row.fEnd) << row.fBlock;
        EXPECT_EQ(gRequests[0].fAdvice, MADV_HUGEPAGE);
    }
}

TEST(BigPages, BelowOneMiBAndForNoBlockNothingIsAsked)
{
    gRequests.clear();
    AskForBigPages(At(2 * kMiB), 0);
    AskForBigPages(At(2 * kMiB), kMiB - 1);
    AskForBigPages(nullptr, 4 * kMiB);
    std::free(cMemUtils::Malloc(kMiB - 1));
    EXPECT_TRUE(gRequests.empty());
    AskForBigPages(At(2 * kMiB), kMiB);
    EXPECT_EQ(gRequests.size(), 1u);
}

TEST(BigPages, NewFloatsAskForThemselves)
{
    gRequests.clear();
    const std::unique_ptr<float[]> floats(NewFloats(kMiB / 4));
    ExpectOneRequestAround(floats.get(), kMiB);
    gRequests.clear();
    const std::unique_ptr<float[]> fewer(NewFloats(kMiB / 4 - 1));
    EXPECT_TRUE(gRequests.empty());
}

TEST(BigPages, TheLibrarysBlocksAskAfterAllocation)
{
    gRequests.clear();
    void* const block = cMemUtils::Malloc(5 * kMiB + 77);
    ExpectOneRequestAround(block, 5 * kMiB + 77);
    cMemUtils::Free(block);
    gRequests.clear();
    const cBitmapXYZ32 picture(1000, 700);
    ASSERT_EQ(gRequests.size(), 1u);
    ExpectOneRequestAround(picture.fData, static_cast<size_t>(picture.fStride) * 700);
}

TEST(BigPages, ARefusalHarmsNothing)
{
    std::vector<float> plane(700 * 700, 1.5f);
    gRequests.clear();
    cBilateral::FastGaussianBlur(1, plane.data(), plane.data(), 700, 700, 3.0f);
    EXPECT_EQ(gRequests.size(), 1u); // the scratch plane; every request is refused here
    EXPECT_EQ(plane[350 * 700 + 350], 1.5f);
}

/// How often the library asks with the variable set to pValue. The variable is read once, so each value takes a
/// process.
void ExitWithRequests(const char* pValue)
{
    ::setenv("SELVANE_BIG_PAGES", pValue, 1);
    gRequests.clear();
    cMemUtils::Free(cMemUtils::Malloc(8 * kMiB));
    AskForBigPages(At(8 * kMiB), 8 * kMiB);
    std::_Exit(static_cast<int>(gRequests.size()));
}

struct sSetting
{
    const char* fName;
    const char* fValue;
    int fRequests;
};

/// For the reports of the test.
void PrintTo(const sSetting& pSetting, std::ostream* pStream)
{
    *pStream << pSetting.fName;
}

class BigPagesSwitch : public testing::TestWithParam<sSetting>
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); } // a new process, not a copy of this one
};

TEST_P(BigPagesSwitch, OnlyAZeroTurnsThemOff)
{
    EXPECT_EXIT(ExitWithRequests(GetParam().fValue), testing::ExitedWithCode(GetParam().fRequests), "");
}

INSTANTIATE_TEST_SUITE_P(Values, BigPagesSwitch,
                         testing::Values(sSetting{"Zero", "0", 0}, sSetting{"One", "1", 2}, sSetting{"Empty", "", 2},
                                         sSetting{"TwoZeros", "00", 2}, sSetting{"Word", "no", 2}),
                         [](const testing::TestParamInfo<sSetting>& pInfo) { return pInfo.param.fName; });

} // namespace
