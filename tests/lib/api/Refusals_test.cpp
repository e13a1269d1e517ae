// Every argument that makes no sense is refused by name, and the handle is as it was.

#include "Pictures.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

namespace SelvaneTest
{
namespace
{

constexpr int kWidth = 24, kHeight = 16;
const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInfinity = std::numeric_limits<float>::infinity();

/// A handle with a picture, whose bytes are known.
class Refusals : public testing::Test
{
protected:
    Refusals() : fSamples(FloatScene(kWidth, kHeight, 4)), fHandle(NewHandle())
    {
        const selvane_picture picture = Picture();
        EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture));
        fBytes = RenderBytes(fHandle.get(), kWidth, kHeight);
    }

    selvane_picture Picture() const { return PictureOf(kWidth, kHeight, SELVANE_F32, fSamples.data()); }

    selvane_target Target() { return TargetOf(kWidth, kHeight, SELVANE_U8, fOutput.data()); }

    /// The call is refused with a text that has pWord in it, and nothing has changed.
    void ExpectRefused(int pStatus, const char* pWord)
    {
        EXPECT_EQ(pStatus, SELVANE_ERROR_ARGUMENT) << pWord;
        EXPECT_NE(std::string(selvane_error(fHandle.get())).find(pWord), std::string::npos)
            << "'" << selvane_error(fHandle.get()) << "' does not name " << pWord;
        EXPECT_TRUE(RenderBytes(fHandle.get(), kWidth, kHeight) == fBytes) << pWord;
    }

    void ExpectPictureRefused(const char* pWord, const std::function<void(selvane_picture&)>& pChange)
    {
        selvane_picture picture = Picture();
        pChange(picture);
        ExpectRefused(selvane_set_picture(fHandle.get(), &picture), pWord);
    }

    void ExpectTargetRefused(const char* pWord, const std::function<void(selvane_target&)>& pChange)
    {
        selvane_target target = Target();
        pChange(target);
        ExpectRefused(selvane_render(fHandle.get(), &target), pWord);
        ExpectRefused(selvane_preview(fHandle.get(), 1000, &target), pWord);
    }

    std::vector<float> fSamples;
    std::vector<unsigned char> fOutput = std::vector<unsigned char>(16 * kWidth * kHeight);
    tHandle fHandle;
    std::vector<uint8_t> fBytes;
};

// ---- Null -----------------------------------------------------------------------------------------------------------

TEST(Null, HandleIsRefusedByEveryFunction)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    selvane_target target;
    selvane_target_init(&target);
    selvane_settings settings;
    selvane_settings_init(&settings);
    selvane_report report{};
    report.struct_size = sizeof report;
    int32_t width = 0, height = 0;
    float value = 0;
    for (const int status :
         {selvane_set_picture(nullptr, &picture), selvane_set_settings(nullptr, &settings),
          selvane_get_settings(nullptr, &settings), selvane_suggest(nullptr, &settings),
          selvane_effective_settings(nullptr, &settings), selvane_render(nullptr, &target),
          selvane_preview_size(nullptr, 10, &width, &height), selvane_preview(nullptr, 10, &target),
          selvane_plain(nullptr, 0, 10, &target), selvane_get_report(nullptr, &report),
          selvane_get_plane(nullptr, 0, &value, 0), selvane_set_progress(nullptr, nullptr, nullptr),
          selvane_set_log(nullptr, nullptr, nullptr), selvane_set_executor(nullptr, nullptr, nullptr),
          selvane_set_threads(nullptr, 1), selvane_set_memory_limit(nullptr, 0)})
        EXPECT_EQ(status, SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_reason(nullptr, 0), nullptr);
    EXPECT_STRNE(selvane_error(nullptr), "");
    selvane_free(nullptr);
    selvane_picture_init(nullptr);
    selvane_target_init(nullptr);
    selvane_settings_init(nullptr);
}

TEST_F(Refusals, NullIsRefusedAnywhere)
{
    selvane* const h = fHandle.get();
    int32_t side = 0;
    uint64_t bytes = 0;
    const selvane_picture picture = Picture();
    ExpectRefused(selvane_set_picture(h, nullptr), "null");
    ExpectRefused(selvane_set_settings(h, nullptr), "null");
    ExpectRefused(selvane_get_settings(h, nullptr), "null");
    ExpectRefused(selvane_suggest(h, nullptr), "null");
    ExpectRefused(selvane_effective_settings(h, nullptr), "null");
    ExpectRefused(selvane_render(h, nullptr), "null");
    ExpectRefused(selvane_preview(h, 10, nullptr), "null");
    ExpectRefused(selvane_plain(h, 0, 10, nullptr), "null");
    ExpectRefused(selvane_preview_size(h, 10, nullptr, &side), "null");
    ExpectRefused(selvane_preview_size(h, 10, &side, nullptr), "null");
    ExpectRefused(selvane_get_report(h, nullptr), "null");
    ExpectRefused(selvane_get_plane(h, SELVANE_PLANE_BASE, nullptr, 0), "null");
    EXPECT_EQ(selvane_estimate_memory(nullptr, &bytes), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_estimate_memory(&picture, nullptr), SELVANE_ERROR_ARGUMENT);
    ExpectPictureRefused("pixels", [](selvane_picture& p) { p.pixels = nullptr; });
    ExpectTargetRefused("pixels", [](selvane_target& t) { t.pixels = nullptr; });
}

TEST(Null, ProfileNeedsBothPlaces)
{
    const unsigned char* bytes = nullptr;
    size_t size = 0;
    EXPECT_EQ(selvane_profile(SELVANE_SRGB, 0, nullptr, &size), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(selvane_profile(SELVANE_SRGB, 0, &bytes, nullptr), SELVANE_ERROR_ARGUMENT);
    for (const int space : {-1, 5, 6, 100, INT_MAX, INT_MIN})
        EXPECT_EQ(selvane_profile(space, 0, &bytes, &size), SELVANE_ERROR_ARGUMENT) << space;
    for (const int linear : {-1, 2, INT_MAX})
        EXPECT_EQ(selvane_profile(SELVANE_SRGB, linear, &bytes, &size), SELVANE_ERROR_ARGUMENT) << linear;
}

TEST(Null, StatusHasATextWhateverItIs)
{
    for (const int status : {0, 1, 2, 3, 4, 5, 6, 7, 8, -1, INT_MAX, INT_MIN})
        EXPECT_STRNE(selvane_status_text(status), "");
    EXPECT_STREQ(selvane_status_text(SELVANE_ERROR_NO_PICTURE), "no picture");
    EXPECT_STREQ(selvane_status_text(8), selvane_status_text(-1));
}

// ---- No picture -----------------------------------------------------------------------------------------------------

TEST(NoPicture, IsSaidByEveryFunctionThatNeedsOne)
{
    const tHandle handle = NewHandle();
    selvane* const h = handle.get();
    EXPECT_STREQ(selvane_error(h), "");
    unsigned char pixel[3] = {};
    selvane_target target = TargetOf(1, 1, SELVANE_U8, pixel);
    selvane_settings settings = PlainSettings();
    int32_t width = 7, height = 7;
    float value = 0;
    for (const int status :
         {selvane_render(h, &target), selvane_preview(h, 5, &target), selvane_plain(h, 0, 5, &target),
          selvane_preview_size(h, 5, &width, &height), selvane_suggest(h, &settings),
          selvane_effective_settings(h, &settings), selvane_get_plane(h, 0, &value, 0)})
        EXPECT_EQ(status, SELVANE_ERROR_NO_PICTURE);
    EXPECT_STREQ(selvane_error(h), "the handle has no picture yet");
    EXPECT_EQ(selvane_reason(h, 0), nullptr);
    selvane_report report{};
    report.struct_size = sizeof report;
    EXPECT_DONE(h, selvane_get_report(h, &report));
    EXPECT_EQ(report.width, 0);
    EXPECT_EQ(report.visible_pixels, 0);
}

// ---- Records that grow ----------------------------------------------------------------------------------------------

/// A record of a newer header: the same, with an end that this library does not know.
template <class tRecord>
struct sNewer
{
    tRecord fRecord;
    unsigned char fEnd[16] = {};
};

TEST_F(Refusals, ANewerRecordWithAnEmptyEndIsTaken)
{
    sNewer<selvane_picture> picture{Picture()};
    sNewer<selvane_target> target{Target()};
    sNewer<selvane_settings> settings{PlainSettings()};
    settings.fRecord.automatic = 1;
    picture.fRecord.struct_size = sizeof picture;
    target.fRecord.struct_size = sizeof target;
    settings.fRecord.struct_size = sizeof settings;
    EXPECT_DONE(fHandle.get(), selvane_set_picture(fHandle.get(), &picture.fRecord));
    EXPECT_DONE(fHandle.get(), selvane_set_settings(fHandle.get(), &settings.fRecord));
    EXPECT_DONE(fHandle.get(), selvane_render(fHandle.get(), &target.fRecord));
    EXPECT_EQ(std::memcmp(fOutput.data(), fBytes.data(), fBytes.size()), 0);
}

TEST_F(Refusals, ANewerRecordWithSomethingInItsEndIsRefused)
{
    for (const size_t at : {size_t{0}, size_t{15}}) {
        sNewer<selvane_picture> picture{Picture()};
        sNewer<selvane_target> target{Target()};
        picture.fRecord.struct_size = sizeof picture;
        target.fRecord.struct_size = sizeof target;
        picture.fEnd[at] = target.fEnd[at] = 1;
        ExpectRefused(selvane_set_picture(fHandle.get(), &picture.fRecord), "does not know");
        ExpectRefused(selvane_render(fHandle.get(), &target.fRecord), "does not know");
    }
}

TEST_F(Refusals, AReportOfANewerHeaderGetsZerosInItsEnd)
{
    sNewer<selvane_report> report{};
    report.fRecord.struct_size = sizeof report;
    std::memset(report.fEnd, 0xEE, sizeof report.fEnd);
    EXPECT_DONE(fHandle.get(), selvane_get_report(fHandle.get(), &report.fRecord));
    EXPECT_EQ(report.fRecord.width, kWidth);
    EXPECT_EQ(report.fRecord.struct_size, sizeof report);
    for (const unsigned char byte : report.fEnd)
        EXPECT_EQ(byte, 0);
}

TEST_F(Refusals, ARecordWithoutItsSizeIsRefused)
{
    for (const size_t size : {size_t{0}, size_t{8}, SIZE_MAX, size_t{1} << 40}) {
        ExpectPictureRefused("struct_size", [&](selvane_picture& p) { p.struct_size = size; });
        ExpectTargetRefused("struct_size", [&](selvane_target& t) { t.struct_size = size; });
        selvane_settings settings = PlainSettings();
        settings.struct_size = size;
        ExpectRefused(selvane_set_settings(fHandle.get(), &settings), "struct_size");
        ExpectRefused(selvane_get_settings(fHandle.get(), &settings), "struct_size");
        ExpectRefused(selvane_suggest(fHandle.get(), &settings), "struct_size");
        ExpectRefused(selvane_effective_settings(fHandle.get(), &settings), "struct_size");
        selvane_report report{};
        report.struct_size = size;
        ExpectRefused(selvane_get_report(fHandle.get(), &report), "struct_size");
    }
}

// ---- Pictures -------------------------------------------------------------------------------------------------------

TEST_F(Refusals, APictureOfAnImpossibleSize)
{
    for (const int side : {0, -1, INT_MIN, 1000001, INT_MAX}) {
        ExpectPictureRefused("width", [&](selvane_picture& p) { p.width = side; });
        ExpectPictureRefused("height", [&](selvane_picture& p) { p.height = side; });
    }
    const int sides[][2] = {{32769, 32768},     {1000000, 1074}, {1074, 1000000},
                            {1000000, 1000000}, {46341, 46341},  {65536, 65536}};
    for (const auto& side : sides)
        ExpectPictureRefused("2^30", [&](selvane_picture& p) {
            p.width = side[0];
            p.height = side[1];
        });
}

TEST_F(Refusals, APictureOfAnUnknownKind)
{
    for (const int number : {-1, 0, 7, 100, INT_MAX, INT_MIN})
        ExpectPictureRefused("format", [&](selvane_picture& p) { p.format = number; });
    for (const int number : {-1, 1, 2, 5, INT_MAX})
        ExpectPictureRefused("channels", [&](selvane_picture& p) { p.channels = number; });
    for (const int number : {-1, 2, INT_MAX, INT_MIN})
        ExpectPictureRefused("order", [&](selvane_picture& p) { p.order = number; });
    for (const int number : {-1, 7, 99, 101, INT_MAX, INT_MIN})
        ExpectPictureRefused("primaries", [&](selvane_picture& p) { p.primaries = number; });
    for (const int number : {-1, 6, INT_MAX, INT_MIN})
        ExpectPictureRefused("transfer", [&](selvane_picture& p) { p.transfer = number; });
    for (const int number : {-1, 2, INT_MAX, INT_MIN})
        ExpectPictureRefused("keep_hot_samples", [&](selvane_picture& p) { p.keep_hot_samples = number; });
    for (const int number : {-1, 1, INT_MIN})
        ExpectPictureRefused("reserved", [&](selvane_picture& p) { p.reserved = number; });
}

TEST_F(Refusals, APictureWhoseTransferDoesNotFit)
{
    for (const float gamma : {0.0f, -1.0f, 10.1f, kNaN, kInfinity, -kInfinity})
        ExpectPictureRefused("gamma", [&](selvane_picture& p) {
            p.transfer = SELVANE_TRANSFER_POWER;
            p.gamma = gamma;
        });
    ExpectPictureRefused("transfer", [](selvane_picture& p) { p.transfer = SELVANE_TRANSFER_ENGINE; });
    ExpectPictureRefused("transfer", [](selvane_picture& p) {
        p.format = SELVANE_U8;
        p.primaries = SELVANE_REC2020;
        p.transfer = SELVANE_TRANSFER_ENGINE;
    });
    for (const int format : {SELVANE_RGBE, SELVANE_RGBE_PLANES})
        for (const int transfer : {SELVANE_TRANSFER_SRGB, SELVANE_TRANSFER_POWER, SELVANE_TRANSFER_REC2020})
            ExpectPictureRefused("linear", [&](selvane_picture& p) {
                p.format = format;
                p.transfer = transfer;
                p.gamma = 2;
            });
}

TEST_F(Refusals, ChromaticitiesThatMakeNoSpace)
{
    const float good[8] = {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f};
    const auto change = [&](auto& pRecord, const std::function<void(float*)>& pChange) {
        std::copy(good, good + 8, pRecord.chromaticities);
        pChange(pRecord.chromaticities);
    };
    const auto refuse = [&](const std::function<void(float*)>& pChange) {
        ExpectPictureRefused("chromaticities", [&](selvane_picture& p) {
            p.primaries = SELVANE_CUSTOM;
            change(p, pChange);
        });
        ExpectTargetRefused("chromaticities", [&](selvane_target& t) {
            t.space = SELVANE_CUSTOM;
            change(t, pChange);
        });
    };
    refuse([](float* c) { std::fill(c, c + 8, 0.0f); });
    for (int i = 0; i < 8; i++)
        for (const float bad : {kNaN, kInfinity, -kInfinity})
            refuse([&](float* c) { c[i] = bad; });
    refuse([](float* c) { c[7] = 0; });                                                 // a white without luminance
    refuse([](float* c) { c[2] = c[0], c[3] = c[1]; });                                 // green is red
    refuse([](float* c) { c[4] = 0.5f * (c[0] + c[2]), c[5] = 0.5f * (c[1] + c[3]); }); // all in a line
}

TEST_F(Refusals, ExponentsWithAlphaOrStridesThatTheyDoNotHave)
{
    for (const int format : {SELVANE_RGBE, SELVANE_RGBE_PLANES}) {
        ExpectPictureRefused("alpha", [&](selvane_picture& p) {
            p.format = format;
            p.channels = 4;
        });
        ExpectPictureRefused("channel_stride", [&](selvane_picture& p) {
            p.format = format;
            p.channel_stride = 1;
        });
    }
    ExpectPictureRefused("pixel_stride", [](selvane_picture& p) {
        p.format = SELVANE_RGBE_PLANES;
        p.pixel_stride = 4;
    });
}

/// Bytes; a pixel of the picture has 3 samples of 4 bytes.
struct sStrides
{
    ptrdiff_t fRow, fPixel, fChannel;
};

const sStrides kOverlapping[] = {
    {12 * kWidth - 1, 0, 0}, // rows
    {-12 * kWidth + 4, 0, 0},
    {4, 0, 0},
    {0, 11, 0}, // pixels
    {0, -8, 0},
    {0, 0, 3}, // samples
    {0, 0, -1},
    {0, 12, 12},                    // sample 1 of a pixel is sample 0 of the next
    {12 * kWidth, 12, 12 * kWidth}, // sample 1 of a row is sample 0 of the next
    {4 * kWidth, 4, 4 * kWidth},    // planes of a row each, rows too close
};

TEST_F(Refusals, StridesThatOverlap)
{
    for (const sStrides& strides : kOverlapping)
        ExpectPictureRefused("overlap", [&](selvane_picture& p) {
            p.row_stride = strides.fRow;
            p.pixel_stride = strides.fPixel;
            p.channel_stride = strides.fChannel;
        });
    for (const sStrides& strides : kOverlapping)
        ExpectTargetRefused("overlap", [&](selvane_target& t) {
            t.format = SELVANE_F32;
            t.row_stride = strides.fRow;
            t.pixel_stride = strides.fPixel;
            t.channel_stride = strides.fChannel;
        });
    ExpectPictureRefused("overlap", [](selvane_picture& p) {
        p.format = SELVANE_RGBE_PLANES;
        p.row_stride = 4 * kWidth - 1;
    });
}

TEST_F(Refusals, StridesBeyondAllMemory)
{
    for (const ptrdiff_t stride : {PTRDIFF_MAX, PTRDIFF_MIN, (ptrdiff_t{1} << 40) + 4, -(ptrdiff_t{1} << 40) - 4}) {
        ExpectPictureRefused("stride", [&](selvane_picture& p) { p.row_stride = stride; });
        ExpectPictureRefused("stride", [&](selvane_picture& p) { p.pixel_stride = stride; });
        ExpectPictureRefused("stride", [&](selvane_picture& p) { p.channel_stride = stride; });
        ExpectTargetRefused("stride", [&](selvane_target& t) { t.row_stride = stride; });
        ExpectTargetRefused("stride", [&](selvane_target& t) { t.pixel_stride = stride; });
        ExpectTargetRefused("stride", [&](selvane_target& t) { t.channel_stride = stride; });
    }
}

/// The rows that follow from a pixel stride are checked like given ones: their product leaves 64 bits.
TEST_F(Refusals, RowsThatFollowFromAHugePixelStride)
{
    ExpectPictureRefused("stride", [](selvane_picture& p) {
        p.width = 1000000;
        p.height = 1000;
        p.pixel_stride = ptrdiff_t{1} << 40;
    });
    uint64_t bytes = 0;
    selvane_picture picture = Picture();
    picture.width = 1000000;
    picture.height = 1073;
    picture.pixel_stride = -(ptrdiff_t{1} << 40);
    EXPECT_EQ(selvane_estimate_memory(&picture, &bytes), SELVANE_ERROR_ARGUMENT);
}

TEST_F(Refusals, PicturesAreCheckedInTheOrderOfTheirFields)
{
    const struct
    {
        const char* fWord;
        std::function<void(selvane_picture&)> fChange;
    } faults[] = {
        {"struct_size", [](selvane_picture& p) { p.struct_size = 1; }},
        {"width", [](selvane_picture& p) { p.width = 0; }},
        {"height", [](selvane_picture& p) { p.height = 0; }},
        {"order", [](selvane_picture& p) { p.order = 9; }},
        {"format", [](selvane_picture& p) { p.format = 9; }},
        {"channels", [](selvane_picture& p) { p.channels = 9; }},
        {"overlap", [](selvane_picture& p) { p.row_stride = 4; }},
        {"primaries", [](selvane_picture& p) { p.primaries = 9; }},
        {"transfer", [](selvane_picture& p) { p.transfer = 9; }},
        {"keep_hot_samples", [](selvane_picture& p) { p.keep_hot_samples = 9; }},
        {"reserved", [](selvane_picture& p) { p.reserved = 9; }},
        {"pixels", [](selvane_picture& p) { p.pixels = nullptr; }},
    };
    for (size_t first = 0; first < std::size(faults); first++)
        ExpectPictureRefused(faults[first].fWord, [&](selvane_picture& p) {
            for (size_t later = first; later < std::size(faults); later++)
                faults[later].fChange(p);
        });
}

TEST_F(Refusals, EstimatesOfPicturesThatCannotBe)
{
    uint64_t bytes = 77;
    for (const int side : {0, -5, INT_MAX, INT_MIN}) {
        selvane_picture picture = Picture();
        picture.width = side;
        EXPECT_EQ(selvane_estimate_memory(&picture, &bytes), SELVANE_ERROR_ARGUMENT);
    }
    selvane_picture picture = Picture();
    picture.format = 0;
    EXPECT_EQ(selvane_estimate_memory(&picture, &bytes), SELVANE_ERROR_ARGUMENT);
    EXPECT_EQ(bytes, 77u);
    picture = Picture();
    picture.pixels = nullptr;
    EXPECT_EQ(selvane_estimate_memory(&picture, &bytes), SELVANE_OK);
    EXPECT_GT(bytes, 24u * kWidth * kHeight);
}

// ---- Targets --------------------------------------------------------------------------------------------------------

TEST_F(Refusals, ATargetOfAnotherSize)
{
    for (const int side : {0, -1, kWidth + 1, kWidth - 1, INT_MAX, INT_MIN})
        ExpectTargetRefused("width", [&](selvane_target& t) { t.width = side; });
    for (const int side : {0, -1, kHeight + 1, kHeight - 1, INT_MAX, INT_MIN})
        ExpectTargetRefused("height", [&](selvane_target& t) { t.height = side; });
}

TEST_F(Refusals, ATargetOfAnUnknownKind)
{
    for (const int number : {-1, 0, int{SELVANE_RGBE}, int{SELVANE_RGBE_PLANES}, 7, INT_MAX, INT_MIN})
        ExpectTargetRefused("format", [&](selvane_target& t) { t.format = number; });
    for (const int number : {-1, 1, 2, 5, INT_MAX})
        ExpectTargetRefused("channels", [&](selvane_target& t) { t.channels = number; });
    for (const int number : {-1, 2, INT_MAX, INT_MIN})
        ExpectTargetRefused("order", [&](selvane_target& t) { t.order = number; });
    for (const int number : {-1, SELVANE_ACES_AP1 + 1, SELVANE_CUSTOM - 1, SELVANE_CUSTOM + 1, INT_MAX, INT_MIN})
        ExpectTargetRefused("space", [&](selvane_target& t) { t.space = number; });
    for (const int number : {-1, 2, INT_MAX, INT_MIN}) {
        ExpectTargetRefused("linear", [&](selvane_target& t) { t.linear = number; });
        ExpectTargetRefused("dither", [&](selvane_target& t) { t.dither = number; });
    }
}

// ---- The rest -------------------------------------------------------------------------------------------------------

TEST_F(Refusals, PlainPicturesOfNoExposureOrSize)
{
    selvane_target target = Target();
    for (const float stops : {100.5f, -100.5f, NAN, INFINITY})
        ExpectRefused(selvane_plain(fHandle.get(), stops, 0, &target), "stops");
    for (const int longest : {-1, INT_MIN})
        ExpectRefused(selvane_plain(fHandle.get(), 0, longest, &target), "longest");
    ExpectRefused(selvane_plain(fHandle.get(), 0, 3, &target), "width");
    target.pixels = nullptr;
    ExpectRefused(selvane_plain(fHandle.get(), 0, 0, &target), "pixels");
}

TEST_F(Refusals, PreviewsBelowAPixel)
{
    selvane_target target = Target();
    int32_t width = -3, height = -4;
    for (const int longest : {0, -1, INT_MIN}) {
        ExpectRefused(selvane_preview(fHandle.get(), longest, &target), "longest");
        ExpectRefused(selvane_preview_size(fHandle.get(), longest, &width, &height), "longest");
        EXPECT_EQ(width, -3);
        EXPECT_EQ(height, -4);
    }
}

TEST_F(Refusals, ThreadsBeyondTheirRange)
{
    for (const int threads : {-1, 257, INT_MAX, INT_MIN})
        ExpectRefused(selvane_set_threads(fHandle.get(), threads), "threads");
}

TEST_F(Refusals, PlanesThatDoNotExistOrOverlap)
{
    std::vector<float> values(2 * kWidth * kHeight);
    const auto plane = [&](int pPlane, ptrdiff_t pStride) {
        return selvane_get_plane(fHandle.get(), pPlane, values.data() + kWidth * kHeight, pStride);
    };
    for (const int number : {-1, 4, INT_MAX, INT_MIN})
        ExpectRefused(plane(number, 0), "plane");
    for (const ptrdiff_t stride : {ptrdiff_t{4}, ptrdiff_t{4 * kWidth - 4}, ptrdiff_t{-4 * kWidth + 4}})
        ExpectRefused(plane(SELVANE_PLANE_BASE, stride), "overlap");
    ExpectRefused(plane(SELVANE_PLANE_BASE, 4 * kWidth + 2), "multiple of 4");
    for (const ptrdiff_t stride : {PTRDIFF_MAX - 3, PTRDIFF_MIN})
        ExpectRefused(plane(SELVANE_PLANE_BASE, stride), "stride");
    for (const float value : values)
        ASSERT_EQ(value, 0.0f);
}

TEST_F(Refusals, TheTextIsThatOfTheLatestFailure)
{
    EXPECT_STREQ(selvane_error(fHandle.get()), "");
    ExpectRefused(selvane_set_threads(fHandle.get(), -1), "threads");
    ExpectPictureRefused("width", [](selvane_picture& p) { p.width = 0; });
    RenderBytes(fHandle.get(), kWidth, kHeight);
    EXPECT_STREQ(selvane_error(fHandle.get()), "width is not 1 to 1000000");
}

} // namespace
} // namespace SelvaneTest
