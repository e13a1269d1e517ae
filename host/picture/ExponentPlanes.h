#ifndef SELVANE_HOST_PICTURE_EXPONENT_PLANES_H
#define SELVANE_HOST_PICTURE_EXPONENT_PLANES_H

// Conversion of floats to mantissas with a shared exponent, one of the sample forms of the library's entry.

namespace SelvaneHost
{

/// A pixel of three mantissas and one exponent. A channel is mantissa * 2^(exponent - 136). Exponent 0 is black.
struct sExponentPixel
{
    unsigned char fRed;
    unsigned char fGreen;
    unsigned char fBlue;
    unsigned char fExponent;
};

/// Returns the nearest exponent pixel. The largest channel gets a mantissa of 128 to 255. All mantissas are rounded to
/// nearest, halves up, because the decoder adds no half. If a mantissa rounds to 256, the exponent rises by 1 and all
/// three are rounded again from their values.
///
///   negative, NaN                         0
///   above 255 * 2^119, infinity           255 * 2^119
///   exponent below 1 (all below 2^-128)   a black pixel
sExponentPixel ToExponentPixel(float pRed, float pGreen, float pBlue);

/// Converts one row to planes.
/// @param pRed,pGreen,pBlue the first samples of the row; pStep floats lie from one pixel to the next
/// @param pRow              4 * pWidth bytes: red mantissas, green, blue, exponents
void ToExponentRow(const float* pRed, const float* pGreen, const float* pBlue, int pStep, int pWidth,
                   unsigned char* pRow);

} // namespace SelvaneHost

#endif
