#include "bitmap/cBitmapXYZ32.h"

#include "base/Require.h"
#include "bitmap/FlatBlock.h"
#include "bitmap/cMemUtils.h"
#include "image/cImageUtils.h"
#include "image/cImageUtils_Rows.h"

namespace Vornik
{

namespace
{

constexpr int kPixelSize = 12; // bytes

} // namespace

float* cBitmapXYZ32::AllocBitmapData(int pWidth, int pHeight, int& pStride)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    void* const block = cMemUtils::BitmapAlloc(pWidth, pHeight, kPixelSize, pStride);
    Require(cOutOfMemoryException, block != nullptr, "Cannot alloc bitmap array.");
    return static_cast<float*>(block);
}

void cBitmapXYZ32::FreeBitmapData(float* pXYZ32)
{
    Require(cArgumentNullException, pXYZ32 != nullptr, "Argument 'pXYZ32' cannot be null.");
    cMemUtils::BitmapFree(pXYZ32);
}

cBitmapXYZ32::cBitmapXYZ32(int pWidth, int pHeight) : fData(nullptr)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fData = AllocBitmapData(pWidth, pHeight, fStride);
}

cBitmapXYZ32::cBitmapXYZ32(const cBitmapXYZ32* pFrom) : fData(nullptr)
{
    Require(cArgumentNullException, pFrom != nullptr, "Argument pFrom cannot be null.");
    fWidth = pFrom->fWidth;
    fHeight = pFrom->fHeight;
    fData = AllocBitmapData(fWidth, fHeight, fStride);
    try {
        CopyFromXYZ32(pFrom->fWidth, pFrom->fHeight, pFrom->fStride, pFrom->fData);
    } catch (...) {
        FreeBitmapData(fData);
        fData = nullptr;
        throw;
    }
}

cBitmapXYZ32::~cBitmapXYZ32()
{
    if (fData != nullptr) FreeBitmapData(fData);
    fData = nullptr;
}

void cBitmapXYZ32::CopyFromXYZ32(int pFromWidth, int pFromHeight, int pFromStride, const float* pFromXYZ32)
{
    Require(cArgumentException, pFromWidth == fWidth, "Argument pFromWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromHeight == fHeight, "Argument pFromWidth must be equal to this->fHeight.");
    Require(cArgumentException, pFromStride >= int64_t{12} * fWidth,
            "Argument pFromStride must be greater than or equal to 12*this->fWidth.");
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    const auto rowBytes = size_t{12} * static_cast<size_t>(fWidth);
    if (pFromStride == fStride) // copies the padding of each row, but no padding rows
        std::memcpy(fData, pFromXYZ32, static_cast<size_t>(fHeight) * static_cast<size_t>(fStride));
    else
        CopyRows(fData, fStride & ~3, pFromXYZ32, pFromStride & ~3, rowBytes, fHeight); // strides of whole floats
}

float* cBitmapXYZ32::GetImageData()
{
    return fData;
}

void cBitmapXYZ32::Transform(cMatrix33 pMatrix)
{
    cImageUtils::TransformInPlace(this, pMatrix);
}

void cBitmapXYZ32::BGRFloatToBGR8Data(int pToWidth, int pToHeight, int pToStride, unsigned char* pToBGR8) const
{
    Require(cArgumentException, pToWidth == fWidth, "Argument pToWidth must be equal to  this->fWidth.");
    Require(cArgumentException, pToHeight == fHeight, "Argument pToHeight must be equal to  this->fHeight.");
    Require(cArgumentNullException, pToBGR8 != nullptr, "Argument pToBGR8 cannot be null.");
    for (ptrdiff_t y = 0; y < fHeight; ++y)
        Rows::FromFloat(fData + y * (fStride / 4), pToBGR8 + y * pToStride, size_t{3} * static_cast<size_t>(fWidth));
}

} // namespace Vornik
