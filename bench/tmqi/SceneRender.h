#ifndef SELVANE_BENCH_TMQI_SCENERENDER_H
#define SELVANE_BENCH_TMQI_SCENERENDER_H

// Scenes of floats, and the engine's renderer behind the settings of a look.

#include "suggest/Suggest.h"

#include <string>
#include <vector>

namespace SelvaneTmqi
{

using tRGB8 = std::vector<unsigned char>; ///< three bytes a pixel, red first

/// A scene in memory.
struct sPicture
{
    int fWidth = 0;          ///< pixels
    int fHeight = 0;         ///< pixels
    std::vector<float> fXYZ; ///< three floats a pixel, D50, white at 1
};

/// From linear sRGB, three floats a pixel.
sPicture FromSRGB(int pWidth, int pHeight, const std::vector<float>& pRGB);

/// Means over areas, so that the longer side has pMost pixels; the picture itself if it has no more.
sPicture Reduced(const sPicture& pPicture, int pMost);

SelvaneLib::sLevels LevelsOf(const sPicture& pPicture);

/// The scene of a reduced picture, which it borrows, with the levels of the full one.
SelvaneLib::sScene SceneOf(const sPicture& pFull, const sPicture& pReduced);

/// Renders a picture. Sliders become the renderer's parameters as in the entry; a look with an exposure is rendered
/// twice, the first time to measure its points.
tRGB8 Render(const sPicture& pPicture, const SelvaneLib::sLook& pLook);

/// What is suggested for a picture, by previews of pMost pixels on the longer side.
SelvaneLib::sSuggestion SuggestFor(const sPicture& pPicture, int pMost);

} // namespace SelvaneTmqi

#endif
