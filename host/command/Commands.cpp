#include "command/Commands.h"

#include "bitmap/cException.h"
#include "command/CommandSteps.h"
#include "command/ProgressLines.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <new>
#include <thread>

namespace SelvaneHost
{

namespace
{

enum eRequest : int32_t
{
    eMeasureAndRender = 0,
    eRenderWithPoints = 1,
    eMeasureOnly = 9,
};

/// Calls the entry and turns each of its ways to fail into words.
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

void CheckSlider(const char* pName, float pValue, sRange pRange)
{
    if (pValue >= pRange.fLowest && pValue <= pRange.fHighest) return; // NaN warns too
    std::array<char, 160> words{};
    std::snprintf(words.data(), words.size(), "%s %g lies outside of %g to %g", pName, static_cast<double>(pValue),
                  static_cast<double>(pRange.fLowest), static_cast<double>(pRange.fHighest));
    Warn(words.data());
}

void CheckSliders(const sTmSliders& pSliders)
{
    CheckSlider("--compression", pSliders.compression, kCompressionRange);
    CheckSlider("--smoothness", pSliders.smoothness, kSmoothnessRange);
    CheckSlider("--radius", pSliders.radius, kRadiusRange);
    CheckSlider("--adaptation", pSliders.adaptation, kAdaptationRange);
    CheckSlider("--white-clip", pSliders.whiteClip, kWhiteClipRange);
    CheckSlider("--black-clip", pSliders.blackClip, kBlackClipRange);
}

sPicture ReadPart(const sTonemapOptions& pOptions)
{
    sPicture picture = Read(pOptions.fInput);
    if (pOptions.fCrop) About(pOptions.fInput, [&] { Crop(picture, *pOptions.fCrop); });
    return picture;
}

/// The slider block with switches and points filled in.
sTmSliders SlidersOf(const sTonemapOptions& pOptions)
{
    sTmSliders sliders = pOptions.fSliders;
    sliders.wrapSwitch = pOptions.fWrap ? 1.0F : 0.0F;
    sliders.blackPoint = pOptions.fBlackPoint.value_or(0.0F);
    sliders.whitePoint = pOptions.fWhitePoint.value_or(0.0F);
    return sliders;
}

/// Points that the library would refuse in silence, and then measure its own.
void CheckPoints(const sTonemapOptions& pOptions)
{
    if (pOptions.fBlackPoint.has_value() != pOptions.fWhitePoint.has_value())
        throw cUsageError("--black-point and --white-point go together");
    if (!pOptions.fWhitePoint) return;
    if (!(*pOptions.fWhitePoint > 0.0F) || !(*pOptions.fBlackPoint <= *pOptions.fWhitePoint))
        throw cUsageError("--white-point must be above 0 and not below --black-point");
}

void Print(const char* pName, float pValue)
{
    std::array<char, 64> digits{}; // the shortest that read back as the same number
    const std::to_chars_result end = std::to_chars(digits.data(), digits.data() + digits.size(), pValue);
    std::printf("%s %.*s\n", pName, static_cast<int>(end.ptr - digits.data()), digits.data());
}

} // namespace

void RunTonemap(const sTonemapOptions& pOptions)
{
    const eFileKind kind = KindFor(pOptions.fOutput);
    CheckDepth(pOptions.fDepth, pOptions.fOutput);
    CheckPoints(pOptions);
    CheckSliders(pOptions.fSliders);
    CheckOutput(pOptions.fInput, pOptions.fOutput, pOptions.fForce);

    sPicture input = ReadPart(pOptions);
    const Vornik::eColorSpaceID space = SpaceOf(input, pOptions.fInput, pOptions.fColorSpace);
    const int depth = DepthFor(pOptions.fDepth, kind, input.fForm);
    sTmSliders sliders = SlidersOf(pOptions);
    const sTmRunSettings run{Workers(pOptions.fThreads), 0,
                             pOptions.fWhitePoint ? eRenderWithPoints : eMeasureAndRender};
    const sPicture output = About(pOptions.fInput, [&] {
        sPicture picture = Blank(input, depth);
        CallEntry(input, Describe(input, depth), run, space, sliders, picture.fPixels.data(), pOptions.fVerbose);
        return picture;
    });
    input.fPixels = {}; // makes room for the encoded file
    About(pOptions.fOutput, [&] { WritePicture(output, space, pOptions.fOutput); });
}

void RunStats(const sTonemapOptions& pOptions)
{
    CheckSliders(pOptions.fSliders);
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
