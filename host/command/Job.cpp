#include "command/Job.h"

#include "command/Frame.h"
#include "write/PictureWriter.h"

#include <cstdint>
#include <utility>

namespace SelvaneHost
{

namespace
{

constexpr double kNearly = 0.97; // share of the samples

bool IsBeyondTheEntry(const sLook& pLook)
{
    return pLook.fExposure || pLook.fContrast || pLook.fSaturation;
}

/// Refuses points that would not be used.
void CheckPoints(const sLook& pLook)
{
    if (pLook.fBlackPoint.has_value() != pLook.fWhitePoint.has_value())
        throw cUsageError("--black-point and --white-point go together");
    if (!pLook.fWhitePoint) return;
    if (!(*pLook.fBlackPoint >= 0.0F)) throw cUsageError("--black-point must not be below 0");
    if (!(*pLook.fWhitePoint > *pLook.fBlackPoint)) throw cUsageError("--white-point must be above --black-point");
    if (IsBeyondTheEntry(pLook))
        throw cUsageError("--white-point does not go with --exposure, --contrast and --saturation");
}

/// The shell's way to write a word.
std::string Quoted(const std::string& pWord)
{
    const bool plain = pWord.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
                                               "-_./+:,@%=") == std::string::npos;
    if (plain && !pWord.empty()) return pWord;
    std::string quoted(1, '\'');
    for (const char letter : pWord) {
        if (letter == '\'') quoted += "'\\'"; // ends the quotes, and puts one of its own between
        quoted += letter;
    }
    quoted += '\'';
    return quoted;
}

std::string CropWords(const std::optional<sArea>& pCrop)
{
    if (!pCrop) return {};
    return " --crop " + std::to_string(pCrop->fWidth) + "x" + std::to_string(pCrop->fHeight) + "+" +
           std::to_string(pCrop->fLeft) + "+" + std::to_string(pCrop->fTop);
}

std::string CommandFor(const sJob& pJob, const sDeveloped& pDeveloped)
{
    std::string command = "selvane tonemap " + Quoted(pJob.fInput) + " -o " + Quoted(pJob.fOutput.fPath) + " " +
                          pDeveloped.fWords + CropWords(pJob.fCrop);
    if (pJob.fColorSpace) command += std::string(" --color-space ") + SpaceWord(*pJob.fColorSpace);
    if (pJob.fInputSpace) command += std::string(" --input-space ") + InputSpaceWord(*pJob.fInputSpace);
    if (!pJob.fLayer.empty()) command += " --layer " + Quoted(pJob.fLayer);
    if (pJob.fOutput.fDepth) command += " --depth " + std::to_string(*pJob.fOutput.fDepth);
    return command;
}

/// Share of the colour samples that pTest holds for, of 8 or 16 bits, by their high byte.
template <class tTest>
double ShareOf(const sPicture& pPicture, tTest pTest)
{
    const size_t bytes = SampleBytes(pPicture.fForm);
    const auto channels = static_cast<size_t>(pPicture.fChannels);
    int64_t count = 0, all = 0;
    for (size_t i = 0; i < pPicture.fPixels.size() / bytes; i++) {
        if (i % channels == 3) continue; // alpha
        count += pTest(pPicture.fPixels[(i + 1) * bytes - 1]) ? 1 : 0;
        all++;
    }
    return static_cast<double>(count) / static_cast<double>(all);
}

void WarnOfEmptiness(const sPicture& pOutput, const std::string& pPath, const tLine& pLine)
{
    constexpr unsigned char kDark = 8, kBright = 247;
    if (ShareOf(pOutput, [](unsigned char pByte) { return pByte < kDark; }) > kNearly)
        pLine("warning: " + pPath + ": the picture is nearly black; try --exposure 2, or look at the input");
    if (ShareOf(pOutput, [](unsigned char pByte) { return pByte > kBright; }) > kNearly)
        pLine("warning: " + pPath + ": the picture is nearly white; try --exposure -2, or look at the input");
}

/// Gives the picture the form of the engine's entry where the look needs it.
void PrepareForm(const sJob& pJob, sPicture& pPicture, const tLine& pLine)
{
    if (!TakesEntryForm(pJob.fLook)) return;
    if (pPicture.fChannels == 4) pLine("warning: " + pJob.fInput + ": the alpha channel was dropped");
    MakeEntryForm(pPicture);
}

/// Takes the border off, unless the numbers have to be those of the engine's entry.
sFrame FrameFor(const sJob& pJob, sPicture& pInput)
{
    if (TakesEntryForm(pJob.fLook)) return {{pInput.fWidth, pInput.fHeight, 0, 0}, {}};
    return TakeFrame(pInput);
}

void NoteColors(const sJob& pJob, const sColor& pColor, int pSpace, const tLine& pNote)
{
    if (pColor.fWords.empty() || !pNote) return;
    pNote(pJob.fInput + ": " + pColor.fWords + "; the output is in " + SpaceName(pSpace));
}

void Tell(const sJobHooks& pHooks, eJobStage pStage, float pShare)
{
    if (pHooks.fProgress && !pHooks.fProgress(pStage, pShare)) throw cHostError("cancelled");
}

sRunning RunningOf(const sJob& pJob, const sJobHooks& pHooks)
{
    sRunning running{.fThreads = pJob.fThreads, .fLog = pHooks.fLog};
    if (pHooks.fProgress)
        running.fProgress = [&pHooks](int, float pShare) { return pHooks.fProgress(eJobRenders, pShare); };
    return running;
}

} // namespace

void CheckLook(const sLook& pLook)
{
    if (!pLook.fPreset.empty() && !pLook.fSettings.empty())
        throw cUsageError("--preset and --settings do not go together");
    const bool named = !pLook.fPreset.empty() || !pLook.fSettings.empty();
    if (pLook.fExact && named) throw cUsageError("--exact does not go with --preset and --settings");
    if (pLook.fManual && named) throw cUsageError("--manual does not go with --preset and --settings");
    CheckPoints(pLook);
}

void CheckJob(const sJob& pJob)
{
    CheckLook(pJob.fLook);
    if (pJob.fInputSpace && TakesEntryForm(pJob.fLook))
        throw cUsageError("--input-space does not go with --exact and --white-point: there --color-space is both");
    CheckDepth(pJob.fOutput, KindFor(pJob.fOutput.fPath));
}

sPicture ReadFor(const sJob& pJob, const tLine& pLine)
{
    const sReadOptions options{
        .fAsEntry = TakesEntryForm(pJob.fLook), .fInputSpace = pJob.fInputSpace, .fLayer = pJob.fLayer};
    sPicture picture = Read(pJob.fInput, options, pLine);
    About(pJob.fInput, [&] {
        if (pJob.fCrop) Crop(picture, *pJob.fCrop);
        PrepareForm(pJob, picture, pLine);
    });
    return picture;
}

sDone RunJob(const sJob& pJob, const sJobHooks& pHooks)
{
    const std::string& path = pJob.fOutput.fPath;
    const tLine line = pHooks.fLine ? pHooks.fLine : [](const std::string&) {};
    CheckJob(pJob);
    CheckOutput(pJob.fInput, pJob.fOutput);
    const eFileKind kind = KindFor(path);

    Tell(pHooks, eJobReads, 0.0F);
    sPicture input = ReadFor(pJob, line);
    Tell(pHooks, eJobReads, 1.0F);
    sDone done;
    done.fSpace = SpaceOf(input, pJob.fInput, pJob.fColorSpace, TakesEntryForm(pJob.fLook), line);
    NoteColors(pJob, input.fColor, done.fSpace, pHooks.fNote);
    done.fWidth = input.fWidth;
    done.fHeight = input.fHeight;
    sPicture output = Blank(input, kind, DepthFor(pJob.fOutput, kind, input.fForm));
    About(pJob.fInput, [&] {
        const sFrame frame = FrameFor(pJob, input);
        done.fDeveloped = Develop(input, pJob.fLook, done.fSpace, RunningOf(pJob, pHooks), output, frame.fInside);
        PutFrame(frame, done.fSpace, output);
    });
    done.fCommand = CommandFor(pJob, done.fDeveloped);
    input.fPixels = {}; // frees memory for the encoded file
    if (!pJob.fLook.fExact) WarnOfEmptiness(output, path, line);
    Tell(pHooks, eJobWrites, 0.0F);
    About(path, [&] { WritePicture(output, done.fSpace, kind, path); });
    Tell(pHooks, eJobWrites, 1.0F);
    return done;
}

} // namespace SelvaneHost
