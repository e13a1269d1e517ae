#include "render/LineWatch.h"
#include "render/PageWatch.h"
#include "render/Scene.h"
#include "support/Capture.h"
#include "support/Host.h"
#include "support/Records.h"

#include "bitmap/cBitmapU16T.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

const double kLn10 = 2.302585092994046;

/// Rounds through memory, whatever the optimiser thinks.
float Single(double pValue)
{
    volatile float value = static_cast<float>(pValue);
    return value;
}

float ExponentOf(float pGlobalContrast)
{
    const float c = Single(static_cast<double>(pGlobalContrast) * 0.01);
    if (c > 0.0f) return 1.0f - c;
    return Single(std::fma(-3.0, static_cast<double>(c), 1.0));
}

/// A pixel of the renderer's compact picture.
const unsigned char* PixelAt(const cTmRenderer& pRenderer, int pRow, int pPixel)
{
    return reinterpret_cast<unsigned char*>(pRenderer.fYHMV->GetScanline(pRow)) + YHMVPixel::kBytes * pPixel;
}

float LuminanceAt(const cTmRenderer& pRenderer, int pRow, int pPixel)
{
    return GetField(PixelAt(pRenderer, pRow, pPixel), YHMVPixel::kLuminance);
}

/// A renderer whose state behind phase 1 a test writes by hand; only phase 2 runs.
struct sHandMade : sScene
{
    sHandMade(const std::vector<float>& pBase, const std::vector<float>& pDetail)
        : sScene(static_cast<int>(pBase.size()), 1)
    {
        Render();
        cTmRenderer& r = *fRenderer;
        std::copy(pBase.begin(), pBase.end(), r.fBase);
        std::copy(pDetail.begin(), pDetail.end(), r.fDetail);
        r.fBaseMin = *std::min_element(pBase.begin(), pBase.end());
        r.fBaseMax = *std::max_element(pBase.begin(), pBase.end());
        r.fDetailMin = *std::min_element(pDetail.begin(), pDetail.end());
        r.fDetailMax = *std::max_element(pDetail.begin(), pDetail.end());
        r.fBaseAverage = 0.0;
        r.fDetailAverage = 0.0;
        for (size_t i = 0; i < pBase.size(); i++) {
            r.fBaseAverage += static_cast<double>(pBase[i]) / static_cast<double>(pBase.size());
            r.fDetailAverage += std::fabs(static_cast<double>(pDetail[i])) / static_cast<double>(pBase.size());
        }
    }

    void Run()
    {
        fRenderer->fWhite = 1.0f;
        fRenderer->fBlack = 0.0f;
        Mark(false, false, true, false);
        Render();
    }

    float Luminance(int pX) const { return LuminanceAt(*fRenderer, 0, pX); }
};

TEST(Phase2, BothTablesAreThePowersOfTen)
{
    for (float contrast : {0.0f, 50.0f, -10.0f, 73.3f, 100.0f, 140.0f})
        for (float adaptation : {0.0f, -1.0f, 0.4f, 4.0f, std::numeric_limits<float>::quiet_NaN()}) {
            sHandMade hand({-2.3f, 0.1f, 1.7f}, {-0.4f, 0.2f, 0.05f});
            cTmRenderer& r = *hand.fRenderer;
            r.fGlobalContrast = contrast;
            r.fAdaptation = adaptation;
            hand.Run();
            const double k = static_cast<double>(ExponentOf(contrast));
            const auto a = static_cast<double>(adaptation);
            for (int i = 0; i < 65536; i += (i < 200 || i > 65300 ? 1 : 37)) {
                const float x = Single(static_cast<double>(i) * 1.5259021896696422e-05);
                const auto base = static_cast<double>(std::fma(r.fBaseMax - r.fBaseMin, x, r.fBaseMin));
                const auto detail = static_cast<double>(std::fma(r.fDetailMax - r.fDetailMin, x, r.fDetailMin));
                double global = base * k * kLn10;
                double local = detail * kLn10;
                if (adaptation > 0.0f) {
                    const double t = std::fabs(1.0 / r.fBaseAverage * base);
                    if (t > 0.0) global = std::pow(t, -(0.05 * (a + 1.0))) * k * base * kLn10;
                    const double u = std::fabs(1.0 / r.fDetailAverage * detail);
                    if (u > 0.0) local = std::pow(u, std::fma(-a, 0.02, -0.01)) * detail * kLn10;
                }
                ASSERT_EQ(r.fGlobalLUT[i], static_cast<float>(std::exp(global)))
                    << contrast << " " << adaptation << " " << i;
                ASSERT_EQ(r.fDetailLUT[i], static_cast<float>(std::exp(local)))
                    << contrast << " " << adaptation << " " << i;
            }
        }
}

TEST(Phase2, AtAValueOfZeroTheBendIsLeftOut)
{
    // entry 0 of both tables stands for exactly 0
    sHandMade hand({0.0f, 1.0f}, {0.0f, 0.5f});
    hand.fRenderer->fAdaptation = 2.0f;
    hand.Run();
    EXPECT_EQ(hand.fRenderer->fGlobalLUT[0], 1.0f);
    EXPECT_EQ(hand.fRenderer->fDetailLUT[0], 1.0f);
}

TEST(Phase2, ABaseMeanOfZeroHasNoGuard)
{
    sHandMade hand({-1.0f, 1.0f}, {-0.5f, 0.25f});
    hand.fRenderer->fAdaptation = 2.0f;
    hand.fRenderer->fBaseAverage = 0.0;
    hand.Run();
    // the distance is infinite and its negative power 0, so every exponent is 0
    EXPECT_EQ(hand.fRenderer->fGlobalLUT[1], 1.0f);
    EXPECT_EQ(hand.fRenderer->fGlobalLUT[65535], 1.0f);
}

float ExposureOf(float pGlobalContrast, float pPeak)
{
    const float k = ExponentOf(pGlobalContrast);
    const auto K = static_cast<double>(k);
    const float a = Single(std::exp(K * 1.5249237972318799) * 0.217637640824031);
    const float q = std::min(k, 1.0f);
    const float w = Single(std::pow(std::cos(std::fma(static_cast<double>(q), 3.141592653589793, -1.5707963267948966)),
                                    q < 0.5f ? 4.0 : 0.5));
    const float d = std::max(std::min(Single(2.0 * (1.0 - K)), 1.0f), 0.0f);
    const double m = std::fma(static_cast<double>(d), -0.21541590210324923, 1.0);
    volatile float share = pPeak * w;
    const float blended =
        Single(std::fma(1.0 - static_cast<double>(w), static_cast<double>(a), static_cast<double>(float{share})));
    return Single(static_cast<double>(blended) * m);
}

TEST(Phase2, BothExposuresKeepTheirInnerRoundings)
{
    // g++ 12 drops the rounding before the damping when the two chains stand side by side
    sHandMade hand({-1.0f, 1.0f}, {-0.5f, 0.25f});
    cTmRenderer& r = *hand.fRenderer;
    r.fRequestType = 1;
    r.fRequestedWhite = 1.0f;
    std::mt19937 random(7);
    std::uniform_real_distribution<float> contrasts(-20.0f, 120.0f);
    std::uniform_real_distribution<float> decades(-6.0f, 6.0f);
    for (int i = 0; i < 250; i++) {
        r.fGlobalContrast = contrasts(random);
        r.fMaxY = std::pow(10.0f, decades(random));
        r.fBaseMax = std::max(decades(random), -0.9f);
        hand.Run();
        const auto K = static_cast<double>(ExponentOf(r.fGlobalContrast));
        EXPECT_EQ(r.fExposure, ExposureOf(r.fGlobalContrast, Single(std::pow(static_cast<double>(r.fMaxY), -K))));
        EXPECT_EQ(r.fExposureBase,
                  ExposureOf(r.fGlobalContrast, Single(std::exp(static_cast<double>(r.fBaseMax) * -K * kLn10))));
    }
}

TEST(Phase2, AtHalfContrastTheExposureIsThePeakDamped)
{
    sHandMade hand({-1.0f, 1.0f}, {-0.5f, 0.25f});
    cTmRenderer& r = *hand.fRenderer;
    r.fGlobalContrast = 50.0f;
    r.fMaxY = 4.0f;
    hand.Run();
    EXPECT_EQ(r.fExposure, static_cast<float>(0.5 * (1.0 - 0.21541590210324923)));
}

TEST(Phase2, TheLuminanceIsTheProductOfTheTwoTableValues)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> wide(-3.0f, 3.0f);
    std::vector<float> base(301);
    std::vector<float> detail(301);
    for (size_t i = 0; i < base.size(); i++) {
        base[i] = wide(random);
        detail[i] = wide(random) / 10.0f;
    }
    sHandMade hand(base, detail);
    hand.Run();
    const cTmRenderer& r = *hand.fRenderer;
    const float baseScale = 65535.0f / (r.fBaseMax - r.fBaseMin);
    const float detailScale = 65535.0f / (r.fDetailMax - r.fDetailMin);
    for (size_t i = 0; i < base.size(); i++) {
        const auto b = static_cast<int>((base[i] - r.fBaseMin) * baseScale);
        const auto d = static_cast<int>((detail[i] - r.fDetailMin) * detailScale);
        ASSERT_EQ(hand.Luminance(static_cast<int>(i)), r.fDetailLUT[d] * r.fGlobalLUT[b]) << i;
    }
}

TEST(Phase2, IndicesOutsideTheTablesAreLimitedAndNaNTakesTheFirst)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    sHandMade hand({0.0f, 1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f, 0.0f});
    cTmRenderer& r = *hand.fRenderer;
    const float base[] = {-7.0f, 9.0f, 1e30f, nan};
    std::copy(base, base + 4, r.fBase);
    hand.Run();
    EXPECT_EQ(hand.Luminance(0), r.fDetailLUT[0] * r.fGlobalLUT[0]);
    EXPECT_EQ(hand.Luminance(1), r.fDetailLUT[65535] * r.fGlobalLUT[65535]);
    EXPECT_EQ(hand.Luminance(2), r.fDetailLUT[0] * r.fGlobalLUT[65535]);
    EXPECT_EQ(hand.Luminance(3), r.fDetailLUT[0] * r.fGlobalLUT[0]);
}

TEST(Phase2, AFlatLayerEndsTheStageQuietly)
{
    for (const auto& [base, detail] : {std::pair{std::vector{1.0f, 1.0f}, std::vector{0.0f, 0.5f}},
                                       std::pair{std::vector{0.0f, 1.0f}, std::vector{0.25f, 0.25f}}}) {
        sHandMade hand(base, detail);
        cTmRenderer& r = *hand.fRenderer;
        r.fExposure = 0.75f;
        r.fLogEnabled = 1;
        const float before = hand.Luminance(0);
        EXPECT_EQ(CaptureStderr([&] { hand.Run(); }), "");
        EXPECT_EQ(hand.Luminance(0), before);
        EXPECT_EQ(r.fExposure, 0.75f);
        EXPECT_EQ(r.fWhite, 1.0f);
        EXPECT_EQ(r.fBlack, 0.0f);
        EXPECT_FALSE(hand.fCancelled);
        EXPECT_EQ(hand.Marks(), "----") << "the stage counts as done";
    }
}

/// The points worked out from the luminances, one counter at a time.
struct sPoints
{
    float fBlack;
    float fWhite;
};

sPoints PointsOf(const std::vector<float>& pLuminances, float pSeed, float pBlackClip, float pWhiteClip)
{
    float smallest = pSeed;
    float largest = 0.0f;
    for (float y : pLuminances) {
        if (y > largest)
            largest = y;
        else if (y < smallest)
            smallest = y;
    }
    const float s = largest > smallest ? 65535.0f / (largest - smallest) : 1.0f;
    std::vector<unsigned> counters(65536);
    for (float y : pLuminances)
        counters[static_cast<size_t>(std::clamp((y - smallest) * s, 0.0f, 65535.0f))]++;
    const auto pixels = static_cast<float>(pLuminances.size());
    const auto blackLimit = static_cast<float>(static_cast<double>(pBlackClip) * 0.01 * static_cast<double>(pixels));
    const auto whiteLimit =
        static_cast<float>(std::fma(-static_cast<double>(pWhiteClip), 0.01, 1.0) * static_cast<double>(pixels));
    int black = 0;
    if (blackLimit > 0.0f) {
        float sum = 0.0f;
        for (black = 1;; black++) {
            sum += static_cast<float>(counters[static_cast<size_t>(black - 1)]);
            if (sum >= blackLimit || black == 65535) break;
        }
    }
    int white = 65535;
    if (pixels > whiteLimit) {
        float sum = pixels;
        for (white = 65534;; white--) {
            sum -= static_cast<float>(counters[static_cast<size_t>(white + 1)]);
            if (sum <= whiteLimit || white == 0) break;
        }
    }
    const float bin = 1.0f / s;
    return {std::fma(bin, static_cast<float>(black), smallest), std::fma(bin, static_cast<float>(white), smallest)};
}

TEST(Phase2, ThePointsClipTheSharesThatWereAskedFor)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> wide(-2.0f, 2.0f);
    std::vector<float> base(500);
    std::vector<float> detail(500);
    for (size_t i = 0; i < base.size(); i++) {
        base[i] = wide(random);
        detail[i] = wide(random) / 8.0f;
    }
    sHandMade hand(base, detail);
    cTmRenderer& r = *hand.fRenderer;
    for (float blackClip : {0.0f, -3.0f, 0.1f, 5.0f, 50.0f, 100.0f, 300.0f})
        for (float whiteClip : {0.0f, -3.0f, 0.2f, 5.0f, 60.0f, 100.0f, 300.0f}) {
            r.fBlackClip = blackClip;
            r.fWhiteClip = whiteClip;
            hand.Run();
            std::vector<float> luminances;
            for (int x = 0; x < 500; x++)
                luminances.push_back(hand.Luminance(x));
            const float seed = *std::max_element(r.fDetailLUT, r.fDetailLUT + 65536) *
                               *std::max_element(r.fGlobalLUT, r.fGlobalLUT + 65536);
            const sPoints expected = PointsOf(luminances, seed, blackClip, whiteClip);
            EXPECT_EQ(r.fBlack, expected.fBlack) << blackClip << " " << whiteClip;
            EXPECT_EQ(r.fWhite, expected.fWhite) << blackClip << " " << whiteClip;
            EXPECT_EQ(r.fRequestedBlack, r.fBlack);
            EXPECT_EQ(r.fRequestedWhite, r.fWhite);
        }
    r.fBlackClip = r.fWhiteClip = 0.0f;
    hand.Run();
    float smallest = 1e30f;
    for (int x = 0; x < 500; x++)
        smallest = std::min(smallest, hand.Luminance(x));
    EXPECT_EQ(r.fBlack, smallest) << "nothing is clipped";
}

TEST(Phase2, WhenEveryPixelIsANewMaximumTheSeedStaysAndAllFallIntoTheFirstBin)
{
    sHandMade hand({-1.0f, -0.5f, 0.25f, 1.0f}, {-0.1f, 0.0f, 0.1f, 0.2f});
    hand.Run();
    const cTmRenderer& r = *hand.fRenderer;
    const float seed = r.fDetailLUT[65535] * r.fGlobalLUT[65535];
    EXPECT_GT(hand.Luminance(3), hand.Luminance(2));
    EXPECT_EQ(r.fBlack, seed);
    EXPECT_EQ(r.fWhite, std::fma(1.0f, 65535.0f, seed)) << "a scale of 1: bins one unit wide";
}

TEST(Phase2, AcceptedPointsSkipTheHistogram)
{
    sHandMade hand({-1.0f, 1.0f}, {-0.5f, 0.25f});
    cTmRenderer& r = *hand.fRenderer;
    r.fRequestType = 1;
    r.fRequestedBlack = 0.5f;
    r.fRequestedWhite = 2.5f;
    r.fLogEnabled = 1;
    const std::string log = CaptureStderr([&] { hand.Run(); });
    EXPECT_EQ(r.fBlack, 0.5f);
    EXPECT_EQ(r.fWhite, 2.5f);
    EXPECT_EQ(log.substr(log.find('\n') + 1), "requestType 1 - using  Black: 0.50   White: 2.50 ->  Scaling:  0.50\n");
    r.fRequestedWhite = 0.0f;
    hand.Run();
    EXPECT_EQ(r.fRequestedBlack, r.fBlack) << "a white point of 0 is measured after all";
    EXPECT_GT(r.fRequestedWhite, 0.0f);
}

TEST(Phase2, TheLogLinesAreThoseOfTheNumbers)
{
    sHandMade hand({0.3f, -1.0f, 1.0f, 0.1f, -0.4f}, {0.1f, -0.5f, 0.25f, 0.2f, -0.2f});
    cTmRenderer& r = *hand.fRenderer;
    r.fLogEnabled = 1;
    const std::string log = CaptureStderr([&] { hand.Run(); });
    std::vector<float> y;
    double sum = 0.0;
    for (int x = 0; x < 5; x++) {
        y.push_back(hand.Luminance(x));
        sum += static_cast<double>(y.back());
    }
    const float globalMax = *std::max_element(r.fGlobalLUT, r.fGlobalLUT + 65536);
    const float detailMax = *std::max_element(r.fDetailLUT, r.fDetailLUT + 65536);
    const float yMin = *std::min_element(y.begin(), y.end());
    const float yMax = *std::max_element(y.begin(), y.end());
    char expected[1200];
    int used = std::snprintf(expected, sizeof expected,
                             "GlobalContrast Log10: %1.2f -> GlobalOutMax: %1.2f (vs orig: %1.2f  exposure: %1.2f)  - "
                             "DetailOutMax:  %1.2f (vs DetailAverage: %1.2f)\n",
                             static_cast<double>(ExponentOf(47.0f)), static_cast<double>(globalMax),
                             std::exp(static_cast<double>(r.fLogMaxY) * kLn10), 1.0 / static_cast<double>(r.fExposure),
                             static_cast<double>(detailMax), std::exp(r.fDetailAverage * kLn10));
    used += std::snprintf(
        expected + used, sizeof expected - static_cast<size_t>(used),
        "Tone Mapped Y Min/Max: [%1.2f  %1.2f] (vs orig [%1.2f  %1.2f]) ave: %1.2f  -> scaling: %1.2f (vs "
        "exposure: %1.2f)\n",
        static_cast<double>(yMin), static_cast<double>(yMax), static_cast<double>(r.fMinY),
        static_cast<double>(r.fMaxY), sum / 5.0, 1.0 / static_cast<double>(yMax - yMin),
        static_cast<double>(r.fExposure));
    // five pixels: 1 per cent is passed by the darkest, which stands in bin 0; a half by the third; 99 per cent and
    // more are undercut by taking away the brightest, which stands in bin 65535
    std::vector<float> sorted(y);
    std::sort(sorted.begin(), sorted.end());
    const float s = 65535.0f / (yMax - yMin);
    const float bin = 1.0f / s;
    const int median = static_cast<int>((sorted[2] - yMin) * s) + 1;
    const auto at = [&](int pBin) { return static_cast<double>(yMin + bin * static_cast<float>(pBin)); };
    std::snprintf(
        expected + used, sizeof expected - static_cast<size_t>(used),
        "Linear Perc1 at: %d (%1.2f) -  Median: %d (%1.2f)  - perc99andhigher:  %d  %d  %d  (%1.2f  %1.2f  %1.2f) -  "
        "max: %d  (%1.2f)\n",
        0, at(1), median >> 8, static_cast<double>(bin * static_cast<float>(median)), 255, 255, 255, at(65534),
        at(65534), at(65534), 255, at(65535));
    EXPECT_EQ(log, expected);
}

/// Pixels whose luminance is an entry of the table of the base, over 18 decades; their sum in picture order is made to
/// end at pTarget, or the last bit below.
class cSumAt
{
public:
    cSumAt(const float* pTable, double pTarget, int pFree, unsigned pSeed) : fTable(pTable), fLeft(pTarget)
    {
        std::mt19937 random(pSeed);
        for (int i = 0; i < pFree; i++)
            Add(static_cast<int>(random() % 60000)); // less than 0.4
    }

    void Add(int pEntry)
    {
        fEntries.push_back(pEntry);
        fSum += static_cast<double>(fTable[pEntry]);
    }

    /// The largest entry that does not lead beyond the target; the first, which changes nothing, at the end.
    void Approach()
    {
        const auto* above = std::upper_bound(fTable, fTable + 65536, static_cast<float>(fLeft - fSum));
        Add(std::max(0, static_cast<int>(above - fTable) - 1));
    }

    std::vector<int> fEntries;
    double fSum = 0.0;

private:
    const float* fTable;
    double fLeft;
};

std::string MeanIn(const std::string& pLog)
{
    const size_t at = pLog.find("ave: ") + 5;
    return pLog.substr(at, pLog.find(' ', at) - at);
}

std::string MeanText(double pSum, int pCount)
{
    char text[40];
    std::snprintf(text, sizeof text, "%1.2f", pSum / pCount);
    return text;
}

TEST(Phase2, AMeanOnTheBorderOfTwoTextsIsThatOfTheSumInPictureOrder)
{
    constexpr int kPixels = 512;
    constexpr float kLow = -17.0f;
    int otherwise = 0; // with the sum of 32 lanes
    for (unsigned seed = 1; seed <= 60; seed++) {
        std::vector<float> base(kPixels, kLow);
        base[1] = 1.0f;
        sHandMade hand(base, std::vector<float>(kPixels, 0.0f));
        cTmRenderer& r = *hand.fRenderer;
        r.fGlobalContrast = 0.0f;
        r.fDetailMin = 0.0f; // entry 0 is a factor of 1
        r.fDetailMax = 1.0f;
        hand.Run();
        cSumAt sum(r.fGlobalLUT, 0.125 * kPixels, 440, seed);
        while (sum.fEntries.size() < kPixels)
            sum.Approach();
        for (int i = 0; i < kPixels; i++)
            r.fBase[i] = kLow + (static_cast<float>(sum.fEntries[static_cast<size_t>(i)]) + 0.5f) * (18.0f / 65535.0f);
        r.fLogEnabled = 1;
        const std::string log = CaptureStderr([&] { hand.Run(); });
        double inOrder = 0.0;
        double lanes[32] = {};
        for (int i = 0; i < kPixels; i++) {
            inOrder += static_cast<double>(hand.Luminance(i));
            lanes[i % 32] += static_cast<double>(hand.Luminance(i));
        }
        ASSERT_NEAR(inOrder, 0.125 * kPixels, 1e-6);
        ASSERT_EQ(MeanIn(log), MeanText(inOrder, kPixels)) << seed;
        double joined = 0.0;
        for (const double lane : lanes)
            joined += lane;
        otherwise += MeanText(joined, kPixels) != MeanText(inOrder, kPixels) ? 1 : 0;
    }
    EXPECT_GT(otherwise, 0) << "lanes would print the same, so nothing is shown";
}

TEST(Phase2, ARequestIsSeenAfterTheTables)
{
    sHandMade hand({-1.0f, 1.0f}, {-0.5f, 0.25f});
    hand.fRenderer->fGlobalLUT[7] = -5.0f;
    hand.fCancel = true;
    const float before = hand.Luminance(0);
    hand.Run();
    EXPECT_TRUE(hand.fCancelled);
    EXPECT_EQ(hand.Marks(), "--2-");
    EXPECT_NE(hand.fRenderer->fGlobalLUT[7], -5.0f);
    EXPECT_EQ(hand.Luminance(0), before);
}

/// The luminance of all pixels.
std::vector<float> Luminances(const sScene& pScene)
{
    std::vector<float> luminances;
    for (int y = 0; y < pScene.fInput.fHeight; y++)
        for (int x = 0; x < pScene.fInput.fWidth; x++)
            luminances.push_back(LuminanceAt(*pScene.fRenderer, y, x));
    return luminances;
}

/// Runs the stages from phase 2 on, with a request to stop at the line that starts with pStart. Returns how many lines
/// were printed.
int RenderUntil(sScene& pScene, const std::string& pStart)
{
    pScene.fRenderer->fLogEnabled = 1;
    pScene.Mark(false, false, true, true);
    cLineWatch watch([&](const std::string& pLine) {
        if (pLine.compare(0, pStart.size(), pStart) == 0) pScene.fCancel = true;
    });
    pScene.Render();
    return watch.fLines;
}

TEST(Phase2, ARequestBehindTheTablesIsSeenBeforeTheRows)
{
    sScene scene(40, 30);
    scene.Mark(true, true, false, false);
    scene.Render();
    const std::vector<float> before = Luminances(scene);
    const float black = scene.fRenderer->fRequestedBlack = 0.25f;
    EXPECT_EQ(RenderUntil(scene, "GlobalContrast"), 1) << "nothing is printed after it";
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "--2F");
    EXPECT_EQ(Luminances(scene), before);
    EXPECT_EQ(scene.fRenderer->fRequestedBlack, black) << "no points";
}

// Seven rows fit a tile here. The request comes behind the tables and is withdrawn when the row's start is asked for
// that begins the second tile: the rows before are left alone, those from there on are replaced.
TEST(Phase2, ARequestThatIsWithdrawnLeavesOutTheRowsInBetweenOnly)
{
    sScene scene(100000, 9);
    cTmRenderer& r = *scene.fRenderer;
    scene.Mark(true, true, false, false);
    scene.Render();
    ASSERT_EQ(r.fYHMV->fTileHeight, 7);
    ASSERT_EQ(r.fYHMV->fTileCount, 2);
    std::vector<float> before;
    for (int y = 0; y < 9; y++)
        before.push_back(LuminanceAt(r, y, 99999));

    cPageWatch pages([&] { scene.fCancel = false; });
    void** const tiles = r.fYHMV->fTiles;
    r.fYHMV->fTiles = reinterpret_cast<void**>(pages.Border()) - 1;
    std::copy_n(tiles, 2, r.fYHMV->fTiles);
    pages.Arm();
    EXPECT_EQ(RenderUntil(scene, "GlobalContrast"), 3) << "the luminance is measured";
    r.fYHMV->fTiles = tiles;

    EXPECT_FALSE(scene.fCancel);
    EXPECT_TRUE(scene.fCancelled);
    EXPECT_EQ(scene.Marks(), "--2F");
    for (int y = 0; y < 9; y++)
        EXPECT_EQ(LuminanceAt(r, y, 99999) == before[static_cast<size_t>(y)], y < 7) << y;
}

TEST(Phase2, ARequestDuringTheHistogramStopsTheNextStageOnly)
{
    for (const char* line : {"Tone Mapped Y", "Linear Perc1"}) {
        sScene scene(40, 30);
        scene.Render();
        const float black = scene.fRenderer->fRequestedBlack;
        const float white = scene.fRenderer->fRequestedWhite;
        const std::vector<unsigned short> before = scene.Samples();
        scene.fRenderer->fRequestedBlack = scene.fRenderer->fRequestedWhite = -1.0f;
        scene.fRenderer->fExposureEV = 1.0f;
        scene.fRenderer->fEncodeLUTValid = false;
        EXPECT_EQ(RenderUntil(scene, line), 3) << line;
        EXPECT_TRUE(scene.fCancelled) << line;
        EXPECT_EQ(scene.Marks(), "---F") << line;
        EXPECT_EQ(scene.fRenderer->fRequestedBlack, black) << line;
        EXPECT_EQ(scene.fRenderer->fRequestedWhite, white) << line;
        EXPECT_EQ(scene.Samples(), before) << line;
        EXPECT_TRUE(scene.fRenderer->fEncodeLUTValid) << "the last stage looks behind its tables";
    }
}

TEST(Phase2, TheColourOfThePixelsSurvives)
{
    sScene scene(40, 3);
    scene.Mark(true, true, false, false);
    scene.Render();
    std::vector<unsigned char> before;
    std::vector<unsigned char> after;
    const auto colours = [&](std::vector<unsigned char>& pBytes) {
        for (int y = 0; y < 3; y++)
            for (int x = 0; x < 40; x++) {
                const unsigned char* const pixel = PixelAt(*scene.fRenderer, y, x);
                pBytes.insert(pBytes.end(), pixel + YHMVPixel::kHue.fOffset, pixel + YHMVPixel::kBytes);
            }
    };
    colours(before);
    scene.Mark(false, false, true, false);
    scene.Render();
    colours(after);
    EXPECT_EQ(before, after);
}

} // namespace
