#ifndef SELVANE_LIB_SUGGEST_QUALITY_H
#define SELVANE_LIB_SUGGEST_QUALITY_H

// How good a display picture of a scene looks, in numbers.
//
// H. Yeganeh and Z. Wang, "Objective Quality Assessment of Tone-Mapped Images", IEEE Transactions on Image Processing
// 22 (2013). The mean of the grey levels of some 3000 photographs is spread as a normal distribution, their local
// contrast as a beta distribution. Structure that the eye sees in the scene should be seen in the picture.

namespace SelvaneLib
{

/// Light and contrast of a plane of values.
struct sLight
{
    double fMean = 0.0;     ///< mean value
    double fContrast = 0.0; ///< mean over blocks of 11 x 11 pixels of the standard deviation inside the block
    double fVisible = 0.0;  ///< how much of the blocks' structure can be seen, 0 to 1: mean of 2 v / (1 + v^2), where v
                            ///< is the visibility of a block's standard deviation
};

/// Chance that a contrast is seen: a normal distribution about the threshold that the eye has at a spatial frequency
/// (contrast sensitivity by Mannos and Sakrison, 1974), a third of it wide.
class cVisibility
{
public:
    /// @param pFrequency cycles per degree
    explicit cVisibility(double pFrequency);
    /// @param pDeviation standard deviation, grey levels
    double operator()(double pDeviation) const;

private:
    double fThreshold; ///< grey levels
};

constexpr double kFineFrequency = 16.0; ///< of full-size pixels, cycles per degree

/// Measures a plane. Blocks begin at the upper left corner; those at the right and the lower edge may be narrower.
/// @param pValues    pWidth x pHeight values, row by row
/// @param pWeight    one a pixel; pixels of weight 0 count as if they were not there. Null: all count
/// @param pFrequency of the pixels, cycles per degree
sLight MeasureLight(const float* pValues, const float* pWeight, int pWidth, int pHeight, double pFrequency);

/// 0 for a picture unlike any photograph, 1 for the most common light and contrast.
/// @param pMean     mean grey level, 0 to 255
/// @param pContrast as sLight::fContrast, grey levels
double Naturalness(double pMean, double pContrast);

constexpr double kCommonMean = 115.94;       ///< most common mean grey level of photographs
constexpr double kMostContrast = 64.29;      ///< local contrast of which the beta distribution takes shares
constexpr double kCommonContrast = 17.48688; ///< most common local contrast: 3.4 / 12.5 of kMostContrast

/// Quality in one number, from structural fidelity and naturalness, both 0 to 1.
double Quality(double pFidelity, double pNaturalness);

} // namespace SelvaneLib

#endif
