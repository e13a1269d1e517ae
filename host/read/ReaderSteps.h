#ifndef SELVANE_HOST_READ_READER_STEPS_H
#define SELVANE_HOST_READ_READER_STEPS_H

// Steps that several readers share.

#include "picture/Picture.h"
#include "picture/ProfileMatch.h"

#include <optional>
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

/// Sets one of the engine's three colour spaces. Integers are decoded as its entry decodes them, floats and exponents are
/// linear. @param pSpace empty: the file names none, and the picture is taken as sRGB
void SetSpace(sPicture& pPicture, std::optional<int> pSpace);

/// Sets the colour space with these primaries. If there is none, sets the warning about the colour space.
void SetSpaceOf(sPicture& pPicture, const sPrimaries& pPrimaries);

} // namespace SelvaneHost

#endif
