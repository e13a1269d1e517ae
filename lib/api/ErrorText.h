#ifndef SELVANE_LIB_API_ERRORTEXT_H
#define SELVANE_LIB_API_ERRORTEXT_H

// The text of a handle's latest failure.

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace SelvaneLib
{

/// Holds a text without allocating, since a lack of memory is one of the failures. Longer texts are cut.
class cErrorText
{
public:
    void Set(const char* pText)
    {
        const size_t length = std::min(std::strlen(pText), sizeof fText - 1);
        std::memcpy(fText, pText, length);
        fText[length] = 0;
    }
    const char* Get() const { return fText; }

private:
    char fText[512] = {};
};

} // namespace SelvaneLib

#endif
