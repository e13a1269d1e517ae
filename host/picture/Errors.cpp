#include "picture/Errors.h"

#include <system_error>

namespace SelvaneHost
{

std::string OneLine(const std::string& pText)
{
    std::string line;
    for (const char c : pText) {
        const bool blank = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        if (blank && (line.empty() || line.back() == ' ')) continue;
        line += blank ? ' ' : c;
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

std::string SystemWords(int pErrorNumber)
{
    return std::generic_category().message(pErrorNumber);
}

} // namespace SelvaneHost
