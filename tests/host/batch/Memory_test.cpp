#include "batch/Memory.h"

#include "host/Workshop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace SelvaneHost;
using SelvaneTest::Refusal;

TEST(Memory, SizesHaveUnitsOf1024)
{
    EXPECT_EQ(BytesOf("1048576"), uint64_t{1} << 20);
    EXPECT_EQ(BytesOf("2048K"), uint64_t{2} << 20);
    EXPECT_EQ(BytesOf("800M"), uint64_t{800} << 20);
    EXPECT_EQ(BytesOf("2.5g"), uint64_t{2560} << 20);
    EXPECT_EQ(BytesOf("1T"), uint64_t{1} << 40);
    for (const char* text : {"", "G", "4X", "4GB", "4 G", "-4G", "nan", "inf", "1e300", "5000000T"})
        EXPECT_NE(Refusal([&] { BytesOf(text); }), "") << text;
    EXPECT_EQ(Refusal([] { BytesOf("1000K"); }), "--memory 1000K: the least is 1M");
}

/// Everything that a float picture of 10 megapixels meets on its way: 120 MB of samples, a handle, 16-bit samples.
TEST(Memory, APictureNeedsItsSamplesAHandleAndAnOutput)
{
    sPicture picture;
    SetSize(picture, 4000, 2500, eFloats);
    selvane_picture record;
    selvane_picture_init(&record);
    record.width = 4000;
    record.height = 2500;
    record.format = SELVANE_F32;
    record.channels = 3;
    uint64_t handle = 0;
    ASSERT_EQ(selvane_estimate_memory(&record, &handle), SELVANE_OK);
    EXPECT_EQ(NeededBytes(picture, 1000, 16), 120000000 + handle + 60000000);
    EXPECT_EQ(NeededBytes(picture, 1000, 8), 120000000 + handle + 30000000);
    EXPECT_EQ(NeededBytes(picture, uint64_t{5} << 30, 8), (uint64_t{5} << 30) + 240000000) << "while it is read";
}

/// Integers are counted as the floats that a profile makes of them: 3 x 4 bytes a pixel.
TEST(Memory, AProfileMakesFloatsOfIntegers)
{
    sPicture picture;
    SetSize(picture, 1000, 500, eSamples8);
    EXPECT_EQ(NeededBytes(picture, uint64_t{5} << 30, 8), (uint64_t{5} << 30) + 2 * 6000000);
}

/// While a result of 4000 x 2000 pixels is made of 1000 x 500, there are the rendered floats, what the filter gives,
/// and its copy: 6 MB and twice 96 MB. The samples and the file that follow take less.
TEST(Memory, AResultInAnotherSizeIsMadeInFloats)
{
    sPicture picture;
    SetSize(picture, 1000, 500, eSamples8);
    EXPECT_EQ(NeededBytes(picture, 1000, 16, 4000 * 2000), 6000000 + 2 * 96000000);
    SetSize(picture, 4000, 2500, eFloats);
    const uint64_t handle = NeededBytes(picture, 1000, 16) - 120000000 - 60000000;
    EXPECT_EQ(NeededBytes(picture, 1000, 16, 40 * 25), 120000000 + handle + 120000000) << "floats instead of integers";
}

TEST(Memory, WhatDoesNotFitAtAllIsRefusedAtOnce)
{
    cMemoryGate gate(100 << 20);
    const cMemoryGate::cRoom room = gate.Take(60 << 20);
    EXPECT_EQ(Refusal([&] { gate.Take((100 << 20) + 1); }),
              "the picture needs 101 MiB of memory, and --memory allows 100 MiB");
}

TEST(Memory, WhatDoesNotFitNowWaits)
{
    cMemoryGate gate(100);
    std::atomic<uint64_t> held{0}, most{0};
    std::vector<std::thread> threads;
    for (uint64_t i = 0; i < 8; i++)
        threads.emplace_back([&, i] {
            for (int round = 0; round < 200; round++) {
                const uint64_t bytes = 20 + 10 * i;
                const cMemoryGate::cRoom room = gate.Take(bytes);
                const uint64_t now = held += bytes;
                uint64_t before = most.load();
                while (now > before && !most.compare_exchange_weak(before, now)) {
                }
                std::this_thread::yield();
                held -= bytes;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_LE(most.load(), 100u);
    EXPECT_GT(most.load(), 20u);
}

TEST(Memory, RoomGoesBackOnceWhenItIsMoved)
{
    cMemoryGate gate(100);
    {
        cMemoryGate::cRoom outer;
        {
            cMemoryGate::cRoom inner = gate.Take(100);
            outer = std::move(inner);
        }
    }
    const cMemoryGate::cRoom all = gate.Take(100); // would wait for ever
}
