#include "color/ProfileLight.h"

#include "color/Light.h"
#include "color/Space.h"
#include "picture/ProfileMatch.h"

#include <lcms2.h>
#include <selvane.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>
#include <optional>

namespace SelvaneHost
{

namespace
{

struct sClose
{
    void operator()(void* pProfile) const { cmsCloseProfile(pProfile); }
};
struct sDelete
{
    void operator()(void* pTransform) const { cmsDeleteTransform(pTransform); }
};
struct sFree
{
    void operator()(cmsToneCurve* pCurve) const { cmsFreeToneCurve(pCurve); }
};
using tProfile = std::unique_ptr<void, sClose>;
using tTransform = std::unique_ptr<void, sDelete>;
using tCurve = std::unique_ptr<cmsToneCurve, sFree>;

const cmsToneCurve* CurveOf(const tProfile& pProfile, cmsTagSignature pTag)
{
    return static_cast<const cmsToneCurve*>(cmsReadTag(pProfile.get(), pTag));
}

double Value(const cmsToneCurve* pCurve, double pSample)
{
    return static_cast<double>(cmsEvalToneCurveFloat(pCurve, static_cast<float>(pSample)));
}

/// Returns the exponent of a curve that is one power over 0 to 1. Empty for any other curve.
std::optional<double> PowerOf(const cmsToneCurve* pCurve)
{
    const double gamma = std::log(Value(pCurve, 0.5)) / std::log(0.5);
    if (!(gamma >= 0.1 && gamma <= 10.0)) return std::nullopt;
    for (const double sample : {0.02, 0.1, 0.3, 0.7, 0.9, 1.0}) {
        if (std::fabs(Value(pCurve, sample) - std::pow(sample, gamma)) > 1e-5) return std::nullopt;
    }
    return gamma;
}

/// The curve between 0 and 1, and the power with its slope at the end above.
tLightCurve LightOf(const cmsToneCurve* pCurve)
{
    constexpr double kNearEnd = 0.98;
    const double last = Value(pCurve, 1.0);
    const double slope = std::log(last / Value(pCurve, kNearEnd)) / -std::log(kNearEnd);
    const double power = std::isfinite(slope) ? std::clamp(slope, 0.1, 10.0) : 1.0;
    return [=](double pSample) {
        const double light = pSample <= 1.0 ? Value(pCurve, pSample) : last * std::pow(pSample, power);
        return std::max(light, 0.0);
    };
}

double Determinant(const cmsCIEXYZ& pA, const cmsCIEXYZ& pB, const cmsCIEXYZ& pC)
{
    return pA.X * (pB.Y * pC.Z - pB.Z * pC.Y) - pB.X * (pA.Y * pC.Z - pA.Z * pC.Y) + pC.X * (pA.Y * pB.Z - pA.Z * pB.Y);
}

/// Returns x and y of the colorants and of their sum, which is white. Empty if they make no colour space.
std::optional<std::array<float, 8>> ChromaticitiesOf(const tProfile& pProfile)
{
    std::array<cmsCIEXYZ, 4> colors{};
    size_t next = 0;
    for (const cmsTagSignature tag : {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag}) {
        const auto* const found = static_cast<const cmsCIEXYZ*>(cmsReadTag(pProfile.get(), tag));
        if (found == nullptr) return std::nullopt;
        colors[next++] = *found;
    }
    if (!(std::fabs(Determinant(colors[0], colors[1], colors[2])) > 1e-3)) return std::nullopt;
    for (size_t i = 0; i < 3; i++) {
        colors[3].X += colors[i].X;
        colors[3].Y += colors[i].Y;
        colors[3].Z += colors[i].Z;
    }
    std::array<float, 8> chromaticities{};
    for (size_t i = 0; i < colors.size(); i++) {
        const double sum = colors[i].X + colors[i].Y + colors[i].Z;
        if (!(sum > 0.01)) return std::nullopt;
        chromaticities[2 * i] = static_cast<float>(colors[i].X / sum);
        chromaticities[2 * i + 1] = static_cast<float>(colors[i].Y / sum);
    }
    return chromaticities;
}

std::string NameOf(const tBytes& pProfile)
{
    const std::string name = ProfileDescription(pProfile);
    return name.empty() ? std::string("its profile") : "its profile \"" + name + "\"";
}

sColor LinearColor(int pPrimaries, const std::string& pWords)
{
    return {.fPrimaries = pPrimaries, .fTransfer = SELVANE_TRANSFER_LINEAR, .fIsNamed = true, .fWords = pWords};
}

/// Takes a profile of colorants and curves.
bool TakeShaper(sPicture& pPicture, const tProfile& pProfile, const std::string& pName)
{
    const auto chromaticities = ChromaticitiesOf(pProfile);
    const std::array<const cmsToneCurve*, 3> curves = {
        CurveOf(pProfile, cmsSigRedTRCTag), CurveOf(pProfile, cmsSigGreenTRCTag), CurveOf(pProfile, cmsSigBlueTRCTag)};
    if (!chromaticities || std::count(curves.begin(), curves.end(), nullptr) > 0) return false;
    sColor color = LinearColor(SELVANE_CUSTOM, pName + " was read as primaries and curves");
    color.fChromaticities = *chromaticities;
    const auto red = PowerOf(curves[0]), green = PowerOf(curves[1]), blue = PowerOf(curves[2]);
    if (red && green && blue && std::fabs(*red - *green) < 1e-4 && std::fabs(*red - *blue) < 1e-4) {
        const bool linear = std::fabs(*green - 1.0) < 1e-4;
        color.fTransfer = linear ? SELVANE_TRANSFER_LINEAR : SELVANE_TRANSFER_POWER;
        color.fGamma = static_cast<float>(*green);
    } else {
        const std::array<tLightCurve, 3> light = {LightOf(curves[0]), LightOf(curves[1]), LightOf(curves[2])};
        MakeLinear(pPicture, light);
    }
    SetColor(pPicture, color);
    return true;
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the functions free what they own

bool TakeGrey(sPicture& pPicture, const tProfile& pProfile, const std::string& pName)
{
    const cmsToneCurve* const curve = CurveOf(pProfile, cmsSigGrayTRCTag);
    if (curve == nullptr) return false;
    MakeLinear(pPicture, LightOf(curve));
    SetColor(pPicture, LinearColor(SELVANE_SRGB, pName + " was read as a curve of grey"));
    return true;
}

/// A linear profile of ACES2065-1, with the numbers that libselvane has for it (SMPTE ST 2065-1).
tProfile AcesProfile()
{
    const cmsCIExyY white = {0.32168, 0.33767, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.7347, 0.2653, 1.0}, {0.0, 1.0, 1.0}, {0.0001, -0.0770, 1.0}};
    const tCurve linear(cmsBuildGamma(nullptr, 1.0));
    if (linear == nullptr) throw std::bad_alloc();
    cmsToneCurve* const curves[3] = {linear.get(), linear.get(), linear.get()};
    return tProfile(cmsCreateRGBProfile(&white, &primaries, curves));
}

bool TakeTables(sPicture& pPicture, const tProfile& pProfile, const std::string& pName)
{
    const tProfile aces = AcesProfile();
    const cmsUInt32Number form = pPicture.fChannels == 4 ? TYPE_RGBA_FLT : TYPE_RGB_FLT;
    // Without the flag, Little CMS replaces the tables by coarser ones of its own.
    const tTransform transform(cmsCreateTransform(pProfile.get(), form, aces.get(), form, INTENT_RELATIVE_COLORIMETRIC,
                                                  cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE));
    if (aces == nullptr || transform == nullptr) return false;
    MakeLinear(pPicture, [](double pSample) { return pSample; });
    for (int y = 0; y < pPicture.fHeight; y++)
        cmsDoTransform(transform.get(), Row(pPicture, y), Row(pPicture, y),
                       static_cast<cmsUInt32Number>(pPicture.fWidth));
    SetColor(pPicture, LinearColor(SELVANE_ACES_AP0, pName + " was converted to linear ACES2065-1"));
    return true;
}

} // namespace

bool TakeProfile(sPicture& pPicture, const tBytes& pProfile)
{
    if (pProfile.size() > std::numeric_limits<cmsUInt32Number>::max()) return false;
    const tProfile profile(cmsOpenProfileFromMem(pProfile.data(), static_cast<cmsUInt32Number>(pProfile.size())));
    if (profile == nullptr) return false;
    const std::string name = NameOf(pProfile);
    // As a number: a damaged profile has one that the enumeration does not know.
    const auto colors = static_cast<cmsUInt32Number>(cmsGetColorSpace(profile.get()));
    if (colors == cmsSigGrayData) return TakeGrey(pPicture, profile, name);
    if (colors != cmsSigRgbData) return false;
    const bool tables = cmsIsTag(profile.get(), cmsSigAToB0Tag) != 0 || cmsIsTag(profile.get(), cmsSigDToB0Tag) != 0;
    if (!tables) return TakeShaper(pPicture, profile, name);
    return TakeTables(pPicture, profile, name);
}

} // namespace SelvaneHost
