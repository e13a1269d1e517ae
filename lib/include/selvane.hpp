#ifndef SELVANE_HPP
#define SELVANE_HPP

// libselvane for C++17: the functions of selvane.h with a handle that frees itself, exceptions, vectors and lambdas.
// All of it stands in this header; programs link the C library alone.
//
//     Selvane::cToneMapper mapper;
//     mapper.SetPicture(Selvane::Picture(floats, width, height));
//     std::vector<uint8_t> pixels = mapper.Render<uint8_t>().fPixels;
//
// Records are those of selvane.h, which says what each field means. The name of the namespace begins with a capital,
// since selvane is the name of the C handle.

#include "selvane.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Selvane
{

/// A call that failed.
class cError : public std::runtime_error
{
public:
    cError(int pStatus, const std::string& pText) : std::runtime_error(pText), fStatus(pStatus) {}

    /// A selvane_status, for example SELVANE_ERROR_CANCELLED.
    int Status() const noexcept { return fStatus; }

private:
    int fStatus;
};

/// The form of samples of a type. Half floats have none: give them as SELVANE_F16 in a record of your own.
template <typename tSample>
constexpr selvane_format FormatOf()
{
    static_assert(std::is_same_v<tSample, uint8_t> || std::is_same_v<tSample, uint16_t> ||
                      std::is_same_v<tSample, float>,
                  "samples are uint8_t, uint16_t or float");
    return std::is_same_v<tSample, uint8_t>    ? SELVANE_U8
           : std::is_same_v<tSample, uint16_t> ? SELVANE_U16
                                               : SELVANE_F32;
}

/// Returns a record with the defaults.
inline selvane_picture Picture()
{
    selvane_picture picture;
    selvane_picture_init(&picture);
    return picture;
}
inline selvane_settings Settings()
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    return settings;
}
inline selvane_target Target()
{
    selvane_target target;
    selvane_target_init(&target);
    return target;
}
inline selvane_frame Frame()
{
    selvane_frame frame;
    selvane_frame_init(&frame);
    return frame;
}

/// Describes samples that stand one behind the other, without gaps. The pixels are borrowed until SetPicture returns.
/// @param pChannels 3, or 4 with alpha
template <typename tSample>
selvane_picture Picture(const tSample* pPixels, int pWidth, int pHeight, int pChannels = 3)
{
    selvane_picture picture = Picture();
    picture.width = pWidth;
    picture.height = pHeight;
    picture.channels = pChannels;
    picture.format = FormatOf<tSample>();
    picture.pixels = pPixels;
    return picture;
}

/// @throws cError if the vector is shorter than the picture
template <typename tSample>
selvane_picture Picture(const std::vector<tSample>& pPixels, int pWidth, int pHeight, int pChannels = 3)
{
    const bool counts = pWidth > 0 && pHeight > 0 && pChannels > 0 && pChannels <= 4;
    const uint64_t needed =
        counts ? static_cast<uint64_t>(pWidth) * static_cast<uint64_t>(pHeight) * static_cast<uint64_t>(pChannels) : 0;
    if (needed > pPixels.size()) throw cError(SELVANE_ERROR_ARGUMENT, "the picture has more samples than the vector");
    return Picture(pPixels.data(), pWidth, pHeight, pChannels);
}
template <typename tSample>
selvane_picture Picture(std::vector<tSample>&&, int, int, int = 3) = delete; // gone too soon

/// Samples that stand one behind the other, without gaps.
template <typename tSample>
struct sImage
{
    int fWidth = 0;
    int fHeight = 0;
    int fChannels = 3;
    std::vector<tSample> fPixels;
};

/// Returns the ICC profile of a space.
/// @param pSpace SELVANE_SRGB to SELVANE_REC2020
inline std::vector<unsigned char> Profile(selvane_primaries pSpace, bool pLinear = false)
{
    const unsigned char* bytes = nullptr;
    size_t size = 0;
    const int status = selvane_profile(pSpace, pLinear ? 1 : 0, &bytes, &size);
    if (status != SELVANE_OK) throw cError(status, selvane_status_text(status));
    return std::vector<unsigned char>(bytes, bytes + size);
}

/// A preset of the library.
struct sPreset
{
    std::string fName;
    std::string fDescription;
};

inline std::vector<sPreset> Presets()
{
    std::vector<sPreset> presets;
    for (int i = 0; selvane_preset_name(i) != nullptr; i++) {
        const char* const description = selvane_preset_description(i);
        if (description == nullptr) throw cError(SELVANE_ERROR_MEMORY, selvane_status_text(SELVANE_ERROR_MEMORY));
        presets.push_back({selvane_preset_name(i), description});
    }
    return presets;
}

/// Names of all presets: those of the library, then those of the user's folder.
inline std::vector<std::string> PresetNames()
{
    size_t needed = 0;
    int status = selvane_preset_names(nullptr, nullptr, 0, &needed);
    std::string text(needed, '\0');
    if (status == SELVANE_OK) status = selvane_preset_names(nullptr, &text[0], text.size(), nullptr);
    if (status != SELVANE_OK) throw cError(status, selvane_status_text(status));
    std::vector<std::string> names;
    for (size_t begin = 0, end; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
        names.push_back(text.substr(begin, end - begin));
    return names;
}

/// Gives the most bytes that a tone mapper needs for a picture, whose pixels need not be there.
inline uint64_t EstimateMemory(const selvane_picture& pPicture)
{
    uint64_t bytes = 0;
    const int status = selvane_estimate_memory(&pPicture, &bytes);
    if (status != SELVANE_OK) throw cError(status, selvane_status_text(status));
    return bytes;
}

/// Smooths the frames of a sequence, which stand in the order of time.
/// @param pWindow frames that count for one; 0 is the library's choice
inline std::vector<selvane_frame> Smooth(const std::vector<selvane_frame>& pFrames, int pWindow = 0)
{
    std::vector<selvane_frame> smooth(pFrames.size(), Frame());
    const std::unique_ptr<selvane, void (*)(selvane*)> handle(selvane_new(), selvane_free); // has the text of a failure
    const int status = selvane_smooth(handle.get(), pFrames.data(), smooth.data(), pFrames.size(), pWindow);
    if (status != SELVANE_OK) throw cError(status, handle ? selvane_error(handle.get()) : selvane_status_text(status));
    return smooth;
}

/// A handle that frees itself. It can be moved, but not copied; one that was moved from can only be assigned or
/// deleted.
///
/// Failures throw cError. What a callback throws ends the call, and comes out of it as it was thrown; an executor must
/// not throw.
class cToneMapper
{
public:
    /// Gets the stage and the share of the call that is done, 0 to 1; false cancels the call.
    using tProgress = std::function<bool(selvane_stage, float)>;
    using tLog = std::function<void(const std::string&)>;
    /// Runs task(0) to task(count - 1) on any threads, and returns when all have ended.
    using tExecutor = std::function<void(const std::function<void(int)>&, int)>;

    cToneMapper() : fCallbacks(std::make_unique<sCallbacks>()), fHandle(selvane_new())
    {
        if (!fHandle) throw cError(SELVANE_ERROR_MEMORY, selvane_status_text(SELVANE_ERROR_MEMORY));
    }

    /// The handle for functions of selvane.h; it stays ours. Callbacks that are set through it are not this object's.
    selvane* Handle() const noexcept { return fHandle.get(); }

    void SetPicture(const selvane_picture& pPicture) { Check(selvane_set_picture(Handle(), &pPicture)); }

    void SetSettings(const selvane_settings& pSettings) { Check(selvane_set_settings(Handle(), &pSettings)); }
    selvane_settings GetSettings() const
    {
        selvane_settings settings = Settings();
        Check(selvane_get_settings(Handle(), &settings));
        return settings;
    }
    selvane_settings Suggest()
    {
        selvane_settings settings = Settings();
        Check(selvane_suggest(Handle(), &settings));
        return settings;
    }
    selvane_settings EffectiveSettings()
    {
        selvane_settings settings = Settings();
        Check(selvane_effective_settings(Handle(), &settings));
        return settings;
    }

    /// Measures the picture with the present settings, as a frame of a sequence.
    selvane_frame Measure()
    {
        selvane_frame frame = Frame();
        Check(selvane_measure(Handle(), &frame));
        return frame;
    }

    /// Takes the sliders and points of a frame; the rest of the settings stays.
    void SetFrame(const selvane_frame& pFrame)
    {
        selvane_settings settings = GetSettings();
        Check(selvane_frame_to_settings(Handle(), &pFrame, &settings));
        SetSettings(settings);
    }

    std::string ToText(const selvane_settings& pSettings) const
    {
        size_t needed = 0;
        Check(selvane_settings_to_text(Handle(), &pSettings, nullptr, 0, &needed));
        std::string text(needed, '\0');
        Check(selvane_settings_to_text(Handle(), &pSettings, &text[0], text.size(), nullptr));
        text.pop_back(); // the final zero
        return text;
    }
    selvane_settings FromText(const std::string& pText)
    {
        if (pText.find('\0') != std::string::npos) throw cError(SELVANE_ERROR_TEXT, "the text has a zero byte");
        selvane_settings settings = Settings();
        Check(selvane_settings_from_text(Handle(), pText.c_str(), &settings));
        return settings;
    }
    selvane_settings Preset(const std::string& pName)
    {
        if (pName.find('\0') != std::string::npos) throw cError(SELVANE_ERROR_ARGUMENT, "the name has a zero byte");
        selvane_settings settings = Settings();
        Check(selvane_preset(Handle(), pName.c_str(), &settings));
        return settings;
    }

    void Render(const selvane_target& pTarget) { Check(selvane_render(Handle(), &pTarget)); }

    /// Renders into a new image of the picture's size.
    /// @param pChannels 3, or 4 with alpha
    template <typename tSample>
    sImage<tSample> Render(int pChannels = 3, selvane_primaries pSpace = SELVANE_SRGB)
    {
        const selvane_report report = Report();
        if (report.width <= 0 || report.height <= 0)
            throw cError(SELVANE_ERROR_NO_PICTURE, selvane_status_text(SELVANE_ERROR_NO_PICTURE));
        sImage<tSample> image = Blank<tSample>(report.width, report.height, pChannels);
        Render(TargetOf(image, pSpace));
        return image;
    }

    void Preview(int pLongestSide, const selvane_target& pTarget)
    {
        Check(selvane_preview(Handle(), pLongestSide, &pTarget));
    }

    /// Renders a preview into a new image, whose longer side has at most pLongestSide pixels.
    template <typename tSample>
    sImage<tSample> Preview(int pLongestSide, int pChannels = 3, selvane_primaries pSpace = SELVANE_SRGB)
    {
        int32_t width = 0, height = 0;
        Check(selvane_preview_size(Handle(), pLongestSide, &width, &height));
        sImage<tSample> image = Blank<tSample>(width, height, pChannels);
        Preview(pLongestSide, TargetOf(image, pSpace));
        return image;
    }

    /// Writes the picture as it is, without tone mapping. @param pLongestSide 0: the whole picture
    void Plain(float pStops, int pLongestSide, const selvane_target& pTarget)
    {
        Check(selvane_plain(Handle(), pStops, pLongestSide, &pTarget));
    }

    selvane_report Report() const
    {
        selvane_report report = {};
        report.struct_size = sizeof(report);
        Check(selvane_get_report(Handle(), &report));
        return report;
    }

    /// The sentences of the suggestion's rule that decided.
    std::vector<std::string> Reasons() const
    {
        std::vector<std::string> reasons;
        for (int i = 0; const char* const reason = selvane_reason(Handle(), i); i++)
            reasons.emplace_back(reason);
        return reasons;
    }

    /// A plane of the whole picture, row by row, in decades.
    std::vector<float> Plane(selvane_plane pPlane)
    {
        const selvane_report report = Report();
        std::vector<float> values(static_cast<size_t>(report.width) * static_cast<size_t>(report.height));
        Check(selvane_get_plane(Handle(), pPlane, values.data(), 0));
        return values;
    }

    /// An empty function takes the callback away.
    void SetProgress(tProgress pProgress)
    {
        Check(selvane_set_progress(Handle(), pProgress ? &OnProgress : nullptr, fCallbacks.get()));
        fCallbacks->fProgress = std::move(pProgress);
    }
    void SetLog(tLog pLog)
    {
        Check(selvane_set_log(Handle(), pLog ? &OnLog : nullptr, fCallbacks.get()));
        fCallbacks->fLog = std::move(pLog);
    }
    void SetExecutor(tExecutor pExecutor)
    {
        Check(selvane_set_executor(Handle(), pExecutor ? &OnExecutor : nullptr, fCallbacks.get()));
        fCallbacks->fExecutor = std::move(pExecutor);
    }

    /// @param pThreads 1 to 256; 0: as many as the machine has
    void SetThreads(int pThreads) { Check(selvane_set_threads(Handle(), pThreads)); }

    /// @param pBytes 0: no limit
    void SetMemoryLimit(uint64_t pBytes) { Check(selvane_set_memory_limit(Handle(), pBytes)); }

private:
    struct sFree
    {
        void operator()(selvane* pHandle) const noexcept { selvane_free(pHandle); }
    };

    /// What the library's user pointers point to: it stays where it is when the object is moved.
    struct sCallbacks
    {
        tProgress fProgress;
        tLog fLog;
        tExecutor fExecutor;
        std::exception_ptr fThrown; ///< first exception of a callback in this call

        void Keep() noexcept
        {
            if (!fThrown) fThrown = std::current_exception();
        }
    };

    static int OnProgress(void* pUser, int pStage, float pShare) noexcept
    {
        sCallbacks& callbacks = *static_cast<sCallbacks*>(pUser);
        try {
            return callbacks.fProgress(static_cast<selvane_stage>(pStage), pShare) ? 0 : 1;
        } catch (...) {
            callbacks.Keep();
            return 1;
        }
    }

    static void OnLog(void* pUser, const char* pLine) noexcept
    {
        sCallbacks& callbacks = *static_cast<sCallbacks*>(pUser);
        try {
            callbacks.fLog(pLine);
        } catch (...) {
            callbacks.Keep();
        }
    }

    static void OnExecutor(void* pUser, void (*pTask)(void*, int), void* pContext, int pCount) noexcept
    {
        static_cast<sCallbacks*>(pUser)->fExecutor([pTask, pContext](int pIndex) { pTask(pContext, pIndex); }, pCount);
    }

    /// Throws what a callback threw, or the failure of the call.
    void Check(int pStatus) const
    {
        if (fCallbacks->fThrown) std::rethrow_exception(std::exchange(fCallbacks->fThrown, nullptr));
        if (pStatus != SELVANE_OK) throw cError(pStatus, selvane_error(Handle()));
    }

    template <typename tSample>
    static sImage<tSample> Blank(int pWidth, int pHeight, int pChannels)
    {
        if (pChannels != 3 && pChannels != 4) throw cError(SELVANE_ERROR_ARGUMENT, "an image has 3 or 4 channels");
        sImage<tSample> image = {pWidth, pHeight, pChannels, {}};
        image.fPixels.resize(static_cast<size_t>(pWidth) * static_cast<size_t>(pHeight) *
                             static_cast<size_t>(pChannels));
        return image;
    }

    template <typename tSample>
    static selvane_target TargetOf(sImage<tSample>& pImage, selvane_primaries pSpace)
    {
        selvane_target target = Target();
        target.width = pImage.fWidth;
        target.height = pImage.fHeight;
        target.format = FormatOf<tSample>();
        target.channels = pImage.fChannels;
        target.space = pSpace;
        target.pixels = pImage.fPixels.data();
        return target;
    }

    std::unique_ptr<sCallbacks> fCallbacks;
    std::unique_ptr<selvane, sFree> fHandle; // goes first
};

} // namespace Selvane

#endif
