#ifndef SELVANE_LIB_SUGGEST_SUGGEST_H
#define SELVANE_LIB_SUGGEST_SUGGEST_H

#include <functional>
#include <string>
#include <vector>

namespace SelvaneLib
{

/// The settings that a suggestion decides, as in selvane_settings.
struct sLook
{
    float fCompression = 0;
    float fSmoothness = 0;
    float fAdaptation = 0;
    float fWhiteClip = 0;
    float fBlackClip = 0;
    float fRadius = 0;
    float fExposure = 0;
    float fContrast = 0;
    float fSaturation = 0;
};

struct sScene
{
    const float* fXYZ;
    const float* fWeight; ///< one per pixel, or null
    int fWidth;
    int fHeight;
    const float* fPercentiles; ///< log10 luminance of the full picture at 0.1, 1, 25, 50, 75, 99, 99.75 per cent
    float fLogMean;
};

using tRenderPreview = std::function<bool(const sLook&, unsigned char* pRGB8)>;

struct sReason
{
    std::string fRule;
    std::string fSentence;
    double fValue;
};

struct sSuggestion
{
    sLook fLook;
    std::vector<sReason> fReasons;
};

sSuggestion Suggest(const sScene& pScene, const tRenderPreview& pRender);

} // namespace SelvaneLib

#endif
