// The C functions that take a picture.

#include "api/Failure.h"
#include "api/Guard.h"
#include "api/Suggestion.h"
#include "settings/Record.h"

#include <algorithm>

using namespace SelvaneLib;

namespace
{

selvane_picture EmptyPicture()
{
    selvane_picture picture{};
    picture.struct_size = sizeof picture;
    return picture;
}

int AlphaBytesOf(const selvane_picture& pPicture, const sLayout& pLayout)
{
    return pPicture.channels == 4 ? pLayout.fSampleBytes : 0;
}

/// Bytes for a picture, its render and the previews of the suggestion.
int64_t BytesFor(const selvane_picture& pPicture, const sLayout& pLayout)
{
    int width = 0, height = 0;
    ReducedSize(pLayout.fWidth, pLayout.fHeight, kSuggestionSize, width, height);
    const int alpha = AlphaBytesOf(pPicture, pLayout);
    return SumOf(LargeBytes(pLayout.fWidth, pLayout.fHeight, alpha)) + SumOf(PreviewBytes(width, height, alpha > 0));
}

void SetPicture(selvane& pHandle, const selvane_picture* pPicture)
{
    const selvane_picture picture = TakeRecord(pPicture, EmptyPicture());
    const sLayout layout = LayoutOf(picture);
    CheckPicture(picture);
    Require(picture.pixels != nullptr, "pixels of the picture is null");
    const int alpha = AlphaBytesOf(picture, layout);
    CheckLimit(pHandle, SumOf(LargeBytes(layout.fWidth, layout.fHeight, alpha)));
    cRun run(pHandle.fCallbacks, kReadWeight);
    auto kept = std::make_unique<sKept>(ReadPicture(picture, layout, run));
    pHandle.fFull = std::move(kept);
    pHandle.fPreviews.clear();
    pHandle.fSuggestion.reset();
    pHandle.fSuggestionPreviews = 0;
    pHandle.fLatest = {};
    KeepTimes(pHandle, run);
    Log(pHandle.fCallbacks, "read %d x %d pixels in %.1f ms", layout.fWidth, layout.fHeight,
        pHandle.fMilliseconds[SELVANE_STAGE_READ]);
}

} // namespace

void selvane_picture_init(selvane_picture* picture)
{
    if (picture != nullptr) *picture = EmptyPicture();
}

int selvane_set_picture(selvane* handle, const selvane_picture* picture)
{
    return Guarded(handle, [&] {
        Require(handle != nullptr, "the handle is null");
        SetPicture(*handle, picture);
    });
}

int selvane_estimate_memory(const selvane_picture* picture, uint64_t* bytes)
{
    return Guarded(nullptr, [&] {
        Require(bytes != nullptr, "bytes is null");
        const selvane_picture checked = TakeRecord(picture, EmptyPicture());
        *bytes = static_cast<uint64_t>(BytesFor(checked, LayoutOf(checked)));
    });
}
