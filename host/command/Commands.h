#ifndef SELVANE_HOST_COMMAND_COMMANDS_H
#define SELVANE_HOST_COMMAND_COMMANDS_H

// What the subcommands do, once the command line is understood.

#include "entry/vorniklib3.h"
#include "picture/Picture.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

/// Ends of a slider's range. Beyond them the library still answers, but no longer with what the slider means.
struct sRange
{
    float fLowest;
    float fHighest;
};

constexpr sRange kCompressionRange{-100, 100}; // global contrast 0 to 73: below 0 the picture expands
constexpr sRange kSmoothnessRange{-10, 10};    // range size 160 to 0: beyond, the edge tolerance falls towards none
constexpr sRange kRadiusRange{-10, 10};        // spatial size 190 to 30
constexpr sRange kAdaptationRange{0, 100};     // 0 to 4: below 0 it is off; far above, both curves flatten to steps
constexpr sRange kWhiteClipRange{0, 100};      // 0 to 5 per cent of the pixels
constexpr sRange kBlackClipRange{0, 100};      // per cent of the pixels

struct sTonemapOptions
{
    std::string fInput;
    std::string fOutput; // this and fForce: not used by RunStats
    bool fForce = false; // the output may be the input
    sTmSliders fSliders{};
    bool fWrap = false;
    std::optional<sArea> fCrop;                       // part of the input that is the picture
    std::optional<Vornik::eColorSpaceID> fColorSpace; // empty: the file decides
    std::optional<int> fDepth;                        // bits of an output sample, 8 or 16; empty: see DepthFor
    std::optional<float> fBlackPoint;                 // both or none: render with points of an earlier run
    std::optional<float> fWhitePoint;
    int fThreads = 0; // 0: as many as there are processors
    bool fVerbose = false;
};

/// Tone-maps one picture to a file.
/// @throws cHostError
void RunTonemap(const sTonemapOptions& pOptions);

/// Prints the black and the white point of the picture, as the sliders make them.
/// @throws cHostError
void RunStats(const sTonemapOptions& pOptions);

struct sEqualizeOptions
{
    std::string fInput;
    std::string fOutput;
    bool fForce = false;
    std::string fHueShift; // lists of HUE:VALUE; empty: neutral
    std::string fSaturation;
    std::string fLightness;
    std::optional<Vornik::eColorSpaceID> fColorSpace;
    std::optional<int> fDepth; // empty: that of the input, 8 for a JPEG
    bool fVerbose = false;
};

/// Applies the three hue curves to a finished picture.
/// @throws cHostError
void RunEqualize(const sEqualizeOptions& pOptions);

} // namespace SelvaneHost

#endif
