#ifndef SELVANE_TESTS_CURVE_SLOWSPLINE_H
#define SELVANE_TESTS_CURVE_SLOWSPLINE_H

// The rules of the curves written out step by step, for comparison: every sum and product is rounded to float by hand,
// and nothing is shared with the library but the records.

#include "curve/cHermiteSpline.h"

#include <vector>

namespace SelvaneTest
{

// One rounding each. The sum, difference, product or quotient of two floats in double, rounded to float, equals the one
// that is rounded to float at once.
float Sum(float pLeft, float pRight);
float Difference(float pLeft, float pRight);
float Product(float pLeft, float pRight);
float Quotient(float pLeft, float pRight);

/// The abscissa of a segment at a parameter, with the terms in the order in which the place of a new point is searched,
/// and in the order of the tables: two results that may differ in their last bits.
float SearchPolynomial(float p0, float p1, float m0, float m1, float pT);
float TablePolynomial(bool pStraight, float p0, float p1, float m0, float m1, float pT);

/// A curve with its four tables. The tables start out as 0 and keep what an update does not write.
struct sSlowSpline
{
    Vornik::eSplineInterpolationMode fMode = Vornik::eSplineCatmullRom;
    std::vector<Vornik::sControlPoint> fPoints;
    std::vector<float> fLUT16f = std::vector<float>(65537);
    std::vector<unsigned short> fLUT16i = std::vector<unsigned short>(65537);
    std::vector<float> fLUT8f = std::vector<float>(257);
    std::vector<unsigned char> fLUT8i = std::vector<unsigned char>(257);

    /// Stamps, sorts, keeps apart and derives the tangents.
    void Update();
    /// Fills the four tables.
    void Build();
    /// The abscissa of a new point selects the place in manual mode; then Update. Returns the position.
    int Add(Vornik::cVector2 pPoint);

private:
    void DrawSegment(const Vornik::sControlPoint& pLeft, const Vornik::sControlPoint& pRight);
    void DrawChord(int pStart, int pEnd, float pFrom, float pTo);
    void Split(Vornik::sControlPoint& pNew);
};

/// Merge sort by abscissa, left half first, the left record taken unless it compares greater: the order that the
/// system's sort gives too, NaN included.
std::vector<Vornik::sControlPoint> SortedByMerging(const std::vector<Vornik::sControlPoint>& pPoints);

} // namespace SelvaneTest

#endif
