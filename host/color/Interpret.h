#ifndef SELVANE_HOST_COLOR_INTERPRET_H
#define SELVANE_HOST_COLOR_INTERPRET_H

// Decides what the samples of a picture mean, from all that its file says.

#include "color/ColorNotes.h"
#include "picture/Picture.h"
#include "picture/ReadOptions.h"

namespace SelvaneHost
{

/// Sets fColor. The first of these counts: the options, code points, profile, the name of a space, chromaticities and
/// gamma. The picture is taken as sRGB if there is nothing; with a warning if there is something that cannot be used.
///
/// One of the engine's three colour spaces leaves the samples as they are, and so do other primaries with a curve that
/// libselvane has. All else becomes linear floats.
void Interpret(sPicture& pPicture, const sColorNotes& pNotes, const sReadOptions& pOptions);

} // namespace SelvaneHost

#endif
