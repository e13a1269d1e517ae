#include "read/WebpReader.h"

#include "read/ReaderSteps.h"
#include "read/VipsReader.h"

#include <algorithm>
#include <string_view>
#include <vips/vips.h>

namespace SelvaneHost
{

bool LooksLikeWebp(const tBytes& pBytes)
{
    constexpr std::string_view kMark = "WEBP";
    return BeginsWith(pBytes, "RIFF") && pBytes.size() >= 12 &&
           std::equal(kMark.begin(), kMark.end(), pBytes.begin() + 8);
}

sPicture ReadWebp(const tBytes& pBytes, const sReadOptions& pOptions)
{
    return ReadThroughVips({vips_webpload_buffer}, pBytes, pOptions);
}

} // namespace SelvaneHost
