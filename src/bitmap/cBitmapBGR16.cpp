#include "bitmap/cBitmapBGR16.h"

#include "base/Require.h"
#include "base/Strips.h"
#include "base/Versions.h"
#include "bitmap/FlatBlock.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cMemUtils.h"
#include "curve/cTransfer.h"
#include "image/cImageUtils.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

namespace Vornik
{

namespace
{

constexpr int kPixelSize = 6; // bytes

constexpr ptrdiff_t kStrip = 128; // pixels

/// Reverses the six bytes of each pixel, which swaps the bytes of each sample and the first and the third sample. Two
/// pixels move as a block of 16 bytes, which reaches into the next one; so the last ones go byte by byte.
SELVANE_INLINE void TurnStrip(const unsigned char* pFrom, unsigned char* pTo, ptrdiff_t pWidth)
{
    using tBlock = unsigned char __attribute__((vector_size(16)));
    ptrdiff_t at = 0;
    for (; at + ptrdiff_t{sizeof(tBlock)} <= kPixelSize * pWidth; at += ptrdiff_t{2} * kPixelSize) {
        tBlock block;
        std::memcpy(&block, pFrom + at, sizeof block);
        block = __builtin_shufflevector(block, block, 5, 4, 3, 2, 1, 0, 11, 10, 9, 8, 7, 6, 12, 13, 14, 15);
        std::memcpy(pTo + at, &block, sizeof block);
    }
    for (; at < kPixelSize * pWidth; at += kPixelSize)
        for (ptrdiff_t i = 0; i < kPixelSize; ++i)
            pTo[at + i] = pFrom[at + kPixelSize - 1 - i];
}

/// Through a strip beside the row, so that a row may be turned in place.
SELVANE_CLONES void TurnRow(const unsigned short* pFrom, unsigned short* pTo, ptrdiff_t pWidth)
{
    const auto* const from = reinterpret_cast<const unsigned char*>(pFrom);
    auto* const to = reinterpret_cast<unsigned char*>(pTo);
    unsigned char turned[kPixelSize * kStrip];
    for (ptrdiff_t x = 0; x < pWidth; x += kStrip) {
        const ptrdiff_t count = std::min(kStrip, pWidth - x);
        PrefetchPageAhead<sizeof turned>(from + kPixelSize * x);
        PrefetchPageAhead<sizeof turned>(to + kPixelSize * x);
        TurnStrip(from + kPixelSize * x, turned, count);
        std::copy_n(turned, kPixelSize * count, to + kPixelSize * x);
    }
}

} // namespace

unsigned short* cBitmapBGR16::AllocBitmapData(int pWidth, int pHeight, int& pStride)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    void* const block = cMemUtils::BitmapAlloc(pWidth, pHeight, kPixelSize, pStride);
    Require(cOutOfMemoryException, block != nullptr, "Out of memory while allocating bitmap array.");
    return static_cast<unsigned short*>(block);
}

void cBitmapBGR16::FreeBitmapData(unsigned short* pBGR16)
{
    Require(cArgumentNullException, pBGR16 != nullptr, "Argument 'pBGR16' cannot be null.");
    cMemUtils::BitmapFree(pBGR16);
}

cBitmapBGR16* cBitmapBGR16::FromBGR16Data(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16,
                                          eColorSpaceID pColorSpaceID)
{
    Require(cArgumentException, pFromWidth > 0, "Argument pFromWidth must be greater than zero.");
    Require(cArgumentException, pFromHeight > 0, "Argument pFromWidth must be greater than zero.");
    // Required: the check asks for 3 bytes per pixel, half of what its message says. CopyFromBGR16 asks for 6.
    Require(cArgumentException, pFromStride >= int64_t{3} * pFromWidth,
            "Argument pFromStride must be greater than or equal to 2*3*pFromWidth.");
    Require(cArgumentNullException, pFromBGR16 != nullptr, "Argument pFromBGR16 cannot be null.");
    auto bitmap = std::make_unique<cBitmapBGR16>(pFromWidth, pFromHeight, pColorSpaceID);
    bitmap->CopyFromBGR16(pFromWidth, pFromHeight, pFromStride, pFromBGR16);
    return bitmap.release();
}

cBitmapBGR16::cBitmapBGR16(int pWidth, int pHeight, eColorSpaceID pColorSpaceID) : fData(nullptr)
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

cBitmapBGR16::cBitmapBGR16(int pWidth, int pHeight, cColorSpace* pReferentColorSpace) : fData(nullptr)
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

cBitmapBGR16::~cBitmapBGR16()
{
    if (fData != nullptr) FreeBitmapData(fData);
    fData = nullptr;
}

int cBitmapBGR16::GetStride()
{
    return fStride;
}

void cBitmapBGR16::ToXYZ32(cBitmapXYZ32* pToXYZ32)
{
    Require(cArgumentNullException, pToXYZ32 != nullptr, "Argument pToXYZ32 cannot be null.");
    Require(cArgumentException, pToXYZ32->fWidth == fWidth, "Argument pToXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pToXYZ32->fHeight == fHeight,
            "Argument pToXYZ32->fHeight must be equal to this->fHeight.");
    Require(cInvalidOperationException, fColorSpace != nullptr, "Color space is not set.");
    const auto table = std::make_unique<cTransferLUT_I16F32>(fColorSpace->GetToLinearTransfer());
    cImageUtils::BGR16ToFloat3(this, pToXYZ32, table.get(), fColorSpace->GetToPCSTransform());
}

void cBitmapBGR16::FromXYZ32(cBitmapXYZ32* pFromXYZ32)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == fWidth,
            "Argument pFromXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == fHeight,
            "Argument pFromXYZ32->fHeight must be equal to this->fHeight.");
    Require(cInvalidOperationException, fColorSpace != nullptr, "Color space is not set.");
    const auto table = std::make_unique<cTransferLUT_F32I16>(fColorSpace->GetFromLinearTransfer());
    FromXYZ32(pFromXYZ32, table.get(), fColorSpace->GetFromPCSTransform());
}

void cBitmapBGR16::FromXYZ32(cBitmapXYZ32* pFromXYZ32, cTransferLUT_F32I16* pCustomTransferLUT, cMatrix33 pMatrix)
{
    Require(cArgumentNullException, pFromXYZ32 != nullptr, "Argument pFromXYZ32 cannot be null.");
    Require(cArgumentException, pFromXYZ32->fWidth == fWidth,
            "Argument pFromXYZ32->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromXYZ32->fHeight == fHeight,
            "Argument pFromXYZ32->fHeight must be equal to this->fHeight.");
    Require(cArgumentNullException, pCustomTransferLUT != nullptr, "Argument pCustomTransferLUT cannot be null.");
    cImageUtils::Float3ToBGR16(pFromXYZ32, this, pCustomTransferLUT, pMatrix);
}

void cBitmapBGR16::ToBGR32Linear(cBitmapXYZ32* pTo)
{
    cImageUtils::BGR16ToBGR32Linear(this, pTo);
}

int cBitmapBGR16::GetBitsPerChannel() const
{
    return 16;
}

void* cBitmapBGR16::GetBitmapArray()
{
    return fData;
}

unsigned short* cBitmapBGR16::GetImageData()
{
    return fData;
}

void cBitmapBGR16::CopyFromBGR16(int pFromWidth, int pFromHeight, int pFromStride, unsigned char* pFromBGR16)
{
    Require(cArgumentException, pFromWidth == fWidth, "Argument pFromWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromHeight == fHeight, "Argument pFromWidth must be equal to this->fHeight.");
    // Required: the check asks for 6 bytes per pixel, twice what its message says.
    Require(cArgumentException, pFromStride >= int64_t{6} * fWidth,
            "Argument pFromStride must be greater than or equal to 3*this->fWidth.");
    Require(cArgumentNullException, pFromBGR16 != nullptr, "Argument pFromBGR16 cannot be null.");
    if (pFromStride == fStride) {
        std::memcpy(fData, pFromBGR16, static_cast<size_t>(fHeight) * static_cast<size_t>(fStride));
        return;
    }
    // Required: rows are twice the stride apart. Rows that would leave the block are dropped.
    const int64_t rowDistance = int64_t{2} * fStride;
    const int64_t rowBytes = int64_t{6} * fWidth;
    const int64_t lastStart = FlatBlockSize(fHeight, fStride) - rowBytes;
    const int64_t rowsInside = lastStart / rowDistance + 1;
    CopyRows(fData, rowDistance, pFromBGR16, pFromStride, static_cast<size_t>(rowBytes),
             static_cast<int>(rowsInside < fHeight ? rowsInside : fHeight));
}

void cBitmapBGR16::CopyFromLittleEndianRGB16(int pFromWidth, int pFromHeight, int pFromStride,
                                             unsigned short* pFromLERGB16)
{
    Require(cArgumentException, pFromWidth == fWidth, "Argument pFromWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromHeight == fHeight, "Argument pFromWidth must be equal to this->fHeight.");
    Require(cArgumentException, pFromStride >= int64_t{6} * fWidth,
            "Argument pFromStride must be greater than or equal to 2*3*this->fWidth.");
    Require(cArgumentNullException, pFromLERGB16 != nullptr, "Argument pFromLERGB16 cannot be null.");
    const ptrdiff_t targetStep = fStride / 2; // samples
    const ptrdiff_t sourceStep = pFromStride / 2;
    for (ptrdiff_t y = 0; y < fHeight; ++y) // Required: swaps bytes on big-endian hosts too.
        TurnRow(pFromLERGB16 + y * sourceStep, fData + y * targetStep, fWidth);
}

void cBitmapBGR16::ToBGR8(cBitmapBGR8* pToBGR8)
{
    Require(cArgumentNullException, pToBGR8 != nullptr, "Argument pToBGR8 cannot be null.");
    Require(cArgumentException, pToBGR8->fWidth == fWidth, "Argument pToBGR8->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pToBGR8->fHeight == fHeight,
            "Argument pToBGR8->fHeight must be equal to this->fHeight.");
    cImageUtils::Convert(this, pToBGR8);
}

void cBitmapBGR16::FromBGR8(cBitmapBGR8* pFromBGR8)
{
    Require(cArgumentNullException, pFromBGR8 != nullptr, "Argument pFromBGR8 cannot be null.");
    Require(cArgumentException, pFromBGR8->fWidth == fWidth,
            "Argument pFromBGR8->fWidth must be equal to this->fWidth.");
    Require(cArgumentException, pFromBGR8->fHeight == fHeight,
            "Argument pFromBGR8->fHeight must be equal to this->fHeight.");
    cImageUtils::Convert(pFromBGR8, this);
}

} // namespace Vornik
