#include "picture/Sliders.h"

#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace SelvaneHost
{

namespace
{

std::string Text(float pNumber)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", static_cast<double>(pNumber));
    return text.data();
}

void Replace(std::string& pText, std::string_view pWord, float pNumber)
{
    const size_t place = pText.find(pWord);
    if (place != std::string::npos) pText.replace(place, pWord.size(), Text(pNumber));
}

} // namespace

sTmSliders DefaultSliders()
{
    sTmSliders sliders{};
    for (const sSlider& slider : kSliders)
        sliders.*slider.fMember = slider.fDefault;
    return sliders;
}

std::string HelpOf(const sSlider& pSlider)
{
    std::string help = pSlider.fHelp;
    Replace(help, "LOWEST", pSlider.fLowest);
    Replace(help, "HIGHEST", pSlider.fHighest);
    Replace(help, "DEFAULT", pSlider.fDefault);
    return help;
}

std::vector<std::string> SliderWarnings(const sTmSliders& pSliders)
{
    std::vector<std::string> warnings;
    for (const sSlider& slider : kSliders) {
        const float value = pSliders.*slider.fMember;
        if (value >= slider.fLowest && value <= slider.fHighest) continue;
        warnings.push_back(std::string(slider.fOption) + " " + Text(value) + " lies outside of " +
                           Text(slider.fLowest) + " to " + Text(slider.fHighest));
    }
    return warnings;
}

} // namespace SelvaneHost
