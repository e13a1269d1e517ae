#include "job/CommandSteps.h"

#include "color/Space.h"
#include "picture/PictureLibrary.h"
#include "read/ReadingProcess.h"
#include "write/OutputFile.h"

#include <selvane.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <thread>

namespace SelvaneHost
{

namespace
{

/// The number of threads, 0 being one for each processor.
int Workers(int pThreads)
{
    return pThreads > 0 ? pThreads : static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

void WarnOfAll(const std::vector<std::string>& pWarnings, const std::string& pPath, const tLine& pLine)
{
    const std::string begin = "warning: " + pPath + ": ";
    for (const std::string& warning : pWarnings)
        pLine(begin + warning);
}

} // namespace

void CheckOutputKind(const sOutput& pOutput)
{
    const eFileKind kind = KindFor(pOutput.fPath, pOutput.fFormat);
    try {
        DepthFor(kind, pOutput.fDepth, true);
    } catch (const cUsageError& failure) {
        throw cUsageError(pOutput.fPath + ": " + failure.what());
    }
}

void CheckOutput(const std::string& pInput, const sOutput& pOutput)
{
    About(pOutput.fPath, [&] { CheckWritable(pOutput.fPath); });
    std::error_code ignored; // a file that does not exist is not the other one
    if (!pOutput.fForce && std::filesystem::equivalent(pInput == "-" ? "/dev/stdin" : pInput, pOutput.fPath, ignored))
        throw cUsageError(pOutput.fPath + ": is the input itself; --force replaces it");
}

sStorage StorageFor(const sOutput& pOutput, const sPicture& pInput, int pSpace, const std::string& pSettings,
                    int pThreads)
{
    const eFileKind kind = KindFor(pOutput.fPath, pOutput.fFormat);
    return {.fKind = kind,
            .fSpace = pSpace,
            .fDepth = DepthFor(kind, pOutput.fDepth, pInput.fForm != eSamples8),
            .fQuality = pOutput.fQuality,
            .fSubsampling = pOutput.fSubsampling,
            .fThreads = Workers(pThreads),
            .fMetadata = pOutput.fMetadata,
            .fMustBeNew = pOutput.fMustBeNew,
            .fSettings = pSettings,
            .fVersion = std::string(SELVANE_COMMAND_VERSION " (libselvane ") + selvane_version_text() + ")"};
}

eSampleForm FormFor(int pDepth)
{
    return pDepth == 8 ? eSamples8 : eSamples16;
}

sPicture Read(const std::string& pPath, const sReadOptions& pOptions, const tLine& pLine)
{
    if (pPath.empty()) throw cHostError("the name of the picture to read is empty");
    StartPictureLibrary(); // the writers need it too
    sPicture picture = About(pPath, [&] { return ReadInProcess(pPath, pOptions); });
    WarnOfAll(picture.fWarnings, pPath, pLine);
    return picture;
}

int SpaceOf(sPicture& pPicture, const std::string& pPath, std::optional<int> pChosen, bool pAsEntry, const tLine& pLine)
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

sPicture Blank(const sPicture& pInput, eSampleForm pForm)
{
    sPicture output;
    AllocatePixels(output, pInput.fWidth, pInput.fHeight, pForm, pInput.fChannels);
    output.fMetadata = pInput.fMetadata;
    return output;
}

void Finish(const sOutput& pOutput, const sStorage& pStorage, sPicture& pPicture)
{
    if (pPicture.fForm != eFloats) return;
    const sSize size = SizeAfter(*pOutput.fResize, pPicture.fWidth, pPicture.fHeight, pOutput.fEnlarge);
    pPicture = EncodedFrom(Resized(pPicture, size), pStorage.fSpace, FormFor(pStorage.fDepth));
}

void Write(const sPicture& pPicture, const sStorage& pStorage, const std::string& pPath, const tLine& pLine)
{
    WarnOfAll(About(pPath, [&] { return WritePicture(pPicture, pStorage, pPath); }), pPath, pLine);
}

} // namespace SelvaneHost
