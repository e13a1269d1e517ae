// The C functions that render.

#include "api/Failure.h"
#include "api/Guard.h"
#include "api/Suggestion.h"
#include "settings/Record.h"
#include "settings/Settings.h"
#include "write/Space.h"
#include "write/TargetWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace SelvaneLib;

namespace
{

constexpr double kRenderWeight = 13.0; // of a call, before its stages are planned
constexpr double kPlainWeight = 4.0;
constexpr float kMostStops = 100.0f; // either way, of a plain picture

selvane_target EmptyTarget()
{
    selvane_target target{};
    target.struct_size = sizeof target;
    return target;
}

/// The engine gives black for a flat picture. Ours keeps its grey, but for integers with settings of the caller's own,
/// whose bytes are those of the engine's entry.
bool KeepsGrey(const selvane& pHandle)
{
    return pHandle.fSettings.automatic != 0 || !pHandle.fFull->fPicture->fOfIntegers;
}

void CheckSize(const selvane_target& pTarget, int pWidth, int pHeight)
{
    Require(pTarget.width == pWidth && pTarget.height == pHeight,
            "width and height of the target are not those of the picture");
}

void RenderInto(selvane& pHandle, sKept& pKept, const selvane_target& pTarget, cRun& pRun)
{
    CheckLimit(pHandle, 0); // the planes come with the first render, and the limit may have sunk since the picture came
    const selvane_settings settings = EffectiveSettings(pHandle, pRun);
    pRun.Plan(pKept.fRender.WeightFor(settings));
    pKept.fRender.Render(settings, KeepsGrey(pHandle), pTarget, LayoutOf(pTarget), pRun);
    pHandle.fLatest = {};
    pKept.fRender.Report(pHandle.fLatest);
    KeepTimes(pHandle, pRun);
    const double* ms = pHandle.fMilliseconds;
    Log(pHandle.fCallbacks, "rendered %d x %d pixels: split %.1f, map %.1f, points %.1f, write %.1f ms", pTarget.width,
        pTarget.height, ms[SELVANE_STAGE_SPLIT], ms[SELVANE_STAGE_MAP], ms[SELVANE_STAGE_POINTS],
        ms[SELVANE_STAGE_WRITE]);
}

selvane_target CheckedTarget(const selvane_target* pTarget)
{
    const selvane_target target = TakeRecord(pTarget, EmptyTarget(), kFirstTargetSize);
    LayoutOf(target);
    CheckTarget(target);
    return target;
}

void Render(selvane& pHandle, const selvane_target* pTarget)
{
    sKept& kept = PictureOf(pHandle);
    const selvane_target target = CheckedTarget(pTarget);
    CheckSize(target, kept.fPicture->Width(), kept.fPicture->Height());
    const bool suggests = pHandle.fSettings.automatic != 0 && !pHandle.fSuggestion;
    cRun run(pHandle.fCallbacks, kRenderWeight + (suggests ? kReduceWeight + kSuggestWeight : 0.0));
    RenderInto(pHandle, kept, target, run);
}

void Preview(selvane& pHandle, int pLongest, const selvane_target* pTarget)
{
    const cPicture& full = *PictureOf(pHandle).fPicture;
    Require(pLongest >= 1, "the longest side is below 1");
    const selvane_target target = CheckedTarget(pTarget);
    int width = 0, height = 0;
    ReducedSize(full.Width(), full.Height(), pLongest, width, height);
    CheckSize(target, width, height);
    cRun run(pHandle.fCallbacks, kReduceWeight + kSuggestWeight + 2 * kRenderWeight);
    EffectiveSettings(pHandle, run); // first, since it makes a preview of its own
    RenderInto(pHandle, PreviewOf(pHandle, pLongest, run), target, run);
}

void Plain(selvane& pHandle, float pStops, int pLongest, const selvane_target* pTarget)
{
    const cPicture& full = *PictureOf(pHandle).fPicture;
    Require(pStops >= -kMostStops && pStops <= kMostStops, "stops is not -100 to 100");
    Require(pLongest >= 0, "the longest side is below 0");
    const selvane_target target = CheckedTarget(pTarget);
    int width = full.Width(), height = full.Height();
    if (pLongest > 0) ReducedSize(full.Width(), full.Height(), pLongest, width, height);
    CheckSize(target, width, height);
    CheckLimit(pHandle, 0);
    cRun run(pHandle.fCallbacks, kReduceWeight + kPlainWeight);
    const cPicture& picture = pLongest == 0 ? full : *PreviewOf(pHandle, pLongest, run).fPicture;
    const sLayout layout = LayoutOf(target);
    cTargetTables tables;
    tables.Prepare(target);
    const Vornik::cMatrix33 fromXYZ = FromXYZ(target.space, target.chromaticities);
    const double factor = std::exp2(static_cast<double>(pStops));
    run.Plan(kPlainWeight);
    run.Begin(SELVANE_STAGE_WRITE, kPlainWeight);
    run.DivideOrThrow(0, height, width, [&](int, int pBegin, int pEnd) {
        for (int y = pBegin; y < pEnd; y++)
            WritePlainRow(target, layout, tables, fromXYZ, factor, picture, y);
    });
}

void CopyPlane(selvane& pHandle, int pPlane, float* pValues, ptrdiff_t pRowStride)
{
    sKept& kept = PictureOf(pHandle);
    const cPicture& picture = *kept.fPicture;
    Require(pPlane >= SELVANE_PLANE_LUMINANCE && pPlane <= SELVANE_PLANE_MAPPED, "the plane is unknown");
    Require(pValues != nullptr, "the values are null");
    const auto rowBytes = static_cast<ptrdiff_t>(sizeof(float)) * picture.Width();
    const ptrdiff_t stride = pRowStride == 0 ? rowBytes : pRowStride;
    CheckStride(stride);
    Require(stride >= rowBytes || stride <= -rowBytes || picture.Height() == 1, "the row stride makes rows overlap");
    Require(stride % static_cast<ptrdiff_t>(sizeof(float)) == 0, "the row stride is no multiple of 4");
    CheckLimit(pHandle, 0);
    cRun run(pHandle.fCallbacks, kRenderWeight);
    const selvane_settings settings = EffectiveSettings(pHandle, run);
    const bool maps = pPlane == SELVANE_PLANE_MAPPED;
    run.Plan(maps ? kept.fRender.MapWeightFor(settings) : kept.fRender.SplitWeightFor(settings));
    kept.fRender.Split(settings, run);
    if (maps) kept.fRender.Map(settings, run);
    KeepTimes(pHandle, run);
    for (int y = 0; y < picture.Height(); y++)
        kept.fRender.CopyPlaneRow(pPlane, y, pValues + y * (stride / static_cast<ptrdiff_t>(sizeof(float))));
}

} // namespace

void selvane_target_init(selvane_target* target)
{
    if (target != nullptr) *target = EmptyTarget();
}

int selvane_set_settings(selvane* handle, const selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        handle->fSettings = TakeSettings(settings);
    });
}

int selvane_get_settings(const selvane* handle, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        GiveRecord(handle->fSettings, settings);
    });
}

int selvane_suggest(selvane* handle, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        PictureOf(*handle);
        CheckRecord(settings);
        cRun run(handle->fCallbacks, kReduceWeight + kSuggestWeight);
        GiveRecord(SuggestedSettings(*handle, run), settings);
        KeepTimes(*handle, run);
    });
}

int selvane_effective_settings(selvane* handle, selvane_settings* settings)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        PictureOf(*handle);
        CheckRecord(settings);
        cRun run(handle->fCallbacks, kReduceWeight + kSuggestWeight);
        GiveRecord(EffectiveSettings(*handle, run), settings);
        KeepTimes(*handle, run);
    });
}

int selvane_render(selvane* handle, const selvane_target* target)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Render(*handle, target);
    });
}

int selvane_preview_size(const selvane* handle, int longest_side, int32_t* width, int32_t* height)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Require(width != nullptr && height != nullptr, "width or height is null");
        Require(longest_side >= 1, "the longest side is below 1");
        if (handle->fFull == nullptr) throw cFailure(SELVANE_ERROR_NO_PICTURE, "the handle has no picture yet");
        const cPicture& picture = *handle->fFull->fPicture;
        ReducedSize(picture.Width(), picture.Height(), longest_side, *width, *height);
    });
}

int selvane_preview(selvane* handle, int longest_side, const selvane_target* target)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Preview(*handle, longest_side, target);
    });
}

int selvane_plain(selvane* handle, float stops, int longest_side, const selvane_target* target)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        Plain(*handle, stops, longest_side, target);
    });
}

int selvane_get_plane(selvane* handle, int plane, float* values, ptrdiff_t row_stride)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        CopyPlane(*handle, plane, values, row_stride);
    });
}
