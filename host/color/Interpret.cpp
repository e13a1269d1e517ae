#include "color/Interpret.h"

#include "color/CodePoints.h"
#include "color/Light.h"
#include "color/ProfileLight.h"
#include "color/Space.h"
#include "picture/ProfileMatch.h"

#include <selvane.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace SelvaneHost
{

namespace
{

constexpr float kSameNumber = 0.002F; // CIE x and y of a known space, as files round them
constexpr double kSameGamma = 0.03;   // gAMA of 45455 is 2.19998
constexpr double kLeastGamma = 0.1;
constexpr double kMostGamma = 10.0;

bool IsOfFloats(const sPicture& pPicture)
{
    return pPicture.fForm == eFloats || pPicture.fForm == eExponentPlanes;
}

/// The rules of the engine's entry: one of three spaces, or sRGB with a warning.
void InterpretAsEntry(sPicture& pPicture, const sColorNotes& pNotes)
{
    SetSpace(pPicture, std::nullopt);
    if (IsOfFloats(pPicture)) { // the curves of a profile do not apply to linear floats
        if (!pNotes.fChromaticities) return SetSpace(pPicture, pNotes.fSpace);
        SetSpace(pPicture, MatchPrimaries(*pNotes.fChromaticities));
        if (!pPicture.fColor.fIsNamed) pPicture.fColorSpaceWarning = "its primaries are " + NoneOfTheThree();
        return;
    }
    if (pNotes.fProfile.empty()) return SetSpace(pPicture, pNotes.fSpace);
    SetSpace(pPicture, MatchProfile(pNotes.fProfile));
    if (!pPicture.fColor.fIsNamed)
        pPicture.fColorSpaceWarning =
            "its colour profile \"" + ProfileDescription(pNotes.fProfile) + "\" is " + NoneOfTheThree();
}

void TakeInputSpace(sPicture& pPicture, eInputSpace pSpace)
{
    switch (pSpace) {
    case eInputPq:
        TakeCodePoints(pPicture, {kPrimariesBt2020, kTransferPq});
        break;
    case eInputHlg:
        TakeCodePoints(pPicture, {kPrimariesBt2020, kTransferHlg});
        break;
    case eInputLinear:
        SetColor(pPicture, {.fPrimaries = SELVANE_SRGB, .fTransfer = SELVANE_TRANSFER_LINEAR, .fIsNamed = true});
        break;
    case eInputSrgb:
    case eInputAdobe:
    case eInputProPhoto:
        SetSpace(pPicture, pSpace);
        break;
    default: // the numbers are those of selvane_primaries
        SetColor(pPicture, {.fPrimaries = pSpace,
                            .fTransfer = pSpace == eInputP3 && !IsOfFloats(pPicture) ? SELVANE_TRANSFER_SRGB
                                                                                     : SELVANE_TRANSFER_DEFAULT,
                            .fIsNamed = true});
    }
}

/// Takes a profile that says one of libselvane's spaces or, by its numbers, any other.
bool TakeNotedProfile(sPicture& pPicture, const tBytes& pProfile)
{
    if (pPicture.fForm == eExponentPlanes) return false;
    const std::optional<int> space = MatchProfile(pProfile, kSpaces);
    if (!space || IsOfFloats(pPicture)) return TakeProfile(pPicture, pProfile);
    if (*space <= SELVANE_PROPHOTO) {
        SetSpace(pPicture, space);
        return true;
    }
    SetColor(pPicture, {.fPrimaries = *space,
                        .fTransfer = *space == SELVANE_DISPLAY_P3 ? SELVANE_TRANSFER_SRGB : SELVANE_TRANSFER_REC2020,
                        .fIsNamed = true,
                        .fWords = std::string("its colours are ") + SpaceName(*space)});
    return true;
}

struct sKnownSpace
{
    int fPrimaries;
    const char* fName;
    std::array<float, 8> fChromaticities;
};

// SMPTE EG 432-1 with D65, ITU-R BT.2020, SMPTE ST 2065-1, ACES S-2014-004.
constexpr sKnownSpace kKnown[] = {
    {SELVANE_DISPLAY_P3, "P3", {0.680F, 0.320F, 0.265F, 0.690F, 0.150F, 0.060F, 0.3127F, 0.3290F}},
    {SELVANE_REC2020, "BT.2020", {0.708F, 0.292F, 0.170F, 0.797F, 0.131F, 0.046F, 0.3127F, 0.3290F}},
    {SELVANE_ACES_AP0, "ACES2065-1", {0.7347F, 0.2653F, 0.0F, 1.0F, 0.0001F, -0.0770F, 0.32168F, 0.33767F}},
    {SELVANE_ACES_AP1, "ACEScg", {0.713F, 0.293F, 0.165F, 0.830F, 0.128F, 0.044F, 0.32168F, 0.33767F}},
};

const sKnownSpace* KnownSpace(const std::array<float, 8>& pChromaticities)
{
    const auto* const known = std::ranges::find_if(kKnown, [&](const sKnownSpace& space) {
        return std::equal(pChromaticities.begin(), pChromaticities.end(), space.fChromaticities.begin(),
                          [](float a, float b) { return std::fabs(a - b) <= kSameNumber; });
    });
    return known == std::end(kKnown) ? nullptr : known;
}

/// Returns the area of the triangle of the primaries, twice. 0 if they are on one line.
float TriangleOf(const std::array<float, 8>& pXY)
{
    return std::fabs((pXY[2] - pXY[0]) * (pXY[5] - pXY[1]) - (pXY[4] - pXY[0]) * (pXY[3] - pXY[1]));
}

bool MakeAColorSpace(const std::array<float, 8>& pXY)
{
    constexpr float kMost = 4.0F;
    return std::ranges::all_of(pXY, [](float number) { return std::fabs(number) < kMost; }) &&
           TriangleOf(pXY) > 0.01F && pXY[6] > 0.05F && pXY[7] > 0.05F && pXY[1] != 0.0F && pXY[3] != 0.0F &&
           pXY[5] != 0.0F;
}

/// Whether the samples are light: those of a gamma of 1, and floats without a gamma.
bool AreLight(const sPicture& pPicture, const std::optional<double>& pGamma)
{
    return pGamma ? std::fabs(*pGamma - 1.0) < 1e-4 : IsOfFloats(pPicture);
}

/// The transfer of samples with a gamma. Without one, floats are linear, and integers have that of sRGB.
void SetTransfer(const sPicture& pPicture, const std::optional<double>& pGamma, sColor& pColor)
{
    if (AreLight(pPicture, pGamma))
        pColor.fTransfer = SELVANE_TRANSFER_LINEAR;
    else if (!pGamma)
        pColor.fTransfer = SELVANE_TRANSFER_SRGB;
    else {
        pColor.fTransfer = SELVANE_TRANSFER_POWER;
        pColor.fGamma = static_cast<float>(*pGamma);
    }
}

/// Whether samples with this gamma are as the engine takes them in one of its spaces.
bool AreAsInEngine(const sPicture& pPicture, int pSpace, const std::optional<double>& pGamma)
{
    if (IsOfFloats(pPicture)) return AreLight(pPicture, pGamma);
    if (!pGamma) return pSpace == SELVANE_SRGB;
    return std::fabs(*pGamma - (pSpace == SELVANE_PROPHOTO ? 1.8 : 2.2)) <= kSameGamma;
}

std::string GammaWords(const std::optional<double>& pGamma)
{
    if (!pGamma) return {};
    char words[40];
    std::snprintf(words, sizeof words, ", gamma %.4g", *pGamma);
    return words;
}

/// Takes primaries and a gamma. Without primaries they are those of sRGB.
bool TakePrimaries(sPicture& pPicture, const sColorNotes& pNotes)
{
    const std::optional<double>& gamma = pNotes.fGamma;
    if (gamma && !(*gamma >= kLeastGamma && *gamma <= kMostGamma)) return false;
    if (pNotes.fChromaticities && !MakeAColorSpace(*pNotes.fChromaticities)) return false;
    const std::optional<int> engine =
        pNotes.fChromaticities ? MatchChromaticities(*pNotes.fChromaticities) : std::optional<int>(SELVANE_SRGB);
    if (engine && AreAsInEngine(pPicture, *engine, gamma)) {
        SetSpace(pPicture, engine);
        return true;
    }
    sColor color{.fIsNamed = true};
    const sKnownSpace* const known = pNotes.fChromaticities ? KnownSpace(*pNotes.fChromaticities) : nullptr;
    color.fPrimaries = engine ? *engine : known != nullptr ? known->fPrimaries : SELVANE_CUSTOM;
    if (pNotes.fChromaticities) color.fChromaticities = *pNotes.fChromaticities;
    color.fWords = engine             ? std::string("its primaries are those of ") + SpaceName(*engine)
                   : known != nullptr ? std::string("its primaries are those of ") + known->fName
                                      : std::string("its primaries are its own");
    color.fWords += GammaWords(gamma);
    SetTransfer(pPicture, gamma, color);
    SetColor(pPicture, color);
    return true;
}

bool SaysSomething(const sCodePoints& pCodePoints)
{
    return pCodePoints.fPrimaries != kNotSaid || pCodePoints.fTransfer != kNotSaid;
}

/// Whether the file says something of its colours that was not understood.
bool SaysSomething(const sColorNotes& pNotes)
{
    return SaysSomething(pNotes.fCodePoints.value_or(sCodePoints())) || !pNotes.fProfile.empty() ||
           pNotes.fChromaticities || pNotes.fGamma;
}

void TakeNotes(sPicture& pPicture, const sColorNotes& pNotes)
{
    const bool space = pNotes.fChromaticities && MakeAColorSpace(*pNotes.fChromaticities);
    const auto own = space ? pNotes.fChromaticities : std::nullopt;
    if (pNotes.fCodePoints && TakeCodePoints(pPicture, *pNotes.fCodePoints, own)) return;
    if (!pNotes.fProfile.empty() && TakeNotedProfile(pPicture, pNotes.fProfile)) return;
    if (pNotes.fSpace) return SetSpace(pPicture, pNotes.fSpace);
    const bool curveIsKnown = pNotes.fGamma || !pNotes.fCodePoints; // else it is one of the code points above
    if ((pNotes.fChromaticities || pNotes.fGamma) && curveIsKnown && TakePrimaries(pPicture, pNotes)) return;
    SetSpace(pPicture, std::nullopt);
    if (SaysSomething(pNotes))
        pPicture.fWarnings.emplace_back(
            "what it says of its colours cannot be used; it is taken as sRGB (--input-space chooses another)");
}

/// Makes light of kReferenceWhite the 1 of floats.
void ScaleToWhite(sPicture& pPicture, float pWhiteLuminance)
{
    if (pPicture.fForm != eFloats || !(pWhiteLuminance > 0.0F) || !std::isfinite(pWhiteLuminance)) return;
    Scale(pPicture, static_cast<float>(static_cast<double>(pWhiteLuminance) / kReferenceWhite));
    char words[80];
    std::snprintf(words, sizeof words, "its 1 stands for %g cd/m2, 203 cd/m2 became white",
                  static_cast<double>(pWhiteLuminance));
    std::string& all = pPicture.fColor.fWords;
    all += (all.empty() ? "" : "; ") + std::string(words);
}

} // namespace

void Interpret(sPicture& pPicture, const sColorNotes& pNotes, const sReadOptions& pOptions)
{
    if (pOptions.fAsEntry) return InterpretAsEntry(pPicture, pNotes);
    if (pOptions.fInputSpace)
        TakeInputSpace(pPicture, *pOptions.fInputSpace);
    else
        TakeNotes(pPicture, pNotes);
    ScaleToWhite(pPicture, pNotes.fWhiteLuminance);
}

} // namespace SelvaneHost
