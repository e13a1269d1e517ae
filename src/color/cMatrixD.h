#ifndef SELVANE_COLOR_CMATRIXD_H
#define SELVANE_COLOR_CMATRIXD_H

#include "base/Export.h"

namespace Vornik
{

/// A 3 x 3 matrix in double precision, in which chains of colour transforms are worked out before they are narrowed.
///
/// Row-major, acting on a column vector: out[r] = m[r][0] * in[0] + m[r][1] * in[1] + m[r][2] * in[2]. Exactly these
/// nine numbers and nothing else, so it may be copied as a block. An aggregate: without an initialiser the numbers are
/// undefined.
class SELVANE_API cMatrixD33
{
public:
    double m00; ///< row 0, column 0
    double m01; ///< row 0, column 1
    double m02; ///< row 0, column 2
    double m10; ///< row 1, column 0
    double m11; ///< row 1, column 1
    double m12; ///< row 1, column 2
    double m20; ///< row 2, column 0
    double m21; ///< row 2, column 1
    double m22; ///< row 2, column 2

    /// Inverts by the adjugate, with one division. Returns false, with pResult untouched, when the determinant equals
    /// 0.0 exactly; there is no tolerance, and a determinant of NaN counts as invertible. pResult may be this matrix
    /// itself and need not be initialised.
    bool GetInverse(cMatrixD33& pResult) const;
};

} // namespace Vornik

#endif
