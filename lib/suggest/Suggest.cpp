#include "suggest/Suggest.h"

#include "suggest/Character.h"
#include "suggest/Impression.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

// The search. Three white clips are tried. For each, the compression walks until the preview is as bright as it
// should be,
// and the contrast until it has the local contrast that it should have. If even the least white clip burns or is too
// bright, the exposure is held back instead of the third. That makes 13 previews at most: 3 + 2 + 2 for the white
// clips, 2 x 2 for the exposure, 2 for the balance in the end.

namespace SelvaneLib
{

namespace
{

constexpr double kLeastRange = 0.02; // decades between the levels
constexpr double kBetterBy = 5e-4;   // score that a later look must be ahead: equals keep the earlier one

constexpr float kMiddleClip = 12.0f;
constexpr float kLeastClip = 4.0f;
constexpr float kMostClip = 36.0f;
constexpr float kMostExposure = 1.0f; // stops either way
constexpr float kLeastContrast = -35.0f;
constexpr float kMostContrastKey = 60.0f;

struct sTrial
{
    sLook fLook;
    sImpression fSeen;
    double fScore = -1e30;
};

/// Printed forms of a number in a sentence.
std::string Sentence(const char* pFormat, double pValue)
{
    char words[200];
    std::snprintf(words, sizeof words, pFormat, pValue);
    return words;
}

class cSearch
{
public:
    cSearch(const sScene& pScene, const tRenderPreview& pRender, const sCharacter& pCharacter)
        : fScene(pScene), fRender(pRender), fAim(AimFor(pCharacter)),
          fPixels(3 * static_cast<size_t>(pScene.fWidth) * static_cast<size_t>(pScene.fHeight))
    {
        fMostCompression = static_cast<float>(100.0 - 60.0 * std::max(pCharacter.fHighKey, pCharacter.fVioletShadows));
        fFirst.white_clip = kMiddleClip;
        fFirst.black_clip = static_cast<float>(std::round(20.0 * (0.4 + 0.6 * pCharacter.fNight)) / 20.0);
    }

    void Run()
    {
        const sTrial middle = Walk(fFirst, 3);
        const sTrial least = Walk(With(middle.fLook, kLeastClip, +10.0f), 2);
        if (IsTooBright(least))
            HoldBack(least);
        else
            Open(middle, least);
        Balance();
    }

    const sTrial& Best() const { return fBest; }
    bool IsStopped() const { return fIsStopped; }
    size_t Previews() const { return fPreviews; }

private:
    float Compression(float pWanted) const { return std::clamp(std::round(pWanted), -100.0f, fMostCompression); }

    sLook With(sLook pLook, float pWhiteClip, float pMoreCompression) const
    {
        pLook.white_clip = pWhiteClip;
        pLook.compression = Compression(pLook.compression + pMoreCompression);
        return pLook;
    }

    bool IsTooBright(const sTrial& pTrial) const
    {
        return pTrial.fSeen.fMean > fAim.fMean + 8.0 || pTrial.fSeen.fBurnt > fAim.fBurnt + 0.005;
    }

    bool IsTooDark(const sTrial& pTrial) const
    {
        return pTrial.fSeen.fMean < fAim.fMean - 8.0 && pTrial.fLook.compression > fMostCompression - 5.0f;
    }

    void HoldBack(sTrial pFrom)
    {
        while (CanGoOn(pFrom) && IsTooBright(pFrom) && pFrom.fLook.exposure > -kMostExposure)
            pFrom = Exposed(pFrom, -0.5f);
    }

    /// Tries the largest white clip, and beyond it more exposure if the picture stays too dark.
    void Open(const sTrial& pMiddle, const sTrial& pLeast)
    {
        const sTrial most = Walk(With(pMiddle.fLook, kMostClip, -12.0f), 2);
        if (!IsTooDark(most)) return TryMore(pMiddle, pLeast, most);
        sTrial from = most;
        while (CanGoOn(from) && IsTooDark(from) && from.fLook.exposure < kMostExposure)
            from = Exposed(from, 0.5f);
    }

    bool CanGoOn(const sTrial& pFrom) const { return !fIsStopped && pFrom.fScore != sTrial{}.fScore; }

    sTrial Exposed(const sTrial& pFrom, float pStops)
    {
        sLook look = pFrom.fLook;
        look.exposure += pStops;
        return Walk(look, 2);
    }

    /// A look between the best two white clips, if they are neighbours.
    void TryMore(const sTrial& pMiddle, const sTrial& pLeast, const sTrial& pMost)
    {
        if (pMiddle.fScore < std::min(pLeast.fScore, pMost.fScore)) return;
        const sTrial& other = pMost.fScore > pLeast.fScore ? pMost : pLeast;
        sLook look = pMiddle.fLook;
        look.white_clip = std::round(std::sqrt(look.white_clip * other.fLook.white_clip));
        look.compression = Compression(0.5f * (look.compression + other.fLook.compression));
        look.contrast = std::round(0.5f * (look.contrast + other.fLook.contrast));
        Walk(look, 2);
    }

    /// Where the contrast key is at its end and the contrast is not there yet, compression gives up some brightness
    /// for it.
    void Balance()
    {
        constexpr float kNearEnd = 15.0f;
        const sTrial from = fBest;
        const double ratio = from.fSeen.fContrast / fAim.fContrast;
        const bool isTooHard = ratio > 1.1 && from.fLook.contrast <= kLeastContrast + kNearEnd;
        const bool isTooSoft = ratio < 0.9 && from.fLook.contrast >= kMostContrastKey - kNearEnd;
        if (!isTooHard && !isTooSoft) return;
        for (const float step : {30.0f, 60.0f}) {
            sLook look = from.fLook;
            look.compression = Compression(look.compression + (isTooHard ? -step : step / 2.0f));
            if (look.compression == fBest.fLook.compression) return;
            const std::optional<sTrial> trial = Try(look);
            if (!trial || trial->fScore < fBest.fScore) return;
        }
    }

    /// Up to pSteps previews towards the aim. Returns the best of them.
    sTrial Walk(sLook pLook, int pSteps)
    {
        sTrial best, last;
        for (int step = 0; step < pSteps; step++) {
            const std::optional<sTrial> trial = Try(pLook);
            if (!trial) break;
            if (trial->fScore > best.fScore) best = *trial;
            if (step > 0) LearnSlope(last, *trial);
            const sLook next = Towards(*trial);
            if (next.compression == pLook.compression && next.contrast == pLook.contrast) break;
            if (IsNear(*trial, next)) break;
            last = *trial;
            pLook = next;
        }
        return best;
    }

    std::optional<sTrial> Try(const sLook& pLook)
    {
        if (fIsStopped) return std::nullopt;
        if (!fRender(pLook, fPixels.data())) {
            fIsStopped = true;
            return std::nullopt;
        }
        fPreviews++;
        sTrial trial{pLook, ImpressionOf(fScene, fPixels.data()), 0.0};
        trial.fScore = Score(trial.fSeen, fAim);
        if (trial.fScore > fBest.fScore + kBetterBy) fBest = trial;
        return trial;
    }

    /// How many grey levels a step of compression brightens.
    void LearnSlope(const sTrial& pFrom, const sTrial& pTo)
    {
        const double step = static_cast<double>(pTo.fLook.compression - pFrom.fLook.compression);
        if (std::fabs(step) > 5.0) fSlope = std::clamp((pTo.fSeen.fMean - pFrom.fSeen.fMean) / step, 0.3, 0.9);
    }

    sLook Towards(const sTrial& pTrial) const
    {
        constexpr double kContrastRate = 0.005; // share of local contrast that a step of the contrast key adds
        const double more = std::clamp((fAim.fMean - pTrial.fSeen.fMean) / fSlope, -60.0, 60.0);
        const double lack = fAim.fContrast / std::max(pTrial.fSeen.fContrast, 1.0) - 1.0;
        sLook look = pTrial.fLook;
        look.compression = Compression(look.compression + static_cast<float>(more));
        look.contrast += static_cast<float>(std::clamp(lack / kContrastRate, -40.0, 40.0));
        look.contrast = std::clamp(std::round(look.contrast), kLeastContrast, kMostContrastKey);
        return look;
    }

    bool IsNear(const sTrial& pTrial, const sLook& pNext) const
    {
        return std::fabs(pTrial.fSeen.fMean - fAim.fMean) < 3.0 &&
               std::fabs(pNext.contrast - pTrial.fLook.contrast) < 6.0f;
    }

    const sScene& fScene;
    const tRenderPreview& fRender;
    sAim fAim;
    std::vector<unsigned char> fPixels;
    sLook fFirst;
    sTrial fBest;
    float fMostCompression = 100.0f; // less on bright walls and snow, for halos, and on violet noise
    double fSlope = 0.5;
    size_t fPreviews = 0;
    bool fIsStopped = false;
};

void Tell(std::vector<sReason>& pReasons, const char* pRule, double pValue, const char* pFormat)
{
    pReasons.push_back({pRule, Sentence(pFormat, pValue), pValue});
}

void TellIfAny(std::vector<sReason>& pReasons, const char* pRule, double pValue, const char* pFormat)
{
    if (pValue > 0.0) Tell(pReasons, pRule, pValue, pFormat);
}

void TellCharacter(const sCharacter& pCharacter, std::vector<sReason>& pReasons)
{
    TellIfAny(
        pReasons, "dark-place", pCharacter.fDarkPlace,
        "The mean luminance lies far below white: the place was dark, so the picture stays darker (weight %.2f).");
    TellIfAny(pReasons, "low-key", pCharacter.fLowKey,
              "Most of the scene is near its darkest parts: it stays dark around its lights (weight %.2f).");
    TellIfAny(pReasons, "violet-shadows", pCharacter.fVioletShadows,
              "The darkest tenth is violet, which is noise: it is not pulled up (weight %.2f).");
    TellIfAny(pReasons, "high-key", pCharacter.fHighKey,
              "Most of the scene is near its brightest parts, or nothing is dark: it stays bright (weight %.2f).");
    Tell(pReasons, "texture", pCharacter.fTexture,
         "The local contrast of the scene is %.3f decades; the picture's contrast follows it.");
}

void TellResult(const cSearch& pSearch, std::vector<sReason>& pReasons)
{
    const sImpression& seen = pSearch.Best().fSeen;
    Tell(pReasons, "brightness", seen.fMean, "The mean grey level of the preview is %.0f of 255.");
    Tell(pReasons, "contrast", seen.fContrast, "The local contrast of the preview is %.1f grey levels.");
    const auto exposure = static_cast<double>(pSearch.Best().fLook.exposure);
    TellIfAny(pReasons, "held-back", -exposure,
              "The exposure is held back by %.2f stops, so that bright areas keep their drawing.");
    TellIfAny(pReasons, "lifted", exposure,
              "The exposure is lifted by %.2f stops: windows and lamps may burn so that walls are white.");
    Tell(pReasons, "burnt", seen.fBurnt, "A share of %.4f of the preview is white.");
}

bool HasLight(const sScene& pScene)
{
    const sLevels& levels = pScene.fLevels;
    if (pScene.fXYZ == nullptr || pScene.fWidth < 1 || pScene.fHeight < 1 || levels.fIsEmpty) return false;
    const size_t count = static_cast<size_t>(pScene.fWidth) * static_cast<size_t>(pScene.fHeight);
    for (size_t i = 0; i < count; i++)
        if (Counts(pScene, i)) return true;
    return false;
}

} // namespace

sSuggestion Suggest(const sScene& pScene, const tRenderPreview& pRender)
{
    sSuggestion suggestion;
    std::vector<sReason>& reasons = suggestion.fReasons;
    const double range = pScene.fLevels.fHigh - pScene.fLevels.fLow;
    if (!HasLight(pScene)) {
        Tell(reasons, "no-light", 1.0, "No pixel has light, so the default look is taken.");
        return suggestion;
    }
    if (!(range >= kLeastRange)) {
        Tell(reasons, "one-tone", range, "All luminances lie within %.3f decades, so the default look is taken.");
        return suggestion;
    }
    const sCharacter character = CharacterOf(pScene);
    cSearch search(pScene, pRender, character);
    search.Run();
    TellCharacter(character, reasons);
    const auto previews = static_cast<double>(search.Previews());
    if (search.Previews() > 0) {
        suggestion.fLook = search.Best().fLook;
        TellResult(search, reasons);
    }
    if (search.IsStopped())
        Tell(reasons, "stopped", previews, "The search was stopped after %.0f previews.");
    else
        Tell(reasons, "previews", previews, "%.0f previews were looked at.");
    return suggestion;
}

} // namespace SelvaneLib
