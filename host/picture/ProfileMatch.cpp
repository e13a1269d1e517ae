#include "picture/ProfileMatch.h"

#include <selvane.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace SelvaneHost
{

namespace
{

constexpr float kPrimaryTolerance = 0.012F;  // CIE x and y
constexpr double kColorantTolerance = 0.005; // XYZ with Y of white 1
constexpr double kCurveTolerance = 0.02;     // linear value of the encoded 0.5
constexpr size_t kHeaderBytes = 128;
constexpr size_t kTagBytes = 12;

// Rows SELVANE_SRGB, SELVANE_ADOBE_RGB, SELVANE_PROPHOTO; columns x and y of red, green, blue, white.
constexpr float kEngineSpaces[3][8] = {{0.64F, 0.33F, 0.30F, 0.60F, 0.15F, 0.06F, 0.3127F, 0.3290F},
                                       {0.64F, 0.33F, 0.21F, 0.71F, 0.15F, 0.06F, 0.3127F, 0.3290F},
                                       {0.7347F, 0.2653F, 0.1596F, 0.8404F, 0.0366F, 0.0001F, 0.3457F, 0.3585F}};

bool IsNear(float pA, float pB)
{
    return std::fabs(pA - pB) <= kPrimaryTolerance;
}

/// A part of a profile. Bytes outside of it read as 0, so a damaged profile causes no access outside its memory.
struct sSpan
{
    const unsigned char* fBytes = nullptr;
    size_t fSize = 0;

    unsigned At(size_t pOffset) const { return pOffset < fSize ? fBytes[pOffset] : 0U; }
    unsigned Number16(size_t pOffset) const { return At(pOffset) << 8 | At(pOffset + 1); }
    unsigned Number32(size_t pOffset) const { return Number16(pOffset) << 16 | Number16(pOffset + 2); }
    double Fixed(size_t pOffset) const { return static_cast<int32_t>(Number32(pOffset)) / 65536.0; } // s15Fixed16
    bool Has(size_t pOffset, const char* pSignature) const
    {
        return pOffset + 4 <= fSize && std::memcmp(fBytes + pOffset, pSignature, 4) == 0;
    }
};

sSpan WholeOf(const tBytes& pProfile)
{
    return {pProfile.data(), pProfile.size()};
}

/// Returns the data of a tag. Empty if the profile has no such tag or the data lie outside the profile.
sSpan Tag(const sSpan& pProfile, const char* pSignature)
{
    const size_t mostTags = pProfile.fSize / kTagBytes;
    const size_t count = std::min<size_t>(pProfile.Number32(kHeaderBytes), mostTags);
    for (size_t i = 0; i < count; i++) {
        const size_t entry = kHeaderBytes + 4 + i * kTagBytes;
        if (!pProfile.Has(entry, pSignature)) continue;
        const size_t offset = pProfile.Number32(entry + 4);
        const size_t size = pProfile.Number32(entry + 8);
        if (offset > pProfile.fSize || size > pProfile.fSize - offset) return {};
        return {pProfile.fBytes + offset, size};
    }
    return {};
}

/// Stores the nine colorant numbers, red first. Returns false if one of the three tags is missing.
bool Colorants(const sSpan& pProfile, double (&pNumbers)[9])
{
    double* number = pNumbers;
    for (const char* signature : {"rXYZ", "gXYZ", "bXYZ"}) {
        const sSpan tag = Tag(pProfile, signature);
        if (tag.fSize < 20 || !tag.Has(0, "XYZ ")) return false;
        for (size_t i = 0; i < 3; i++)
            *number++ = tag.Fixed(8 + 4 * i);
    }
    return true;
}

/// Returns the value at 0.5 of a tabulated or pure power curve ('curv').
double SampledMiddle(const sSpan& pCurve)
{
    const size_t count = pCurve.Number32(8);
    if (count == 0) return 0.5;
    if (count == 1) return std::pow(0.5, pCurve.Number16(12) / 256.0);
    const double position = 0.5 * static_cast<double>(count - 1);
    const size_t index = static_cast<size_t>(position);
    const double rest = position - static_cast<double>(index);
    const double low = pCurve.Number16(12 + 2 * index);
    const double high = pCurve.Number16(12 + 2 * (index + 1));
    return (low + (high - low) * rest) / 65535.0;
}

/// Returns the value at 0.5 of a parametric curve ('para', ICC.1:2022, 10.18), or -1 for an unknown kind. The
/// parameters are g, a, b, c, d, e, f.
double ParametricMiddle(const sSpan& pCurve)
{
    constexpr size_t kCounts[] = {1, 3, 4, 5, 7};
    const unsigned kind = pCurve.Number16(8);
    if (kind > 4) return -1.0;
    double p[7] = {1, 1, 0, 0, -1, 0, 0};
    for (size_t i = 0; i < kCounts[kind]; i++)
        p[i] = pCurve.Fixed(12 + 4 * i);
    const double breakPoint = kind >= 3 ? p[4] : kind >= 1 && p[1] != 0.0 ? -p[2] / p[1] : -1.0;
    const double offset = kind == 2 ? p[3] : kind == 4 ? p[5] : 0.0;
    const double slope = kind >= 3 ? p[3] : 0.0;
    const double below = kind == 2 ? p[3] : kind == 4 ? p[6] : 0.0;
    if (0.5 < breakPoint) return slope * 0.5 + below;
    return std::pow(std::max(0.0, p[1] * 0.5 + p[2]), p[0]) + offset;
}

/// Returns the linear value of a curve at 0.5. Negative if it is no curve.
double CurveMiddle(const sSpan& pCurve)
{
    if (pCurve.Has(0, "curv")) return SampledMiddle(pCurve);
    if (pCurve.Has(0, "para")) return ParametricMiddle(pCurve);
    return -1.0;
}

bool CurveFits(const sSpan& pProfile, const char* pSignature, const sSpan& pStored)
{
    return std::fabs(CurveMiddle(Tag(pProfile, pSignature)) - CurveMiddle(Tag(pStored, "gTRC"))) <= kCurveTolerance;
}

bool ColorantsFit(const double (&pFound)[9], const sSpan& pStored)
{
    double expected[9];
    if (!Colorants(pStored, expected)) return false;
    return std::equal(std::begin(pFound), std::end(pFound), std::begin(expected),
                      [](double a, double b) { return std::fabs(a - b) <= kColorantTolerance; });
}

std::optional<int> MatchShaper(const sSpan& pProfile, const double (&pColorants)[9], int pSpaces)
{
    for (int space = 0; space < pSpaces; space++) {
        const tBytes bytes = StoredProfile(space);
        if (ColorantsFit(pColorants, WholeOf(bytes)) && CurveFits(pProfile, "gTRC", WholeOf(bytes))) return space;
    }
    return std::nullopt;
}

std::optional<int> MatchDescription(const std::string& pDescription)
{
    const auto says = [&](const char* pWords) { return pDescription.find(pWords) != std::string::npos; };
    if (says("linear") || says("Linear")) return std::nullopt;
    if (says("sRGB")) return SELVANE_SRGB;
    if (says("Adobe RGB (1998)")) return SELVANE_ADOBE_RGB;
    if (says("ProPhoto") || says("ROMM")) return SELVANE_PROPHOTO;
    return std::nullopt;
}

/// Converts UTF-16 to ASCII, up to the first 0. Other characters become '?'.
std::string FromUtf16(const sSpan& pText, size_t pOffset, size_t pBytes)
{
    std::string text;
    for (size_t i = 0; i + 1 < pBytes && pOffset + i + 1 < pText.fSize; i += 2) {
        const unsigned unit = pText.Number16(pOffset + i);
        if (unit == 0) break;
        text += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return text;
}

/// Copies ASCII up to the first 0. Other bytes become '?'.
std::string FromAscii(const sSpan& pText, size_t pOffset, size_t pBytes)
{
    std::string text;
    for (size_t i = 0; i < pBytes && pText.At(pOffset + i) != 0; i++)
        text += pText.At(pOffset + i) < 0x80 ? static_cast<char>(pText.At(pOffset + i)) : '?';
    return text;
}

} // namespace

std::optional<int> MatchPrimaries(const std::array<float, 8>& pChromaticities)
{
    for (size_t i = 0; i < std::size(kEngineSpaces); i++) {
        if (std::equal(pChromaticities.begin(), pChromaticities.begin() + 6, std::begin(kEngineSpaces[i]), IsNear))
            return static_cast<int>(i);
    }
    return std::nullopt;
}

std::optional<int> MatchChromaticities(const std::array<float, 8>& pChromaticities)
{
    constexpr float kEqualEnergy = 1.0F / 3.0F;
    const std::optional<int> space = MatchPrimaries(pChromaticities);
    if (!space) return std::nullopt;
    const float x = pChromaticities[6], y = pChromaticities[7];
    const bool equal = std::fabs(x - kEqualEnergy) < 0.001F && std::fabs(y - kEqualEnergy) < 0.001F;
    const float(&own)[8] = kEngineSpaces[*space];
    return equal || (IsNear(x, own[6]) && IsNear(y, own[7])) ? space : std::nullopt;
}

std::optional<int> MatchProfile(const tBytes& pProfile, int pSpaces)
{
    const sSpan profile = WholeOf(pProfile);
    if (profile.Has(16, "GRAY")) {
        const tBytes bytes = StoredProfile(SELVANE_SRGB);
        if (CurveFits(profile, "kTRC", WholeOf(bytes))) return SELVANE_SRGB;
        return std::nullopt;
    }
    if (!profile.Has(16, "RGB ")) return std::nullopt;
    double colorants[9];
    if (Colorants(profile, colorants)) return MatchShaper(profile, colorants, pSpaces);
    return MatchDescription(ProfileDescription(pProfile));
}

std::string ProfileDescription(const tBytes& pProfile)
{
    const sSpan tag = Tag(WholeOf(pProfile), "desc");
    if (tag.Has(0, "desc")) return FromAscii(tag, 12, tag.Number32(8));
    if (tag.Has(0, "mluc")) return FromUtf16(tag, tag.Number32(24), tag.Number32(20));
    return {};
}

std::string NoneOfTheThree()
{
    return "none of sRGB, Adobe RGB and ProPhoto RGB; the picture is taken as sRGB (--color-space chooses another)";
}

} // namespace SelvaneHost
