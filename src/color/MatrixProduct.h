#ifndef SELVANE_COLOR_MATRIXPRODUCT_H
#define SELVANE_COLOR_MATRIXPRODUCT_H

// Products of two matrices and of a matrix with a column vector, internal. The sums run from left to right, without
// fused multiply-adds. The pixel loops use FusedRow instead.

#include "base/Versions.h"
#include "color/cMatrix.h"
#include "color/cMatrixD.h"
#include "color/cVector.h"

#include <cmath>

namespace Vornik
{

/// A column vector in double precision.
struct sVectorD3
{
    double x; ///< first number
    double y; ///< second number
    double z; ///< third number
};

/// One row of a matrix times (pX, pY, pZ): first the middle product, then the outer terms by fused multiply-adds.
SELVANE_INLINE float FusedRow(float pM0, float pM1, float pM2, float pX, float pY, float pZ)
{
    return std::fma(pM2, pZ, std::fma(pM0, pX, pM1 * pY));
}

/// pLeft * pRight: the transform that applies pRight first.
template <class tMatrix>
SELVANE_INLINE tMatrix MultiplyRows(const tMatrix& pLeft, const tMatrix& pRight)
{
    const tMatrix& l = pLeft;
    const tMatrix& r = pRight;
    return tMatrix{
        l.m00 * r.m00 + l.m01 * r.m10 + l.m02 * r.m20, l.m00 * r.m01 + l.m01 * r.m11 + l.m02 * r.m21,
        l.m00 * r.m02 + l.m01 * r.m12 + l.m02 * r.m22, l.m10 * r.m00 + l.m11 * r.m10 + l.m12 * r.m20,
        l.m10 * r.m01 + l.m11 * r.m11 + l.m12 * r.m21, l.m10 * r.m02 + l.m11 * r.m12 + l.m12 * r.m22,
        l.m20 * r.m00 + l.m21 * r.m10 + l.m22 * r.m20, l.m20 * r.m01 + l.m21 * r.m11 + l.m22 * r.m21,
        l.m20 * r.m02 + l.m21 * r.m12 + l.m22 * r.m22,
    };
}

/// pMatrix * (pX, pY, pZ).
template <class tVector, class tMatrix, class tNumber>
SELVANE_INLINE tVector MultiplyColumn(const tMatrix& pMatrix, tNumber pX, tNumber pY, tNumber pZ)
{
    return tVector{
        pMatrix.m00 * pX + pMatrix.m01 * pY + pMatrix.m02 * pZ,
        pMatrix.m10 * pX + pMatrix.m11 * pY + pMatrix.m12 * pZ,
        pMatrix.m20 * pX + pMatrix.m21 * pY + pMatrix.m22 * pZ,
    };
}

/// pLeft * pRight in single precision.
SELVANE_INLINE cMatrix33 Multiply(const cMatrix33& pLeft, const cMatrix33& pRight)
{
    return MultiplyRows(pLeft, pRight);
}

/// pLeft * pRight in double precision.
SELVANE_INLINE cMatrixD33 Multiply(const cMatrixD33& pLeft, const cMatrixD33& pRight)
{
    return MultiplyRows(pLeft, pRight);
}

/// pMatrix * pVector in single precision.
SELVANE_INLINE cVector3 Multiply(const cMatrix33& pMatrix, cVector3 pVector)
{
    return MultiplyColumn<cVector3>(pMatrix, pVector.x, pVector.y, pVector.z);
}

/// pMatrix * pVector in double precision.
SELVANE_INLINE sVectorD3 Multiply(const cMatrixD33& pMatrix, sVectorD3 pVector)
{
    return MultiplyColumn<sVectorD3>(pMatrix, pVector.x, pVector.y, pVector.z);
}

} // namespace Vornik

#endif
