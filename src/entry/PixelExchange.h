#ifndef SELVANE_ENTRY_PIXEL_EXCHANGE_H
#define SELVANE_ENTRY_PIXEL_EXCHANGE_H

// From the host's buffer to linear floats and from the finished picture to the host's buffer, internal. The buffers are
// not checked: the host vouches for their sizes.

#include "entry/vorniklib3.h"

namespace Vornik
{

class cBitmapBGR16;
class cBitmapBGR8;
class cBitmapXYZ32;

/// Linear value of each code of 8-bit (256 entries) or 16-bit (65536 entries) input: (code / 2^bits)^gamma, in (0, 1).
/// The block comes from calloc and is the caller's. Throws std::bad_alloc.
float* NewDecodeTable(int pInputDepth, double pGamma);

/// Fills pLinear, of the picture's size, with red, green, blue from samples of pImage.inputDepth 8 or 16 bits.
void ReadSamples(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                 cBitmapXYZ32& pLinear);

/// Fills pLinear with red, green, blue from planes of mantissas and shared exponents.
void ReadExponentPlanes(const sTmImageDesc& pImage, const unsigned char* pInput, cBitmapXYZ32& pLinear);

/// Copies the finished picture, blue first, into the host's buffer in the order that pImage asks for. Clears the
/// picture's padding before.
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR8& pPicture, unsigned char* pOutput);
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR16& pPicture, unsigned char* pOutput);

} // namespace Vornik

#endif
