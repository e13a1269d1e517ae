#include "picture/ReadOptions.h"

#include <iterator>

namespace SelvaneHost
{

namespace
{

// In the order of eInputSpace.
constexpr const char* kWords[] = {"srgb", "adobe",  "prophoto", "p3", "rec2020",
                                  "aces", "acescg", "linear",   "pq", "hlg"};

} // namespace

const char* InputSpaceWord(eInputSpace pSpace)
{
    return kWords[pSpace];
}

std::optional<eInputSpace> InputSpaceOfWord(const std::string& pWord)
{
    for (size_t i = 0; i < std::size(kWords); i++)
        if (pWord == kWords[i]) return static_cast<eInputSpace>(i);
    return std::nullopt;
}

} // namespace SelvaneHost
