#include "sheet/Label.h"

#include "picture/Errors.h"
#include "picture/VipsObject.h"

#include <algorithm>
#include <memory>

namespace SelvaneHost
{

namespace
{

using tGlibText = std::unique_ptr<char, decltype(&g_free)>;

constexpr int kDpi = 72; // a point of the font is a pixel
constexpr const char* kEllipsis = "\u2026";

/// One line of valid UTF-8, with the signs of pango's markup escaped.
std::string MarkupOf(const std::string& pText)
{
    const tGlibText valid(g_utf8_make_valid(pText.c_str(), static_cast<gssize>(pText.size())), g_free);
    const tGlibText escaped(g_markup_escape_text(OneLine(valid.get()).c_str(), -1), g_free);
    return escaped.get();
}

tVipsImage Drawn(const std::string& pText, int pSize, bool pBold)
{
    const std::string font = std::string("sans ") + (pBold ? "bold " : "") + std::to_string(pSize);
    VipsImage* image = nullptr;
    if (vips_text(&image, MarkupOf(pText).c_str(), "font", font.c_str(), "dpi", kDpi, nullptr) != 0)
        throw cHostError("the labels cannot be drawn: " + VipsWords());
    return tVipsImage(image);
}

/// The first characters of a valid text.
std::string Beginning(const std::string& pValid, long pCharacters)
{
    const char* const end = g_utf8_offset_to_pointer(pValid.c_str(), pCharacters);
    return {pValid.c_str(), end};
}

/// The longest beginning that fits, with an ellipsis.
tVipsImage Shortened(const std::string& pText, int pSize, int pMostWidth, bool pBold)
{
    const tGlibText made(g_utf8_make_valid(pText.c_str(), static_cast<gssize>(pText.size())), g_free);
    const std::string valid = made.get();
    long fits = 0, fails = g_utf8_strlen(valid.c_str(), -1);
    while (fails - fits > 1) {
        const long middle = (fits + fails) / 2;
        const tVipsImage image = Drawn(Beginning(valid, middle) + kEllipsis, pSize, pBold);
        (vips_image_get_width(image.get()) <= pMostWidth ? fits : fails) = middle;
    }
    return Drawn(Beginning(valid, fits) + kEllipsis, pSize, pBold);
}

} // namespace

sLabel LabelOf(const std::string& pText, int pSize, int pMostWidth, bool pBold)
{
    if (OneLine(pText).find_first_not_of(' ') == std::string::npos) return {}; // nothing to draw is an error there
    tVipsImage image = Drawn(pText, pSize, pBold);
    if (vips_image_get_width(image.get()) > pMostWidth) image = Shortened(pText, pSize, pMostWidth, pBold);
    size_t size = 0;
    void* const bytes = vips_image_write_to_memory(image.get(), &size);
    if (bytes == nullptr) throw cHostError("the labels cannot be drawn: " + VipsWords());
    const auto* const first = static_cast<const unsigned char*>(bytes);
    sLabel label{vips_image_get_width(image.get()), vips_image_get_height(image.get()),
                 vips_image_get_xoffset(image.get()), vips_image_get_yoffset(image.get()), tBytes(first, first + size)};
    g_free(bytes);
    return label;
}

} // namespace SelvaneHost
