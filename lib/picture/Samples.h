#ifndef SELVANE_LIB_PICTURE_SAMPLES_H
#define SELVANE_LIB_PICTURE_SAMPLES_H

// From the samples of the caller to linear floats.

#include "picture/Layout.h"
#include "write/Space.h"

#include <cstdint>
#include <vector>

namespace SelvaneLib
{

/// What floats, halves and exponents hold beside ordinary numbers.
struct sOddSamples
{
    int64_t fNaN = 0;
    int64_t fNegative = 0;
    int64_t fInfinite = 0; ///< also finite ones beyond kMostSample
    float fLargest = 0;    ///< the largest ordinary sample

    void Count(float pSample);
    void Add(const sOddSamples& pOther);
};

constexpr float kMostSample = 1e30f;

/// Counts the odd samples of the pixels of a row that count. Not for integers.
sOddSamples CountOddSamples(const unsigned char* pRow, const sLayout& pLayout);

/// Whether a pixel of floats, halves or exponents counts. Exponents have no alpha.
bool IsVisible(const unsigned char* pPixel, const sLayout& pLayout);

class cSampleReader
{
public:
    /// @param pInstead stands for infinite samples
    cSampleReader(const selvane_picture& pPicture, const sLayout& pLayout, float pInstead);

    /// Stores red, green, blue of pCount pixels from pFirst on, linear.
    void Read(const unsigned char* pRow, int pFirst, int pCount, float* pLinear) const;

private:
    template <class tSample>
    void LookUp(const unsigned char* pPixel, int pCount, float* pLinear) const;
    void ReadFloats(const unsigned char* pPixel, int pCount, float* pLinear) const;
    void ReadExponents(const unsigned char* pPixel, int pCount, float* pLinear) const;
    float Ordinary(float pSample) const;

    sLayout fLayout;
    sCurve fCurve;
    float fInstead;
    std::vector<float> fTable; ///< linear value by code; factor by exponent
};

/// The curve of a picture's samples. Not for SELVANE_TRANSFER_ENGINE.
sCurve CurveOfSamples(const selvane_picture& pPicture);

/// Whether the samples are integers.
inline bool IsOfIntegers(int pFormat)
{
    return pFormat == SELVANE_U8 || pFormat == SELVANE_U16;
}

} // namespace SelvaneLib

#endif
