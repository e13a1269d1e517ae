#include "explain/Page.h"

#include <cmath>
#include <glib.h>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

namespace SelvaneHost
{

namespace
{

using tJson = nlohmann::ordered_json;

/// Data inside of a script element: no "<" may begin a tag there.
std::string ScriptData(const tJson& pData)
{
    std::string text;
    for (const char letter : JsonText(pData, -1))
        letter == '<' ? text += "\\u003c" : text += letter;
    return text;
}

std::string DataUri(const tBytes& pJpeg)
{
    const std::unique_ptr<char, decltype(&g_free)> text(g_base64_encode(pJpeg.data(), pJpeg.size()), g_free);
    return std::string("data:image/jpeg;base64,") + text.get();
}

/// The logarithm of a point; null if it lies at 0, which has none.
tJson LogOrNull(double pPoint)
{
    if (!(pPoint > 0.0)) return nullptr;
    return std::log10(pPoint);
}

tJson HistogramJson(const sHistogram& pHistogram)
{
    return {{"from", pHistogram.fAxis.fFrom}, {"to", pHistogram.fAxis.fTo}, {"all", pHistogram.fAll},
            {"black", pHistogram.fBlack},     {"white", pHistogram.fWhite}, {"below", pHistogram.fBelow},
            {"above", pHistogram.fAbove}};
}

tJson MappedJson(const sPage& pPage)
{
    tJson mapped = HistogramJson(pPage.fMapped);
    mapped["black_point"] = LogOrNull(pPage.fBlack);
    mapped["white_point"] = LogOrNull(pPage.fWhite);
    mapped["exposed_white"] = pPage.fExposedWhite == pPage.fWhite ? tJson() : LogOrNull(pPage.fExposedWhite);
    return mapped;
}

tJson LevelsJson(const std::vector<sSpread>& pCurve, double sSpread::*pLevel)
{
    tJson levels = tJson::array();
    for (const sSpread& spread : pCurve)
        levels.push_back(spread.fCount < kFewPixels ? tJson() : tJson(spread.*pLevel));
    return levels;
}

tJson CurveJson(const sPage& pPage)
{
    tJson counts = tJson::array();
    for (const sSpread& spread : pPage.fCurve)
        counts.push_back(spread.fCount);
    return {{"from", pPage.fCurveAxis.fFrom},
            {"to", pPage.fCurveAxis.fTo},
            {"count", counts},
            {"least", LevelsJson(pPage.fCurve, &sSpread::fLeast)},
            {"lower", LevelsJson(pPage.fCurve, &sSpread::fLower)},
            {"median", LevelsJson(pPage.fCurve, &sSpread::fMedian)},
            {"upper", LevelsJson(pPage.fCurve, &sSpread::fUpper)},
            {"most", LevelsJson(pPage.fCurve, &sSpread::fMost)}};
}

tJson DataOf(const sPage& pPage)
{
    return {{"report", ReportOf(pPage.fFacts)},
            {"schema", tJson::parse(kReportSchema)},
            {"width", pPage.fWidth},
            {"height", pPage.fHeight},
            {"before_stops", pPage.fBeforeStops},
            {"base", {{"from", pPage.fBase.fFrom}, {"to", pPage.fBase.fTo}}},
            {"detail", {{"from", pPage.fDetail.fFrom}, {"to", pPage.fDetail.fTo}}},
            {"scene", HistogramJson(pPage.fScene)},
            {"mapped", MappedJson(pPage)},
            {"curve", CurveJson(pPage)},
            {"few_pixels", kFewPixels}};
}

/// Puts texts at their {{names}}. What is put in is not searched again.
std::string Filled(const std::string& pFrame, const std::map<std::string, std::string>& pTexts)
{
    std::string filled;
    size_t at = 0;
    for (size_t mark = pFrame.find("{{"); mark != std::string::npos; mark = pFrame.find("{{", at)) {
        const size_t end = pFrame.find("}}", mark);
        filled += pFrame.substr(at, mark - at) + pTexts.at(pFrame.substr(mark + 2, end - mark - 2));
        at = end + 2;
    }
    return filled + pFrame.substr(at);
}

} // namespace

std::string PageText(const sPage& pPage)
{
    return Filled(kPageFrame, {{"style", kPageStyle},
                               {"script", kPageScript},
                               {"data", ScriptData(DataOf(pPage))},
                               {"before", DataUri(pPage.fBefore)},
                               {"after", DataUri(pPage.fAfter)},
                               {"base", DataUri(pPage.fBase.fJpeg)},
                               {"detail", DataUri(pPage.fDetail.fJpeg)}});
}

} // namespace SelvaneHost
