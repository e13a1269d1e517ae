#include "api/Handle.h"

#include "api/Guard.h"

#include <new>

selvane::selvane() : fSettings{}
{
    selvane_settings_init(&fSettings);
}

namespace SelvaneLib
{

namespace
{

constexpr const char* kStatusTexts[] = {
    "done",
    "an argument makes no sense",
    "no memory left",
    "the handle's limit of memory is too low",
    "cancelled",
    "no picture",
    "the text cannot be read",
    "a fault of the library",
};

} // namespace

} // namespace SelvaneLib

extern "C" int selvane_version(void)
{
    return SELVANE_VERSION;
}

#define SELVANE_TEXT_OF(value) #value
#define SELVANE_TEXT(value) SELVANE_TEXT_OF(value)

extern "C" const char* selvane_version_text(void)
{
    return SELVANE_TEXT(SELVANE_VERSION_MAJOR) "." SELVANE_TEXT(SELVANE_VERSION_MINOR) "." SELVANE_TEXT(
        SELVANE_VERSION_PATCH);
}

extern "C" selvane* selvane_new(void)
{
    try {
        return new selvane;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

extern "C" void selvane_free(selvane* handle)
{
    delete handle;
}

extern "C" const char* selvane_error(const selvane* handle)
{
    return handle == nullptr ? "the handle is null" : handle->fError.Get();
}

extern "C" const char* selvane_status_text(int status)
{
    const bool known = status >= SELVANE_OK && status <= SELVANE_ERROR_INTERNAL;
    return known ? SelvaneLib::kStatusTexts[status] : "unknown status";
}
