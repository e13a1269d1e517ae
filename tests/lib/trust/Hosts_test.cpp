// What programs do around libselvane: small stacks, many handles on many threads, forks, streams that belong to
// somebody else, executors of every kind.

#include "Scenario.h"
#include "support/Threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdio>
#include <functional>
#include <pthread.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace SelvaneTest;

namespace
{

int RunAll(cScenario& pScenario, int pThreads = 0)
{
    selvane* const handle = selvane_new();
    selvane_set_threads(handle, pThreads);
    const int status = pScenario.MakeAll(handle);
    selvane_free(handle);
    return status;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // their frames are larger
struct sSmallThread
{
    cScenario fScenario;
    int fThreads;
    int fStatus = -1;
};

void* RunSmall(void* pThread)
{
    auto* const thread = static_cast<sSmallThread*>(pThread);
    thread->fStatus = RunAll(thread->fScenario, thread->fThreads);
    return nullptr;
}

TEST(LibraryHosts, AThreadWith128KiBOfStack)
{
    cScenario expected;
    ASSERT_EQ(RunAll(expected), SELVANE_OK);
    for (const int threads : {1, 3}) {
        sSmallThread small{cScenario(), threads};
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
        pthread_t thread;
        ASSERT_EQ(pthread_create(&thread, &attributes, RunSmall, &small), 0);
        pthread_join(thread, nullptr);
        pthread_attr_destroy(&attributes);
        EXPECT_EQ(small.fStatus, SELVANE_OK);
        EXPECT_TRUE(small.fScenario.HasResultsOf(expected));
    }
}
#endif

TEST(LibraryHosts, ManyHandlesOnManyThreadsGiveTheirOwnBytes)
{
    constexpr unsigned kThreads = 6;
    std::vector<cScenario> expected;
    for (unsigned i = 0; i < kThreads; i++) {
        expected.emplace_back(i + 1, 40 + 3 * static_cast<int>(i), 30);
        ASSERT_EQ(RunAll(expected.back(), 1), SELVANE_OK);
    }
    const int before = ThreadsBefore();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kThreads; i++)
        threads.emplace_back([&, i] {
            cScenario scenario(i + 1, 40 + 3 * static_cast<int>(i), 30);
            for (int run = 0; run < 3; run++) {
                scenario.Clear();
                if (RunAll(scenario, 1 + static_cast<int>(i) % 4) != SELVANE_OK) wrong++;
                if (!scenario.HasResultsOf(expected[i])) wrong++;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(EndsWithThreads(before)) << "a thread of the library outlived the last handle";
}

TEST(LibraryHosts, AHandleMayGoFromThreadToThread)
{
    cScenario expected;
    ASSERT_EQ(RunAll(expected), SELVANE_OK);
    cScenario scenario;
    selvane* const handle = selvane_new();
    int failed = 0;
    for (int step = 0; step < eSteps; step++)
        std::thread([&] { failed += scenario.Make(handle, step) != SELVANE_OK; }).join();
    selvane_free(handle);
    EXPECT_EQ(failed, 0);
    EXPECT_TRUE(scenario.HasResultsOf(expected));
}

/// Exit status of a child that runs the call; -1 if it did not end by itself.
int InChild(const std::function<bool()>& pCall)
{
    const pid_t child = fork();
    if (child == 0) _exit(pCall() ? 0 : 1);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A handle is there, but no call has needed the pool yet.
TEST(LibraryHosts, AForkBeforeThePoolBegins)
{
    cScenario scenario;
    selvane* const handle = selvane_new();
    selvane_set_threads(handle, 3);
    ASSERT_EQ(scenario.Make(handle, eSetSettings), SELVANE_OK);
    cScenario byChild;
    const int status = InChild([&] { return byChild.MakeAll(handle) == SELVANE_OK; });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(scenario.MakeAll(handle), SELVANE_OK);
    EXPECT_EQ(InChild([&] { return true; }), 0) << "a child that does not use the library";
    selvane_free(handle);

    cScenario expected;
    ASSERT_EQ(RunAll(expected), SELVANE_OK);
    EXPECT_TRUE(scenario.HasResultsOf(expected));
    cScenario again;
    EXPECT_EQ(InChild([&] { return RunAll(again, 3) == SELVANE_OK && again.HasResultsOf(expected); }), 0)
        << "after the last handle";
}

/// Both standard streams of the process go into a file of memory for as long as it lives.
class cStreams
{
public:
    cStreams() : fFile(memfd_create("streams", MFD_CLOEXEC))
    {
        std::fflush(nullptr);
        dup2(fFile, 1);
        dup2(fFile, 2);
    }
    ~cStreams()
    {
        std::fflush(nullptr);
        for (const int stream : {1, 2}) {
            dup2(fSaved[stream - 1], stream);
            close(fSaved[stream - 1]);
        }
        close(fFile);
    }
    cStreams(const cStreams&) = delete;
    cStreams& operator=(const cStreams&) = delete;

    long Bytes() const
    {
        std::fflush(nullptr);
        struct stat file = {};
        fstat(fFile, &file);
        return static_cast<long>(file.st_size);
    }

private:
    int fSaved[2] = {dup(1), dup(2)};
    int fFile;
};

TEST(LibraryHosts, NothingOnTheStandardStreams)
{
    long written = 0;
    long control = 0;
    {
        const cStreams streams;
        cScenario scenario;
        RunAll(scenario);
        selvane* const handle = selvane_new();
        selvane_render(handle, nullptr);
        selvane_set_picture(handle, nullptr);
        selvane_set_threads(handle, -1);
        selvane_free(handle);
        written = streams.Bytes();
        std::fputs("seen", stderr);
        control = streams.Bytes();
    }
    EXPECT_EQ(written, 0);
    EXPECT_EQ(control, 4) << "the test sees nothing";
}

/// Runs the tasks in an order of its own.
struct sExecutor
{
    std::vector<int> (*fOrder)(int pCount);
    bool fThreads;
    int fCalls = 0;
};

std::vector<int> Ascending(int pCount)
{
    std::vector<int> order;
    for (int i = 0; i < pCount; i++)
        order.push_back(i);
    return order;
}

std::vector<int> Descending(int pCount)
{
    std::vector<int> order = Ascending(pCount);
    std::reverse(order.begin(), order.end());
    return order;
}

void Execute(void* pUser, void (*pTask)(void*, int), void* pContext, int pCount)
{
    auto* const executor = static_cast<sExecutor*>(pUser);
    executor->fCalls++;
    std::vector<std::thread> threads;
    for (const int index : executor->fOrder(pCount)) {
        if (executor->fThreads)
            threads.emplace_back(pTask, pContext, index);
        else
            pTask(pContext, index);
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(LibraryHosts, TheOrderAndTheThreadsOfAnExecutorChangeNoBit)
{
    cScenario expected;
    ASSERT_EQ(RunAll(expected, 1), SELVANE_OK);
    for (sExecutor executor :
         {sExecutor{Ascending, false}, sExecutor{Descending, false}, sExecutor{Descending, true}}) {
        cScenario scenario;
        selvane* const handle = selvane_new();
        selvane_set_threads(handle, 5);
        ASSERT_EQ(selvane_set_executor(handle, Execute, &executor), SELVANE_OK);
        const int before = ThreadsBefore();
        EXPECT_EQ(scenario.MakeAll(handle), SELVANE_OK);
        EXPECT_TRUE(EndsWithThreads(before)) << "a pool in spite of an executor";
        selvane_free(handle);
        EXPECT_TRUE(scenario.HasResultsOf(expected));
        EXPECT_GT(executor.fCalls, 0);
    }
}

/// Cancels at one of its calls. It takes its time, so that the next question is due at once.
struct sStop
{
    int fAt = INT_MAX;
    int fCalls = 0;
};

int StopAt(void* pUser, int /*pStage*/, float pShare)
{
    auto* const stop = static_cast<sStop*>(pUser);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    return pShare >= 0.0f && pShare <= 1.0f && ++stop->fCalls <= stop->fAt ? 0 : 1;
}

TEST(LibraryHosts, ACancelledStepLeavesTheHandleAsItWas)
{
    cScenario expected(3);
    ASSERT_EQ(RunAll(expected), SELVANE_OK);
    int cancelled = 0;
    for (int step = 0; step < eSteps; step++)
        for (int at = 0; at < 2; at++) {
            cScenario scenario(3);
            selvane* const handle = selvane_new();
            for (int before = 0; before < step; before++)
                ASSERT_EQ(scenario.Make(handle, before), SELVANE_OK);
            sStop stop{at};
            selvane_set_progress(handle, StopAt, &stop);
            const int status = scenario.Make(handle, step);
            EXPECT_EQ(status, stop.fCalls > at ? SELVANE_ERROR_CANCELLED : SELVANE_OK) << "step " << step;
            cancelled += status == SELVANE_ERROR_CANCELLED;
            selvane_set_progress(handle, nullptr, nullptr);
            for (int after = status == SELVANE_OK ? step + 1 : step; after < eSteps; after++)
                EXPECT_EQ(scenario.Make(handle, after), SELVANE_OK) << "step " << after;
            selvane_free(handle);
            EXPECT_TRUE(scenario.HasResultsOf(expected));
        }
    EXPECT_GE(cancelled, 4);
}

} // namespace
