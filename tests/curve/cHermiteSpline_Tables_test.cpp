#include "curve/cHermiteSpline.h"

#include "Bits.h"
#include "RandomCurves.h"
#include "SlowSpline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// The first index at which two tables differ, or -1.
template <class tEntry>
int FirstDifference(const tEntry* pTable, const std::vector<tEntry>& pExpected)
{
    for (size_t i = 0; i < pExpected.size(); ++i) {
        if constexpr (std::is_same_v<tEntry, float>) {
            if (!SameFloat(pTable[i], pExpected[i])) return static_cast<int>(i);
        } else {
            if (pTable[i] != pExpected[i]) return static_cast<int>(i);
        }
    }
    return -1;
}

bool SamePoints(const cHermiteSpline& pCurve, const std::vector<sControlPoint>& pExpected)
{
    if (pCurve.fCount != static_cast<int>(pExpected.size())) return false;
    for (size_t i = 0; i < pExpected.size(); ++i) {
        const sControlPoint& point = pCurve.fPoints[i];
        if (!SameVector(point.fPoint, pExpected[i].fPoint) ||
            !SameVector(point.fNextTangent, pExpected[i].fNextTangent) ||
            !SameVector(point.fPreviousTangent, pExpected[i].fPreviousTangent) || point.fIndex != pExpected[i].fIndex)
            return false;
    }
    return true;
}

/// Points and all entries of the four tables, those behind the unit interval too.
::testing::AssertionResult EqualsTwin(cHermiteSpline& pCurve, sSlowSpline& pTwin)
{
    if (!SamePoints(pCurve, pTwin.fPoints)) return ::testing::AssertionFailure() << "points differ";
    pTwin.Build();
    int at = FirstDifference(pCurve.GetLUT16f(), pTwin.fLUT16f);
    if (at >= 0)
        return ::testing::AssertionFailure() << "fLUT16f[" << at << "] is " << pCurve.fLUT16f[at] << " and not "
                                             << pTwin.fLUT16f[static_cast<size_t>(at)];
    if ((at = FirstDifference(pCurve.GetLUT16i(), pTwin.fLUT16i)) >= 0)
        return ::testing::AssertionFailure() << "fLUT16i[" << at << "]";
    if ((at = FirstDifference(pCurve.GetLUT8f(), pTwin.fLUT8f)) >= 0)
        return ::testing::AssertionFailure() << "fLUT8f[" << at << "]";
    if ((at = FirstDifference(pCurve.GetLUT8i(), pTwin.fLUT8i)) >= 0)
        return ::testing::AssertionFailure() << "fLUT8i[" << at << "]";
    return ::testing::AssertionSuccess();
}

// Against the twin

class cCurveKind : public ::testing::TestWithParam<int>
{
};

TEST_P(cCurveKind, PointsAndTablesEqualTheSlowTwin)
{
    const eCurveKind kind = static_cast<eCurveKind>(GetParam());
    cRandomCurves random(100u + static_cast<unsigned>(kind));
    cHermiteSpline curve;
    sSlowSpline twin; // keeps its tables from curve to curve, as the object does
    for (int i = 0; i < 120; ++i) {
        twin.fMode = random.Mode();
        twin.fPoints = random.Records(kind, random.Whole(2, i % 10 == 0 ? 36 : 6));
        curve.SetControlPoints(twin.fMode, static_cast<int>(twin.fPoints.size()), twin.fPoints.data());
        twin.Update();
        ASSERT_TRUE(EqualsTwin(curve, twin)) << "curve " << i << ", mode " << twin.fMode;
    }
}

TEST_P(cCurveKind, AddedPointsEqualTheSlowTwin)
{
    const eCurveKind kind = static_cast<eCurveKind>(GetParam());
    cRandomCurves random(200u + static_cast<unsigned>(kind));
    for (int i = 0; i < 12; ++i) {
        cHermiteSpline curve;
        sSlowSpline twin;
        twin.fMode = i % 3 == 0 ? random.Mode() : eSplineManualTangents;
        twin.fPoints = random.Records(kind, random.Whole(2, 4));
        curve.SetControlPoints(twin.fMode, static_cast<int>(twin.fPoints.size()), twin.fPoints.data());
        twin.Update();
        for (int added = 0; added < 8; ++added) {
            const cVector2 point = random.Point(kind);
            ASSERT_EQ(curve.AddPoint(point), twin.Add(point));
            ASSERT_TRUE(SamePoints(curve, twin.fPoints)) << "curve " << i << ", point " << added;
        }
        ASSERT_TRUE(EqualsTwin(curve, twin)) << "curve " << i;
    }
}

TEST(cHermiteSpline_Tables, SearchForANewPointAddsItsTermsInItsOwnOrder)
{
    cRandomCurves random(31);
    cHermiteSpline curve;
    sSlowSpline twin;
    twin.fMode = eSplineManualTangents;
    int guarded = 0;
    for (int i = 0; i < 20000; ++i) {
        twin.fPoints = random.Records(eTame, 2);
        twin.Update();
        curve.SetControlPoints(twin.fMode, 2, twin.fPoints.data());
        const float x0 = twin.fPoints[0].fPoint.x, x1 = twin.fPoints[1].fPoint.x;
        const float m0 = twin.fPoints[0].fNextTangent.x, m1 = twin.fPoints[1].fPreviousTangent.x;
        const float t = Product(static_cast<float>(random.Whole(1, 299)), 0.0033333334f);
        const float x = SearchPolynomial(x0, x1, m0, m1, t); // met exactly, if the last bit is right
        guarded += TablePolynomial(false, x0, x1, m0, m1, t) < x;
        ASSERT_EQ(curve.AddPoint(x, 0.0f), twin.Add(cVector2(x, 0.0f)));
        ASSERT_TRUE(SamePoints(curve, twin.fPoints)) << i;
    }
    EXPECT_GT(guarded, 1000) << "the places would not notice the other order";
}

INSTANTIATE_TEST_SUITE_P(AllKinds, cCurveKind, ::testing::Range(0, static_cast<int>(eCurveKinds)));

TEST(cHermiteSpline_Tables, ConstructedCurvesEqualTheSlowTwin)
{
    cRandomCurves random(5);
    for (int i = 0; i < 10; ++i) {
        sSlowSpline twin;
        twin.fPoints = random.Records(eWide, 4);
        for (sControlPoint& point : twin.fPoints)
            point.fNextTangent = point.fPreviousTangent = cVector2();
        const cVector2 a = twin.fPoints[0].fPoint, b = twin.fPoints[1].fPoint;
        const cVector2 c = twin.fPoints[2].fPoint, d = twin.fPoints[3].fPoint;
        cHermiteSpline four(a.x, a.y, b.x, b.y, c.x, c.y, d.x, d.y);
        sSlowSpline other = twin;
        other.Update();
        ASSERT_TRUE(EqualsTwin(four, other));
        cHermiteSpline three(a.x, a.y, b.x, b.y, c.x, c.y);
        other.fPoints.assign(twin.fPoints.begin(), twin.fPoints.begin() + 3);
        other.fLUT16f.assign(65537, 0.0f);
        other.Update();
        ASSERT_TRUE(EqualsTwin(three, other));
        cHermiteSpline two(a.x, a.y, b.x, b.y);
        other.fPoints.assign(twin.fPoints.begin(), twin.fPoints.begin() + 2);
        other.fLUT16f.assign(65537, 0.0f);
        other.Update();
        ASSERT_TRUE(EqualsTwin(two, other));
    }
}

// Contents by hand

TEST(cHermiteSpline_Tables, DefaultCurveIsTheDiagonal)
{
    cHermiteSpline curve;
    EXPECT_EQ(curve.GetLUT16f()[0], 0.0f);
    EXPECT_EQ(curve.GetLUT16i()[65535], 65535);
    EXPECT_EQ(curve.GetLUT16f()[65535], 1.0f);
    EXPECT_EQ(curve.GetLUT16f()[65536], 1.0f);
    for (int i = 0; i < 65536; ++i)
        ASSERT_NEAR(curve.GetLUT16f()[i], static_cast<float>(i) / 65535.0f, 2e-5f) << i; // one index and a bit
}

TEST(cHermiteSpline_Tables, EndsAreFlatOutsideThePoints)
{
    cHermiteSpline curve(0.25f, 0.125f, 0.75f, 0.875f);
    const float* const table = curve.GetLUT16f();
    const int left = 16383, right = 49151; // trunc(0.25 * 65535), trunc(0.75 * 65535)
    for (int i = 0; i <= left; ++i)
        ASSERT_EQ(table[i], 0.125f) << i;
    EXPECT_GT(table[left + 2], 0.125f);
    EXPECT_LT(table[right - 1], 0.875f);
    for (int i = right; i <= 65536; ++i)
        ASSERT_EQ(table[i], 0.875f) << i;
}

TEST(cHermiteSpline_Tables, OrdinatesAreClampedInTheTablesOnly)
{
    cHermiteSpline curve(0.0f, -1.0f, 1.0f, 2.0f);
    const float* const table = curve.GetLUT16f();
    EXPECT_EQ(table[0], 0.0f);
    EXPECT_EQ(table[65535], 1.0f);
    EXPECT_EQ(*std::min_element(table, table + 65537), 0.0f);
    EXPECT_EQ(*std::max_element(table, table + 65537), 1.0f);
    EXPECT_EQ(curve.GetPointAt(0).y, -1.0f);
    EXPECT_EQ(curve.GetPointAt(1).y, 2.0f);
}

TEST(cHermiteSpline_Tables, ZeroKeepsItsSignInTheTables)
{
    cHermiteSpline curve(0.5f, -0.0f, 0.75f, 0.5f);
    EXPECT_EQ(BitsOf(curve.GetLUT16f()[0]), 0x80000000u);
}

TEST(cHermiteSpline_Tables, LastEntryIsNotReachedByACurveThatGoesOnBeyondIt)
{
    cHermiteSpline curve(0.0f, 0.5f, 2.0f, 0.5f);
    EXPECT_EQ(curve.GetLUT16f()[65534], 0.5f);
    EXPECT_EQ(curve.GetLUT16f()[65535], 0.0f) << "an entry that no rule has written reads as 0";
    EXPECT_EQ(curve.GetLUT16f()[65536], 0.0f);
    curve.MovePoint(1, 1.0f, 1.0f);
    EXPECT_EQ(curve.GetLUT16f()[65535], 1.0f);
    curve.MovePoint(1, 2.0f, 0.5f);
    EXPECT_EQ(curve.GetLUT16f()[65535], 1.0f) << "nothing clears the table";
    EXPECT_EQ(curve.GetLUT16f()[65536], 1.0f);
}

TEST(cHermiteSpline_Tables, CurveRightOfTheTableFillsItWithItsFirstOrdinate)
{
    cHermiteSpline curve(2.0f, 0.25f, 3.0f, 0.5f);
    EXPECT_EQ(std::count(curve.GetLUT16f(), curve.GetLUT16f() + 65537, 0.25f), 65537);
}

TEST(cHermiteSpline_Tables, CurveLeftOfTheTableFillsItWithItsLastOrdinate)
{
    cHermiteSpline curve(-3.0f, 0.25f, -2.0f, 0.5f);
    EXPECT_EQ(std::count(curve.GetLUT16f(), curve.GetLUT16f() + 65537, 0.5f), 65537);
}

TEST(cHermiteSpline_Tables, AbscissaJustBelowZeroStillFillsIndexZero)
{
    cHermiteSpline curve(-1e-5f, 0.75f, 1.0f, 0.75f);
    curve.fPoints[0].fPoint.y = 0.25f; // -1e-5 * 65535 truncates to 0, so the left rule writes this ordinate to entry 0
    EXPECT_EQ(curve.GetLUT16f()[0], 0.25f);
    EXPECT_GT(curve.GetLUT16f()[2], 0.25f);
}

TEST(cHermiteSpline_Tables, NaNAbscissaDrawsNoChord)
{
    cHermiteSpline curve(0.0f, 0.5f, 0.5f, 0.5f, 1.0f, 0.5f);
    curve.fMode = eSplineLinear;
    curve.fPoints[1].fPoint.x = kNaN; // as a caller may write through GetPointAt
    EXPECT_EQ(curve.GetLUT16f()[0], 0.5f);
    EXPECT_EQ(std::count(curve.GetLUT16f() + 1, curve.GetLUT16f() + 65535, 0.0f), 65534);
    EXPECT_EQ(curve.GetLUT16f()[65535], 0.5f);
}

TEST(cHermiteSpline_Tables, CurveThatDoublesBackIsDrawnWhereItFirstAdvances)
{
    sControlPoint points[2] = {};
    points[1].fPoint = cVector2(1.0f, 1.0f);
    points[0].fNextTangent = cVector2(6.0f, 0.0f);
    points[1].fPreviousTangent = cVector2(6.0f, 0.0f); // x runs beyond the middle, back, and on again
    cHermiteSpline curve;
    curve.SetControlPoints(eSplineManualTangents, 2, points);
    const float* const table = curve.GetLUT16f();
    EXPECT_LT(table[32767], 0.1f) << "the first of three passages, not the last";
    EXPECT_TRUE(std::is_sorted(table, table + 65537));
}

TEST(cHermiteSpline_Tables, TangentsHaveNoEffectInLinearMode)
{
    cHermiteSpline curve(0.0f, 0.25f, 0.5f, 0.75f, 1.0f, 0.0f);
    curve.SetInterpolationMode(eSplineLinear);
    const std::vector<float> before(curve.GetLUT16f(), curve.GetLUT16f() + 65537);
    EXPECT_EQ(curve.GetNextTangentAt(0).x, 0.5f) << "computed as in the first mode";
    curve.GetNextTangentAt(0) = cVector2(9.0f, -9.0f);
    curve.GetPreviousTangentAt(1) = cVector2(-9.0f, 9.0f);
    curve.InvalidateLUTs();
    EXPECT_EQ(std::memcmp(curve.GetLUT16f(), before.data(), before.size() * sizeof(float)), 0);
}

// Function

TEST(cHermiteSpline_Tables, FunctionReadsTheTruncatedIndexAndWraps)
{
    cHermiteSpline curve(0.0f, 0.0f, 0.5f, 0.75f, 1.0f, 1.0f);
    const float* const table = curve.GetLUT16f();
    const struct
    {
        float fValue;
        int fIndex;
    } cases[] = {{0.0f, 0},      {-0.0f, 0},         {-3.0f, 0},    {-kInfinity, 0},   {kNaN, 0},
                 {1.0f, 65535},  {1.5f, 32766},      {0.5f, 32767}, {0x1.0001p+0f, 0}, {1.25f, 81918 & 0xFFFF},
                 {1e30f, 65535}, {kInfinity, 65535}, {65535.0f, 0}, {1e-9f, 0},        {0x1.fffffep-1f, 65534},
                 {2.0f, 65534}};
    for (const auto& one : cases)
        EXPECT_EQ(BitsOf(curve.Function(one.fValue)), BitsOf(table[one.fIndex])) << one.fValue;
}

TEST(cHermiteSpline_Tables, FunctionDoesNotInterpolate)
{
    cHermiteSpline curve;
    const float x = 20000.9f / 65535.0f;
    EXPECT_EQ(curve.Function(x), curve.GetLUT16f()[20000]);
}

TEST(cHermiteSpline_Tables, AnyFloatIsAnAnswer)
{
    cHermiteSpline curve;
    for (uint64_t bits = 0; bits <= 0xFFFFFFFFu; bits += 65521u * 3u) {
        const float value = curve.Function(FloatOf(static_cast<uint32_t>(bits)));
        ASSERT_TRUE(value >= 0.0f && value <= 1.0f);
    }
}

// Integer and short tables

TEST(cHermiteSpline_Tables, StridesAre257And254)
{
    cHermiteSpline curve(0.0f, 0.0f, 0.3f, 0.6f, 1.0f, 1.0f);
    const float* const table = curve.GetLUT16f();
    for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(curve.GetLUT8f()[i], table[i * 257]);
        ASSERT_EQ(curve.GetLUT8i()[i], static_cast<int>(table[i * 254] * 255.0f));
    }
    EXPECT_EQ(curve.GetLUT8f()[255], 1.0f);
    EXPECT_LT(curve.GetLUT8i()[255], 255) << "the last entry does not show the right end";
}

TEST(cHermiteSpline_Tables, EntriesBehindTheUnitIntervalReadAsZero)
{
    cHermiteSpline curve(0.0f, 1.0f, 1.0f, 1.0f);
    EXPECT_EQ(curve.GetLUT16i()[65535], 65535);
    EXPECT_EQ(curve.GetLUT16i()[65536], 0);
    EXPECT_EQ(curve.GetLUT8f()[256], 0.0f);
    EXPECT_EQ(curve.GetLUT8i()[256], 0);
    EXPECT_EQ(curve.GetLUT16f()[65536], 1.0f);
}

TEST(cHermiteSpline_Tables, AllTablesAreZeroBeforeTheyAreBuilt)
{
    const cHermiteSpline curve;
    EXPECT_EQ(std::count(curve.fLUT16f, curve.fLUT16f + 65537, 0.0f), 65537);
    EXPECT_EQ(std::count(curve.fLUT16i, curve.fLUT16i + 65537, 0), 65537);
    EXPECT_EQ(std::count(curve.fLUT8f, curve.fLUT8f + 257, 0.0f), 257);
    EXPECT_EQ(std::count(curve.fLUT8i, curve.fLUT8i + 257, 0), 257);
}

// Flags and builders

/// Counts the calls of the virtual operations.
class cCountingSpline : public cHermiteSpline
{
public:
    void InvalidateLUTs() override
    {
        ++fInvalidated;
        cHermiteSpline::InvalidateLUTs();
    }
    void BuildLUT16f() override
    {
        ++fBuilt16f;
        cHermiteSpline::BuildLUT16f();
    }
    void BuildLUT16i() override
    {
        ++fBuilt16i;
        cHermiteSpline::BuildLUT16i();
    }
    void BuildLUT8f() override
    {
        ++fBuilt8f;
        cHermiteSpline::BuildLUT8f();
    }
    void BuildLUT8i() override
    {
        ++fBuilt8i;
        cHermiteSpline::BuildLUT8i();
    }

    int fInvalidated = 0, fBuilt16f = 0, fBuilt16i = 0, fBuilt8f = 0, fBuilt8i = 0;
};

TEST(cHermiteSpline_Tables, GettersCallTheVirtualBuilderOfAStaleTableOnly)
{
    cCountingSpline curve;
    for (int i = 0; i < 2; ++i) {
        curve.GetLUT16i();
        curve.GetLUT8f();
        curve.GetLUT8i();
        curve.GetLUT16f();
        curve.Function(0.5f);
        EXPECT_EQ(curve.fBuilt16f, 1);
        EXPECT_EQ(curve.fBuilt16i, 1);
        EXPECT_EQ(curve.fBuilt8f, 1);
        EXPECT_EQ(curve.fBuilt8i, 1);
    }
}

TEST(cHermiteSpline_Tables, FunctionCallsTheVirtualBuilder)
{
    cCountingSpline curve;
    curve.Function(0.5f);
    curve.Function(0.5f);
    EXPECT_EQ(curve.fBuilt16f, 1);
    EXPECT_TRUE(curve.fLUT16fValid);
}

TEST(cHermiteSpline_Tables, UpdateCallsTheVirtualInvalidation)
{
    cCountingSpline curve;
    curve.UpdatePointArray();
    EXPECT_EQ(curve.fInvalidated, 1);
}

TEST(cHermiteSpline_Tables, EachTableHasItsFlag)
{
    cHermiteSpline curve;
    EXPECT_FALSE(curve.fLUT16fValid || curve.fLUT16iValid || curve.fLUT8fValid || curve.fLUT8iValid);
    curve.GetLUT16f();
    EXPECT_TRUE(curve.fLUT16fValid && !curve.fLUT16iValid && !curve.fLUT8fValid && !curve.fLUT8iValid);
    curve.GetLUT8f();
    EXPECT_TRUE(curve.fLUT16fValid && !curve.fLUT16iValid && curve.fLUT8fValid && !curve.fLUT8iValid);
    curve.GetLUT8i();
    EXPECT_TRUE(curve.fLUT16fValid && !curve.fLUT16iValid && curve.fLUT8fValid && curve.fLUT8iValid);
    curve.GetLUT16i();
    EXPECT_TRUE(curve.fLUT16fValid && curve.fLUT16iValid && curve.fLUT8fValid && curve.fLUT8iValid);
    curve.InvalidateLUTs();
    EXPECT_FALSE(curve.fLUT16fValid || curve.fLUT16iValid || curve.fLUT8fValid || curve.fLUT8iValid);
}

TEST(cHermiteSpline_Tables, BuildersReturnAtOnceWhenTheirFlagIsSet)
{
    cHermiteSpline curve;
    curve.fLUT16fValid = curve.fLUT16iValid = curve.fLUT8fValid = curve.fLUT8iValid = true;
    curve.BuildLUT16f();
    curve.BuildLUT16i();
    curve.BuildLUT8f();
    curve.BuildLUT8i();
    EXPECT_EQ(curve.fLUT16f[65535], 0.0f);
    EXPECT_EQ(curve.fLUT16i[65535], 0);
    EXPECT_EQ(curve.fLUT8f[255], 0.0f);
    EXPECT_EQ(curve.fLUT8i[255], 0);
}

TEST(cHermiteSpline_Tables, BuildersMakeTheRootValidFirst)
{
    for (int which = 0; which < 3; ++which) {
        cHermiteSpline curve(0.0f, 1.0f, 1.0f, 1.0f);
        if (which == 0)
            curve.BuildLUT16i();
        else if (which == 1)
            curve.BuildLUT8f();
        else
            curve.BuildLUT8i();
        EXPECT_TRUE(curve.fLUT16fValid);
        EXPECT_EQ(curve.fLUT16f[100], 1.0f);
        EXPECT_EQ(curve.fLUT16iValid, which == 0);
        EXPECT_EQ(curve.fLUT8fValid, which == 1);
        EXPECT_EQ(curve.fLUT8iValid, which == 2);
    }
}

TEST(cHermiteSpline_Tables, PreprocessSetsNoFlagAndHeedsNone)
{
    cHermiteSpline curve(0.0f, 1.0f, 1.0f, 1.0f);
    curve.Preprocess();
    EXPECT_FALSE(curve.fLUT16fValid);
    EXPECT_EQ(curve.fLUT16f[5], 1.0f);
    curve.fLUT16f[5] = 0.5f;
    curve.fLUT16fValid = true;
    curve.Preprocess();
    EXPECT_EQ(curve.fLUT16f[5], 1.0f);
}

TEST(cHermiteSpline_Tables, PointersStayAndShowTheFormerCurveUntilAGetterIsCalled)
{
    cHermiteSpline curve;
    float* const table16f = curve.GetLUT16f();
    unsigned short* const table16i = curve.GetLUT16i();
    float* const table8f = curve.GetLUT8f();
    unsigned char* const table8i = curve.GetLUT8i();
    const unsigned char before = table8i[128];
    curve.SetControlPoints(eSplineCatmullRom, 2, cHermiteSpline(0.0f, 1.0f, 1.0f, 1.0f).fPoints);
    EXPECT_EQ(table8i[128], before);
    EXPECT_EQ(curve.GetLUT8i(), table8i);
    EXPECT_EQ(table8i[128], 255);
    EXPECT_EQ(curve.GetLUT16f(), table16f);
    EXPECT_EQ(curve.GetLUT16i(), table16i);
    EXPECT_EQ(curve.GetLUT8f(), table8f);
}

} // namespace
