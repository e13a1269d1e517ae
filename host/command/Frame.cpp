#include "command/Frame.h"

#include "command/Develop.h"
#include "picture/Border.h"

#include <selvane.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace SelvaneHost
{

namespace
{

/// Replaces exponents by floats.
void MakeFloats(sPicture& pPixel)
{
    const tBytes bytes = pPixel.fPixels;
    AllocatePixels(pPixel, 1, 1, eFloats);
    auto* const floats = reinterpret_cast<float*>(pPixel.fPixels.data());
    for (size_t i = 0; i < 3; i++)
        floats[i] = bytes[3] == 0 ? 0.0F : std::ldexp(static_cast<float>(bytes[i]), bytes[3] - 136);
}

/// Replaces floats, which are linear, by 16-bit samples of the light of 0 to 1.
void MakeDisplayable(sPicture& pPixel)
{
    if (pPixel.fForm == eExponentPlanes) MakeFloats(pPixel);
    if (pPixel.fForm != eFloats) return;
    const tBytes floats = pPixel.fPixels;
    AllocatePixels(pPixel, 1, 1, eSamples16, pPixel.fChannels);
    for (size_t i = 0; i < static_cast<size_t>(pPixel.fChannels); i++) {
        float value = 0.0F;
        std::memcpy(&value, floats.data() + i * sizeof value, sizeof value);
        const float limited = value > 0.0F ? std::min(value, 1.0F) : 0.0F;
        reinterpret_cast<uint16_t*>(pPixel.fPixels.data())[i] = static_cast<uint16_t>(std::lround(limited * 65535.0F));
    }
    pPixel.fColor.fTransfer = SELVANE_TRANSFER_LINEAR;
}

/// Returns the colour in the form and the space of the output.
tBytes ColorOf(const sFrame& pFrame, int pSpace, const sPicture& pOutput)
{
    const sPicture& border = pFrame.fColor;
    const bool same = border.fColor.fTransfer == SELVANE_TRANSFER_ENGINE && border.fColor.fPrimaries == pSpace &&
                      border.fForm == pOutput.fForm && border.fChannels == pOutput.fChannels;
    if (same) return border.fPixels;
    sPicture pixel = border;
    MakeDisplayable(pixel);
    sPicture color;
    AllocatePixels(color, 1, 1, pOutput.fForm, pOutput.fChannels);
    selvane_settings settings;
    selvane_settings_init(&settings);
    Equalize(pixel, settings, pSpace, {}, color);
    return color.fPixels;
}

void FillRow(sPicture& pOutput, const tBytes& pColor, int pRow, int pLeft, int pRight)
{
    for (int x = pLeft; x < pRight; x++)
        std::memcpy(Row(pOutput, pRow) + static_cast<size_t>(x) * pColor.size(), pColor.data(), pColor.size());
}

} // namespace

sFrame TakeFrame(sPicture& pPicture)
{
    sFrame frame{{pPicture.fWidth, pPicture.fHeight, 0, 0}, {}};
    const std::optional<sArea> inside = InsideOfBorder(pPicture);
    if (!inside) return frame;
    frame.fInside = *inside;
    frame.fColor = CornerOf(pPicture);
    Crop(pPicture, *inside);
    return frame;
}

void PutFrame(const sFrame& pFrame, int pSpace, sPicture& pOutput)
{
    if (pFrame.fColor.fPixels.empty()) return;
    const tBytes color = ColorOf(pFrame, pSpace, pOutput);
    const sArea& inside = pFrame.fInside;
    const int bottom = inside.fTop + inside.fHeight, right = inside.fLeft + inside.fWidth;
    for (int y = 0; y < pOutput.fHeight; y++) {
        const bool outside = y < inside.fTop || y >= bottom;
        FillRow(pOutput, color, y, 0, outside ? pOutput.fWidth : inside.fLeft);
        if (!outside) FillRow(pOutput, color, y, right, pOutput.fWidth);
    }
}

} // namespace SelvaneHost
