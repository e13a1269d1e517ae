#include "suggest/Suggest.h"

#include "suggest/Character.h"
#include "suggest/Impression.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <optional>
#include <set>

// The search. Two or three white clips are tried. For each, the compression walks until the preview is as bright as it
// should be, and the contrast until it has the local contrast that it should have. If even the least white clip burns
// or is too bright, the exposure is held back instead of the third. Then the best look is refined, one setting at a
// time, until there are no previews left.

namespace SelvaneLib
{

namespace
{

constexpr double kOneTone = 0.1;      // decades between the levels: such a picture keeps its own contrast
constexpr double kFewTones = 0.3;     // decades between the levels from which on it does not
constexpr double kBetterBy = 5e-4;    // score that a later look must be ahead: equals keep the earlier one
constexpr double kWorthTelling = 0.1; // least weight of a part of the rule that the report names
constexpr size_t kMostPreviews = 13;

constexpr float kMiddleClip = 12.0f;
constexpr float kLeastClip = 4.0f;
constexpr float kLeastRefinedClip = 0.5f;
constexpr float kMostClip = 36.0f;
constexpr float kMostLift = 1.0f;        // stops
constexpr float kLeastContrast = -40.0f; // less would make foliage hazy
constexpr float kMostContrast = 60.0f;   // more changes nothing
constexpr float kWideRadius = -8.0f;     // wide: no halo along roofs

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

constexpr double kMostStretch = 0.6; // of the way from 0 to the darkest tones, for the black point of few tones
constexpr double kLeastGrey = 0.02;  // own grey of a scene of one tone, linear
constexpr double kMostGrey = 0.8;
constexpr double kMostLuminance = 1e30; // of a point

/// Linear light of a grey level, 0 to 1 (the sRGB curve).
double LinearOf(double pGreyLevel)
{
    const double encoded = pGreyLevel / 255.0;
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

class cSearch
{
public:
    cSearch(const sScene& pScene, const tRenderPreview& pRender, const sCharacter& pCharacter)
        : fScene(pScene), fRender(pRender), fAim(AimFor(pCharacter)),
          fPixels(3 * static_cast<size_t>(pScene.fWidth) * static_cast<size_t>(pScene.fHeight))
    {
        const double violet = pCharacter.fVioletShadows;
        fMostCompression = static_cast<float>(100.0 - std::max(60.0 * pCharacter.fHighKey, 90.0 * violet * violet));
        fMostHeldBack = static_cast<float>(1.0 + violet);
        fFirst.white_clip = kMiddleClip;
        fFirst.radius = kWideRadius;
        fFirst.black_clip = static_cast<float>(std::round(20.0 * (0.4 + 0.6 * pCharacter.fNight)) / 20.0);
        fFirst.saturation = static_cast<float>(std::round(-60.0 * std::min(1.25 * violet, 1.0)) + 0.0);
    }

    void Run()
    {
        const sTrial middle = Walk(fFirst, 3);
        const sTrial least = Walk(With(middle.fLook, kLeastClip, +10.0f), 2);
        if (IsTooBright(least))
            HoldBack(least);
        else
            Open(middle, least);
        Refine();
    }

    /// For a scene of few tones: white is where its own grey asks for it, black rises with the range, and the exposure
    /// moves until the picture is as bright as it should be.
    void KeepTones(double pRange)
    {
        const double stretch = std::clamp((pRange - kOneTone) / (kFewTones - kOneTone), 0.0, 1.0);
        const double middle = std::pow(10.0, fScene.fLevels.fMiddle), own = std::clamp(middle, kLeastGrey, kMostGrey);
        const double aim = (1.0 - stretch) * own + stretch * LinearOf(fAim.fMean);
        sLook look = fFirst;
        look.compression = -100.0f;
        look.black_point = static_cast<float>(kMostStretch * stretch * std::pow(10.0, fScene.fLevels.fLow));
        look.white_point = static_cast<float>(std::min(middle / own, kMostLuminance));
        for (int step = 0; step < 4; step++) {
            const std::optional<sTrial> trial = Try(look);
            if (!trial) return;
            fBest = *trial;
            const double seen = LinearOf(std::clamp(trial->fSeen.fMean, 1.0, 254.0));
            if (std::fabs(seen / aim - 1.0) < 0.02) return;
            look.exposure = Exposure(static_cast<double>(look.exposure) + std::log2(aim / seen));
        }
    }

    const sTrial& Best() const { return fBest; }
    bool IsStopped() const { return fIsStopped; }
    size_t Previews() const { return fPreviews; }

private:
    float Compression(float pWanted) const { return std::clamp(std::round(pWanted) + 0.0f, -100.0f, fMostCompression); }

    static float Contrast(float pWanted)
    {
        return std::clamp(std::round(pWanted) + 0.0f, kLeastContrast, kMostContrast);
    }

    /// To a hundredth.
    static float Exposure(double pWanted)
    {
        return static_cast<float>(std::clamp(std::round(100.0 * pWanted) / 100.0 + 0.0, -20.0, 20.0));
    }

    /// To a tenth.
    static float WhiteClip(float pWanted)
    {
        return std::clamp(std::round(10.0f * pWanted) / 10.0f, kLeastRefinedClip, kMostClip);
    }

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
        while (CanGoOn(pFrom) && IsTooBright(pFrom) && pFrom.fLook.exposure - 0.5f >= -fMostHeldBack)
            pFrom = Exposed(pFrom, -0.5f);
    }

    /// Tries the largest white clip, and beyond it more exposure if the picture stays too dark.
    void Open(const sTrial& pMiddle, const sTrial& pLeast)
    {
        const sTrial most = Walk(With(pMiddle.fLook, kMostClip, -12.0f), 2);
        if (!IsTooDark(most)) return TryMore(pMiddle, pLeast, most);
        sTrial from = most;
        while (CanGoOn(from) && IsTooDark(from) && from.fLook.exposure < kMostLift)
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

    /// Goes on from the best look: towards the aim, then one setting at a time, as long as there are previews.
    void Refine()
    {
        float compression = 16.0f, contrast = 14.0f, octaves = 0.7f;
        for (int round = 0; round < 3; round++) {
            while (Helps(Towards(fBest)))
                ;
            Slide(compression,
                  [this](sLook& pLook, float pBy) { pLook.compression = Compression(pLook.compression + pBy); });
            Slide(contrast, [](sLook& pLook, float pBy) { pLook.contrast = Contrast(pLook.contrast + pBy); });
            Slide(octaves,
                  [](sLook& pLook, float pBy) { pLook.white_clip = WhiteClip(pLook.white_clip * std::exp2(pBy)); });
        }
    }

    /// Moves a setting by a step; if that does not help, the other way; if neither does, the next step is half as long.
    template <class tMove>
    void Slide(float& pStep, const tMove& pMove)
    {
        for (int way = 0; way < 2; way++) {
            sLook look = fBest.fLook;
            pMove(look, pStep);
            if (Helps(look)) return;
            pStep = -pStep;
        }
        pStep *= 0.5f;
    }

    /// Whether a look is the best so far.
    bool Helps(const sLook& pLook)
    {
        const double before = fBest.fScore;
        Try(pLook);
        return fBest.fScore > before;
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

    /// Looks at a preview, unless it was seen before or there were enough.
    std::optional<sTrial> Try(const sLook& pLook)
    {
        if (fIsStopped || fPreviews == kMostPreviews || !IsNew(pLook)) return std::nullopt;
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

    bool IsNew(const sLook& pLook)
    {
        return fTried.insert({pLook.compression, pLook.contrast, pLook.white_clip, pLook.exposure, pLook.black_point})
            .second;
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
        look.contrast = Contrast(look.contrast + static_cast<float>(std::clamp(lack / kContrastRate, -40.0, 40.0)));
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
    float fMostHeldBack = 1.0f;      // stops; more on violet noise, which is to stay in the dark
    double fSlope = 0.5;
    std::set<std::array<float, 5>> fTried;
    size_t fPreviews = 0;
    bool fIsStopped = false;
};

void Tell(std::vector<sReason>& pReasons, const char* pRule, double pValue, const char* pFormat)
{
    pReasons.push_back({pRule, Sentence(pFormat, pValue), pValue});
}

void TellIfWorth(std::vector<sReason>& pReasons, const char* pRule, double pValue, const char* pFormat)
{
    if (pValue >= kWorthTelling) Tell(pReasons, pRule, pValue, pFormat);
}

void TellCharacter(const sCharacter& pCharacter, std::vector<sReason>& pReasons)
{
    TellIfWorth(pReasons, "low-key", pCharacter.fLowKey, "Most of it is dark and stays dark.");
    TellIfWorth(pReasons, "violet-shadows", pCharacter.fVioletShadows, "Its shadows are violet noise and lose colour.");
    TellIfWorth(pReasons, "high-key", pCharacter.fHighKey, "Most of it is bright and stays bright.");
    if (pReasons.empty()) Tell(pReasons, "ordinary", 1.0, "Light and dark are in balance.");
}

void TellResult(const cSearch& pSearch, std::vector<sReason>& pReasons)
{
    const sImpression& seen = pSearch.Best().fSeen;
    const auto exposure = static_cast<double>(pSearch.Best().fLook.exposure);
    TellIfWorth(pReasons, "held-back", -exposure, "The exposure is %.1f stops lower, for the bright parts.");
    TellIfWorth(pReasons, "lifted", exposure, "The exposure is %.1f stops higher, for the walls.");
    Tell(pReasons, "brightness", seen.fMean, "The mean grey level is %.0f of 255.");
    Tell(pReasons, "contrast", seen.fContrast, "The local contrast is %.1f grey levels.");
    Tell(pReasons, "burnt", 100.0 * seen.fBurnt, "%.1f per cent of the picture are burnt.");
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
    if (!HasLight(pScene)) {
        Tell(reasons, "no-light", 1.0, "It has no light.");
        return suggestion;
    }
    if (pScene.fIsFlat) {
        Tell(reasons, "flat", 1.0, "It is flat and keeps its own grey.");
        return suggestion;
    }
    const double range = pScene.fLevels.fHigh - pScene.fLevels.fLow;
    const sCharacter character = CharacterOf(pScene);
    cSearch search(pScene, pRender, character);
    if (range < kFewTones) {
        search.KeepTones(range);
        Tell(reasons, "one-tone", range, "It has few tones and keeps its own contrast.");
    } else {
        search.Run();
        TellCharacter(character, reasons);
    }
    const auto previews = static_cast<double>(search.Previews());
    if (search.Previews() > 0) {
        suggestion.fLook = search.Best().fLook;
        TellResult(search, reasons);
    }
    Tell(reasons, "texture", character.fTexture, "The scene's local contrast is %.3f decades.");
    if (search.IsStopped())
        Tell(reasons, "stopped", previews, "The search was stopped after %.0f previews.");
    else
        Tell(reasons, "previews", previews, "%.0f previews were looked at.");
    return suggestion;
}

} // namespace SelvaneLib
