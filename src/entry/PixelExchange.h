#ifndef SELVANE_ENTRY_PIXEL_EXCHANGE_H
#define SELVANE_ENTRY_PIXEL_EXCHANGE_H

// Reads the host's buffer into linear floats and writes the finished picture to the host's buffer, internal. The sizes
// of the buffers are not checked; the host answers for them.

#include "entry/vorniklib3.h"

namespace Vornik
{

class cBitmapBGR16;
class cBitmapBGR8;
class cBitmapXYZ32;

/// Returns the linear value of each input code, (code / 2^bits)^gamma, in [0, 1). The table has 256 entries for 8 bits
/// and 65536 entries for 16 bits. It comes from calloc, and the caller owns it. Throws std::bad_alloc.
float* NewDecodeTable(int pInputDepth, double pGamma);

/// Fills pLinear, which has the picture's size, with red, green, blue from samples of 8 or 16 bits (pImage.inputDepth).
void ReadSamples(const sTmImageDesc& pImage, const unsigned char* pInput, const float* pDecodeTable,
                 cBitmapXYZ32& pLinear);

/// Fills pLinear with red, green, blue from planes of mantissas and shared exponents.
void ReadExponentPlanes(const sTmImageDesc& pImage, const unsigned char* pInput, cBitmapXYZ32& pLinear);

/// Clears the padding of the finished picture and copies the picture, which is blue first, into the host's buffer.
/// pImage.bgrOrder selects the order in the buffer.
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR8& pPicture, unsigned char* pOutput);
void WriteSamples(const sTmImageDesc& pImage, cBitmapBGR16& pPicture, unsigned char* pOutput);

} // namespace Vornik

#endif
