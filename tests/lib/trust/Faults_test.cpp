// Every allocation of libselvane fails, one after another: the call that asked for it says so, nothing is lost, and the
// same call made again gives the right bytes. The library is the shared one, so that its requests come to the watched
// heap of this program.

#include "Scenario.h"
#include "trust/Heap.h"

#include <gtest/gtest.h>

#if SELVANE_WATCHED_HEAP

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using namespace SelvaneTest;

namespace
{

struct sFree
{
    void operator()(selvane* pHandle) const { selvane_free(pHandle); }
};
using tHandle = std::unique_ptr<selvane, sFree>;

/// What the steps of a program answered while memory failed.
struct sAnswers
{
    int fNoMemory = 0;    ///< no handle, or SELVANE_ERROR_MEMORY
    int fOther = 0;       ///< any other failure
    int fAgain = 0;       ///< steps that failed again when they were made again
    bool fHasText = true; ///< each failure had a text
};

/// One try, and another one if that failed.
void MakeTwice(cScenario& pScenario, selvane* pHandle, int pStep, sAnswers& pAnswers)
{
    const int status = pScenario.Make(pHandle, pStep);
    if (status == SELVANE_OK) return;
    pAnswers.fNoMemory += status == SELVANE_ERROR_MEMORY;
    pAnswers.fOther += status != SELVANE_ERROR_MEMORY;
    pAnswers.fHasText = pAnswers.fHasText && selvane_error(pHandle)[0] != 0;
    pAnswers.fAgain += pScenario.Make(pHandle, pStep) != SELVANE_OK;
}

/// A whole program, from the new handle to the freed one.
sAnswers Program(cScenario& pScenario, int pThreads)
{
    sAnswers answers;
    selvane* handle = selvane_new();
    if (handle == nullptr) {
        answers.fNoMemory++;
        handle = selvane_new();
    }
    if (handle == nullptr) return answers;
    selvane_set_threads(handle, pThreads);
    for (int step = 0; step < eSteps; step++)
        MakeTwice(pScenario, handle, step, answers);
    selvane_free(handle);
    return answers;
}

class Faults : public testing::TestWithParam<int>
{
protected:
    // Valgrind preloads its own heap; elsewhere a heap that is not ours is a broken test program.
    void SetUp() override
    {
        if (!IsHeapWatched()) {
            const char* const preloaded = std::getenv("LD_PRELOAD");
            ASSERT_TRUE(preloaded != nullptr && std::strstr(preloaded, "vgpreload") != nullptr);
            GTEST_SKIP() << "this tool brings a heap of its own";
        }
        // Tables that the process makes once belong to it from then on.
        const sAnswers answers = Program(fExpected, GetParam());
        ASSERT_EQ(answers.fNoMemory + answers.fOther, 0);
    }

    static constexpr int kWidth = 16, kHeight = 12; // the program runs hundreds of times

    cScenario fExpected{1, kWidth, kHeight};
    cScenario fScenario{1, kWidth, kHeight};
};

// Requests of the calling thread are refused. With three threads their number varies a little from run to run.
TEST_P(Faults, EachRequestOnce)
{
    int failures = 0;
    bool refused = true;
    for (int request = 0; refused; request++) {
        SCOPED_TRACE(request);
        fScenario.Clear();
        sAnswers answers;
        const sHeapUse use = WatchHeap([&] { answers = Program(fScenario, GetParam()); }, {eFaultOnce, request});
        refused = use.fRefused > 0;
        failures += answers.fNoMemory;
        EXPECT_EQ(answers.fOther, 0);
        EXPECT_EQ(answers.fAgain, 0);
        EXPECT_LE(answers.fNoMemory, use.fRefused);
        EXPECT_TRUE(answers.fHasText);
        EXPECT_TRUE(fScenario.HasResultsOf(fExpected));
        EXPECT_EQ(use.fLost.size(), 0u) << "first " << (use.fLost.empty() ? 0 : use.fLost[0].fSize) << " bytes";
        EXPECT_EQ(use.fInTiles, 0);
        EXPECT_EQ(use.fWrongDoors, 0);
        FreeLost(use);
        if (HasFailure()) return;
    }
    EXPECT_GT(failures, eSteps);
    RecordProperty("failures", failures);
}

// From some request on there is no memory at all, not even for the words of a failure.
TEST_P(Faults, NothingIsLostWhenAllMemoryIsGone)
{
    bool refused = true;
    for (int request = 0; refused; request++) {
        SCOPED_TRACE(request);
        sAnswers answers;
        const sHeapUse use = WatchHeap([&] { answers = Program(fScenario, GetParam()); }, {eFaultFromThenOn, request});
        refused = use.fRefused > 0;
        EXPECT_TRUE(!refused || answers.fNoMemory > 0 || GetParam() > 1);
        EXPECT_EQ(use.fLost.size(), 0u) << "first " << (use.fLost.empty() ? 0 : use.fLost[0].fSize) << " bytes";
        EXPECT_EQ(use.fWrongDoors, 0);
        FreeLost(use);
        if (HasFailure()) return;
    }
}

// The memory comes back, and the handle goes on from where it was.
TEST_P(Faults, TheStepAfterAllMemoryWasGoneIsRight)
{
    for (int step = 0; step < eSteps; step++) {
        bool refused = true;
        for (int request = 0; refused; request++) {
            SCOPED_TRACE(std::to_string(step) + ", request " + std::to_string(request));
            fScenario.Clear();
            const tHandle handle(selvane_new());
            selvane_set_threads(handle.get(), GetParam());
            for (int before = 0; before < step; before++)
                ASSERT_EQ(fScenario.Make(handle.get(), before), SELVANE_OK);
            int status = SELVANE_OK;
            const sHeapUse use =
                WatchHeap([&] { status = fScenario.Make(handle.get(), step); }, {eFaultFromThenOn, request});
            refused = use.fRefused > 0;
            EXPECT_TRUE(status == SELVANE_OK || (refused && status == SELVANE_ERROR_MEMORY)) << status;
            for (int after = status == SELVANE_OK ? step + 1 : step; after < eSteps; after++)
                EXPECT_EQ(fScenario.Make(handle.get(), after), SELVANE_OK) << "step " << after;
            EXPECT_TRUE(fScenario.HasResultsOf(fExpected));
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Threads, Faults, testing::Values(1, 3),
                         [](const testing::TestParamInfo<int>& pInfo) { return std::to_string(pInfo.param); });

} // namespace

#endif
