#include "job/Report.h"

#include "picture/Errors.h"

#include <cstdio>

namespace SelvaneHost
{

void Report(const std::string& pText)
{
    const std::string line = "selvane: " + OneLine(pText) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void Warn(const std::string& pText)
{
    Report("warning: " + pText);
}

} // namespace SelvaneHost
