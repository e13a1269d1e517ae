#include "SlowSpline.h"

#include <cmath>
#include <cstddef>

using namespace Vornik;

namespace SelvaneTest
{

namespace
{

float Rounded(double pValue)
{
    volatile float rounded = static_cast<float>(pValue);
    return rounded;
}

float Clamped(float pValue)
{
    if (pValue > 1.0f) return 1.0f;
    if (pValue < 0.0f) return 0.0f;
    return pValue;
}

/// Towards zero, saturating to 64 bits that all uses can tell apart; NaN: 0.
long long Truncated(float pValue)
{
    if (std::isnan(pValue)) return 0;
    if (pValue > 1e15f) return 1000000000000000;
    if (pValue < -1e15f) return -1000000000000000;
    return static_cast<long long>(pValue);
}

long long IndexOf(float pX)
{
    return Truncated(Product(pX, 65535.0f));
}

bool Inside(float pX)
{
    return 0.0f <= pX && pX <= 1.0f;
}

float Cubic(float pA, float pB, float pC, float pD, float pT)
{
    return Sum(Product(Sum(Product(Sum(Product(pA, pT), pB), pT), pC), pT), pD);
}

cVector2 Mix(cVector2 pFirst, cVector2 pSecond, float pT)
{
    const float u = Difference(1.0f, pT);
    return cVector2(Sum(Product(u, pFirst.x), Product(pT, pSecond.x)),
                    Sum(Product(u, pFirst.y), Product(pT, pSecond.y)));
}

cVector2 Scaled(cVector2 pVector, float pFactor)
{
    return cVector2(Product(pVector.x, pFactor), Product(pVector.y, pFactor));
}

cVector2 Minus(cVector2 pLeft, cVector2 pRight)
{
    return cVector2(Difference(pLeft.x, pRight.x), Difference(pLeft.y, pRight.y));
}

cVector2 Plus(cVector2 pLeft, cVector2 pRight)
{
    return cVector2(Sum(pLeft.x, pRight.x), Sum(pLeft.y, pRight.y));
}

} // namespace

float Sum(float pLeft, float pRight)
{
    return Rounded(static_cast<double>(pLeft) + static_cast<double>(pRight));
}

float Difference(float pLeft, float pRight)
{
    return Rounded(static_cast<double>(pLeft) - static_cast<double>(pRight));
}

float Product(float pLeft, float pRight)
{
    return Rounded(static_cast<double>(pLeft) * static_cast<double>(pRight));
}

float Quotient(float pLeft, float pRight)
{
    return Rounded(static_cast<double>(pLeft) / static_cast<double>(pRight));
}

float TablePolynomial(bool pStraight, float p0, float p1, float m0, float m1, float pT)
{
    if (pStraight) return Cubic(0.0f, 0.0f, Difference(p1, p0), p0, pT);
    const float a = Sum(Sum(m0, m1), Product(2.0f, Difference(p0, p1)));
    const float b = Difference(Difference(Difference(Product(3.0f, p1), Product(3.0f, p0)), m1), Product(2.0f, m0));
    return Cubic(a, b, m0, p0, pT);
}

float SearchPolynomial(float p0, float p1, float m0, float m1, float pT)
{
    const float a = Sum(Sum(Product(2.0f, Difference(p0, p1)), m0), m1);
    const float b = Difference(Difference(Difference(Product(3.0f, p1), m1), Product(3.0f, p0)), Product(2.0f, m0));
    return Cubic(a, b, m0, p0, pT);
}

std::vector<sControlPoint> SortedByMerging(const std::vector<sControlPoint>& pPoints)
{
    if (pPoints.size() < 2) return pPoints;
    const auto middle = pPoints.begin() + static_cast<ptrdiff_t>(pPoints.size() / 2);
    const std::vector<sControlPoint> left = SortedByMerging({pPoints.begin(), middle});
    const std::vector<sControlPoint> right = SortedByMerging({middle, pPoints.end()});
    std::vector<sControlPoint> merged;
    size_t i = 0, j = 0;
    while (i < left.size() && j < right.size()) {
        const float x = left[i].fPoint.x, y = right[j].fPoint.x;
        merged.push_back(x > y ? right[j++] : left[i++]);
    }
    merged.insert(merged.end(), left.begin() + static_cast<ptrdiff_t>(i), left.end());
    merged.insert(merged.end(), right.begin() + static_cast<ptrdiff_t>(j), right.end());
    return merged;
}

void sSlowSpline::Update()
{
    for (size_t i = 0; i < fPoints.size(); ++i)
        fPoints[i].fIndex = static_cast<int>(i);
    fPoints = SortedByMerging(fPoints);
    for (size_t i = 1; i < fPoints.size(); ++i) {
        const float least = 1e-6f;
        if (Difference(fPoints[i].fPoint.x, fPoints[i - 1].fPoint.x) >= least) continue;
        fPoints[i].fPoint.x = Sum(fPoints[i - 1].fPoint.x, least);
    }
    const size_t last = fPoints.size() - 1;
    for (size_t i = 0; i <= last; ++i) {
        cVector2 tangent(0.2f, 0.0f);
        if (fMode == 0 || fMode == 2) {
            tangent = Minus(fPoints[i == last ? last : i + 1].fPoint, fPoints[i == 0 ? 0 : i - 1].fPoint);
            if (i != 0 && i != last) tangent = Scaled(tangent, 0.5f);
        } else if (fMode != 3) {
            continue;
        }
        fPoints[i].fNextTangent = tangent;
        fPoints[i].fPreviousTangent = tangent;
    }
}

void sSlowSpline::DrawChord(int pStart, int pEnd, float pFrom, float pTo)
{
    for (int j = pStart; j <= pEnd - 1; ++j) {
        const float step = Quotient(1.0f, static_cast<float>(pEnd - pStart));
        const float f = Product(static_cast<float>(j - pStart), step);
        const float value = Sum(Product(Difference(1.0f, f), pFrom), Product(f, pTo));
        fLUT16f[static_cast<size_t>(j)] = Clamped(value);
    }
}

void sSlowSpline::DrawSegment(const sControlPoint& pLeft, const sControlPoint& pRight)
{
    const bool straight = fMode == 2;
    const cVector2 m0 = pLeft.fNextTangent, m1 = pRight.fPreviousTangent;
    cVector2 previous = pLeft.fPoint;
    for (int k = 1; k <= 100; ++k) {
        const float t = Product(static_cast<float>(k), 0.01f);
        cVector2 sample(TablePolynomial(straight, pLeft.fPoint.x, pRight.fPoint.x, m0.x, m1.x, t),
                        TablePolynomial(straight, pLeft.fPoint.y, pRight.fPoint.y, m0.y, m1.y, t));
        if (k == 100) sample = pRight.fPoint;
        // The rows of the table of spans, in their order.
        long long start = 0, end = 0;
        if (previous.x < 0.0f && Inside(sample.x)) {
            end = IndexOf(sample.x);
        } else if (previous.x < 0.0f && sample.x > 1.0f) {
            end = 65535;
        } else if (Inside(previous.x) && Inside(sample.x)) {
            start = IndexOf(previous.x);
            end = IndexOf(sample.x);
        } else if (Inside(previous.x) && sample.x > 1.0f) {
            start = IndexOf(previous.x);
            end = 65535;
        }
        if (end > start) {
            DrawChord(static_cast<int>(start), static_cast<int>(end), previous.y, sample.y);
            previous = sample;
        }
    }
}

void sSlowSpline::Build()
{
    for (size_t i = 0; i + 1 < fPoints.size(); ++i)
        DrawSegment(fPoints[i], fPoints[i + 1]);
    const cVector2 first = fPoints.front().fPoint, last = fPoints.back().fPoint;
    for (long long i = 0; i <= 65535; ++i) {
        if (i <= IndexOf(first.x)) fLUT16f[static_cast<size_t>(i)] = Clamped(first.y);
    }
    for (long long i = 65535; i >= 0; --i) {
        if (i >= IndexOf(last.x)) fLUT16f[static_cast<size_t>(i)] = Clamped(last.y);
    }
    fLUT16f[65536] = fLUT16f[65535];
    for (size_t i = 0; i < 65536; ++i)
        fLUT16i[i] = static_cast<unsigned short>(Truncated(Product(fLUT16f[i], 65535.0f)));
    for (size_t i = 0; i < 256; ++i) {
        fLUT8f[i] = fLUT16f[i * 257];
        fLUT8i[i] = static_cast<unsigned char>(Truncated(Product(fLUT16f[i * 254], 255.0f)));
    }
}

void sSlowSpline::Split(sControlPoint& pNew)
{
    const float x = pNew.fPoint.x;
    size_t r = 1;
    while (fPoints[r].fPoint.x < x)
        ++r;
    sControlPoint& left = fPoints[r - 1];
    sControlPoint& right = fPoints[r];
    int k = 1;
    const auto at = [&](int pStep) {
        return SearchPolynomial(left.fPoint.x, right.fPoint.x, left.fNextTangent.x, right.fPreviousTangent.x,
                                Product(static_cast<float>(pStep), 0.0033333334f));
    };
    while (k < 300 && at(k) < x)
        ++k;
    const float t = Product(static_cast<float>(k), 0.0033333334f);
    const cVector2 p0 = left.fPoint, p3 = right.fPoint;
    const cVector2 p1 = Plus(p0, Scaled(left.fNextTangent, 0.33333334f));
    const cVector2 p2 = Minus(p3, Scaled(right.fPreviousTangent, 0.33333334f));
    const cVector2 q0 = Mix(p0, p1, t), q1 = Mix(p1, p2, t), q2 = Mix(p2, p3, t);
    const cVector2 r0 = Mix(q0, q1, t), r1 = Mix(q1, q2, t);
    const cVector2 s = Mix(r0, r1, t);
    left.fNextTangent = Scaled(Minus(q0, p0), 3.0f);
    right.fPreviousTangent = Scaled(Minus(p3, q2), 3.0f);
    pNew.fPoint = s;
    pNew.fPreviousTangent = Scaled(Minus(s, r0), 3.0f);
    pNew.fNextTangent = Scaled(Minus(r1, s), 3.0f);
}

int sSlowSpline::Add(cVector2 pPoint)
{
    sControlPoint added{};
    added.fPoint = pPoint;
    if (fMode == 1 && (pPoint.x <= fPoints.front().fPoint.x || pPoint.x >= fPoints.back().fPoint.x)) {
        added.fNextTangent = cVector2(0.25f, 0.0f);
        added.fPreviousTangent = cVector2(0.25f, 0.0f);
    } else if (fMode == 1) {
        Split(added);
    }
    fPoints.push_back(added);
    Update();
    for (size_t i = 0; i < fPoints.size(); ++i) {
        if (fPoints[i].fIndex == static_cast<int>(fPoints.size()) - 1) return static_cast<int>(i);
    }
    return -1;
}

} // namespace SelvaneTest
