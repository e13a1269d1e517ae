#include "write/Output.h"

namespace SelvaneHost
{

std::optional<sSize> ChangedSize(const sOutput& pOutput, int pWidth, int pHeight)
{
    if (!pOutput.fResize) return std::nullopt;
    const sSize size = SizeAfter(*pOutput.fResize, pWidth, pHeight, pOutput.fEnlarge);
    if (size.fWidth == pWidth && size.fHeight == pHeight) return std::nullopt;
    return size;
}

std::string OutputWords(const sOutput& pOutput)
{
    std::string words;
    if (!pOutput.fFormat.empty()) words += " --format " + pOutput.fFormat;
    if (pOutput.fDepth) words += " --depth " + std::to_string(*pOutput.fDepth);
    if (pOutput.fQuality) words += " --quality " + std::to_string(*pOutput.fQuality);
    if (pOutput.fSubsampling == eHalvedColor) words += " --subsampling 420";
    if (pOutput.fResize) words += " --resize " + WordOf(*pOutput.fResize);
    if (pOutput.fEnlarge) words += " --enlarge";
    if (pOutput.fMetadata.fNone) words += " --no-metadata";
    if (pOutput.fMetadata.fStripLocation) words += " --strip-location";
    return words;
}

} // namespace SelvaneHost
