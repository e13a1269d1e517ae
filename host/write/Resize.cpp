#include "write/Resize.h"

#include "color/Light.h"
#include "picture/Errors.h"
#include "picture/VipsObject.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <lcms2.h>
#include <selvane.h>

namespace SelvaneHost
{

namespace
{

constexpr int kMostSide = 1000000; // as in libselvane
constexpr double kMostPercent = 1000;

/// Reads a whole text as a number. Empty for anything else.
template <typename tNumber>
std::optional<tNumber> NumberIn(std::string_view pText)
{
    tNumber number{};
    const char* const end = pText.data() + pText.size();
    const std::from_chars_result result = std::from_chars(pText.data(), end, number);
    if (pText.empty() || result.ec != std::errc() || result.ptr != end) return std::nullopt;
    return number;
}

/// Reads a side; no text is 0.
std::optional<int> SideIn(std::string_view pText)
{
    if (pText.empty()) return 0;
    const std::optional<int> side = NumberIn<int>(pText);
    return side && *side >= 1 && *side <= kMostSide ? side : std::nullopt;
}

std::optional<sResize> ReadPercent(std::string_view pText)
{
    const std::optional<double> percent = NumberIn<double>(pText);
    if (!percent || !(*percent > 0 && *percent <= kMostPercent)) return std::nullopt;
    return sResize{0, 0, *percent};
}

/// Returns the factor for both sides.
double FactorOf(const sResize& pResize, int pWidth, int pHeight)
{
    if (pResize.fPercent > 0) return pResize.fPercent / 100;
    double factor = std::numeric_limits<double>::infinity();
    if (pResize.fWidth > 0) factor = static_cast<double>(pResize.fWidth) / pWidth;
    if (pResize.fHeight > 0) factor = std::min(factor, static_cast<double>(pResize.fHeight) / pHeight);
    return factor;
}

int SideAfter(int pSide, double pFactor)
{
    return static_cast<int>(std::clamp(std::round(pSide * pFactor), 1.0, static_cast<double>(kMostSide)));
}

// ---- Filtering -----------------------------------------------------------------------------------------------

/// Returns what an operation of libvips makes of an image.
template <typename tOperation>
tVipsImage Made(const tVipsImage& pFrom, tOperation pOperation)
{
    VipsImage* image = nullptr;
    if (pOperation(pFrom.get(), &image) != 0) throw cHostError("cannot be resized: " + VipsWords());
    return tVipsImage(image);
}

tVipsImage Wrap(const sPicture& pLinear)
{
    tVipsImage image(vips_image_new_from_memory(pLinear.fPixels.data(), pLinear.fPixels.size(), pLinear.fWidth,
                                                pLinear.fHeight, pLinear.fChannels, VIPS_FORMAT_FLOAT));
    if (!image) throw cHostError("cannot be resized: " + VipsWords());
    return Made(image, [](VipsImage* pFrom, VipsImage** pTo) {
        return vips_copy(pFrom, pTo, "interpretation", VIPS_INTERPRETATION_scRGB, nullptr);
    });
}

tVipsImage Filtered(const tVipsImage& pImage, const sSize& pSize)
{
    const double horizontal = static_cast<double>(pSize.fWidth) / vips_image_get_width(pImage.get());
    const double vertical = static_cast<double>(pSize.fHeight) / vips_image_get_height(pImage.get());
    return Made(pImage, [&](VipsImage* pFrom, VipsImage** pTo) {
        return vips_resize(pFrom, pTo, horizontal, "vscale", vertical, "kernel", VIPS_KERNEL_LANCZOS3, "gap", 0.0,
                           nullptr);
    });
}

/// Filters colours that are weighted with alpha, so that those of transparent pixels count for nothing.
tVipsImage FilteredWithAlpha(const tVipsImage& pImage, const sSize& pSize)
{
    const tVipsImage weighted = Made(pImage, [](VipsImage* pFrom, VipsImage** pTo) {
        return vips_premultiply(pFrom, pTo, "max_alpha", 1.0, nullptr);
    });
    return Made(Filtered(weighted, pSize), [](VipsImage* pFrom, VipsImage** pTo) {
        return vips_unpremultiply(pFrom, pTo, "max_alpha", 1.0, nullptr);
    });
}

/// Computes the pixels of an image of libvips into a picture.
sPicture Computed(const tVipsImage& pImage, const sPicture& pLike)
{
    sPicture picture;
    AllocatePixels(picture, vips_image_get_width(pImage.get()), vips_image_get_height(pImage.get()), eFloats,
                   pLike.fChannels);
    size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> pixels(vips_image_write_to_memory(pImage.get(), &size), g_free);
    if (!pixels || size != picture.fPixels.size()) throw cHostError("cannot be resized: " + VipsWords());
    std::memcpy(picture.fPixels.data(), pixels.get(), size);
    picture.fMetadata = pLike.fMetadata;
    picture.fColor = pLike.fColor;
    return picture;
}

// ---- Encoding ------------------------------------------------------------------------------------------------

using tCurve = std::unique_ptr<cmsToneCurve, decltype(&cmsFreeToneCurve)>;

enum eDirection : int
{
    eDecode = 1,  // of a parametric curve of ICC profiles
    eEncode = -1, // of its inverse
};

/// Returns the curve between linear and encoded values, by the formulas of the spaces: IEC 61966-2-1 for sRGB and
/// Display P3, a power for Adobe RGB and ProPhoto RGB, ITU-R BT.2020.
tCurve CurveOf(int pSpace, eDirection pDirection)
{
    constexpr double kSrgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    constexpr double kAlpha = 1.09929682680944, kBeta = 0.018053968510807;
    constexpr double kRec2020[] = {1 / 0.45, 1 / kAlpha, (kAlpha - 1) / kAlpha, 1 / 4.5, 4.5 * kBeta};
    constexpr double kAdobe[] = {2.2}, kProPhoto[] = {1.8};
    constexpr int kPower = 1, kWithLine = 4; // parametric curves of ICC profiles
    const auto curve = [=](int pKind, const double* pNumbers) {
        return tCurve(cmsBuildParametricToneCurve(nullptr, pDirection * pKind, pNumbers), cmsFreeToneCurve);
    };
    switch (pSpace) {
    case SELVANE_ADOBE_RGB:
        return curve(kPower, kAdobe);
    case SELVANE_PROPHOTO:
        return curve(kPower, kProPhoto);
    case SELVANE_REC2020:
        return curve(kWithLine, kRec2020);
    default:
        return curve(kWithLine, kSrgb);
    }
}

float Inside(float pValue)
{
    return pValue > 0.0F ? std::min(pValue, 1.0F) : 0.0F; // NaN becomes 0
}

template <typename tSample>
void EncodeRow(const unsigned char* pFrom, unsigned char* pTo, const sPicture& pLinear, const cmsToneCurve* pCurve)
{
    constexpr float kMost = std::numeric_limits<tSample>::max();
    const size_t channels = static_cast<size_t>(pLinear.fChannels);
    for (size_t i = 0; i < static_cast<size_t>(pLinear.fWidth) * channels; i++) {
        float value = 0;
        std::memcpy(&value, pFrom + i * sizeof value, sizeof value);
        value = Inside(value);
        if (i % channels < 3) value = Inside(cmsEvalToneCurveFloat(pCurve, value));
        const auto sample = static_cast<tSample>(std::lround(value * kMost));
        std::memcpy(pTo + i * sizeof sample, &sample, sizeof sample);
    }
}

} // namespace

std::optional<sResize> ReadResize(const std::string& pText)
{
    const std::string_view text = pText;
    if (text.ends_with('%')) return ReadPercent(text.substr(0, text.size() - 1));
    const size_t cross = text.find('x');
    const std::optional<int> width = SideIn(text.substr(0, cross));
    const std::optional<int> height = SideIn(cross == std::string_view::npos ? "" : text.substr(cross + 1));
    if (!width || !height || *width + *height == 0) return std::nullopt;
    return sResize{*width, *height, 0};
}

std::string WordOf(const sResize& pResize)
{
    std::array<char, 32> digits{};
    const auto [end, failure] = std::to_chars(digits.data(), digits.data() + digits.size(), pResize.fPercent);
    if (pResize.fPercent > 0) return std::string(digits.data(), end) + "%";
    const std::string width = pResize.fWidth > 0 ? std::to_string(pResize.fWidth) : "";
    return pResize.fHeight > 0 ? width + "x" + std::to_string(pResize.fHeight) : width;
}

sSize SizeAfter(const sResize& pResize, int pWidth, int pHeight, bool pEnlarge)
{
    const double wanted = FactorOf(pResize, pWidth, pHeight);
    const double factor = pEnlarge ? wanted : std::min(wanted, 1.0);
    return {SideAfter(pWidth, factor), SideAfter(pHeight, factor)};
}

sPicture Resized(const sPicture& pLinear, const sSize& pSize)
{
    const tVipsImage image = Wrap(pLinear);
    return Computed(pLinear.fChannels == 4 ? FilteredWithAlpha(image, pSize) : Filtered(image, pSize), pLinear);
}

void Decode(sPicture& pEncoded, int pSpace)
{
    const tCurve curve = CurveOf(pSpace, eDecode);
    if (!curve) throw std::bad_alloc();
    MakeLinear(pEncoded, [&](double pSample) {
        return static_cast<double>(cmsEvalToneCurveFloat(curve.get(), static_cast<float>(pSample)));
    });
}

sPicture EncodedFrom(const sPicture& pLinear, int pSpace, eSampleForm pForm)
{
    const tCurve curve = CurveOf(pSpace, eEncode);
    if (!curve) throw std::bad_alloc();
    sPicture picture;
    AllocatePixels(picture, pLinear.fWidth, pLinear.fHeight, pForm, pLinear.fChannels);
    picture.fMetadata = pLinear.fMetadata;
    for (int y = 0; y < pLinear.fHeight; y++) {
        if (pForm == eSamples8)
            EncodeRow<uint8_t>(Row(pLinear, y), Row(picture, y), pLinear, curve.get());
        else
            EncodeRow<uint16_t>(Row(pLinear, y), Row(picture, y), pLinear, curve.get());
    }
    return picture;
}

} // namespace SelvaneHost
