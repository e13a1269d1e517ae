#include "curve/cHermiteSpline.h"

#include "base/Numeric.h"
#include "curve/SplineTables.h"

#include <algorithm>
#include <cstddef>

// The four tables of a curve. Each segment is evaluated at a hundred steps of its parameter. The chords between these
// points are drawn into fLUT16f, and the other tables are taken from it. Later segments draw over earlier ones. The
// flat ends draw over all segments.
//
// Each sum and product is rounded on its own, from left to right as written.

namespace Vornik
{

namespace
{

constexpr int kSteps = 100;                // chords of a segment
constexpr float kStep = 0x1.47ae14p-7f;    // 1/100 of the parameter
constexpr int kLastIndex = kTableSize - 1; // of the unit interval
constexpr int kEntriesOf8 = 256;           // of the unit interval in the short tables
constexpr int kStride8f = 257;             // the last entry shows index 65535
constexpr int kStride8i = 254;             // Required: the last entry shows index 64770, not the right end.

struct sSample
{
    float fX;
    float fY;
};

/// ((a t + b) t + c) t + d
struct sCubic
{
    float fA;
    float fB;
    float fC;
    float fD;

    float At(float pT) const { return ((fA * pT + fB) * pT + fC) * pT + fD; }
};

/// Table indices fStart to fEnd - 1; none unless fEnd is greater than fStart.
struct sSpan
{
    int fStart;
    int fEnd;
};

/// Clamps to [0, 1]; NaN stays NaN.
SELVANE_INLINE float ClampToUnit(float pValue)
{
    const float upper = pValue > 1.0f ? 1.0f : pValue;
    return upper < 0.0f ? 0.0f : upper;
}

/// Fills indices pStart to pEnd - 1 with the straight line from ordinate pFrom to ordinate pTo.
SELVANE_CLONES void FillChord(float* pTable, int pStart, int pEnd, float pFrom, float pTo)
{
    const int length = pEnd - pStart;
    const float step = 1.0f / static_cast<float>(length);
    float* const entries = pTable + pStart;
    for (int i = 0; i < length; ++i) {
        const float weight = static_cast<float>(i) * step;
        entries[i] = ClampToUnit((1.0f - weight) * pFrom + weight * pTo);
    }
}

SELVANE_CLONES void ScaleToSamples16(const float* pTable, unsigned short* pResult)
{
    for (int i = 0; i < kTableSize; ++i)
        pResult[i] = static_cast<unsigned short>(TruncateToUInt32(pTable[i] * kToSample16));
}

/// The cubic of one coordinate of a segment, from its two points and tangents.
sCubic CubicOf(float pFirst, float pSecond, float pFirstTangent, float pSecondTangent)
{
    return {pFirstTangent + pSecondTangent + 2.0f * (pFirst - pSecond),
            3.0f * pSecond - 3.0f * pFirst - pSecondTangent - 2.0f * pFirstTangent, pFirstTangent, pFirst};
}

sCubic StraightLine(float pFirst, float pSecond)
{
    return {0.0f, 0.0f, pSecond - pFirst, pFirst};
}

int IndexOf(float pX)
{
    return TruncateToInt32(pX * kToSample16);
}

bool InUnit(float pX)
{
    return pX >= 0.0f && pX <= 1.0f;
}

/// The table indices that the chord between two abscissae covers. A chord that ends left of the table, starts right of
/// it, or has a NaN covers none.
sSpan SpanOf(float pFrom, float pTo)
{
    constexpr sSpan kNone = {0, 0};
    if (!(pFrom <= 1.0f) || !(pTo >= 0.0f)) return kNone;
    const int start = pFrom < 0.0f ? 0 : IndexOf(pFrom);
    return {start, InUnit(pTo) ? IndexOf(pTo) : kLastIndex};
}

/// Draws one segment. Required: a chord that does not advance by a whole index is dropped, and the next one starts from
/// the same point. So a curve that doubles back is drawn only where it first advances.
void DrawSegment(const sCubic& pX, const sCubic& pY, sSample pFirst, sSample pLast, float* pTable)
{
    sSample previous = pFirst;
    for (int k = 1; k <= kSteps; ++k) {
        const float t = static_cast<float>(k) * kStep;
        const sSample sample = k == kSteps ? pLast : sSample{pX.At(t), pY.At(t)};
        const sSpan span = SpanOf(previous.fX, sample.fX);
        if (span.fEnd <= span.fStart) continue;
        FillChord(pTable, span.fStart, span.fEnd, previous.fY, sample.fY);
        previous = sample;
    }
}

void DrawSegment(eSplineInterpolationMode pMode, const sControlPoint& pFirst, const sControlPoint& pSecond,
                 float* pTable)
{
    const cVector2 p0 = pFirst.fPoint, p1 = pSecond.fPoint;
    const cVector2 m0 = pFirst.fNextTangent, m1 = pSecond.fPreviousTangent;
    const bool straight = pMode == eSplineLinear;
    const sCubic x = straight ? StraightLine(p0.x, p1.x) : CubicOf(p0.x, p1.x, m0.x, m1.x);
    const sCubic y = straight ? StraightLine(p0.y, p1.y) : CubicOf(p0.y, p1.y, m0.y, m1.y);
    DrawSegment(x, y, {p0.x, p0.y}, {p1.x, p1.y}, pTable);
}

/// Fills the indices from 0 to that of the first point, inclusive, with its ordinate.
void FillLeftOf(cVector2 pFirst, float* pTable)
{
    const int end = std::min(IndexOf(pFirst.x), kLastIndex);
    for (int i = 0; i <= end; ++i)
        pTable[i] = ClampToUnit(pFirst.y);
}

/// Fills the indices from that of the last point to the end of the unit interval with its ordinate.
void FillRightOf(cVector2 pLast, float* pTable)
{
    for (int i = std::max(IndexOf(pLast.x), 0); i <= kLastIndex; ++i)
        pTable[i] = ClampToUnit(pLast.y);
}

} // namespace

void cHermiteSpline::Preprocess()
{
    for (int i = 0; i < fCount - 1; ++i)
        DrawSegment(fMode, fPoints[i], fPoints[i + 1], fLUT16f);
    FillLeftOf(fPoints[0].fPoint, fLUT16f);
    FillRightOf(fPoints[fCount - 1].fPoint, fLUT16f);
    fLUT16f[kTableSize] = fLUT16f[kLastIndex];
}

float cHermiteSpline::Function(float pValue)
{
    if (!fLUT16fValid) BuildLUT16f();
    return fLUT16f[TruncateToUInt32(pValue * kToSample16) & 0xFFFFu];
}

void cHermiteSpline::InvalidateLUTs()
{
    fLUT16fValid = false;
    fLUT16iValid = false;
    fLUT8fValid = false;
    fLUT8iValid = false;
}

void cHermiteSpline::BuildLUT16f()
{
    if (fLUT16fValid) return;
    Preprocess();
    fLUT16fValid = true;
}

void cHermiteSpline::BuildLUT16i()
{
    if (fLUT16iValid) return;
    if (!fLUT16fValid) BuildLUT16f();
    ScaleToSamples16(fLUT16f, fLUT16i);
    fLUT16iValid = true;
}

void cHermiteSpline::BuildLUT8f()
{
    if (fLUT8fValid) return;
    if (!fLUT16fValid) BuildLUT16f();
    for (ptrdiff_t i = 0; i < kEntriesOf8; ++i)
        fLUT8f[i] = fLUT16f[i * kStride8f];
    fLUT8fValid = true;
}

void cHermiteSpline::BuildLUT8i()
{
    if (fLUT8iValid) return;
    if (!fLUT16fValid) BuildLUT16f();
    for (ptrdiff_t i = 0; i < kEntriesOf8; ++i)
        fLUT8i[i] = static_cast<unsigned char>(TruncateToUInt32(fLUT16f[i * kStride8i] * kToSample8));
    fLUT8iValid = true;
}

float* cHermiteSpline::GetLUT16f()
{
    if (!fLUT16fValid) BuildLUT16f();
    return fLUT16f;
}

unsigned short* cHermiteSpline::GetLUT16i()
{
    if (!fLUT16iValid) BuildLUT16i();
    return fLUT16i;
}

float* cHermiteSpline::GetLUT8f()
{
    if (!fLUT8fValid) BuildLUT8f();
    return fLUT8f;
}

unsigned char* cHermiteSpline::GetLUT8i()
{
    if (!fLUT8iValid) BuildLUT8i();
    return fLUT8i;
}

} // namespace Vornik
