#ifndef SELVANE_COLOR_CMATRIX_H
#define SELVANE_COLOR_CMATRIX_H

#include "base/Export.h"

namespace Vornik
{

/// A 3 x 3 matrix in single precision. All colour transforms of pixels use it.
///
/// It is row-major and acts on a column vector: out[r] = m[r][0] * in[0] + m[r][1] * in[1] + m[r][2] * in[2]. It holds
/// only these nine numbers, so it may be copied as a block. It is an aggregate: without an initialiser the numbers are
/// undefined.
class SELVANE_API cMatrix33
{
public:
    float m00; ///< row 0, column 0
    float m01; ///< row 0, column 1
    float m02; ///< row 0, column 2
    float m10; ///< row 1, column 0
    float m11; ///< row 1, column 1
    float m12; ///< row 1, column 2
    float m20; ///< row 2, column 0
    float m21; ///< row 2, column 1
    float m22; ///< row 2, column 2

    /// Inverts by the adjugate, with one division. Returns false and leaves pResult untouched if the determinant is
    /// exactly 0.0. There is no tolerance, and a NaN determinant counts as invertible. pResult may be this matrix and
    /// need not be initialised.
    bool GetInverse(cMatrix33& pResult) const;
};

} // namespace Vornik

#endif
