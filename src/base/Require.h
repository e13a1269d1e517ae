#ifndef SELVANE_BASE_REQUIRE_H
#define SELVANE_BASE_REQUIRE_H

// Argument checks, internal. An exception reports the file, line, time stamp and function signature of its check. So
// the checks come first in the public operation, in the source file named after the class.

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

/// Throws a pointer to a new tException. The two renderers' own checks use it. The catcher may delete it; the library
/// never does.
template <class tException>
[[noreturn, gnu::cold, gnu::noinline]] void ThrowNew(const char* pMessage, int pLine, const char* pFile,
                                                     const char* pTimeStamp, const char* pFuncSig)
{
    throw new tException(pMessage, pLine, pFile, pTimeStamp, pFuncSig);
}

} // namespace Vornik

/// Throws pException unless pCondition is true. The exception reports the place of the check.
#define Require(pException, pCondition, pMessage)                                                                      \
    do {                                                                                                               \
        if (!(pCondition))                                                                                             \
            ::Vornik::Throw<::Vornik::pException>(pMessage, __LINE__, __FILE_NAME__, __TIMESTAMP__,                    \
                                                  __PRETTY_FUNCTION__);                                                \
    } while (false)

/// The same, but throws a pointer. For SetInput, SetOutput, SetHueCurves and Render of the two renderers.
#define RequireNew(pException, pCondition, pMessage)                                                                   \
    do {                                                                                                               \
        if (!(pCondition))                                                                                             \
            ::Vornik::ThrowNew<::Vornik::pException>(pMessage, __LINE__, __FILE_NAME__, __TIMESTAMP__,                 \
                                                     __PRETTY_FUNCTION__);                                             \
    } while (false)

#endif
