#include "picture/HalfOfMemory.h"

#include "host/Workshop.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/sysinfo.h>

namespace
{

using SelvaneHost::HalfOfMemory;
using SelvaneTest::cFolder;
using SelvaneTest::WriteAll;

constexpr uint64_t kMiB = uint64_t{1} << 20;

uint64_t HalfOfMachine()
{
    struct sysinfo facts
    {
    };
    EXPECT_EQ(::sysinfo(&facts), 0);
    return uint64_t{facts.totalram} * facts.mem_unit / 2;
}

TEST(HalfOfMemory, IsThatOfTheMachineWithoutAGroup)
{
    const cFolder groups;
    EXPECT_EQ(HalfOfMemory(groups.Path()), HalfOfMachine());
    WriteAll(groups / "memory.max", "max\n");
    EXPECT_EQ(HalfOfMemory(groups.Path()), HalfOfMachine());
}

TEST(HalfOfMemory, IsThatOfAGroupThatHasLess)
{
    const cFolder groups;
    WriteAll(groups / "memory.max", "67108864\n");
    EXPECT_EQ(HalfOfMemory(groups.Path()), 32 * kMiB);
    WriteAll(groups / "memory.max", "4611686018427387904\n");
    EXPECT_EQ(HalfOfMemory(groups.Path()), HalfOfMachine()) << "a group that may take more than there is";
}

TEST(HalfOfMemory, KnowsTheGroupsOfOlderSystems)
{
    const cFolder groups;
    std::filesystem::create_directory(groups / "memory");
    WriteAll(groups / "memory/memory.limit_in_bytes", "50331648\n");
    EXPECT_EQ(HalfOfMemory(groups.Path()), 24 * kMiB);
}

TEST(HalfOfMemory, IsNeverNothing)
{
    const cFolder groups;
    WriteAll(groups / "memory.max", "4096\n");
    EXPECT_EQ(HalfOfMemory(groups.Path()), kMiB);
}

} // namespace
