#include "picture/Errors.h"

#include <cstdio>
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

void Report(const std::string& pText)
{
    const std::string line = "selvane: " + OneLine(pText) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void Warn(const std::string& pText)
{
    Report("warning: " + pText);
}

std::string SystemWords(int pErrorNumber)
{
    return std::generic_category().message(pErrorNumber);
}

} // namespace SelvaneHost
