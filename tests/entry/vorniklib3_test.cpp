#include "entry/vorniklib3.h"

#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cException.h"
#include "entry/Call.h"
#include "filter/cBilateral.h"
#include "render/cTmRenderer.h"
#include "support/Host.h"
#include "support/Records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

TEST(Records, StandAtTheirOffsets)
{
    EXPECT_EQ(sizeof(sTmImageDesc), 32u);
    EXPECT_EQ(offsetof(sTmImageDesc, width), 0u);
    EXPECT_EQ(offsetof(sTmImageDesc, height), 4u);
    EXPECT_EQ(offsetof(sTmImageDesc, samplesPerPixel), 8u);
    EXPECT_EQ(offsetof(sTmImageDesc, inputDepth), 12u);
    EXPECT_EQ(offsetof(sTmImageDesc, outputDepth), 16u);
    EXPECT_EQ(offsetof(sTmImageDesc, inputRowSamples), 20u);
    EXPECT_EQ(offsetof(sTmImageDesc, outputRowSamples), 24u);
    EXPECT_EQ(offsetof(sTmImageDesc, bgrOrder), 28u);
    EXPECT_EQ(sizeof(sTmRunSettings), 12u);
    EXPECT_EQ(offsetof(sTmRunSettings, processorCount), 0u);
    EXPECT_EQ(offsetof(sTmRunSettings, requestType), 8u);
    EXPECT_EQ(sizeof(sTmSliders), 76u);
    EXPECT_EQ(offsetof(sTmSliders, compression), 0u);
    EXPECT_EQ(offsetof(sTmSliders, smoothness), 4u);
    EXPECT_EQ(offsetof(sTmSliders, adaptation), 8u);
    EXPECT_EQ(offsetof(sTmSliders, whiteClip), 12u);
    EXPECT_EQ(offsetof(sTmSliders, blackClip), 16u);
    EXPECT_EQ(offsetof(sTmSliders, radius), 20u);
    EXPECT_EQ(offsetof(sTmSliders, reservedSwitch), 44u);
    EXPECT_EQ(offsetof(sTmSliders, wrapSwitch), 60u);
    EXPECT_EQ(offsetof(sTmSliders, blackPoint), 68u);
    EXPECT_EQ(offsetof(sTmSliders, whitePoint), 72u);
}

TEST(Entry, ABadInputDepthIsRefusedBeforeAnythingIsTouched)
{
    for (int depth : {12, 0, -8, 24, 64})
        for (int space : {0, 7}) {
            sCall call(4, 3, 8, 8);
            call.fImage.inputDepth = depth;
            call.fColorSpace = space;
            const std::vector<unsigned char> before = call.fOutput;
            const sTmSliders sliders = call.fSliders;
            call.Run();
            EXPECT_EQ(call.fResult, -2);
            EXPECT_EQ(call.fOutput, before);
            EXPECT_EQ(std::memcmp(&sliders, &call.fSliders, sizeof sliders), 0);
            EXPECT_EQ(call.fLog, "");
        }
}

TEST(Entry, AnUnknownOutputDepthLetsAPointerOut)
{
    for (int depth : {24, 0, 32}) {
        sCall call(4, 3, 8, 8);
        call.fImage.outputDepth = depth;
        const std::vector<unsigned char> before = call.fOutput;
        const sTmSliders sliders = call.fSliders;
        std::string words;
        const std::string log = CaptureStderr([&] {
            try {
                cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), call.fOutput.data());
            } catch (cInvalidOperationException* exception) {
                words = exception->GetMessage();
                delete exception;
            }
        });
        EXPECT_EQ(words, "Output image is not set.");
        EXPECT_EQ(log, "") << "no line is printed";
        EXPECT_EQ(call.fOutput, before);
        EXPECT_EQ(std::memcmp(&sliders, &call.fSliders, sizeof sliders), 0);
    }
}

TEST(Entry, AnExceptionOfTheHostsOwnPassesThrough)
{
    sCall call(8, 6, 8, 8);
    const std::vector<unsigned char> before = call.fOutput;
    const cHostScope host({.fBeforeCall = [](const sDivideCall&) { throw 42; }});
    CaptureStderr([&] {
        EXPECT_THROW(
            cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), call.fOutput.data()), int);
    });
    EXPECT_EQ(call.fOutput, before);
    EXPECT_EQ(call.fSliders.whitePoint, 0.0f);
}

TEST(Entry, AnEmptyPictureIsReportedInOneLine)
{
    for (int empty : {0, -3}) {
        for (bool width : {true, false}) {
            sCall call(4, 3, 8, 8);
            (width ? call.fImage.width : call.fImage.height) = empty;
            call.Run();
            EXPECT_EQ(call.fResult, -1);
            const std::string head =
                std::string("Unexpected error with cpp_tm_selvane: Message=Argument ") +
                (width ? "pWidth" : "pHeight") +
                " must be greater than zero.  Type=cArgumentException  Description=Invalid Argument Error  Function=";
            EXPECT_EQ(call.fLog.substr(0, head.size()), head);
            EXPECT_NE(WithoutBlanks(call.fLog).find("Vornik::cBitmapXYZ32::cBitmapXYZ32(int,int)"), std::string::npos)
                << call.fLog;
            EXPECT_NE(call.fLog.find("  File=cBitmapXYZ32.cpp  Line="), std::string::npos);
            EXPECT_EQ(call.fLog.back(), '\n');
            EXPECT_EQ(std::count(call.fLog.begin(), call.fLog.end(), '\n'), 1);
            const size_t stamp = call.fLog.find("  Timestamp=");
            EXPECT_EQ(call.fLog.size() - stamp, std::strlen("  Timestamp=") + 24 + 1);
        }
    }
}

TEST(Entry, APictureTooLargeForItsStrideIsOutOfMemory)
{
    sCall call(4, 3, 8, 8);
    call.fImage.width = 0x7FFFFFF0;
    call.Run();
    EXPECT_EQ(call.fResult, -4);
    EXPECT_EQ(call.fLog, "");
}

TEST(EntryDeathTest, AnUnknownColourSpaceEndsTheProcessAfterTheChecksBeforeIt)
{
    for (int space : {3, -1, 1000}) {
        sCall call(4, 3, 8, 8);
        call.fColorSpace = space;
        EXPECT_EXIT(
            cpp_tm_selvane(&call.fImage, &call.fRun, space, &call.fSliders, call.fInput.data(), call.fOutput.data()),
            [](int status) {
                return WIFSIGNALED(status) && (WTERMSIG(status) == SIGILL || WTERMSIG(status) == SIGTRAP);
            },
            "");
        call.fImage.width = 0;
        EXPECT_EQ(call.Run().fResult, -1) << "the bitmap comes before the colour space is asked";
    }
}

/// What the renderer makes of the sliders, read from the records that reach the work splitter.
struct sSeen
{
    float fSpace = 0.0f;
    float fRange = 0.0f;
    int fThreads = 0;
};

sSeen SeenBy(sCall& pCall)
{
    const cHostScope host;
    pCall.Run();
    sSeen seen;
    for (const sDivideCall& call : host.Calls())
        if (call.fFunction == &Filter_Fast_Interpolate_tile_threaded) {
            seen.fSpace = GetField(call.fRecord.data(), SliceRecord::kSpaceSampling);
            seen.fRange = GetField(call.fRecord.data(), SliceRecord::kRangeSampling);
            seen.fThreads = call.fThreads;
        }
    return seen;
}

float Once(double pValue)
{
    return static_cast<float>(pValue);
}

TEST(Entry, RadiusAndSmoothnessBecomeTheSamplings)
{
    for (float radius : {0.0f, -0.0f, 0.1f, 3.3f, 10.0f, -0.1f, -7.7f, -10.0f})
        for (float smoothness : {0.0f, 0.1f, 2.7f, 10.0f, -0.1f, -3.9f}) {
            sCall call(12, 20, 16, 8);
            call.fSliders.radius = radius;
            call.fSliders.smoothness = smoothness;
            const sSeen seen = SeenBy(call);
            const auto r = static_cast<double>(radius);
            const auto s = static_cast<double>(smoothness);
            const float size = radius < 0.0f ? Once(std::fma(-9.0, r, 100.0)) : Once(std::fma(-7.0, r, 100.0));
            const float range = smoothness <= 0.0f ? Once(std::fma(-10.0, s, 60.0)) : Once(std::fma(-6.0, s, 60.0));
            const float perMille =
                size >= 100.0f ? std::fma(size - 100.0f, 0.75f, 25.0f) : std::fma(size - 10.0f, 0x1.555556p-3f, 10.0f);
            EXPECT_EQ(seen.fSpace, perMille * (20.0f * 0.001f)) << radius;
            EXPECT_EQ(seen.fRange, std::fma(range, 0.002f, 0.2f)) << smoothness;
        }
}

TEST(Entry, TheProcessorCountIsHandedOnUnchecked)
{
    for (int count : {0, 1, 2, 7}) {
        sCall call(12, 20, 16, 8);
        call.fRun.processorCount = count;
        EXPECT_EQ(SeenBy(call).fThreads, count);
        EXPECT_EQ(call.fResult, 1);
    }
}

/// The output of a call whose one slider has the value given.
std::vector<unsigned char> With(float sTmSliders::*pSlider, float pValue)
{
    sCall call(40, 30, 32, 16);
    call.fSliders.*pSlider = pValue;
    call.Run();
    EXPECT_EQ(call.fResult, 1);
    return call.fOutput;
}

TEST(Entry, SwitchesAreOnAtExactlyOne)
{
    EXPECT_EQ(With(&sTmSliders::wrapSwitch, 0.999f), With(&sTmSliders::wrapSwitch, 0.0f));
    EXPECT_EQ(With(&sTmSliders::wrapSwitch, 2.0f), With(&sTmSliders::wrapSwitch, 0.0f));
    EXPECT_NE(With(&sTmSliders::wrapSwitch, 1.0f), With(&sTmSliders::wrapSwitch, 0.0f));
    EXPECT_EQ(With(&sTmSliders::reservedSwitch, 1.0f), With(&sTmSliders::reservedSwitch, 0.0f)) << "used for nothing";
}

TEST(Entry, CompressionOfMinusZeroCountsAsZeroAndTheSidesDiffer)
{
    EXPECT_EQ(With(&sTmSliders::compression, -0.0f), With(&sTmSliders::compression, 0.0f));
    EXPECT_NE(With(&sTmSliders::compression, -1e-6f), With(&sTmSliders::compression, 0.0f)) << "40 against 47";
}

/// The contrast in the first log line of phase 2 is k = 1 - contrast / 100.
std::string PrintedExponent(float pCompression)
{
    sCall call(12, 20, 32, 8);
    call.fSliders.compression = pCompression;
    call.Run();
    const size_t at = call.fLog.find("GlobalContrast Log10: ") + std::strlen("GlobalContrast Log10: ");
    return call.fLog.substr(at, 4);
}

TEST(Entry, CompressionHasTwoSlopes)
{
    EXPECT_EQ(PrintedExponent(0.0f), "0.53");
    EXPECT_EQ(PrintedExponent(100.0f), "0.27");
    EXPECT_EQ(PrintedExponent(50.0f), "0.40");
    EXPECT_EQ(PrintedExponent(-50.0f), "0.80");
    EXPECT_EQ(PrintedExponent(-100.0f), "1.00");
    EXPECT_EQ(PrintedExponent(-150.0f), "1.60") << "below 0 the expansion is three times as fast";
}

struct sPoints
{
    float fBlack;
    float fWhite;
};

sPoints Measured(sCall& pCall)
{
    pCall.fRun.requestType = 9;
    pCall.fSliders.blackPoint = pCall.fSliders.whitePoint = -99.0f;
    pCall.Run();
    EXPECT_EQ(pCall.fResult, 1);
    return {pCall.fSliders.blackPoint, pCall.fSliders.whitePoint};
}

TEST(Entry, MeasuringReportsThePointsAndTouchesNoPixel)
{
    sCall call(40, 30, 32, 16);
    const std::vector<unsigned char> before = call.fOutput;
    const sPoints points = Measured(call);
    EXPECT_EQ(call.fOutput, before);
    EXPECT_GT(points.fWhite, points.fBlack);
    EXPECT_GT(points.fBlack, 0.0f);
    // no pixels are wanted, so none need be offered
    EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, &call.fSliders, call.fInput.data(), nullptr), 1);
}

TEST(Entry, MeasuringAndThenRenderingWithThePointsIsTheSameAsOneFullRequest)
{
    for (int type : {0, 2, -1, 10}) {
        sCall full(40, 30, 32, 16);
        full.fSliders.whiteClip = full.fSliders.blackClip = 3.0f;
        full.fRun.requestType = type;
        full.Run();
        sCall measure(40, 30, 32, 16);
        measure.fSliders.whiteClip = measure.fSliders.blackClip = 3.0f;
        const sPoints points = Measured(measure);
        EXPECT_EQ(full.fSliders.blackPoint, points.fBlack);
        EXPECT_EQ(full.fSliders.whitePoint, points.fWhite);
        sCall render(40, 30, 32, 16);
        render.fSliders = measure.fSliders;
        render.fRun.requestType = 1;
        render.Run();
        EXPECT_EQ(render.fOutput, full.fOutput);
        EXPECT_EQ(std::memcmp(&render.fSliders, &measure.fSliders, sizeof(sTmSliders)), 0)
            << "left as the host gave it";
    }
}

TEST(Entry, RefusedPointsAreMeasuredButNotReported)
{
    sCall full(40, 30, 32, 16);
    full.Run();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [black, white] : {std::pair{3.0f, 2.0f}, {0.0f, 0.0f}, {-5.0f, -1.0f}, {nan, 2.0f}, {1.0f, nan}}) {
        sCall call(40, 30, 32, 16);
        call.fRun.requestType = 1;
        call.fSliders.blackPoint = black;
        call.fSliders.whitePoint = white;
        const sTmSliders before = call.fSliders;
        call.Run();
        EXPECT_EQ(call.fOutput, full.fOutput) << black << " " << white;
        EXPECT_EQ(std::memcmp(&before, &call.fSliders, sizeof before), 0);
    }
    sCall equal(40, 30, 32, 16);
    equal.fRun.requestType = 1;
    equal.fSliders.blackPoint = equal.fSliders.whitePoint = 2.0f;
    EXPECT_NE(equal.Run().fOutput, full.fOutput) << "equal points are accepted";
}

TEST(Entry, OnlyTheTwoPointsOfTheBlockAreWritten)
{
    sCall call(12, 20, 32, 8);
    std::vector<unsigned char> block(200, 0xCD);
    std::memset(block.data(), 0, 24);
    std::vector<unsigned char> before = block;
    auto* sliders = reinterpret_cast<sTmSliders*>(block.data());
    CaptureStderr([&] {
        EXPECT_EQ(cpp_tm_selvane(&call.fImage, &call.fRun, 0, sliders, call.fInput.data(), call.fOutput.data()), 1);
    });
    for (size_t i = 0; i < block.size(); i++)
        if (i < 68 || i >= 76) {
            EXPECT_EQ(block[i], before[i]) << i;
        }
    EXPECT_NE(std::memcmp(block.data() + 68, before.data() + 68, 8), 0);
}

TEST(Entry, EightBitOutputPrintsTheLineOfItsReleaseLast)
{
    const std::string release = "Freeing via FreeBitmapData\n";
    sCall eight(12, 20, 32, 8);
    eight.Run();
    ASSERT_GE(eight.fLog.size(), release.size());
    EXPECT_EQ(eight.fLog.substr(eight.fLog.size() - release.size()), release);
    EXPECT_EQ(eight.fLog.find(release), eight.fLog.size() - release.size());
    EXPECT_EQ(eight.fLog.substr(0, 4), "+++ ");
    sCall sixteen(12, 20, 32, 16);
    EXPECT_EQ(sixteen.Run().fLog.find("Freeing"), std::string::npos);
    EXPECT_EQ(sixteen.fLog + release, eight.fLog);
}

TEST(Entry, EightBitOutputIsTheHighByteOfSixteen)
{
    for (int space : {0, 1, 2}) {
        sCall eight(41, 23, 16, 8);
        sCall sixteen(41, 23, 16, 16);
        eight.fColorSpace = sixteen.fColorSpace = space;
        eight.Run();
        sixteen.Run();
        for (size_t i = 0; i < eight.fOutput.size(); i++)
            ASSERT_EQ(eight.fOutput[i], sixteen.fOutput[2 * i + 1]) << i;
    }
}

TEST(Entry, AFlatPictureComesOutBlack)
{
    sCall call(20, 10, 8, 8);
    std::fill(call.fInput.begin(), call.fInput.end(), 200);
    call.Run();
    EXPECT_EQ(call.fResult, 1);
    EXPECT_EQ(std::count(call.fOutput.begin(), call.fOutput.end(), 0), static_cast<long>(call.fOutput.size()));
}

// A smoothness of 30 makes a range sampling of -0.04, a radius of 30 a spatial one of -1/3 of 0.1 per cent.
TEST(Entry, SlidersWithoutASamplingAboveZeroAreOutOfMemoryAndWriteNothing)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const auto& [slider, values] : {std::pair(&sTmSliders::smoothness, std::array{30.0f, 1e30f, nan}),
                                         {&sTmSliders::radius, {30.0f, 1e30f, nan}}})
        for (const float value : values) {
            sCall call(9, 7, 32, 8);
            call.fSliders.*slider = value;
            call.fSliders.blackPoint = 5.0f;
            call.Run();
            EXPECT_EQ(call.fResult, -4) << value;
            EXPECT_EQ(call.fLog.find("ToneMapping"), std::string::npos);
            EXPECT_EQ(call.fSliders.blackPoint, 5.0f);
            EXPECT_EQ(std::count(call.fOutput.begin(), call.fOutput.end(), 0xA5), 9 * 7 * 3);
        }
    sCall call(9, 7, 32, 8);
    call.fSliders.smoothness = 26.0f; // 0.008, the finest whole slider that is above 0
    EXPECT_EQ(call.Run().fResult, 1);
    call.fSliders.smoothness = -std::numeric_limits<float>::infinity(); // a sampling of infinity
    EXPECT_EQ(call.Run().fResult, 1);
}

/// Lines that a call writes to the standard error stream.
long Lines(sCall& pCall)
{
    EXPECT_EQ(pCall.Run().fResult, 1);
    return std::count(pCall.fLog.begin(), pCall.fLog.end(), '\n');
}

TEST(Entry, ProgressLinesAreFourThreeOrOneAndOneMoreForAnEightBitOutput)
{
    sCall full(9, 7, 32, 16);
    EXPECT_EQ(Lines(full), 4);
    sCall measured(9, 7, 32, 16);
    measured.fRun.requestType = 9;
    EXPECT_EQ(Lines(measured), 4);
    sCall given(9, 7, 32, 16);
    given.fRun.requestType = 1;
    given.fSliders.whitePoint = 1.0f;
    EXPECT_EQ(Lines(given), 3);
    sCall flat(9, 7, 16, 16);
    flat.fInput.assign(flat.fInput.size(), 0x40);
    EXPECT_EQ(Lines(flat), 1);
    sCall bytes(9, 7, 32, 8);
    EXPECT_EQ(Lines(bytes), 5);
}

// A row of the compact picture has 14 bytes a pixel, its width padded to a multiple of 4, and at most 10 MiB.
TEST(Entry, TheWidestPictureHas748980Pixels)
{
    sCall widest(748980, 1, 8, 8);
    EXPECT_EQ(widest.Run().fResult, 1);
    sCall wider(748981, 1, 8, 8);
    EXPECT_EQ(wider.Run().fResult, -1);
    EXPECT_NE(wider.fLog.find("Scanline width exceeds max tile size."), std::string::npos);
}

TEST(Entry, AnySlidersEndInAResultCodeOrAPicture)
{
    const float wild[] = {std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(),
                          1e30f,
                          -1e30f,
                          1e-40f};
    float sTmSliders::*sliders[] = {&sTmSliders::compression, &sTmSliders::smoothness, &sTmSliders::adaptation,
                                    &sTmSliders::whiteClip,   &sTmSliders::blackClip,  &sTmSliders::radius,
                                    &sTmSliders::wrapSwitch,  &sTmSliders::blackPoint, &sTmSliders::whitePoint};
    for (float sTmSliders::*slider : sliders)
        for (float value : wild)
            for (int type : {0, 1, 9}) {
                sCall call(9, 7, 32, 8);
                call.fSliders.*slider = value;
                call.fRun.requestType = type;
                call.Run();
                EXPECT_TRUE(call.fResult == 1 || call.fResult == -4) << call.fResult;
            }
}

} // namespace
