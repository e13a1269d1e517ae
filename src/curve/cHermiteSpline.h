#ifndef SELVANE_CURVE_CHERMITESPLINE_H
#define SELVANE_CURVE_CHERMITESPLINE_H

#include "base/Export.h"
#include "color/cVector.h"
#include "curve/cTransfer.h"

namespace Vornik
{

/// A control point with its two tangents. Callers exchange arrays of it: the order of the members must not change.
struct SELVANE_API sControlPoint
{
    cVector2 fPoint;           ///< abscissa and ordinate; the tables cover the unit square
    cVector2 fNextTangent;     ///< leaving the point, towards the next one
    cVector2 fPreviousTangent; ///< arriving at the point from the previous one
    int fIndex;                ///< position in the array before the latest sort

    /// Compares the six floats and fIndex exactly. NaN differs from everything.
    bool operator==(const sControlPoint& pOther) const;
    bool operator!=(const sControlPoint& pOther) const;
};

/// How UpdatePointArray sets the tangents, and the shape of the segments. In both, any other value acts as
/// eSplineManualTangents.
enum eSplineInterpolationMode : int
{
    eSplineCatmullRom = 0,     ///< tangents from the neighbours, cubic segments
    eSplineManualTangents = 1, ///< tangents set by the caller and kept; cubic segments
    eSplineLinear = 2,         ///< tangents as for eSplineCatmullRom, without effect; straight segments
    eSplineFlatTangents = 3,   ///< all tangents (0.2, 0), cubic segments: no overshoot of the ordinate
};

/// Compares two sControlPoint records by abscissa, for qsort. Returns 1 if the first is greater, 0 if both are equal,
/// and -1 if the first is less or either is NaN.
SELVANE_API int CompareControlPointAbscissa(const void* pFirst, const void* pSecond);

/// An editable tone curve: control points joined by cubic Hermite segments, drawn into tables of the unit square.
///
/// Every change of the points ends in UpdatePointArray. It sorts the points and marks the four tables stale. The getter
/// of a table fills it if it is stale: first the 16-bit float table, then the others from it. Table index i stands for
/// the abscissa i / 65535. The index of a point is its position in the sorted array.
///
/// There are no locks, and the getter of a stale table writes to the object. Get the tables on one thread, then share
/// the pointers.
class SELVANE_API cHermiteSpline : public cTransfer
{
public:
    /// The line from (0, 0) to (1, 1). This and the next three constructors set eSplineCatmullRom and take their points
    /// in any order. All constructors throw std::bad_alloc.
    cHermiteSpline();
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1);
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2);
    cHermiteSpline(float pX0, float pY0, float pX1, float pY1, float pX2, float pY2, float pX3, float pY3);
    /// Copies the mode and the points, not the tables. Throws what SetControlPoints throws.
    cHermiteSpline(const cHermiteSpline& pOther);
    cHermiteSpline& operator=(const cHermiteSpline&) = delete;
    ~cHermiteSpline() override;

    /// Not available on curves: throws cInvalidOperationException. Copy with the copy constructor.
    cTransfer* Clone() const override;
    /// Returns one entry of GetLUT16f, without interpolation. The index is pValue * 65535, truncated to an unsigned
    /// 32-bit number with saturation. Negative values and NaN give 0. Only the low 16 bits count: 1.5 reads entry
    /// 32766.
    float Function(float pValue) override;

    /// Adds a point and returns its position. In eSplineManualTangents, an abscissa inside the curve splits the segment
    /// there. The ordinate of pPoint is then ignored: the new point is on the curve, and the curve keeps its shape.
    /// Outside the curve, the new point's tangents are (0.25, 0). Throws std::bad_array_new_length or std::bad_alloc;
    /// the curve is then unchanged. But a cInterpolatedHermiteSpline keeps the new point if only its key frames failed.
    virtual int AddPoint(const cVector2& pPoint);

    /// Sets fIndex of every point to its position, then sorts the points by abscissa. Points closer than 1e-6 are moved
    /// apart: the later one goes up, also above 1. Then sets the tangents by mode and marks the tables stale. Call it
    /// after a change through GetPointAt, GetNextTangentAt or GetPreviousTangentAt. Throws cInvalidOperationException
    /// if there are fewer than two points.
    virtual void UpdatePointArray();

    /// Each returns its table and fills it first if it is stale. The curve owns the tables; their addresses never
    /// change. After a change of the points, a table shows the old curve until its getter is called again. Floats are
    /// in [0, 1]; a NaN ordinate gives NaN. Entries that no segment ever reached are 0.
    virtual float* GetLUT16f();          ///< 65537 floats, the last one repeated
    virtual unsigned short* GetLUT16i(); ///< 65536 entries 0..65535, truncated; a 65537th is 0
    virtual float* GetLUT8f();           ///< 256 floats, every 257th of GetLUT16f; a 257th is 0
    virtual unsigned char* GetLUT8i();   ///< 256 entries 0..255, truncated, from every 254th of GetLUT16f; a 257th is 0

    /// Marks the four tables stale and leaves their entries.
    virtual void InvalidateLUTs();

    /// Each fills its table unless it is valid. The last three build fLUT16f first if it is stale.
    virtual void BuildLUT16f();
    virtual void BuildLUT16i();
    virtual void BuildLUT8f();
    virtual void BuildLUT8i();

    /// For constructors only, since it frees nothing. Sets eSplineCatmullRom, no points and four zeroed, stale tables.
    /// Throws std::bad_alloc and leaves no table behind then.
    void Initialize();
    /// Fills fLUT16f from the sorted points. Neither reads nor sets its flag.
    void Preprocess();

    /// Replaces the points by copies of pControlPointCount records, in any order, with their tangents, and calls
    /// UpdatePointArray. Throws cArgumentException for fewer than two points, cArgumentNullException for a null pCPs,
    /// and std::bad_alloc. After std::bad_alloc fPoints is null and fCount is the new count. The curve is then unusable
    /// until a call succeeds.
    void SetControlPoints(eSplineInterpolationMode pMode, int pControlPointCount, const sControlPoint* pCPs);
    void SetInterpolationMode(eSplineInterpolationMode pMode);
    eSplineInterpolationMode GetInterpolationMode();
    int GetPointCount();

    /// Each returns a reference into the record. A change takes effect with the next UpdatePointArray. These and all
    /// operations below that take a pIndex throw cArgumentException if it is not the position of a point.
    cVector2& GetPointAt(int pIndex);
    cVector2& GetNextTangentAt(int pIndex);
    cVector2& GetPreviousTangentAt(int pIndex);

    /// Stores the tangent in mode eSplineManualTangents, ignores it in any other. In both cases the tables become
    /// stale.
    void SetNextTangentAt(int pIndex, const cVector2& pTangent);
    void SetNextTangentAt(int pIndex, float pX, float pY);
    void SetPreviousTangentAt(int pIndex, const cVector2& pTangent);
    void SetPreviousTangentAt(int pIndex, float pX, float pY);

    /// Calls the virtual form.
    int AddPoint(float pX, float pY);
    /// Throws cArgumentException for a bad pIndex, then cInvalidOperationException on a curve of two points.
    void RemovePointAt(int pIndex);
    /// Moves a point with its tangents, without limits in x or y, also past its neighbours. Returns the new position.
    int MovePoint(int pIndex, const cVector2& pPoint);
    int MovePoint(int pIndex, float pX, float pY);
    /// Returns the position after the latest sort of the point that was at pOldIndex before it, or -1 if there is none.
    int GetIndexAfterSort(int pOldIndex);

    bool CanShowTangents(); ///< true in mode eSplineManualTangents only
    bool CanEditTangents(); ///< true in mode eSplineManualTangents only

    /// Compares mode, count and all records, including fIndex. Does not compare tables.
    bool operator==(const cHermiteSpline& pOther) const;
    bool operator!=(const cHermiteSpline& pOther) const;

    eSplineInterpolationMode fMode;
    sControlPoint* fPoints;  ///< owned, from new[]; sorted by abscissa after UpdatePointArray
    int fCount;              ///< points in use, at least 2
    float* fLUT16f;          ///< owned, 65537 entries
    unsigned short* fLUT16i; ///< owned, 65537 entries
    float* fLUT8f;           ///< owned, 257 entries
    unsigned char* fLUT8i;   ///< owned, 257 entries
    bool fLUT16fValid;       ///< true if the table shows the current points; the next three likewise
    bool fLUT16iValid;
    bool fLUT8fValid;
    bool fLUT8iValid;
};

/// A curve whose points can be blended between stored versions of itself, the key frames.
///
/// All key frames have as many points as the curve, in the same order. If an update finds that the number of points has
/// changed, all key frames become the current curve. The first update after construction always does so.
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

    /// Calls the form of the base. Then, if fCount differs from fLastPointCount, calls SetKeyFrameCount with the
    /// present number of key frames.
    void UpdatePointArray() override;

    /// For constructors only, since it frees nothing. Sets two key frames of the current curve, and fLastPointCount -1.
    void Initialize();

    /// Replaces the key frames by pCount copies of the current curve. pCount is not checked. Throws
    /// std::bad_array_new_length if pCount * fCount is negative or does not fit an int, and std::bad_alloc. The key
    /// frames are gone then.
    void SetKeyFrameCount(int pCount);
    int GetKeyFrameCount();
    /// Returns GetKeyFrameCount() * GetPointCount() records, key frame after key frame. The curve owns them.
    sControlPoint* GetKeyFrames();

    /// Makes key frame 0 of pCPs the current curve and stores copies of all key frames. pCPs has pKeyFrameCount *
    /// pControlPointCount records, key frame after key frame. The stored records are not sorted, and their tangents are
    /// not derived. The caller keeps pCPs.
    ///
    /// Throws cArgumentException for fewer than two points, then for fewer than one key frame, then
    /// cArgumentNullException for a null pCPs. Also throws what SetControlPoints and SetKeyFrameCount throw.
    void SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount, int pKeyFrameCount,
                      const sControlPoint* pCPs);
    /// The same from six floats per point: x, y, previous tangent x and y, next tangent x and y. The previous tangent
    /// comes first.
    void SetKeyFrames(eSplineInterpolationMode pMode, int pControlPointCount, int pKeyFrameCount, const float* pCPs);

    /// Copies the current points into key frame pKeyFrame, if there is one. Updates nothing.
    void RecordKeyFrame(int pKeyFrame);
    /// Copies key frame pKeyFrame, if there is one, into the current points. Calls UpdatePointArray in any case.
    void SetKeyFrame(int pKeyFrame);

    /// Blends two neighbouring key frames, point by point, into the current points and calls UpdatePointArray. Position
    /// 0 or below is the first key frame; 1, above 1 or NaN is the last. The key frames between are evenly spaced. Does
    /// nothing with fewer than two key frames.
    void InterpolateControlPoints(float pPosition);

    int fKeyFrameCount;
    sControlPoint* fKeyFrames; ///< owned, from new[]; fKeyFrameCount * fCount records
    int fReserved;             ///< 0, unused
    int fLastPointCount;       ///< fCount at the latest update; -1 before the first one
};

} // namespace Vornik

#endif
