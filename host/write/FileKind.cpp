#include "write/FileKind.h"

#include "picture/Errors.h"

#include <cctype>

namespace SelvaneHost
{

namespace
{

std::string LowerExtension(const std::string& pPath)
{
    const size_t dot = pPath.rfind('.');
    const size_t slash = pPath.rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
    std::string extension = pPath.substr(dot);
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

} // namespace

eFileKind KindFor(const std::string& pPath)
{
    const std::string extension = LowerExtension(pPath);
    if (extension == ".png") return ePng;
    if (extension == ".tif" || extension == ".tiff") return eTiff;
    if (extension == ".jpg" || extension == ".jpeg") return eJpeg;
    throw cUsageError(pPath + ": the name of the output must end in .png, .tif, .tiff, .jpg or .jpeg");
}

} // namespace SelvaneHost
