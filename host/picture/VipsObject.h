#ifndef SELVANE_HOST_PICTURE_VIPS_OBJECT_H
#define SELVANE_HOST_PICTURE_VIPS_OBJECT_H

// Owners and messages of libvips, for the reader and the writer.

#include "picture/Errors.h"

#include <memory>
#include <string>
#include <vips/vips.h>

namespace SelvaneHost
{

struct sUnref
{
    void operator()(void* pObject) const { g_object_unref(pObject); }
};

using tVipsImage = std::unique_ptr<VipsImage, sUnref>;
using tVipsRegion = std::unique_ptr<VipsRegion, sUnref>;

/// Returns the first line of libvips' error buffer and clears the buffer.
inline std::string VipsWords()
{
    const std::string all = vips_error_buffer();
    vips_error_clear();
    const std::string first = all.substr(0, all.find('\n'));
    return first.empty() ? "no reason given" : OneLine(first);
}

} // namespace SelvaneHost

#endif
