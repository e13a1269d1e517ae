// Pictures made from a host's block, and pictures that get another colour space.

#include "bitmap_fuzz/Steps.h"

#include <algorithm>

namespace SelvaneFuzz
{

using namespace Vornik;

void BuildFrom(cBytes& pBytes, sPictures& pPictures)
{
    const int width = pBytes.AnyInt();
    const int height = pBytes.AnyInt();
    const int64_t wide = int64_t{pBytes.AnyInt()} + 6 * std::clamp(width, 0, 64);
    const int stride = static_cast<int>(std::min<int64_t>(wide, INT32_MAX));
    const bool exists = width > 0 && height > 0 && width < 64 && height < 64 && stride > 0 && stride < 1000;
    const cBlock host(exists ? static_cast<size_t>(height) * static_cast<size_t>(stride) : 1);
    if (!exists && width > 0 && height > 0 && stride > 0) return; // more than this host has
    const eColorSpaceID space = SpaceNumber(pBytes);
    cBitmapBGR8 eight(width, height, stride, host.Data(), space);
    const std::unique_ptr<cBitmapBGR16> sixteen(cBitmapBGR16::FromBGR16Data(width, height, stride, host.Data(), space));
    const cBitmapXYZ32 copy(&pPictures.fXyz32[0]);
    Check(std::memcmp(copy.fData, pPictures.fXyz32[0].fData, 12 * static_cast<size_t>(copy.fWidth)) == 0);
}

/// A caller hands over neither null nor the picture's own space.
void AssignSpace(cBytes& pBytes, sPictures& pPictures)
{
    cBitmapLDR* const pictures[] = {&pPictures.fBgr8[0], &pPictures.fBgr8[1], &pPictures.fBgr16[0],
                                    &pPictures.fBgr16[1]};
    cBitmapLDR* const target = pBytes.Of(pictures);
    cBitmapLDR* const other = pBytes.Of(pictures);
    if (pBytes.Flag() && other != target && other->GetColorSpace() != nullptr)
        target->AssignColorSpace(other->GetColorSpace());
    else
        target->AssignColorSpace(SpaceNumber(pBytes));
    const cBitmapBGR16 alike(target->fWidth, target->fHeight, target->GetColorSpace());
    const cBitmapBGR8 alike8(target->fWidth, target->fHeight, target->GetColorSpace());
    Check(alike.fColorSpace != target->fColorSpace && alike8.fColorSpace != nullptr);
    float first = 0.0f;
    float second = 0.0f;
    target->GetWhiteBalance(&first, &second);
}

} // namespace SelvaneFuzz
