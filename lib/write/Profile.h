#ifndef SELVANE_LIB_WRITE_PROFILE_H
#define SELVANE_LIB_WRITE_PROFILE_H

// ICC profiles of the targets' spaces.

#include <cstddef>

namespace SelvaneLib
{

/// Bytes that the library owns for as long as the process lives.
struct sProfile
{
    const unsigned char* fBytes;
    size_t fSize;
};

/// The profile of a space, SELVANE_SRGB to SELVANE_REC2020. The first three, encoded, are the engine's stored profiles;
/// the others are written here: display profiles of version 4.3 with a matrix and a parametric curve (ICC.1:2010).
/// @throws std::bad_alloc
sProfile ProfileOf(int pSpace, bool pLinear);

} // namespace SelvaneLib

#endif
