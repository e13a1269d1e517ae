#include "write/FileKind.h"

#include "picture/Errors.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace SelvaneHost
{

namespace
{

struct sKind
{
    eFileKind fKind;
    const char* fName;                    ///< for --format
    const char* fSpoken;                  ///< for messages
    std::vector<const char*> fExtensions; ///< in lower case
    std::vector<int> fDepths;             ///< bits of a sample
    int fUsualDepth;                      ///< of a deep input
    int fMostSide;
};

constexpr int kAnySide = std::numeric_limits<int>::max();

// In the order of eFileKind.
const std::vector<sKind> kKinds = {
    {ePng, "png", "PNG", {".png"}, {8, 16}, 16, kAnySide},
    {eTiff, "tiff", "TIFF", {".tif", ".tiff"}, {8, 16}, 16, kAnySide},
    {eJpeg, "jpeg", "JPEG", {".jpg", ".jpeg"}, {8}, 8, 65500},
    {eWebp, "webp", "WebP", {".webp"}, {8}, 8, 16383},
    {eAvif, "avif", "AVIF", {".avif"}, {8, 10, 12}, 10, 65536},
    {eJxl, "jxl", "JPEG XL", {".jxl"}, {8, 16}, 16, kAnySide},
};

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

/// "8, 10 or 12"
std::string ListOf(const std::vector<int>& pDepths)
{
    std::string list;
    for (size_t i = 0; i < pDepths.size(); i++)
        list += (i == 0 ? "" : i + 1 == pDepths.size() ? " or " : ", ") + std::to_string(pDepths[i]);
    return list;
}

bool Has(const sKind& pKind, const std::string& pExtension)
{
    return std::ranges::find(pKind.fExtensions, pExtension) != pKind.fExtensions.end();
}

} // namespace

std::vector<std::string> FileKindNames()
{
    std::vector<std::string> names;
    names.reserve(kKinds.size());
    for (const sKind& kind : kKinds)
        names.emplace_back(kind.fName);
    return names;
}

eFileKind KindFor(const std::string& pPath, const std::string& pFormat)
{
    if (pPath == "-" && pFormat.empty())
        throw cUsageError("standard output needs a kind of file: --format png, tiff, jpeg, webp, avif or jxl");
    const std::string extension = LowerExtension(pPath);
    for (const sKind& kind : kKinds)
        if (pFormat.empty() ? Has(kind, extension) : pFormat == kind.fName) return kind.fKind;
    throw cUsageError(pPath + ": the name of the output must end in .png, .tif, .tiff, .jpg, .jpeg, .webp, .avif or "
                              ".jxl, or --format names its kind");
}

int DepthFor(eFileKind pKind, std::optional<int> pAsked, bool pInputIsDeep)
{
    const sKind& kind = kKinds[static_cast<size_t>(pKind)];
    if (!pAsked) return pInputIsDeep ? kind.fUsualDepth : 8;
    if (std::ranges::find(kind.fDepths, *pAsked) == kind.fDepths.end())
        throw cUsageError(std::string(kind.fSpoken) + " files hold " + ListOf(kind.fDepths) + " bits a sample, not " +
                          std::to_string(*pAsked));
    return *pAsked;
}

int MostSide(eFileKind pKind)
{
    return kKinds[static_cast<size_t>(pKind)].fMostSide;
}

const char* SpokenName(eFileKind pKind)
{
    return kKinds[static_cast<size_t>(pKind)].fSpoken;
}

} // namespace SelvaneHost
