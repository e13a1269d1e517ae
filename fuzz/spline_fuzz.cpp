// Curves: points, modes, edits and key frames in any order, and the four tables after each change.

#include "Bytes.h"
#include "Ledger.h"
#include "bitmap/cException.h"
#include "curve/cHermiteSpline.h"

#include <new>

namespace
{

using namespace SelvaneFuzz;
using namespace Vornik;

constexpr size_t kMostBytes = 2 << 20;
constexpr int kMostEdits = 24;
constexpr int kMostTableChecks = 3; // a table costs more than all edits
constexpr int kSamples16 = 65536;
constexpr int kSamples8 = 256;

/// An ordinate or abscissa: mostly of the unit interval.
float Place(cBytes& pBytes)
{
    return pBytes.Byte() < 192 ? pBytes.Unit() : pBytes.Float();
}

cVector2 Vector(cBytes& pBytes)
{
    const float x = Place(pBytes);
    return cVector2(x, Place(pBytes));
}

eSplineInterpolationMode Mode(cBytes& pBytes)
{
    return static_cast<eSplineInterpolationMode>(pBytes.Byte() < 240 ? pBytes.Int(0, 3) : pBytes.Raw<int32_t>());
}

/// Exactly so many records.
std::unique_ptr<sControlPoint[]> Records(cBytes& pBytes, int pCount)
{
    std::unique_ptr<sControlPoint[]> records(new sControlPoint[static_cast<size_t>(pCount < 0 ? 0 : pCount)]());
    for (int i = 0; i < pCount; i++) {
        records[static_cast<size_t>(i)].fPoint = Vector(pBytes);
        records[static_cast<size_t>(i)].fNextTangent = Vector(pBytes);
        records[static_cast<size_t>(i)].fPreviousTangent = Vector(pBytes);
    }
    return records;
}

void EditVector(cBytes& pBytes, cHermiteSpline& pCurve)
{
    using tGetter = cVector2& (cHermiteSpline::*)(int);
    constexpr tGetter kGetters[] = {&cHermiteSpline::GetPointAt, &cHermiteSpline::GetNextTangentAt,
                                    &cHermiteSpline::GetPreviousTangentAt};
    const tGetter getter = pBytes.Of(kGetters);
    cVector2& vector = (pCurve.*getter)(pBytes.AnyInt());
    vector = Vector(pBytes);
    pCurve.UpdatePointArray();
}

void ReplacePoints(cBytes& pBytes, cHermiteSpline& pCurve)
{
    const int count = pBytes.Int(-1, 40);
    const eSplineInterpolationMode mode = Mode(pBytes);
    const auto records = Records(pBytes, count);
    pCurve.SetControlPoints(mode, count, pBytes.Byte() < 250 ? records.get() : nullptr);
}

void CopyAndCompare(cHermiteSpline& pCurve)
{
    const cHermiteSpline copy(pCurve);
    Check(copy.fCount == pCurve.fCount && copy.fMode == pCurve.fMode);
}

/// The position of a point that was moved or added is one of the curve, unless NaN keeps it from being compared.
void CheckPosition(const cHermiteSpline& pCurve, int pPosition)
{
    Check(pPosition >= 0 && pPosition < pCurve.fCount);
}

using tEdit = void (*)(cBytes&, cHermiteSpline&);

constexpr tEdit kEdits[] = {
    [](cBytes& b, cHermiteSpline& c) {
        if (c.fCount < 200) CheckPosition(c, c.AddPoint(Vector(b)));
    },
    [](cBytes& b, cHermiteSpline& c) { c.RemovePointAt(b.AnyInt()); },
    [](cBytes& b, cHermiteSpline& c) {
        const int index = b.AnyInt();
        CheckPosition(c, c.MovePoint(index, Vector(b)));
    },
    [](cBytes& b, cHermiteSpline& c) {
        const int index = b.AnyInt();
        c.SetNextTangentAt(index, Vector(b));
    },
    [](cBytes& b, cHermiteSpline& c) {
        const int index = b.AnyInt();
        c.SetPreviousTangentAt(index, Vector(b));
    },
    [](cBytes& b, cHermiteSpline& c) { c.SetInterpolationMode(Mode(b)); },
    ReplacePoints,
    EditVector,
    [](cBytes&, cHermiteSpline& c) { CopyAndCompare(c); },
    [](cBytes& b, cHermiteSpline& c) { // the curve's own records
        if (c.fPoints != nullptr) c.SetControlPoints(Mode(b), c.fCount, c.fPoints);
    },
};

void ReplaceKeyFrames(cBytes& pBytes, cInterpolatedHermiteSpline& pCurve)
{
    const int points = pBytes.Int(-1, 12);
    const int frames = pBytes.Int(-1, 6);
    const eSplineInterpolationMode mode = Mode(pBytes);
    pCurve.SetKeyFrames(mode, points, frames, Records(pBytes, points < 0 ? 0 : points * frames).get());
}

void ReplaceKeyFramesByFloats(cBytes& pBytes, cInterpolatedHermiteSpline& pCurve)
{
    const int points = pBytes.Int(-1, 12);
    const int frames = pBytes.Int(-1, 6);
    const eSplineInterpolationMode mode = Mode(pBytes);
    std::vector<float> floats(points > 0 && frames > 0 ? static_cast<size_t>(6 * points * frames) : 1);
    for (float& number : floats)
        number = Place(pBytes);
    pCurve.SetKeyFrames(mode, points, frames, floats.data());
}

using tKeyFrameEdit = void (*)(cBytes&, cInterpolatedHermiteSpline&);

constexpr tKeyFrameEdit kKeyFrameEdits[] = {
    [](cBytes& b, cInterpolatedHermiteSpline& c) { c.SetKeyFrameCount(b.AnyInt()); },
    [](cBytes& b, cInterpolatedHermiteSpline& c) { c.RecordKeyFrame(b.AnyInt()); },
    [](cBytes& b, cInterpolatedHermiteSpline& c) { c.SetKeyFrame(b.AnyInt()); },
    [](cBytes& b, cInterpolatedHermiteSpline& c) { c.InterpolateControlPoints(Place(b)); },
    ReplaceKeyFrames,
    ReplaceKeyFramesByFloats,
    [](cBytes& b, cInterpolatedHermiteSpline& c) { // the curve's own key frames
        if (c.fKeyFrames != nullptr) c.SetKeyFrames(Mode(b), c.fCount, c.fKeyFrameCount, c.fKeyFrames);
    },
};

/// The curve stands after the edit, or was refused. Only a lack of memory in SetControlPoints leaves it without points.
bool TryEdit(cBytes& pBytes, cInterpolatedHermiteSpline& pCurve)
{
    try {
        if (pBytes.Byte() % 3 == 0)
            pBytes.Of(kKeyFrameEdits)(pBytes, pCurve);
        else
            pBytes.Of(kEdits)(pBytes, pCurve);
    } catch (const cException&) {     // NOLINT(bugprone-empty-catch): refused
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): std::bad_array_new_length too
    }
    return pCurve.fPoints != nullptr;
}

bool IsNumber(const cVector2& pVector)
{
    return pVector.x == pVector.x;
}

void CheckPoints(const cInterpolatedHermiteSpline& pCurve)
{
    Check(pCurve.fCount >= 2);
    for (int i = 1; i < pCurve.fCount; i++) {
        const cVector2 before = pCurve.fPoints[i - 1].fPoint;
        const cVector2 point = pCurve.fPoints[i].fPoint;
        if (IsNumber(before) && IsNumber(point)) Check(point.x >= before.x);
    }
}

/// All records of the key frames can be read.
void CheckKeyFrames(const cInterpolatedHermiteSpline& pCurve)
{
    if (pCurve.fKeyFrames == nullptr) return;
    volatile float last = 0.0f;
    const int64_t count = int64_t{pCurve.fKeyFrameCount} * pCurve.fCount;
    for (int64_t i = 0; i < count; i++)
        last = pCurve.fKeyFrames[i].fPreviousTangent.y;
    (void)last;
}

// Comparing 65536 entries says nothing of the road taken, and reporting each would take half of the time.
#define UNCOUNTED __attribute__((no_sanitize("coverage")))

UNCOUNTED bool IsUnitOrNaN(float pValue)
{
    return !(pValue < 0.0f) && !(pValue > 1.0f);
}

UNCOUNTED void CheckTables(cHermiteSpline& pCurve, float pValue)
{
    const float* const floats = pCurve.GetLUT16f();
    for (int i = 0; i < kSamples16; i++)
        Check(IsUnitOrNaN(floats[i]));
    Check(std::memcmp(floats + kSamples16, floats + kSamples16 - 1, sizeof(float)) == 0);

    const float* const few = pCurve.GetLUT8f();
    for (int i = 0; i < kSamples8; i++)
        Check(std::memcmp(few + i, floats + 257 * i, sizeof(float)) == 0);
    Check(few[kSamples8] == 0.0f && pCurve.GetLUT16i()[kSamples16] == 0 && pCurve.GetLUT8i()[kSamples8] == 0);
    Check(IsUnitOrNaN(pCurve.Function(pValue)));
}

void Start(cBytes& pBytes, cHermiteSpline& pCurve)
{
    const int count = pBytes.Int(2, 9);
    const auto records = Records(pBytes, count);
    pCurve.SetControlPoints(Mode(pBytes), count, records.get());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    const cLedger ledger(kMostBytes);
    cBytes bytes(pData, pSize);
    cInterpolatedHermiteSpline curve;
    Start(bytes, curve);
    int tableChecks = 0;
    for (int edits = 0; edits < kMostEdits && bytes.Left() > 0; edits++) {
        if (!TryEdit(bytes, curve)) return 0;
        CheckPoints(curve);
        CheckKeyFrames(curve);
        if (tableChecks < kMostTableChecks && bytes.Byte() % 8 == 0) {
            CheckTables(curve, bytes.Float());
            tableChecks++;
        }
    }
    CheckTables(curve, bytes.Float());
    return 0;
}
