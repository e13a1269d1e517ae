#ifndef SELVANE_ENTRY_PIXEL_EXCHANGE_H
#define SELVANE_ENTRY_PIXEL_EXCHANGE_H

// From the host's buffer to linear XYZ (PixelInput.cpp) and from samples to the host's buffer (PixelOutput.cpp),
// internal. The buffers are not checked: the host vouches for their sizes.

#include "color/cMatrix.h"
#include "entry/vorniklib3.h"
#include "render/RenderOnce.h"

#include <cstdint>
#include <optional>

namespace Vornik
{

class cBitmapBGR16;
class cBitmapBGR8;
class cBitmapXYZ32;

/// Offsets of the three samples within a pixel of the host.
struct sSampleOffsets
{
    int64_t fRed;
    int64_t fGreen;
    int64_t fBlue;
};

sSampleOffsets SampleOffsetsOf(const sTmImageDesc& pImage);

/// Returns the linear value of each input code, (code / 2^bits)^gamma, in [0, 1). The table has 256 entries for 8 bits
/// and 65536 entries for 16 bits. It comes from calloc, and the caller owns it. Throws std::bad_alloc.
float* NewDecodeTable(int pInputDepth, double pGamma);

/// Fills pXYZ, which has the picture's size, from samples of 8 or 16 bits (pImage.inputDepth): the table makes them
/// linear, pMatrix takes red, green, blue to XYZ.
void ReadSamples(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                 const cMatrix33& pMatrix, cBitmapXYZ32& pXYZ);

/// The same from planes of mantissas and shared exponents.
void ReadExponentPlanes(const sTmImageDesc& pImage, const unsigned char* pInput, const cMatrix33& pMatrix,
                        cBitmapXYZ32& pXYZ);

/// The host's rows, if finished samples can go there at once: three samples a pixel, and either red first or rows
/// without a gap. Every other layout takes its samples from a picture, by WriteSamples.
std::optional<sSampleRows> HostRows(const sTmImageDesc& pImage, unsigned char* pOutput);

/// The rows of a picture, blue first.
sSampleRows PictureRows(cBitmapBGR8& pPicture);
sSampleRows PictureRows(cBitmapBGR16& pPicture);

/// Clears the padding of the finished picture and copies the picture, which is blue first, into the host's buffer.
/// pImage.bgrOrder selects the order in the buffer.
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR8& pPicture, unsigned char* pOutput);
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR16& pPicture, unsigned char* pOutput);

} // namespace Vornik

#endif
