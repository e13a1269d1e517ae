#include "settings/NumberText.h"

#include <charconv>
#include <cmath>

namespace SelvaneLib
{

namespace
{

template <typename tFloat>
std::string Shortest(tFloat pValue)
{
    char digits[32]; // the longest is "-2.2250738585072014e-308"
    return {digits, std::to_chars(digits, digits + sizeof(digits), pValue).ptr};
}

/// Reads the text as TOML readers do: the nearest double, then the nearest float.
float ByDouble(const std::string& pText)
{
    double value = 0.0;
    std::from_chars(pText.data(), pText.data() + pText.size(), value);
    return static_cast<float>(value);
}

} // namespace

std::string NumberText(float pValue)
{
    std::string text = Shortest(pValue);
    if (!std::isfinite(pValue)) return text;
    // 7.038531e-26 is the one magnitude whose shortest text lies so close to the middle of two floats that the double
    // falls on the middle, and then to the wrong side.
    if (ByDouble(text) != pValue) text = Shortest(static_cast<double>(pValue));
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text;
}

} // namespace SelvaneLib
