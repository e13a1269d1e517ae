#ifndef SELVANE_HOST_PICTURE_BORDER_H
#define SELVANE_HOST_PICTURE_BORDER_H

#include "picture/Picture.h"

#include <optional>

namespace SelvaneHost
{

/// Returns the part of a picture inside its border: the rows and columns at the edges whose pixels all have one exact
/// value are the border. Empty if there is none, and for a picture of one value. Pixels with an alpha of 0 are all of
/// one value, whatever their colours.
std::optional<sArea> InsideOfBorder(const sPicture& pPicture);

/// Returns a picture of the pixel in the upper left corner, with its colours.
sPicture CornerOf(const sPicture& pPicture);

} // namespace SelvaneHost

#endif
