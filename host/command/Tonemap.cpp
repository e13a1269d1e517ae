#include "command/Tonemap.h"

#include "bitmap/cException.h"
#include "command/ProgressLines.h"
#include "command/Report.h"
#include "write/PictureWriter.h"

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

/// Renders the input into a new picture.
/// @param pDepth bits per output sample
sPicture Render(const sPicture& pInput, const sTonemapOptions& pOptions, Vornik::eColorSpaceID pSpace, int pDepth)
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

/// Prints a number with the fewest digits from which the same float can be read.
void Print(const char* pName, float pValue)
{
    std::array<char, 64> digits{};
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    std::printf("%s %.*s\n", pName, static_cast<int>(end.ptr - digits.data()), digits.data());
}

} // namespace

void RunTonemap(const sTonemapOptions& pOptions)
{
    const std::string& path = pOptions.fOutput.fPath;
    const eFileKind kind = KindFor(path);
    CheckDepth(pOptions.fOutput, kind);
    CheckPoints(pOptions);
    WarnOfSliders(pOptions.fSliders);
    CheckOutput(pOptions.fInput, pOptions.fOutput);

    sPicture input = ReadPart(pOptions);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const int depth = DepthFor(pOptions.fOutput, kind, input.fForm);
    const sPicture output = About(pOptions.fInput, [&] { return Render(input, pOptions, space, depth); });
    input.fPixels = {}; // frees memory for the encoded file
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
