// The limit of memory, and the estimate. This program counts what malloc hands out; with a sanitizer's own malloc it
// does not.

#include "Pictures.h"

#include <atomic>
#include <cstddef>
#include <malloc.h>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define SELVANE_TESTS_COUNT_MALLOC 1
#else
#define SELVANE_TESTS_COUNT_MALLOC 0
#endif

namespace
{

std::atomic<int64_t> gLive{0};  ///< bytes
std::atomic<int64_t> gPeak{0};  ///< largest gLive since the last reset
std::atomic<int64_t> gTaken{0}; ///< bytes handed out since the last reset, freed or not

#if SELVANE_TESTS_COUNT_MALLOC

void* Counted(void* pBlock)
{
    const auto bytes = static_cast<int64_t>(malloc_usable_size(pBlock));
    gTaken += bytes;
    const int64_t live = gLive += bytes;
    int64_t peak = gPeak;
    while (live > peak && !gPeak.compare_exchange_weak(peak, live)) {
    }
    return pBlock;
}

#endif

void Reset()
{
    gPeak = gLive.load();
    gTaken = 0;
}

} // namespace

#if SELVANE_TESTS_COUNT_MALLOC

extern "C" {

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t pBytes)
{
    return Counted(__libc_malloc(pBytes));
}

void* calloc(size_t pCount, size_t pBytes)
{
    return Counted(__libc_calloc(pCount, pBytes));
}

void* realloc(void* pBlock, size_t pBytes)
{
    gLive -= static_cast<int64_t>(malloc_usable_size(pBlock));
    return Counted(__libc_realloc(pBlock, pBytes));
}

void* memalign(size_t pAlignment, size_t pBytes)
{
    return Counted(__libc_memalign(pAlignment, pBytes));
}

void* aligned_alloc(size_t pAlignment, size_t pBytes)
{
    return Counted(__libc_memalign(pAlignment, pBytes));
}

int posix_memalign(void** pBlock, size_t pAlignment, size_t pBytes)
{
    *pBlock = Counted(__libc_memalign(pAlignment, pBytes));
    return *pBlock == nullptr ? 12 : 0; // ENOMEM
}

void free(void* pBlock)
{
    gLive -= static_cast<int64_t>(malloc_usable_size(pBlock));
    __libc_free(pBlock);
}

} // extern "C"

#endif

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 900, kHeight = 600;
constexpr int64_t kSmall = 16384; // bytes: texts of failures and the like, no pixels

uint64_t EstimateOf(const selvane_picture& pPicture)
{
    uint64_t bytes = 0;
    EXPECT_EQ(selvane_estimate_memory(&pPicture, &bytes), SELVANE_OK);
    return bytes;
}

class Memory : public testing::Test
{
protected:
    Memory() : fScene(FloatScene(kWidth, kHeight)), fHandle(NewHandle())
    {
        EXPECT_DONE(fHandle.get(), selvane_set_threads(fHandle.get(), 2));
    }

    selvane_picture Picture() const { return PictureOf(kWidth, kHeight, SELVANE_F32, fScene.data()); }

    void SetLimit(uint64_t pBytes) { EXPECT_DONE(fHandle.get(), selvane_set_memory_limit(fHandle.get(), pBytes)); }

    /// The call answers with the limit and takes no memory to speak of.
    template <class tCall>
    void ExpectLimit(const char* pName, const tCall& pCall)
    {
        Reset();
        const int64_t live = gLive;
        EXPECT_EQ(pCall(), SELVANE_ERROR_LIMIT) << pName;
        EXPECT_LT(gTaken, kSmall) << pName;
        EXPECT_LE(gLive - live, kSmall) << pName;
        EXPECT_NE(std::string(selvane_error(fHandle.get())).find("limit"), std::string::npos) << pName;
    }

    std::vector<float> fScene;
    tHandle fHandle;
    std::vector<uint8_t> fBytes = std::vector<uint8_t>(3 * kWidth * kHeight);
};

TEST_F(Memory, TheCounterCounts)
{
    if (SELVANE_TESTS_COUNT_MALLOC == 0) GTEST_SKIP() << "the sanitizer has a malloc of its own";
    Reset();
    const selvane_picture picture = Picture();
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    EXPECT_GT(gTaken, int64_t{12} * kWidth * kHeight);
}

TEST_F(Memory, APictureBeyondTheLimitIsRefusedBeforeItTakesMemory)
{
    const selvane_picture picture = Picture();
    for (const uint64_t limit : {uint64_t{1}, uint64_t{100000}, uint64_t{24} * kWidth * kHeight}) {
        SetLimit(limit);
        ExpectLimit("set_picture", [&] { return selvane_set_picture(fHandle.get(), &picture); });
    }
    SetLimit(0);
    EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
}

TEST_F(Memory, ALimitThatSinksStopsEveryCallThatNeedsMore)
{
    const selvane_picture picture = Picture();
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    const tHandle other = NewHandle();
    ASSERT_DONE(other.get(), selvane_set_picture(other.get(), &picture));
    const std::vector<uint8_t> expected = RenderBytes(other.get(), kWidth, kHeight);
    SetLimit(uint64_t{13} * kWidth * kHeight); // less than the planes of a render
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, fBytes.data());
    const selvane_target small = TargetOf(90, 60, SELVANE_U8, fBytes.data());
    selvane_settings settings = PlainSettings(), answer = PlainSettings();
    std::vector<float> plane(kWidth * kHeight);
    for (const int automatic : {0, 1}) {
        settings.automatic = automatic;
        EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &settings));
        ExpectLimit("render", [&] { return selvane_render(fHandle.get(), &target); });
        ExpectLimit("preview", [&] { return selvane_preview(fHandle.get(), 90, &small); });
        ExpectLimit("suggest", [&] { return selvane_suggest(fHandle.get(), &answer); });
        ExpectLimit("get_plane", [&] { return selvane_get_plane(fHandle.get(), SELVANE_PLANE_BASE, plane.data(), 0); });
        ExpectLimit("set_picture", [&] { return selvane_set_picture(fHandle.get(), &picture); });
    }
    ExpectLimit("effective_settings", [&] { return selvane_effective_settings(fHandle.get(), &answer); });
    SetLimit(0);
    EXPECT_TRUE(RenderBytes(fHandle.get(), kWidth, kHeight) == expected);
}

/// The picture is in, the suggestion's preview is too much.
TEST_F(Memory, ASuggestionBeyondTheLimitLeavesTheHandle)
{
    const selvane_picture picture = Picture();
    uint64_t limit = EstimateOf(picture);
    SetLimit(limit);
    ASSERT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
    SetLimit(limit - 1);
    selvane_settings settings = PlainSettings();
    ExpectLimit("suggest", [&] { return selvane_suggest(fHandle.get(), &settings); });
    EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &settings)); // without a suggestion it is enough
    RenderBytes(fHandle.get(), kWidth, kHeight);
    settings.automatic = 1;
    EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &settings));
    const selvane_target target = TargetOf(kWidth, kHeight, SELVANE_U8, fBytes.data());
    ExpectLimit("render", [&] { return selvane_render(fHandle.get(), &target); });
    SetLimit(limit);
    RenderBytes(fHandle.get(), kWidth, kHeight);
}

/// What one whole run takes: the largest amount at any moment, and that in the end.
struct sTaken
{
    int64_t fPeak;
    int64_t fHeld;
    int64_t fReported;
    int64_t fEstimate;
};

sTaken RunWhole(int pWidth, int pHeight, int pFormat, int pChannels, int pThreads)
{
    std::vector<float> samples = FloatScene(pWidth, pHeight, pChannels); // the same bytes for every format
    if (pFormat != SELVANE_F32)
        for (float& sample : samples)
            sample = 0.25f;
    if (pChannels == 4)
        for (size_t i = 3; i < samples.size(); i += 4 * 50)
            samples[i] = 0.0f; // some do not count
    std::vector<uint8_t> bytes(3 * static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight));
    const selvane_picture picture = PictureOf(pWidth, pHeight, pFormat, samples.data(), pChannels);
    const selvane_target target = TargetOf(pWidth, pHeight, SELVANE_U8, bytes.data());
    const int64_t before = gLive;
    Reset();
    const tHandle handle = NewHandle();
    const auto estimate = EstimateOf(picture);
    selvane_settings settings = PlainSettings();
    EXPECT_DONE(handle.get(), selvane_set_threads(handle.get(), pThreads));
    EXPECT_DONE(handle.get(), selvane_set_memory_limit(handle.get(), estimate));
    EXPECT_DONE(handle.get(), selvane_set_picture(handle.get(), &picture));
    EXPECT_DONE(handle.get(), selvane_suggest(handle.get(), &settings));
    EXPECT_DONE(handle.get(), selvane_render(handle.get(), &target));
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(handle.get(), selvane_get_report(handle.get(), &report));
    return {gPeak - before, gLive - before, report.bytes, static_cast<int64_t>(estimate)};
}

TEST(MemoryOfARun, StaysWithinTheEstimate)
{
    for (const int threads : {1, 2, 64})
        for (const int channels : {3, 4}) {
            const sTaken taken = RunWhole(1200, 800, SELVANE_F32, channels, threads);
            EXPECT_LE(taken.fPeak, taken.fEstimate) << threads << " threads, " << channels << " channels";
            EXPECT_LE(taken.fHeld, taken.fReported) << threads << " threads, " << channels << " channels";
            EXPECT_LE(taken.fReported, taken.fEstimate) << threads << " threads, " << channels << " channels";
        }
    const sTaken small = RunWhole(3, 2, SELVANE_U8, 3, 2);
    EXPECT_LE(small.fPeak, small.fEstimate);
}

/// Pixel by pixel, so that the constants of the estimate hide nothing. Ranges of a scene decide the size of the grid,
/// and both pictures have the same.
TEST(MemoryOfARun, GrowsNoFasterThanTheEstimate)
{
    for (const int channels : {3, 4}) {
        const sTaken one = RunWhole(1200, 800, SELVANE_F32, channels, 1);
        const sTaken four = RunWhole(2400, 1600, SELVANE_F32, channels, 1);
        const double pixels = 3.0 * 1200 * 800;
        const double taken = static_cast<double>(four.fPeak - one.fPeak) / pixels;
        const double estimated = static_cast<double>(four.fEstimate - one.fEstimate) / pixels;
        std::printf("%d channels: %.2f bytes a pixel taken, %.2f estimated; one megapixel: %.1f MB of %.1f\n", channels,
                    taken, estimated, 1e-6 * static_cast<double>(one.fPeak), 1e-6 * static_cast<double>(one.fEstimate));
        EXPECT_LE(taken, estimated + 0.1) << channels << " channels";
    }
}

TEST(MemoryOfARun, IsGivenBack)
{
    if (SELVANE_TESTS_COUNT_MALLOC == 0) GTEST_SKIP() << "the sanitizer has a malloc of its own";
    RunWhole(300, 200, SELVANE_F32, 4, 3); // what the process keeps: tables, the profile
    const int64_t before = gLive;
    RunWhole(300, 200, SELVANE_F32, 4, 3);
    EXPECT_LE(gLive - before, 1024);
}

} // namespace
} // namespace SelvaneTest
