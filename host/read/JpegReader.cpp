#include "read/JpegReader.h"

#include "read/ReaderSteps.h"
#include "read/VipsReader.h"

#include <vips/vips.h>

namespace SelvaneHost
{

bool LooksLikeJpeg(const tBytes& pBytes)
{
    return BeginsWith(pBytes, "\xFF\xD8\xFF");
}

sPicture ReadJpeg(const tBytes& pBytes, const sReadOptions& pOptions)
{
    return ReadThroughVips({vips_jpegload_buffer}, pBytes, pOptions);
}

} // namespace SelvaneHost
