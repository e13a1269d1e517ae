#include "bitmap/cException.h"

#include <cstdlib>
#include <cstring>

namespace Vornik
{

namespace
{

/// Returns a copy from malloc; null for null or without memory. The copy is never freed: copies of an exception share
/// it.
char* CopyText(const char* pText)
{
    if (pText == nullptr) return nullptr;
    const size_t size = std::strlen(pText) + 1;
    char* copy = static_cast<char*>(std::malloc(size));
    if (copy != nullptr) std::memcpy(copy, pText, size);
    return copy;
}

} // namespace

cException::cException(const char* const& pType, const char* const& pDescription, const char* const& pMessage,
                       int pLine, const char* const& pFile, const char* const& pTimeStamp, const char* const& pFuncSig)
    : std::runtime_error(pMessage), fType(nullptr), fDescription(nullptr), fFuncSig(nullptr), fFile(nullptr),
      fTimeStamp(nullptr), fLine(0)
{
    fType = CopyText(pType);
    fDescription = CopyText(pDescription);
    fFile = CopyText(pFile);
    fTimeStamp = CopyText(pTimeStamp);
    fLine = pLine;
    fFuncSig = CopyText(pFuncSig);
}

cException::~cException() = default;
cArgumentException::~cArgumentException() = default;
cArgumentNullException::~cArgumentNullException() = default;
cOutOfMemoryException::~cOutOfMemoryException() = default;
cInvalidOperationException::~cInvalidOperationException() = default;

const char* cException::GetType() const
{
    return fType;
}

const char* cException::GetDescription() const
{
    return fDescription;
}

const char* cException::GetMessage() const
{
    return what();
}

const char* cException::GetFile() const
{
    return fFile;
}

const char* cException::GetTimeStamp() const
{
    return fTimeStamp;
}

const char* cException::GetFuncSig() const
{
    return fFuncSig;
}

int cException::GetLine() const
{
    return fLine;
}

} // namespace Vornik
