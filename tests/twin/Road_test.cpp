#include "bitmap/cException.h"
#include "entry/vorniklib3.h"
#include "support/Capture.h"
#include "support/Host.h"
#include "support/Planes.h"
#include "support/Records.h"
#include "twin/ReferenceRoad.h"
#include "twin/RoadCase.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

// The library against its slow twin, bit for bit: result, pixels, untouched bytes, sliders, the text on the standard
// error stream and the calls of DivideWork.

namespace
{

using namespace SelvaneTest;
using namespace SelvaneTwin;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// What one side did.
struct sOutcome
{
    std::int32_t result = 0;
    std::string thrownPointer;
    std::string text;
    sTmSliders sliders{};
    std::vector<unsigned char> output;
    std::vector<sDivideCall> calls;
};

std::vector<unsigned char> Prefilled(size_t pSize)
{
    std::vector<unsigned char> bytes(pSize);
    for (size_t i = 0; i < pSize; i++)
        bytes[i] = static_cast<unsigned char>(i * 37 + 11);
    return bytes;
}

sOutcome RunLibrary(const sCase& pCase)
{
    sOutcome outcome;
    outcome.sliders = pCase.fSliders;
    outcome.output = Prefilled(pCase.fOutputSize);
    const cHostScope host(pCase.fCutting);
    outcome.text = CaptureStderr([&] {
        try {
            outcome.result =
                cpp_tm_selvane(&pCase.fImage, &pCase.fRun, pCase.fSpace, &outcome.sliders,
                               pCase.fInput.data() + pCase.fInputStart, outcome.output.data() + pCase.fOutputStart);
        } catch (const Vornik::cInvalidOperationException* exception) {
            outcome.thrownPointer = exception->GetMessage();
            delete exception;
        }
    });
    outcome.calls = host.Calls();
    return outcome;
}

struct sExpected
{
    sRoad road;
    sTmSliders sliders{};
    std::vector<unsigned char> output;
};

sExpected RunTwin(const sCase& pCase, std::int64_t pLargestGrid)
{
    sExpected expected;
    expected.sliders = pCase.fSliders;
    expected.output = Prefilled(pCase.fOutputSize);
    expected.road =
        Road(&pCase.fImage, &pCase.fRun, pCase.fSpace, &expected.sliders, pCase.fInput.data() + pCase.fInputStart,
             expected.output.data() + pCase.fOutputStart, pLargestGrid);
    return expected;
}

/// True if the text follows the pattern, in which a '\1' stands for any characters within a line.
bool Follows(const char* pText, const char* pPattern)
{
    if (*pPattern == '\1') {
        for (;; pText++) {
            if (Follows(pText, pPattern + 1)) return true;
            if (*pText == '\0' || *pText == '\n') return false;
        }
    }
    if (*pPattern == '\0' || *pText == '\0') return *pPattern == *pText;
    return *pPattern == *pText && Follows(pText + 1, pPattern + 1);
}

/// A NaN that arithmetic makes has the sign that the processor gives it.
std::string WithoutSignOfNaN(std::string pText)
{
    for (size_t at = pText.find("-nan"); at != std::string::npos; at = pText.find("-nan", at))
        pText.erase(at, 1);
    return pText;
}

bool SameSliders(sTmSliders pA, sTmSliders pB)
{
    if (!SameFloat(pA.blackPoint, pB.blackPoint) || !SameFloat(pA.whitePoint, pB.whitePoint)) return false;
    pA.blackPoint = pB.blackPoint;
    pA.whitePoint = pB.whitePoint;
    return std::memcmp(&pA, &pB, sizeof pA) == 0;
}

/// The first byte that differs, or an empty text.
std::string OutputDifference(const sCase& pCase, const sExpected& pExpected, const sOutcome& pOutcome)
{
    for (size_t i = 0; i < pExpected.output.size(); i++)
        if (pExpected.output[i] != pOutcome.output[i]) {
            const long place = long(i) - long(pCase.fOutputStart);
            return "output byte " + std::to_string(place) + " is " + std::to_string(pOutcome.output[i]) +
                   ", expected " + std::to_string(pExpected.output[i]);
        }
    return "";
}

std::string RecordDifference(const sExpectedDivide& pExpected, const sDivideCall& pCall)
{
    if (pExpected.fRecord.size() != pCall.fRecord.size()) return "size of a record";
    std::vector<unsigned char> bytes = pCall.fRecord;
    for (const size_t offset : pExpected.fPointers) {
        const sField<const void*> pointer{offset};
        if (GetField(bytes.data(), pointer) == nullptr) return "null pointer in a record at " + std::to_string(offset);
        SetField(bytes.data(), pointer, nullptr);
    }
    for (size_t i = 0; i < bytes.size(); i++)
        if (bytes[i] != pExpected.fRecord[i]) return "record byte " + std::to_string(i);
    return "";
}

std::string CallDifference(const sExpected& pExpected, const sOutcome& pOutcome)
{
    const std::vector<sExpectedDivide>& expected = pExpected.road.fDivides;
    if (expected.size() != pOutcome.calls.size())
        return std::to_string(pOutcome.calls.size()) + " calls of DivideWork, expected " +
               std::to_string(expected.size());
    for (size_t i = 0; i < expected.size(); i++) {
        const sDivideCall& call = pOutcome.calls[i];
        if (call.fStart != expected[i].fStart || call.fEnd != expected[i].fEnd) return "range of DivideWork";
        if (call.fThreads != expected[i].fThreads) return "workers of DivideWork";
        if (call.fFunction != expected[i].fFunction) return "function of DivideWork";
        const std::string record = RecordDifference(expected[i], call);
        if (!record.empty()) return "call " + std::to_string(i) + ": " + record;
    }
    if (expected.size() == 2) {
        const bool own = GetField(pOutcome.calls[1].fRecord.data(), SliceRecord::kInput) !=
                         GetField(pOutcome.calls[0].fRecord.data(), MinMaxRecord::kLogLuminance);
        if (own != pExpected.road.fFilterOwnPlane) return "input pointer of the slicing record";
    }
    return "";
}

std::string Difference(const sCase& pCase, const sExpected& pExpected, const sOutcome& pOutcome)
{
    const sRoad& road = pExpected.road;
    if (pOutcome.thrownPointer != road.fThrownPointer) return "thrown pointer: " + pOutcome.thrownPointer;
    if (pOutcome.result != road.fResult)
        return "result " + std::to_string(pOutcome.result) + ", expected " + std::to_string(road.fResult);
    if (!Follows(WithoutSignOfNaN(pOutcome.text).c_str(), WithoutSignOfNaN(road.fErrorText).c_str()))
        return "text:\n" + pOutcome.text + "expected:\n" + road.fErrorText;
    if (!SameSliders(pOutcome.sliders, pExpected.sliders)) {
        char text[200];
        std::snprintf(text, sizeof text, "sliders: points %a %a, expected %a %a", double(pOutcome.sliders.blackPoint),
                      double(pOutcome.sliders.whitePoint), double(pExpected.sliders.blackPoint),
                      double(pExpected.sliders.whitePoint));
        return text;
    }
    const std::string calls = CallDifference(pExpected, pOutcome);
    return calls.empty() ? OutputDifference(pCase, pExpected, pOutcome) : calls;
}

/// Compares cases and counts in how many of them each rule was met.
class cComparison
{
public:
    /// pWanted: cases that have to be compared.
    cComparison(const char* pName, int pWanted) : fName(pName), fWanted(pWanted) {}

    ~cComparison()
    {
        std::printf("%s: %d cases compared, %d left out, %d different\n", fName, fCases, fLeftOut, fDifferent);
        for (size_t rule = 0; rule < fMet.size(); rule++)
            if (fMet[rule] > 0) std::printf("  %5d  %s\n", fMet[rule], NameOf(static_cast<eRule>(rule)));
    }
    cComparison(const cComparison&) = delete;
    cComparison& operator=(const cComparison&) = delete;

    void Compare(sCase& pCase, std::int64_t pLargestGrid = 400000)
    {
        pCase.fName = std::string(fName) + " " + std::to_string(fTried++);
        const sExpected expected = RunTwin(pCase, pLargestGrid);
        if (expected.road.fTooLarge) {
            fLeftOut++;
            return;
        }
        const std::string difference = Difference(pCase, expected, RunLibrary(pCase));
        fCases++;
        for (size_t rule = 0; rule < fMet.size(); rule++)
            fMet[rule] += expected.road.fMet[rule] > 0 ? 1 : 0;
        if (!difference.empty() && fDifferent++ < 5) ADD_FAILURE() << pCase.Text() << "\n" << difference;
    }
    /// False when enough cases were compared, or when more would be of no use.
    bool Goes() const { return fCases < fWanted && fDifferent < 20 && fTried < 20 * fWanted; }

    /// Each of these rules was met, and as many cases as wanted were compared.
    void Expect(const std::vector<eRule>& pRules)
    {
        EXPECT_GE(fCases, fWanted);
        for (const eRule rule : pRules)
            EXPECT_GT(fMet[rule], 0) << NameOf(rule);
    }

private:
    const char* fName;
    int fWanted;
    int fTried = 0;
    int fCases = 0;
    int fLeftOut = 0;
    int fDifferent = 0;
    std::array<int, eRuleCount> fMet{};
};

ePicture AnyPicture(cRandom& pRandom)
{
    return static_cast<ePicture>(pRandom.Between(0, ePictureCount - 1));
}

int AnySize(cRandom& pRandom, int pLargest)
{
    return pRandom.Between(1, pRandom.OneIn(3) ? pLargest : std::max(1, pLargest / 3));
}

TEST(Road, EveryFormOfInputAndOutput)
{
    cComparison comparison("forms", 450);
    cRandom random(20260101);
    while (comparison.Goes()) {
        sCase one;
        ChooseForm(one, random, AnySize(random, 30), AnySize(random, 24));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        Paint(one, random, random.OneIn(2) ? ePictureTexture : ePictureNoise);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleInput8,        eRuleInput16,    eRuleInput32,     eRuleOutput8,         eRuleOutput16,
                       eRuleCopyRows,      eRuleCopyBlock,  eRuleCopySwapped, eRuleCopyBeyondBlock, eRuleCopyPadding,
                       eRuleNoCopy,        eRuleHueRedUp,   eRuleHueRedDown,  eRuleHueGreen,        eRuleHueBlue,
                       eRuleWrap,          eRuleRangePath,  eRuleNewMaximum,  eRuleNoNewMaximum,    eRuleHistogram,
                       eRuleBinHigh,       eRuleKeyFollows, eRuleWideSpace,   eRuleNarrowSpace,     eRuleBlackClipped,
                       eRuleWhiteClipped,  eRuleAdaptation, eRulePlainTables, eRuleBlackUnclipped,  eRuleWhiteUnclipped,
                       eRulePointsRefused, eRuleEmptyCell});
}

TEST(Road, SlidersOverTheirRanges)
{
    cComparison comparison("sliders", 250);
    cRandom random(20260102);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, AnySize(random, 30), AnySize(random, 30), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect(
        {eRuleGrey, eRuleHighQ, eRuleLowQ, eRuleAdaptation, eRuleEmptyRange, eRuleBelowBlack, eRuleIndexHigh});
}

TEST(Road, SlidersBeyondTheirRanges)
{
    cComparison comparison("far sliders", 200);
    cRandom random(20260103);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, AnySize(random, 24), AnySize(random, 24), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseFarSliders(one, random);
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleNegativeContrast, eRuleZeroT, eRuleOutOfMemory, eRuleKeyStays, eRuleKeyAtEnd,
                       eRuleInfiniteEntry, eRuleLowQ, eRuleWhiteClipped, eRuleBlackClipped});
}

TEST(Road, SlidersOfNaNAndInfinity)
{
    cComparison comparison("special sliders", 200);
    cRandom random(20260104);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, AnySize(random, 16), AnySize(random, 16), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSpecialSliders(one, random);
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleOutOfMemory, eRuleNaNY, eRuleInfiniteEntry, eRuleExposurePath, eRuleSeedKept});
}

TEST(Road, AMinimumThatBeginsAtNaN)
{
    // With these sliders one table holds infinity, and mostly no entry of the other is above 0. The search for the
    // minimum begins at the product of both largest entries, which is NaN.
    cComparison comparison("NaN seed", 40);
    cRandom random(20260120);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, 6, 5, random.Of<int>({8, 16, 32}), 16);
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fSliders.compression = -kInfinity;
        one.fSliders.adaptation = 1e6f;
        Paint(one, random, random.OneIn(2) ? ePictureNoise : ePictureTexture);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleNaNSeed});
}

TEST(Road, FlatAndBlackPictures)
{
    cComparison comparison("flat", 80);
    cRandom random(20260105);
    while (comparison.Goes()) {
        sCase one;
        ChooseForm(one, random, AnySize(random, 20), AnySize(random, 20));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        if (random.OneIn(3)) ChoosePoints(one, random);
        Paint(one, random, random.OneIn(2) ? ePictureFlat : ePictureBlack);
        comparison.Compare(one);
    }
    comparison.Expect(
        {eRuleEmptyRange, eRuleExposurePath, eRuleLuminanceFloored, eRuleDarkNeutral, eRuleNaNT, eRulePointsAccepted});
}

TEST(Road, RampsRowsAndSinglePixels)
{
    cComparison comparison("ramps", 150);
    cRandom random(20260106);
    while (comparison.Goes()) {
        sCase one;
        const int length = random.Between(1, 40);
        const bool row = random.OneIn(2);
        const int other = random.OneIn(2) ? 1 : random.Between(1, 4);
        ChoosePlainForm(one, row ? length : other, row ? other : length, random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        Paint(one, random,
              random.Of<ePicture>({ePictureRising, ePictureRising, ePictureFalling, ePictureSpark, ePictureEdge}));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleSeedKept, eRuleEmptyRange, eRuleNewMaximum, eRuleNoNewMaximum});
}

TEST(Road, WrappedRows)
{
    cComparison comparison("wrap", 120);
    cRandom random(20260107);
    while (comparison.Goes()) {
        sCase one;
        const bool narrow = random.OneIn(2);
        const int width = narrow ? random.Between(1, 5) : AnySize(random, 40);
        ChoosePlainForm(one, width, narrow ? random.Between(30, 140) : AnySize(random, 30), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fSliders.wrapSwitch = 1.0f;
        if (narrow && random.OneIn(2)) one.fSliders.radius = random.Between(-40.0f, -10.0f);
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleWrap, eRuleWrapBorrowed, eRuleWrapSkipped});
}

TEST(Road, WorkersThatAreNone)
{
    cComparison comparison("no workers", 50);
    cRandom random(20260108);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, AnySize(random, 24), AnySize(random, 24), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fRun.processorCount = random.Of<int>({0, 0, -1, -2147483647});
        one.fCutting.fThreads = false;
        Paint(one, random, random.OneIn(3) ? ePictureBright : AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleNoWorkers, eRuleOwnPlane, eRuleEmptyRange});
}

TEST(Road, RequestedPoints)
{
    cComparison comparison("points", 120);
    cRandom random(20260109);
    while (comparison.Goes()) {
        sCase one;
        ChooseForm(one, random, AnySize(random, 20), AnySize(random, 20));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        ChoosePoints(one, random);
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one);
    }
    comparison.Expect({eRulePointsAccepted, eRulePointsRefused, eRuleRequestedPoints, eRuleExposurePathByRange,
                       eRuleRangePath, eRuleExposurePath, eRuleHistogram, eRuleBelowBlack});
}

TEST(Road, MeasuredAndThenRendered)
{
    cComparison comparison("measured", 30);
    cRandom random(20260110);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, AnySize(random, 30), AnySize(random, 30), random.Of<int>({8, 16, 32}),
                        random.Of<int>({8, 16}));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fRun.requestType = 9;
        Paint(one, random, ePictureTexture);
        comparison.Compare(one);
        one.fSliders = RunLibrary(one).sliders;
        one.fRun.requestType = 1;
        comparison.Compare(one);
    }
    comparison.Expect({eRuleNoCopy, eRuleRequestedPoints, eRuleRangePath});
}

TEST(Road, TwelveDecadesAndTheirEnds)
{
    cComparison comparison("decades", 140);
    cRandom random(20260111);
    while (comparison.Goes()) {
        sCase one;
        ChooseForm(one, random, AnySize(random, 24), AnySize(random, 24));
        one.fImage.inputDepth = 32;
        ChooseHost(one, random);
        ChooseSliders(one, random);
        Paint(one, random,
              random.Of<ePicture>({ePictureNoise, ePictureTexture, ePictureDark, ePictureBright, ePicturePrimaries,
                                   ePicturePrimaries, ePictureRising, ePictureSpark}));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleExponentZero, eRuleLuminanceFloored, eRuleLuminanceSubnormal, eRuleDarkNeutral,
                       eRuleNaNPrimary, eRuleNegativeM, eRuleMarker, eRuleEmptyCell});
}

TEST(Road, FineDetailInSixteenBits)
{
    // Many pixels, 16-bit output and no slider at its middle: one wrong bit in any step changes some sample.
    cComparison comparison("detail", 260);
    cRandom random(20260116);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, random.Between(20, 50), random.Between(20, 50), random.Of<int>({16, 16, 32}), 16);
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fRun.requestType = 0;
        one.fSliders.compression = random.Between(-100.0f, 100.0f);
        one.fSliders.smoothness = random.Between(-10.0f, 10.0f);
        one.fSliders.radius = random.Between(-10.0f, 10.0f);
        one.fSliders.whiteClip = random.Between(0.0f, 8.0f);
        one.fSliders.blackClip = random.Between(0.0f, 0.5f);
        Paint(one, random, random.OneIn(4) ? ePictureNoise : ePictureTexture);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleOutput16, eRuleAdaptation, eRuleWideSpace, eRuleNarrowSpace, eRuleHueBlue});
}

TEST(Road, SamplesOnTheBordersOfCells)
{
    // At some of these sizes a position falls on the border between two cells of the grid or, rounded, just beside it.
    // At the others the end of a wrapped row is a whole number.
    struct sSize
    {
        float radius;
        int size;
    };
    const std::vector<sSize> sizes = {{0.0f, 40},  {0.0f, 80},   {0.0f, 120},  {0.0f, 160},  {0.0f, 176},
                                      {8.0f, 48},  {8.0f, 96},   {9.0f, 160},  {10.0f, 174}, {10.0f, 25},
                                      {-5.0f, 64}, {-7.5f, 128}, {-6.0f, 160}, {10.0f, 222}, {2.0f, 250}};
    cComparison comparison("borders", 4 * int(sizes.size()));
    cRandom random(20260117);
    for (const sSize& size : sizes)
        for (const float wrap : {0.0f, 1.0f})
            for (const bool upright : {false, true}) {
                sCase one;
                const int other = random.Between(3, 30);
                ChoosePlainForm(one, upright ? other : size.size, upright ? size.size : other, 16, 16);
                ChooseHost(one, random);
                ChooseSliders(one, random);
                one.fRun.requestType = 0;
                one.fSliders.radius = size.radius;
                one.fSliders.wrapSwitch = wrap;
                one.fSliders.whiteClip = 0.0f;
                Paint(one, random, ePictureTexture);
                comparison.Compare(one, 3000000);
            }
    comparison.Expect({eRuleWrap});
}

TEST(Road, ClipsAtWholeCountsOfPixels)
{
    // The limits are whole numbers of pixels: here it makes a difference whether a count stops below, at or above one.
    cComparison comparison("whole counts", 150);
    cRandom random(20260118);
    while (comparison.Goes()) {
        sCase one;
        const int width = random.Of<int>({10, 20, 25, 40, 50});
        const int height = random.Of<int>({5, 10, 20, 40});
        ChoosePlainForm(one, width, height, random.Of<int>({8, 16, 32}), 16);
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fRun.requestType = 0;
        one.fSliders.whiteClip = float(random.Between(0, 400));
        one.fSliders.blackClip = 100.0f * float(random.Between(0, width * height / 4)) / float(width * height);
        Paint(one, random, random.Of<ePicture>({ePictureNoise, ePictureTexture, ePictureRising, ePictureEdge}));
        comparison.Compare(one);
    }
    comparison.Expect({eRuleWhiteClipped, eRuleBlackClipped});
}

TEST(Road, ExposureInsteadOfPoints)
{
    // With points exactly 1 apart the exposure scales the pixels, and its last bit reaches them.
    cComparison comparison("exposure", 80);
    cRandom random(20260119);
    while (comparison.Goes()) {
        sCase one;
        ChoosePlainForm(one, random.Between(20, 40), random.Between(20, 40), random.Of<int>({16, 32}), 16);
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fSliders.compression = random.Between(-110.0f, 195.0f);
        one.fRun.requestType = 1;
        one.fSliders.blackPoint = random.Of<float>({0.5f, 0.0f, 0.25f, -0.5f});
        one.fSliders.whitePoint = one.fSliders.blackPoint + 1.0f;
        Paint(one, random, ePictureTexture);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleExposurePath, eRuleExposurePathByRange, eRuleRequestedPoints, eRuleLowQ, eRuleHighQ});
}

// The library's loops go by strips of 128 pixels and by vectors of up to 32; a row may end anywhere in them. The long
// form takes many more.
TEST(Road, RowsThatEndAnywhereInAStrip)
{
    const bool isLong = std::getenv("SELVANE_LONG") != nullptr;
    const std::vector<int> ends = {31,  32,  33,  63,  64,  65,  95,  96,  97,  112,
                                   127, 128, 129, 159, 160, 161, 255, 256, 257, 384};
    cComparison comparison("strips", isLong ? 1500 : 90);
    cRandom random(20260121);
    while (comparison.Goes()) {
        sCase one;
        const int width = random.OneIn(3) ? random.Between(100, 400) : random.Of<int>(ends);
        ChooseForm(one, random, width, random.Between(1, 9));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        if (random.OneIn(6)) one.fRun.requestType = 9;
        Paint(one, random, AnyPicture(random));
        comparison.Compare(one, 2000000);
    }
    comparison.Expect({eRuleRangePath, eRuleHistogram, eRuleNewMaximum, eRuleNoNewMaximum, eRuleNoCopy,
                       eRuleCopySwapped, eRuleCopyRows, eRuleWrap});
}

TEST(Road, LargerPictures)
{
    cComparison comparison("larger", 14);
    cRandom random(20260112);
    while (comparison.Goes()) {
        sCase one;
        ChooseForm(one, random, random.Between(100, 150), random.Between(70, 100));
        ChooseHost(one, random);
        ChooseSliders(one, random);
        Paint(one, random, random.OneIn(3) ? AnyPicture(random) : ePictureTexture);
        comparison.Compare(one, 2000000);
    }
    comparison.Expect({eRuleRangePath, eRuleHistogram});
}

TEST(Road, ResultCodes)
{
    const std::vector<sTmImageDesc> images = {
        {4, 4, 3, 12, 8, 12, 12, 0}, {4, 4, 3, 0, 8, 12, 12, 1},  {4, 4, 3, -8, 16, 12, 12, 1},
        {4, 4, 3, 8, 24, 12, 12, 1}, {4, 4, 3, 32, 0, 12, 12, 0}, {4, 4, 3, 12, 24, 12, 12, 1},
        {5, 3, 1, 16, 32, 15, 5, 0},
    };
    cComparison comparison("results", int(images.size()));
    cRandom random(20260113);
    for (const sTmImageDesc& image : images) {
        sCase one;
        ChooseHost(one, random);
        ChooseSliders(one, random);
        one.fImage = image;
        Paint(one, random, ePictureNoise);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleBadDepth, eRulePointer});
}

/// A call with this size in its record and buffers of another size. It must end before it reads them.
void CompareSize(cComparison& pComparison, cRandom& pRandom, int pWidth, int pHeight, int pInputDepth, int pOutputDepth)
{
    sCase one;
    ChooseHost(one, pRandom);
    ChooseSliders(one, pRandom);
    ChoosePlainForm(one, 4, 4, pInputDepth, pOutputDepth);
    Paint(one, pRandom, ePictureNoise);
    one.fImage.width = pWidth;
    one.fImage.height = pHeight;
    pComparison.Compare(one);
}

TEST(Road, SizesThatAreRefused)
{
    cComparison comparison("refused sizes", 39);
    cRandom random(20260114);
    const int most = 2147483647;
    for (const int depth : {8, 16, 32}) {
        for (const int size : {0, -1, -most - 1}) {
            CompareSize(comparison, random, size, 5, depth, 8);
            CompareSize(comparison, random, 5, size, depth, 16);
            CompareSize(comparison, random, size, size, depth, 24);
        }
        CompareSize(comparison, random, most, 1, depth, 8);
        CompareSize(comparison, random, 178956971, 1, depth, 16);
        CompareSize(comparison, random, 1, most, depth, 8);
        CompareSize(comparison, random, most, most, depth, 16);
    }
    comparison.Expect({eRuleThrown, eRuleOutOfMemory});
}

TEST(Road, ARowTooLongForATile)
{
    cComparison comparison("long rows", 2);
    cRandom random(20260115);
    for (const int outputDepth : {8, 16}) {
        sCase one;
        ChooseHost(one, random);
        ChooseSliders(one, random);
        ChoosePlainForm(one, 748981, 1, 8, outputDepth);
        Paint(one, random, ePictureFlat);
        comparison.Compare(one);
    }
    comparison.Expect({eRuleThrown});
}

} // namespace
