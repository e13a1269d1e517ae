#include "picture/Border.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace SelvaneHost
{

namespace
{

using tPixel = std::array<unsigned char, 16>; // of at most 4 floats

tPixel PixelAt(const sPicture& pPicture, int pX, int pY)
{
    tPixel pixel{};
    const unsigned char* const row = Row(pPicture, pY);
    const auto x = static_cast<size_t>(pX);
    if (pPicture.fForm == eExponentPlanes) {
        for (size_t plane = 0; plane < 4; plane++)
            pixel[plane] = row[plane * static_cast<size_t>(pPicture.fWidth) + x];
    } else
        std::memcpy(pixel.data(), row + x * PixelBytes(pPicture), PixelBytes(pPicture));
    return pixel;
}

/// Whether the pixel cannot be seen: its alpha, the last sample, is not above 0. Its colour means nothing then.
bool IsHidden(const sPicture& pPicture, const tPixel& pPixel)
{
    if (pPicture.fChannels < 4) return false;
    const size_t size = SampleBytes(pPicture.fForm);
    const unsigned char* const alpha = pPixel.data() + 3 * size;
    if (pPicture.fForm != eFloats)
        return std::all_of(alpha, alpha + size, [](unsigned char byte) { return byte == 0; });
    float value = 0;
    std::memcpy(&value, alpha, sizeof value);
    return !(value > 0.0F);
}

/// Compares the pixels of a picture with the one in its upper left corner.
class cCorner
{
public:
    explicit cCorner(const sPicture& pPicture) : fPicture(pPicture), fCorner(PixelAt(pPicture, 0, 0)) {}

    /// Whether pCount pixels from pX, pY on, to the right or down, are like the corner.
    bool IsLike(int pX, int pY, int pCount, bool pDown) const
    {
        for (int i = 0; i < pCount; i++)
            if (!IsLike(PixelAt(fPicture, pDown ? pX : pX + i, pDown ? pY + i : pY))) return false;
        return true;
    }

private:
    bool IsLike(const tPixel& pPixel) const { return pPixel == fCorner || (fIsHidden && IsHidden(fPicture, pPixel)); }

    const sPicture& fPicture;
    const tPixel fCorner;
    const bool fIsHidden = IsHidden(fPicture, fCorner);
};

} // namespace

sPicture CornerOf(const sPicture& pPicture)
{
    sPicture corner;
    AllocatePixels(corner, 1, 1, pPicture.fForm, pPicture.fChannels);
    corner.fColor = pPicture.fColor;
    const tPixel pixel = PixelAt(pPicture, 0, 0);
    std::copy_n(pixel.begin(), corner.fPixels.size(), corner.fPixels.begin());
    return corner;
}

std::optional<sArea> InsideOfBorder(const sPicture& pPicture)
{
    const cCorner corner(pPicture);
    const int width = pPicture.fWidth, height = pPicture.fHeight;
    int top = 0, bottom = height, left = 0, right = width;
    while (top < height && corner.IsLike(0, top, width, false))
        top++;
    if (top == height) return std::nullopt;
    while (corner.IsLike(0, bottom - 1, width, false))
        bottom--;
    while (corner.IsLike(left, top, bottom - top, true))
        left++;
    while (corner.IsLike(right - 1, top, bottom - top, true))
        right--;
    if (right - left == width && bottom - top == height) return std::nullopt;
    return sArea{right - left, bottom - top, left, top};
}

} // namespace SelvaneHost
