#include "batch/Tasks.h"

#include "host/Workshop.h"
#include "picture/Errors.h"
#include "picture/SizeWatch.h"
#include "support/Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>

using namespace SelvaneHost;
using testing::HasSubstr;

namespace
{

/// Runs tasks and returns the numbers of those that failed.
std::vector<size_t> RunAll(const std::vector<tTask>& pTasks, const sShares& pShares, uint64_t pBytes = 1000)
{
    cMemoryGate gate(pBytes);
    cProgressShow show(eShow::kNothing, pTasks.size());
    return RunTasks(pTasks, pShares, gate, show);
}

} // namespace

TEST(Tasks, AllRunOnce)
{
    std::mutex mutex;
    std::multiset<int> seen;
    std::vector<tTask> tasks;
    for (int i = 0; i < 50; i++)
        tasks.emplace_back([&, i](const cTaskRun& pRun) {
            pRun.Admit(1.0, 10);
            const std::lock_guard lock(mutex);
            seen.insert(i);
            return std::string();
        });
    EXPECT_TRUE(RunAll(tasks, {.fJobs = 4}).empty());
    EXPECT_EQ(seen.size(), 50u);
    EXPECT_EQ(std::set<int>(seen.begin(), seen.end()).size(), 50u);
}

TEST(Tasks, AFailureLeavesTheOthers)
{
    std::atomic<int> done{0};
    std::vector<tTask> tasks;
    for (int i = 0; i < 20; i++)
        tasks.emplace_back([&, i](const cTaskRun& pRun) -> std::string {
            if (i == 3) throw cHostError("three: broken before");
            pRun.Admit(1.0, i == 7 ? 2000 : 10); // 7 is too large
            if (i == 11) throw std::bad_alloc();
            done++;
            return "";
        });
    std::vector<size_t> failed;
    const std::string lines = SelvaneTest::CaptureStderr([&] { failed = RunAll(tasks, {.fJobs = 3}); });
    EXPECT_EQ(failed, (std::vector<size_t>{3, 7, 11}));
    EXPECT_EQ(done.load(), 17);
    EXPECT_THAT(lines, HasSubstr("selvane: three: broken before\n"));
    EXPECT_THAT(lines, HasSubstr("the picture needs 1 MiB of memory"));
    EXPECT_THAT(lines, HasSubstr("selvane: not enough memory\n"));
}

/// Each picture takes 400 of 1000, so two run beside each other and never three.
TEST(Tasks, AsManyRunAsFit)
{
    std::atomic<int> running{0}, most{0};
    std::vector<tTask> tasks;
    for (int i = 0; i < 30; i++)
        tasks.emplace_back([&](const cTaskRun& pRun) {
            pRun.Admit(1.0, 400);
            const int now = ++running;
            int before = most.load();
            while (now > before && !most.compare_exchange_weak(before, now)) {
            }
            for (int turn = 0; turn < 2000 && running.load() < 2; turn++)
                std::this_thread::sleep_for(std::chrono::microseconds(100)); // for a companion
            running--;
            return std::string();
        });
    EXPECT_TRUE(RunAll(tasks, {.fJobs = 6}).empty());
    EXPECT_EQ(most.load(), 2);
}

TEST(Tasks, PicturesAreAdmittedInOrder)
{
    std::mutex mutex;
    std::vector<int> order;
    std::vector<tTask> tasks;
    for (int i = 0; i < 40; i++)
        tasks.emplace_back([&, i](const cTaskRun& pRun) {
            {
                const std::lock_guard lock(mutex);
                order.push_back(i);
            }
            pRun.Admit(1.0, static_cast<uint64_t>(100 + 300 * (i % 3)));
            return std::string();
        });
    RunAll(tasks, {.fJobs = 5});
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(Tasks, ProcessorsAreShared)
{
    EXPECT_EQ(JobsFor({}, 8), 8);
    EXPECT_EQ(JobsFor({}, 1), 2);
    EXPECT_EQ(JobsFor({.fThreads = 3}, 8), 3);
    EXPECT_EQ(JobsFor({.fThreads = 8}, 8), 2);
    EXPECT_EQ(JobsFor({.fJobs = 5, .fThreads = 8}, 8), 5);
    EXPECT_EQ(ThreadsFor({}, 8, 8), 1);
    EXPECT_EQ(ThreadsFor({}, 8, 3), 3);
    EXPECT_EQ(ThreadsFor({}, 8, 1), 8);
    EXPECT_EQ(ThreadsFor({}, 2, 50), 1);
    EXPECT_EQ(ThreadsFor({.fThreads = 4}, 8, 8), 4);
    EXPECT_GE(Processors(), 1);
}

/// The last picture alone, and a picture beside which no other fits, get all processors.
TEST(Tasks, WhoeverIsAloneGetsAllProcessors)
{
    std::vector<int> threads(2);
    std::vector<tTask> tasks;
    for (size_t i = 0; i < 2; i++)
        tasks.emplace_back([&, i](const cTaskRun& pRun) {
            threads[i] = pRun.Admit(1.0, 600);
            return std::string();
        });
    RunAll(tasks, {.fJobs = 2});
    EXPECT_EQ(threads, (std::vector<int>{Processors(), Processors()}));
}

TEST(SizeWatch, IsToldOfTheFirstPictureOnly)
{
    std::vector<int> widths;
    {
        const cSizeWatch watch([&](const sPicture& pPicture) { widths.push_back(pPicture.fWidth); });
        sPicture first, second;
        SetSize(first, 7, 5, eFloats);
        SetSize(second, 9, 5, eFloats);
    }
    sPicture third;
    SetSize(third, 11, 5, eFloats);
    EXPECT_EQ(widths, std::vector<int>{7});
}
