#include "command/Develop.h"

#include "command/Report.h"
#include "picture/Errors.h"

#include <selvane.h>

#include <array>
#include <charconv>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

namespace SelvaneHost
{

namespace
{

constexpr int kMostReasons = 2; // the first ones decide

struct sFree
{
    void operator()(selvane* pHandle) const { selvane_free(pHandle); }
};

using tHandle = std::unique_ptr<selvane, sFree>;

/// A slider of the settings and its option.
struct sOption
{
    const char* fOption;
    const char* fKey;
    float selvane_settings::*fMember;
};

constexpr sOption kOptions[] = {
    {"--compression", "compression", &selvane_settings::compression},
    {"--smoothness", "smoothness", &selvane_settings::smoothness},
    {"--radius", "radius", &selvane_settings::radius},
    {"--adaptation", "adaptation", &selvane_settings::adaptation},
    {"--white-clip", "white_clip", &selvane_settings::white_clip},
    {"--black-clip", "black_clip", &selvane_settings::black_clip},
    {"--exposure", "exposure", &selvane_settings::exposure},
    {"--contrast", "contrast", &selvane_settings::contrast},
    {"--saturation", "saturation", &selvane_settings::saturation},
};

void ShowLine(void* /*pUser*/, const char* pLine)
{
    Report(pLine);
}

/// Turns a status into a failure with the handle's text. A wrong value is a wrong command line.
void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus == SELVANE_OK) return;
    const std::string text = selvane_error(pHandle);
    if (pStatus == SELVANE_ERROR_ARGUMENT || pStatus == SELVANE_ERROR_TEXT) throw cUsageError(text);
    throw cHostError("cannot be tone-mapped: " + text);
}

tHandle NewHandle(const sLookOptions& pOptions)
{
    tHandle handle(selvane_new());
    if (handle == nullptr) throw cHostError("not enough memory for this picture");
    Must(selvane_set_threads(handle.get(), pOptions.fThreads), handle.get());
    if (pOptions.fVerbose) Must(selvane_set_log(handle.get(), ShowLine, nullptr), handle.get());
    return handle;
}

int FormatOf(eSampleForm pForm)
{
    if (pForm == eSamples8) return SELVANE_U8;
    return pForm == eSamples16 ? SELVANE_U16 : SELVANE_RGBE_PLANES;
}

/// Samples are decoded as the engine's entry does, so that --exact gives the same picture.
void SetPicture(selvane* pHandle, const sPicture& pInput, Vornik::eColorSpaceID pSpace)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = pInput.fWidth;
    picture.height = pInput.fHeight;
    picture.format = FormatOf(pInput.fForm);
    picture.primaries = pSpace;
    picture.transfer = pInput.fForm == eExponentPlanes ? SELVANE_TRANSFER_LINEAR : SELVANE_TRANSFER_ENGINE;
    picture.keep_hot_samples = 1;
    picture.pixels = pInput.fPixels.data();
    Must(selvane_set_picture(pHandle, &picture), pHandle);
}

std::string TextOf(const std::string& pPath)
{
    std::ifstream file(pPath, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.good() && !file.eof()) throw cHostError(pPath + ": cannot be read");
    return text;
}

/// The settings of the preset or the file. Natural without either.
selvane_settings BaseSettings(selvane* pHandle, const sLookOptions& pOptions)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    if (!pOptions.fPreset.empty()) Must(selvane_preset(pHandle, pOptions.fPreset.c_str(), &settings), pHandle);
    if (!pOptions.fSettings.empty()) {
        const std::string text = TextOf(pOptions.fSettings);
        const int status = selvane_settings_from_text(pHandle, text.c_str(), &settings);
        if (status != SELVANE_OK) throw cUsageError(pOptions.fSettings + ": " + selvane_error(pHandle));
    }
    settings.exposure += pOptions.fExposure.value_or(0.0F);
    settings.contrast += pOptions.fContrast.value_or(0.0F);
    settings.saturation += pOptions.fSaturation.value_or(0.0F);
    if (pOptions.fWrap) settings.wrap = 1;
    return settings;
}

void SetGiven(const sLookOptions& pOptions, selvane_settings& pSettings)
{
    for (const sOption& option : kOptions) {
        const auto given = pOptions.fGiven.find(option.fKey);
        if (given != pOptions.fGiven.end()) pSettings.*option.fMember = given->second;
    }
}

/// Sets the settings of the command line: those of the base, and the sliders that were given as they stand.
selvane_settings SetSettings(selvane* pHandle, const sLookOptions& pOptions)
{
    const selvane_settings base = BaseSettings(pHandle, pOptions);
    Must(selvane_set_settings(pHandle, &base), pHandle);
    selvane_settings settings{};
    settings.struct_size = sizeof settings;
    Must(selvane_effective_settings(pHandle, &settings), pHandle);
    if (pOptions.fGiven.empty()) return settings;
    SetGiven(pOptions, settings);
    Must(selvane_set_settings(pHandle, &settings), pHandle);
    return settings;
}

void Render(selvane* pHandle, Vornik::eColorSpaceID pSpace, sPicture& pOutput)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pOutput.fWidth;
    target.height = pOutput.fHeight;
    target.format = pOutput.fForm == eSamples8 ? SELVANE_U8 : SELVANE_U16;
    target.space = pSpace;
    target.pixels = pOutput.fPixels.data();
    Must(selvane_render(pHandle, &target), pHandle);
}

/// The fewest digits from which the same float can be read.
std::string Digits(float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    return {digits.data(), end.ptr};
}

std::string WordsOf(const selvane_settings& pSettings)
{
    std::string words = "--exact";
    for (const sOption& option : kOptions)
        if (pSettings.*option.fMember != 0.0F)
            words += std::string(" ") + option.fOption + " " + Digits(pSettings.*option.fMember);
    if (pSettings.wrap != 0) words += " --wrap";
    return words;
}

std::string ReasonOf(const selvane* pHandle)
{
    std::string reasons;
    for (int i = 0; i < kMostReasons && selvane_reason(pHandle, i) != nullptr; i++) {
        if (i > 0) reasons += ' ';
        reasons += selvane_reason(pHandle, i);
    }
    return reasons;
}

} // namespace

sDeveloped Develop(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace,
                   sPicture& pOutput)
{
    const tHandle handle = NewHandle(pOptions);
    SetPicture(handle.get(), pInput, pSpace);
    const selvane_settings settings = SetSettings(handle.get(), pOptions);
    Render(handle.get(), pSpace, pOutput);
    return {ReasonOf(handle.get()), WordsOf(settings)};
}

std::string SuggestionText(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace)
{
    const tHandle handle = NewHandle(pOptions);
    SetPicture(handle.get(), pInput, pSpace);
    const selvane_settings settings = SetSettings(handle.get(), pOptions);
    size_t needed = 0;
    selvane_settings_to_text(handle.get(), &settings, nullptr, 0, &needed);
    std::string text(needed, '\0');
    Must(selvane_settings_to_text(handle.get(), &settings, text.data(), text.size(), nullptr), handle.get());
    text.pop_back(); // the final zero
    return text;
}

void DevelopExactly(const sPicture& pInput, const sLookOptions& pOptions, Vornik::eColorSpaceID pSpace,
                    sPicture& pOutput)
{
    const tHandle handle = NewHandle(pOptions);
    SetPicture(handle.get(), pInput, pSpace);
    selvane_settings settings = BaseSettings(handle.get(), pOptions);
    settings.automatic = 0;
    SetGiven(pOptions, settings);
    Must(selvane_set_settings(handle.get(), &settings), handle.get());
    Render(handle.get(), pSpace, pOutput);
}

} // namespace SelvaneHost
