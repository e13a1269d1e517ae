#include "job/PictureOptions.h"

#include "job/HueCurve.h"
#include "picture/Sliders.h"
#include "read/ReadingProcess.h"

#include <charconv>

namespace SelvaneHost
{

namespace
{

constexpr int kMostThreads = 256;

/// Reads "640x330+330+120". Returns false for any other text.
bool ReadArea(const std::string& pText, sArea& pArea)
{
    const char* at = pText.data();
    const char* const end = at + pText.size();
    const auto number = [&](int& pNumber, char pBefore) {
        if (pBefore != 0 && (at == end || *at++ != pBefore)) return false;
        const std::from_chars_result result = std::from_chars(at, end, pNumber);
        at = result.ptr;
        return result.ec == std::errc();
    };
    return number(pArea.fWidth, 0) && number(pArea.fHeight, 'x') && number(pArea.fLeft, '+') &&
           number(pArea.fTop, '+') && at == end;
}

void SetSlider(const sSlider& pSlider, float pValue, sJob& pJob)
{
    if (!(pValue >= pSlider.fLowest && pValue <= pSlider.fHighest)) // NaN too
        throw CLI::ValidationError(pSlider.fOption, RangeOf(pSlider));
    pJob.fLook.fGiven[KeyOf(pSlider)] = pValue;
}

} // namespace

void AddInput(CLI::App& pCommand, std::string& pInput)
{
    pCommand.add_option("INPUT", pInput, "picture to read")->required();
}

void AddLook(CLI::App& pCommand, sLook& pLook)
{
    pCommand.add_option("--preset", pLook.fPreset,
                        "natural (default), clear, soft, dramatic, interior, night, flat, or one of your own");
    pCommand.add_option("--settings", pLook.fSettings, "file of settings, as --suggest prints them");
    pCommand.add_option("--exposure", pLook.fExposure, "stops brighter, or darker below 0")
        ->check(CLI::Range(-20.0, 20.0));
    pCommand.add_option("--contrast", pLook.fContrast, "more contrast, or less below 0, -100 to 100")
        ->check(CLI::Range(-100.0, 100.0));
    pCommand.add_option("--saturation", pLook.fSaturation, "more colour, or less below 0, -100 grey to 100")
        ->check(CLI::Range(-100.0, 100.0));
    for (const sCurveOption& curve : kCurveOptions)
        pCommand.add_option_function<std::string>(
            curve.fOption,
            [&pLook, &curve](const std::string& pText) {
                pLook.fCurves[curve.fOption] = ParseHueCurve(pText, curve.fOption);
            },
            curve.fHelp);
    pCommand.add_flag("--manual", pLook.fManual, "take the sliders as they stand, 0 where they are not given");
}

void AddSliders(CLI::App& pCommand, sJob& pJob)
{
    for (const sSlider& slider : kSliders)
        pCommand.add_option_function<float>(
            slider.fOption, [&pJob, &slider](float pValue) { SetSlider(slider, pValue, pJob); }, HelpOf(slider));
    pCommand.add_flag("--wrap", pJob.fLook.fWrap, "left and right edge meet: a full panorama");
    AddThreads(pCommand, pJob.fThreads);
}

void AddThreads(CLI::App& pCommand, int& pThreads)
{
    pCommand.add_option("--threads", pThreads, "workers (default 0: one for each processor)")
        ->check(CLI::Range(0, kMostThreads));
}

void AddCrop(CLI::App& pCommand, std::optional<sArea>& pCrop)
{
    pCommand.add_option_function<std::string>(
        "--crop",
        [&pCrop](const std::string& pText) {
            sArea area{};
            if (!ReadArea(pText, area))
                throw CLI::ValidationError("--crop", "write WIDTHxHEIGHT+LEFT+TOP, all in pixels");
            pCrop = area;
        },
        "take only the part WIDTHxHEIGHT+LEFT+TOP of the input, in pixels");
}

void AddColorSpace(CLI::App& pCommand, std::optional<int>& pSpace)
{
    pCommand
        .add_option_function<std::string>(
            "--color-space", [&pSpace](const std::string& pName) { pSpace = SpaceOfWord(pName); },
            "colours of the output; with --exact of the input too (default: as the input, or srgb)")
        ->check(CLI::IsMember({"srgb", "adobe", "prophoto", "p3", "rec2020"}));
}

void AddInputSpace(CLI::App& pCommand, std::optional<eInputSpace>& pSpace)
{
    pCommand
        .add_option_function<std::string>(
            "--input-space", [&pSpace](const std::string& pName) { pSpace = InputSpaceOfWord(pName); },
            "colours of the input, whatever it says of them")
        ->check(CLI::IsMember({"srgb", "adobe", "prophoto", "p3", "rec2020", "aces", "acescg", "linear", "pq", "hlg"}));
}

void AddLayer(CLI::App& pCommand, std::string& pLayer)
{
    pCommand.add_option("--layer", pLayer, "layer of an OpenEXR file (default: the first that has colours)");
}

void AddLimits(CLI::App& pCommand)
{
    pCommand
        .add_option_function<int>(
            "--max-megapixels", [](int pMegapixels) { UseReadingProcesses({.fMegapixels = pMegapixels, .fBytes = 0}); },
            "refuse larger pictures before they are unpacked (400)")
        ->check(CLI::Range(1, 1 << 20));
}

} // namespace SelvaneHost
