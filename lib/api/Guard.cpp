#include "api/Guard.h"

#include "api/Handle.h"
#include "bitmap/cException.h"

#include <memory>
#include <new>

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
    } catch (const Vornik::cOutOfMemoryException&) {
        return Failed(pHandle, SELVANE_ERROR_MEMORY, kNoMemory);
    } catch (const Vornik::cException& exception) {
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, TextOf(exception));
    } catch (Vornik::cException* exception) {
        const std::unique_ptr<Vornik::cException> owner(exception);
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, TextOf(*exception));
    } catch (const std::exception& exception) {
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, exception.what());
    } catch (...) {
        return Failed(pHandle, SELVANE_ERROR_INTERNAL, "a callback threw an exception");
    }
}

} // namespace SelvaneLib
