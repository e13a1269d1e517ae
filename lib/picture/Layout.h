#ifndef SELVANE_LIB_PICTURE_LAYOUT_H
#define SELVANE_LIB_PICTURE_LAYOUT_H

// Where the samples of a picture or a target stand in the caller's memory.

#include "selvane.h"

#include <cstddef>
#include <cstdint>

namespace SelvaneLib
{

/// Checked numbers of a record. Strides are in bytes and may be negative.
struct sLayout
{
    int fWidth;
    int fHeight;
    int fFormat;
    int fChannels;
    int fSampleBytes;
    bool fBlueFirst;
    ptrdiff_t fRow;
    ptrdiff_t fPixel;
    ptrdiff_t fChannel;

    /// Offset of red, green or blue (0, 1, 2) in a pixel.
    ptrdiff_t OffsetOf(int pColor) const { return (fBlueFirst ? 2 - pColor : pColor) * fChannel; }
    ptrdiff_t OffsetOfAlpha() const { return 3 * fChannel; }
    ptrdiff_t OffsetOfRow(int pRow) const { return pRow * fRow; }
    /// Whether pixels follow each other without a gap, three samples each.
    bool IsPacked() const { return fChannel == fSampleBytes && fPixel == ptrdiff_t{3} * fSampleBytes; }
};

/// @throws cFailure if an address could leave the memory of any machine
void CheckStride(ptrdiff_t pStride);

/// @throws cFailure that names the field
sLayout LayoutOf(const selvane_picture& pPicture);
sLayout LayoutOf(const selvane_target& pTarget);

} // namespace SelvaneLib

#endif
