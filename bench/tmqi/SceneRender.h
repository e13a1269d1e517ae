#ifndef SELVANE_BENCH_TMQI_SCENERENDER_H
#define SELVANE_BENCH_TMQI_SCENERENDER_H

// Scenes of floats, and libselvane's pictures of them.

#include "suggest/Suggest.h"

#include "selvane.hpp"

#include <vector>

namespace SelvaneTmqi
{

using tRGB8 = std::vector<unsigned char>; ///< three bytes a pixel, red first

/// A scene in memory.
struct sPicture
{
    int fWidth = 0;          ///< pixels
    int fHeight = 0;         ///< pixels
    std::vector<float> fRGB; ///< linear sRGB, three floats a pixel
};

/// Relative luminance of a linear sRGB color.
double LuminanceOf(const float* pRGB);

/// Means over areas, so that the longer side has pMost pixels; the picture itself if it has no more.
sPicture Reduced(const sPicture& pPicture, int pMost);

/// Hands a picture to a tone mapper, whose settings stay.
void SetPicture(Selvane::cToneMapper& pMapper, const sPicture& pPicture);

/// Renders the tone mapper's picture.
tRGB8 Render(Selvane::cToneMapper& pMapper, const selvane_settings& pSettings);

/// A picture as the suggestion sees it, by its parts: what Suggest asks is rendered by a tone mapper.
class cSeen
{
public:
    /// @param pMost pixels of the longer side of what is looked at
    cSeen(const sPicture& pPicture, int pMost);

    const SelvaneLib::sScene& Scene() const { return fScene; }
    tRGB8 Render(const SelvaneLib::sLook& pLook);
    SelvaneLib::sSuggestion Suggest();

private:
    sPicture fPicture; ///< reduced
    std::vector<float> fXYZ;
    SelvaneLib::sScene fScene;
    Selvane::cToneMapper fMapper;
};

} // namespace SelvaneTmqi

#endif
