#include "curve/cHermiteSpline.h"

#include "Bits.h"
#include "RandomCurves.h"
#include "SlowSpline.h"
#include "support/Allocations.h"
#include "support/Capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <features.h>
#include <limits>
#include <memory>
#include <new>
#include <set>
#include <sys/resource.h>
#include <type_traits>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kLeast = 1e-6f;

sControlPoint RecordAt(float pX, float pY)
{
    sControlPoint record{};
    record.fPoint = cVector2(pX, pY);
    return record;
}

// Layout

TEST(sControlPoint, IsSixFloatsAndAnIndexInOrder)
{
    const sControlPoint record{};
    EXPECT_EQ(sizeof record, 28u);
    EXPECT_EQ(OffsetIn(record, record.fPoint), 0);
    EXPECT_EQ(OffsetIn(record, record.fNextTangent), 8);
    EXPECT_EQ(OffsetIn(record, record.fPreviousTangent), 16);
    EXPECT_EQ(OffsetIn(record, record.fIndex), 24);
    static_assert(std::is_trivially_copyable_v<sControlPoint>);
}

TEST(cHermiteSpline, FieldsStandInTheGivenOrder)
{
    const cHermiteSpline curve;
    EXPECT_EQ(OffsetIn(curve, curve.fMode), 8);
    EXPECT_EQ(OffsetIn(curve, curve.fPoints), 16);
    EXPECT_EQ(OffsetIn(curve, curve.fCount), 24);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT16f), 32);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT16i), 40);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT8f), 48);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT8i), 56);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT16fValid), 64);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT16iValid), 65);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT8fValid), 66);
    EXPECT_EQ(OffsetIn(curve, curve.fLUT8iValid), 67);
    EXPECT_EQ(sizeof curve, 72u);
}

TEST(cHermiteSpline, SlotsFollowThoseOfTheTransfer)
{
    EXPECT_EQ(SlotOf(&cHermiteSpline::Clone), 2);
    EXPECT_EQ(SlotOf(&cHermiteSpline::Function), 3);
    EXPECT_EQ(SlotOf(static_cast<int (cHermiteSpline::*)(const cVector2&)>(&cHermiteSpline::AddPoint)), 4);
    EXPECT_EQ(SlotOf(&cHermiteSpline::UpdatePointArray), 5);
    EXPECT_EQ(SlotOf(&cHermiteSpline::GetLUT16f), 6);
    EXPECT_EQ(SlotOf(&cHermiteSpline::GetLUT16i), 7);
    EXPECT_EQ(SlotOf(&cHermiteSpline::GetLUT8f), 8);
    EXPECT_EQ(SlotOf(&cHermiteSpline::GetLUT8i), 9);
    EXPECT_EQ(SlotOf(&cHermiteSpline::InvalidateLUTs), 10);
    EXPECT_EQ(SlotOf(&cHermiteSpline::BuildLUT16f), 11);
    EXPECT_EQ(SlotOf(&cHermiteSpline::BuildLUT16i), 12);
    EXPECT_EQ(SlotOf(&cHermiteSpline::BuildLUT8f), 13);
    EXPECT_EQ(SlotOf(&cHermiteSpline::BuildLUT8i), 14);
}

TEST(cHermiteSpline, ModesHaveTheirNumbers)
{
    static_assert(std::is_same_v<std::underlying_type_t<eSplineInterpolationMode>, int>);
    EXPECT_EQ(int{eSplineCatmullRom}, 0);
    EXPECT_EQ(int{eSplineManualTangents}, 1);
    EXPECT_EQ(int{eSplineLinear}, 2);
    EXPECT_EQ(int{eSplineFlatTangents}, 3);
}

TEST(cHermiteSpline, CanBeCopiedButNotAssigned)
{
    static_assert(std::is_base_of_v<cTransfer, cHermiteSpline>);
    static_assert(std::is_copy_constructible_v<cHermiteSpline>);
    static_assert(!std::is_copy_assignable_v<cHermiteSpline>);
}

// Construction

TEST(cHermiteSpline, DefaultIsTheDiagonalWithTangentsOfOne)
{
    cHermiteSpline curve;
    EXPECT_EQ(curve.fMode, eSplineCatmullRom);
    ASSERT_EQ(curve.fCount, 2);
    const cVector2 one(1.0f, 1.0f);
    EXPECT_TRUE(SameVector(curve.fPoints[0].fPoint, cVector2(0.0f, 0.0f)));
    EXPECT_TRUE(SameVector(curve.fPoints[1].fPoint, one));
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(SameVector(curve.fPoints[i].fNextTangent, one));
        EXPECT_TRUE(SameVector(curve.fPoints[i].fPreviousTangent, one));
        EXPECT_EQ(curve.fPoints[i].fIndex, i);
    }
    EXPECT_FALSE(curve.fLUT16fValid || curve.fLUT16iValid || curve.fLUT8fValid || curve.fLUT8iValid);
}

TEST(cHermiteSpline, ConstructorsTakePointsInAnyOrder)
{
    const cHermiteSpline two(0.75f, 0.1f, 0.25f, 0.2f);
    EXPECT_TRUE(SameVector(two.fPoints[0].fPoint, cVector2(0.25f, 0.2f)));
    EXPECT_EQ(two.fPoints[0].fIndex, 1);
    EXPECT_EQ(two.fPoints[1].fIndex, 0);
    const cHermiteSpline three(0.75f, 0.1f, 0.25f, 0.2f, 0.5f, 0.3f);
    ASSERT_EQ(three.fCount, 3);
    EXPECT_TRUE(SameVector(three.fPoints[1].fPoint, cVector2(0.5f, 0.3f)));
    const cHermiteSpline four(0.75f, 0.1f, 0.25f, 0.2f, 0.5f, 0.3f, 0.0f, 0.4f);
    ASSERT_EQ(four.fCount, 4);
    EXPECT_TRUE(SameVector(four.fPoints[0].fPoint, cVector2(0.0f, 0.4f)));
    EXPECT_EQ(four.fPoints[0].fIndex, 3);
}

TEST(cHermiteSpline, CopyTakesPointsAndModeAndNoTables)
{
    cHermiteSpline curve(0.0f, 0.25f, 0.5f, 1.0f, 1.0f, 0.5f);
    curve.SetInterpolationMode(eSplineManualTangents);
    curve.SetNextTangentAt(1, 0.3f, 0.4f);
    curve.GetLUT16f();
    const cHermiteSpline copy(curve);
    EXPECT_EQ(copy.fMode, eSplineManualTangents);
    EXPECT_EQ(copy.fCount, 3);
    EXPECT_NE(copy.fPoints, curve.fPoints);
    EXPECT_NE(copy.fLUT16f, curve.fLUT16f);
    EXPECT_TRUE(copy == curve);
    EXPECT_FALSE(copy.fLUT16fValid);
    EXPECT_EQ(copy.fLUT16f[65535], 0.0f);
}

TEST(cHermiteSpline, CopyStampsTheIndicesAnew)
{
    cHermiteSpline curve(1.0f, 0.0f, 0.0f, 1.0f);
    EXPECT_EQ(curve.fPoints[0].fIndex, 1);
    const cHermiteSpline copy(curve);
    EXPECT_EQ(copy.fPoints[0].fIndex, 0);
    EXPECT_EQ(copy.fPoints[1].fIndex, 1);
    EXPECT_TRUE(copy != curve) << "curves whose points differ in fIndex only are different";
}

TEST(cHermiteSpline, CopyOfUnsortedPointsIsSortedAndStampedOnceMore)
{
    cHermiteSpline curve;
    curve.GetPointAt(0).x = 2.0f; // without an update
    const cHermiteSpline copy(curve);
    EXPECT_EQ(copy.fPoints[1].fPoint.x, 2.0f);
    EXPECT_EQ(copy.fPoints[0].fIndex, 0) << "the second update stamps the sorted records";
}

TEST(cHermiteSpline, CopyOfTooFewPointsFailsAndLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cHermiteSpline curve;
    curve.fCount = 1;
    EXPECT_FAILURE(cHermiteSpline copy(curve), cArgumentException,
                   "Argument pControlPointCount must be greater or equal than two.", "cHermiteSpline.cpp",
                   "Vornik::cHermiteSpline::SetControlPoints");
    const cAllocationScope allocations;
    EXPECT_THROW(cHermiteSpline copy(curve), cArgumentException);
    EXPECT_LE(allocations.Held(), 1) << "the exception's message at most";
}

TEST(cHermiteSpline, ConstructionWithoutMemoryLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    const cHermiteSpline source;
    for (int failing = 0; failing < 5; ++failing) { // four tables and the points
        const cAllocationScope allocations(failing);
        EXPECT_THROW(cHermiteSpline(), std::bad_alloc);
        EXPECT_EQ(allocations.Held(), 0) << failing;
        EXPECT_EQ(allocations.Tried(), failing + 1);
    }
    for (int failing = 0; failing < 5; ++failing) {
        const cAllocationScope allocations(failing);
        EXPECT_THROW(cHermiteSpline copy(source), std::bad_alloc);
        EXPECT_EQ(allocations.Held(), 0) << failing;
    }
    const cAllocationScope allocations(5);
    EXPECT_NO_THROW(cHermiteSpline());
    EXPECT_EQ(allocations.Held(), 0);
}

TEST(cHermiteSpline, InitializeWithoutMemoryLeavesNullTables)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    for (int failing = 0; failing < 4; ++failing) {
        cHermiteSpline curve;
        float* const tables[] = {curve.fLUT16f, curve.fLUT8f};
        unsigned short* const words = curve.fLUT16i;
        unsigned char* const bytes = curve.fLUT8i;
        sControlPoint* const points = curve.fPoints;
        {
            const cAllocationScope allocations(failing);
            EXPECT_THROW(curve.Initialize(), std::bad_alloc);
            EXPECT_EQ(allocations.Held(), 0);
        }
        EXPECT_EQ(curve.fLUT16f, nullptr);
        EXPECT_EQ(curve.fLUT16i, nullptr);
        EXPECT_EQ(curve.fLUT8f, nullptr);
        EXPECT_EQ(curve.fLUT8i, nullptr);
        EXPECT_EQ(curve.fPoints, nullptr);
        EXPECT_EQ(curve.fCount, 0);
        for (float* const table : tables)
            delete[] table;
        delete[] words;
        delete[] bytes;
        delete[] points;
    }
}

TEST(cHermiteSpline, DestructorFreesTablesAndPoints)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    alignas(cHermiteSpline) unsigned char place[sizeof(cHermiteSpline)];
    const cAllocationScope allocations;
    auto* const curve = new (place) cHermiteSpline;
    EXPECT_EQ(allocations.Held(), 5);
    curve->~cHermiteSpline();
    EXPECT_EQ(allocations.Held(), 0);
}

TEST(cHermiteSpline, CloneIsNotAvailable)
{
    const cHermiteSpline curve;
    const cInterpolatedHermiteSpline interpolated;
    for (const cTransfer* transfer :
         {static_cast<const cTransfer*>(&curve), static_cast<const cTransfer*>(&interpolated)})
        EXPECT_FAILURE(static_cast<void>(transfer->Clone()), cInvalidOperationException,
                       "Method 'cHermiteSpline::Clone()' is not implemented.", "cHermiteSpline.cpp",
                       "Vornik::cHermiteSpline::Clone() const");
}

// Comparison

TEST(sControlPoint, EqualityLooksAtAllSevenMembers)
{
    sControlPoint record{};
    record.fPoint = cVector2(1.0f, 2.0f);
    record.fNextTangent = cVector2(3.0f, 4.0f);
    record.fPreviousTangent = cVector2(5.0f, 6.0f);
    record.fIndex = 7;
    sControlPoint other = record;
    EXPECT_TRUE(record == other);
    EXPECT_FALSE(record != other);
    float* const members[] = {&other.fPoint.x,       &other.fPoint.y,           &other.fNextTangent.x,
                              &other.fNextTangent.y, &other.fPreviousTangent.x, &other.fPreviousTangent.y};
    for (float* const member : members) {
        const float kept = *member;
        for (const float changed : {kept + 1.0f, kNaN}) {
            *member = changed;
            EXPECT_FALSE(record == other);
            EXPECT_TRUE(record != other);
        }
        *member = kept;
    }
    other.fIndex = 8;
    EXPECT_FALSE(record == other);
    EXPECT_TRUE(record != other);
}

TEST(sControlPoint, NaNDiffersFromItself)
{
    sControlPoint record{};
    record.fPreviousTangent.y = kNaN;
    EXPECT_TRUE(record != record);
}

TEST(cHermiteSpline, EqualityLooksAtModeCountAndPoints)
{
    const cHermiteSpline curve;
    cHermiteSpline other;
    EXPECT_TRUE(curve == other);
    EXPECT_FALSE(curve != other);
    other.GetLUT16f();
    EXPECT_TRUE(curve == other) << "tables are not compared";
    other.fMode = eSplineLinear;
    EXPECT_TRUE(curve != other);
    other.fMode = eSplineCatmullRom;
    other.GetNextTangentAt(1).y = 5.0f;
    EXPECT_TRUE(curve != other);
    cHermiteSpline longer(0.0f, 0.0f, 1.0f, 1.0f, 2.0f, 2.0f);
    EXPECT_FALSE(curve == longer);
    EXPECT_FALSE(longer == curve);
}

TEST(CompareControlPointAbscissa, AnswersMinusOneForNaN)
{
    const sControlPoint low = RecordAt(0.25f, 9.0f), high = RecordAt(0.5f, 0.0f), none = RecordAt(kNaN, 0.0f);
    EXPECT_EQ(CompareControlPointAbscissa(&low, &high), -1);
    EXPECT_EQ(CompareControlPointAbscissa(&high, &low), 1);
    EXPECT_EQ(CompareControlPointAbscissa(&low, &low), 0);
    EXPECT_EQ(CompareControlPointAbscissa(&none, &low), -1);
    EXPECT_EQ(CompareControlPointAbscissa(&low, &none), -1);
    EXPECT_EQ(CompareControlPointAbscissa(&none, &none), -1);
    const sControlPoint zero = RecordAt(0.0f, 0.0f), minusZero = RecordAt(-0.0f, 0.0f);
    EXPECT_EQ(CompareControlPointAbscissa(&minusZero, &zero), 0);
}

// Update

TEST(cHermiteSpline, UpdateRefusesLessThanTwoPoints)
{
    cHermiteSpline curve;
    for (const int count : {1, 0, -1}) {
        curve.fCount = count;
        EXPECT_FAILURE(curve.UpdatePointArray(), cInvalidOperationException,
                       "The curve must have at least two control points.", "cHermiteSpline.cpp",
                       "void Vornik::cHermiteSpline::UpdatePointArray()");
    }
}

TEST(cHermiteSpline, EqualAbscissaeEndUpALeastDistanceApart)
{
    cHermiteSpline curve(0.5f, 0.1f, 0.5f, 0.2f);
    EXPECT_EQ(curve.fPoints[0].fPoint.x, 0.5f);
    EXPECT_EQ(curve.fPoints[1].fPoint.x, 0.5f + kLeast);
    std::set<int> indices = {curve.fPoints[0].fIndex, curve.fPoints[1].fIndex};
    EXPECT_EQ(indices, (std::set<int>{0, 1}));
}

TEST(cHermiteSpline, ARunOfEqualPointsFansOutUpwards)
{
    const cHermiteSpline curve(1.0f, 0.1f, 1.0f, 0.2f, 1.0f, 0.3f, 0.0f, 0.0f);
    EXPECT_EQ(curve.fPoints[1].fPoint.x, 1.0f);
    EXPECT_EQ(curve.fPoints[2].fPoint.x, 1.0f + kLeast);
    EXPECT_EQ(curve.fPoints[3].fPoint.x, (1.0f + kLeast) + kLeast) << "above the greatest abscissa given";
}

TEST(cHermiteSpline, ExactlyTheLeastDistanceIsKept)
{
    const float below = std::nextafterf(kLeast, 0.0f);
    const cHermiteSpline kept(0.0f, 0.0f, kLeast, 1.0f);
    EXPECT_EQ(BitsOf(kept.fPoints[1].fPoint.x), 0x358637BDu);
    const cHermiteSpline moved(0.0f, 0.0f, below, 1.0f);
    EXPECT_EQ(BitsOf(moved.fPoints[1].fPoint.x), 0x358637BDu);
    const cHermiteSpline apart(0.0f, 0.0f, 2e-6f, 1.0f);
    EXPECT_EQ(apart.fPoints[1].fPoint.x, 2e-6f);
}

TEST(cHermiteSpline, NaNAbscissaSpreadsToThePointsBehindIt)
{
    const cHermiteSpline curve(kNaN, 0.1f, 0.25f, 0.2f, 0.5f, 0.3f);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(std::isnan(curve.fPoints[i].fPoint.x)) << i;
    const cHermiteSpline infinite(kInfinity, 0.1f, kInfinity, 0.2f);
    EXPECT_EQ(infinite.fPoints[1].fPoint.x, kInfinity);
}

TEST(cHermiteSpline, EndTangentsAreNotHalved)
{
    for (const auto mode : {eSplineCatmullRom, eSplineLinear}) {
        cHermiteSpline curve(0.0f, 0.0f, 0.25f, 1.0f, 1.0f, 0.5f);
        curve.SetInterpolationMode(mode);
        const cVector2 expected[] = {cVector2(0.25f, 1.0f), cVector2(0.5f, 0.25f), cVector2(0.75f, -0.5f)};
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(SameVector(curve.GetNextTangentAt(i), expected[i])) << i;
            EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(i), expected[i])) << i;
        }
    }
}

TEST(cHermiteSpline, FlatTangentsAreOneFifth)
{
    cHermiteSpline curve(0.0f, 0.0f, 0.25f, 1.0f, 1.0f, 0.5f);
    curve.SetInterpolationMode(eSplineFlatTangents);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(BitsOf(curve.GetNextTangentAt(i).x), 0x3E4CCCCDu);
        EXPECT_EQ(BitsOf(curve.GetNextTangentAt(i).y), 0u);
        EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(i), curve.GetNextTangentAt(i)));
    }
}

TEST(cHermiteSpline, ManualModeAndModesBeyondTheLastLeaveTangents)
{
    for (const int mode : {1, 4, 1000, -1}) {
        cHermiteSpline curve;
        curve.GetNextTangentAt(0) = cVector2(7.0f, 8.0f);
        curve.SetInterpolationMode(static_cast<eSplineInterpolationMode>(mode));
        EXPECT_TRUE(SameVector(curve.GetNextTangentAt(0), cVector2(7.0f, 8.0f))) << mode;
        EXPECT_EQ(curve.GetInterpolationMode(), mode);
    }
}

// The sort

/// Points of which pNaNs have no abscissa, in random places; no more than the system's sort takes without memory of its
/// own.
std::vector<sControlPoint> PointsWithNaN(unsigned pSeed, int pCount, int pNaNs)
{
    cRandomCurves random(pSeed);
    std::vector<sControlPoint> points = random.Records(eCoarse, pCount);
    for (int i = 0; i < pNaNs; ++i)
        points[static_cast<size_t>(random.Whole(0, pCount - 1))].fPoint.x = kNaN;
    for (int i = 0; i < pCount; ++i)
        points[static_cast<size_t>(i)].fIndex = i;
    return points;
}

std::vector<int> IndicesOf(const sControlPoint* pPoints, size_t pCount)
{
    std::vector<int> indices;
    for (size_t i = 0; i < pCount; ++i)
        indices.push_back(pPoints[i].fIndex);
    return indices;
}

TEST(cHermiteSpline, SortWithNaNTakesTheLeftRecordUnlessItIsGreater)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        const int count = 2 + static_cast<int>(seed % 35u);
        std::vector<sControlPoint> points = PointsWithNaN(seed, count, static_cast<int>(seed % 4u));
        cHermiteSpline curve;
        curve.SetControlPoints(eSplineManualTangents, count, points.data());
        const auto size = static_cast<size_t>(count);
        const std::vector<int> order = IndicesOf(curve.fPoints, size);
        EXPECT_EQ(order, IndicesOf(SortedByMerging(points).data(), size)) << seed;
#if defined(__GLIBC__)
        std::qsort(points.data(), size, sizeof points[0], CompareControlPointAbscissa);
        EXPECT_EQ(order, IndicesOf(points.data(), size)) << seed;
#endif
    }
}

TEST(cHermiteSpline, SortOfManyNaNStaysInsideTheArray)
{
    for (const int nans : {1, 100, 3000}) {
        const std::vector<sControlPoint> points = PointsWithNaN(1, 3000, nans);
        cHermiteSpline curve;
        curve.SetControlPoints(eSplineManualTangents, 3000, points.data());
        std::vector<int> order = IndicesOf(curve.fPoints, 3000);
        std::sort(order.begin(), order.end());
        for (int i = 0; i < 3000; ++i)
            ASSERT_EQ(order[static_cast<size_t>(i)], i) << "each record is there once";
    }
}

// Without memory for a merge some systems' qsort falls back on a method that runs out of the array on NaN.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define SELVANE_TEST_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SELVANE_TEST_SANITIZED
#endif

#if defined(__GLIBC__) && !defined(SELVANE_TEST_SANITIZED)

/// For a process of its own, which it ends.
void SortNaNWithoutMemory()
{
    std::vector<sControlPoint> points(200000);
    for (sControlPoint& point : points)
        point.fPoint.x = kNaN;
    cHermiteSpline curve;
    curve.SetControlPoints(eSplineManualTangents, 200000, points.data());
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_AS, &none);
    curve.UpdatePointArray();
    std::_Exit(curve.GetPointCount() == 200000 ? 0 : 1);
}

TEST(cHermiteSplineDeathTest, SortOfManyNaNNeedsNoMemory)
{
    EXPECT_EXIT(SortNaNWithoutMemory(), ::testing::ExitedWithCode(0), "");
}

#endif

} // namespace
