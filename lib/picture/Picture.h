#ifndef SELVANE_LIB_PICTURE_PICTURE_H
#define SELVANE_LIB_PICTURE_PICTURE_H

// The picture of a handle: linear XYZ floats relative to D50, alpha as it came, and what was seen on the way.

#include "bitmap/cBitmapXYZ32.h"
#include "picture/Layout.h"
#include "pool/Run.h"
#include "suggest/Levels.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace SelvaneLib
{

/// Counts and measures of the input. Logarithms are to the base 10, of luminance raised to at least 1e-10.
struct sStatistics
{
    int64_t fVisible = 0; ///< pixels whose alpha is not 0
    int64_t fNaN = 0;     ///< samples
    int64_t fNegative = 0;
    int64_t fInfinite = 0;
    int64_t fHot = 0;    ///< pixels
    int64_t fFilled = 0; ///< dark samples around lights
    float fLogMin = 0;
    float fLogMax = 0;
    float fLogMean = 0;
    float fPercentiles[7] = {};
    sLevels fLevels;
    bool fFlat = false; ///< all visible pixels have the same luminance
};

constexpr double kPercentiles[7] = {0.1, 1, 25, 50, 75, 99, 99.75};

class cPicture
{
public:
    /// @throws std::bad_alloc, Vornik::cOutOfMemoryException
    cPicture(int pWidth, int pHeight);

    int Width() const { return fXYZ.fWidth; }
    int Height() const { return fXYZ.fHeight; }
    int64_t Pixels() const { return int64_t{Width()} * Height(); }
    float* Row(int pRow) { return fXYZ.fData + static_cast<ptrdiff_t>(pRow) * (fXYZ.fStride / 4); }
    const float* Row(int pRow) const { return fXYZ.fData + static_cast<ptrdiff_t>(pRow) * (fXYZ.fStride / 4); }

    bool HasAlpha() const { return !fAlpha.empty(); }
    /// Alpha as the picture had it, 0 to 1; 1 without alpha.
    float AlphaAt(int64_t pPixel) const;
    /// Whether a pixel counts. Alpha that is NaN or below 0 does not.
    bool IsVisible(int64_t pPixel) const { return AlphaAt(pPixel) > 0.0f; }
    const unsigned char* AlphaSample(int64_t pPixel) const { return fAlpha.data() + pPixel * fAlphaBytes; }

    Vornik::cBitmapXYZ32 fXYZ;
    std::vector<unsigned char> fAlpha; ///< samples in their own form; empty without alpha
    int fAlphaFormat = SELVANE_F32;
    int fAlphaBytes = 4;
    bool fOfIntegers = false;   ///< 8- or 16-bit samples
    bool fHasInvisible = false; ///< some pixels do not count
    sStatistics fStatistics;
};

/// Bytes of a picture.
int64_t PictureBytes(int pWidth, int pHeight, int pAlphaBytes);

/// Expected time of ReadPicture, in the unit of cRun::Begin.
constexpr double kReadWeight = 1.0;

/// Reads the caller's picture. The record has been checked.
std::unique_ptr<cPicture> ReadPicture(const selvane_picture& pPicture, const sLayout& pLayout, cRun& pRun);

/// Checks everything of a record but its layout. @throws cFailure that names the field
void CheckPicture(const selvane_picture& pPicture);

/// The size of a picture whose longer side has at most pLongest pixels; never larger than it was.
void ReducedSize(int pWidth, int pHeight, int pLongest, int& pNewWidth, int& pNewHeight);

/// A smaller picture of that size: each pixel is one of its box, picked by chance, the same at all times. It has the
/// dark and bright pixels that means lose, as often as the large picture has them.
std::unique_ptr<cPicture> Sampled(const cPicture& pPicture, int pWidth, int pHeight);

constexpr int kAllRows = 1 << 30;

/// A smaller picture of that size: each pixel is the mean of the visible pixels of its box.
/// @param pMostRows rows of a box that are read, spread evenly, unless the picture has alpha: kAllRows is exact
std::unique_ptr<cPicture> Reduced(const cPicture& pPicture, int pWidth, int pHeight, int pMostRows, cRun& pRun);

} // namespace SelvaneLib

#endif
