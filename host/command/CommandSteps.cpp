#include "command/CommandSteps.h"

#include "command/Report.h"
#include "picture/PictureLibrary.h"
#include "read/PictureReader.h"
#include "write/OutputFile.h"

#include <filesystem>
#include <system_error>

namespace SelvaneHost
{

namespace
{

void WarnAbout(const std::string& pPath, const std::string& pWarning)
{
    Warn(pPath + ": " + pWarning);
}

} // namespace

void CheckDepth(const sOutput& pOutput, eFileKind pKind)
{
    if (pOutput.fDepth == 16 && pKind == eJpeg)
        throw cUsageError(pOutput.fPath +
                          ": JPEG files hold 8 bits a sample; leave --depth 16 out, or write a .png or .tif file");
}

void CheckOutput(const std::string& pInput, const sOutput& pOutput)
{
    About(pOutput.fPath, [&] { CheckWritable(pOutput.fPath); });
    std::error_code ignored; // a file that does not exist is not the other one
    if (!pOutput.fForce && std::filesystem::equivalent(pInput, pOutput.fPath, ignored))
        throw cUsageError(pOutput.fPath + ": is the input itself; --force replaces it");
}

int DepthFor(const sOutput& pOutput, eFileKind pKind, eSampleForm pInput)
{
    if (pOutput.fDepth) return *pOutput.fDepth;
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
