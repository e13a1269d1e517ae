#ifndef SELVANE_LIB_SUGGEST_SUGGEST_H
#define SELVANE_LIB_SUGGEST_SUGGEST_H

// Chooses the settings that a photographer would choose for a scene. docs/suggest.md tells the rule.

#include "suggest/Levels.h"

#include <functional>
#include <string>
#include <vector>

namespace SelvaneLib
{

/// The settings of a render.
struct sLook
{
    float compression = 30.0f; ///< slider, -100 to 100
    float smoothness = 0.0f;   ///< slider, -10 to 10
    float adaptation = 0.0f;   ///< slider, 0 to 100
    float white_clip = 12.0f;  ///< slider, 0 to 100
    float black_clip = 0.4f;   ///< slider, per cent
    float radius = 0.0f;       ///< slider, -10 to 10
    float exposure = 0.0f;     ///< stops on top of the automatic exposure: white - black is divided by 2 to its power
    float contrast = 20.0f;    ///< contrast key of the renderer, -100 to 100; the sliders alone use 20
    float saturation = 0.0f;   ///< per cent more colour; 0 leaves it
    float black_point = 0.0f;  ///< new luminance that becomes black, of given points
    float white_point = 0.0f;  ///< above black_point: points are given, else they are measured by the clips
};

/// A scene: a reduced picture and the levels of the full one.
struct sScene
{
    const float* fXYZ = nullptr;    ///< interleaved X, Y, Z (D50, white at 1), row by row; means over areas of the full
                                    ///< picture, at most 512 pixels on the longer side. Borrowed
    const float* fWeight = nullptr; ///< one a pixel; a pixel of weight 0 does not count. Null: all count. Borrowed
    int fWidth = 0;                 ///< pixels
    int fHeight = 0;                ///< pixels
    sLevels fLevels;                ///< of the full picture, without pixels of weight 0
    bool fIsFlat = false;           ///< the pixels of the full picture that count have one luminance
};

/// Renders the scene's reduced picture into width * height * 3 bytes of sRGB, red first, row by row. Returns false to
/// make Suggest return at once.
using tRenderPreview = std::function<bool(const sLook& pLook, unsigned char* pRGB8)>;

/// A part of the rule that had a say.
///
///     fRule               fValue
///     "no-light"          1: no pixel counts or no luminance is above 0; the look is the default one
///     "flat"              1: one luminance; the look is the default one, since a flat picture keeps its grey
///     "one-tone"          decades between the levels: so few that the picture keeps its own contrast
///     "stopped"           previews until the callback returned false; the look is the best of those
///     "low-key"           0 to 1: most of the scene lies near its darkest parts
///     "violet-shadows"    0 to 1: the darkest tenth is violet, as the noise of a sensor is
///     "high-key"          0 to 1: most of the scene lies near its brightest parts, or nothing is dark
///     "ordinary"          1: nothing of the above
///     "held-back"         stops by which the exposure lies below the automatic one
///     "lifted"            stops by which it lies above
///     "brightness"        mean grey level of the preview, 0 to 255
///     "contrast"          local contrast of the preview, grey levels
///     "burnt"             per cent of burnt pixels in the preview
///     "texture"           decades: local contrast of the scene
///     "previews"          how many were looked at
struct sReason
{
    std::string fRule;
    std::string fSentence; ///< English, short
    double fValue = 0.0;
};

struct sSuggestion
{
    sLook fLook;
    std::vector<sReason> fReasons;
};

/// Looks at a few previews, at most 13, and returns the look of the best. The same scene and the same previews give the
/// same look. Never throws of itself; what pRender throws passes through.
sSuggestion Suggest(const sScene& pScene, const tRenderPreview& pRender);

} // namespace SelvaneLib

#endif
