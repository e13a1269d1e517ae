#include "settings/SettingsText.h"

#include "api/Failure.h"
#include "settings/NumberText.h"
#include "settings/Settings.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>

// Arrays in arrays in a curve, and no more: each level is read on the stack of the one around it.
#define TOML_MAX_NESTED_VALUES 4
#define TOML_HEADER_ONLY 1
#define TOML_ENABLE_FORMATTERS 0
// The parser's exception ends the process if its text finds no memory, and its stream takes a lack of memory for a
// wrong number: errors come back as values, and numbers go through std::from_chars.
#define TOML_EXCEPTIONS 0
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

namespace SelvaneLib
{

namespace
{

constexpr std::string_view kDescription = "description";

// ---- Writing --------------------------------------------------------------------------------------------------------

/// Whether a number is the other one to the bit: -0 is not 0.
bool Same(float pA, float pB)
{
    return std::bit_cast<uint32_t>(pA) == std::bit_cast<uint32_t>(pB);
}

std::string CurveText(const selvane_curve& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.count; i++)
        text += (i > 0 ? ", [" : "[") + NumberText(pCurve.points[i].x) + ", " + NumberText(pCurve.points[i].y) + "]";
    return "[" + text + "]";
}

std::string WholeText(const sSetting& pSetting, int32_t pValue)
{
    const char* const word = pSetting.fWords[pValue == 0 ? 0 : 1];
    if (word == nullptr) return pValue == 0 ? "false" : "true";
    return '"' + std::string(word) + '"';
}

/// Returns the value of a setting as text, or "" for the default.
struct sValueText
{
    const sSetting& fSetting;
    const selvane_settings& fSettings;
    const selvane_settings& fDefaults;

    std::string operator()(tNumber pMember) const
    {
        return Same(fSettings.*pMember, fDefaults.*pMember) ? "" : NumberText(fSettings.*pMember);
    }
    std::string operator()(tWhole pMember) const
    {
        return fSettings.*pMember == fDefaults.*pMember ? "" : WholeText(fSetting, fSettings.*pMember);
    }
    std::string operator()(tCurve pMember) const
    {
        return (fSettings.*pMember).count == 0 ? "" : CurveText(fSettings.*pMember);
    }
};

// ---- Reading --------------------------------------------------------------------------------------------------------

using tLine = toml::source_index;

/// @param pLine line of the text, from 1; 0 for the whole text
[[noreturn]] void Refuse(tLine pLine, const std::string& pText)
{
    throw cFailure(SELVANE_ERROR_TEXT, pLine == 0 ? pText : "line " + std::to_string(pLine) + ": " + pText);
}

/// Returns a foreign name in quotes, cut to a readable length and without control characters.
std::string Quoted(std::string_view pName)
{
    constexpr size_t kMost = 60; // bytes
    size_t end = std::min(pName.size(), kMost);
    while (end < pName.size() && end > 0 && (static_cast<unsigned char>(pName[end]) & 0xC0u) == 0x80u)
        end--; // not inside a character of several bytes
    std::string text(pName.substr(0, end));
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return '"' + text + (end < pName.size() ? "...\"" : "\"");
}

/// Keeps texts away from the parser that would take it deep into the stack.
void CheckText(std::string_view pText)
{
    if (pText.size() > kMostText) Refuse(0, "the text is longer than " + std::to_string(kMostText) + " bytes");
    tLine line = 1;
    int dots = 0;
    for (const char c : pText) {
        dots += c == '.' ? 1 : 0;
        if (dots > kMostDots) Refuse(line, "more than " + std::to_string(kMostDots) + " dots in a line");
        if (c == '\n') line++, dots = 0;
    }
}

toml::table Parse(std::string_view pText)
{
    toml::parse_result result = toml::parse(pText);
    if (!result) Refuse(result.error().source().begin.line, std::string(result.error().description()));
    return std::move(result).table();
}

/// Integers and numbers as TOML has them; beyond the range of floats infinite.
std::optional<float> NumberOf(const toml::node& pNode)
{
    if (const auto* const whole = pNode.as_integer()) return static_cast<float>(whole->get());
    if (const auto* const number = pNode.as_floating_point()) return static_cast<float>(number->get());
    return std::nullopt;
}

std::optional<selvane_point> PointOf(const toml::node& pNode)
{
    const toml::array* const pair = pNode.as_array();
    if (pair == nullptr || pair->size() != 2) return std::nullopt;
    const std::optional<float> x = NumberOf(*pair->get(0)), y = NumberOf(*pair->get(1));
    if (!x || !y) return std::nullopt;
    return selvane_point{*x, *y};
}

/// Reads the value of a setting. Ranges are not looked at.
struct sReadValue
{
    const sSetting& fSetting;
    const toml::node& fNode;
    selvane_settings& fSettings;

    void operator()(tNumber pMember) const
    {
        const std::optional<float> number = NumberOf(fNode);
        if (!number) Expect("a number");
        fSettings.*pMember = *number;
    }
    void operator()(tWhole pMember) const
    {
        if (fSetting.fWords[0] != nullptr) {
            fSettings.*pMember = Word();
            return;
        }
        const toml::value<bool>* const flag = fNode.as_boolean();
        if (flag == nullptr) Expect("true or false");
        fSettings.*pMember = flag->get() ? 1 : 0;
    }
    void operator()(tCurve pMember) const
    {
        const toml::array* const points = fNode.as_array();
        if (points == nullptr) ExpectPoints();
        if (points->size() > SELVANE_MOST_POINTS)
            Expect("a list of at most " + std::to_string(SELVANE_MOST_POINTS) + " points");
        selvane_curve& curve = fSettings.*pMember;
        for (const toml::node& node : *points) {
            const std::optional<selvane_point> point = PointOf(node);
            if (!point) ExpectPoints();
            curve.points[curve.count++] = *point;
        }
    }

private:
    int32_t Word() const
    {
        const toml::value<std::string>* const word = fNode.as_string();
        for (int32_t i = 0; i < 2; i++)
            if (word != nullptr && word->get() == fSetting.fWords[static_cast<size_t>(i)]) return i;
        Expect('"' + std::string(fSetting.fWords[0]) + "\" or \"" + fSetting.fWords[1] + '"');
    }
    [[noreturn]] void ExpectPoints() const { Expect("a list of points, for example [[0.0, 0.5], [0.5, 0.7]]"); }
    [[noreturn]] void Expect(const std::string& pWhat) const
    {
        Refuse(fNode.source().begin.line, std::string(fSetting.fKey) + " must be " + pWhat);
    }
};

std::string DescriptionOf(const toml::node& pNode)
{
    const toml::value<std::string>* const text = pNode.as_string();
    if (text == nullptr) Refuse(pNode.source().begin.line, std::string(kDescription) + " must be a text in quotes");
    return text->get();
}

const sSetting* SettingOf(std::string_view pKey)
{
    const auto* const found =
        std::find_if(kSettings.begin(), kSettings.end(), [&](const sSetting& s) { return s.fKey == pKey; });
    return found == kSettings.end() ? nullptr : found;
}

/// Reads a key and its value.
void ReadKey(const toml::key& pKey, const toml::node& pNode, sSettingsText& pResult)
{
    if (pKey.str() == kDescription) {
        pResult.fDescription = DescriptionOf(pNode);
        return;
    }
    const sSetting* const setting = SettingOf(pKey.str());
    if (setting == nullptr) Refuse(pKey.source().begin.line, "there is no setting " + Quoted(pKey.str()));
    std::visit(sReadValue{*setting, pNode, pResult.fSettings}, setting->fMember);
}

/// Runs a check. Its failure is one of the text, on the line of a key.
template <typename tCheck>
void AtKey(const toml::table& pTable, const char* pKey, tCheck pCheck)
{
    try {
        pCheck();
    } catch (const cFailure& failure) {
        const toml::node* const node = pTable.get(pKey);
        Refuse(node != nullptr ? node->source().begin.line : 0, failure.what());
    }
}

void CheckRanges(const toml::table& pTable, const selvane_settings& pSettings)
{
    for (const sSetting& setting : kSettings)
        AtKey(pTable, setting.fKey, [&] { CheckSetting(setting, pSettings); });
    AtKey(pTable, "points", [&] { CheckPoints(pSettings); });
}

} // namespace

std::string TextOfSettings(const selvane_settings& pSettings)
{
    const selvane_settings defaults = DefaultSettings();
    std::string text;
    for (const sSetting& setting : kSettings) {
        const std::string value = std::visit(sValueText{setting, pSettings, defaults}, setting.fMember);
        if (!value.empty()) text += std::string(setting.fKey) + " = " + value + "\n";
    }
    return text;
}

sSettingsText ReadSettings(std::string_view pText)
{
    CheckText(pText);
    const toml::table table = Parse(pText);
    sSettingsText result = {DefaultSettings(), {}};
    for (auto&& [key, node] : table)
        ReadKey(key, node, result);
    CheckRanges(table, result.fSettings);
    return result;
}

} // namespace SelvaneLib
