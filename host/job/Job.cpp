#include "job/Job.h"

#include "job/Frame.h"
#include "picture/SizeWatch.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace SelvaneHost
{

namespace
{

constexpr double kNearly = 0.97; // share of the samples

bool IsBeyondTheEntry(const sLook& pLook)
{
    return pLook.fExposure || pLook.fContrast || pLook.fSaturation || !pLook.fCurves.empty();
}

/// Refuses points that would not be used.
void CheckPoints(const sLook& pLook)
{
    if (pLook.fBlackPoint.has_value() != pLook.fWhitePoint.has_value())
        throw cUsageError("--black-point and --white-point go together");
    if (!pLook.fWhitePoint) return;
    if (!(*pLook.fBlackPoint >= 0.0F)) throw cUsageError("--black-point must not be below 0");
    if (!(*pLook.fWhitePoint > *pLook.fBlackPoint)) throw cUsageError("--white-point must be above --black-point");
    if (!pLook.fManual && IsBeyondTheEntry(pLook))
        throw cUsageError("--white-point does not go with --exposure, --contrast, --saturation and curves over hue, "
                          "unless --manual is given");
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

/// A name of a file as a word of a command line, where it must not look like an option.
std::string NameWord(const std::string& pPath)
{
    return Quoted(pPath.starts_with('-') && pPath != "-" ? "./" + pPath : pPath);
}

std::string CropWords(const std::optional<sArea>& pCrop)
{
    if (!pCrop) return {};
    return " --crop " + std::to_string(pCrop->fWidth) + "x" + std::to_string(pCrop->fHeight) + "+" +
           std::to_string(pCrop->fLeft) + "+" + std::to_string(pCrop->fTop);
}

/// Share of the colour samples in an area that pTest holds for, of 8 or 16 bits, by their high byte. Pixels that cannot
/// be seen do not count.
template <class tTest>
double ShareOf(const sPicture& pPicture, const sArea& pArea, tTest pTest)
{
    const auto bytes = static_cast<ptrdiff_t>(SampleBytes(pPicture.fForm));
    const auto hidden = [&](const unsigned char* pAlpha) {
        return std::all_of(pAlpha, pAlpha + bytes, [](unsigned char pByte) { return pByte == 0; });
    };
    int64_t count = 0, all = 0;
    for (int y = pArea.fTop; y < pArea.fTop + pArea.fHeight; y++) {
        const unsigned char* pixel =
            pPicture.fPixels.data() + (ptrdiff_t{y} * pPicture.fWidth + pArea.fLeft) * pPicture.fChannels * bytes;
        for (int x = 0; x < pArea.fWidth; x++, pixel += pPicture.fChannels * bytes) {
            if (pPicture.fChannels == 4 && hidden(pixel + 3 * bytes)) continue;
            for (int color = 0; color < 3; color++)
                count += pTest(pixel[(color + 1) * bytes - 1]) ? 1 : 0;
            all += 3;
        }
    }
    return all == 0 ? 0.0 : static_cast<double>(count) / static_cast<double>(all);
}

/// The pixels of the output that lie wholly inside the border.
sArea InsideOf(const sPicture& pOutput, const sDone& pDone)
{
    const sArea& inside = pDone.fInside;
    const double across = static_cast<double>(pOutput.fWidth) / pDone.fWidth;
    const double down = static_cast<double>(pOutput.fHeight) / pDone.fHeight;
    const int left = static_cast<int>(std::ceil(inside.fLeft * across));
    const int top = static_cast<int>(std::ceil(inside.fTop * down));
    const int right = static_cast<int>(std::floor((inside.fLeft + inside.fWidth) * across));
    const int bottom = static_cast<int>(std::floor((inside.fTop + inside.fHeight) * down));
    return {right - left, bottom - top, left, top};
}

void WarnOfEmptiness(const sPicture& pOutput, const sDone& pDone, const std::string& pPath, const tLine& pLine)
{
    constexpr unsigned char kDark = 8, kBright = 247;
    const sArea inside = InsideOf(pOutput, pDone);
    if (ShareOf(pOutput, inside, [](unsigned char pByte) { return pByte < kDark; }) > kNearly)
        pLine("warning: " + pPath + ": the picture is nearly black; try --exposure 2, or look at the input");
    if (ShareOf(pOutput, inside, [](unsigned char pByte) { return pByte > kBright; }) > kNearly)
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
sBorder FrameFor(const sJob& pJob, sPicture& pInput)
{
    if (TakesEntryForm(pJob.fLook)) return {{pInput.fWidth, pInput.fHeight, 0, 0}, {}};
    return TakeFrame(pInput);
}

void NoteColors(const sJob& pJob, const sColor& pColor, int pSpace, const tLine& pNote)
{
    if (pColor.fWords.empty() || !pNote) return;
    pNote(pJob.fInput + ": " + pColor.fWords + "; the output is in " + SpaceName(pSpace));
}

/// Renders the samples of the file, or linear floats if the size is still to change. Takes the border off the input.
sPicture Rendered(const sJob& pJob, sPicture& pInput, const sRunning& pRunning, sDone& pDone)
{
    const sStorage storage = StorageFor(pJob.fOutput, pInput, pDone.fSpace, {}, pRunning.fThreads);
    const bool changes = ChangedSize(pJob.fOutput, pInput.fWidth, pInput.fHeight).has_value();
    sPicture output = Blank(pInput, changes ? eFloats : FormFor(storage.fDepth));
    const sBorder frame = FrameFor(pJob, pInput);
    pDone.fInside = frame.fInside;
    pDone.fDeveloped = Develop(pInput, pJob.fLook, pDone.fSpace, pRunning, output, frame.fInside);
    PutFrame(frame, pDone.fSpace, output);
    return output;
}

void Tell(const sJobHooks& pHooks, eJobStage pStage, float pShare)
{
    if (pHooks.fProgress && !pHooks.fProgress(pStage, pShare)) throw cHostError("cancelled");
}

tLine LineOf(const sJobHooks& pHooks)
{
    return pHooks.fLine ? pHooks.fLine : [](const std::string&) {};
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

std::string CommandFor(const sJob& pJob, const sDeveloped& pDeveloped)
{
    std::string command = "selvane tonemap " + NameWord(pJob.fInput) + " -o " + NameWord(pJob.fOutput.fPath) + " " +
                          pDeveloped.fWords + CropWords(pJob.fCrop);
    if (pJob.fColorSpace) command += std::string(" --color-space ") + SpaceWord(*pJob.fColorSpace);
    if (pJob.fInputSpace) command += std::string(" --input-space ") + InputSpaceWord(*pJob.fInputSpace);
    if (!pJob.fLayer.empty()) command += " --layer " + Quoted(pJob.fLayer);
    return command + OutputWords(pJob.fOutput);
}

void CheckJob(const sJob& pJob)
{
    CheckLook(pJob.fLook);
    if (pJob.fInputSpace && TakesEntryForm(pJob.fLook))
        throw cUsageError("--input-space does not go with --exact and --white-point: there --color-space is both");
    CheckOutputKind(pJob.fOutput);
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

sPicture ReadFor(const sJob& pJob, const sJobHooks& pHooks, int& pThreads)
{
    pThreads = pJob.fThreads;
    cSizeWatch::tWatch watch;
    if (pHooks.fAdmit) watch = [&](const sPicture& pPicture) { pThreads = pHooks.fAdmit(pPicture); };
    const cSizeWatch watched(watch);
    Tell(pHooks, eJobReads, 0.0F);
    sPicture picture = ReadFor(pJob, LineOf(pHooks));
    Tell(pHooks, eJobReads, 1.0F);
    return picture;
}

sRunning RunningOf(const sJobHooks& pHooks, int pThreads)
{
    sRunning running{.fThreads = pThreads, .fLog = pHooks.fLog};
    if (pHooks.fProgress)
        running.fProgress = [&pHooks](int, float pShare) { return pHooks.fProgress(eJobRenders, pShare); };
    return running;
}

sDone RunJob(const sJob& pJob, const sJobHooks& pHooks)
{
    const std::string& path = pJob.fOutput.fPath;
    const tLine line = LineOf(pHooks);
    CheckJob(pJob);
    CheckOutput(pJob.fInput, pJob.fOutput);

    int threads = 0;
    sPicture input = ReadFor(pJob, pHooks, threads);
    sDone done;
    done.fSpace = SpaceOf(input, pJob.fInput, pJob.fColorSpace, TakesEntryForm(pJob.fLook), line);
    NoteColors(pJob, input.fColor, done.fSpace, pHooks.fNote);
    done.fWidth = input.fWidth;
    done.fHeight = input.fHeight;
    sPicture output = About(pJob.fInput, [&] { return Rendered(pJob, input, RunningOf(pHooks, threads), done); });
    done.fCommand = CommandFor(pJob, done.fDeveloped);
    const sStorage storage =
        StorageFor(pJob.fOutput, input, done.fSpace, SettingsText(done.fDeveloped.fSettings), threads);
    input.fPixels = {}; // frees memory for the encoded file
    About(path, [&] { Finish(pJob.fOutput, storage, output); });
    input.fMetadata = {};
    done.fInput = std::move(input);
    if (!pJob.fLook.fExact) WarnOfEmptiness(output, done, path, line);
    Tell(pHooks, eJobWrites, 0.0F);
    Write(output, storage, path, line);
    Tell(pHooks, eJobWrites, 1.0F);
    return done;
}

} // namespace SelvaneHost
