#ifndef SELVANE_LIB_SUGGEST_NATURALNESS_H
#define SELVANE_LIB_SUGGEST_NATURALNESS_H

// How natural a display picture looks by its light and its contrast alone.
//
// H. Yeganeh and Z. Wang, "Objective Quality Assessment of Tone-Mapped Images", IEEE Transactions on Image Processing
// 22 (2013): the mean of the grey levels of some 3000 photographs is spread as a normal distribution, their local
// contrast as a beta distribution.

namespace SelvaneLib
{

/// Light and contrast of a display picture, in grey levels from 0 to 255.
struct sLight
{
    double fMean = 0.0;     ///< mean grey level
    double fContrast = 0.0; ///< mean over blocks of 11 x 11 pixels of the standard deviation inside the block
};

/// Measures a picture. Blocks begin at the upper left corner; those at the right and the lower edge may be narrower.
/// @param pGrey   pWidth x pHeight grey levels, 0 to 255, row by row
/// @param pWeight one a pixel; pixels of weight 0 count as if they were not there. Null: all count
sLight MeasureLight(const float* pGrey, const float* pWeight, int pWidth, int pHeight);

/// 0 for a picture unlike any photograph, 1 for the most common light and contrast.
double Naturalness(const sLight& pLight);

} // namespace SelvaneLib

#endif
