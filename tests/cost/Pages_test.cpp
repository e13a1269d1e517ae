#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapXYZ32.h"
#include "entry/vorniklib3.h"
#include "render/Scene.h"
#include "support/Capture.h"
#include "support/Host.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <malloc.h>
#include <ostream>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

// How much new memory a call touches, counted by the kernel: each page is a minor fault when it is touched first. Small
// pages only, so that a fault is a page; each block of 1 MiB and more is new memory from the kernel, and goes back to
// it.

namespace
{

using namespace Vornik;
using namespace SelvaneTest;

constexpr int kWidth = 2400;
constexpr int kHeight = 1600;
constexpr double kPixels = 1.0 * kWidth * kHeight;
constexpr double kTables = 3.0 * (1 << 20); // what every call may take beside: tables, curves, hue colours

/// Before the library asks for its first block.
[[maybe_unused]] const bool gSmallPages = [] {
    ::setenv("SELVANE_BIG_PAGES", "0", 1);
    ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    ::mallopt(M_MMAP_THRESHOLD, 1 << 20);
    return true;
}();

long Faults()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

/// Bytes that pRun touches for the first time.
double Touched(const std::function<void()>& pRun)
{
    const long before = Faults();
    pRun();
    return static_cast<double>(Faults() - before) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

/// Bytes of the filter's two grids at the plain radius, rounded up: a cell is 25 pixels of 1000 of the longer side wide
/// and 0.32 decades high, has two floats, and 8 cells stand beside the intervals.
double Grids(double pDecades)
{
    const double cell = 0.025 * kWidth;
    return 2 * 8 * (kWidth / cell + 8) * (kHeight / cell + 8) * (pDecades / 0.32 + 8);
}

/// Bytes a pixel beside grids and tables.
double PerPixel(double pTouched, double pDecades)
{
    return (pTouched - Grids(pDecades) - kTables) / kPixels;
}

// ---- through the entry ----

struct sForm
{
    int fInputDepth;
    int fOutputDepth;
    int fRequest;
    int fBlueFirst;
    int fPadding; ///< samples behind each row of the output
    double fMost; ///< bytes a pixel
};

std::string NameOf(const sForm& pForm)
{
    return "In" + std::to_string(pForm.fInputDepth) + "Out" + std::to_string(pForm.fOutputDepth) + "Request" +
           std::to_string(pForm.fRequest) + (pForm.fBlueFirst != 0 ? "BlueFirst" : "RedFirst") +
           (pForm.fPadding != 0 ? "Padded" : "");
}

/// For the reports of the test.
void PrintTo(const sForm& pForm, std::ostream* pStream)
{
    *pStream << NameOf(pForm);
}

/// A window in a dark room: 2.5 decades.
std::vector<unsigned char> Input(int pDepth)
{
    std::vector<unsigned char> bytes;
    for (int y = 0; y < kHeight; y++)
        for (int i = 0; i < (pDepth == 32 ? 4 : 3) * kWidth; i++) {
            const int x = pDepth == 32 ? i % kWidth : i / 3;
            const bool window = x > kWidth / 2 && y < kHeight / 2;
            const int light = (window ? 200 : 60 + 40 * y / kHeight) + (x * 7 + y * 13 + i) % 30;
            if (pDepth == 16) bytes.push_back(static_cast<unsigned char>(x * 31));
            bytes.push_back(static_cast<unsigned char>(pDepth == 32 && i >= 3 * kWidth ? 126 + light / 40 : light));
        }
    return bytes;
}

class PagesOfTheEntry : public testing::TestWithParam<sForm>
{
};

double TouchedByTheEntry(const sForm& pForm)
{
    const int rowSamples = 3 * kWidth + pForm.fPadding;
    const sTmImageDesc image{kWidth,     kHeight,         3, pForm.fInputDepth, pForm.fOutputDepth, 3 * kWidth,
                             rowSamples, pForm.fBlueFirst};
    const sTmRunSettings run{1, pForm.fRequest, 0};
    sTmSliders sliders{};
    const std::vector<unsigned char> input = Input(pForm.fInputDepth);
    std::vector<unsigned char> output(static_cast<size_t>(rowSamples) * kHeight * (pForm.fOutputDepth == 8 ? 1 : 2), 7);
    int result = 0;
    const double touched =
        Touched([&] { result = cpp_tm_selvane(&image, &run, 0, &sliders, input.data(), output.data()); });
    EXPECT_EQ(result, 1);
    return touched;
}

TEST_P(PagesOfTheEntry, StayWithinTheirBytesAPixel)
{
    const sForm& form = GetParam();
    double bytes = 0.0;
    CaptureStderr([&] {
        TouchedByTheEntry(form); // the code itself, and what the C library keeps
        bytes = PerPixel(TouchedByTheEntry(form), 4.0);
    });
    std::printf("%.2f bytes a pixel beside grids and tables, %g allowed\n", bytes, form.fMost);
    EXPECT_LE(bytes, form.fMost);
    EXPECT_GE(bytes, form.fMost - 3.0)
        << "a limit far above what is touched holds nothing, and big pages are not counted";
}

// XYZ takes 12 bytes a pixel, the logarithm 4 and the base 4. A layout that the final stage cannot write itself takes
// the picture of samples as well.
INSTANTIATE_TEST_SUITE_P(Forms, PagesOfTheEntry,
                         testing::Values(sForm{8, 8, 0, 0, 0, 20.0}, sForm{16, 8, 0, 0, 0, 20.0},
                                         sForm{16, 16, 0, 0, 0, 20.0}, sForm{32, 16, 0, 0, 0, 20.0},
                                         sForm{16, 8, 9, 0, 0, 20.0}, sForm{16, 8, 0, 1, 0, 20.0},
                                         sForm{16, 8, 0, 0, 6, 20.0}, sForm{16, 8, 0, 1, 6, 23.0},
                                         sForm{16, 16, 0, 1, 6, 26.0}),
                         [](const testing::TestParamInfo<sForm>& pInfo) { return NameOf(pInfo.param); });

// ---- through the classes ----

// XYZ takes 12 bytes a pixel, the compact picture 14, logarithm, base and detail 4 each, the 16-bit samples 6.
TEST(PagesOfTheClasses, StayWithin44BytesAPixelWithThePictures)
{
    double bytes = 0.0;
    for (int run = 0; run < 2; run++) // the first is for the code itself
        bytes = PerPixel(Touched([] {
                             sScene scene(kWidth, kHeight, 4.0f);
                             scene.Render();
                         }),
                         4.0);
    std::printf("%.2f bytes a pixel beside grids and tables\n", bytes);
    EXPECT_LE(bytes, 44.0);
    EXPECT_GE(bytes, 41.0);
}

TEST(PagesOfTheClasses, ASecondRenderWithOtherCurvesTouchesTablesOnly)
{
    sScene scene(kWidth, kHeight, 4.0f);
    scene.Render();
    const cHermiteSpline bent(0.0f, 0.5f, 0.4f, 0.7f, 1.0f, 0.5f);
    const double touched = Touched([&] {
        scene.fRenderer->SetHueCurves(&bent, &bent, &bent);
        scene.Render();
    });
    EXPECT_LE(touched, kTables);
}

} // namespace
