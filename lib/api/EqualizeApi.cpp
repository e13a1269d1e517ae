// The C function that equalizes a finished picture.

#include "api/Failure.h"
#include "api/Guard.h"
#include "api/Suggestion.h"
#include "picture/Samples.h"
#include "render/Equalize.h"
#include "settings/Record.h"
#include "settings/Settings.h"
#include "write/TargetWriter.h"

using namespace SelvaneLib;

namespace
{

constexpr double kEqualizeCallWeight = 41.0;

selvane_picture CheckedPicture(const selvane_picture* pPicture)
{
    selvane_picture empty{};
    empty.struct_size = sizeof empty;
    const selvane_picture picture = TakeRecord(pPicture, empty);
    LayoutOf(picture);
    CheckPicture(picture);
    Require(picture.pixels != nullptr, "pixels of the picture is null");
    Require(IsOfIntegers(picture.format), "a picture to equalize has 8- or 16-bit integers");
    Require(picture.transfer != SELVANE_TRANSFER_ENGINE, "the engine's transfer is for pictures to tone-map");
    return picture;
}

selvane_target CheckedTarget(const selvane_target* pTarget, const selvane_picture& pPicture)
{
    selvane_target empty{};
    empty.struct_size = sizeof empty;
    const selvane_target target = TakeRecord(pTarget, empty);
    LayoutOf(target);
    CheckTarget(target);
    Require(IsOfIntegers(target.format), "an equalized picture has 8- or 16-bit integers");
    Require(target.linear == 0 && target.dither == 0, "linear or dither of an equalized picture is not 0");
    Require(target.width == pPicture.width && target.height == pPicture.height,
            "width and height of the target are not those of the picture");
    return target;
}

void EqualizePicture(selvane& pHandle, const selvane_picture* pPicture, const selvane_settings* pSettings,
                     const selvane_target* pTarget)
{
    const selvane_picture picture = CheckedPicture(pPicture);
    const selvane_settings settings = TakeSettings(pSettings);
    const selvane_target target = CheckedTarget(pTarget, picture);
    const sLayout from = LayoutOf(picture), to = LayoutOf(target);
    CheckLimit(pHandle, EqualizeBytes(from, to));
    cRun run(pHandle.fCallbacks, kEqualizeCallWeight);
    Equalize(picture, from, settings, target, to, run);
    KeepTimes(pHandle, run);
    Log(pHandle.fCallbacks, "equalized %d x %d pixels in %.1f ms", from.fWidth, from.fHeight,
        pHandle.fMilliseconds[SELVANE_STAGE_READ] + pHandle.fMilliseconds[SELVANE_STAGE_WRITE]);
}

} // namespace

int selvane_equalize(selvane* handle, const selvane_picture* picture, const selvane_settings* settings,
                     const selvane_target* target)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        EqualizePicture(*handle, picture, settings, target);
    });
}
