#ifndef SELVANE_BENCH_TMQI_STRUCTURALFIDELITY_H
#define SELVANE_BENCH_TMQI_STRUCTURALFIDELITY_H

// How much of a scene's structure a display picture still shows.
//
// H. Yeganeh and Z. Wang, "Objective Quality Assessment of Tone-Mapped Images", IEEE Transactions on Image Processing
// 22 (2013). In windows of 11 x 11 pixels, on five scales, two things are compared: whether the contrast can be seen in
// the one where it can be seen in the other, and whether the values rise and fall together.

#include <vector>

namespace SelvaneTmqi
{

constexpr int kScales = 5;

/// A plane of values, row by row.
struct sPlane
{
    int fWidth = 0;
    int fHeight = 0;
    std::vector<double> fValues; ///< fWidth x fHeight
};

/// Structural fidelity by scale, from the finest to the coarsest, and all in one.
struct sFidelity
{
    double fScale[kScales] = {}; ///< 1 where the picture is too small for a window on this scale
    double fAll = 0.0;           ///< product of the scales, each by the power of its weight
};

/// A scene with all that does not depend on the display picture.
class cStructuralFidelity
{
public:
    /// @param pScene linear luminance, any unit
    explicit cStructuralFidelity(const sPlane& pScene);

    /// @param pGrey luma of the display picture, 0 to 255, of the scene's size
    sFidelity Compare(const sPlane& pGrey) const;

private:
    struct sScale
    {
        sPlane fScene;
        sPlane fMean;      ///< over the windows
        sPlane fDeviation; ///< over the windows
    };
    sScale fScales[kScales];
};

} // namespace SelvaneTmqi

#endif
