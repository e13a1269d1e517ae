#ifndef SELVANE_FUZZ_BITMAP_FUZZ_PICTURES_H
#define SELVANE_FUZZ_BITMAP_FUZZ_PICTURES_H

// The pictures of a run, and the arguments that many operations on them take.

#include "Bytes.h"
#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"
#include "bitmap/cBitmapY8.h"
#include "color/cColorSpace.h"
#include "color/cMatrix.h"

namespace SelvaneFuzz
{

/// Two pictures of each flat class, filled from the fuzzer. Half of the runs give both the same size.
struct sPictures
{
    explicit sPictures(cBytes& pBytes);

    int fWidth;
    int fHeight;
    bool fSame;
    int fOtherWidth;
    int fOtherHeight;
    Vornik::cBitmapBGR8 fBgr8[2];
    Vornik::cBitmapBGR16 fBgr16[2];
    Vornik::cBitmapXYZ32 fXyz32[2];
    Vornik::cBitmapY8 fY8[2];
};

/// Mostly one of the three spaces, sometimes a number that names none.
Vornik::eColorSpaceID SpaceNumber(cBytes& pBytes);

/// The identity with up to two cells replaced.
Vornik::cMatrix33 Matrix(cBytes& pBytes);

size_t RoundUp4(int pValue);

/// Bytes of a picture's block, its padding included.
template <class tBitmap>
size_t BlockSize(const tBitmap& pBitmap)
{
    return RoundUp4(pBitmap.fHeight) * static_cast<size_t>(pBitmap.fStride);
}

} // namespace SelvaneFuzz

#endif
