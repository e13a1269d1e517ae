#ifndef SELVANE_HOST_READ_OPEN_EXR_CORE_H
#define SELVANE_HOST_READ_OPEN_EXR_CORE_H

#include "picture/Picture.h"

#include <openexr.h>

namespace SelvaneHost
{

/// An OpenEXR file in memory, opened with the core library of OpenEXR. Opening reads all headers.
class cOpenExrCore
{
public:
    /// @param pFile borrowed; must outlive the object
    /// @throws std::runtime_error, std::bad_alloc
    explicit cOpenExrCore(const tBytes& pFile);
    ~cOpenExrCore();
    cOpenExrCore(const cOpenExrCore&) = delete;
    cOpenExrCore& operator=(const cOpenExrCore&) = delete;

    exr_context_t Context() const { return fContext; }

private:
    exr_context_t fContext = nullptr;
};

/// Throws std::bad_alloc for EXR_ERR_OUT_OF_MEMORY, and std::runtime_error with the library's text for any other error.
void RequireExr(exr_result_t pResult);

} // namespace SelvaneHost

#endif
