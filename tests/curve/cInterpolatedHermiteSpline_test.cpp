#include "curve/cHermiteSpline.h"

#include "Bits.h"
#include "RandomCurves.h"
#include "SlowSpline.h"
#include "support/Allocations.h"
#include "support/Capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

using namespace Vornik;
using namespace SelvaneTest;

namespace
{

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const char* const kFile = "cHermiteSpline.cpp";

std::vector<sControlPoint> RecordsOf(const cHermiteSpline& pCurve)
{
    return {pCurve.fPoints, pCurve.fPoints + pCurve.fCount};
}

std::vector<sControlPoint> FrameOf(cInterpolatedHermiteSpline& pCurve, int pFrame)
{
    const sControlPoint* const first = pCurve.GetKeyFrames() + pFrame * pCurve.fCount;
    return {first, first + pCurve.fCount};
}

void ExpectAllFramesAreTheCurve(cInterpolatedHermiteSpline& pCurve, int pFrames)
{
    ASSERT_EQ(pCurve.GetKeyFrameCount(), pFrames);
    for (int frame = 0; frame < pFrames; ++frame)
        EXPECT_EQ(FrameOf(pCurve, frame), RecordsOf(pCurve)) << frame;
}

/// Key frame after key frame with ascending abscissae and tangents that tell the frames apart.
std::vector<sControlPoint> SomeFrames(int pPoints, int pFrames)
{
    std::vector<sControlPoint> records;
    for (int frame = 0; frame < pFrames; ++frame) {
        for (int i = 0; i < pPoints; ++i) {
            const float x = static_cast<float>(i) / static_cast<float>(pPoints - 1), step = static_cast<float>(frame);
            sControlPoint record{};
            record.fPoint = cVector2(x, 0.125f * step);
            record.fNextTangent = cVector2(1.0f + step, 0.5f * step);
            record.fPreviousTangent = cVector2(2.0f + step, 0.25f * step);
            record.fIndex = i;
            records.push_back(record);
        }
    }
    return records;
}

/// A curve with these key frames in manual mode.
class cFramedCurve : public cInterpolatedHermiteSpline
{
public:
    cFramedCurve(int pPoints, int pFrames)
    {
        SetKeyFrames(eSplineManualTangents, pPoints, pFrames, SomeFrames(pPoints, pFrames).data());
    }
};

// Layout and construction

TEST(cInterpolatedHermiteSpline, FieldsFollowThoseOfTheBase)
{
    const cInterpolatedHermiteSpline curve;
    EXPECT_EQ(OffsetIn(curve, curve.fKeyFrameCount), 68);
    EXPECT_EQ(OffsetIn(curve, curve.fKeyFrames), 72);
    EXPECT_EQ(OffsetIn(curve, curve.fReserved), 80);
    EXPECT_EQ(OffsetIn(curve, curve.fLastPointCount), 84);
    EXPECT_EQ(sizeof curve, 88u);
    EXPECT_EQ(SlotOf(&cInterpolatedHermiteSpline::UpdatePointArray), 5);
}

TEST(cInterpolatedHermiteSpline, CannotBeCopied)
{
    static_assert(std::is_base_of_v<cHermiteSpline, cInterpolatedHermiteSpline>);
    static_assert(!std::is_copy_constructible_v<cInterpolatedHermiteSpline>);
    static_assert(!std::is_copy_assignable_v<cInterpolatedHermiteSpline>);
    const cInterpolatedHermiteSpline curve(0.0f, 0.5f, 1.0f, 0.25f);
    const cHermiteSpline copy(curve); // its points can be
    EXPECT_TRUE(copy == curve);
}

TEST(cInterpolatedHermiteSpline, StartsWithTwoFramesOfItsPoints)
{
    cInterpolatedHermiteSpline curves[] = {cInterpolatedHermiteSpline(),
                                           cInterpolatedHermiteSpline(0.0f, 0.1f, 1.0f, 0.2f),
                                           cInterpolatedHermiteSpline(0.0f, 0.1f, 1.0f, 0.2f, 0.5f, 0.3f),
                                           cInterpolatedHermiteSpline(0.0f, 0.1f, 1.0f, 0.2f, 0.5f, 0.3f, 0.75f, 0.4f)};
    const int counts[] = {2, 2, 3, 4};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(curves[i].fCount, counts[i]);
        EXPECT_EQ(curves[i].fReserved, 0);
        EXPECT_EQ(curves[i].fLastPointCount, -1);
        ExpectAllFramesAreTheCurve(curves[i], 2);
    }
    EXPECT_TRUE(SameVector(curves[0].GetPointAt(1), cVector2(1.0f, 1.0f)));
    EXPECT_TRUE(SameVector(curves[2].GetPointAt(1), cVector2(0.5f, 0.3f)));
}

TEST(cInterpolatedHermiteSpline, ConstructionWithoutMemoryLosesNothing)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    for (int failing = 0; failing < 6; ++failing) { // four tables, the points, the key frames
        const cAllocationScope allocations(failing);
        EXPECT_THROW(cInterpolatedHermiteSpline(), std::bad_alloc);
        EXPECT_EQ(allocations.Tried(), failing + 1);
        EXPECT_EQ(allocations.Held(), 0) << failing;
    }
    const cAllocationScope allocations(6);
    EXPECT_NO_THROW(cInterpolatedHermiteSpline());
    EXPECT_EQ(allocations.Held(), 0);
}

// Layout of the key frames

TEST(cInterpolatedHermiteSpline, SetKeyFrameCountResetsAllFramesToTheCurve)
{
    cFramedCurve curve(3, 4);
    curve.MovePoint(1, 0.25f, 0.75f);
    curve.SetKeyFrameCount(5);
    ExpectAllFramesAreTheCurve(curve, 5);
    curve.SetKeyFrameCount(1);
    ExpectAllFramesAreTheCurve(curve, 1);
    curve.SetKeyFrameCount(0);
    EXPECT_EQ(curve.GetKeyFrameCount(), 0);
    EXPECT_NE(curve.GetKeyFrames(), nullptr);
}

TEST(cInterpolatedHermiteSpline, FirstUpdateAfterConstructionLaysTheFramesOutAnew)
{
    cInterpolatedHermiteSpline curve;
    curve.GetKeyFrames()[0].fPoint.y = 0.375f;
    curve.GetNextTangentAt(0).x = 9.0f;
    curve.RecordKeyFrame(1);
    EXPECT_EQ(FrameOf(curve, 1)[0].fNextTangent.x, 9.0f);
    curve.UpdatePointArray();
    EXPECT_EQ(curve.fLastPointCount, 2);
    ExpectAllFramesAreTheCurve(curve, 2);
    curve.GetKeyFrames()[0].fPoint.y = 0.375f;
    curve.UpdatePointArray();
    EXPECT_EQ(FrameOf(curve, 0)[0].fPoint.y, 0.375f) << "the second update keeps them";
}

TEST(cInterpolatedHermiteSpline, FirstUpdateKeepsTheCountOfFrames)
{
    cInterpolatedHermiteSpline curve;
    curve.SetKeyFrameCount(7);
    curve.SetInterpolationMode(eSplineLinear);
    ExpectAllFramesAreTheCurve(curve, 7);
}

TEST(cInterpolatedHermiteSpline, AnotherNumberOfPointsDiscardsTheFrames)
{
    cFramedCurve curve(3, 4);
    EXPECT_EQ(curve.fLastPointCount, 3);
    curve.AddPoint(0.25f, 0.75f);
    EXPECT_EQ(curve.fLastPointCount, 4);
    ExpectAllFramesAreTheCurve(curve, 4);
    for (const float position : {-1.0f, 0.0f, 0.3f, 0.7f, 1.0f}) {
        const std::vector<sControlPoint> before = RecordsOf(curve);
        curve.InterpolateControlPoints(position);
        for (size_t i = 0; i < before.size(); ++i)
            EXPECT_NEAR(curve.fPoints[i].fPoint.y, before[i].fPoint.y, 1e-6f);
    }
    cFramedCurve other(3, 4);
    other.RemovePointAt(1);
    ExpectAllFramesAreTheCurve(other, 4);
    cFramedCurve same(3, 4);
    const std::vector<sControlPoint> frames(same.GetKeyFrames(), same.GetKeyFrames() + 12);
    same.MovePoint(1, 0.6f, 0.6f);
    EXPECT_EQ(std::vector<sControlPoint>(same.GetKeyFrames(), same.GetKeyFrames() + 12), frames);
}

TEST(cInterpolatedHermiteSpline, CountThatDoesNotFitIsABadArrayLength)
{
    cFramedCurve curve(4, 3);
    for (const int count : {-1, INT_MIN, INT_MAX, INT_MAX / 4 + 1, 1 << 30}) { // 4 << 30 wraps to 0
        EXPECT_THROW(curve.SetKeyFrameCount(count), std::bad_array_new_length) << count;
        EXPECT_EQ(curve.GetKeyFrameCount(), count);
        EXPECT_EQ(curve.GetKeyFrames(), nullptr) << "the old frames are gone";
    }
    curve.SetKeyFrameCount(3);
    ExpectAllFramesAreTheCurve(curve, 3);
}

TEST(cInterpolatedHermiteSpline, FramesThatFoundNoMemoryAreLeftAlone)
{
    SKIP_UNLESS_ALLOCATIONS_ARE_COUNTED();
    cFramedCurve curve(3, 4);
    {
        const cAllocationScope allocations(0);
        EXPECT_THROW(curve.SetKeyFrameCount(5), std::bad_alloc);
    }
    EXPECT_EQ(curve.GetKeyFrames(), nullptr);
    EXPECT_EQ(curve.GetKeyFrameCount(), 5);
    const std::vector<sControlPoint> before = RecordsOf(curve);
    curve.RecordKeyFrame(1);
    curve.SetKeyFrame(1);
    curve.InterpolateControlPoints(0.5f);
    EXPECT_EQ(RecordsOf(curve), before);
}

// Filling the key frames

TEST(cInterpolatedHermiteSpline, SetKeyFramesStoresRecordsAsTheyStand)
{
    cRandomCurves random(9);
    const std::vector<sControlPoint> records = random.Records(eWide, 12);
    cInterpolatedHermiteSpline curve;
    curve.GetLUT16f();
    curve.SetKeyFrames(eSplineCatmullRom, 4, 3, records.data());
    EXPECT_EQ(std::vector<sControlPoint>(curve.GetKeyFrames(), curve.GetKeyFrames() + 12), records);
    EXPECT_EQ(curve.GetKeyFrameCount(), 3);
    EXPECT_EQ(curve.fLastPointCount, 4);
    EXPECT_EQ(curve.fMode, eSplineCatmullRom);
    EXPECT_FALSE(curve.fLUT16fValid);
    cHermiteSpline first;
    first.SetControlPoints(eSplineCatmullRom, 4, records.data());
    EXPECT_EQ(RecordsOf(curve), RecordsOf(first)) << "key frame 0 is the curve, sorted and with derived tangents";
}

TEST(cInterpolatedHermiteSpline, FloatFormHasThePreviousTangentFirst)
{
    const float floats[] = {0.5f,   0.5f, 1,  2,  3,  4,  0.75f, 0.25f, 5,  6,  7,  8,   // key frame 0
                            0.0f,   1.0f, 9,  10, 11, 12, 1.0f,  0.0f,  13, 14, 15, 16,  // key frame 1
                            0.125f, 1.5f, 17, 18, 19, 20, 0.25f, 0.5f,  21, 22, 23, 24}; // key frame 2
    cInterpolatedHermiteSpline curve;
    curve.SetKeyFrames(eSplineManualTangents, 2, 3, floats);
    for (int i = 0; i < 6; ++i) {
        const sControlPoint& record = curve.GetKeyFrames()[i];
        const float* const six = floats + i * 6;
        EXPECT_TRUE(SameVector(record.fPoint, cVector2(six[0], six[1]))) << i;
        EXPECT_TRUE(SameVector(record.fPreviousTangent, cVector2(six[2], six[3]))) << i;
        EXPECT_TRUE(SameVector(record.fNextTangent, cVector2(six[4], six[5]))) << i;
        EXPECT_EQ(record.fIndex, i % 2) << "counted anew in each key frame";
    }
    EXPECT_TRUE(SameVector(curve.GetPointAt(1), cVector2(0.75f, 0.25f)));
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(1), cVector2(5.0f, 6.0f)));
}

TEST(cInterpolatedHermiteSpline, SetKeyFramesTakesTheCurvesOwnRecords)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> frames = SomeFrames(3, 4);
    curve.SetKeyFrames(eSplineManualTangents, 3, 3, curve.GetKeyFrames() + 3);
    EXPECT_EQ(std::vector<sControlPoint>(curve.GetKeyFrames(), curve.GetKeyFrames() + 9),
              std::vector<sControlPoint>(frames.begin() + 3, frames.end()));
    const std::vector<sControlPoint> points = RecordsOf(curve);
    curve.SetKeyFrames(eSplineManualTangents, 3, 1, curve.fPoints);
    EXPECT_EQ(RecordsOf(curve), points);
    ExpectAllFramesAreTheCurve(curve, 1);
}

TEST(cInterpolatedHermiteSpline, RecordAndSetCopyAllMembersOfAFrame)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> frames = SomeFrames(3, 4);
    EXPECT_EQ(FrameOf(curve, 2), std::vector<sControlPoint>(frames.begin() + 6, frames.begin() + 9));
    curve.GetLUT16f();
    curve.SetKeyFrame(2);
    EXPECT_FALSE(curve.fLUT16fValid);
    EXPECT_EQ(RecordsOf(curve), FrameOf(curve, 2));
    curve.MovePoint(1, 0.625f, 0.875f);
    curve.GetLUT16f();
    curve.RecordKeyFrame(3);
    EXPECT_TRUE(curve.fLUT16fValid) << "no update of any kind";
    EXPECT_EQ(FrameOf(curve, 3), RecordsOf(curve));
    EXPECT_EQ(FrameOf(curve, 2), std::vector<sControlPoint>(frames.begin() + 6, frames.begin() + 9));
    EXPECT_EQ(FrameOf(curve, 1), std::vector<sControlPoint>(frames.begin() + 3, frames.begin() + 6));
}

TEST(cInterpolatedHermiteSpline, SetKeyFrameDerivesTangentsByMode)
{
    cFramedCurve curve(3, 2);
    curve.SetInterpolationMode(eSplineFlatTangents);
    curve.SetKeyFrame(1);
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(1), cVector2(0.2f, 0.0f)));
    EXPECT_EQ(FrameOf(curve, 1)[1].fNextTangent.x, 2.0f) << "the stored frame stays as it is";
}

TEST(cInterpolatedHermiteSpline, SetKeyFrameSortsThePointsAndLeavesTheFrame)
{
    cFramedCurve curve(3, 2);
    sControlPoint* const frame = curve.GetKeyFrames() + 3;
    std::swap(frame[0], frame[2]);
    const std::vector<sControlPoint> stored(frame, frame + 3);
    curve.SetKeyFrame(1);
    const std::vector<sControlPoint> points = RecordsOf(curve);
    EXPECT_LT(points[0].fPoint.x, points[1].fPoint.x);
    EXPECT_LT(points[1].fPoint.x, points[2].fPoint.x);
    EXPECT_EQ(std::vector<sControlPoint>(frame, frame + 3), stored);
}

TEST(cInterpolatedHermiteSpline, FramesThatAreNotStoredAreIgnored)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> points = RecordsOf(curve);
    const std::vector<sControlPoint> frames(curve.GetKeyFrames(), curve.GetKeyFrames() + 12);
    for (const int frame : {-1, 4, INT_MAX, INT_MIN}) {
        curve.RecordKeyFrame(frame);
        curve.GetLUT16f();
        curve.SetKeyFrame(frame);
        EXPECT_FALSE(curve.fLUT16fValid);
    }
    EXPECT_EQ(RecordsOf(curve), points);
    EXPECT_EQ(std::vector<sControlPoint>(curve.GetKeyFrames(), curve.GetKeyFrames() + 12), frames);
}

TEST(cInterpolatedHermiteSpline, RecordKeyFrameOfNoPointsDoesNothing)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> frames(curve.GetKeyFrames(), curve.GetKeyFrames() + 12);
    for (const int count : {0, -2}) {
        curve.fCount = count;
        curve.RecordKeyFrame(0);
    }
    curve.fCount = 3;
    EXPECT_EQ(std::vector<sControlPoint>(curve.GetKeyFrames(), curve.GetKeyFrames() + 12), frames);
}

// Failures

TEST(cInterpolatedHermiteSpline, RecordFormChecksInItsOwnWords)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> before = RecordsOf(curve);
    const std::vector<sControlPoint> input = SomeFrames(2, 2);
    const sControlPoint* const none = nullptr;
    const char* const where = "void Vornik::cInterpolatedHermiteSpline::SetKeyFrames(Vornik::eSplineInterpolationMode, "
                              "int, int, const Vornik::sControlPoint*)";
    for (const int count : {1, 0, -1}) {
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, count, 2, input.data()), cArgumentException,
                       "Argument pControlPointCount must be greater than or equal to two.", kFile, where);
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, count, 0, none), cArgumentException,
                       "Argument pControlPointCount must be greater than or equal to two.", kFile, where);
    }
    for (const int count : {0, -1})
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, 2, count, none), cArgumentException,
                       "Argument pKeyFrameCount must be greater than or equal to one.", kFile, where);
    EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, 2, 1, none), cArgumentNullException,
                   "Argument pCPs cannot be null.", kFile, where);
    EXPECT_EQ(RecordsOf(curve), before);
    EXPECT_EQ(curve.fMode, eSplineManualTangents);
    EXPECT_EQ(curve.GetKeyFrameCount(), 4);
}

TEST(cInterpolatedHermiteSpline, FloatFormChecksInItsOwnWords)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> before = RecordsOf(curve);
    const std::vector<float> input(24, 0.5f);
    const float* const none = nullptr;
    const char* const where = "void Vornik::cInterpolatedHermiteSpline::SetKeyFrames(Vornik::eSplineInterpolationMode, "
                              "int, int, const float*)";
    for (const int count : {1, 0, -1}) {
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, count, 2, input.data()), cArgumentException,
                       "Argument pControlPointCount must be greater or equal than two.", kFile, where);
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, count, 0, none), cArgumentException,
                       "Argument pControlPointCount must be greater or equal than two.", kFile, where);
    }
    for (const int count : {0, -1})
        EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, 2, count, none), cArgumentException,
                       "Argument pKeyFrameCount must be greater or equal than one.", kFile, where);
    EXPECT_FAILURE(curve.SetKeyFrames(eSplineLinear, 2, 1, none), cArgumentNullException,
                   "Argument pCPs cannot be null.", kFile, where);
    EXPECT_EQ(RecordsOf(curve), before);
    EXPECT_EQ(curve.GetKeyFrameCount(), 4);
}

TEST(cInterpolatedHermiteSpline, FloatFormOfTooManyRecordsChangesNothing)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> before = RecordsOf(curve);
    const float some[12] = {};
    EXPECT_THROW(curve.SetKeyFrames(eSplineLinear, 4, 1 << 30, some), std::bad_array_new_length);
    EXPECT_EQ(RecordsOf(curve), before);
    EXPECT_EQ(curve.GetKeyFrameCount(), 4);
}

TEST(cInterpolatedHermiteSpline, RecordFormOfTooManyRecordsHasTheCurveAndNoFrames)
{
    cFramedCurve curve(3, 4);
    const std::vector<sControlPoint> input = SomeFrames(4, 1);
    EXPECT_THROW(curve.SetKeyFrames(eSplineLinear, 4, 1 << 30, input.data()), std::bad_array_new_length);
    EXPECT_EQ(curve.fCount, 4);
    EXPECT_EQ(curve.GetKeyFrameCount(), 1 << 30);
    EXPECT_EQ(curve.GetKeyFrames(), nullptr);
}

// Blending

TEST(cInterpolatedHermiteSpline, PositionsOfFramesGiveThemExactly)
{
    const std::vector<sControlPoint> frames = SomeFrames(2, 5);
    cFramedCurve curve(2, 5);
    const struct
    {
        float fPosition;
        int fFrame;
    } cases[] = {{0.0f, 0},  {-0.0f, 0}, {-1.0f, 0}, {-kInfinity, 0}, {0.25f, 1}, {0.5f, 2},
                 {0.75f, 3}, {1.0f, 4},  {5.0f, 4},  {kInfinity, 4},  {kNaN, 4}};
    for (const auto& one : cases) {
        curve.InterpolateControlPoints(one.fPosition);
        EXPECT_EQ(RecordsOf(curve), FrameOf(curve, one.fFrame)) << one.fPosition;
    }
    EXPECT_EQ(std::vector<sControlPoint>(curve.GetKeyFrames(), curve.GetKeyFrames() + 10), frames);
}

/// One float of a blend, each rounding by hand.
float BlendSlowly(float pFirst, float pSecond, float pWeight)
{
    return Sum(Product(pWeight, pSecond), Product(Difference(1.0f, pWeight), pFirst));
}

cVector2 BlendSlowly(cVector2 pFirst, cVector2 pSecond, float pWeight)
{
    return cVector2(BlendSlowly(pFirst.x, pSecond.x, pWeight), BlendSlowly(pFirst.y, pSecond.y, pWeight));
}

TEST(cInterpolatedHermiteSpline, BlendEqualsTheSlowTwin)
{
    cRandomCurves random(21);
    for (int round = 0; round < 400; ++round) {
        const auto kind = static_cast<eCurveKind>(round % eCurveKinds);
        const int points = random.Whole(2, 5), frames = random.Whole(2, 7);
        const auto mode = random.Mode();
        const std::vector<sControlPoint> records = random.Records(kind, points * frames);
        cInterpolatedHermiteSpline curve;
        curve.SetKeyFrames(mode, points, frames, records.data());
        const float position = round % 7 == 0 ? random.Between(-1.0f, 2.0f) : random.Between(0.0f, 1.0f);
        int first = 0;
        float weight = 0.0f;
        if (position >= 1.0f) {
            first = frames - 2;
            weight = 1.0f;
        } else if (position >= 0.0f) {
            const float place = Product(position, static_cast<float>(frames - 1));
            first = static_cast<int>(place);
            weight = Difference(place, static_cast<float>(first));
        }
        sSlowSpline twin;
        twin.fMode = mode;
        for (int i = 0; i < points; ++i) {
            const sControlPoint& a = records[static_cast<size_t>(first * points + i)];
            const sControlPoint& b = records[static_cast<size_t>((first + 1) * points + i)];
            sControlPoint blend{};
            blend.fPoint = BlendSlowly(a.fPoint, b.fPoint, weight);
            blend.fNextTangent = BlendSlowly(a.fNextTangent, b.fNextTangent, weight);
            blend.fPreviousTangent = BlendSlowly(a.fPreviousTangent, b.fPreviousTangent, weight);
            twin.fPoints.push_back(blend);
        }
        twin.Update();
        curve.InterpolateControlPoints(position);
        for (int i = 0; i < points; ++i) {
            const sControlPoint& one = curve.fPoints[i];
            const sControlPoint& other = twin.fPoints[static_cast<size_t>(i)];
            ASSERT_TRUE(SameVector(one.fPoint, other.fPoint)) << round;
            ASSERT_TRUE(SameVector(one.fNextTangent, other.fNextTangent)) << round;
            ASSERT_TRUE(SameVector(one.fPreviousTangent, other.fPreviousTangent)) << round;
            ASSERT_EQ(one.fIndex, other.fIndex) << round;
        }
    }
}

TEST(cInterpolatedHermiteSpline, PositionJustBelowTheEndStaysInside)
{
    for (const int frames : {2, 3, 5, 6, 7, 11, 4097}) {
        cFramedCurve curve(2, frames);
        curve.InterpolateControlPoints(0x1.fffffep-1f);
        const float expected = 0.125f * static_cast<float>(frames - 1);
        EXPECT_NEAR(curve.GetPointAt(0).y, expected, expected * 1e-6f) << frames;
    }
}

TEST(cInterpolatedHermiteSpline, FewerThanTwoFramesAreNotBlended)
{
    for (const int frames : {0, 1}) {
        cFramedCurve curve(2, 3);
        curve.SetKeyFrameCount(frames);
        curve.GetPointAt(0).y = 0.625f;
        curve.GetLUT16f();
        curve.InterpolateControlPoints(0.5f);
        EXPECT_EQ(curve.GetPointAt(0).y, 0.625f);
        EXPECT_TRUE(curve.fLUT16fValid) << "no update runs";
    }
    cInterpolatedHermiteSpline single;
    single.SetKeyFrames(eSplineManualTangents, 2, 1, SomeFrames(2, 1).data());
    const std::vector<sControlPoint> before = RecordsOf(single);
    single.InterpolateControlPoints(1.0f);
    EXPECT_EQ(RecordsOf(single), before);
}

TEST(cInterpolatedHermiteSpline, BlendMakesTheTablesStaleEvenWithoutAChange)
{
    cFramedCurve curve(2, 5);
    curve.InterpolateControlPoints(0.5f);
    curve.GetLUT16f();
    curve.InterpolateControlPoints(0.5f);
    EXPECT_FALSE(curve.fLUT16fValid);
}

TEST(cInterpolatedHermiteSpline, BlendedTangentsStandInManualModeOnly)
{
    cFramedCurve curve(2, 5);
    curve.InterpolateControlPoints(0.375f);
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(0), cVector2(2.5f, 0.75f)));
    EXPECT_TRUE(SameVector(curve.GetPreviousTangentAt(1), cVector2(3.5f, 0.375f)));
    curve.SetInterpolationMode(eSplineFlatTangents);
    curve.InterpolateControlPoints(0.375f);
    EXPECT_TRUE(SameVector(curve.GetNextTangentAt(0), cVector2(0.2f, 0.0f)));
}

class cUpdateCounter : public cInterpolatedHermiteSpline
{
public:
    void UpdatePointArray() override
    {
        ++fUpdated;
        cInterpolatedHermiteSpline::UpdatePointArray();
    }
    int fUpdated = 0;
};

TEST(cInterpolatedHermiteSpline, ChangesCallTheVirtualUpdate)
{
    cUpdateCounter curve;
    EXPECT_EQ(curve.fUpdated, 0);
    curve.SetKeyFrames(eSplineManualTangents, 2, 3, SomeFrames(2, 3).data());
    EXPECT_EQ(curve.fUpdated, 1);
    curve.InterpolateControlPoints(0.5f);
    EXPECT_EQ(curve.fUpdated, 2);
    curve.SetKeyFrame(1);
    EXPECT_EQ(curve.fUpdated, 3);
    curve.RecordKeyFrame(1);
    curve.SetKeyFrameCount(4);
    EXPECT_EQ(curve.fUpdated, 3);
}

} // namespace
