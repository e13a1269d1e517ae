#include "job/Develop.h"

#include "picture/Errors.h"
#include "picture/HalfOfMemory.h"
#include "read/InputFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

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

/// Turns a status into a failure with the handle's text. A wrong value is a wrong command line.
void Must(int pStatus, const selvane* pHandle)
{
    if (pStatus == SELVANE_OK) return;
    const std::string text = selvane_error(pHandle);
    if (pStatus == SELVANE_ERROR_ARGUMENT || pStatus == SELVANE_ERROR_TEXT) throw cUsageError(text);
    throw cHostError("cannot be rendered: " + text);
}

/// A handle with its callbacks, which point to the object: it stays where it is.
class cRender
{
public:
    explicit cRender(const sRunning& pRunning) : fRunning(pRunning), fHandle(selvane_new())
    {
        if (fHandle == nullptr) throw cHostError("not enough memory for this picture");
        auto* const user = const_cast<sRunning*>(&fRunning); // the callbacks only read it
        Must(selvane_set_threads(Handle(), fRunning.fThreads), Handle());
        Must(selvane_set_memory_limit(Handle(), HalfOfMemory()), Handle());
        if (fRunning.fLog) Must(selvane_set_log(Handle(), TakeLine, user), Handle());
        if (fRunning.fProgress) Must(selvane_set_progress(Handle(), TakeProgress, user), Handle());
    }
    cRender(const cRender&) = delete;
    cRender& operator=(const cRender&) = delete;

    selvane* Handle() const { return fHandle.get(); }

private:
    static void TakeLine(void* pUser, const char* pLine) { static_cast<const sRunning*>(pUser)->fLog(pLine); }
    static int TakeProgress(void* pUser, int pStage, float pShare)
    {
        return static_cast<const sRunning*>(pUser)->fProgress(pStage, pShare) ? 0 : 1;
    }

    const sRunning fRunning;
    const tHandle fHandle;
};

int FormatOf(eSampleForm pForm)
{
    switch (pForm) {
    case eSamples8:
        return SELVANE_U8;
    case eSamples16:
        return SELVANE_U16;
    case eExponentPlanes:
        return SELVANE_RGBE_PLANES;
    default:
        return SELVANE_F32;
    }
}

selvane_picture Describe(const sPicture& pInput)
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    picture.width = pInput.fWidth;
    picture.height = pInput.fHeight;
    picture.format = FormatOf(pInput.fForm);
    picture.channels = pInput.fChannels;
    picture.primaries = pInput.fColor.fPrimaries;
    picture.transfer = pInput.fColor.fTransfer;
    picture.gamma = pInput.fColor.fGamma;
    std::copy(pInput.fColor.fChromaticities.begin(), pInput.fColor.fChromaticities.end(), picture.chromaticities);
    picture.pixels = pInput.fPixels.data();
    return picture;
}

/// @param pArea the part of the output to fill
selvane_target Describe(sPicture& pOutput, const sArea& pArea, int pSpace)
{
    selvane_target target;
    selvane_target_init(&target);
    target.width = pArea.fWidth;
    target.height = pArea.fHeight;
    target.format = FormatOf(pOutput.fForm);
    target.channels = pOutput.fChannels;
    target.space = pSpace;
    target.linear = pOutput.fForm == eFloats ? 1 : 0;
    target.row_stride = static_cast<ptrdiff_t>(RowBytes(pOutput));
    target.pixels = Row(pOutput, pArea.fTop) + PixelBytes(pOutput) * static_cast<size_t>(pArea.fLeft);
    return target;
}

sArea WholeOf(const sPicture& pPicture)
{
    return {pPicture.fWidth, pPicture.fHeight, 0, 0};
}

/// @param pAsTheyAre single samples that outshine everything else stay, as the engine's entry leaves them
void SetPicture(selvane* pHandle, const sPicture& pInput, bool pAsTheyAre)
{
    selvane_picture picture = Describe(pInput);
    picture.keep_hot_samples = pAsTheyAre ? 1 : 0;
    Must(selvane_set_picture(pHandle, &picture), pHandle);
}

/// The settings of the preset or the file. Natural without either.
selvane_settings BaseSettings(selvane* pHandle, const sLook& pLook)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    if (!pLook.fPreset.empty()) Must(selvane_preset(pHandle, pLook.fPreset.c_str(), &settings), pHandle);
    if (!pLook.fSettings.empty()) {
        const std::string text = About(pLook.fSettings, [&] { return ReadText(pLook.fSettings); });
        const int status = selvane_settings_from_text(pHandle, text.c_str(), &settings);
        if (status != SELVANE_OK) throw cUsageError(pLook.fSettings + ": " + selvane_error(pHandle));
    }
    settings.exposure += pLook.fExposure.value_or(0.0F);
    settings.contrast += pLook.fContrast.value_or(0.0F);
    settings.saturation += pLook.fSaturation.value_or(0.0F);
    for (const sCurveOption& option : kCurveOptions) {
        const auto given = pLook.fCurves.find(option.fOption);
        if (given != pLook.fCurves.end()) settings.*option.fMember = given->second;
    }
    if (pLook.fWrap) settings.wrap = 1;
    return settings;
}

void SetGiven(const sLook& pLook, selvane_settings& pSettings)
{
    for (const sOption& option : kOptions) {
        const auto given = pLook.fGiven.find(option.fKey);
        if (given != pLook.fGiven.end()) pSettings.*option.fMember = given->second;
    }
}

/// The settings as they stand, with the points of the command line.
selvane_settings ManualSettings(selvane* pHandle, const sLook& pLook)
{
    selvane_settings settings = BaseSettings(pHandle, pLook);
    settings.automatic = 0;
    SetGiven(pLook, settings);
    if (pLook.fWhitePoint) {
        settings.points = SELVANE_POINTS_GIVEN;
        settings.black_point = pLook.fBlackPoint.value_or(0.0F);
        settings.white_point = *pLook.fWhitePoint;
    }
    return settings;
}

/// The suggested settings with those of the base, and the sliders that were given as they stand.
selvane_settings SuggestedSettings(selvane* pHandle, const sLook& pLook)
{
    const selvane_settings base = BaseSettings(pHandle, pLook);
    Must(selvane_set_settings(pHandle, &base), pHandle);
    selvane_settings settings{};
    settings.struct_size = sizeof settings;
    Must(selvane_effective_settings(pHandle, &settings), pHandle);
    SetGiven(pLook, settings);
    return settings;
}

/// The fewest digits from which the same float can be read.
std::string Digits(float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    return {digits.data(), end.ptr};
}

/// "0:0.5,0.25:0.6".
std::string PointsText(const selvane_curve& pCurve)
{
    std::string text;
    for (int i = 0; i < pCurve.count; i++) {
        if (i > 0) text += ',';
        text.append(Digits(pCurve.points[i].x)).append(":").append(Digits(pCurve.points[i].y));
    }
    return text;
}

std::string WordsOf(const selvane_settings& pSettings, const sLook& pLook)
{
    std::string words = TakesEntryForm(pLook) ? "--exact" : "--manual";
    for (const sOption& option : kOptions)
        if (pSettings.*option.fMember != 0.0F)
            words += std::string(" ") + option.fOption + " " + Digits(pSettings.*option.fMember);
    if (pSettings.points == SELVANE_POINTS_GIVEN)
        words += " --black-point " + Digits(pSettings.black_point) + " --white-point " + Digits(pSettings.white_point);
    for (const sCurveOption& option : kCurveOptions)
        if ((pSettings.*option.fMember).count > 0)
            words += std::string(" ") + option.fOption + " " + PointsText(pSettings.*option.fMember);
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

selvane_report ReportOf(const selvane* pHandle)
{
    selvane_report report{};
    report.struct_size = sizeof report;
    Must(selvane_get_report(pHandle, &report), pHandle);
    return report;
}

selvane_settings AskedOf(const selvane* pHandle)
{
    selvane_settings asked{};
    asked.struct_size = sizeof asked;
    Must(selvane_get_settings(pHandle, &asked), pHandle);
    return asked;
}

/// The suggestion, if there was one.
std::optional<selvane_settings> SuggestedBy(selvane* pHandle)
{
    if (selvane_reason(pHandle, 0) == nullptr) return {};
    selvane_settings suggested{};
    suggested.struct_size = sizeof suggested;
    Must(selvane_suggest(pHandle, &suggested), pHandle);
    return suggested;
}

} // namespace

bool TakesEntryForm(const sLook& pLook)
{
    return pLook.fExact || (pLook.fWhitePoint.has_value() && !pLook.fManual);
}

bool StandsAlone(const sLook& pLook)
{
    return pLook.fManual || TakesEntryForm(pLook) || pLook.fSettled.has_value();
}

void WithPicture(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning,
                 const std::function<void(selvane*)>& pUse)
{
    const cRender render(pRunning);
    SetPicture(render.Handle(), pInput, TakesEntryForm(pLook));
    pUse(render.Handle());
}

selvane_settings SetSettings(selvane* pHandle, const sLook& pLook)
{
    if (pLook.fSettled) {
        Must(selvane_set_settings(pHandle, &*pLook.fSettled), pHandle);
        return *pLook.fSettled;
    }
    const bool alone = StandsAlone(pLook);
    const selvane_settings settings = alone ? ManualSettings(pHandle, pLook) : SuggestedSettings(pHandle, pLook);
    if (alone || !pLook.fGiven.empty()) Must(selvane_set_settings(pHandle, &settings), pHandle);
    return settings;
}

sDeveloped DevelopedBy(selvane* pHandle, const sLook& pLook, const selvane_settings& pSettings)
{
    sDeveloped developed{.fReason = ReasonOf(pHandle),
                         .fWords = WordsOf(pSettings, pLook),
                         .fSettings = pSettings,
                         .fReport = ReportOf(pHandle), // before the suggestion, which sets the times
                         .fAsked = AskedOf(pHandle),
                         .fSuggested = SuggestedBy(pHandle),
                         .fReasons = {}};
    for (int i = 0; const char* const reason = selvane_reason(pHandle, i); i++)
        developed.fReasons.emplace_back(reason);
    return developed;
}

sDeveloped Develop(const sPicture& pInput, const sLook& pLook, int pSpace, const sRunning& pRunning, sPicture& pOutput,
                   const sArea& pArea)
{
    sDeveloped developed;
    WithPicture(pInput, pLook, pRunning, [&](selvane* pHandle) {
        const selvane_settings settings = SetSettings(pHandle, pLook);
        const selvane_target target = Describe(pOutput, pArea, pSpace);
        Must(selvane_render(pHandle, &target), pHandle);
        developed = DevelopedBy(pHandle, pLook, settings);
    });
    return developed;
}

std::string SettingsText(const selvane_settings& pSettings)
{
    size_t needed = 0;
    Must(selvane_settings_to_text(nullptr, &pSettings, nullptr, 0, &needed), nullptr);
    std::string text(needed, '\0');
    Must(selvane_settings_to_text(nullptr, &pSettings, text.data(), text.size(), nullptr), nullptr);
    text.pop_back(); // the final zero
    return text;
}

std::string SuggestionText(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning)
{
    std::string text;
    WithPicture(pInput, pLook, pRunning, [&](selvane* pHandle) { text = SettingsText(SetSettings(pHandle, pLook)); });
    return text;
}

selvane_frame MeasureFrame(const sPicture& pInput, const sLook& pLook, const sRunning& pRunning)
{
    const cRender render(pRunning);
    SetPicture(render.Handle(), pInput, TakesEntryForm(pLook));
    SetSettings(render.Handle(), pLook);
    selvane_frame frame;
    selvane_frame_init(&frame);
    Must(selvane_measure(render.Handle(), &frame), render.Handle());
    return frame;
}

std::string BaseText(const sLook& pLook)
{
    const cRender render({});
    return SettingsText(BaseSettings(render.Handle(), pLook));
}

selvane_settings SettingsOf(const selvane_frame& pFrame, const std::string& pBaseText)
{
    const cRender render({});
    selvane_settings settings;
    selvane_settings_init(&settings);
    Must(selvane_settings_from_text(render.Handle(), pBaseText.c_str(), &settings), render.Handle());
    Must(selvane_frame_to_settings(render.Handle(), &pFrame, &settings), render.Handle());
    return settings;
}

std::vector<selvane_frame> SmoothFrames(const std::vector<selvane_frame>& pFrames, int pWindow)
{
    const cRender render({});
    std::vector<selvane_frame> smooth = pFrames;
    Must(selvane_smooth(render.Handle(), pFrames.data(), smooth.data(), smooth.size(), pWindow), render.Handle());
    return smooth;
}

void Equalize(const sPicture& pInput, const selvane_settings& pSettings, int pSpace, const sRunning& pRunning,
              sPicture& pOutput)
{
    const cRender render(pRunning);
    selvane_picture picture = Describe(pInput);
    if (picture.transfer == SELVANE_TRANSFER_ENGINE)
        picture.transfer = SELVANE_TRANSFER_DEFAULT; // of finished pictures
    const selvane_target target = Describe(pOutput, WholeOf(pOutput), pSpace);
    Must(selvane_equalize(render.Handle(), &picture, &pSettings, &target), render.Handle());
}

} // namespace SelvaneHost
