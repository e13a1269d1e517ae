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

sPicture ReadPng(const tBytes& pBytes, const sReadOptions& pOptions)
{
    return ReadThroughVips({vips_pngload_buffer, PngNotes}, pBytes, pOptions);
}

} // namespace SelvaneHost
