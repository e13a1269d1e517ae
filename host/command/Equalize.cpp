#include "command/Equalize.h"

#include "job/Develop.h"
#include "job/HueCurve.h"
#include "job/Report.h"

#include <selvane.h>

namespace SelvaneHost
{

namespace
{

selvane_curve CurveOf(const std::string& pList, const char* pOption)
{
    return pList.empty() ? selvane_curve{} : ParseHueCurve(pList, pOption);
}

selvane_settings SettingsOf(const sEqualizeOptions& pOptions)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.hue = CurveOf(pOptions.fHueShift, "--hue-shift");
    settings.hue_saturation = CurveOf(pOptions.fSaturation, "--saturation");
    settings.hue_lightness = CurveOf(pOptions.fLightness, "--lightness");
    return settings;
}

/// Reads the part of the picture that is used.
sPicture ReadFinished(const sEqualizeOptions& pOptions)
{
    const sReadOptions options{.fAsEntry = false, .fInputSpace = pOptions.fInputSpace, .fLayer = {}};
    sPicture picture = Read(pOptions.fInput, options, Report);
    About(pOptions.fInput, [&] {
        if (picture.fForm == eExponentPlanes || picture.fForm == eFloats)
            throw cHostError("holds high-dynamic-range values; tone-map it first, then equalize the result");
        if (pOptions.fCrop) Crop(picture, *pOptions.fCrop);
    });
    return picture;
}

/// Applies the curves. The result has the samples of the file, or linear floats if the size is still to change.
sPicture Equalized(const sEqualizeOptions& pOptions, const sPicture& pInput, const selvane_settings& pSettings,
                   const sStorage& pStorage)
{
    const bool changes = ChangedSize(pOptions.fOutput, pInput.fWidth, pInput.fHeight).has_value();
    sPicture picture = Blank(pInput, changes ? eSamples16 : FormFor(pStorage.fDepth));
    Equalize(pInput, pSettings, pStorage.fSpace, {.fLog = pOptions.fVerbose ? tLine(Report) : tLine()}, picture);
    if (changes) Decode(picture, pStorage.fSpace);
    return picture;
}

} // namespace

void RunEqualize(const sEqualizeOptions& pOptions)
{
    const std::string& path = pOptions.fOutput.fPath;
    CheckOutputKind(pOptions.fOutput);
    const selvane_settings settings = SettingsOf(pOptions);
    CheckOutput(pOptions.fInput, pOptions.fOutput);

    sPicture input = ReadFinished(pOptions);
    const int space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace, false, Report);
    const sStorage storage = StorageFor(pOptions.fOutput, input, space, SettingsText(settings), 0);
    sPicture output = About(pOptions.fInput, [&] { return Equalized(pOptions, input, settings, storage); });
    About(path, [&] { Finish(pOptions.fOutput, storage, output); });
    Write(output, storage, path, Report);
}

} // namespace SelvaneHost
