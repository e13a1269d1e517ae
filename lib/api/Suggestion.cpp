#include "api/Suggestion.h"

#include "api/Failure.h"
#include "settings/Settings.h"
#include "suggest/LookSettings.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <string>

namespace SelvaneLib
{

namespace
{

constexpr int kMostSuggestionPreviews = 13; // of Suggest, for the progress alone
constexpr int kSuggestionRows = 4;          // of the rows that a pixel of the reduced picture stands for

void AddTo(tStageBytes& pSum, const tStageBytes& pBytes)
{
    std::transform(pSum.begin(), pSum.end(), pBytes.begin(), pSum.begin(), std::plus<>());
}

selvane_target BytesTarget(const cPicture& pPicture, unsigned char* pRGB)
{
    selvane_target target{};
    target.struct_size = sizeof target;
    target.width = pPicture.Width();
    target.height = pPicture.Height();
    target.format = SELVANE_U8;
    target.pixels = pRGB;
    return target;
}

/// 1 for pixels that count, 0 for others; empty if all count.
std::vector<float> WeightsOf(const cPicture& pPicture)
{
    std::vector<float> weights;
    if (!pPicture.fHasInvisible) return weights;
    for (int64_t i = 0; i < pPicture.Pixels(); i++)
        weights.push_back(pPicture.IsVisible(i) ? 1.0f : 0.0f);
    return weights;
}

std::vector<float> PackedXYZ(const cPicture& pPicture)
{
    std::vector<float> xyz;
    xyz.reserve(3 * static_cast<size_t>(pPicture.Pixels()));
    for (int y = 0; y < pPicture.Height(); y++)
        xyz.insert(xyz.end(), pPicture.Row(y), pPicture.Row(y) + ptrdiff_t{3} * pPicture.Width());
    return xyz;
}

/// The reduced picture that the suggestion looks at, and nobody else; null: the picture is small enough.
std::unique_ptr<sKept> Glimpse(selvane& pHandle, cRun& pRun)
{
    const cPicture& full = *PictureOf(pHandle).fPicture;
    int width = 0, height = 0;
    ReducedSize(full.Width(), full.Height(), kSuggestionSize, width, height);
    if (width == full.Width() && height == full.Height()) return nullptr;
    CheckLimit(pHandle, SumOf(PreviewBytes(width, height, full.HasAlpha())));
    pRun.Begin(SELVANE_STAGE_READ, kReduceWeight);
    return std::make_unique<sKept>(Reduced(full, width, height, kSuggestionRows, pRun),
                                   Sampled(full, std::max(1, width / 2), std::max(1, height / 2)));
}

/// Looks at the reduced picture. Progress is asked between the previews.
sSuggestion Look(selvane& pHandle, cRun& pRun)
{
    const std::unique_ptr<sKept> own = Glimpse(pHandle, pRun);
    sKept& kept = own == nullptr ? PictureOf(pHandle) : *own;
    cPicture& picture = *kept.fPicture;
    sCallbacks quiet = pHandle.fCallbacks;
    quiet.fProgress = nullptr;
    int previews = 0;
    const std::vector<float> xyz = PackedXYZ(picture);
    const std::vector<float> weights = WeightsOf(picture);
    const sScene scene{.fXYZ = xyz.data(),
                       .fWeight = weights.empty() ? nullptr : weights.data(),
                       .fWidth = picture.Width(),
                       .fHeight = picture.Height(),
                       .fLevels = picture.fStatistics.fLevels,
                       .fIsFlat = picture.fStatistics.fFlat};
    pRun.Begin(SELVANE_STAGE_READ, kSuggestWeight);
    pRun.PauseClock();
    sSuggestion suggestion = Suggest(scene, [&](const sLook& pLook, unsigned char* pRGB) {
        pRun.Advance(static_cast<double>(previews) / kMostSuggestionPreviews);
        if (pRun.IsCancelled()) return false;
        previews++;
        cRun run(quiet, 1.0);
        const selvane_target target = BytesTarget(picture, pRGB);
        kept.fRender.Render(SettingsOf(pLook), true, target, LayoutOf(target), run);
        pRun.AddMilliseconds(run.Milliseconds());
        return true;
    });
    pRun.Advance(1.0);
    pRun.ThrowIfCancelled();
    pHandle.fSuggestionPreviews = previews;
    return suggestion;
}

} // namespace

sKept& PictureOf(selvane& pHandle)
{
    if (pHandle.fFull == nullptr) throw cFailure(SELVANE_ERROR_NO_PICTURE, "the handle has no picture yet");
    return *pHandle.fFull;
}

int64_t SumOf(const tStageBytes& pBytes)
{
    return std::accumulate(pBytes.begin(), pBytes.end(), int64_t{0});
}

tStageBytes LargeBytes(int pWidth, int pHeight, int pAlphaBytes)
{
    tStageBytes bytes = cKeptRender::StageBytes(pWidth, pHeight, pAlphaBytes > 0, true);
    bytes[SELVANE_STAGE_READ] += PictureBytes(pWidth, pHeight, pAlphaBytes);
    return bytes;
}

tStageBytes PreviewBytes(int pWidth, int pHeight, bool pHasAlpha)
{
    tStageBytes bytes = cKeptRender::StageBytes(pWidth, pHeight, pHasAlpha, true);
    AddTo(bytes, cKeptRender::StageBytes(pWidth, pHeight, pHasAlpha, false)); // the render that has its points
    bytes[SELVANE_STAGE_READ] += 2 * PictureBytes(pWidth, pHeight, pHasAlpha ? 4 : 0);
    return bytes;
}

tStageBytes HeldBytes(const selvane& pHandle)
{
    if (pHandle.fFull == nullptr) return {};
    const cPicture& full = *pHandle.fFull->fPicture;
    const bool alpha = full.HasAlpha();
    tStageBytes bytes = LargeBytes(full.Width(), full.Height(), alpha ? full.fAlphaBytes : 0);
    for (const sPreview& preview : pHandle.fPreviews)
        AddTo(bytes, PreviewBytes(preview.fKept->fPicture->Width(), preview.fKept->fPicture->Height(), alpha));
    return bytes;
}

void CheckLimit(const selvane& pHandle, int64_t pMore)
{
    const int64_t needed = SumOf(HeldBytes(pHandle)) + pMore;
    if (pHandle.fLimit != 0 && static_cast<uint64_t>(needed) > pHandle.fLimit)
        throw cFailure(SELVANE_ERROR_LIMIT, "the call needs " + std::to_string(needed) + " bytes, the limit is " +
                                                std::to_string(pHandle.fLimit));
}

void KeepTimes(selvane& pHandle, cRun& pRun)
{
    std::copy_n(pRun.Milliseconds(), SELVANE_STAGES, pHandle.fMilliseconds);
}

sKept& PreviewOf(selvane& pHandle, int pLongest, cRun& pRun)
{
    const cPicture& full = *PictureOf(pHandle).fPicture;
    int width = 0, height = 0;
    ReducedSize(full.Width(), full.Height(), pLongest, width, height);
    if (width == full.Width() && height == full.Height()) return PictureOf(pHandle);
    const int longest = std::max(width, height);
    for (const sPreview& preview : pHandle.fPreviews)
        if (preview.fLongest == longest) return *preview.fKept;
    CheckLimit(pHandle, SumOf(PreviewBytes(width, height, full.HasAlpha())));
    pHandle.fPreviews.reserve(kMostPreviews + 1);
    pRun.Begin(SELVANE_STAGE_READ, kReduceWeight);
    auto kept = std::make_unique<sKept>(Reduced(full, width, height, kAllRows, pRun), Sampled(full, width, height));
    if (pHandle.fPreviews.size() == kMostPreviews) pHandle.fPreviews.erase(pHandle.fPreviews.begin());
    pHandle.fPreviews.push_back({longest, std::move(kept)});
    return *pHandle.fPreviews.back().fKept;
}

selvane_settings SuggestedSettings(selvane& pHandle, cRun& pRun)
{
    if (!pHandle.fSuggestion) pHandle.fSuggestion = Look(pHandle, pRun);
    return SettingsOf(pHandle.fSuggestion->fLook);
}

selvane_settings EffectiveSettings(selvane& pHandle, cRun& pRun)
{
    if (pHandle.fSettings.automatic == 0) return pHandle.fSettings;
    return WithOffsets(SuggestedSettings(pHandle, pRun), pHandle.fSettings);
}

} // namespace SelvaneLib
