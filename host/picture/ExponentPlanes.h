#ifndef SELVANE_HOST_PICTURE_EXPONENT_PLANES_H
#define SELVANE_HOST_PICTURE_EXPONENT_PLANES_H

// From floats to the shared-exponent form that the library's entry takes.

namespace SelvaneHost
{

/// Three mantissas and their common exponent: a channel is mantissa * 2^(exponent - 136), and exponent 0 is black.
struct sExponentPixel
{
    unsigned char fRed;
    unsigned char fGreen;
    unsigned char fBlue;
    unsigned char fExponent;
};

/// The nearest exponent pixel. The largest channel takes a mantissa of 128 to 255; all three are rounded to nearest
/// (halves up), since decoding adds nothing, and a mantissa that reaches 256 raises the exponent and rounds anew.
/// Negative values and NaN count as 0, values beyond the largest, 255 * 2^119, infinity included, as that. A pixel
/// whose exponent would be below 1, all channels below 2^-128, is black.
sExponentPixel ToExponentPixel(float pRed, float pGreen, float pBlue);

/// Writes one row of planes.
/// @param pRed,pGreen,pBlue the first sample of the row, pStep floats from one pixel to the next
/// @param pRow              4 * pWidth bytes: red mantissas, green, blue, exponents
void ToExponentRow(const float* pRed, const float* pGreen, const float* pBlue, int pStep, int pWidth,
                   unsigned char* pRow);

} // namespace SelvaneHost

#endif
