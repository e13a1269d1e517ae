#include "command/Tonemap.h"

#include "bitmap/cException.h"
#include "command/ProgressLines.h"
#include "command/Report.h"
#include "write/PictureWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <thread>

namespace SelvaneHost
{

namespace
{

/// The request types of the entry.
enum eRequest : int32_t
{
    eMeasureAndRender = 0,
    eRenderWithPoints = 1,
    eMeasureOnly = 9,
};

/// Calls the entry. Throws a cHostError with a text for each of its failures.
void CallEntry(const sPicture& pInput, const sTmImageDesc& pImage, const sTmRunSettings& pRun,
               Vornik::eColorSpaceID pSpace, sTmSliders& pSliders, unsigned char* pOutput, bool pVerbose)
{
    const cProgressLines lines(!pVerbose);
    int32_t result = 0;
    try {
        result = cpp_tm_selvane(&pImage, &pRun, pSpace, &pSliders, pInput.fPixels.data(), pOutput);
    } catch (const Vornik::cException* failure) {
        throw cHostError(std::string("cannot be tone-mapped: ") + failure->what());
    }
    if (result == 1) return;
    if (result == -4)
        throw cHostError(
            "cannot be tone-mapped: not enough memory for this picture, or a slider far outside of its range");
    const std::string words = lines.FailureWords();
    throw cHostError("cannot be tone-mapped: " + (words.empty() ? "result code " + std::to_string(result) : words));
}

sTmImageDesc Describe(const sPicture& pInput, int pOutputDepth)
{
    sTmImageDesc image{};
    image.width = pInput.fWidth;
    image.height = pInput.fHeight;
    image.samplesPerPixel = 3;
    image.inputDepth = pInput.fForm;
    image.outputDepth = pOutputDepth;
    image.inputRowSamples = 3 * pInput.fWidth;
    image.outputRowSamples = 3 * pInput.fWidth;
    return image;
}

int Workers(int pThreads)
{
    if (pThreads > 0) return pThreads;
    const unsigned processors = std::thread::hardware_concurrency();
    return processors == 0 ? 1 : static_cast<int>(processors);
}

void WarnOfSliders(const sTmSliders& pSliders)
{
    for (const std::string& warning : SliderWarnings(pSliders))
        Warn(warning);
}

sPicture ReadPart(const sStatsOptions& pOptions)
{
    sPicture picture = Read(pOptions.fInput);
    if (pOptions.fCrop) About(pOptions.fInput, [&] { Crop(picture, *pOptions.fCrop); });
    return picture;
}

/// Returns the record for the entry, with the wrap switch and without points.
sTmSliders SlidersOf(const sStatsOptions& pOptions)
{
    sTmSliders sliders = pOptions.fSliders;
    sliders.wrapSwitch = pOptions.fWrap ? 1.0F : 0.0F;
    return sliders;
}

/// Refuses points that the library would silently replace by its own.
void CheckPoints(const sTonemapOptions& pOptions)
{
    if (pOptions.fBlackPoint.has_value() != pOptions.fWhitePoint.has_value())
        throw cUsageError("--black-point and --white-point go together");
    if (!pOptions.fWhitePoint) return;
    if (!(*pOptions.fWhitePoint > 0.0F) || !(*pOptions.fBlackPoint <= *pOptions.fWhitePoint))
        throw cUsageError("--white-point must be above 0 and not below --black-point");
}

/// Renders through the entry of the engine.
/// @param pDepth bits per output sample
sPicture RenderExactly(const sPicture& pInput, const sTonemapOptions& pOptions, Vornik::eColorSpaceID pSpace,
                       int pDepth)
{
    sTmSliders sliders = SlidersOf(pOptions);
    sliders.blackPoint = pOptions.fBlackPoint.value_or(0.0F);
    sliders.whitePoint = pOptions.fWhitePoint.value_or(0.0F);
    const eRequest request = pOptions.fWhitePoint ? eRenderWithPoints : eMeasureAndRender;
    const sTmRunSettings run{Workers(pOptions.fThreads), 0, request};
    sPicture output = Blank(pInput, pDepth);
    CallEntry(pInput, Describe(pInput, pDepth), run, pSpace, sliders, output.fPixels.data(), pOptions.fVerbose);
    return output;
}

/// The options of the look, complete. "--white-clip" is "white_clip" among the settings.
sLookOptions LookOf(const sTonemapOptions& pOptions)
{
    sLookOptions look = pOptions.fLook;
    look.fWrap = pOptions.fWrap;
    look.fThreads = pOptions.fThreads;
    look.fVerbose = pOptions.fVerbose;
    for (const sSlider& slider : kSliders) {
        if (std::find(pOptions.fGiven.begin(), pOptions.fGiven.end(), slider.fOption) == pOptions.fGiven.end())
            continue;
        std::string key(slider.fOption + 2);
        std::replace(key.begin(), key.end(), '-', '_');
        look.fGiven[key] = pOptions.fSliders.*slider.fMember;
    }
    return look;
}

bool IsBeyondTheEntry(const sLookOptions& pLook)
{
    return pLook.fExposure || pLook.fContrast || pLook.fSaturation;
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

/// One line for what was chosen and one for the options that give the same picture again.
void SayWhatWasChosen(const sTonemapOptions& pOptions, const sDeveloped& pDeveloped)
{
    if (pOptions.fLook.fQuiet) return;
    if (!pDeveloped.fReason.empty()) Report(pOptions.fInput + ": " + pDeveloped.fReason);
    Report("exactly: selvane tonemap " + Quoted(pOptions.fInput) + " -o " + Quoted(pOptions.fOutput.fPath) + " " +
           pDeveloped.fWords + CropWords(pOptions.fCrop));
}

constexpr double kNearly = 0.97; // share of the samples

/// Share of the samples that pTest holds for, of 8 or 16 bits, by their high byte.
template <class tTest>
double ShareOf(const sPicture& pPicture, tTest pTest)
{
    const size_t step = pPicture.fForm == eSamples8 ? 1 : 2;
    int64_t count = 0;
    for (size_t i = step - 1; i < pPicture.fPixels.size(); i += step)
        count += pTest(pPicture.fPixels[i]) ? 1 : 0;
    return static_cast<double>(count) / (static_cast<double>(pPicture.fPixels.size()) / static_cast<double>(step));
}

void WarnOfEmptiness(const sPicture& pOutput, const std::string& pPath)
{
    constexpr unsigned char kDark = 8, kBright = 247;
    if (ShareOf(pOutput, [](unsigned char pByte) { return pByte < kDark; }) > kNearly)
        Warn(pPath + ": the picture is nearly black; try --exposure 2, or look at the input");
    if (ShareOf(pOutput, [](unsigned char pByte) { return pByte > kBright; }) > kNearly)
        Warn(pPath + ": the picture is nearly white; try --exposure -2, or look at the input");
}

sPicture Render(const sPicture& pInput, const sTonemapOptions& pOptions, Vornik::eColorSpaceID pSpace, int pDepth)
{
    const sLookOptions look = LookOf(pOptions);
    if ((pOptions.fExact && !IsBeyondTheEntry(look)) || pOptions.fWhitePoint)
        return RenderExactly(pInput, pOptions, pSpace, pDepth);
    sPicture output = Blank(pInput, pDepth);
    if (pOptions.fExact)
        DevelopExactly(pInput, look, pSpace, output);
    else
        SayWhatWasChosen(pOptions, Develop(pInput, look, pSpace, output));
    return output;
}

/// Prints a number with the fewest digits from which the same float can be read.
void Print(const char* pName, float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    std::printf("%s %.*s\n", pName, static_cast<int>(end.ptr - digits.data()), digits.data());
}

} // namespace

namespace
{

void Suggest(const sTonemapOptions& pOptions)
{
    const sPicture input = ReadPart(pOptions);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const std::string text = About(pOptions.fInput, [&] { return SuggestionText(input, LookOf(pOptions), space); });
    std::fwrite(text.data(), 1, text.size(), stdout);
}

/// Refuses options that would contradict each other.
void CheckLook(const sTonemapOptions& pOptions)
{
    const sLookOptions& look = pOptions.fLook;
    if (!look.fPreset.empty() && !look.fSettings.empty())
        throw cUsageError("--preset and --settings do not go together");
    if (pOptions.fExact && (!look.fPreset.empty() || !look.fSettings.empty() || pOptions.fSuggest))
        throw cUsageError("--exact does not go with --preset, --settings and --suggest");
    if (pOptions.fWhitePoint && IsBeyondTheEntry(look))
        throw cUsageError("--white-point does not go with --exposure, --contrast and --saturation");
    if (!pOptions.fSuggest && pOptions.fOutput.fPath.empty()) throw cUsageError("--output is required");
}

} // namespace

void RunTonemap(const sTonemapOptions& pOptions)
{
    CheckLook(pOptions);
    if (pOptions.fSuggest) return Suggest(pOptions);
    const std::string& path = pOptions.fOutput.fPath;
    const eFileKind kind = KindFor(path);
    CheckDepth(pOptions.fOutput, kind);
    CheckPoints(pOptions);
    if (pOptions.fExact || pOptions.fWhitePoint) WarnOfSliders(pOptions.fSliders);
    CheckOutput(pOptions.fInput, pOptions.fOutput);

    sPicture input = ReadPart(pOptions);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const int depth = DepthFor(pOptions.fOutput, kind, input.fForm);
    const sPicture output = About(pOptions.fInput, [&] { return Render(input, pOptions, space, depth); });
    input.fPixels = {}; // frees memory for the encoded file
    if (!pOptions.fExact) WarnOfEmptiness(output, path);
    About(path, [&] { WritePicture(output, space, kind, path); });
}

void RunStats(const sStatsOptions& pOptions)
{
    WarnOfSliders(pOptions.fSliders);
    const sPicture input = ReadPart(pOptions);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    sTmSliders sliders = SlidersOf(pOptions);
    const sTmRunSettings run{Workers(pOptions.fThreads), 0, eMeasureOnly};
    About(pOptions.fInput,
          [&] { CallEntry(input, Describe(input, 16), run, space, sliders, nullptr, pOptions.fVerbose); });
    Print("black", sliders.blackPoint);
    Print("white", sliders.whitePoint);
}

} // namespace SelvaneHost
