#include "command/CommandSteps.h"

#include "color/Space.h"
#include "picture/PictureLibrary.h"
#include "read/ReadingProcess.h"
#include "write/OutputFile.h"

#include <selvane.h>

#include <filesystem>
#include <system_error>

namespace SelvaneHost
{

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
    if (!pOutput.fForce && std::filesystem::equivalent(pInput == "-" ? "/dev/stdin" : pInput, pOutput.fPath, ignored))
        throw cUsageError(pOutput.fPath + ": is the input itself; --force replaces it");
}

int DepthFor(const sOutput& pOutput, eFileKind pKind, eSampleForm pInput)
{
    if (pOutput.fDepth) return *pOutput.fDepth;
    return pKind == eJpeg || pInput == eSamples8 ? 8 : 16;
}

sPicture Read(const std::string& pPath, const sReadOptions& pOptions, const tLine& pLine)
{
    StartPictureLibrary(); // the writers need it too
    sPicture picture = About(pPath, [&] { return ReadInProcess(pPath, pOptions); });
    for (const std::string& warning : picture.fWarnings)
        pLine("warning: " + pPath + ": " + warning);
    return picture;
}

int SpaceOf(sPicture& pPicture, const std::string& pPath, std::optional<int> pChosen, bool pAsEntry,
            const tLine& pLine)
{
    if (!pAsEntry) return pChosen.value_or(pPicture.fColor.fOutput);
    if (pChosen.value_or(SELVANE_SRGB) > SELVANE_PROPHOTO)
        throw cUsageError("--exact knows the spaces srgb, adobe and prophoto alone; --manual knows all");
    if (pChosen)
        SetSpace(pPicture, pChosen);
    else if (!pPicture.fColorSpaceWarning.empty())
        pLine("warning: " + pPath + ": " + pPicture.fColorSpaceWarning);
    return pPicture.fColor.fPrimaries;
}

sPicture Blank(const sPicture& pInput, eFileKind pKind, int pDepth)
{
    sPicture output;
    AllocatePixels(output, pInput.fWidth, pInput.fHeight, pDepth == 8 ? eSamples8 : eSamples16,
                   pKind == eJpeg ? 3 : pInput.fChannels);
    output.fMetadata = pInput.fMetadata;
    return output;
}

} // namespace SelvaneHost
