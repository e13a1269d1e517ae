#include "picture/ExponentPlanes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace SelvaneHost
{

namespace
{

constexpr double kLargest = 0x1.FEp+126; // 255 * 2^119
constexpr int kExponentBias = 128;       // exponent byte of a pixel whose largest channel is 0.5 to below 1
constexpr int kMantissaBits = 8;

/// Limits a value to 0 .. kLargest. NaN becomes 0.
double Limited(float pValue)
{
    if (!(pValue > 0.0F)) return 0.0;
    return std::min(static_cast<double>(pValue), kLargest);
}

/// Returns the mantissa of a channel. The pixel's largest channel lies from 2^(pExponent - 1) to below 2^pExponent. The
/// product is exact in double.
int Mantissa(double pValue, int pExponent)
{
    return static_cast<int>(std::floor(std::ldexp(pValue, kMantissaBits - pExponent) + 0.5));
}

} // namespace

sExponentPixel ToExponentPixel(float pRed, float pGreen, float pBlue)
{
    const double red = Limited(pRed);
    const double green = Limited(pGreen);
    const double blue = Limited(pBlue);
    const double largest = std::max({red, green, blue});
    if (largest <= 0.0) return {0, 0, 0, 0};
    int exponent = 0;
    std::frexp(largest, &exponent);
    if (Mantissa(largest, exponent) > 255) exponent++;
    if (exponent + kExponentBias < 1) return {0, 0, 0, 0};
    return {static_cast<unsigned char>(Mantissa(red, exponent)), static_cast<unsigned char>(Mantissa(green, exponent)),
            static_cast<unsigned char>(Mantissa(blue, exponent)), static_cast<unsigned char>(exponent + kExponentBias)};
}

void ToExponentRow(const float* pRed, const float* pGreen, const float* pBlue, int pStep, int pWidth,
                   unsigned char* pRow)
{
    const size_t width = static_cast<size_t>(pWidth);
    for (size_t x = 0; x < width; x++) {
        const size_t at = x * static_cast<size_t>(pStep);
        const sExponentPixel pixel = ToExponentPixel(pRed[at], pGreen[at], pBlue[at]);
        pRow[x] = pixel.fRed;
        pRow[width + x] = pixel.fGreen;
        pRow[2 * width + x] = pixel.fBlue;
        pRow[3 * width + x] = pixel.fExponent;
    }
}

} // namespace SelvaneHost
