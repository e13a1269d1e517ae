// libselvane's functions in any order, with any pictures, settings, targets, callbacks and limits. Buffers are exactly
// as large as a call may use. What a call promises is checked after it: its status, the bytes between the samples, the
// memory that it tells, and that a new handle gives the same bytes.

#include "Bytes.h"
#include "selvane.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace SelvaneFuzz;

constexpr int kMostSteps = 12;
constexpr unsigned char kUntouched = 0xA5;

struct sFree
{
    void operator()(selvane* pHandle) const { selvane_free(pHandle); }
};
using tHandle = std::unique_ptr<selvane, sFree>;

/// Rows, pixels and samples of a buffer, in bytes from its begin.
struct sPlaces
{
    ptrdiff_t fFirst = 0; ///< of the top left pixel
    ptrdiff_t fRow = 0;
    ptrdiff_t fPixel = 0;
    ptrdiff_t fChannel = 0;
    size_t fSize = 0; ///< bytes of the buffer
};

/// What a picture looks like; its samples stand in a buffer of their own.
struct sPhoto
{
    selvane_picture fRecord{};
    sPlaces fPlaces;
    cBlock fPixels{0};
    bool fIsGood = true; ///< the record keeps all rules
};

int SampleBytes(int pFormat)
{
    return pFormat == SELVANE_U16 || pFormat == SELVANE_F16 ? 2 : pFormat == SELVANE_F32 ? 4 : 1;
}

/// Strides with gaps, rows from top or from the bottom, channels together or in planes.
sPlaces Places(cBytes& pBytes, int pWidth, int pHeight, int pChannels, int pSampleBytes)
{
    sPlaces places;
    const ptrdiff_t sample = pSampleBytes;
    const bool planes = pBytes.Byte() % 4 == 0;
    const ptrdiff_t gap = sample * (pBytes.Byte() % 4 == 0 ? pBytes.Int(1, 3) : 0);
    places.fPixel = planes ? sample + gap : sample * pChannels + gap;
    const ptrdiff_t rowBytes = places.fPixel * (pWidth - 1) + (planes ? sample : sample * pChannels);
    const ptrdiff_t row = places.fPixel * pWidth + (pBytes.Byte() % 4 == 0 ? sample * pBytes.Int(0, 5) : 0);
    places.fChannel = planes ? row * pHeight : sample;
    const ptrdiff_t picture = row * (pHeight - 1) + rowBytes + (planes ? places.fChannel * (pChannels - 1) : 0);
    places.fSize = static_cast<size_t>(picture);
    const bool bottomUp = pBytes.Byte() % 4 == 0;
    places.fRow = bottomUp ? -row : row;
    places.fFirst = bottomUp ? row * (pHeight - 1) : 0;
    return places;
}

int Side(cBytes& pBytes)
{
    const uint8_t kind = pBytes.Byte();
    return kind < 240 ? 1 + kind % 24 : kind < 250 ? 60 + kind % 40 : 600;
}

/// An exponent form has fixed strides but for its rows.
void UseExponents(sPhoto& pPhoto, cBytes& pBytes)
{
    selvane_picture& record = pPhoto.fRecord;
    record.channels = 0;
    if (record.transfer > SELVANE_TRANSFER_LINEAR) record.transfer = SELVANE_TRANSFER_DEFAULT;
    const bool bottomUp = pBytes.Flag();
    const ptrdiff_t row = ptrdiff_t{4} * record.width + (pBytes.Flag() ? 3 : 0);
    pPhoto.fPlaces = {bottomUp ? row * (record.height - 1) : 0, bottomUp ? -row : row, 0, 0,
                      static_cast<size_t>(row * (record.height - 1) + ptrdiff_t{4} * record.width)};
}

/// A field of the record becomes anything.
void Spoil(selvane_picture& pRecord, cBytes& pBytes)
{
    int32_t* const fields[] = {&pRecord.width,   &pRecord.height,    &pRecord.format,   &pRecord.channels,
                               &pRecord.order,   &pRecord.primaries, &pRecord.transfer, &pRecord.keep_hot_samples,
                               &pRecord.reserved};
    ptrdiff_t* const strides[] = {&pRecord.row_stride, &pRecord.pixel_stride, &pRecord.channel_stride};
    constexpr int32_t kValues[] = {-1,  0,       7,       99,         100,
                                   101, 1000000, 1000001, 0x7fffffff, static_cast<int32_t>(0x80000000)};
    switch (pBytes.Int(0, 3)) {
    case 0:
        *pBytes.Of(fields) = pBytes.Of(kValues);
        break;
    case 1:
        *pBytes.Of(strides) = pBytes.Raw<int64_t>();
        break;
    case 2:
        pRecord.struct_size = pBytes.Raw<size_t>() % sizeof pRecord;
        break;
    default:
        pRecord.gamma = pBytes.Float();
        pRecord.chromaticities[pBytes.Int(0, 7)] = pBytes.Float();
    }
}

/// The record reaches beyond the buffer, so the samples must not be read.
bool MayRead(const selvane_picture& pSpoiled, const selvane_picture& pGood)
{
    return pSpoiled.width == pGood.width && pSpoiled.height == pGood.height && pSpoiled.format == pGood.format &&
           pSpoiled.channels == pGood.channels && pSpoiled.row_stride == pGood.row_stride &&
           pSpoiled.pixel_stride == pGood.pixel_stride && pSpoiled.channel_stride == pGood.channel_stride;
}

void SetChromaticities(selvane_picture& pRecord, cBytes& pBytes)
{
    constexpr float kRec2020[] = {0.708f, 0.292f, 0.17f, 0.797f, 0.131f, 0.046f, 0.3127f, 0.329f};
    std::copy(std::begin(kRec2020), std::end(kRec2020), pRecord.chromaticities);
    pRecord.chromaticities[pBytes.Int(0, 7)] += 0.02f * pBytes.Unit();
}

sPhoto Photo(cBytes& pBytes)
{
    sPhoto photo;
    selvane_picture& record = photo.fRecord;
    selvane_picture_init(&record);
    record.width = Side(pBytes);
    record.height = std::min(Side(pBytes), 12000 / record.width + 1);
    record.format = pBytes.Int(SELVANE_U8, SELVANE_RGBE_PLANES);
    record.order = pBytes.Int(0, 1);
    record.keep_hot_samples = pBytes.Byte() % 8 == 0;
    constexpr int kPrimaries[] = {0, 1, 2, 3, 4, 5, 6, SELVANE_CUSTOM};
    record.primaries = pBytes.Of(kPrimaries);
    if (record.primaries == SELVANE_CUSTOM) SetChromaticities(record, pBytes);
    record.transfer = pBytes.Int(SELVANE_TRANSFER_DEFAULT, SELVANE_TRANSFER_ENGINE);
    record.gamma = 0.1f + 9.0f * pBytes.Unit();
    const bool isInteger = record.format == SELVANE_U8 || record.format == SELVANE_U16;
    if (record.transfer == SELVANE_TRANSFER_ENGINE && (!isInteger || record.primaries > SELVANE_PROPHOTO))
        record.transfer = SELVANE_TRANSFER_DEFAULT;
    record.channels = pBytes.Byte() % 3 == 0 ? 4 : 3;
    if (record.format >= SELVANE_RGBE)
        UseExponents(photo, pBytes);
    else
        photo.fPlaces = Places(pBytes, record.width, record.height, record.channels, SampleBytes(record.format));
    record.row_stride = photo.fPlaces.fRow;
    record.pixel_stride = photo.fPlaces.fPixel;
    record.channel_stride = photo.fPlaces.fChannel;
    photo.fPixels = cBlock(photo.fPlaces.fSize);
    pBytes.Fill(photo.fPixels.Data(), std::min<size_t>(photo.fPixels.Size(), 4096));
    record.pixels = photo.fPixels.Data() + photo.fPlaces.fFirst;
    return photo;
}

/// How the tasks of a call run. A copy of it in each handle's callbacks.
struct sHost
{
    int fExecutor = 0;  ///< 0: none, 1: backwards, 2: on threads
    int fCancelAt = -1; ///< number of the question that is answered by a request to stop; -1: none
    int fQuestions = 0;
    int fInProgress = 0; ///< more than 1: called twice at once
    bool fWasCancelled = false;
    size_t fLines = 0;
};

int Progress(void* pUser, int pStage, float pShare)
{
    auto* const host = static_cast<sHost*>(pUser);
    Check(__atomic_fetch_add(&host->fInProgress, 1, __ATOMIC_SEQ_CST) == 0);
    Check(pStage >= 0 && pStage < SELVANE_STAGES && pShare >= 0.0f && pShare <= 1.0f);
    const bool stop = host->fQuestions++ == host->fCancelAt;
    if (stop) host->fWasCancelled = true;
    __atomic_fetch_sub(&host->fInProgress, 1, __ATOMIC_SEQ_CST);
    return stop ? 1 : 0;
}

void Execute(void* pUser, void (*pTask)(void*, int), void* pContext, int pCount)
{
    if (static_cast<sHost*>(pUser)->fExecutor == 1) {
        for (int i = pCount; i-- > 0;)
            pTask(pContext, i);
        return;
    }
    std::vector<std::thread> threads;
    for (int i = 0; i < pCount; i++)
        threads.emplace_back(pTask, pContext, i);
    for (std::thread& thread : threads)
        thread.join();
}

void Log(void* pUser, const char* pLine)
{
    auto* const host = static_cast<sHost*>(pUser);
    host->fLines += std::strlen(pLine);
    Check(std::strchr(pLine, '\n') == nullptr);
}

/// A handle, and what it should know.
struct sProgram
{
    tHandle fHandle{selvane_new()};
    sHost fHost;
    std::shared_ptr<sPhoto> fPhoto; ///< the picture of the handle; null before the first
    selvane_settings fSettings{};
    uint64_t fLimit = 0;
    int fThreads = 1;
};

/// The status is a known one, is no fault of the library, and has a text.
void CheckStatus(const sProgram& pProgram, int pStatus)
{
    Check(pStatus >= SELVANE_OK && pStatus < SELVANE_ERROR_INTERNAL);
    Check(pStatus != SELVANE_ERROR_CANCELLED || pProgram.fHost.fWasCancelled);
    Check(pStatus != SELVANE_ERROR_LIMIT || pProgram.fLimit != 0);
    Check(pStatus != SELVANE_ERROR_NO_PICTURE || pProgram.fPhoto == nullptr);
    Check(pStatus != SELVANE_ERROR_MEMORY);
    Check(pStatus == SELVANE_OK || selvane_error(pProgram.fHandle.get())[0] != 0);
}

/// As Check, with the words of the handle for whoever runs a finding again.
void CheckCall(const sProgram& pProgram, bool pHolds)
{
    if (!pHolds) std::fprintf(stderr, "selvane_error: %s\n", selvane_error(pProgram.fHandle.get()));
    Check(pHolds);
}

/// Only a limit or a request to stop may spoil a call that keeps the rules.
void CheckGood(const sProgram& pProgram, int pStatus)
{
    CheckStatus(pProgram, pStatus);
    CheckCall(pProgram, pStatus == SELVANE_OK || pStatus == SELVANE_ERROR_CANCELLED || pStatus == SELVANE_ERROR_LIMIT);
}

void Begin(sProgram& pProgram)
{
    pProgram.fHost.fQuestions = 0;
    pProgram.fHost.fWasCancelled = false;
}

void SetPicture(cBytes& pBytes, sProgram& pProgram)
{
    auto photo = std::make_shared<sPhoto>(Photo(pBytes));
    Begin(pProgram);
    if (pBytes.Byte() % 4 == 0) {
        selvane_picture spoiled = photo->fRecord;
        Spoil(spoiled, pBytes);
        uint64_t bytes = 0;
        selvane_estimate_memory(&spoiled, &bytes);
        if (!MayRead(spoiled, photo->fRecord)) spoiled.pixels = nullptr;
        const int status = selvane_set_picture(pProgram.fHandle.get(), &spoiled);
        CheckStatus(pProgram, status);
        if (status != SELVANE_OK) return;
        photo->fRecord = spoiled;
    } else {
        const int status = selvane_set_picture(pProgram.fHandle.get(), &photo->fRecord);
        CheckGood(pProgram, status);
        if (status != SELVANE_OK) return;
    }
    pProgram.fPhoto = photo;
}

selvane_settings Settings(cBytes& pBytes)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    settings.automatic = pBytes.Byte() % 16 == 0; // a suggestion takes as long as dozens of renders
    settings.wrap = pBytes.Byte() % 4 == 0;
    settings.compression = 200.0f * pBytes.Unit() - 100.0f;
    settings.smoothness = 20.0f * pBytes.Unit() - 10.0f;
    settings.radius = 20.0f * pBytes.Unit() - 10.0f;
    settings.adaptation = 100.0f * pBytes.Unit();
    settings.white_clip = 100.0f * pBytes.Unit();
    settings.black_clip = pBytes.Flag() ? 100.0f * pBytes.Unit() : 0.0f;
    settings.exposure = pBytes.Flag() ? 40.0f * pBytes.Unit() - 20.0f : 0.0f;
    settings.contrast = 200.0f * pBytes.Unit() - 100.0f;
    settings.saturation = pBytes.Flag() ? 200.0f * pBytes.Unit() - 100.0f : 0.0f;
    for (selvane_curve* curve : {&settings.hue, &settings.hue_saturation, &settings.hue_lightness}) {
        curve->count = pBytes.Byte() % 4 == 0 ? pBytes.Int(0, SELVANE_MOST_POINTS) : 0;
        for (int i = 0; i < curve->count; i++)
            curve->points[i] = {static_cast<float>(i) / static_cast<float>(curve->count), pBytes.Unit()};
    }
    return settings;
}

void SpoilSettings(selvane_settings& pSettings, cBytes& pBytes)
{
    float* const numbers[] = {&pSettings.compression, &pSettings.smoothness, &pSettings.radius,
                              &pSettings.adaptation,  &pSettings.white_clip, &pSettings.black_clip,
                              &pSettings.exposure,    &pSettings.contrast,   &pSettings.saturation,
                              &pSettings.black_point, &pSettings.white_point};
    int32_t* const choices[] = {&pSettings.automatic, &pSettings.wrap, &pSettings.points, &pSettings.hue.count};
    if (pBytes.Flag())
        *pBytes.Of(numbers) = pBytes.Float();
    else
        *pBytes.Of(choices) = pBytes.AnyInt();
    if (pBytes.Byte() % 8 == 0) pSettings.hue.points[pBytes.Int(0, SELVANE_MOST_POINTS - 1)].x = pBytes.Float();
    if (pBytes.Byte() % 8 == 0) pSettings.struct_size = pBytes.Raw<uint16_t>();
}

bool SameSettings(const selvane_settings& pFirst, const selvane_settings& pSecond)
{
    return std::memcmp(&pFirst, &pSecond, sizeof pFirst) == 0;
}

/// Text and back gives the same record.
void CheckText(const sProgram& pProgram)
{
    size_t needed = 0;
    Check(selvane_settings_to_text(nullptr, &pProgram.fSettings, nullptr, 0, &needed) == SELVANE_OK);
    const cBlock text(needed);
    auto* const chars = text.As<char>();
    Check(selvane_settings_to_text(nullptr, &pProgram.fSettings, chars, needed, nullptr) == SELVANE_OK);
    selvane_settings back;
    selvane_settings_init(&back);
    Check(selvane_settings_from_text(pProgram.fHandle.get(), chars, &back) == SELVANE_OK);
    const cBlock again(needed);
    Check(selvane_settings_to_text(nullptr, &back, again.As<char>(), needed, nullptr) == SELVANE_OK);
    Check(text.Equals(again));
}

void SetSettings(cBytes& pBytes, sProgram& pProgram)
{
    selvane_settings settings = Settings(pBytes);
    const bool isGood = pBytes.Byte() % 4 != 0;
    if (!isGood) SpoilSettings(settings, pBytes);
    if (!isGood && settings.struct_size > sizeof settings) settings.struct_size = 0; // it would be read that far
    const int status = selvane_set_settings(pProgram.fHandle.get(), &settings);
    CheckStatus(pProgram, status);
    CheckCall(pProgram, status == SELVANE_OK || !isGood);
    selvane_settings kept;
    selvane_settings_init(&kept);
    Check(selvane_get_settings(pProgram.fHandle.get(), &kept) == SELVANE_OK);
    Check(status == SELVANE_OK || SameSettings(kept, pProgram.fSettings));
    pProgram.fSettings = kept;
    CheckText(pProgram);
}

void ReadText(cBytes& pBytes, sProgram& pProgram)
{
    std::string text;
    for (int length = pBytes.Byte(); length > 0; length--)
        text.push_back(static_cast<char>(pBytes.Byte()));
    selvane_settings settings;
    selvane_settings_init(&settings);
    const selvane_settings before = settings;
    const int status = pBytes.Flag() ? selvane_settings_from_text(pProgram.fHandle.get(), text.c_str(), &settings)
                                     : selvane_preset(pProgram.fHandle.get(), text.c_str(), &settings);
    CheckStatus(pProgram, status);
    Check(status == SELVANE_OK || SameSettings(settings, before));
    if (status == SELVANE_OK) Check(selvane_set_settings(pProgram.fHandle.get(), &settings) == SELVANE_OK);
    if (status == SELVANE_OK) pProgram.fSettings = settings;
}

void SetHost(cBytes& pBytes, sProgram& pProgram)
{
    selvane* const handle = pProgram.fHandle.get();
    pProgram.fHost.fExecutor = pBytes.Int(0, 2);
    pProgram.fHost.fCancelAt = pBytes.Byte() % 2 == 0 ? -1 : pBytes.Int(0, 3);
    pProgram.fThreads = pBytes.Int(0, 4);
    Check(selvane_set_threads(handle, pProgram.fThreads) == SELVANE_OK);
    Check(selvane_set_threads(handle, 257 + pBytes.Byte()) == SELVANE_ERROR_ARGUMENT);
    selvane_set_executor(handle, pProgram.fHost.fExecutor != 0 ? Execute : nullptr, &pProgram.fHost);
    selvane_set_progress(handle, pProgram.fHost.fCancelAt >= 0 ? Progress : nullptr, &pProgram.fHost);
    selvane_set_log(handle, pBytes.Flag() ? Log : nullptr, &pProgram.fHost);
}

void SetLimit(cBytes& pBytes, sProgram& pProgram)
{
    pProgram.fLimit = pBytes.Flag() ? 0 : uint64_t{pBytes.Raw<uint16_t>()} << pBytes.Int(0, 12);
    Check(selvane_set_memory_limit(pProgram.fHandle.get(), pProgram.fLimit) == SELVANE_OK);
}

/// A target of its own memory, filled with a byte.
struct sOutput
{
    selvane_target fRecord{};
    sPlaces fPlaces;
    cBlock fPixels{0};
};

sOutput Output(cBytes& pBytes, int pWidth, int pHeight)
{
    sOutput output;
    selvane_target& record = output.fRecord;
    selvane_target_init(&record);
    record.width = pWidth;
    record.height = pHeight;
    record.format = pBytes.Int(SELVANE_U8, SELVANE_F32);
    record.channels = pBytes.Byte() % 3 == 0 ? 4 : 3;
    record.order = pBytes.Int(0, 1);
    record.space = pBytes.Int(SELVANE_SRGB, SELVANE_REC2020);
    record.linear = pBytes.Byte() % 4 == 0;
    record.dither = record.format == SELVANE_U8 && pBytes.Byte() % 4 == 0;
    output.fPlaces = Places(pBytes, pWidth, pHeight, record.channels, SampleBytes(record.format));
    record.row_stride = output.fPlaces.fRow;
    record.pixel_stride = output.fPlaces.fPixel;
    record.channel_stride = output.fPlaces.fChannel;
    output.fPixels = cBlock(output.fPlaces.fSize, kUntouched);
    record.pixels = output.fPixels.Data() + output.fPlaces.fFirst;
    return output;
}

/// Wipes the samples, so that only the gaps are left to compare.
void WipeSamples(sOutput& pOutput)
{
    const selvane_target& record = pOutput.fRecord;
    for (int y = 0; y < record.height; y++)
        for (int x = 0; x < record.width; x++)
            for (int c = 0; c < record.channels; c++)
                std::memset(pOutput.fPixels.Data() + pOutput.fPlaces.fFirst + y * pOutput.fPlaces.fRow +
                                x * pOutput.fPlaces.fPixel + c * pOutput.fPlaces.fChannel,
                            kUntouched, static_cast<size_t>(SampleBytes(record.format)));
}

/// Writes the picture as it is, whole or reduced.
void RenderPlain(cBytes& pBytes, sProgram& pProgram, int pLongest, const selvane_target& pTarget)
{
    const float stops = pBytes.Raw<float>();
    Begin(pProgram);
    const int status = selvane_plain(pProgram.fHandle.get(), stops, pLongest, &pTarget);
    CheckStatus(pProgram, status);
    Check(status != SELVANE_OK || std::abs(stops) <= 100.0f);
}

void CheckGaps(sOutput& pOutput)
{
    WipeSamples(pOutput);
    Check(pOutput.fPixels.Equals(cBlock(pOutput.fPixels.Size(), kUntouched)));
}

/// Renders the whole picture, or a preview.
int RenderInto(const sProgram& pProgram, int pLongest, const selvane_target& pTarget)
{
    return pLongest == 0 ? selvane_render(pProgram.fHandle.get(), &pTarget)
                         : selvane_preview(pProgram.fHandle.get(), pLongest, &pTarget);
}

/// A handle that has seen nothing before gives the same bytes, on one thread.
void CheckFresh(const sProgram& pProgram, int pLongest, sOutput& pOutput)
{
    sProgram fresh;
    selvane_set_threads(fresh.fHandle.get(), 1);
    Check(selvane_set_settings(fresh.fHandle.get(), &pProgram.fSettings) == SELVANE_OK);
    Check(selvane_set_picture(fresh.fHandle.get(), &pProgram.fPhoto->fRecord) == SELVANE_OK);
    const cBlock rendered(pOutput.fPixels.Size(), kUntouched);
    selvane_target target = pOutput.fRecord;
    target.pixels = rendered.Data() + pOutput.fPlaces.fFirst;
    Check(RenderInto(fresh, pLongest, target) == SELVANE_OK);
    Check(rendered.Equals(pOutput.fPixels));
}

void SpoilTarget(selvane_target& pTarget, cBytes& pBytes)
{
    int32_t* const fields[] = {&pTarget.width, &pTarget.height, &pTarget.format, &pTarget.channels,
                               &pTarget.order, &pTarget.space,  &pTarget.linear, &pTarget.dither};
    *pBytes.Of(fields) = pBytes.AnyInt();
    if (pBytes.Flag()) pTarget.pixel_stride = pBytes.Raw<int64_t>();
    pTarget.pixels = nullptr; // whatever the record says, there is nothing to write to
}

void Render(cBytes& pBytes, sProgram& pProgram)
{
    const int longest = pBytes.Flag() ? 0 : Side(pBytes);
    int32_t width = 0, height = 0;
    const int sized = selvane_preview_size(pProgram.fHandle.get(), longest == 0 ? 1 << 30 : longest, &width, &height);
    Check(sized == (pProgram.fPhoto == nullptr ? SELVANE_ERROR_NO_PICTURE : SELVANE_OK));
    if (sized != SELVANE_OK) return;
    const selvane_picture& photo = pProgram.fPhoto->fRecord;
    Check(width >= 1 && height >= 1 && width <= photo.width && height <= photo.height);
    Check(longest == 0 || std::max(width, height) <= longest);
    sOutput output = Output(pBytes, width, height);
    Begin(pProgram);
    if (pBytes.Byte() % 8 == 0) {
        selvane_target spoiled = output.fRecord;
        SpoilTarget(spoiled, pBytes);
        const int status = RenderInto(pProgram, longest, spoiled);
        CheckStatus(pProgram, status);
        Check(status != SELVANE_OK);
        Begin(pProgram);
    }
    const int status = RenderInto(pProgram, longest, output.fRecord);
    CheckGood(pProgram, status);
    if (status == SELVANE_OK && pBytes.Flag()) CheckFresh(pProgram, longest, output);
    if (pBytes.Byte() % 4 == 0) RenderPlain(pBytes, pProgram, longest, output.fRecord);
    CheckGaps(output);
}

void Suggest(cBytes& pBytes, sProgram& pProgram)
{
    selvane_settings settings;
    selvane_settings_init(&settings);
    Begin(pProgram);
    const int status = pBytes.Flag() ? selvane_suggest(pProgram.fHandle.get(), &settings)
                                     : selvane_effective_settings(pProgram.fHandle.get(), &settings);
    CheckStatus(pProgram, status);
    if (status != SELVANE_OK) return;
    const tHandle other(selvane_new());
    Check(selvane_set_settings(other.get(), &settings) == SELVANE_OK); // within their ranges
    for (int i = 0; selvane_reason(pProgram.fHandle.get(), i) != nullptr; i++)
        Check(selvane_reason(pProgram.fHandle.get(), i)[0] != 0);
}

void Plane(cBytes& pBytes, sProgram& pProgram)
{
    if (pProgram.fPhoto == nullptr) return;
    const selvane_picture& photo = pProgram.fPhoto->fRecord;
    const ptrdiff_t gap = pBytes.Int(0, 2);
    const cBlock values(static_cast<size_t>(4 * ((photo.width + gap) * (photo.height - 1) + photo.width)), kUntouched);
    Begin(pProgram);
    const int plane = pBytes.Int(-1, 4);
    const int status = selvane_get_plane(pProgram.fHandle.get(), plane, values.As<float>(), 4 * (photo.width + gap));
    CheckStatus(pProgram, status);
    Check(status != SELVANE_OK || (plane >= SELVANE_PLANE_LUMINANCE && plane <= SELVANE_PLANE_MAPPED));
}

/// Measures the picture, puts frames of any values around it, and takes what comes out as settings.
void Smooth(cBytes& pBytes, sProgram& pProgram)
{
    selvane_frame measured;
    selvane_frame_init(&measured);
    Begin(pProgram);
    const int status = selvane_measure(pProgram.fHandle.get(), &measured);
    CheckStatus(pProgram, status);
    std::vector<selvane_frame> frames(static_cast<size_t>(pBytes.Int(0, 20)), measured);
    for (selvane_frame& frame : frames) {
        float* const values = &frame.compression; // the numbers of a frame stand one behind the other
        const int most = pBytes.Int(0, 3);
        for (int i = 0; i < most; i++)
            values[pBytes.Int(0, 10 + SELVANE_FRAME_CELLS)] = pBytes.Float();
    }
    std::vector<selvane_frame> smooth = frames;
    const int smoothed = selvane_smooth(nullptr, frames.data(), smooth.data(), frames.size(), pBytes.Int(-1, 40));
    Check(smoothed == SELVANE_OK || smoothed == SELVANE_ERROR_ARGUMENT);
    if (smoothed != SELVANE_OK) return;
    selvane_settings settings;
    selvane_settings_init(&settings);
    for (const selvane_frame& frame : smooth)
        Check(selvane_frame_to_settings(nullptr, &frame, &settings) == SELVANE_OK); // within their ranges
}

void Report(cBytes& pBytes, sProgram& pProgram)
{
    selvane_report report{};
    report.struct_size = pBytes.Byte() % 8 == 0 ? pBytes.Byte() % sizeof report : sizeof report;
    const int status = selvane_get_report(pProgram.fHandle.get(), &report);
    CheckStatus(pProgram, status);
    Check(status == SELVANE_OK || report.struct_size != sizeof report);
    if (status != SELVANE_OK || report.struct_size < sizeof report) return;
    const int64_t pixels = int64_t{report.width} * report.height;
    Check(report.visible_pixels >= 0 && report.visible_pixels <= pixels);
    Check(report.hot_pixels >= 0 && report.hot_pixels <= pixels);
    Check(report.filled_samples >= 0 && report.filled_samples <= 3 * pixels);
    Check(report.clipped_black >= 0.0f && report.clipped_black <= 1.0f);
    Check(report.clipped_white >= 0.0f && report.clipped_white <= 1.0f);
    Check(report.bytes >= 0 && (pProgram.fPhoto == nullptr) == (report.width == 0));
}

void AskConstants(cBytes& pBytes, sProgram& /*pProgram*/)
{
    const unsigned char* bytes = nullptr;
    size_t size = 0;
    const int space = pBytes.AnyInt();
    const int status = selvane_profile(space, pBytes.Int(0, 1), &bytes, &size);
    Check((status == SELVANE_OK) == (space >= SELVANE_SRGB && space <= SELVANE_REC2020));
    Check(status != SELVANE_OK || (size > 128 && std::memcmp(bytes + 36, "acsp", 4) == 0));
    Check(selvane_status_text(pBytes.AnyInt()) != nullptr);
    const int index = pBytes.AnyInt();
    Check((selvane_preset_name(index) == nullptr) == (selvane_preset_description(index) == nullptr));
    char names[64];
    const int listed =
        selvane_preset_names(nullptr, names, static_cast<size_t>(pBytes.Int(0, static_cast<int>(sizeof names))), &size);
    Check((listed == SELVANE_OK || listed == SELVANE_ERROR_ARGUMENT) && size > 1);
}

/// Begins anew, with settings that need no suggestion.
void Restart(cBytes& /*pBytes*/, sProgram& pProgram)
{
    pProgram = {};
    selvane_settings_init(&pProgram.fSettings);
    pProgram.fSettings.automatic = 0;
    Check(selvane_set_settings(pProgram.fHandle.get(), &pProgram.fSettings) == SELVANE_OK);
    Check(selvane_set_threads(pProgram.fHandle.get(), pProgram.fThreads) == SELVANE_OK);
}

using tStep = void (*)(cBytes&, sProgram&);

/// A step that stands twice is taken twice as often.
constexpr tStep kSteps[] = {SetPicture, SetPicture, SetSettings,  SetSettings, Render,   Render,
                            Render,     Render,     SetHost,      SetLimit,    ReadText, Suggest,
                            Plane,      Report,     AskConstants, Smooth,      Restart};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t pSize)
{
    cBytes bytes(pData, pSize);
    sProgram programs[2];
    for (sProgram& program : programs)
        Restart(bytes, program);
    for (int steps = 0; steps < kMostSteps && bytes.Left() > 0; steps++) {
        const uint8_t step = bytes.Byte();
        kSteps[step % std::size(kSteps)](bytes, programs[step >> 7]);
    }
    return 0;
}
