#include "bitmap/cBitmapY8.h"

#include "base/Require.h"
#include "base/Versions.h"
#include "bitmap/cMemUtils.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace Vornik
{

namespace
{

// Grey weights in units of 1/65536. Required: they sum to 65535, so 8-bit white becomes 254.
constexpr uint32_t kBlueWeight = 7471;
constexpr uint32_t kGreenWeight = 38469;
constexpr uint32_t kRedWeight = 19595;

/// The weighted sum of samples up to 65535. It fits 32 bits.
SELVANE_INLINE uint32_t WeightedSum(uint32_t pBlue, uint32_t pGreen, uint32_t pRed)
{
    return kBlueWeight * pBlue + kGreenWeight * pGreen + kRedWeight * pRed;
}

SELVANE_CLONES void Grey8_row(const unsigned char* __restrict pFrom, unsigned char* __restrict pTo, ptrdiff_t pWidth)
{
    for (ptrdiff_t x = 0; x < pWidth; ++x)
        pTo[x] = static_cast<unsigned char>(WeightedSum(pFrom[3 * x], pFrom[3 * x + 1], pFrom[3 * x + 2]) >> 16);
}

SELVANE_CLONES void Grey16_row(const unsigned short* __restrict pFrom, unsigned char* __restrict pTo, ptrdiff_t pWidth)
{
    for (ptrdiff_t x = 0; x < pWidth; ++x)
        pTo[x] = static_cast<unsigned char>(WeightedSum(pFrom[3 * x], pFrom[3 * x + 1], pFrom[3 * x + 2]) >> 24);
}

SELVANE_CLONES void Halve_row(const unsigned char* __restrict pUpper, const unsigned char* __restrict pLower,
                              unsigned char* __restrict pTo, ptrdiff_t pWidth)
{
    for (ptrdiff_t x = 0; x < pWidth; ++x)
        pTo[x] =
            static_cast<unsigned char>((pUpper[2 * x] + pUpper[2 * x + 1] + pLower[2 * x] + pLower[2 * x + 1]) >> 2);
}

SELVANE_CLONES void Triple_row(const unsigned char* __restrict pFrom, unsigned char* __restrict pTo, ptrdiff_t pWidth)
{
    for (ptrdiff_t x = 0; x < pWidth; ++x) {
        pTo[3 * x] = pFrom[x];
        pTo[3 * x + 1] = pFrom[x];
        pTo[3 * x + 2] = pFrom[x];
    }
}

} // namespace

unsigned char* cBitmapY8::AllocBitmapData(int pWidth, int pHeight, int& pStride)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    void* const block = cMemUtils::BitmapAlloc(pWidth, pHeight, 1, pStride);
    Require(cOutOfMemoryException, block != nullptr, "Out of memory while allocating bitmap array.");
    return static_cast<unsigned char*>(block);
}

void cBitmapY8::FreeBitmapData(unsigned char* pY8)
{
    Require(cArgumentNullException, pY8 != nullptr, "Argument 'pY8' cannot be null.");
    cMemUtils::BitmapFree(pY8);
}

cBitmapY8* cBitmapY8::FromBGR8(unsigned char* pSrcBGR8, int pSrcWidth, int pSrcHeight, int pSrcStride)
{
    Require(cArgumentNullException, pSrcBGR8 != nullptr, "Argument pSrcBGR8 cannot be null.");
    Require(cArgumentException, pSrcWidth > 0, "Argument pSrcWidth must be greater than zero.");
    Require(cArgumentException, pSrcHeight > 0, "Argument pSrcHeight must be greater than zero.");
    Require(cArgumentException, pSrcStride >= int64_t{3} * pSrcWidth,
            "Argument pSrcStride must be greater than or equal to 3*pSrcWidth.");
    auto grey = std::make_unique<cBitmapY8>(pSrcWidth, pSrcHeight);
    for (ptrdiff_t y = 0; y < pSrcHeight; ++y)
        Grey8_row(pSrcBGR8 + y * pSrcStride, grey->fData + y * grey->fStride, pSrcWidth);
    return grey.release();
}

cBitmapY8* cBitmapY8::FromBGR16(unsigned short* pSrcBGR16, int pSrcWidth, int pSrcHeight, int pSrcStride)
{
    Require(cArgumentNullException, pSrcBGR16 != nullptr, "Argument pSrcBGR16 cannot be null.");
    Require(cArgumentException, pSrcWidth > 0, "Argument pSrcWidth must be greater than zero.");
    Require(cArgumentException, pSrcHeight > 0, "Argument pSrcHeight must be greater than zero.");
    // Required: the check asks for 3 bytes per pixel, although a row has 6.
    Require(cArgumentException, pSrcStride >= int64_t{3} * pSrcWidth,
            "Argument pSrcStride must be greater than or equal to 3*pSrcWidth.");
    auto grey = std::make_unique<cBitmapY8>(pSrcWidth, pSrcHeight);
    for (ptrdiff_t y = 0; y < pSrcHeight; ++y)
        Grey16_row(pSrcBGR16 + y * (pSrcStride / 2), grey->fData + y * grey->fStride, pSrcWidth);
    return grey.release();
}

cBitmapY8* cBitmapY8::FromBitmapLDR(cBitmapLDR* pSrcLDR)
{
    Require(cArgumentNullException, pSrcLDR != nullptr, "Argument pSrcLDR cannot be null.");
    const int bits = pSrcLDR->GetBitsPerChannel();
    if (bits != 8 && bits != 16) return nullptr;
    void* const samples = pSrcLDR->GetBitmapArray();
    if (bits == 8)
        return FromBGR8(static_cast<unsigned char*>(samples), pSrcLDR->fWidth, pSrcLDR->fHeight, pSrcLDR->fStride);
    return FromBGR16(static_cast<unsigned short*>(samples), pSrcLDR->fWidth, pSrcLDR->fHeight, pSrcLDR->fStride);
}

cBitmapY8::cBitmapY8(int pWidth, int pHeight) : fData(nullptr)
{
    Require(cArgumentException, pWidth > 0, "Argument pWidth must be greater than zero.");
    Require(cArgumentException, pHeight > 0, "Argument pHeight must be greater than zero.");
    fWidth = pWidth;
    fHeight = pHeight;
    fData = AllocBitmapData(pWidth, pHeight, fStride);
}

cBitmapY8::~cBitmapY8()
{
    if (fData != nullptr) FreeBitmapData(fData);
    fData = nullptr;
}

void cBitmapY8::CopyToBGR8(unsigned char* pDstBGR8, int pDstWidth, int pDstHeight, int pDstStride)
{
    Require(cArgumentNullException, pDstBGR8 != nullptr, "Argument pDstBGR8 cannot be null.");
    Require(cArgumentException, pDstWidth == fWidth, "Argument pDstWidth must be equal to this->fWidth.");
    Require(cArgumentException, pDstHeight == fHeight, "Argument pDstHeight must be equal to this->fHeight.");
    Require(cArgumentException, pDstStride >= int64_t{3} * pDstWidth,
            "Argument pDstStride must be greater than or equal to 3*pDstWidth.");
    for (ptrdiff_t y = 0; y < fHeight; ++y)
        Triple_row(fData + y * fStride, pDstBGR8 + y * pDstStride, fWidth);
}

cBitmapY8* cBitmapY8::Halve() const
{
    auto half = std::make_unique<cBitmapY8>(fWidth >> 1, fHeight >> 1);
    for (ptrdiff_t y = 0; y < half->fHeight; ++y) {
        const unsigned char* const upper = fData + 2 * y * fStride;
        Halve_row(upper, upper + fStride, half->fData + y * half->fStride, half->fWidth);
    }
    return half.release();
}

} // namespace Vornik
