#include "explain/ReportFile.h"

#include "write/OutputFile.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <span>
#include <sys/resource.h>

namespace SelvaneHost
{

namespace
{

using tJson = nlohmann::ordered_json;

constexpr int kReportVersion = 1;
constexpr int64_t kKibibyte = 1024; // in which the system counts resident memory

/// The double with the fewest digits from which the same float can be read: 0.3 and not 0.30000001192092896.
double Short(float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    double value = 0.0;
    std::from_chars(digits.data(), end.ptr, value);
    return value;
}

tJson CurveJson(const selvane_curve& pCurve)
{
    tJson points = tJson::array();
    for (int i = 0; i < pCurve.count; i++)
        points.push_back({Short(pCurve.points[i].x), Short(pCurve.points[i].y)});
    return points;
}

tJson SettingsJson(const selvane_settings& pSettings)
{
    const selvane_settings& s = pSettings;
    return {{"automatic", s.automatic != 0},
            {"wrap", s.wrap != 0},
            {"compression", Short(s.compression)},
            {"smoothness", Short(s.smoothness)},
            {"radius", Short(s.radius)},
            {"adaptation", Short(s.adaptation)},
            {"white_clip", Short(s.white_clip)},
            {"black_clip", Short(s.black_clip)},
            {"exposure", Short(s.exposure)},
            {"contrast", Short(s.contrast)},
            {"saturation", Short(s.saturation)},
            {"points", s.points == SELVANE_POINTS_GIVEN ? "given" : "measured"},
            {"black_point", Short(s.black_point)},
            {"white_point", Short(s.white_point)},
            {"hue", CurveJson(s.hue)},
            {"hue_saturation", CurveJson(s.hue_saturation)},
            {"hue_lightness", CurveJson(s.hue_lightness)}};
}

tJson AllSettingsJson(const sDeveloped& pDeveloped)
{
    tJson settings = {{"asked", SettingsJson(pDeveloped.fAsked)}, {"suggested", nullptr}};
    if (pDeveloped.fSuggested) settings["suggested"] = SettingsJson(*pDeveloped.fSuggested);
    settings["used"] = SettingsJson(pDeveloped.fSettings);
    settings["text"] = SettingsText(pDeveloped.fSettings);
    return settings;
}

tJson SceneJson(const selvane_report& pReport)
{
    tJson scene = {{"visible_pixels", pReport.visible_pixels},
                   {"replaced_nan", pReport.replaced_nan},
                   {"replaced_negative", pReport.replaced_negative},
                   {"replaced_infinite", pReport.replaced_infinite},
                   {"hot_pixels", pReport.hot_pixels},
                   {"filled_samples", pReport.filled_samples},
                   {"log_luminance_min", Short(pReport.log_luminance_min)},
                   {"log_luminance_max", Short(pReport.log_luminance_max)},
                   {"log_luminance_mean", Short(pReport.log_luminance_mean)}};
    const std::array<const char*, 7> names = {"percentile_0_1", "percentile_1",  "percentile_25",   "percentile_50",
                                              "percentile_75",  "percentile_99", "percentile_99_75"};
    for (size_t i = 0; i < names.size(); i++)
        scene[names[i]] = Short(pReport.percentiles[i]);
    scene["dynamic_range_stops"] = Short(pReport.dynamic_range_stops);
    return scene;
}

tJson LayersJson(const selvane_report& pReport)
{
    return {{"base_min", Short(pReport.base_min)},     {"base_max", Short(pReport.base_max)},
            {"base_mean", Short(pReport.base_mean)},   {"detail_min", Short(pReport.detail_min)},
            {"detail_max", Short(pReport.detail_max)}, {"detail_mean", Short(pReport.detail_mean)}};
}

tJson PointsJson(const selvane_report& pReport)
{
    return {{"black_point", Short(pReport.black_point)},
            {"white_point", Short(pReport.white_point)},
            {"clipped_black", Short(pReport.clipped_black)},
            {"clipped_white", Short(pReport.clipped_white)}};
}

tJson TimesJson(const sRunFacts& pFacts)
{
    const double* const stages = pFacts.fDeveloped.fReport.milliseconds;
    return {{"read", stages[SELVANE_STAGE_READ]},   {"split", stages[SELVANE_STAGE_SPLIT]},
            {"map", stages[SELVANE_STAGE_MAP]},     {"points", stages[SELVANE_STAGE_POINTS]},
            {"write", stages[SELVANE_STAGE_WRITE]}, {"file_in", pFacts.fReadMilliseconds},
            {"render", pFacts.fRenderMilliseconds}, {"file_out", pFacts.fWriteMilliseconds}};
}

tJson StageBytesJson(const selvane_report& pReport)
{
    const int64_t* const stages = pReport.stage_bytes;
    return {{"read", stages[SELVANE_STAGE_READ]},
            {"split", stages[SELVANE_STAGE_SPLIT]},
            {"map", stages[SELVANE_STAGE_MAP]},
            {"points", stages[SELVANE_STAGE_POINTS]},
            {"write", stages[SELVANE_STAGE_WRITE]}};
}

int64_t PeakBytes()
{
    struct rusage usage
    {
    };
    return ::getrusage(RUSAGE_SELF, &usage) == 0 ? usage.ru_maxrss * kKibibyte : 0;
}

const char* FormName(eSampleForm pForm)
{
    switch (pForm) {
    case eSamples8:
        return "8-bit integers";
    case eSamples16:
        return "16-bit integers";
    case eExponentPlanes:
        return "shared exponents";
    default:
        return "32-bit floats";
    }
}

tJson FileJson(const sFileFacts& pFile)
{
    tJson file = {{"path", pFile.fPath}, {"bytes", nullptr}};
    if (pFile.fBytes) file["bytes"] = *pFile.fBytes;
    return file;
}

tJson InputJson(const sRunFacts& pFacts)
{
    tJson input = FileJson(pFacts.fInput);
    input["width"] = pFacts.fWidth;
    input["height"] = pFacts.fHeight;
    input["samples"] = FormName(pFacts.fForm);
    input["channels"] = pFacts.fChannels;
    return input;
}

} // namespace

std::optional<int64_t> FileBytes(const std::string& pPath)
{
    std::error_code failed;
    const std::uintmax_t bytes = std::filesystem::file_size(pPath, failed);
    if (failed) return {};
    return static_cast<int64_t>(bytes);
}

nlohmann::ordered_json ReportOf(const sRunFacts& pFacts)
{
    const sDeveloped& developed = pFacts.fDeveloped;
    tJson report;
    report["report_version"] = kReportVersion;
    report["program"] = {
        {"name", "selvane"}, {"version", SELVANE_COMMAND_VERSION}, {"library", selvane_version_text()}};
    report["input"] = InputJson(pFacts);
    report["output"] = pFacts.fOutput ? FileJson(*pFacts.fOutput) : tJson();
    report["command"] = pFacts.fCommand;
    report["color"] = {{"input", pFacts.fColorIn}, {"output", pFacts.fColorOut}};
    report["warnings"] = pFacts.fWarnings;
    report["settings"] = AllSettingsJson(developed);
    report["reasons"] = developed.fReasons;
    report["suggestion"] = {{"previews", developed.fReport.previews}};
    report["scene"] = SceneJson(developed.fReport);
    report["layers"] = LayersJson(developed.fReport);
    report["points"] = PointsJson(developed.fReport);
    report["milliseconds"] = TimesJson(pFacts);
    report["stage_bytes"] = StageBytesJson(developed.fReport);
    report["memory"] = {{"library", developed.fReport.bytes}, {"peak", PeakBytes()}};
    return report;
}

void WriteReport(const sRunFacts& pFacts, const std::string& pPath)
{
    const std::string text = JsonText(ReportOf(pFacts), 2) + "\n";
    WriteFile(pPath, {std::span(reinterpret_cast<const unsigned char*>(text.data()), text.size())});
}

std::string JsonText(const nlohmann::ordered_json& pJson, int pIndent)
{
    return pJson.dump(pIndent, ' ', false, tJson::error_handler_t::replace);
}

} // namespace SelvaneHost
