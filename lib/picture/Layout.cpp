#include "picture/Layout.h"

#include "api/Failure.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace SelvaneLib
{

namespace
{

constexpr int kMostSide = 1000000;
constexpr int64_t kMostPixels = int64_t{1} << 30;
constexpr ptrdiff_t kMostStride = ptrdiff_t{1} << 40; // bytes; a million rows of them still fit a pointer

int SampleBytes(int pFormat)
{
    switch (pFormat) {
    case SELVANE_U16:
    case SELVANE_F16:
        return 2;
    case SELVANE_F32:
        return 4;
    default:
        return 1;
    }
}

bool IsExponentForm(int pFormat)
{
    return pFormat == SELVANE_RGBE || pFormat == SELVANE_RGBE_PLANES;
}

void CheckSize(int pWidth, int pHeight)
{
    Require(pWidth >= 1 && pWidth <= kMostSide, "width is not 1 to 1000000");
    Require(pHeight >= 1 && pHeight <= kMostSide, "height is not 1 to 1000000");
    Require(int64_t{pWidth} * pHeight <= kMostPixels, "width times height is more than 2^30 pixels");
}

/// One direction in which samples repeat.
struct sAxis
{
    ptrdiff_t fStride;
    ptrdiff_t fCount;
};

/// From the smallest stride to the largest, each has to step over everything that the smaller ones reach.
bool Overlaps(const sLayout& pLayout)
{
    std::array<sAxis, 3> axes = {{{std::abs(pLayout.fChannel), pLayout.fChannels},
                                  {std::abs(pLayout.fPixel), pLayout.fWidth},
                                  {std::abs(pLayout.fRow), pLayout.fHeight}}};
    std::sort(axes.begin(), axes.end(), [](const sAxis& a, const sAxis& b) { return a.fStride < b.fStride; });
    ptrdiff_t reach = pLayout.fSampleBytes;
    for (const sAxis& axis : axes) {
        if (axis.fCount == 1) continue;
        if (axis.fStride < reach) return true;
        reach += axis.fStride * (axis.fCount - 1);
    }
    return false;
}

/// Replaces strides of 0 by those of a picture without gaps.
template <class tRecord>
sLayout WithStrides(sLayout pLayout, const tRecord& pRecord)
{
    CheckStride(pRecord.channel_stride);
    CheckStride(pRecord.pixel_stride);
    CheckStride(pRecord.row_stride);
    pLayout.fChannel = pRecord.channel_stride != 0 ? pRecord.channel_stride : pLayout.fSampleBytes;
    pLayout.fPixel =
        pRecord.pixel_stride != 0 ? pRecord.pixel_stride : ptrdiff_t{pLayout.fSampleBytes} * pLayout.fChannels;
    pLayout.fRow = pRecord.row_stride != 0 ? pRecord.row_stride : pLayout.fPixel * pLayout.fWidth;
    CheckStride(pLayout.fRow); // a row of wide pixels can be too long, too
    Require(!Overlaps(pLayout), "the strides make samples overlap");
    return pLayout;
}

template <class tRecord>
sLayout Common(const tRecord& pRecord)
{
    CheckSize(pRecord.width, pRecord.height);
    Require(pRecord.order == SELVANE_RGB || pRecord.order == SELVANE_BGR, "order is neither RGB nor BGR");
    return {.fWidth = pRecord.width,
            .fHeight = pRecord.height,
            .fFormat = pRecord.format,
            .fChannels = pRecord.channels == 0 ? 3 : pRecord.channels,
            .fSampleBytes = SampleBytes(pRecord.format),
            .fBlueFirst = pRecord.order == SELVANE_BGR,
            .fRow = 0,
            .fPixel = 0,
            .fChannel = 0};
}

/// Exponents are a fourth channel of a byte. A row of planes has its channels a width apart.
sLayout ExponentLayout(sLayout pLayout, const selvane_picture& pPicture)
{
    Require(pLayout.fChannels == 3, "a picture with exponents has no alpha");
    Require(pPicture.channel_stride == 0, "a picture with exponents has no channel_stride");
    pLayout.fChannels = 4;
    if (pPicture.format == SELVANE_RGBE) return WithStrides(pLayout, pPicture);
    Require(pPicture.pixel_stride == 0, "rows of exponent planes have no pixel_stride");
    CheckStride(pPicture.row_stride);
    pLayout.fChannel = pLayout.fWidth;
    pLayout.fPixel = 1;
    pLayout.fRow = pPicture.row_stride != 0 ? pPicture.row_stride : ptrdiff_t{4} * pLayout.fWidth;
    Require(!Overlaps(pLayout), "the strides make samples overlap");
    return pLayout;
}

} // namespace

void CheckStride(ptrdiff_t pStride)
{
    Require(pStride >= -kMostStride && pStride <= kMostStride, "a stride is beyond 2^40 bytes");
}

sLayout LayoutOf(const selvane_picture& pPicture)
{
    const sLayout layout = Common(pPicture);
    Require(pPicture.format >= SELVANE_U8 && pPicture.format <= SELVANE_RGBE_PLANES, "format is unknown");
    if (IsExponentForm(pPicture.format)) return ExponentLayout(layout, pPicture);
    Require(layout.fChannels == 3 || layout.fChannels == 4, "channels is neither 3 nor 4");
    return WithStrides(layout, pPicture);
}

sLayout LayoutOf(const selvane_target& pTarget)
{
    const sLayout layout = Common(pTarget);
    Require(pTarget.format >= SELVANE_U8 && pTarget.format <= SELVANE_F32, "format is none of a target");
    Require(layout.fChannels == 3 || layout.fChannels == 4, "channels is neither 3 nor 4");
    return WithStrides(layout, pTarget);
}

} // namespace SelvaneLib
