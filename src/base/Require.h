#ifndef SELVANE_BASE_REQUIRE_H
#define SELVANE_BASE_REQUIRE_H

// Argument checks, internal. A check stands first in the public operation, in the source file named after the class,
// since the exception reports the file, the time stamp and the signature of the place where the check is written.

#include "bitmap/cException.h"

namespace Vornik
{

/// Throws a tException by value.
template <class tException>
[[noreturn, gnu::cold, gnu::noinline]] void Throw(const char* pMessage, int pLine, const char* pFile,
                                                  const char* pTimeStamp, const char* pFuncSig)
{
    throw tException(pMessage, pLine, pFile, pTimeStamp, pFuncSig);
}

/// Throws a pointer to a new tException, the manner of the two renderers' own checks. The catcher may delete it; the
/// library never does.
template <class tException>
[[noreturn, gnu::cold, gnu::noinline]] void ThrowNew(const char* pMessage, int pLine, const char* pFile,
                                                     const char* pTimeStamp, const char* pFuncSig)
{
    throw new tException(pMessage, pLine, pFile, pTimeStamp, pFuncSig);
}

} // namespace Vornik

/// Throws pException with the place of the check when pCondition does not hold. Write what must hold.
#define Require(pException, pCondition, pMessage)                                                                      \
    do {                                                                                                               \
        if (!(pCondition))                                                                                             \
            ::Vornik::Throw<::Vornik::pException>(pMessage, __LINE__, __FILE_NAME__, __TIMESTAMP__,                    \
                                                  __PRETTY_FUNCTION__);                                                \
    } while (false)

/// The same for the eight checks that throw a pointer.
#define RequireNew(pException, pCondition, pMessage)                                                                   \
    do {                                                                                                               \
        if (!(pCondition))                                                                                             \
            ::Vornik::ThrowNew<::Vornik::pException>(pMessage, __LINE__, __FILE_NAME__, __TIMESTAMP__,                 \
                                                     __PRETTY_FUNCTION__);                                             \
    } while (false)

#endif
