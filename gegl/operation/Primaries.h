#ifndef SELVANE_GEGL_OPERATION_PRIMARIES_H
#define SELVANE_GEGL_OPERATION_PRIMARIES_H

// The primaries of a babl space, for libselvane.

#include <babl/babl.h>

namespace SelvaneGegl
{

struct sPrimaries
{
    int fNumber;  ///< selvane_primaries
    float fXY[8]; ///< of SELVANE_CUSTOM: x and y of red, green, blue, white
};

/// @param pSpace null is sRGB
sPrimaries PrimariesOf(const Babl* pSpace);

/// The space in which a picture of that space is worked on: its own if it has three primaries, otherwise sRGB.
const Babl* WorkingSpaceOf(const Babl* pSpace);

} // namespace SelvaneGegl

#endif
