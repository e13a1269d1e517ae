#ifndef SELVANE_HOST_COLOR_SPACE_H
#define SELVANE_HOST_COLOR_SPACE_H

#include "picture/Picture.h"

#include <optional>

namespace SelvaneHost
{

/// Sets one of the engine's three colour spaces. Integers are decoded as its entry decodes them, floats and exponents
/// are linear. The output has the same space.
/// @param pSpace empty: the file names none, and the picture is taken as sRGB
void SetSpace(sPicture& pPicture, std::optional<int> pSpace);

/// Sets any other colours. Chooses the space of the output: Display P3 for finished pictures in it, that is integers
/// with its curve, and sRGB for all else.
void SetColor(sPicture& pPicture, sColor pColor);

} // namespace SelvaneHost

#endif
