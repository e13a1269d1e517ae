#ifndef SELVANE_HOST_WRITE_OUTPUT_H
#define SELVANE_HOST_WRITE_OUTPUT_H

#include "metadata/OutputMetadata.h"
#include "write/Encoding.h"
#include "write/Resize.h"

#include <optional>
#include <string>

namespace SelvaneHost
{

/// The output of a subcommand, as the command line gives it.
struct sOutput
{
    std::string fPath;         ///< "-" is standard output
    std::string fFormat;       ///< name of a kind of file; empty: the extension decides
    bool fForce = false;       ///< the output may be the input
    bool fMustBeNew = false;   ///< no file is replaced, also none that another program makes meanwhile
    std::optional<int> fDepth; ///< bits per sample; empty: see DepthFor
    std::optional<int> fQuality;
    eSubsampling fSubsampling = eFullColor;
    std::optional<sResize> fResize; ///< empty: the size of the picture
    bool fEnlarge = false;          ///< fResize may make the picture larger
    sMetadataOptions fMetadata;
};

/// Returns the size of the result of a picture of this size. Empty if the picture keeps its own.
std::optional<sSize> ChangedSize(const sOutput& pOutput, int pWidth, int pHeight);

/// Returns the options that give the same output again, without its path, each with a blank before it.
std::string OutputWords(const sOutput& pOutput);

} // namespace SelvaneHost

#endif
