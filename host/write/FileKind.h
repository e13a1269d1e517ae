#ifndef SELVANE_HOST_WRITE_FILE_KIND_H
#define SELVANE_HOST_WRITE_FILE_KIND_H

#include <string>

namespace SelvaneHost
{

/// The kinds of output files.
enum eFileKind : int
{
    ePng,  ///< lossless
    eTiff, ///< lossless, deflate with horizontal prediction
    eJpeg, ///< quality 95, full colour resolution; 8 bits per sample only
};

/// Returns the kind for the extension of a file name: .png, .tif, .tiff, .jpg or .jpeg, in upper or lower case.
/// @throws cUsageError for any other extension, or none
eFileKind KindFor(const std::string& pPath);

} // namespace SelvaneHost

#endif
