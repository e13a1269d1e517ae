// The C functions for pictures over time.

#include "api/Failure.h"
#include "api/Guard.h"
#include "api/Suggestion.h"
#include "sequence/Cells.h"
#include "sequence/Smooth.h"
#include "settings/Record.h"
#include "settings/Settings.h"

#include <algorithm>
#include <cmath>
#include <string>

using namespace SelvaneLib;

namespace
{

constexpr double kPointsWeight = 9.0; // of a measurement, before its stages are planned

/// A slider that frames and settings have.
struct sSlider
{
    float selvane_frame::*fOfFrame;
    float selvane_settings::*fOfSettings;
};

constexpr sSlider kSliders[] = {
    {&selvane_frame::compression, &selvane_settings::compression},
    {&selvane_frame::smoothness, &selvane_settings::smoothness},
    {&selvane_frame::radius, &selvane_settings::radius},
    {&selvane_frame::adaptation, &selvane_settings::adaptation},
    {&selvane_frame::white_clip, &selvane_settings::white_clip},
    {&selvane_frame::black_clip, &selvane_settings::black_clip},
    {&selvane_frame::exposure, &selvane_settings::exposure},
    {&selvane_frame::contrast, &selvane_settings::contrast},
    {&selvane_frame::saturation, &selvane_settings::saturation},
};

selvane_frame EmptyFrame()
{
    selvane_frame frame{};
    frame.struct_size = sizeof frame;
    return frame;
}

/// Settings with the sliders and points of a frame; what it does not hold is that of pRest.
selvane_settings SettingsOf(const selvane_frame& pFrame, const selvane_settings& pRest)
{
    selvane_settings settings = pRest;
    for (const sSlider& slider : kSliders)
        settings.*slider.fOfSettings = pFrame.*slider.fOfFrame;
    const bool hasPoints = pFrame.white_point > 0.0f;
    settings.automatic = 0;
    settings.points = hasPoints ? SELVANE_POINTS_GIVEN : SELVANE_POINTS_MEASURED;
    settings.black_point = hasPoints ? pFrame.black_point : 0.0f;
    settings.white_point = hasPoints ? pFrame.white_point : 0.0f;
    return settings;
}

/// Copies a caller's frame and checks it. @throws cFailure that names the value
selvane_frame TakeFrame(const selvane_frame* pFrame)
{
    const selvane_frame frame = TakeRecord(pFrame, EmptyFrame());
    const bool isPoint = frame.black_point >= 0.0f && frame.white_point >= 0.0f; // NaN is none
    Require(isPoint, "a point of a frame must be 0 or above");
    CheckSettings(SettingsOf(frame, DefaultSettings()));
    const auto isFinite = [](float pValue) { return std::isfinite(pValue); };
    Require(std::all_of(std::begin(frame.cells), std::end(frame.cells), isFinite), "a cell of a frame is not finite");
    Require(frame.reserved == 0, "reserved must be 0");
    return frame;
}

/// The record at an index of an array whose records have the size of its first.
template <class tRecord>
tRecord* RecordAt(tRecord* pFirst, size_t pIndex)
{
    using tByte = std::conditional_t<std::is_const_v<tRecord>, const char, char>;
    return reinterpret_cast<tRecord*>(reinterpret_cast<tByte*>(pFirst) + pIndex * pFirst->struct_size);
}

void CheckSizes(const selvane_frame* pFirst, size_t pCount)
{
    CheckRecord(pFirst);
    Require(pFirst->struct_size % alignof(selvane_frame) == 0, "struct_size of a frame is no multiple of 8");
    for (size_t i = 1; i < pCount; i++)
        Require(RecordAt(pFirst, i)->struct_size == pFirst->struct_size, "the records differ in struct_size");
}

/// Copies and checks all frames. A failure names the frame by its number, from 1 on.
std::vector<selvane_frame> TakeFrames(const selvane_frame* pFrames, size_t pCount)
{
    std::vector<selvane_frame> frames;
    frames.reserve(pCount);
    for (size_t i = 0; i < pCount; i++) {
        try {
            frames.push_back(TakeFrame(RecordAt(pFrames, i)));
        } catch (const cFailure& failure) {
            throw cFailure(failure.Status(), "frame " + std::to_string(i + 1) + ": " + failure.what());
        }
    }
    return frames;
}

void SmoothFrames(const selvane_frame* pFrames, selvane_frame* pSmooth, size_t pCount, int pWindow)
{
    Require(pWindow >= 0 && pWindow <= kMostWindow, "window must lie between 0 and 100000");
    if (pCount == 0) return;
    CheckSizes(pFrames, pCount);
    CheckSizes(pSmooth, pCount);
    const std::vector<selvane_frame> smooth =
        Smooth(TakeFrames(pFrames, pCount), pWindow == 0 ? kUsualWindow : pWindow);
    for (size_t i = 0; i < pCount; i++)
        GiveRecord(smooth[i], RecordAt(pSmooth, i));
}

void Measure(selvane& pHandle, selvane_frame* pFrame)
{
    sKept& kept = PictureOf(pHandle);
    CheckRecord(pFrame);
    CheckLimit(pHandle, 0);
    cRun run(pHandle.fCallbacks, kReduceWeight + kSuggestWeight + kPointsWeight);
    const selvane_settings settings = EffectiveSettings(pHandle, run);
    run.Plan(kept.fRender.PointsWeightFor(settings));
    kept.fRender.FindAllPoints(settings, run);
    pHandle.fLatest = {};
    kept.fRender.Report(pHandle.fLatest);
    KeepTimes(pHandle, run);

    selvane_frame frame = EmptyFrame();
    for (const sSlider& slider : kSliders)
        frame.*slider.fOfFrame = settings.*slider.fOfSettings;
    if (kept.fRender.HasPoints()) {
        frame.black_point = pHandle.fLatest.black_point;
        frame.white_point = pHandle.fLatest.white_point;
    }
    MeasureCells(*kept.fPicture, kept.fRender, frame.cells);
    GiveRecord(frame, pFrame);
}

} // namespace

void selvane_frame_init(selvane_frame* frame)
{
    if (frame != nullptr) *frame = EmptyFrame();
}

int selvane_measure(selvane* handle, selvane_frame* frame)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Measure(*handle, frame);
    });
}

int selvane_smooth(const selvane* handle, const selvane_frame* frames, selvane_frame* smooth, size_t count, int window)
{
    return Guarded(handle, [&] { SmoothFrames(frames, smooth, count, window); });
}

int selvane_frame_to_settings(const selvane* handle, const selvane_frame* frame, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        const selvane_frame taken = TakeFrame(frame);
        const selvane_settings rest = TakeSettings(settings);
        GiveRecord(SettingsOf(taken, rest), settings, kFirstSettingsSize);
    });
}
