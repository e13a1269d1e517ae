#include "picture/Sliders.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

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

std::string HelpOf(const sSlider& pSlider)
{
    std::string help = pSlider.fHelp;
    Replace(help, "LOWEST", pSlider.fLowest);
    Replace(help, "HIGHEST", pSlider.fHighest);
    Replace(help, "DEFAULT", pSlider.fDefault);
    return help;
}

std::string RangeOf(const sSlider& pSlider)
{
    return "must lie between " + Text(pSlider.fLowest) + " and " + Text(pSlider.fHighest);
}

std::string KeyOf(const sSlider& pSlider)
{
    std::string key(pSlider.fOption + 2);
    std::replace(key.begin(), key.end(), '-', '_');
    return key;
}

} // namespace SelvaneHost
