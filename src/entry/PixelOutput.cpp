#include "entry/PixelExchange.h"

#include "bitmap/FlatBlock.h"
#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"

#include <algorithm>
#include <cstring>

namespace Vornik
{

namespace
{

/// The samples of a finished picture: blue, green, red, including the padding and the padded rows.
template <class tSample>
struct sBlock
{
    tSample* fSamples;
    int64_t fRowSamples; ///< samples from row to row
    int64_t fCount;      ///< samples of the whole block

    template <class tBitmap>
    explicit sBlock(tBitmap& pPicture)
        : fSamples(pPicture.fData), fRowSamples(pPicture.fStride / static_cast<int>(sizeof(tSample))),
          fCount(PadTo4(pPicture.fHeight) * fRowSamples)
    {
    }
};

/// Writes zeros behind the pixels of each row and into the padded rows. Some layouts copy these samples to the host,
/// and the former content of the heap must not reach it.
template <class tSample>
void ClearPadding(const sTmImageDesc& pImage, const sBlock<tSample>& pBlock)
{
    const int64_t used = int64_t{3} * pImage.width;
    for (int64_t y = 0; y < pImage.height; y++)
        std::fill_n(pBlock.fSamples + y * pBlock.fRowSamples + used, pBlock.fRowSamples - used, tSample{0});
    const int64_t rows = pImage.height * pBlock.fRowSamples;
    std::fill_n(pBlock.fSamples + rows, pBlock.fCount - rows, tSample{0});
}

/// Copies pBytes bytes from sample pFirst on, but only those inside the block.
template <class tSample>
void CopyInside(const sBlock<tSample>& pBlock, int64_t pFirst, int64_t pBytes, unsigned char* pOutput)
{
    const int64_t inside = std::min(pBytes, (pBlock.fCount - pFirst) * static_cast<int64_t>(sizeof(tSample)));
    if (inside > 0) std::memcpy(pOutput, pBlock.fSamples + pFirst, static_cast<size_t>(inside));
}

/// Copies the picture for a host that wants blue first, row by row, or in one piece if there is no padding to skip.
template <class tSample>
void CopyRows(const sTmImageDesc& pImage, const sBlock<tSample>& pBlock, unsigned char* pOutput)
{
    const int64_t pixelBytes = static_cast<int64_t>(pImage.outputDepth) * pImage.samplesPerPixel / 8;
    const int64_t rowBytes = static_cast<int64_t>(pImage.outputDepth) * pImage.outputRowSamples / 8;
    const int64_t strideBytes = pBlock.fRowSamples * static_cast<int64_t>(sizeof(tSample));
    if (strideBytes <= pixelBytes * pImage.width) {
        CopyInside(pBlock, 0, pImage.height * rowBytes, pOutput);
        return;
    }
    for (int y = 0; y < pImage.height; y++)
        CopyInside(pBlock, y * pBlock.fRowSamples, rowBytes, pOutput + y * rowBytes);
}

/// Copies a row, sample by sample, for a host that wants red first. Required: source and target both move by the host's
/// step, although the picture always has three samples per pixel. If the source is outside the block, the host's sample
/// stays unchanged.
template <class tSample>
void SwapRow(const sTmImageDesc& pImage, const sBlock<tSample>& pBlock, int64_t pFirst, unsigned char* pOutput)
{
    const int64_t last = static_cast<int64_t>(pImage.samplesPerPixel) - 1;
    const int64_t green = SampleOffsetsOf(pImage).fGreen;
    const auto take = [&](int64_t pTarget, int64_t pSource) {
        const int64_t source = pFirst + pSource;
        if (source >= 0 && source < pBlock.fCount)
            std::memcpy(pOutput + pTarget * static_cast<int64_t>(sizeof(tSample)), pBlock.fSamples + source,
                        sizeof(tSample));
    };
    for (int x = 0; x < pImage.width; x++) {
        const int64_t n = static_cast<int64_t>(x) * pImage.samplesPerPixel;
        take(n, n + last);
        take(n + green, n + green);
        take(n + last, n);
    }
}

template <class tSample>
void WriteBlock(const sTmImageDesc& pImage, const sBlock<tSample>& pBlock, unsigned char* pOutput)
{
    ClearPadding(pImage, pBlock);
    if (pImage.bgrOrder != 0) {
        CopyRows(pImage, pBlock, pOutput);
        return;
    }
    const int64_t rowBytes = static_cast<int64_t>(pImage.outputRowSamples) * static_cast<int64_t>(sizeof(tSample));
    for (int y = 0; y < pImage.height; y++)
        SwapRow(pImage, pBlock, y * pBlock.fRowSamples, pOutput + y * rowBytes);
}

} // namespace

std::optional<sSampleRows> HostRows(const sTmImageDesc& pImage, unsigned char* pOutput)
{
    const bool redFirst = pImage.bgrOrder == 0;
    const bool withoutGap = pImage.outputRowSamples == int64_t{3} * pImage.width;
    if (pImage.samplesPerPixel != 3 || !(redFirst || withoutGap)) return std::nullopt;
    return sSampleRows{.fFirst = pOutput,
                       .fRowBytes = static_cast<ptrdiff_t>(pImage.outputRowSamples) * (pImage.outputDepth / 8),
                       .fBits = pImage.outputDepth,
                       .fRedFirst = redFirst};
}

sSampleRows PictureRows(cBitmapBGR8& pPicture)
{
    return {.fFirst = pPicture.fData, .fRowBytes = pPicture.fStride, .fBits = 8, .fRedFirst = false};
}

sSampleRows PictureRows(cBitmapBGR16& pPicture)
{
    return {.fFirst = reinterpret_cast<unsigned char*>(pPicture.fData),
            .fRowBytes = pPicture.fStride,
            .fBits = 16,
            .fRedFirst = false};
}

void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR8& pPicture, unsigned char* pOutput)
{
    WriteBlock(pImage, sBlock<uint8_t>(pPicture), pOutput);
}

void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR16& pPicture, unsigned char* pOutput)
{
    WriteBlock(pImage, sBlock<uint16_t>(pPicture), pOutput);
}

} // namespace Vornik
