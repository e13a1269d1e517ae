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

/// Compares the pixels of a picture with the one in its upper left corner.
class cCorner
{
public:
    explicit cCorner(const sPicture& pPicture) : fPicture(pPicture), fCorner(PixelAt(pPicture, 0, 0)) {}

    /// Whether pCount pixels from pX, pY on, to the right or down, are like the corner.
    bool IsLike(int pX, int pY, int pCount, bool pDown) const
    {
        for (int i = 0; i < pCount; i++)
            if (PixelAt(fPicture, pDown ? pX : pX + i, pDown ? pY + i : pY) != fCorner) return false;
        return true;
    }

private:
    const sPicture& fPicture;
    const tPixel fCorner;
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
