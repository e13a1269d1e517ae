#include "bitmap_fuzz/Pictures.h"

namespace SelvaneFuzz
{

using namespace Vornik;

namespace
{

/// Eight bytes of the fuzzer, again and again. Every byte of the block can be written, the padding too.
template <class tBitmap>
void FillBlock(cBytes& pBytes, tBitmap& pBitmap)
{
    const auto pattern = pBytes.Raw<uint64_t>();
    auto* const block = reinterpret_cast<unsigned char*>(pBitmap.fData);
    for (size_t i = 0; i < BlockSize(pBitmap); i++)
        block[i] = static_cast<unsigned char>(pattern >> (i % 8 * 8));
}

/// Five numbers, again and again. Every float of the block can be written.
void FillBlock(cBytes& pBytes, cBitmapXYZ32& pBitmap)
{
    float numbers[5];
    for (float& number : numbers)
        number = pBytes.Float();
    for (size_t i = 0; i < BlockSize(pBitmap) / sizeof(float); i++)
        pBitmap.fData[i] = numbers[i % std::size(numbers)];
}

} // namespace

sPictures::sPictures(cBytes& pBytes)
    : fWidth(pBytes.Int(1, 20)), fHeight(pBytes.Int(1, 12)), fSame(pBytes.Flag()),
      fOtherWidth(fSame ? fWidth : pBytes.Int(1, 20)),
      fOtherHeight(fSame ? fHeight : pBytes.Int(1, 12)), fBgr8{{fWidth, fHeight, SpaceNumber(pBytes)},
                                                               {fOtherWidth, fOtherHeight, SpaceNumber(pBytes)}},
      fBgr16{{fWidth, fHeight, SpaceNumber(pBytes)}, {fOtherWidth, fOtherHeight, SpaceNumber(pBytes)}},
      fXyz32{{fWidth, fHeight}, {fOtherWidth, fOtherHeight}}, fY8{{fWidth, fHeight}, {fOtherWidth, fOtherHeight}}
{
    for (int i = 0; i < 2; i++) {
        FillBlock(pBytes, fBgr8[i]);
        FillBlock(pBytes, fBgr16[i]);
        FillBlock(pBytes, fXyz32[i]);
        FillBlock(pBytes, fY8[i]);
    }
}

eColorSpaceID SpaceNumber(cBytes& pBytes)
{
    return static_cast<eColorSpaceID>(pBytes.Byte() < 250 ? pBytes.Int(0, 2) : pBytes.AnyInt());
}

cMatrix33 Matrix(cBytes& pBytes)
{
    cMatrix33 matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};
    float* const cells[] = {&matrix.m00, &matrix.m01, &matrix.m02, &matrix.m10, &matrix.m11,
                            &matrix.m12, &matrix.m20, &matrix.m21, &matrix.m22};
    *pBytes.Of(cells) = pBytes.Float();
    *pBytes.Of(cells) = pBytes.Float();
    return matrix;
}

size_t RoundUp4(int pValue)
{
    return (static_cast<size_t>(pValue) + 3) / 4 * 4;
}

} // namespace SelvaneFuzz
