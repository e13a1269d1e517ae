#ifndef SELVANE_CURVE_CHERMITESPLINE_H
#define SELVANE_CURVE_CHERMITESPLINE_H

#include "base/Export.h"
#include "color/cVector.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// A control point with its two tangents. Exchanged in arrays: the order of the members is part of the interface.
struct SELVANE_API sControlPoint
{
    cVector2 fPoint;           ///< abscissa and ordinate; the curve's tables show the unit square of the plane
    cVector2 fNextTangent;     ///< leaving the point, towards the next one
    cVector2 fPreviousTangent; ///< arriving at the point from the previous one
    int fIndex;                ///< position in the array just before the latest sort

    /// Exact equality of the six floats and of fIndex; a NaN differs from everything.
    bool operator==(const sControlPoint& pOther) const;
    bool operator!=(const sControlPoint& pOther) const;
};

/// What UpdatePointArray does to the tangents, and the shape of the segments. Any other value behaves as
/// eSplineManualTangents in these two respects.
enum eSplineInterpolationMode : int
{
    eSplineCatmullRom = 0,     ///< tangents from the neighbours, cubic segments
    eSplineManualTangents = 1, ///< tangents as they stand, the caller edits them; cubic segments
    eSplineLinear = 2,         ///< tangents as for eSplineCatmullRom, without effect; straight segments
    eSplineFlatTangents = 3,   ///< all tangents (0.2, 0), cubic segments: no overshoot of the ordinate
};

/// Order of two sControlPoint records by abscissa, for qsort: -1 if the first is less, 1 if it is greater, 0 if both
/// are equal, and -1 if either is NaN.
SELVANE_API int CompareControlPointAbscissa(const void* pFirst, const void* pSecond);

/// An editable tone curve: control points joined by cubic Hermite segments, sampled into tables of the unit square.
///
/// Every change of the points ends in UpdatePointArray, which sorts them and marks the four tables stale; a table is
/// filled when it is asked for, the 16-bit float table first and the others from it. Table index i stands for the
/// abscissa i / 65535. Indices of points are positions in the sorted array.
///
/// No locks: reading a stale table writes to the object. Fetch the tables on one thread, then share the pointers.
class SELVANE_API cHermiteSpline : public cTransfer
{
public:
    /// The line from (0, 0) to (1, 1). This and the next three start in eSplineCatmullRom and take their points in any
    /// order. All constructors throw std::bad_alloc.
    cHermiteSpline();
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1);
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2);
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2, float pX3, float pY3);
    /// Takes mode and points, no tables. Throws what SetControlPoints throws.
    cHermiteSpline(const cHermiteSpline& pOther);
    cHermiteSpline& operator=(const cHermiteSpline&) = delete;
    ~cHermiteSpline() override;

    /// Not available on curves: throws cInvalidOperationException. Copy with the copy constructor.
    cTransfer* Clone() const override;
    /// The entry of GetLUT16f at the truncation of pValue * 65535, saturated to 32 bits unsigned (negative and NaN: 0),
    /// of which the low 16 bits count: 1.5 reads entry 32766. Nothing is interpolated.
    float Function(float pValue) override;

    /// Adds a point and returns its position. In eSplineManualTangents an abscissa inside the curve splits the segment
    /// there: the ordinate of pPoint is ignored, the new point lies on the curve and the curve keeps its shape;
    /// outside, the new point's tangents are (0.25, 0). Throws std::bad_array_new_length, std::bad_alloc; nothing has
    /// then changed, but that a cInterpolatedHermiteSpline has its point if it was the key frames that failed.
    virtual int AddPoint(const cVector2& pPoint);

    /// Stamps fIndex, sorts by abscissa, moves points apart that are closer than 1e-6 in abscissa (the later one
    /// upwards, also above 1), derives the tangents by mode and marks the tables stale. To be called after a change
    /// through the references of GetPointAt and its two sisters. Throws cInvalidOperationException with fewer than two
    /// points.
    virtual void UpdatePointArray();

    /// The tables, filled if they are stale. The pointers stay the same for the life of the curve, which owns them;
    /// after a change of the points they show the former curve until a getter is called again. Values lie in 0 to 1 (a
    /// NaN ordinate shows as NaN); entries that no segment ever reached read as 0.
    virtual float* GetLUT16f();          ///< 65537 floats, the last one repeated
    virtual unsigned short* GetLUT16i(); ///< 65536 samples, 0 to 65535, truncated; a 65537th reads as 0
    virtual float* GetLUT8f();           ///< 256 floats, every 257th of GetLUT16f; a 257th reads as 0
    virtual unsigned char*
    GetLUT8i(); ///< 256 samples, 0 to 255, truncated, from every 254th of GetLUT16f; a 257th reads as 0

    /// Marks the four tables stale without touching them.
    virtual void InvalidateLUTs();

    /// Each fills its table unless it is valid, the last three after having made fLUT16f valid.
    virtual void BuildLUT16f();
    virtual void BuildLUT16i();
    virtual void BuildLUT8f();
    virtual void BuildLUT8i();

    /// Mode eSplineCatmullRom, no points, four zeroed tables, none valid; for constructors, since nothing held is
    /// freed. Throws std::bad_alloc with no table left behind.
    void Initialize();
    /// Fills fLUT16f from the sorted points, whatever its flag says, and sets no flag.
    void Preprocess();

    /// Replaces the points by copies of pControlPointCount records in any order; tangents are taken over as they stand.
    /// Throws cArgumentException for fewer than two points, cArgumentNullException for a null pCPs, std::bad_alloc.
    /// After the last the points are gone, fPoints is null and fCount the new count: the curve is unusable until a call
    /// succeeds.
    void SetControlPoints(eSplineInterpolationMode pMode, int pControlPointCount, const sControlPoint* pCPs);
    void SetInterpolationMode(eSplineInterpolationMode pMode);
    eSplineInterpolationMode GetInterpolationMode();
    int GetPointCount();

    /// The record's own vector, writable in place; a change takes effect with the next UpdatePointArray.
    /// These and the operations below that take a pIndex throw cArgumentException where it is no position of a point.
    cVector2& GetPointAt(int pIndex);
    cVector2& GetNextTangentAt(int pIndex);
    cVector2& GetPreviousTangentAt(int pIndex);

    /// Stores the tangent in mode eSplineManualTangents and drops it in any other; the tables become stale in both
    /// cases.
    void SetNextTangentAt(int pIndex, const cVector2& pTangent);
    void SetNextTangentAt(int pIndex, float pX, float pY);
    void SetPreviousTangentAt(int pIndex, const cVector2& pTangent);
    void SetPreviousTangentAt(int pIndex, float pX, float pY);

    /// Calls the virtual form.
    int AddPoint(float pX, float pY);
    /// Throws cArgumentException for a bad pIndex, then cInvalidOperationException on a curve of two points.
    void RemovePointAt(int pIndex);
    /// Moves a point, past its neighbours as well, without limits in x or y; its tangents travel with it. Returns the
    /// new position.
    int MovePoint(int pIndex, const cVector2& pPoint);
    int MovePoint(int pIndex, float pX, float pY);
    /// The position after the latest sort of the point that stood at pOldIndex before it, or -1.
    int GetIndexAfterSort(int pOldIndex);

    bool CanShowTangents(); ///< true in mode eSplineManualTangents only
    bool CanEditTangents(); ///< true in mode eSplineManualTangents only

    /// Mode, count and all records (fIndex too); tables are not compared.
    bool operator==(const cHermiteSpline& pOther) const;
    bool operator!=(const cHermiteSpline& pOther) const;

    eSplineInterpolationMode fMode;
    sControlPoint* fPoints;  ///< owned, from new[]; sorted by abscissa after UpdatePointArray
    int fCount;              ///< points in use, at least 2
    float* fLUT16f;          ///< owned, 65537 entries
    unsigned short* fLUT16i; ///< owned, 65537 entries
    float* fLUT8f;           ///< owned, 257 entries
    unsigned char* fLUT8i;   ///< owned, 257 entries
    bool fLUT16fValid;       ///< this and the next three: the table shows the current points
    bool fLUT16iValid;
    bool fLUT8fValid;
    bool fLUT8iValid;
};

/// A curve whose points can be blended between stored versions of itself, the key frames.
///
/// All key frames hold as many points as the curve, in the same order. Whenever an update finds another number of
/// points than the key frames were laid out for, all of them become the current curve; the first update after
/// construction always does so.
class SELVANE_API cInterpolatedHermiteSpline : public cHermiteSpline
{
public:
    /// As the constructors of cHermiteSpline, with two key frames that both hold the curve. They throw std::bad_alloc.
    cInterpolatedHermiteSpline();
    cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1);
    cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2);
    cInterpolatedHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2, float pX3, float pY3);
    cInterpolatedHermiteSpline(const cInterpolatedHermiteSpline&) = delete;
    cInterpolatedHermiteSpline& operator=(const cInterpolatedHermiteSpline&) = delete;
    ~cInterpolatedHermiteSpline() override;

    /// As in the base; then, if the number of points differs from that of the latest layout, SetKeyFrameCount with the
    /// present count.
    void UpdatePointArray() override;

    /// Two key frames of the current curve, and no layout known; for constructors, since nothing held is freed.
    void Initialize();

    /// Lays out pCount key frames, all of them the current curve. pCount is not checked; the key frames are gone when
    /// this throws: std::bad_array_new_length where pCount times the points is negative or does not fit an int,
    /// std::bad_alloc.
    void SetKeyFrameCount(int pCount);
    int GetKeyFrameCount();
    /// GetKeyFrameCount() times GetPointCount() records, key frame after key frame. The curve owns them.
    sControlPoint* GetKeyFrames();

    /// Key frame 0 of pCPs becomes the current curve, and all pKeyFrameCount * pControlPointCount records, key frame
    /// after key frame, are stored as they stand: neither sorted nor with derived tangents. The caller keeps pCPs.
    /// Throws cArgumentException for fewer than two points, then for less than one key frame, cArgumentNullException
    /// for a null pCPs, and what SetControlPoints and SetKeyFrameCount throw.
    void SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount, int pKeyFrameCount,
                      const sControlPoint* pCPs);
    /// The same from six floats a point: x, y, previous tangent x and y, next tangent x and y (previous first).
    void SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount, int pKeyFrameCount, const float* pCPs);

    /// The current points into key frame pKeyFrame; nothing is updated. A pKeyFrame that is not stored is ignored.
    void RecordKeyFrame(int pKeyFrame);
    /// Key frame pKeyFrame into the current points, then UpdatePointArray. Of a pKeyFrame that is not stored nothing is
    /// taken.
    void SetKeyFrame(int pKeyFrame);

    /// Sets the current points to a blend of two neighbouring key frames, point by position, then UpdatePointArray.
    /// Position 0 (or below) is the first key frame, 1 (or above, or NaN) the last, between them they are evenly
    /// spaced. With fewer than two key frames nothing happens.
    void InterpolateControlPoints(float pPosition);

    int fKeyFrameCount;
    sControlPoint* fKeyFrames; ///< owned, from new[]; fKeyFrameCount times fCount records
    int fReserved;             ///< 0, not used
    int fLastPointCount;       ///< points for which an update laid fKeyFrames out; -1 before the first one
};

} // namespace Vornik

#endif
