#ifndef SELVANE_HOST_PICTURE_SLIDERS_H
#define SELVANE_HOST_PICTURE_SLIDERS_H

// The table of the sliders. Options, defaults, help and range warnings of the command come from it. A test compares the
// manual page and the table in docs/command.md with it.

#include "entry/vorniklib3.h"

#include <string>
#include <vector>

namespace SelvaneHost
{

/// A slider of the tone mapping. Outside of its range the library still answers, but the value no longer means what the
/// help says.
struct sSlider
{
    const char* fOption;        ///< as on the command line
    float sTmSliders::*fMember; ///< in the record of the entry
    float fLowest;
    float fHighest;
    float fDefault;
    const char* fHelp; ///< LOWEST, HIGHEST and DEFAULT stand for the three numbers
};

constexpr sSlider kSliders[] = {
    // global contrast 0 to 73 per cent; below 0 the picture expands
    {"--compression", &sTmSliders::compression, -100, 100, 0,
     "strength of the global compression, LOWEST to HIGHEST (DEFAULT)"},
    // range size 160 to 0; beyond, the edge tolerance falls towards none
    {"--smoothness", &sTmSliders::smoothness, -10, 10, 0,
     "edge tolerance of the base layer, LOWEST to HIGHEST (DEFAULT)"},
    // spatial size 190 to 30
    {"--radius", &sTmSliders::radius, -10, 10, 0,
     "size of what counts as detail, LOWEST wide to HIGHEST fine (DEFAULT)"},
    // adaptation 0 to 4; off below 0; far above, both curves flatten to steps
    {"--adaptation", &sTmSliders::adaptation, 0, 100, 0,
     "bends both layers around their means, LOWEST to HIGHEST (DEFAULT)"},
    // 0 to 5 per cent of the pixels
    {"--white-clip", &sTmSliders::whiteClip, 0, 100, 0,
     "share clipped to white, LOWEST to HIGHEST for 0 to 5 per cent (DEFAULT)"},
    // per cent of the pixels
    {"--black-clip", &sTmSliders::blackClip, 0, 100, 0, "share clipped to black, in per cent (DEFAULT)"},
};

/// Returns the sliders at their defaults. All other fields of the record are 0.
sTmSliders DefaultSliders();

/// Returns the help of a slider with its numbers.
std::string HelpOf(const sSlider& pSlider);

/// Returns a warning for each slider outside of its range, in the order of the table. NaN lies outside too.
std::vector<std::string> SliderWarnings(const sTmSliders& pSliders);

} // namespace SelvaneHost

#endif
