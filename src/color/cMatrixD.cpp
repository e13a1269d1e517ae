#include "color/cMatrixD.h"

#include "color/MatrixInverse.h"

namespace Vornik
{

bool cMatrixD33::GetInverse(cMatrixD33& pResult) const
{
    return InvertByAdjugate<double>(*this, pResult);
}

} // namespace Vornik
