// Progress, cancellation, log lines, executors and threads.

#include "Pictures.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <ctime>
#include <functional>
#include <thread>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 640, kHeight = 420;

struct sTold
{
    int fStage;
    float fShare;
    std::thread::id fThread;
};

/// Notes every call. Waits longer than the library's pause between two calls, so that it is asked after every tile.
struct sListener
{
    std::vector<sTold> fTold;
    int fCancelAt = -1; ///< number of the call that cancels; -1: none
    int fPause = 45;    ///< milliseconds
    std::atomic<int> fInside{0};
    bool fTwiceAtOnce = false;

    static int Tell(void* pUser, int pStage, float pShare)
    {
        auto& self = *static_cast<sListener*>(pUser);
        if (++self.fInside > 1) self.fTwiceAtOnce = true;
        self.fTold.push_back({pStage, pShare, std::this_thread::get_id()});
        std::this_thread::sleep_for(std::chrono::milliseconds(self.fPause));
        --self.fInside;
        return static_cast<int>(self.fTold.size()) - 1 == self.fCancelAt ? 1 : 0;
    }
};

class Callbacks : public testing::Test
{
protected:
    Callbacks() : fScene(FloatScene(kWidth, kHeight)), fHandle(NewHandle())
    {
        EXPECT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), 2));
        SetPicture();
    }

    void SetPicture()
    {
        const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
        EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    }

    void Set(const std::function<void(selvane_settings&)>& pChange)
    {
        pChange(fSettings);
        EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &fSettings));
    }

    /// The call tells shares that rise from 0 to 1 and stages in order, on this thread.
    void ExpectProgress(const char* pCall, const std::function<int()>& pDo, std::vector<int> pStages)
    {
        sListener listener;
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
        EXPECT_DONE(fHandle.get(), pDo());
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
        ASSERT_FALSE(listener.fTold.empty()) << pCall;
        EXPECT_EQ(listener.fTold.front().fShare, 0.0f) << pCall;
        EXPECT_NEAR(listener.fTold.back().fShare, 1.0f, 1e-6f) << pCall;
        std::vector<int> stages;
        float share = 0;
        for (const sTold& told : listener.fTold) {
            EXPECT_EQ(told.fThread, std::this_thread::get_id()) << pCall;
            EXPECT_GE(told.fShare, share) << pCall;
            share = told.fShare;
            if (stages.empty() || stages.back() != told.fStage) stages.push_back(told.fStage);
        }
        EXPECT_EQ(stages, pStages) << pCall;
    }

    int Render() { return RenderInto(fBytes); }

    int RenderInto(std::vector<uint8_t>& pBytes)
    {
        const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, pBytes.data());
        return selvane_render(fHandle.get(), &target);
    }

    std::vector<float> fScene;
    tHandle fHandle;
    selvane_settings fSettings = PlainSettings();
    std::vector<uint8_t> fBytes = std::vector<uint8_t>(3 * kWidth * kHeight);
};

// ---- Progress -------------------------------------------------------------------------------------------------------

TEST_F(Callbacks, ProgressRisesFromNothingToAllInEveryCall)
{
    constexpr int kRead = 0, kSplit = 1, kMap = 2, kPoints = 3, kWrite = 4;
    const auto render = [&] { return Render(); };
    ExpectProgress("set_picture",
                   [&] {
                       const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data());
                       return selvane_set_picture(fHandle.get(), &picture);
                   },
                   {kRead});
    Set([](selvane_settings&) {});
    ExpectProgress("a first render", render, {kSplit, kMap, kPoints, kWrite});
    ExpectProgress("the same again", render, {kWrite});
    Set([](selvane_settings& s) { s.white_clip = 20; });
    ExpectProgress("another clip", render, {kPoints, kWrite});
    Set([](selvane_settings& s) { s.compression = 20; });
    ExpectProgress("another compression", render, {kMap, kPoints, kWrite});
    SetPicture();
    Set([](selvane_settings& s) { s = PlainSettings(), s.automatic = 1; });
    ExpectProgress("a first render with the suggestion", render, {kRead, kSplit, kMap, kPoints, kWrite});
    ExpectProgress("a preview",
                   [&] {
                       const selvane_target target = TargetOf(kWidth / 4, kHeight / 4, SELVANE_U8, fBytes.data());
                       return selvane_preview(fHandle.get(), kWidth / 4, &target);
                   },
                   {kRead, kSplit, kMap, kPoints, kWrite});
    ExpectProgress("a plain picture",
                   [&] {
                       const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, fBytes.data());
                       return selvane_plain(fHandle.get(), 0.0f, 0, &target);
                   },
                   {kWrite});
    SetPicture();
    ExpectProgress("a suggestion", [&] { return selvane_suggest(fHandle.get(), &fSettings); }, {kRead});
    std::vector<float> plane(kWidth * kHeight);
    ExpectProgress("a plane", [&] { return selvane_get_plane(fHandle.get(), SELVANE_PLANE_BASE, plane.data(), 0); },
                   {kSplit});
}

double ThreadMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

struct sGaps
{
    double fLast = 0;
    double fLongest = 0;
    int fLongestStage = -1;
    int fCalls = 0;

    static int Tell(void* pUser, int pStage, float)
    {
        auto& self = *static_cast<sGaps*>(pUser);
        const double now = ThreadMilliseconds();
        if (now - self.fLast > self.fLongest) {
            self.fLongest = now - self.fLast;
            self.fLongestStage = pStage;
        }
        self.fLast = now;
        self.fCalls++;
        return 0;
    }
};

/// At least ten calls a second of the time that the calling thread has worked, which other programs do not lengthen.
TEST_F(Callbacks, ProgressIsToldTenTimesASecond)
{
    constexpr int kLargeWidth = 3000, kLargeHeight = 2000;
    const std::vector<float> scene = FloatScene(kLargeWidth, kLargeHeight);
    const selvane_picture picture = PictureOf(kLargeWidth, kLargeHeight, SELVANE_F32, scene.data());
    sGaps gaps;
    std::vector<uint8_t> bytes(3 * kLargeWidth * kLargeHeight);
    const selvane_target target = TargetOf(kLargeWidth, kLargeHeight, SELVANE_U8, bytes.data());
    ASSERT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), 1));
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sGaps::Tell, &gaps));
    const double begin = gaps.fLast = ThreadMilliseconds();
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    ASSERT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target));
    const double worked = ThreadMilliseconds() - begin;
    std::printf("%d calls, the longest pause %.0f ms in stage %d\n", gaps.fCalls, gaps.fLongest, gaps.fLongestStage);
    EXPECT_GT(gaps.fCalls, 4);
    EXPECT_GE(gaps.fCalls, worked * 0.01);
}

TEST_F(Callbacks, ANullProgressIsNotCalled)
{
    sListener listener;
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, &listener));
    EXPECT_DONE(fHandle.get(), Render());
    EXPECT_TRUE(listener.fTold.empty());
}

// ---- Cancellation ---------------------------------------------------------------------------------------------------

/// The answers at which a call is cancelled: each of the first ones, then ever fewer, since a call may have a hundred.
int NextAnswer(int pAt)
{
    return pAt + 1 + pAt / 8;
}

/// Cancels a call at its first, second ... answer until it comes through, and renders after each.
TEST_F(Callbacks, ACancelledRenderLeavesTheNextOneRight)
{
    for (const int automatic : {0, 1}) {
        SetPicture();
        Set([&](selvane_settings& s) { s.automatic = automatic; });
        std::vector<uint8_t> expected(fBytes.size());
        EXPECT_DONE(fHandle.get(), RenderInto(expected));
        int cancelled = 0;
        for (int at = 0;; at = NextAnswer(at)) {
            SetPicture(); // everything anew
            sListener listener;
            listener.fCancelAt = at;
            ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
            const int status = Render();
            ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
            if (static_cast<int>(listener.fTold.size()) <= at) {
                EXPECT_EQ(status, SELVANE_OK);
                break;
            }
            EXPECT_EQ(listener.fTold.size(), static_cast<size_t>(at) + 1) << "asked again after the answer";
            EXPECT_EQ(status, SELVANE_ERROR_CANCELLED) << "at call " << at;
            EXPECT_STREQ(selvane_error(fHandle.get()), "the call was cancelled");
            EXPECT_DONE(fHandle.get(), Render());
            ASSERT_TRUE(fBytes == expected) << "cancelled at call " << at << ", automatic " << automatic;
            cancelled++;
        }
        EXPECT_GT(cancelled, 5);
    }
}

TEST_F(Callbacks, ACancelledPreviewLeavesTheNextOneRight)
{
    const auto preview = [&](std::vector<uint8_t>& pBytes) {
        const selvane_target target = TargetOf(320, 210, SELVANE_U8, pBytes.data());
        return selvane_preview(fHandle.get(), 320, &target);
    };
    std::vector<uint8_t> expected(3 * 320 * 210), seen(expected.size());
    EXPECT_DONE(fHandle.get(), preview(expected));
    for (int at = 0; at < 1000; at = NextAnswer(at)) {
        SetPicture();
        sListener listener;
        listener.fCancelAt = at;
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
        const int status = preview(seen);
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
        if (status == SELVANE_OK) {
            EXPECT_GT(at, 4);
            return;
        }
        EXPECT_EQ(status, SELVANE_ERROR_CANCELLED);
        EXPECT_DONE(fHandle.get(), preview(seen));
        ASSERT_TRUE(seen == expected) << at;
    }
    FAIL() << "the preview never came through";
}

TEST_F(Callbacks, ACancelledPictureLeavesTheOneBefore)
{
    std::vector<uint8_t> expected(fBytes.size());
    EXPECT_DONE(fHandle.get(), RenderInto(expected));
    const std::vector<float> other(3 * kWidth * kHeight, 0.3f);
    const selvane_picture picture = PictureOf(kWidth, kHeight, SELVANE_F32, other.data());
    for (int at = 0; at < 100; at++) {
        sListener listener;
        listener.fCancelAt = at;
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
        const int status = selvane_set_picture(fHandle.get(), &picture);
        ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
        if (status == SELVANE_OK) {
            EXPECT_GT(at, 1);
            return;
        }
        EXPECT_EQ(status, SELVANE_ERROR_CANCELLED);
        EXPECT_DONE(fHandle.get(), Render());
        ASSERT_TRUE(fBytes == expected) << at;
    }
    FAIL() << "the picture never came through";
}

TEST_F(Callbacks, ACancelledRenderLeavesTheReport)
{
    EXPECT_DONE(fHandle.get(), Render());
    const auto reportOf = [&] {
        selvane_report report{};
        report.struct_size = sizeof report;
        EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report));
        return report;
    };
    const selvane_report before = reportOf();
    Set([](selvane_settings& s) { s.radius = 5; });
    sListener listener;
    listener.fCancelAt = 0;
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
    EXPECT_EQ(Render(), SELVANE_ERROR_CANCELLED);
    const selvane_report after = reportOf();
    EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

TEST_F(Callbacks, AnExceptionOfACallbackIsAStatus)
{
    const auto throwing = [](void*, int, float) -> int { throw 7; };
    std::vector<uint8_t> expected(fBytes.size());
    EXPECT_DONE(fHandle.get(), RenderInto(expected));
    Set([](selvane_settings& s) { s.automatic = 1; });
    EXPECT_DONE(fHandle.get(), RenderInto(expected));
    SetPicture();
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), throwing, nullptr));
    EXPECT_EQ(Render(), SELVANE_ERROR_INTERNAL);
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), nullptr, nullptr));
    EXPECT_DONE(fHandle.get(), Render());
    EXPECT_TRUE(fBytes == expected);
}

// ---- Log ------------------------------------------------------------------------------------------------------------

struct sLines
{
    std::vector<std::string> fLines;
    bool fHere = true;
    std::thread::id fThread = std::this_thread::get_id();

    static void Take(void* pUser, const char* pLine)
    {
        auto& self = *static_cast<sLines*>(pUser);
        self.fLines.emplace_back(pLine);
        self.fHere = self.fHere && std::this_thread::get_id() == self.fThread;
    }
};

TEST_F(Callbacks, LogLinesTellWhatWasDone)
{
    sLines lines;
    ASSERT_DONE(fHandle.get(), selvane_set_log(fHandle.get(), sLines::Take, &lines));
    SetPicture();
    EXPECT_DONE(fHandle.get(), Render());
    ASSERT_EQ(lines.fLines.size(), 2u);
    EXPECT_EQ(lines.fLines[0].rfind("read 640 x 420 pixels in ", 0), 0u) << lines.fLines[0];
    EXPECT_EQ(lines.fLines[1].rfind("rendered 640 x 420 pixels: ", 0), 0u) << lines.fLines[1];
    EXPECT_TRUE(lines.fHere);
    for (const std::string& line : lines.fLines)
        EXPECT_EQ(line.find('\n'), std::string::npos);
    ASSERT_DONE(fHandle.get(), selvane_set_log(fHandle.get(), nullptr, nullptr));
    EXPECT_DONE(fHandle.get(), Render());
    EXPECT_EQ(lines.fLines.size(), 2u);
}

TEST_F(Callbacks, NothingIsPrinted)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    SetPicture();
    const int done = Render();
    const int refused = selvane_set_picture(fHandle.get(), nullptr);
    fflush(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(done, SELVANE_OK);
    EXPECT_EQ(refused, SELVANE_ERROR_ARGUMENT);
}

// ---- Executors and threads ------------------------------------------------------------------------------------------

using tTask = void (*)(void*, int);

void Backwards(void* pUser, tTask pTask, void* pContext, int pCount)
{
    ++*static_cast<int*>(pUser);
    for (int i = pCount; i-- > 0;)
        pTask(pContext, i);
}

void Nothing(void* pUser, tTask, void*, int)
{
    ++*static_cast<int*>(pUser);
}

void LastOnly(void* pUser, tTask pTask, void* pContext, int pCount)
{
    ++*static_cast<int*>(pUser);
    pTask(pContext, pCount - 1);
}

void OneThreadEach(void* pUser, tTask pTask, void* pContext, int pCount)
{
    ++*static_cast<int*>(pUser);
    std::vector<std::thread> threads;
    for (int i = 0; i < pCount; i++)
        threads.emplace_back(pTask, pContext, i);
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Callbacks, AnyExecutorGivesTheSameBytes)
{
    Set([](selvane_settings& s) { s.automatic = 1; });
    std::vector<uint8_t> expected(fBytes.size());
    EXPECT_DONE(fHandle.get(), RenderInto(expected));
    for (const selvane_executor executor : {Backwards, Nothing, LastOnly, OneThreadEach})
        for (const int threads : {1, 2, 7}) {
            int calls = 0;
            ASSERT_DONE(fHandle.get(), selvane_set_executor(fHandle.get(), executor, &calls));
            ASSERT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), threads));
            SetPicture();
            std::fill(fBytes.begin(), fBytes.end(), uint8_t{0});
            EXPECT_DONE(fHandle.get(), Render());
            EXPECT_TRUE(fBytes == expected) << threads;
            EXPECT_GT(calls, 5);
        }
    int calls = 0;
    ASSERT_DONE(fHandle.get(), selvane_set_executor(fHandle.get(), nullptr, &calls));
    EXPECT_DONE(fHandle.get(), Render());
    EXPECT_EQ(calls, 0);
}

/// Begins a thread every 60 ms, so that the second has something to tell while the first still tells.
void OneThreadAfterTheOther(void*, tTask pTask, void* pContext, int pCount)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < pCount; i++) {
        threads.emplace_back(pTask, pContext, i);
        std::this_thread::sleep_for(std::chrono::milliseconds(60));
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// On any thread of the executor, but never twice at once.
TEST_F(Callbacks, ProgressOfAnExecutorIsToldOneAfterTheOther)
{
    sListener listener;
    listener.fPause = 150;
    ASSERT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), 3));
    ASSERT_DONE(fHandle.get(), selvane_set_executor(fHandle.get(), OneThreadAfterTheOther, nullptr));
    ASSERT_DONE(fHandle.get(), selvane_set_progress(fHandle.get(), sListener::Tell, &listener));
    Set([](selvane_settings& s) { s.radius = 3; });
    EXPECT_DONE(fHandle.get(), Render());
    EXPECT_FALSE(listener.fTwiceAtOnce);
    EXPECT_GT(listener.fTold.size(), 4u);
    listener.fTold.clear();
    listener.fCancelAt = 1;
    Set([](selvane_settings& s) { s.radius = 4; });
    EXPECT_EQ(Render(), SELVANE_ERROR_CANCELLED);
    EXPECT_FALSE(listener.fTwiceAtOnce);
}

TEST_F(Callbacks, AnyNumberOfThreadsGivesTheSameBytes)
{
    Set([](selvane_settings& s) { s.automatic = 1; });
    std::vector<uint8_t> expected(fBytes.size());
    ASSERT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), 1));
    SetPicture();
    EXPECT_DONE(fHandle.get(), RenderInto(expected));
    for (const int threads : {2, 7, 256, 0}) {
        ASSERT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), threads));
        SetPicture();
        EXPECT_DONE(fHandle.get(), Render());
        EXPECT_TRUE(fBytes == expected) << threads;
    }
}

/// Four handles on four threads at once, with settings of their own. The bytes are those of one after the other.
TEST(Handles, WorkOnDifferentThreadsAtOnce)
{
    constexpr int kSmallWidth = 200, kSmallHeight = 130, kHandles = 4;
    const std::vector<float> scene = FloatScene(kSmallWidth, kSmallHeight);
    const auto work = [&](int pNumber) {
        const tHandle handle = NewHandle();
        const selvane_picture picture = PictureOf(kSmallWidth, kSmallHeight, SELVANE_F32, scene.data());
        selvane_settings settings = PlainSettings();
        settings.automatic = pNumber % 2;
        settings.compression = static_cast<float>(10 * pNumber);
        EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), 1 + pNumber));
        EXPECT_DONE(handle.get(), selvane_set_settings(handle.get(), &settings));
        EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
        const unsigned char* profile = nullptr;
        size_t size = 0;
        EXPECT_EQ(selvane_profile(SELVANE_REC2020, 1, &profile, &size), SELVANE_OK);
        return RenderBytes(handle.get(), kSmallWidth, kSmallHeight);
    };
    std::array<std::vector<uint8_t>, kHandles> expected, seen;
    for (int i = 0; i < kHandles; i++)
        expected[static_cast<size_t>(i)] = work(i);
    for (int round = 0; round < 3; round++) {
        std::vector<std::thread> threads;
        for (int i = 0; i < kHandles; i++)
            threads.emplace_back([&, i] { seen[static_cast<size_t>(i)] = work(i); });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(seen == expected);
    }
}

} // namespace
} // namespace SelvaneTest
