#include "api/Guard.h"

#include "api/Handle.h"
#include "bitmap/cException.h"

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace SelvaneLib
{

namespace
{

constexpr const char* kNoMemory = "the system has no memory left";

/// The engine's strings are null if their copy found no memory.
const char* TextOf(const Vornik::cException& pException)
{
    const char* text = pException.GetMessage();
    return text != nullptr ? text : "the engine failed";
}

/// The engine's exceptions share their strings with copies, so the one that ends here frees them.
void FreeStrings(Vornik::cException& pException)
{
    for (char** string :
         {&pException.fType, &pException.fDescription, &pException.fFuncSig, &pException.fFile, &pException.fTimeStamp})
        std::free(std::exchange(*string, nullptr));
}

int FailedByEngine(const selvane* pHandle, Vornik::cException& pException) noexcept
{
    const bool noMemory = dynamic_cast<Vornik::cOutOfMemoryException*>(&pException) != nullptr;
    const int status = noMemory ? Failed(pHandle, SELVANE_ERROR_MEMORY, kNoMemory)
                                : Failed(pHandle, SELVANE_ERROR_INTERNAL, TextOf(pException));
    FreeStrings(pException);
    return status;
}

} // namespace

int Failed(const selvane* pHandle, selvane_status pStatus, const char* pText) noexcept
{
    if (pHandle != nullptr) pHandle->fError.Set(pText);
    return pStatus;
}

int FailedByException(const selvane* pHandle) noexcept
{
    try {
        throw;
    } catch (const cFailure& failure) {
        return Failed(pHandle, failure.Status(), failure.what());
    } catch (const std::bad_alloc&) {
        return Failed(pHandle, SELVANE_ERROR_MEMORY, kNoMemory);
    } catch (Vornik::cException& exception) {
        return FailedByEngine(pHandle, exception);
    } catch (Vornik::cException* exception) {
        const std::unique_ptr<Vornik::cException> owner(exception);
        return FailedByEngine(pHandle, *exception);
    } catch (const std::exception& exception) {
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, exception.what());
    } catch (...) {
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, "a callback threw an exception");
    }
}

} // namespace SelvaneLib
