#include "settings/Settings.h"

#include "api/Failure.h"
#include "settings/NumberText.h"
#include "settings/Record.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace SelvaneLib
{

namespace
{

using S = selvane_settings;

constexpr std::array<const char*, 2> kNoWords = {nullptr, nullptr};

// Luminances beyond this are replaced when a picture is read, so no point lies there.
constexpr float kMostLuminance = 1e30f;

} // namespace

// clang-format off
constinit const std::array<sSetting, kSettingCount> kSettings = {{
    //  key              member               least      most  as offset  offset              words
    {"automatic",      &S::automatic,           0.0f,     1.0f,    0.0f, eOffset::kReplaces, kNoWords,
     "add the sliders to those that suit the picture"},
    {"wrap",           &S::wrap,                0.0f,     1.0f,    0.0f, eOffset::kReplaces, kNoWords,
     "left and right edge touch, as in a panorama of 360 degrees"},
    {"compression",    &S::compression,      -100.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "strength of the global compression"},
    {"smoothness",     &S::smoothness,        -10.0f,    10.0f,  -10.0f, eOffset::kAdds,     kNoWords,
     "edge tolerance of the base layer"},
    {"radius",         &S::radius,            -10.0f,    10.0f,  -10.0f, eOffset::kAdds,     kNoWords,
     "size of what counts as detail, from wide to fine"},
    {"adaptation",     &S::adaptation,          0.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "bend of both layers around their means"},
    {"white_clip",     &S::white_clip,          0.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "pixels that become white, 100 for 5 per cent"},
    {"black_clip",     &S::black_clip,          0.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "pixels that become black, in per cent"},
    {"exposure",       &S::exposure,          -20.0f,    20.0f,  -20.0f, eOffset::kAdds,     kNoWords,
     "brightness in stops"},
    {"contrast",       &S::contrast,         -100.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "contrast of the finished picture"},
    {"saturation",     &S::saturation,       -100.0f,   100.0f, -100.0f, eOffset::kAdds,     kNoWords,
     "strength of the colours, -100 for grey"},
    {"points",         &S::points,              0.0f,     1.0f,    0.0f, eOffset::kReplaces, {"measured", "given"},
     "where black and white point come from"},
    {"black_point",    &S::black_point,         0.0f, kMostLuminance, 0.0f, eOffset::kReplaces, kNoWords,
     "luminance that becomes black, of given points"},
    {"white_point",    &S::white_point,         0.0f, kMostLuminance, 0.0f, eOffset::kReplaces, kNoWords,
     "luminance that becomes white, of given points"},
    {"hue",            &S::hue,                 0.0f,     1.0f,    0.0f, eOffset::kReplaces, kNoWords,
     "shift of hue over hue"},
    {"hue_saturation", &S::hue_saturation,      0.0f,     1.0f,    0.0f, eOffset::kReplaces, kNoWords,
     "strength of the colours over hue"},
    {"hue_lightness",  &S::hue_lightness,       0.0f,     1.0f,    0.0f, eOffset::kReplaces, kNoWords,
     "lightness over hue"},
}};
// clang-format on

namespace
{

[[noreturn]] void Refuse(const std::string& pText)
{
    throw cFailure(SELVANE_ERROR_ARGUMENT, pText);
}

/// @param pName what the value is, for example "exposure"
void CheckNumber(const std::string& pName, float pValue, float pLeast, float pMost)
{
    if (std::isnan(pValue)) Refuse(pName + " is not a number (NaN)");
    if (!(pValue >= pLeast && pValue <= pMost))
        Refuse(pName + " must lie between " + NumberText(pLeast) + " and " + NumberText(pMost) + ", and is " +
               NumberText(pValue));
}

void CheckWhole(const sSetting& pSetting, int32_t pValue)
{
    if (pValue != 0 && pValue != 1)
        Refuse(std::string(pSetting.fKey) + " must be 0 or 1, and is " + std::to_string(pValue));
}

void CheckCurve(const sSetting& pSetting, const selvane_curve& pCurve)
{
    const std::string key = pSetting.fKey;
    if (pCurve.count < 0 || pCurve.count > SELVANE_MOST_POINTS)
        Refuse(key + " must have 0 to " + std::to_string(SELVANE_MOST_POINTS) + " points, and has " +
               std::to_string(pCurve.count));
    for (int i = 0; i < pCurve.count; i++) {
        const selvane_point& point = pCurve.points[i];
        CheckNumber(key + " point " + std::to_string(i + 1) + " x", point.x, pSetting.fLeast, pSetting.fMost);
        CheckNumber(key + " point " + std::to_string(i + 1) + " y", point.y, pSetting.fLeast, pSetting.fMost);
        for (int j = 0; j < i; j++)
            if (pCurve.points[j].x == point.x) Refuse(key + " has two points at the hue " + NumberText(point.x));
    }
}

/// Adds or replaces one setting.
struct sOffsetOf
{
    const sSetting& fSetting;
    const selvane_settings& fOffsets;
    selvane_settings& fResult;

    void operator()(tNumber pMember) const
    {
        float& result = fResult.*pMember;
        const float offset = fOffsets.*pMember;
        if (fSetting.fOffset == eOffset::kAdds) result = std::clamp(result + offset, fSetting.fLeast, fSetting.fMost);
    }
    void operator()(tWhole pMember) const
    {
        if (fOffsets.*pMember != 0) fResult.*pMember = fOffsets.*pMember;
    }
    void operator()(tCurve pMember) const
    {
        if ((fOffsets.*pMember).count > 0) fResult.*pMember = fOffsets.*pMember;
    }
};

} // namespace

selvane_settings DefaultSettings()
{
    selvane_settings settings = {};
    settings.struct_size = sizeof(settings);
    settings.automatic = 1;
    return settings;
}

void CheckSetting(const sSetting& pSetting, const selvane_settings& pSettings)
{
    if (const tNumber* const number = std::get_if<tNumber>(&pSetting.fMember))
        CheckNumber(pSetting.fKey, pSettings.**number,
                    pSettings.automatic == 1 ? pSetting.fLeastOffset : pSetting.fLeast, pSetting.fMost);
    else if (const tWhole* const whole = std::get_if<tWhole>(&pSetting.fMember))
        CheckWhole(pSetting, pSettings.**whole);
    else
        CheckCurve(pSetting, pSettings.*std::get<tCurve>(pSetting.fMember));
}

void CheckPoints(const selvane_settings& pSettings)
{
    if (pSettings.points == SELVANE_POINTS_GIVEN && !(pSettings.white_point > pSettings.black_point))
        Refuse("white_point must lie above black_point");
}

void CheckSettings(const selvane_settings& pSettings)
{
    for (const sSetting& setting : kSettings)
        CheckSetting(setting, pSettings);
    CheckPoints(pSettings);
    Require(pSettings.reserved == 0, "reserved must be 0"); // a later version may give it a meaning
}

selvane_settings TakeSettings(const selvane_settings* pSettings)
{
    const selvane_settings settings = TakeRecord(pSettings, DefaultSettings(), kFirstSettingsSize);
    CheckSettings(settings);
    return settings;
}

selvane_settings WithOffsets(const selvane_settings& pSuggestion, const selvane_settings& pOffsets)
{
    selvane_settings result = pOffsets.automatic == 1 ? pSuggestion : pOffsets;
    if (pOffsets.automatic == 1) {
        for (const sSetting& setting : kSettings)
            std::visit(sOffsetOf{setting, pOffsets, result}, setting.fMember);
        if (pOffsets.points == SELVANE_POINTS_GIVEN) {
            result.black_point = pOffsets.black_point;
            result.white_point = pOffsets.white_point;
        }
    }
    result.automatic = 0;
    return result;
}

} // namespace SelvaneLib
