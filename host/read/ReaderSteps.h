#ifndef SELVANE_HOST_READ_READER_STEPS_H
#define SELVANE_HOST_READ_READER_STEPS_H

// Steps that several readers share.

#include "picture/Picture.h"

#include <string>
#include <string_view>

namespace SelvaneHost
{

bool BeginsWith(const tBytes& pBytes, std::string_view pMark);

/// Throws a cHostError for a damaged file.
[[noreturn]] void Damaged(const std::string& pReason);

/// Refuses a picture with more pixels than a file of this length can hold. A few bytes cannot demand gigabytes then.
/// @param pFileBytes length of the whole file
/// @throws cHostError
void CheckClaim(const sPicture& pPicture, size_t pFileBytes);

} // namespace SelvaneHost

#endif
