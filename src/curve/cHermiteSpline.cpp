#include "curve/cHermiteSpline.h"

#include "base/Numeric.h"
#include "base/Require.h"
#include "curve/SplineTables.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <memory>
#include <vector>

// Control points and key frames of the tone curves. cHermiteSpline_Tables.cpp builds the tables. Every change checks
// its arguments, changes the records and calls the virtual UpdatePointArray.
//
// Each sum and product is rounded on its own, from left to right as written. The rounding reaches every pixel through
// the tables.

namespace Vornik
{

namespace
{

constexpr float kLeastDistance = 0x1.0c6f7ap-20f; // 1e-6, between neighbouring abscissae
constexpr float kFlatTangent = 0x1.99999ap-3f;    // 0.2, abscissa of the tangents in eSplineFlatTangents
constexpr float kOuterTangent = 0.25f;            // abscissa of the tangents of a point added outside the curve
constexpr float kThird = 0x1.555556p-2f;          // 1/3, from a Hermite tangent to a Bezier arm
constexpr int kSearchSteps = 300;                 // steps of the parameter in the search for a split
constexpr float kSearchStep = 0x1.b4e81cp-9f;     // 1/300

cVector2 operator+(cVector2 pLeft, cVector2 pRight)
{
    return cVector2(pLeft.x + pRight.x, pLeft.y + pRight.y);
}

cVector2 operator-(cVector2 pLeft, cVector2 pRight)
{
    return cVector2(pLeft.x - pRight.x, pLeft.y - pRight.y);
}

cVector2 operator*(float pFactor, cVector2 pVector)
{
    return cVector2(pFactor * pVector.x, pFactor * pVector.y);
}

/// (1 - pWeight) * pFirst + pWeight * pSecond.
cVector2 Between(cVector2 pFirst, cVector2 pSecond, float pWeight)
{
    return (1.0f - pWeight) * pFirst + pWeight * pSecond;
}

bool Equal(cVector2 pLeft, cVector2 pRight)
{
    return pLeft.x == pRight.x && pLeft.y == pRight.y;
}

/// Returns pCount records with all members 0. Throws std::bad_array_new_length if pCount is below 0 or above INT_MAX.
sControlPoint* NewRecords(int64_t pCount)
{
    return new sControlPoint[static_cast<size_t>(CheckedCount(pCount, 1))]();
}

// ---- Order of the points --------------------------------------------------------------------------------------------

/// Merge sort for abscissae with NaN. Their comparisons contradict each other, and qsort might leave the array. Takes
/// the left record unless it compares greater. Needs no further memory.
void SortInPlace(sControlPoint* pFirst, sControlPoint* pLast)
{
    if (pLast - pFirst < 2) return;
    sControlPoint* middle = pFirst + (pLast - pFirst) / 2;
    SortInPlace(pFirst, middle);
    SortInPlace(middle, pLast);
    for (; pFirst != middle && middle != pLast; ++pFirst) {
        if (CompareControlPointAbscissa(pFirst, middle) > 0) {
            std::rotate(pFirst, middle, middle + 1);
            ++middle;
        }
    }
}

void SortPoints(sControlPoint* pPoints, int pCount)
{
    const auto isNaN = [](const sControlPoint& pRecord) { return pRecord.fPoint.x != pRecord.fPoint.x; };
    if (std::any_of(pPoints, pPoints + pCount, isNaN))
        SortInPlace(pPoints, pPoints + pCount);
    else
        std::qsort(pPoints, static_cast<size_t>(pCount), sizeof *pPoints, CompareControlPointAbscissa);
}

/// Keeps neighbours 1e-6 apart. Goes forwards, so that equal points fan out upwards.
void KeepApart(sControlPoint* pPoints, int pCount)
{
    for (int i = 1; i < pCount; ++i) {
        const float before = pPoints[i - 1].fPoint.x;
        if (!(pPoints[i].fPoint.x - before >= kLeastDistance)) pPoints[i].fPoint.x = before + kLeastDistance;
    }
}

// ---- Tangents -------------------------------------------------------------------------------------------------------

void SetBothTangents(sControlPoint& pRecord, cVector2 pTangent)
{
    pRecord.fNextTangent = pTangent;
    pRecord.fPreviousTangent = pTangent;
}

/// Sets tangents from the neighbours. Required: the inner tangents are halved, the two outer ones are not.
void DeriveTangents(sControlPoint* pPoints, int pCount)
{
    const int last = pCount - 1;
    SetBothTangents(pPoints[0], pPoints[1].fPoint - pPoints[0].fPoint);
    for (int i = 1; i < last; ++i)
        SetBothTangents(pPoints[i], 0.5f * (pPoints[i + 1].fPoint - pPoints[i - 1].fPoint));
    SetBothTangents(pPoints[last], pPoints[last].fPoint - pPoints[last - 1].fPoint);
}

void UpdateTangents(eSplineInterpolationMode pMode, sControlPoint* pPoints, int pCount)
{
    if (pMode == eSplineCatmullRom || pMode == eSplineLinear) {
        DeriveTangents(pPoints, pCount);
    } else if (pMode == eSplineFlatTangents) {
        for (int i = 0; i < pCount; ++i)
            SetBothTangents(pPoints[i], cVector2(kFlatTangent, 0.0f));
    }
}

// ---- Splitting a segment --------------------------------------------------------------------------------------------

/// The first step of the parameter where the segment's abscissa is not below pX, or the last step.
float ParameterAt(const sControlPoint& pLeft, const sControlPoint& pRight, float pX)
{
    const float x0 = pLeft.fPoint.x, x1 = pRight.fPoint.x;
    const float m0 = pLeft.fNextTangent.x, m1 = pRight.fPreviousTangent.x;
    // Required: the terms have another order than in the tables, so the bits differ.
    const float a = 2.0f * (x0 - x1) + m0 + m1;
    const float b = 3.0f * x1 - m1 - 3.0f * x0 - 2.0f * m0;
    float t = 0.0f;
    for (int k = 1; k <= kSearchSteps; ++k) {
        t = static_cast<float>(k) * kSearchStep;
        if (!(((a * t + b) * t + m0) * t + x0 < pX)) break;
    }
    return t;
}

/// Splits the segment at parameter pT by de Casteljau's construction. pNew becomes the point at pT. The tangents are
/// set so that the two halves draw the old curve.
void SplitSegment(sControlPoint& pLeft, sControlPoint& pNew, sControlPoint& pRight, float pT)
{
    const cVector2 p0 = pLeft.fPoint, p3 = pRight.fPoint;
    const cVector2 p1 = p0 + kThird * pLeft.fNextTangent;
    const cVector2 p2 = p3 - kThird * pRight.fPreviousTangent;
    const cVector2 q0 = Between(p0, p1, pT), q1 = Between(p1, p2, pT), q2 = Between(p2, p3, pT);
    const cVector2 r0 = Between(q0, q1, pT), r1 = Between(q1, q2, pT);
    const cVector2 s = Between(r0, r1, pT);
    pLeft.fNextTangent = 3.0f * (q0 - p0);
    pRight.fPreviousTangent = 3.0f * (p3 - q2);
    pNew.fPoint = s;
    pNew.fPreviousTangent = 3.0f * (s - r0);
    pNew.fNextTangent = 3.0f * (r1 - s);
}

/// Places the new record, which follows pCount sorted ones, on the curve or outside it.
void PlaceNewPoint(sControlPoint* pPoints, int pCount)
{
    sControlPoint& added = pPoints[pCount];
    const float x = added.fPoint.x;
    if (x <= pPoints[0].fPoint.x || x >= pPoints[pCount - 1].fPoint.x) {
        SetBothTangents(added, cVector2(kOuterTangent, 0.0f));
        return;
    }
    int right = 1;
    while (right < pCount - 1 && pPoints[right].fPoint.x < x)
        ++right;
    sControlPoint& before = pPoints[right - 1];
    sControlPoint& after = pPoints[right];
    SplitSegment(before, added, after, ParameterAt(before, after, x));
}

// ---- Start and end of a curve ---------------------------------------------------------------------------------------

void ReleaseTables(cHermiteSpline& pCurve)
{
    delete[] pCurve.fLUT16f;
    pCurve.fLUT16f = nullptr;
    delete[] pCurve.fLUT16i;
    pCurve.fLUT16i = nullptr;
    delete[] pCurve.fLUT8f;
    pCurve.fLUT8f = nullptr;
    delete[] pCurve.fLUT8i;
    pCurve.fLUT8i = nullptr;
}

void ReleaseAll(cHermiteSpline& pCurve)
{
    ReleaseTables(pCurve);
    delete[] pCurve.fPoints;
    pCurve.fPoints = nullptr;
    pCurve.fCount = 0;
}

/// Gives a curve under construction its points. If that throws, releases everything the curve holds, since its
/// destructor will not run.
void Start(cHermiteSpline& pCurve, std::initializer_list<cVector2> pPoints)
{
    try {
        pCurve.fPoints = NewRecords(static_cast<int64_t>(pPoints.size()));
        for (const cVector2& point : pPoints)
            pCurve.fPoints[pCurve.fCount++].fPoint = point;
        pCurve.cHermiteSpline::UpdatePointArray();
    } catch (...) {
        ReleaseAll(pCurve);
        throw;
    }
}

} // namespace

bool sControlPoint::operator==(const sControlPoint& pOther) const
{
    return Equal(fPoint, pOther.fPoint) && Equal(fNextTangent, pOther.fNextTangent) &&
           Equal(fPreviousTangent, pOther.fPreviousTangent) && fIndex == pOther.fIndex;
}

bool sControlPoint::operator!=(const sControlPoint& pOther) const
{
    return !(*this == pOther);
}

int CompareControlPointAbscissa(const void* pFirst, const void* pSecond)
{
    const float first = static_cast<const sControlPoint*>(pFirst)->fPoint.x;
    const float second = static_cast<const sControlPoint*>(pSecond)->fPoint.x;
    if (first > second) return 1;
    return first == second ? 0 : -1;
}

cHermiteSpline::cHermiteSpline()
{
    Initialize();
    Start(*this, {cVector2(0.0f, 0.0f), cVector2(1.0f, 1.0f)});
}

cHermiteSpline::cHermiteSpline(float pX0, float pY0, float pX1, float pY1)
{
    Initialize();
    Start(*this, {cVector2(pX0, pY0), cVector2(pX1, pY1)});
}

cHermiteSpline::cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2)
{
    Initialize();
    Start(*this, {cVector2(pX0, pY0), cVector2(pX1, pY1), cVector2(pX2, pY2)});
}

cHermiteSpline::cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2, float pX3, float pY3)
{
    Initialize();
    Start(*this, {cVector2(pX0, pY0), cVector2(pX1, pY1), cVector2(pX2, pY2), cVector2(pX3, pY3)});
}

cHermiteSpline::cHermiteSpline(const cHermiteSpline& pOther) : cTransfer()
{
    Initialize();
    try {
        SetControlPoints(pOther.fMode, pOther.fCount, pOther.fPoints);
        cHermiteSpline::UpdatePointArray();
    } catch (...) {
        ReleaseAll(*this);
        throw;
    }
}

cHermiteSpline::~cHermiteSpline()
{
    ReleaseAll(*this);
}

void cHermiteSpline::Initialize()
{
    fMode = eSplineCatmullRom;
    fPoints = nullptr;
    fCount = 0;
    fLUT16f = nullptr;
    fLUT16i = nullptr;
    fLUT8f = nullptr;
    fLUT8i = nullptr;
    cHermiteSpline::InvalidateLUTs();
    try {
        fLUT16f = new float[kEntries16]();
        fLUT16i = new unsigned short[kEntries16]();
        fLUT8f = new float[kEntries8]();
        fLUT8i = new unsigned char[kEntries8]();
    } catch (...) {
        ReleaseTables(*this);
        throw;
    }
}

cTransfer* cHermiteSpline::Clone() const
{
    Require(cInvalidOperationException, false, "Method 'cHermiteSpline::Clone()' is not implemented.");
    return nullptr;
}

void cHermiteSpline::UpdatePointArray()
{
    Require(cInvalidOperationException, fCount >= 2, "The curve must have at least two control points.");
    for (int i = 0; i < fCount; ++i)
        fPoints[i].fIndex = i;
    SortPoints(fPoints, fCount);
    KeepApart(fPoints, fCount);
    UpdateTangents(fMode, fPoints, fCount);
    InvalidateLUTs();
}

void cHermiteSpline::SetControlPoints(eSplineInterpolationMode pMode, int pControlPointCount, const sControlPoint* pCPs)
{
    Require(cArgumentException, pControlPointCount >= 2,
            "Argument pControlPointCount must be greater or equal than two.");
    Require(cArgumentNullException, pCPs != nullptr, "Argument pCPs cannot be null.");
    const std::unique_ptr<sControlPoint[]> old(fPoints); // freed last: pCPs may point into the old array
    fPoints = nullptr;
    fCount = pControlPointCount;
    fPoints = NewRecords(pControlPointCount);
    std::copy_n(pCPs, pControlPointCount, fPoints);
    fMode = pMode;
    // In the copy constructor this calls the form of this class, which is enough.
    UpdatePointArray(); // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
}

void cHermiteSpline::SetInterpolationMode(eSplineInterpolationMode pMode)
{
    fMode = pMode;
    UpdatePointArray();
}

eSplineInterpolationMode cHermiteSpline::GetInterpolationMode()
{
    return fMode;
}

int cHermiteSpline::GetPointCount()
{
    return fCount;
}

cVector2& cHermiteSpline::GetPointAt(int pIndex)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    return fPoints[pIndex].fPoint;
}

cVector2& cHermiteSpline::GetNextTangentAt(int pIndex)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    return fPoints[pIndex].fNextTangent;
}

cVector2& cHermiteSpline::GetPreviousTangentAt(int pIndex)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    return fPoints[pIndex].fPreviousTangent;
}

void cHermiteSpline::SetNextTangentAt(int pIndex, const cVector2& pTangent)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    if (fMode == eSplineManualTangents) fPoints[pIndex].fNextTangent = pTangent;
    UpdatePointArray();
}

void cHermiteSpline::SetNextTangentAt(int pIndex, float pX, float pY)
{
    SetNextTangentAt(pIndex, cVector2(pX, pY));
}

void cHermiteSpline::SetPreviousTangentAt(int pIndex, const cVector2& pTangent)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    if (fMode == eSplineManualTangents) fPoints[pIndex].fPreviousTangent = pTangent;
    UpdatePointArray();
}

void cHermiteSpline::SetPreviousTangentAt(int pIndex, float pX, float pY)
{
    SetPreviousTangentAt(pIndex, cVector2(pX, pY));
}

int cHermiteSpline::AddPoint(const cVector2& pPoint)
{
    std::unique_ptr<sControlPoint[]> points(NewRecords(int64_t{fCount} + 1));
    std::copy_n(fPoints, fCount, points.get());
    points[static_cast<size_t>(fCount)].fPoint = pPoint;
    if (fMode == eSplineManualTangents) PlaceNewPoint(points.get(), fCount);
    delete[] fPoints;
    fPoints = points.release();
    ++fCount;
    UpdatePointArray();
    return GetIndexAfterSort(fCount - 1);
}

int cHermiteSpline::AddPoint(float pX, float pY)
{
    return AddPoint(cVector2(pX, pY));
}

void cHermiteSpline::RemovePointAt(int pIndex)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    Require(cInvalidOperationException, fCount > 2,
            "Cannot remove control point. The curve must have at least two control points.");
    fPoints[pIndex] = fPoints[fCount - 1];
    --fCount;
    UpdatePointArray();
}

int cHermiteSpline::MovePoint(int pIndex, const cVector2& pPoint)
{
    Require(cArgumentException, pIndex >= 0, "Argument pIndex must be greater than or equal to zero.");
    Require(cArgumentException, pIndex < fCount, "Argument pIndex must be less than fCount.");
    fPoints[pIndex].fPoint = pPoint;
    UpdatePointArray();
    return GetIndexAfterSort(pIndex);
}

int cHermiteSpline::MovePoint(int pIndex, float pX, float pY)
{
    return MovePoint(pIndex, cVector2(pX, pY));
}

int cHermiteSpline::GetIndexAfterSort(int pOldIndex)
{
    for (int i = 0; i < fCount; ++i) {
        if (fPoints[i].fIndex == pOldIndex) return i;
    }
    return -1;
}

bool cHermiteSpline::CanShowTangents()
{
    return fMode == eSplineManualTangents;
}

bool cHermiteSpline::CanEditTangents()
{
    return fMode == eSplineManualTangents;
}

bool cHermiteSpline::operator==(const cHermiteSpline& pOther) const
{
    if (fMode != pOther.fMode || fCount != pOther.fCount) return false;
    for (int i = 0; i < fCount; ++i) {
        if (fPoints[i] != pOther.fPoints[i]) return false;
    }
    return true;
}

bool cHermiteSpline::operator!=(const cHermiteSpline& pOther) const
{
    return !(*this == pOther);
}

// ---- Key frames -----------------------------------------------------------------------------------------------------

namespace
{

constexpr int kFirstKeyFrameCount = 2; // of a new curve
constexpr size_t kFloatsPerPoint = 6;  // of the float form of SetKeyFrames

/// Reads a point of six floats. Required: the floats have the previous tangent first, the record the next.
sControlPoint PointFromFloats(const float* pFloats, int pIndex)
{
    sControlPoint record;
    record.fPoint = cVector2(pFloats[0], pFloats[1]);
    record.fPreviousTangent = cVector2(pFloats[2], pFloats[3]);
    record.fNextTangent = cVector2(pFloats[4], pFloats[5]);
    record.fIndex = pIndex;
    return record;
}

/// Number of the first of two neighbouring key frames, and the weight of the second.
struct sNeighbours
{
    int fFirst;
    float fWeight;
};

/// Returns the key frames around pPosition. pKeyFrameCount is at least 2.
sNeighbours NeighboursOf(float pPosition, int pKeyFrameCount)
{
    if (pPosition < 0.0f) return {0, 0.0f};
    if (!(pPosition < 1.0f)) return {pKeyFrameCount - 2, 1.0f};
    const float place = pPosition * static_cast<float>(pKeyFrameCount - 1);
    const int first = TruncateToInt32(place);
    return {first, place - static_cast<float>(first)};
}

/// pWeight * pSecond + (1 - pWeight) * pFirst, in this order.
void Blend(sControlPoint& pResult, const sControlPoint& pFirst, const sControlPoint& pSecond, float pWeight)
{
    const auto blend = [=](cVector2 pA, cVector2 pB) { return pWeight * pB + (1.0f - pWeight) * pA; };
    pResult.fPoint = blend(pFirst.fPoint, pSecond.fPoint);
    pResult.fNextTangent = blend(pFirst.fNextTangent, pSecond.fNextTangent);
    pResult.fPreviousTangent = blend(pFirst.fPreviousTangent, pSecond.fPreviousTangent);
}

/// Returns the first record of a key frame. Returns null if there is no such key frame or the curve ran out of memory.
sControlPoint* KeyFrame(cInterpolatedHermiteSpline& pCurve, int pKeyFrame)
{
    if (pCurve.fKeyFrames == nullptr || pCurve.fPoints == nullptr) return nullptr;
    if (pKeyFrame < 0 || pKeyFrame >= pCurve.fKeyFrameCount) return nullptr;
    return pCurve.fKeyFrames + ptrdiff_t{pKeyFrame} * pCurve.fCount;
}

bool PointsInto(const sControlPoint* pPlace, const sControlPoint* pArray, ptrdiff_t pCount)
{
    const std::less<> before;
    return pArray != nullptr && !before(pPlace, pArray) && before(pPlace, pArray + pCount);
}

/// Returns whether pCPs points into the curve's own records. They would be freed before they are read.
bool OwnsRecords(const cInterpolatedHermiteSpline& pCurve, const sControlPoint* pCPs)
{
    return PointsInto(pCPs, pCurve.fPoints, pCurve.fCount) ||
           PointsInto(pCPs, pCurve.fKeyFrames, ptrdiff_t{pCurve.fKeyFrameCount} * pCurve.fCount);
}

} // namespace

cInterpolatedHermiteSpline::cInterpolatedHermiteSpline()
{
    Initialize();
}

cInterpolatedHermiteSpline::cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1)
    : cHermiteSpline(pX0, pY0, pX1, pY1)
{
    Initialize();
}

cInterpolatedHermiteSpline::cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2)
    : cHermiteSpline(pX0, pY0, pX1, pY1, pX2, pY2)
{
    Initialize();
}

cInterpolatedHermiteSpline::cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2,
                                                       float pX3, float pY3)
    : cHermiteSpline(pX0, pY0, pX1, pY1, pX2, pY2, pX3, pY3)
{
    Initialize();
}

cInterpolatedHermiteSpline::~cInterpolatedHermiteSpline()
{
    delete[] fKeyFrames;
    fKeyFrames = nullptr;
}

void cInterpolatedHermiteSpline::Initialize()
{
    fKeyFrameCount = 0;
    fKeyFrames = nullptr;
    fReserved = 0;
    fLastPointCount = -1;
    SetKeyFrameCount(kFirstKeyFrameCount);
}

void cInterpolatedHermiteSpline::UpdatePointArray()
{
    cHermiteSpline::UpdatePointArray();
    if (fCount != fLastPointCount) {
        fLastPointCount = fCount;
        SetKeyFrameCount(fKeyFrameCount);
    }
}

void cInterpolatedHermiteSpline::SetKeyFrameCount(int pCount)
{
    delete[] fKeyFrames;
    fKeyFrames = nullptr;
    fKeyFrameCount = pCount;
    fKeyFrames = NewRecords(CheckedCount(pCount, fCount));
    for (int frame = 0; frame < pCount; ++frame)
        std::copy_n(fPoints, fCount, fKeyFrames + ptrdiff_t{frame} * fCount);
}

int cInterpolatedHermiteSpline::GetKeyFrameCount()
{
    return fKeyFrameCount;
}

sControlPoint* cInterpolatedHermiteSpline::GetKeyFrames()
{
    return fKeyFrames;
}

void cInterpolatedHermiteSpline::SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount,
                                              int pKeyFrameCount, const sControlPoint* pCPs)
{
    Require(cArgumentException, pControlPointCount >= 2,
            "Argument pControlPointCount must be greater than or equal to two.");
    Require(cArgumentException, pKeyFrameCount >= 1, "Argument pKeyFrameCount must be greater than or equal to one.");
    Require(cArgumentNullException, pCPs != nullptr, "Argument pCPs cannot be null.");
    if (OwnsRecords(*this, pCPs)) {
        const std::vector<sControlPoint> copy(pCPs, pCPs + CheckedCount(pKeyFrameCount, pControlPointCount));
        SetKeyFrames(pMode, pControlPointCount, pKeyFrameCount, copy.data());
        return;
    }
    SetControlPoints(pMode, pControlPointCount, pCPs);
    SetKeyFrameCount(pKeyFrameCount);
    std::copy_n(pCPs, CheckedCount(pKeyFrameCount, pControlPointCount), fKeyFrames);
}

// Required: the messages of this form say "greater or equal than", those of the other "greater than or equal to".
void cInterpolatedHermiteSpline::SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount,
                                              int pKeyFrameCount, const float* pCPs)
{
    Require(cArgumentException, pControlPointCount >= 2,
            "Argument pControlPointCount must be greater or equal than two.");
    Require(cArgumentException, pKeyFrameCount >= 1, "Argument pKeyFrameCount must be greater or equal than one.");
    Require(cArgumentNullException, pCPs != nullptr, "Argument pCPs cannot be null.");
    std::vector<sControlPoint> records(static_cast<size_t>(CheckedCount(pKeyFrameCount, pControlPointCount)));
    for (size_t i = 0; i < records.size(); ++i)
        records[i] =
            PointFromFloats(pCPs + i * kFloatsPerPoint, static_cast<int>(i % static_cast<size_t>(pControlPointCount)));
    SetKeyFrames(pMode, pControlPointCount, pKeyFrameCount, records.data());
}

void cInterpolatedHermiteSpline::RecordKeyFrame(int pKeyFrame)
{
    sControlPoint* const frame = KeyFrame(*this, pKeyFrame);
    if (frame != nullptr && fCount > 0) std::copy_n(fPoints, fCount, frame);
}

void cInterpolatedHermiteSpline::SetKeyFrame(int pKeyFrame)
{
    const sControlPoint* const frame = KeyFrame(*this, pKeyFrame);
    if (frame != nullptr && fCount > 0) std::copy_n(frame, fCount, fPoints);
    UpdatePointArray();
}

void cInterpolatedHermiteSpline::InterpolateControlPoints(float pPosition)
{
    if (fKeyFrameCount < 2) return;
    const sNeighbours neighbours = NeighboursOf(pPosition, fKeyFrameCount);
    const sControlPoint* const first = KeyFrame(*this, neighbours.fFirst);
    if (first == nullptr) return;
    const sControlPoint* const second = first + fCount;
    for (int i = 0; i < fCount; ++i)
        Blend(fPoints[i], first[i], second[i], neighbours.fWeight);
    UpdatePointArray();
}

} // namespace Vornik
