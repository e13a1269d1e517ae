#include "bitmap/cBitmap.h"

#include "base/Require.h"

namespace Vornik
{

// Required: the fields stay unset. A descendant sets them after its argument checks.
cBitmap::cBitmap() = default;

cBitmap::~cBitmap() = default;

int cBitmap::GetStride()
{
    return fStride;
}

void cBitmap::SwapWidthHeight()
{
    Require(cInvalidOperationException, false, "SwapWidthHeight() is not implemented for this class.");
}

int cBitmap::GetWidth()
{
    return fWidth;
}

int cBitmap::GetHeight()
{
    return fHeight;
}

cBitmapLDR::cBitmapLDR() : fColorSpace(nullptr) {}

cBitmapLDR::~cBitmapLDR()
{
    delete fColorSpace;
    fColorSpace = nullptr;
}

cColorSpace* cBitmapLDR::GetColorSpace()
{
    return fColorSpace;
}

void cBitmapLDR::AssignColorSpace(cColorSpace* pColorSpace)
{
    delete fColorSpace;
    fColorSpace = nullptr;
    fColorSpace = pColorSpace->Clone();
}

void cBitmapLDR::AssignColorSpace(eColorSpaceID pColorSpaceID)
{
    cColorSpace* const space = cColorSpace::FromID(pColorSpaceID);
    if (space == nullptr) return; // unknown number: the present space stays
    delete fColorSpace;
    fColorSpace = space;
}

void cBitmapLDR::GetWhiteBalance(float* pFirst, float* pSecond)
{
    Require(cInvalidOperationException, fColorSpace != nullptr, "Color space is not set.");
    const cVector2 balance = fColorSpace->GetWhiteBalance();
    *pFirst = balance.x;
    *pSecond = balance.y;
}

} // namespace Vornik
