#include "filter/DivideWork.h"

#include "base/Cancel.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

namespace
{

using namespace SelvaneTest;

TEST(DivideWork, TheRecordBeginsWithSixteenBytesInTheGivenOrder)
{
    EXPECT_EQ(sizeof(TileRecord), TileHeader::kBytes);
    EXPECT_EQ(offsetof(TileRecord, fSlot), TileHeader::kSlot.fOffset);
    EXPECT_EQ(offsetof(TileRecord, fReserved), TileHeader::kReserved.fOffset);
    EXPECT_EQ(offsetof(TileRecord, fStart), TileHeader::kStart.fOffset);
    EXPECT_EQ(offsetof(TileRecord, fEnd), TileHeader::kEnd.fOffset);
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
