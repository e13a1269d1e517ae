#include "entry/PixelExchange.h"

#include "bitmap/FlatBlock.h"
#include "bitmap/cBitmapBGR16.h"
#include "bitmap/cBitmapBGR8.h"
#include "bitmap/cBitmapXYZ32.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

namespace Vornik
{

namespace
{

constexpr int kExponents = 256;
constexpr int kExponentBias = 136; // a channel is mantissa * 2^(exponent - 136)

/// Offsets of the three samples within a pixel of the host.
struct sSampleOffsets
{
    int64_t fRed;
    int64_t fGreen;
    int64_t fBlue;
};

sSampleOffsets OffsetsOf(const sTmImageDesc& pImage)
{
    const int64_t last = static_cast<int64_t>(pImage.samplesPerPixel) - 1;
    const bool blueFirst = pImage.bgrOrder != 0;
    return {.fRed = blueFirst ? last : 0, .fGreen = last >> 1, .fBlue = blueFirst ? 0 : last};
}

/// Reads a sample of the host, which may be at any address.
template <class tSample>
tSample Load(const unsigned char* pBase, int64_t pIndex)
{
    tSample sample;
    std::memcpy(&sample, pBase + pIndex * static_cast<int64_t>(sizeof(tSample)), sizeof sample);
    return sample;
}

float* RowOf(cBitmapXYZ32& pLinear, int pRow)
{
    return pLinear.fData + static_cast<int64_t>(pRow) * (pLinear.fStride / static_cast<int>(sizeof(float)));
}

// Required: the row advance is width * step + inputRowSamples - 3 * width samples. It is the true row length,
// inputRowSamples, for a step of 3 only.
template <class tSample>
void ReadInterleaved(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                     cBitmapXYZ32& pLinear)
{
    const sSampleOffsets offsets = OffsetsOf(pImage);
    const int64_t step = pImage.samplesPerPixel;
    const int64_t rowAdvance = pImage.width * step + pImage.inputRowSamples - 3 * static_cast<int64_t>(pImage.width);
    for (int y = 0; y < pImage.height; y++) {
        int64_t sample = y * rowAdvance;
        float* pixel = RowOf(pLinear, y);
        for (int x = 0; x < pImage.width; x++, sample += step, pixel += 3) {
            pixel[0] = pDecodeTable[Load<tSample>(pInput, sample + offsets.fRed)];
            pixel[1] = pDecodeTable[Load<tSample>(pInput, sample + offsets.fGreen)];
            pixel[2] = pDecodeTable[Load<tSample>(pInput, sample + offsets.fBlue)];
        }
    }
}

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
    const int64_t green = OffsetsOf(pImage).fGreen;
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

// Required: the scale is the reciprocal of the number of codes, so the largest code stays below 1.
float* NewDecodeTable(int pInputDepth, double pGamma)
{
    const int codes = pInputDepth == 8 ? 256 : 65536;
    auto* table = static_cast<float*>(std::calloc(static_cast<size_t>(codes), sizeof(float)));
    if (table == nullptr) throw std::bad_alloc();
    const double scale = 1.0 / codes;
    for (int code = 0; code < codes; code++)
        table[code] = std::min(static_cast<float>(std::pow(code * scale, pGamma)), 1.0f);
    return table;
}

void ReadSamples(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                 cBitmapXYZ32& pLinear)
{
    if (pImage.inputDepth == 8)
        ReadInterleaved<uint8_t>(pImage, pInput, pDecodeTable, pLinear);
    else
        ReadInterleaved<uint16_t>(pImage, pInput, pDecodeTable, pLinear);
}

void ReadExponentPlanes(const sTmImageDesc& pImage, const unsigned char* pInput, cBitmapXYZ32& pLinear)
{
    float scales[kExponents];
    for (int e = 0; e < kExponents; e++)
        scales[e] = static_cast<float>(std::ldexp(1.0, e - kExponentBias));
    const int64_t width = pImage.width;
    for (int y = 0; y < pImage.height; y++) {
        const unsigned char* red = pInput + int64_t{4} * y * width;
        float* pixel = RowOf(pLinear, y);
        for (int64_t x = 0; x < width; x++, pixel += 3) {
            const unsigned char exponent = red[3 * width + x];
            const float scale = exponent == 0 ? 0.0f : scales[exponent];
            pixel[0] = static_cast<float>(red[x]) * scale;
            pixel[1] = static_cast<float>(red[width + x]) * scale;
            pixel[2] = static_cast<float>(red[2 * width + x]) * scale;
        }
    }
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
