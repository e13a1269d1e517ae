#include "job/Frame.h"

#include "job/Develop.h"
#include "picture/Border.h"
#include "write/Resize.h"

#include <selvane.h>

#include <cstring>

namespace SelvaneHost
{

namespace
{

/// Returns the colour in the form and the space of the output. Integers are converted by an equalizer without curves.
/// Light takes the way of a flat picture, whose colour libselvane keeps but for a few steps of 8 bits.
tBytes ColorOf(const sBorder& pFrame, int pSpace, const sPicture& pOutput)
{
    const sPicture& border = pFrame.fColor;
    const bool same = border.fColor.fTransfer == SELVANE_TRANSFER_ENGINE && border.fColor.fPrimaries == pSpace &&
                      border.fForm == pOutput.fForm && border.fChannels == pOutput.fChannels;
    if (same) return border.fPixels;
    sPicture color;
    const bool integers = border.fForm == eSamples8 || border.fForm == eSamples16;
    const bool light = pOutput.fForm == eFloats;
    AllocatePixels(color, 1, 1, integers && light ? eSamples16 : pOutput.fForm, pOutput.fChannels);
    if (!integers) {
        Develop(border, {}, pSpace, {}, color, {1, 1, 0, 0});
        return color.fPixels;
    }
    selvane_settings plain;
    selvane_settings_init(&plain);
    Equalize(border, plain, pSpace, {}, color);
    if (light) Decode(color, pSpace);
    return color.fPixels;
}

void FillRow(sPicture& pOutput, const tBytes& pColor, int pRow, int pLeft, int pRight)
{
    for (int x = pLeft; x < pRight; x++)
        std::memcpy(Row(pOutput, pRow) + static_cast<size_t>(x) * pColor.size(), pColor.data(), pColor.size());
}

} // namespace

sBorder TakeFrame(sPicture& pPicture)
{
    sBorder frame{{pPicture.fWidth, pPicture.fHeight, 0, 0}, {}};
    const std::optional<sArea> inside = InsideOfBorder(pPicture);
    if (!inside) return frame;
    frame.fInside = *inside;
    frame.fColor = CornerOf(pPicture);
    Crop(pPicture, *inside);
    return frame;
}

void PutFrame(const sBorder& pFrame, int pSpace, sPicture& pOutput)
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
