#include "picture/Color.h"

#include <selvane.h>

namespace SelvaneHost
{

namespace
{

struct sSpaceNames
{
    const char* fWord;
    const char* fName;
};

// In the order of selvane_primaries.
constexpr sSpaceNames kNames[kSpaces] = {
    {"srgb", "sRGB"},     {"adobe", "Adobe RGB (1998)"}, {"prophoto", "ProPhoto RGB"},
    {"p3", "Display P3"}, {"rec2020", "Rec. 2020"},
};

} // namespace

const char* SpaceWord(int pSpace)
{
    return kNames[pSpace].fWord;
}

std::optional<int> SpaceOfWord(const std::string& pWord)
{
    for (int space = 0; space < kSpaces; space++)
        if (pWord == kNames[space].fWord) return space;
    return std::nullopt;
}

const char* SpaceName(int pSpace)
{
    return kNames[pSpace].fName;
}

tBytes StoredProfile(int pSpace)
{
    const unsigned char* bytes = nullptr;
    size_t size = 0;
    selvane_profile(pSpace, 0, &bytes, &size);
    return {bytes, bytes + size};
}

} // namespace SelvaneHost
