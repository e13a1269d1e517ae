#include "bitmap/cBitmapY32.h"

#include "base/Require.h"
#include "bitmap/cMemUtils.h"

namespace Vornik
{

namespace
{

constexpr int kPixelSize = 4; // bytes

} // namespace

float* cBitmapY32::AllocBitmapData(int pWidth, int pHeight, int& pStride)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    void* const block = cMemUtils::BitmapAlloc(pWidth, pHeight, kPixelSize, pStride);
    Require(cOutOfMemoryException, block != nullptr, "Cannot alloc bitmap array.");
    return static_cast<float*>(block);
}

void cBitmapY32::FreeBitmapData(float* pY32)
{
    Require(cArgumentNullException, pY32 != nullptr, "Argument 'pY32' cannot be null.");
    cMemUtils::BitmapFree(pY32);
}

cBitmapY32::cBitmapY32(int pWidth, int pHeight) : fData(nullptr)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fData = AllocBitmapData(pWidth, pHeight, fStride);
}

cBitmapY32::~cBitmapY32()
{
    if (fData != nullptr) FreeBitmapData(fData);
    fData = nullptr;
}

} // namespace Vornik
