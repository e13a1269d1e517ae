#include "color/cMatrix.h"

#include "color/MatrixInverse.h"

namespace Vornik
{

bool cMatrix33::GetInverse(cMatrix33& pResult) const
{
    return InvertByAdjugate<float>(*this, pResult);
}

} // namespace Vornik
