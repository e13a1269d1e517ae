#include "read/PngReader.h"

#include "picture/PngColor.h"
#include "read/ReaderSteps.h"
#include "read/VipsReader.h"

#include <vips/vips.h>

namespace SelvaneHost
{

bool LooksLikePng(const tBytes& pBytes)
{
    return BeginsWith(pBytes, "\x89PNG\r\n\x1A\n");
}

sPicture ReadPng(const tBytes& pBytes)
{
    return ReadThroughVips({vips_pngload_buffer, PngProfile, PngSaysSrgb}, pBytes);
}

} // namespace SelvaneHost
