#ifndef SELVANE_HOST_PICTURE_SLIDERS_H
#define SELVANE_HOST_PICTURE_SLIDERS_H

// The table of the sliders. Options, defaults and help of the command come from it. A test compares the
// manual page and the table in docs/command.md with it.

#include <selvane.h>

#include <string>

namespace SelvaneHost
{

/// A slider of the tone mapping. libselvane refuses values outside of its range.
struct sSlider
{
    const char* fOption;              ///< as on the command line
    float selvane_settings::*fMember; ///< in the settings
    float fLowest;
    float fHighest;
    float fDefault;
    const char* fHelp; ///< LOWEST, HIGHEST and DEFAULT stand for the three numbers
};

constexpr sSlider kSliders[] = {
    // global contrast 0 to 73 per cent; below 0 the picture expands
    {"--compression", &selvane_settings::compression, -100, 100, 0,
     "strength of the global compression, LOWEST to HIGHEST (DEFAULT)"},
    // range size 160 to 0; beyond, the edge tolerance falls towards none
    {"--smoothness", &selvane_settings::smoothness, -10, 10, 0,
     "edge tolerance of the base layer, LOWEST to HIGHEST (DEFAULT)"},
    // spatial size 190 to 30
    {"--radius", &selvane_settings::radius, -10, 10, 0,
     "size of what counts as detail, LOWEST wide to HIGHEST fine (DEFAULT)"},
    // adaptation 0 to 4; off below 0; far above, both curves flatten to steps
    {"--adaptation", &selvane_settings::adaptation, 0, 100, 0,
     "bends both layers around their means, LOWEST to HIGHEST (DEFAULT)"},
    // 0 to 5 per cent of the pixels
    {"--white-clip", &selvane_settings::white_clip, 0, 100, 0,
     "share clipped to white, LOWEST to HIGHEST for 0 to 5 per cent (DEFAULT)"},
    // per cent of the pixels
    {"--black-clip", &selvane_settings::black_clip, 0, 100, 0, "share clipped to black, in per cent (DEFAULT)"},
};

/// Returns the help of a slider with its numbers.
std::string HelpOf(const sSlider& pSlider);

/// Returns "must lie between -10 and 10".
std::string RangeOf(const sSlider& pSlider);

/// Returns the name of a slider in a settings file: "white_clip" for "--white-clip".
std::string KeyOf(const sSlider& pSlider);

} // namespace SelvaneHost

#endif
