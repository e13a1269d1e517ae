// What hosts do: several threads that call at once, tiles cut and ordered in odd ways, and renders that are cancelled
// at any moment. The bits are always those of the plain run. With SELVANE_LONG in the environment the runs are long and
// the cancelled picture has 12 megapixels.

#include "EntryCall.h"
#include "TileHost.h"

#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapXYZ32.h"
#include "color/cColorSpace.h"
#include "image/cImageUtils.h"
#include "render/cTmRenderer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

using cClock = std::chrono::steady_clock;

bool IsLong()
{
    return std::getenv("SELVANE_LONG") != nullptr;
}

bool IsSame(const sEntryCall& pCall, const sEntryCall& pExpected)
{
    return pCall.fResult == pExpected.fResult && pCall.fOutput == pExpected.fOutput &&
           std::memcmp(&pCall.fSlidersAfter, &pExpected.fSlidersAfter, sizeof pCall.fSlidersAfter) == 0;
}

/// The call of one of the threads: each has another picture, form, size, colour space and number of workers.
sEntryCall CallOfThread(int pThread)
{
    constexpr int kInputDepths[] = {8, 32, 8, 16, 32, 8, 32, 8};
    const int inputDepth = kInputDepths[pThread % 8];
    const int size = inputDepth == 16 ? 160 : 40; // a 16-bit call loses a large table, so it is made less often
    sEntryCall call(size + 7 * pThread, size + 3, inputDepth, pThread % 2 == 0 ? 8 : 16,
                    static_cast<unsigned>(pThread) + 1);
    call.fRun = {1 + pThread % 4, 0, pThread == 5 ? 9 : 0};
    call.fColorSpace = pThread % 3;
    return call;
}

TEST(Hosts, EightThreadsCallAtOnceAndGetTheirOwnPictures)
{
    constexpr int kThreads = 8;
    const cQuietErrors quiet;
    std::vector<sEntryCall> expected;
    for (int thread = 0; thread < kThreads; thread++) {
        expected.push_back(CallOfThread(thread));
        expected.back().Run();
        ASSERT_EQ(expected.back().fResult, 1);
    }
    const auto end = cClock::now() + std::chrono::seconds(IsLong() ? 60 : 2);
    std::atomic<int> calls{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; thread++) {
        threads.emplace_back([&, thread] {
            const cTilingScope tiling(sTiling{.fThreads = thread % 2 == 1});
            sEntryCall call(expected[static_cast<size_t>(thread)]);
            do {
                call.Reset();
                call.Run();
                calls++;
                if (!IsSame(call, expected[static_cast<size_t>(thread)])) wrong++;
            } while (cClock::now() < end);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(calls, kThreads);
    EXPECT_EQ(wrong, 0);
    RecordProperty("calls", calls);
    if (IsLong()) std::cout << calls << " calls\n";
}

using cForm = std::tuple<int, int, int>; // input depth, output depth, workers

class OddTiles : public testing::TestWithParam<cForm>
{
};

TEST_P(OddTiles, BackwardsOneRowATileAndEmptyOnesBetween)
{
    const cQuietErrors quiet;
    const auto [inputDepth, outputDepth, workers] = GetParam();
    sEntryCall expected(61, 47, inputDepth, outputDepth);
    expected.fSliders.wrapSwitch = workers == 4 ? 1.0f : 0.0f;
    expected.Reset();
    expected.Run();
    ASSERT_EQ(expected.fResult, 1);
    sEntryCall call(expected);
    call.fRun.processorCount = workers;
    for (const bool threads : {false, true}) {
        const cTilingScope tiling(sTiling{.fThreads = threads, .fRows = 1, .fReverse = true, .fEmpty = true});
        call.Reset();
        call.Run();
        EXPECT_TRUE(IsSame(call, expected));
    }
}

std::string NameOf(const testing::TestParamInfo<cForm>& pInfo)
{
    const auto [inputDepth, outputDepth, workers] = pInfo.param;
    return "in" + std::to_string(inputDepth) + "_out" + std::to_string(outputDepth) + "_workers" +
           std::to_string(workers);
}

INSTANTIATE_TEST_SUITE_P(Forms, OddTiles,
                         testing::Combine(testing::Values(8, 16, 32), testing::Values(8, 16), testing::Values(1, 4)),
                         NameOf);

/// A renderer between two pictures of its own.
class cScene
{
public:
    cScene(int pWidth, int pHeight) : fInput(pWidth, pHeight), fOutput(pWidth, pHeight, eColorSpace_AdobeRGB98)
    {
        std::mt19937 random(1);
        for (int y = 0; y < pHeight; y++)
            for (int x = 0; x < pWidth; x++) {
                float* const pixel = fInput.fData + static_cast<ptrdiff_t>(y) * (fInput.fStride / 4) + 3 * x;
                const float noise = static_cast<float>(random() % 1024) / 1024.0f;
                pixel[1] =
                    std::exp(6.0f * static_cast<float>(x + 2 * y) / static_cast<float>(pWidth + pHeight) + noise);
                pixel[0] = 0.95f * pixel[1];
                pixel[2] = 0.5f * pixel[1];
            }
        fRenderer->fLogEnabled = 0;
        fRenderer->SetNbProc(3);
        fRenderer->SetInput(&fInput);
        fRenderer->SetOutput(&fOutput);
    }

    /// Marks all stages and wipes the output.
    void Begin()
    {
        fRenderer->SetToneMappingParams(47.0f, 0.5f, true, 20.0f, true, 0.0f, 100.0f, 60.0f, 20.0f, false, false, false,
                                        0.1f, 0.1f, 0, 0.0f, 0.0f);
        cImageUtils::Fill(&fOutput, 0xA5A5);
        fCancel = false;
        fCancelled = false;
    }
    void Render() { fRenderer->Render(&fCancel, &fCancelled); }
    void Cancel() { __atomic_store_n(&fCancel, true, __ATOMIC_RELAXED); }
    bool IsCancelled() const { return __atomic_load_n(&fCancelled, __ATOMIC_RELAXED); }
    void GoOn()
    {
        fCancel = false;
        fCancelled = false;
        Render();
    }

    /// The first stage that is still marked; 4 when none is.
    int FirstMarked() const
    {
        if (fRenderer->fPrepareNeeded) return 0;
        if (fRenderer->fPhase1Needed) return 1;
        if (fRenderer->fPhase2Needed) return 2;
        return fRenderer->fFinalNeeded ? 3 : 4;
    }

    bool HasSamePixels(const cBitmapBGR16& pExpected) const
    {
        for (int y = 0; y < fOutput.fHeight; y++) {
            const ptrdiff_t row = static_cast<ptrdiff_t>(y) * (fOutput.fStride / 2);
            if (std::memcmp(fOutput.fData + row, pExpected.fData + row, 6 * static_cast<size_t>(fOutput.fWidth)) != 0)
                return false;
        }
        return true;
    }
    void CopyPixelsTo(cBitmapBGR16& pCopy) const
    {
        for (int y = 0; y < fOutput.fHeight; y++) {
            const ptrdiff_t row = static_cast<ptrdiff_t>(y) * (fOutput.fStride / 2);
            std::memcpy(pCopy.fData + row, fOutput.fData + row, 6 * static_cast<size_t>(fOutput.fWidth));
        }
    }
    void ExpectPoints(float pBlack, float pWhite) const
    {
        EXPECT_EQ(fRenderer->fBlack, pBlack);
        EXPECT_EQ(fRenderer->fWhite, pWhite);
    }
    cTmRenderer& Renderer() { return *fRenderer; }

private:
    cBitmapXYZ32 fInput;
    cBitmapBGR16 fOutput;
    std::unique_ptr<cTmRenderer> fRenderer = std::make_unique<cTmRenderer>();
    bool fCancel = false;
    bool fCancelled = false;
};

/// A cancelled render says so and keeps a mark, an uncancelled one has neither; the next one ends in the right picture.
void ExpectRenderGoesOn(cScene& pScene, const cBitmapBGR16& pExpected, float pBlack, float pWhite)
{
    EXPECT_EQ(pScene.IsCancelled(), pScene.FirstMarked() < 4);
    if (!pScene.IsCancelled()) {
        EXPECT_TRUE(pScene.HasSamePixels(pExpected));
    }
    pScene.GoOn();
    EXPECT_FALSE(pScene.IsCancelled());
    EXPECT_EQ(pScene.FirstMarked(), 4);
    EXPECT_TRUE(pScene.HasSamePixels(pExpected));
    pScene.ExpectPoints(pBlack, pWhite);
}

TEST(Cancellation, AtARandomMomentFromAnotherThread)
{
    const int width = IsLong() ? 4000 : 320;
    const int height = IsLong() ? 3000 : 240;
    const int runs = IsLong() ? 30 : 40;
    const cTilingScope tiling(sTiling{.fThreads = true, .fRows = 16});
    cScene scene(width, height);
    scene.Begin();
    const auto begin = cClock::now();
    scene.Render();
    const std::chrono::duration<double> whole = cClock::now() - begin;
    ASSERT_FALSE(scene.IsCancelled());
    cBitmapBGR16 expected(width, height, eColorSpace_AdobeRGB98);
    scene.CopyPixelsTo(expected);
    const float black = scene.Renderer().fBlack;
    const float white = scene.Renderer().fWhite;
    ASSERT_LT(black, white);

    std::mt19937 random(7);
    std::uniform_real_distribution<double> moment(0.0, 1.1);
    int stopped[5] = {};
    for (int run = 0; run < runs; run++) {
        SCOPED_TRACE(run);
        scene.Begin();
        const auto wait = whole * moment(random);
        std::thread other([&] {
            std::this_thread::sleep_for(wait);
            scene.Cancel();
        });
        scene.Render();
        other.join();
        stopped[scene.FirstMarked()]++;
        ExpectRenderGoesOn(scene, expected, black, white);
    }
    for (int stage = 0; stage < 5; stage++)
        RecordProperty("stopped_in_stage_" + std::to_string(stage), stopped[stage]);
    if (IsLong())
        std::cout << "stopped in preparation " << stopped[0] << ", phase 1 " << stopped[1] << ", phase 2 " << stopped[2]
                  << ", final " << stopped[3] << ", not at all " << stopped[4] << ", of " << whole.count() << " s\n";
}

// The same, at moments that can be named: before each tile of each parallel step, on the tile's thread.
TEST(Cancellation, BeforeEveryTile)
{
    cScene scene(40, 30);
    std::atomic<int> tiles{0};
    int cancelAt = -1;
    const cTilingScope tiling(sTiling{.fThreads = true, .fRows = 3, .fBeforeTile = [&] {
                                          if (tiles++ == cancelAt) scene.Cancel();
                                      }});
    scene.Begin();
    scene.Render();
    const int all = tiles;
    ASSERT_GT(all, 30); // luminance, slicing, and two passes of the blur, three times each
    cBitmapBGR16 expected(40, 30, eColorSpace_AdobeRGB98);
    scene.CopyPixelsTo(expected);
    const float black = scene.Renderer().fBlack;
    const float white = scene.Renderer().fWhite;
    for (int tile = 0; tile < all; tile++) {
        SCOPED_TRACE(tile);
        scene.Begin();
        tiles = 0;
        cancelAt = tile;
        scene.Render();
        cancelAt = -1;
        EXPECT_TRUE(scene.IsCancelled());
        ExpectRenderGoesOn(scene, expected, black, white);
    }
}

/// Reads the standard error stream of the process on a thread of its own, and calls back once when a text has come.
class cLogWatch
{
public:
    cLogWatch(std::string pText, std::function<void()> pCall) : fText(std::move(pText)), fCall(std::move(pCall))
    {
        int ends[2];
        if (pipe(ends) != 0) std::abort();
        std::fflush(stderr);
        dup2(ends[1], 2);
        close(ends[1]);
        fReader = std::thread([this, from = ends[0]] { Read(from); });
    }
    ~cLogWatch()
    {
        std::fflush(stderr);
        dup2(fSaved, 2); // closes the writing end
        close(fSaved);
        fReader.join();
    }
    cLogWatch(const cLogWatch&) = delete;
    cLogWatch& operator=(const cLogWatch&) = delete;

private:
    void Read(int pFrom)
    {
        std::string all;
        char some[4096];
        bool called = false;
        for (ssize_t got = 0; (got = read(pFrom, some, sizeof some)) > 0;) {
            all.append(some, static_cast<size_t>(got));
            if (!called && all.find(fText) != std::string::npos) {
                fCall();
                called = true;
            }
        }
        close(pFrom);
    }

    std::string fText;
    std::function<void()> fCall;
    int fSaved = dup(2);
    std::thread fReader;
};

class CancelledAtALine : public testing::TestWithParam<const char*>
{
};

// Cancelled from another thread as soon as a stage has said something: while the tables are built, the luminance is
// replaced, the histogram is counted, the picture is decoded.
TEST_P(CancelledAtALine, GoesOnWithTheSameBits)
{
    constexpr int kWidth = 900;
    constexpr int kHeight = 700;
    cScene scene(kWidth, kHeight);
    scene.Begin();
    scene.Render();
    cBitmapBGR16 expected(kWidth, kHeight, eColorSpace_AdobeRGB98);
    scene.CopyPixelsTo(expected);
    const float black = scene.Renderer().fBlack;
    const float white = scene.Renderer().fWhite;
    scene.Renderer().fLogEnabled = 1;
    for (int run = 0; run < 4; run++) {
        SCOPED_TRACE(run);
        scene.Begin();
        {
            const cLogWatch watch(GetParam(), [&] { scene.Cancel(); });
            scene.Render();
        }
        const cQuietErrors quiet;
        EXPECT_GE(scene.FirstMarked(), 2); // what came before the line was complete
        ExpectRenderGoesOn(scene, expected, black, white);
    }
}

INSTANTIATE_TEST_SUITE_P(Lines, CancelledAtALine,
                         testing::Values("ToneMappingPhase1", "GlobalContrast", "Tone Mapped Y", "Linear Perc1"),
                         [](const testing::TestParamInfo<const char*>& pInfo) {
                             std::string name(pInfo.param);
                             std::erase(name, ' ');
                             return name;
                         });

} // namespace
