#include "Pixels.h"

#include <cstring>

namespace SelvaneGegl
{

namespace
{

/// The same region at a level. Never empty.
GeglRectangle AtLevel(const GeglRectangle& pRegion, int pLevel)
{
    const int right = pRegion.x + pRegion.width, bottom = pRegion.y + pRegion.height;
    GeglRectangle reduced{pRegion.x >> pLevel, pRegion.y >> pLevel, 0, 0};
    reduced.width = MAX(1, (right >> pLevel) - reduced.x);
    reduced.height = MAX(1, (bottom >> pLevel) - reduced.y);
    return reduced;
}

} // namespace

tBuffer RegionOf(GeglBuffer* pFrom, const GeglRectangle& pRegion, int pLevel, const Babl* pFormat)
{
    if (pLevel == 0) return tBuffer(gegl_buffer_create_sub_buffer(pFrom, &pRegion));
    const GeglRectangle reduced = AtLevel(pRegion, pLevel);
    tBuffer copy(gegl_buffer_new(&reduced, pFormat));
    const int bytes = babl_format_get_bytes_per_pixel(pFormat);
    const std::unique_ptr<void, decltype(&gegl_free)> pixels(
        gegl_malloc(static_cast<gsize>(reduced.width) * static_cast<gsize>(reduced.height) * static_cast<gsize>(bytes)),
        gegl_free);
    gegl_buffer_get(pFrom, &reduced, 1.0 / (1 << pLevel), pFormat, pixels.get(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_CLAMP);
    gegl_buffer_set(copy.get(), &reduced, 0, pFormat, pixels.get(), GEGL_AUTO_ROWSTRIDE);
    return copy;
}

tBuffer Remember(GeglBuffer* pBuffer)
{
    return tBuffer(gegl_buffer_dup(pBuffer));
}

bool HoldTheSame(GeglBuffer* pOne, GeglBuffer* pOther)
{
    const Babl* const format = gegl_buffer_get_format(pOne);
    const GeglRectangle* const extent = gegl_buffer_get_extent(pOne);
    if (format != gegl_buffer_get_format(pOther)) return false;
    if (!gegl_rectangle_equal(extent, gegl_buffer_get_extent(pOther))) return false;
    const auto bytes = static_cast<size_t>(babl_format_get_bytes_per_pixel(format));
    GeglBufferIterator* const at =
        gegl_buffer_iterator_new(pOne, extent, 0, format, GEGL_ACCESS_READ, GEGL_ABYSS_NONE, 2);
    gegl_buffer_iterator_add(at, pOther, extent, 0, format, GEGL_ACCESS_READ, GEGL_ABYSS_NONE);
    while (gegl_buffer_iterator_next(at)) {
        const void* const one = at->items[0].data;
        const void* const other = at->items[1].data;
        if (one == other || std::memcmp(one, other, static_cast<size_t>(at->length) * bytes) == 0) continue;
        gegl_buffer_iterator_stop(at);
        return false;
    }
    return true;
}

} // namespace SelvaneGegl
