#include "command/CommandSteps.h"

#include "read/PictureReader.h"

#include <filesystem>
#include <string_view>
#include <system_error>

namespace SelvaneHost
{

namespace
{

void WarnAbout(const std::string& pPath, std::string_view pWarning)
{
    std::string text = pPath;
    text += ": ";
    text += pWarning;
    Warn(text);
}

} // namespace

void CheckDepth(std::optional<int> pAsked, const std::string& pOutput)
{
    if (pAsked == 16 && KindFor(pOutput) == eJpeg)
        throw cUsageError(pOutput +
                          ": JPEG files hold 8 bits a sample; leave --depth 16 out, or write a .png or .tif file");
}

void CheckOutput(const std::string& pInput, const std::string& pOutput, bool pForce)
{
    About(pOutput, [&] { CheckWritable(pOutput); });
    std::error_code neither; // one that is not there is none of them
    if (!pForce && std::filesystem::equivalent(pInput, pOutput, neither))
        throw cUsageError(pOutput + ": is the input itself; --force replaces it");
}

int DepthFor(std::optional<int> pAsked, eFileKind pKind, eSampleForm pInput)
{
    if (pAsked) return *pAsked;
    return pKind == eJpeg || pInput == eSamples8 ? 8 : 16;
}

sPicture Read(const std::string& pPath)
{
    StartPictureLibrary();
    sPicture picture = About(pPath, [&] { return ReadPictureFile(pPath); });
    for (const std::string& warning : picture.fWarnings)
        WarnAbout(pPath, warning);
    return picture;
}

Vornik::eColorSpaceID SpaceOf(const sPicture& pPicture, const std::string& pPath,
                              std::optional<Vornik::eColorSpaceID> pChosen)
{
    if (pChosen) return *pChosen;
    if (!pPicture.fColorSpaceWarning.empty()) WarnAbout(pPath, pPicture.fColorSpaceWarning);
    return pPicture.fColorSpace.value_or(Vornik::eColorSpace_sRGB);
}

sPicture Blank(const sPicture& pInput, int pDepth)
{
    sPicture output;
    AllocatePixels(output, pInput.fWidth, pInput.fHeight, pDepth == 8 ? eSamples8 : eSamples16);
    output.fMetadata = pInput.fMetadata;
    return output;
}

} // namespace SelvaneHost
