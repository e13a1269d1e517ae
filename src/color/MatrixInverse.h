#ifndef SELVANE_COLOR_MATRIXINVERSE_H
#define SELVANE_COLOR_MATRIXINVERSE_H

// The inverse of a 3 x 3 matrix by its adjugate, internal; the same steps in both precisions.

#include "base/Versions.h"

namespace Vornik
{

/// Returns false and leaves pResult untouched if the determinant is exactly 0. pResult may be pMatrix.
template <class tNumber, class tMatrix>
SELVANE_INLINE bool InvertByAdjugate(const tMatrix& pMatrix, tMatrix& pResult)
{
    const tMatrix e = pMatrix; // a copy, since pResult may be pMatrix
    const tNumber c0 = e.m11 * e.m22 - e.m21 * e.m12;
    const tNumber c1 = e.m12 * e.m20 - e.m22 * e.m10;
    const tNumber c2 = e.m21 * e.m10 - e.m11 * e.m20;
    const tNumber determinant = e.m00 * c0 + e.m01 * c1 + e.m02 * c2;
    if (determinant == tNumber(0)) // no tolerance; NaN counts as invertible
        return false;

    const tNumber inverse = tNumber(1) / determinant;
    pResult.m00 = inverse * c0;
    pResult.m01 = inverse * (e.m21 * e.m02 - e.m22 * e.m01);
    pResult.m02 = inverse * (e.m12 * e.m01 - e.m11 * e.m02);
    pResult.m10 = inverse * c1;
    pResult.m11 = inverse * (e.m00 * e.m22 - e.m20 * e.m02);
    pResult.m12 = inverse * (e.m10 * e.m02 - e.m00 * e.m12);
    pResult.m20 = inverse * c2;
    pResult.m21 = inverse * (e.m01 * e.m20 - e.m00 * e.m21);
    pResult.m22 = inverse * (e.m00 * e.m11 - e.m01 * e.m10);
    return true;
}

} // namespace Vornik

#endif
