#include "bitmap/cBitmapBGR8.h"

#include "base/Require.h"
#include "bitmap/FlatBlock.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cMemUtils.h"
#include "curve/cTransfer.h"
#include "image/cImageUtils.h"

#include <cstdio>
#include <memory>

namespace Vornik
{

namespace
{

constexpr int kPixelSize = 3; // bytes

} // namespace

unsigned char* cBitmapBGR8::AllocBitmapData(int pWidth, int pHeight, int& pStride)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    void* const block = cMemUtils::BitmapAlloc(pWidth, pHeight, kPixelSize, pStride);
    Require(cOutOfMemoryException, block != nullptr, "Out of memory while allocating bitmap array.");
    return static_cast<unsigned char*>(block);
}

void cBitmapBGR8::FreeBitmapData(unsigned char* pBGR8)
{
    // Required: every call prints this line, before the check.
    std::fputs("Freeing via FreeBitmapData\n", stderr);
    Require(cArgumentNullException, pBGR8 != nullptr, "Argument 'pBGR8' cannot be null.");
    cMemUtils::BitmapFree(pBGR8);
}

cBitmapBGR8::cBitmapBGR8(int pWidth, int pHeight, eColorSpaceID pColorSpaceID) : fData(nullptr)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fData = AllocBitmapData(pWidth, pHeight, fStride);
    try {
        fColorSpace = cColorSpace::FromID(pColorSpaceID);
    } catch (...) {
        FreeBitmapData(fData);
        fData = nullptr;
        throw;
    }
}

cBitmapBGR8::cBitmapBGR8(int pWidth, int pHeight, cColorSpace* pReferentColorSpace) : fData(nullptr)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    Require(cArgumentNullException, pReferentColorSpace != nullptr, "Argument pReferentColorSpace cannot be null.");
    fWidth = pWidth;
    fHeight = pHeight;
    fData = AllocBitmapData(pWidth, pHeight, fStride);
    try {
        fColorSpace = pReferentColorSpace->Clone();
    } catch (...) {
        FreeBitmapData(fData);
        fData = nullptr;
        throw;
    }
}

cBitmapBGR8::cBitmapBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8,
                         eColorSpaceID pColorSpaceID)
    : fData(nullptr)
{
    Require(cArgumentException, pFromWidth > 0, "Argument pFromWidth must be greater than zero.");
    Require(cArgumentException, pFromHeight > 0, "Argument pFromWidth must be greater than zero.");
    Require(cArgumentException, pFromStride >= int64_t{3} * pFromWidth,
            "Argument pFromStride must be greater than or equal to 3*pFromWidth.");
    Require(cArgumentNullException, pFromBGR8 != nullptr, "Argument pFromBGR8 cannot be null.");
    fWidth = pFromWidth;
    fHeight = pFromHeight;
    fData = AllocBitmapData(pFromWidth, pFromHeight, fStride);
    try {
        fColorSpace = cColorSpace::FromID(pColorSpaceID);
        CopyFromBGR8(pFromWidth, pFromHeight, pFromStride, pFromBGR8);
    } catch (...) {
        delete fColorSpace;
        fColorSpace = nullptr;
        FreeBitmapData(fData);
        fData = nullptr;
        throw;
    }
}

cBitmapBGR8::~cBitmapBGR8()
{
    if (fData != nullptr) FreeBitmapData(fData);
    fData = nullptr;
}

void cBitmapBGR8::ToXYZ32(cBitmapXYZ32* pToXYZ32)
{
    Require(cArgumentNullException, pToXYZ32 != nullptr, "Argument pToXYZ32 cannot be null.");
    Require(cArgumentException, pToXYZ32->fWidth == fWidth, "Argument pToXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pToXYZ32->fHeight == fHeight,
            "Argument pToXYZ32->fHeight must be equal to this->fHeight.");
    Require(cInvalidOperationException, fColorSpace != nullptr, "Color space is not set.");
    const auto table = std::make_unique<cTransferLUT_I8F32>(fColorSpace->GetToLinearTransfer());
    ToXYZ32(pToXYZ32, table.get(), fColorSpace->GetToPCSTransform());
}

void cBitmapBGR8::ToXYZ32(cBitmapXYZ32* pToXYZ32, cTransferLUT_I8F32* pCustomTransferLUT, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pToXYZ32 != nullptr, "Argument pToXYZ32 cannot be null.");
    Require(cArgumentException, pToXYZ32->fWidth == fWidth, "Argument pToXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pToXYZ32->fHeight == fHeight,
            "Argument pToXYZ32->fHeight must be equal to this->fHeight.");
    Require(cArgumentNullException, pCustomTransferLUT != nullptr, "Argument pCustomTransferLUT cannot be null.");
    cImageUtils::BGR8ToFloat3(this, pToXYZ32, pCustomTransferLUT, pMatrix);
}

void cBitmapBGR8::FromXYZ32(cBitmapXYZ32* pFromXYZ32)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == fWidth,
            "Argument pFromXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == fHeight,
            "Argument pFromXYZ32->fHeight must be equal to this->fHeight.");
    Require(cInvalidOperationException, fColorSpace != nullptr, "Color space is not set.");
    const auto table = std::make_unique<cTransferLUT_F32I8>(fColorSpace->GetFromLinearTransfer());
    FromXYZ32(pFromXYZ32, table.get(), fColorSpace->GetFromPCSTransform());
}

void cBitmapBGR8::FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I8* pCustomTransferLUT, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == fWidth,
            "Argument pFromXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == fHeight,
            "Argument pFromXYZ32->fHeight must be equal to this->fHeight.");
    Require(cArgumentNullException, pCustomTransferLUT != nullptr, "Argument pCustomTransferLUT cannot be null.");
    cImageUtils::Float3ToBGR8(pFromXYZ32, this, pCustomTransferLUT, pMatrix);
}

void cBitmapBGR8::ToBGR32Linear(cBitmapXYZ32* pTo)
{
    cImageUtils::BGR8ToBGR32Linear(this, pTo);
}

int cBitmapBGR8::GetBitsPerChannel() const
{
    return 8;
}

void* cBitmapBGR8::GetBitmapArray()
{
    return fData;
}

void* cBitmapBGR8::GetBGR8()
{
    return fData;
}

void cBitmapBGR8::CopyFromBGR8(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR8)
{
    Require(cArgumentException, pFromWidth == fWidth, "Argument pFromWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromHeight == fHeight, "Argument pFromWidth must be equal to this->fHeight.");
    Require(cArgumentException, pFromStride >= int64_t{3} * fWidth,
            "Argument pFromStride must be greater than or equal to 3*this->fWidth.");
    Require(cArgumentNullException, pFromBGR8 != nullptr, "Argument pFromBGR8 cannot be null.");
    if (pFromStride == fStride) // copies the padding of each row, but no padding rows
        std::memcpy(fData, pFromBGR8, static_cast<size_t>(fHeight) * static_cast<size_t>(fStride));
    else
        CopyRows(fData, fStride, pFromBGR8, pFromStride, size_t{3} * static_cast<size_t>(fWidth), fHeight);
}

void cBitmapBGR8::CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride)
{
    Require(cArgumentNullException, pDstBGR8 != nullptr, "Argument pDstBGR8 cannot be null.");
    Require(cArgumentException, pDstWidth == fWidth, "Argument pDstWidth must be equal to this->fWidth.");
    Require(cArgumentException, pDstHeight == fHeight, "Argument pDstHeight must be equal to this->fHeight.");
    Require(cArgumentException, pDstStride >= int64_t{3} * pDstWidth,
            "Argument pDstStride must be greater than or equal to 3*pDstWidth.");
    CopyRows(pDstBGR8, pDstStride, fData, fStride, size_t{3} * static_cast<size_t>(fWidth), fHeight);
}

} // namespace Vornik
