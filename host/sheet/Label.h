#ifndef SELVANE_HOST_SHEET_LABEL_H
#define SELVANE_HOST_SHEET_LABEL_H

#include "picture/Bytes.h"

#include <string>

namespace SelvaneHost
{

/// A line of text as a mask: 0 is paper, 255 ink. One byte a pixel, row by row.
struct sLabel
{
    int fWidth = 0;
    int fHeight = 0;
    int fLeft = 0; ///< of the mask, from the beginning of the line
    int fTop = 0;  ///< of the mask, from the top of the line: texts that begin at one height have one baseline
    tBytes fMask;
};

/// Draws a text on one line, and cuts it off with an ellipsis where it is too wide. Bytes that are no UTF-8 become the
/// sign for that; signs of markup stand for themselves.
/// @param pSize height of the letters, pixels: of a line about 1.2 times as much
/// @throws cHostError
sLabel LabelOf(const std::string& pText, int pSize, int pMostWidth, bool pBold);

} // namespace SelvaneHost

#endif
