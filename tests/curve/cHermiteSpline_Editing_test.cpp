#include "curve/cHermiteSpline.h"

#include "Bits.h"
#include "support/Allocations.h"
#include "support/Capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <limits>
#include <new>
#include <string>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kLeast = 1e-6f;
const char* const kFile = "cHermiteSpline.cpp";

/// Three points in manual mode, with tangents that tell them apart.
class cManualCurve : public cHermiteSpline
{
public:
    cManualCurve() : cHermiteSpline(0.0f, 0.0f, 0.5f, 0.75f, 1.0f, 1.0f)
    {
        SetInterpolationMode(eSplineManualTangents);
        for (int i = 0; i < 3; ++i) {
            fPoints[i].fNextTangent = cVector2(0.5f, 0.25f * static_cast<float>(i + 1));
            fPoints[i].fPreviousTangent = cVector2(0.5f, 0.125f * static_cast<float>(i + 1));
        }
    }
};

std::vector<sControlPoint> RecordsOf(const cHermiteSpline& pCurve)
{
    return {pCurve.fPoints, pCurve.fPoints + pCurve.fCount};
}

// Failures

struct sCheckedOperation
{
    const char* fSignature;
    std::function<void(cHermiteSpline&, int)> fCall;
};

std::vector<sCheckedOperation> OperationsWithIndex()
{
    const char* const next = "void Vornik::cHermiteSpline::SetNextTangentAt(int, const Vornik::cVector2&)";
    const char* const previous = "void Vornik::cHermiteSpline::SetPreviousTangentAt(int, const Vornik::cVector2&)";
    const char* const move = "int Vornik::cHermiteSpline::MovePoint(int, const Vornik::cVector2&)";
    return {
        {"Vornik::cVector2& Vornik::cHermiteSpline::GetPointAt(int)", [](auto& c, int i) { c.GetPointAt(i); }},
        {"Vornik::cVector2& Vornik::cHermiteSpline::GetNextTangentAt(int)",
         [](auto& c, int i) { c.GetNextTangentAt(i); }},
        {"Vornik::cVector2& Vornik::cHermiteSpline::GetPreviousTangentAt(int)",
         [](auto& c, int i) { c.GetPreviousTangentAt(i); }},
        {next, [](auto& c, int i) { c.SetNextTangentAt(i, cVector2(9.0f, 9.0f)); }},
        {next, [](auto& c, int i) { c.SetNextTangentAt(i, 9.0f, 9.0f); }},
        {previous, [](auto& c, int i) { c.SetPreviousTangentAt(i, cVector2(9.0f, 9.0f)); }},
        {previous, [](auto& c, int i) { c.SetPreviousTangentAt(i, 9.0f, 9.0f); }},
        {move, [](auto& c, int i) { c.MovePoint(i, cVector2(9.0f, 9.0f)); }},
        {move, [](auto& c, int i) { c.MovePoint(i, 9.0f, 9.0f); }},
        {"void Vornik::cHermiteSpline::RemovePointAt(int)", [](auto& c, int i) { c.RemovePointAt(i); }},
    };
}

TEST(cHermiteSpline_Editing, IndicesOutsideAreRefusedAndNothingChanges)
{
    for (const sCheckedOperation& operation : OperationsWithIndex()) {
        cManualCurve curve;
        curve.GetLUT16f();
        const std::vector<sControlPoint> before = RecordsOf(curve);
        for (const int index : {-1, INT_MIN})
            EXPECT_FAILURE(operation.fCall(curve, index), cArgumentException,
                           "Argument pIndex must be greater than or equal to zero.", kFile, operation.fSignature);
        for (const int index : {3, 4, INT_MAX})
            EXPECT_FAILURE(operation.fCall(curve, index), cArgumentException,
                           "Argument pIndex must be less than fCount.", kFile, operation.fSignature);
        EXPECT_EQ(RecordsOf(curve), before) << operation.fSignature;
        EXPECT_TRUE(curve.fLUT16fValid) << operation.fSignature;
    }
}

TEST(cHermiteSpline_Editing, TwoPointsCannotBecomeOne)
{
    cHermiteSpline curve;
    const char* const signature = "void Vornik::cHermiteSpline::RemovePointAt(int)";
    EXPECT_FAILURE(curve.RemovePointAt(0), cInvalidOperationException,
                   "Cannot remove control point. The curve must have at least two control points.", kFile, signature);
    EXPECT_FAILURE(curve.RemovePointAt(-1), cArgumentException,
                   "Argument pIndex must be greater than or equal to zero.", kFile, signature);
    EXPECT_FAILURE(curve.RemovePointAt(2), cArgumentException, "Argument pIndex must be less than fCount.", kFile,
                   signature);
    EXPECT_EQ(curve.fCount, 2);
}

TEST(cHermiteSpline_Editing, SetControlPointsChecksTheCountFirst)
{
    cManualCurve curve;
    const std::vector<sControlPoint> before = RecordsOf(curve);
    const char* const signature =
        "void Vornik::cHermiteSpline::SetControlPoints(Vornik::eSplineInterpolationMode, int, "
        "const Vornik::sControlPoint*)";
    for (const int count : {1, 0, -1, INT_MIN}) {
        EXPECT_FAILURE(curve.SetControlPoints(eSplineLinear, count, nullptr), cArgumentException,
                       "Argument pControlPointCount must be greater or equal than two.", kFile, signature);
        EXPECT_FAILURE(curve.SetControlPoints(eSplineLinear, count, before.data()), cArgumentException,
                       "Argument pControlPointCount must be greater or equal than two.", kFile, signature);
    }
    EXPECT_FAILURE(curve.SetControlPoints(eSplineLinear, 2, nullptr), cArgumentNullException,
                   "Argument pCPs cannot be null.", kFile, signature);
    EXPECT_EQ(RecordsOf(curve), before);
    EXPECT_EQ(curve.fMode, eSplineManualTangents);
}

TEST(cHermiteSpline_Editing, SetControlPointsWithoutMemoryLeavesTheNewCountAndNoPoints)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cManualCurve curve;
    const cManualCurve other;
    const std::vector<sControlPoint> points = RecordsOf(other);
    {
        const cAllocationScope allocations(0);
        EXPECT_THROW(curve.SetControlPoints(eSplineLinear, 2, points.data()), std::bad_alloc);
        EXPECT_EQ(allocations.Held(), -1) << "the old array is gone";
    }
    EXPECT_EQ(curve.fPoints, nullptr);
    EXPECT_EQ(curve.fCount, 2);
    EXPECT_EQ(curve.fMode, eSplineManualTangents);
    curve.SetControlPoints(eSplineLinear, 3, points.data());
    EXPECT_EQ(curve.fCount, 3);
    EXPECT_EQ(curve.GetLUT16i()[65535], 65535);
}

TEST(cHermiteSpline_Editing, AddPointWithoutMemoryChangesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cManualCurve curve;
    curve.GetLUT16f();
    const std::vector<sControlPoint> before = RecordsOf(curve);
    {
        const cAllocationScope allocations(0);
        EXPECT_THROW(curve.AddPoint(0.25f, 0.25f), std::bad_alloc);
        EXPECT_EQ(allocations.Held(), 0);
    }
    EXPECT_EQ(RecordsOf(curve), before);
    EXPECT_TRUE(curve.fLUT16fValid);
}

TEST(cHermiteSpline_Editing, AddPointRefusesACountThatDoesNotFit)
{
    cHermiteSpline curve;
    curve.fCount = INT_MAX;
    EXPECT_THROW(curve.AddPoint(0.25f, 0.25f), std::bad_array_new_length);
    EXPECT_EQ(curve.fCount, INT_MAX);
    curve.fCount = 2;
}

// Replacing points

TEST(cHermiteSpline_Editing, SetControlPointsSortsAndKeepsManualTangents)
{
    cManualCurve source;
    std::vector<sControlPoint> points = RecordsOf(source);
    std::swap(points[0], points[2]);
    cHermiteSpline curve;
    curve.GetLUT16f();
    curve.SetControlPoints(eSplineManualTangents, 3, points.data());
    EXPECT_EQ(curve.fPoints[0].fIndex, 2);
    EXPECT_EQ(curve.fPoints[2].fIndex, 0);
    EXPECT_EQ(curve.fMode, eSplineManualTangents);
    EXPECT_TRUE(SameVector(curve.fPoints[0].fNextTangent, source.fPoints[0].fNextTangent));
    EXPECT_TRUE(SameVector(curve.fPoints[2].fPreviousTangent, source.fPoints[2].fPreviousTangent));
    EXPECT_FALSE(curve.fLUT16fValid);
}

TEST(cHermiteSpline_Editing, SetControlPointsTakesTheCurvesOwnPoints)
{
    cManualCurve curve;
    const std::vector<sControlPoint> before = RecordsOf(curve);
    curve.SetControlPoints(eSplineManualTangents, 3, curve.fPoints);
    EXPECT_EQ(RecordsOf(curve), before);
    curve.SetControlPoints(eSplineManualTangents, 2, curve.fPoints + 1);
    EXPECT_TRUE(SameVector(curve.GetPointAt(0), before[1].fPoint));
    EXPECT_TRUE(SameVector(curve.GetPointAt(1), before[2].fPoint));
}

TEST(cHermiteSpline_Editing, SetInterpolationModeDerivesTangents)
{
    cManualCurve curve;
    curve.GetLUT16f();
    EXPECT_EQ(curve.GetInterpolationMode(), eSplineManualTangents);
    curve.SetInterpolationMode(eSplineFlatTangents);
    EXPECT_EQ(curve.GetInterpolationMode(), eSplineFlatTangents);
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), cVector2(0.2f, 0.0f)));
    EXPECT_FALSE(curve.fLUT16fValid);
}

// Getters and tangents

TEST(cHermiteSpline_Editing, ReferencesWriteInPlaceWithoutAnyBookkeeping)
{
    cManualCurve curve;
    EXPECT_EQ(curve.GetPointCount(), 3);
    curve.GetLUT16f();
    curve.GetPointAt(0).x = 0.8f;
    curve.GetNextTangentAt(1).y = 4.0f;
    curve.GetPreviousTangentAt(2) = cVector2(5.0f, 6.0f);
    EXPECT_EQ(curve.fPoints[0].fPoint.x, 0.8f) << "not sorted";
    EXPECT_EQ(curve.fPoints[1].fNextTangent.y, 4.0f);
    EXPECT_TRUE(SameVector(curve.fPoints[2].fPreviousTangent, cVector2(5.0f, 6.0f)));
    EXPECT_TRUE(curve.fLUT16fValid);
    curve.UpdatePointArray();
    EXPECT_EQ(curve.fPoints[1].fPoint.x, 0.8f);
    EXPECT_FALSE(curve.fLUT16fValid);
}

TEST(cHermiteSpline_Editing, TangentsAreStoredInManualModeOnly)
{
    for (int mode = 0; mode < 6; ++mode) {
        cHermiteSpline curve;
        curve.SetInterpolationMode(static_cast<eSplineInterpolationMode>(mode));
        const std::vector<sControlPoint> before = RecordsOf(curve);
        curve.GetLUT16f();
        curve.SetNextTangentAt(0, cVector2(2.0f, 3.0f));
        EXPECT_FALSE(curve.fLUT16fValid) << "stale all the same";
        curve.GetLUT16f();
        curve.SetPreviousTangentAt(1, cVector2(4.0f, 5.0f));
        EXPECT_FALSE(curve.fLUT16fValid);
        const bool stored = mode == 1;
        EXPECT_EQ(SameVector(curve.GetNextTangentAt(0), cVector2(2.0f, 3.0f)), stored) << mode;
        EXPECT_EQ(SameVector(curve.GetPreviousTangentAt(1), cVector2(4.0f, 5.0f)), stored) << mode;
        EXPECT_EQ(RecordsOf(curve) == before, !stored) << mode;
    }
}

TEST(cHermiteSpline_Editing, TangentFormsWithTwoFloatsDoTheSame)
{
    cManualCurve curve;
    curve.SetNextTangentAt(1, 2.0f, 3.0f);
    curve.SetPreviousTangentAt(1, 4.0f, 5.0f);
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), cVector2(2.0f, 3.0f)));
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(1), cVector2(4.0f, 5.0f)));
}

TEST(cHermiteSpline_Editing, TangentsCanBeShownAndEditedInManualModeOnly)
{
    cHermiteSpline curve;
    for (const int mode : {0, 1, 2, 3, 4, -1}) {
        curve.SetInterpolationMode(static_cast<eSplineInterpolationMode>(mode));
        EXPECT_EQ(curve.CanShowTangents(), mode == 1);
        EXPECT_EQ(curve.CanEditTangents(), mode == 1);
    }
}

// Removing and moving

TEST(cHermiteSpline_Editing, RemovedPlaceIsTakenByTheLastRecordBeforeTheSort)
{
    cManualCurve curve;
    const std::vector<sControlPoint> before = RecordsOf(curve);
    const sControlPoint* const array = curve.fPoints;
    curve.GetLUT16f();
    curve.RemovePointAt(0);
    EXPECT_EQ(curve.fPoints, array) << "not reallocated";
    ASSERT_EQ(curve.GetPointCount(), 2);
    EXPECT_TRUE(SameVector(curve.GetPointAt(0), before[1].fPoint));
    EXPECT_TRUE(SameVector(curve.GetPointAt(1), before[2].fPoint));
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(1), before[2].fPreviousTangent));
    EXPECT_EQ(curve.fPoints[1].fIndex, 0) << "it stood in place 0 before the sort";
    EXPECT_FALSE(curve.fLUT16fValid);
}

TEST(cHermiteSpline_Editing, LastPointCanBeRemoved)
{
    cManualCurve curve;
    curve.RemovePointAt(2);
    ASSERT_EQ(curve.GetPointCount(), 2);
    EXPECT_EQ(curve.GetPointAt(1).x, 0.5f);
}

TEST(cHermiteSpline_Editing, PointMovedPastItsNeighbourReportsItsNewPlace)
{
    cManualCurve curve;
    const std::vector<sControlPoint> before = RecordsOf(curve);
    curve.GetLUT16f();
    EXPECT_EQ(curve.MovePoint(0, cVector2(0.75f, -3.0f)), 1);
    EXPECT_TRUE(SameVector(curve.GetPointAt(0), before[1].fPoint));
    EXPECT_TRUE(SameVector(curve.GetPointAt(1), cVector2(0.75f, -3.0f))) << "not clamped";
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), before[0].fNextTangent)) << "tangents travel along";
    EXPECT_FALSE(curve.fLUT16fValid);
    EXPECT_EQ(curve.MovePoint(1, 5.0f, 0.0f), 2);
    EXPECT_EQ(curve.GetPointAt(2).x, 5.0f);
    EXPECT_EQ(curve.MovePoint(2, -5.0f, 0.0f), 0);
}

TEST(cHermiteSpline_Editing, PointMovedOntoANeighbourIsFoundByItsIndex)
{
    cHermiteSpline curve(0.0f, 0.0f, 0.5f, 0.25f, 1.0f, 1.0f);
    const int place = curve.MovePoint(2, 0.5f, 0.75f);
    EXPECT_EQ(curve.fPoints[place].fIndex, 2);
    EXPECT_EQ(curve.GetPointAt(place).y, 0.75f);
    EXPECT_EQ(curve.GetPointAt(1).x, 0.5f);
    EXPECT_EQ(curve.GetPointAt(2).x, 0.5f + kLeast);
}

TEST(cHermiteSpline_Editing, IndexAfterSortIsMinusOneForAnUnknownPlace)
{
    cHermiteSpline curve(1.0f, 0.0f, 0.5f, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(curve.GetIndexAfterSort(0), 2);
    EXPECT_EQ(curve.GetIndexAfterSort(1), 1);
    EXPECT_EQ(curve.GetIndexAfterSort(2), 0);
    EXPECT_EQ(curve.GetIndexAfterSort(3), -1);
    EXPECT_EQ(curve.GetIndexAfterSort(-1), -1);
    curve.fPoints[2].fIndex = 1;
    EXPECT_EQ(curve.GetIndexAfterSort(1), 1) << "the first one counts";
}

// Adding

TEST(cHermiteSpline_Editing, AddedPointIsTakenAsItIsOutsideManualMode)
{
    for (const int mode : {0, 2, 3}) {
        cHermiteSpline curve;
        curve.SetInterpolationMode(static_cast<eSplineInterpolationMode>(mode));
        curve.GetLUT16f();
        EXPECT_EQ(curve.AddPoint(cVector2(0.25f, 0.875f)), 1);
        ASSERT_EQ(curve.GetPointCount(), 3);
        EXPECT_TRUE(SameVector(curve.GetPointAt(1), cVector2(0.25f, 0.875f)));
        EXPECT_EQ(curve.fPoints[1].fIndex, 2);
        const cVector2 tangent = mode == 3 ? cVector2(0.2f, 0.0f) : cVector2(0.5f, 0.5f);
        EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), tangent)) << mode;
        EXPECT_FALSE(curve.fLUT16fValid);
        EXPECT_EQ(curve.GetLUT16i()[16383], static_cast<int>(0.875f * 65535.0f)) << "the shape changes";
    }
}

TEST(cHermiteSpline_Editing, AddedPointHasNoTangentsInAModeBeyondTheLast)
{
    cHermiteSpline curve;
    curve.SetInterpolationMode(static_cast<eSplineInterpolationMode>(9));
    EXPECT_EQ(curve.AddPoint(0.25f, 0.875f), 1);
    EXPECT_TRUE(SameVector(curve.GetPointAt(1), cVector2(0.25f, 0.875f)));
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), cVector2()));
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(1), cVector2()));
}

TEST(cHermiteSpline_Editing, PointAddedAtOrBeyondTheEndsHasOuterTangents)
{
    for (const float x : {-0.5f, 0.0f, 1.0f, 1.5f}) {
        cManualCurve curve;
        const int place = curve.AddPoint(x, 0.625f);
        EXPECT_EQ(curve.fPoints[place].fIndex, 3);
        EXPECT_EQ(curve.GetPointAt(place).y, 0.625f);
        EXPECT_TRUE(SameVector(curve.GetNextTangentAt(place), cVector2(0.25f, 0.0f))) << x;
        EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(place), cVector2(0.25f, 0.0f))) << x;
    }
}

TEST(cHermiteSpline_Editing, PointAddedInsideKeepsTheShape)
{
    for (const float y : {0.0f, 0.5f, -7.0f, kNaN}) {
        cManualCurve curve;
        const std::vector<float> before(curve.GetLUT16f(), curve.GetLUT16f() + 65537);
        const int place = curve.AddPoint(0.25f, y);
        EXPECT_EQ(place, 1);
        const cVector2 added = curve.GetPointAt(place);
        EXPECT_GE(added.x, 0.25f) << "the first step at or past the abscissa";
        EXPECT_LT(added.x, 0.25f + 2.0f / 300.0f);
        EXPECT_NEAR(added.y, before[static_cast<size_t>(added.x * 65535.0f)], 1e-4f) << "it lies on the curve";
        for (size_t i = 0; i < before.size(); ++i)
            ASSERT_NEAR(curve.GetLUT16f()[i], before[i], 2e-4f) << i;
    }
}

TEST(cHermiteSpline_Editing, SplitOfTheDiagonalInTheMiddle)
{
    cHermiteSpline curve;
    curve.SetInterpolationMode(eSplineManualTangents);
    EXPECT_EQ(curve.AddPoint(0.5f, 0.0f), 1);
    const float t = 150.0f * FloatOf(0x3B5A740Eu); // x is the parameter here, up to rounding
    EXPECT_NEAR(curve.GetPointAt(1).x, t, 1e-6f);
    EXPECT_EQ(curve.GetPointAt(1).x, curve.GetPointAt(1).y);
    EXPECT_NEAR(curve.GetNextTangentAt(0).x, 0.5f, 1e-5f);
    EXPECT_NEAR(curve.GetPreviousTangentAt(2).x, 0.5f, 1e-5f);
    EXPECT_NEAR(curve.GetPreviousTangentAt(1).x, 0.5f, 1e-5f);
    EXPECT_NEAR(curve.GetNextTangentAt(1).x, 0.5f, 1e-5f);
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(0), cVector2(1.0f, 1.0f))) << "the outer sides stay";
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(2), cVector2(1.0f, 1.0f)));
}

TEST(cHermiteSpline_Editing, SplitWhoseAbscissaIsNeverReachedTakesTheLastStep)
{
    sControlPoint points[2] = {};
    points[1].fPoint = cVector2(1.0f, 1.0f);
    points[0].fNextTangent = cVector2(1.0f, 1.0f);
    points[1].fPreviousTangent = cVector2(1.0f, 1.0f);
    cHermiteSpline curve;
    curve.SetControlPoints(eSplineManualTangents, 2, points);
    const float below = 0x1.fffffep-1f; // 300 steps may end below it
    curve.AddPoint(below, 0.0f);
    EXPECT_NEAR(curve.GetPointAt(1).x, 1.0f, 1e-5f);
    EXPECT_EQ(curve.GetPointCount(), 3);
}

TEST(cHermiteSpline_Editing, AddedPointMayBeARecordOfTheCurve)
{
    cManualCurve curve;
    const cVector2 last = curve.GetPointAt(2);
    const int place = curve.AddPoint(curve.GetPointAt(2));
    EXPECT_EQ(curve.GetPointAt(place).y, last.y);
}

// Virtual calls

class cNotingSpline : public cHermiteSpline
{
public:
    using cHermiteSpline::AddPoint;

    int AddPoint(const cVector2& pPoint) override
    {
        ++fAdded;
        return cHermiteSpline::AddPoint(pPoint);
    }
    void UpdatePointArray() override
    {
        ++fUpdated;
        cHermiteSpline::UpdatePointArray();
    }

    int fAdded = 0, fUpdated = 0;
};

TEST(cHermiteSpline_Editing, EveryChangeEndsInOneVirtualUpdate)
{
    cNotingSpline curve;
    EXPECT_EQ(curve.fUpdated, 0) << "constructors run the update of their own class";
    int updates = 0;
    curve.SetInterpolationMode(eSplineManualTangents);
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.AddPoint(cVector2(0.5f, 0.5f));
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.AddPoint(0.25f, 0.5f);
    EXPECT_EQ(curve.fUpdated, ++updates);
    EXPECT_EQ(curve.fAdded, 2) << "the form with two floats calls the virtual one";
    curve.MovePoint(1, 0.3f, 0.5f);
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.SetNextTangentAt(1, 0.3f, 0.5f);
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.SetPreviousTangentAt(1, 0.3f, 0.5f);
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.RemovePointAt(1);
    EXPECT_EQ(curve.fUpdated, ++updates);
    curve.SetControlPoints(eSplineLinear, 2, cHermiteSpline().fPoints);
    EXPECT_EQ(curve.fUpdated, ++updates);
}

} // namespace
