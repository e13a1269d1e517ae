#include "suggest/LookSettings.h"

#include <algorithm>

namespace SelvaneLib
{

selvane_settings SettingsOf(const sLook& pLook)
{
    selvane_settings settings{};
    settings.struct_size = sizeof settings;
    settings.compression = pLook.compression;
    settings.smoothness = pLook.smoothness;
    settings.adaptation = pLook.adaptation;
    settings.white_clip = pLook.white_clip;
    settings.black_clip = pLook.black_clip;
    settings.radius = pLook.radius;
    settings.exposure = pLook.exposure;
    settings.contrast = std::clamp(pLook.contrast - kEngineContrast, -100.0f, 100.0f);
    settings.saturation = pLook.saturation;
    if (pLook.white_point > pLook.black_point) {
        settings.points = SELVANE_POINTS_GIVEN;
        settings.black_point = pLook.black_point;
        settings.white_point = pLook.white_point;
    }
    return settings;
}

} // namespace SelvaneLib
