#include "filter/DivideWork.h"

#include "base/Cancel.h"
#include "support/Host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace
{

TEST(DivideWork, TheRecordBeginsWithSixteenBytesInTheGivenOrder)
{
    EXPECT_EQ(sizeof(TileRecord), 16u);
    EXPECT_EQ(offsetof(TileRecord, fSlot), 0u);
    EXPECT_EQ(offsetof(TileRecord, fReserved), 4u);
    EXPECT_EQ(offsetof(TileRecord, fStart), 8u);
    EXPECT_EQ(offsetof(TileRecord, fEnd), 12u);
    EXPECT_TRUE((std::is_same_v<decltype(TileRecord::fSlot), int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(TileRecord::fStart), int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(TileRecord::fEnd), int32_t>));
}

TEST(DivideWork, TheHostsFunctionTakesRangeWorkersFunctionRecordAndSize)
{
    EXPECT_TRUE((std::is_same_v<decltype(&DivideWork), void (*)(int, int, int, void* (*)(void*), void*, size_t)>));
}

TEST(Cancel, StopsOnlyWhenAskedAndSaysSo)
{
    bool cancel = false;
    bool cancelled = false;
    EXPECT_FALSE(Vornik::StopIfRequested(&cancel, &cancelled));
    EXPECT_FALSE(cancelled);
    cancel = true;
    EXPECT_TRUE(Vornik::StopIfRequested(&cancel, &cancelled));
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(cancel);
}

TEST(Cancel, DoesNotTakeAnAcknowledgementBack)
{
    bool cancel = false;
    bool cancelled = true;
    EXPECT_FALSE(Vornik::StopIfRequested(&cancel, &cancelled));
    EXPECT_TRUE(cancelled);
}

} // namespace
