#include "read/OpenExrCore.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace SelvaneHost
{

namespace
{

int64_t ReadAt(exr_const_context_t /*pContext*/, void* pFile, void* pTarget, uint64_t pSize, uint64_t pOffset,
               exr_stream_error_func_ptr_t /*pReport*/)
{
    const tBytes& file = *static_cast<const tBytes*>(pFile);
    if (pOffset > file.size()) return -1;
    const uint64_t size = std::min<uint64_t>(pSize, file.size() - pOffset);
    std::memcpy(pTarget, file.data() + pOffset, size);
    return static_cast<int64_t>(size);
}

int64_t SizeOf(exr_const_context_t /*pContext*/, void* pFile)
{
    return static_cast<int64_t>(static_cast<const tBytes*>(pFile)->size());
}

/// Replaces the library's own handler, which prints each error. The result codes tell the same.
void IgnoreError(exr_const_context_t /*pContext*/, exr_result_t /*pResult*/, const char* /*pWords*/) {}

} // namespace

cOpenExrCore::cOpenExrCore(const tBytes& pFile)
{
    exr_context_initializer_t settings = EXR_DEFAULT_CONTEXT_INITIALIZER;
    settings.user_data = const_cast<tBytes*>(&pFile);
    settings.read_fn = ReadAt;
    settings.size_fn = SizeOf;
    settings.error_handler_fn = IgnoreError;
    RequireExr(exr_start_read(&fContext, "picture", &settings));
}

cOpenExrCore::~cOpenExrCore()
{
    exr_finish(&fContext);
}

void RequireExr(exr_result_t pResult)
{
    if (pResult == EXR_ERR_OUT_OF_MEMORY) throw std::bad_alloc();
    if (pResult != EXR_ERR_SUCCESS) throw std::runtime_error(exr_get_default_error_message(pResult));
}

} // namespace SelvaneHost
