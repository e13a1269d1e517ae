#ifndef SELVANE_HOST_PICTURE_READ_OPTIONS_H
#define SELVANE_HOST_PICTURE_READ_OPTIONS_H

#include <optional>
#include <string>

namespace SelvaneHost
{

/// What samples without words of their own, or against them, are taken for.
enum eInputSpace : int
{
    eInputSrgb, ///< integers with the curve of the space, floats linear; so for the next four and for the two of ACES
    eInputAdobe,
    eInputProPhoto,
    eInputP3,
    eInputRec2020,
    eInputAces,   ///< ACES2065-1, linear
    eInputAcesCg, ///< linear
    eInputLinear, ///< the primaries of sRGB, linear
    eInputPq,     ///< ITU-R BT.2100 PQ
    eInputHlg,    ///< ITU-R BT.2100 HLG
};

/// Returns the name of an input space on the command line.
const char* InputSpaceWord(eInputSpace pSpace);

/// Returns the input space with this name on the command line. Empty if there is none.
std::optional<eInputSpace> InputSpaceOfWord(const std::string& pWord);

/// How a file is read.
struct sReadOptions
{
    /// Samples and colours as the engine's entry takes them: one of its three colour spaces, without a conversion.
    bool fAsEntry = false;
    std::optional<eInputSpace> fInputSpace = {}; ///< empty: the file decides. Not with fAsEntry
    std::string fLayer = {};                     ///< of an OpenEXR file; empty: the first that has colours
};

} // namespace SelvaneHost

#endif
