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

} // namespace

void RunEqualize(const sEqualizeOptions& pOptions)
{
    const std::string& path = pOptions.fOutput.fPath;
    CheckOutputKind(pOptions.fOutput);
    const selvane_settings settings = SettingsOf(pOptions);
    CheckOutput(pOptions.fInput, pOptions.fOutput);

    const sReadOptions options{.fAsEntry = false, .fInputSpace = pOptions.fInputSpace, .fLayer = {}};
    sPicture input = Read(pOptions.fInput, options, Report);
    const int space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace, false, Report);
    const sStorage storage = StorageFor(pOptions.fOutput, input, space, SettingsText(settings), 0);
    const sPicture output = About(pOptions.fInput, [&] {
        if (input.fForm == eExponentPlanes || input.fForm == eFloats)
            throw cHostError("holds high-dynamic-range values; tone-map it first, then equalize the result");
        sPicture picture = Blank(input, FormFor(storage.fDepth));
        Equalize(input, settings, space, {.fLog = pOptions.fVerbose ? tLine(Report) : tLine()}, picture);
        return picture;
    });
    Write(output, storage, path, Report);
}

} // namespace SelvaneHost
