#ifndef SELVANE_HOST_READ_PICTURE_PARCEL_H
#define SELVANE_HOST_READ_PICTURE_PARCEL_H

// A picture on its way from the process that decodes it. The sender may have been taken over by a hostile file, so the
// receiver believes nothing: sizes have to fit each other and the file, and kinds have to be known.

#include "picture/Picture.h"

#include <cstdint>
#include <string>

namespace SelvaneHost
{

/// Why there is no picture.
enum eParcel : uint32_t
{
    eParcelPicture = 1,  ///< there is one
    eParcelFailure = 2,  ///< a text of a cHostError instead
    eParcelUsage = 3,    ///< a text of a cUsageError instead
    eParcelNoMemory = 4, ///< memory ran out
};

/// Writes a picture to an empty file. Frees the samples while they are written.
/// @param pFile descriptor, open for writing
/// @throws cHostError with the system's text
void SendPicture(int pFile, sPicture pPicture);

/// Writes a failure to an empty file instead of a picture. pText may be empty.
void SendFailure(int pFile, eParcel pKind, const std::string& pText);

/// Reads what the other side wrote, and frees the file's memory while it does.
/// @param pFile descriptor of a file in memory, open for reading and writing
/// @throws cHostError, cUsageError, std::bad_alloc: what was sent; cHostError too if nothing whole was sent
sPicture ReceivePicture(int pFile);

} // namespace SelvaneHost

#endif
