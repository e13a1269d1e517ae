#ifndef SELVANE_GEGL_OPERATION_PIXELS_H
#define SELVANE_GEGL_OPERATION_PIXELS_H

// GEGL buffers: shared pointers to them, and whether two hold the same.

#include <gegl.h>
#include <memory>

namespace SelvaneGegl
{

struct sUnref
{
    void operator()(void* pObject) const { g_object_unref(pObject); }
};

using tBuffer = std::unique_ptr<GeglBuffer, sUnref>;

/// What stands in pRegion of pFrom: at level 0 a window on it, above a reduced copy.
/// @param pLevel each step halves the sides
/// @param pFormat of the copy
tBuffer RegionOf(GeglBuffer* pFrom, const GeglRectangle& pRegion, int pLevel, const Babl* pFormat);

/// Remembers what a buffer holds now. Takes no memory as long as nobody writes into the original: a tile that both
/// share is copied by the first write.
tBuffer Remember(GeglBuffer* pBuffer);

/// Whether two buffers have the same place, size, format and bytes. Tiles that both share are not looked at.
bool HoldTheSame(GeglBuffer* pOne, GeglBuffer* pOther);

} // namespace SelvaneGegl

#endif
