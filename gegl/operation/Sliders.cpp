#include "Sliders.h"

#include <algorithm>

namespace SelvaneGegl
{

namespace
{

struct sSlider
{
    double sSliders::*fFrom;
    float selvane_settings::*fTo;
    float fLeast; ///< of settings that stand as they are; offsets go down to -fMost
    float fMost;
};

constexpr sSlider kSliders[] = {
    {&sSliders::fCompression, &selvane_settings::compression, -100.0f, 100.0f},
    {&sSliders::fSmoothness, &selvane_settings::smoothness, -10.0f, 10.0f},
    {&sSliders::fRadius, &selvane_settings::radius, -10.0f, 10.0f},
    {&sSliders::fAdaptation, &selvane_settings::adaptation, 0.0f, 100.0f},
    {&sSliders::fWhiteClip, &selvane_settings::white_clip, 0.0f, 100.0f},
    {&sSliders::fBlackClip, &selvane_settings::black_clip, 0.0f, 100.0f},
    {&sSliders::fExposure, &selvane_settings::exposure, -20.0f, 20.0f},
    {&sSliders::fContrast, &selvane_settings::contrast, -100.0f, 100.0f},
    {&sSliders::fSaturation, &selvane_settings::saturation, -100.0f, 100.0f},
};

/// @param pReach value of a key that moves a point from the neutral 0.5 to 1
void SetCurve(const tHueKeys& pKeys, double pReach, selvane_curve& pCurve)
{
    if (std::all_of(pKeys.begin(), pKeys.end(), [](double pKey) { return pKey == 0.0; })) return;
    pCurve.count = static_cast<int32_t>(pKeys.size());
    for (size_t i = 0; i < pKeys.size(); i++) {
        const double hue = static_cast<double>(i) / static_cast<double>(pKeys.size());
        pCurve.points[i] = {static_cast<float>(hue), static_cast<float>(0.5 + 0.5 * pKeys[i] / pReach)};
    }
}

} // namespace

void AddSliders(const sSliders& pSliders, selvane_settings& pSettings)
{
    for (const sSlider& slider : kSliders) {
        const float least = pSettings.automatic != 0 ? -slider.fMost : slider.fLeast;
        float& setting = pSettings.*slider.fTo;
        setting = std::clamp(setting + static_cast<float>(pSliders.*slider.fFrom), least, slider.fMost);
    }
    SetCurve(pSliders.fHueShift, 180.0, pSettings.hue);
    SetCurve(pSliders.fHueSaturation, 100.0, pSettings.hue_saturation);
    SetCurve(pSliders.fHueLightness, 100.0, pSettings.hue_lightness);
}

} // namespace SelvaneGegl
