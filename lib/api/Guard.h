#ifndef SELVANE_LIB_API_GUARD_H
#define SELVANE_LIB_API_GUARD_H

// Every C function that can fail runs inside Guarded: no exception leaves the library.

#include "api/Failure.h"

#include <utility>

namespace SelvaneLib
{

/// Keeps the text of a failure in the handle, if there is one, and returns the status.
int Failed(const selvane* pHandle, selvane_status pStatus, const char* pText) noexcept;

/// Turns the exception that is being handled into a status and a text. Deletes exceptions that are thrown by pointer.
int FailedByException(const selvane* pHandle) noexcept;

/// Runs a call. pHandle may be null: then the text is lost.
template <class tCall>
int Guarded(const selvane* pHandle, tCall&& pCall) noexcept
{
    try {
        std::forward<tCall>(pCall)();
        return SELVANE_OK;
    } catch (...) {
        return FailedByException(pHandle);
    }
}

} // namespace SelvaneLib

#endif
